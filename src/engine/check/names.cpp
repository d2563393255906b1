#include "engine/check/findings.hpp"

#include <algorithm>
#include <cctype>
#include <map>

// Names that occur twice or differ only in case, and components that nothing holds.

namespace tessara::checks {
namespace {

struct Named {
    std::string name;
    int line;
};

std::string upper(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return result;
}

/// Compares the names of one kind with each other; `what` says which, as "component".
void compare(const std::vector<Named>& names, const std::string& what, const std::string& where,
             Findings& findings) {
    std::map<std::string, std::vector<const Named*>> alike;
    for (const Named& one : names) {
        alike[upper(one.name)].push_back(&one);
    }
    for (const auto& [folded, group] : alike) {
        for (std::size_t k = 1; k < group.size(); ++k) {
            const Named& one = *group[k];
            const auto same =
                std::find_if(group.begin(), group.begin() + static_cast<std::ptrdiff_t>(k),
                             [&](const Named* before) { return before->name == one.name; });
            const bool duplicate = same != group.begin() + static_cast<std::ptrdiff_t>(k);
            const Named& other = duplicate ? **same : *group.front();
            const std::string subject = what + " " + quoted(one.name) + where;
            if (duplicate) {
                findings.add(Rule::DuplicateName, one.line, subject,
                             "the name stands in line " + std::to_string(other.line) + " already");
            } else {
                findings.add(Rule::CaseOnly, one.line, subject,
                             "the name differs only in case from " + quoted(other.name) +
                                 " in line " + std::to_string(other.line));
            }
        }
    }
}

/// Components that no constituent and no record holds.
void find_absent_components(const System& system, Findings& findings) {
    std::vector<char> held(system.components.size(), 0);
    for (const Phase& phase : system.phases) {
        for (const Constituent& one : phase.constituents) {
            for (std::size_t j = 0; j < held.size(); ++j) {
                held[j] = static_cast<char>(held[j] != 0 || one.stoichiometry[j] != 0.0);
            }
        }
    }
    for (std::size_t j = 0; j < held.size(); ++j) {
        if (held[j] == 0) {
            const Component& component = system.components[j];
            findings.add(Rule::AbsentComponent, component.line,
                         "component " + quoted(component.name), "no constituent holds it");
        }
    }
}

} // namespace

void check_names(const System& system, Findings& findings) {
    std::vector<Named> components;
    for (const Component& component : system.components) {
        components.push_back({component.name, component.line});
    }
    compare(components, "component", "", findings);

    // Copies of a mixture have names of their own by now.
    std::vector<Named> phases;
    for (const Phase& phase : system.phases) {
        phases.push_back({phase.name, phase.line});
    }
    compare(phases, "phase", "", findings);

    for_each_phase(system, [&](const Phase& phase, std::size_t) {
        std::vector<Named> constituents;
        for (const Constituent& one : phase.constituents) {
            constituents.push_back({one.name, one.line});
        }
        compare(constituents, "constituent", " of " + of_phase(phase), findings);
    });
    find_absent_components(system, findings);
}

} // namespace tessara::checks
