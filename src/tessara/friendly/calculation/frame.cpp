#include "friendly/calculation/calculation.hpp"
#include "friendly/library/binding.hpp"
#include "friendly/shapes.hpp"

// The frame around a calculation, which takes its time, and the capture of what the library lists,
// which it can only send to a numbered channel.

namespace tessara::friendly::calculation {

Capture begin_capture(PyObject* cls) {
    std::array<Ref, 2> pair = unpack<2>(call_method(cls, names::_list_to_file));
    return {std::move(pair[0]), std::move(pair[1])};
}

Ref end_capture(PyObject* cls, const Capture& capture) {
    return call_method(cls, names::_list_back, capture.file_name, capture.old_list_number);
}

namespace {

/// `time.time()`
Ref now() {
    return call(attribute(global(names::time), names::time));
}

constexpr const char* start_calc_text = R"(Opens the frame of a calculation.

Sets `t_start` to the time now, in seconds since the epoch, and `t_end` and `dt` to `None`, on the
class that it is called through.)";

Ref start_calc(PyObject* cls) {
    set_attribute(cls, names::t_start, now());
    set_attribute(cls, names::t_end, Py_None);
    set_attribute(cls, names::dt, Py_None);
    return none();
}

constexpr const char* end_calc_text = R"(Closes the frame of a calculation.

Sets `t_end` to the time now, in seconds since the epoch, and `dt` to the seconds since `t_start`,
on the class that it is called through.

Raises:
    TypeError: the frame was never opened; `t_end` is set then.)";

Ref end_calc(PyObject* cls) {
    set_attribute(cls, names::t_end, now());
    const Ref end = attribute(cls, names::t_end);
    const Ref start = attribute(cls, names::t_start);
    set_attribute(cls, names::dt, checked(PyNumber_Subtract(end.get(), start.get())));
    return none();
}

/// The file outlives its handle: the library opens it by name.
Ref make_temporary_file() {
    const Ref make = global(names::NamedTemporaryFile);
    return call_with_keywords(make, Keyword{names::delete_, Py_False});
}

constexpr const char* list_to_file_text = R"(Turns the library's listings to a temporary file.

A listing file that the user has open is closed. Captures do not nest.

Returns:
    The tuple (name of the file, number of the channel in use before), for `_list_back`.

Raises:
    TessaraError: the library can't turn its listings.)";

Ref list_to_file(PyObject*) {
    const Member list{names::IoOption, names::LIST};
    const Global file_number{names::LIST_FILE_NUMBER};
    Ref old_list_number = call_operation(names::hxgio, list);
    if (compare(old_list_number, global(names::LIST_STDOUT_NUMBER), Py_NE)) {
        call_operation(names::hxclos, old_list_number);
    }
    call_operation(names::hxcio, list, file_number);
    const Ref file = make_temporary_file();
    const Ref file_name = attribute(file, names::name);
    call_method(file, names::close);
    call_operation(names::hxopen, file_name, file_number);
    return tuple_of(file_name, old_list_number);
}

Ref context_method(const Ref& manager, const Name& name, const char* remark) {
    Ref found = special_method(manager, name);
    if (!found) {
        fail(PyExc_TypeError, "'%.200s' object does not support the context manager protocol%s",
             Py_TYPE(manager.get())->tp_name, remark);
    }
    return found;
}

/// `with open(file_name, "r") as f: text = f.read()`. Empty where the context manager, which need
/// not be the built-in's, swallows the exception of a read that failed.
Ref read_text(PyObject* file_name) {
    const Ref manager = call(global(names::open), file_name, text("r"));
    const Ref enter = context_method(manager, names::dunder_enter, "");
    const Ref exit = context_method(manager, names::dunder_exit, " (missed __exit__ method)");
    const Ref file = call(enter);
    Ref content;
    try {
        content = call_method(file, names::read);
    } catch (const PythonError&) {
        Handled error;
        if (!is_true(call(exit, error.type(), error.value(), error.traceback()))) {
            error.reraise();
        }
        return {};
    }
    call(exit, Py_None, Py_None, Py_None);
    return content;
}

constexpr const char* list_back_text = R"(Ends a capture of listings.

The channel gets its old number back, but a file that was closed for the capture is not opened
again. The temporary file stays on disk.

Parameters:
    file_name, old_list_number: what `_list_to_file` returned.

Returns:
    What the library listed (`str`).

Raises:
    OSError: the temporary file can't be read; listings stay turned away then.
    TessaraError: the library can't turn its listings back.)";

/// The old channel gets its number back and nothing more: a listing file that was closed for the
/// capture stays closed. The temporary file stays on disk.
Ref list_back(PyObject*, PyObject* file_name, PyObject* old_list_number) {
    call_operation(names::hxclos, Global{names::LIST_FILE_NUMBER});
    Ref list_string = read_text(file_name);
    call_operation(names::hxcio, Member{names::IoOption, names::LIST}, old_list_number);
    if (!list_string) {
        fail(PyExc_UnboundLocalError,
             "cannot access local variable 'list_string' where it is not associated with a value");
    }
    return list_string;
}

constexpr const char* get_str_inputs_text = R"(The library's current inputs, as it lists them.

Each call leaves one file in the system's temporary directory.

Returns:
    The listing (`str`), as the library wrote it.

Raises:
    TessaraError: the library can't list its inputs; listings stay turned away then.)";

Ref get_str_inputs(PyObject* cls) {
    const Capture capture = begin_capture(cls);
    call_operation(names::hxshow);
    return end_capture(cls, capture);
}

} // namespace

std::vector<Method> frame_methods() {
    return {
        method<shapes::cls, start_calc>("_start_calc", start_calc_text),
        method<shapes::cls, end_calc>("_end_calc", end_calc_text),
        method<shapes::cls, list_to_file>("_list_to_file", list_to_file_text),
        method<shapes::cls_file_name_old_list_number, list_back>("_list_back", list_back_text),
        method<shapes::cls, get_str_inputs>("get_str_inputs", get_str_inputs_text),
    };
}

} // namespace tessara::friendly::calculation
