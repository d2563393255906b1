#include "engine/check/findings.hpp"
#include "engine/text/text.hpp"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>

// Gibbs energies as functions of temperature: their ranges, what happens where these meet, and heat
// capacities and entropies that no substance has.

namespace tessara::checks {
namespace {

constexpr double RoomTemperature = 298.15;

// All per mole of atoms. Published functions meet within a few hundredths of a J/mol; rounding of
// coefficients alone makes up to one.
constexpr double GibbsAllowed = 1.0;     ///< J
constexpr double GibbsGrave = 100.0;     ///< J
constexpr double EnthalpyAllowed = 20.0; ///< J

constexpr int SamplesPerRange = 32;
/// J/(mol K): a function without a heat capacity shows rounding only.
constexpr double HeatCapacityRounding = 1e-2;

using Range = TemperatureFunction::Range;

/// G, H, S of one range at its own or another's limit.
struct State {
    double g;
    double h;
    double s;
};

class FunctionCheck {
public:
    FunctionCheck(const System& system, Findings& findings)
        : system_(system), findings_(findings), at_(system.terms()) {}

    void run() {
        for_each_phase(system_, [&](const Phase& phase, std::size_t i) {
            for (std::size_t c = 0; c < phase.constituents.size(); ++c) {
                const Constituent& one = phase.constituents[c];
                const std::string subject = of_constituent(phase, one);
                check_ranges(one, subject);
                check_heat_capacity(one, subject, [&] { return system_.pure_thermal(i, c, at_); });
                check_data(phase, one, subject);
            }
            check_ends(phase);
            if (!phase.model) {
                check_entropy(phase, i);
            }
        });
        for (const Constituent& dummy : system_.dummies) {
            if (dummy.has_data()) {
                check_ranges(dummy, of_dummy(dummy));
                check_heat_capacity(dummy, of_dummy(dummy),
                                    [&] { return System::standard_thermal(dummy, at_); });
            }
        }
        check_forms();
    }

private:
    // --- ranges and their joins ---

    void check_ranges(const Constituent& one, const std::string& subject) {
        const auto ranges = one.gibbs.ranges();
        const Range* applies = nullptr; // up to its limit, which is the highest so far
        for (std::size_t r = 0; r < ranges.size(); ++r) {
            const Range& range = ranges[r];
            const bool last = r + 1 == ranges.size();
            const bool reached = applies != nullptr && range.t_max <= applies->t_max;
            if (reached) {
                note_order(range, *applies, last, subject);
            }
            // Above all limits it is the last range of the file that applies.
            if (applies != nullptr && (!reached || last)) {
                check_join(one, *applies, range, subject);
            }
            if (!reached) {
                applies = &range;
            }
        }
    }

    void note_order(const Range& range, const Range& before, bool last,
                    const std::string& subject) {
        const std::string limit = number_text(range.t_max, 8) + " K";
        if (!last) {
            findings_.add(Rule::RangeOrder, range.line, subject,
                          "the range up to " + limit + " never applies, as one before it reaches " +
                              number_text(before.t_max, 8) + " K");
        } else if (range.t_max < before.t_max) {
            findings_.add(Rule::RangeOrder, range.line, subject,
                          "the last range ends at " + limit + ", below the limit " +
                              number_text(before.t_max, 8) +
                              " K of one before it; it applies above that only");
        } else {
            findings_.add(Rule::RangeOrder, Gravity::Note, range.line, subject,
                          "the last range has the limit " + limit +
                              " of one before it; it applies above that only");
        }
    }

    void check_join(const Constituent& one, const Range& below, const Range& above,
                    const std::string& subject) {
        const double t = below.t_max;
        const State from = state(below, t);
        const State to = state(above, t);
        const double atoms = atom_count(one);
        const double dg = to.g - from.g;
        const double dh = to.h - from.h;
        const std::string jumps = "H by " + number_text(dh, 4) + " J/mol and S by " +
                                  number_text(to.s - from.s, 4) + " J/(mol K) at " +
                                  number_text(t, 8) + " K";
        if (std::abs(dg) > GibbsAllowed * atoms) {
            const bool grave = std::abs(dg) > GibbsGrave * atoms;
            findings_.add(Rule::GibbsJump, grave ? Gravity::Error : Gravity::Warning, above.line,
                          subject,
                          "G jumps by " + number_text(dg, 4) + " J/mol (allowed " +
                              number_text(GibbsAllowed * atoms, 4) + "), " + jumps);
        } else if (std::abs(dh) > EnthalpyAllowed * atoms) {
            findings_.add(Rule::EnthalpyJump, above.line, subject,
                          jumps + " (allowed for H " + number_text(EnthalpyAllowed * atoms, 4) +
                              " J/mol), while G goes on");
        }
    }

    State state(const Range& range, double t) {
        TemperatureFunction alone;
        alone.add_range(range);
        at_.set(t);
        const ThermalValue g = alone.with_derivatives(at_);
        return {g.value, g.value - t * g.d_t, -g.d_t};
    }

    double atom_count(const Constituent& one) const {
        double atoms = 0.0;
        for (std::size_t j = 0; j < one.stoichiometry.size(); ++j) {
            atoms += system_.components[j].electron ? 0.0 : one.stoichiometry[j];
        }
        return std::max(atoms, 1.0);
    }

    /// Constituents of one phase whose data end below those of the others.
    void check_ends(const Phase& phase) {
        const auto end = [](const Constituent& one) {
            double t = 0.0;
            for (const Range& range : one.gibbs.ranges()) {
                t = std::max(t, range.t_max);
            }
            return t;
        };
        double reach = 0.0;
        for (const Constituent& one : phase.constituents) {
            reach = std::max(reach, end(one));
        }
        std::size_t short_ones = 0;
        const Constituent* first = nullptr;
        for (const Constituent& one : phase.constituents) {
            // Limits that differ by rounding are no gap.
            if (end(one) < reach * (1.0 - 1e-3)) {
                ++short_ones;
                if (first == nullptr || end(one) < end(*first)) {
                    first = &one;
                }
            }
        }
        if (first != nullptr) {
            findings_.add(Rule::RangeGap, first->line, of_phase(phase),
                          "the data of " + std::to_string(short_ones) + " of its " +
                              std::to_string(phase.constituents.size()) +
                              " constituents end below " + number_text(reach, 8) +
                              " K, where those of others end; the first is " + quoted(first->name) +
                              " at " + number_text(end(*first), 8) + " K");
        }
    }

    // --- heat capacity, entropy, missing data ---

    template <class Thermal>
    void check_heat_capacity(const Constituent& one, const std::string& subject,
                             const Thermal& thermal) {
        double from = 0.0;
        double to = 0.0;
        double worst = 0.0;
        double worst_t = 0.0;
        int line = 0;
        double reached = 0.0;
        for (const Range& range : one.gibbs.ranges()) {
            if (range.t_max <= reached) {
                continue;
            }
            const double start = reached > 0.0 ? reached : std::min(RoomTemperature, range.t_max);
            for (int k = 0; k <= SamplesPerRange; ++k) {
                const double part = static_cast<double>(k) / SamplesPerRange;
                // The limit itself belongs to the range before.
                const double t = k == 0 && reached > 0.0 ? start * (1.0 + 1e-9)
                                                         : start + part * (range.t_max - start);
                at_.set(t);
                const double cp = -t * thermal().d_tt;
                if (cp < -HeatCapacityRounding) {
                    from = line == 0 ? t : from;
                    line = line == 0 ? range.line : line;
                    to = t;
                    if (cp < worst) {
                        worst = cp;
                        worst_t = t;
                    }
                }
            }
            reached = range.t_max;
        }
        if (line != 0) {
            findings_.add(Rule::NegativeHeatCapacity, line, subject,
                          "the heat capacity is negative between " + number_text(from, 4) +
                              " K and " + number_text(to, 4) + " K; the lowest value met is " +
                              number_text(worst, 4) + " J/(mol K) at " + number_text(worst_t, 4) +
                              " K");
        }
    }

    void check_entropy(const Phase& phase, std::size_t i) {
        at_.set(RoomTemperature);
        const double s = -system_.pure_thermal(i, 0, at_).d_t;
        if (s < 0.0) {
            findings_.add(Rule::NegativeEntropy, phase.line, of_phase(phase),
                          "the entropy at 298.15 K is " + number_text(s, 5) + " J/(mol K)");
        }
    }

    void check_data(const Phase& phase, const Constituent& one, const std::string& subject) {
        const bool alone = phase.model == nullptr;
        if (alone && !one.has_data()) {
            findings_.add(Rule::NoData, one.line, subject, "all its coefficients are zero");
        }
    }

    // --- forms of one composition ---

    /// Pure phases of one composition: one that lies above another at every temperature.
    void check_forms() {
        std::map<std::vector<double>, std::vector<std::size_t>> forms;
        for (std::size_t i = 0; i < system_.phases.size(); ++i) {
            const Phase& phase = system_.phases[i];
            if (!phase.model && phase.constituents[0].has_data()) {
                forms[composition(phase.constituents[0])].push_back(i);
            }
        }
        for (const auto& [composition, phases] : forms) {
            if (phases.size() > 1 && !composition.empty()) {
                check_forms_of_one(phases);
            }
        }
    }

    void check_forms_of_one(const std::vector<std::size_t>& phases) {
        constexpr double step = 1.02;
        std::vector<char> lowest(phases.size(), 0);
        for (double t = 50.0; t < 6000.0; t *= step) {
            at_.set(t);
            std::vector<double> g;
            for (const std::size_t i : phases) {
                g.push_back(system_.pure_thermal(i, 0, at_).value /
                            first_amount(system_.phases[i].constituents[0]));
            }
            const double least = *std::min_element(g.begin(), g.end());
            for (std::size_t k = 0; k < g.size(); ++k) {
                lowest[k] = static_cast<char>(lowest[k] != 0 || g[k] <= least + GibbsAllowed);
            }
        }
        for (std::size_t k = 0; k < phases.size(); ++k) {
            if (lowest[k] == 0) {
                const Phase& phase = system_.phases[phases[k]];
                findings_.add(Rule::NeverLowest, phase.line, of_phase(phase),
                              "another form of its composition has the lower Gibbs energy at all "
                              "temperatures");
            }
        }
    }

    static double first_amount(const Constituent& one) {
        const auto found = std::find_if(one.stoichiometry.begin(), one.stoichiometry.end(),
                                        [](double amount) { return amount != 0.0; });
        return found == one.stoichiometry.end() ? 1.0 : *found;
    }

    /// The amounts over the first one, rounded; empty for a phase without matter.
    static std::vector<double> composition(const Constituent& one) {
        std::vector<double> parts;
        bool matter = false;
        for (const double amount : one.stoichiometry) {
            parts.push_back(std::round(amount / first_amount(one) * 1e9));
            matter = matter || amount != 0.0;
        }
        return matter ? parts : std::vector<double>{};
    }

    const System& system_;
    Findings& findings_;
    TemperatureTerms at_;
};

} // namespace

void check_functions(const System& system, Findings& findings) {
    FunctionCheck(system, findings).run();
}

} // namespace tessara::checks
