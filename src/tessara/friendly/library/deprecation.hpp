#pragma once

#include <string>

#include "friendly/library/binding.hpp"

// Target setters had names in `set_tg_` once. Those names warn and call their successors.

namespace tessara::friendly {

/// `set_tg_<what>`, given `set_target_<what>`.
std::string former_name(const Name& successor);

/// What a former name says of itself.
std::string former_name_description(const Name& successor);

/// Warns that a method has been renamed. The warning points at the caller of the former name.
void warn_of_former_name(const Name& successor);

} // namespace tessara::friendly
