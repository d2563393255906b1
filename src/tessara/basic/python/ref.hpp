#pragma once

#include "python/ref.hpp"

namespace tessara::basic {

using python::checked;
using python::PythonError;
using python::Ref;

} // namespace tessara::basic
