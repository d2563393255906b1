#include "engine/data/dat_reader.hpp"

#include <cmath>

// Records of species: stoichiometry, Gibbs energies, magnetic numbers.

namespace tessara {
namespace {

/// Number of the first of the terms that a Gibbs energy's coefficients stand for.
constexpr int One = 1;
constexpr int VolumeNumbers = 11;

} // namespace

DatReader::Species DatReader::read_record(const NameLine& name) {
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
    const int ranges =
        tokens_.integer([&] { return of("number of temperature ranges"); }, 1, ArraySizes::Most);
    constituent.stoichiometry.reserve(component_count_);
    for (std::size_t j = 0; j < component_count_; ++j) {
        const Component& component = system_->components[j];
        const double amount = tokens_.number([&] {
            return "stoichiometry of '" + name.name + "' for component '" + component.name + "' (" +
                   std::to_string(j + 1) + " of " + std::to_string(component_count_) + ")";
        });
        if (amount < 0.0 && !component.electron) {
            tokens_.fail(tokens_.last(), "stoichiometry of '" + name.name + "' for component '" +
                                             component.name + "' is negative");
        }
        constituent.stoichiometry.push_back(amount);
        constituent.molar_mass += amount * component.molar_mass;
    }
    for (int r = 1; r <= ranges; ++r) {
        read_range(species, r);
    }
    return species;
}

void DatReader::refuse_unsupported(const RecordType& type, const std::string& name) {
    const std::string code = std::to_string(type.code);
    if (type.heat_capacity()) {
        tokens_.fail(tokens_.last(),
                     "heat capacity record (type " + code + ") of '" + name + "' is not supported");
    }
    if (type.constant_volume()) {
        tokens_.fail(tokens_.last(),
                     "type " + code + " of '" + name +
                         "' is not supported: the layout of its constant volume is not known");
    }
}

void DatReader::read_range(Species& species, int r) {
    Constituent& constituent = species.constituent;
    const auto of_range = [&](const std::string& what) {
        return what + " of range " + std::to_string(r) + " of '" + constituent.name + "'";
    };
    TemperatureFunction::Range range{};
    tokens_.begin_record();
    range.t_max = tokens_.number([&] { return of_range("temperature limit"); });
    range.line = tokens_.last_line();
    if (range.t_max <= 0.0) {
        tokens_.fail(tokens_.last(), of_range("temperature limit") + " is not positive");
    }
    if (r > 1 && range.t_max < constituent.gibbs.ranges().back().t_max) {
        const Token limit = tokens_.last();
        tokens_.note(limit.line, limit.column,
                     "temperature limit " + std::string(limit.text) + " of '" + constituent.name +
                         "' is below the previous limit",
                     true);
    }
    for (std::size_t k = 0; k < gibbs_terms_.size(); ++k) {
        range.coefficients[static_cast<std::size_t>(gibbs_terms_[k] - One)] =
            tokens_.number([&] { return of_range("coefficient " + std::to_string(k + 1)); });
    }
    if (species.type.extra_terms()) {
        tokens_.begin_record();
        const int count =
            tokens_.integer([&] { return of_range("number of extra terms"); }, 0, ArraySizes::Most);
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
std::size_t DatReader::place_of(double exponent) {
    const auto [at, added] = places_.try_emplace(exponent, system_->terms_.exponent_count());
    if (added) {
        system_->terms_.add_exponent(exponent);
    }
    return at->second;
}

/// f and p, checked.
MagneticFactors DatReader::read_factors(const std::string& of) {
    MagneticFactors factors;
    factors.antiferromagnetic = tokens_.number([&] { return "magnetic factors of " + of; });
    if (factors.antiferromagnetic <= 0.0) {
        tokens_.fail(tokens_.last(), "magnetic factor f of " + of + " must be positive");
    }
    factors.structure = tokens_.number([&] { return "structure factor p of " + of; });
    if (factors.structure <= 0.0 || factors.structure >= 1.0) {
        tokens_.fail(tokens_.last(), "structure factor p of " + of + " must be between 0 and 1");
    }
    return factors;
}

MagneticNumbers DatReader::read_magnetic_numbers(const std::string& of) {
    MagneticNumbers numbers;
    numbers.tc = tokens_.number([&] { return "Tc and beta of " + of; });
    numbers.beta = tokens_.number([&] { return "beta of " + of; });
    return numbers;
}

// --- mixture phases ---

} // namespace tessara
