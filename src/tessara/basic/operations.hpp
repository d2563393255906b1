#pragma once

#include "basic/library/library.hpp"
#include "basic/members.hpp"
#include "basic/signature.hpp"

namespace tessara::basic {

/// The one library of the process, and what operations need of `core`.
struct Instance {
    Library library;
    Members members;
    Ref core;
    bool busy = false; ///< an operation is running
};

/// The instance; never destroyed, as static objects outlive the interpreter.
Instance& instance();

/// The functions of the module; the table ends with an empty entry.
PyMethodDef* method_table();

} // namespace tessara::basic
