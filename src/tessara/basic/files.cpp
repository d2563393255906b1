#include "basic/files.hpp"

#include "basic/library/errors.hpp"
#include "basic/python/objects.hpp"

#include <cerrno>
#include <fstream>

namespace tessara::basic {
namespace {

constexpr long long ChunkSize = 1'048'576;

std::string shown_name(const Ref& path) {
    return PyUnicode_Check(path.get()) != 0
               ? utf8(path.get())
               : utf8(call(attribute(import("os"), "fsdecode"), path).get());
}

/// The words of the Python exception that is set, which stays set.
std::string reason() {
    PyObject* type = nullptr;
    PyObject* value = nullptr;
    PyObject* traceback = nullptr;
    PyErr_Fetch(&type, &value, &traceback);
    PyErr_NormalizeException(&type, &value, &traceback);
    std::string words;
    Ref text = Ref::steal(PyObject_GetAttrString(value, "strerror"));
    if (!text || PyUnicode_Check(text.get()) == 0) {
        PyErr_Clear();
        text = Ref::steal(PyObject_Str(value));
    }
    if (text) {
        words = utf8(text.get());
    }
    PyErr_Clear();
    PyErr_Restore(type, value, traceback);
    return words;
}

/// Turns a failure to use a file into words, with the Python exception as the cause; other
/// exceptions, as of a signal, pass.
[[noreturn]] void fail_with_reason(ErrorNumber number, const std::string& name) {
    if (PyErr_ExceptionMatches(PyExc_OSError) == 0 &&
        PyErr_ExceptionMatches(PyExc_ValueError) == 0) {
        throw PythonError{};
    }
    throw LibraryError(number, {name, reason()});
}

/// Runs a step that uses the file.
template <class Step>
Ref attempt(ErrorNumber number, const std::string& name, const Step& step) {
    try {
        return step();
    } catch (const PythonError&) {
        fail_with_reason(number, name);
    }
}

void require_regular_file(const Ref& path, const std::string& name) {
    const Ref status = attempt(ErrorNumber::CannotOpen, name,
                               [&] { return call(attribute(import("os"), "stat"), path); });
    const Ref mode = attribute(status, "st_mode");
    const Ref stat = import("stat");
    // Anything else might have no end, or none that comes by itself.
    if (PyObject_IsTrue(call(attribute(stat, "S_ISDIR"), mode).get()) == 1) {
        throw LibraryError(ErrorNumber::CannotOpen, {name, "it is a directory"});
    }
    if (PyObject_IsTrue(call(attribute(stat, "S_ISREG"), mode).get()) != 1) {
        throw LibraryError(ErrorNumber::CannotOpen, {name, "it is not a regular file"});
    }
}

std::string read_all(const Ref& file, const std::string& name) {
    std::string content;
    const Ref read = attribute(file, "read");
    const Ref size = integer(ChunkSize);
    for (;;) {
        const Ref chunk = attempt(ErrorNumber::CannotRead, name, [&] { return call(read, size); });
        char* bytes = nullptr;
        Py_ssize_t count = 0;
        checked(PyBytes_AsStringAndSize(chunk.get(), &bytes, &count));
        if (count == 0) {
            return content;
        }
        content.append(bytes, static_cast<std::size_t>(count));
        if (content.size() > LargestDataFile) {
            throw LibraryError(ErrorNumber::CannotRead,
                               {name, "it is larger than 256 MiB, which no data file is"});
        }
        checked(PyErr_CheckSignals());
    }
}

} // namespace

Channels::DataFile read_data_file(const Ref& path) {
    Channels::DataFile data{shown_name(path), {}};
    require_regular_file(path, data.name);
    const Ref file = attempt(ErrorNumber::CannotOpen, data.name, [&] {
        return call(attribute(import("io"), "open"), path, text("rb"));
    });
    try {
        data.text = read_all(file, data.name);
    } catch (...) {
        // What went wrong first is what is told.
        PyObject* type = nullptr;
        PyObject* value = nullptr;
        PyObject* traceback = nullptr;
        PyErr_Fetch(&type, &value, &traceback);
        if (!Ref::steal(PyObject_CallMethod(file.get(), "close", nullptr))) {
            PyErr_Clear();
        }
        PyErr_Restore(type, value, traceback);
        throw;
    }
    call(attribute(file, "close"));
    return data;
}

OutputFile output_file(const Ref& path) {
    OutputFile file{{}, shown_name(path)};
    PyObject* encoded = nullptr;
    if (PyUnicode_FSConverter(path.get(), static_cast<void*>(&encoded)) == 0) {
        fail_with_reason(ErrorNumber::CannotOpen, file.name);
    }
    const Ref bytes = Ref::steal(encoded);
    // These are UTF-8 where the platform's own names are wide; elsewhere they are taken as they
    // are.
    const char* first = PyBytes_AS_STRING(bytes.get());
    file.path = std::filesystem::path(std::u8string(first, first + PyBytes_GET_SIZE(bytes.get())));
    return file;
}

void write_file(const OutputFile& file, std::string_view content) {
    errno = 0;
    std::ofstream out(file.path, std::ios::binary | std::ios::trunc);
    if (!out) {
        throw LibraryError(ErrorNumber::CannotOpen, {file.name, Channels::system_reason(errno)});
    }
    out.write(content.data(), static_cast<std::streamsize>(content.size()));
    out.close();
    if (!out) {
        const std::string why = Channels::system_reason(errno);
        std::error_code ignored;
        std::filesystem::remove(file.path, ignored);
        throw LibraryError(ErrorNumber::CannotWriteFile, {file.name, why});
    }
}

} // namespace tessara::basic
