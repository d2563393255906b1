#include "friendly/class_definition.hpp"

#include <algorithm>
#include <iterator>

#include "friendly/function.hpp"
#include "friendly/library/binding.hpp"

namespace tessara::friendly {

namespace {

/// A `classmethod` around the function, which takes over its name and documentation.
Ref class_method(const char* owner, const Method& method) {
    return call(reinterpret_cast<PyObject*>(&PyClassMethod_Type), make_function(owner, method));
}

Ref bases_of(PyObject* module, const ClassDefinition& definition) {
    if (definition.base == nullptr) {
        return tuple_of(reinterpret_cast<PyObject*>(&PyBaseObject_Type));
    }
    return tuple_of(checked(PyObject_GetAttrString(module, definition.base)));
}

} // namespace

void ClassDefinition::add(std::vector<Method> more) {
    std::move(more.begin(), more.end(), std::back_inserter(methods));
}

Ref ClassCell::super_of(Borrowed cls) const {
    const Ref super = global(names::super);
    return call(super, Ref::borrow(class_.get()), cls);
}

void define_class(PyObject* module, const ClassDefinition& definition) {
    const Ref bases = bases_of(module, definition);
    const Ref name = text(definition.name);
    const Ref body = new_dict();
    set_item(body, names::dunder_module, attribute(module, names::dunder_name));
    set_item(body, names::dunder_qualname, name);
    if (definition.documentation != nullptr) {
        set_item(body, names::dunder_doc, text(definition.documentation));
    }
    for (const Attribute& attribute : definition.attributes) {
        set_item(body, text(attribute.name), attribute.make());
    }
    for (const Method& method : definition.methods) {
        set_item(body, checked(PyUnicode_InternFromString(method.name)),
                 class_method(definition.name, method));
    }
    const Ref created = call(reinterpret_cast<PyObject*>(&PyType_Type), name, bases, body);
    if (definition.cell != nullptr) {
        definition.cell->fill(created);
    }
    checked(PyObject_SetAttr(module, name.get(), created.get()));
}

} // namespace tessara::friendly
