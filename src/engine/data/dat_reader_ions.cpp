#include "engine/data/dat_reader.hpp"
#include "engine/models/ion_sublattices.hpp"
#include "engine/models/ionic_liquid.hpp"
#include "engine/text/text.hpp"

#include <algorithm>
#include <cmath>

// Blocks of phases whose two sublattices hold ions: the ionic liquid and the model of ions.

namespace tessara {
namespace {

constexpr std::size_t Cations = 0;
constexpr std::size_t Anions = 1;

/// Relative difference of numbers that should be the same but for rounding.
constexpr double Rounding = 1e-6;

bool alike(double a, double b) {
    return std::abs(a - b) <= Rounding * std::max({1.0, std::abs(a), std::abs(b)});
}

bool alike(const Constituent& a, const Constituent& b) {
    const auto one = a.gibbs.ranges();
    const auto other = b.gibbs.ranges();
    if (one.size() != other.size()) {
        return false;
    }
    const auto same_number = [](double x, double y) {
        return std::abs(x - y) <= Rounding * std::max(std::abs(x), std::abs(y));
    };
    for (std::size_t r = 0; r < one.size(); ++r) {
        if (one[r].t_max != other[r].t_max || one[r].extra.size() != other[r].extra.size() ||
            !std::equal(one[r].coefficients.begin(), one[r].coefficients.end(),
                        other[r].coefficients.begin(), same_number)) {
            return false;
        }
        for (std::size_t k = 0; k < one[r].extra.size(); ++k) {
            if (one[r].extra[k].place != other[r].extra[k].place ||
                !same_number(one[r].extra[k].coefficient, other[r].extra[k].coefficient)) {
                return false;
            }
        }
    }
    return std::equal(a.stoichiometry.begin(), a.stoichiometry.end(), b.stoichiometry.begin(),
                      [](double x, double y) { return alike(x, y); });
}

/// The record for one mole of what is given for several.
Constituent per_mole(Constituent constituent, double moles) {
    for (double& amount : constituent.stoichiometry) {
        amount /= moles;
    }
    constituent.molar_mass /= moles;
    constituent.gibbs = constituent.gibbs.scaled(1.0 / moles);
    return constituent;
}

} // namespace

// --- the ionic liquid ---

std::shared_ptr<const PhaseModel> DatReader::read_subi(MixtureContext& block) {
    read_constituents(block, false);
    Sites sites;
    read_sizes_and_names(sites, 2, block);
    tokens_.begin_record();
    const char* two = "2 (number of sublattices)";
    tokens_.integer(two, 2, 2);
    IonicLiquidPhase phase;
    phase.cations = sites.sizes[Cations];
    phase.names = sites.names;
    read_ionic_charges(phase);
    const SiteTable table = read_site_table(sites, "species", block.count);
    take_ionic_species(block, table, phase);
    if (const auto exception = ionic_contents(phase, block.phase.constituents).exception) {
        const Constituent& constituent = block.phase.constituents[*exception];
        tokens_.fail({"", constituent.line, 1},
                     "stoichiometry of '" + constituent.name +
                         "' is not what as many ions as their charges ask for hold in the other "
                         "species");
    }
    const PatternCheck check = [&](std::span<const std::size_t> constituents, std::size_t sets,
                                   const Token& count) {
        check_ionic_pattern(phase, {constituents.begin(), constituents.end()}, sets, count);
    };
    phase.excess = read_site_interactions<ExcessCoefficients>(block, table, check);
    for (auto& term : phase.excess) {
        term.constituents = ionic_order(phase, std::move(term.constituents));
    }
    note_neutral_parameters(phase);
    return std::make_shared<IonicLiquidModel>(std::move(phase));
}

/// Charges of the cations, then of the second sublattice; they say what stands there, but a vacancy
/// is known by its name.
void DatReader::read_ionic_charges(IonicLiquidPhase& phase) {
    tokens_.begin_record();
    for (std::size_t c = 0; c < phase.cations; ++c) {
        const auto what = [&] { return "positive charge of cation '" + phase.names[c] + "'"; };
        phase.charges.push_back(tokens_.number(what));
        if (phase.charges.back() <= 0.0) {
            tokens_.fail_expected(what(), tokens_.last());
        }
    }
    tokens_.begin_record();
    std::size_t vacancies = 0;
    for (std::size_t c = phase.cations; c < phase.names.size(); ++c) {
        const auto what = [&] {
            return "charge of '" + phase.names[c] + "' on sublattice 2, negative or 0";
        };
        const double charge = tokens_.number(what);
        const Token at = tokens_.last();
        if (upper(phase.names[c]) == "VA") {
            if (++vacancies > 1) {
                tokens_.fail(at, "two vacancies on sublattice 2");
            }
            if (charge >= 0.0) {
                tokens_.note(at.line, at.column,
                             "the vacancy '" + phase.names[c] + "' has the charge " +
                                 std::string(at.text) + "; negative ones are usual");
            }
            phase.kinds.push_back(IonicKind::Vacancy);
            phase.charges.push_back(1.0);
            continue;
        }
        if (charge > 0.0) {
            tokens_.fail_expected(what(), at);
        }
        phase.kinds.push_back(charge < 0.0 ? IonicKind::Anion : IonicKind::Neutral);
        phase.charges.push_back(-charge);
    }
}

/// Records stand for as many moles as charges ask for; those of a neutral, one for each cation, say
/// the same, so that the first is kept.
void DatReader::take_ionic_species(MixtureContext& block, const SiteTable& table,
                                   IonicLiquidPhase& phase) {
    std::vector<Constituent> kept;
    for (std::size_t k = 0; k < table.end_members(); ++k) {
        Constituent& record = block.phase.constituents[k];
        const std::size_t cation = table.running(k, Cations);
        const std::size_t other = table.running(k, Anions);
        if (phase.kind(other) != IonicKind::Neutral) {
            phase.species.push_back({cation, other});
            kept.push_back(std::move(record));
            continue;
        }
        Constituent neutral = per_mole(std::move(record), phase.charges[cation]);
        const auto before = std::find(phase.species.begin(), phase.species.end(),
                                      IonicLiquidPhase::Species{std::nullopt, other});
        if (before == phase.species.end()) {
            phase.species.push_back({std::nullopt, other});
            kept.push_back(std::move(neutral));
        } else if (!alike(kept[static_cast<std::size_t>(before - phase.species.begin())],
                          neutral)) {
            tokens_.note(neutral.line, 1,
                         "the records of the neutral '" + neutral.name +
                             "' differ; the first one counts");
        }
    }
    block.phase.constituents = std::move(kept);
}

void DatReader::check_ionic_pattern(const IonicLiquidPhase& phase,
                                    std::vector<std::size_t> constituents, std::size_t sets,
                                    const Token& count) {
    constituents = ionic_order(phase, std::move(constituents));
    const std::optional<IonicPattern> pattern = ionic_pattern(phase, constituents);
    if (!pattern) {
        std::string text;
        for (std::size_t k = 0; k < constituents.size(); ++k) {
            const bool turn =
                k > 0 && constituents[k] >= phase.cations && constituents[k - 1] < phase.cations;
            text += (k == 0 ? "" : turn ? " : " : ", ") + phase.names[constituents[k]];
        }
        tokens_.fail(count, "there is no rule for how " + text + " mix");
    }
    if (takes_three_sets(*pattern) && sets != 1 && sets != 3) {
        tokens_.fail_expected("1 or 3 coefficient sets", count);
    }
    if (*pattern == IonicPattern::Reciprocal && sets > 3) {
        tokens_.note(count.line, count.column,
                     "a reciprocal parameter with more than 3 coefficient sets");
    }
}

/// Parameters among neutrals alone do not depend on the cation that they name; all of them add.
void DatReader::note_neutral_parameters(const IonicLiquidPhase& phase) {
    std::vector<std::vector<std::size_t>> seen;
    for (const auto& term : phase.excess) {
        const auto pattern = ionic_pattern(phase, term.constituents);
        if (pattern != IonicPattern::Neutrals && pattern != IonicPattern::ThreeNeutrals) {
            continue;
        }
        std::vector<std::size_t> neutrals(term.constituents.begin() + 1, term.constituents.end());
        std::sort(neutrals.begin(), neutrals.end());
        if (std::find(seen.begin(), seen.end(), neutrals) != seen.end()) {
            tokens_.note(tokens_.last().line, 1,
                         "several parameters among the neutrals " + phase.names[neutrals[0]] +
                             " and " + phase.names[neutrals[1]] +
                             "; they add, whatever cations they name");
        }
        seen.push_back(std::move(neutrals));
    }
}

// --- the model of ions ---

std::shared_ptr<const PhaseModel> DatReader::read_subm(MixtureContext& block) {
    IonSublatticePhase phase;
    for (std::size_t k = 0; k < block.count; ++k) {
        read_constituent(block, k, block.count, false);
        tokens_.begin_record();
        const std::string what =
            "moles of cation and of anion of '" + block.phase.constituents.back().name + "'";
        for (std::vector<double>* moles : {&phase.cations, &phase.anions}) {
            moles->push_back(tokens_.number(what));
            if (moles->back() <= 0.0) {
                tokens_.fail_expected(what, tokens_.last(), "they are positive");
            }
        }
    }
    Sites sites;
    read_sizes_and_names(sites, 2, block);
    for (std::size_t s : {Cations, Anions}) {
        read_ions(sites, s, phase.charges, phase.grouping.groups);
    }
    phase.table = read_site_table(sites, "pair", block.count);
    phase.names = sites.names;
    check_ion_pairs(block, phase);
    read_polynomials(block, 3, phase.table.total(), phase.grouping, [&](std::size_t kind) {
        phase.excess.push_back(read_ion_term(block, phase, kind - 1));
    });
    return std::make_shared<IonSublatticeModel>(std::move(phase));
}

void DatReader::check_ion_pairs(const MixtureContext& block, const IonSublatticePhase& phase) {
    for (std::size_t p = 0; p < phase.table.end_members(); ++p) {
        const std::size_t cation = phase.table.running(p, Cations);
        const std::size_t anion = phase.table.running(p, Anions);
        const double plus = phase.cations[p] * phase.charges[cation];
        const double minus = phase.anions[p] * phase.charges[anion];
        if (std::abs(plus - minus) > 1e-4 * plus) {
            const Constituent& pair = block.phase.constituents[p];
            tokens_.fail({"", pair.line, 1}, "pair '" + pair.name +
                                                 "' is not neutral: " + number_text(plus) +
                                                 " charges of " + phase.names[cation] + ", " +
                                                 number_text(minus) + " of " + phase.names[anion]);
        }
    }
    const SiteContents contents = site_contents(
        phase.table, contents_per_equivalent(phase, block.phase.constituents), component_count_);
    if (contents.exception) {
        const Constituent& pair = block.phase.constituents[*contents.exception];
        tokens_.fail({"", pair.line, 1},
                     "stoichiometry of pair '" + pair.name +
                         "' is not the sum of what its ions hold in the other pairs");
    }
}

/// A parameter on so many constituents of one sublattice, at a constant one of the other.
PolynomialTerm DatReader::read_ion_term(const MixtureContext& block,
                                        const IonSublatticePhase& phase, std::size_t order) {
    PolynomialTerm term;
    tokens_.begin_record();
    read_distinct(term.constituents, order, 1, phase.table.total(), block);
    term.line = {tokens_.last_line()};
    const std::size_t s = phase.table.sublattice_of(term.constituents.front());
    if (std::any_of(term.constituents.begin(), term.constituents.end(),
                    [&](std::size_t c) { return phase.table.sublattice_of(c) != s; })) {
        tokens_.fail(tokens_.last(), "constituents that mix must be on one sublattice");
    }
    const char* exponent = "exponent, a whole number of 0 or more";
    for (std::size_t k = 0; k < order; ++k) {
        term.powers.push_back(read_exponent(exponent));
    }
    if (read_exponent(exponent) > 1) {
        tokens_.note(tokens_.last().line, tokens_.last().column,
                     "the exponent " + std::string(tokens_.last().text) +
                         " of the constant constituent has no effect");
    }
    const std::size_t offset = phase.table.offset(1 - s);
    term.constant =
        read_running_number(offset + 1, offset + phase.table.sizes()[1 - s], "constituent");
    term.coefficient = read_coefficients(static_cast<ExcessCoefficients*>(nullptr), 1);
    return term;
}

} // namespace tessara
