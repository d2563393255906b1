#pragma once

#include "engine/data/description.hpp"
#include "engine/data/temperature_function.hpp"

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tessara {

struct Constituent;

/// The kinds of phases. All but `Pure` are named as in the data file.
enum class ModelKind { Pure, IDMX, RKMP, RKMPM, QKTO, SUBL, SUBLM, SUBM, SUBI, SUBG, SUBQ };

/// "PURE", "IDMX", ...
std::string_view model_name(ModelKind kind);

/// What is known of the shape of a model's Gibbs energy; it decides how a phase is searched.
enum class Curvature {
    Ideal,  ///< ideal mixing alone: the best composition has a closed form
    General ///< may have several minima
};

/// Numbers that tell how large a model is.
struct ModelSize {
    int excess_coefficients = 0;
    int magnetic_coefficients = 0;
    int sublattices = 0;
    int sublattice_constituents = 0;
    int quasichemical_constituents = 0; ///< end members of a quasichemical phase
};

/// What holds among the internal variables y of a phase whatever its composition. Each variable
/// belongs to one group, and over each group sum(weight_i y_i) = 1: the site fractions of a
/// sublattice, or all variables where there is one group. In a phase of ions sum(charge_i y_i) = 0
/// as well; where `charge` is empty there is no such balance.
struct Constraints {
    std::size_t groups = 1;
    std::vector<std::size_t> group;
    std::vector<double> weight;
    std::vector<double> charge;
};

/// The internal variables of one phase: what each holds of the components per unit of y, and what
/// holds among them. One unit of the phase holds sum_i y_i stoichiometry_ij of component j.
struct Variables {
    std::vector<std::string> names;
    /// A row for each variable, over all components of the file.
    std::vector<double> stoichiometry;
    Constraints constraints;

    std::size_t size() const { return names.size(); }
};

/// Fractions of one kind within a phase: of the sites of a sublattice, of pairs, of quadruplets.
struct NamedFractions {
    std::string of;
    std::vector<std::string> names;
    std::vector<double> values;
};

/// Works out the mixing part of one mixture phase's Gibbs energy. Holds what depends on T, so each
/// solver has evaluators of its own.
///
/// In most models the variables are the fractions x of the phase's active constituents. The Gibbs
/// energy of one mole of the phase is
///
///     G = sum_i x_i G_i(T) + R T m(x, T, P)
///
/// with G_i from the constituents' records. The evaluator gives m, ideal mixing included. All
/// derivatives take the x as independent; only differences along sum(x) = constant have meaning.
///
/// Other models have internal variables y (see `variables`); constituents then have no energy of
/// their own, and the Gibbs energy of one unit of the phase is R T m(y, T, P). Only differences
/// along what holds among the y have meaning. Fractions go down to 1e-300.
class PhaseEvaluator {
public:
    PhaseEvaluator() = default;
    PhaseEvaluator(const PhaseEvaluator&) = delete;
    PhaseEvaluator& operator=(const PhaseEvaluator&) = delete;
    virtual ~PhaseEvaluator() = default;

    virtual Curvature curvature() const = 0;

    /// For ideal phases m = sum_i x_i (ln x_i + shift): ln(P / 1 bar) in a gas, else 0.
    virtual double ideal_shift() const { return 0.0; }

    /// Number of variables: of active constituents, or of internal variables.
    virtual std::size_t size() const = 0;

    /// The internal variables of the active part; none where the fractions of the constituents are
    /// the variables.
    virtual const Variables* variables() const { return nullptr; }

    /// The amounts of the active constituents in one unit of a phase with internal variables; they
    /// hold the same components.
    virtual void reported(std::span<const double> y, std::span<double> amounts) const;

    /// The partial quantity of each active constituent from those of the internal variables, as
    /// `mixing_thermal` and `volume` give them.
    virtual void reported_partials(std::span<const double> y,
                                   std::span<const ThermalValue> of_variables,
                                   std::span<ThermalValue> of_constituents) const;

    /// Works out all that depends on T and P (in bar) alone.
    virtual void set_state(const TemperatureTerms& at, double pressure) = 0;

    /// m(x) where `log_x` holds ln x, so that traces keep their digits.
    double mixing(std::span<const double> x, std::span<const double> log_x) const {
        return energy(x) + entropy(x, log_x);
    }

    /// m at compositions one after the other. They have to be the same at each call of one
    /// evaluator, which keeps their entropy.
    void mixing_of_samples(std::span<const double> x, std::span<double> m) const;

    /// m(x) with its gradient, and its Hessian scaled by sqrt(x_i x_j): a row-major square, whose
    /// entries stay of order one for traces.
    virtual double mixing(std::span<const double> x, std::span<const double> log_x,
                          std::span<double> gradient, std::span<double> scaled_hessian) const = 0;

    /// R T m(x) in J/mol with its T derivatives, and for each constituent its partial quantity
    /// R T (m + dm/dx_i - sum_j x_j dm/dx_j) likewise. A constituent of fraction 0 has an infinite
    /// value; its derivatives are those of the limit, but for the entropy of ideal mixing. Of a
    /// phase with internal variables: R T m(y) and for each variable R T (dm/dy_i + w_i (m / groups
    /// - sum_j y_j dm/dy_j)), the sum over its group, w_i its weight there.
    virtual ThermalValue mixing_thermal(std::span<const double> x, std::span<const double> log_x,
                                        std::span<ThermalValue> partial) const = 0;

    /// dG/dP of one mole in m^3/mol, the partial volumes likewise (data files hold no volumes, but
    /// excess terms may depend on P).
    virtual double volume(std::span<const double> x, std::span<double> partial) const = 0;

    /// What of m depends on T and P.
    virtual double energy(std::span<const double> x) const = 0;
    /// What of m does not: that of ideal mixing, over R and with the sign of G.
    virtual double entropy(std::span<const double> x, std::span<const double> log_x) const = 0;

private:
    mutable std::vector<double> sample_entropy_;
};

/// The parameters of one mixture phase as a data file gives them. Immutable; copies of a phase
/// share one object.
class PhaseModel {
public:
    PhaseModel() = default;
    PhaseModel(const PhaseModel&) = delete;
    PhaseModel& operator=(const PhaseModel&) = delete;
    virtual ~PhaseModel() = default;

    virtual ModelKind kind() const = 0;
    virtual ModelSize size() const = 0;

    /// An evaluator over the constituents listed (by their number in the phase, ascending).
    /// Parameters that name any other constituent are left out. `constituents` are all of the
    /// phase's records; the evaluator may keep pointers to them.
    virtual std::unique_ptr<PhaseEvaluator>
    evaluator(std::span<const Constituent> constituents,
              std::span<const std::size_t> active) const = 0;

    /// Which constituents remain where those not marked in `possible` are gone: a model may need
    /// some of them for others. What cannot remain is 0 in the result.
    virtual std::vector<char> reduce(std::vector<char> possible) const { return possible; }

    /// The fractions that users know a composition of these active constituents by: in general the
    /// site fractions that the internal variables of an evaluator stand for.
    virtual std::vector<NamedFractions> fractions(std::span<const std::size_t> active,
                                                  const Variables& variables,
                                                  std::span<const double> y) const;

    /// R T m of the pure constituent, J/mol, at 1 bar: zero but for magnetic phases.
    virtual ThermalValue pure_mixing(std::size_t constituent, const TemperatureTerms& at) const = 0;

    /// Whether both hold the same parameters.
    virtual bool equals(const PhaseModel& other) const = 0;

    /// Adds what the model holds to the description of its phase, a table. Each model has keys of
    /// its own; one that adds nothing cannot be converted.
    virtual void describe(Description& phase) const;
};

} // namespace tessara
