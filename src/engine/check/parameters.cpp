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
                check_polynomials(phase, own["polynomials"], mixing, possible);
                check_quadruplet_terms(phase, own);
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

    /// What tells parameters apart, with the line of the first one of each kind.
    using Seen = std::map<std::vector<double>, int>;

    void check_terms(const Phase& phase, const Description& terms, const std::string& what,
                     const std::vector<std::string>& mixing, const std::vector<char>& possible) {
        Seen seen;
        for (const Description& term : terms.items()) {
            const int line = static_cast<int>(term["line"].number());
            const std::vector<double> on = numbers(term["constituents"]);
            const std::string subject =
                what + " on " + names(mixing, on) + " of " + of_phase(phase);
            check_zero(all_zero(term["sets"]), line, subject);
            check_possible(on, mixing, possible, line, subject);
            std::vector<double> key = on;
            std::sort(key.begin(), key.end());
            check_repeated(seen, key, line, subject, "");
        }
    }

    /// Polynomials are sums of parameters with different powers.
    void check_polynomials(const Phase& phase, const Description& terms,
                           const std::vector<std::string>& mixing,
                           const std::vector<char>& possible) {
        Seen seen;
        for (const Description& term : terms.items()) {
            const int line = static_cast<int>(term["line"].number());
            const std::vector<double> on = numbers(term["constituents"]);
            const std::vector<double> powers = numbers(term["powers"]);
            const std::string subject =
                "the parameter on " + names(mixing, on) + " of " + of_phase(phase);
            check_zero(zero(term["coefficients"]), line, subject);
            check_possible(on, mixing, possible, line, subject);
            std::vector<std::pair<double, double>> pairs;
            for (std::size_t k = 0; k < on.size(); ++k) {
                pairs.emplace_back(on[k], powers[k]);
            }
            std::sort(pairs.begin(), pairs.end());
            std::vector<double> key = {number_or(term["constant"], -1.0)};
            for (const auto& [constituent, power] : pairs) {
                key.insert(key.end(), {constituent, power});
            }
            check_repeated(seen, key, line, subject, " with the same powers");
        }
    }

    void check_quadruplet_terms(const Phase& phase, const Description& own) {
        Seen seen;
        for (const Description& term : own["quadruplet_terms"].items()) {
            const int line = static_cast<int>(term["line"].number());
            const std::string shape = term["shape"].text();
            std::vector<double> key = {static_cast<double>(shape.front())};
            std::string name;
            for (std::size_t s = 0; s < 2; ++s) {
                for (const double ion : numbers(term["quadruplet"].items()[s])) {
                    const auto k = static_cast<std::size_t>(ion);
                    name +=
                        (name.empty() ? "" : "-") + own["sublattices"].items()[s].items()[k].text();
                    key.push_back(ion);
                }
                key.push_back(number_or(term["more"].items()[s], -1.0));
            }
            for (const char* powers : {"powers", "more_powers"}) {
                for (const double power : numbers(term[powers])) {
                    key.push_back(power);
                }
            }
            const std::string subject =
                "the parameter " + shape + " on " + name + " of " + of_phase(phase);
            check_zero(zero(term["coefficients"]), line, subject);
            check_repeated(seen, key, line, subject, " with the same powers");
        }
    }

    void check_zero(bool all, int line, const std::string& subject) {
        if (all) {
            findings_.add(Rule::ZeroParameter, line, subject, "all its coefficients are zero");
        }
    }

    void check_possible(const std::vector<double>& on, const std::vector<std::string>& mixing,
                        const std::vector<char>& possible, int line, const std::string& subject) {
        for (const double number : on) {
            const auto c = static_cast<std::size_t>(number);
            if (c < possible.size() && possible[c] == 0) {
                findings_.add(Rule::DeadParameter, line, subject,
                              quoted(mixing[c]) + " can never form");
            }
        }
    }

    void check_repeated(Seen& seen, const std::vector<double>& key, int line,
                        const std::string& subject, const std::string& how) {
        const auto [before, first] = seen.try_emplace(key, line);
        if (!first) {
            findings_.add(Rule::RepeatedParameter, line, subject,
                          "line " + std::to_string(before->second) +
                              " has a parameter on the same constituents" + how);
        }
    }

    static std::vector<double> numbers(const Description& list) {
        std::vector<double> result;
        for (const Description& number : list.items()) {
            result.push_back(number.number());
        }
        return result;
    }

    static double number_or(const Description& number, double otherwise) {
        return std::holds_alternative<std::monostate>(number.value()) ? otherwise : number.number();
    }

    static bool zero(const Description& set) {
        const Description::List& of = set.items();
        return std::all_of(of.begin(), of.end(), [](const Description& coefficient) {
            return coefficient.number() == 0.0;
        });
    }

    static bool all_zero(const Description& sets) {
        const Description::List& of = sets.items();
        return std::all_of(of.begin(), of.end(), zero);
    }

    static std::string names(const std::vector<std::string>& mixing,
                             const std::vector<double>& on) {
        std::string text;
        for (const double number : on) {
            const auto c = static_cast<std::size_t>(number);
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
