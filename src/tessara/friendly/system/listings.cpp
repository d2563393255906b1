#include "friendly/shapes.hpp"
#include "friendly/system/thermochemical_system.hpp"
#include "friendly/system/walks.hpp"

namespace tessara::friendly {

namespace {

constexpr const char* get_str_scs_text = R"(The system components as a listing.

Returns:
    A `str`: two lines of heading, then a line per system component with the zero-based index and
    the name.

Raises:
    TypeError: no data file is loaded.)";

Ref get_str_scs(PyObject*) {
    Ref listing = text("SYSTEM COMPONENTS\nINDEX NAME\n");
    for (const Ref& i_sc : IndexRange(count_of_scs())) {
        append_text(listing, percent("%5i %s\n", i_sc, fact(sc_entry(i_sc), names::name)));
    }
    return listing;
}

constexpr const char* get_str_phs_text = R"(The phases as a listing.

Returns:
    A `str`: two lines of heading, then a line per phase with the zero-based index and the name.

Raises:
    TypeError: no data file is loaded.)";

Ref get_str_phs(PyObject*) {
    Ref listing = text("PHASES\nINDEX NAME\n");
    for (const Ref& i_ph : IndexRange(count_of_phs())) {
        append_text(listing, percent("%5i %s\n", i_ph, fact(ph_entry(i_ph), names::name)));
    }
    return listing;
}

constexpr const char* get_str_phs_pcs_text =
    R"(The phases and their constituents as a listing, with their statuses.

Returns:
    A `str`: two lines of heading, then per phase its zero-based index, name and status. Mixture
    phases are followed by their constituents with index within the phase, name and status, the
    first one on the line of the phase.

Raises:
    TypeError: no data file is loaded.
    TessaraError: the library refuses a question.)";

// The first constituent follows its phase on the line, the others stand below it.
constexpr const char* beside_phase = "      ";
constexpr const char* below_phase = "                                                ";

void list_constituents(Ref& listing, const Ref& i_ph) {
    const Ref pcs = pcs_of(i_ph);
    const char* blanks = beside_phase;
    for (const Ref& i_pc : IndexRange(item(pcs, names::count))) {
        const Ref status = attribute(call_operation(names::hxgspc, i_ph, i_pc), names::name);
        append_text(listing, percent("%s %5i %-25s %s\n", text(blanks), i_pc,
                                     fact(item(pcs, i_pc), names::name), status));
        blanks = below_phase;
    }
}

/// The statuses are the library's at the time of the call: they are not in the caches.
Ref get_str_phs_pcs(PyObject*) {
    Ref listing = text("PHASES AND CONSTITUENTS\n");
    append_text(listing,
                percent("%5s %-25s %-10s %5s %-25s %s\n", text("INDEX"), text("PHASE NAME"),
                        text("STATUS"), text("INDEX"), text("CONSTITUENT NAME"), text("STATUS")));
    for (const Ref& i_ph : IndexRange(count_of_phs())) {
        const Ref status = attribute(call_operation(names::hxgsp, i_ph), names::name);
        append_text(listing,
                    percent("%5i %-25s %-10s", i_ph, fact(ph_entry(i_ph), names::name), status));
        if (compare(fact(ph_entry(i_ph), names::model), names::PURE, Py_EQ)) {
            append_text(listing, text("\n"));
        } else {
            list_constituents(listing, i_ph);
        }
    }
    return listing;
}

} // namespace

std::vector<Method> listing_methods() {
    return {
        method<shapes::cls, get_str_scs>("get_str_scs", get_str_scs_text),
        method<shapes::cls, get_str_phs>("get_str_phs", get_str_phs_text),
        method<shapes::cls, get_str_phs_pcs>("get_str_phs_pcs", get_str_phs_pcs_text),
    };
}

} // namespace tessara::friendly
