#pragma once

#include "engine/equilibrium/linear_programme.hpp"

#include <vector>

namespace tessara {

/// Finds the columns of a solved programme that are zero in each of its feasible points: species
/// that the amounts put in leave no room for, such as free oxygen where all there is fixes every
/// oxygen to hydrogen. Marks them in `impossible` (one entry per column); says whether there are
/// any.
///
/// Only rows at level zero can hold columns down. A row whose entries are all of one sign is
/// decided at once; what is left is decided by small linear programmes over these rows.
bool find_impossible_columns(const LinearProgramme& solved, std::vector<char>& impossible);

} // namespace tessara
