#include "engine/equilibrium/active_system.hpp"

#include "engine/equilibrium/constraint_space.hpp"
#include "engine/equilibrium/equilibrium.hpp"
#include "engine/equilibrium/phase_search.hpp"
#include "engine/equilibrium/vectors.hpp"
#include "engine/units/constants.hpp"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <utility>

namespace tessara {
namespace {

/// Fraction of what is "nearly absent" in a sampled composition.
constexpr double Trace = 1e-3;
/// Samples of a phase of many constituents are drawn along its edges only.
constexpr std::size_t MostForFaces = 8;
/// Into how many steps the edges of a phase are parted, the less the more it has corners, and how
/// far below a maximum, over R T, the sample next to it may then lie: where mixing is ideal it is a
/// third to a tenth of that. The fewest steps are for phases of internal variables, whose edges
/// cost more.
struct EdgeSamples {
    std::size_t most; ///< constituents, or corners
    double gap;
    int steps;
    bool of_corners = false;
};
constexpr std::size_t Any = std::numeric_limits<std::size_t>::max();
constexpr EdgeSamples Edges[] = {
    {1, 0.5, 1}, // no edges
    {2, 0.3, 20},
    {4, 0.5, 8},
    {6, 1.0, 6},
    {12, Block::MostSampleGap, 4, true},
    {40, Block::MostSampleGap, 2, true},
    {Any, Block::MostSampleGap, 1, true},
    {Any, Block::MostSampleGap, 4},
};
/// Samples of a phase of several sublattices.
constexpr int MostProducts = 500;
/// Share of a constituent that a corner does not hold.
constexpr double MostTrace = 1e-6;

std::uint64_t next_stamp() {
    static std::atomic<std::uint64_t> last{0};
    return ++last;
}

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
                    phase.constituents[c].stoichiometry[j] != 0.0 && possible(i, c) &&
                    conditions.of_constituent(i, c) == Participation::Entered) {
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
            entered_corner_count_ = corners_.size();
        }
    }
    gibbs_.resize(species_.size());
    stamp_ = next_stamp();
    if (std::any_of(blocks.begin(), blocks.end(),
                    [](const Block& block) { return block.variables != nullptr; })) {
        exchange_ = stoichiometry_;
        for (std::size_t b = 0; b < blocks.size(); ++b) {
            if (blocks[b].variables != nullptr) {
                choose_base(b, std::vector<double>(blocks[b].count, 1.0));
            }
        }
    }
}

/// Whether all that a constituent is made of is there and it has room in what goes in.
bool ActiveSystem::possible(std::size_t i, std::size_t c) const {
    const std::vector<double>& stoichiometry = system_->phases[i].constituents[c].stoichiometry;
    if (!excluded_.empty() && excluded_[phase_offset_[i] + c] != 0) {
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
    block.active = active_constituents(i, conditions);
    if (block.active.empty()) {
        return;
    }
    if (!block.pure) {
        block.evaluator = phase.model->evaluator(phase.constituents, block.active);
        block.curvature = block.evaluator->curvature();
        block.variables = block.evaluator->variables();
    }
    if (block.variables != nullptr) {
        add_variables(block);
        if (block.corner_count == 0) {
            return; // ions of one sign alone, say
        }
    } else {
        block.count = block.active.size();
    }
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
    if (block.variables != nullptr) {
        for (std::size_t v = 0; v < block.count; ++v) {
            species_.push_back({number, i, Species::None});
        }
        stoichiometry_.insert(stoichiometry_.end(), block.holding.begin(), block.holding.end());
        for (std::size_t k = 0; k < block.corner_count; ++k) {
            corners_.push_back({number, k});
        }
    }
    for (std::size_t a = 0; block.variables == nullptr && a < block.active.size(); ++a) {
        const std::size_t c = block.active[a];
        for (std::size_t k : block.copies) {
            species_of_[phase_offset_[k] + c] = species_.size();
        }
        species_.push_back({number, i, c});
        corners_.push_back({number, a});
        for (std::size_t j : components_) {
            stoichiometry_.push_back(phase.constituents[c].stoichiometry[j]);
        }
    }
    if (block.curvature == Curvature::General) {
        make_samples(block);
    }
    blocks.push_back(std::move(block));
}

/// The constituents of a phase that can be there. A model may need some of them for others; what a
/// status would take away with it has to be said.
std::vector<std::size_t>
ActiveSystem::active_constituents(std::size_t i, const EquilibriumConditions& conditions) const {
    const Phase& phase = system_->phases[i];
    const std::size_t n = phase.constituents.size();
    std::vector<char> there(n);
    std::vector<char> entered(n);
    for (std::size_t c = 0; c < n; ++c) {
        there[c] = possible(i, c) ? 1 : 0;
        entered[c] =
            there[c] != 0 && conditions.of_constituent(i, c) == Participation::Entered ? 1 : 0;
    }
    std::vector<char> left = entered;
    if (phase.model) {
        left = phase.model->reduce(entered);
        const std::vector<char> whole = phase.model->reduce(there);
        std::string also;
        for (std::size_t c = 0; c < n; ++c) {
            if (entered[c] != 0 && left[c] == 0 && whole[c] != 0) {
                also += (also.empty() ? "" : ", ") + phase.constituents[c].name;
            }
        }
        if (!also.empty()) {
            throw SolveError("the statuses of the constituents of phase '" + phase.name +
                             "' cannot be kept: its model " +
                             std::string(model_name(phase.kind())) +
                             " holds constituents that are not entered as parts of others, and "
                             "these would have to go too: " +
                             also + ". Eliminate them as well, or enter the others");
        }
    }
    std::vector<std::size_t> active;
    for (std::size_t c = 0; c < n; ++c) {
        if (left[c] != 0) {
            active.push_back(c);
        }
    }
    return active;
}

// --- internal variables ---

/// Takes over what the model says of its variables, over the components that are there.
void ActiveSystem::add_variables(Block& block) {
    const Variables& variables = *block.variables;
    block.count = variables.size();
    for (std::size_t v = 0; v < block.count; ++v) {
        for (std::size_t j : components_) {
            block.holding.push_back(variables.stoichiometry[v * system_->components.size() + j]);
        }
    }
    make_corners(block);
}

/// The corners: one variable of each group, or, where charges have to cancel, ions in pairs.
void ActiveSystem::make_corners(Block& block) const {
    const Constraints& constraints = block.variables->constraints;
    const std::size_t n = block.count;
    std::vector<double> y(n, 0.0);
    if (!constraints.charge.empty()) {
        for (std::size_t i = 0; i < n; ++i) {
            const double z = constraints.charge[i];
            for (std::size_t k = z == 0.0 ? i : 0; k < (z == 0.0 ? i + 1 : n); ++k) {
                const double other = constraints.charge[k];
                if (z < 0.0 || (z > 0.0 && !(other < 0.0))) {
                    continue;
                }
                const double first = z == 0.0 ? 1.0 : -other;
                const double second = z == 0.0 ? 0.0 : z;
                const double sum = first * constraints.weight[i] + second * constraints.weight[k];
                if (sum > 0.0) {
                    std::fill(y.begin(), y.end(), 0.0);
                    y[i] = first / sum;
                    y[k] = z == 0.0 ? y[i] : second / sum;
                    add_corner(block, y);
                }
            }
        }
        return;
    }
    std::vector<std::vector<std::size_t>> groups(constraints.groups);
    for (std::size_t i = 0; i < n; ++i) {
        groups[constraints.group[i]].push_back(i);
    }
    std::vector<std::size_t> at(groups.size(), 0);
    for (bool more = true; more;) {
        std::fill(y.begin(), y.end(), 0.0);
        for (std::size_t g = 0; g < groups.size(); ++g) {
            const std::size_t i = groups[g][at[g]];
            y[i] = 1.0 / constraints.weight[i];
        }
        add_corner(block, y);
        more = false;
        for (std::size_t g = groups.size(); g-- > 0 && !more;) {
            more = ++at[g] < groups[g].size();
            at[g] = more ? at[g] : 0;
        }
    }
}

void ActiveSystem::add_corner(Block& block, std::span<const double> y) const {
    const std::size_t nc = components_.size();
    std::vector<double> held(nc, 0.0);
    std::vector<double> traced(y.begin(), y.end());
    std::vector<double> log_y;
    for (std::size_t i = 0; i < y.size(); ++i) {
        for (std::size_t j = 0; j < nc; ++j) {
            held[j] += y[i] * block.holding[i * nc + j];
        }
        traced[i] = std::max(y[i], Block::CornerTrace);
        log_y.push_back(std::log(traced[i]));
    }
    std::vector<double> amounts(block.active.size());
    block.evaluator->reported(traced, amounts);
    const double most = *std::max_element(amounts.begin(), amounts.end());
    for (double amount : amounts) {
        block.corner_reports.push_back(amount > MostTrace * most ? 1 : 0);
    }
    block.corner_y.insert(block.corner_y.end(), traced.begin(), traced.end());
    block.corner_log_y.insert(block.corner_log_y.end(), log_y.begin(), log_y.end());
    block.corner_holding.insert(block.corner_holding.end(), held.begin(), held.end());
    ++block.corner_count;
}

std::span<const double> ActiveSystem::corner_stoichiometry(const Corner& corner) const {
    const Block& block = blocks[corner.block];
    if (block.variables == nullptr) {
        return stoichiometry(block.first + corner.number);
    }
    const std::size_t nc = components_.size();
    return {block.corner_holding.data() + corner.number * nc, nc};
}

void ActiveSystem::choose_base(std::size_t b, std::span<const double> amounts) {
    Block& block = blocks[b];
    const Constraints& constraints = block.variables->constraints;
    const std::vector<std::size_t> before = block.base;
    block.base.assign(constraints.groups, Species::None);
    const bool charged = !constraints.charge.empty();
    const auto size = [&](std::size_t i) {
        return amounts[i] * (charged ? std::abs(constraints.charge[i]) : 1.0);
    };
    for (std::size_t i = 0; i < block.count; ++i) {
        std::size_t& base = block.base[constraints.group[i]];
        if ((!charged || constraints.charge[i] != 0.0) &&
            (base == Species::None || size(i) > size(base))) {
            base = i;
        }
    }
    if (block.base != before) {
        fill_exchange(block);
    }
}

void ActiveSystem::fill_exchange(const Block& block) {
    const Constraints& constraints = block.variables->constraints;
    const std::size_t nc = components_.size();
    const bool charged = !constraints.charge.empty();
    for (std::size_t i = 0; i < block.count; ++i) {
        const std::size_t base = block.base[constraints.group[i]];
        for (std::size_t j = 0; j < nc; ++j) {
            double held = block.holding[i * nc + j];
            if (charged) {
                if (base != Species::None) {
                    held -= constraints.charge[i] / constraints.charge[base] *
                            block.holding[base * nc + j];
                }
            } else if (constraints.group[i] > 0) {
                held -=
                    constraints.weight[i] / constraints.weight[base] * block.holding[base * nc + j];
            } else {
                for (std::size_t g = 1; g < constraints.groups; ++g) {
                    held += constraints.weight[i] / constraints.weight[block.base[g]] *
                            block.holding[block.base[g] * nc + j];
                }
            }
            exchange_[(block.first + i) * nc + j] = held;
        }
    }
    stamp_ = next_stamp();
}

void Block::normalise(std::span<double> x, std::span<double> log_x) const {
    if (variables == nullptr) {
        PhaseSearch::normalise(x, log_x);
    } else {
        tessara::normalise(variables->constraints, x, log_x);
    }
}

bool Block::same_contents(std::span<const double> x, std::span<const double> y,
                          double tolerance) const {
    const std::size_t nc = count == 0 ? 0 : holding.size() / count;
    for (std::size_t j = 0; j < nc; ++j) {
        double difference = 0.0;
        for (std::size_t i = 0; i < count; ++i) {
            difference += (x[i] - y[i]) * holding[i * nc + j];
        }
        if (std::abs(difference) > tolerance) {
            return false;
        }
    }
    return true;
}

bool Block::same_set(std::span<const double> x, std::span<const double> y, double tolerance) const {
    return variables == nullptr ? same_composition(x, y, tolerance)
                                : same_contents(x, y, tolerance);
}

// --- samples ---

void ActiveSystem::add_sample(Block& block, std::span<const double> x) const {
    const std::size_t at = block.sample_x.size();
    std::vector<double> log_x;
    for (double value : x) {
        block.sample_x.push_back(value);
        log_x.push_back(std::log(value));
    }
    block.normalise(std::span(block.sample_x).subspan(at), log_x);
    block.sample_mixing.push_back(0.0);
}

/// Compositions along the edges, in the faces and in the middle of the composition space, close
/// enough that each minimum of a Redlich-Kister phase has one in its basin.
void ActiveSystem::make_samples(Block& block) const {
    if (block.variables != nullptr && block.variables->constraints.groups > 1) {
        make_product_samples(block);
        return;
    }
    const bool corners = block.variables != nullptr;
    const std::size_t n = corners ? block.corner_count : block.count;
    std::vector<double> x(block.count);
    std::vector<double> shares(n);
    const auto add = [&] {
        if (!corners) {
            add_sample(block, shares);
            return;
        }
        std::fill(x.begin(), x.end(), 0.0);
        for (std::size_t k = 0; k < n; ++k) {
            for (std::size_t i = 0; i < block.count; ++i) {
                x[i] += shares[k] * block.corner(k)[i];
            }
        }
        add_sample(block, x);
    };
    const auto mix = [&](std::initializer_list<std::pair<std::size_t, double>> parts) {
        std::fill(shares.begin(), shares.end(), Trace / static_cast<double>(n));
        for (const auto& [i, share] : parts) {
            shares[i] += share;
        }
        add();
    };
    for (std::size_t i = 0; i < n; ++i) {
        mix({{i, 1.0}});
    }
    const auto fitting =
        std::find_if(std::begin(Edges), std::end(Edges), [&](const EdgeSamples& row) {
            return n <= row.most && (corners || !row.of_corners);
        });
    block.sample_gap = std::min(Block::MostSampleGap, (corners ? 1.5 : 1.0) * fitting->gap);
    const int steps = fitting->steps * sampling_;
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
        std::fill(shares.begin(), shares.end(), 1.0);
        add();
    }
}

namespace {

/// Compositions of one group of n variables: nearly pure, along the edges in so many steps, in the
/// middle.
std::vector<std::vector<double>> group_samples(std::size_t n, int steps, bool middle) {
    std::vector<std::vector<double>> list;
    const auto mix = [&](std::size_t i, std::size_t j, double share) {
        std::vector<double> y(n, Trace / static_cast<double>(n));
        y[i] += 1.0 - share;
        y[j] += share;
        list.push_back(std::move(y));
    };
    for (std::size_t i = 0; i < n; ++i) {
        mix(i, i, 0.0);
    }
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t j = i + 1; j < n; ++j) {
            for (int k = 1; k < steps; ++k) {
                mix(i, j, static_cast<double>(k) / steps);
            }
        }
    }
    if (middle && (n > 2 || (n == 2 && steps < 2))) {
        list.emplace_back(n, 1.0 / static_cast<double>(n));
    }
    return list;
}

} // namespace

/// Products of compositions of the groups, as fine as their number allows.
void ActiveSystem::make_product_samples(Block& block) const {
    const Constraints& constraints = block.variables->constraints;
    std::vector<std::vector<std::size_t>> groups(constraints.groups);
    for (std::size_t i = 0; i < block.count; ++i) {
        groups[constraints.group[i]].push_back(i);
    }
    struct Fineness {
        int steps;
        bool middle;
    };
    const auto most = static_cast<double>(MostProducts) * sampling_;
    std::vector<std::vector<std::vector<double>>> parts;
    double products = 0.0;
    for (const Fineness fineness : {Fineness{20, true}, Fineness{8, true}, Fineness{4, true},
                                    Fineness{2, true}, Fineness{1, true}, Fineness{1, false}}) {
        parts.clear();
        products = 1.0;
        for (const std::vector<std::size_t>& group : groups) {
            parts.push_back(group_samples(group.size(), fineness.steps, fineness.middle));
            products *= static_cast<double>(parts.back().size());
        }
        if (products <= most) {
            break;
        }
    }
    // Where even the end members are too many, some of them have to do.
    const double stride = std::max(1.0, products / (MostProducts * 8.0));
    std::vector<double> y(block.count);
    for (double number = 0.0; number < products; number += stride) {
        double rest = std::floor(number);
        for (std::size_t g = groups.size(); g-- > 0;) {
            const auto size = static_cast<double>(parts[g].size());
            const auto at = static_cast<std::size_t>(std::fmod(rest, size));
            rest = std::floor(rest / size);
            for (std::size_t k = 0; k < groups[g].size(); ++k) {
                y[groups[g][k]] = parts[g][at][k] / constraints.weight[groups[g][k]];
            }
        }
        add_sample(block, y);
    }
}

void ActiveSystem::set_state(const TemperatureTerms& at, double pressure) {
    const double inverse_rt = 1.0 / (GasConstant * at.t);
    for (std::size_t s = 0; s < species_.size(); ++s) {
        if (species_[s].constituent == Species::None) {
            gibbs_[s] = 0.0; // the model has it all
            continue;
        }
        const Constituent& constituent =
            system_->phases[species_[s].phase].constituents[species_[s].constituent];
        gibbs_[s] = System::standard_gibbs(constituent, at) * inverse_rt;
    }
    for (Block& block : blocks) {
        if (block.evaluator) {
            block.evaluator->set_state(at, pressure);
            block.shift = block.evaluator->ideal_shift();
            block.evaluator->mixing_of_samples(block.sample_x, block.sample_mixing);
        }
    }
}

} // namespace tessara
