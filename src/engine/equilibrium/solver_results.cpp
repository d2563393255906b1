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

/// Leaves the fractions of the active constituents at a composition of their phase, and their
/// logarithms; gives the moles of constituents in one unit.
double Solver::report(const Block& block, std::span<const double> x,
                      std::span<const double> log_x) {
    reported_.assign(x.begin(), x.end());
    log_reported_.assign(log_x.begin(), log_x.end());
    if (block.variables == nullptr) {
        return 1.0;
    }
    reported_.resize(block.active.size());
    block.evaluator->reported(x, reported_);
    double sum = 0.0;
    for (double amount : reported_) {
        sum += amount;
    }
    log_reported_.clear();
    for (double& amount : reported_) {
        amount /= sum;
        log_reported_.push_back(std::log(amount));
    }
    return sum;
}

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
    }
    for (std::size_t k = 0; sets.size() > 1 && k < sets.size(); ++k) {
        const std::size_t f = sets[k];
        const MixtureSet& set = assemblage_.mixtures[f];
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
        const double units = report(block, set.x, set.log_x);
        CompositionSet listed{phase, set.amount() * units, {}, {}, {}};
        if (block.variables != nullptr) {
            listed.internal = set.x;
            listed.log_internal = set.log_x;
        }
        listed.fractions.assign(system_->phases[phase].constituents.size(), 0.0);
        PhaseResult& into = result_.phases[phase];
        const double sum = into.amount + listed.amount;
        const auto mean = [&](double& x, double& log_x, double own) {
            x = (x * into.amount + own * listed.amount) / sum;
            log_x = std::log(x);
        };
        for (std::size_t a = 0; a < block.active.size(); ++a) {
            const std::size_t c = block.active[a];
            listed.fractions[c] = reported_[a];
            if (k < block.copies.size()) {
                into.fractions[c] = reported_[a];
                into.log_fractions[c] = log_reported_[a];
            } else {
                mean(into.fractions[c], into.log_fractions[c], reported_[a]);
            }
        }
        if (k < block.copies.size()) {
            into.internal = listed.internal;
            into.log_internal = listed.log_internal;
        } else {
            for (std::size_t i = 0; i < into.internal.size(); ++i) {
                mean(into.internal[i], into.log_internal[i], set.x[i]);
            }
        }
        into.amount = sum;
        into.driving_force = 0.0;
        into.force_of_further = absent_[b].force / units;
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
    phase.force_of_further = -Infinity;
    phase.fractions.assign(count, 0.0);
    phase.log_fractions.assign(count, -Infinity);
    phase.constituent_can_form.assign(count, 0);
    phase.internal.clear();
    phase.log_internal.clear();
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
    double units = 1.0;
    if (best != nullptr) {
        units = report(block, best->x, best->log_x);
        if (block.variables != nullptr) {
            phase.internal = best->x;
            phase.log_internal = best->log_x;
        }
    } else {
        reported_.assign(block.active.size(), block.pure ? 1.0 : NaN);
        log_reported_.assign(block.active.size(), block.pure ? 0.0 : NaN);
        if (block.variables != nullptr) {
            phase.internal.assign(block.count, NaN);
            phase.log_internal = phase.internal;
        }
    }
    phase.driving_force = absent_[b].force / units; // per mole of what is reported
    for (std::size_t a = 0; a < block.active.size(); ++a) {
        const std::size_t c = block.active[a];
        phase.constituent_can_form[c] = 1;
        phase.fractions[c] = reported_[a];
        phase.log_fractions[c] = log_reported_[a];
    }
}

void Solver::fill_potentials(const EquilibriumConditions& conditions) {
    const double rt = GasConstant * terms_.t;
    const std::vector<std::size_t>& components = active_->components();
    const std::span<const double> duals = assemblage_.duals();
    const bool closed = assemblage_.open_count() == 0;
    const bool all = assemblage_.determines_all();
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
        } else if (all || assemblage_.determines(row_)) {
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
            const std::size_t s = active_->species_of(i, c);
            const bool is_species = s != ActiveSystem::None;
            for (std::size_t k = 0; k < components.size(); ++k) {
                row_[k] = a[components[k]];
            }
            if (all || (is_species && closed) || assemblage_.determines(row_)) {
                // The affinity is more exact than the sum over components, whose terms are large.
                const double mu = is_species ? assemblage_.affinities()[s] + active_->gibbs()[s]
                                             : dot(row_, duals);
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

/// The same for a set with internal variables, whose gradient is in `tau_`: its force, what the
/// constraints leave of its potentials, and how far it is from the constraints.
void Solver::certify_variables(const MixtureSet& set, double m, std::span<const double> hessian) {
    const Block& block = active_->blocks[set.block];
    const std::span<const double> duals = assemblage_.duals();
    Certificate& certificate = result_.certificate;
    const std::size_t n = block.count;
    std::vector<double> affinities(n, 0.0);
    std::vector<double> allowed(n);
    double mean_allowed = std::abs(m);
    for (std::size_t i = 0; i < n; ++i) {
        const std::span<const double> a = active_->stoichiometry(block.first + i);
        allowed[i] = std::abs(tau_[i]);
        for (std::size_t j = 0; j < a.size(); ++j) {
            affinities[i] += a[j] * duals[j];
            allowed[i] += std::abs(a[j] * duals[j]);
        }
        // Rounding of the variables themselves shows where the potentials rise steeply with them.
        for (std::size_t k = 0; set.x[i] > 0.0 && k < n; ++k) {
            allowed[i] += std::abs(hessian[i * n + k]) * std::sqrt(set.x[k] / set.x[i]);
        }
        mean_allowed += set.x[i] * allowed[i];
    }
    const auto beyond = [](double value, double terms) {
        return std::max(0.0, std::abs(value) - 64.0 * Epsilon * terms);
    };
    double& worst = certificate.potential;
    worst = std::max(worst, beyond(dot(set.x, affinities) - m, mean_allowed));
    std::vector<double> left(n);
    search_.deviations(block, set.x, set.log_x, affinities, tau_, left);
    for (std::size_t i = 0; i < n; ++i) {
        worst = std::max(worst, beyond(left[i], allowed[i] + mean_allowed));
    }
    certificate.balance =
        std::max(certificate.balance, largest_residual(block.variables->constraints, set.x));
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
        double m = 0.0;
        if (block.curvature == Curvature::Ideal) {
            m = block.evaluator->mixing(set.x, set.log_x);
            for (std::size_t i = 0; i < block.count; ++i) {
                tau_[i] = set.log_x[i] + block.shift + 1.0;
            }
        } else {
            hessian.resize(block.count * block.count);
            m = block.evaluator->mixing(set.x, set.log_x, tau_, hessian);
        }
        const double amount = set.amount();
        for (std::size_t i = 0; i < block.count; ++i) {
            take(active_->stoichiometry(block.first + i), amount * set.x[i]);
        }
        if (block.variables != nullptr) {
            certify_variables(set, m, hessian);
            continue;
        }
        const double mean = dot(set.x, tau_);
        for (std::size_t i = 0; i < block.count; ++i) {
            const std::size_t s = block.first + i;
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
            const double units = report(block, candidate.x, candidate.log_x);
            if (own / units > force) {
                force = own / units;
                allowed = terms / units;
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
