#include "friendly/calculation/calculation.hpp"
#include "friendly/shapes.hpp"

// Result objects: the library's present state as one record that outlives the next calculation.

namespace tessara::friendly::calculation {

namespace {

/// A time of the frame as local time; `None` where there is none.
Ref local_time(PyObject* cls, const Name& moment) {
    if (attribute(cls, moment).get() == Py_None) {
        return none();
    }
    const Ref convert = attribute(global(names::time), names::localtime);
    return call(convert, attribute(cls, moment));
}

/// The record, with what it is constructed with.
Ref make_result(PyObject* cls, PyObject* result_type, const Ref& t_start, const Ref& t_end) {
    const Ref units = call_method(global(names::Units), names::get);
    const Ref ts_md5 = attribute(global(names::ThermochemicalSystem), names::current_file_md5);
    const Ref dt = attribute(cls, names::dt);
    return call_with_keywords(result_type, Keyword{names::units, units},
                              Keyword{names::ts_md5, ts_md5}, Keyword{names::t_start, t_start},
                              Keyword{names::t_end, t_end}, Keyword{names::dt, dt});
}

constexpr Field common_fields[] = {
    {names::P, names::P},     {names::T, names::T},   {names::A, names::A},
    {names::CpM, names::CPM}, {names::HM, names::HM}, {names::SM, names::SM},
    {names::GM, names::GM},   {names::VM, names::VM},
};

constexpr Field extensive_fields[] = {
    {names::Cp, names::CP}, {names::H, names::H}, {names::S, names::S},
    {names::G, names::G},   {names::V, names::V},
};

constexpr const char* get_result_object_text = R"(The library's present state as one record.

The record holds plain data in the units in force, and stays as it is whatever comes after. The
library's inputs are captured for it, which leaves one file in the system's temporary directory.

Parameters:
    result_type: what makes the record: called with the keywords `units`, `ts_md5`, `t_start`,
        `t_end` and `dt`.
    error: whether this is the record of a failed calculation. It then has the description of the
        library's last error in `error` instead of results.

Returns:
    The record, with `P`, `T`, `A`, the values per amount, system components, phases, units, times
    and inputs.

Raises:
    TypeError: no data file is loaded.
    TessaraError: the library lacks a value.)";

Ref get_result_object(PyObject* cls, PyObject* result_type, bool error) {
    const Ref t_start = local_time(cls, names::t_start);
    const Ref t_end = local_time(cls, names::t_end);
    Ref result = make_result(cls, result_type, t_start, t_end);
    if (error) {
        set_attribute(result, names::error, call(global(names::get_error_info_dict)));
    } else {
        read_fields(result, common_fields);
        fill_field(result, names::scs, names::update, cls, names::_get_result_scs);
        fill_field(result, names::phs, names::update, cls, names::_get_result_phs);
    }
    set_attribute(result, names::str_inputs, call_method(cls, names::get_str_inputs));
    return result;
}

constexpr const char* get_absolute_result_object_text =
    R"(The library's present state as one record, with extensive values and incoming amounts.

The record holds plain data in the units in force, and stays as it is whatever comes after. The
library's inputs are captured for it, which leaves one file in the system's temporary directory.

Parameters:
    result_type: what makes the record: called with the keywords `units`, `ts_md5`, `t_start`,
        `t_end` and `dt`.
    error: whether this is the record of a failed calculation. It then has the description of the
        library's last error in `error`, and of the results the extensive values and the incoming
        amounts only.

Returns:
    The record: `EquilibriumCalculationResult`, or what `result_type` makes.

Raises:
    TypeError: no data file is loaded.
    TessaraError: the library lacks a value; with `error` too.)";

/// The extensive values are read after a failure too: whether there are any is the library's
/// matter.
Ref get_absolute_result_object(PyObject* cls, PyObject* result_type, bool error) {
    const Ref get_of_base = attribute(absolute_cell().super_of(cls), names::get_result_object);
    Ref result = call_with_keywords(get_of_base, Keyword{names::result_type, result_type},
                                    Keyword{names::error, error ? Py_True : Py_False});
    read_fields(result, extensive_fields);
    fill_field(result, names::IAs, names::extend, cls, names::_get_result_IAs);
    return result;
}

} // namespace

ClassCell& absolute_cell() {
    static ClassCell* const instance = new ClassCell; // NOLINT(cppcoreguidelines-owning-memory)
    return *instance;
}

std::vector<Method> result_object_methods() {
    return {method<shapes::cls_result_type_error, get_result_object>("get_result_object",
                                                                     get_result_object_text)};
}

std::vector<Method> absolute_result_object_methods() {
    return {method<shapes::cls_result_type_error, get_absolute_result_object>(
        "get_result_object", get_absolute_result_object_text)};
}

} // namespace tessara::friendly::calculation
