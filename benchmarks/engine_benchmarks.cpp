// Times of the engine: equilibria from cold and warm starts, reading, models.

#include "large_file.hpp"

#include "engine/data/tdf_file.hpp"
#include "engine/equilibrium/properties.hpp"
#include "engine/equilibrium/solver.hpp"
#include "engine/models/redlich_kister.hpp"
#include "engine/units/constants.hpp"

#include <benchmark/benchmark.h>

#include <cmath>
#include <fstream>
#include <random>
#include <sstream>
#include <string>

namespace tessara {
namespace {

std::string shipped_text() {
    std::ifstream file(TESSARA_DATA_DIR "/ironmaking.dat", std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

std::shared_ptr<const System> shipped() {
    static const std::shared_ptr<const System> system =
        System::read_dat(shipped_text(), "ironmaking.dat");
    return system;
}

/// A gas of 50 species over 5 components, drawn once and for all: atoms, diatomics and the rest.
std::string gas_text() {
    std::mt19937 random(50);
    const auto draw = [&](double low, double high) {
        return low + (high - low) * static_cast<double>(random()) / 4294967296.0;
    };
    std::string text = "fifty species\n5 1 50 0\nA B C D E\n1 12 14 16 28\n6 1 2 3 4 5 6\n"
                       "6 1 2 3 4 5 6\nGAS\nIDMX\n";
    for (int k = 0; k < 50; ++k) {
        int a[5] = {};
        if (k < 10) {
            a[k % 5] = k < 5 ? 1 : 2;
        } else {
            for (int atom = 0; atom < 2 + k % 4; ++atom) {
                ++a[random() % 5];
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

EquilibriumConditions put_in(std::initializer_list<double> amounts, double t) {
    EquilibriumConditions conditions;
    conditions.t = t;
    std::size_t j = 0;
    for (double n : amounts) {
        conditions.amounts.push_back({IncomingAmount::NoPhase, j++, n});
    }
    return conditions;
}

void gas_of_50_species(benchmark::State& state, Solver::Start start) {
    Solver solver(System::read_dat(gas_text(), "gas"));
    auto conditions = put_in({1.0, 0.6, 0.8, 1.5, 0.2}, 1000.0);
    int k = 0;
    for (auto _ : state) {
        conditions.t = 1000.0 + 7.0 * (++k % 200);
        conditions.amounts[0].amount = 1.0 + 0.003 * (k % 100);
        benchmark::DoNotOptimize(solver.solve(conditions, start).phases[0].amount);
    }
}
BENCHMARK_CAPTURE(gas_of_50_species, cold, Solver::Start::Cold);
BENCHMARK_CAPTURE(gas_of_50_species, warm, Solver::Start::Warm);

/// Reduction of hematite by carbon at 20 temperatures; components in the order of the file.
void shipped_system(benchmark::State& state, Solver::Start start) {
    Solver solver(shipped());
    auto conditions = put_in({2.0, 3.0, 3.0, 0.05, 1.0, 0.1, 0.1, 0.03, 0.02}, 800.0);
    for (auto _ : state) {
        for (int k = 0; k < 20; ++k) {
            conditions.t = 800.0 + 50.0 * k;
            benchmark::DoNotOptimize(solver.solve(conditions, start).iterations);
        }
    }
    state.counters["per point"] =
        benchmark::Counter(20.0 * static_cast<double>(state.iterations()),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK_CAPTURE(shipped_system, cold, Solver::Start::Cold)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(shipped_system, warm, Solver::Start::Warm)->Unit(benchmark::kMicrosecond);

void carbon_and_gas(benchmark::State& state, Solver::Start start) {
    Solver solver(shipped());
    auto conditions = put_in({0.0, 2.0, 2.0}, 800.0);
    int k = 0;
    for (auto _ : state) {
        conditions.t = 800.0 + 0.5 * (++k % 1000);
        benchmark::DoNotOptimize(solver.solve(conditions, start).iterations);
    }
}
BENCHMARK_CAPTURE(carbon_and_gas, cold, Solver::Start::Cold);
BENCHMARK_CAPTURE(carbon_and_gas, warm, Solver::Start::Warm);

void properties(benchmark::State& state) {
    Solver solver(shipped());
    const Equilibrium& result =
        solver.solve(put_in({2.0, 3.0, 3.0, 0.05, 1.0, 0.1, 0.1, 0.03, 0.02}, 1400.0));
    PropertyTable table(*shipped());
    for (auto _ : state) {
        table.fill(result, solver.terms());
        benchmark::DoNotOptimize(table.system().h);
    }
}
BENCHMARK(properties);

void read_shipped_file(benchmark::State& state) {
    const std::string text = shipped_text();
    for (auto _ : state) {
        benchmark::DoNotOptimize(System::read_dat(text, "ironmaking.dat"));
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(text.size()) *
                            static_cast<std::int64_t>(state.iterations()));
}
BENCHMARK(read_shipped_file)->Unit(benchmark::kMicrosecond);

/// A file of 5 MB with 5000 constituents in 200 phases.
void read_large_file(benchmark::State& state) {
    const std::string text = large_file();
    for (auto _ : state) {
        benchmark::DoNotOptimize(System::read_dat(text, "large.dat"));
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(text.size()) *
                            static_cast<std::int64_t>(state.iterations()));
}
BENCHMARK(read_large_file)->Unit(benchmark::kMillisecond);

TdfAuthorship benchmark_authorship() {
    return {"benchmark", TdfHeader::LowestReader, "", {2021, 3, 4, 5, 6, 7}, ""};
}

void read_large_transparent_file(benchmark::State& state) {
    const std::string bytes = write_tdf(large_file(), "large.dat", benchmark_authorship());
    for (auto _ : state) {
        benchmark::DoNotOptimize(read_tdf(bytes, "large.tdf", TdfHeader::LowestReader).system);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes.size()) *
                            static_cast<std::int64_t>(state.iterations()));
}
BENCHMARK(read_large_transparent_file)->Unit(benchmark::kMillisecond);

void pack_large_file(benchmark::State& state) {
    const std::string text = large_file();
    for (auto _ : state) {
        benchmark::DoNotOptimize(write_tdf(text, "large.dat", benchmark_authorship()));
    }
}
BENCHMARK(pack_large_file)->Unit(benchmark::kMillisecond);

/// Value, gradient and Hessian of a Redlich-Kister phase of n constituents, all pairs with three
/// orders, at fixed T; the parameters L(T) / RT are cached.
void redlich_kister(benchmark::State& state) {
    const auto n = static_cast<std::size_t>(state.range(0));
    std::vector<InteractionTerm<ExcessCoefficients>> terms;
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            ExcessCoefficients c;
            c.thermal[0] = -5000.0;
            terms.push_back({{j, i}, {c, c, c}});
        }
    }
    const RedlichKisterModel model(n, terms, std::nullopt);
    std::vector<std::size_t> all(n);
    for (std::size_t i = 0; i < n; ++i) {
        all[i] = i;
    }
    const auto evaluator = model.evaluator({}, all);
    TemperatureTerms at;
    at.set(1000.0);
    evaluator->set_state(at, 1.0);
    std::vector<double> x(n, 1.0 / static_cast<double>(n));
    std::vector<double> log_x(n, -std::log(static_cast<double>(n)));
    std::vector<double> gradient(n);
    std::vector<double> hessian(n * n);
    for (auto _ : state) {
        benchmark::DoNotOptimize(evaluator->mixing(x, log_x, gradient, hessian));
    }
}
BENCHMARK(redlich_kister)->Arg(2)->Arg(4)->Arg(10);

} // namespace
} // namespace tessara
