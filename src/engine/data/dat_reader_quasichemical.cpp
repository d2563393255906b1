#include "engine/data/dat_reader.hpp"
#include "engine/models/quasichemical.hpp"
#include "engine/text/text.hpp"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <set>

// Blocks of quasichemical phases: pairs, coordination numbers, parameters.

namespace tessara {
namespace {

constexpr std::size_t Cations = 0;
constexpr std::size_t Anions = 1;
constexpr std::array<const char*, 2> IonNames = {"cation", "anion"};

/// Charges of a quadruplet that differ by more, relatively, are worth a note; by more yet, wrong.
constexpr double NotedImbalance = 1e-4;
constexpr double RefusedImbalance = 1e-2;

std::string quadruplet_name(const QuasichemicalPhase& phase, const Quadruplet& q) {
    std::string text;
    for (std::size_t s : {Cations, Anions}) {
        for (std::size_t ion : q.ions[s]) {
            text += (text.empty() ? "" : "-") + phase.names[phase.table.offset(s) + ion];
        }
    }
    return text;
}

} // namespace

/// Two cations and two anions by their running numbers; what is not ascending is exchanged, and
/// `turned` tells of which sublattice.
Quadruplet DatReader::read_quadruplet(const SiteTable& table, std::array<bool, 2>& turned) {
    Quadruplet q;
    for (std::size_t s : {Cations, Anions}) {
        const std::size_t offset = table.offset(s);
        for (std::size_t& ion : q.ions[s]) {
            ion = read_running_number(offset + 1, offset + table.sizes()[s], IonNames[s]) - offset;
        }
        turned[s] = q.ions[s][0] > q.ions[s][1];
        if (turned[s]) {
            std::swap(q.ions[s][0], q.ions[s][1]);
        }
    }
    return q;
}

/// An end member with the moles of its ions.
QuasichemicalPair DatReader::read_pair(MixtureContext& block, std::size_t k, std::size_t count) {
    read_constituent(block, k, count, false);
    const std::string of = "of pair '" + block.phase.constituents.back().name + "'";
    tokens_.begin_record();
    std::array<double, 5> numbers{};
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const auto what = [&] { return numbered("coefficient", i + 1, numbers.size()) + " " + of; };
        numbers[i] = tokens_.number(what);
        if (i < 2 && numbers[i] <= 0.0) {
            tokens_.fail_expected(what(), tokens_.last(), "moles of ions are positive");
        }
        if (i >= 2 && numbers[i] != 0.0) {
            tokens_.note(tokens_.last().line, tokens_.last().column,
                         what() + " has no meaning here");
        }
    }
    return {.cations = numbers[0], .anions = numbers[1]};
}

double DatReader::read_zeta(const std::string& of) {
    tokens_.begin_record();
    const std::string what = "zeta of " + of;
    const double zeta = tokens_.number(what);
    if (zeta <= 0.0) {
        tokens_.fail_expected(what, tokens_.last(), "zeta is positive");
    }
    return zeta;
}

/// Charges, absolute values, and chemical groups of one sublattice.
void DatReader::read_ions(const Sites& sites, std::size_t s, std::vector<double>& charges,
                          std::vector<int>& groups) {
    tokens_.begin_record();
    const std::size_t offset = s == Cations ? 0 : sites.sizes[Cations];
    for (std::size_t k = 0; k < sites.sizes[s]; ++k) {
        const auto what = [&] {
            return "charge of " + std::string(IonNames[s]) + " '" + sites.names[offset + k] + "'";
        };
        charges.push_back(std::abs(tokens_.number(what)));
        if (charges.back() == 0.0) {
            tokens_.fail_expected(what(), tokens_.last(), "a charge is not zero");
        }
    }
    const std::vector<int> own =
        read_integers(std::string("group of ") + IonNames[s], sites.sizes[s]);
    groups.insert(groups.end(), own.begin(), own.end());
}

std::shared_ptr<const PhaseModel> DatReader::read_subg(MixtureContext& block) {
    return read_quasichemical(block, false);
}

std::shared_ptr<const PhaseModel> DatReader::read_subq(MixtureContext& block) {
    return read_quasichemical(block, true);
}

std::shared_ptr<const PhaseModel> DatReader::read_quasichemical(MixtureContext& block, bool half) {
    QuasichemicalPhase phase;
    phase.half = half;
    const double common = half ? 0.0 : read_zeta("phase '" + block.phase.name + "'");
    tokens_.begin_record();
    const auto pairs =
        static_cast<std::size_t>(tokens_.integer("number of pairs", 1, ArraySizes::Most));
    const Token pair_count = tokens_.last();
    const auto lines = static_cast<std::size_t>(
        tokens_.integer("number of lines of coordination numbers", 0, ArraySizes::Most));
    for (std::size_t k = 0; k < pairs; ++k) {
        phase.pairs.push_back(read_pair(block, k, pairs));
        phase.pairs.back().zeta =
            half ? read_zeta("pair '" + block.phase.constituents.back().name + "'") : common;
    }
    Sites sites;
    read_site_sizes(sites, 2);
    const std::size_t n1 = sites.sizes[Cations];
    const std::size_t n2 = sites.sizes[Anions];
    if (n1 * n2 != pairs) {
        tokens_.fail_expected(std::to_string(n1 * n2) + " pairs (" + std::to_string(n1) + " x " +
                                  std::to_string(n2) + ")",
                              pair_count);
    }
    const std::size_t quadruplet_count = n1 * (n1 + 1) / 2 * (n2 * (n2 + 1) / 2);
    if (quadruplet_count > static_cast<std::size_t>(ArraySizes::Most)) {
        tokens_.fail(pair_count, "more than " + std::to_string(ArraySizes::Most) +
                                     " quadruplets in phase '" + block.phase.name + "'");
    }
    if (quadruplet_count != block.count) {
        tokens_.note(block.phase.line, 1,
                     "phase '" + block.phase.name + "' has " + std::to_string(quadruplet_count) +
                         " quadruplets, but the header says " + std::to_string(block.count));
    }
    read_site_names(sites, block);
    for (std::size_t s : {Cations, Anions}) {
        read_ions(sites, s, phase.charges, phase.grouping.groups);
    }
    phase.table = read_site_table(sites, "pair", pairs);
    phase.names = sites.names;
    note_pair_charges(block, phase);
    read_coordinations(phase, lines);
    read_quasichemical_terms(block, phase);
    return std::make_shared<QuasichemicalModel>(std::move(phase));
}

/// Ions of a pair must balance, but with vacancies for anions.
void DatReader::note_pair_charges(const MixtureContext& block, const QuasichemicalPhase& phase) {
    for (std::size_t p = 0; p < phase.pairs.size(); ++p) {
        const std::size_t cation = phase.table.running(p, Cations);
        const std::size_t anion = phase.table.running(p, Anions);
        const double plus = phase.pairs[p].cations * phase.charges[cation];
        const double minus = phase.pairs[p].anions * phase.charges[anion];
        if (std::abs(plus - minus) > NotedImbalance * plus && upper(phase.names[anion]) != "VA") {
            const Constituent& pair = block.phase.constituents[p];
            tokens_.note(pair.line, 1,
                         "pair '" + pair.name + "': " + number_text(phase.pairs[p].cations) +
                             " x " + number_text(phase.charges[cation]) + " of cation " +
                             phase.names[cation] + " against " +
                             number_text(phase.pairs[p].anions) + " x " +
                             number_text(phase.charges[anion]) + " of " + phase.names[anion] +
                             "; are the tables of the pairs exchanged?");
        }
    }
}

void DatReader::read_coordinations(QuasichemicalPhase& phase, std::size_t lines) {
    std::set<std::array<std::size_t, 4>> listed;
    const auto key_of = [](const Quadruplet& q) {
        return std::array{q.ions[0][0], q.ions[0][1], q.ions[1][0], q.ions[1][1]};
    };
    for (std::size_t k = 0; k < lines; ++k) {
        tokens_.begin_record();
        std::array<bool, 2> turned{};
        const Quadruplet q = read_quadruplet(phase.table, turned);
        const Token at = tokens_.last();
        const std::string name = quadruplet_name(phase, q);
        Coordination z{};
        std::array<double, 2> balance{};
        for (std::size_t s : {Cations, Anions}) {
            for (const std::size_t i : {0U, 1U}) {
                const std::size_t ion = turned[s] ? 1 - i : i;
                const std::string what = "a positive coordination number of " + name;
                z[s][ion] = tokens_.number(what);
                if (z[s][ion] <= 0.0) {
                    tokens_.fail_expected(what, tokens_.last());
                }
                balance[s] += phase.charges[phase.table.offset(s) + q.ions[s][ion]] / z[s][ion];
            }
        }
        if (turned[Cations] || turned[Anions]) {
            tokens_.note(at.line, 1, "the ions of quadruplet " + name + " are not in their order");
        }
        const double imbalance =
            std::abs(balance[0] - balance[1]) / std::max(balance[0], balance[1]);
        const std::string text = "q/Z of " + name + ": cations " + number_text(balance[0], 3) +
                                 ", anions " + number_text(balance[1], 3);
        if (imbalance > RefusedImbalance) {
            tokens_.fail(at, text);
        }
        if (imbalance > NotedImbalance) {
            tokens_.note(at.line, 1, text);
        }
        if (!listed.insert(key_of(q)).second) {
            tokens_.fail(at, "quadruplet " + name + " is listed twice");
        }
        phase.coordinations.emplace_back(q, z);
    }
    for (std::size_t p = 0; p < phase.pairs.size(); ++p) {
        const std::size_t a = phase.table.at(p, Cations);
        const std::size_t x = phase.table.at(p, Anions);
        const Quadruplet pure{{{{a, a}, {x, x}}}};
        if (listed.count(key_of(pure)) == 0) {
            tokens_.begin_record();
            tokens_.fail_expected("coordination numbers of " + quadruplet_name(phase, pure),
                                  tokens_.peek());
        }
    }
}

void DatReader::read_quasichemical_terms(const MixtureContext& block, QuasichemicalPhase& phase) {
    for (;;) {
        tokens_.begin_record();
        const char* expected = "3, 4, 0 or -K with K override lines";
        const int kind = tokens_.integer(expected, -ArraySizes::Most, 4);
        if (kind <= 0) {
            phase.grouping.overrides =
                read_overrides(static_cast<std::size_t>(-kind), phase.table.total());
            return;
        }
        if (kind < 3) {
            tokens_.fail_expected(expected, tokens_.last());
        }
        phase.excess.push_back(read_quasichemical_term(phase));
        limit_coefficients(block, phase.excess.size());
    }
}

QuasichemicalTerm DatReader::read_quasichemical_term(const QuasichemicalPhase& phase) {
    constexpr std::array<QuasichemicalShape, 4> shapes = {
        QuasichemicalShape::G, QuasichemicalShape::Q, QuasichemicalShape::B, QuasichemicalShape::R};
    QuasichemicalTerm term;
    tokens_.begin_record();
    const Token code = tokens_.letter("G, Q, B or R");
    const std::size_t shape = std::string_view("GQBR").find(upper(code.text));
    if (shape == std::string_view::npos) {
        tokens_.fail_expected("G, Q, B or R", code);
    }
    term.shape = shapes[shape];
    term.line = {code.line};
    std::array<bool, 2> turned{};
    term.on = read_quadruplet(phase.table, turned);
    const Token at = tokens_.last();
    for (std::array<int, 2>* powers : {&term.powers, &term.more_powers}) {
        for (int& power : *powers) {
            power = read_exponent("exponent, a whole number of 0 or more");
        }
    }
    for (std::size_t k : {Cations, Anions}) {
        if (turned[k] && term.shape == QuasichemicalShape::B) {
            // Its two pairs are the first cation with the first anion, and the others.
            std::swap(term.on.ions[k][0], term.on.ions[k][1]);
        } else if (turned[k]) {
            std::swap(term.powers[0], term.powers[1]);
        }
    }
    check_quasichemical_term(phase, term, code, at);
    read_void_numbers();
    read_void_numbers();
    tokens_.begin_record();
    for (std::size_t s : {Cations, Anions}) {
        read_additional(phase, term, s);
    }
    term.coefficient = read_coefficients(static_cast<ExcessCoefficients*>(nullptr), 1);
    return term;
}

void DatReader::check_quasichemical_term(const QuasichemicalPhase& phase,
                                         const QuasichemicalTerm& term, const Token& code,
                                         const Token& at) {
    const bool cations = term.on.mixed(Cations);
    const bool anions = term.on.mixed(Anions);
    const std::string name = quadruplet_name(phase, term.on);
    if (!cations && !anions) {
        tokens_.fail(at, "nothing mixes in a parameter on " + name);
    }
    const auto zero = [](const std::array<int, 2>& powers) {
        return powers[0] == 0 && powers[1] == 0;
    };
    const bool reciprocal = term.shape == QuasichemicalShape::R;
    if (reciprocal && !(cations && anions)) {
        tokens_.fail(at, "a parameter of code R is on a quadruplet of four ions, not on " + name);
    }
    if (cations && anions && term.shape != QuasichemicalShape::B &&
        !(zero(term.powers) && zero(term.more_powers))) {
        tokens_.fail(at, "a parameter of code " + std::string(code.text) + " on " + name +
                             " with exponents other than 0 is not supported");
    }
}

/// Six numbers without a known meaning.
void DatReader::read_void_numbers() {
    tokens_.begin_record();
    for (int k = 1; k <= 6; ++k) {
        const double value = tokens_.number(
            [&] { return "void number " + std::to_string(k) + " of 6 of a parameter"; });
        if (value != 0.0 && value != 1.0) {
            tokens_.note(tokens_.last().line, tokens_.last().column,
                         "the number " + std::string(tokens_.last().text) +
                             " has no meaning here; 0 and 1 are usual");
        }
    }
}

/// The additional cation or anion of a parameter, or 0.
void DatReader::read_additional(const QuasichemicalPhase& phase, QuasichemicalTerm& term,
                                std::size_t s) {
    const std::size_t offset = phase.table.offset(s);
    const std::string what = std::string("number of an additional ") + IonNames[s] + ", " +
                             std::to_string(offset + 1) + " to " +
                             std::to_string(offset + phase.table.sizes()[s]) + ", or 0";
    const int number = tokens_.integer(what, -ArraySizes::Most, ArraySizes::Most);
    const Token at = tokens_.last();
    if (number == 0) {
        return;
    }
    const auto running = static_cast<std::size_t>(number - 1);
    if (number < 1 || running < offset || running >= offset + phase.table.sizes()[s]) {
        tokens_.fail_expected(what, at);
    }
    const std::size_t ion = running - offset;
    const std::string name = phase.names[running];
    if (s == Anions && term.more[Cations]) {
        tokens_.fail(at, "a parameter has an additional cation and an additional anion");
    }
    if (!term.on.mixed(s) || term.on.mixed(1 - s) || term.shape == QuasichemicalShape::B) {
        tokens_.fail(at, "the additional " + std::string(IonNames[s]) + " '" + name +
                             "' is not on the sublattice that mixes");
    }
    if (term.on.count(s, ion) > 0) {
        tokens_.fail(at, "the additional " + std::string(IonNames[s]) + " '" + name +
                             "' is one of the two that mix");
    }
    term.more[s] = ion;
}

} // namespace tessara
