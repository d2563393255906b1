#include "support.hpp"

#include "engine/units/constants.hpp"

#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace tessara::test {
namespace {

std::string number(double value) {
    char text[40];
    std::snprintf(text, sizeof text, " %.17g", value);
    return text;
}

template <class Items>
std::size_t index_of(const Items& items, const std::string& name) {
    for (std::size_t k = 0; k < items.size(); ++k) {
        if (items[k].name == name) {
            return k;
        }
    }
    throw std::out_of_range("no " + name);
}

} // namespace

std::shared_ptr<const System> read(std::string_view text) {
    return System::read_dat(text, "test.dat");
}

DatText::DatText(std::vector<std::string> components) : components_(std::move(components)) {}

std::string DatText::record(const Species& species, bool marked) const {
    std::string text = species.name + (marked ? "   #" : "") + "\n1 1";
    for (double a : species.stoichiometry) {
        text += number(a);
    }
    text += "\n6000";
    for (std::size_t k = 0; k < 6; ++k) {
        text += number(k < species.coefficients.size() ? species.coefficients[k] : 0.0);
    }
    return text + "\n";
}

DatText& DatText::gas(const std::string& name, const std::vector<Species>& species) {
    gas_ = name + "\nIDMX\n";
    for (const Species& one : species) {
        gas_ += record(one, false);
    }
    counts_[0] = species.size();
    return *this;
}

DatText& DatText::ideal(const std::string& name, const std::vector<Species>& species) {
    mixtures_ += name + "\nIDMX\n";
    for (const Species& one : species) {
        mixtures_ += record(one, false);
    }
    counts_.push_back(species.size());
    return *this;
}

DatText& DatText::redlich_kister(const std::string& name, const std::vector<Species>& species,
                                 const std::vector<Parameter>& parameters) {
    mixtures_ += name + "\nRKMP\n";
    for (const Species& one : species) {
        mixtures_ += record(one, false);
    }
    for (const Parameter& parameter : parameters) {
        mixtures_ += std::to_string(parameter.constituents.size()) + "\n";
        for (int c : parameter.constituents) {
            mixtures_ += std::to_string(c) + " ";
        }
        mixtures_ += std::to_string(parameter.sets.size()) + "\n";
        for (const std::vector<double>& set : parameter.sets) {
            for (std::size_t k = 0; k < 6; ++k) {
                mixtures_ += number(k < set.size() ? set[k] : 0.0);
            }
            mixtures_ += "\n";
        }
    }
    mixtures_ += "0\n";
    counts_.push_back(species.size());
    return *this;
}

DatText& DatText::pure(const Species& species) {
    pure_ += record(species, false);
    ++pure_count_;
    return *this;
}

DatText& DatText::dummy(const Species& species) {
    pure_ += record(species, true);
    ++pure_count_;
    return *this;
}

std::string DatText::text() const {
    std::string text =
        "a test file\n" + std::to_string(components_.size()) + " " + std::to_string(counts_.size());
    for (std::size_t count : counts_) {
        text += " " + std::to_string(count);
    }
    text += " " + std::to_string(pure_count_) + "\n";
    for (const std::string& component : components_) {
        text += component + " ";
    }
    text += "\n";
    for (std::size_t k = 0; k < components_.size(); ++k) {
        text += is_electron_name(components_[k]) ? " 0.00054858" : number(10.0 * double(k + 1));
    }
    text += "\n6 1 2 3 4 5 6\n6 1 2 3 4 5 6\n";
    return text + gas_ + mixtures_ + pure_;
}

std::size_t component_index(const System& system, const std::string& name) {
    return index_of(system.components, name);
}

std::size_t phase_index(const System& system, const std::string& name) {
    return index_of(system.phases, name);
}

std::size_t constituent_index(const System& system, std::size_t phase, const std::string& name) {
    return index_of(system.phases[phase].constituents, name);
}

void add_amount(EquilibriumConditions& conditions, const System& system, const std::string& name,
                double amount) {
    const std::size_t colon = name.find(':');
    if (colon == std::string::npos) {
        conditions.amounts.push_back(
            {IncomingAmount::NoPhase, component_index(system, name), amount});
        return;
    }
    const std::size_t phase = phase_index(system, name.substr(0, colon));
    conditions.amounts.push_back(
        {phase, constituent_index(system, phase, name.substr(colon + 1)), amount});
}

EquilibriumConditions conditions(const System& system, double t, double p_bar,
                                 std::initializer_list<std::pair<std::string, double>> amounts) {
    EquilibriumConditions result;
    result.t = t;
    result.p = p_bar * ReferencePressure;
    for (const auto& [name, value] : amounts) {
        add_amount(result, system, name, value);
    }
    return result;
}

double amount(const System& system, const Equilibrium& equilibrium, const std::string& name) {
    const std::size_t colon = name.find(':');
    const std::size_t i = phase_index(system, name.substr(0, colon));
    if (colon == std::string::npos) {
        return equilibrium.phases[i].amount;
    }
    const std::size_t c = constituent_index(system, i, name.substr(colon + 1));
    return equilibrium.phases[i].amount * equilibrium.phases[i].fractions[c];
}

double gibbs_of_state(const System& system, double t, double p_bar,
                      const std::vector<std::vector<double>>& moles) {
    TemperatureTerms terms = system.terms();
    terms.set(t);
    double total = 0.0;
    for (std::size_t i = 0; i < system.phases.size(); ++i) {
        const Phase& phase = system.phases[i];
        double n = 0.0;
        for (std::size_t c = 0; c < moles[i].size(); ++c) {
            n += moles[i][c];
            total += moles[i][c] * System::standard_gibbs(phase.constituents[c], terms) /
                     (GasConstant * t);
        }
        if (phase.model == nullptr || n == 0.0) {
            continue;
        }
        std::vector<std::size_t> active;
        std::vector<double> x;
        std::vector<double> log_x;
        for (std::size_t c = 0; c < moles[i].size(); ++c) {
            if (moles[i][c] > 0.0) {
                active.push_back(c);
                x.push_back(moles[i][c] / n);
                log_x.push_back(std::log(x.back()));
            }
        }
        const auto evaluator = phase.model->evaluator(phase.constituents, active);
        evaluator->set_state(terms, p_bar);
        total += n * evaluator->mixing(x, log_x);
    }
    return total;
}

} // namespace tessara::test
