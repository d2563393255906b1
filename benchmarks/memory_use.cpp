// The resident set of a large system with its work space, and before and after what a long run
// does: it has to come back to where it was.

#include "drawn_systems.hpp"

#include "engine/equilibrium/solver.hpp"
#include "engine/search/phase_map.hpp"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

namespace tessara {
namespace {

constexpr int Equilibria = 1000000;
constexpr int Loads = 10000;
constexpr int Maps = 1000;
constexpr double Megabyte = 1048576.0;

/// MB that the process holds in memory. Where the system doesn't tell the program ends.
double resident() {
    std::ifstream pages("/proc/self/statm");
    double all = 0.0;
    double held = 0.0;
    if (!(pages >> all >> held)) {
        std::fputs("memory_use: this system has no /proc/self/statm to read\n", stderr);
        std::exit(1);
    }
    return held * 4096.0 / Megabyte;
}

std::string text_of(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

EquilibriumConditions put_in(std::initializer_list<double> amounts, double t) {
    EquilibriumConditions conditions;
    conditions.t = t;
    std::size_t j = 0;
    for (const double n : amounts) {
        conditions.amounts.push_back({IncomingAmount::NoPhase, j++, n});
    }
    return conditions;
}

/// Some rounds first, so that what is taken once is there.
template <class Round>
void repeat(const char* what, int count, const Round& round) {
    for (int k = 0; k < count / 100; ++k) {
        round(k);
    }
    const double before = resident();
    for (int k = 0; k < count; ++k) {
        round(k);
    }
    std::printf("%8d %-11s %6.1f MB before, %6.1f MB after\n", count, what, before, resident());
    std::fflush(stdout);
}

void large_system() {
    const double before = resident();
    const DrawnSystem drawn = system_of_size(12, 5000);
    std::size_t constituents = 0;
    for (const Phase& phase : drawn.system->phases) {
        constituents += phase.constituents.size();
    }
    const double loaded = resident();
    Solver solver(drawn.system);
    for (const EquilibriumConditions& state : drawn.states) {
        solver.solve(state);
    }
    std::printf("a system of %zu constituents: %.1f MB, with its work space %.1f MB\n",
                constituents, loaded - before, resident() - before);
    std::fflush(stdout);
}

void long_runs() {
    const std::string text = text_of(TESSARA_DATA_DIR "/ironmaking.dat");
    const auto shipped = System::read_dat(text, "ironmaking.dat");
    Solver solver(shipped);
    // Of three components, of six, of all in turns: the parts that take part change.
    repeat("equilibria", Equilibria, [&](int k) {
        const double t = 700.0 + k % 1500;
        const double n = 1.0 + k % 7;
        solver.solve(k % 100 == 0  ? put_in({2.0, 3.0, 3.0, 0.05, n, 0.1, 0.1, 0.03, 0.02}, t)
                     : k % 10 == 0 ? put_in({0.0, 1.0, n, 2.0, 1.0}, t)
                                   : put_in({0.0, 2.0, n}, t));
    });
    repeat("loads", Loads, [&](int) { System::read_dat(text, "ironmaking.dat"); });
    Solver alloy(System::read_dat(text_of(TESSARA_ASSESSMENTS_DIR "/cr_fe.dat"), "cr_fe.dat"));
    repeat("maps", Maps, [&](int k) {
        const double iron = 0.7 + 0.0002 * (k % 1000);
        PathSolver path(alloy,
                        Path(Path::Variable::Temperature, {put_in({1.0 - iron, iron}, 900.0), {}}),
                        [] {});
        const PhaseMap map(path, 900.0, 1900.0);
    });
}

} // namespace
} // namespace tessara

int main() {
    tessara::large_system();
    tessara::long_runs();
}
