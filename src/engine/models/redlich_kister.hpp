#pragma once

#include "engine/models/model.hpp"
#include "engine/models/parameters.hpp"

#include <array>
#include <optional>

namespace tessara {

/// Redlich-Kister polynomials with Muggianu's extension to multicomponent mixtures.
///
///     m R T = R T sum x_i ln x_i + sum_sets L(T, P) v(x)  [ + R T ln(1 + beta) g(T/Tc) ]
///     two constituents,   set q:  v = x_i x_j (x_i - x_j)^(q-1)
///     three, three sets,  set q:  v = x_i x_j x_k [x_c + (1 - x_i - x_j - x_k)/3], c the q-th
///     listed three, one set:             v = x_i x_j x_k four:                       v = x_i x_j
///     x_k x_l
///
/// Tc and beta are sum x_i Tc_i + sum t v, likewise; the sign rule is applied to the mixture.
///
/// O. Redlich, A. T. Kister, Ind. Eng. Chem. 40 (1948) 345-348; Y.-M. Muggianu, M. Gambino,
/// J.-P. Bros, J. Chim. Phys. 72 (1975) 83-88; M. Hillert, CALPHAD 4 (1980) 1-12 for the ternary
/// parameters; magnetism as in magnetism.hpp.
class RedlichKisterModel final : public PhaseModel {
public:
    RedlichKisterModel(std::size_t constituent_count,
                       std::vector<InteractionTerm<ExcessCoefficients>> excess,
                       std::optional<MagneticMixture> magnetic)
        : constituent_count_(constituent_count), excess_(std::move(excess)),
          magnetic_(std::move(magnetic)) {}

    ModelKind kind() const override { return magnetic_ ? ModelKind::RKMPM : ModelKind::RKMP; }
    ModelSize size() const override;
    std::unique_ptr<PhaseEvaluator> evaluator(std::span<const Constituent> constituents,
                                              std::span<const std::size_t> active) const override;
    ThermalValue pure_mixing(std::size_t constituent, const TemperatureTerms& at) const override;
    bool equals(const PhaseModel& other) const override;
    void describe(Description& phase) const override;

    const std::vector<InteractionTerm<ExcessCoefficients>>& excess() const { return excess_; }
    const std::optional<MagneticMixture>& magnetic() const { return magnetic_; }

private:
    std::size_t constituent_count_;
    std::vector<InteractionTerm<ExcessCoefficients>> excess_;
    std::optional<MagneticMixture> magnetic_;
};

/// The polynomials v of one list of parameters, over the fractions of the active constituents.
/// Coefficients are handed in, so that one object serves any property that mixes this way.
class CompositionPolynomial {
public:
    /// Adds the polynomials of one parameter; returns the place of its first coefficient.
    std::size_t add(std::span<const std::size_t> constituents, std::size_t set_count);

    std::size_t coefficient_count() const { return coefficient_count_; }

    double value(std::span<const double> x, std::span<const double> coefficients) const;
    /// Adds the gradient to `gradient` and returns the value.
    double gradient(std::span<const double> x, std::span<const double> coefficients,
                    std::span<double> gradient) const;
    /// Adds weight times the Hessian to `hessian`, a row-major square.
    void hessian(std::span<const double> x, std::span<const double> coefficients, double weight,
                 std::span<double> hessian) const;

private:
    enum class Shape { Binary, Ternary, TernaryConstant, Quaternary };
    struct Block {
        Shape shape;
        std::array<std::size_t, 4> at;
        std::size_t first;
        std::size_t count;
    };

    std::vector<Block> blocks_;
    std::size_t coefficient_count_ = 0;
};

} // namespace tessara
