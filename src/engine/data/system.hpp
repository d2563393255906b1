#pragma once

#include "engine/data/read_error.hpp"
#include "engine/data/temperature_function.hpp"
#include "engine/models/magnetism.hpp"
#include "engine/models/model.hpp"
#include "engine/models/parameters.hpp"

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessara {

class DatTokens;

/// A system component: what is conserved. An electron component counts electrons, so that a
/// phase's charge is balanced like matter.
struct Component {
    std::string name;
    double molar_mass = 0.0; ///< g/mol
    bool electron = false;
    int line = 0;      ///< of its name in the data file
    int mass_line = 0; ///< of its molar mass
};

/// The magnetic data of a pure condensed phase.
struct MagneticRecord {
    MagneticNumbers numbers;
    MagneticFactors factors;

    friend bool operator==(const MagneticRecord&, const MagneticRecord&) = default;
};

/// What a phase is made of: a species with its stoichiometry over the components and its Gibbs
/// energy as a pure substance, J/mol.
struct Constituent {
    std::string name;
    std::vector<double> stoichiometry;
    double molar_mass = 0.0; ///< g/mol
    TemperatureFunction gibbs;
    std::optional<MagneticRecord> magnetic; ///< of pure phases; mixtures keep theirs in the model
    bool has_volume_data = false; ///< the record holds volume data, which are not evaluated
    int line = 0;                 ///< of its name in the data file

    /// Whether any coefficient is other than zero; records without data stand for missing ones.
    bool has_data() const;
};

/// A phase of the system, pure or mixed.
struct Phase {
    std::string name;      ///< unique: copies of one name carry "#1", "#2", ...
    std::string file_name; ///< as the data file has it
    std::vector<Constituent> constituents;
    std::shared_ptr<const PhaseModel> model; ///< none for a pure phase
    bool gas = false;
    std::size_t first_copy = 0; ///< index of the first phase with the same name and data
    int line = 0;

    ModelKind kind() const { return model ? model->kind() : ModelKind::Pure; }
};

/// Array dimensions as the library's information shows them.
struct ArraySizes {
    static constexpr std::size_t Count = 11;
    /// The widest number that listings show in their column, and the limit of each dimension.
    static constexpr int Most = 99999;

    /// Constituents, components, mixture phases, excess coefficients, magnetic coefficients and
    /// sublattices of a mixture phase, constituents of a sublattice, oxide constituents of a
    /// quasichemical phase, equations of a constituent, equations, constituents with molar volumes.
    std::array<int, Count> used{};
};

/// A thermochemical system as a data file describes it. Immutable once read; solvers share it.
class System {
public:
    /// Reads the text of an ASCII data file. `file` is the name for messages. Throws `ReadError`.
    static std::shared_ptr<const System> read_dat(std::string_view text, const std::string& file);
    /// Reads the records of a data file from wherever they come. Throws `ReadError`.
    static std::shared_ptr<const System> read_records(DatTokens records);

    std::string title;
    std::vector<Component> components;
    /// The gas first if there is one, then the other mixtures, then the pure condensed phases.
    std::vector<Phase> phases;
    /// Records marked as dummies: references of pure components that never form.
    std::vector<Constituent> dummies;
    /// What was accepted but looks suspicious.
    std::vector<ReadNote> notes;
    /// Where the comment behind the data begins; 0 where there is none.
    int comment_line = 0;

    bool has_gas() const { return !phases.empty() && phases.front().gas; }
    const ArraySizes& sizes() const { return sizes_; }

    /// The powers of T that the functions need; solvers copy it and set their temperature.
    const TemperatureTerms& terms() const { return terms_; }

    /// Gibbs energy of a record, J/mol, magnetic part of a pure phase included; without what a
    /// mixture phase's model adds.
    static double standard_gibbs(const Constituent& constituent, const TemperatureTerms& at);
    static ThermalValue standard_thermal(const Constituent& constituent,
                                         const TemperatureTerms& at);
    /// Gibbs energy of a pure constituent in its phase, J/mol (gas at 1 bar).
    ThermalValue pure_thermal(std::size_t phase, std::size_t constituent,
                              const TemperatureTerms& at) const;
    /// Gibbs energy, J per mole of the component, of the most stable record made of that component
    /// alone at T and 1 bar; nan if there is none. Dummies with data count.
    double reference_gibbs(std::size_t component, const TemperatureTerms& at) const;

private:
    friend class DatReader;

    TemperatureTerms terms_;
    ArraySizes sizes_;
};

/// Whether a name stands for an electron component: "e(" and the name of its phase.
bool is_electron_name(std::string_view name);

} // namespace tessara
