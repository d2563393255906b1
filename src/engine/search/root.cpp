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

/// Whether steps have come down to rounding, in values that are near zero: those across a jump are
/// not.
bool Bracket::is_at_rounding() const {
    return has_third_ && std::abs(low_ - before_) <= Rounding * std::abs(low_) &&
           std::max(std::abs(f_low_), std::abs(f_before_)) <= small_;
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
    before_ = low_;
    f_before_ = f_low_;
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
