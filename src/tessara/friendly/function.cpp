#include "friendly/function.hpp"

#include <structmember.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "friendly/python/guarded.hpp"
#include "friendly/python/objects.hpp"

// The type of this module's functions. A built-in function would do for the calls, but it has no
// qualified name, and `inspect.signature` reads of it only defaults that are literals, which an
// enumeration member or a class is not. As with functions written in Python, the class dictionary
// holds `classmethod` objects around them, and what comes out of a class is an ordinary method.

namespace tessara::friendly {

namespace {

/// The signature line, and below it what the method says of itself.
std::string documentation_of(const Signature& signature, const Method& method) {
    return declaration(signature) + (method.description.empty() ? "" : "\n\n") + method.description;
}

struct FunctionData {
    FunctionData(const char* owner, const Method& method)
        : arguments({owner, method.name, method.parameters, method.extra_keywords}),
          body(method.body), member(method.member), name(text(method.name)),
          qualified(text(qualified_name(arguments.signature()).c_str())),
          documentation(text(documentation_of(arguments.signature(), method).c_str())) {}

    ArgumentReader arguments;
    Body body;
    const Name* member;
    Ref name;
    Ref qualified;
    Ref documentation;
};

struct Function {
    PyObject_HEAD vectorcallfunc vectorcall;
    FunctionData* data;
    PyObject* weak_references;
};

FunctionData& data_of(PyObject* self) noexcept {
    return *reinterpret_cast<Function*>(self)->data;
}

PyObject* vectorcall(PyObject* self, PyObject* const* values, std::size_t flagged_count,
                     PyObject* keywords) noexcept {
    if (Py_EnterRecursiveCall(" while calling a Python object") != 0) {
        return nullptr;
    }
    PyObject* result = guarded<PyObject*>(nullptr, [&] {
        const FunctionData& function = data_of(self);
        Arguments arguments;
        const Ref extra =
            function.arguments.read(values, PyVectorcall_NARGS(flagged_count), keywords, arguments);
        return function.body(function.member, arguments).release();
    });
    Py_LeaveRecursiveCall();
    return result;
}

/// The call with a tuple and a dict. Functions of the module take every call this way, so that a
/// keyword that is no string is told by the function's own name; a method's bound object is the
/// interpreter's, which refuses such a keyword before the method is reached.
PyObject* tuple_call(PyObject* self, PyObject* values, PyObject* keywords) noexcept {
    return guarded<PyObject*>(nullptr, [&] {
        const Py_ssize_t positional = PyTuple_GET_SIZE(values);
        const Py_ssize_t named = keywords != nullptr ? PyDict_Size(keywords) : 0;
        std::vector<Ref> owned;
        owned.reserve(static_cast<std::size_t>(positional + named));
        for (Py_ssize_t i = 0; i < positional; ++i) {
            owned.push_back(Ref::borrow(PyTuple_GET_ITEM(values, i)));
        }
        const Ref names = named != 0 ? checked(PySequence_Tuple(keywords)) : Ref();
        PyObject* name = nullptr;
        PyObject* value = nullptr;
        for (Py_ssize_t i = 0; named != 0 && PyDict_Next(keywords, &i, &name, &value) != 0;) {
            owned.push_back(Ref::borrow(value));
        }
        std::vector<PyObject*> vector(owned.size());
        std::transform(owned.begin(), owned.end(), vector.begin(),
                       [](const Ref& owner) { return owner.get(); });
        return vectorcall(self, vector.data(), static_cast<std::size_t>(positional), names.get());
    });
}

PyObject* bind(PyObject* self, PyObject* object, PyObject*) noexcept {
    if (object == nullptr || object == Py_None) {
        return Ref::borrow(self).release();
    }
    return PyMethod_New(self, object);
}

PyObject* represent(PyObject* self) noexcept {
    return PyUnicode_FromFormat("<function %U at %p>", data_of(self).qualified.get(), self);
}

/// `inspect.Signature` of the declaration. Made at each request: it is rare, and `inspect` is
/// large.
PyObject* inspect_signature(PyObject* self, void*) noexcept {
    return guarded<PyObject*>(nullptr, [&] {
        static constinit const Name parameter_class{"Parameter"};
        static constinit const Name signature_class{"Signature"};
        static constinit const Name ordinary{"POSITIONAL_OR_KEYWORD"};
        static constinit const Name extra{"VAR_KEYWORD"};
        static constinit const Name empty{"empty"};
        static constinit const Name default_{"default"};
        static constinit const Name annotation_{"annotation"};

        const Ref inspect = checked(PyImport_ImportModule("inspect"));
        const Ref make = attribute(inspect, parameter_class);
        const Ref kind = attribute(make, ordinary);
        const Ref nothing = attribute(make, empty);
        const Ref parameters = new_list();
        const ArgumentReader& reader = data_of(self).arguments;
        const Ref keywords = tuple_of(default_, annotation_);
        for (std::size_t i = 0; i < reader.signature().parameters.size(); ++i) {
            const Parameter& declared = reader.signature().parameters[i];
            const Ref name = text(declared.name);
            PyObject* fallback = reader.fallback(i);
            PyObject* type = annotation(declared.type);
            PyObject* const values[] = {name.get(), kind.get(),
                                        fallback != nullptr ? fallback : nothing.get(),
                                        type != nullptr ? type : nothing.get()};
            append(parameters, checked(PyObject_Vectorcall(make.get(), values, 2, keywords.get())));
        }
        if (reader.signature().extra_keywords) {
            append(parameters, call(make, text("kwargs"), attribute(make, extra)));
        }
        return call(attribute(inspect, signature_class), parameters).release();
    });
}

PyObject* python_text_signature(PyObject* self, void*) noexcept {
    return guarded<PyObject*>(nullptr, [&] {
        return text(text_signature(data_of(self).arguments.signature()).c_str()).release();
    });
}

template <Ref FunctionData::*part>
PyObject* get_part(PyObject* self, void*) noexcept {
    return Ref::borrow((data_of(self).*part).get()).release();
}

/// Copying gives the function itself, and pickling its name, as with every function.
PyObject* reduce(PyObject* self, PyObject*) noexcept {
    return get_part<&FunctionData::qualified>(self, nullptr);
}

/// There is no clear beside this: all that a function holds is its texts and defaults, and a cycle
/// through a default has a class in it that breaks it.
int traverse(PyObject* self, visitproc visit, void* arg) noexcept {
    Py_VISIT(Py_TYPE(self));
    const FunctionData* data = reinterpret_cast<Function*>(self)->data;
    for (std::size_t i = 0; data != nullptr && i < data->arguments.signature().parameters.size();
         ++i) {
        Py_VISIT(data->arguments.fallback(i));
    }
    return 0;
}

void deallocate(PyObject* self) noexcept {
    PyTypeObject* type = Py_TYPE(self);
    PyObject_GC_UnTrack(self);
    auto* function = reinterpret_cast<Function*>(self);
    if (function->weak_references != nullptr) {
        PyObject_ClearWeakRefs(self);
    }
    delete std::exchange(function->data, nullptr); // NOLINT(cppcoreguidelines-owning-memory)
    type->tp_free(self);
    const Ref last = Ref::steal(reinterpret_cast<PyObject*>(type));
}

PyMemberDef members[] = {
    {"__vectorcalloffset__", T_PYSSIZET, offsetof(Function, vectorcall), READONLY, nullptr},
    {"__weaklistoffset__", T_PYSSIZET, offsetof(Function, weak_references), READONLY, nullptr},
    {nullptr, 0, 0, 0, nullptr}};

PyGetSetDef properties[] = {
    {"__name__", get_part<&FunctionData::name>, nullptr, nullptr, nullptr},
    {"__qualname__", get_part<&FunctionData::qualified>, nullptr, nullptr, nullptr},
    {"__doc__", get_part<&FunctionData::documentation>, nullptr, nullptr, nullptr},
    {"__text_signature__", python_text_signature, nullptr, nullptr, nullptr},
    {"__signature__", inspect_signature, nullptr, nullptr, nullptr},
    {nullptr, nullptr, nullptr, nullptr, nullptr}};

PyMethodDef methods[] = {{"__reduce__", reduce, METH_NOARGS, nullptr},
                         {nullptr, nullptr, 0, nullptr}};

template <class Slot>
void* slot(Slot* function) {
    return reinterpret_cast<void*>(function);
}

/// The type, made once per process.
PyTypeObject* function_type() {
    static PyObject* type = nullptr;
    if (type == nullptr) {
        PyType_Slot slots[] = {{Py_tp_dealloc, slot(deallocate)},
                               {Py_tp_traverse, slot(traverse)},
                               {Py_tp_call, slot(tuple_call)},
                               {Py_tp_descr_get, slot(bind)},
                               {Py_tp_repr, slot(represent)},
                               {Py_tp_members, members},
                               {Py_tp_getset, properties},
                               {Py_tp_methods, methods},
                               {0, nullptr}};
        // The name's head becomes the `__module__` of the type and, through it, of each function.
        PyType_Spec spec{"tessara.friendly.compiled_function", sizeof(Function), 0,
                         Py_TPFLAGS_DEFAULT | Py_TPFLAGS_HAVE_GC | Py_TPFLAGS_HAVE_VECTORCALL |
                             Py_TPFLAGS_DISALLOW_INSTANTIATION,
                         slots};
        type = checked(PyType_FromSpec(&spec)).release();
    }
    return reinterpret_cast<PyTypeObject*>(type);
}

} // namespace

Ref make_function(const char* owner, const Method& method) {
    auto data = std::make_unique<FunctionData>(owner, method);
    Ref object = checked(PyType_GenericAlloc(function_type(), 0));
    auto* function = reinterpret_cast<Function*>(object.get());
    function->vectorcall = owner != nullptr ? vectorcall : nullptr;
    function->data = data.release();
    return object;
}

} // namespace tessara::friendly
