#include "engine/equilibrium/active_system.hpp"

#include "engine/units/constants.hpp"

#include <algorithm>
#include <cmath>

namespace tessara {
namespace {

/// Fraction of what is "nearly absent" in a sampled composition.
constexpr double Trace = 1e-3;
/// Samples of a phase of many constituents are drawn along its edges only.
constexpr std::size_t MostForFaces = 8;

} // namespace

ActiveSystem::ActiveSystem(const System& system, const EquilibriumConditions& conditions,
                           const std::vector<char>& available, const std::vector<char>& excluded,
                           int sampling)
    : system_(&system), sampling_(sampling), available_(available), excluded_(excluded),
      phases_(conditions.phases), constituents_(conditions.constituents) {
    std::vector<char> charged(system.components.size(), 0);
    std::size_t total = 0;
    for (const Phase& phase : system.phases) {
        phase_offset_.push_back(total);
        for (std::size_t c = 0; c < phase.constituents.size(); ++c) {
            const std::size_t i = phase_offset_.size() - 1;
            for (std::size_t j = 0; j < charged.size(); ++j) {
                if (system.components[j].electron &&
                    phase.constituents[c].stoichiometry[j] != 0.0 && possible(i, c, conditions)) {
                    charged[j] = 1;
                }
            }
        }
        total += phase.constituents.size();
    }
    for (std::size_t j = 0; j < system.components.size(); ++j) {
        // Electrons count only where something carries a charge.
        if (available[j] != 0 && (!system.components[j].electron || charged[j] != 0)) {
            components_.push_back(j);
        }
    }
    species_of_.assign(total, None);
    block_of_.assign(system.phases.size(), None);
    for (const bool dormant : {false, true}) {
        for (std::size_t i = 0; i < system.phases.size(); ++i) {
            add_block(i, conditions, dormant);
        }
        if (!dormant) {
            entered_count_ = species_.size();
        }
    }
    gibbs_.resize(species_.size());
}

/// Whether a constituent takes part and all that it is made of is there.
bool ActiveSystem::possible(std::size_t i, std::size_t c,
                            const EquilibriumConditions& conditions) const {
    const std::vector<double>& stoichiometry = system_->phases[i].constituents[c].stoichiometry;
    if (conditions.of_constituent(i, c) != Participation::Entered ||
        (!excluded_.empty() && excluded_[phase_offset_[i] + c] != 0)) {
        return false;
    }
    for (std::size_t j = 0; j < stoichiometry.size(); ++j) {
        if (stoichiometry[j] != 0.0 && available_[j] == 0) {
            return false;
        }
    }
    return true;
}

void ActiveSystem::add_block(std::size_t i, const EquilibriumConditions& conditions, bool dormant) {
    const Phase& phase = system_->phases[i];
    if (block_of_[i] != None) {
        return; // a copy of a block that is there
    }
    const Participation wanted = dormant ? Participation::Dormant : Participation::Entered;
    if (conditions.of_phase(i) != wanted) {
        return;
    }
    Block block;
    block.phase = phase.first_copy;
    block.dormant = dormant;
    block.pure = phase.model == nullptr;
    block.first = species_.size();
    std::vector<std::size_t> active;
    for (std::size_t c = 0; c < phase.constituents.size(); ++c) {
        if (possible(i, c, conditions)) {
            active.push_back(c);
        }
    }
    if (active.empty()) {
        return;
    }
    block.count = active.size();
    const std::size_t number = blocks.size();
    for (std::size_t k = i; k < system_->phases.size(); ++k) {
        if (system_->phases[k].first_copy == phase.first_copy) {
            if (conditions.of_phase(k) == wanted) {
                block.copies.push_back(k);
            }
            if (conditions.of_phase(k) != Participation::Eliminated && block_of_[k] == None) {
                block_of_[k] = number;
            }
            block.may_add_sets =
                block.may_add_sets && conditions.of_phase(k) == Participation::Entered;
        }
    }
    for (std::size_t c : active) {
        for (std::size_t k : block.copies) {
            species_of_[phase_offset_[k] + c] = species_.size();
        }
        species_.push_back({number, i, c});
        for (std::size_t j : components_) {
            stoichiometry_.push_back(phase.constituents[c].stoichiometry[j]);
        }
    }
    if (!block.pure) {
        block.evaluator = phase.model->evaluator(active);
        block.curvature = block.evaluator->curvature();
        if (block.curvature == Curvature::General) {
            make_samples(block);
        }
    }
    blocks.push_back(std::move(block));
}

/// Compositions along the edges, in the faces and in the middle of the composition space, close
/// enough that each minimum of a Redlich-Kister phase has one in its basin.
void ActiveSystem::make_samples(Block& block) const {
    const std::size_t n = block.count;
    std::vector<double> x(n);
    const auto add = [&] {
        double sum = 0.0;
        for (double value : x) {
            sum += value;
        }
        for (double value : x) {
            block.sample_x.push_back(value / sum);
            block.sample_log_x.push_back(std::log(value / sum));
        }
        block.sample_mixing.push_back(0.0);
    };
    const auto mix = [&](std::initializer_list<std::pair<std::size_t, double>> parts) {
        std::fill(x.begin(), x.end(), Trace / static_cast<double>(n));
        for (const auto& [i, share] : parts) {
            x[i] += share;
        }
        add();
    };
    for (std::size_t i = 0; i < n; ++i) {
        mix({{i, 1.0}});
    }
    const int steps = (n == 2 ? 20 : n <= 4 ? 8 : n <= 6 ? 6 : 4) * sampling_;
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t j = i + 1; j < n; ++j) {
            for (int k = 1; k < steps; ++k) {
                const double share = static_cast<double>(k) / steps;
                mix({{i, 1.0 - share}, {j, share}});
            }
        }
    }
    if (n <= MostForFaces) {
        for (std::size_t i = 0; i < n; ++i) {
            for (std::size_t j = i + 1; j < n; ++j) {
                for (std::size_t k = j + 1; k < n; ++k) {
                    mix({{i, 1.0}, {j, 1.0}, {k, 1.0}});
                    mix({{i, 4.0}, {j, 1.0}, {k, 1.0}});
                    mix({{i, 1.0}, {j, 4.0}, {k, 1.0}});
                    mix({{i, 1.0}, {j, 1.0}, {k, 4.0}});
                }
            }
        }
    }
    if (n > 3) {
        std::fill(x.begin(), x.end(), 1.0);
        add();
    }
}

void ActiveSystem::set_state(const TemperatureTerms& at, double pressure) {
    const double inverse_rt = 1.0 / (GasConstant * at.t);
    for (std::size_t s = 0; s < species_.size(); ++s) {
        const Constituent& constituent =
            system_->phases[species_[s].phase].constituents[species_[s].constituent];
        gibbs_[s] = System::standard_gibbs(constituent, at) * inverse_rt;
    }
    for (Block& block : blocks) {
        if (block.evaluator) {
            block.evaluator->set_state(at, pressure);
            block.shift = block.evaluator->ideal_shift();
            for (std::size_t k = 0; k < block.sample_count(); ++k) {
                block.sample_mixing[k] =
                    block.evaluator->mixing(block.sample(k), block.log_sample(k));
            }
        }
    }
}

} // namespace tessara
