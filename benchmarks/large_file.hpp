#pragma once

#include <string>

namespace tessara {

/// The text of a data file as large as they come: 5 MB, 5000 constituents in 200 phases over 12
/// components. Always the same one.
std::string large_file();

} // namespace tessara
