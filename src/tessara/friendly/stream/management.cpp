#include "friendly/library/binding.hpp"
#include "friendly/shapes.hpp"
#include "friendly/stream/stream_calculation.hpp"

// Streams come and go. Each is in two places: in the library, which calculates with it, and in
// `streams` of the class, which is what results carry. The library goes first, so that a refusal
// leaves the two in step.

namespace tessara::friendly::stream {

namespace {

constexpr const char* create_st_text = R"(Creates a stream without matter in it.

A stream of that name starts afresh: the amounts set for it so far are gone from `streams`.

Parameters:
    name: name of the stream.
    T: temperature (temperature unit in force).
    P: pressure (pressure unit in force).

Raises:
    TypeError: `name` is no `str`.
    TessaraError: the library refuses the stream; `streams` stays as it was.)";

Ref create_st(PyObject* cls, PyObject* name, double T, double P) {
    call_operation(names::hxsttp, name, number(T), number(P));
    const Ref make_state = global(names::StreamState);
    const Ref units = call_method(global(names::Units), names::get);
    const Ref state = call(make_state, name, number(T), number(P), units);
    set_item(attribute(cls, names::streams), name, state);
    return none();
}

constexpr const char* remove_st_text = R"(Removes a stream.

Parameters:
    st: name of the stream.

Raises:
    TypeError: `st` is no `str`.
    TessaraError: the library knows no such stream; `streams` stays as it was.
    KeyError: the library has removed the stream, but `streams` did not hold it.)";

Ref remove_st(PyObject* cls, PyObject* st) {
    call_operation(names::hxstrm, st);
    remove_item(attribute(cls, names::streams), st);
    return none();
}

constexpr const char* remove_sts_text = R"(Removes all streams.

Raises:
    TessaraError: the library can't; `streams` stays as it was.)";

Ref remove_sts(PyObject* cls) {
    call_operation(names::hxstrm, text("")); // the library's word for all
    call_method(attribute(cls, names::streams), names::clear);
    return none();
}

constexpr const char* set_st_text = R"(Creates a stream after the model of another one.

The new stream has the temperature, the pressure and the composition of the model, which is not
changed. Numbers are taken as they stand, whatever the units that the model was made in.

Parameters:
    stream: the model, such as a `StreamState` out of `streams` of a result object.
    name: name of the new stream; `None` for that of the model.
    A: total amount of the new stream (amount unit in force). With -1.0, and no other negative
        value, the amounts are those of the model.

Raises:
    AttributeError: the model lacks a field.
    ZeroDivisionError: `A` is given and the model's own total is zero; nothing has changed then.
    KeyError: the loaded system lacks a phase or constituent of the model. The stream is there, with
        the amounts before that one.
    TessaraError: the library refuses the stream, or an amount of it.)";

/// The value of `A` that leaves the amounts as they are.
constexpr double KeepAmounts = -1.0;

Ref multiplier_for(PyObject* stream, double A) {
    if (A == KeepAmounts) {
        return number(1.0);
    }
    return quotient(number(A), attribute(stream, names::A));
}

Ref set_st(PyObject* cls, PyObject* stream, PyObject* given_name, double A) {
    const Ref name =
        given_name == Py_None ? attribute(stream, names::name) : Ref::borrow(given_name);
    const Ref multiplier = multiplier_for(stream, A);
    const Ref create = attribute(cls, names::create_st);
    const Ref T = attribute(stream, names::T);
    const Ref P = attribute(stream, names::P);
    call(create, name, T, P);
    const Ref pcs = checked(PyObject_GetIter(attribute(stream, names::A_pcs).get()));
    while (const Ref pc = next_item(pcs)) {
        const Ref amount = product(attribute(pc, names::A), multiplier);
        const Ref set_amount = attribute(cls, names::set_IA_pc);
        const Ref name_ph = attribute(pc, names::ph);
        const Ref name_pc = attribute(pc, names::pc);
        call(set_amount, name, name_ph, name_pc, amount);
    }
    return none();
}

} // namespace

std::vector<Method> management_methods() {
    return {
        method<shapes::cls_str_name_T_P, create_st>("create_st", create_st_text),
        method<shapes::cls_str_st, remove_st>("remove_st", remove_st_text),
        method<shapes::cls, remove_sts>("remove_sts", remove_sts_text),
        method<shapes::cls_stream_name_A, set_st>("set_st", set_st_text),
    };
}

} // namespace tessara::friendly::stream
