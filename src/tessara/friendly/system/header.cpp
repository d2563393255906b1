#include "friendly/library/binding.hpp"
#include "friendly/shapes.hpp"
#include "friendly/system/thermochemical_system.hpp"

// The header of a transparent file. The library keeps it, and answers for every other kind of file.

namespace tessara::friendly {

namespace {

/// What is shown of the header.
struct Header {
    Ref ver;
    Ref nwp;
    Ref vnw;
    Ref vnr;
    Ref dtc;
    Ref rem;
};

/// The header has ten items, of which six are shown.
Header read_header() {
    auto [ver, nwp, vnw, item_3, vnr, dtc, item_6, item_7, item_8, rem] =
        unpack<10>(call_operation(names::hxgtrh));
    return {std::move(ver), std::move(nwp), std::move(vnw),
            std::move(vnr), std::move(dtc), std::move(rem)};
}

constexpr const char* get_tdf_info_dict_text = R"(The header of the transparent file in the library.

Returns:
    A new dict, in this order:

    - "ver": version number of the header's format (`int`)
    - "nwp": name of the program that wrote the file (`str`)
    - "vnw": version number of that program (three `int`)
    - "vnr": lowest version number of a program that can read the file (three `int`)
    - "dtc": time of writing: year, month, day, hour, minute, second (six `int`)
    - "rem": remark (`str`)

Raises:
    TessaraError: there is no transparent file in the library.)";

Ref get_tdf_info_dict(PyObject*) {
    const Header header = read_header();
    Ref result = new_dict();
    set_item(result, text("ver"), header.ver);
    set_item(result, text("nwp"), header.nwp);
    set_item(result, text("vnw"), header.vnw);
    set_item(result, text("vnr"), header.vnr);
    set_item(result, text("dtc"), header.dtc);
    set_item(result, text("rem"), header.rem);
    return result;
}

/// `format % (values[0], values[1], ...)`
template <std::size_t count>
Ref percent_items(const char* format, Borrowed values) {
    std::array<Ref, count> items;
    long place = 0;
    for (Ref& value : items) {
        value = item(values, integer(place++));
    }
    return std::apply([format](const auto&... value) { return percent(format, value...); }, items);
}

constexpr const char* get_tdf_info_str_text =
    R"(The header of the transparent file in the library, as a listing.

Returns:
    A `str` of eight lines: heading, underline, and a line for time of writing, remark, lowest
    version that can read the file, version of the header's format, and name and version of the
    program that wrote it.

Raises:
    TessaraError: there is no transparent file in the library.)";

Ref get_tdf_info_str(PyObject*) {
    const Header header = read_header();
    Ref listing = text("Transparent Data File Header Information\n"
                       "========================================\n");
    append_text(listing, percent_items<6>("dtc  File Creation Timestamp          "
                                          "%04d-%02d-%02d %02d:%02d:%02d\n",
                                          header.dtc));
    append_text(listing, percent("rem  Remarks                          %s\n", header.rem));
    append_text(listing,
                percent_items<3>("vnr  Minimum Reading Program Version  %i.%i.%i\n", header.vnr));
    append_text(listing, percent("ver  Header Format Version            %i\n", header.ver));
    append_text(listing, percent("nwp  Source Program Name              %s\n", header.nwp));
    append_text(listing,
                percent_items<3>("vnw  Source Program Version           %i.%i.%i\n", header.vnw));
    return listing;
}

} // namespace

std::vector<Method> header_methods() {
    return {
        method<shapes::cls, get_tdf_info_dict>("get_tdf_info_dict", get_tdf_info_dict_text),
        method<shapes::cls, get_tdf_info_str>("get_tdf_info_str", get_tdf_info_str_text),
    };
}

} // namespace tessara::friendly
