#include "drawn_systems.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <initializer_list>
#include <random>

namespace tessara {
namespace {

using Contents = std::vector<double>; ///< mol of each component in a mole

constexpr double ReferenceTemperature = 298.15;

std::string number(double value) {
    char text[40];
    std::snprintf(text, sizeof text, " %.12g", value);
    return text;
}

double sum(const Contents& contents) {
    double total = 0.0;
    for (const double n : contents) {
        total += n;
    }
    return total;
}

/// The same draws everywhere: the distributions of standard libraries differ.
class Draw {
public:
    explicit Draw(unsigned seed) : random_(seed) {}

    double operator()(double low, double high) {
        return low + (high - low) * static_cast<double>(random_()) / 4294967296.0;
    }
    std::size_t below(std::size_t count) { return random_() % count; }

private:
    std::mt19937 random_;
};

/// Enthalpy and entropy at 298.15 K, heat capacity a + b T; J and mol.
struct Thermal {
    double h = 0.0;
    double s = 0.0;
    double a = 0.0;
    double b = 0.0;

    void add(double factor, const Thermal& other) {
        h += factor * other.h;
        s += factor * other.s;
        a += factor * other.a;
        b += factor * other.b;
    }
    /// Coefficients of 1, T, T ln T, T^2, T^3, 1/T in the Gibbs energy.
    std::string gibbs() const {
        const double t = ReferenceTemperature;
        return number(h - a * t - 0.5 * b * t * t) + number(a - s + a * std::log(t) + b * t) +
               number(-a) + number(-0.5 * b) + " 0 0";
    }
};

/// Writes a data file part by part. Each record has two ranges of temperature, as most have.
class FileText {
public:
    explicit FileText(std::vector<std::string> components) : components_(std::move(components)) {}

    std::size_t components() const { return components_.size(); }

    void line(const std::string& words) { mixtures_ += words + "\n"; }
    /// Those that are left out at the end are zero.
    void coefficients(std::initializer_list<double> given, const std::string& before = "") {
        mixtures_ += before;
        for (const double one : given) {
            mixtures_ += number(one);
        }
        for (std::size_t k = given.size(); k < 6; ++k) {
            mixtures_ += " 0";
        }
        mixtures_ += "\n";
    }
    /// The constituents of a sublattice stand three in a line.
    void names(const std::vector<std::string>& names) {
        for (std::size_t k = 0; k < names.size(); ++k) {
            mixtures_ += names[k] + (k % 3 == 2 || k + 1 == names.size() ? "\n" : " ");
        }
    }
    void begin_gas(int species) {
        gas_count_ = species;
        line("GAS\nIDMX");
    }
    /// `count`: of constituents, or of quadruplets.
    void begin(const std::string& name, const std::string& model, std::size_t count) {
        counts_ += " " + std::to_string(count);
        ++mixture_count_;
        line(name + "\n" + model);
    }
    void species(const std::string& name, const Contents& contents, const Thermal& thermal) {
        mixtures_ += record(name, contents, thermal);
    }
    void pure(const std::string& name, const Contents& contents, const Thermal& thermal) {
        pure_ += record(name, contents, thermal);
        ++pure_count_;
    }

    std::shared_ptr<const System> system() const {
        std::string names;
        std::string masses;
        for (std::size_t j = 0; j < components_.size(); ++j) {
            names += components_[j] + " ";
            masses += std::to_string(10 * (j + 1)) + " ";
        }
        return System::read_dat("drawn\n" + std::to_string(components_.size()) + " " +
                                    std::to_string(mixture_count_ + 1) + " " +
                                    std::to_string(gas_count_) + counts_ + " " +
                                    std::to_string(pure_count_) + "\n" + names + "\n" + masses +
                                    "\n6 1 2 3 4 5 6\n6 1 2 3 4 5 6\n" + mixtures_ + pure_,
                                "drawn.dat");
    }

private:
    static std::string record(const std::string& name, const Contents& contents,
                              const Thermal& thermal) {
        std::string text = name + "\n1 2";
        for (const double n : contents) {
            text += number(n);
        }
        return text + "\n1000" + thermal.gibbs() + "\n6000" + thermal.gibbs() + "\n";
    }

    std::vector<std::string> components_;
    std::string counts_;
    std::string mixtures_;
    std::string pure_;
    int gas_count_ = 0;
    int mixture_count_ = 0;
    int pure_count_ = 0;
};

std::vector<EquilibriumConditions> draw_states(Draw& draw, int count, double low, double high,
                                               std::size_t components) {
    std::vector<EquilibriumConditions> states(static_cast<std::size_t>(count));
    for (EquilibriumConditions& state : states) {
        state.t = draw(low, high);
        for (std::size_t j = 0; j < components; ++j) {
            state.amounts.push_back({IncomingAmount::NoPhase, j, draw(0.05, 1.0)});
        }
    }
    return states;
}

/// A to Z, then AA to AZ.
std::string component_name(std::size_t j) {
    const auto letter = static_cast<char>('A' + j % 26);
    return (j < 26 ? "" : "A") + std::string(1, letter);
}

std::vector<std::string> component_names(std::size_t count) {
    std::vector<std::string> names;
    for (std::size_t j = 0; j < count; ++j) {
        names.push_back(component_name(j));
    }
    return names;
}

// --- gases ---

/// Atoms, diatomics of one element, then molecules of 2 to 5 atoms.
Contents molecule(Draw& draw, std::size_t k, std::size_t components) {
    Contents contents(components, 0.0);
    if (k < 2 * components) {
        contents[k % components] = k < components ? 1.0 : 2.0;
        return contents;
    }
    for (std::size_t atom = 0; atom < 2 + k % 4; ++atom) {
        contents[draw.below(components)] += 1.0;
    }
    return contents;
}

/// Atoms cost half a bond; molecules of several elements gain up to 90 kJ per mole of atoms.
Thermal molecule_thermal(Draw& draw, std::size_t k, const Contents& contents) {
    const double atoms = sum(contents);
    const std::size_t components = contents.size();
    Thermal thermal;
    thermal.h = k < components       ? 250000.0
                : k < 2 * components ? 0.0
                                     : -draw(20000.0, 90000.0) * atoms;
    thermal.s = 125.0 + draw(25.0, 45.0) * atoms;
    thermal.a = 12.0 + 8.0 * atoms;
    thermal.b = 2e-3 * atoms;
    return thermal;
}

// --- alloys ---

/// Metals that mix, and what they form: a regular solution gives the trend, and each substance
/// departs from it by a draw of its own.
class Metals {
public:
    Metals(Draw& draw, std::size_t count) : draw_(&draw), trend_(count, Contents(count, 0.0)) {
        for (std::size_t i = 0; i < count; ++i) {
            elements_.push_back({0.0, draw(28.0, 55.0), draw(22.0, 26.0), draw(2e-3, 6e-3)});
            for (std::size_t j = 0; j < i; ++j) {
                trend_[i][j] = trend_[j][i] = draw(-60e3, 20e3);
            }
        }
    }

    std::size_t count() const { return elements_.size(); }
    /// Of two metals, J per mole of atoms.
    double trend(std::size_t i, std::size_t j) const { return trend_[i][j]; }

    /// A solid; its energy lies off the trend by a draw between two bounds, J per mole of atoms.
    Thermal solid(const Contents& contents, double low, double high) {
        const double atoms = sum(contents);
        Thermal thermal;
        for (std::size_t i = 0; i < contents.size(); ++i) {
            thermal.add(contents[i], elements_[i]);
            for (std::size_t j = 0; j < i; ++j) {
                thermal.h += trend_[i][j] * contents[i] * contents[j] / atoms;
            }
        }
        thermal.h += atoms * (*draw_)(low, high);
        thermal.s += atoms * (*draw_)(-2.0, 2.0);
        return thermal;
    }

private:
    Draw* draw_;
    std::vector<Thermal> elements_;
    std::vector<Contents> trend_;
};

/// Atoms, and some molecules of two that hardly form.
void add_metal_gas(FileText& text, Draw& draw, Metals& metals, int molecules) {
    const std::size_t n = metals.count();
    text.begin_gas(static_cast<int>(n) + molecules);
    for (std::size_t k = 0; k < n + static_cast<std::size_t>(molecules); ++k) {
        Contents contents(n, 0.0);
        contents[k % n] += 1.0;
        if (k >= n) {
            contents[draw.below(n)] += 1.0;
        }
        const double atoms = sum(contents);
        Thermal thermal = metals.solid(contents, 0.0, 0.0);
        thermal.h += atoms > 1.0 ? 480e3 : draw(180e3, 420e3);
        thermal.s = 130.0 + 40.0 * atoms;
        thermal.a = 21.0 + 16.0 * (atoms - 1.0);
        text.species("G" + std::to_string(k), contents, thermal);
    }
}

/// Atoms, and molecules of 2 to 4 of them.
void add_molecular_gas(FileText& text, Draw& draw, Metals& metals, int molecules) {
    const std::size_t n = metals.count();
    text.begin_gas(static_cast<int>(n) + molecules);
    for (std::size_t k = 0; k < n + static_cast<std::size_t>(molecules); ++k) {
        Contents contents(n, 0.0);
        contents[k % n] += 1.0;
        for (std::size_t atom = 0; k >= n && atom < 1 + k % 3; ++atom) {
            contents[draw.below(n)] += 1.0;
        }
        const double atoms = sum(contents);
        Thermal thermal = metals.solid(contents, 0.0, 0.0);
        thermal.h += atoms * (k < n ? draw(180e3, 420e3) : draw(60e3, 200e3));
        thermal.s = 110.0 + 40.0 * atoms;
        thermal.a = 21.0 + 14.0 * (atoms - 1.0);
        text.species("G" + std::to_string(k), contents, thermal);
    }
}

/// Some of the components, in ascending order.
std::vector<std::size_t> choice(Draw& draw, std::size_t count, std::size_t components) {
    std::vector<std::size_t> left(components);
    for (std::size_t j = 0; j < components; ++j) {
        left[j] = j;
    }
    while (left.size() > count) {
        left.erase(left.begin() + static_cast<std::ptrdiff_t>(draw.below(left.size())));
    }
    return left;
}

/// Some metals, with two orders for each pair. A liquid differs by its heats of fusion.
void add_solution(FileText& text, Draw& draw, Metals& metals, const std::string& name,
                  const std::vector<std::size_t>& of, bool liquid) {
    text.begin(name, "RKMP", of.size());
    for (const std::size_t j : of) {
        Contents contents(metals.count(), 0.0);
        contents[j] = 1.0;
        Thermal thermal = metals.solid(contents, 0.0, 6000.0);
        if (liquid) {
            const double melting = draw(600.0, 1300.0);
            thermal.h += 9.0 * melting;
            thermal.s += 9.0;
        }
        text.species(name + std::to_string(j), contents, thermal);
    }
    for (std::size_t j = 0; j < of.size(); ++j) {
        for (std::size_t i = 0; i < j; ++i) {
            text.line("2\n" + std::to_string(i + 1) + " " + std::to_string(j + 1) + " 2");
            text.coefficients({metals.trend(of[i], of[j]) + draw(-8e3, 8e3), draw(-3.0, 3.0)});
            text.coefficients({draw(-8e3, 8e3)});
        }
    }
    text.line("0");
}

constexpr std::size_t Vacancy = static_cast<std::size_t>(-1);

struct Sublattice {
    double sites;
    std::vector<std::size_t> constituents; ///< components, or `Vacancy`
};

/// Two sublattices; each pair on the first interacts whatever is on the second.
void add_sublattices(FileText& text, Draw& draw, Metals& metals, const std::string& name,
                     const Sublattice& first, const Sublattice& second) {
    const std::size_t a = first.constituents.size();
    const std::size_t b = second.constituents.size();
    text.begin(name, "SUBL", a * b);
    std::string rows[2];
    for (std::size_t i = 0; i < a; ++i) {
        for (std::size_t j = 0; j < b; ++j) {
            Contents contents(metals.count(), 0.0);
            contents[first.constituents[i]] += first.sites;
            if (second.constituents[j] != Vacancy) {
                contents[second.constituents[j]] += second.sites;
            }
            text.species(name + ":" + std::to_string(i) + ":" + std::to_string(j), contents,
                         metals.solid(contents, -6e3, 8e3));
            rows[0] += std::to_string(i + 1) + " ";
            rows[1] += std::to_string(j + 1) + " ";
        }
    }
    text.line("2\n" + number(first.sites) + number(second.sites));
    text.line(std::to_string(a) + " " + std::to_string(b));
    for (const Sublattice* one : {&first, &second}) {
        std::vector<std::string> names;
        for (const std::size_t j : one->constituents) {
            names.push_back(j == Vacancy ? "Va" : component_name(j));
        }
        text.names(names);
    }
    text.line(rows[0]);
    text.line(rows[1]);
    for (std::size_t j = 0; j < a; ++j) {
        for (std::size_t i = 0; i < j; ++i) {
            for (std::size_t other = 0; other < b; ++other) {
                text.line("3\n" + std::to_string(i + 1) + " " + std::to_string(j + 1) + " " +
                          std::to_string(a + other + 1) + " 1");
                text.coefficients({draw(-2e4, 1e4), draw(-3.0, 3.0)});
            }
        }
    }
    text.line("0");
}

/// The elements first; then compounds of two or three of them, 2 to 9 atoms.
void add_compounds(FileText& text, Draw& draw, Metals& metals, std::size_t count) {
    const std::size_t n = metals.count();
    for (std::size_t k = 0; k < count; ++k) {
        Contents contents(n, 0.0);
        if (k < n) {
            contents[k] = 1.0;
        } else {
            for (const std::size_t j : choice(draw, 2 + k % 2, n)) {
                contents[j] = static_cast<double>(1 + draw.below(3));
            }
        }
        const Thermal thermal =
            k < n ? metals.solid(contents, 0.0, 2e3) : metals.solid(contents, -11e3, 4e3);
        text.pure("S" + std::to_string(k), contents, thermal);
    }
}

// --- slags ---

/// Cations A, B, C of charge 2 and D of charge 4; oxygen is the last component.
struct Oxide {
    const char* name;
    double oxygen; ///< to one cation
    Thermal solid;
    double melting; ///< K
};
const std::vector<Oxide> Oxides = {
    {"AO", 1.0, {-635e3, 38.0, 49.0, 4e-3}, 2850.0},
    {"BO", 1.0, {-601e3, 27.0, 45.0, 5e-3}, 3000.0},
    {"CO", 1.0, {-272e3, 60.0, 50.0, 6e-3}, 1650.0},
    {"DO2", 2.0, {-911e3, 42.0, 62.0, 8e-3}, 1990.0},
};
constexpr double FusionEntropy = 18.0;
/// Of A, B, C with D: the heat of forming a mole of x and 1 - x of them is this times x (1 - x).
constexpr double WithD[] = {-190e3, -120e3, -60e3};

Contents of_oxides(const std::vector<double>& moles) {
    Contents contents(5, 0.0);
    for (std::size_t i = 0; i < 4; ++i) {
        contents[i] = moles[i];
        contents[4] += moles[i] * Oxides[i].oxygen;
    }
    return contents;
}

/// A compound of the oxides, off the trend by a draw between two bounds, J per mole of oxides.
Thermal compound(Draw& draw, const std::vector<double>& moles, double low, double high) {
    Thermal thermal;
    const double all = sum(moles);
    for (std::size_t i = 0; i < 4; ++i) {
        thermal.add(moles[i], Oxides[i].solid);
        thermal.h += i < 3 ? WithD[i] * moles[i] * moles[3] / all : 0.0;
    }
    thermal.h += all * draw(low, high);
    thermal.s += all * draw(-2.0, 3.0);
    return thermal;
}

void add_slag_gas(FileText& text) {
    struct Row {
        const char* name;
        Contents contents;
        double h;
    };
    const std::vector<Row> rows = {
        {"O2", {0, 0, 0, 0, 2}, 0.0},     {"O", {0, 0, 0, 0, 1}, 249e3},
        {"A", {1, 0, 0, 0, 0}, 178e3},    {"B", {0, 1, 0, 0, 0}, 147e3},
        {"C", {0, 0, 1, 0, 0}, 415e3},    {"D", {0, 0, 0, 1, 0}, 450e3},
        {"AO", {1, 0, 0, 0, 1}, 44e3},    {"BO", {0, 1, 0, 0, 1}, 32e3},
        {"CO", {0, 0, 1, 0, 1}, 250e3},   {"DO", {0, 0, 0, 1, 1}, -100e3},
        {"DO2", {0, 0, 0, 1, 2}, -322e3},
    };
    text.begin_gas(static_cast<int>(rows.size()));
    for (const Row& row : rows) {
        const double atoms = sum(row.contents);
        text.species(row.name, row.contents,
                     {row.h, 120.0 + 42.0 * atoms, 12.0 + 10.0 * atoms, 1e-3 * atoms});
    }
}

/// Pairs of the four cations with oxygen, three terms for each two of them.
void add_melt(FileText& text, Draw& draw) {
    text.begin("SLAG", "SUBQ", 10);
    text.line("4 4");
    for (std::size_t i = 0; i < 4; ++i) {
        std::vector<double> moles(4, 0.0);
        moles[i] = 1.0;
        Thermal thermal = Oxides[i].solid;
        thermal.h += FusionEntropy * Oxides[i].melting;
        thermal.s += FusionEntropy;
        text.species(Oxides[i].name, of_oxides(moles), thermal);
        text.line("1" + number(Oxides[i].oxygen) + " 0 0 0");
        text.line(i < 3 ? "1.38" : "2.76");
    }
    text.line("4 1\nA B C\nD\nO\n2 2 2 4\n1 1 1 2\n2\n1\n1 2 3 4\n1 1 1 1");
    for (int i = 1; i <= 4; ++i) {
        const std::string cation = std::to_string(i);
        const std::string z = i < 4 ? "1.38 1.38" : "2.76 2.76";
        text.line(cation + " " + cation + " 5 5 " + z + " 1.38 1.38");
    }
    for (int j = 1; j <= 4; ++j) {
        for (int i = 1; i < j; ++i) {
            for (int power = 0; power < 3; ++power) {
                const double trend = j == 4 ? 0.4 * WithD[i - 1] : -4e3;
                const double size = power == 0 ? trend + draw(-4e3, 4e3) : draw(-15e3, 10e3);
                text.line("3\nG " + std::to_string(i) + " " + std::to_string(j) + " 5 5 0 " +
                          std::to_string(power) + " 0 0\n0 0 0 0 0 0\n0 0 0 0 0 0");
                text.coefficients({size, draw(-4.0, 4.0)}, "0 0");
            }
        }
    }
    text.line("0");
}

/// A Redlich-Kister solution of the compounds of A, B and C with so much D.
void add_oxide_solution(FileText& text, Draw& draw, const std::string& name, double cations,
                        double d) {
    text.begin(name, "RKMP", 3);
    for (std::size_t i = 0; i < 3; ++i) {
        std::vector<double> moles(4, 0.0);
        moles[i] = cations;
        moles[3] = d;
        text.species(name + std::to_string(i), of_oxides(moles), compound(draw, moles, -1e3, 2e3));
    }
    for (const char* pair : {"1 2", "1 3", "2 3"}) {
        text.line("2\n" + std::string(pair) + " 2");
        text.coefficients({cations * draw(2e3, 25e3)});
        text.coefficients({cations * draw(-5e3, 5e3)});
    }
    text.line("0");
}

/// The metals, the oxides, a higher oxide of C, and mixed oxides.
void add_slag_compounds(FileText& text, Draw& draw, int count) {
    int k = 0;
    const auto add = [&](const Contents& contents, const Thermal& thermal) {
        text.pure("S" + std::to_string(k++), contents, thermal);
    };
    for (std::size_t i = 0; i < 4; ++i) {
        Contents metal(5, 0.0);
        metal[i] = 1.0;
        add(metal, {0.0, 30.0, 25.0, 5e-3});
        std::vector<double> moles(4, 0.0);
        moles[i] = 1.0;
        add(of_oxides(moles), compound(draw, moles, 0.0, 0.0));
    }
    add({0, 0, 2, 0, 3}, {-824e3, 87.0, 120.0, 15e-3});
    while (k < count) {
        std::vector<double> moles(4, 0.0);
        moles[draw.below(3)] = static_cast<double>(1 + draw.below(3));
        moles[draw.below(3)] = static_cast<double>(1 + draw.below(2));
        moles[3] = static_cast<double>(k % 4);
        add(of_oxides(moles), compound(draw, moles, -7e3, 5e3));
    }
}

} // namespace

std::string drawn_gas(int species) {
    Draw draw(50);
    std::string text = "drawn species\n5 1 " + std::to_string(species) +
                       " 0\nA B C D E\n1 12 14 16 28\n6 1 2 3 4 5 6\n6 1 2 3 4 5 6\nGAS\nIDMX\n";
    for (int k = 0; k < species; ++k) {
        int a[5] = {};
        if (k < 10) {
            a[k % 5] = k < 5 ? 1 : 2;
        } else {
            for (int atom = 0; atom < 2 + k % 4; ++atom) {
                ++a[draw.below(5)];
            }
        }
        text += "S" + std::to_string(k) + "\n4 2";
        double atoms = 0.0;
        for (int n : a) {
            text += " " + std::to_string(n);
            atoms += n;
        }
        const double h = k < 5 ? 250000.0 : k < 10 ? 0.0 : -draw(20000.0, 90000.0) * atoms;
        for (const char* limit : {"1000", "6000"}) {
            char line[200];
            std::snprintf(line, sizeof line, "\n%s %.3f %.4f %.4f %.6g %.6g %.6g\n2 %.6g 4 %.6g 99",
                          limit, h, -draw(20.0, 60.0) * atoms - 80.0, -10.0 * atoms - 8.0,
                          -1e-3 * atoms, 1e-8 * atoms, 2e4 * atoms, 1e-13 * atoms, 50.0 * atoms);
            text += line;
        }
        text += "\n";
    }
    return text;
}

DrawnSystem gas_with_compounds() {
    Draw draw(12);
    constexpr std::size_t Components = 3;
    FileText text(component_names(Components));
    text.begin_gas(12);
    for (std::size_t k = 0; k < 12; ++k) {
        const Contents contents = molecule(draw, k, Components);
        text.species("G" + std::to_string(k), contents, molecule_thermal(draw, k, contents));
    }
    for (std::size_t k = 0; k < 4; ++k) {
        Contents contents(Components, 0.0);
        contents[k % Components] += 1.0;
        contents[(k + 1) % Components] += static_cast<double>(k);
        const double atoms = sum(contents);
        text.pure("S" + std::to_string(k), contents,
                  {-draw(110e3, 170e3) * atoms, 22.0 * atoms, 20.0 * atoms, 3e-3 * atoms});
    }
    return {text.system(), draw_states(draw, 500, 600.0, 2400.0, Components)};
}

DrawnSystem alloy_of_4_components() {
    Draw draw(4);
    constexpr std::size_t Components = 4;
    FileText text(component_names(Components));
    Metals metals(draw, Components);
    const std::vector<std::size_t> all = choice(draw, Components, Components);
    add_solution(text, draw, metals, "LIQUID", all, true);
    for (int k = 0; k < 5; ++k) {
        add_solution(text, draw, metals, "ALPHA" + std::to_string(k), all, false);
    }
    for (std::size_t k = 0; k < 6; ++k) {
        const Sublattice second{1.0, choice(draw, 2 + k % 3, Components)};
        add_sublattices(text, draw, metals, "BETA" + std::to_string(k),
                        {static_cast<double>(1 + k % 3), choice(draw, 4, Components)}, second);
    }
    add_compounds(text, draw, metals, 20);
    return {text.system(), draw_states(draw, 200, 500.0, 2100.0, Components)};
}

DrawnSystem slag_of_4_cations() {
    Draw draw(40);
    FileText text({"A", "B", "C", "D", "O"});
    add_slag_gas(text);
    add_melt(text, draw);
    add_oxide_solution(text, draw, "MONOXIDE", 1.0, 0.0);
    add_oxide_solution(text, draw, "OLIVINE", 2.0, 1.0);
    add_slag_compounds(text, draw, 40);
    std::vector<EquilibriumConditions> states = draw_states(draw, 200, 1400.0, 2300.0, 4);
    for (EquilibriumConditions& state : states) {
        double oxygen = draw(0.02, 0.3); // beyond what the oxides hold
        for (std::size_t i = 0; i < 4; ++i) {
            oxygen += state.amounts[i].amount * Oxides[i].oxygen;
        }
        state.amounts.push_back({IncomingAmount::NoPhase, 4, oxygen});
    }
    return {text.system(), states};
}

DrawnSystem alloy_of_9_components() {
    Draw draw(9);
    constexpr std::size_t Components = 9;
    FileText text(component_names(Components));
    Metals metals(draw, Components);
    add_metal_gas(text, draw, metals, 6);
    // 20 phases of 12 end members and 10 of 16; every third has vacancies for interstitials.
    for (std::size_t k = 0; k < 30; ++k) {
        std::vector<std::size_t> second = choice(draw, k < 20 ? 3 : 4, Components);
        if (k % 3 == 0) {
            second.back() = Vacancy;
        }
        add_sublattices(text, draw, metals, "PHASE" + std::to_string(k),
                        {static_cast<double>(1 + k % 3), choice(draw, 4, Components)},
                        {1.0, std::move(second)});
    }
    add_compounds(text, draw, metals, 60);
    return {text.system(), draw_states(draw, 40, 700.0, 1900.0, Components)};
}

DrawnSystem system_of_size(std::size_t components, std::size_t constituents) {
    Draw draw(static_cast<unsigned>(1000 * components + constituents));
    FileText text(component_names(components));
    Metals metals(draw, components);
    std::size_t left = constituents;
    const std::size_t gas = std::max(components, 3 * constituents / 10);
    add_molecular_gas(text, draw, metals, static_cast<int>(gas - components));
    left -= gas;
    const std::size_t alone = constituents / 5;
    for (int k = 0; left > alone; ++k) {
        const std::string name = "PHASE" + std::to_string(k);
        const std::size_t most = std::min<std::size_t>({components, 8, left});
        if (k % 2 == 0 || left < 8) {
            add_solution(text, draw, metals, name, choice(draw, most, components), k == 0);
            left -= most;
            continue;
        }
        const Sublattice first{static_cast<double>(1 + k % 3),
                               choice(draw, std::min<std::size_t>(components, 4), components)};
        const Sublattice second{1.0, choice(draw, 2, components)};
        add_sublattices(text, draw, metals, name, first, second);
        left -= first.constituents.size() * 2;
    }
    add_compounds(text, draw, metals, left);
    return {text.system(), draw_states(draw, 30, 700.0, 2200.0, components)};
}

} // namespace tessara
