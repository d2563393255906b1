// Sweeps that must not have a single failure: `engine_sweeps [POINTS]` solves that many random
// states of each kind, cold and warm, and prints the count, the failures and the worst residual of
// each kind. A failure is an exception, a certificate outside its bounds, or a warm start that ends
// elsewhere.

#include "random_systems.hpp"
#include "support.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace tessara::test {
namespace {

using Draw = EquilibriumConditions (*)(Random&, const System&);

struct Tally {
    const char* name;
    int points = 0;
    int failures = 0;
    Certificate worst{};
};

std::shared_ptr<const System> shipped() {
    std::ifstream file(TESSARA_DATA_DIR "/ironmaking.dat", std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    return System::read_dat(text.str(), "ironmaking.dat");
}

void fail(Tally& tally, const System& system, const EquilibriumConditions& in, const char* why) {
    ++tally.failures;
    std::printf("  failure: %s\n    T = %.17g K, P = %.17g Pa:", why, in.t, in.p);
    for (const IncomingAmount& amount : in.amounts) {
        const std::string& name = amount.phase == IncomingAmount::NoPhase
                                      ? system.components[amount.index].name
                                      : system.phases[amount.phase].constituents[amount.index].name;
        std::printf(" %s=%.17g", name.c_str(), amount.amount);
    }
    std::printf("\n");
}

void keep_worst(Tally& tally, const Certificate& certificate) {
    tally.worst.balance = std::max(tally.worst.balance, certificate.balance);
    tally.worst.potential = std::max(tally.worst.potential, certificate.potential);
    tally.worst.driving_force = std::max(tally.worst.driving_force, certificate.driving_force);
}

bool same_potentials(const std::vector<double>& a, const std::vector<double>& b) {
    for (std::size_t j = 0; j < a.size(); ++j) {
        if (std::isnan(a[j]) != std::isnan(b[j]) ||
            std::abs(a[j] - b[j]) > 1e-9 * std::abs(a[j]) + 1e-5) {
            return false;
        }
    }
    return true;
}

/// One point, cold; then from the result of the point before it.
void solve(Tally& tally, const System& system, Solver& cold, Solver& warm,
           const EquilibriumConditions& in) {
    ++tally.points;
    try {
        const Equilibrium& first = cold.solve(in);
        keep_worst(tally, first.certificate);
        const Equilibrium& second = warm.solve(in, Solver::Start::Warm);
        if (!same_potentials(first.potentials, second.potentials)) {
            fail(tally, system, in, "a warm start ends elsewhere");
        }
    } catch (const SolveError& error) {
        fail(tally, system, in, error.what());
    }
}

int sweep(int points) {
    Random random(20);
    std::vector<Tally> tallies;
    const std::pair<const char*, Draw> draws[] = {
        {"shipped system, any amounts", random_conditions},
        {"shipped system, whole amounts", random_whole_conditions},
        {"shipped system, constituents", random_constituent_conditions},
    };
    const auto system = shipped();
    for (const auto& [name, draw] : draws) {
        Solver cold(system);
        Solver warm(system);
        tallies.push_back({name});
        for (int k = 0; k < points; ++k) {
            solve(tallies.back(), *system, cold, warm, draw(random, *system));
        }
    }
    for (std::size_t components = 2; components <= 5; ++components) {
        static const char* names[] = {"random systems of 2", "random systems of 3",
                                      "random systems of 4", "random systems of 5"};
        tallies.push_back({names[components - 2]});
        for (int k = 0; k < points; k += 50) {
            const auto drawn = random_system(random, components).read();
            Solver cold(drawn);
            Solver warm(drawn);
            for (int m = 0; m < 50; ++m) {
                const Draw draw = draws[static_cast<std::size_t>(m) % 3].second;
                solve(tallies.back(), *drawn, cold, warm, draw(random, *drawn));
            }
        }
    }
    std::printf("%-32s %9s %9s %10s %10s %10s\n", "sweep", "points", "failures", "balance",
                "potential", "force");
    int failures = 0;
    for (const Tally& tally : tallies) {
        std::printf("%-32s %9d %9d %10.1e %10.1e %10.1e\n", tally.name, tally.points,
                    tally.failures, tally.worst.balance, tally.worst.potential,
                    tally.worst.driving_force);
        failures += tally.failures;
    }
    std::printf("%-32s %9s %9s %10.1e %10.1e %10.1e\n", "bounds", "", "0",
                Certificate::BalanceBound, Certificate::PotentialBound,
                Certificate::DrivingForceBound);
    return failures;
}

} // namespace
} // namespace tessara::test

int main(int argc, char** argv) {
    const int points = argc > 1 ? std::atoi(argv[1]) : 1000;
    return tessara::test::sweep(points) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
