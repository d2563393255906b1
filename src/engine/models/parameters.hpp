#pragma once

#include "engine/data/description.hpp"
#include "engine/data/read_error.hpp"
#include "engine/data/temperature_function.hpp"
#include "engine/models/magnetism.hpp"

#include <cstddef>
#include <optional>
#include <vector>

namespace tessara {

/// Coefficients of an excess parameter: the six usual terms of temperature, then those of P and P^2
/// (P in bar).
struct ExcessCoefficients {
    SixCoefficients thermal{};
    double p = 0.0;
    double p2 = 0.0;

    friend bool operator==(const ExcessCoefficients&, const ExcessCoefficients&) = default;
};

/// Parameters on several constituents, in the order of the file: the order fixes signs and which
/// set belongs to which constituent. In phases with sublattices the constituents are those of the
/// sites, numbered through all sublattices.
template <class Coefficients>
struct InteractionTerm {
    std::vector<std::size_t> constituents;
    std::vector<Coefficients> sets;
    SourceLine line{};

    friend bool operator==(const InteractionTerm&, const InteractionTerm&) = default;
};

/// The Curie temperature, K, and the magnetic moment of a constituent, or the two parts of a
/// magnetic interaction parameter.
struct MagneticNumbers {
    double tc = 0.0;
    double beta = 0.0;

    friend bool operator==(const MagneticNumbers&, const MagneticNumbers&) = default;
};

/// What a magnetic phase holds beside its excess parameters.
struct MagneticMixture {
    MagneticFactors factors;
    std::vector<MagneticNumbers> constituents;
    std::vector<InteractionTerm<MagneticNumbers>> terms;

    friend bool operator==(const MagneticMixture&, const MagneticMixture&) = default;
};

/// The numbers of a set: six coefficients and those of P and P^2, or Tc and beta.
Description describe(const ExcessCoefficients& set);
Description describe(const MagneticNumbers& set);

/// A number, or nothing.
Description describe_number(std::optional<std::size_t> number);

/// Parameters as a description has them: "constituents", counted from 0, "sets" and "line".
template <class Coefficients>
Description describe_terms(const std::vector<InteractionTerm<Coefficients>>& terms) {
    return Description::list(terms, [](const InteractionTerm<Coefficients>& term) {
        return Description::Table{
            {"constituents", Description::list(term.constituents)},
            {"sets",
             Description::list(term.sets, [](const Coefficients& set) { return describe(set); })},
            {"line", term.line.number},
        };
    });
}

/// Adds what a magnetic phase holds: "lattice" (f and p), "moments" of its constituents and
/// "magnetic_interactions".
void describe_magnetism(const MagneticMixture& magnetic, Description& phase);

/// Number of sets in a list of parameters.
template <class Coefficients>
int set_count(const std::vector<InteractionTerm<Coefficients>>& terms) {
    int count = 0;
    for (const auto& term : terms) {
        count += static_cast<int>(term.sets.size());
    }
    return count;
}

} // namespace tessara
