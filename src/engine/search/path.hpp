#pragma once

#include "engine/conditions/equilibrium_conditions.hpp"

#include <optional>
#include <string>
#include <vector>

namespace tessara {

/// What an equilibrium is asked for: at a pressure, or in a closed vessel.
struct StateRequest {
    EquilibriumConditions conditions;
    /// Total volume, m^3; the pressure of `conditions` is then only where its search begins.
    std::optional<double> volume;
};

/// An incoming amount that moves from one end of a path to the other.
struct MovedAmount {
    IncomingAmount at;  ///< place, and the amount at the lower end, mol
    double upper = 0.0; ///< amount at the upper end, mol
};

/// A line through the conditions of a system, with a number for each of its points: the
/// temperature in K, the logarithm of the pressure in Pa or of the volume in m^3, or the share of
/// the way between the two ends of one or several incoming amounts.
class Path {
public:
    enum class Variable { Temperature, Pressure, Volume, Amounts };

    Path(Variable variable, StateRequest request);
    /// Incoming amounts that move together. They replace amounts at the same places.
    Path(std::vector<MovedAmount> moved, StateRequest request);

    Variable variable() const { return variable_; }
    const std::vector<MovedAmount>& moved() const { return moved_; }
    /// The k-th of the moved amounts at a point, mol; exact at both ends.
    double amount(std::size_t k, double point) const;

    /// Whether neither matter nor work comes in unasked: pressure and all amounts are given.
    bool is_closed_at_given_pressure() const {
        return !request_.volume && request_.conditions.potentials.empty();
    }

    /// The point at which the variable has this value, in K, Pa, m^3, or as a share.
    double point(double value) const;
    double value(double point) const;
    /// The value in words: "1250 K".
    std::string text(double point) const;

    /// The request at a point; valid until the next call.
    const StateRequest& at(double point);

private:
    Variable variable_;
    StateRequest request_;
    std::vector<MovedAmount> moved_;
    std::vector<std::size_t> entries_; ///< of the moved amounts in the request
};

} // namespace tessara
