#pragma once

#include "support.hpp"

#include <random>

namespace tessara::test {

using Random = std::mt19937_64;

double uniform(Random& random, double low, double high);

/// A gas, two Redlich-Kister solutions and compounds over 2 to 5 components, with energies that
/// let any of them be stable somewhere between 200 and 6000 K.
DatText random_system(Random& random, std::size_t components);

/// T from 200 to 6000 K, P from 1e-4 to 100 bar; each component absent, ordinary or a trace down to
/// 1e-13 mol.
EquilibriumConditions random_conditions(Random& random, const System& system);

/// T and P likewise; small whole amounts of components: exact ratios are the rule.
EquilibriumConditions random_whole_conditions(Random& random, const System& system);

/// T and P likewise; one or two constituents of any phases, in whole amounts.
EquilibriumConditions random_constituent_conditions(Random& random, const System& system);

} // namespace tessara::test
