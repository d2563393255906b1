#include "engine/data/system.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tessara {

bool is_electron_name(std::string_view name) {
    return name.substr(0, 2) == "e(";
}

ThermalValue System::standard_thermal(const Constituent& constituent, const TemperatureTerms& at) {
    ThermalValue g = constituent.gibbs.with_derivatives(at);
    if (constituent.magnetic) {
        const auto& [numbers, factors] = *constituent.magnetic;
        g += magnetic_gibbs(at.t, numbers.tc, numbers.beta, factors);
    }
    return g;
}

double System::standard_gibbs(const Constituent& constituent, const TemperatureTerms& at) {
    return constituent.magnetic ? standard_thermal(constituent, at).value
                                : constituent.gibbs.value(at);
}

ThermalValue System::pure_thermal(std::size_t phase, std::size_t constituent,
                                  const TemperatureTerms& at) const {
    const Phase& of = phases[phase];
    ThermalValue g = standard_thermal(of.constituents[constituent], at);
    if (of.model) {
        g += of.model->pure_mixing(constituent, at);
    }
    return g;
}

double System::reference_gibbs(std::size_t component, const TemperatureTerms& at) const {
    const auto amount_if_alone = [&](const Constituent& constituent) {
        for (std::size_t j = 0; j < constituent.stoichiometry.size(); ++j) {
            if (j != component && constituent.stoichiometry[j] != 0.0) {
                return 0.0;
            }
        }
        return constituent.stoichiometry[component];
    };
    double best = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < phases.size(); ++i) {
        for (std::size_t c = 0; c < phases[i].constituents.size(); ++c) {
            const double amount = amount_if_alone(phases[i].constituents[c]);
            if (amount > 0.0) {
                best = std::min(best, pure_thermal(i, c, at).value / amount);
            }
        }
    }
    for (const Constituent& dummy : dummies) {
        const double amount = amount_if_alone(dummy);
        if (amount > 0.0 && dummy.has_data()) {
            best = std::min(best, standard_gibbs(dummy, at) / amount);
        }
    }
    return std::isfinite(best) ? best : std::numeric_limits<double>::quiet_NaN();
}

bool Constituent::has_data() const {
    const auto empty = [](const TemperatureFunction::Range& range) {
        return range.extra.empty() && range.coefficients == SixCoefficients{};
    };
    const auto ranges = gibbs.ranges();
    return magnetic || !std::all_of(ranges.begin(), ranges.end(), empty);
}

} // namespace tessara
