#include "engine/equilibrium/assemblage.hpp"

#include "engine/equilibrium/vectors.hpp"

#include <algorithm>
#include <cmath>

namespace tessara {
namespace {

constexpr int MostBases = 5;

} // namespace

double MixtureSet::amount() const {
    return std::exp(log_amount);
}

MixtureSet& Assemblage::add_mixture(std::size_t block, std::size_t size) {
    if (mixture_count == mixtures.size()) {
        mixtures.emplace_back();
    }
    MixtureSet& set = mixtures[mixture_count++];
    set.block = block;
    set.log_amount = 0.0;
    set.x.assign(size, 0.0);
    set.log_x.assign(size, 0.0);
    return set;
}

void Assemblage::remove_mixture(std::size_t k) {
    // The set goes behind the others, so that its memory stays.
    const auto at = mixtures.begin() + static_cast<std::ptrdiff_t>(k);
    std::rotate(at, at + 1, mixtures.begin() + static_cast<std::ptrdiff_t>(mixture_count));
    --mixture_count;
}

// --- the basis ---

std::span<const double> Assemblage::member_stoichiometry(const Member& member) const {
    if (member.kind == Member::Kind::Reservoir) {
        return (*reservoirs_)[member.id].stoichiometry;
    }
    return system_->exchange(member.id);
}

double Assemblage::member_gibbs(const Member& member) const {
    return member.kind == Member::Kind::Reservoir ? (*reservoirs_)[member.id].potential
                                                  : system_->gibbs()[member.id];
}

void Assemblage::keep() {
    kept_pure_ = pure;
    kept_mixtures_.assign(mixtures.begin(),
                          mixtures.begin() + static_cast<std::ptrdiff_t>(mixture_count));
}

void Assemblage::take_back() {
    pure = kept_pure_;
    mixture_count = 0;
    for (const MixtureSet& kept : kept_mixtures_) {
        add_mixture(kept.block, kept.x.size()) = kept;
    }
}

/// Amounts of pure phases and reservoirs from their balances.
Assemblage::Outcome Assemblage::finish() {
    close_balances();
    double worst = 0.0;
    Outcome outcome = Outcome::Solved;
    for (std::size_t k = 0; k < fixed_; ++k) {
        double size = 0.0;
        const double amount = pure_amount(k, size);
        if (basis_[k].kind == Member::Kind::Reservoir) {
            (*reservoirs_)[basis_[k].id].amount = -amount;
            continue;
        }
        pure[basis_[k].set].amount = amount;
        if (amount <= 0.0 && (outcome == Outcome::Solved || amount / size < worst)) {
            worst = size > 0.0 ? amount / size : 0.0;
            vanishing_ = basis_[k].set;
            outcome = Outcome::PureVanishes;
        }
    }
    return outcome;
}

void Assemblage::update_duals() {
    // Components that no member eliminates are left at zero: only combinations have a meaning.
    duals_.assign(system_->component_count(), 0.0);
    for (std::size_t k = 0; k < rank_; ++k) {
        const double mu = member_gibbs(basis_[k]) + v_[k];
        for (std::size_t j = 0; j < rank_; ++j) {
            duals_[rows_.pivot(j)] += inverse_[j * rank_ + k] * mu;
        }
    }
}

Assemblage::Outcome Assemblage::solve(ActiveSystem& system, std::vector<Reservoir>& reservoirs,
                                      const std::vector<Feed>& feeds,
                                      std::span<const double> start_duals) {
    system_ = &system;
    reservoirs_ = &reservoirs;
    feeds_ = &feeds;
    iterations_ = 0;
    start_.resize(std::max(start_.size(), mixture_count));
    for (std::size_t f = 0; f < mixture_count; ++f) {
        start_[f].log_amount = mixtures[f].log_amount;
        start_[f].x = mixtures[f].x;
        start_[f].log_x = mixtures[f].log_x;
    }
    for (int bases = 0;; ++bases) {
        if (!choose_basis()) {
            return Outcome::PureVanishes;
        }
        transform();
        set_right_sides();
        std::size_t total = 0;
        std::size_t largest = 0;
        sets_.resize(mixture_count);
        for (std::size_t f = 0; f < mixture_count; ++f) {
            const std::size_t n = mixtures[f].x.size();
            sets_[f] = {total, 0.0, 0.0};
            total += n;
            largest = std::max(largest, n);
        }
        const std::size_t m = unknowns();
        amounts_.resize(total);
        log_amounts_.resize(total);
        responses_.resize(total * (m + 1));
        rho_.resize(largest);
        for (auto* side : {&above_, &below_, &above_scale_, &below_scale_}) {
            side->resize(m);
        }
        if (bases == 0 && !start_duals.empty()) {
            start_from_duals(start_duals);
        } else {
            start_from_compositions();
        }
        if (!open_is_empty()) {
            return Outcome::Failed;
        }
        Outcome outcome = iterate();
        if (outcome == Outcome::Failed) {
            outcome = blame();
            for (std::size_t f = 0; f < mixture_count; ++f) {
                mixtures[f].log_amount = start_[f].log_amount;
                mixtures[f].x = start_[f].x;
                mixtures[f].log_x = start_[f].log_x;
            }
        }
        if (outcome != Outcome::Solved) {
            return outcome;
        }
        update_affinities(0, tau_.size());
        update_duals();
        if (bases + 1 >= MostBases || basis_is_good()) {
            break;
        }
    }
    return finish();
}

bool Assemblage::place_traces(ActiveSystem& system, std::vector<Reservoir>& reservoirs,
                              const std::vector<Feed>& feeds, std::span<const double> start_duals) {
    system_ = &system;
    reservoirs_ = &reservoirs;
    feeds_ = &feeds;
    if (!choose_basis()) {
        return false;
    }
    transform();
    set_right_sides();
    std::vector<std::size_t> rows;
    for (std::size_t k = fixed_; k < spanned_; ++k) {
        if (right_[k] == 0.0) {
            rows.push_back(k);
        }
    }
    if (rows.empty()) {
        return false;
    }
    start_from_duals(start_duals);
    update_affinities(0, tau_.size());
    levels_.reset(rows.size());
    std::vector<double> entries(rows.size());
    const auto take_entries = [&](std::size_t species) {
        bool any = false;
        for (std::size_t r = 0; r < rows.size(); ++r) {
            entries[r] = nu_row(species)[rows[r]];
            any = any || entries[r] != 0.0;
        }
        return any;
    };
    std::vector<char> there(system.blocks.size(), 0);
    for (const PureSet& set : pure) {
        there[set.block] = 1;
    }
    for (std::size_t f = 0; f < mixture_count; ++f) {
        MixtureSet& set = mixtures[f];
        const Block& block = system.blocks[set.block];
        there[set.block] = 1;
        if (block.curvature == Curvature::Ideal) {
            PhaseSearch::ideal(block, std::span(&tau_[block.first], block.count), set.x, set.log_x);
        }
        for (std::size_t i = 0; i < block.count; ++i) {
            if (take_entries(block.first + i)) {
                levels_.add_species(entries, set.log_amount + set.log_x[i]);
            }
        }
    }
    for (std::size_t b = 0; b < system.blocks.size(); ++b) {
        const Block& block = system.blocks[b];
        if (block.pure && !block.dormant && there[b] == 0 && take_entries(block.first)) {
            levels_.add_pure(entries, tau_[block.first], b);
        }
    }
    if (!levels_.solve()) {
        return false;
    }
    for (std::size_t r = 0; r < rows.size(); ++r) {
        v_[rows[r]] += levels_.changes()[r];
    }
    update_duals();
    for (std::size_t b : levels_.present()) {
        pure.push_back({b, 0.0});
    }
    return true;
}

double Assemblage::gibbs() const {
    double sum = 0.0;
    for (const Feed& feed : *feeds_) {
        sum += feed.amount * dot(feed.stoichiometry.data(), duals_.data(), duals_.size());
    }
    return sum;
}

} // namespace tessara
