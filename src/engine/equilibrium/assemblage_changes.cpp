#include "engine/equilibrium/assemblage.hpp"

#include "engine/equilibrium/vectors.hpp"

#include <Eigen/QR>

#include <algorithm>
#include <cmath>
#include <limits>

// Changes of the set of phases: one joins, and another makes room.

namespace tessara {
namespace {

/// A rate of change closer to zero than this is none.
constexpr double RateTolerance = 1e-9;
/// A phase is made of others where they come as near to its composition as this.
constexpr double SpanTolerance = 1e-6;

} // namespace

// --- joining ---

/// Removes the phase that is used up first when each falls at the rate given; false where none
/// falls.
bool Assemblage::drop_first_used_up(std::span<const double> fall,
                                    std::span<const double> mixture_fall) {
    double least = std::numeric_limits<double>::infinity();
    std::size_t leaving_pure = pure.size();
    std::size_t leaving_mixture = mixture_count;
    for (std::size_t k = 0; k < fixed_; ++k) {
        if (basis_[k].kind == Member::Kind::Pure && fall[k] > RateTolerance) {
            const double ratio = pure[basis_[k].set].amount / fall[k];
            if (ratio < least) {
                least = ratio;
                leaving_pure = basis_[k].set;
            }
        }
    }
    for (std::size_t f = 0; f < mixture_fall.size(); ++f) {
        if (mixture_fall[f] > RateTolerance) {
            const double ratio = mixtures[f].amount() / mixture_fall[f];
            if (ratio < least) {
                least = ratio;
                leaving_mixture = f;
            }
        }
    }
    if (leaving_mixture < mixture_count) {
        remove_mixture(leaving_mixture);
    } else if (leaving_pure < pure.size()) {
        pure.erase(pure.begin() + static_cast<std::ptrdiff_t>(leaving_pure));
    } else {
        return false;
    }
    return true;
}

/// Makes room for a phase that holds `growth` of each member. There is room where the phases that
/// are there leave a potential free that the new one can fix; else one of them has to go.
bool Assemblage::make_room(std::span<const double> growth) {
    const std::size_t m = unknowns();
    const auto nonzero = [](double a) { return a != 0.0; };
    if (std::any_of(growth.begin() + static_cast<std::ptrdiff_t>(spanned_), growth.end(),
                    nonzero)) {
        return true;
    }
    const bool needs_mixtures =
        std::any_of(growth.begin() + static_cast<std::ptrdiff_t>(fixed_), growth.end(), nonzero);
    // What each phase gives for one mole of the new one, compositions held.
    std::vector<double> fall(growth.begin(), growth.begin() + static_cast<std::ptrdiff_t>(fixed_));
    std::vector<double> mixture_fall(needs_mixtures ? mixture_count : 0, 0.0);
    if (needs_mixtures) {
        const auto size = static_cast<Eigen::Index>(m);
        Eigen::MatrixXd held = Eigen::MatrixXd::Zero(static_cast<Eigen::Index>(rank_),
                                                     static_cast<Eigen::Index>(mixture_count));
        for (std::size_t f = 0; f < mixture_count; ++f) {
            const std::size_t first = system_->blocks[mixtures[f].block].first;
            for (std::size_t i = 0; i < mixtures[f].x.size(); ++i) {
                for (std::size_t k = 0; k < rank_; ++k) {
                    held(static_cast<Eigen::Index>(k), static_cast<Eigen::Index>(f)) +=
                        mixtures[f].x[i] * nu_row(first + i)[k];
                }
            }
        }
        Eigen::VectorXd wanted(size);
        for (std::size_t k = 0; k < m; ++k) {
            wanted[static_cast<Eigen::Index>(k)] = growth[fixed_ + k];
        }
        const Eigen::MatrixXd free = held.middleRows(static_cast<Eigen::Index>(fixed_), size);
        const Eigen::VectorXd given = free.colPivHouseholderQr().solve(wanted);
        if (!given.allFinite()) {
            return false;
        }
        if ((free * given - wanted).norm() > SpanTolerance * wanted.norm()) {
            return true; // no combination of the phases that are there makes the new one
        }
        for (std::size_t f = 0; f < mixture_count; ++f) {
            mixture_fall[f] = given[static_cast<Eigen::Index>(f)];
        }
        for (std::size_t k = 0; k < fixed_; ++k) {
            fall[k] -= held.row(static_cast<Eigen::Index>(k)).dot(given);
        }
    }
    return drop_first_used_up(fall, mixture_fall);
}

bool Assemblage::join_pure(std::size_t block) {
    if (!make_room({nu_row(system_->blocks[block].first), rank_})) {
        return false;
    }
    pure.push_back({block, 0.0});
    return true;
}

bool Assemblage::join_mixture(std::size_t block, std::span<const double> x,
                              std::span<const double> log_x) {
    std::vector<double> growth(rank_, 0.0);
    const std::size_t first = system_->blocks[block].first;
    for (std::size_t i = 0; i < x.size(); ++i) {
        for (std::size_t k = 0; k < rank_; ++k) {
            growth[k] += x[i] * nu_row(first + i)[k];
        }
    }
    double total = 0.0;
    for (const Feed& feed : *feeds_) {
        total += std::abs(feed.amount);
    }
    // No more than a share of what goes in, and of the traces that it needs.
    double log_amount = std::log(1e-3 * total);
    for (std::size_t k = 0; k < spanned_; ++k) {
        if (right_[k] != 0.0 || std::abs(growth[k]) <= RateTolerance) {
            continue;
        }
        double there = log_amount;
        if (k >= fixed_) {
            there = std::max(above_[k - fixed_], below_[k - fixed_]);
        } else if (basis_[k].kind == Member::Kind::Pure) {
            there = std::log(pure[basis_[k].set].amount);
        }
        log_amount = std::min(log_amount, there - std::log(std::abs(growth[k])));
    }
    if (!make_room(growth)) {
        return false;
    }
    MixtureSet& set = add_mixture(block, x.size());
    set.log_amount = log_amount;
    std::copy(x.begin(), x.end(), set.x.begin());
    std::copy(log_x.begin(), log_x.end(), set.log_x.begin());
    return true;
}

} // namespace tessara
