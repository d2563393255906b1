#pragma once

#include <algorithm>
#include <cmath>

namespace tessara {

/// A zero between two points at which a function has different signs: Chandrupatla's method, which
/// takes inverse quadratic interpolation where the last three points promise that it is good, and
/// halves the interval elsewhere.
class Bracket {
public:
    Bracket(double low, double f_low, double high, double f_high)
        : low_(low), f_low_(f_low), high_(high), f_high_(f_high),
          small_(SmallShare * std::min(std::abs(f_low), std::abs(f_high))) {}

    /// Whether there are numbers left between the two, and no zero has been met: neither exactly
    /// nor within rounding.
    bool is_open() const;
    /// One of the ends: the point taken last.
    double last() const { return low_; }
    /// Where to look next.
    double next();
    /// Takes the value there up.
    void take(double point, double f);

private:
    /// What counts as near zero, of the smaller of the two first values.
    static constexpr double SmallShare = 1e-6;

    bool is_at_rounding() const;
    bool is_same_zero(double point, double f) const;

    double low_;
    double f_low_;
    double high_;
    double f_high_;
    double small_;
    double third_ = 0.0; ///< the point given up last
    double f_third_ = 0.0;
    bool has_third_ = false;
    int steps_ = 0;
};

} // namespace tessara
