#pragma once

#include "engine/conditions/equilibrium_conditions.hpp"
#include "engine/data/system.hpp"

#include <memory>
#include <string>
#include <vector>

namespace tessara {

/// A system drawn once and for all, and states of it: each has a temperature and a composition of
/// its own.
struct DrawnSystem {
    std::shared_ptr<const System> system;
    std::vector<EquilibriumConditions> states;
};

/// A gas of 12 species over 3 components, 4 compounds.
DrawnSystem gas_with_compounds();
/// 4 metals: a liquid and 5 solids after Redlich and Kister, 6 sublattice phases, 20 compounds.
DrawnSystem alloy_of_4_components();
/// A quasichemical melt of the oxides of 4 cations, gas, 2 solid solutions, 40 compounds.
DrawnSystem slag_of_4_cations();
/// 9 components: a gas, 30 sublattice phases with 400 end members in all, 60 compounds.
DrawnSystem alloy_of_9_components();

/// So many constituents over so many components, at most 52: three tenths are gas, two tenths pure
/// phases, the rest solutions of up to 8 metals and sublattice phases.
DrawnSystem system_of_size(std::size_t components, std::size_t constituents);

/// The text of a file with a gas of so many species over 5 components, 50 or fewer: atoms,
/// diatomics and the rest.
std::string drawn_gas(int species);

} // namespace tessara
