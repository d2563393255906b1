#pragma once

#include "engine/data/temperature_function.hpp"

namespace tessara {

/// The magnetic function g(tau), tau = T / Tc, with its first three derivatives.
///
/// Inden's description in the form of Hillert and Jarl,
/// M. Hillert, M. Jarl, CALPHAD 2 (1978) 227-238.
struct MagneticFunction {
    double g;
    double d1;
    double d2;
    double d3;
};

/// g at tau > 0 for the structure factor p (0.28 close-packed, 0.40 bcc):
///
///     D = 518/1125 + (11692/15975) (1/p - 1)
///     tau <= 1: g = 1 - [79/(140 p tau) + (474/497)(1/p - 1)(tau^3/6 + tau^9/135 + tau^15/600)]/D
///     tau >  1: g = -[tau^-5/10 + tau^-15/315 + tau^-25/1500] / D
MagneticFunction magnetic_function(double tau, double p);

/// How a phase turns the magnetic numbers of a file into usable ones.
struct MagneticFactors {
    double antiferromagnetic = 1.0; ///< f: a negative value v counts as -f v
    double structure = 0.4;         ///< p

    friend bool operator==(const MagneticFactors&, const MagneticFactors&) = default;
};

/// F = ln(1 + beta) g(T/Tc), so that the magnetic Gibbs energy is R T F, with the derivatives that
/// phases need. `tc` and `beta` are the mixture's own, before the sign rule; derivatives are with
/// respect to them. Everything is zero where Tc is zero.
struct MagneticContribution {
    double f = 0.0;
    double f_tc = 0.0, f_beta = 0.0;
    double f_tctc = 0.0, f_tcbeta = 0.0, f_betabeta = 0.0;
    double f_t = 0.0, f_tt = 0.0;
    double f_tc_t = 0.0, f_tc_tt = 0.0;
    double f_beta_t = 0.0, f_beta_tt = 0.0;
};

MagneticContribution magnetic_contribution(double t, double tc, double beta,
                                           const MagneticFactors& factors);

/// R T F in J/mol of a substance with these magnetic numbers.
ThermalValue magnetic_gibbs(double t, double tc, double beta, const MagneticFactors& factors);

} // namespace tessara
