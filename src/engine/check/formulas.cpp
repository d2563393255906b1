#include "engine/check/findings.hpp"
#include "engine/data/dat_tokens.hpp"
#include "engine/text/text.hpp"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <map>
#include <optional>

// Names against numbers: the molar mass of a component whose name is that of an element, and the
// amounts of a substance whose name spells a formula.

namespace tessara::checks {
namespace {

struct Element {
    std::string_view symbol;
    /// Standard atomic weight, IUPAC 2021, abridged; a whole number is the mass number of a
    /// long-lived isotope of an element that has none.
    double weight;
};

constexpr std::array Elements{
    Element{"H", 1.008},         Element{"He", 4.002602},    Element{"Li", 6.94},
    Element{"Be", 9.0121831},    Element{"B", 10.81},        Element{"C", 12.011},
    Element{"N", 14.007},        Element{"O", 15.999},       Element{"F", 18.998403162},
    Element{"Ne", 20.1797},      Element{"Na", 22.98976928}, Element{"Mg", 24.305},
    Element{"Al", 26.9815384},   Element{"Si", 28.085},      Element{"P", 30.973761998},
    Element{"S", 32.06},         Element{"Cl", 35.45},       Element{"Ar", 39.95},
    Element{"K", 39.0983},       Element{"Ca", 40.078},      Element{"Sc", 44.955907},
    Element{"Ti", 47.867},       Element{"V", 50.9415},      Element{"Cr", 51.9961},
    Element{"Mn", 54.938043},    Element{"Fe", 55.845},      Element{"Co", 58.933194},
    Element{"Ni", 58.6934},      Element{"Cu", 63.546},      Element{"Zn", 65.38},
    Element{"Ga", 69.723},       Element{"Ge", 72.63},       Element{"As", 74.921595},
    Element{"Se", 78.971},       Element{"Br", 79.904},      Element{"Kr", 83.798},
    Element{"Rb", 85.4678},      Element{"Sr", 87.62},       Element{"Y", 88.905838},
    Element{"Zr", 91.224},       Element{"Nb", 92.90637},    Element{"Mo", 95.95},
    Element{"Tc", 97.0},         Element{"Ru", 101.07},      Element{"Rh", 102.90549},
    Element{"Pd", 106.42},       Element{"Ag", 107.8682},    Element{"Cd", 112.414},
    Element{"In", 114.818},      Element{"Sn", 118.71},      Element{"Sb", 121.76},
    Element{"Te", 127.6},        Element{"I", 126.90447},    Element{"Xe", 131.293},
    Element{"Cs", 132.90545196}, Element{"Ba", 137.327},     Element{"La", 138.90547},
    Element{"Ce", 140.116},      Element{"Pr", 140.90766},   Element{"Nd", 144.242},
    Element{"Pm", 145.0},        Element{"Sm", 150.36},      Element{"Eu", 151.964},
    Element{"Gd", 157.25},       Element{"Tb", 158.925354},  Element{"Dy", 162.5},
    Element{"Ho", 164.930329},   Element{"Er", 167.259},     Element{"Tm", 168.934219},
    Element{"Yb", 173.045},      Element{"Lu", 174.9668},    Element{"Hf", 178.486},
    Element{"Ta", 180.94788},    Element{"W", 183.84},       Element{"Re", 186.207},
    Element{"Os", 190.23},       Element{"Ir", 192.217},     Element{"Pt", 195.084},
    Element{"Au", 196.96657},    Element{"Hg", 200.592},     Element{"Tl", 204.38},
    Element{"Pb", 207.2},        Element{"Bi", 208.9804},    Element{"Po", 209.0},
    Element{"At", 210.0},        Element{"Rn", 222.0},       Element{"Fr", 223.0},
    Element{"Ra", 226.0},        Element{"Ac", 227.0},       Element{"Th", 232.0377},
    Element{"Pa", 231.03588},    Element{"U", 238.02891},    Element{"Np", 237.0},
    Element{"Pu", 244.0},        Element{"Am", 243.0},       Element{"Cm", 247.0},
    Element{"Bk", 247.0},        Element{"Cf", 251.0},       Element{"Es", 252.0},
    Element{"Fm", 257.0},        Element{"Md", 258.0},       Element{"No", 259.0},
    Element{"Lr", 262.0},        Element{"Rf", 267.0},       Element{"Db", 268.0},
    Element{"Sg", 269.0},        Element{"Bh", 270.0},       Element{"Hs", 269.0},
    Element{"Mt", 277.0},        Element{"Ds", 281.0},       Element{"Rg", 282.0},
    Element{"Cn", 285.0},        Element{"Nh", 286.0},       Element{"Fl", 290.0},
    Element{"Mc", 290.0},        Element{"Lv", 293.0},       Element{"Ts", 294.0},
    Element{"Og", 294.0}};

constexpr double ElectronMass = 0.00054858; // g/mol

/// Older tables differ by less; a wrong digit makes more.
constexpr double WeightTolerance = 2e-3;
/// For elements without a standard weight tables name different isotopes.
constexpr double IsotopeTolerance = 3e-2;
/// Names round the amounts that they spell, as in "Fe0.95O".
constexpr double AmountTolerance = 2e-2;

const Element* find_element(std::string_view symbol) {
    const auto found = std::find_if(Elements.begin(), Elements.end(),
                                    [&](const Element& one) { return one.symbol == symbol; });
    return found == Elements.end() ? nullptr : &*found;
}

bool is_upper(char c) {
    return c >= 'A' && c <= 'Z';
}
bool is_lower(char c) {
    return c >= 'a' && c <= 'z';
}
bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

/// The element that a component's name stands for; files in capitals write "FE" for "Fe".
const Element* element_of(const std::string& component) {
    if (const Element* exact = find_element(component)) {
        return exact;
    }
    std::string symbol = component;
    for (std::size_t k = 1; k < symbol.size(); ++k) {
        symbol[k] = static_cast<char>(std::tolower(static_cast<unsigned char>(symbol[k])));
    }
    return symbol.size() == 2 ? find_element(symbol) : nullptr;
}

using Amounts = std::map<std::string_view, double>;

/// Reads the formula at the start of a name: elements and brackets with numbers. What follows it
/// must be a label, as "(gr)", "_alpha" or "[2+]"; else the name is no formula.
class FormulaReader {
public:
    explicit FormulaReader(std::string_view name) : name_(name) {}

    std::optional<Amounts> read() {
        Amounts amounts = items();
        const bool ended = at_ == name_.size() ||
                           std::string_view("([{_-+#,/").find(name_[at_]) != std::string_view::npos;
        return !amounts.empty() && ended ? std::optional(std::move(amounts)) : std::nullopt;
    }

private:
    Amounts items() {
        Amounts amounts;
        while (at_ < name_.size() && (element(amounts) || group(amounts))) {
        }
        return amounts;
    }

    bool element(Amounts& amounts) {
        if (!is_upper(name_[at_])) {
            return false;
        }
        const bool two = at_ + 1 < name_.size() && is_lower(name_[at_ + 1]);
        const Element* found = find_element(name_.substr(at_, two ? 2 : 1));
        if (found == nullptr) {
            return false;
        }
        at_ += two ? 2 : 1;
        amounts[found->symbol] += number();
        return true;
    }

    /// "(OH)2"; what does not read so is a label, "(S)" and "(L)" at the end too.
    bool group(Amounts& amounts) {
        if (name_[at_] != '(' || depth_ > 8) {
            return false;
        }
        const std::size_t start = at_++;
        ++depth_;
        const Amounts inside = items();
        --depth_;
        const bool closed = at_ < name_.size() && name_[at_] == ')';
        const bool label = closed && at_ - start == 2 && at_ + 1 == name_.size();
        if (!closed || inside.empty() || label) {
            at_ = start;
            return false;
        }
        ++at_;
        const double times = number();
        for (const auto& [symbol, amount] : inside) {
            amounts[symbol] += times * amount;
        }
        return true;
    }

    /// Digits with a decimal point among them; 1 where there are none.
    double number() {
        const std::size_t start = at_;
        while (at_ < name_.size() &&
               (is_digit(name_[at_]) || (name_[at_] == '.' && at_ > start &&
                                         at_ + 1 < name_.size() && is_digit(name_[at_ + 1])))) {
            ++at_;
        }
        return parse_number(name_.substr(start, at_ - start)).value_or(1.0);
    }

    std::string_view name_;
    std::size_t at_ = 0;
    int depth_ = 0;
};

void check_masses(const System& system, Findings& findings) {
    for (const Component& component : system.components) {
        const Element* element = component.electron ? nullptr : element_of(component.name);
        if (element == nullptr && !component.electron) {
            continue;
        }
        const double expected = component.electron ? ElectronMass : element->weight;
        const bool isotope = component.electron || expected == std::floor(expected);
        const double tolerance = isotope ? IsotopeTolerance : WeightTolerance;
        if (std::abs(component.molar_mass - expected) > tolerance * expected) {
            findings.add(
                Rule::MolarMass, component.mass_line, "component " + quoted(component.name),
                "its molar mass is " + number_text(component.molar_mass, 8) + " g/mol; that of " +
                    (component.electron ? std::string("an electron")
                                        : "the element " + std::string(element->symbol)) +
                    " is " + number_text(expected, 8));
        }
    }
}

/// Compares formulas with amounts; only where all components are elements named by their symbols.
class FormulaCheck {
public:
    FormulaCheck(const System& system, Findings& findings) : system_(system), findings_(findings) {}

    void run() {
        for (std::size_t j = 0; j < system_.components.size(); ++j) {
            const Component& component = system_.components[j];
            if (component.electron) {
                continue;
            }
            const Element* element = find_element(component.name);
            if (element == nullptr) {
                return;
            }
            places_[element->symbol] = j;
        }
        for_each_phase(system_, [&](const Phase& phase, std::size_t) {
            for (const Constituent& one : phase.constituents) {
                compare(one, of_constituent(phase, one));
            }
        });
        for (const Constituent& dummy : system_.dummies) {
            compare(dummy, of_dummy(dummy));
        }
    }

private:
    void compare(const Constituent& one, const std::string& subject) {
        const std::optional<Amounts> spelled = FormulaReader(one.name).read();
        // Letters that are no components here are hardly meant as elements.
        if (!spelled || !std::all_of(spelled->begin(), spelled->end(), [&](const auto& item) {
                return places_.contains(item.first);
            })) {
            return;
        }
        double mass = 0.0;
        bool same = true;
        for (const auto& [symbol, j] : places_) {
            const auto found = spelled->find(symbol);
            const double amount = found == spelled->end() ? 0.0 : found->second;
            mass += amount * system_.components[j].molar_mass;
            same = same && std::abs(amount - one.stoichiometry[j]) <=
                               AmountTolerance * std::max(1.0, amount);
        }
        if (!same) {
            findings_.add(Rule::Formula, one.line, subject,
                          "the name spells " + number_text(mass, 6) +
                              " g/mol, the amounts of its components give " +
                              number_text(one.molar_mass, 6));
        }
    }

    const System& system_;
    Findings& findings_;
    std::map<std::string_view, std::size_t> places_;
};

} // namespace

void check_formulas(const System& system, Findings& findings) {
    check_masses(system, findings);
    FormulaCheck(system, findings).run();
}

} // namespace tessara::checks
