#include "engine/equilibrium/solver.hpp"

#include "engine/equilibrium/tolerances.hpp"
#include "engine/text/text.hpp"
#include "engine/units/constants.hpp"

#include <cmath>
#include <utility>

// What goes in: feeds, reservoirs, and the part of the system that they can make.

namespace tessara {
namespace {

constexpr std::size_t NoPhase = IncomingAmount::NoPhase;
/// Pressures that differ from that of the records by less, relative to it, are the same.
constexpr double SamePressure = 1e-6;

} // namespace

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
            throw SolveError("the given activity " + quoted_number(given.value) + " of " + name +
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

/// Records with volume data are right at the pressure that they are for; what the data would say of
/// others is not known.
void Solver::refuse_volume_data(const EquilibriumConditions& conditions) const {
    if (std::abs(conditions.p / ReferencePressure - 1.0) <= SamePressure) {
        return;
    }
    for (const auto& [phase, constituent] : with_volume_data_) {
        if (conditions.of_phase(phase) != Participation::Eliminated) {
            const Phase& of = system_->phases[phase];
            throw SolveError("'" + of.constituents[constituent].name + "' in phase '" + of.name +
                             "' has volume data, which are not evaluated: set P to 1 bar, or "
                             "eliminate the phase");
        }
    }
}

/// Makes ready all that does not depend on the start.
void Solver::prepare(const EquilibriumConditions& conditions) {
    if (!(conditions.t > 0.0) || !std::isfinite(conditions.t)) {
        throw SolveError("the temperature " + quoted_number(conditions.t) +
                         " K is not a positive number");
    }
    if (!(conditions.p > 0.0) || !std::isfinite(conditions.p)) {
        throw SolveError("the pressure " + quoted_number(conditions.p) +
                         " Pa is not a positive number");
    }
    refuse_volume_data(conditions);
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
    ++active_number_;
    known_minima_.assign(active_->blocks.size(), {});
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

} // namespace tessara
