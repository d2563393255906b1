#include "engine/equilibrium/solver.hpp"

#include "engine/equilibrium/tolerances.hpp"
#include "engine/equilibrium/vectors.hpp"
#include "engine/text/text.hpp"
#include "engine/units/constants.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace tessara {
namespace {

constexpr double Infinity = std::numeric_limits<double>::infinity();
/// Driving force above which a composition is worth a column before Newton's method starts.
constexpr double CoarseThreshold = 0.05;
constexpr int CoarseRounds = 3;
/// Fractions below this are left out of the first columns.
constexpr double CoarseTrace = 1e-4;
/// Amount, relative to the largest, below which a phase of the programme is a trace.
constexpr double TracePhase = 1e-5;
/// Sets that may vanish while one assemblage is solved.
constexpr int MostVanishing = 40;
/// The margin, in R T, to which open potentials keep absent phases away where they can.
constexpr double OpenMargin = 20.0;
/// Coefficients of open potentials that are as small as this in their terms are none.
constexpr double OpenTolerance = 1e-12;
constexpr int MostCuts = 60;
/// Steps on the way from another temperature.
constexpr int MostWaySteps = 60;
/// Phases that join one after the other before the linear programme is asked again.
constexpr int MostJoins = 30;
/// Phases that are tried, one instead of the other, as the next to join.
constexpr std::size_t MostTries = 4;
/// Prices of the programme, in R T, that differ by less lead Newton's method to the same end; so
/// many such starts in a row are given up.
constexpr double SamePrices = 1e-9;
constexpr int MostSameStarts = 2;
/// Sets of one phase nearer to each other are near a critical point.
constexpr double NearSets = 0.1;
constexpr std::size_t NoBlock = static_cast<std::size_t>(-1);

} // namespace

Solver::Solver(std::shared_ptr<const System> system)
    : system_(std::move(system)), terms_(system_->terms()) {
    for (std::size_t i = 0; i < system_->phases.size(); ++i) {
        const Phase& phase = system_->phases[i];
        for (std::size_t c = 0; !phase.gas && c < phase.constituents.size(); ++c) {
            if (phase.constituents[c].has_volume_data) {
                with_volume_data_.emplace_back(i, c);
            }
        }
    }
}

void Solver::set_options(const Options& options) {
    options_ = options;
    active_.reset();
    assemblage_is_start_ = false;
}

const Equilibrium& Solver::solve(const EquilibriumConditions& conditions, Start start) {
    iterations_ = 0;
    prepare(conditions);
    const bool can_start = std::exchange(assemblage_is_start_, false);
    if (start == Start::Cold || !can_start || !solve_warm() || holds_impossible()) {
        for (std::vector<Candidate>& known : known_minima_) {
            known.clear(); // so that the result is that of these conditions alone
        }
        solve_cold(conditions);
    }
    make_result(conditions);
    if (!result_.certificate.holds()) {
        throw SolveError("the calculation did not converge: the result of the last attempt failed "
                         "its check (balance " +
                         quoted_number(result_.certificate.balance) + ", potentials " +
                         quoted_number(result_.certificate.potential) + " RT, driving force " +
                         quoted_number(result_.certificate.driving_force) + " RT)");
    }
    assemblage_is_start_ = true;
    return result_;
}

const Equilibrium* Solver::follow(const EquilibriumConditions& conditions) {
    iterations_ = 0;
    prepare(conditions);
    if (!std::exchange(assemblage_is_start_, false)) {
        return nullptr;
    }
    assemblage_.keep();
    const auto outcome = assemblage_.solve(*active_, reservoirs_, feeds_, {});
    iterations_ = assemblage_.iterations();
    bool good = outcome == Assemblage::Outcome::Solved && stable_phases_hold();
    if (good) {
        if (assemblage_.open_count() > 0) {
            close_open_potentials(); // forces are what they are where there are no such potentials
        }
        find_violations();
        make_result(conditions);
        good = result_.certificate.balance <= Certificate::BalanceBound &&
               result_.certificate.potential <= Certificate::PotentialBound;
    }
    if (!good) {
        assemblage_.take_back();
    }
    assemblage_is_start_ = true;
    return good ? &result_ : nullptr;
}

Solver::Snapshot Solver::snapshot() const {
    if (!assemblage_is_start_) {
        return {};
    }
    const auto count = static_cast<std::ptrdiff_t>(assemblage_.mixture_count);
    return {active_number_,
            assemblage_.pure,
            {assemblage_.mixtures.begin(), assemblage_.mixtures.begin() + count}};
}

bool Solver::start_from(const Snapshot& snapshot) {
    if (snapshot.of == 0 || snapshot.of != active_number_) {
        return false;
    }
    assemblage_.clear();
    assemblage_.pure = snapshot.pure;
    for (const MixtureSet& set : snapshot.mixtures) {
        assemblage_.add_mixture(set.block, set.x.size()) = set;
    }
    assemblage_is_start_ = true;
    return true;
}

// --- Newton's method and what follows it ---

/// Solves for the assemblage, dropping sets that vanish.
bool Solver::settle(std::span<const double> start_duals) {
    for (int changes = 0; changes < MostVanishing; ++changes) {
        const Assemblage::Outcome outcome =
            assemblage_.solve(*active_, reservoirs_, feeds_, start_duals);
        iterations_ += assemblage_.iterations();
        switch (outcome) {
        case Assemblage::Outcome::Solved:
            return true;
        case Assemblage::Outcome::Failed:
            return false;
        case Assemblage::Outcome::SetVanishes:
            assemblage_.remove_mixture(assemblage_.vanishing());
            break;
        case Assemblage::Outcome::PureVanishes:
            assemblage_.pure.erase(assemblage_.pure.begin() +
                                   static_cast<std::ptrdiff_t>(assemblage_.vanishing()));
            break;
        }
        start_duals = {};
    }
    return false;
}

/// Removes the sets of minute amounts, but for those without which the others could not hold what
/// goes in. Says whether any was removed.
bool Solver::drop_traces() {
    struct Holder {
        double amount;
        std::size_t block;
        bool kept;
    };
    std::vector<Holder> holders;
    holders.reserve(assemblage_.pure.size() + assemblage_.mixture_count);
    for (const PureSet& set : assemblage_.pure) {
        holders.push_back({set.amount, set.block, false});
    }
    for (std::size_t f = 0; f < assemblage_.mixture_count; ++f) {
        holders.push_back({assemblage_.mixtures[f].amount(), assemblage_.mixtures[f].block, false});
    }
    std::vector<Holder*> order;
    for (Holder& holder : holders) {
        order.push_back(&holder);
    }
    std::sort(order.begin(), order.end(),
              [](const Holder* a, const Holder* b) { return a->amount > b->amount; });
    RowSpace held;
    held.reset(active_->component_count());
    bool dropped = false;
    for (Holder* holder : order) {
        const Block& block = active_->blocks[holder->block];
        holder->kept = holder->amount >= TracePhase * order.front()->amount;
        for (std::size_t i = 0; i < block.count; ++i) {
            holder->kept = held.offer(active_->exchange(block.first + i)) || holder->kept;
        }
        dropped = dropped || !holder->kept;
    }
    const std::size_t pure_count = assemblage_.pure.size();
    for (std::size_t f = assemblage_.mixture_count; f-- > 0;) {
        if (!holders[pure_count + f].kept) {
            assemblage_.remove_mixture(f);
        }
    }
    for (std::size_t k = pure_count; k-- > 0;) {
        if (!holders[k].kept) {
            assemblage_.pure.erase(assemblage_.pure.begin() + static_cast<std::ptrdiff_t>(k));
        }
    }
    return dropped;
}

std::size_t Solver::set_count(std::size_t block) const {
    std::size_t count = 0;
    for (std::size_t f = 0; f < assemblage_.mixture_count; ++f) {
        count += assemblage_.mixtures[f].block == block ? 1 : 0;
    }
    return count;
}

bool Solver::is_stable(std::size_t block) const {
    return set_count(block) > 0 ||
           std::any_of(assemblage_.pure.begin(), assemblage_.pure.end(),
                       [&](const PureSet& set) { return set.block == block; });
}

/// Whether each set is a minimum of its phase and no two sets are one.
bool Solver::stable_phases_hold() {
    for (std::size_t f = 0; f < assemblage_.mixture_count; ++f) {
        const MixtureSet& set = assemblage_.mixtures[f];
        const Block& block = active_->blocks[set.block];
        const bool closed = !block.may_add_sets && set_count(set.block) >= block.copies.size();
        if (!closed && !search_.locally_stable(block, set.x, set.log_x)) {
            return false;
        }
        for (std::size_t g = 0; g < f; ++g) {
            if (assemblage_.mixtures[g].block == set.block &&
                block.same_set(assemblage_.mixtures[g].x, set.x, SameSet)) {
                return false;
            }
        }
    }
    return true;
}

/// The minima of a phase under these affinities, begun from those of its last search.
const std::vector<Candidate>& Solver::minima(std::size_t b, std::span<const double> tau) {
    return remember(b, search_.all(active_->blocks[b], tau, MostMinima, known_minima_[b]));
}

/// Those at hand of a phase that may come up to `least`.
const std::vector<Candidate>& Solver::likely_minima(std::size_t b, std::span<const double> tau,
                                                    double least) {
    return remember(b, search_.likely(active_->blocks[b], tau, known_minima_[b], least));
}

const std::vector<Candidate>& Solver::remember(std::size_t b, const std::vector<Candidate>& found) {
    if (!found.empty()) {
        known_minima_[b] = found;
    }
    return found;
}

/// Works out the driving forces of the phases that are not stable, dormant ones too, and says
/// whether one of those that take part would lower the Gibbs energy.
bool Solver::find_violations() {
    const std::span<const double> tau = assemblage_.affinities();
    absent_.resize(active_->blocks.size());
    bool found = false;
    for (std::size_t b = 0; b < active_->blocks.size(); ++b) {
        const Block& block = active_->blocks[b];
        Absent& absent = absent_[b];
        absent.minima.clear();
        absent.force = -Infinity;
        const std::size_t sets = set_count(b);
        if (block.pure) {
            absent.force = tau[block.first];
            found = found || (!block.dormant && absent.force > JoinThreshold && !is_stable(b));
            continue;
        }
        if (sets > 0 && block.curvature == Curvature::Ideal) {
            continue; // a convex phase has no second composition
        }
        const bool closed = sets > 0 && !block.may_add_sets && sets >= block.copies.size();
        for (const Candidate& candidate : minima(b, tau.subspan(block.first, block.count))) {
            bool own = false;
            for (std::size_t f = 0; f < assemblage_.mixture_count; ++f) {
                const MixtureSet& set = assemblage_.mixtures[f];
                // The same contents in a better order are another composition.
                own = own || (set.block == b && (same_composition(set.x, candidate.x, SameSet) ||
                                                 (candidate.driving_force <= JoinThreshold &&
                                                  block.same_set(set.x, candidate.x, SameSet))));
            }
            if (!own) {
                absent.minima.push_back(candidate);
                absent.force = std::max(absent.force, candidate.driving_force);
            }
        }
        if (closed && absent.force > 0.0) {
            absent.force = 0.0; // further sets are not allowed
            absent.minima.clear();
        }
        found = found || (!block.dormant && absent.force > JoinThreshold);
    }
    return found;
}

/// Chooses potentials that the stable phases leave open so that no absent phase gains, as far from
/// all of them as may be. Says whether there are such potentials; if not, the compositions that
/// stand against it have joined the linear programme.
bool Solver::close_open_potentials() {
    const std::size_t open = assemblage_.open_count();
    std::vector<double> tau(assemblage_.affinities().begin(), assemblage_.affinities().end());
    std::vector<double> entries(open + 1);
    std::vector<Column> cuts;
    open_programme_.reset(open + 1);
    // The dual of "largest margin t with nu . change + t <= -force for each absent composition".
    const auto add = [&](double force) { open_programme_.add_column(entries, -force); };
    const auto direction = [&](std::size_t s) {
        bool any = false;
        for (std::size_t d = 0; d < open; ++d) {
            entries[d] = assemblage_.open_coefficient(s, d);
            any = any || entries[d] != 0.0;
        }
        entries[open] = 1.0;
        return any;
    };
    const auto composition_direction = [&](const Block& block, std::span<const double> y) {
        bool any = false;
        for (std::size_t d = 0; d < open; ++d) {
            entries[d] = 0.0;
            double size = 0.0;
            for (std::size_t i = 0; i < block.count; ++i) {
                const double term = y[i] * assemblage_.open_coefficient(block.first + i, d);
                entries[d] += term;
                size += std::abs(term);
            }
            entries[d] = std::abs(entries[d]) <= OpenTolerance * size ? 0.0 : entries[d];
            any = any || entries[d] != 0.0;
        }
        entries[open] = 1.0;
        return any;
    };
    for (std::size_t k = 0; k < active_->entered_corner_count(); ++k) {
        const Corner& corner = active_->corners()[k];
        const Block& block = active_->blocks[corner.block];
        if (block.variables == nullptr) {
            const std::size_t s = block.first + corner.number;
            if (direction(s)) {
                add(tau[s] - (corner_cost(corner) - active_->gibbs()[s]));
            }
            continue;
        }
        const std::span<const double> y = block.corner(corner.number);
        if (composition_direction(block, y)) {
            add(dot(y, std::span(tau).subspan(block.first)) - corner_cost(corner));
        }
    }
    std::fill(entries.begin(), entries.end(), 0.0);
    entries[open] = 1.0;
    add(-OpenMargin);
    open_programme_.set_right_side(entries);

    std::vector<double> change(open);
    std::vector<double> moved(tau.size());
    for (int round = 0; round < MostCuts; ++round) {
        if (open_programme_.solve() != LinearProgramme::Status::Optimal) {
            return false;
        }
        for (std::size_t d = 0; d < open; ++d) {
            change[d] = open_programme_.dual(d);
        }
        const double margin = open_programme_.dual(open);
        for (std::size_t s = 0; s < tau.size(); ++s) {
            moved[s] = tau[s];
            for (std::size_t d = 0; d < open; ++d) {
                moved[s] += assemblage_.open_coefficient(s, d) * change[d];
            }
        }
        bool cut = false;
        for (std::size_t b = 0; margin > -1.0 && b < active_->blocks.size(); ++b) {
            const Block& block = active_->blocks[b];
            if (block.dormant || block.pure || block.count < 2 || set_count(b) > 0) {
                continue;
            }
            const std::span<const double> block_tau(&moved[block.first], block.count);
            const Candidate& best = search_.all(block, block_tau, 1).front();
            if (best.driving_force > std::min(0.0, -0.5 * margin)) {
                composition_direction(block, best.x);
                add(dot(best.x, std::span(tau).subspan(block.first)) -
                    block.evaluator->mixing(best.x, best.log_x));
                cuts.push_back({b, best.x, best.log_x});
                cut = true;
            }
        }
        if (!cut || margin < JoinThreshold) {
            const bool closed = margin >= -JoinThreshold;
            if (closed) {
                assemblage_.shift_open(change);
            } else {
                absent_.resize(active_->blocks.size());
                for (Absent& absent : absent_) {
                    absent.minima.clear();
                }
                restart_programme();
                for (const Column& column : cuts) {
                    add_column(column.block, column.x, column.log_x);
                }
            }
            return closed;
        }
    }
    return false;
}

bool Solver::solve_warm() {
    return settle({}) && stable_phases_hold() && improve();
}

/// Whether a warm start has kept species in that exact ratios of what goes in leave no room for.
bool Solver::holds_impossible() {
    if (excluded_known_ || !assemblage_.has_exact_balance()) {
        return false;
    }
    start_programme();
    run_programme();
    if (exclude_impossible()) {
        return true;
    }
    excluded_known_ = true;
    return false;
}

void Solver::solve_cold(const EquilibriumConditions& conditions) {
    start_programme();
    run_programme();
    while (!excluded_known_ && exclude_impossible()) {
        activate(conditions);
        start_programme();
        run_programme();
    }
    excluded_known_ = true;
    if (!solve_rounds() && !solve_by_way_of_others()) {
        throw SolveError("the calculation did not converge: no set of phases passed the check");
    }
}

/// Solves at another temperature and follows the equilibrium from there to that wanted.
bool Solver::solve_by_way_of_others() {
    const double wanted = terms_.t;
    const auto go_to = [&](double t) {
        terms_.set(t);
        active_->set_state(terms_, p_ / ReferencePressure);
        programme_ready_ = false;
    };
    bool arrived = false;
    for (const double factor : {1.03, 0.97, 1.1, 0.9, 1.3, 0.75}) {
        go_to(wanted * factor);
        start_programme();
        run_programme();
        if (!solve_rounds()) {
            continue;
        }
        double t = terms_.t;
        double step = wanted - t;
        for (int k = 0; k < MostWaySteps && t != wanted; ++k) {
            const double next = std::abs(step) >= std::abs(wanted - t) ? wanted : t + step;
            assemblage_.keep();
            go_to(next);
            if (solve_warm()) {
                t = next;
                step *= 1.5;
            } else {
                assemblage_.take_back();
                step *= 0.25;
            }
        }
        if (t == wanted) {
            arrived = true;
            break;
        }
    }
    if (!arrived) {
        go_to(wanted);
    }
    return arrived;
}

/// Puts two sets in the place of one of the same phase that is all but unstable: the composition
/// of greatest driving force, and one as far from the former set to the other side.
bool Solver::splits_set(std::size_t b) {
    const Block& block = active_->blocks[b];
    const Candidate& other = absent_[b].minima.front();
    for (std::size_t f = 0; f < assemblage_.mixture_count; ++f) {
        MixtureSet& set = assemblage_.mixtures[f];
        if (set.block != b || !same_composition(set.x, other.x, NearSets)) {
            continue;
        }
        for (std::size_t i = 0; i < block.count; ++i) {
            set.log_x[i] = std::log(std::max(2.0 * set.x[i] - other.x[i], 0.5 * set.x[i]));
        }
        block.normalise(set.x, set.log_x);
        set.log_amount -= std::log(2.0);
        const double log_amount = set.log_amount;
        MixtureSet& added = assemblage_.add_mixture(b, block.count); // `set` may have moved
        added.log_amount = log_amount;
        added.x = other.x;
        added.log_x = other.log_x;
        return true;
    }
    return false;
}

/// Adds one of the phases with a driving force to the state solved for and solves again: that of
/// greatest force per atom, or the next where this leads nowhere.
bool Solver::join_violator() {
    violators_.clear();
    for (std::size_t b = 0; b < absent_.size(); ++b) {
        const Block& block = active_->blocks[b];
        if (!block.dormant && absent_[b].force > JoinThreshold && !(block.pure && is_stable(b))) {
            double atoms = 0.0;
            for (std::size_t i = 0; i < block.count; ++i) {
                const double x = block.pure ? 1.0 : absent_[b].minima.front().x[i];
                for (double a : active_->stoichiometry(block.first + i)) {
                    atoms += x * std::abs(a);
                }
            }
            violators_.push_back({absent_[b].force / std::max(atoms, 1e-3), b});
        }
    }
    std::sort(violators_.rbegin(), violators_.rend());
    const double before = assemblage_.gibbs();
    assemblage_.keep();
    bool fresh = true;
    for (std::size_t k = 0; k < std::min(violators_.size(), MostTries); ++k) {
        const std::size_t b = violators_[k].second;
        const std::size_t sets = set_count(b);
        // Whether the phase is there now, if only in place of a set of its own, and the Gibbs
        // energy has not risen.
        const auto has_joined = [&] {
            const double now = assemblage_.gibbs();
            const double rounding = std::abs(before);
            return stable_phases_hold() && is_stable(b) && now <= before + 1e-9 * rounding &&
                   (active_->blocks[b].pure || set_count(b) > sets ||
                    (set_count(b) == sets && now < before - ZeroTolerance * rounding));
        };
        // Where it is to take the place of a pure phase this leaves, `left`.
        const auto joins = [&](std::span<const double> start_duals, std::size_t left) {
            const bool joined = active_->blocks[b].pure
                                    ? assemblage_.join_pure(b)
                                    : assemblage_.join_mixture(b, absent_[b].minima.front().x,
                                                               absent_[b].minima.front().log_x);
            if (!joined) {
                return false;
            }
            std::erase_if(assemblage_.pure, [&](const PureSet& set) { return set.block == left; });
            return settle(start_duals) && has_joined();
        };
        // The state that the joining starts from is solved for again after a failure.
        const auto is_fresh = [&] {
            if (!std::exchange(fresh, false)) {
                assemblage_.take_back();
                return settle({});
            }
            return true;
        };
        // The state solved for is as a rule the best start; where the new phase changes potentials
        // of traces by much, the programme's prices are, as they let nothing grow out of bounds.
        for (const bool from_prices : {false, true}) {
            if (from_prices && !priced_) {
                break;
            }
            if (!is_fresh()) {
                return false;
            }
            if (joins(from_prices ? programme_.duals() : std::span<const double>(), NoBlock)) {
                return true;
            }
        }
        // Near a critical point the set that is there has to move away from the new one.
        if (sets > 0 && is_fresh() && splits_set(b) && settle({}) && has_joined()) {
            return true;
        }
        // Where both are traces, Newton's method may not find that a pure phase has to go for it.
        for (std::size_t p = 0; p < assemblage_.kept_pure().size() && p < MostTries; ++p) {
            const std::size_t left = assemblage_.kept_pure()[p].block;
            if (!is_fresh()) {
                return false;
            }
            if (joins({}, left)) {
                return true;
            }
        }
    }
    return false;
}

/// Newton's method from the programme's phases, then from set to set while the Gibbs energy falls.
/// Says whether it ends where no phase would lower it further.
bool Solver::descend() {
    assemblage_.keep();
    bool settled = false;
    if (assemblage_.place_traces(*active_, reservoirs_, feeds_, programme_.duals())) {
        start_.assign(assemblage_.duals().begin(), assemblage_.duals().end());
        settled = settle(start_) && stable_phases_hold();
    }
    if (!settled) {
        assemblage_.take_back();
        settled = settle(programme_.duals()) && stable_phases_hold();
    }
    if (!settled) {
        // The programme may have placed a rare component in a phase of its own that dissolves in
        // others; a trace that is real joins later.
        assemblage_.take_back();
        settled = drop_traces() && settle(programme_.duals()) && stable_phases_hold();
    }
    if (!settled) {
        refine(1e-12);
        return false;
    }
    return improve();
}

/// Goes on from the state solved for, from set to set, while the Gibbs energy falls. Says whether
/// it ends where no phase would lower it further; if not, the compositions found have joined the
/// programme.
bool Solver::improve() {
    for (int joins = 0;; ++joins) {
        if (assemblage_.open_count() > 0 && !close_open_potentials()) {
            return false;
        }
        if (!find_violations()) {
            return true;
        }
        restart_programme();
        if (joins == MostJoins || !join_violator()) {
            return false;
        }
    }
}

bool Solver::solve_rounds() {
    trace_ = CoarseTrace;
    for (int round = 0; round < CoarseRounds && refine(CoarseThreshold, true); ++round) {
        run_programme();
    }
    std::vector<double> prices;
    int same = 0;
    for (int round = 0; round < options_.round_limit; ++round) {
        const std::span<const double> now = programme_.duals();
        const bool as_before = std::equal(
            now.begin(), now.end(), prices.begin(), prices.end(), [](double a, double b) {
                return std::abs(a - b) <= SamePrices * std::max(1.0, std::abs(a));
            });
        same = as_before ? same + 1 : 0;
        if (same > MostSameStarts) {
            return false;
        }
        prices.assign(now.begin(), now.end());
        assemble();
        if (descend()) {
            return true;
        }
        // The programme alone comes nearer to the equilibrium, the further the more it is asked.
        trace_ *= 0.03;
        run_programme();
        for (int k = 0; k < round && refine(1e-9); ++k) {
            run_programme();
        }
    }
    return false;
}

} // namespace tessara
