// Times of the engine: equilibria from cold and warm starts, reading, models.

#include "drawn_systems.hpp"
#include "large_file.hpp"

#include "engine/data/tdf_file.hpp"
#include "engine/equilibrium/properties.hpp"
#include "engine/equilibrium/solver.hpp"
#include "engine/models/redlich_kister.hpp"
#include "engine/units/constants.hpp"

#include <benchmark/benchmark.h>

#include <cmath>
#include <fstream>
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
    Solver solver(System::read_dat(drawn_gas(50), "gas"));
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

// --- one row per model ---

/// Writes a file of one phase; its constituents are named by what they hold.
class PhaseText {
public:
    explicit PhaseText(const char* model) : text_("PHASE\n" + std::string(model) + "\n") {}

    PhaseText& line(const std::string& words) {
        text_ += words + "\n";
        return *this;
    }

    /// A record that holds so much of the components; of charges z, what is neutral.
    PhaseText& species(std::initializer_list<std::pair<int, int>> amounts, bool magnetic = false) {
        std::string row = magnetic ? "13 1" : "1 1";
        std::vector<int> contents(Components, 0);
        for (const auto& [component, amount] : amounts) {
            contents[static_cast<std::size_t>(component)] = amount;
        }
        for (const int amount : contents) {
            row += " " + std::to_string(amount);
        }
        line("S" + std::to_string(count_++)).line(row).line("6000 -50000 -40 -25 -0.002 0 20000");
        return magnetic ? line("900 1.5") : *this;
    }

    PhaseText& set() { return line("-5000 2 0 0 0 0"); }

    std::shared_ptr<const System> system(int count) const {
        std::string names;
        std::string masses;
        for (int k = 0; k < Components; ++k) {
            names += " C" + std::to_string(k);
            masses += " 10";
        }
        return System::read_dat("one phase\n" + std::to_string(Components) + " 2 0 " +
                                    std::to_string(count) + " 0\n" + names + "\n" + masses +
                                    "\n6 1 2 3 4 5 6\n6 1 2 3 4 5 6\n" + text_,
                                "benchmark");
    }

    static constexpr int Components = 10;

private:
    std::string text_;
    int count_ = 0;
};

std::string numbers(std::initializer_list<int> of) {
    std::string text;
    for (const int number : of) {
        text += std::to_string(number) + " ";
    }
    return text;
}

std::shared_ptr<const System> ideal_phase() {
    PhaseText text("IDMX");
    for (int k = 0; k < 10; ++k) {
        text.species({{k, 1}});
    }
    return text.system(10);
}

/// All 45 pairs, each with three orders.
std::shared_ptr<const System> redlich_kister_phase(bool magnetic) {
    PhaseText text(magnetic ? "RKMPM" : "RKMP");
    if (magnetic) {
        text.line("0.33 0.28");
    }
    for (int k = 0; k < 10; ++k) {
        text.species({{k, 1}}, magnetic);
    }
    for (int list = magnetic ? 0 : 1; list < 2; ++list) {
        for (int i = 1; i <= 10; ++i) {
            for (int j = 1; j < i; ++j) {
                text.line("2").line(numbers({j, i, 3}));
                for (int order = 0; order < 3; ++order) {
                    list == 0 ? text.line("50 0.1") : text.set();
                }
            }
        }
        text.line("0");
    }
    return text.system(10);
}

/// All 45 pairs, each with two terms, in two groups.
std::shared_ptr<const System> polynomial_phase() {
    PhaseText text("QKTO");
    for (int k = 0; k < 10; ++k) {
        text.species({{k, 1}}).line(k < 5 ? "1 1" : "1 2");
    }
    for (int i = 1; i <= 10; ++i) {
        for (int j = 1; j < i; ++j) {
            for (const int power : {1, 2}) {
                text.line("2").line(numbers({j, i, power, 1}) + "-5000 2 0 0 0 0");
            }
        }
    }
    return text.line("0").system(10);
}

/// Five by two constituents, so ten end members; all pairs on the first sublattice beside each of
/// the second, with two orders.
std::shared_ptr<const System> sublattice_phase(bool magnetic) {
    PhaseText text(magnetic ? "SUBLM" : "SUBL");
    if (magnetic) {
        text.line("0.33 0.28");
    }
    for (int k = 0; k < 10; ++k) {
        text.species({{k / 2, 1}, {5 + k % 2, 1}}, magnetic);
    }
    text.line("2").line("1 1").line("5 2").line("A B C").line("D E").line("X Y");
    text.line("1 1 2 2 3 3 4 4 5 5").line("1 2 1 2 1 2 1 2 1 2");
    for (int list = magnetic ? 0 : 1; list < 2; ++list) {
        for (int i = 1; i <= 5; ++i) {
            for (int j = 1; j < i; ++j) {
                for (const int other : {6, 7}) {
                    text.line("3").line(numbers({j, i, other, 2}));
                    for (int order = 0; order < 2; ++order) {
                        list == 0 ? text.line("50 0.1") : text.set();
                    }
                }
            }
        }
        text.line("0");
    }
    return text.system(10);
}

/// Five cations and two anions; all pairs of cations beside each anion.
std::shared_ptr<const System> ion_phase() {
    PhaseText text("SUBM");
    for (int k = 0; k < 10; ++k) {
        text.species({{k / 2, 1}, {5 + k % 2, 1}}).line("1 1");
    }
    text.line("5 2").line("A B C").line("D E").line("X Y");
    text.line("1 1 1 1 1").line("1 1 1 2 2").line("1 1").line("1 1");
    text.line("1 1 2 2 3 3 4 4 5 5").line("1 2 1 2 1 2 1 2 1 2");
    for (int i = 1; i <= 5; ++i) {
        for (int j = 1; j < i; ++j) {
            for (const int other : {6, 7}) {
                text.line("3").line(numbers({j, i, 1, 1, 0, other}) + "-5000 2 0 0 0 0");
            }
        }
    }
    return text.line("0").system(10);
}

/// Two cations; two anions, a vacancy and four neutrals: ten constituents.
std::shared_ptr<const System> ionic_liquid_phase() {
    PhaseText text("SUBI");
    for (int cation = 0; cation < 2; ++cation) {
        text.species({{cation, 1}, {2, 1}}).species({{cation, 1}, {3, 1}}).species({{cation, 1}});
        for (int neutral = 4; neutral < 8; ++neutral) {
            text.species({{neutral, 1}});
        }
    }
    text.line("2 7").line("A B").line("X Y Va").line("N O P").line("Q").line("2").line("1 1");
    text.line("-1 -1 -1 0 0 0 0");
    text.line("1 1 1 1 1 1 1 2 2 2 2 2 2 2").line("1 2 3 4 5 6 7 1 2 3 4 5 6 7");
    for (int other = 3; other <= 5; ++other) {
        text.line("3").line(numbers({1, 2, other, 2})).set().set();
    }
    for (int cation = 1; cation <= 2; ++cation) {
        for (int neutral = 6; neutral <= 9; ++neutral) {
            text.line("3").line(numbers({cation, 5, neutral, 2})).set().set();
        }
    }
    return text.line("0").system(14);
}

/// Five cations and two anions: ten pairs, 45 quadruplets; all pairs of cations beside each anion.
std::shared_ptr<const System> quasichemical_phase(bool half) {
    PhaseText text(half ? "SUBQ" : "SUBG");
    if (!half) {
        text.line("2.4");
    }
    text.line("10 10");
    for (int k = 0; k < 10; ++k) {
        text.species({{k / 2, 1}, {5 + k % 2, 1}}).line("1 1 0 0 0");
        if (half) {
            text.line("2.4");
        }
    }
    text.line("5 2").line("A B C").line("D E").line("X Y");
    text.line("1 1 1 1 1").line("1 1 1 2 2").line("1 1").line("1 1");
    text.line("1 1 2 2 3 3 4 4 5 5").line("1 2 1 2 1 2 1 2 1 2");
    for (int k = 0; k < 10; ++k) {
        const int a = 1 + k / 2;
        const int x = 6 + k % 2;
        text.line(numbers({a, a, x, x}) + "6 6 6 6");
    }
    for (int i = 1; i <= 5; ++i) {
        for (int j = 1; j < i; ++j) {
            for (const int other : {6, 7}) {
                text.line("3").line("G " + numbers({j, i, other, other, 1, 0, 0, 0}));
                text.line("0 0 0 0 0 0").line("0 0 0 0 0 0").line("0 0 -5000 2 0 0 0 0");
            }
        }
    }
    return text.line("0").system(45);
}

/// Value, gradient and Hessian at fixed T and P of a phase of ten constituents. What depends on T
/// alone is worked out once, by `set_state`: the parameters' L(T) / RT in all models; in magnetic
/// ones nothing more, as Tc and beta depend on composition; where the phase has internal variables
/// also its constituents' G / RT.
void model_at_fixed_temperature(benchmark::State& state, std::shared_ptr<const System> system) {
    const Phase& phase = system->phases[0];
    std::vector<std::size_t> all(phase.constituents.size());
    for (std::size_t i = 0; i < all.size(); ++i) {
        all[i] = i;
    }
    const auto evaluator = phase.model->evaluator(phase.constituents, all);
    TemperatureTerms at = system->terms();
    at.set(1000.0);
    evaluator->set_state(at, 1.0);
    const Variables* variables = evaluator->variables();
    const std::size_t n = variables != nullptr ? evaluator->size() : all.size();
    const std::vector<double> x(n, 1.0 / static_cast<double>(n));
    const std::vector<double> log_x(n, -std::log(static_cast<double>(n)));
    std::vector<double> gradient(n);
    std::vector<double> hessian(n * n);
    for (auto _ : state) {
        benchmark::DoNotOptimize(evaluator->mixing(x, log_x, gradient, hessian));
    }
    state.counters["variables"] = static_cast<double>(n);
}
BENCHMARK_CAPTURE(model_at_fixed_temperature, IDMX, ideal_phase());
BENCHMARK_CAPTURE(model_at_fixed_temperature, RKMP, redlich_kister_phase(false));
BENCHMARK_CAPTURE(model_at_fixed_temperature, RKMPM, redlich_kister_phase(true));
BENCHMARK_CAPTURE(model_at_fixed_temperature, QKTO, polynomial_phase());
BENCHMARK_CAPTURE(model_at_fixed_temperature, SUBL, sublattice_phase(false));
BENCHMARK_CAPTURE(model_at_fixed_temperature, SUBLM, sublattice_phase(true));
BENCHMARK_CAPTURE(model_at_fixed_temperature, SUBM, ion_phase());
BENCHMARK_CAPTURE(model_at_fixed_temperature, SUBI, ionic_liquid_phase());
BENCHMARK_CAPTURE(model_at_fixed_temperature, SUBG, quasichemical_phase(false));
BENCHMARK_CAPTURE(model_at_fixed_temperature, SUBQ, quasichemical_phase(true));

} // namespace
} // namespace tessara
