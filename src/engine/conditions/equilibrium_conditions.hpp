#pragma once

#include "engine/data/system.hpp"

#include <vector>

namespace tessara {

/// Part that a phase or constituent takes in a calculation.
enum class Participation {
    Entered, ///< takes part
    Dormant, ///< cannot form; its activity is worked out
    Eliminated
};

/// Matter that goes into the system: moles of a phase constituent, or of a system component.
struct IncomingAmount {
    static constexpr std::size_t NoPhase = static_cast<std::size_t>(-1);

    std::size_t phase = NoPhase; ///< `NoPhase`: of a system component
    std::size_t index = 0;       ///< of the constituent in the phase, or of the component
    double amount = 0.0;         ///< mol
};

/// A potential that is held from outside: the system is open to what it belongs to.
struct GivenPotential {
    enum class Kind { Activity, Potential };

    std::size_t phase = IncomingAmount::NoPhase;
    std::size_t index = 0;
    Kind kind = Kind::Potential;
    double value = 0.0; ///< J/mol, or an activity
};

/// All that a calculation at given temperature and pressure depends on, in SI units and mol.
struct EquilibriumConditions {
    double t = 0.0;   ///< K
    double p = 1.0e5; ///< Pa
    std::vector<IncomingAmount> amounts;
    std::vector<GivenPotential> potentials;
    std::vector<Participation> phases;                    ///< empty: all entered
    std::vector<std::vector<Participation>> constituents; ///< empty: all entered

    Participation of_phase(std::size_t phase) const {
        return phases.empty() ? Participation::Entered : phases[phase];
    }
    Participation of_constituent(std::size_t phase, std::size_t constituent) const {
        return constituents.empty() ? Participation::Entered : constituents[phase][constituent];
    }
};

} // namespace tessara
