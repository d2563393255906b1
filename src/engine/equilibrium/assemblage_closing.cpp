#include "engine/equilibrium/assemblage.hpp"

#include "engine/units/constants.hpp"

#include <Eigen/QR>

#include <algorithm>
#include <cmath>

// What rounding of the potentials left open in the balances, taken out of the amounts: changes far
// below what the potentials can show.

namespace tessara {
namespace {

/// Largest change of an amount, relative, by which rounding is taken out of its balance.
constexpr double MostClosing = 1e-10;
constexpr int ClosingSweeps = 2;

using RowMajor = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

} // namespace

/// What balance k is short of.
double Assemblage::open_rest(std::size_t k) const {
    double rest = right_[fixed_ + k];
    for (std::size_t f = 0; f < mixture_count; ++f) {
        const Block& block = system_->blocks[mixtures[f].block];
        for (std::size_t i = 0; i < block.count; ++i) {
            rest -= amounts_[sets_[f].first + i] * nu_row(block.first + i)[fixed_ + k];
        }
    }
    return rest;
}

void Assemblage::close_balances() {
    const bool any_variables = std::any_of(
        mixtures.begin(), mixtures.begin() + static_cast<std::ptrdiff_t>(mixture_count),
        [&](const MixtureSet& set) { return system_->blocks[set.block].variables != nullptr; });
    if (any_variables) {
        for (int sweep = 0; sweep < ClosingSweeps; ++sweep) {
            close_balances_together();
        }
        return;
    }
    for (std::size_t k = 0; k < unknowns(); ++k) {
        close_balance(k);
    }
}

/// Takes what is open in a balance out of its basis species. The set grows by that, the other
/// fractions fall in proportion.
void Assemblage::close_balance(std::size_t k) {
    const Member& member = basis_[fixed_ + k];
    MixtureSet& set = mixtures[member.set];
    const std::size_t at = member.id - system_->blocks[set.block].first;
    const double rest = open_rest(k);
    double& own = amounts_[sets_[member.set].first + at];
    if (!(std::abs(rest) > 2.0 * Epsilon * own && std::abs(rest) <= MostClosing * own)) {
        return;
    }
    set.log_x[at] += std::log1p(rest / own);
    set.x[at] *= 1.0 + rest / own;
    own += rest;
    const double growth = std::log1p(rest / set.amount());
    set.log_amount += growth;
    for (std::size_t i = 0; i < set.x.size(); ++i) {
        set.log_x[i] -= growth;
        set.x[i] *= std::exp(-growth);
    }
}

/// Internal variables take part in several balances and must keep to their constraints: the least
/// relative changes that close all balances at once.
void Assemblage::close_balances_together() {
    closing_rows_.clear();
    closing_rests_.clear();
    const std::size_t count = amounts_.size();
    bool any = false;
    for (std::size_t k = 0; k < unknowns(); ++k) {
        const Member& member = basis_[fixed_ + k];
        const Block& own_block = system_->blocks[mixtures[member.set].block];
        const double own = amounts_[sets_[member.set].first + member.id - own_block.first];
        const double rest = open_rest(k);
        any = any || std::abs(rest) > 2.0 * Epsilon * own;
        closing_row_.assign(count, 0.0);
        for (std::size_t f = 0; f < mixture_count; ++f) {
            const Block& block = system_->blocks[mixtures[f].block];
            for (std::size_t i = 0; i < block.count; ++i) {
                const std::size_t at = sets_[f].first + i;
                closing_row_[at] = amounts_[at] * nu_row(block.first + i)[fixed_ + k];
            }
        }
        add_closing_row(own, rest);
    }
    if (!any) {
        return;
    }
    for (std::size_t f = 0; f < mixture_count; ++f) {
        add_closing_constraints(f);
    }
    const Eigen::Map<const RowMajor> rows(closing_rows_.data(),
                                          static_cast<Eigen::Index>(closing_rests_.size()),
                                          static_cast<Eigen::Index>(count));
    const Eigen::Map<const Eigen::VectorXd> rests(closing_rests_.data(), rows.rows());
    const Eigen::VectorXd changes = rows.completeOrthogonalDecomposition().solve(rests);
    if (!(changes.lpNorm<Eigen::Infinity>() <= MostClosing)) {
        return; // more than rounding
    }
    for (std::size_t f = 0; f < mixture_count; ++f) {
        change_amounts(f, {changes.data() + sets_[f].first, mixtures[f].x.size()});
    }
}

/// Appends the row being made, over the size of its largest part.
void Assemblage::add_closing_row(double scale, double rest) {
    if (!(scale > 0.0)) {
        return; // a trace below the range of doubles
    }
    for (double entry : closing_row_) {
        closing_rows_.push_back(entry / scale);
    }
    closing_rests_.push_back(rest / scale);
}

/// A set stays neutral, and its sublattices grow alike.
void Assemblage::add_closing_constraints(std::size_t f) {
    const Block& block = system_->blocks[mixtures[f].block];
    if (block.variables == nullptr) {
        return;
    }
    const Constraints& constraints = block.variables->constraints;
    const auto add = [&](const auto& coefficient) {
        closing_row_.assign(amounts_.size(), 0.0);
        double sum = 0.0;
        double size = 0.0;
        for (std::size_t i = 0; i < block.count; ++i) {
            const std::size_t at = sets_[f].first + i;
            closing_row_[at] = amounts_[at] * coefficient(i);
            sum += closing_row_[at];
            size = std::max(size, std::abs(closing_row_[at]));
        }
        add_closing_row(size, -sum);
    };
    if (!constraints.charge.empty()) {
        add([&](std::size_t i) { return constraints.charge[i]; });
    }
    for (std::size_t g = 1; g < constraints.groups; ++g) {
        add([&](std::size_t i) {
            return constraints.group[i] == g   ? constraints.weight[i]
                   : constraints.group[i] == 0 ? -constraints.weight[i]
                                               : 0.0;
        });
    }
}

/// Multiplies the amounts of a set's variables by one and a little, and scales it to its new size.
void Assemblage::change_amounts(std::size_t f, std::span<const double> relative) {
    MixtureSet& set = mixtures[f];
    const Block& block = system_->blocks[set.block];
    double growth = 0.0;
    for (std::size_t i = 0; i < set.x.size(); ++i) {
        const bool counts =
            block.variables == nullptr || block.variables->constraints.group[i] == 0;
        const double weight =
            block.variables == nullptr ? 1.0 : block.variables->constraints.weight[i];
        growth += counts ? weight * set.x[i] * relative[i] : 0.0;
        amounts_[sets_[f].first + i] *= 1.0 + relative[i];
    }
    const double log_growth = std::log1p(growth);
    set.log_amount += log_growth;
    for (std::size_t i = 0; i < set.x.size(); ++i) {
        const double change = std::log1p(relative[i]) - log_growth;
        set.log_x[i] += change;
        set.x[i] *= std::exp(change);
    }
}

} // namespace tessara
