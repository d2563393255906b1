#pragma once

#include "engine/data/dat_tokens.hpp"
#include "engine/data/system.hpp"
#include "engine/models/grouping.hpp"
#include "engine/models/ion_sublattices.hpp"
#include "engine/models/ionic_liquid.hpp"
#include "engine/models/quasichemical.hpp"
#include "engine/models/site_table.hpp"
#include "engine/models/sublattice.hpp"

#include <functional>
#include <map>
#include <span>

namespace tessara {

/// What a type code of a species record says.
struct RecordType {
    int code = 1;
    bool magnetic() const { return code > 12; }
    int base() const { return (code - 1) % 12 + 1; }
    bool heat_capacity() const { return base() > 6; }
    bool extra_terms() const { return base() >= 4; }
    bool constant_volume() const { return base() == 2 || base() == 5; }
    bool volume_data() const { return base() == 3 || base() == 6; }
};

/// Reads one data file. Members are in the order of the file's records; each topic has a file of
/// its own: dat_reader.cpp the header, the frame of a phase and the end, dat_reader_species.cpp
/// records of species, the others the blocks of the models.
class DatReader {
public:
    explicit DatReader(DatTokens tokens);

    std::shared_ptr<const System> read();

private:
    // --- header ---
    void read_header();
    void read_counts();
    int limited_sum(int a, int b);
    void read_components();
    std::vector<int> read_terms(const char* what, int most);

    // --- species records ---
    struct Species {
        Constituent constituent;
        RecordType type;
        bool marked = false;
        int column = 1;
    };
    template <class What>
    Species read_species(const What& what) {
        return read_record(tokens_.name_line(what));
    }
    Species read_record(const NameLine& name);
    void refuse_unsupported(const RecordType& type, const std::string& name);
    void read_range(Species& species, int r);
    std::size_t place_of(double exponent);
    MagneticFactors read_factors(const std::string& of);
    MagneticNumbers read_magnetic_numbers(const std::string& of);

    // --- mixture phases ---
    struct MixtureContext {
        Phase phase;
        std::size_t count;                       ///< constituents announced by the header
        Token word{};                            ///< the model's name
        std::vector<MagneticNumbers> magnetic{}; ///< of the constituents
    };
    using BlockReader = std::shared_ptr<const PhaseModel> (DatReader::*)(MixtureContext&);
    struct BlockType {
        std::string_view word;
        BlockReader read; ///< none where the model is not supported
    };
    static std::span<const BlockType> block_types();
    static std::string supported_words();

    void read_mixture(std::size_t slot, std::size_t count);
    std::shared_ptr<const PhaseModel> read_idmx(MixtureContext& block);
    std::shared_ptr<const PhaseModel> read_rkmp(MixtureContext& block);
    MagneticMixture read_magnetic_constituents(MixtureContext& block);
    std::shared_ptr<const PhaseModel> read_rkmpm(MixtureContext& block);
    std::shared_ptr<const PhaseModel> read_qkto(MixtureContext& block);
    std::shared_ptr<const PhaseModel> read_subl(MixtureContext& block);
    std::shared_ptr<const PhaseModel> read_sublm(MixtureContext& block);
    std::shared_ptr<const PhaseModel> read_subi(MixtureContext& block);
    std::shared_ptr<const PhaseModel> read_subm(MixtureContext& block);
    std::shared_ptr<const PhaseModel> read_subg(MixtureContext& block);
    std::shared_ptr<const PhaseModel> read_subq(MixtureContext& block);

    void read_constituent(MixtureContext& block, std::size_t k, std::size_t count,
                          bool magnetic_phase);
    void read_constituents(MixtureContext& block, bool magnetic_phase);
    template <class Coefficients>
    std::vector<InteractionTerm<Coefficients>> read_interactions(const MixtureContext& block);
    template <class Coefficients>
    InteractionTerm<Coefficients> read_interaction(const MixtureContext& block, std::size_t order);
    ExcessCoefficients read_coefficients(const ExcessCoefficients*, int set);
    MagneticNumbers read_coefficients(const MagneticNumbers*, int set);
    void limit_coefficients(const MixtureContext& block, std::size_t total);

    // --- lists over sublattices ---
    struct Sites {
        std::vector<std::size_t> sizes;
        std::vector<std::string> names; ///< through all sublattices
    };
    void read_site_sizes(Sites& sites, std::size_t sublattices);
    void read_site_names(Sites& sites, const MixtureContext& block);
    void read_sizes_and_names(Sites& sites, std::size_t sublattices, const MixtureContext& block);
    std::vector<double> read_numbers(const std::string& what, std::size_t count);
    std::vector<int> read_integers(const std::string& what, std::size_t count);
    SiteTable read_site_table(const Sites& sites, const std::string& of, std::size_t rows);
    SiteTable checked_table(const Sites& sites, std::vector<std::vector<std::size_t>> rows,
                            const Token& at);
    void check_contents(const MixtureContext& block, const SiteTable& table);
    void note_contents(const MixtureContext& block, const SublatticePhase& phase);
    std::size_t read_running_number(std::size_t first, std::size_t last, const char* what);
    /// Refuses constituents that cannot mix by so many coefficient sets.
    using PatternCheck =
        std::function<void(std::span<const std::size_t>, std::size_t, const Token&)>;
    template <class Coefficients>
    std::vector<InteractionTerm<Coefficients>> read_site_interactions(const MixtureContext& block,
                                                                      const SiteTable& table,
                                                                      const PatternCheck& check);
    template <class Coefficients>
    InteractionTerm<Coefficients> read_site_interaction(const MixtureContext& block,
                                                        const SiteTable& table, std::size_t order,
                                                        const PatternCheck& check);
    void check_mixing(const SiteTable& table, std::span<const std::size_t> constituents,
                      std::size_t sets, const Token& count);
    std::shared_ptr<const PhaseModel> read_sublattices(const MixtureContext& block,
                                                       std::optional<MagneticMixture> magnetic);

    // --- polynomials with grouping ---
    int read_exponent(const char* what);
    void read_distinct(std::vector<std::size_t>& constituents, std::size_t count, std::size_t first,
                       std::size_t last, const MixtureContext& block);
    void read_polynomials(const MixtureContext& block, std::size_t least, std::size_t total,
                          Grouping& grouping, const std::function<void(std::size_t)>& read);
    std::vector<GroupOverride> read_overrides(std::size_t count, std::size_t total);
    std::optional<GroupOverride> read_override(std::size_t total);

    // --- phases of ions ---
    void read_ionic_charges(IonicLiquidPhase& phase);
    void take_ionic_species(MixtureContext& block, const SiteTable& table, IonicLiquidPhase& phase);
    void check_ionic_pattern(const IonicLiquidPhase& phase, std::vector<std::size_t> constituents,
                             std::size_t sets, const Token& count);
    void note_neutral_parameters(const IonicLiquidPhase& phase);
    void check_ion_pairs(const MixtureContext& block, const IonSublatticePhase& phase);
    PolynomialTerm read_ion_term(const MixtureContext& block, const IonSublatticePhase& phase,
                                 std::size_t order);

    // --- quasichemical phases ---
    std::shared_ptr<const PhaseModel> read_quasichemical(MixtureContext& block, bool half);
    QuasichemicalPair read_pair(MixtureContext& block, std::size_t k, std::size_t count);
    double read_zeta(const std::string& of);
    void read_ions(const Sites& sites, std::size_t s, std::vector<double>& charges,
                   std::vector<int>& groups);
    void note_pair_charges(const MixtureContext& block, const QuasichemicalPhase& phase);
    Quadruplet read_quadruplet(const SiteTable& table, std::array<bool, 2>& turned);
    void read_coordinations(QuasichemicalPhase& phase, std::size_t lines);
    void read_quasichemical_terms(const MixtureContext& block, QuasichemicalPhase& phase);
    QuasichemicalTerm read_quasichemical_term(const QuasichemicalPhase& phase);
    void check_quasichemical_term(const QuasichemicalPhase& phase, const QuasichemicalTerm& term,
                                  const Token& code, const Token& at);
    void read_void_numbers();
    void read_additional(const QuasichemicalPhase& phase, QuasichemicalTerm& term, std::size_t s);

    // --- pure phases and the end ---
    void read_pure(int k);
    void check_end();
    void number_copies();
    void note_duplicates();
    void count_sizes();

    DatTokens tokens_;
    std::shared_ptr<System> system_;
    std::size_t component_count_ = 0;
    std::vector<int> solution_counts_;
    int pure_count_ = 0;
    std::vector<int> gibbs_terms_;
    std::vector<int> excess_terms_;
    std::map<double, std::size_t> places_; ///< of exponents met so far
};

/// "What 2 of 5".
std::string numbered(const char* what, std::size_t k, std::size_t count);

/// The text in capitals.
std::string upper(std::string_view text);

} // namespace tessara
