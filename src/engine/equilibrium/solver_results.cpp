#include "engine/equilibrium/solver.hpp"

#include "engine/equilibrium/tolerances.hpp"
#include "engine/equilibrium/vectors.hpp"
#include "engine/units/constants.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

// The result of a calculation, and the certificate without which it is not handed out.

namespace tessara {
namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double Infinity = std::numeric_limits<double>::infinity();

} // namespace

// --- results ---

/// Numbers the sets of a block by falling fraction of the first component in which they differ.
void Solver::assign_sets(std::size_t b) {
    const Block& block = active_->blocks[b];
    std::vector<std::size_t> sets;
    std::vector<std::vector<double>> shares(assemblage_.mixture_count);
    for (std::size_t f = 0; f < assemblage_.mixture_count; ++f) {
        const MixtureSet& set = assemblage_.mixtures[f];
        if (set.block != b) {
            continue;
        }
        sets.push_back(f);
        std::vector<double>& share = shares[f];
        share.assign(active_->component_count(), 0.0);
        double total = 0.0;
        for (std::size_t i = 0; i < block.count; ++i) {
            const std::span<const double> a = active_->stoichiometry(block.first + i);
            for (std::size_t j = 0; j < a.size(); ++j) {
                share[j] += set.x[i] * a[j];
                total += set.x[i] * a[j];
            }
        }
        for (double& value : share) {
            value /= total;
        }
    }
    std::sort(sets.begin(), sets.end(), [&](std::size_t f, std::size_t g) {
        for (std::size_t j = 0; j < active_->component_count(); ++j) {
            if (std::abs(shares[f][j] - shares[g][j]) > SameSet) {
                return shares[f][j] > shares[g][j];
            }
        }
        return f < g;
    });
    for (std::size_t k = 0; k < sets.size(); ++k) {
        const MixtureSet& set = assemblage_.mixtures[sets[k]];
        const std::size_t copy = std::min(k, block.copies.size() - 1);
        const std::size_t phase = block.copies[copy];
        if (k >= block.copies.size() &&
            (result_.folded.empty() || result_.folded.back() != phase)) {
            result_.folded.push_back(phase);
        }
        CompositionSet listed{phase, set.amount(), {}};
        listed.fractions.assign(system_->phases[phase].constituents.size(), 0.0);
        PhaseResult& into = result_.phases[phase];
        const double sum = into.amount + listed.amount;
        for (std::size_t i = 0; i < block.count; ++i) {
            const std::size_t c = active_->species()[block.first + i].constituent;
            listed.fractions[c] = set.x[i];
            if (k < block.copies.size()) {
                into.fractions[c] = set.x[i];
                into.log_fractions[c] = set.log_x[i];
            } else {
                into.fractions[c] =
                    (into.fractions[c] * into.amount + set.x[i] * listed.amount) / sum;
                into.log_fractions[c] = std::log(into.fractions[c]);
            }
        }
        into.amount = sum;
        into.driving_force = 0.0;
        if (sets.size() > 1) {
            result_.sets.push_back(std::move(listed));
        }
    }
}

void Solver::fill_phase(const EquilibriumConditions& conditions, std::size_t i) {
    PhaseResult& phase = result_.phases[i];
    const std::size_t count = system_->phases[i].constituents.size();
    phase.can_form = false;
    phase.dormant = conditions.of_phase(i) == Participation::Dormant;
    phase.amount = 0.0;
    phase.driving_force = NaN;
    phase.fractions.assign(count, 0.0);
    phase.log_fractions.assign(count, -Infinity);
    phase.constituent_can_form.assign(count, 0);
    if (conditions.of_phase(i) == Participation::Eliminated) {
        return;
    }
    const std::size_t b = active_->block_of(i);
    if (b == ActiveSystem::None) {
        return;
    }
    const Block& block = active_->blocks[b];
    phase.can_form = true;
    phase.driving_force = absent_[b].force;
    const Candidate* best = nullptr;
    for (const Candidate& candidate : absent_[b].minima) {
        if (best == nullptr || candidate.driving_force > best->driving_force) {
            best = &candidate;
        }
    }
    for (std::size_t k = 0; k < block.count; ++k) {
        const std::size_t c = active_->species()[block.first + k].constituent;
        phase.constituent_can_form[c] = 1;
        if (block.pure) {
            phase.fractions[c] = 1.0;
            phase.log_fractions[c] = 0.0;
        } else {
            phase.fractions[c] = best != nullptr ? best->x[k] : NaN;
            phase.log_fractions[c] = best != nullptr ? best->log_x[k] : NaN;
        }
    }
}

void Solver::fill_potentials(const EquilibriumConditions& conditions) {
    const double rt = GasConstant * terms_.t;
    const std::vector<std::size_t>& components = active_->components();
    const std::span<const double> duals = assemblage_.duals();
    const bool closed = assemblage_.open_count() == 0;
    row_.assign(components.size(), 0.0);
    result_.potentials.assign(system_->components.size(), NaN);
    result_.amounts = input_;
    for (std::size_t k = 0; k < components.size(); ++k) {
        const std::size_t j = components[k];
        for (std::size_t r = 0; r < reservoirs_.size(); ++r) {
            result_.amounts[j] += reservoirs_[r].amount * reservoir_rows_[r][j];
        }
        row_[k] = 1.0;
        if (system_->components[j].electron) {
            result_.amounts[j] = 0.0;
        } else if (assemblage_.determines(row_)) {
            result_.potentials[j] = duals[k] * rt;
        }
        row_[k] = 0.0;
    }
    result_.constituent_potentials.resize(system_->phases.size());
    for (std::size_t i = 0; i < system_->phases.size(); ++i) {
        const std::vector<Constituent>& constituents = system_->phases[i].constituents;
        std::vector<double>& potentials = result_.constituent_potentials[i];
        potentials.assign(constituents.size(), NaN);
        if (conditions.of_phase(i) == Participation::Eliminated) {
            continue;
        }
        for (std::size_t c = 0; c < constituents.size(); ++c) {
            const std::vector<double>& a = constituents[c].stoichiometry;
            bool there = conditions.of_constituent(i, c) != Participation::Eliminated;
            for (std::size_t j = 0; there && j < a.size(); ++j) {
                there = a[j] == 0.0 || available_[j] != 0;
            }
            if (!there) {
                continue;
            }
            double mu = 0.0;
            for (std::size_t k = 0; k < components.size(); ++k) {
                row_[k] = a[components[k]];
                mu += row_[k] * duals[k];
            }
            const std::size_t s = active_->species_of(i, c);
            if (s != ActiveSystem::None) {
                // More exact than the sum over components, whose terms are large.
                mu = assemblage_.affinities()[s] + active_->gibbs()[s];
            }
            const bool in_span = s != ActiveSystem::None && closed;
            if (in_span || assemblage_.determines(row_)) {
                potentials[c] = mu * rt;
            }
        }
    }
    result_.open_combinations.clear();
    for (std::size_t d = 0; d < assemblage_.open_count(); ++d) {
        std::vector<double> combination(system_->components.size(), 0.0);
        const std::span<const double> a = assemblage_.open_stoichiometry(d);
        for (std::size_t k = 0; k < components.size(); ++k) {
            combination[components[k]] = a[k];
        }
        result_.open_combinations.push_back(std::move(combination));
    }
}

void Solver::make_result(const EquilibriumConditions& conditions) {
    result_.t = conditions.t;
    result_.p = conditions.p;
    result_.iterations = iterations_;
    result_.sets.clear();
    result_.folded.clear();
    result_.phases.resize(system_->phases.size());
    for (std::size_t i = 0; i < system_->phases.size(); ++i) {
        fill_phase(conditions, i);
    }
    for (const PureSet& set : assemblage_.pure) {
        PhaseResult& phase = result_.phases[active_->blocks[set.block].copies.front()];
        phase.amount = set.amount;
        phase.driving_force = 0.0;
    }
    for (std::size_t b = 0; b < active_->blocks.size(); ++b) {
        if (set_count(b) > 0) {
            assign_sets(b);
        }
    }
    fill_potentials(conditions);
    certify();
}

/// Checks the result against the conditions in the system's own components, without the basis that
/// Newton's method worked in.
void Solver::certify() {
    const std::span<const double> duals = assemblage_.duals();
    const std::size_t nc = active_->component_count();
    Certificate& certificate = result_.certificate;
    certificate = {};
    std::vector<double>& sum = x_;
    std::vector<double>& size = log_x_;
    sum.assign(nc, 0.0);
    size.assign(nc, 0.0);
    const auto take = [&](std::span<const double> a, double n) {
        for (std::size_t j = 0; j < nc; ++j) {
            sum[j] += n * a[j];
            size[j] += std::abs(n * a[j]);
        }
    };
    for (const Feed& feed : feeds_) {
        take(feed.stoichiometry, -feed.amount);
    }
    for (const Reservoir& reservoir : reservoirs_) {
        take(reservoir.stoichiometry, -reservoir.amount);
    }
    // A constituent's affinity to its own state, less what rounding of the terms explains.
    const auto affinity = [&](std::size_t s) {
        return dot(active_->stoichiometry(s), duals) - active_->gibbs()[s];
    };
    const auto rounding = [&](std::size_t s) {
        double terms = std::abs(active_->gibbs()[s]);
        const std::span<const double> a = active_->stoichiometry(s);
        for (std::size_t j = 0; j < nc; ++j) {
            terms += std::abs(a[j] * duals[j]);
        }
        return 64.0 * Epsilon * terms;
    };
    const auto beyond = [](double value, double allowed) {
        return std::max(0.0, std::abs(value) - allowed);
    };
    for (const PureSet& set : assemblage_.pure) {
        const std::size_t s = active_->blocks[set.block].first;
        take(active_->stoichiometry(s), set.amount);
        certificate.potential = std::max(certificate.potential, beyond(affinity(s), rounding(s)));
    }
    for (std::size_t f = 0; f < assemblage_.mixture_count; ++f) {
        const MixtureSet& set = assemblage_.mixtures[f];
        const Block& block = active_->blocks[set.block];
        tau_.resize(block.count);
        std::vector<double>& hessian = group_levels_;
        hessian.resize(block.count * block.count);
        const double m = block.evaluator->mixing(set.x, set.log_x, tau_, hessian);
        const double mean = dot(set.x, tau_);
        const double amount = set.amount();
        for (std::size_t i = 0; i < block.count; ++i) {
            const std::size_t s = block.first + i;
            take(active_->stoichiometry(s), amount * set.x[i]);
            const double own = m + tau_[i] - mean;
            certificate.potential =
                std::max(certificate.potential,
                         beyond(affinity(s) - own, rounding(s) + 64.0 * Epsilon * std::abs(own)));
        }
    }
    for (std::size_t j = 0; j < nc; ++j) {
        if (sum[j] != 0.0) {
            certificate.balance = std::max(certificate.balance, std::abs(sum[j]) / size[j]);
        }
    }
    certificate.nearest_driving_force = -Infinity;
    for (std::size_t b = 0; b < active_->blocks.size(); ++b) {
        const Block& block = active_->blocks[b];
        if (block.dormant || is_stable(b)) {
            if (block.dormant || block.pure) {
                continue;
            }
        }
        double force = -Infinity;
        double allowed = 0.0;
        if (block.pure) {
            force = affinity(block.first);
            allowed = rounding(block.first);
        }
        for (const Candidate& candidate : absent_[b].minima) {
            double own = -block.evaluator->mixing(candidate.x, candidate.log_x);
            double terms = 0.0;
            for (std::size_t i = 0; i < block.count; ++i) {
                own += candidate.x[i] * affinity(block.first + i);
                terms += candidate.x[i] * rounding(block.first + i);
            }
            if (own > force) {
                force = own;
                allowed = terms;
            }
        }
        certificate.driving_force = std::max(certificate.driving_force, force - allowed);
        if (force > certificate.nearest_driving_force) {
            certificate.nearest_driving_force = force;
            certificate.nearest_phase = block.copies.front();
        }
    }
}

} // namespace tessara
