#include "friendly/system/thermochemical_system.hpp"

#include "friendly/library/binding.hpp"

namespace tessara::friendly {

namespace {

/// A kind of data file: its suffix, and the operations that open and read it.
struct Reader {
    const char* suffix;
    const Name& open;
    const Name& read;
};

constexpr Reader readers[] = {{".tdf", names::hxopnt, names::hxrtdf},
                              {".dat", names::hxopna, names::hxrfil}};

constexpr long DataFileNumber = 10; ///< the channel on which data files are read

const Reader& reader_for(Borrowed suffix) {
    for (const Reader& reader : readers) {
        if (compare(suffix, text(reader.suffix), Py_EQ)) {
            return reader;
        }
    }
    raise_formatted(names::ValueError,
                    R"(Invalid path. The file extension must be either ".tdf" or ".dat".)");
}

/// The channel stays open after a failure: closing it would be one more thing that can fail.
void read_file(const Reader& reader, const Ref& file_path) {
    try {
        call_operation(reader.open, file_path, integer(DataFileNumber));
        call_operation(reader.read);
        call_operation(names::hxclos, integer(DataFileNumber));
    } catch (const PythonError&) {
        Handled error;
        only(error, names::TessaraError);
        const Ref exception_type = global(names::TessaraError);
        const Ref words = call(global(names::str), error.value());
        const Ref line = checked(PyNumber_Add(words.get(), text("\n").get()));
        const Ref path = call(global(names::str), file_path);
        raise(call(exception_type, checked(PyNumber_Add(line.get(), path.get()))));
    }
}

} // namespace

Ref load(PyObject* cls, PyObject* given_path) {
    const Ref file_path = call(global(names::Path), given_path);
    if (!is_true(call_method(file_path, names::exists))) {
        raise_formatted(names::FileExistsError, file_path, " does not exist");
    }
    call_operation(names::hxini);
    call_operation(names::hxcio, Member{names::IoOption, names::ERROR}, integer(0));
    read_file(reader_for(attribute(file_path, names::suffix)), file_path);
    set_attribute(cls, names::current_file_path, file_path);
    call_method(cls, names::_update);
    return none();
}

Ref update(PyObject* cls) {
    call_method(cls, names::_build_cache);
    set_attribute(cls, names::ts, call_method(cls, names::_build_object));
    return none();
}

} // namespace tessara::friendly
