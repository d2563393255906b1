#include "engine/equilibrium/solver.hpp"

#include "engine/equilibrium/possible_species.hpp"
#include "engine/units/constants.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <utility>

namespace tessara {
namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double Infinity = std::numeric_limits<double>::infinity();
constexpr std::size_t NoPhase = IncomingAmount::NoPhase;
/// A sum counts as zero below this multiple of its absolute terms.
constexpr double ZeroTolerance = 64.0 * Epsilon;
/// Driving force, in R T, at which an absent phase joins: well within the certificate's bound.
constexpr double JoinThreshold = 2e-10;
/// Driving force above which a composition is worth a column before Newton's method starts.
constexpr double CoarseThreshold = 0.05;
constexpr int CoarseRounds = 3;
/// Fractions below this are left out of the first columns.
constexpr double CoarseTrace = 1e-4;
/// Amount, relative to the largest, below which a phase of the programme is a trace.
constexpr double TracePhase = 1e-5;
/// Sets that may vanish while one assemblage is solved.
constexpr int MostVanishing = 40;
/// Minima of one phase that are looked at.
constexpr std::size_t MostMinima = 6;
/// Compositions that differ by less are one set.
constexpr double SameSet = 1e-6;
/// The margin, in R T, to which open potentials keep absent phases away where they can.
constexpr double OpenMargin = 20.0;
constexpr int MostCuts = 60;
/// Steps on the way from another temperature.
constexpr int MostWaySteps = 60;
/// Phases that join one after the other before the linear programme is asked again.
constexpr int MostJoins = 30;
/// Phases that are tried, one instead of the other, as the next to join.
constexpr std::size_t MostTries = 4;

double dot(std::span<const double> a, std::span<const double> b) {
    double sum = 0.0;
    for (std::size_t k = 0; k < a.size(); ++k) {
        sum += a[k] * b[k];
    }
    return sum;
}

bool same_composition(std::span<const double> a, std::span<const double> b, double tolerance) {
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (std::abs(a[i] - b[i]) > tolerance) {
            return false;
        }
    }
    return true;
}

std::string number_text(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.6g", value);
    return text;
}

} // namespace

Solver::Solver(std::shared_ptr<const System> system)
    : system_(std::move(system)), terms_(system_->terms()) {}

void Solver::set_options(const Options& options) {
    options_ = options;
    active_.reset();
    assemblage_is_start_ = false;
}

const Equilibrium& Solver::solve(const EquilibriumConditions& conditions, Start start) {
    iterations_ = 0;
    prepare(conditions);
    const bool can_start = std::exchange(assemblage_is_start_, false);
    if (start == Start::Cold || !can_start || !solve_warm()) {
        solve_cold(conditions);
    }
    make_result(conditions);
    if (!result_.certificate.holds()) {
        throw SolveError("the calculation did not converge: the result of the last attempt failed "
                         "its check (balance " +
                         number_text(result_.certificate.balance) + ", potentials " +
                         number_text(result_.certificate.potential) + " RT, driving force " +
                         number_text(result_.certificate.driving_force) + " RT)");
    }
    assemblage_is_start_ = true;
    return result_;
}

// --- conditions ---

/// Collects what goes in, feed by feed, and its sum over the components.
void Solver::collect_feeds(const EquilibriumConditions& conditions) {
    const std::size_t nc = system_->components.size();
    full_feeds_.clear();
    feed_amounts_.clear();
    input_.assign(nc, 0.0);
    input_size_.assign(nc, 0.0);
    for (const IncomingAmount& in : conditions.amounts) {
        if (!std::isfinite(in.amount)) {
            throw SolveError("an incoming amount is not a finite number");
        }
        if (in.amount == 0.0) {
            continue;
        }
        feed_amounts_.push_back(in.amount);
        for (std::size_t j = 0; j < nc; ++j) {
            double a = 0.0;
            // Matter goes in without charge, whatever carries it: the electrons' total is zero.
            if (!system_->components[j].electron) {
                a = in.phase == NoPhase
                        ? (in.index == j ? 1.0 : 0.0)
                        : system_->phases[in.phase].constituents[in.index].stoichiometry[j];
            }
            full_feeds_.push_back(a);
            input_[j] += in.amount * a;
            input_size_[j] += std::abs(in.amount * a);
        }
    }
    for (std::size_t j = 0; j < nc; ++j) {
        if (std::abs(input_[j]) <= ZeroTolerance * input_size_[j]) {
            input_[j] = 0.0;
        } else if (input_[j] < 0.0) {
            throw SolveError("the incoming amount of component " + system_->components[j].name +
                             " is negative in total");
        }
    }
}

void Solver::collect_reservoirs(const EquilibriumConditions& conditions) {
    const double rt = GasConstant * terms_.t;
    reservoirs_.clear();
    reservoir_rows_.clear();
    for (const GivenPotential& given : conditions.potentials) {
        std::vector<double> row(system_->components.size(), 0.0);
        std::string name;
        double g = 0.0;
        if (given.phase == NoPhase) {
            row[given.index] = 1.0;
            name = system_->components[given.index].name;
            g = system_->reference_gibbs(given.index, terms_);
        } else {
            const Constituent& constituent = system_->phases[given.phase].constituents[given.index];
            row = constituent.stoichiometry;
            name = constituent.name;
            g = system_->pure_thermal(given.phase, given.index, terms_).value;
        }
        Reservoir reservoir;
        if (given.kind == GivenPotential::Kind::Potential) {
            reservoir.potential = given.value / rt;
        } else if (std::isnan(g)) {
            throw SolveError("the activity of component " + name +
                             " cannot be given: the data file has no record made of it alone");
        } else if (!(given.value > 0.0)) {
            throw SolveError("the given activity " + number_text(given.value) + " of " + name +
                             " is not above zero");
        } else {
            reservoir.potential = g / rt + std::log(given.value);
        }
        if (!std::isfinite(reservoir.potential)) {
            throw SolveError("the given potential of " + name + " is not a finite number");
        }
        reservoirs_.push_back(std::move(reservoir));
        reservoir_rows_.push_back(std::move(row));
    }
}

/// Makes ready all that does not depend on the start.
void Solver::prepare(const EquilibriumConditions& conditions) {
    if (!(conditions.t > 0.0) || !std::isfinite(conditions.t)) {
        throw SolveError("the temperature " + number_text(conditions.t) +
                         " K is not a positive number");
    }
    if (!(conditions.p > 0.0) || !std::isfinite(conditions.p)) {
        throw SolveError("the pressure " + number_text(conditions.p) +
                         " Pa is not a positive number");
    }
    programme_ready_ = false;
    if (conditions.t != terms_.t) {
        terms_.set(conditions.t);
        state_set_ = false;
    }
    if (conditions.p != p_) {
        p_ = conditions.p;
        state_set_ = false;
    }
    collect_feeds(conditions);
    collect_reservoirs(conditions);

    const std::size_t nc = system_->components.size();
    available_.assign(nc, 0);
    bool any = false;
    for (std::size_t j = 0; j < nc; ++j) {
        bool there = input_[j] != 0.0;
        for (const std::vector<double>& row : reservoir_rows_) {
            there = there || row[j] != 0.0;
        }
        any = any || there;
        available_[j] = there || system_->components[j].electron ? 1 : 0;
    }
    if (!any) {
        throw SolveError("nothing goes into the system: no incoming amount is above zero");
    }
    const bool same = active_ != nullptr && input_ == excluded_for_ &&
                      active_->serves(conditions, available_, excluded_);
    if (!same) {
        // What cannot form depends on all that goes in and on what takes part.
        if (!excluded_.empty()) {
            assemblage_is_start_ = false;
        }
        excluded_.clear();
        excluded_known_ = false;
    }
    if (active_ == nullptr || !active_->serves(conditions, available_, excluded_)) {
        activate(conditions);
        return;
    }
    if (!state_set_) {
        active_->set_state(terms_, p_ / ReferencePressure);
        state_set_ = true;
    }
    reduce_inputs();
}

void Solver::activate(const EquilibriumConditions& conditions) {
    active_ = std::make_unique<ActiveSystem>(*system_, conditions, available_, excluded_,
                                             options_.sampling);
    for (Block& block : active_->blocks) {
        block.may_add_sets = block.may_add_sets && options_.surplus_sets;
    }
    active_->set_state(terms_, p_ / ReferencePressure);
    state_set_ = true;
    assemblage_is_start_ = false;
    reduce_inputs();
}

/// Writes feeds and reservoirs over the components that are there.
void Solver::reduce_inputs() {
    const std::size_t nc = system_->components.size();
    feeds_.resize(feed_amounts_.size());
    for (std::size_t f = 0; f < feeds_.size(); ++f) {
        feeds_[f].amount = feed_amounts_[f];
        feeds_[f].stoichiometry.clear();
        for (std::size_t j : active_->components()) {
            feeds_[f].stoichiometry.push_back(full_feeds_[f * nc + j]);
        }
    }
    for (std::size_t r = 0; r < reservoirs_.size(); ++r) {
        reservoirs_[r].stoichiometry.clear();
        for (std::size_t j : active_->components()) {
            reservoirs_[r].stoichiometry.push_back(reservoir_rows_[r][j]);
        }
    }
}

// --- the linear programme ---

/// Gibbs energy over R T of a species alone in its phase.
double Solver::pure_cost(std::size_t s) const {
    const Species& species = active_->species()[s];
    const Block& block = active_->blocks[species.block];
    const double g = active_->gibbs()[s];
    if (block.pure || block.curvature == Curvature::Ideal) {
        return g + block.shift;
    }
    const PhaseModel& model = *system_->phases[species.phase].model;
    return g + model.pure_mixing(species.constituent, terms_).value / (GasConstant * terms_.t);
}

void Solver::start_programme() {
    programme_.reset(active_->component_count());
    for (std::size_t s = 0; s < active_->entered_count(); ++s) {
        programme_.add_column(active_->stoichiometry(s), pure_cost(s));
    }
    for (const Reservoir& reservoir : reservoirs_) {
        programme_.add_column(reservoir.stoichiometry, reservoir.potential, true);
    }
    pool_column_ = programme_.column_count();
    programme_ready_ = true;
    priced_ = false;
    clear_pool();
}

/// Leaves the pure constituents and reservoirs alone in the programme.
void Solver::clear_pool() {
    row_.clear();
    for (std::size_t j : active_->components()) {
        row_.push_back(input_[j]);
    }
    programme_.set_right_side(row_);
    programme_.truncate(pool_column_);
    pool_count_ = 0;
}

/// Forgets the compositions but those that are stable now and those found to be better.
void Solver::restart_programme() {
    if (!programme_ready_) {
        start_programme();
    }
    clear_pool();
    for (std::size_t f = 0; f < assemblage_.mixture_count; ++f) {
        const MixtureSet& set = assemblage_.mixtures[f];
        add_column(set.block, set.x, set.log_x);
    }
    for (std::size_t b = 0; b < active_->blocks.size(); ++b) {
        if (!active_->blocks[b].dormant) {
            for (const Candidate& candidate : absent_[b].minima) {
                if (candidate.driving_force > JoinThreshold) {
                    add_column(b, candidate.x, candidate.log_x);
                }
            }
        }
    }
}

void Solver::run_programme() {
    switch (programme_.solve()) {
    case LinearProgramme::Status::Optimal:
        priced_ = true;
        return;
    case LinearProgramme::Status::Infeasible:
        fail_infeasible();
    case LinearProgramme::Status::Unbounded:
        fail_unbounded();
    case LinearProgramme::Status::Stalled:
        throw SolveError("the calculation did not converge: the linear programme for its start "
                         "found no end");
    }
}

void Solver::fail_infeasible() const {
    std::string left;
    for (std::size_t k = 0; k < programme_.rows(); ++k) {
        if (programme_.basic(k) == LinearProgramme::Artificial && programme_.level(k) != 0.0) {
            left += (left.empty() ? "" : ", ") + system_->components[active_->components()[k]].name;
        }
    }
    throw SolveError("the phases that take part cannot hold what goes in: no amounts of their "
                     "constituents have its composition (left over: " +
                     left + "). Enter further phases, or change the incoming amounts");
}

void Solver::fail_unbounded() const {
    std::string given;
    for (const std::vector<double>& row : reservoir_rows_) {
        for (std::size_t j = 0; j < row.size(); ++j) {
            const std::string& name = system_->components[j].name;
            if (row[j] != 0.0 && given.find(name) == std::string::npos) {
                given += (given.empty() ? "" : ", ") + name;
            }
        }
    }
    throw SolveError("the given activities or potentials (of " + given +
                     ") cannot be held: a phase would grow without limit. Give lower ones");
}

bool Solver::add_column(std::size_t b, std::span<const double> x, std::span<const double> log_x) {
    const Block& block = active_->blocks[b];
    for (std::size_t k = 0; k < pool_count_; ++k) {
        if (pool_[k].block == b && same_composition(pool_[k].x, x, 1e-9)) {
            return false;
        }
    }
    if (pool_count_ == pool_.size()) {
        pool_.emplace_back();
    }
    Column& column = pool_[pool_count_++];
    column.block = b;
    column.x.assign(x.begin(), x.end());
    column.log_x.assign(log_x.begin(), log_x.end());
    // Traces are left out: a column that holds a rare component in a fixed ratio would tie the
    // amount of all its others to it.
    double sum = 0.0;
    for (double value : column.x) {
        sum += value > trace_ ? value : 0.0;
    }
    short_x_.resize(block.count);
    short_log_x_.resize(block.count);
    for (std::size_t i = 0; i < block.count; ++i) {
        const bool keep = column.x[i] > trace_;
        short_x_[i] = keep ? column.x[i] / sum : 0.0;
        short_log_x_[i] = keep ? column.log_x[i] - std::log(sum) : 0.0;
    }
    row_.assign(active_->component_count(), 0.0);
    double cost = block.evaluator->mixing(short_x_, short_log_x_);
    for (std::size_t i = 0; i < block.count; ++i) {
        const std::span<const double> a = active_->stoichiometry(block.first + i);
        for (std::size_t j = 0; j < a.size(); ++j) {
            row_[j] += short_x_[i] * a[j];
        }
        cost += short_x_[i] * active_->gibbs()[block.first + i];
    }
    programme_.add_column(row_, cost);
    return true;
}

/// Adds the compositions of mixture phases that have a driving force above the threshold at the
/// programme's prices. Says whether there were any.
bool Solver::refine(double threshold) {
    const std::size_t entered = active_->entered_count();
    tau_.resize(active_->species().size());
    for (std::size_t s = 0; s < entered; ++s) {
        tau_[s] = dot(active_->stoichiometry(s), programme_.duals()) - active_->gibbs()[s];
    }
    bool added = false;
    for (std::size_t b = 0; b < active_->blocks.size(); ++b) {
        const Block& block = active_->blocks[b];
        if (block.dormant || block.pure || block.count < 2) {
            continue;
        }
        const std::span<const double> tau(&tau_[block.first], block.count);
        if (block.curvature == Curvature::Ideal) {
            x_.resize(block.count);
            log_x_.resize(block.count);
            if (PhaseSearch::ideal(block, tau, x_, log_x_) > threshold) {
                added = add_column(b, x_, log_x_) || added;
            }
            continue;
        }
        for (const Candidate& candidate : search_.all(block, tau, MostMinima)) {
            if (candidate.driving_force > threshold) {
                added = add_column(b, candidate.x, candidate.log_x) || added;
            }
        }
    }
    return added;
}

/// Leaves out species that no feasible point holds. Says whether there were any that were not yet
/// left out.
bool Solver::exclude_impossible() {
    excluded_for_ = input_;
    if (!find_impossible_columns(programme_, impossible_)) {
        return false;
    }
    std::size_t total = 0;
    for (const Phase& phase : system_->phases) {
        total += phase.constituents.size();
    }
    excluded_.resize(total, 0);
    bool any = false;
    std::size_t at = 0;
    for (std::size_t i = 0; i < system_->phases.size(); ++i) {
        for (std::size_t c = 0; c < system_->phases[i].constituents.size(); ++c, ++at) {
            const std::size_t s = active_->species_of(i, c);
            if (s != ActiveSystem::None && s < active_->entered_count() && impossible_[s] != 0) {
                excluded_[at] = 1;
                any = true;
            }
        }
    }
    return any;
}

/// Makes the phases that the programme names into an assemblage to start from.
void Solver::assemble() {
    assemblage_.clear();
    tau_.resize(active_->species().size());
    for (std::size_t s = 0; s < active_->entered_count(); ++s) {
        tau_[s] = dot(active_->stoichiometry(s), programme_.duals()) - active_->gibbs()[s];
    }
    for (std::size_t b = 0; b < active_->blocks.size(); ++b) {
        if (!active_->blocks[b].dormant) {
            assemble_block(b);
        }
    }
}

void Solver::assemble_block(std::size_t b) {
    const Block& block = active_->blocks[b];
    group_columns_.clear();
    group_levels_.clear();
    for (std::size_t k = 0; k < programme_.rows(); ++k) {
        const std::size_t column = programme_.basic(k);
        if (column == LinearProgramme::Artificial || !(programme_.level(k) > 0.0)) {
            continue;
        }
        const bool is_species = column < active_->entered_count();
        const std::size_t owner = is_species               ? active_->species()[column].block
                                  : column >= pool_column_ ? pool_[column - pool_column_].block
                                                           : active_->blocks.size();
        if (owner == b) {
            group_columns_.push_back(column);
            group_levels_.push_back(programme_.level(k));
        }
    }
    if (group_columns_.empty()) {
        return;
    }
    if (block.pure) {
        assemblage_.pure.push_back({b, group_levels_.front()});
        return;
    }
    const std::span<const double> tau(&tau_[block.first], block.count);
    const std::size_t first_set = assemblage_.mixture_count;
    // Columns that the same minimum attracts belong to one set.
    for (std::size_t g = 0; g < group_columns_.size(); ++g) {
        const std::size_t column = group_columns_[g];
        x_.assign(block.count, 0.0);
        log_x_.assign(block.count, 0.0);
        if (column >= pool_column_) {
            x_ = pool_[column - pool_column_].x;
            log_x_ = pool_[column - pool_column_].log_x;
        } else {
            constexpr double trace = 1e-4;
            for (std::size_t i = 0; i < block.count; ++i) {
                log_x_[i] = block.first + i == column ? 0.0 : std::log(trace);
            }
            PhaseSearch::normalise(x_, log_x_);
        }
        if (block.curvature == Curvature::Ideal) {
            PhaseSearch::ideal(block, tau, x_, log_x_);
        } else {
            search_.local(block, tau, x_, log_x_);
        }
        bool merged = false;
        for (std::size_t f = first_set; f < assemblage_.mixture_count && !merged; ++f) {
            MixtureSet& set = assemblage_.mixtures[f];
            if (same_composition(set.x, x_, 1e-3)) {
                set.log_amount = std::log(std::exp(set.log_amount) + group_levels_[g]);
                merged = true;
            }
        }
        if (!merged) {
            MixtureSet& set = assemblage_.add_mixture(b, block.count);
            set.log_amount = std::log(group_levels_[g]);
            set.x = x_;
            set.log_x = log_x_;
        }
    }
    if (!block.may_add_sets) {
        limit_sets(b, first_set);
    }
}

/// Merges the sets of a block that has more than the copies that take part, smallest first.
void Solver::limit_sets(std::size_t b, std::size_t first_set) {
    const Block& block = active_->blocks[b];
    while (assemblage_.mixture_count - first_set > block.copies.size()) {
        const auto begin = assemblage_.mixtures.begin() + static_cast<std::ptrdiff_t>(first_set);
        const auto end =
            assemblage_.mixtures.begin() + static_cast<std::ptrdiff_t>(assemblage_.mixture_count);
        std::sort(begin, end, [](const MixtureSet& a, const MixtureSet& c) {
            return a.log_amount > c.log_amount;
        });
        const MixtureSet& last = *(end - 1);
        MixtureSet& into = *(end - 2);
        const double share = 1.0 / (1.0 + std::exp(last.log_amount - into.log_amount));
        for (std::size_t i = 0; i < block.count; ++i) {
            into.x[i] = share * into.x[i] + (1.0 - share) * last.x[i];
            into.log_x[i] = std::log(into.x[i]);
        }
        into.log_amount -= std::log(share);
        --assemblage_.mixture_count;
    }
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
            holder->kept = held.offer(active_->stoichiometry(block.first + i)) || holder->kept;
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
                same_composition(assemblage_.mixtures[g].x, set.x, SameSet)) {
                return false;
            }
        }
    }
    return true;
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
        for (const Candidate& candidate :
             search_.all(block, tau.subspan(block.first, block.count), MostMinima)) {
            bool own = false;
            for (std::size_t f = 0; f < assemblage_.mixture_count; ++f) {
                const MixtureSet& set = assemblage_.mixtures[f];
                own = own || (set.block == b && same_composition(set.x, candidate.x, SameSet));
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
    for (std::size_t s = 0; s < active_->entered_count(); ++s) {
        if (direction(s)) {
            add(tau[s] - (pure_cost(s) - active_->gibbs()[s]));
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
                std::fill(entries.begin(), entries.end(), 0.0);
                double force = -block.evaluator->mixing(best.x, best.log_x);
                for (std::size_t i = 0; i < block.count; ++i) {
                    for (std::size_t d = 0; d < open; ++d) {
                        entries[d] += best.x[i] * assemblage_.open_coefficient(block.first + i, d);
                    }
                    force += best.x[i] * tau[block.first + i];
                }
                entries[open] = 1.0;
                add(force);
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
        // The state solved for is as a rule the best start; where the new phase changes potentials
        // of traces by much, the programme's prices are, as they let nothing grow out of bounds.
        for (const bool from_prices : {false, true}) {
            if (from_prices && !priced_) {
                break;
            }
            if (!std::exchange(fresh, false)) {
                // The state that the joining starts from is solved for again.
                assemblage_.take_back();
                if (!settle({})) {
                    return false;
                }
            }
            const std::size_t sets = set_count(b);
            const bool joined = active_->blocks[b].pure
                                    ? assemblage_.join_pure(b)
                                    : assemblage_.join_mixture(b, absent_[b].minima.front().x,
                                                               absent_[b].minima.front().log_x);
            if (!joined) {
                break;
            }
            const bool solved =
                from_prices ? settle(programme_.duals()) : settle(std::span<const double>());
            if (solved && stable_phases_hold() && is_stable(b) && set_count(b) >= sets &&
                assemblage_.gibbs() <= before + 1e-9 * std::abs(before)) {
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
    for (int round = 0; round < CoarseRounds && refine(CoarseThreshold); ++round) {
        run_programme();
    }
    for (int round = 0; round < options_.round_limit; ++round) {
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
