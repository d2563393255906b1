#include "engine/equilibrium/solver.hpp"

#include "engine/equilibrium/possible_species.hpp"
#include "engine/equilibrium/tolerances.hpp"
#include "engine/equilibrium/vectors.hpp"
#include "engine/units/constants.hpp"

#include <algorithm>
#include <cmath>

// The linear programme: its columns, its failures, and the phases that it names to start from.

namespace tessara {
namespace {

/// What a column holds less of than this it does not hold: the traces that models need.
constexpr double LeastInColumn = 1e-16;
/// Sets that start closer to each other than this are one.
constexpr double SameStart = 1e-3;

} // namespace

// --- the linear programme ---

/// Gibbs energy over R T of a species alone in its phase, or of a corner.
double Solver::corner_cost(const Corner& corner) const {
    const Block& block = active_->blocks[corner.block];
    if (block.variables != nullptr) {
        return block.evaluator->mixing(block.corner(corner.number),
                                       block.log_corner(corner.number));
    }
    const std::size_t s = block.first + corner.number;
    const double g = active_->gibbs()[s];
    if (block.pure || block.curvature == Curvature::Ideal) {
        return g + block.shift;
    }
    const Species& species = active_->species()[s];
    const PhaseModel& model = *system_->phases[species.phase].model;
    return g + model.pure_mixing(species.constituent, terms_).value / (GasConstant * terms_.t);
}

void Solver::start_programme() {
    programme_.reset(active_->component_count(), reservoirs_.empty());
    for (std::size_t k = 0; k < active_->entered_corner_count(); ++k) {
        const Corner& corner = active_->corners()[k];
        programme_.add_column(active_->corner_stoichiometry(corner), corner_cost(corner));
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

/// Traces are left out: a column that holds a rare component in a fixed ratio would tie the amount
/// of all its others to it.
void Solver::leave_out_traces(const Block& block, const Column& column) {
    short_x_.assign(column.x.begin(), column.x.end());
    short_log_x_.assign(column.log_x.begin(), column.log_x.end());
    if (block.variables != nullptr) {
        // Models of internal variables need some of each.
        for (std::size_t i = 0; i < block.count; ++i) {
            if (!(column.x[i] > trace_)) {
                short_log_x_[i] = std::log(Block::CornerTrace);
            }
        }
        block.normalise(short_x_, short_log_x_);
        return;
    }
    double sum = 0.0;
    for (double value : column.x) {
        sum += value > trace_ ? value : 0.0;
    }
    for (std::size_t i = 0; i < block.count; ++i) {
        const bool keep = column.x[i] > trace_;
        short_x_[i] = keep ? column.x[i] / sum : 0.0;
        short_log_x_[i] = keep ? column.log_x[i] - std::log(sum) : 0.0;
    }
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
    leave_out_traces(block, column);
    const double least = block.variables != nullptr ? LeastInColumn : 0.0;
    row_.assign(active_->component_count(), 0.0);
    double cost = block.evaluator->mixing(short_x_, short_log_x_);
    for (std::size_t i = 0; i < block.count; ++i) {
        const std::span<const double> a = active_->stoichiometry(block.first + i);
        for (std::size_t j = 0; j < a.size(); ++j) {
            row_[j] += short_x_[i] > least ? short_x_[i] * a[j] : 0.0;
        }
        cost += short_x_[i] * active_->gibbs()[block.first + i];
    }
    programme_.add_column(row_, cost);
    return true;
}

/// Adds the compositions of mixture phases that have a driving force above the threshold at the
/// programme's prices. Says whether there were any. A coarse search passes over phases far from
/// forming, and what is less likely in others but those of ions, whose minima differ by little.
bool Solver::refine(double threshold, bool coarse) {
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
        const bool may_pass = coarse && !block.is_charged();
        for (const Candidate& candidate :
             may_pass ? likely_minima(b, tau, threshold) : minima(b, tau)) {
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
    // A constituent is impossible where every corner that holds it is.
    std::vector<std::vector<char>> possible;
    for (const Block& block : active_->blocks) {
        possible.emplace_back(block.active.size(), block.dormant ? 1 : 0);
    }
    for (std::size_t k = 0; k < active_->entered_corner_count(); ++k) {
        const Corner& corner = active_->corners()[k];
        const Block& block = active_->blocks[corner.block];
        std::vector<char>& of_block = possible[corner.block];
        for (std::size_t a = 0; impossible_[k] == 0 && a < of_block.size(); ++a) {
            const bool holds = block.variables == nullptr
                                   ? a == corner.number
                                   : block.corner_reports[corner.number * of_block.size() + a] != 0;
            of_block[a] = holds || of_block[a] != 0 ? 1 : 0;
        }
    }
    std::vector<std::size_t> offsets;
    std::size_t total = 0;
    for (const Phase& phase : system_->phases) {
        offsets.push_back(total);
        total += phase.constituents.size();
    }
    excluded_.resize(total, 0);
    bool any = false;
    for (std::size_t b = 0; b < possible.size(); ++b) {
        const Block& block = active_->blocks[b];
        for (std::size_t a = 0; a < possible[b].size(); ++a) {
            for (std::size_t k = 0; possible[b][a] == 0 && k < block.copies.size(); ++k) {
                excluded_[offsets[block.copies[k]] + block.active[a]] = 1;
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
        const bool is_corner = column < active_->entered_corner_count();
        const std::size_t owner = is_corner                ? active_->corners()[column].block
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
            const std::size_t number = active_->corners()[column].number;
            for (std::size_t i = 0; i < block.count; ++i) {
                const double at = block.variables != nullptr ? block.corner(number)[i]
                                  : i == number              ? 1.0
                                                             : 0.0;
                log_x_[i] = std::log(std::max(at, trace));
            }
            block.normalise(x_, log_x_);
        }
        if (block.curvature == Curvature::Ideal) {
            PhaseSearch::ideal(block, tau, x_, log_x_);
        } else {
            search_.local(block, tau, x_, log_x_);
        }
        bool merged = false;
        for (std::size_t f = first_set; f < assemblage_.mixture_count && !merged; ++f) {
            MixtureSet& set = assemblage_.mixtures[f];
            if (block.same_set(set.x, x_, SameStart)) {
                merge_sets(set, group_levels_[g], tau);
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

/// Adds what was found at `x_` to a set that is the same. Of two orders of one composition the
/// better one stays.
void Solver::merge_sets(MixtureSet& into, double amount, std::span<const double> tau) {
    const Block& block = active_->blocks[into.block];
    into.log_amount = std::log(into.amount() + amount);
    if (block.variables != nullptr) {
        const auto force = [&](std::span<const double> x, std::span<const double> log_x) {
            return dot(x, tau) - block.evaluator->mixing(x, log_x);
        };
        if (force(x_, log_x_) > force(into.x, into.log_x)) {
            into.x = x_;
            into.log_x = log_x_;
        }
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

} // namespace tessara
