#include "engine/data/temperature_function.hpp"

#include <cmath>

namespace tessara {

void TemperatureTerms::add_exponent(double exponent) {
    exponents_.push_back(exponent);
    powers_.push_back(0.0);
}

void TemperatureTerms::set(double temperature) {
    t = temperature;
    ln_t = std::log(t);
    t_ln_t = t * ln_t;
    t2 = t * t;
    t3 = t2 * t;
    inverse_t = 1.0 / t;
    for (std::size_t k = 0; k < exponents_.size(); ++k) {
        powers_[k] = exponents_[k] == LogarithmExponent ? ln_t : std::pow(t, exponents_[k]);
    }
}

double evaluate_six(const SixCoefficients& c, const TemperatureTerms& at) {
    return c[0] + c[1] * at.t + c[2] * at.t_ln_t + c[3] * at.t2 + c[4] * at.t3 +
           c[5] * at.inverse_t;
}

ThermalValue evaluate_six_with_derivatives(const SixCoefficients& c, const TemperatureTerms& at) {
    const double inverse_t2 = at.inverse_t * at.inverse_t;
    return {.value = evaluate_six(c, at),
            .d_t = c[1] + c[2] * (at.ln_t + 1.0) + 2.0 * c[3] * at.t + 3.0 * c[4] * at.t2 -
                   c[5] * inverse_t2,
            .d_tt = c[2] * at.inverse_t + 2.0 * c[3] + 6.0 * c[4] * at.t +
                    2.0 * c[5] * inverse_t2 * at.inverse_t};
}

const TemperatureFunction::Range& TemperatureFunction::range_at(double t) const {
    for (const Range& range : ranges_) {
        if (t <= range.t_max) {
            return range;
        }
    }
    return ranges_.back();
}

TemperatureFunction TemperatureFunction::scaled(double factor) const {
    TemperatureFunction result = *this;
    for (Range& range : result.ranges_) {
        for (double& c : range.coefficients) {
            c *= factor;
        }
        for (ExtraTerm& term : range.extra) {
            term.coefficient *= factor;
        }
    }
    return result;
}

double TemperatureFunction::value(const TemperatureTerms& at) const {
    const Range& range = range_at(at.t);
    double g = evaluate_six(range.coefficients, at);
    for (const ExtraTerm& term : range.extra) {
        g += term.coefficient * at.power(term.place);
    }
    return g;
}

ThermalValue TemperatureFunction::with_derivatives(const TemperatureTerms& at) const {
    const Range& range = range_at(at.t);
    ThermalValue g = evaluate_six_with_derivatives(range.coefficients, at);
    for (const ExtraTerm& term : range.extra) {
        const double p = at.exponent(term.place);
        const double e = term.coefficient;
        if (p == LogarithmExponent) {
            g += {.value = e * at.ln_t,
                  .d_t = e * at.inverse_t,
                  .d_tt = -e * at.inverse_t * at.inverse_t};
        } else {
            const double value = e * at.power(term.place);
            g += {.value = value,
                  .d_t = p * value * at.inverse_t,
                  .d_tt = p * (p - 1.0) * value * at.inverse_t * at.inverse_t};
        }
    }
    return g;
}

bool operator==(const TemperatureFunction& a, const TemperatureFunction& b) {
    if (a.ranges_.size() != b.ranges_.size()) {
        return false;
    }
    for (std::size_t r = 0; r < a.ranges_.size(); ++r) {
        const auto& x = a.ranges_[r];
        const auto& y = b.ranges_[r];
        if (x.t_max != y.t_max || x.coefficients != y.coefficients ||
            x.extra.size() != y.extra.size()) {
            return false;
        }
        for (std::size_t k = 0; k < x.extra.size(); ++k) {
            // Both belong to one system, so equal places mean equal exponents.
            if (x.extra[k].coefficient != y.extra[k].coefficient ||
                x.extra[k].place != y.extra[k].place) {
                return false;
            }
        }
    }
    return true;
}

} // namespace tessara
