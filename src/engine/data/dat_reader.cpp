#include "engine/data/dat_tokens.hpp"
#include "engine/data/system.hpp"
#include "engine/models/ideal.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <map>

namespace tessara {
namespace {

/// Terms of temperature and pressure that coefficients may stand for; the file numbers them from 1.
enum Term { One = 1, Inverse = 6, Pressure = 7, PressureSquared = 8 };

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

constexpr int VolumeNumbers = 11;

std::string upper(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return result;
}

std::string numbered(const char* what, std::size_t k, std::size_t count) {
    return std::string(what) + " " + std::to_string(k) + " of " + std::to_string(count);
}

bool same_substance(const Constituent& a, const Constituent& b) {
    return a.name == b.name && a.stoichiometry == b.stoichiometry && a.gibbs == b.gibbs &&
           a.magnetic == b.magnetic && a.has_volume_data == b.has_volume_data;
}

} // namespace

/// Reads one file. Members are in the order of the file's records.
class DatReader {
public:
    explicit DatReader(DatTokens tokens)
        : tokens_(std::move(tokens)), system_(std::make_shared<System>()) {}

    std::shared_ptr<const System> read() {
        read_header();
        for (std::size_t slot = 0; slot < solution_counts_.size(); ++slot) {
            if (solution_counts_[slot] > 0) {
                read_mixture(slot, static_cast<std::size_t>(solution_counts_[slot]));
            }
        }
        for (int k = 0; k < pure_count_; ++k) {
            read_pure(k);
        }
        check_end();
        number_copies();
        note_duplicates();
        count_sizes();
        system_->notes = tokens_.take_notes();
        return system_;
    }

private:
    // --- header ---

    void read_header() {
        const std::optional<std::string_view> title = tokens_.raw_line();
        if (!title) {
            tokens_.fail_expected("a title line", std::nullopt, "the file is empty");
        }
        system_->title = std::string(*title);
        tokens_.set_context("header");
        read_counts();
        read_components();
        gibbs_terms_ = read_terms("Gibbs term index", Inverse);
        excess_terms_ = read_terms("excess term index", PressureSquared);
    }

    void read_counts() {
        tokens_.begin_record();
        const std::optional<Token> first = tokens_.peek();
        if (first && !parse_number(first->text)) {
            tokens_.fail_expected("the number of components", first, "line 1 is always the title");
        }
        component_count_ = static_cast<std::size_t>(
            tokens_.integer("a positive number of components", 1, ArraySizes::Most));
        const int solutions = tokens_.integer("the number of solution phases", 0, ArraySizes::Most);
        int constituents = 0;
        for (int k = 0; k < solutions; ++k) {
            const int count = tokens_.integer(
                [&] {
                    return "the count of constituents of solution phase " + std::to_string(k + 1) +
                           " of " + std::to_string(solutions);
                },
                0, ArraySizes::Most);
            solution_counts_.push_back(count);
            constituents = limited_sum(constituents, count);
        }
        pure_count_ = tokens_.integer("the number of pure condensed phases", 0, ArraySizes::Most);
        limited_sum(constituents, pure_count_);
    }

    /// The sum, refused where it exceeds the widest number that listings show.
    int limited_sum(int a, int b) {
        if (a + b > ArraySizes::Most) {
            tokens_.fail(tokens_.last(),
                         "more than " + std::to_string(ArraySizes::Most) + " constituents in all");
        }
        return a + b;
    }

    void read_components() {
        tokens_.begin_record();
        for (std::size_t k = 0; k < component_count_; ++k) {
            const auto what = [&] {
                return numbered("name of component", k + 1, component_count_);
            };
            const std::optional<Token> next = tokens_.peek();
            if (!next || parse_number(next->text)) {
                tokens_.fail_expected(what(), next);
            }
            const Token name = tokens_.word(what());
            system_->components.push_back(
                {std::string(name.text), 0.0, is_electron_name(name.text)});
        }
        tokens_.begin_record();
        for (Component& component : system_->components) {
            const auto what = [&] {
                return "the molar mass of component '" + component.name + "'";
            };
            component.molar_mass = tokens_.number(what);
            if (component.molar_mass < 0.0) {
                tokens_.fail_expected(what(), tokens_.last(), "a molar mass is not negative");
            }
        }
    }

    std::vector<int> read_terms(const char* what, int most) {
        tokens_.begin_record();
        const int count = tokens_.integer(std::string("the number of ") + what + "es", 1, most);
        std::vector<int> terms;
        for (int k = 0; k < count; ++k) {
            const int term = tokens_.integer(
                [&] { return std::string(what) + " 1 to " + std::to_string(most); }, One, most);
            if (std::find(terms.begin(), terms.end(), term) != terms.end()) {
                tokens_.fail(tokens_.last(),
                             std::string(what) + " " + std::to_string(term) + " occurs twice");
            }
            terms.push_back(term);
        }
        return terms;
    }

    // --- species records ---

    struct Species {
        Constituent constituent;
        RecordType type;
        bool marked = false;
        int column = 1;
    };

    template <class What>
    Species read_species(const What& what) {
        const NameLine name = tokens_.name_line(what);
        Species species;
        species.marked = name.marked;
        species.column = name.column;
        Constituent& constituent = species.constituent;
        constituent.name = name.name;
        constituent.line = name.line;
        const auto of = [&](const char* text) { return text + (" of '" + name.name + "'"); };

        tokens_.begin_record();
        species.type.code = tokens_.integer([&] { return of("type code 1 to 24"); }, 1, 24);
        refuse_unsupported(species.type, name.name);
        const int ranges = tokens_.integer([&] { return of("number of temperature ranges"); }, 1,
                                           ArraySizes::Most);
        constituent.stoichiometry.reserve(component_count_);
        for (std::size_t j = 0; j < component_count_; ++j) {
            const Component& component = system_->components[j];
            const double amount = tokens_.number([&] {
                return "stoichiometry of '" + name.name + "' for component '" + component.name +
                       "' (" + std::to_string(j + 1) + " of " + std::to_string(component_count_) +
                       ")";
            });
            if (amount < 0.0 && !component.electron) {
                tokens_.fail(tokens_.last(), "stoichiometry of '" + name.name +
                                                 "' for component '" + component.name +
                                                 "' is negative");
            }
            constituent.stoichiometry.push_back(amount);
            constituent.molar_mass += amount * component.molar_mass;
        }
        for (int r = 1; r <= ranges; ++r) {
            read_range(species, r);
        }
        return species;
    }

    void refuse_unsupported(const RecordType& type, const std::string& name) {
        const std::string code = std::to_string(type.code);
        if (type.heat_capacity()) {
            tokens_.fail(tokens_.last(), "heat capacity record (type " + code + ") of '" + name +
                                             "' is not supported");
        }
        if (type.constant_volume()) {
            tokens_.fail(tokens_.last(),
                         "type " + code + " of '" + name +
                             "' is not supported: the layout of its constant volume is not known");
        }
    }

    void read_range(Species& species, int r) {
        Constituent& constituent = species.constituent;
        const auto of_range = [&](const std::string& what) {
            return what + " of range " + std::to_string(r) + " of '" + constituent.name + "'";
        };
        TemperatureFunction::Range range{};
        tokens_.begin_record();
        range.t_max = tokens_.number([&] { return of_range("temperature limit"); });
        const Token limit = tokens_.last();
        if (range.t_max <= 0.0) {
            tokens_.fail(limit, of_range("temperature limit") + " is not positive");
        }
        if (r > 1 && range.t_max < constituent.gibbs.ranges().back().t_max) {
            tokens_.note(limit.line, limit.column,
                         "temperature limit " + std::string(limit.text) + " of '" +
                             constituent.name + "' is below the previous limit");
        }
        for (std::size_t k = 0; k < gibbs_terms_.size(); ++k) {
            range.coefficients[static_cast<std::size_t>(gibbs_terms_[k] - One)] =
                tokens_.number([&] { return of_range("coefficient " + std::to_string(k + 1)); });
        }
        if (species.type.extra_terms()) {
            tokens_.begin_record();
            const int count = tokens_.integer([&] { return of_range("number of extra terms"); }, 0,
                                              ArraySizes::Most);
            for (int k = 1; k <= count; ++k) {
                const double e = tokens_.number(
                    [&] { return of_range("coefficient of extra term " + std::to_string(k)); });
                const double p = tokens_.number(
                    [&] { return of_range("exponent of extra term " + std::to_string(k)); });
                // A pair of zeros is the usual way of saying "none".
                if (e != 0.0) {
                    if (std::abs(p) > 9.0 && p != LogarithmExponent) {
                        tokens_.note(tokens_.last().line, tokens_.last().column,
                                     of_range("exponent " + std::string(tokens_.last().text)) +
                                         " is unusually large");
                    }
                    range.extra.push_back({e, place_of(p)});
                }
            }
        }
        if (species.type.volume_data()) {
            constituent.has_volume_data = true;
            tokens_.begin_record();
            for (int k = 1; k <= VolumeNumbers; ++k) {
                tokens_.number([&] { return of_range("volume number " + std::to_string(k)); });
            }
        }
        constituent.gibbs.add_range(std::move(range));
    }

    /// Place of an exponent among the system's powers of T.
    std::size_t place_of(double exponent) {
        const auto [at, added] = places_.try_emplace(exponent, system_->terms_.exponent_count());
        if (added) {
            system_->terms_.add_exponent(exponent);
        }
        return at->second;
    }

    /// f and p, checked.
    MagneticFactors read_factors(const std::string& of) {
        MagneticFactors factors;
        factors.antiferromagnetic = tokens_.number([&] { return "magnetic factors of " + of; });
        if (factors.antiferromagnetic <= 0.0) {
            tokens_.fail(tokens_.last(), "magnetic factor f of " + of + " must be positive");
        }
        factors.structure = tokens_.number([&] { return "structure factor p of " + of; });
        if (factors.structure <= 0.0 || factors.structure >= 1.0) {
            tokens_.fail(tokens_.last(),
                         "structure factor p of " + of + " must be between 0 and 1");
        }
        return factors;
    }

    MagneticNumbers read_magnetic_numbers(const std::string& of) {
        MagneticNumbers numbers;
        numbers.tc = tokens_.number([&] { return "Tc and beta of " + of; });
        numbers.beta = tokens_.number([&] { return "beta of " + of; });
        return numbers;
    }

    // --- mixture phases ---

    struct MixtureContext {
        Phase phase;
        std::size_t count;                       ///< constituents announced by the header
        std::vector<MagneticNumbers> magnetic{}; ///< of the constituents
    };
    using BlockReader = std::shared_ptr<const PhaseModel> (DatReader::*)(MixtureContext&);

    struct BlockType {
        std::string_view word;
        BlockReader read; ///< none where the model is not supported
    };

    /// The words that may follow a phase's name. A new model joins with its reader here.
    static std::span<const BlockType> block_types() {
        static constexpr std::array types{
            BlockType{"IDMX", &DatReader::read_idmx},
            BlockType{"RKMP", &DatReader::read_rkmp},
            BlockType{"RKMPM", &DatReader::read_rkmpm},
            BlockType{"QKTO", nullptr},
            BlockType{"SUBL", nullptr},
            BlockType{"SUBLM", nullptr},
            BlockType{"SUBM", nullptr},
            BlockType{"SUBI", nullptr},
            BlockType{"SUBG", nullptr},
            BlockType{"SUBQ", nullptr},
            BlockType{"IDVD", nullptr},
            BlockType{"IDWZ", nullptr},
            BlockType{"PITZ", nullptr},
            BlockType{"WAGN", nullptr},
            BlockType{"QKTOM", nullptr},
            BlockType{"SUBMM", nullptr},
            BlockType{"SUBGM", nullptr},
            BlockType{"SUBQM", nullptr},
        };
        return types;
    }

    static std::string supported_words() {
        std::string words;
        for (const BlockType& type : block_types()) {
            if (type.read != nullptr) {
                words += (words.empty() ? "" : ", ") + std::string(type.word);
            }
        }
        return words;
    }

    void read_mixture(std::size_t slot, std::size_t count) {
        tokens_.set_context("header");
        const NameLine name = tokens_.name_line([&] {
            return "the name of solution phase " + std::to_string(slot + 1) + " of " +
                   std::to_string(solution_counts_.size());
        });
        MixtureContext block{.phase = {}, .count = count};
        block.phase.file_name = name.name;
        block.phase.name = name.name;
        block.phase.line = name.line;
        block.phase.gas = slot == 0;
        tokens_.set_context("phase '" + name.name + "'");

        tokens_.begin_record();
        const std::string expected = "phase type (" + supported_words() + ")";
        const Token word = tokens_.word(expected);
        const std::string type = upper(word.text);
        const auto types = block_types();
        const auto found = std::find_if(types.begin(), types.end(),
                                        [&](const BlockType& t) { return t.word == type; });
        if (found == types.end()) {
            const bool number = parse_number(word.text).has_value();
            tokens_.fail_expected(expected, word,
                                  number && slot < 2 ? "the gas is always counted, as the first "
                                                       "solution phase, also where its count is 0"
                                                     : "");
        }
        if (found->read == nullptr) {
            tokens_.fail(word, "phase '" + name.name + "' has the model " + type +
                                   ", which is not supported (supported: " + supported_words() +
                                   ")");
        }
        if (block.phase.gas && type != "IDMX") {
            tokens_.fail(word, "the gas phase '" + name.name + "' has the model " + type +
                                   "; a gas can only be ideal (IDMX)");
        }
        block.phase.model = (this->*found->read)(block);
        system_->phases.push_back(std::move(block.phase));
    }

    /// Reads the constituents of a block. Where the phase mixes magnetically each magnetic record
    /// is followed by Tc and beta; elsewhere the two numbers are read and have no effect.
    void read_constituents(MixtureContext& block, bool magnetic_phase) {
        for (std::size_t k = 0; k < block.count; ++k) {
            Species species = read_species([&] {
                return "species name (" + std::to_string(k + 1) + " of " +
                       std::to_string(block.count) + " in " + block.phase.name + ")";
            });
            MagneticNumbers numbers;
            if (species.type.magnetic()) {
                tokens_.begin_record();
                numbers = read_magnetic_numbers("'" + species.constituent.name + "'");
                if (!magnetic_phase) {
                    tokens_.note(tokens_.last().line, 1,
                                 "magnetic numbers of '" + species.constituent.name +
                                     "' have no effect: phase '" + block.phase.name +
                                     "' is not magnetic");
                }
            }
            block.magnetic.push_back(numbers);
            block.phase.constituents.push_back(std::move(species.constituent));
        }
    }

    std::shared_ptr<const PhaseModel> read_idmx(MixtureContext& block) {
        read_constituents(block, false);
        return std::make_shared<IdealModel>(block.phase.gas);
    }

    std::shared_ptr<const PhaseModel> read_rkmp(MixtureContext& block) {
        read_constituents(block, false);
        return std::make_shared<RedlichKisterModel>(
            block.count, read_interactions<ExcessCoefficients>(block), std::nullopt);
    }

    std::shared_ptr<const PhaseModel> read_rkmpm(MixtureContext& block) {
        MagneticMixture magnetic;
        tokens_.begin_record();
        magnetic.factors = read_factors("phase '" + block.phase.name + "'");
        read_constituents(block, true);
        magnetic.constituents = block.magnetic;
        magnetic.terms = read_interactions<MagneticNumbers>(block);
        return std::make_shared<RedlichKisterModel>(
            block.count, read_interactions<ExcessCoefficients>(block), std::move(magnetic));
    }

    /// A list of parameters on two to four constituents, up to its closing 0.
    template <class Coefficients>
    std::vector<InteractionTerm<Coefficients>> read_interactions(const MixtureContext& block) {
        std::vector<InteractionTerm<Coefficients>> terms;
        int total = 0;
        for (;;) {
            tokens_.begin_record();
            const char* expected =
                "number of interacting constituents (2, 3 or 4), or 0 at the end "
                "of the list";
            const std::optional<Token> next = tokens_.peek();
            const int order = tokens_.integer(expected, -ArraySizes::Most, 4);
            if (order < 0) {
                tokens_.fail_expected(
                    "0", next, "only polynomial and quasichemical phases have override lines");
            }
            if (order == 0) {
                return terms;
            }
            if (order == 1) {
                tokens_.fail_expected(expected, next);
            }
            terms.push_back(read_interaction<Coefficients>(block, static_cast<std::size_t>(order)));
            total += static_cast<int>(terms.back().sets.size());
            if (total > ArraySizes::Most) {
                tokens_.fail(tokens_.last(), "more than " + std::to_string(ArraySizes::Most) +
                                                 " coefficients in phase '" + block.phase.name +
                                                 "'");
            }
        }
    }

    template <class Coefficients>
    InteractionTerm<Coefficients> read_interaction(const MixtureContext& block, std::size_t order) {
        InteractionTerm<Coefficients> term;
        tokens_.begin_record();
        for (std::size_t k = 0; k < order; ++k) {
            const int c = tokens_.integer(
                [&] { return "number of a constituent, 1 to " + std::to_string(block.count); },
                -ArraySizes::Most, ArraySizes::Most);
            if (c < 1 || static_cast<std::size_t>(c) > block.count) {
                tokens_.fail(tokens_.last(), "constituent number " + std::to_string(c) +
                                                 " in phase '" + block.phase.name + "' with " +
                                                 std::to_string(block.count) + " constituents");
            }
            const auto index = static_cast<std::size_t>(c - 1);
            if (std::find(term.constituents.begin(), term.constituents.end(), index) !=
                term.constituents.end()) {
                tokens_.fail(tokens_.last(), "constituent number " + std::to_string(c) +
                                                 " occurs twice in an interaction of phase '" +
                                                 block.phase.name + "'");
            }
            term.constituents.push_back(index);
        }
        const int sets = tokens_.integer("number of coefficient sets", 1, ArraySizes::Most);
        const Token count = tokens_.last();
        if (order == 3 && sets != 1 && sets != 3) {
            tokens_.fail_expected("1 or 3 coefficient sets", count);
        }
        if (order == 3 && sets == 1) {
            tokens_.note(count.line, count.column,
                         "a ternary parameter with one set is taken as independent of composition");
        }
        if (order == 4 && sets > 1) {
            tokens_.note(count.line, count.column,
                         "only the first set of a quaternary parameter has a meaning");
        }
        for (int q = 1; q <= sets; ++q) {
            tokens_.begin_record();
            term.sets.push_back(read_coefficients(static_cast<Coefficients*>(nullptr), q));
        }
        return term;
    }

    ExcessCoefficients read_coefficients(const ExcessCoefficients*, int set) {
        ExcessCoefficients coefficients;
        for (std::size_t k = 0; k < excess_terms_.size(); ++k) {
            const double c = tokens_.number([&] {
                return "coefficient " + std::to_string(k + 1) + " of set " + std::to_string(set);
            });
            const int term = excess_terms_[k];
            if (term == Pressure) {
                coefficients.p = c;
            } else if (term == PressureSquared) {
                coefficients.p2 = c;
            } else {
                coefficients.thermal[static_cast<std::size_t>(term - One)] = c;
            }
        }
        return coefficients;
    }

    MagneticNumbers read_coefficients(const MagneticNumbers*, int set) {
        return read_magnetic_numbers("magnetic set " + std::to_string(set));
    }

    // --- pure phases and the end ---

    void read_pure(int k) {
        tokens_.set_context("pure condensed phases");
        Species species = read_species([&] {
            return "the name of compound " + std::to_string(k + 1) + " of " +
                   std::to_string(pure_count_);
        });
        Constituent& constituent = species.constituent;
        if (species.type.magnetic()) {
            const std::string of = "'" + constituent.name + "' (4 numbers)";
            tokens_.begin_record();
            MagneticRecord record;
            record.numbers = read_magnetic_numbers(of);
            record.factors = read_factors(of);
            constituent.magnetic = record;
        }
        if (species.marked) {
            system_->dummies.push_back(std::move(constituent));
            return;
        }
        Phase phase;
        phase.name = constituent.name;
        phase.file_name = constituent.name;
        phase.line = constituent.line;
        phase.constituents.push_back(std::move(constituent));
        system_->phases.push_back(std::move(phase));
    }

    void check_end() {
        const std::optional<Token> rest = tokens_.after_end();
        if (rest && rest->text.front() != '#' && rest->text.front() != ':' &&
            rest->text.front() != '!') {
            tokens_.note(rest->line, rest->column,
                         "text that looks like a record follows the end of the data; is the number "
                         "of pure condensed phases right?");
        }
    }

    /// Mixture phases of one name become "X#1", "X#2", ... in file order.
    void number_copies() {
        std::map<std::string, std::vector<std::size_t>> by_name;
        for (std::size_t i = 0; i < system_->phases.size(); ++i) {
            system_->phases[i].first_copy = i;
            if (system_->phases[i].model) {
                by_name[system_->phases[i].file_name].push_back(i);
            }
        }
        for (const auto& [name, copies] : by_name) {
            for (std::size_t k = 0; copies.size() > 1 && k < copies.size(); ++k) {
                const Phase& first = system_->phases[copies.front()];
                Phase& phase = system_->phases[copies[k]];
                phase.name = name + "#" + std::to_string(k + 1);
                if (k > 0 && same_data(first, phase)) {
                    phase.first_copy = copies.front();
                    phase.model = first.model;
                } else if (k > 0) {
                    tokens_.note(phase.line, 1, "copies of phase '" + name + "' differ");
                }
            }
        }
    }

    static bool same_data(const Phase& a, const Phase& b) {
        return a.gas == b.gas && a.model->equals(*b.model) &&
               std::equal(a.constituents.begin(), a.constituents.end(), b.constituents.begin(),
                          b.constituents.end(), same_substance);
    }

    /// Duplicate names are read as they stand; whoever addresses by name may refuse them.
    void note_duplicates() {
        std::map<std::string_view, int> names;
        for (const Component& component : system_->components) {
            if (names[component.name]++ > 0) {
                tokens_.note(3, 1, "component '" + component.name + "' occurs twice");
            }
        }
        for (const Phase& phase : system_->phases) {
            std::map<std::string_view, int> seen;
            for (const Constituent& constituent : phase.constituents) {
                if (seen[constituent.name]++ > 0) {
                    tokens_.note(constituent.line, 1,
                                 "constituent '" + constituent.name + "' occurs twice in phase '" +
                                     phase.file_name + "'");
                }
            }
        }
    }

    void count_sizes() {
        enum Place {
            Constituents,
            Components,
            Mixtures,
            Excess,
            Magnetic,
            Sublattices,
            SublatticeConstituents,
            OxideConstituents,
            EquationsOfOne,
            Equations,
            Volumes
        };
        auto& used = system_->sizes_.used;
        used[Components] = static_cast<int>(component_count_);
        for (const Phase& phase : system_->phases) {
            used[Constituents] += static_cast<int>(phase.constituents.size());
            for (const Constituent& constituent : phase.constituents) {
                const int equations = static_cast<int>(constituent.gibbs.ranges().size());
                used[EquationsOfOne] = std::max(used[EquationsOfOne], equations);
                used[Equations] += equations;
                used[Volumes] += constituent.has_volume_data ? 1 : 0;
            }
            if (phase.model) {
                const ModelSize size = phase.model->size();
                ++used[Mixtures];
                used[Excess] = std::max(used[Excess], size.excess_coefficients);
                used[Magnetic] = std::max(used[Magnetic], size.magnetic_coefficients);
                used[Sublattices] = std::max(used[Sublattices], size.sublattices);
                used[SublatticeConstituents] =
                    std::max(used[SublatticeConstituents], size.sublattice_constituents);
            }
        }
    }

    DatTokens tokens_;
    std::shared_ptr<System> system_;
    std::size_t component_count_ = 0;
    std::vector<int> solution_counts_;
    int pure_count_ = 0;
    std::vector<int> gibbs_terms_;
    std::vector<int> excess_terms_;
    std::map<double, std::size_t> places_; ///< of exponents met so far
};

std::shared_ptr<const System> System::read_dat(std::string_view text, const std::string& file) {
    return read_records(DatTokens(text, file));
}

std::shared_ptr<const System> System::read_records(DatTokens records) {
    return DatReader(std::move(records)).read();
}

} // namespace tessara
