#include "engine/search/root.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tessara {
namespace {

/// No method needs as many steps as this for an interval of doubles.
constexpr int MostSteps = 300;
/// Of a point: what is measured there is no better than its own rounding.
constexpr double Rounding = 8.0 * std::numeric_limits<double>::epsilon();

double resolution(double low, double high) {
    return 2.0 * std::numeric_limits<double>::epsilon() *
           std::max({std::abs(low), std::abs(high), std::numeric_limits<double>::min()});
}

} // namespace

bool Bracket::is_open() const {
    return f_low_ != 0.0 && f_high_ != 0.0 && steps_ < MostSteps &&
           std::abs(high_ - low_) > resolution(low_, high_) && !is_at_rounding();
}

/// Whether the point taken last has another that was tried within rounding, and both values are
/// near zero: those across a jump are not.
bool Bracket::is_at_rounding() const {
    return std::abs(f_low_) <= small_ &&
           (is_same_zero(high_, f_high_) || (has_third_ && is_same_zero(third_, f_third_)));
}

bool Bracket::is_same_zero(double point, double f) const {
    return std::abs(low_ - point) <= Rounding * std::abs(low_) && std::abs(f) <= small_;
}

double Bracket::next() {
    ++steps_;
    // `low_` is the point taken last: the two ends change places as needed.
    double share = 0.5;
    if (has_third_) {
        const double xi = (low_ - high_) / (third_ - high_);
        const double phi = (f_low_ - f_high_) / (f_third_ - f_high_);
        if (phi * phi < xi && (1.0 - phi) * (1.0 - phi) < 1.0 - xi) {
            share = f_low_ / (f_high_ - f_low_) * f_third_ / (f_high_ - f_third_) +
                    (third_ - low_) / (high_ - low_) * f_low_ / (f_third_ - f_low_) * f_high_ /
                        (f_third_ - f_high_);
        }
    } else if (steps_ == 1) {
        share = f_low_ / (f_low_ - f_high_); // the chord
    }
    const double least = 0.5 * resolution(low_, high_) / std::abs(high_ - low_);
    share = std::clamp(std::isfinite(share) ? share : 0.5, std::min(least, 0.5),
                       std::max(1.0 - least, 0.5));
    return low_ + share * (high_ - low_);
}

void Bracket::take(double point, double f) {
    has_third_ = true;
    if ((f > 0.0) == (f_low_ > 0.0)) {
        third_ = low_;
        f_third_ = f_low_;
    } else {
        third_ = high_;
        f_third_ = f_high_;
        high_ = low_;
        f_high_ = f_low_;
    }
    low_ = point;
    f_low_ = f;
}

} // namespace tessara
