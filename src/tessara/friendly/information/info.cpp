#include "friendly/information/information.hpp"

namespace tessara::friendly::information {

ClassDefinition info() {
    return {"Info",
            nullptr,
            R"(Static class: information about the library itself.

Gives access to functions that get information about the Tessara library and about the array sizes
that it uses to store data in memory. All methods are class methods, and the class need not be
instantiated.)",
            {},
            {}};
}

} // namespace tessara::friendly::information
