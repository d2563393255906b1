// What the sweeps go over: grids of the shipped system and of published assessments, exact
// mixtures, corners and traces, and random states and systems.

#include "engine/search/target_search.hpp"
#include "sweep.hpp"

#include <algorithm>
#include <cmath>

namespace tessara::test {
namespace {

using Draw = EquilibriumConditions (*)(Random&, const System&);

constexpr double Bar = 1e5;

std::shared_ptr<const System> shipped() {
    return read_file(TESSARA_DATA_DIR "/ironmaking.dat");
}

EquilibriumConditions state(double t, double p) {
    EquilibriumConditions result;
    result.t = t;
    result.p = p;
    return result;
}

void put_components(EquilibriumConditions& in, const std::vector<std::size_t>& components,
                    const std::vector<double>& amounts) {
    for (std::size_t k = 0; k < components.size(); ++k) {
        in.amounts.push_back({IncomingAmount::NoPhase, components[k], amounts[k]});
    }
}

} // namespace

std::vector<Tally> sweep_random(const Extent& extent) {
    Random random(20);
    std::vector<Tally> tallies;
    const std::pair<const char*, Draw> draws[] = {
        {"shipped system, any amounts", random_conditions},
        {"shipped system, whole amounts", random_whole_conditions},
        {"shipped system, constituents", random_constituent_conditions},
    };
    const auto system = shipped();
    for (const auto& [name, draw] : draws) {
        Sweep sweep(name, system);
        for (int k = 0; k < extent.points; ++k) {
            sweep.point(draw(random, *system));
        }
        tallies.push_back(sweep.tally());
    }
    for (std::size_t components = 2; components <= 5; ++components) {
        Tally tally{"random systems of " + std::to_string(components)};
        for (int k = 0; k < extent.points; k += 50) {
            const auto drawn = random_system(random, components).read();
            Sweep sweep(tally.name, drawn);
            sweep.tally() = tally;
            for (std::size_t m = 0; m < 50; ++m) {
                sweep.point(draws[m % 3].second(random, *drawn));
            }
            tally = sweep.tally();
        }
        tallies.push_back(tally);
    }
    return tallies;
}

/// C, H and O on a grid of 20,100 compositions: gas, and graphite where the gas is saturated.
std::vector<Tally> sweep_gas_with_graphite(const Extent& extent) {
    const auto system = shipped();
    const std::vector<std::size_t> components = {component_index(*system, "C"),
                                                 component_index(*system, "H"),
                                                 component_index(*system, "O")};
    const auto grid = composition_grid(3, 199);
    Random random(21);
    std::vector<Tally> tallies;
    for (const int t : {400, 600, 923, 1500}) {
        Sweep sweep("C-H-O at " + std::to_string(t) + " K", system);
        std::vector<EquilibriumConditions> points;
        for (const std::vector<double>& x : grid) {
            points.push_back(state(t, Bar));
            put_components(points.back(), components, x);
        }
        sweep.run(std::move(points), random, extent);
        tallies.push_back(sweep.tally());
    }
    return tallies;
}

/// Every constituent alone and with every other in ratios that balances may meet exactly.
std::vector<Tally> sweep_exact_mixtures(const Extent& extent) {
    const auto system = shipped();
    std::vector<std::pair<std::size_t, std::size_t>> places;
    for (std::size_t i = 0; i < system->phases.size(); ++i) {
        for (std::size_t c = 0; c < system->phases[i].constituents.size(); ++c) {
            places.push_back({i, c});
        }
    }
    std::vector<EquilibriumConditions> alone;
    std::vector<EquilibriumConditions> pairs;
    for (std::size_t a = 0; a < places.size(); ++a) {
        for (const double t : {298.15, 550.0, 1000.0, 1809.0, 3000.0}) {
            for (const double p : {1e-3, 1.0, 2.0}) {
                alone.push_back(state(t, p * 1.01325e5));
                alone.back().amounts = {{places[a].first, places[a].second, 1.0}};
            }
        }
        for (std::size_t b = 0; b < a; ++b) {
            for (const auto& [one, other] : {std::pair{1.0, 1.0}, {2.0, 1.0}, {2.0, 0.7}}) {
                for (const double t : {550.0, 1500.0}) {
                    pairs.push_back(state(t, 2.0 * 1.01325e5));
                    pairs.back().amounts = {{places[a].first, places[a].second, one},
                                            {places[b].first, places[b].second, other}};
                }
            }
        }
    }
    Random random(22);
    Sweep steam("H2O:N2 = 2.0:0.7, 550 K, 2 atm", system);
    EquilibriumConditions in =
        conditions(*system, 550.0, 2.0 * 1.01325, {{"GAS:H2O", 2.0}, {"GAS:N2", 0.7}});
    steam.point(in);
    in = conditions(*system, 550.0, 2.0 * 1.01325, {{"H", 4.0}, {"O", 2.0}, {"N", 1.4}});
    steam.point(in);
    Sweep one("each constituent alone", system);
    one.run(std::move(alone), random, extent);
    Sweep two("each constituent with each other", system);
    two.run(std::move(pairs), random, extent);
    return {steam.tally(), one.tally(), two.tally()};
}

/// Each component alone, each pair and each three of them, equal and as traces of 1e-12.
std::vector<Tally> sweep_corners(const Extent& extent) {
    Random random(23);
    std::vector<Tally> tallies;
    const auto system = shipped();
    const std::size_t n = system->components.size();
    std::vector<std::vector<double>> inputs;
    std::vector<double> x(n, 0.0);
    const auto keep = [&] { inputs.push_back(x); };
    for (std::size_t a = 0; a < n; ++a) {
        x[a] = 1.0;
        keep();
        for (std::size_t b = 0; b < n; ++b) {
            if (b == a) {
                continue;
            }
            for (const double amount : {1.0, 1e-6, 1e-12}) {
                x[b] = amount;
                keep();
                for (std::size_t c = 0; c < b; ++c) {
                    if (c != a) {
                        for (const double trace : {1.0, 1e-12}) {
                            x[c] = trace;
                            keep();
                        }
                        x[c] = 0.0;
                    }
                }
            }
            x[b] = 0.0;
        }
        // All are there but one, and all but one are traces.
        for (const double rest : {1.0, 1e-12}) {
            std::fill(x.begin(), x.end(), rest);
            x[a] = rest == 1.0 ? 0.0 : 1.0;
            keep();
        }
        std::fill(x.begin(), x.end(), 0.0);
    }
    std::vector<std::size_t> all(n);
    for (std::size_t j = 0; j < n; ++j) {
        all[j] = j;
    }
    std::vector<EquilibriumConditions> points;
    for (const std::vector<double>& input : inputs) {
        for (const double t : {250.0, 298.15, 600.0, 1200.0, 1809.0, 3000.0}) {
            for (const double p : {1e-3, 1.0, 100.0}) {
                points.push_back(state(t, p * Bar));
                put_components(points.back(), all, input);
            }
        }
    }
    Sweep sweep("corners, edges and traces", system);
    sweep.run(std::move(points), random, extent);
    return {sweep.tally()};
}

/// Published assessments on a 1 % grid by 50 K, with traces of 1e-12 at their corners and edges.
std::vector<Tally> sweep_assessments(const Extent& extent) {
    Random random(24);
    std::vector<Tally> tallies;
    for (const char* name : {"al_mg_si", "al_zn", "c_fe", "cr_fe", "cu_mg"}) {
        const auto system = read_file(TESSARA_ASSESSMENTS_DIR "/" + std::string(name) + ".dat");
        std::vector<std::size_t> all(system->components.size());
        for (std::size_t j = 0; j < all.size(); ++j) {
            all[j] = j;
        }
        std::vector<EquilibriumConditions> points;
        for (std::vector<double>& x : composition_grid(all.size(), 100)) {
            for (int t = 300; t <= 2500; t += 50) {
                points.push_back(state(t, Bar));
                put_components(points.back(), all, x);
                if (std::find(x.begin(), x.end(), 0.0) != x.end()) {
                    points.push_back(points.back());
                    for (IncomingAmount& amount : points.back().amounts) {
                        amount.amount = amount.amount == 0.0 ? 1e-12 : amount.amount;
                    }
                }
            }
        }
        Sweep sweep("assessment " + std::string(name), system);
        sweep.run(std::move(points), random, extent);
        tallies.push_back(sweep.tally());
    }
    return tallies;
}

/// 4 mol of ice and 0.1 mol of hydrogen, oxygen and an inert gas, all of 270 K, burn without
/// exchange of heat: the temperature follows from the enthalpy.
std::vector<Tally> sweep_burning_over_ice(const Extent& extent) {
    Random random(25);
    const auto system = shipped();
    Sweep sweep("hydrogen burning over ice, given H", system);
    TemperatureTerms terms = system->terms();
    terms.set(270.0);
    const auto enthalpy_of = [&](const Constituent& of) {
        const ThermalValue g = System::standard_thermal(of, terms);
        return g.value - terms.t * g.d_t;
    };
    const std::size_t ice = phase_index(*system, "H2O(ice)");
    std::vector<std::size_t> gases;
    for (const char* name : {"H2", "O2", "N2"}) {
        gases.push_back(constituent_index(*system, 0, name));
    }
    auto grid = composition_grid(3, 100);
    draw(grid, random, {std::max(1, extent.points / 10), extent.whole});
    Solver solver(system);
    PropertyTable properties(*system);
    for (const std::vector<double>& x : grid) {
        EquilibriumConditions in = state(270.0, Bar);
        in.amounts = {{ice, 0, 4.0}};
        double enthalpy = 4.0 * enthalpy_of(system->phases[ice].constituents[0]);
        for (std::size_t k = 0; k < 3; ++k) {
            in.amounts.push_back({0, gases[k], 0.1 * x[k]});
            enthalpy += 0.1 * x[k] * enthalpy_of(system->phases[0].constituents[gases[k]]);
        }
        ++sweep.tally().points;
        Condition condition;
        condition.variable = ConditionVariable::H;
        condition.value = enthalpy;
        SearchRange range;
        range.guess = uniform(random, 260.0, 2000.0);
        in.t = *range.guess;
        try {
            PathSolver path(solver, Path(Path::Variable::Temperature, {in, std::nullopt}), nullptr);
            const Equilibrium found =
                find_target(path, Requirement(*system, condition), range, "H").equilibrium;
            sweep.take(in, found.certificate);
            terms.set(found.t);
            properties.fill(found, terms);
            terms.set(270.0);
            const double miss = std::abs(properties.system().h - enthalpy) / std::abs(enthalpy);
            sweep.tally().requirement = std::max(sweep.tally().requirement, miss);
            if (!(miss <= Certificate::BalanceBound)) {
                sweep.fail(in, "the enthalpy is not that given: off by " + std::to_string(miss));
            }
        } catch (const SolveError& error) {
            sweep.fail(in, error.what());
        }
    }
    return {sweep.tally()};
}

} // namespace tessara::test
