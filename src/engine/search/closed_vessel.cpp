#include "engine/search/closed_vessel.hpp"

#include "engine/search/root_search.hpp"
#include "engine/text/text.hpp"
#include "engine/units/constants.hpp"

#include <cmath>

namespace tessara {
namespace {

/// Of ln P.
constexpr double FirstStep = 0.5;
/// Volumes that no gas comes near to are taken to be none.
constexpr double LeastLogarithm = -800.0;

/// Volume of an equilibrium: its gas is ideal and nothing else has one.
double volume_of(const Equilibrium& equilibrium) {
    return equilibrium.phases.front().amount * GasConstant * equilibrium.t / equilibrium.p;
}

} // namespace

Equilibrium solve_closed_vessel(Solver& solver, const StateRequest& request,
                                const Checkpoint& checkpoint) {
    const double wanted = *request.volume;
    if (!solver.system().has_gas()) {
        throw SolveError(
            "the data file has no gas phase, which alone has a volume: a closed vessel "
            "cannot be calculated");
    }
    if (!(wanted > 0.0) || !std::isfinite(wanted)) {
        throw SolveError("the volume " + quoted_number(wanted) + " m3 is not a positive number");
    }
    PathSolver search(solver, Path(Path::Variable::Pressure, request), checkpoint);
    // Of volumes the logarithm is measured, which changes evenly with that of the pressure; without
    // gas it is far below any.
    search.set_measure([&](const Equilibrium& equilibrium, const TemperatureTerms&) {
        const double volume = volume_of(equilibrium);
        return (volume > 0.0 ? std::log(volume) : LeastLogarithm) - std::log(wanted);
    });
    const Reach pressures = reach_of(Path::Variable::Pressure);
    std::optional<PathState> nearest;
    const double guess = std::log(request.conditions.p);
    const std::optional<SignChange> change =
        search_outward(search, guess, FirstStep, pressures, nearest);
    std::optional<PathState> found;
    if (change) {
        // Between two limits at one change of phases it is the volume itself that is shared out.
        found = find_zero(search, *change, [&](const PathState& state) {
            return volume_of(state.equilibrium) - wanted;
        });
    }
    if (!found) {
        throw SolveError(
            "no pressure between 1e-300 bar and " + number_text(std::exp(pressures.high) * 1e-5) +
            " bar gives the volume " + number_text(wanted) + " m3" +
            (nearest ? "; the nearest is " + number_text(volume_of(nearest->equilibrium)) +
                           " m3 at " + number_text(nearest->equilibrium.p * 1e-5) + " bar"
                     : std::string()));
    }
    return std::move(found->equilibrium);
}

} // namespace tessara
