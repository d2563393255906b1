#include "engine/data/dat_reader.hpp"
#include "engine/models/ideal.hpp"
#include "engine/models/redlich_kister.hpp"

#include <algorithm>

// Blocks of mixtures without sublattices, and coefficients.

namespace tessara {
namespace {

/// Terms of temperature and pressure that coefficients may stand for; the file numbers them from 1.
enum Term { One = 1, Pressure = 7, PressureSquared = 8 };

} // namespace

/// Reads one constituent of a block. Where the phase mixes magnetically each magnetic record is
/// followed by Tc and beta; elsewhere the two numbers are read and have no effect.
void DatReader::read_constituent(MixtureContext& block, std::size_t k, std::size_t count,
                                 bool magnetic_phase) {
    Species species = read_species([&] {
        return "species name (" + std::to_string(k + 1) + " of " + std::to_string(count) + " in " +
               block.phase.name + ")";
    });
    MagneticNumbers numbers;
    if (species.type.magnetic()) {
        tokens_.begin_record();
        numbers = read_magnetic_numbers("'" + species.constituent.name + "'");
        if (!magnetic_phase) {
            tokens_.note(tokens_.last().line, 1,
                         "magnetic numbers of '" + species.constituent.name +
                             "' have no effect: phase '" + block.phase.name + "' is not magnetic");
        }
    }
    block.magnetic.push_back(numbers);
    block.phase.constituents.push_back(std::move(species.constituent));
}

void DatReader::read_constituents(MixtureContext& block, bool magnetic_phase) {
    for (std::size_t k = 0; k < block.count; ++k) {
        read_constituent(block, k, block.count, magnetic_phase);
    }
}

std::shared_ptr<const PhaseModel> DatReader::read_idmx(MixtureContext& block) {
    read_constituents(block, false);
    return std::make_shared<IdealModel>(block.phase.gas);
}

std::shared_ptr<const PhaseModel> DatReader::read_rkmp(MixtureContext& block) {
    read_constituents(block, false);
    return std::make_shared<RedlichKisterModel>(
        block.count, read_interactions<ExcessCoefficients>(block), std::nullopt);
}

/// The factors of a magnetic phase and its constituents; interactions follow in some models.
MagneticMixture DatReader::read_magnetic_constituents(MixtureContext& block) {
    MagneticMixture magnetic;
    tokens_.begin_record();
    magnetic.factors = read_factors("phase '" + block.phase.name + "'");
    read_constituents(block, true);
    magnetic.constituents = block.magnetic;
    return magnetic;
}

std::shared_ptr<const PhaseModel> DatReader::read_rkmpm(MixtureContext& block) {
    MagneticMixture magnetic = read_magnetic_constituents(block);
    magnetic.terms = read_interactions<MagneticNumbers>(block);
    return std::make_shared<RedlichKisterModel>(
        block.count, read_interactions<ExcessCoefficients>(block), std::move(magnetic));
}

/// A list of parameters on two to four constituents, up to its closing 0.
template <class Coefficients>
std::vector<InteractionTerm<Coefficients>>
DatReader::read_interactions(const MixtureContext& block) {
    std::vector<InteractionTerm<Coefficients>> terms;
    std::size_t total = 0;
    for (;;) {
        tokens_.begin_record();
        const char* expected = "number of interacting constituents (2, 3 or 4), or 0 at the end "
                               "of the list";
        const int order = tokens_.integer(expected, -ArraySizes::Most, 4);
        if (order < 0) {
            tokens_.fail_expected("0", tokens_.last(),
                                  "only polynomial and quasichemical phases have override lines");
        }
        if (order == 0) {
            return terms;
        }
        if (order == 1) {
            tokens_.fail_expected(expected, tokens_.last());
        }
        terms.push_back(read_interaction<Coefficients>(block, static_cast<std::size_t>(order)));
        total += terms.back().sets.size();
        limit_coefficients(block, total);
    }
}

template <class Coefficients>
InteractionTerm<Coefficients> DatReader::read_interaction(const MixtureContext& block,
                                                          std::size_t order) {
    InteractionTerm<Coefficients> term;
    tokens_.begin_record();
    term.line.number = tokens_.next_line();
    for (std::size_t k = 0; k < order; ++k) {
        const int c = tokens_.integer(
            [&] { return "number of a constituent, 1 to " + std::to_string(block.count); },
            -ArraySizes::Most, ArraySizes::Most);
        if (c < 1 || static_cast<std::size_t>(c) > block.count) {
            tokens_.fail(tokens_.last(), "constituent number " + std::to_string(c) + " in phase '" +
                                             block.phase.name + "' with " +
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
    if (order == 3 && sets != 1 && sets != 3) {
        tokens_.fail_expected("1 or 3 coefficient sets", tokens_.last());
    }
    if (order == 3 && sets == 1) {
        tokens_.note(tokens_.last().line, tokens_.last().column,
                     "a ternary parameter with one set is taken as independent of composition");
    }
    if (order == 4 && sets > 1) {
        tokens_.note(tokens_.last().line, tokens_.last().column,
                     "only the first set of a quaternary parameter has a meaning");
    }
    for (int q = 1; q <= sets; ++q) {
        tokens_.begin_record();
        term.sets.push_back(read_coefficients(static_cast<Coefficients*>(nullptr), q));
    }
    return term;
}

ExcessCoefficients DatReader::read_coefficients(const ExcessCoefficients*, int set) {
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

MagneticNumbers DatReader::read_coefficients(const MagneticNumbers*, int set) {
    return read_magnetic_numbers("magnetic set " + std::to_string(set));
}

void DatReader::limit_coefficients(const MixtureContext& block, std::size_t total) {
    if (total > static_cast<std::size_t>(ArraySizes::Most)) {
        tokens_.fail(tokens_.last(), "more than " + std::to_string(ArraySizes::Most) +
                                         " coefficients in phase '" + block.phase.name + "'");
    }
}

} // namespace tessara
