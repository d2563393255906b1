#include "engine/equilibrium/row_space.hpp"

#include <algorithm>
#include <cmath>

namespace tessara {
namespace {

/// A row is dependent on others where elimination leaves less than this of its largest entry.
constexpr double RankTolerance = 1e-9;

double largest_entry(std::span<const double> row) {
    double size = 0.0;
    for (double a : row) {
        size = std::max(size, std::abs(a));
    }
    return size;
}

} // namespace

void RowSpace::reset(std::size_t columns) {
    columns_ = columns;
    reduced_.clear();
    pivot_.clear();
}

bool RowSpace::offer(std::span<const double> row) {
    candidate_.assign(row.begin(), row.end());
    const double size = largest_entry(candidate_);
    for (std::size_t k = 0; k < pivot_.size(); ++k) {
        const double f = candidate_[pivot_[k]];
        for (std::size_t j = 0; f != 0.0 && j < columns_; ++j) {
            candidate_[j] -= f * reduced_[k * columns_ + j];
        }
    }
    std::size_t best = 0;
    for (std::size_t j = 1; j < columns_; ++j) {
        if (std::abs(candidate_[j]) > std::abs(candidate_[best])) {
            best = j;
        }
    }
    if (columns_ == 0 || size == 0.0 || std::abs(candidate_[best]) <= RankTolerance * size) {
        return false;
    }
    const double top = candidate_[best];
    for (double a : candidate_) {
        reduced_.push_back(a / top);
    }
    pivot_.push_back(best);
    return true;
}

bool RowSpace::contains(std::span<const double> row, std::size_t count) const {
    std::vector<double> rest(row.begin(), row.end());
    const double size = largest_entry(rest);
    for (std::size_t k = 0; k < count; ++k) {
        const double f = rest[pivot_[k]];
        for (std::size_t j = 0; f != 0.0 && j < columns_; ++j) {
            rest[j] -= f * reduced_[k * columns_ + j];
        }
    }
    return largest_entry(rest) <= RankTolerance * size;
}

} // namespace tessara
