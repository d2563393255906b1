#pragma once

#include "friendly/class_definition.hpp"
#include "friendly/python/objects.hpp"

namespace tessara::friendly {

/// The class `ThermochemicalSystem`.
ClassDefinition thermochemical_system();

// Its methods, by subject.

std::vector<Method> configuration_methods();
std::vector<Method> header_methods();
std::vector<Method> listing_methods();
std::vector<Method> query_methods();
std::vector<Method> status_methods();
std::vector<Method> stoichiometry_methods();

/// Reads a data file; `load`.
Ref load(PyObject* cls, PyObject* file_path);
/// Refreshes everything that is derived from the system; `_update`.
Ref update(PyObject* cls);
/// Walks the system into the caches; `_build_cache`.
Ref build_cache(PyObject* cls);

/// `SolutionModel[_ph_cache[ph]["model"]]`: the member, of which the cache holds the name.
Ref model_of(Borrowed ph);

} // namespace tessara::friendly
