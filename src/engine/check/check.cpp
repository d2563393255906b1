#include "engine/check/check.hpp"

#include "engine/check/findings.hpp"

#include <algorithm>
#include <tuple>

namespace tessara {
namespace {

constexpr std::array Rules{
    RuleDescription{Rule::Unreadable, "TS001", Gravity::Error, "the file cannot be read",
                    "Correct what the message names; nothing behind it was looked at."},
    RuleDescription{Rule::ReaderNote, "TS002", Gravity::Warning,
                    "a record was read, but it is not as records usually are",
                    "Look at the line: a count or a number near it may be wrong."},
    RuleDescription{Rule::RangeOrder, "TS101", Gravity::Warning,
                    "temperature ranges overlap, so that one of them never applies",
                    "Of all ranges that reach a temperature the first one in the file applies; put "
                    "the limits in rising order, and drop what is not meant."},
    RuleDescription{Rule::RangeGap, "TS102", Gravity::Note,
                    "data of a phase end at different temperatures and leave a gap",
                    "In the gap the last range is continued, for which it was hardly made; add a "
                    "range, or stay below the gap."},
    RuleDescription{Rule::GibbsJump, "TS103", Gravity::Warning,
                    "the Gibbs energy jumps where two temperature ranges meet",
                    "A Gibbs energy is continuous: compare the coefficients of both ranges, digit "
                    "by digit, with their source. The phase takes part with a wrong energy on one "
                    "side of the limit."},
    RuleDescription{Rule::EnthalpyJump, "TS104", Gravity::Warning,
                    "enthalpy and entropy jump where two temperature ranges meet",
                    "That is a transition of first order inside one record. Where none is known "
                    "there, compare the coefficients with their source; where one is, two records "
                    "tell it better."},
    RuleDescription{
        Rule::NegativeHeatCapacity, "TS105", Gravity::Warning, "a heat capacity is negative",
        "No stable substance has one. Check the signs of the coefficients of T ln T, "
        "T^2, T^3 and 1/T, and whether the range reaches beyond what it was fitted to."},
    RuleDescription{Rule::NegativeEntropy, "TS106", Gravity::Warning,
                    "the entropy of a pure phase is negative at 298.15 K",
                    "Check the sign of the coefficient of T, and whether the record refers to the "
                    "same reference state as the others."},
    RuleDescription{
        Rule::MolarMass, "TS201", Gravity::Warning,
        "a molar mass contradicts the name of its component",
        "Amounts given or shown as mass come out wrong; correct the mass, or the name."},
    RuleDescription{Rule::Formula, "TS202", Gravity::Warning,
                    "a row of amounts contradicts the formula that the name spells",
                    "Compare the row with the header's order of components. If the name is right, "
                    "mass balances with this substance are wrong."},
    RuleDescription{Rule::DuplicateName, "TS203", Gravity::Error, "a name occurs twice",
                    "The file cannot be loaded by name; rename one, or drop it."},
    RuleDescription{Rule::CaseOnly, "TS204", Gravity::Warning, "names differ only in case",
                    "Names keep their case here, other programs may mix these up; rename one."},
    RuleDescription{Rule::NeverForms, "TS301", Gravity::Warning, "a constituent can never form",
                    "An ion needs one of the other sign in the phase; check the entries for the "
                    "electron component, or add the missing ion."},
    RuleDescription{Rule::AbsentComponent, "TS302", Gravity::Warning,
                    "a component is in no constituent",
                    "Nothing can hold it, so no calculation with it has a solution; drop the "
                    "component, or add what it forms."},
    RuleDescription{Rule::NeverLowest, "TS303", Gravity::Note,
                    "a pure phase is never the most stable form of its composition",
                    "It appears only where the more stable form is left out. If it is known to "
                    "form, check its Gibbs energy against the other one."},
    RuleDescription{Rule::NoData, "TS304", Gravity::Note, "all coefficients of a record are zero",
                    "G = 0 is taken literally. If it stands for missing data, mark the record as a "
                    "dummy or take it out."},
    RuleDescription{Rule::ZeroParameter, "TS401", Gravity::Note,
                    "a parameter refers to nothing: all its coefficients are zero",
                    "It has no effect and can be dropped, unless numbers were lost."},
    RuleDescription{Rule::RepeatedParameter, "TS402", Gravity::Note,
                    "several parameters refer to the same constituents",
                    "Their contributions add up. Where one was meant to replace the other, drop "
                    "that."},
    RuleDescription{Rule::DeadParameter, "TS403", Gravity::Warning,
                    "a parameter refers to a constituent that can never form",
                    "It has no effect; see to the constituent first."},
    RuleDescription{Rule::IdleMagnetism, "TS404", Gravity::Note, "magnetic numbers have no effect",
                    "Magnetism needs a temperature Tc and a moment beta other than zero, both; one "
                    "of them was lost, or the model is magnetic without need."},
    RuleDescription{Rule::Unmixing, "TS501", Gravity::Warning,
                    "a phase unmixes, but the file lists it once",
                    "List the phase as often as it may split: the same block again, counted in the "
                    "header. Each part then has a name of its own."},
};

constexpr bool complete() {
    for (std::size_t k = 0; k < Rules.size(); ++k) {
        if (static_cast<std::size_t>(Rules[k].rule) != k) {
            return false;
        }
    }
    return Rules.size() == static_cast<std::size_t>(Rule::Unmixing) + 1;
}
static_assert(complete(), "each rule has one description, in order");

} // namespace

std::string_view gravity_name(Gravity gravity) {
    constexpr std::array names{"error", "warning", "note"};
    return names[static_cast<std::size_t>(gravity)];
}

std::span<const RuleDescription> rules() {
    return Rules;
}

const RuleDescription& description_of(Rule rule) {
    return Rules[static_cast<std::size_t>(rule)];
}

namespace checks {

std::vector<Finding> Findings::sorted() && {
    const auto place = [](const Finding& f) {
        return std::tie(f.gravity, f.line, f.rule, f.column);
    };
    std::stable_sort(found_.begin(), found_.end(),
                     [&](const Finding& a, const Finding& b) { return place(a) < place(b); });
    return std::move(found_);
}

std::string quoted(std::string_view name) {
    return "'" + std::string(name) + "'";
}

std::string of_phase(const Phase& phase) {
    return "phase " + quoted(phase.file_name);
}

std::string of_constituent(const Phase& phase, const Constituent& constituent) {
    return phase.model ? "constituent " + quoted(constituent.name) + " of " + of_phase(phase)
                       : of_phase(phase);
}

std::string of_dummy(const Constituent& dummy) {
    return "dummy " + quoted(dummy.name);
}

} // namespace checks

std::vector<Finding> check(const std::shared_ptr<const System>& system) {
    checks::Findings findings;
    for (const ReadNote& note : system->notes) {
        if (!note.checked) {
            findings.add(Rule::ReaderNote, Gravity::Warning, note.line, "", note.text, note.column);
        }
    }
    checks::check_functions(*system, findings);
    checks::check_formulas(*system, findings);
    checks::check_names(*system, findings);
    checks::check_parameters(*system, findings);
    checks::check_unmixing(system, findings);
    return std::move(findings).sorted();
}

} // namespace tessara
