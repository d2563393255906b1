#pragma once

#include "engine/models/grouping.hpp"
#include "engine/models/model.hpp"
#include "engine/models/site_table.hpp"

#include <string>

namespace tessara {

/// What a data file says of a phase of cations and anions on a sublattice each. Ions are numbered
/// through both.
struct IonSublatticePhase {
    SiteTable table; ///< cation and anion of each pair, which are the phase's constituents
    std::vector<std::string> names;
    std::vector<double> charges; ///< absolute values
    std::vector<double> cations; ///< nu, moles of the cation in the formula of each pair
    std::vector<double> anions;  ///< mu
    Grouping grouping;
    std::vector<PolynomialTerm> excess;

    friend bool operator==(const IonSublatticePhase&, const IonSublatticePhase&) = default;
};

/// Random mixing of ions on two sublattices with polynomials in equivalent fractions. For N moles
/// of ions with charges q, E = sum q N over the cations, Y = q N / E and X the fractions on each
/// sublattice,
///
///     G = E sum_ax Y_a Y_x G_ax / (nu_ax q_a) + R T sum N ln X + E sum L h Y_x
///
/// with h of `add_polynomial` over one sublattice and the constant constituent x of the other.
/// Sources as in grouping.hpp.
class IonSublatticeModel final : public PhaseModel {
public:
    explicit IonSublatticeModel(IonSublatticePhase phase) : phase_(std::move(phase)) {}

    ModelKind kind() const override { return ModelKind::SUBM; }
    ModelSize size() const override;
    std::unique_ptr<PhaseEvaluator> evaluator(std::span<const Constituent> constituents,
                                              std::span<const std::size_t> active) const override;
    std::vector<char> reduce(std::vector<char> possible) const override {
        return phase_.table.reduce(std::move(possible));
    }
    ThermalValue pure_mixing(std::size_t, const TemperatureTerms&) const override { return {}; }
    bool equals(const PhaseModel& other) const override;
    void describe(Description& phase) const override;

    const IonSublatticePhase& phase() const { return phase_; }

private:
    IonSublatticePhase phase_;
};

/// What the pairs hold, per equivalent: a row for each.
std::vector<double> contents_per_equivalent(const IonSublatticePhase& phase,
                                            std::span<const Constituent> constituents);

} // namespace tessara
