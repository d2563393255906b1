#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <vector>

namespace tessara {

/// A function of temperature with its first two derivatives: J/mol, J/(mol K), J/(mol K^2) for a
/// Gibbs energy.
struct ThermalValue {
    double value = 0.0;
    double d_t = 0.0;
    double d_tt = 0.0;

    ThermalValue& operator+=(const ThermalValue& other) {
        value += other.value;
        d_t += other.d_t;
        d_tt += other.d_tt;
        return *this;
    }
};

/// The three numbers of a thermal value, for what treats them alike.
inline constexpr double ThermalValue::*ThermalParts[] = {&ThermalValue::value, &ThermalValue::d_t,
                                                         &ThermalValue::d_tt};

/// The exponent by which a data file writes ln T among the extra terms.
inline constexpr double LogarithmExponent = 99.0;

/// The powers of T that a system's functions need at one temperature, each computed once.
///
/// Exponents are registered while a system is read; `set` then fills the values for a temperature.
class TemperatureTerms {
public:
    /// Adds an exponent; its place is the number of those before it.
    void add_exponent(double exponent);

    void set(double t);

    double t = 0.0;
    double ln_t = 0.0;
    double t_ln_t = 0.0;
    double t2 = 0.0;
    double t3 = 0.0;
    double inverse_t = 0.0;

    double power(std::size_t place) const { return powers_[place]; }
    double exponent(std::size_t place) const { return exponents_[place]; }
    std::size_t exponent_count() const { return exponents_.size(); }

private:
    std::vector<double> exponents_;
    std::vector<double> powers_;
};

/// One extra term of a range: coefficient * T^p, or coefficient * ln T.
struct ExtraTerm {
    double coefficient;
    std::size_t place; ///< of the exponent in the system's `TemperatureTerms`
};

/// The coefficients of 1, T, T ln T, T^2, T^3, 1/T.
using SixCoefficients = std::array<double, 6>;

/// c1 + c2 T + c3 T ln T + c4 T^2 + c5 T^3 + c6/T.
double evaluate_six(const SixCoefficients& c, const TemperatureTerms& at);
ThermalValue evaluate_six_with_derivatives(const SixCoefficients& c, const TemperatureTerms& at);

/// A piecewise function of temperature as data files hold it:
/// in each range a sum of the six usual terms and any number of extra ones.
///
/// The first range with T <= t_max applies; above all limits the last range is continued, and the
/// first one downwards without limit.
class TemperatureFunction {
public:
    struct Range {
        double t_max;
        SixCoefficients coefficients;
        std::vector<ExtraTerm> extra;
        int line = 0; ///< of its limit in the data file
    };

    void add_range(Range range) { ranges_.push_back(std::move(range)); }
    std::span<const Range> ranges() const { return ranges_; }

    /// The function times a factor.
    TemperatureFunction scaled(double factor) const;

    double value(const TemperatureTerms& at) const;
    ThermalValue with_derivatives(const TemperatureTerms& at) const;

    friend bool operator==(const TemperatureFunction& a, const TemperatureFunction& b);

private:
    const Range& range_at(double t) const;

    std::vector<Range> ranges_;
};

} // namespace tessara
