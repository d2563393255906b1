#pragma once

#include <vector>

#include "friendly/method.hpp"

namespace tessara::friendly {

/// `_query_stoich_list` and `_build_stoich_dict`, the functions of the module.
std::vector<Method> stoichiometry_functions();

} // namespace tessara::friendly
