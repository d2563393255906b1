#include "engine/data/dat_reader.hpp"

#include <algorithm>
#include <array>
#include <cctype>

namespace tessara {
namespace {

/// Terms of temperature and pressure that coefficients may stand for; the file numbers them from 1.
enum Term { One = 1, Inverse = 6, PressureSquared = 8 };

bool same_substance(const Constituent& a, const Constituent& b) {
    return a.name == b.name && a.stoichiometry == b.stoichiometry && a.gibbs == b.gibbs &&
           a.magnetic == b.magnetic && a.has_volume_data == b.has_volume_data;
}

bool same_data(const Phase& a, const Phase& b) {
    return a.gas == b.gas && a.model->equals(*b.model) &&
           std::equal(a.constituents.begin(), a.constituents.end(), b.constituents.begin(),
                      b.constituents.end(), same_substance);
}

} // namespace

std::string upper(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return result;
}

std::string numbered(const char* what, std::size_t k, std::size_t count) {
    return std::string(what) + " " + std::to_string(k) + " of " + std::to_string(count);
}

DatReader::DatReader(DatTokens tokens)
    : tokens_(std::move(tokens)), system_(std::make_shared<System>()) {}

std::shared_ptr<const System> DatReader::read() {
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

// --- header ---

void DatReader::read_header() {
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

void DatReader::read_counts() {
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
int DatReader::limited_sum(int a, int b) {
    if (a + b > ArraySizes::Most) {
        tokens_.fail(tokens_.last(),
                     "more than " + std::to_string(ArraySizes::Most) + " constituents in all");
    }
    return a + b;
}

void DatReader::read_components() {
    tokens_.begin_record();
    for (std::size_t k = 0; k < component_count_; ++k) {
        const auto what = [&] { return numbered("name of component", k + 1, component_count_); };
        const std::optional<Token> next = tokens_.peek();
        if (!next || parse_number(next->text)) {
            tokens_.fail_expected(what(), next);
        }
        const Token name = tokens_.word(what());
        system_->components.push_back(
            {std::string(name.text), 0.0, is_electron_name(name.text), name.line});
    }
    tokens_.begin_record();
    for (Component& component : system_->components) {
        const auto what = [&] { return "the molar mass of component '" + component.name + "'"; };
        component.molar_mass = tokens_.number(what);
        component.mass_line = tokens_.last_line();
        if (component.molar_mass < 0.0) {
            tokens_.fail_expected(what(), tokens_.last(), "a molar mass is not negative");
        }
    }
}

std::vector<int> DatReader::read_terms(const char* what, int most) {
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

// --- mixture phases ---

/// The words that may follow a phase's name. A new model joins with its reader here.
std::span<const DatReader::BlockType> DatReader::block_types() {
    static constexpr std::array types{
        BlockType{"IDMX", &DatReader::read_idmx},
        BlockType{"RKMP", &DatReader::read_rkmp},
        BlockType{"RKMPM", &DatReader::read_rkmpm},
        BlockType{"QKTO", &DatReader::read_qkto},
        BlockType{"SUBL", &DatReader::read_subl},
        BlockType{"SUBLM", &DatReader::read_sublm},
        BlockType{"SUBM", &DatReader::read_subm},
        BlockType{"SUBI", &DatReader::read_subi},
        BlockType{"SUBG", &DatReader::read_subg},
        BlockType{"SUBQ", &DatReader::read_subq},
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

std::string DatReader::supported_words() {
    std::string words;
    for (const BlockType& type : block_types()) {
        if (type.read != nullptr) {
            words += (words.empty() ? "" : ", ") + std::string(type.word);
        }
    }
    return words;
}

void DatReader::read_mixture(std::size_t slot, std::size_t count) {
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
                               ", which is not supported (supported: " + supported_words() + ")");
    }
    if (block.phase.gas && type != "IDMX") {
        tokens_.fail(word, "the gas phase '" + name.name + "' has the model " + type +
                               "; a gas can only be ideal (IDMX)");
    }
    block.word = word;
    block.phase.model = (this->*found->read)(block);
    system_->phases.push_back(std::move(block.phase));
}

void DatReader::read_pure(int k) {
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

void DatReader::check_end() {
    const std::optional<Token> rest = tokens_.after_end();
    system_->comment_line = rest ? rest->line : 0;
    if (rest && rest->text.front() != '#' && rest->text.front() != ':' &&
        rest->text.front() != '!') {
        tokens_.note(rest->line, rest->column,
                     "text that looks like a record follows the end of the data; is the number "
                     "of pure condensed phases right?");
    }
}

/// Mixture phases of one name become "X#1", "X#2", ... in file order.
void DatReader::number_copies() {
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

/// Duplicate names are read as they stand; whoever addresses by name may refuse them.
void DatReader::note_duplicates() {
    std::map<std::string_view, int> names;
    for (const Component& component : system_->components) {
        if (names[component.name]++ > 0) {
            tokens_.note(component.line, 1, "component '" + component.name + "' occurs twice",
                         true);
        }
    }
    for (const Phase& phase : system_->phases) {
        std::map<std::string_view, int> seen;
        for (const Constituent& constituent : phase.constituents) {
            if (seen[constituent.name]++ > 0) {
                tokens_.note(constituent.line, 1,
                             "constituent '" + constituent.name + "' occurs twice in phase '" +
                                 phase.file_name + "'",
                             true);
            }
        }
    }
}

void DatReader::count_sizes() {
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
            used[OxideConstituents] =
                std::max(used[OxideConstituents], size.quasichemical_constituents);
        }
    }
}

std::shared_ptr<const System> System::read_dat(std::string_view text, const std::string& file) {
    return read_records(DatTokens(text, file));
}

std::shared_ptr<const System> System::read_records(DatTokens records) {
    return DatReader(std::move(records)).read();
}

} // namespace tessara
