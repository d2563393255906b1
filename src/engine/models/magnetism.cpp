#include "engine/models/magnetism.hpp"

#include "engine/units/constants.hpp"

#include <cmath>

namespace tessara {
namespace {

/// A Curie temperature of less, in K, is none: the contribution, of order (Tc/T)^5, is below
/// rounding long before.
constexpr double LeastCurieTemperature = 1e-3;

} // namespace

MagneticFunction magnetic_function(double tau, double p) {
    const double q = 1.0 / p - 1.0;
    const double d = 518.0 / 1125.0 + 11692.0 / 15975.0 * q;
    if (tau <= 1.0) {
        const double a = 79.0 / (140.0 * p);
        const double b = 474.0 / 497.0 * q;
        const double t2 = tau * tau;
        const double t3 = t2 * tau;
        const double t6 = t3 * t3;
        const double t12 = t6 * t6;
        const double t8 = t6 * t2;
        const double t14 = t12 * t2;
        return {.g = 1.0 - (a / tau + b * t3 * (1.0 / 6.0 + t6 / 135.0 + t12 / 600.0)) / d,
                .d1 = -(-a / t2 + b * (t2 / 2.0 + t8 / 15.0 + t14 / 40.0)) / d,
                .d2 = -(2.0 * a / t3 + b * tau * (1.0 + 8.0 * t6 / 15.0 + 14.0 * t12 / 40.0)) / d,
                .d3 = -(-6.0 * a / (t2 * t2) + b * (1.0 + 56.0 * t6 / 15.0 + 182.0 * t12 / 40.0)) /
                      d};
    }
    const double i = 1.0 / tau;
    const double i5 = i * i * i * i * i;
    const double i10 = i5 * i5;
    const double i20 = i10 * i10;
    return {.g = -i5 * (1.0 / 10.0 + i10 / 315.0 + i20 / 1500.0) / d,
            .d1 = i5 * i * (1.0 / 2.0 + i10 / 21.0 + i20 / 60.0) / d,
            .d2 = -i5 * i * i * (3.0 + 16.0 * i10 / 21.0 + 26.0 * i20 / 60.0) / d,
            .d3 = i5 * i * i * i * (21.0 + 272.0 * i10 / 21.0 + 702.0 * i20 / 60.0) / d};
}

MagneticContribution magnetic_contribution(double t, double tc, double beta,
                                           const MagneticFactors& factors) {
    if (std::abs(tc) < LeastCurieTemperature) {
        return {};
    }
    // Each of the two is turned by its own sign.
    const double tc_sign = tc < 0.0 ? -factors.antiferromagnetic : 1.0;
    const double beta_sign = beta < 0.0 ? -factors.antiferromagnetic : 1.0;
    const double c = tc * tc_sign;
    const double b = 1.0 + beta * beta_sign;
    const double tau = t / c;
    const double log_b = std::log1p(beta * beta_sign);
    const MagneticFunction g = magnetic_function(tau, factors.structure);

    const double c2 = c * c;
    return {.f = log_b * g.g,
            .f_tc = -log_b * g.d1 * tau / c * tc_sign,
            .f_beta = g.g / b * beta_sign,
            .f_tctc = log_b * (g.d2 * tau + 2.0 * g.d1) * tau / c2 * tc_sign * tc_sign,
            .f_tcbeta = -g.d1 * tau / (c * b) * tc_sign * beta_sign,
            .f_betabeta = -g.g / (b * b) * beta_sign * beta_sign,
            .f_t = log_b * g.d1 / c,
            .f_tt = log_b * g.d2 / c2,
            .f_tc_t = -log_b * (g.d2 * tau + g.d1) / c2 * tc_sign,
            .f_tc_tt = -log_b * (g.d3 * tau + 2.0 * g.d2) / (c2 * c) * tc_sign,
            .f_beta_t = g.d1 / (c * b) * beta_sign,
            .f_beta_tt = g.d2 / (c2 * b) * beta_sign};
}

ThermalValue magnetic_gibbs(double t, double tc, double beta, const MagneticFactors& factors) {
    const MagneticContribution c = magnetic_contribution(t, tc, beta, factors);
    return {.value = GasConstant * t * c.f,
            .d_t = GasConstant * (c.f + t * c.f_t),
            .d_tt = GasConstant * (2.0 * c.f_t + t * c.f_tt)};
}

} // namespace tessara
