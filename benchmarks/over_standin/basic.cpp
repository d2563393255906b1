#define PY_SSIZE_T_CLEAN
#include <Python.h>

#include <string>
#include <utility>
#include <vector>

// A stand-in for `basic` whose operations cost next to nothing, so that what `friendly` adds can be
// seen: a made-up system of any size, and answers out of tables. It checks nothing.

namespace {

struct Constituent {
    PyObject* name;
    PyObject* stoichiometry; ///< what `hxstpc` gives
};

struct Phase {
    PyObject* name;
    std::vector<Constituent> constituents;
};

struct Library {
    std::vector<Constituent> components;
    std::vector<Phase> phases;
    PyObject* model = nullptr;
    PyObject* status = nullptr;
    PyObject* unit = nullptr;
};

Library& library() {
    static Library* const only = new Library;
    return *only;
}

PyObject* name_of(const char* stem, long k) {
    return PyUnicode_InternFromString((stem + std::to_string(k)).c_str());
}

/// A list of coefficients and a molar mass.
PyObject* stoichiometry(long components, long k) {
    PyObject* list = PyList_New(components);
    for (long i = 0; i < components; ++i) {
        PyList_SET_ITEM(
            list, i, PyFloat_FromDouble(i % 7 == k % 7 ? 1.0 + static_cast<double>(k % 3) : 0.0));
    }
    return Py_BuildValue("(Nd)", list, 10.0 + static_cast<double>(k));
}

/// `make_system(components, phases, constituents, model, status, unit)`, the constituents spread
/// evenly over the phases.
PyObject* make_system(PyObject*, PyObject* arguments) {
    long components = 0;
    long phases = 0;
    long constituents = 0;
    Library made;
    if (PyArg_ParseTuple(arguments, "lllOOO", &components, &phases, &constituents, &made.model,
                         &made.status, &made.unit) == 0) {
        return nullptr;
    }
    for (PyObject* kept : {made.model, made.status, made.unit}) {
        Py_INCREF(kept);
    }
    for (long i = 0; i < components; ++i) {
        made.components.push_back({name_of("Component", i), stoichiometry(components, i)});
    }
    for (long i = 0; i < phases; ++i) {
        Phase phase{name_of("Phase", i), {}};
        const long count = constituents * (i + 1) / phases - constituents * i / phases;
        for (long k = 0; k < count; ++k) {
            phase.constituents.push_back({name_of("Constituent", k), stoichiometry(components, k)});
        }
        made.phases.push_back(std::move(phase));
    }
    library() = std::move(made);
    Py_RETURN_NONE;
}

std::size_t index(PyObject* argument) {
    return static_cast<std::size_t>(PyLong_AsLong(argument));
}

PyObject* shared(PyObject* object) {
    Py_INCREF(object);
    return object;
}

using Values = PyObject* const*;

PyObject* nothing(PyObject*, Values, Py_ssize_t) {
    Py_RETURN_NONE;
}
PyObject* hxgio(PyObject*, Values, Py_ssize_t) {
    return PyLong_FromLong(6);
}
PyObject* hxsetc(PyObject*, Values, Py_ssize_t) {
    return PyLong_FromLong(1);
}
PyObject* hxgsu(PyObject*, Values, Py_ssize_t) {
    return shared(library().unit);
}
PyObject* hxnosc(PyObject*, Values, Py_ssize_t) {
    return PyLong_FromSize_t(library().components.size());
}
PyObject* hxgnsc(PyObject*, Values values, Py_ssize_t) {
    return shared(library().components[index(values[0])].name);
}
PyObject* hxstsc(PyObject*, Values values, Py_ssize_t) {
    return shared(library().components[index(values[0])].stoichiometry);
}
PyObject* hxnop(PyObject*, Values, Py_ssize_t) {
    return PyLong_FromSize_t(library().phases.size());
}
PyObject* hxgnp(PyObject*, Values values, Py_ssize_t) {
    return shared(library().phases[index(values[0])].name);
}
PyObject* hxmodl(PyObject*, Values, Py_ssize_t) {
    return shared(library().model);
}
PyObject* hxnopc(PyObject*, Values values, Py_ssize_t) {
    return PyLong_FromSize_t(library().phases[index(values[0])].constituents.size());
}
PyObject* hxgnpc(PyObject*, Values values, Py_ssize_t) {
    return shared(library().phases[index(values[0])].constituents[index(values[1])].name);
}
PyObject* hxstpc(PyObject*, Values values, Py_ssize_t) {
    return shared(library().phases[index(values[0])].constituents[index(values[1])].stoichiometry);
}
PyObject* hxgsp(PyObject*, Values, Py_ssize_t) {
    return shared(library().status);
}
PyObject* hxgetr(PyObject*, Values, Py_ssize_t) {
    return PyFloat_FromDouble(1.5);
}

/// `replay(calls)`: makes the calls, pairs of a callable and a tuple of arguments, and no more.
PyObject* replay(PyObject*, PyObject* calls) {
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(calls); ++i) {
        PyObject* pair = PyList_GET_ITEM(calls, i);
        PyObject* arguments = PyTuple_GET_ITEM(pair, 1);
        PyObject* result =
            PyObject_Vectorcall(PyTuple_GET_ITEM(pair, 0), &PyTuple_GET_ITEM(arguments, 0),
                                static_cast<std::size_t>(PyTuple_GET_SIZE(arguments)), nullptr);
        if (result == nullptr) {
            return nullptr;
        }
        Py_DECREF(result);
    }
    Py_RETURN_NONE;
}

using Operation = PyObject* (*)(PyObject*, Values, Py_ssize_t);

PyMethodDef row(const char* name, Operation operation) {
    return {name, reinterpret_cast<PyCFunction>(reinterpret_cast<void*>(operation)), METH_FASTCALL,
            nullptr};
}

PyMethodDef methods[] = {{"make_system", make_system, METH_VARARGS, nullptr},
                         {"replay", replay, METH_O, nullptr},
                         row("hxini", nothing),
                         row("hxcio", nothing),
                         row("hxgio", hxgio),
                         row("hxopen", nothing),
                         row("hxopna", nothing),
                         row("hxrfil", nothing),
                         row("hxclos", nothing),
                         row("hxshow", nothing),
                         row("hxcsu", nothing),
                         row("hxgsu", hxgsu),
                         row("hxnosc", hxnosc),
                         row("hxgnsc", hxgnsc),
                         row("hxstsc", hxstsc),
                         row("hxnop", hxnop),
                         row("hxgnp", hxgnp),
                         row("hxmodl", hxmodl),
                         row("hxnopc", hxnopc),
                         row("hxgnpc", hxgnpc),
                         row("hxstpc", hxstpc),
                         row("hxgsp", hxgsp),
                         row("hxgspc", hxgsp),
                         row("hxsetc", hxsetc),
                         row("hxgetr", hxgetr),
                         row("hxce", nothing),
                         {nullptr, nullptr, 0, nullptr}};

PyModuleDef definition = {
    PyModuleDef_HEAD_INIT, "basic", nullptr, 0, methods, nullptr, nullptr, nullptr, nullptr};

} // namespace

PyMODINIT_FUNC PyInit_basic() {
    return PyModuleDef_Init(&definition);
}
