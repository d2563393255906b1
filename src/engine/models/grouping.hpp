#pragma once

#include "engine/models/form_products.hpp"
#include "engine/models/parameters.hpp"

#include <array>
#include <optional>

namespace tessara {

/// How one triple of constituents is extended from its binaries, against the rule by groups.
struct GroupOverride {
    std::array<std::size_t, 3> triple{};
    std::optional<std::size_t> asymmetric; ///< none: all three alike
    std::optional<std::size_t> constant;   ///< of another sublattice; none: whatever is there

    friend bool operator==(const GroupOverride&, const GroupOverride&) = default;
};

/// Which binary parameters of a mixture count other constituents with one of their two: symmetric
/// extension keeps the ratio of the two, the asymmetric one the fraction of the one that is of
/// another chemical group than the other two.
///
/// F. Kohler, Monatsh. Chem. 91 (1960) 738-740; G. W. Toop, Trans. Met. Soc. AIME 233 (1965)
/// 850-855; A. D. Pelton, CALPHAD 25 (2001) 319-328.
struct Grouping {
    enum class Side { Neither, First, Second };

    std::vector<int> groups; ///< of the constituents
    std::vector<GroupOverride> overrides;

    /// Which of a pair a third constituent is counted with. `constant`: the constituent of the
    /// other sublattice that the parameter is for.
    Side side(std::size_t first, std::size_t second, std::size_t third,
              std::optional<std::size_t> constant = std::nullopt) const;

    friend bool operator==(const Grouping&, const Grouping&) = default;
};

/// A polynomial parameter on two or three constituents with their total powers.
struct PolynomialTerm {
    std::vector<std::size_t> constituents;
    std::vector<int> powers;
    std::optional<std::size_t> constant; ///< constituent of the other sublattice, if there is one
    ExcessCoefficients coefficient;
    SourceLine line{};

    friend bool operator==(const PolynomialTerm&, const PolynomialTerm&) = default;
};

/// Adds "groups" and "overrides": the "triple", what is "asymmetric" and "constant", or nothing.
void describe_grouping(const Grouping& grouping, Description& phase);
/// Parameters with their "constituents", "powers", "constant" constituent, "coefficients" and
/// "line".
Description describe_polynomials(const std::vector<PolynomialTerm>& terms);

/// The constituents among which polynomial parameters mix, by equivalents z_i = s_i y_i.
struct EquivalentMixture {
    const Grouping* grouping;
    std::vector<std::size_t> members;   ///< numbers of the constituents that are there
    std::span<const std::size_t> place; ///< their variables, by number
    std::span<const double> share;      ///< s, by number
    std::size_t total;                  ///< the form E = sum z, or `FormProducts::None`
    double constant_total = 1.0;        ///< E where it does not depend on composition
};

/// Adds c E h, with equivalent fractions Y = z / E:
///
///     two:   h = Y_i Y_j Xi^(p-1) Xj^(q-1) / (Xi + Xj)^(p+q-2), Xi = Y_i + those counted with i
///     three: h = Y_i^p Y_j^q Y_k^r / (Y_i + Y_j + Y_k)^(p+q+r-3)
///
/// times the factors in `more`.
void add_polynomial(FormProducts& products, std::size_t coefficient, const PolynomialTerm& term,
                    const EquivalentMixture& mixture,
                    std::span<const FormProducts::Factor> more = {});

} // namespace tessara
