#pragma once

#include "engine/conditions/equilibrium_conditions.hpp"

namespace tessara {

/// The part that each phase and each constituent of a system takes; all entered at first.
class Statuses {
public:
    explicit Statuses(const System& system) {
        phases_.resize(system.phases.size());
        for (const Phase& phase : system.phases) {
            constituents_.emplace_back(phase.constituents.size());
        }
    }

    Participation of_phase(std::size_t phase) const { return phases_[phase]; }
    Participation of_constituent(std::size_t phase, std::size_t constituent) const {
        return constituents_[phase][constituent];
    }
    void set_phase(std::size_t phase, Participation part) { phases_[phase] = part; }
    void set_constituent(std::size_t phase, std::size_t constituent, Participation part) {
        constituents_[phase][constituent] = part;
    }

    void fill(EquilibriumConditions& conditions) const {
        conditions.phases = phases_;
        conditions.constituents = constituents_;
    }

private:
    std::vector<Participation> phases_;
    std::vector<std::vector<Participation>> constituents_;
};

} // namespace tessara
