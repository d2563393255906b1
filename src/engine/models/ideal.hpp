#pragma once

#include "engine/models/model.hpp"

namespace tessara {

/// Ideal mixing: m = sum x_i ln x_i, and for the gas + ln(P / 1 bar), volume R T / P.
class IdealModel final : public PhaseModel {
public:
    explicit IdealModel(bool gas) : gas_(gas) {}

    ModelKind kind() const override { return ModelKind::IDMX; }
    ModelSize size() const override { return {}; }
    std::unique_ptr<PhaseEvaluator> evaluator(std::span<const Constituent> constituents,
                                              std::span<const std::size_t> active) const override;
    ThermalValue pure_mixing(std::size_t, const TemperatureTerms&) const override { return {}; }
    bool equals(const PhaseModel& other) const override;
    void describe(Description& phase) const override;

private:
    bool gas_;
};

} // namespace tessara
