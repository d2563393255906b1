// Times of equilibria by the size of a system, of a sweep and of phase maps. Each starts cold, at a
// temperature and composition of its own. All are solved once before the clock runs: what does not
// end in a result whose certificate holds is no figure.

#include "drawn_systems.hpp"

#include "engine/equilibrium/solver.hpp"
#include "engine/search/phase_map.hpp"

#include <benchmark/benchmark.h>

#include <fstream>
#include <sstream>
#include <string>

namespace tessara {
namespace {

/// Solves all states; what they tell of the system stands beside the times.
void check(benchmark::State& state, Solver& solver,
           const std::vector<EquilibriumConditions>& states, Solver::Start start) {
    double phases = 0.0;
    double iterations = 0.0;
    for (const EquilibriumConditions& one : states) {
        const Equilibrium& result = solver.solve(one, start);
        if (!result.certificate.holds()) {
            state.SkipWithError("a certificate does not hold");
        }
        iterations += result.iterations;
        for (const PhaseResult& phase : result.phases) {
            phases += phase.amount > 0.0 ? 1.0 : 0.0;
        }
    }
    const auto count = static_cast<double>(states.size());
    state.counters["stable phases"] = phases / count;
    state.counters["iterations"] = iterations / count;
}

/// Each run of the clock takes all states.
void time_states(benchmark::State& state, const std::shared_ptr<const System>& system,
                 const std::vector<EquilibriumConditions>& states, Solver::Start start) {
    Solver solver(system);
    try {
        check(state, solver, states, start);
        for (auto _ : state) {
            for (const EquilibriumConditions& one : states) {
                benchmark::DoNotOptimize(solver.solve(one, start).iterations);
            }
        }
    } catch (const SolveError& error) {
        state.SkipWithError(error.what());
    }
    state.counters["per equilibrium"] = benchmark::Counter(
        static_cast<double>(states.size()) * static_cast<double>(state.iterations()),
        benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void cold(benchmark::State& state, DrawnSystem (*draw)()) {
    const DrawnSystem drawn = draw();
    time_states(state, drawn.system, drawn.states, Solver::Start::Cold);
}
BENCHMARK_CAPTURE(cold, gas_with_compounds, gas_with_compounds)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(cold, alloy_of_4_components, alloy_of_4_components)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(cold, slag_of_4_cations, slag_of_4_cations)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(cold, alloy_of_9_components, alloy_of_9_components)
    ->Unit(benchmark::kMillisecond);

/// Components and constituents; `cost_against_size.py` draws it.
void cost_against_size(benchmark::State& state) {
    const auto components = static_cast<std::size_t>(state.range(0));
    const auto constituents = static_cast<std::size_t>(state.range(1));
    const DrawnSystem drawn = system_of_size(components, constituents);
    time_states(state, drawn.system, drawn.states, Solver::Start::Cold);
}
void sizes(benchmark::internal::Benchmark* benchmark) {
    for (const int components : {2, 4, 8, 16, 40}) {
        for (const int constituents : {10, 20, 50, 100, 200, 500, 1000, 2000}) {
            if (constituents >= 4 * components) {
                benchmark->Args({components, constituents});
            }
        }
    }
}
BENCHMARK(cost_against_size)
    ->ArgNames({"components", "constituents"})
    ->Apply(sizes)
    ->Unit(benchmark::kMillisecond);

/// Each thread with a solver of its own over one system.
void threads(benchmark::State& state) {
    static const DrawnSystem drawn = slag_of_4_cations();
    Solver solver(drawn.system);
    for (auto _ : state) {
        for (const EquilibriumConditions& one : drawn.states) {
            benchmark::DoNotOptimize(solver.solve(one).iterations);
        }
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(drawn.states.size()) *
                            static_cast<std::int64_t>(state.iterations()));
}
BENCHMARK(threads)->Threads(1)->Threads(2)->UseRealTime()->Unit(benchmark::kMillisecond);

/// A gas of 50 species at 1000 temperatures, each begun from the one before.
void sweep_of_1000_temperatures(benchmark::State& state) {
    std::vector<EquilibriumConditions> states(1000);
    for (std::size_t k = 0; k < states.size(); ++k) {
        states[k].t = 800.0 + 2.0 * static_cast<double>(k);
        std::size_t component = 0;
        for (const double n : {1.0, 0.6, 0.8, 1.5, 0.2}) {
            states[k].amounts.push_back({IncomingAmount::NoPhase, component++, n});
        }
    }
    time_states(state, System::read_dat(drawn_gas(50), "gas"), states, Solver::Start::Warm);
}
BENCHMARK(sweep_of_1000_temperatures)->Unit(benchmark::kMillisecond);

/// All changes of phases of a binary alloy over 1000 K, with this share of the second component.
void map_over_1000_kelvin(benchmark::State& state, const char* alloy, double low, double share) {
    std::ifstream file(std::string(TESSARA_ASSESSMENTS_DIR) + "/" + alloy + ".dat",
                       std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    Solver solver(System::read_dat(text.str(), alloy));
    StateRequest request;
    request.conditions.t = low;
    request.conditions.amounts = {{IncomingAmount::NoPhase, 0, 1.0 - share},
                                  {IncomingAmount::NoPhase, 1, share}};
    try {
        for (auto _ : state) {
            PathSolver path(solver, Path(Path::Variable::Temperature, request), [] {});
            const PhaseMap map(path, low, low + 1000.0);
            state.counters["transitions"] = static_cast<double>(map.transitions().size());
        }
    } catch (const SolveError& error) {
        state.SkipWithError(error.what());
    }
}
BENCHMARK_CAPTURE(map_over_1000_kelvin, al_zn, "al_zn", 300.0, 0.4)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(map_over_1000_kelvin, cr_fe, "cr_fe", 900.0, 0.9)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(map_over_1000_kelvin, cu_mg, "cu_mg", 500.0, 0.25)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace tessara
