#pragma once

#include "friendly/class_definition.hpp"

namespace tessara::friendly {

/// The class `ThermochemicalSystem`.
ClassDefinition thermochemical_system();

// Its methods, by subject.

/// Reads a data file; `load`.
Ref load(PyObject* cls, PyObject* file_path);
/// Refreshes everything that is derived from the system; `_update`.
Ref update(PyObject* cls);
/// Walks the system into the caches; `_build_cache`.
Ref build_cache(PyObject* cls);

} // namespace tessara::friendly
