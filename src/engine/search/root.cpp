#include "engine/search/root.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tessara {
namespace {

/// No method needs as many steps as this for an interval of doubles.
constexpr int MostSteps = 300;

double resolution(double low, double high) {
    return 2.0 * std::numeric_limits<double>::epsilon() *
           std::max({std::abs(low), std::abs(high), std::numeric_limits<double>::min()});
}

} // namespace

bool Bracket::is_open() const {
    return f_low != 0.0 && f_high != 0.0 && steps_ < MostSteps &&
           std::abs(high - low) > resolution(low, high);
}

double Bracket::next() {
    ++steps_;
    // `low` is the point taken last: the two ends change places as needed.
    double share = 0.5;
    if (has_third_) {
        const double xi = (low - high) / (third_ - high);
        const double phi = (f_low - f_high) / (f_third_ - f_high);
        if (phi * phi < xi && (1.0 - phi) * (1.0 - phi) < 1.0 - xi) {
            share = f_low / (f_high - f_low) * f_third_ / (f_high - f_third_) +
                    (third_ - low) / (high - low) * f_low / (f_third_ - f_low) * f_high /
                        (f_third_ - f_high);
        }
    } else if (steps_ == 1) {
        share = f_low / (f_low - f_high); // the chord
    }
    const double least = 0.5 * resolution(low, high) / std::abs(high - low);
    share = std::clamp(std::isfinite(share) ? share : 0.5, std::min(least, 0.5),
                       std::max(1.0 - least, 0.5));
    return low + share * (high - low);
}

void Bracket::take(double point, double f) {
    has_third_ = true;
    if ((f > 0.0) == (f_low > 0.0)) {
        third_ = low;
        f_third_ = f_low;
    } else {
        third_ = high;
        f_third_ = f_high;
        high = low;
        f_high = f_low;
    }
    low = point;
    f_low = f;
}

} // namespace tessara
