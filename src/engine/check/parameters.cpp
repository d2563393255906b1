#include "engine/check/findings.hpp"

#include <algorithm>
#include <cmath>
#include <map>

// Parameters of mixtures that have no effect, and constituents that charges keep from forming.

namespace tessara::checks {
namespace {

class ParameterCheck {
public:
    ParameterCheck(const System& system, Findings& findings)
        : system_(system), findings_(findings), neutral_(neutral_constituents(system)) {}

    void run() {
        for_each_phase(system_, [&](const Phase& phase, std::size_t i) {
            check_forming(phase, neutral_[i]);
            if (phase.model) {
                Description own = Description::Table{};
                phase.model->describe(own);
                const std::vector<std::string> mixing = mixing_names(phase, own);
                // Where sublattices mix, what parameters name are not the phase's constituents.
                const bool plain = own["sublattices"].items().empty();
                const std::vector<char> possible = plain ? neutral_[i] : std::vector<char>();
                check_terms(phase, own["interactions"], "the parameter", mixing, possible);
                check_terms(phase, own["magnetic_interactions"], "the magnetic parameter", mixing,
                            possible);
                check_magnetism(phase, own);
            } else {
                check_pure_magnetism(phase);
            }
        });
    }

private:
    void check_forming(const Phase& phase, const std::vector<char>& neutral) {
        for (std::size_t c = 0; c < phase.constituents.size(); ++c) {
            if (neutral[c] == 0) {
                findings_.add(Rule::NeverForms, phase.constituents[c].line,
                              of_constituent(phase, phase.constituents[c]),
                              "it is charged, and nothing with it balances the charge");
            }
        }
    }

    /// Names of what parameters refer to by number.
    static std::vector<std::string> mixing_names(const Phase& phase, const Description& own) {
        std::vector<std::string> names;
        for (const Description& group : own["sublattices"].items()) {
            for (const Description& name : group.items()) {
                names.push_back(name.text());
            }
        }
        if (names.empty()) {
            for (const Constituent& one : phase.constituents) {
                names.push_back(one.name);
            }
        }
        return names;
    }

    void check_terms(const Phase& phase, const Description& terms, const std::string& what,
                     const std::vector<std::string>& mixing, const std::vector<char>& possible) {
        std::map<std::vector<std::size_t>, int> seen; // with the line
        for (const Description& term : terms.items()) {
            const int line = static_cast<int>(term["line"].number());
            std::vector<std::size_t> on;
            for (const Description& constituent : term["constituents"].items()) {
                on.push_back(static_cast<std::size_t>(constituent.number()));
            }
            const std::string subject =
                what + " on " + names(mixing, on) + " of " + of_phase(phase);
            if (all_zero(term["sets"])) {
                findings_.add(Rule::ZeroParameter, line, subject, "all its coefficients are zero");
            }
            for (const std::size_t c : on) {
                if (c < possible.size() && possible[c] == 0) {
                    findings_.add(Rule::DeadParameter, line, subject,
                                  quoted(mixing[c]) + " can never form");
                }
            }
            std::sort(on.begin(), on.end());
            const auto [before, first] = seen.try_emplace(on, line);
            if (!first) {
                findings_.add(Rule::RepeatedParameter, line, subject,
                              "line " + std::to_string(before->second) +
                                  " has a parameter on the same constituents");
            }
        }
    }

    static bool all_zero(const Description& sets) {
        for (const Description& set : sets.items()) {
            for (const Description& coefficient : set.items()) {
                if (coefficient.number() != 0.0) {
                    return false;
                }
            }
        }
        return true;
    }

    static std::string names(const std::vector<std::string>& mixing,
                             const std::vector<std::size_t>& on) {
        std::string text;
        for (const std::size_t c : on) {
            text += text.empty() ? "" : ", ";
            text += c < mixing.size() ? quoted(mixing[c]) : "number " + std::to_string(c + 1);
        }
        return text;
    }

    void check_magnetism(const Phase& phase, const Description& own) {
        const Description::List& moments = own["moments"].items();
        for (std::size_t c = 0; c < moments.size() && c < phase.constituents.size(); ++c) {
            const Description::List& pair = moments[c].items();
            check_pair(pair[0].number(), pair[1].number(), phase.constituents[c].line,
                       of_constituent(phase, phase.constituents[c]));
        }
        const bool none = std::all_of(moments.begin(), moments.end(), [](const Description& pair) {
            return pair.items()[0].number() == 0.0;
        });
        if (!moments.empty() && none && own["magnetic_interactions"].items().empty()) {
            findings_.add(Rule::IdleMagnetism, phase.line, of_phase(phase),
                          "the model is magnetic, but no constituent has a Curie temperature");
        }
    }

    void check_pure_magnetism(const Phase& phase) {
        const Constituent& one = phase.constituents[0];
        if (one.magnetic) {
            check_pair(one.magnetic->numbers.tc, one.magnetic->numbers.beta, one.line,
                       of_phase(phase));
            if (one.magnetic->numbers == MagneticNumbers{}) {
                findings_.add(Rule::IdleMagnetism, one.line, of_phase(phase),
                              "Tc and beta are both zero");
            }
        }
    }

    void check_pair(double tc, double beta, int line, const std::string& subject) {
        if ((tc == 0.0) != (beta == 0.0)) {
            findings_.add(Rule::IdleMagnetism, line, subject,
                          tc == 0.0 ? "it has a moment, but no Curie temperature"
                                    : "it has a Curie temperature, but no moment");
        }
    }

    const System& system_;
    Findings& findings_;
    std::vector<std::vector<char>> neutral_;
};

/// Whether the entries for component `e` of all that can still form have one sign only.
bool one_sign(const System& system, const std::vector<std::vector<char>>& possible, std::size_t e) {
    bool positive = false;
    bool negative = false;
    for (std::size_t i = 0; i < possible.size(); ++i) {
        for (std::size_t c = 0; c < possible[i].size(); ++c) {
            const double entry = system.phases[i].constituents[c].stoichiometry[e];
            positive = positive || (possible[i][c] != 0 && entry > 0.0);
            negative = negative || (possible[i][c] != 0 && entry < 0.0);
        }
    }
    return positive != negative;
}

} // namespace

std::vector<std::vector<char>> neutral_constituents(const System& system) {
    std::vector<std::vector<char>> possible;
    for (const Phase& phase : system.phases) {
        possible.emplace_back(phase.constituents.size(), 1);
    }
    // What one balance rules out may have been the counterpart in another.
    for (bool changed = true; changed;) {
        changed = false;
        for (std::size_t e = 0; e < system.components.size(); ++e) {
            if (!system.components[e].electron || !one_sign(system, possible, e)) {
                continue;
            }
            changed = true;
            for (std::size_t i = 0; i < possible.size(); ++i) {
                for (std::size_t c = 0; c < possible[i].size(); ++c) {
                    if (system.phases[i].constituents[c].stoichiometry[e] != 0.0) {
                        possible[i][c] = 0;
                    }
                }
            }
        }
    }
    return possible;
}

void check_parameters(const System& system, Findings& findings) {
    ParameterCheck(system, findings).run();
}

} // namespace tessara::checks
