#pragma once

#include "friendly/calculation/calculation.hpp"
#include "friendly/library/binding.hpp"

/// What calculations with and without streams do alike to solve.
namespace tessara::friendly::calculation {

/// `print(cls._list_back(...))`
void print_capture(PyObject* cls, const Capture& capture);

/// `basic.hxce(arguments...)` or, captured and printed, `basic.hxcel(arguments...)`.
template <class... Arguments>
void solve(PyObject* cls, bool print_results, const Arguments&... arguments) {
    if (print_results) {
        const Capture capture = begin_capture(cls);
        call_operation(names::hxcel, arguments...);
        print_capture(cls, capture);
    } else {
        call_operation(names::hxce, arguments...);
    }
}

/// The new list of exactly two values that a solving operation takes.
Ref value_pair(Borrowed first, Borrowed second);

/// `calculate_eq`, and what it says of itself.
Ref calculate_eq(PyObject* cls, PyObject* print_results, PyObject* estimate,
                 PyObject* return_result, PyObject* kwargs);
extern const char* const calculate_eq_text;

/// A search on a variable of the system, up to the reading of the value found. Refuses a `variable`
/// that is no `TargetVariable` before anything is called.
void search_from_guess(PyObject* cls, PyObject* variable, double guess, bool print_results);

/// Hands the ranges of a search on incoming amounts over, one by one; the last one starts it.
/// Whether they are listed and printed is told for the last one and for those before it.
void search_in_ranges(PyObject* cls, PyObject* IA_ranges, bool print_others, bool print_last);

} // namespace tessara::friendly::calculation
