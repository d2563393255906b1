#include "engine/equilibrium/assemblage.hpp"

#include "engine/equilibrium/tolerances.hpp"
#include "engine/equilibrium/vectors.hpp"
#include "engine/units/constants.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>

// Newton's method on potentials and amounts, for a given set of phases and basis.

namespace tessara {
namespace {

/// Squared norm of the residuals, per equation, at which the state is as exact as doubles hold it.
constexpr double Exact = 1e-29;
/// Squared norm per equation that is good enough where rounding allows no less.
constexpr double Good = 1e-21;
constexpr int MostIterations = 120;
constexpr int MostCuts = 12;
/// Fall of ln(amount) after which a set that still falls is taken to vanish.
constexpr double VanishingFall = 14.0;
/// Difference of the logarithms of a balance's sides that Newton's method need not start from.
constexpr double FarBalance = 40.0;
constexpr int FarSweeps = 4;
/// Steps that leave more than this share of the norm are slow; so many of them in a row lead
/// nowhere.
constexpr double SlowProgress = 0.97;
constexpr int MostSlow = 8;
/// Fall of ln(amount) that makes a mixture the likely cause of a failure.
constexpr double BlamedFall = 1.0;
/// Largest growth of ln x of a constituent that is no trace, in one step.
constexpr double MostGrowth = 2.0;
/// Weight of the potential of a trace among the residuals; internal variables may be steep there.
constexpr double TraceWeight = 1e-3;
constexpr double VariableWeight = 0.1;
/// Largest fall of ln(amount) in one step.
constexpr double MostFall = 5.0;

/// Calls `work` with a number of unknowns, for small numbers as one that the compiler knows:
/// innermost loops over it are unrolled then, which is most of their time.
template <class Work>
void with_known_count(std::size_t count, const Work& work) {
    const auto known = [&]<std::size_t... N>(std::index_sequence<N...>) {
        return ((count == N && (work(std::integral_constant<std::size_t, N>()), true)) || ...);
    };
    if (!known(std::make_index_sequence<9>())) {
        work(count);
    }
}

} // namespace

// --- the state ---

void Assemblage::start_from_duals(std::span<const double> duals) {
    v_.assign(rank_, 0.0);
    for (std::size_t k = fixed_; k < rank_; ++k) {
        const std::span<const double> row = member_stoichiometry(basis_[k]);
        v_[k] = dot(row.data(), duals.data(), row.size()) - member_gibbs(basis_[k]);
    }
}

/// Potential of variable i of a general phase less its own G, from the phase's composition: of a
/// constituent, or of what an internal variable holds in exchange.
double Assemblage::member_potential(const Block& block, const MixtureSet& set, std::size_t i) {
    gradient_.resize(block.count);
    hessian_.resize(block.count * block.count);
    const double m = block.evaluator->mixing(set.x, set.log_x, gradient_, hessian_);
    const double whole = m - dot(set.x.data(), gradient_.data(), block.count);
    if (block.variables == nullptr) {
        return gradient_[i] + whole;
    }
    // The multipliers of what holds among the variables sum to `whole` over the groups; that of the
    // base of each is such that what holds nothing has no potential.
    const Constraints& constraints = block.variables->constraints;
    const auto of_base = [&](std::size_t g) {
        return gradient_[block.base[g]] / constraints.weight[block.base[g]];
    };
    if (!constraints.charge.empty()) {
        const std::size_t base = block.base.front();
        const double own = gradient_[i] + constraints.weight[i] * whole;
        return base == Species::None
                   ? own
                   : own - constraints.charge[i] / constraints.charge[base] *
                               (gradient_[base] + constraints.weight[base] * whole);
    }
    if (constraints.group[i] > 0) {
        return gradient_[i] - constraints.weight[i] * of_base(constraints.group[i]);
    }
    double sum = whole;
    for (std::size_t g = 1; g < constraints.groups; ++g) {
        sum += of_base(g);
    }
    return gradient_[i] + constraints.weight[i] * sum;
}

/// Potentials of the members from the compositions of the sets that hold them.
void Assemblage::start_from_compositions() {
    v_.resize(rank_);
    for (std::size_t k = 0; k < fixed_; ++k) {
        v_[k] = 0.0;
    }
    for (std::size_t k = fixed_; k < spanned_; ++k) {
        const MixtureSet& set = mixtures[basis_[k].set];
        const Block& block = system_->blocks[set.block];
        const std::size_t i = basis_[k].id - block.first;
        if (block.curvature == Curvature::Ideal) {
            v_[k] = set.log_x[i] + block.shift;
            continue;
        }
        v_[k] = member_potential(block, set, i);
    }
    for (std::size_t k = spanned_; k < rank_; ++k) {
        const std::span<const double> row = member_stoichiometry(basis_[k]);
        v_[k] = duals_.size() == row.size()
                    ? dot(row.data(), duals_.data(), row.size()) - member_gibbs(basis_[k])
                    : 0.0;
    }
}

void Assemblage::update_affinities(std::size_t first, std::size_t count) {
    for (std::size_t s = first; s < first + count; ++s) {
        const double* nu = nu_row(s);
        double tau = -kappa_[s];
        for (std::size_t k = fixed_; k < rank_; ++k) {
            tau += nu[k] * v_[k];
        }
        tau_[s] = tau;
    }
}

double Assemblage::balance_sides() {
    const std::size_t m = unknowns();
    for (std::size_t k = 0; k < m; ++k) {
        const double right = right_[fixed_ + k];
        above_scale_[k] = std::max(-right, 0.0);
        below_scale_[k] = std::max(right, 0.0);
    }
    with_known_count(m, [&](auto count) {
        double* __restrict above = above_scale_.data();
        double* __restrict below = below_scale_.data();
        for (std::size_t f = 0; f < mixture_count; ++f) {
            const Block& block = system_->blocks[mixtures[f].block];
            for (std::size_t i = 0; i < block.count; ++i) {
                const double n = amounts_[sets_[f].first + i];
                const double* above_part = &above_part_[(block.first + i) * m];
                const double* below_part = &below_part_[(block.first + i) * m];
                for (std::size_t k = 0; k < count; ++k) {
                    above[k] += n * above_part[k];
                    below[k] += n * below_part[k];
                }
            }
        }
    });
    double norm = 0.0;
    any_underflow_ = false;
    for (std::size_t k = 0; k < m; ++k) {
        for (const bool upper : {true, false}) {
            double& scale = upper ? above_scale_[k] : below_scale_[k];
            double& log_side = upper ? above_[k] : below_[k];
            if (scale > 1e-280) {
                log_side = std::log(scale);
                scale = 1.0 / scale;
                continue;
            }
            // All terms of this side underflow: their logarithms are added up instead.
            any_underflow_ = true;
            double top = -std::numeric_limits<double>::infinity();
            double sum = 0.0;
            for (const int pass : {0, 1}) {
                for (std::size_t f = 0; f < mixture_count; ++f) {
                    const Block& block = system_->blocks[mixtures[f].block];
                    for (std::size_t i = 0; i < block.count; ++i) {
                        const double nu = nu_row(block.first + i)[fixed_ + k];
                        if (nu != 0.0 && (nu > 0.0) == upper) {
                            const double term =
                                log_amounts_[sets_[f].first + i] + std::log(std::abs(nu));
                            top = pass == 0 ? std::max(top, term) : top;
                            sum += pass == 0 ? 0.0 : std::exp(term - top);
                        }
                    }
                }
            }
            scale = 0.0;
            log_side = std::isfinite(top) ? top + std::log(sum) : -1e4;
        }
        const double residual = above_[k] - below_[k];
        norm += residual * residual;
    }
    return norm;
}

double Assemblage::evaluate() {
    double norm = 0.0;
    for (std::size_t f = 0; f < mixture_count; ++f) {
        MixtureSet& set = mixtures[f];
        const Block& block = system_->blocks[set.block];
        update_affinities(block.first, block.count);
        const std::span<const double> tau(&tau_[block.first], block.count);
        SetState& state = sets_[f];
        state.mismatch = 0.0;
        if (block.curvature == Curvature::Ideal) {
            state.force = PhaseSearch::ideal(block, tau, set.x, set.log_x);
        } else {
            gradient_.resize(block.count);
            hessian_.resize(block.count * block.count);
            const double m = block.evaluator->mixing(set.x, set.log_x, gradient_, hessian_);
            const std::span rho(rho_.data(), block.count);
            search_->deviations(block, set.x, set.log_x, tau, gradient_, rho);
            state.force = dot(set.x, tau) - m;
            const double trace_weight = block.variables == nullptr ? TraceWeight : VariableWeight;
            for (std::size_t i = 0; i < block.count; ++i) {
                state.mismatch += (set.x[i] + trace_weight) * rho[i] * rho[i];
            }
        }
        norm += state.force * state.force + state.mismatch;
        const double amount = set.amount();
        for (std::size_t i = 0; i < block.count; ++i) {
            amounts_[state.first + i] = amount * set.x[i];
            log_amounts_[state.first + i] = set.log_amount + set.log_x[i];
        }
    }
    return norm + balance_sides();
}

/// The change of one member's potential that closes its own balance, the others held. The balance
/// rises with the potential, so that Newton's method between bounds finds it from anywhere.
double Assemblage::solve_balance_alone(std::size_t k) const {
    constexpr double Empty = -std::numeric_limits<double>::infinity();
    const double right = right_[fixed_ + k];
    const double log_right[2] = {right < 0.0 ? std::log(-right) : Empty,
                                 right > 0.0 ? std::log(right) : Empty};
    double low = -std::numeric_limits<double>::infinity();
    double high = std::numeric_limits<double>::infinity();
    double change = 0.0;
    const auto for_each_term = [&](const auto& take) {
        for (std::size_t f = 0; f < mixture_count; ++f) {
            const Block& block = system_->blocks[mixtures[f].block];
            const bool ideal = block.curvature == Curvature::Ideal;
            for (std::size_t i = 0; i < block.count; ++i) {
                const double nu = nu_row(block.first + i)[fixed_ + k];
                if (nu != 0.0) {
                    const double rate = ideal ? nu : 0.0;
                    take(nu > 0.0 ? 0 : 1, rate,
                         log_amounts_[sets_[f].first + i] + std::log(std::abs(nu)) + rate * change);
                }
            }
        }
    };
    for (int iteration = 0; iteration < MostIterations; ++iteration) {
        // Sums of exponentials on both sides, with their slopes, scaled by the largest term.
        double top[2] = {log_right[0], log_right[1]};
        for_each_term(
            [&](int side, double, double term) { top[side] = std::max(top[side], term); });
        if (!std::isfinite(top[0]) || !std::isfinite(top[1])) {
            return 0.0; // one side is empty: no change closes it
        }
        double sum[2] = {std::exp(log_right[0] - top[0]), std::exp(log_right[1] - top[1])};
        double slope[2] = {0.0, 0.0};
        for_each_term([&](int side, double rate, double term) {
            const double part = std::exp(term - top[side]);
            sum[side] += part;
            slope[side] += part * rate;
        });
        const double residual = top[0] + std::log(sum[0]) - top[1] - std::log(sum[1]);
        if (std::abs(residual) < 1e-2) {
            break;
        }
        (residual > 0.0 ? high : low) = change;
        const double rise = slope[0] / sum[0] - slope[1] / sum[1];
        if (!(rise > 0.0)) {
            return 0.0;
        }
        double next = change - residual / rise;
        if (!(next > low && next < high)) {
            next = 0.5 * (low + high);
        }
        if (!std::isfinite(next)) {
            return 0.0;
        }
        change = next;
    }
    return change;
}

/// Balances of traces may start out far off, by thousands of orders of magnitude where the linear
/// programme left their potentials open. Each is closed alone, a few times over.
void Assemblage::settle_far_balances() {
    for (int sweep = 0; sweep < FarSweeps; ++sweep) {
        bool changed = false;
        for (std::size_t k = 0; k < unknowns(); ++k) {
            if (std::abs(above_[k] - below_[k]) > FarBalance) {
                const double change = solve_balance_alone(k);
                if (change != 0.0) {
                    v_[fixed_ + k] += change;
                    evaluate();
                    changed = true;
                }
            }
        }
        if (!changed) {
            return;
        }
    }
}

/// Size of the rounding in the residuals: that of the largest numbers which cancel in them.
double Assemblage::rounding_level() const {
    double largest = 1.0;
    for (std::size_t f = 0; f < mixture_count; ++f) {
        const Block& block = system_->blocks[mixtures[f].block];
        for (std::size_t i = 0; i < block.count; ++i) {
            if (mixtures[f].x[i] > 0.0) {
                largest = std::max(largest, std::abs(kappa_[block.first + i]));
            }
        }
    }
    for (std::size_t k = fixed_; k < spanned_; ++k) {
        largest = std::max(largest, std::abs(v_[k]));
    }
    return 16.0 * Epsilon * largest;
}

// --- Newton's system ---

/// Works out the changes of ln x of a general set: for its own mismatch, then per unit of each
/// unknown.
void Assemblage::respond(std::size_t f) {
    const MixtureSet& set = mixtures[f];
    const Block& block = system_->blocks[set.block];
    const std::size_t n = block.count;
    const std::size_t m = unknowns();
    // A phase that may not unmix is solved for also where it is unstable.
    search_->prepare(block, set.x, set.log_x, !block.may_add_sets);
    const std::span<const double> gradient = search_->gradient();
    const std::span<double> responses(&responses_[sets_[f].first * (m + 1)], n * (m + 1));
    search_->deviations(block, set.x, set.log_x, std::span(&tau_[block.first], n), gradient,
                        std::span(rho_.data(), n));
    for (std::size_t i = 0; i < n; ++i) {
        const double root = search_->root(i);
        const double* nu = nu_row(block.first + i) + fixed_;
        responses[i] = root * rho_[i];
        for (std::size_t l = 0; l < m; ++l) {
            responses[(l + 1) * n + i] = root * nu[l];
        }
    }
    search_->respond(responses, m + 1);
}

/// d ln(side) / d ln(amount) of a constituent in each balance, with the signs of both sides.
template <class Count>
void Assemblage::take_shares(std::size_t species, std::size_t place, Count m, double* shares) {
    const double amount = amounts_[place];
    const double* above_part = &above_part_[species * m];
    const double* below_part = &below_part_[species * m];
    for (std::size_t k = 0; k < m; ++k) {
        shares[k] = amount * (above_part[k] * above_scale_[k] - below_part[k] * below_scale_[k]);
    }
    if (!any_underflow_) {
        return;
    }
    const double* nu = nu_row(species) + fixed_;
    for (std::size_t k = 0; k < m; ++k) {
        const bool upper = nu[k] > 0.0;
        if (nu[k] != 0.0 && (upper ? above_scale_[k] : below_scale_[k]) == 0.0) {
            shares[k] = nu[k] * std::exp(log_amounts_[place] - (upper ? above_[k] : below_[k]));
        }
    }
}

/// The row of an ideal set, whose driving force is to vanish, and what it holds in the balances.
/// `Count`, the number of unknown potentials, may be known to the compiler.
template <class Count>
void Assemblage::fill_ideal_set(std::size_t f, Count m) {
    const MixtureSet& set = mixtures[f];
    const std::size_t species = system_->blocks[set.block].first;
    const std::size_t n = set.x.size();
    const std::size_t own = m + f;
    // Where their number is known the sums stand on the stack, and nothing else points to them.
    constexpr bool Known = !std::is_same_v<Count, std::size_t>;
    std::array<double, Known ? Count() * (Count() + 3) : 0> known_sums{};
    double* shares = known_sums.data();
    if constexpr (!Known) {
        sums_.assign(m * (m + 3), 0.0);
        shares = sums_.data();
    }
    double* mean = shares + m;
    double* of_amount = mean + m;
    double* of_potentials = of_amount + m;
    for (std::size_t i = 0; i < n; ++i) {
        const double* nu = nu_row(species + i) + fixed_;
        const double x = set.x[i];
        take_shares(species + i, sets_[f].first + i, m, shares);
        for (std::size_t l = 0; l < m; ++l) {
            mean[l] += x * nu[l];
            of_amount[l] += shares[l];
            for (std::size_t k = 0; k < m; ++k) {
                of_potentials[l * m + k] += shares[k] * nu[l];
            }
        }
    }
    vector_[static_cast<Eigen::Index>(own)] = -sets_[f].force;
    // d ln(amount of i) = d ln N + d ln x_i, and d ln x_i is nu_i less the phase's mean.
    const std::size_t size = m + mixture_count;
    for (std::size_t l = 0; l < m; ++l) {
        double* column = matrix_.data() + l * size;
        column[own] += mean[l];
        for (std::size_t k = 0; k < m; ++k) {
            column[k] += of_potentials[l * m + k] - of_amount[k] * mean[l];
        }
        matrix_.data()[own * size + l] += of_amount[l];
    }
}

/// The same of a general set, whose compositions respond in a way of their own.
template <class Count>
void Assemblage::fill_general_set(std::size_t f, Count m) {
    const MixtureSet& set = mixtures[f];
    const std::size_t species = system_->blocks[set.block].first;
    const std::size_t n = set.x.size();
    const std::size_t own = m + f;
    respond(f);
    const double* response = &responses_[sets_[f].first * (m + 1)];
    const auto column = [&](std::size_t l) { return matrix_.data() + l * (m + mixture_count); };
    double* right = vector_.data();
    right[own] = -sets_[f].force;
    for (std::size_t i = 0; i < n; ++i) {
        const double* nu = nu_row(species + i) + fixed_;
        take_shares(species + i, sets_[f].first + i, m, shares_.data());
        const double weight = set.x[i] * rho_[i];
        right[own] -= weight * response[i];
        for (std::size_t k = 0; k < m; ++k) {
            column(own)[k] += shares_[k];
            right[k] -= shares_[k] * response[i];
        }
        for (std::size_t l = 0; l < m; ++l) {
            const double change = response[(l + 1) * n + i];
            double* __restrict entries = column(l);
            entries[own] += set.x[i] * nu[l] + weight * change;
            for (std::size_t k = 0; k < m; ++k) {
                entries[k] += shares_[k] * change;
            }
        }
    }
}

void Assemblage::fill_system() {
    const std::size_t m = unknowns();
    const auto rows = static_cast<Eigen::Index>(m + mixture_count);
    if (matrix_.rows() != rows) {
        matrix_.resize(rows, rows);
    }
    if (vector_.size() != rows) {
        vector_.resize(rows);
    }
    matrix_.setZero();
    for (std::size_t k = 0; k < m; ++k) {
        vector_[static_cast<Eigen::Index>(k)] = below_[k] - above_[k];
    }
    shares_.resize(m);
    with_known_count(m, [this](auto count) {
        for (std::size_t f = 0; f < mixture_count; ++f) {
            if (system_->blocks[mixtures[f].block].curvature == Curvature::Ideal) {
                fill_ideal_set(f, count);
            } else {
                fill_general_set(f, count);
            }
        }
    });
}

/// d ln x of a general set's constituent for the whole step.
double Assemblage::composition_step(std::size_t f, std::size_t i) const {
    const std::size_t m = unknowns();
    const std::size_t n = mixtures[f].x.size();
    const double* response = &responses_[sets_[f].first * (m + 1)];
    double change = response[i];
    for (std::size_t l = 0; l < m; ++l) {
        change += response[(l + 1) * n + i] * vector_[static_cast<Eigen::Index>(l)];
    }
    return change;
}

/// The part of the step that keeps the compositions of general sets within reach.
double Assemblage::step_limit() const {
    double length = 1.0;
    for (std::size_t f = 0; f < mixture_count; ++f) {
        const MixtureSet& set = mixtures[f];
        if (system_->blocks[set.block].curvature == Curvature::Ideal) {
            continue;
        }
        for (std::size_t i = 0; i < set.x.size(); ++i) {
            const double change = composition_step(f, i);
            const double room = std::max(MostGrowth, std::log(0.5) - set.log_x[i]);
            if (change > room) {
                length = std::min(length, room / change);
            } else if (set.x[i] > 0.1 && change < -MostGrowth) {
                length = std::min(length, -MostGrowth / change);
            }
        }
    }
    return length;
}

void Assemblage::take_step(double length) {
    const std::size_t m = unknowns();
    for (std::size_t f = 0; f < mixture_count; ++f) {
        MixtureSet& set = mixtures[f];
        if (system_->blocks[set.block].curvature != Curvature::Ideal) {
            for (std::size_t i = 0; i < set.x.size(); ++i) {
                set.log_x[i] += length * composition_step(f, i);
            }
            system_->blocks[set.block].normalise(set.x, set.log_x);
        }
        // Growth follows the amount itself: where a set starts far too small, its logarithm would
        // overshoot.
        const double change = length * vector_[static_cast<Eigen::Index>(m + f)];
        set.log_amount += change > 0.0 ? std::log1p(change) : std::max(change, -MostFall);
    }
    for (std::size_t l = 0; l < m; ++l) {
        v_[fixed_ + l] += length * vector_[static_cast<Eigen::Index>(l)];
    }
}

void Assemblage::save() {
    saved_.clear();
    saved_.insert(saved_.end(), v_.begin(), v_.end());
    for (std::size_t f = 0; f < mixture_count; ++f) {
        const MixtureSet& set = mixtures[f];
        saved_.push_back(set.log_amount);
        saved_.insert(saved_.end(), set.x.begin(), set.x.end());
        saved_.insert(saved_.end(), set.log_x.begin(), set.log_x.end());
    }
}

void Assemblage::restore() {
    auto from = saved_.cbegin();
    const auto take = [&](std::vector<double>& into) {
        const auto end = from + static_cast<std::ptrdiff_t>(into.size());
        std::copy(from, end, into.begin());
        from = end;
    };
    take(v_);
    for (std::size_t f = 0; f < mixture_count; ++f) {
        mixtures[f].log_amount = *from++;
        take(mixtures[f].x);
        take(mixtures[f].log_x);
    }
}

/// Whether a set's amount runs to zero; `vanishing_` says which.
bool Assemblage::falls_to_nothing() {
    const std::size_t m = unknowns();
    for (std::size_t f = 0; f < mixture_count; ++f) {
        if (vector_[static_cast<Eigen::Index>(m + f)] < -1.0 &&
            mixtures[f].log_amount < start_log_amount_[f] - VanishingFall) {
            vanishing_ = f;
            return true;
        }
    }
    return false;
}

/// Amount that its balance leaves to the fixed member k; `size` is the sum of the absolute terms.
double Assemblage::pure_amount(std::size_t k, double& size) const {
    // A right-hand side of zero is exact: what then comes out may be a trace.
    double amount = right_[k];
    size = right_[k] != 0.0 ? right_size_[k] : 0.0;
    for (std::size_t f = 0; f < mixture_count; ++f) {
        const Block& block = system_->blocks[mixtures[f].block];
        for (std::size_t i = 0; i < block.count; ++i) {
            const double term = amounts_[sets_[f].first + i] * nu_row(block.first + i)[k];
            amount -= term;
            size += std::abs(term);
        }
    }
    return std::abs(amount) <= ZeroTolerance * size ? 0.0 : amount;
}

/// Names the phase without which the others may have a state, where Newton's method found none: a
/// pure phase that would have to be less than nothing, or a mixture that was on its way there.
Assemblage::Outcome Assemblage::blame() {
    Outcome outcome = Outcome::Failed;
    double worst = 0.0;
    for (std::size_t k = 0; k < fixed_; ++k) {
        if (basis_[k].kind == Member::Kind::Pure) {
            double size = 0.0;
            const double amount = pure_amount(k, size);
            if (amount < worst * size) {
                worst = amount / size;
                vanishing_ = basis_[k].set;
                outcome = Outcome::PureVanishes;
            }
        }
    }
    if (outcome == Outcome::Failed) {
        worst = -BlamedFall;
        for (std::size_t f = 0; f < mixture_count; ++f) {
            const double change = mixtures[f].log_amount - start_log_amount_[f];
            if (change < worst) {
                worst = change;
                vanishing_ = f;
                outcome = Outcome::SetVanishes;
            }
        }
    }
    return outcome;
}

/// Where rounding of steep potentials hides what a last step would gain, it may still be worth its
/// while for the balances.
void Assemblage::polish_balances(double good) {
    const auto balances = [&] {
        double sum = 0.0;
        for (std::size_t k = 0; k < unknowns(); ++k) {
            sum += (above_[k] - below_[k]) * (above_[k] - below_[k]);
        }
        return sum;
    };
    const double before = balances();
    if (before <= Exact * static_cast<double>(unknowns())) {
        return;
    }
    take_step(step_limit());
    if (!(evaluate() <= good) || balances() > before) {
        restore();
        evaluate();
    }
}

Assemblage::Outcome Assemblage::iterate() {
    const std::size_t m = unknowns();
    const std::size_t count = m + mixture_count;
    if (mixture_count > m) {
        // More mixture sets than potentials left to fix them: the smallest goes.
        vanishing_ = 0;
        for (std::size_t f = 1; f < mixture_count; ++f) {
            if (mixtures[f].log_amount < mixtures[vanishing_].log_amount) {
                vanishing_ = f;
            }
        }
        return Outcome::SetVanishes;
    }
    start_log_amount_.clear();
    for (std::size_t f = 0; f < mixture_count; ++f) {
        start_log_amount_.push_back(mixtures[f].log_amount);
    }
    evaluate();
    settle_far_balances();
    double norm = evaluate();
    const double exact = Exact * static_cast<double>(count);
    double good = Good * static_cast<double>(count);
    int slow = 0;
    for (int iteration = 0; iteration < MostIterations; ++iteration) {
        if (!std::isfinite(norm)) {
            return Outcome::Failed;
        }
        if (norm <= exact) {
            return Outcome::Solved;
        }
        const double rounding = rounding_level();
        good = std::max(Good, rounding * rounding) * static_cast<double>(count);
        ++iterations_;
        fill_system();
        lu_.compute(matrix_);
        vector_ = lu_.solve(vector_);
        if (!vector_.allFinite()) {
            return norm <= good ? Outcome::Solved : Outcome::Failed;
        }
        if (falls_to_nothing()) {
            return Outcome::SetVanishes;
        }
        double length = step_limit();
        save();
        double new_norm = norm;
        bool accepted = false;
        for (int cut = 0; cut < MostCuts && !accepted; ++cut) {
            take_step(length);
            new_norm = evaluate();
            accepted = new_norm <= norm * (1.0 - 1e-4 * length);
            if (!accepted) {
                restore();
                length *= 0.5;
            }
            if (norm <= good) {
                break; // rounding decides; a shorter step gains nothing
            }
        }
        if (!accepted) {
            evaluate();
            if (norm > good) {
                return Outcome::Failed;
            }
            polish_balances(good);
            return Outcome::Solved;
        }
        slow = new_norm > SlowProgress * norm ? slow + 1 : 0;
        if (slow > MostSlow) {
            return Outcome::Failed;
        }
        norm = new_norm;
    }
    return norm <= good ? Outcome::Solved : Outcome::Failed;
}

} // namespace tessara
