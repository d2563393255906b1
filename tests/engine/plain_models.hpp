#pragma once

#include "engine/data/system.hpp"

#include <complex>
#include <span>

namespace tessara::test {

/// R T m of one unit of a phase in J, straight from the equations of its model, for complex
/// variables and temperature: independent of the evaluators, and exact to differentiate by complex
/// steps. All constituents take part. `p` in bar.
std::complex<double> plain_gibbs(std::span<const Constituent> constituents, const PhaseModel& model,
                                 std::span<const std::complex<double>> y, std::complex<double> t,
                                 double p);

} // namespace tessara::test
