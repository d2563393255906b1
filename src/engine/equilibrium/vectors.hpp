#pragma once

#include <cmath>
#include <cstddef>
#include <span>

namespace tessara {

inline double dot(const double* a, const double* b, std::size_t n) {
    double sum = 0.0;
    for (std::size_t k = 0; k < n; ++k) {
        sum += a[k] * b[k];
    }
    return sum;
}

/// The second may be longer.
inline double dot(std::span<const double> a, std::span<const double> b) {
    return dot(a.data(), b.data(), a.size());
}

/// Whether no fraction differs by more than the tolerance.
inline bool same_composition(std::span<const double> a, std::span<const double> b,
                             double tolerance) {
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (std::abs(a[i] - b[i]) > tolerance) {
            return false;
        }
    }
    return true;
}

} // namespace tessara
