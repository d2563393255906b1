#include "friendly/information/information.hpp"

namespace tessara::friendly::information {

ClassDefinition units() {
    return {"Units",
            nullptr,
            R"(Static class: units of measure.

Gives access to functions that perform tasks related to the units of measure in which the library
takes and gives numbers. All methods are class methods, and the class need not be instantiated.)",
            {},
            {}};
}

} // namespace tessara::friendly::information
