#include "engine/data/dat_reader.hpp"
#include "engine/models/sublattice.hpp"
#include "engine/text/text.hpp"

#include <algorithm>
#include <cmath>
#include <set>

// Blocks of phases with sublattices: lists of sites, tables of end members, interactions.

namespace tessara {
namespace {

bool is_vacancy(const std::string& name) {
    return upper(name) == "VA";
}

std::string product_text(const std::vector<std::size_t>& sizes) {
    std::string text;
    for (std::size_t size : sizes) {
        text += (text.empty() ? "" : " x ") + std::to_string(size);
    }
    return text;
}

/// The product of the sizes, or more than any file holds.
std::size_t product_of(const std::vector<std::size_t>& sizes) {
    std::size_t product = 1;
    for (std::size_t size : sizes) {
        product = std::min<std::size_t>(product * size, ArraySizes::Most + 1);
    }
    return product;
}

std::string end_member_name(const std::vector<std::size_t>& sizes,
                            const std::vector<std::string>& names,
                            const std::vector<std::size_t>& row) {
    std::string text = "(";
    std::size_t offset = 0;
    for (std::size_t s = 0; s < sizes.size(); ++s) {
        text += (s > 0 ? ", " : "") + names[offset + row[s]];
        offset += sizes[s];
    }
    return text + ")";
}

} // namespace

// --- lists of sites ---

std::vector<double> DatReader::read_numbers(const std::string& what, std::size_t count) {
    tokens_.begin_record();
    std::vector<double> numbers;
    for (std::size_t k = 1; k <= count; ++k) {
        numbers.push_back(tokens_.number([&] { return numbered(what.c_str(), k, count); }));
    }
    return numbers;
}

std::vector<int> DatReader::read_integers(const std::string& what, std::size_t count) {
    tokens_.begin_record();
    std::vector<int> numbers;
    for (std::size_t k = 1; k <= count; ++k) {
        numbers.push_back(tokens_.integer([&] { return numbered(what.c_str(), k, count); },
                                          -ArraySizes::Most, ArraySizes::Most));
    }
    return numbers;
}

void DatReader::read_site_sizes(Sites& sites, std::size_t sublattices) {
    tokens_.begin_record();
    for (std::size_t s = 1; s <= sublattices; ++s) {
        sites.sizes.push_back(static_cast<std::size_t>(tokens_.integer(
            [&] { return "number of constituents of sublattice " + std::to_string(s); }, 1,
            ArraySizes::Most)));
    }
}

void DatReader::read_site_names(Sites& sites, const MixtureContext& block) {
    for (std::size_t s = 0; s < sites.sizes.size(); ++s) {
        tokens_.begin_record();
        const std::vector<std::string> names = tokens_.name_list(
            [&](std::size_t k) {
                return "constituent " + std::to_string(k + 1) + " of sublattice " +
                       std::to_string(s + 1);
            },
            sites.sizes[s]);
        std::set<std::string> seen;
        for (const std::string& name : names) {
            if (!seen.insert(name).second) {
                tokens_.note(tokens_.last().line, 1,
                             "constituent '" + name + "' occurs twice on sublattice " +
                                 std::to_string(s + 1) + " of phase '" + block.phase.name + "'");
            }
        }
        sites.names.insert(sites.names.end(), names.begin(), names.end());
    }
}

/// The numbers of constituents and their names; their product must be the count of the header.
void DatReader::read_sizes_and_names(Sites& sites, std::size_t sublattices,
                                     const MixtureContext& block) {
    read_site_sizes(sites, sublattices);
    const std::size_t product = product_of(sites.sizes);
    if (product != block.count) {
        tokens_.fail(tokens_.last(), std::to_string(product) + " end members (" +
                                         product_text(sites.sizes) + ") in phase '" +
                                         block.phase.name + "', but the header says " +
                                         std::to_string(block.count));
    }
    read_site_names(sites, block);
}

/// Which constituent each end member has on each sublattice, one list for each sublattice.
SiteTable DatReader::read_site_table(const Sites& sites, const std::string& of, std::size_t rows) {
    std::vector<std::vector<std::size_t>> table(rows);
    for (std::size_t s = 0; s < sites.sizes.size(); ++s) {
        tokens_.begin_record();
        for (std::size_t k = 0; k < rows; ++k) {
            const auto what = [&] {
                return "constituent number 1 to " + std::to_string(sites.sizes[s]) +
                       " on sublattice " + std::to_string(s + 1) + " for " + of + " " +
                       std::to_string(k + 1);
            };
            const int number = tokens_.integer(what, -ArraySizes::Most, ArraySizes::Most);
            if (number < 1 || static_cast<std::size_t>(number) > sites.sizes[s]) {
                tokens_.fail_expected(what(), tokens_.last(), "tables use local numbers");
            }
            table[k].push_back(static_cast<std::size_t>(number - 1));
        }
    }
    return checked_table(sites, std::move(table), tokens_.last());
}

/// The table, if it holds every combination once.
SiteTable DatReader::checked_table(const Sites& sites, std::vector<std::vector<std::size_t>> rows,
                                   const Token& at) {
    std::set<std::vector<std::size_t>> seen;
    for (const std::vector<std::size_t>& row : rows) {
        if (seen.insert(row).second) {
            continue;
        }
        for (const std::vector<std::size_t>& other : rows) {
            seen.insert(other);
        }
        // The first that is missing, in the usual order.
        std::vector<std::size_t> missing(sites.sizes.size(), 0);
        while (seen.count(missing) > 0) {
            for (std::size_t s = missing.size(); s-- > 0;) {
                if (++missing[s] < sites.sizes[s]) {
                    break;
                }
                missing[s] = 0;
            }
        }
        tokens_.fail(at, "end member " + end_member_name(sites.sizes, sites.names, missing) +
                             " missing; " + end_member_name(sites.sizes, sites.names, row) +
                             " occurs twice");
    }
    return {sites.sizes, std::move(rows)};
}

/// End members must hold the sum of what their constituents hold, else site fractions do not say
/// what a phase is made of.
void DatReader::check_contents(const MixtureContext& block, const SiteTable& table) {
    std::vector<double> contents;
    for (const Constituent& constituent : block.phase.constituents) {
        contents.insert(contents.end(), constituent.stoichiometry.begin(),
                        constituent.stoichiometry.end());
    }
    const SiteContents sites = site_contents(table, contents, component_count_);
    if (sites.exception) {
        const Constituent& constituent = block.phase.constituents[*sites.exception];
        tokens_.fail({"", constituent.line, 1},
                     "stoichiometry of end member '" + constituent.name +
                         "' is not the sum of what its constituents hold in the other end members");
    }
}

// --- interactions ---

/// A number between `first` and `last`, made to count from 0.
std::size_t DatReader::read_running_number(std::size_t first, std::size_t last, const char* what) {
    const auto expected = [&] {
        return std::string(what) + " number " + std::to_string(first) + " to " +
               std::to_string(last);
    };
    const int number = tokens_.integer(expected, -ArraySizes::Most, ArraySizes::Most);
    if (number < static_cast<int>(first) || number > static_cast<int>(last)) {
        tokens_.fail_expected(expected(), tokens_.last(),
                              first > 1 ? "running numbers count through all sublattices" : "");
    }
    return static_cast<std::size_t>(number - 1);
}

template <class Coefficients>
std::vector<InteractionTerm<Coefficients>>
DatReader::read_site_interactions(const MixtureContext& block, const SiteTable& table,
                                  const PatternCheck& check) {
    std::vector<InteractionTerm<Coefficients>> terms;
    std::size_t total = 0;
    const std::string hint =
        upper(block.word.text) == "SUBLM" ? "SUBLM has two lists, each with its closing 0" : "";
    for (;;) {
        tokens_.begin_record();
        const std::optional<Token> next = tokens_.peek();
        const std::optional<double> order = next ? parse_number(next->text) : std::nullopt;
        if (!order || *order != std::floor(*order)) {
            tokens_.fail_expected("number of interacting constituents, or 0 at the end of the list",
                                  next, hint);
        }
        if (*order < 0.0) {
            tokens_.fail_expected("0", next,
                                  "only polynomial and quasichemical phases have override lines");
        }
        if (*order > 0.0 && *order < static_cast<double>(table.sublattices() + 1)) {
            tokens_.fail_expected("at least " + std::to_string(table.sublattices() + 1) +
                                      " constituents, one per sublattice",
                                  next);
        }
        const int count =
            tokens_.integer("number of interacting constituents", 0, ArraySizes::Most);
        if (count == 0) {
            return terms;
        }
        terms.push_back(read_site_interaction<Coefficients>(
            block, table, static_cast<std::size_t>(count), check));
        total += terms.back().sets.size();
        limit_coefficients(block, total);
    }
}

template <class Coefficients>
InteractionTerm<Coefficients>
DatReader::read_site_interaction(const MixtureContext& block, const SiteTable& table,
                                 std::size_t order, const PatternCheck& check) {
    InteractionTerm<Coefficients> term;
    tokens_.begin_record();
    term.line.number = tokens_.next_line();
    read_distinct(term.constituents, order, 1, table.total(), block);
    for (std::size_t s = 0; s < table.sublattices(); ++s) {
        if (std::none_of(term.constituents.begin(), term.constituents.end(),
                         [&](std::size_t c) { return table.sublattice_of(c) == s; })) {
            tokens_.fail(tokens_.last(), "sublattice " + std::to_string(s + 1) +
                                             " has no constituent in the record");
        }
    }
    // Sublattice by sublattice; the order within one stays.
    std::stable_sort(term.constituents.begin(), term.constituents.end(),
                     [&](std::size_t a, std::size_t b) {
                         return table.sublattice_of(a) < table.sublattice_of(b);
                     });
    const int sets = tokens_.integer("number of coefficient sets", 1, ArraySizes::Most);
    const Token count = tokens_.last();
    check(term.constituents, static_cast<std::size_t>(sets), count);
    for (int q = 1; q <= sets; ++q) {
        tokens_.begin_record();
        term.sets.push_back(read_coefficients(static_cast<Coefficients*>(nullptr), q));
    }
    return term;
}

template std::vector<InteractionTerm<ExcessCoefficients>>
DatReader::read_site_interactions(const MixtureContext&, const SiteTable&, const PatternCheck&);

// --- the compound energy formalism ---

void DatReader::check_mixing(const SiteTable& table, std::span<const std::size_t> constituents,
                             std::size_t sets, const Token& count) {
    const SublatticeMixing mixing = sublattice_mixing(table, constituents);
    if (mixing.pattern == MixingPattern::Ternary && sets != 1 && sets != 3) {
        tokens_.fail_expected("1 or 3 coefficient sets", count);
    }
    if (mixing.pattern == MixingPattern::Reciprocal && sets > 3) {
        tokens_.note(count.line, count.column,
                     "a reciprocal parameter with more than 3 coefficient sets");
    }
    if (mixing.pattern == MixingPattern::Other && sets > 1) {
        std::string pattern;
        for (std::size_t s = 0; s < table.sublattices(); ++s) {
            const auto on =
                std::count_if(constituents.begin(), constituents.end(),
                              [&](std::size_t c) { return table.sublattice_of(c) == s; });
            pattern += (s > 0 ? " + " : "") + std::to_string(on);
        }
        tokens_.fail(count, "constituents that mix as " + pattern +
                                " on the sublattices have one coefficient set only");
    }
}

/// Where all of an end member's constituents are components or vacancies, its stoichiometry follows
/// from the sites.
void DatReader::note_contents(const MixtureContext& block, const SublatticePhase& phase) {
    std::map<std::string, std::size_t> components;
    for (std::size_t j = 0; j < component_count_; ++j) {
        components.emplace(upper(system_->components[j].name), j);
    }
    // The component that each constituent is, if it is one.
    constexpr std::size_t unknown = static_cast<std::size_t>(-1);
    constexpr std::size_t nothing = unknown - 1;
    std::vector<std::size_t> is;
    for (const std::string& name : phase.names) {
        const auto component = components.find(upper(name));
        is.push_back(component != components.end() ? component->second
                     : is_vacancy(name)            ? nothing
                                                   : unknown);
    }
    const SiteTable& table = phase.table;
    std::vector<double> sum(component_count_);
    for (std::size_t k = 0; k < table.end_members(); ++k) {
        const Constituent& constituent = block.phase.constituents[k];
        std::fill(sum.begin(), sum.end(), 0.0);
        bool known = true;
        for (std::size_t s = 0; s < table.sublattices(); ++s) {
            const std::size_t component = is[table.running(k, s)];
            known = known && component != unknown;
            if (component < component_count_) {
                sum[component] += phase.sites[s];
            }
        }
        for (std::size_t j = 0; known && j < component_count_; ++j) {
            if (std::abs(sum[j] - constituent.stoichiometry[j]) > 1e-4) {
                tokens_.note(constituent.line, 1,
                             "'" + constituent.name + "' has " +
                                 number_text(constituent.stoichiometry[j]) + " of " +
                                 system_->components[j].name + ", its sites give " +
                                 number_text(sum[j]));
            }
        }
    }
}

std::shared_ptr<const PhaseModel> DatReader::read_subl(MixtureContext& block) {
    read_constituents(block, false);
    return read_sublattices(block, std::nullopt);
}

std::shared_ptr<const PhaseModel> DatReader::read_sublm(MixtureContext& block) {
    return read_sublattices(block, read_magnetic_constituents(block));
}

/// What follows the end members.
std::shared_ptr<const PhaseModel>
DatReader::read_sublattices(const MixtureContext& block, std::optional<MagneticMixture> magnetic) {
    if (block.phase.file_name.find(':') != std::string::npos) {
        tokens_.note(block.phase.line, 1,
                     "the number after a colon in the name '" + block.phase.file_name +
                         "' has no meaning here");
    }
    tokens_.begin_record();
    const auto sublattices = static_cast<std::size_t>(
        tokens_.integer([&] { return "number of sublattices of '" + block.phase.name + "'"; }, 1,
                        ArraySizes::Most));
    SublatticePhase phase;
    tokens_.begin_record();
    for (std::size_t s = 1; s <= sublattices; ++s) {
        const auto what = [&] { return numbered("site number of sublattice", s, sublattices); };
        phase.sites.push_back(tokens_.number(what));
        if (phase.sites.back() <= 0.0) {
            tokens_.fail_expected(what(), tokens_.last(), "a number of sites is positive");
        }
    }
    Sites sites;
    read_sizes_and_names(sites, sublattices, block);
    phase.table = read_site_table(sites, "end member", block.count);
    phase.names = std::move(sites.names);
    check_contents(block, phase.table);
    note_contents(block, phase);
    const PatternCheck check = [&](std::span<const std::size_t> constituents, std::size_t sets,
                                   const Token& count) {
        check_mixing(phase.table, constituents, sets, count);
    };
    if (magnetic) {
        magnetic->terms = read_site_interactions<MagneticNumbers>(block, phase.table, check);
    }
    phase.excess = read_site_interactions<ExcessCoefficients>(block, phase.table, check);
    phase.magnetic = std::move(magnetic);
    return std::make_shared<SublatticeModel>(std::move(phase));
}

} // namespace tessara
