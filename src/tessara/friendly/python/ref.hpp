#pragma once

#include "python/ref.hpp"

namespace tessara::friendly {

using python::checked;
using python::fail;
using python::PythonError;
using python::Ref;
using python::throw_if_set;

} // namespace tessara::friendly
