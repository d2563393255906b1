#include <string>

#include "friendly/information/information.hpp"
#include "friendly/library/binding.hpp"
#include "friendly/shapes.hpp"

namespace tessara::friendly::information {

namespace {

/// An array dimension, in the order in which the library reports them.
struct Dimension {
    const char* key;
    const char* line; ///< of the listings
};

constexpr Dimension dimensions[] = {
    {"na", "a %5i Constituents.\n"},
    {"nb", "b %5i System components.\n"},
    {"nc", "c %5i Mixture phases.\n"},
    {"nd", "d %5i Excess Gibbs energy coefficients for a mixture phase.\n"},
    {"ne", "e %5i Excess magnetic coefficients for a mixture phase.\n"},
    {"nf", "f %5i Sublattices for a mixture phase.\n"},
    {"ng", "g %5i Constituents of a sublattice.\n"},
    {"nh", "h %5i Oxide constituents of a phase described by the Gaye-Kapoor-Frohberg or modified "
           "quasichemical formalisms.\n"},
    {"ni", "i %5i Gibbs energy/heat capacity equations for a constituent.\n"},
    {"nj", "j %5i Gibbs energy/heat capacity equations.\n"},
    {"nk", "k %5i Constituents with P,T-dependent molar volumes.\n"},
};

/// `basic.<operation>()`
Ref ask(const Name& operation, PyObject*) {
    return call_operation(operation);
}

/// `list(basic.<operation>())`
Ref sizes_as_list(const Name& operation, PyObject*) {
    const Ref list = global(names::list);
    return call(list, call_operation(operation));
}

/// As many entries as the shorter of the keys and the sizes has.
Ref max_sizes_as_dict(PyObject*) {
    const Ref dict = global(names::dict);
    const Ref zip = global(names::zip);
    const Ref keys = new_list();
    for (const Dimension& dimension : dimensions) {
        append(keys, text(dimension.key));
    }
    return call(dict, call(zip, keys, call_operation(names::hxsize)));
}

/// Each size by its position, so that there are all eleven or none.
Ref used_sizes_as_dict(PyObject*) {
    const Ref sizes = call_operation(names::hxused);
    Ref result = new_dict();
    long position = 0;
    for (const Dimension& dimension : dimensions) {
        set_item(result, text(dimension.key), item(sizes, integer(position++)));
    }
    return result;
}

Ref sizes_as_str(const char* heading, const Name& operation) {
    const Ref sizes = call_operation(operation);
    Ref listing = text(heading);
    long position = 0;
    for (const Dimension& dimension : dimensions) {
        append_text(listing, percent(dimension.line, item(sizes, integer(position++))));
    }
    return listing;
}

Ref max_sizes_as_str(PyObject*) {
    return sizes_as_str("Tessara Maximum Internal Array Dimensions\n"
                        "=========================================\n",
                        names::hxsize);
}

Ref used_sizes_as_str(PyObject*) {
    return sizes_as_str("Tessara Currently Used Internal Array Dimensions\n"
                        "================================================\n",
                        names::hxused);
}

constexpr const char* get_object_text = R"(All that this class tells, as one record.

Returns:
    A new `TessaraInfo` with copyright message, program ID, version number, and the dicts of maximum
    and of used array sizes.

Raises:
    TessaraError: the library refuses a question.
    IndexError: the library reports fewer than eleven used array sizes.)";

Ref get_object(PyObject* cls) {
    const Ref record = global(names::TessaraInfo);
    const Ref copyright = call_method(cls, names::get_copyright_message);
    const Ref program_id = call_method(cls, names::get_program_id);
    const Ref version = call_method(cls, names::get_version_number);
    const Ref max_sizes = call_method(cls, names::get_array_size_max_dict);
    const Ref used_sizes = call_method(cls, names::get_array_size_used_dict);
    return call(record, copyright, program_id, version, max_sizes, used_sizes);
}

constexpr const char* max_sizes = "The maximum sizes of the library's internal arrays";
constexpr const char* used_sizes = "The sizes of the library's internal arrays in use at present";

std::string dict_description(const char* sizes) {
    return std::string(sizes) +
           R"(, by key.

Returns:
    A new dict from the keys "na" to "nk" to the sizes (`int`), in the library's order.

Raises:
    TessaraError: the library refuses the question.)";
}

std::string list_description(const char* sizes) {
    return std::string(sizes) + R"(, in order.

Returns:
    A new list of 11 `int`, in the order of the keys "na" to "nk" of the dict.

Raises:
    TessaraError: the library refuses the question.)";
}

std::string str_description(const char* sizes) {
    return std::string(sizes) + R"(, as a listing.

Returns:
    A `str` of 13 lines: heading, underline, and per size its letter, the number and what it counts.

Raises:
    TessaraError: the library refuses the question.
    IndexError: the library reports fewer than eleven sizes.)";
}

} // namespace

ClassDefinition info() {
    return {"Info",
            nullptr,
            R"(Static class: information about the library itself.

Gives access to functions that get information about the Tessara library and about the array sizes
that it uses to store data in memory. All methods are class methods, and the class need not be
instantiated.)",
            {},
            {
                method<shapes::cls, ask>(
                    "get_copyright_message",
                    "The library's copyright message.\n\nReturns:\n    The text (`str`).",
                    &names::hxcprt),
                method<shapes::cls, ask>(
                    "get_program_id",
                    "The library's program ID.\n\nReturns:\n    The program ID (`str`).",
                    &names::hxgtpi),
                method<shapes::cls, ask>(
                    "get_version_number",
                    "The library's version number.\n\nReturns:\n    The number (`int`).",
                    &names::hxvers),
                method<shapes::cls, max_sizes_as_dict>("get_array_size_max_dict",
                                                       dict_description(max_sizes)),
                method<shapes::cls, sizes_as_list>("get_array_size_max_list",
                                                   list_description(max_sizes), &names::hxsize),
                method<shapes::cls, max_sizes_as_str>("get_array_size_max_str",
                                                      str_description(max_sizes)),
                method<shapes::cls, used_sizes_as_dict>("get_array_size_used_dict",
                                                        dict_description(used_sizes) +
                                                            "\n    IndexError: the library reports "
                                                            "fewer than eleven sizes."),
                method<shapes::cls, sizes_as_list>("get_array_size_used_list",
                                                   list_description(used_sizes), &names::hxused),
                method<shapes::cls, used_sizes_as_str>("get_array_size_used_str",
                                                       str_description(used_sizes)),
                method<shapes::cls, get_object>("get_object", get_object_text),
            }};
}

} // namespace tessara::friendly::information
