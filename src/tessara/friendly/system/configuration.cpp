#include "friendly/library/index_range.hpp"
#include "friendly/shapes.hpp"
#include "friendly/system/caches.hpp"
#include "friendly/system/duplicates.hpp"
#include "friendly/system/thermochemical_system.hpp"

// Records of what the system consists of: made afresh for whoever asks for one, and once per change
// of the system as a tree that everybody shares.

namespace tessara::friendly {

namespace {

/// `owner.<dict>.update(make())`, the method found before the other dict is made.
template <class Make>
void update_dict(const Ref& owner, const Name& dict, Make make) {
    const Ref callee = attribute(attribute(owner, dict), names::update);
    call(callee, make());
}

/// `result[record.name] = record`. `refuse` raises the error for a name that is taken, given the
/// index of the record that has it.
template <class Refuse>
void store(const Ref& result, const Ref& record, Refuse refuse) {
    if (contains(result, attribute(record, names::name))) {
        refuse(attribute(item(result, attribute(record, names::name)), names::index));
    }
    set_item(result, attribute(record, names::name), record);
}

constexpr const char* get_config_sc_text = R"(Description of a system component.

Parameters:
    sc: name or zero-based index of the system component.

Returns:
    A new `SystemComponentConfig`.

Raises:
    KeyError: there is no such system component.
    TypeError: no data file is loaded.)";

Ref get_config_sc(PyObject* cls, PyObject* sc) {
    const Ref record = global(names::SystemComponentConfig);
    const Ref index = call_method(cls, names::get_index_sc, sc);
    const Ref name = call_method(cls, names::get_name_sc, sc);
    return call(record, index, name, call_method(cls, names::get_mm_sc, sc));
}

constexpr const char* get_config_scs_text = R"(Descriptions of all system components.

Returns:
    A new list of new `SystemComponentConfig`, in index order.

Raises:
    TypeError: no data file is loaded.)";

Ref get_config_scs(PyObject* cls) {
    return list_over(count_of_scs(), [cls](const Ref& i_sc) {
        return call_method(cls, names::get_config_sc, i_sc);
    });
}

constexpr const char* get_config_pc_text = R"(Description of a phase constituent.

Parameters:
    ph: name or zero-based index of the phase.
    pc: name or zero-based index of the constituent within the phase.

Returns:
    A new `PhaseConstituentConfig`. Its stoichiometry and its mass fractions are new dicts with the
    name of every system component, in index order.

Raises:
    KeyError: there is no such phase, or no such constituent in it.
    TypeError: no data file is loaded.)";

/// The values that the entry of a constituent has under `key`, by name of the system component.
Ref by_component(const Ref& entry, const Name& key) {
    Ref result = new_dict();
    for (const Ref& i_sc : IndexRange(count_of_scs())) {
        const Ref name = fact(sc_entry(i_sc), names::name);
        set_item(result, name, item(fact(entry, key), i_sc));
    }
    return result;
}

Ref get_config_pc(PyObject*, PyObject* ph, PyObject* pc) {
    const Ref entry = pc_entry(ph, pc);
    const Ref record = global(names::PhaseConstituentConfig);
    const Ref index = fact(entry, names::index);
    const Ref name = fact(entry, names::name);
    const Ref mm = fact(entry, names::mm);
    const Ref stoichiometry = by_component(entry, names::stoich);
    return call(record, index, name, mm, stoichiometry, by_component(entry, names::y_scs));
}

constexpr const char* get_config_pcs_in_ph_text = R"(Descriptions of all constituents of a phase.

Parameters:
    ph: name or zero-based index of the phase.

Returns:
    A new list of new `PhaseConstituentConfig`, in index order.

Raises:
    KeyError: there is no such phase.
    TypeError: no data file is loaded.)";

Ref get_config_pcs_in_ph(PyObject* cls, PyObject* ph) {
    return list_over(count_of_pcs(ph), [cls, ph](const Ref& i_pc) {
        return call_method(cls, names::get_config_pc, ph, i_pc);
    });
}

constexpr const char* get_config_ph_text = R"(Description of a phase.

Parameters:
    ph: name or zero-based index of the phase.

Returns:
    A new `PhaseConfig`; its `pcs` holds a new `PhaseConstituentConfig` for each constituent, by
    name and in index order.

Raises:
    KeyError: there is no such phase.
    TypeError: no data file is loaded.)";

Ref get_config_ph(PyObject* cls, PyObject* ph) {
    const Ref record = global(names::PhaseConfig);
    const Ref index = call_method(cls, names::get_index_ph, ph);
    const Ref name = call_method(cls, names::get_name_ph, ph);
    Ref result = call(record, index, name, call_method(cls, names::get_model_ph, ph));
    update_dict(result, names::pcs, [cls, ph] {
        Ref by_name = new_dict();
        const Ref pcs = call_method(cls, names::get_config_pcs_in_ph, ph);
        const Ref iterator = checked(PyObject_GetIter(pcs.get()));
        while (const Ref pc = next_item(iterator)) {
            set_item(by_name, attribute(pc, names::name), pc);
        }
        return by_name;
    });
    return result;
}

constexpr const char* get_config_phs_text = R"(Descriptions of all phases.

Returns:
    A new list of new `PhaseConfig`, in index order.

Raises:
    TypeError: no data file is loaded.)";

Ref get_config_phs(PyObject* cls) {
    return list_over(count_of_phs(), [cls](const Ref& i_ph) {
        return call_method(cls, names::get_config_ph, i_ph);
    });
}

constexpr const char* get_object_text = R"(Description of the loaded system.

Every call returns the same object, shared by all callers, until a file is loaded or a unit is
changed; then a new one takes its place, and one handed out before stays as it was.

Returns:
    A `ThermochemicalSystemConfig`: path of the data file, units in force, and in `scs` and `phs` a
    description of each system component and phase, by name and in index order. `None` where no
    data file is loaded.)";

Ref get_object(PyObject* cls) {
    return attribute(cls, names::ts);
}

constexpr const char* build_object_text = R"(Makes the description of the loaded system.

Returns:
    A new `ThermochemicalSystemConfig`; `None` where no data file is loaded.

Raises:
    TessaraPyError: a name occurs twice where it has to be unique.
    TessaraError: the library refuses to tell its units.)";

Ref build_object(PyObject* cls) {
    if (attribute(cls, names::current_file_path).get() == Py_None) {
        return none();
    }
    const Ref record = global(names::ThermochemicalSystemConfig);
    const Ref path = attribute(cls, names::current_file_path);
    Ref result = call(record, path, call_method(global(names::Units), names::get));
    update_dict(result, names::scs,
                [&] { return call_method(cls, names::_build_object_scs, result); });
    update_dict(result, names::phs,
                [&] { return call_method(cls, names::_build_object_phs, result); });
    return result;
}

constexpr const char* build_object_scs_text = R"(Makes the descriptions of the system components.

Parameters:
    ts: the `ThermochemicalSystemConfig` under construction.

Returns:
    A new dict of `SystemComponentConfig` by name, in index order.

Raises:
    TessaraPyError: a name occurs twice.
    TypeError: no data file is loaded.)";

Ref build_object_scs(PyObject*, PyObject*) {
    Ref result = new_dict();
    for (const Ref& i_sc : IndexRange(count_of_scs())) {
        const Ref record = global(names::SystemComponentConfig);
        const Ref name = fact(sc_entry(i_sc), names::name);
        const Ref sc = call(record, i_sc, name, fact(sc_entry(i_sc), names::mm));
        store(result, sc, [&sc](const Ref& i_sc_previous) {
            raise_duplicate(i_sc_previous, AttributeOf{sc, names::index},
                            "A duplicate system component '", AttributeOf{sc, names::name},
                            "' was found in");
        });
    }
    return result;
}

constexpr const char* build_object_phs_text = R"(Makes the descriptions of the phases.

Parameters:
    ts: the `ThermochemicalSystemConfig` under construction.

Returns:
    A new dict of `PhaseConfig` by name, in index order, with the constituents in their `pcs`.

Raises:
    TessaraPyError: a name occurs twice, among the phases or within one of them.
    TypeError: no data file is loaded.)";

/// The constituents come before the test of the phase's own name.
Ref build_object_phs(PyObject* cls, PyObject* ts) {
    Ref result = new_dict();
    for (const Ref& i_ph : IndexRange(count_of_phs())) {
        const Ref record = global(names::PhaseConfig);
        const Ref name = fact(ph_entry(i_ph), names::name);
        const Ref ph = call(record, i_ph, name, model_of(i_ph));
        update_dict(ph, names::pcs,
                    [&] { return call_method(cls, names::_build_object_ph_pcs, i_ph, ts); });
        store(result, ph, [&ph](const Ref& i_ph_previous) {
            raise_duplicate(i_ph_previous, AttributeOf{ph, names::index}, "A duplicate phase '",
                            AttributeOf{ph, names::name}, "' was found in");
        });
    }
    return result;
}

constexpr const char* build_object_ph_pcs_text =
    R"(Makes the descriptions of a phase's constituents.

Parameters:
    i_ph: zero-based index of the phase.
    ts: the `ThermochemicalSystemConfig` under construction.

Returns:
    A new dict of `PhaseConstituentConfig` by name, in index order.

Raises:
    TessaraPyError: a name occurs twice.
    KeyError: there is no such phase.
    TypeError: no data file is loaded.)";

/// Each description comes from the class itself, whatever a subclass makes of `get_config_pc`. The
/// error names the constituent where one would look for the phase; programs match its text.
Ref build_object_ph_pcs(PyObject*, int phase, PyObject*) {
    const Ref i_ph = integer(phase);
    Ref result = new_dict();
    for (const Ref& i_pc : IndexRange(count_of_pcs(i_ph))) {
        const Ref pc =
            call_method(global(names::ThermochemicalSystem), names::get_config_pc, i_ph, i_pc);
        store(result, pc, [&](const Ref& i_pc_previous) {
            const Ref ph_name = fact(pc_entry(i_ph, i_pc), names::name);
            raise_duplicate(i_pc_previous, AttributeOf{pc, names::index},
                            "A duplicate constituent '", AttributeOf{pc, names::name},
                            "' was found in phase '", ph_name, "' in");
        });
    }
    return result;
}

} // namespace

std::vector<Method> configuration_methods() {
    return {
        method<shapes::cls, build_object>("_build_object", build_object_text),
        method<shapes::cls_ts, build_object_scs>("_build_object_scs", build_object_scs_text),
        method<shapes::cls_ts, build_object_phs>("_build_object_phs", build_object_phs_text),
        method<shapes::cls_i_ph_ts, build_object_ph_pcs>("_build_object_ph_pcs",
                                                         build_object_ph_pcs_text),
        method<shapes::cls, get_object>("get_object", get_object_text),
        method<shapes::cls_sc, get_config_sc>("get_config_sc", get_config_sc_text),
        method<shapes::cls, get_config_scs>("get_config_scs", get_config_scs_text),
        method<shapes::cls_ph, get_config_ph>("get_config_ph", get_config_ph_text),
        method<shapes::cls, get_config_phs>("get_config_phs", get_config_phs_text),
        method<shapes::cls_ph_pc, get_config_pc>("get_config_pc", get_config_pc_text),
        method<shapes::cls_ph, get_config_pcs_in_ph>("get_config_pcs_in_ph",
                                                     get_config_pcs_in_ph_text),
    };
}

} // namespace tessara::friendly
