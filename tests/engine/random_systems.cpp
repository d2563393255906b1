#include "random_systems.hpp"

#include <algorithm>
#include <cmath>

namespace tessara::test {

double uniform(Random& random, double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random);
}

namespace {

const std::vector<std::string> Names = {"A", "B", "C", "D", "E"};

std::vector<double> random_stoichiometry(Random& random, std::size_t components) {
    std::vector<double> a(components);
    double sum = 0.0;
    for (double& value : a) {
        value = static_cast<double>(random() % 4);
        value = value == 3.0 ? 0.0 : value;
        sum += value;
    }
    if (sum == 0.0) {
        a[random() % components] = 1.0;
    }
    return a;
}

std::vector<double> random_gibbs(Random& random, const std::vector<double>& a, double spread) {
    double atoms = 0.0;
    for (double value : a) {
        atoms += value;
    }
    return {atoms * uniform(random, -spread, spread), -atoms * uniform(random, 20.0, 60.0)};
}

} // namespace

DatText random_system(Random& random, std::size_t components) {
    DatText text(std::vector<std::string>(Names.begin(),
                                          Names.begin() + static_cast<std::ptrdiff_t>(components)));
    const auto unit = [&](std::size_t j) {
        std::vector<double> a(components, 0.0);
        a[j] = 1.0;
        return a;
    };
    std::vector<DatText::Species> gas;
    for (std::size_t j = 0; j < components; ++j) {
        gas.push_back({Names[j], unit(j), {uniform(random, 0.0, 2e5), -uniform(random, 80, 160)}});
    }
    for (int k = 0; k < 6; ++k) {
        const auto a = random_stoichiometry(random, components);
        std::vector<double> g = random_gibbs(random, a, 1e5);
        g[1] -= 100.0;
        gas.push_back({"G" + std::to_string(k), a, g});
    }
    text.gas("GAS", gas);
    for (const char* name : {"SOLID", "MELT"}) {
        std::vector<DatText::Species> species;
        std::vector<DatText::Parameter> parameters;
        for (std::size_t j = 0; j < components; ++j) {
            species.push_back(
                {Names[j], unit(j), {uniform(random, -4e3, 4e3), -uniform(random, 30.0, 50.0)}});
            for (std::size_t i = 0; i < j; ++i) {
                DatText::Parameter parameter{{static_cast<int>(i) + 1, static_cast<int>(j) + 1},
                                             {}};
                for (std::size_t order = 0; order <= random() % 3; ++order) {
                    parameter.sets.push_back({uniform(random, -3e4, 3e4), uniform(random, -5, 5)});
                }
                parameters.push_back(parameter);
            }
        }
        if (components > 2) {
            parameters.push_back({{3, 1, 2}, {{uniform(random, -3e4, 3e4)}}});
        }
        text.redlich_kister(name, species, parameters);
    }
    for (std::size_t k = 0; k < components + 3; ++k) {
        const auto a = k < components ? unit(k) : random_stoichiometry(random, components);
        text.pure({"S" + std::to_string(k), a, random_gibbs(random, a, 2e4)});
    }
    return text;
}

namespace {

EquilibriumConditions random_state(Random& random) {
    EquilibriumConditions result;
    result.t = 200.0 * std::pow(30.0, uniform(random, 0.0, 1.0));
    result.p = 1e5 * std::pow(10.0, uniform(random, -4.0, 2.0));
    return result;
}

} // namespace

EquilibriumConditions random_conditions(Random& random, const System& system) {
    EquilibriumConditions result = random_state(random);
    bool any = false;
    for (std::size_t j = 0; j < system.components.size(); ++j) {
        const double kind = uniform(random, 0.0, 1.0);
        double n = 0.0; // absent, ordinary, or a trace
        if (kind > 0.2) {
            n = kind < 0.8 ? uniform(random, 0.1, 2.0) : std::pow(10.0, uniform(random, -13, -2));
        }
        any = any || n > 0.0;
        result.amounts.push_back({IncomingAmount::NoPhase, j, n});
    }
    if (!any) {
        result.amounts[0].amount = 1.0;
    }
    return result;
}

EquilibriumConditions random_whole_conditions(Random& random, const System& system) {
    EquilibriumConditions result = random_state(random);
    for (std::size_t j = 0; j < system.components.size(); ++j) {
        if (random() % 2 == 0) {
            result.amounts.push_back(
                {IncomingAmount::NoPhase, j, static_cast<double>(1 + random() % 3)});
        }
    }
    if (result.amounts.empty()) {
        result.amounts.push_back({IncomingAmount::NoPhase, 0, 1.0});
    }
    return result;
}

EquilibriumConditions random_constituent_conditions(Random& random, const System& system) {
    EquilibriumConditions result = random_state(random);
    const std::size_t count = 1 + random() % 2;
    for (std::size_t k = 0; k < count; ++k) {
        const std::size_t i = random() % 3 == 0 ? 0 : random() % system.phases.size();
        const std::size_t c = random() % system.phases[i].constituents.size();
        result.amounts.push_back({i, c, static_cast<double>(1 + random() % 3)});
    }
    return result;
}

} // namespace tessara::test
