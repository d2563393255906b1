#pragma once

#include <exception>
#include <new>
#include <utility>

#include "friendly/python/ref.hpp"

namespace tessara::friendly {

/// Runs the body of an entry from Python. No C++ exception passes it: `failure` is the answer when
/// one was caught, and a Python exception is then set.
template <class Result, class Body>
Result guarded(Result failure, Body&& body) noexcept {
    try {
        return std::forward<Body>(body)();
    } catch (const PythonError&) {
        return failure;
    } catch (const std::bad_alloc&) {
        PyErr_NoMemory();
    } catch (const std::exception& error) {
        PyErr_SetString(PyExc_SystemError, error.what());
    } catch (...) {
        PyErr_SetString(PyExc_SystemError, "unexpected C++ exception");
    }
    return failure;
}

} // namespace tessara::friendly
