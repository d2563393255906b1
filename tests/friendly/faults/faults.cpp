#define PY_SSIZE_T_CLEAN
#include <Python.h>

#include <cstdarg>
#include <cstddef>
#include <new>
#include <tuple>
#include <type_traits>

// Stands between the extension and the interpreter: counts the calls that can fail, and lets the
// one that a test asks for fail as it does when memory runs out. CMake reads the names out of this
// file and has the linker send each call of `name` to `__wrap_name`.

namespace {

long seen = 0;
long failing = 0;

bool fails() noexcept {
    return ++seen == failing;
}

/// What a function of the interpreter answers when it has failed.
template <class Result>
Result failure() noexcept {
    PyErr_NoMemory();
    if constexpr (std::is_pointer_v<Result>) {
        return nullptr;
    } else {
        return static_cast<Result>(-1);
    }
}

template <class Function>
struct Traits;

template <class Result_, class... Parameters>
struct Traits<Result_(Parameters...)> {
    using Result = Result_;
    template <std::size_t place>
    using Parameter = std::tuple_element_t<place, std::tuple<Parameters...>>;
};

} // namespace

#define RESULT(name) Traits<decltype(name)>::Result
#define PARAMETER(name, place) Traits<decltype(name)>::Parameter<place>
#define HEAD(name, ...)                                                                            \
    extern "C" decltype(name) __real_##name;                                                       \
    extern "C" RESULT(name) __wrap_##name(__VA_ARGS__)
#define BODY(name, ...)                                                                            \
    { return fails() ? failure<RESULT(name)>() : __real_##name(__VA_ARGS__); }

#define FAULT_0(name) HEAD(name) BODY(name)
#define FAULT_1(name) HEAD(name, PARAMETER(name, 0) a) BODY(name, a)
#define FAULT_2(name) HEAD(name, PARAMETER(name, 0) a, PARAMETER(name, 1) b) BODY(name, a, b)
#define FAULT_3(name)                                                                              \
    HEAD(name, PARAMETER(name, 0) a, PARAMETER(name, 1) b, PARAMETER(name, 2) c) BODY(name, a, b, c)
#define FAULT_4(name)                                                                              \
    HEAD(name, PARAMETER(name, 0) a, PARAMETER(name, 1) b, PARAMETER(name, 2) c,                   \
         PARAMETER(name, 3) d)                                                                     \
    BODY(name, a, b, c, d)
#define FAULT_5(name)                                                                              \
    HEAD(name, PARAMETER(name, 0) a, PARAMETER(name, 1) b, PARAMETER(name, 2) c,                   \
         PARAMETER(name, 3) d, PARAMETER(name, 4) e)                                               \
    BODY(name, a, b, c, d, e)

// clang-format off
FAULT_4(PyCMethod_New)
FAULT_1(PyDict_Copy)
FAULT_0(PyDict_New)
FAULT_2(PyDict_GetItemWithError)
FAULT_2(PyDict_Contains)
FAULT_3(PyDict_SetItem)
FAULT_2(PyDict_DelItem)
FAULT_2(PyDict_Update)
FAULT_1(PyFloat_AsDouble)
FAULT_1(PyFloat_FromDouble)
FAULT_1(PyImport_ImportModule)
FAULT_5(PyImport_ImportModuleLevelObject)
FAULT_1(PyIter_Next)
FAULT_2(PyList_Append)
FAULT_1(PyList_New)
FAULT_4(PyList_SetSlice)
FAULT_1(PyList_Sort)
FAULT_1(PyList_AsTuple)
FAULT_1(PyLong_AsLong)
FAULT_1(PyLong_AsSsize_t)
FAULT_1(PyLong_FromLong)
FAULT_1(PyLong_FromSsize_t)
FAULT_2(PyMethod_New)
FAULT_1(PyModuleDef_Init)
FAULT_1(PyModule_NewObject)
FAULT_2(PyNumber_Add)
FAULT_2(PyNumber_InPlaceAdd)
FAULT_2(PyNumber_Multiply)
FAULT_2(PyNumber_Remainder)
FAULT_2(PyNumber_Subtract)
FAULT_2(PyNumber_TrueDivide)
FAULT_1(PyNumber_Float)
FAULT_1(PyNumber_Long)
FAULT_2(PyNumber_AsSsize_t)
FAULT_3(PyObject_Call)
FAULT_1(PyObject_CallNoArgs)
FAULT_2(PyObject_CallOneArg)
FAULT_2(PyObject_DelItem)
FAULT_2(PyObject_Format)
FAULT_2(PyObject_GetAttr)
FAULT_2(PyObject_GetAttrString)
FAULT_2(PyObject_GetItem)
FAULT_1(PyObject_GetIter)
FAULT_1(PyObject_IsTrue)
FAULT_1(PyObject_Not)
FAULT_1(PyObject_Repr)
FAULT_1(PyObject_Str)
FAULT_1(PyObject_Size)
FAULT_3(PyObject_RichCompare)
FAULT_3(PyObject_RichCompareBool)
FAULT_3(PyObject_SetAttr)
FAULT_3(PyObject_SetItem)
FAULT_4(PyObject_Vectorcall)
FAULT_4(PyObject_VectorcallDict)
FAULT_4(PyObject_VectorcallMethod)
FAULT_2(PySequence_Contains)
FAULT_2(PySequence_GetItem)
FAULT_1(PySequence_List)
FAULT_2(PySequence_Repeat)
FAULT_1(PySequence_Size)
FAULT_1(PySequence_Tuple)
FAULT_1(PyTuple_New)
FAULT_1(PyType_FromSpec)
FAULT_2(PyType_GenericAlloc)
FAULT_2(PyUnicode_Concat)
FAULT_2(PyUnicode_Format)
FAULT_2(PyUnicode_Join)
FAULT_1(PyUnicode_FromString)
FAULT_2(PyUnicode_FromStringAndSize)
FAULT_1(PyUnicode_InternFromString)
FAULT_1(Py_EnterRecursiveCall)
// clang-format on

// Functions whose parameters are open, and such as fail in a way of their own.

extern "C" {

// No exception comes with a failure of this one.
decltype(PyInterpreterState_GetDict) __real_PyInterpreterState_GetDict;
PyObject* __wrap_PyInterpreterState_GetDict(PyInterpreterState* interpreter) {
    return fails() ? nullptr : __real_PyInterpreterState_GetDict(interpreter);
}

decltype(PyLong_AsLongLongAndOverflow) __real_PyLong_AsLongLongAndOverflow;
long long __wrap_PyLong_AsLongLongAndOverflow(PyObject* object, int* overflow) {
    *overflow = 0;
    return fails() ? failure<long long>() : __real_PyLong_AsLongLongAndOverflow(object, overflow);
}

decltype(PyUnicode_Append) __real_PyUnicode_Append;
void __wrap_PyUnicode_Append(PyObject** left, PyObject* right) {
    if (fails()) {
        Py_CLEAR(*left);
        PyErr_NoMemory();
        return;
    }
    __real_PyUnicode_Append(left, right);
}

int __wrap_PyErr_WarnFormat(PyObject* category, Py_ssize_t level, const char* format, ...) {
    if (fails()) {
        return failure<int>();
    }
    std::va_list arguments;
    va_start(arguments, format);
    PyObject* text = PyUnicode_FromFormatV(format, arguments);
    va_end(arguments);
    const char* message = text != nullptr ? PyUnicode_AsUTF8(text) : nullptr;
    const int result = message != nullptr ? PyErr_WarnEx(category, message, level) : -1;
    Py_XDECREF(text);
    return result;
}

PyObject* __wrap_PyUnicode_FromFormat(const char* format, ...) {
    if (fails()) {
        return failure<PyObject*>();
    }
    std::va_list arguments;
    va_start(arguments, format);
    PyObject* text = PyUnicode_FromFormatV(format, arguments);
    va_end(arguments);
    return text;
}

decltype(PyTuple_New) __real_PyTuple_New;
PyObject* __wrap_PyTuple_Pack(Py_ssize_t count, ...) {
    PyObject* tuple = fails() ? failure<PyObject*>() : __real_PyTuple_New(count);
    std::va_list items;
    va_start(items, count);
    for (Py_ssize_t i = 0; tuple != nullptr && i < count; ++i) {
        PyObject* item = va_arg(items, PyObject*);
        Py_INCREF(item);
        PyTuple_SET_ITEM(tuple, i, item);
    }
    va_end(items);
    return tuple;
}

// `operator new` and `operator new[]`, under the names that the linker knows.
void* __real__Znwm(std::size_t size);
void* __wrap__Znwm(std::size_t size) {
    if (fails()) {
        throw std::bad_alloc();
    }
    return __real__Znwm(size);
}

void* __real__Znam(std::size_t size);
void* __wrap__Znam(std::size_t size) {
    if (fails()) {
        throw std::bad_alloc();
    }
    return __real__Znam(size);
}

/// Lets the call that comes as the n-th from now fail, none for 0.
__attribute__((visibility("default"))) void faults_arm(long n) {
    seen = 0;
    failing = n;
}

/// How many calls there were since.
__attribute__((visibility("default"))) long faults_seen() {
    return seen;
}
}
