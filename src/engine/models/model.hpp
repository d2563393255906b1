#pragma once

#include "engine/data/temperature_function.hpp"

#include <cstddef>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

namespace tessara {

/// The kinds of phases. All but `Pure` are named as in the data file.
enum class ModelKind { Pure, IDMX, RKMP, RKMPM, QKTO, SUBL, SUBLM, SUBM, SUBI, SUBG, SUBQ };

/// "PURE", "IDMX", ...
std::string_view model_name(ModelKind kind);

/// What is known of the shape of a model's Gibbs energy; it decides how a phase is searched.
enum class Curvature {
    Ideal,  ///< ideal mixing alone: the best composition has a closed form
    General ///< may have several minima
};

/// Numbers that tell how large a model is.
struct ModelSize {
    int excess_coefficients = 0;
    int magnetic_coefficients = 0;
    int sublattices = 0;
    int sublattice_constituents = 0;
};

/// Works out the mixing part of one mixture phase's Gibbs energy. Holds what depends on T, so each
/// solver has evaluators of its own.
///
/// The variables are the fractions x of the phase's active constituents. The Gibbs energy of one
/// mole of the phase is
///
///     G = sum_i x_i G_i(T) + R T m(x, T, P)
///
/// with G_i from the constituents' records. The evaluator gives m, ideal mixing included. All
/// derivatives take the x as independent; only differences along sum(x) = constant have meaning.
class PhaseEvaluator {
public:
    PhaseEvaluator() = default;
    PhaseEvaluator(const PhaseEvaluator&) = delete;
    PhaseEvaluator& operator=(const PhaseEvaluator&) = delete;
    virtual ~PhaseEvaluator() = default;

    virtual Curvature curvature() const = 0;

    /// For ideal phases m = sum_i x_i (ln x_i + shift): ln(P / 1 bar) in a gas, else 0.
    virtual double ideal_shift() const { return 0.0; }

    /// Number of active constituents.
    virtual std::size_t size() const = 0;

    /// Works out all that depends on T and P (in bar) alone.
    virtual void set_state(const TemperatureTerms& at, double pressure) = 0;

    /// m(x) where `log_x` holds ln x, so that traces keep their digits.
    virtual double mixing(std::span<const double> x, std::span<const double> log_x) const = 0;

    /// m(x) with its gradient, and its Hessian scaled by sqrt(x_i x_j): a row-major square, whose
    /// entries stay of order one for traces.
    virtual double mixing(std::span<const double> x, std::span<const double> log_x,
                          std::span<double> gradient, std::span<double> scaled_hessian) const = 0;

    /// R T m(x) in J/mol with its T derivatives, and for each constituent its partial quantity
    /// R T (m + dm/dx_i - sum_j x_j dm/dx_j) likewise. A constituent of fraction 0 has an infinite
    /// value; its derivatives are those of the limit, but for the entropy of ideal mixing.
    virtual ThermalValue mixing_thermal(std::span<const double> x, std::span<const double> log_x,
                                        std::span<ThermalValue> partial) const = 0;

    /// dG/dP of one mole in m^3/mol, the partial volumes likewise (data files hold no volumes, but
    /// excess terms may depend on P).
    virtual double volume(std::span<const double> x, std::span<double> partial) const = 0;
};

/// The parameters of one mixture phase as a data file gives them. Immutable; copies of a phase
/// share one object.
class PhaseModel {
public:
    PhaseModel() = default;
    PhaseModel(const PhaseModel&) = delete;
    PhaseModel& operator=(const PhaseModel&) = delete;
    virtual ~PhaseModel() = default;

    virtual ModelKind kind() const = 0;
    virtual ModelSize size() const = 0;

    /// An evaluator over the constituents listed (by their number in the phase, ascending).
    /// Parameters that name any other constituent are left out.
    virtual std::unique_ptr<PhaseEvaluator>
    evaluator(std::span<const std::size_t> active) const = 0;

    /// R T m of the pure constituent, J/mol, at 1 bar: zero but for magnetic phases.
    virtual ThermalValue pure_mixing(std::size_t constituent, const TemperatureTerms& at) const = 0;

    /// Whether both hold the same parameters.
    virtual bool equals(const PhaseModel& other) const = 0;
};

} // namespace tessara
