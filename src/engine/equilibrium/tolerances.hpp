#pragma once

#include "engine/units/constants.hpp"

#include <cstddef>

/// Bounds that several steps of a calculation share; those of one step stand beside it.
namespace tessara {

/// A sum counts as zero below this multiple of its absolute terms.
inline constexpr double ZeroTolerance = 64.0 * Epsilon;
/// Driving force, in R T, at which an absent phase joins: well within the certificate's bound.
inline constexpr double JoinThreshold = 2e-10;
/// Compositions that differ by less are one set.
inline constexpr double SameSet = 1e-6;
/// Minima of one phase that are looked at.
inline constexpr std::size_t MostMinima = 6;

} // namespace tessara
