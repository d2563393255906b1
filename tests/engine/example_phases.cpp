#include "example_phases.hpp"

#include <sstream>
#include <stdexcept>

namespace tessara::test {
namespace {

using Names = std::vector<std::string>;

std::string padded(const std::string& coefficients) {
    std::istringstream words(coefficients);
    std::string word;
    int count = 0;
    while (words >> word) {
        ++count;
    }
    std::string text = coefficients;
    for (; count < 6; ++count) {
        text += " 0";
    }
    return text;
}

/// Coefficient sets, one a line.
std::string sets(const Names& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += padded(line) + "\n";
    }
    return text;
}

/// A pair of a quasichemical phase.
std::string pair_text(const std::string& name, const std::string& stoichiometry,
                      const std::string& coefficients, const std::string& moles,
                      const std::string& zeta = "") {
    return species_text(name, stoichiometry, coefficients) + moles + " 0 0 0\n" +
           (zeta.empty() ? "" : zeta + "\n");
}

std::string whole_file(const Names& components, int count, const std::string& block) {
    return file_head(components, count) + block + pure_phases(components);
}

std::vector<std::string> lines_of(const std::string& text) {
    std::istringstream in(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    return text;
}

} // namespace

std::string file_head(const Names& components, int count) {
    std::string text = "one phase of invented substances\n" + std::to_string(components.size()) +
                       " 2 0 " + std::to_string(count) + " " + std::to_string(components.size()) +
                       "\n";
    std::string masses;
    for (std::size_t k = 0; k < components.size(); ++k) {
        text += (k > 0 ? " " : "") + components[k];
        masses += (k > 0 ? " " : "") + std::to_string(10 * (k + 1));
    }
    return text + "\n" + masses + "\n6 1 2 3 4 5 6\n6 1 2 3 4 5 6\n";
}

std::string pure_phases(const Names& components) {
    std::string text;
    for (std::size_t k = 0; k < components.size(); ++k) {
        std::string stoichiometry;
        for (std::size_t j = 0; j < components.size(); ++j) {
            stoichiometry += j == k ? " 1" : " 0";
        }
        text += species_text(components[k] + "(pure)", stoichiometry, "200000");
    }
    return text;
}

std::string species_text(const std::string& name, const std::string& stoichiometry,
                         const std::string& coefficients) {
    return name + "\n1 1 " + stoichiometry + "\n6000 " + padded(coefficients) + "\n";
}

std::string quasichemical_term_text(const std::string& code, const std::string& more,
                                    const std::string& coefficients) {
    return "3\n" + code + "\n0 1 0 1 0 1\n0 0 0 0 0 0\n" + more + " " + padded(coefficients) + "\n";
}

std::string with_line(const std::string& text, int line, const std::string& other) {
    std::vector<std::string> lines = lines_of(text);
    lines.at(static_cast<std::size_t>(line - 1)) = other;
    return joined(lines);
}

std::string without_line(const std::string& text, int line) {
    std::vector<std::string> lines = lines_of(text);
    lines.erase(lines.begin() + (line - 1));
    return joined(lines);
}

int line_of(const std::string& text, const std::string& line, int from) {
    const std::vector<std::string> lines = lines_of(text);
    for (std::size_t k = static_cast<std::size_t>(from - 1); k < lines.size(); ++k) {
        if (lines[k] == line) {
            return static_cast<int>(k) + 1;
        }
    }
    throw std::out_of_range("no line " + line);
}

std::string gas_and_melt_text() {
    return R"(two components, gas and melt
2 2 3 2 4
A B
227 247
6 1 2 3 4 5 6
6 1 2 3 4 5 6
VAPOUR
IDMX
A
1 1   1 0
6000  180000 -20 -20.8 0 0 0
A2
4 2   2 0
1200  210000 45 -37 -5e-4 2e-8 15000
1  -120 0.5
6000  205000 60 -38.5 0 0 0
0
AB
4 1   1 1
6000  60000 30 -36.5 0 0 0
2  850 99  -2.5e6 -2
MELT
RKMP
A
4 2   1 0
1000  -5000 120 -24 -3e-3 -4e-7 60000
1  7.5e-20 7
3000  2500 172.5 -32 0 0 0
0
B
1 2   0 1
900   -3000 135 -26 5e-4 -1.2e-6 75000
4000  -9000 195 -34 0 0 0
2
1 2 3
-14000 6.5 0 0 0 0
3200 -1.1 0 0 0 0
-900 0 0 0 0 250000
0
AB2_alpha(s)
4 2   1 2
900   -95000 380 -72 -4.5e-3 0 310000
3  -420 0.5  1500 99  -8e6 -2
1400  -101000 470 -85 0 0 0
0
AB2_beta(s2)
1 1   1 2
1400  -93000 432 -80 0 0 0
A(s)    #
1 1   1 0
6001  0 0 0 0 0 0
B(s)    #
1 1   0 1
6001  0 0 0 0 0 0
)";
}

std::string magnetic_solid_text() {
    const std::string solid = R"(SOLID
RKMPM
0.333333 0.28
A
16 2   1 0 0
1500  1500 130 -24.5 -3.2e-3 -6e-8 70000
0
6000  -22000 295 -45 0 0 0
1  2e31 -9
1180 1.9
B
13 1   0 1 0
6000  -2500 140 -26 -1.5e-3 0 50000
-930 -1.65
C
4 1    0 0 1
6000  -7000 150 -27.5 0 -2e-7 80000
0
2
1 2 2
450 -0.35
-210 0.12
2
1 3 1
-130 0.2
0
2
1 2 2
-18500 4.2 0 0 0 0
2700 -0.9 0 0 0 0
2
3 1 2
6100 -1.3 0 0 0 0
-3300 0 0 0 0 0
2
2 3 1
-4200 0 0.25 0 0 0
3
1 2 3 3
21000 -5 0 0 0 0
-9000 0 0 0 0 0
15000 2.5 0 0 0 0
0
)";
    return "three components, magnetic\n3 3 0 3 3 2\nA B C\n227 247 251\n"
           "6 1 2 3 4 5 6\n6 1 2 3 4 5 6\n" +
           solid + solid + R"(A_FERRO
16 2   1 0 0
1500  300 125 -23.5 -4.4e-3 -5.9e-8 77000
0
6000  -25000 299 -46 0 0 0
1  2.3e31 -9
1043 2.22 1 0.4
B2C_ANTI
13 1   0 2 1
6000  -48000 430 -78 -2e-3 0 150000
-120 -0.9 0.333333 0.28
)";
}

std::string charged_ions_text() {
    return R"(ions of one phase
4 2 0 3 1
A B C e(IONS)
227 247 251 0.00054858
6 1 2 3 4 5 6
6 1 2 3 4 5 6
IONS
IDMX
A[2+]
1 1   1 0 0 -2
6000  -60000 100 -24 0 0 0
B[-]
1 1   0 1 0 1
6000  -45000 105 -25 0 0 0
AB2
1 1   1 2 0 0
6000  -140000 330 -74 0 0 0
C3(s)
1 1   0 0 3 0
6000  -12000 372 -72 0 0 0
)";
}

std::string two_equivalents_text() {
    return file_head({"Aa", "Cc"}, 2) + "MATTE\nQKTO\n" +
           species_text("Aa2", "2 0", "-4000 230 -44") + "2 1\n" +
           species_text("Cc", "0 1", "-3500 122 -24") +
           "1 1\n2\n1 2 1 1 -15000 3 0 0 0 0\n2\n1 2 1 2 4400 0 0 0 0 0\n0\n" +
           pure_phases({"Aa", "Cc"});
}

std::string sublattice_text() {
    return whole_file(
        {"Aa", "Bb", "Cc", "Xx"}, 9,
        "ETA\nSUBL\n"
        "Aa:Xx\n4 2 2 0 0 1\n2000 -210000 350 -61 -0.004 0 250000\n2 -1200 0.5 350 99\n"
        "6000 -215000 354 -61 0 0 0\n0\n" +
            species_text("Aa:Cc", "2 0 1 0", "-128000 460 -77 -0.005") +
            species_text("Aa:Va", "2 0 0 0", "-111000 304 -52 -0.004") +
            species_text("Bb:Xx", "0 2 0 1", "-195000 330 -59 -0.003 0 250000") +
            species_text("Bb:Cc", "0 2 1 0", "-113000 440 -75 -0.004") +
            species_text("Bb:Va", "0 2 0 0", "-96000 284 -50 -0.003") +
            species_text("Cc:Xx", "0 0 2 1", "-150000 320 -58 -0.0025 0 250000") +
            species_text("Cc:Cc", "0 0 3 0", "-68000 430 -74 -0.0035") +
            species_text("Cc:Va", "0 0 2 0", "-51000 274 -49 -0.0025") +
            "2\n2 1\n3 3\nAa Bb Cc\nXx Cc Va\n1 1 1 2 2 2 3 3 3\n1 2 3 1 2 3 1 2 3\n"
            "3\n1 2 4 2\n" +
            sets({"-12000 3", "2500 0 0.1"}) + "3\n1 3 6 1\n" + sets({"15000 -4"}) +
            "3\n1 4 6 2\n" + sets({"-22000 5", "6000"}) + "3\n2 4 5 1\n" + sets({"8000"}) +
            "4\n1 2 3 6 3\n" + sets({"9000 1", "-4000", "2000 0.5"}) + "4\n1 2 3 4 1\n" +
            sets({"-7000 2"}) + "0\n");
}

std::string reciprocal_text() {
    return whole_file({"Aa", "Bb", "Xx"}, 4,
                      "RECIPROCAL\nSUBL\n" + species_text("Aa:Xx", "1 0 1", "-160000 140 -25") +
                          species_text("Aa:Va", "1 0 0", "-96000 117 -25") +
                          species_text("Bb:Xx", "0 1 1", "-150000 130 -24") +
                          species_text("Bb:Va", "0 1 0", "-86000 107 -24") +
                          "2\n1 1\n2 2\nAa Bb\nXx Va\n1 1 2 2\n1 2 1 2\n4\n1 2 3 4 3\n" +
                          sets({"-20000 2", "5000", "-3000"}) + "0\n");
}

std::string ordering_magnetic_text() {
    const auto member = [](const std::string& name, const std::string& stoichiometry,
                           const std::string& coefficients, const std::string& magnetic) {
        return name + "\n13 1 " + stoichiometry + "\n6000 " + padded(coefficients) + "\n" +
               magnetic + "\n";
    };
    return whole_file(
        {"Aa", "Bb", "Xx"}, 8,
        "ORDERED\nSUBLM\n1.0 0.4\n" + member("Aa:Aa:Xx", "1 0 3", "172000 184 -54 -0.0044", "0 0") +
            member("Aa:Aa:Va", "1 0 0", "-8000 124 -24 -0.0044", "1000 2.2") +
            member("Aa:Bb:Xx", "0.5 0.5 3", "167000 189 -54.4 -0.0037", "0 0") +
            member("Aa:Bb:Va", "0.5 0.5 0", "-13000 129 -24.4 -0.0037", "1260 1.8") +
            member("Bb:Aa:Xx", "0.5 0.5 3", "167000 189 -54.4 -0.0037", "0 0") +
            member("Bb:Aa:Va", "0.5 0.5 0", "-13000 129 -24.4 -0.0037", "1260 1.8") +
            member("Bb:Bb:Xx", "0 1 3", "174000 192 -54.8 -0.003", "0 0") +
            member("Bb:Bb:Va", "0 1 0", "-6000 132 -24.8 -0.003", "1400 1.4") +
            "3\n0.5 0.5 3\n2 2 2\nAa Bb\nAa Bb\nXx Va\n"
            "1 1 1 1 2 2 2 2\n1 1 2 2 1 1 2 2\n1 2 1 2 1 2 1 2\n"
            "4\n1 2 3 6 2\n250 0.6\n-120 0.2\n4\n1 3 4 6 1\n180 0.3\n0\n"
            "4\n1 2 3 6 2\n" +
            sets({"-5000 1", "800"}) + "4\n1 3 4 6 2\n" + sets({"-5000 1", "800"}) +
            "4\n2 4 5 6 1\n" + sets({"-3000"}) + "4\n1 3 5 6 1\n" + sets({"-9000 2"}) + "0\n");
}

std::string antiferromagnetic_text() {
    const auto member = [](const std::string& name, const std::string& stoichiometry,
                           const std::string& coefficients, const std::string& magnetic) {
        return name + "\n16 1 " + stoichiometry + "\n6000 " + padded(coefficients) + "\n0\n" +
               magnetic + "\n";
    };
    return whole_file({"Aa", "Bb", "Xx"}, 4,
                      "ANTIFERRO\nSUBLM\n0.333333 0.28\n" +
                          member("Aa:Xx", "1 0 1", "67000 95 -22.6", "0 0") +
                          member("Aa:Va", "1 0 0", "-3000 65 -12.6", "-2400 -1.9") +
                          member("Bb:Xx", "0 1 1", "67500 94 -22.2", "0 0") +
                          member("Bb:Va", "0 1 0", "-2500 64 -12.2", "-1500 -2.1") +
                          "2\n1 1\n2 2\nAa Bb\nXx Va\n1 1 2 2\n1 2 1 2\n"
                          "3\n1 2 4 2\n-300 0\n150 -0.5\n0\n3\n1 2 4 1\n" +
                          sets({"-4000 2"}) + "3\n1 3 4 1\n" + sets({"-15000"}) + "0\n");
}

std::string ionic_liquid_text() {
    return whole_file({"Aa", "Bb", "Xx", "Nn"}, 8,
                      "LIQUID\nSUBI\n" + species_text("Aa+2:Xx-2", "2 0 2 0", "-1190000 420 -120") +
                          species_text("Aa+2:Va", "1 0 0 0", "5000 60 -18") +
                          species_text("Nn   * 2.00", "0 0 0 2", "120000 180 -48") +
                          species_text("BbXx3/2   * 2.00", "0 2 3 0", "-1540000 600 -160") +
                          species_text("Bb+3:Xx-2", "0 2 3 0", "-1590000 640 -165") +
                          species_text("Bb+3:Va", "0 1 0 0", "6000 70 -19") +
                          species_text("Nn   * 3.00", "0 0 0 3", "180000 270 -72") +
                          species_text("BbXx3/2   * 3.00", "0 3 4.5 0", "-2310000 900 -240") +
                          "2 4\nAa+2 Bb+3\nXx-2 Va Nn\nBbXx3/2\n2\n2 3\n-2 -1 0 0\n"
                          "1 1 1 1 2 2 2 2\n1 2 3 4 1 2 3 4\n"
                          "3\n1 2 3 2\n" +
                          sets({"-40000 6", "9000"}) + "3\n1 3 4 2\n" +
                          sets({"30000 -5", "-7000"}) + "3\n2 3 6 2\n" +
                          sets({"-15000 2", "4000"}) + "3\n1 2 4 2\n" + sets({"-12000 3", "2500"}) +
                          "3\n1 4 5 2\n" + sets({"22000", "-6000 1"}) + "3\n1 5 6 1\n" +
                          sets({"18000"}) + "4\n1 3 4 5 3\n" + sets({"9000", "-5000", "3000"}) +
                          "4\n1 4 5 6 3\n" + sets({"-8000", "4000", "6000 1"}) + "4\n1 2 3 4 3\n" +
                          sets({"-25000", "8000", "-5000"}) + "4\n1 2 4 5 3\n" +
                          sets({"12000", "-9000", "7000"}) + "0\n");
}

std::string ion_sublattices_text() {
    const auto pair = [](const std::string& name, const std::string& stoichiometry,
                         const std::string& coefficients, const std::string& moles) {
        return species_text(name, stoichiometry, coefficients) + moles + "\n";
    };
    return whole_file({"Aa", "Bb", "Cc", "Xx", "Yy"}, 6,
                      "IONS\nSUBM\n" + pair("AaXx", "1 0 0 1 0", "-620000 390 -64", "1 1") +
                          pair("BbXx", "0 1 0 1 0", "-580000 430 -70", "1 1") +
                          pair("CcXx2", "0 0 1 2 0", "-1130000 600 -95", "1 2") +
                          pair("Aa2Yy", "2 0 0 0 1", "-610000 520 -85", "2 1") +
                          pair("Bb2Yy", "0 2 0 0 1", "-440000 560 -92", "2 1") +
                          pair("CcYy", "0 0 1 0 1", "-570000 410 -66", "1 1") +
                          "3 2\nAa Bb Cc\nXx Yy\n1 1 2\n1 1 2\n1 2\n1 2\n"
                          "1 2 3 1 2 3\n1 1 1 2 2 2\n"
                          "3\n1 2 1 1 0 4 -8000 2 0 0 0 0\n3\n1 3 1 2 0 4 -15000 0 0 0 0 0\n"
                          "3\n2 3 2 1 0 5 5000 0 0 0 0 0\n3\n4 5 1 1 0 1 12000 -3 0 0 0 0\n"
                          "4\n1 2 3 1 1 1 0 4 -20000 0 0 0 0 0\n0\n");
}

std::string quasichemical_text() {
    const auto term = quasichemical_term_text;
    return whole_file(
        {"Aa", "Bb", "Cc", "Xx", "Yy"}, 18,
        "SALT\nSUBG\n2.4\n6 7\n" + pair_text("AaXx", "1 0 0 1 0", "-560000 430 -70", "1 1") +
            pair_text("BbXx", "0 1 0 1 0", "-570000 420 -72", "1 1") +
            pair_text("CcXx2", "0 0 1 2 0", "-1210000 560 -98", "1 2") +
            pair_text("Aa2Yy", "2 0 0 0 1", "-400000 520 -92", "2 1") +
            pair_text("Bb2Yy", "0 2 0 0 1", "-410000 530 -95", "2 1") +
            pair_text("CcYy", "0 0 1 0 1", "-440000 380 -66", "1 1") +
            "3 2\nAa Bb Cc\nXx Yy\n1 1 2\n1 1 2\n1 2\n1 2\n1 2 3 1 2 3\n1 1 1 2 2 2\n"
            "1 1 4 4 6 6 6 6\n2 2 4 4 5 5 5 5\n3 3 4 4 6 6 3 3\n"
            "1 1 5 5 5 5 10 10\n2 2 5 5 4 4 8 8\n3 3 5 5 6 6 6 6\n1 3 4 4 3 6 3 3\n" +
            term("G 1 2 4 4 0 0 0 0", "0 0", "-5000 2") +
            term("G 1 3 4 4 1 0 0 0", "0 0", "-8000") +
            term("G 1 3 4 4 0 2 0 0", "0 0", "3000 -1") +
            term("Q 2 3 4 4 1 1 0 0", "0 0", "-14000") + term("G 1 3 4 4 0 0 1 0", "2 0", "-6000") +
            term("G 2 3 4 4 0 1 2 0", "1 0", "4500") + term("G 1 2 4 4 0 0 2 0", "3 0", "2500") +
            term("Q 1 3 5 5 0 1 0 0", "0 0", "7000") + term("G 1 1 4 5 0 0 0 0", "0 0", "9000 -2") +
            term("G 3 3 4 5 0 0 0 0", "0 0", "-2000") + "0\n");
}

std::string quasichemical_anions_text() {
    const auto term = quasichemical_term_text;
    return whole_file(
        {"Aa", "Bb", "Xx", "Yy", "Zz"}, 18,
        "ANIONS\nSUBG\n2.4\n6 6\n" + pair_text("AaXx", "1 0 1 0 0", "-560000 430 -70", "1 1") +
            pair_text("BbXx", "0 1 1 0 0", "-570000 420 -72", "1 1") +
            pair_text("AaYy", "1 0 0 1 0", "-395000 410 -68", "1 1") +
            pair_text("BbYy", "0 1 0 1 0", "-420000 415 -71", "1 1") +
            pair_text("AaZz", "1 0 0 0 1", "-350000 400 -67", "1 1") +
            pair_text("BbZz", "0 1 0 0 1", "-380000 405 -69", "1 1") +
            "2 3\nAa Bb\nXx Yy Zz\n1 1\n1 1\n1 1 1\n1 1 2\n1 2 1 2 1 2\n"
            "1 1 2 2 3 3\n"
            "1 1 3 3 6 6 6 6\n2 2 3 3 5 5 5 5\n1 1 4 4 6 6 6 6\n"
            "2 2 4 4 5 5 5 5\n1 1 5 5 6 6 6 6\n2 2 5 5 5 5 5 5\n" +
            term("G 1 1 3 5 1 0 0 0", "0 0", "-7000 2") + term("Q 2 2 4 5 0 2 0 0", "0 0", "6000") +
            term("G 1 1 3 5 0 0 0 1", "0 4", "-3000") + term("G 1 1 3 4 0 1 0 2", "0 5", "4000") +
            term("G 1 2 3 3 1 0 0 0", "0 0", "-2500") + "0\n");
}

std::string quasichemical_half_text() {
    const auto term = quasichemical_term_text;
    return whole_file(
        {"Aa", "Bb", "Xx", "Yy"}, 18,
        "SLAG\nSUBQ\n6 7\n" + pair_text("AaXx", "1 0 1 0", "-240000 350 -62", "1 1", "1.4") +
            pair_text("AaYy2", "1 0 0 2", "-680000 560 -95", "1 2", "2.4") +
            pair_text("Aa2Xx3", "2 0 3 0", "-740000 850 -145", "2 3", "1.68") +
            pair_text("AaYy3", "1 0 0 3", "-980000 760 -125", "1 3", "2.4") +
            pair_text("BbXx", "0 1 1 0", "-590000 360 -62", "1 1", "1.4") +
            pair_text("BbYy2", "0 1 0 2", "-1190000 560 -98", "1 2", "3.0") +
            "3 2\nAa2+ Aa3+ Bb\nXx Yy\n2 3 2\n1 1 2\n2 1\n1 1\n1 1 2 2 3 3\n"
            "1 2 1 2 1 2\n"
            "1 1 4 4 1.4 1.4 1.4 1.4\n2 2 4 4 2.1 2.1 1.4 1.4\n"
            "3 3 4 4 1.4 1.4 1.4 1.4\n1 1 5 5 4 4 2 2\n2 2 5 5 6 6 2 2\n"
            "3 3 5 5 5 5 2.5 2.5\n1 1 4 5 2.4 2.4 1.6 2.4\n" +
            term("Q 1 2 4 4 0 1 0 0", "0 0", "-21000") +
            term("G 1 2 4 4 1 0 0 0", "0 0", "-6000 2") +
            term("G 2 3 4 4 0 1 0 0", "0 0", "-30000 4") +
            term("G 1 3 4 4 1 1 0 0", "0 0", "-17000") + term("G 1 3 5 5 0 0 0 0", "0 0", "2000") +
            term("G 1 1 4 5 0 0 0 0", "0 0", "12000") +
            term("Q 3 3 4 5 0 0 0 0", "0 0", "5000 -1") + "-1\n1 2 3T1 1 2K 1 3T3 2 3 4\n");
}

std::string quasichemical_pairs_text() {
    const auto term = quasichemical_term_text;
    return whole_file(
        {"Aa", "Bb", "Xx", "Yy"}, 9,
        "PAIRS\nSUBQ\n4 4\n" + pair_text("AaXx", "1 0 1 0", "-560000 430 -70", "1 1", "2.4") +
            pair_text("BbXx", "0 1 1 0", "-610000 390 -64", "1 1", "2.4") +
            pair_text("AaYy", "1 0 0 1", "-395000 410 -68", "1 1", "2.4") +
            pair_text("BbYy", "0 1 0 1", "-400000 380 -63", "1 1", "2.4") +
            "2 2\nAa Bb\nXx Yy\n1 1\n1 1\n1 1\n1 1\n1 2 1 2\n1 1 2 2\n"
            "1 1 3 3 6 6 6 6\n2 2 3 3 6 6 6 6\n1 1 4 4 6 6 6 6\n"
            "2 2 4 4 6 6 6 6\n" +
            term("G 1 2 3 3 0 0 0 0", "0 0", "-9000") + term("B 1 2 3 4 0 0 0 0", "0 0", "-3000") +
            term("B 1 2 3 3 1 0 0 0", "0 0", "1500") + "0\n");
}

std::string polynomial_text(const std::string& groups, const std::string& end) {
    std::istringstream words(groups);
    std::string group;
    const auto member = [&](const std::string& name, const std::string& stoichiometry,
                            const std::string& coefficients) {
        words >> group;
        return species_text(name, stoichiometry, coefficients) + "1 " + group + "\n";
    };
    std::string block = "SLAG\nQKTO\n";
    block += member("Aa", "1 0 0", "-1000 110 -22");
    block += member("Bb", "0 1 0", "-2000 115 -23");
    block += member("Cc", "0 0 1", "-3000 121 -24");
    block += "2\n1 2 1 1 -26000 7 0 0 0 0\n2\n1 2 3 1 11000 0 0 0 0 0\n"
             "2\n1 3 1 2 -8000 2 0 0 0 0\n2\n2 3 1 1 5200 0 0 0 0 0\n"
             "2\n2 3 2 1 -1900 0 0 0 0 0\n3\n1 2 3 1 2 1 30000 -4 0 0 0 0\n";
    return whole_file({"Aa", "Bb", "Cc"}, 3, block + end);
}

} // namespace tessara::test
