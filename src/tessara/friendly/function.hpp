#pragma once

#include "friendly/method.hpp"

namespace tessara::friendly {

/// The Python object for a method of the class `owner`, or for a function of the module where
/// `owner` is null. The names are literals: they are kept as they come.
Ref make_function(const char* owner, const Method& method);

} // namespace tessara::friendly
