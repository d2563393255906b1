#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <utility>
#include <vector>

namespace tessara {

/// A variable's share in a linear form.
struct FormPart {
    std::size_t variable;
    double factor;

    friend bool operator==(const FormPart&, const FormPart&) = default;
};

/// A sum of products of powers of linear forms in the variables y,
///
///     sum_t c_t m_t prod_k (a_k / b_k)^e_k,   e_k >= 1,
///
/// with its exact first and second derivatives: what the energies of phases with internal variables
/// are made of. Coefficients c are handed in, so that one object serves any property that mixes
/// this way; m is a fixed number.
///
/// A form that divides must be positive, and not below the one that it divides but for a factor, so
/// that products of traces neither overflow nor lose their ratio.
class FormProducts {
public:
    static constexpr std::size_t None = std::numeric_limits<std::size_t>::max();

    /// The first forms are the variables themselves.
    explicit FormProducts(std::size_t variables);

    /// The form constant + sum factor_i y_i; one that is there already is taken again.
    std::size_t form(std::vector<FormPart> parts, double constant = 0.0);

    struct Factor {
        std::size_t form;
        std::size_t over = None;
        int power = 1;
    };
    /// Adds a product. Factors of power 0 are left out, like ones are put together.
    void add(std::size_t coefficient, double multiplier, std::span<const Factor> factors);

    std::size_t variable_count() const { return variables_; }
    bool empty() const { return terms_.empty(); }

    double value(std::span<const double> y, std::span<const double> coefficients) const;
    /// Adds the gradient to `gradient` and returns the value.
    double gradient(std::span<const double> y, std::span<const double> coefficients,
                    std::span<double> gradient) const;
    /// Adds weight times the Hessian to `hessian`, a row-major square.
    void hessian(std::span<const double> y, std::span<const double> coefficients, double weight,
                 std::span<double> hessian) const;
    /// The same scaled by sqrt(y_i y_j), which stays finite for traces in forms that divide.
    void scaled_hessian(std::span<const double> y, std::span<const double> coefficients,
                        double weight, std::span<double> hessian) const;
    /// What belongs to each coefficient: its products at y, without it.
    void by_coefficient(std::span<const double> y, std::span<double> values) const;

private:
    struct Form {
        std::vector<FormPart> parts;
        double constant;
    };
    /// A variable of a factor, with its share in the form above and in the one below.
    struct Entry {
        std::size_t variable;
        std::size_t place; ///< among the variables of the product
        double above;
        double below;
    };
    struct TermFactor {
        Factor factor;
        std::size_t first_entry;
        std::size_t entry_count;
    };
    struct Term {
        std::size_t coefficient;
        double multiplier;
        std::size_t first_factor;
        std::size_t factor_count;
        std::size_t first_variable; ///< in `places_`
        std::size_t variable_count;
        bool plain; ///< a product of different variables, as of an end member
    };
    /// A product of few forms, powers written out, for the value alone: most are of this kind.
    static constexpr std::size_t MostShort = 6;
    struct ShortTerm {
        double multiplier;
        std::uint32_t coefficient;
        std::array<std::uint32_t, MostShort> forms;
    };
    /// A factor's value f = r^e, r = a / b, and its derivatives in r.
    struct Derivatives {
        double inverse; ///< 1 / b
        double f, first, second;
    };

    void set(std::span<const double> y) const;
    bool add_short(const Term& term);
    template <std::size_t Count>
    double sum_of_short(std::span<const double> coefficients) const;
    template <std::size_t... Counts>
    double sum_of_all_short(std::span<const double> coefficients,
                            std::index_sequence<Counts...> counts) const;
    double factor_value(const Factor& factor) const;
    Derivatives derivatives(const TermFactor& own) const;
    double slope(const TermFactor& own, const Entry& entry) const;
    double product(const Term& term) const;
    void add_hessian(const Term& term, double factor, std::span<double> hessian) const;
    void multiply_from_behind(const Term& term) const;
    double add_plain_gradient(const Term& term, double factor, std::span<double> gradient) const;
    void add_plain_hessian(const Term& term, double factor, std::span<double> hessian) const;
    /// The variables of a product of nothing else.
    const std::size_t* plain_variables(const Term& term) const {
        return places_.data() + term.first_variable;
    }

    std::size_t variables_;
    std::vector<Form> forms_;
    std::vector<TermFactor> factors_;
    std::vector<Entry> entries_;
    std::vector<std::size_t> places_;
    std::vector<Term> terms_;
    std::array<std::vector<ShortTerm>, MostShort + 1> short_; ///< by their number of factors
    std::vector<std::size_t> long_;                           ///< the other terms

    // Work space.
    mutable std::vector<double> values_; ///< of the forms
    mutable std::vector<double> scale_;  ///< of the variables, in the Hessian
    mutable std::vector<Derivatives> derivatives_;
    mutable std::vector<double> slopes_; ///< b dr/dy of each entry
    mutable std::vector<double> rows_;   ///< the factors' gradients, over the product's variables
    mutable std::vector<double> after_;  ///< products of the factors from one on
    mutable std::vector<double> rest_;   ///< products without two factors
    mutable std::vector<double> cross_;  ///< sum of the other factors' gradients
};

} // namespace tessara
