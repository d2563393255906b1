#pragma once

namespace tessara {

/// Molar gas constant, J/(mol K): CODATA 2018, exact in the SI of 2019 (to the digits given there).
inline constexpr double GasConstant = 8.314462618;

/// Pressure to which the Gibbs energies of gas species refer, Pa.
inline constexpr double ReferencePressure = 1.0e5;

/// Spacing of doubles at 1; bounds that follow from rounding are multiples of it.
inline constexpr double Epsilon = 2.220446049250313e-16;

} // namespace tessara
