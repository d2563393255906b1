#pragma once

#include "engine/conditions/equilibrium_conditions.hpp"
#include "engine/data/system.hpp"
#include "engine/equilibrium/equilibrium.hpp"
#include "engine/equilibrium/solver.hpp"

#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tessara::test {

/// Reads a system from text; messages call the file "test.dat".
std::shared_ptr<const System> read(std::string_view text);

/// Writes data files of the simplest form: one range per species, six coefficients or fewer.
class DatText {
public:
    explicit DatText(std::vector<std::string> components);

    /// A species: name, amounts of the components, G = c[0] + c[1] T + c[2] T ln T + ...
    struct Species {
        std::string name;
        std::vector<double> stoichiometry;
        std::vector<double> coefficients;
    };
    /// A Redlich-Kister parameter: constituent numbers from 1, and its sets of up to six numbers.
    struct Parameter {
        std::vector<int> constituents;
        std::vector<std::vector<double>> sets;
    };

    DatText& gas(const std::string& name, const std::vector<Species>& species);
    DatText& ideal(const std::string& name, const std::vector<Species>& species);
    DatText& redlich_kister(const std::string& name, const std::vector<Species>& species,
                            const std::vector<Parameter>& parameters);
    DatText& pure(const Species& species);
    DatText& dummy(const Species& species);

    std::string text() const;
    std::shared_ptr<const System> read() const { return test::read(text()); }

private:
    std::string record(const Species& species, bool marked) const;

    std::vector<std::string> components_;
    std::vector<std::size_t> counts_{0};
    std::string gas_;
    std::string mixtures_;
    std::string pure_;
    std::size_t pure_count_ = 0;
};

/// Conditions with amounts given by name: of a component, or "PHASE:CONSTITUENT".
EquilibriumConditions conditions(const System& system, double t, double p_bar,
                                 std::initializer_list<std::pair<std::string, double>> amounts);
void add_amount(EquilibriumConditions& conditions, const System& system, const std::string& name,
                double amount);

std::size_t component_index(const System& system, const std::string& name);
std::size_t phase_index(const System& system, const std::string& name);
std::size_t constituent_index(const System& system, std::size_t phase, const std::string& name);

/// Amount of a phase, or of "PHASE:CONSTITUENT", mol.
double amount(const System& system, const Equilibrium& equilibrium, const std::string& name);

/// Gibbs energy over R T of an arbitrary state: moles of each constituent, phase by phase. Worked
/// out from the models alone.
double gibbs_of_state(const System& system, double t, double p_bar,
                      const std::vector<std::vector<double>>& moles);

} // namespace tessara::test
