#include "large_file.hpp"

#include <cstdio>
#include <random>

namespace tessara {
namespace {

constexpr int Components = 12;
constexpr int GasSpecies = 1000;
constexpr int Mixtures = 99;
constexpr int MixtureSpecies = 39; // and one more in some, so that there are 5000 in all
constexpr int PurePhases = 100;
constexpr int Interactions = 120; // of each mixture, with two sets of coefficients

/// Writes records in columns, as programs do.
class Writer {
public:
    std::string text;

    void line(const std::string& words) { text += words + "\n"; }

    void species(const std::string& name) {
        line(" " + name);
        text += "   4  3";
        for (int j = 0; j < Components; ++j) {
            column("%8.1f", random_() % 4 == 0 ? double(random_() % 4) : 0.0);
        }
        text += "\n";
        for (const double limit : {1000.0, 2500.0, 6000.0}) {
            column("%11.4f", limit);
            coefficients();
            line(" 1  " + std::to_string(random_() % 1000) + ".00  99.00");
        }
    }

    /// A Redlich-Kister parameter of two constituents.
    void interaction(int count) {
        const int first = 1 + int(random_() % unsigned(count - 1));
        line("   2");
        line("  " + std::to_string(first) + "  " + std::to_string(count) + "   2");
        coefficients();
        coefficients();
    }

private:
    double draw(double scale) { return scale * (double(random_()) / 2147483648.0 - 1.0); }

    void column(const char* format, double value) {
        char cell[40];
        std::snprintf(cell, sizeof cell, format, value);
        text += cell;
    }

    /// Of 1, T, T ln T, T^2, T^3, 1/T.
    void coefficients() {
        column("%17.3f", draw(1e6));
        column("%16.6f", draw(300.0));
        column("%14.6f", draw(40.0));
        column("%16.8E", draw(1e-2));
        column("%16.8E", draw(1e-6));
        column("%16.3f", draw(5e5));
        text += "\n";
    }

    std::mt19937 random_{5000};
};

} // namespace

std::string large_file() {
    Writer out;
    const auto size = [](int mixture) {
        const int missing = 5000 - GasSpecies - PurePhases - Mixtures * MixtureSpecies;
        return MixtureSpecies + (mixture < missing ? 1 : 0);
    };
    out.line("a large system, drawn at random");
    out.text += " 12 100 " + std::to_string(GasSpecies);
    for (int m = 0; m < Mixtures; ++m) {
        out.text += (m % 15 == 0 ? "\n " : " ") + std::to_string(size(m));
    }
    out.line(" " + std::to_string(PurePhases));
    out.line(" Aa Bb Cc Dd Ee Ff Gg Hh Ii Jj Kk Ll");
    out.line(" 10.0 20.0 30.0 40.0 50.0 60.0 70.0 80.0 90.0 100.0 110.0 120.0");
    out.line("   6   1   2   3   4   5   6");
    out.line("   6   1   2   3   4   5   6");
    out.line(" GAS");
    out.line(" IDMX");
    for (int k = 0; k < GasSpecies; ++k) {
        out.species("G" + std::to_string(k));
    }
    for (int m = 0; m < Mixtures; ++m) {
        out.line(" MIXTURE" + std::to_string(m));
        out.line(" RKMP");
        for (int k = 0; k < size(m); ++k) {
            out.species("M" + std::to_string(m) + "_" + std::to_string(k));
        }
        for (int k = 0; k < Interactions; ++k) {
            out.interaction(size(m));
        }
        out.line("   0");
    }
    for (int k = 0; k < PurePhases; ++k) {
        out.species("Pure" + std::to_string(k) + "(s)");
    }
    return out.text;
}

} // namespace tessara
