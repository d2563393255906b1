#include "basic/operations.hpp"

#include "basic/files.hpp"
#include "basic/python/objects.hpp"
#include "basic/run.hpp"
#include "engine/check/check.hpp"

#include <cinttypes>
#include <cmath>
#include <cstdio>

// The operations: what each takes, what it says of itself, and what it does with the library.

namespace tessara::basic {
namespace {

Library& library() {
    return instance().library;
}

template <class Enumerator>
Ref member(Enumeration enumeration, Enumerator enumerator) {
    return instance().members.object(enumeration, enumerator);
}

Ref amounts_and_mass(const std::vector<double>& stoichiometry, double molar_mass) {
    return tuple_of(list_of(stoichiometry, number), number(library().molar_mass(molar_mass)));
}

Ref sizes(const std::array<int, ArraySizes::Count>& sizes) {
    Ref tuple = checked(PyTuple_New(ArraySizes::Count));
    Py_ssize_t at = 0;
    for (const int size : sizes) {
        PyTuple_SET_ITEM(tuple.get(), at++, integer(size).release());
    }
    return tuple;
}

// --- initialisation, channels, files ---

Ref initialise(const Arguments&) {
    library().initialise();
    call(attribute(instance().core, "clear_error_note"));
    return none();
}

Ref set_channel(const Arguments& arguments) {
    library().set_channel(arguments[0].as<IoOption>(), arguments[1].integer);
    return none();
}

Ref get_channel(const Arguments& arguments) {
    return integer(library().channel(arguments[0].as<IoOption>()));
}

Ref open_output(const Arguments& arguments) {
    Channels::check_number(arguments[1].integer);
    library().close(arguments[1].integer);
    const OutputFile file = output_file(arguments[0].path);
    library().open_output(arguments[1].integer, file.path, file.name);
    return none();
}

template <bool transparent>
Ref open_data(const Arguments& arguments) {
    Channels::check_number(arguments[1].integer);
    library().close(arguments[1].integer);
    Channels::DataFile file = read_data_file(arguments[0].path);
    file.transparent = transparent;
    library().open_data(arguments[1].integer, std::move(file));
    return none();
}

Ref read_data(const Arguments&) {
    library().read_data();
    return none();
}

Ref read_transparent(const Arguments&) {
    library().read_transparent();
    return none();
}

Ref close(const Arguments& arguments) {
    library().close(arguments[0].integer);
    return none();
}

Ref list_inputs(const Arguments&) {
    library().list_inputs();
    return none();
}

// --- information ---

Ref get_copyright(const Arguments&) {
    return text(Library::copyright());
}

Ref get_program_id(const Arguments&) {
    return text(Library::program_id());
}

Ref get_version(const Arguments&) {
    return integer(Library::version());
}

Ref get_sizes_allowed(const Arguments&) {
    std::array<int, ArraySizes::Count> most{};
    most.fill(ArraySizes::Most);
    return sizes(most);
}

Ref get_sizes_used(const Arguments&) {
    return sizes(library().sizes_used());
}

Ref version_numbers(const ProgramVersion& version) {
    return tuple_of(integer(version.major), integer(version.minor), integer(version.patch));
}

Ref get_header(const Arguments&) {
    const TdfHeader& header = library().header();
    const TdfHeader::Counts& counts = header.counts;
    std::array<char, 17> checksum{};
    std::snprintf(checksum.data(), checksum.size(), "%016" PRIx64, header.checksum);
    return tuple_of(
        integer(header.format), text(padded(header.by.program, TdfHeader::ProgramWidth)),
        version_numbers(header.by.version), text(header.by.source),
        version_numbers(header.lowest_reader),
        Ref(call(Ref::borrow(reinterpret_cast<PyObject*>(&PyTuple_Type)),
                 list_of(header.by.created, integer))),
        text(header.title),
        tuple_of(integer(counts.components), integer(counts.phases), integer(counts.constituents)),
        text(checksum.data()), text(padded(header.by.remark, TdfHeader::RemarkWidth)));
}

// --- units ---

Ref set_unit(const Arguments& arguments) {
    library().set_unit(arguments[0].as<Quantity>(), arguments[1].as<Unit>());
    return none();
}

Ref get_unit(const Arguments& arguments) {
    const auto quantity = arguments[0].as<Quantity>();
    // The enumerations of units stand in the order of the quantities.
    const int first = static_cast<int>(Enumeration::PressureUnit);
    return member(static_cast<Enumeration>(first + static_cast<int>(quantity)),
                  library().unit(quantity));
}

// --- the loaded system ---

Ref count_components(const Arguments&) {
    return integer(static_cast<long long>(library().component_count()));
}

Ref component_name(const Arguments& arguments) {
    return name_text(library().component(arguments[0].integer).name);
}

Ref component_stoichiometry(const Arguments& arguments) {
    const Component& component = library().component(arguments[0].integer);
    std::vector<double> itself(library().component_count(), 0.0);
    itself[static_cast<std::size_t>(arguments[0].integer)] = 1.0;
    return amounts_and_mass(itself, component.molar_mass);
}

Ref count_phases(const Arguments&) {
    return integer(static_cast<long long>(library().phase_count()));
}

Ref phase_name(const Arguments& arguments) {
    return name_text(library().phase(arguments[0].integer).name);
}

Ref phase_model(const Arguments& arguments) {
    return member(Enumeration::SolutionModel, library().phase(arguments[0].integer).kind());
}

Ref count_constituents(const Arguments& arguments) {
    const Phase& phase = library().phase(arguments[0].integer);
    return integer(static_cast<long long>(phase.constituents.size()));
}

Ref constituent_name(const Arguments& arguments) {
    return name_text(library().constituent(arguments[0].integer, arguments[1].integer).name);
}

Ref constituent_stoichiometry(const Arguments& arguments) {
    const Constituent& constituent =
        library().constituent(arguments[0].integer, arguments[1].integer);
    return amounts_and_mass(constituent.stoichiometry, constituent.molar_mass);
}

Ref get_phase_status(const Arguments& arguments) {
    return member(Enumeration::Status, library().status(arguments[0].integer));
}

Ref set_phase_status(const Arguments& arguments) {
    library().set_status(arguments[0].integer, arguments[1].as<Participation>());
    return none();
}

Ref get_constituent_status(const Arguments& arguments) {
    return member(Enumeration::Status,
                  library().status(arguments[0].integer, arguments[1].integer));
}

Ref set_constituent_status(const Arguments& arguments) {
    library().set_status(arguments[0].integer, arguments[1].integer,
                         arguments[2].as<Participation>());
    return none();
}

// --- conditions and results ---

Ref set_condition(const Arguments& arguments) {
    return integer(library().set_condition(arguments[0].as<ConditionVariable>(),
                                           arguments[1].integer, arguments[2].integer,
                                           arguments[3].number));
}

Ref remove_conditions(const Arguments& arguments) {
    library().remove_conditions(arguments[0].integer);
    return none();
}

Ref get_result(const Arguments& arguments) {
    return number(library().result(arguments[0].as<ResultVariable>(), arguments[1].integer,
                                   arguments[2].integer));
}

// --- calculations ---

template <bool from_last, bool listing>
Ref calculate(const Arguments& arguments) {
    library().calculate(arguments[0].as<TargetVariable>(), arguments[1].integer,
                        arguments[2].integer, arguments.values, from_last, listing);
    return none();
}

template <bool listing>
Ref map(const Arguments& arguments) {
    return boolean(library().map(arguments[0].as<PhaseMapVariable>(), arguments[1].integer,
                                 arguments[2].integer, arguments.values, listing));
}

// --- streams ---

Ref create_stream(const Arguments& arguments) {
    library().make_stream(utf8(arguments[0].object), arguments[1].number, arguments[2].number);
    return none();
}

Ref remove_stream(const Arguments& arguments) {
    library().remove_stream(utf8(arguments[0].object));
    return none();
}

Ref set_stream_amount(const Arguments& arguments) {
    library().set_stream_amount(utf8(arguments[0].object), arguments[1].integer,
                                arguments[2].integer, arguments[3].number);
    return none();
}

Ref set_stream_condition(const Arguments& arguments) {
    return integer(library().set_stream_condition(arguments[0].as<ConditionVariable>(),
                                                  arguments[1].integer, arguments[2].number));
}

Ref get_stream_property(const Arguments& arguments) {
    return number(
        library().stream_property(utf8(arguments[0].object), arguments[1].as<StreamVariable>()));
}

// --- own operations ---

Ref get_certificate(const Arguments&) {
    const Certificate& found = library().certificate();
    const Ref dict = checked(PyDict_New());
    set_item(dict, "balance", number(found.balance));
    set_item(dict, "balance_bound", number(Certificate::BalanceBound));
    set_item(dict, "potential", number(found.potential));
    set_item(dict, "potential_bound", number(Certificate::PotentialBound));
    set_item(dict, "driving_force", number(found.driving_force));
    set_item(dict, "driving_force_bound", number(Certificate::DrivingForceBound));
    const bool any = found.nearest_phase < library().phase_count();
    set_item(dict, "nearest_phase",
             any ? integer(static_cast<long long>(found.nearest_phase)) : none());
    set_item(dict, "nearest_driving_force", any ? number(found.nearest_driving_force) : none());
    set_item(dict, "iterations", integer(library().iterations()));
    return Ref::borrow(dict.get());
}

Ref get_composition_sets(const Arguments& arguments) {
    return list_of(library().composition_sets(arguments[0].integer),
                   [](const Results::SetValues& set) {
                       Ref dict = checked(PyDict_New());
                       set_item(dict, "amount", number(set.amount));
                       set_item(dict, "fractions", list_of(set.fractions, number));
                       return dict;
                   });
}

Ref get_internal_fractions(const Arguments& arguments) {
    return list_of(library().internal_fractions(arguments[0].integer),
                   [](const std::vector<NamedFractions>& set) {
                       return list_of(set, [](const NamedFractions& kind) {
                           Ref dict = checked(PyDict_New());
                           set_item(dict, "of", name_text(kind.of));
                           set_item(dict, "names", list_of(kind.names, [](const std::string& name) {
                                        return name_text(name);
                                    }));
                           set_item(dict, "fractions", list_of(kind.values, number));
                           return dict;
                       });
                   });
}

Ref configure(const Arguments& arguments) {
    const auto option = arguments[0].as<ConfigurationOption>();
    const Argument& value = arguments[1];
    if ((option == ConfigurationOption::CompositionSets) != value.is_bool) {
        Library::refuse_option(option, value.is_bool ? "a bool" : "an int");
    }
    library().set_option(option, value.integer);
    return none();
}

Ref get_configuration(const Arguments& arguments) {
    const auto option = arguments[0].as<ConfigurationOption>();
    const int value = library().option(option);
    return option == ConfigurationOption::CompositionSets ? boolean(value != 0) : integer(value);
}

Ref get_datum(const Arguments& arguments) {
    const Argument& t = arguments[3];
    return number(library().datum(arguments[0].integer, arguments[1].integer,
                                  arguments[2].as<ConstituentDatum>(),
                                  t.given ? std::optional(t.number) : std::nullopt));
}

std::shared_ptr<const System> system_of(const Arguments& arguments) {
    return Library::read_system(read_data_file(arguments[0].path));
}

Ref get_findings(const Arguments& arguments) {
    return list_of(check(system_of(arguments)), [](const Finding& finding) {
        const RuleDescription& rule = description_of(finding.rule);
        Ref dict = checked(PyDict_New());
        set_item(dict, "gravity", text(gravity_name(finding.gravity)));
        set_item(dict, "rule", text(rule.number));
        set_item(dict, "line", integer(finding.line));
        set_item(dict, "column", finding.column > 0 ? integer(finding.column) : none());
        set_item(dict, "subject", text(finding.subject));
        set_item(dict, "text", text(finding.text));
        set_item(dict, "advice", text(rule.advice));
        return dict;
    });
}

Ref get_rules(const Arguments&) {
    return list_of(rules(), [](const RuleDescription& rule) {
        Ref dict = checked(PyDict_New());
        set_item(dict, "rule", text(rule.number));
        set_item(dict, "gravity", text(gravity_name(rule.gravity)));
        set_item(dict, "title", text(rule.title));
        set_item(dict, "advice", text(rule.advice));
        return dict;
    });
}

Ref get_description(const Arguments& arguments) {
    return object(describe(*system_of(arguments)));
}

Ref pack(const Arguments& arguments) {
    const Argument& remark = arguments[2];
    const std::string content =
        Library::packed(read_data_file(arguments[0].path),
                        remark.object != nullptr ? utf8(remark.object) : std::string(),
                        arguments[3].given ? arguments.date : Library::now());
    write_file(output_file(arguments[1].path), content);
    return none();
}

// --- the table ---

constexpr Parameter phase{"i_ph", Kind::Integer};
constexpr Parameter component{"i_sc", Kind::Integer};
constexpr Parameter constituent{"i_pc", Kind::Integer};
constexpr Parameter in_phase{"i_c", Kind::Integer};
constexpr Parameter value{"value", Kind::Number};
constexpr Parameter values{"values", Kind::Values};
constexpr Parameter channel{"number", Kind::Integer};
constexpr Parameter stream{"name", Kind::Text};

constexpr Parameter member_of(const char* name, Enumeration enumeration) {
    return {name, Kind::Member, enumeration};
}
constexpr Parameter or_none(Parameter parameter) {
    parameter.optional = true;
    return parameter;
}
constexpr Parameter target = member_of("target", Enumeration::TargetVariable);
constexpr Parameter map_variable = member_of("variable", Enumeration::PhaseMapVariable);
constexpr Parameter status = member_of("status", Enumeration::Status);
constexpr Parameter quantity = member_of("quantity", Enumeration::Quantity);
constexpr Parameter io_option = member_of("option", Enumeration::IoOption);
constexpr Parameter option = member_of("option", Enumeration::ConfigurationOption);

constexpr Operation Operations[] = {
    {{"hxini", {}}, initialise, R"(Empty the library.

System, conditions, statuses and results are gone, every channel but 6 is closed, listings go to
channel 6, no errors are written, the units are bar, dm3, K, J and mol, and the options are the
usual ones. The note of the last error is cleared.)"},

    {{"hxcio", {io_option, channel}}, set_channel, R"(Set the channel for listings or for errors.

IoOption.LIST: listings go to the channel; any number is taken, and a listing to a channel that is
not open is refused when it is made. IoOption.ERROR: each error is written to the channel too, if it
is open; 0 for none, which is the start.)"},

    {{"hxgio", {io_option}}, get_channel, R"(Tell the channel for listings or for errors.

An int; 6 is the standard output.)"},

    {{"hxopen", {{"file_name", Kind::Path}, channel}}, open_output, R"(Open a file for listings.

The file is emptied. Numbers are 1 to 999 without 6, the standard output. A channel that is open is
closed first. What is written is ASCII with line feeds, and it is in the file when the operation
ends.)"},

    {{"hxopna", {{"file_path", Kind::Path}, channel}}, open_data<false>, R"(Open an ASCII data file.

The whole file is taken into memory; hxrfil reads it. Numbers as in hxopen. A channel that is open
is closed first. Refused: what is no regular file, and files above 256 MiB.)"},

    {{"hxopnt", {{"file_path", Kind::Path}, channel}},
     open_data<true>,
     R"(Open a transparent data file.

The whole file is taken into memory; hxrtdf reads it. Otherwise as hxopna.)"},

    {{"hxrfil", {}}, read_data, R"(Read the ASCII data file that was opened last.

The library then holds this system alone, without conditions and results, all entered. Where the
file cannot be read the library holds no system, and the error tells file, line and column. Units,
channels and options stay.)"},

    {{"hxrtdf", {}}, read_transparent, R"(Read the transparent data file that was opened last.

As hxrfil reads an ASCII data file, with the same numbers to the last bit. Raises TessaraError where
the file is no transparent one, is truncated or altered, or needs a newer library.)"},

    {{"hxclos", {channel}}, close, R"(Close a channel.

Does nothing where the channel is not open. Channel 6, the standard output, cannot be closed.)"},

    {{"hxshow", {}}, list_inputs, R"(Write the inputs to the channel for listings.

Units, conditions with their numbers, incoming amounts, and what is not entered.)"},

    {{"hxcprt", {}}, get_copyright, "Tell the copyright, a str."},
    {{"hxgtpi", {}}, get_program_id, "Tell the program ID, a str: name and version."},
    {{"hxvers", {}},
     get_version,
     "Tell the version, an int: 10000 times major, plus 100 times minor, plus patch."},

    {{"hxsize", {}}, get_sizes_allowed, R"(Tell the largest dimensions of a system.

A tuple of 11 ints: constituents, system components, mixture phases, excess coefficients of a
mixture phase, its magnetic coefficients, its sublattices, constituents of a sublattice, oxide
constituents of a quasichemical phase, equations of a constituent, equations, constituents with
molar volumes.)"},

    {{"hxused", {}}, get_sizes_used, R"(Tell the dimensions of the loaded system.

A tuple of 11 ints in the order of hxsize; zeros where no system is loaded.)"},

    {{"hxgtrh", {}}, get_header, R"(Tell the header of the loaded transparent data file.

A tuple of ten: version of the header's format (int); program that wrote the file (str of 40
characters) and its version (three ints); name of the ASCII data file (str); lowest version of the
library that reads the file (three ints); creation date in UTC (six ints: year, month, day, hour,
minute, second); title of the data (str); number of system components, phases and phase constituents
(three ints); checksum (str of 16 hexadecimal digits); remark (str of 80 characters).

Raises TessaraError where the system is not from a transparent data file, or there is none.)"},

    {{"hxcsu", {quantity, {"unit", Kind::Unit}}}, set_unit, R"(Set the unit of a quantity.

Conditions that are in force keep their meaning. Under a unit of mass, amounts are masses, fractions
mass fractions, and values per amount are per mass; target fractions (XT) stay mole fractions and
chemical potentials energies per mole.)"},

    {{"hxgsu", {quantity}}, get_unit, "Tell the unit of a quantity, a member of its enumeration."},

    {{"hxnosc", {}}, count_components, "Tell the number of system components."},
    {{"hxgnsc", {component}}, component_name, "Tell the name of a system component."},
    {{"hxstsc", {component}},
     component_stoichiometry,
     R"(Tell stoichiometry and molar mass of a system component.

A tuple of a list of floats, one per system component, and a float: the molar mass in g/mol under
the unit mol, else in the unit of mass per mole.)"},

    {{"hxnop", {}}, count_phases, "Tell the number of phases."},
    {{"hxgnp", {phase}}, phase_name, R"(Tell the name of a phase.

Mixture phases that the file lists more than once are named "X#1", "X#2", ...)"},
    {{"hxmodl", {phase}}, phase_model, "Tell the model of a phase, a member of SolutionModel."},
    {{"hxnopc", {phase}}, count_constituents, "Tell the number of constituents of a phase."},
    {{"hxgnpc", {phase, constituent}}, constituent_name, "Tell the name of a phase constituent."},
    {{"hxstpc", {phase, constituent}},
     constituent_stoichiometry,
     R"(Tell stoichiometry and molar mass of a phase constituent.

As hxstsc does for a system component.)"},

    {{"hxgsp", {phase}}, get_phase_status, "Tell the status of a phase, a member of Status."},
    {{"hxcsp", {phase, status}}, set_phase_status, R"(Set the status of a phase.

ENTERED: it takes part. DORMANT: it cannot form, and its activity is worked out.
ELIMINATED: neither.)"},
    {{"hxgspc", {phase, constituent}},
     get_constituent_status,
     "Tell the status of a phase constituent, a member of Status."},
    {{"hxcspc", {phase, constituent, status}},
     set_constituent_status,
     "Set the status of a phase constituent, as hxcsp does for a phase."},

    {{"hxsetc", {member_of("variable", Enumeration::ConditionVariable), phase, in_phase, value}},
     set_condition,
     R"(Place a condition and tell its number.

Where: -1, -1 on the system (P, VT, T, CP, H, S, G, V); i_ph, -2 on a phase (A, CP, H, S, G, V);
-1, i_sc on a system component (IA, AC, MU); i_ph, i_pc on a phase constituent (IA, AC, MU, and the
targets AT and XT); i_ph, i_sc on a component in a phase (XT, where the phase has no constituent of
that index); i_ph, -1 only for A.

A of a phase: its amount; 0 for a phase that just forms, -1 for a phase from which a further one
just forms.

A condition on a place where one is in force replaces it and keeps its number; P and VT share a
place, and so do IA, AC and MU. Incoming amounts of components and constituents add up. The value is
in the units in force, and the condition keeps its meaning when they change.

Warns with TargetReadingWarning where the index of XT can be read in two ways.)"},

    {{"hxremc", {channel}}, remove_conditions, R"(Remove conditions.

A number that hxsetc gave: that condition. 0: all incoming amounts, given activities and given
potentials. -2: all conditions; numbers start again, and the options are the usual ones.)"},

    {{"hxgetr", {{"variable", Kind::Result}, or_none(phase), or_none(in_phase)}},
     get_result,
     R"(Tell a result of the last calculation, a float.

Where: -1, -1 the system (P, VT, T, A, CP, H, S, G, V, CPM, HM, SM, GM, VM); -1, i_sc a system
component (A, X, IA, AC, MU); i_ph, -1 a phase (A, X, AC, MU, CP to VM); i_ph, i_pc a phase
constituent (A, X, IA, AC, MU, CP to VM); i_ph, i_sc a component in a phase (AP, XP). The members P,
V and T of TargetVariable are taken too.

In the units in force. nan: there is no such value, as of the potential of an absent component.
IA is the incoming amount in force, 0.0 where none is. After a calculation that failed, CP, H, S, G
and V of the system are nan and all else but IA is refused.)"},

    {{"hxce", {target, phase, in_phase, values}},
     calculate<false, false>,
     R"(Calculate the equilibrium.

TargetVariable.NoTarget, -1, -1 and any two numbers: at the conditions in force on P, VT, T, IA, AC
and MU; P is 1 bar where neither is given. Other conditions are left aside.

P, V and T search the pressure, the total volume or the temperature at which the one other condition
is met: a target, or one on CP, H, S, G, V or A. values: a guess and 0.0, from which the search goes
outward, or the two ends of an interval. IA moves an incoming amount (and those that IA0 has named
before) from the first value to the second. Raises TessaraError with what was searched and the
nearest miss where no state meets the condition.

Warns with MiscibilityWarning, once per phase and data file, where a phase splits into more
compositions than the file lists copies of it.)"},
    {{"hxcel", {target, phase, in_phase, values}},
     calculate<false, true>,
     "As hxce, and write the result to the channel for listings."},
    {{"hxcen", {target, phase, in_phase, values}},
     calculate<true, false>,
     "As hxce, starting from the last result."},
    {{"hxcenl", {target, phase, in_phase, values}},
     calculate<true, true>,
     "As hxcel, starting from the last result."},

    {{"hxmap", {map_variable, phase, in_phase, values}},
     map<false>,
     R"(Find the next point of a phase map.

TF, PF and IAF open a map and calculate its lower end. The first TN, PN or IAN calculates the upper
end, each later one the next change of phases in ascending order, in the state that it has seen from
below. values: both ends, in their units; IAN ignores them. IA0 names a further incoming amount that
moves together with that of IAF. Returns whether there is more to ask for.)"},
    {{"hxmapl", {map_variable, phase, in_phase, values}},
     map<true>,
     "As hxmap, and write the result to the channel for listings."},

    {{"hxsttp", {stream, {"T", Kind::Number}, {"P", Kind::Number}}},
     create_stream,
     R"(Create a stream at a temperature and a pressure, in their units.

A stream of that name starts afresh, without amounts. What follows is calculated with streams, until
hxsetc places a condition.)"},
    {{"hxstrm", {stream}}, remove_stream, "Remove a stream, or all with the empty name."},
    {{"hxstca", {stream, phase, constituent, value}},
     set_stream_amount,
     "Set the amount of a constituent in a stream, in the unit of amounts."},
    {{"hxstec", {member_of("variable", Enumeration::ConditionVariable), phase, value}},
     set_stream_condition,
     R"(Place a condition for calculations with streams and tell its number.

On the system (-1) or on a phase. CP, H, S, G and V of the system are changes against the streams.)"},
    {{"hxstxp", {stream, member_of("variable", Enumeration::StreamVariable)}},
     get_stream_property,
     R"(Tell CP, H, S, G or V of a stream, a float.

What a stream holds in one mixture phase forms that phase at that composition, unreacted.)"},

    {{"certificate", {}},
     get_certificate,
     R"(Tell how well the last result fulfils what an equilibrium is.

A dict: "balance", the largest relative residual of a mass balance (charges too); "potential", the
largest difference between a constituent's potential in a stable phase and the components', in RT;
"driving_force", the largest driving force of an absent phase, in RT per mole; each with its bound
("balance_bound", ...), within which it is, or there would be no result. "nearest_phase": index of
the absent phase that comes nearest to forming, or None; "nearest_driving_force": its driving force
in RT, not above 0, or None. "iterations": steps of Newton's method.)"},

    {{"composition_sets", {phase}},
     get_composition_sets,
     R"(Tell the compositions that a phase consists of.

A list of dicts with "amount" and "fractions" (a list, one per constituent), in the units in force:
one for an ordinary phase, several where a phase splits into more than the file lists copies of it,
none for an absent phase.)"},

    {{"internal_fractions", {phase}},
     get_internal_fractions,
     R"(Tell the site, pair and quadruplet fractions of a phase.

A list with one list for each of the phase's compositions, or for the one at which an absent phase
comes nearest to forming: dicts with "of" ("sublattice 1", ..., "pairs", "quadruplets"), "names" and
"fractions", which sum to 1. Empty for models whose fractions are those of the constituents, and for
phases that cannot form.)"},

    {{"configure", {option, {"value", Kind::Option}}}, configure, R"(Set an option of the library.

ITERATION_LIMIT, an int from 1 to 1000; COMPOSITION_SETS, a bool; SAMPLING, an int from 1 to 10. It
holds until hxini, hxremc(-2) or the next change.)"},

    {{"configuration", {option}},
     get_configuration,
     "Tell the setting of an option, an int or a bool."},

    {{"constituent_data",
      {phase,
       constituent,
       member_of("data", Enumeration::PhaseConstituentData),
       {"T", Kind::OptionalNumber, Enumeration::IoOption, true}}},
     get_datum,
     R"(Tell a standard datum of a phase constituent, a float.

CP, H, S and G are those of the pure constituent in its phase (a gas at 1 bar) at T, in the units in
force and per amount; T is 298.15 K where it is left out. H298 and S298 are at 298.15 K. T_MAX is
the upper limit of the data. TC, in K, and BETA are nan where a pure phase is not magnetic; those of
constituents of mixture phases cannot be told yet.)"},

    {{"findings", {{"file_path", Kind::Path}}},
     get_findings,
     R"(Look through a data file for what its author should know of.

The loaded system stays as it is. A list of dicts, the gravest first: "gravity" ("error", "warning"
or "note"), "rule" (as "TS103"), "line" and "column" (ints from 1; None for the whole line),
"subject" (the phase, constituent or component concerned; may be empty), "text" (what is suspicious)
and "advice". Raises TessaraError where the file cannot be read.)"},

    {{"finding_rules", {}}, get_rules, R"(Tell what `findings` looks for.

A list of dicts in order of "rule": "rule", "gravity" (the usual one), "title" and "advice".)"},

    {{"description", {{"file_path", Kind::Path}}},
     get_description,
     R"(Tell all that a data file holds, as plain values.

The loaded system stays as it is. A dict with "title", "components", "phases", "dummies" and
"comment_line" (the line where the comment behind the data begins, or 0). Phases are in the order of
the file and bear its names; each has "name", "model", "gas", "line" and "constituents", and what
its model adds. A species has "name", "amounts" (mol of each component), "ranges" (a list of dicts
with "upper" in K, six "coefficients" in J/mol and "extra", pairs of coefficient and power),
"magnetic" (None or Tc, beta, f and p), "volume_data" and "line". Raises TessaraError where the file
cannot be read.)"},

    {{"pack",
      {{"source", Kind::Path},
       {"target", Kind::Path},
       or_none({"remark", Kind::Text}),
       or_none({"created", Kind::Date})}},
     pack,
     R"(Write an ASCII data file as a transparent one.

The loaded system stays as it is. remark: a line of up to 80 characters for the header. created: six
ints, as `datetime.timetuple()[:6]` gives them; the present time in UTC where it is left out. The
same file, remark and date always give the same bytes. Nothing is written where the data file cannot
be read.)"},
};

} // namespace

Instance& instance() {
    static Instance* const only = new Instance; // NOLINT(cppcoreguidelines-owning-memory)
    return *only;
}

PyMethodDef* method_table() {
    return MethodTable<Operations>::methods();
}

} // namespace tessara::basic
