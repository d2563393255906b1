#include "friendly/system/thermochemical_system.hpp"

#include <iterator>

#include "friendly/shapes.hpp"

namespace tessara::friendly {

namespace {

constexpr const char* documentation =
    R"(Static class: the thermochemical system that calculations work with.

A system is described by a data file, ASCII (`.dat`) or transparent (`.tdf`). `load` reads it; the
other methods perform tasks related to the loaded system. All methods are class methods, and the
class need not be instantiated.)";

constexpr const char* load_text = R"(Loads a thermochemical data file.

The library starts afresh: units go back to bar, dm3, K, J and mol, and conditions, streams and
statuses of the former system are gone. `StreamCalculation.streams` is not touched.

Parameters:
    file_path: `str` or `pathlib.Path` of the file. The extension selects the reader and has to be
        ".dat" (ASCII) or ".tdf" (transparent), in lower case.

Raises:
    FileExistsError: the path does not exist; nothing has changed then.
    ValueError: another extension; the library is empty then.
    TessaraError: the library can't open or read the file. The text ends with the path.
    TessaraPyError: a name occurs twice among the system components, among the phases, or among the
        constituents of one phase.)";

constexpr const char* update_text = R"(Refreshes what is derived from the loaded system.

Rebuilds the caches, then the description that `get_object` hands out, in this order. Runs after
each load and each change of units. Before the first load `ts` stays `None`.

Raises:
    TessaraPyError: a name occurs twice where it has to be unique.
    TessaraError: the library refuses a question.)";

constexpr const char* build_cache_text = R"(Reads the loaded system into the caches.

Names, stoichiometries, molar masses (in the amount unit in force, and of system components in gram
too), mass fractions and models are asked from the library once; resolving a name or an index is a
look-up from then on. Does nothing before the first load.

Raises:
    TessaraPyError: a name occurs twice where it has to be unique.
    TessaraError: the library refuses a question. The caches are then left half-built, and the
        amount unit may be left at gram.)";

} // namespace

ClassDefinition thermochemical_system() {
    ClassDefinition definition{
        "ThermochemicalSystem",
        nullptr,
        documentation,
        {{"current_file_path", none}, {"current_file_md5", none}, {"ts", none}},
        {
            method<shapes::cls_file_path, load>("load", load_text),
            method<shapes::cls, update>("_update", update_text),
            method<shapes::cls, build_cache>("_build_cache", build_cache_text),
        }};
    for (std::vector<Method> methods :
         {configuration_methods(), header_methods(), listing_methods(), query_methods(),
          stoichiometry_methods(), status_methods()}) {
        std::move(methods.begin(), methods.end(), std::back_inserter(definition.methods));
    }
    return definition;
}

} // namespace tessara::friendly
