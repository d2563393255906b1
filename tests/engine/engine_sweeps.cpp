// Sweeps that must not have a single failure. `engine_sweeps [POINTS]` takes that many points of
// each, `engine_sweeps POINTS whole` all points of those that have an end and that many of the
// random ones. Each prints its count, its failures and its worst residual of each kind.

#include "sweep.hpp"

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace tessara::test {
namespace {

int sweep(const Extent& extent) {
    std::printf("%-36s %9s %9s %10s %10s %10s %11s\n", "sweep", "points", "failures", "balance",
                "potential", "force", "requirement");
    int failures = 0;
    for (const auto run : {sweep_random, sweep_gas_with_graphite, sweep_exact_mixtures,
                           sweep_corners, sweep_assessments, sweep_burning_over_ice}) {
        for (const Tally& tally : run(extent)) {
            std::printf("%-36s %9d %9d %10.1e %10.1e %10.1e %11.1e\n", tally.name.c_str(),
                        tally.points, tally.failures, tally.worst.balance, tally.worst.potential,
                        tally.worst.driving_force, tally.requirement);
            failures += tally.failures;
        }
        std::fflush(stdout);
    }
    std::printf("%-36s %9s %9s %10.1e %10.1e %10.1e %11.1e\n", "bounds", "", "0",
                Certificate::BalanceBound, Certificate::PotentialBound,
                Certificate::DrivingForceBound, Certificate::BalanceBound);
    return failures;
}

} // namespace
} // namespace tessara::test

int main(int argc, char** argv) {
    const tessara::test::Extent extent{argc > 1 ? std::atoi(argv[1]) : 1000,
                                       argc > 2 && std::string_view(argv[2]) == "whole"};
    return tessara::test::sweep(extent) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
