#include "friendly/calculation/calculation.hpp"
#include "friendly/shapes.hpp"
#include "friendly/stream/stream_calculation.hpp"

// Results of calculations with streams are relative: where streams are the input, the extensive
// results of the library are changes against it. The absolute values come from those per amount.

namespace tessara::friendly::stream {

namespace {

/// An extensive property: the fields that hold it, its member in `ResultVariable` and in
/// `StreamVariable`, and what a stream is asked for it with.
struct Property {
    const Name& field;
    const Name& per_amount;
    const Name& change;
    const Name& member;
    const Name& getter;
    const char* words;
    const char* unit;
};

constexpr Property properties[] = {
    {names::Cp, names::CpM, names::dCp, names::CP, names::get_st_Cp, "heat capacity",
     "energy unit per temperature unit in force"},
    {names::H, names::HM, names::dH, names::H, names::get_st_H, "enthalpy", "energy unit in force"},
    {names::S, names::SM, names::dS, names::S, names::get_st_S, "entropy",
     "energy unit per temperature unit in force"},
    {names::G, names::GM, names::dG, names::G, names::get_st_G, "Gibbs energy",
     "energy unit in force"},
    {names::V, names::VM, names::dV, names::V, names::get_st_V, "volume", "volume unit in force"},
};

Ref get_property(const Name& member, PyObject*, PyObject* name) {
    return call_operation(names::hxstxp, name, Member{names::StreamVariable, member});
}

std::string getter_description(const Property& property) {
    return std::string("Tells the ") + property.words +
           " of a stream.\n\nParameters:\n    name: name of the stream.\n\nReturns:\n    The " +
           property.words + " (`float`, " + property.unit + R"().

Raises:
    TypeError: `name` is no `str`.
    TessaraError: the library knows no such stream.)";
}

constexpr const char* get_result_object_text = R"(Makes a record of the library's present results.

Parameters:
    stream_extensive_properties: whether heat capacity, enthalpy, entropy, Gibbs energy and volume
        of the streams are read, and kept in the states of the streams.
    error: whether the calculation failed. The record then holds what the library says of the
        failure, and no numbers.

Returns:
    A `StreamCalculationResult`, with numbers in the units in force. `Cp`, `H`, `S`, `G` and `V` are
    the system's own, `dCp`, `dH`, `dS`, `dG` and `dV` the changes against the streams. `streams`
    is a dict of its own, from names to the very states that `StreamCalculation.streams` holds: what
    is done to a stream later shows in the record.

Raises:
    TypeError: no data file is loaded.
    TessaraError: the library has no such results, or no longer knows one of the streams.)";

void assign_values(const Ref& result) {
    for (const Property& property : properties) {
        const Ref per_amount = attribute(result, property.per_amount);
        const Ref A = attribute(result, names::A);
        set_attribute(result, property.field, product(per_amount, A));
    }
    for (const Property& property : properties) {
        calculation::read_field(result, {property.change, property.member});
    }
}

void assign_stream_properties(PyObject* cls) {
    const Ref states = call_method(attribute(cls, names::streams), names::values);
    const Ref iterator = checked(PyObject_GetIter(states.get()));
    while (const Ref state = next_item(iterator)) {
        for (const Property& property : properties) {
            const Ref get = attribute(cls, property.getter);
            const Ref name = attribute(state, names::name);
            set_attribute(state, property.field, call(get, name));
        }
    }
}

Ref get_result_object(PyObject* cls, bool stream_extensive_properties, bool error) {
    const Ref get_of_base = attribute(cell().super_of(cls), names::get_result_object);
    const Ref result_type = global(names::StreamCalculationResult);
    Ref result = call_with_keywords(get_of_base, Keyword{names::result_type, result_type},
                                    Keyword{names::error, boolean(error)});
    if (!error) {
        assign_values(result);
        if (stream_extensive_properties) {
            assign_stream_properties(cls);
        }
    }
    const Ref update = attribute(attribute(result, names::streams), names::update);
    call(update, attribute(cls, names::streams));
    return result;
}

constexpr const char* stream_reaction_result_text =
    R"(Lets streams react to equilibrium at a temperature and a pressure.

All conditions set before are removed; the two set here stay in force, and so do the streams.
Streams set before take part too, unless one of the same name takes their place: see `remove_sts`.

Parameters:
    streams: iterable of streams, such as `StreamState` out of `streams` of a result object. They
        are set up anew, with the amounts that they hold.
    T: temperature (temperature unit in force).
    P: pressure (pressure unit in force).

Returns:
    A `StreamCalculationResult`, as `get_result_object` makes it.

Raises:
    AttributeError: a stream lacks a field.
    TypeError: `T` or `P` is no number, or no data file is loaded.
    KeyError: the loaded system lacks a phase or constituent of a stream.
    TessaraError: the library can't calculate, or refuses a condition or a stream.)";

Ref stream_reaction_result(PyObject* cls, PyObject* streams, PyObject* T, PyObject* P) {
    call_method(cls, names::remove_eq_conditions_all);
    call_method(cls, names::set_eq_P, P);
    call_method(cls, names::set_eq_T, T);
    const Ref iterator = checked(PyObject_GetIter(streams));
    while (const Ref stream = next_item(iterator)) {
        const Ref set = attribute(cls, names::set_st);
        const Ref name = attribute(stream, names::name);
        call(set, stream, name);
    }
    call_method(cls, names::calculate_eq);
    return call_method(cls, names::get_result_object);
}

} // namespace

std::vector<Method> result_methods() {
    std::vector<Method> methods;
    for (const Property& property : properties) {
        methods.push_back(method<shapes::cls_str_name, get_property>(
            property.getter.text(), getter_description(property), &property.member));
    }
    methods.push_back(method<shapes::cls_properties_error, get_result_object>(
        "get_result_object", get_result_object_text));
    methods.push_back(method<shapes::cls_streams_T_P, stream_reaction_result>(
        "stream_reaction_result", stream_reaction_result_text));
    return methods;
}

} // namespace tessara::friendly::stream
