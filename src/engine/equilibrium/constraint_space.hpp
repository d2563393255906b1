#pragma once

#include "engine/models/model.hpp"

#include <span>
#include <vector>

namespace tessara {

/// What holds among the variables of a phase, seen from one composition: the directions in which
/// no composition can move. Rows u_r with sum_i y_i u_ri u_si = [r = s] span them; where the
/// fractions of the constituents are the variables there is one such row, and it is 1 throughout.
class ConstraintSpace {
public:
    /// Takes the rows from what holds at the composition whose square roots are given; without
    /// constraints sum(y) = 1 is meant.
    void set(const Constraints* constraints, std::span<const double> root);

    std::size_t rank() const { return rank_; }
    std::span<const double> row(std::size_t r) const { return {&rows_[r * size_], size_}; }

    /// Takes off what the values have along the rows.
    void project(std::span<const double> y, std::span<double> values) const;

private:
    void add(std::span<const double> root);

    std::size_t size_ = 0;
    std::size_t rank_ = 0;
    std::vector<double> rows_;
};

/// Brings exp(log_y) to what holds: to neutrality, then each group to its sum.
void normalise(const Constraints& constraints, std::span<double> y, std::span<double> log_y);

/// How far a composition is from what holds: of the sums from 1, of the charge relative to its
/// absolute terms.
double largest_residual(const Constraints& constraints, std::span<const double> y);

} // namespace tessara
