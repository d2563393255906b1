#pragma once

#include <span>

#include "friendly/class_definition.hpp"
#include "friendly/library/binding.hpp"

namespace tessara::friendly::calculation {

// The classes, each in a file of its name.
ClassDefinition equilibrium_calculation_base();
ClassDefinition absolute_equilibrium_calculation_base();
ClassDefinition equilibrium_calculation();
ClassDefinition phase_map_calculation();

// The methods of `EquilibriumCalculationBase`, by subject.
std::vector<Method> condition_methods();
std::vector<Method> frame_methods();
std::vector<Method> result_methods();
std::vector<Method> result_state_methods();
std::vector<Method> result_object_methods();

// The methods of `AbsoluteEquilibriumCalculationBase`, but for those in the class's own file.
std::vector<Method> chemical_formula_methods();
std::vector<Method> incoming_amount_state_methods();
std::vector<Method> absolute_result_object_methods();

/// The class `AbsoluteEquilibriumCalculationBase`, for the methods of it that say `super()`.
ClassCell& absolute_cell();

// The methods of `EquilibriumCalculation`, by subject.
std::vector<Method> target_methods();
std::vector<Method> solving_methods();
std::vector<Method> incoming_amount_search_methods();

/// In an index place of the library: no phase, or no component and no constituent.
inline constexpr long NoIndex = -1;

// Indexes for the library, or a `TessaraPyError` in words for what doesn't exist.
Ref existing_sc(Borrowed sc);
Ref existing_ph(Borrowed ph);
Ref existing_pc(Borrowed ph, Borrowed pc);

/// `basic.hxgetr(ResultVariable.<variable>, places...)`
template <class... Places>
Ref result_of(const Name& variable, const Places&... places) {
    return call_operation(names::hxgetr, Member{names::ResultVariable, variable}, places...);
}

/// A field of a record, and the member of `ResultVariable` that it is read with.
struct Field {
    const Name& name;
    const Name& variable;
};

/// `record.<field> = basic.hxgetr(ResultVariable.<variable>, places...)`
template <class... Places>
void read_field(const Ref& record, const Field& field, const Places&... places) {
    set_attribute(record, field.name, result_of(field.variable, places...));
}

template <class... Places>
void read_fields(const Ref& record, std::span<const Field> fields, const Places&... places) {
    for (const Field& field : fields) {
        read_field(record, field, places...);
    }
}

/// `record.<field>.<merge>(cls.<method>(arguments...))`
template <class... Arguments>
void fill_field(const Ref& record, const Name& field, const Name& merge, PyObject* cls,
                const Name& method, const Arguments&... arguments) {
    const Ref merge_into_field = attribute(attribute(record, field), merge);
    call(merge_into_field, call_method(cls, method, arguments...));
}

// The listing capture, which every calculation that prints shares.

/// Where a capture goes, and where listings went before.
struct Capture {
    Ref file_name;
    Ref old_list_number;
};

/// `cls._list_to_file()`
Capture begin_capture(PyObject* cls);

/// `cls._list_back(...)`: the text captured.
Ref end_capture(PyObject* cls, const Capture& capture);

/// One entry of the ranges between which a search moves incoming amounts, as the caller wrote it
/// and as it goes to the library.
struct IncomingRange {
    Ref ph;
    Ref pc;
    Ref least;
    Ref most;
    Ref i_ph;
    Ref i_pc;
};

/// `ph, pc, IA_min, IA_max = entry`, and the indexes of phase and constituent.
IncomingRange read_range(Borrowed entry);

/// Whether the entry at `i` of a list is the last, as the list is now.
inline bool is_last(Py_ssize_t i, PyObject* list) {
    return i >= PyList_GET_SIZE(list) - 1;
}

} // namespace tessara::friendly::calculation
