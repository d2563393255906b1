#include "basic/run.hpp"

#include "basic/operations.hpp"
#include "basic/python/objects.hpp"

#include <new>

namespace tessara::basic {
namespace {

/// The exception that is set, taken out of the interpreter; empty where there is none.
Ref take_exception() {
    PyObject* type = nullptr;
    PyObject* value = nullptr;
    PyObject* traceback = nullptr;
    PyErr_Fetch(&type, &value, &traceback);
    if (type == nullptr) {
        return {};
    }
    PyErr_NormalizeException(&type, &value, &traceback);
    const Ref owned_type = Ref::steal(type);
    const Ref owned_traceback = Ref::steal(traceback);
    if (traceback != nullptr && PyException_SetTraceback(value, traceback) != 0) {
        PyErr_Clear();
    }
    return Ref::steal(value);
}

/// Notes an error of the library in `core` and sets it as the Python exception. A Python exception
/// that is set already becomes its cause.
void raise(const Operation& operation, const LibraryError& error) {
    Ref cause = take_exception();
    const Ref& core = instance().core;
    const std::string words = std::string(operation.signature.name()) + ": " + error.what();
    const Ref message = text(words);
    const bool has_file = !error.file().empty();
    call(attribute(core, "note_error"), integer(static_cast<int>(error.number())), message,
         text(operation.signature.name()), has_file ? text(error.file()) : none(),
         has_file ? integer(error.line()) : none(), has_file ? integer(error.column()) : none());
    instance().library.report_error(words);
    const Ref type = attribute(core, "TessaraError");
    const Ref exception = call(type, message);
    if (cause) {
        PyException_SetCause(exception.get(), cause.release());
    }
    PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(exception.get())), exception.get());
}

/// Turns the C++ exception that is being handled into a Python exception.
void translate(const Operation& operation) {
    try {
        throw;
    } catch (const PythonError&) {
        return;
    } catch (const LibraryError& error) {
        raise(operation, error);
    } catch (const std::bad_alloc&) {
        PyErr_NoMemory();
    } catch (const std::exception& error) {
        raise(operation, LibraryError(ErrorNumber::Internal, {error.what()}));
    } catch (...) {
        raise(operation, LibraryError(ErrorNumber::Internal, {"unknown C++ exception"}));
    }
}

/// Issues what the operation has to tell beside its result.
void issue_warnings() {
    for (const Library::Warning& warning : instance().library.take_warnings()) {
        const bool miscibility = warning.kind == Library::Warning::Kind::Miscibility;
        const Ref category =
            attribute(instance().core, miscibility ? "MiscibilityWarning" : "TargetReadingWarning");
        // The text reaches Python as UTF-8, so that it must be some.
        const std::string words = utf8(text(warning.text).get());
        checked(PyErr_WarnEx(category.get(), words.c_str(), 1));
    }
}

/// Marks that an operation is running.
class Running {
public:
    Running() {
        if (instance().busy) {
            throw LibraryError(ErrorNumber::Busy, {});
        }
        instance().busy = true;
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;
    ~Running() { instance().busy = false; }
};

} // namespace

PyObject* run(const Operation& operation, PyObject* const* values, Py_ssize_t count,
              PyObject* keywords) noexcept {
    try {
        const Running running;
        Arguments arguments;
        convert(operation.signature, instance().members, values, count, keywords, arguments);
        Ref result = operation.body(arguments);
        if (instance().library.has_warnings()) {
            issue_warnings();
        }
        return result.release();
    } catch (...) {
        try {
            translate(operation);
        } catch (const PythonError&) {
            return nullptr;
        } catch (...) {
            PyErr_NoMemory();
        }
        return nullptr;
    }
}

} // namespace tessara::basic
