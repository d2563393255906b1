#include "engine/listing/result_listing.hpp"

#include "engine/text/text.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <ostream>

namespace tessara {
namespace {

constexpr int StateDigits = 8;

class ResultListing {
public:
    ResultListing(std::ostream& out, const Inputs& inputs, Results& results)
        : out_(out), inputs_(inputs), system_(inputs.system), units_(inputs.units),
          results_(results), equilibrium_(results.equilibrium()) {}

    void print() {
        state();
        list_conditions(out_, inputs_);
        requirements_met_or_not();
        present_phases();
        composition_sets();
        internal_fractions();
        absent_phases();
        components();
        open_potentials();
        totals();
        check();
    }

private:
    double value(ResultVariable variable, const Place& place) {
        return results_.value(variable, place, units_);
    }
    std::string cell(ResultVariable variable, const Place& place) {
        return column_text(value(variable, place));
    }

    void state() {
        print_heading(out_, "Equilibrium", '=');
        print_paragraph(out_, "System  " + ascii(system_.title), 8);
        const auto line = [&](const char* name, ResultVariable variable, Quantity quantity) {
            out_ << "  " << name << "  "
                 << number_text(value(variable, Place::system()), StateDigits) << ' '
                 << units_.text(quantity) << '\n';
        };
        line("T     ", ResultVariable::T, Quantity::Temperature);
        line("P     ", ResultVariable::P, Quantity::Pressure);
        line("V     ", ResultVariable::VT, Quantity::Volume);
    }

    void requirements_met_or_not() {
        std::string list;
        for (const Condition& condition : requirements(inputs_.conditions)) {
            list += (list.empty() ? "" : ", ") + condition_text(system_, condition) + " (" +
                    std::to_string(condition.number) + ")";
        }
        if (!list.empty()) {
            out_ << '\n';
            print_paragraph(out_,
                            (inputs_.searched
                                 ? "Met by the search: "
                                 : "Not used, as the calculation has no target variable: ") +
                                list + ".",
                            2);
        }
    }

    void present_phases() {
        TextTable table({"phase", "amount", "fraction", "activity"});
        const std::string unit = units_.text(Quantity::Amount);
        table.head({"  constituent", unit, unit + "/" + unit, ""});
        for (const std::size_t i : by_falling(phases(true), ResultVariable::A)) {
            const Place place = Place::of_phase(i);
            table.row({ascii(system_.phases[i].name), cell(ResultVariable::A, place),
                       cell(ResultVariable::X, place), cell(ResultVariable::AC, place)});
            if (system_.phases[i].model) {
                constituents(table, i);
            }
        }
        print_heading(out_, "Phases");
        if (table.empty()) {
            out_ << "  None.\n";
        } else {
            table.print(out_);
        }
    }

    void constituents(TextTable& table, std::size_t i) {
        std::vector<std::pair<double, std::size_t>> order;
        for (std::size_t c = 0; c < system_.phases[i].constituents.size(); ++c) {
            if (equilibrium_.phases[i].constituent_can_form[c] != 0) {
                order.push_back({-equilibrium_.phases[i].log_fractions[c], c});
            }
        }
        std::stable_sort(order.begin(), order.end());
        for (const auto& [unused, c] : order) {
            const Place place = Place::constituent(i, c);
            table.row({"  " + ascii(system_.phases[i].constituents[c].name),
                       cell(ResultVariable::A, place), cell(ResultVariable::X, place),
                       cell(ResultVariable::AC, place)});
        }
    }

    /// The compositions of phases that have more of them than the file lists copies.
    void composition_sets() {
        for (const std::size_t i : equilibrium_.folded) {
            const std::vector<Results::SetValues> sets = results_.sets(i, units_);
            std::vector<std::string> head{"set"};
            std::vector<std::string> amounts{"amount, " + units_.text(Quantity::Amount)};
            for (std::size_t k = 0; k < sets.size(); ++k) {
                head.push_back(std::to_string(k + 1));
                amounts.push_back(column_text(sets[k].amount));
            }
            TextTable table(head);
            table.row(amounts);
            for (std::size_t c = 0; c < system_.phases[i].constituents.size(); ++c) {
                if (equilibrium_.phases[i].constituent_can_form[c] != 0) {
                    std::vector<std::string> row{"fraction of " +
                                                 ascii(system_.phases[i].constituents[c].name)};
                    for (const Results::SetValues& set : sets) {
                        row.push_back(column_text(set.fractions[c]));
                    }
                    table.row(std::move(row));
                }
            }
            print_heading(out_, "Composition sets of " + ascii(system_.phases[i].name));
            table.print(out_);
        }
    }

    /// Site, pair and quadruplet fractions of the phases that have them, set by set.
    void internal_fractions() {
        for (const std::size_t i : by_falling(phases(true), ResultVariable::A)) {
            const auto sets = results_.internal_fractions(i);
            if (sets.empty()) {
                continue;
            }
            std::vector<std::string> head{""};
            for (std::size_t k = 0; k < sets.size(); ++k) {
                head.push_back(sets.size() == 1 ? "fraction" : "set " + std::to_string(k + 1));
            }
            TextTable table(head);
            for (std::size_t g = 0; g < sets.front().size(); ++g) {
                const NamedFractions& kind = sets.front()[g];
                std::vector<std::string> title(sets.size() + 1);
                title.front() = kind.of;
                table.row(std::move(title));
                for (std::size_t n = 0; n < kind.names.size(); ++n) {
                    std::vector<std::string> row{"  " + ascii(kind.names[n])};
                    for (const std::vector<NamedFractions>& set : sets) {
                        row.push_back(column_text(set[g].values[n]));
                    }
                    table.row(std::move(row));
                }
            }
            print_heading(out_, "Within " + ascii(system_.phases[i].name));
            table.print(out_);
        }
    }

    void absent_phases() {
        TextTable table({"absent phase", "activity"});
        for (const std::size_t i : by_falling(phases(false), ResultVariable::AC)) {
            const char* note = equilibrium_.phases[i].dormant ? " (dormant)" : "";
            table.row({ascii(system_.phases[i].name) + note,
                       cell(ResultVariable::AC, Place::of_phase(i))});
        }
        if (!table.empty()) {
            print_heading(out_, "Absent phases");
            table.print(out_);
        }
        const auto impossible =
            std::count_if(equilibrium_.phases.begin(), equilibrium_.phases.end(),
                          [](const PhaseResult& phase) { return !phase.can_form; });
        if (impossible > 0) {
            out_ << '\n';
            print_paragraph(out_,
                            "Phases that cannot form, as they are eliminated or what they hold is "
                            "not there: " +
                                std::to_string(impossible) + ".",
                            2);
        }
    }

    void components() {
        TextTable table({"component", "amount", "fraction", "activity", "potential"});
        const std::string unit = units_.text(Quantity::Amount);
        table.head({"", unit, unit + "/" + unit, "", units_.text(Quantity::Energy) + "/mol"});
        for (std::size_t j = 0; j < system_.components.size(); ++j) {
            const Place place = Place::component(j);
            table.row({ascii(system_.components[j].name), cell(ResultVariable::A, place),
                       cell(ResultVariable::X, place), cell(ResultVariable::AC, place),
                       cell(ResultVariable::MU, place)});
        }
        print_heading(out_, "System components");
        table.print(out_);
    }

    void open_potentials() {
        if (equilibrium_.open_combinations.empty()) {
            return;
        }
        std::string list;
        for (const std::vector<double>& combination : equilibrium_.open_combinations) {
            std::string sum;
            for (std::size_t j = 0; j < combination.size(); ++j) {
                const double a = combination[j];
                if (a == 0.0) {
                    continue;
                }
                sum += sum.empty() ? (a < 0.0 ? "-" : "") : (a < 0.0 ? " - " : " + ");
                if (std::abs(a) != 1.0) {
                    sum += number_text(std::abs(a)) + " ";
                }
                sum += ascii(system_.components[j].name);
            }
            list += (list.empty() ? "" : "; ") + sum;
        }
        out_ << '\n';
        print_paragraph(out_,
                        "The stable phases leave the potentials of these combinations of "
                        "components open: " +
                            list + ".",
                        2);
    }

    void totals() {
        struct Row {
            const char* name;
            ResultVariable total, per_amount;
            std::string unit;
        };
        const std::string energy = units_.text(Quantity::Energy);
        const std::array rows{
            Row{"CP  heat capacity", ResultVariable::CP, ResultVariable::CPM,
                units_.entropy_text()},
            Row{"H   enthalpy", ResultVariable::H, ResultVariable::HM, energy},
            Row{"S   entropy", ResultVariable::S, ResultVariable::SM, units_.entropy_text()},
            Row{"G   Gibbs energy", ResultVariable::G, ResultVariable::GM, energy},
            Row{"V   volume", ResultVariable::V, ResultVariable::VM, units_.text(Quantity::Volume)},
        };
        TextTable table({"system", "total", "unit", "per " + units_.text(Quantity::Amount)});
        table.flush_left(2);
        for (const Row& row : rows) {
            table.row({row.name, cell(row.total, Place::system()), row.unit,
                       cell(row.per_amount, Place::system())});
        }
        table.row({"A   amount", cell(ResultVariable::A, Place::system()),
                   units_.text(Quantity::Amount), ""});
        print_heading(out_, "Totals");
        table.print(out_);
    }

    void check() {
        const Certificate& found = equilibrium_.certificate;
        TextTable table({"residual", "largest", "allowed"});
        const auto row = [&](const char* name, double value, double bound) {
            table.row({name, number_text(value, 2), number_text(bound, 2)});
        };
        row("mass balances, relative", found.balance, Certificate::BalanceBound);
        row("potentials in the phases, RT", found.potential, Certificate::PotentialBound);
        row("driving force of absent phases, RT", found.driving_force,
            Certificate::DrivingForceBound);
        print_heading(out_, "Check");
        table.print(out_);
        if (found.nearest_phase < system_.phases.size()) {
            out_ << "  Nearest to forming: " << ascii(system_.phases[found.nearest_phase].name)
                 << ", driving force " << number_text(found.nearest_driving_force, 5) << " RT\n";
        }
        out_ << "  Iterations: " << equilibrium_.iterations << '\n';
    }

    /// The phases that are present, or those that could be.
    std::vector<std::size_t> phases(bool present) const {
        std::vector<std::size_t> list;
        for (std::size_t i = 0; i < system_.phases.size(); ++i) {
            const PhaseResult& phase = equilibrium_.phases[i];
            // A phase of amount zero that is stable all the same stands with those that are there.
            const bool stable = phase.amount > 0.0 ||
                                (phase.can_form && !phase.dormant && phase.driving_force == 0.0);
            if (present ? stable : phase.can_form && !stable) {
                list.push_back(i);
            }
        }
        return list;
    }

    std::vector<std::size_t> by_falling(std::vector<std::size_t> list, ResultVariable variable) {
        const auto key = [&](std::size_t i) {
            const double v = value(variable, Place::of_phase(i));
            return std::isnan(v) ? -1.0 : v; // what is left open stands last
        };
        std::stable_sort(list.begin(), list.end(),
                         [&](std::size_t a, std::size_t b) { return key(a) > key(b); });
        return list;
    }

    std::ostream& out_;
    const Inputs& inputs_;
    const System& system_;
    const Units& units_;
    Results& results_;
    const Equilibrium& equilibrium_;
};

} // namespace

void list_results(std::ostream& out, const Inputs& inputs, Results& results) {
    ResultListing(out, inputs, results).print();
}

} // namespace tessara
