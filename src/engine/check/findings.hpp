#pragma once

#include "engine/check/check.hpp"

#include <utility>

namespace tessara::checks {

/// Collects what the parts of the check find.
class Findings {
public:
    void add(Rule rule, int line, std::string subject, std::string text) {
        add(rule, description_of(rule).gravity, line, std::move(subject), std::move(text));
    }
    void add(Rule rule, Gravity gravity, int line, std::string subject, std::string text,
             int column = 0) {
        found_.push_back({rule, gravity, line, column, std::move(subject), std::move(text)});
    }

    std::vector<Finding> sorted() &&;

private:
    std::vector<Finding> found_;
};

std::string quoted(std::string_view name);
std::string of_phase(const Phase& phase);
/// "phase 'X'" for a pure phase, else "constituent 'A' of phase 'X'".
std::string of_constituent(const Phase& phase, const Constituent& constituent);
std::string of_dummy(const Constituent& dummy);

/// Calls `visit(phase, index)` for the phases of a system, each kind of identical copies once.
template <class Visit>
void for_each_phase(const System& system, const Visit& visit) {
    for (std::size_t i = 0; i < system.phases.size(); ++i) {
        if (system.phases[i].first_copy == i) {
            visit(system.phases[i], i);
        }
    }
}

// The parts of the check, one file each.
void check_functions(const System& system, Findings& findings);
void check_formulas(const System& system, Findings& findings);
void check_names(const System& system, Findings& findings);
void check_parameters(const System& system, Findings& findings);
void check_unmixing(const std::shared_ptr<const System>& system, Findings& findings);

/// For each phase and constituent, whether charges let it form at all: an ion without one of the
/// other sign cannot.
std::vector<std::vector<char>> neutral_constituents(const System& system);

} // namespace tessara::checks
