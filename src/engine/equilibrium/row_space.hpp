#pragma once

#include <span>
#include <vector>

namespace tessara {

/// Rows of stoichiometry that are independent of each other, found one by one.
class RowSpace {
public:
    void reset(std::size_t columns);

    /// Takes the row in if it is independent of those before it.
    bool offer(std::span<const double> row);
    /// Whether the row is a combination of the first `count` rows taken in.
    bool contains(std::span<const double> row, std::size_t count) const;

    std::size_t rank() const { return pivot_.size(); }
    /// The column that the k-th row eliminates.
    std::size_t pivot(std::size_t k) const { return pivot_[k]; }

private:
    std::size_t columns_ = 0;
    std::vector<double> reduced_; ///< the rows after elimination, scaled to 1 at their pivots
    std::vector<std::size_t> pivot_;
    std::vector<double> candidate_;
};

} // namespace tessara
