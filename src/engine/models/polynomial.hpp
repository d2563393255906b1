#pragma once

#include "engine/models/grouping.hpp"
#include "engine/models/model.hpp"

namespace tessara {

/// What a data file says of a polynomial phase.
struct PolynomialPhase {
    std::vector<double> equivalents; ///< s, per mole of each constituent
    Grouping grouping;
    std::vector<PolynomialTerm> excess;

    friend bool operator==(const PolynomialPhase&, const PolynomialPhase&) = default;
};

/// Polynomials in equivalent fractions, extended from the binaries by Kohler's or Toop's way:
///
///     m R T = R T sum x_i ln x_i + E sum L(T) h,   E = sum s_i x_i,   Y_i = s_i x_i / E
///
/// with h as `add_polynomial` has it; sources as in grouping.hpp.
class PolynomialModel final : public PhaseModel {
public:
    explicit PolynomialModel(PolynomialPhase phase) : phase_(std::move(phase)) {}

    ModelKind kind() const override { return ModelKind::QKTO; }
    ModelSize size() const override {
        return {.excess_coefficients = static_cast<int>(phase_.excess.size())};
    }
    std::unique_ptr<PhaseEvaluator> evaluator(std::span<const Constituent> constituents,
                                              std::span<const std::size_t> active) const override;
    /// Parameters with powers of zero shift the pure constituents.
    ThermalValue pure_mixing(std::size_t constituent, const TemperatureTerms& at) const override;
    bool equals(const PhaseModel& other) const override;
    void describe(Description& phase) const override;

    const PolynomialPhase& phase() const { return phase_; }

private:
    PolynomialPhase phase_;
};

} // namespace tessara
