#include "engine/equilibrium/linear_programme.hpp"

#include "engine/equilibrium/vectors.hpp"
#include "engine/units/constants.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tessara {
namespace {

/// Reduced costs (in units of R T) closer to zero than this are zero.
constexpr double PriceTolerance = 1e-10;
/// Entries of a transformed column closer to zero than this are no pivots.
constexpr double PivotTolerance = 1e-9;
/// A level counts as zero below this multiple of the sum of its absolute terms.
constexpr double LevelTolerance = 64.0 * Epsilon;
/// Share of a row's absolute terms that may be left without a species to hold it.
constexpr double FeasibilityTolerance = 1e-13;
constexpr int RefactorInterval = 40;
/// The same where a basis has become singular and all is done once more.
constexpr double CautiousPivotTolerance = 1e-5;
constexpr int CautiousRefactorInterval = 4;
/// Degenerate pivots in a row after which the choice follows Bland's rule, which cannot cycle.
constexpr int BlandAfter = 12;
/// Pivots in a row, beside some per row, that may leave the objective as it is.
constexpr int MostIdle = 100;

} // namespace

void LinearProgramme::reset(std::size_t rows, bool bounded) {
    rows_ = rows;
    bounded_ = bounded;
    entries_.clear();
    costs_.clear();
    free_.clear();
    is_basic_.clear();
    b_.assign(rows, 0.0);
    basis_.assign(rows, Artificial);
    artificial_sign_.assign(rows, 1.0);
    inverse_.assign(rows * rows, 0.0);
    square_.resize(rows * rows);
    levels_.assign(rows, 0.0);
    duals_.assign(rows, 0.0);
    work_.assign(rows, 0.0);
    has_basis_ = false;
}

std::size_t LinearProgramme::add_column(std::span<const double> entries, double cost, bool free) {
    entries_.insert(entries_.end(), entries.begin(), entries.end());
    costs_.push_back(cost);
    free_.push_back(free ? 1 : 0);
    is_basic_.push_back(0);
    return costs_.size() - 1;
}

void LinearProgramme::truncate(std::size_t count) {
    entries_.resize(count * rows_);
    costs_.resize(count);
    free_.resize(count);
    is_basic_.resize(count);
}

void LinearProgramme::set_right_side(std::span<const double> b) {
    std::copy(b.begin(), b.end(), b_.begin());
    has_basis_ = false;
}

void LinearProgramme::start_basis() {
    std::fill(inverse_.begin(), inverse_.end(), 0.0);
    std::fill(is_basic_.begin(), is_basic_.end(), static_cast<char>(0));
    for (std::size_t k = 0; k < rows_; ++k) {
        basis_[k] = Artificial;
        artificial_sign_[k] = b_[k] < 0.0 ? -1.0 : 1.0;
        inverse_[k * rows_ + k] = artificial_sign_[k];
        levels_[k] = std::abs(b_[k]);
    }
    since_refactor_ = 0;
}

/// Inverts the basis anew by Gauss-Jordan elimination with row exchange.
bool LinearProgramme::refactor() {
    const std::size_t m = rows_;
    // square_ row i, column k: entry i of the column that is basic in row k.
    for (std::size_t k = 0; k < m; ++k) {
        for (std::size_t i = 0; i < m; ++i) {
            square_[i * m + k] = basis_[k] == Artificial ? (i == k ? artificial_sign_[k] : 0.0)
                                                         : entries_[basis_[k] * m + i];
        }
    }
    std::fill(inverse_.begin(), inverse_.end(), 0.0);
    for (std::size_t k = 0; k < m; ++k) {
        inverse_[k * m + k] = 1.0;
    }
    for (std::size_t c = 0; c < m; ++c) {
        std::size_t best = c;
        for (std::size_t i = c + 1; i < m; ++i) {
            if (std::abs(square_[i * m + c]) > std::abs(square_[best * m + c])) {
                best = i;
            }
        }
        const double top = square_[best * m + c];
        if (std::abs(top) < 1e-13) {
            return false;
        }
        if (best != c) {
            std::swap_ranges(&square_[best * m], &square_[best * m] + m, &square_[c * m]);
            std::swap_ranges(&inverse_[best * m], &inverse_[best * m] + m, &inverse_[c * m]);
        }
        for (std::size_t i = 0; i < m; ++i) {
            square_[c * m + i] /= top;
            inverse_[c * m + i] /= top;
        }
        for (std::size_t i = 0; i < m; ++i) {
            const double f = square_[i * m + c];
            if (i != c && f != 0.0) {
                for (std::size_t j = 0; j < m; ++j) {
                    square_[i * m + j] -= f * square_[c * m + j];
                    inverse_[i * m + j] -= f * inverse_[c * m + j];
                }
            }
        }
    }
    since_refactor_ = 0;
    return true;
}

void LinearProgramme::compute_levels() {
    for (std::size_t k = 0; k < rows_; ++k) {
        double sum = 0.0;
        double size = 0.0;
        for (std::size_t j = 0; j < rows_; ++j) {
            const double term = inverse_[k * rows_ + j] * b_[j];
            sum += term;
            size += std::abs(term);
        }
        levels_[k] = std::abs(sum) <= LevelTolerance * size ? 0.0 : sum;
    }
}

double LinearProgramme::basic_cost(std::size_t k, bool first_phase) const {
    if (basis_[k] == Artificial) {
        return first_phase ? 1.0 : 0.0;
    }
    return first_phase ? 0.0 : costs_[basis_[k]];
}

void LinearProgramme::price_rows(bool first_phase) {
    std::fill(duals_.begin(), duals_.end(), 0.0);
    for (std::size_t k = 0; k < rows_; ++k) {
        const double c = basic_cost(k, first_phase);
        if (c != 0.0) {
            for (std::size_t j = 0; j < rows_; ++j) {
                duals_[j] += c * inverse_[k * rows_ + j];
            }
        }
    }
}

void LinearProgramme::pivot(std::size_t row, std::size_t entering) {
    const std::size_t m = rows_;
    const double top = work_[row];
    const double level = levels_[row] / top;
    double* pivot_row = &inverse_[row * m];
    for (std::size_t j = 0; j < m; ++j) {
        pivot_row[j] /= top;
    }
    for (std::size_t k = 0; k < m; ++k) {
        const double f = work_[k];
        if (k != row && f != 0.0) {
            double* other = &inverse_[k * m];
            for (std::size_t j = 0; j < m; ++j) {
                other[j] -= f * pivot_row[j];
            }
        }
    }
    if (basis_[row] != Artificial) {
        is_basic_[basis_[row]] = 0;
    }
    basis_[row] = entering;
    is_basic_[entering] = 1;
    // Levels are worked out from the inverse: differences of levels would lose those of traces.
    levels_[row] = level;
    compute_levels();
    ++pivots_;
    ++since_refactor_;
}

double LinearProgramme::transformed(std::size_t k, std::span<const double> entries) const {
    return dot(&inverse_[k * rows_], entries.data(), rows_);
}

LinearProgramme::Status LinearProgramme::improve(bool first_phase) {
    const std::size_t m = rows_;
    const std::size_t n = costs_.size();
    int degenerate = 0;
    int idle = 0;
    double best_objective = std::numeric_limits<double>::infinity();
    const int interval = cautious_ ? CautiousRefactorInterval : RefactorInterval;
    const double least_pivot = cautious_ ? CautiousPivotTolerance : PivotTolerance;
    barred_.assign(n, 0);
    const int most = 200 + 20 * static_cast<int>(m) + static_cast<int>(n);
    for (int step = 0; step < most; ++step) {
        if (since_refactor_ > interval) {
            if (!refactor()) {
                return Status::Stalled;
            }
            compute_levels();
        }
        price_rows(first_phase);
        if (!first_phase) {
            // Columns all but alike can take each other's place for ever within rounding.
            const double value = objective();
            const bool gains = value < best_objective - 1e-13 * std::abs(best_objective);
            idle = gains ? 0 : idle + 1;
            best_objective = gains ? value : best_objective;
            if (idle > MostIdle + 4 * static_cast<int>(m)) {
                return Status::Optimal;
            }
        }
        const bool bland = degenerate > BlandAfter;
        std::size_t entering = Artificial;
        double best = PriceTolerance;
        double direction = 1.0;
        for (std::size_t j = 0; j < n; ++j) {
            if (is_basic_[j] != 0 || barred_[j] != 0) {
                continue;
            }
            const double cost = first_phase ? 0.0 : costs_[j];
            const double reduced = cost - dot(duals_.data(), &entries_[j * m], m);
            const double gain = free_[j] != 0 ? std::abs(reduced) : -reduced;
            if (gain > best) {
                entering = j;
                direction = reduced > 0.0 ? -1.0 : 1.0;
                if (bland) {
                    break;
                }
                best = gain;
            }
        }
        if (entering == Artificial) {
            return Status::Optimal;
        }
        for (std::size_t k = 0; k < m; ++k) {
            work_[k] = dot(&inverse_[k * m], &entries_[entering * m], m);
        }
        // The basic column that first falls to zero leaves. Among equal ones the largest pivot is
        // taken, an artificial one before others; with Bland's rule the one of least index.
        std::size_t leaving = Artificial;
        double least = 0.0;
        for (std::size_t k = 0; k < m; ++k) {
            const double fall = direction * work_[k];
            const bool artificial = basis_[k] == Artificial;
            if (!artificial && free_[basis_[k]] != 0) {
                continue;
            }
            // In the second phase an artificial column stays at zero whatever the direction.
            const bool pinned = artificial && !first_phase && std::abs(fall) > least_pivot;
            if (fall <= least_pivot && !pinned) {
                continue;
            }
            const double ratio = pinned ? 0.0 : std::max(levels_[k], 0.0) / fall;
            const auto rank = [&](std::size_t row) {
                return bland ? -static_cast<double>(basis_[row]) : std::abs(work_[row]);
            };
            if (leaving == Artificial || ratio < least * (1.0 - LevelTolerance) ||
                (ratio <= least * (1.0 + LevelTolerance) && rank(k) > rank(leaving))) {
                leaving = k;
                least = ratio;
            }
        }
        if (leaving == Artificial) {
            if (since_refactor_ > 0) {
                since_refactor_ = interval + 1; // it may be rounding of the inverse
            } else if (bounded_) {
                barred_[entering] = 1;
            } else {
                return Status::Unbounded;
            }
            continue;
        }
        degenerate = least > 0.0 ? 0 : degenerate + 1;
        pivot(leaving, entering);
    }
    return Status::Stalled;
}

bool LinearProgramme::infeasible() const {
    for (std::size_t k = 0; k < rows_; ++k) {
        if (basis_[k] == Artificial && levels_[k] != 0.0) {
            double size = 0.0;
            for (std::size_t j = 0; j < rows_; ++j) {
                size += std::abs(inverse_[k * rows_ + j] * b_[j]);
            }
            if (std::abs(levels_[k]) > FeasibilityTolerance * size) {
                return true;
            }
        }
    }
    return false;
}

/// Exchanges artificial columns at level zero for real ones. Those that stay mark redundant rows.
void LinearProgramme::expel_artificials() {
    const std::size_t m = rows_;
    for (std::size_t row = 0; row < m; ++row) {
        if (basis_[row] != Artificial) {
            continue;
        }
        std::size_t best = Artificial;
        double size = 1e-7;
        for (std::size_t j = 0; j < costs_.size(); ++j) {
            if (is_basic_[j] == 0) {
                const double w = std::abs(dot(&inverse_[row * m], &entries_[j * m], m));
                if (w > size) {
                    size = w;
                    best = j;
                }
            }
        }
        if (best != Artificial) {
            for (std::size_t k = 0; k < m; ++k) {
                work_[k] = dot(&inverse_[k * m], &entries_[best * m], m);
            }
            pivot(row, best);
        }
    }
}

LinearProgramme::Status LinearProgramme::solve() {
    pivots_ = 0;
    const Status status = solve_once();
    if (status != Status::Stalled) {
        return status;
    }
    has_basis_ = false;
    cautious_ = true;
    const Status again = solve_once();
    cautious_ = false;
    return again;
}

LinearProgramme::Status LinearProgramme::solve_once() {
    if (!has_basis_) {
        start_basis();
        const Status first = improve(true);
        if (first == Status::Stalled) {
            return first;
        }
        if (infeasible()) {
            price_rows(true);
            return Status::Infeasible;
        }
        expel_artificials();
        has_basis_ = true;
    }
    Status status = improve(false);
    if (since_refactor_ > 0 && refactor()) {
        compute_levels();
    }
    price_rows(false);
    for (double& level : levels_) {
        // What rounding left below zero is zero, but for free columns.
        const auto k = static_cast<std::size_t>(&level - levels_.data());
        const bool is_free = basis_[k] != Artificial && free_[basis_[k]] != 0;
        if (level < 0.0 && !is_free) {
            level = 0.0;
        }
    }
    if (status != Status::Optimal) {
        has_basis_ = false;
    }
    return status;
}

double LinearProgramme::objective() const {
    double sum = 0.0;
    for (std::size_t k = 0; k < rows_; ++k) {
        if (basis_[k] != Artificial) {
            sum += costs_[basis_[k]] * levels_[k];
        }
    }
    return sum;
}

} // namespace tessara
