#pragma once

#include "friendly/python/ref.hpp"

namespace tessara::friendly {

/// Everything that importing the module does, in order, up to the first failure.
void run_import_sequence(PyObject* module);

} // namespace tessara::friendly
