#pragma once

#include "engine/models/parameters.hpp"
#include "engine/units/constants.hpp"

#include <span>
#include <utility>
#include <vector>

namespace tessara {

/// The magnetic part of a phase whose Curie temperature and moment are mixed by a polynomial in its
/// variables, added to what its pure constituents bring in. `Polynomial` has `value`, `gradient`
/// and `hessian` over coefficients that are handed in.
template <class Polynomial>
class MagneticMixing {
public:
    /// `pure` holds a number for each variable, `sets` one for each coefficient of the polynomial.
    MagneticMixing(const MagneticFactors& factors, std::vector<MagneticNumbers> pure,
                   Polynomial polynomial, const std::vector<MagneticNumbers>& sets)
        : factors_(factors), pure_(std::move(pure)), polynomial_(std::move(polynomial)),
          d_tc_(pure_.size()), d_beta_(pure_.size()) {
        for (const MagneticNumbers& set : sets) {
            tc_.push_back(set.tc);
            beta_.push_back(set.beta);
        }
    }

    /// F, so that the magnetic Gibbs energy is R T F.
    double value(double t, std::span<const double> x) const {
        double tc = polynomial_.value(x, tc_);
        double beta = polynomial_.value(x, beta_);
        for (std::size_t i = 0; i < pure_.size(); ++i) {
            tc += x[i] * pure_[i].tc;
            beta += x[i] * pure_[i].beta;
        }
        return magnetic_contribution(t, tc, beta, factors_).f;
    }

    /// Adds the gradient and the Hessian of F; returns F.
    double add(double t, std::span<const double> x, std::span<double> gradient,
               std::span<double> hessian) const {
        const MagneticContribution c = with_gradients(t, x);
        const std::size_t n = pure_.size();
        for (std::size_t i = 0; i < n; ++i) {
            gradient[i] += c.f_tc * d_tc_[i] + c.f_beta * d_beta_[i];
            for (std::size_t j = 0; j < n; ++j) {
                hessian[i * n + j] += c.f_tctc * d_tc_[i] * d_tc_[j] +
                                      c.f_betabeta * d_beta_[i] * d_beta_[j] +
                                      c.f_tcbeta * (d_tc_[i] * d_beta_[j] + d_beta_[i] * d_tc_[j]);
            }
        }
        polynomial_.hessian(x, tc_, c.f_tc, hessian);
        polynomial_.hessian(x, beta_, c.f_beta, hessian);
        return c.f;
    }

    /// Adds R T F and its gradient, with T derivatives.
    void add_thermal(double t, std::span<const double> x, ThermalValue& total,
                     std::span<ThermalValue> gradient) const {
        const MagneticContribution c = with_gradients(t, x);
        total += scaled_by_rt(t, c.f, c.f_t, c.f_tt);
        for (std::size_t i = 0; i < pure_.size(); ++i) {
            gradient[i] += scaled_by_rt(t, c.f_tc * d_tc_[i] + c.f_beta * d_beta_[i],
                                        c.f_tc_t * d_tc_[i] + c.f_beta_t * d_beta_[i],
                                        c.f_tc_tt * d_tc_[i] + c.f_beta_tt * d_beta_[i]);
        }
    }

private:
    /// R T f with derivatives, from f with derivatives.
    static ThermalValue scaled_by_rt(double t, double f, double f_t, double f_tt) {
        return {.value = GasConstant * t * f,
                .d_t = GasConstant * (f + t * f_t),
                .d_tt = GasConstant * (2.0 * f_t + t * f_tt)};
    }

    /// The contribution, with the gradients of Tc and beta left in `d_tc_` and `d_beta_`.
    MagneticContribution with_gradients(double t, std::span<const double> x) const {
        for (std::size_t i = 0; i < pure_.size(); ++i) {
            d_tc_[i] = pure_[i].tc;
            d_beta_[i] = pure_[i].beta;
        }
        double tc = polynomial_.gradient(x, tc_, d_tc_);
        double beta = polynomial_.gradient(x, beta_, d_beta_);
        for (std::size_t i = 0; i < pure_.size(); ++i) {
            tc += x[i] * pure_[i].tc;
            beta += x[i] * pure_[i].beta;
        }
        return magnetic_contribution(t, tc, beta, factors_);
    }

    MagneticFactors factors_;
    std::vector<MagneticNumbers> pure_;
    Polynomial polynomial_;
    std::vector<double> tc_, beta_;
    mutable std::vector<double> d_tc_, d_beta_;
};

} // namespace tessara
