#pragma once

#include "engine/models/model.hpp"
#include "engine/models/parameters.hpp"
#include "engine/models/site_table.hpp"

#include <optional>
#include <string>

namespace tessara {

/// What a data file says of a sublattice phase. Constituents of the sites are numbered through all
/// sublattices.
struct SublatticePhase {
    std::vector<double> sites; ///< per formula unit, of each sublattice
    std::vector<std::string> names;
    SiteTable table; ///< of the end members, which are the phase's constituents
    std::vector<InteractionTerm<ExcessCoefficients>> excess;
    std::optional<MagneticMixture> magnetic;

    friend bool operator==(const SublatticePhase&, const SublatticePhase&) = default;
};

/// How the constituents of a parameter mix: on how many sublattices with how many.
enum class MixingPattern { None, Binary, Ternary, Reciprocal, Other };

/// The constituents by sublattice, in their order within it, and how they mix.
struct SublatticeMixing {
    MixingPattern pattern;
    std::vector<std::size_t> first;  ///< those that mix, on the lower sublattice
    std::vector<std::size_t> second; ///< of a reciprocal parameter, on the higher one
};
SublatticeMixing sublattice_mixing(const SiteTable& table,
                                   std::span<const std::size_t> constituents);

/// The compound energy formalism, also with magnetism. Of one mole of formula units, with the site
/// fractions y of each sublattice s, its sites a_s and the end members I,
///
///     Gm = sum_I P_I G_I + R T sum_s a_s sum_c y_sc ln y_sc + sum P L_z f_z
///          [ + R T ln(1 + beta) g(T/Tc) ]
///
/// P: the product of the site fractions of what an end member or a parameter names.
///     two on one sublattice, a b:       f_z = (y_a - y_b)^z
///     three on one, a b c, three sets:  f_z = y_z + (1 - y_a - y_b - y_c)/3, z the set's
///     constituent; one set:             f = 1
///     two on one and two on another:    f_0 = 1; (y_c - y_d)^((z+1)/2) for odd z, on the higher
///                                       sublattice; (y_a - y_b)^(z/2) for even z, on the lower
/// Tc and beta mix likewise, from those of the end members; the sign rule is applied to the sum.
///
/// M. Hillert, L.-I. Staffansson, Acta Chem. Scand. 24 (1970) 3618-3626; B. Sundman, J. Agren,
/// J. Phys. Chem. Solids 42 (1981) 297-301; M. Hillert, J. Alloys Compd. 320 (2001) 161-176;
/// magnetism as in magnetism.hpp.
class SublatticeModel final : public PhaseModel {
public:
    explicit SublatticeModel(SublatticePhase phase) : phase_(std::move(phase)) {}

    ModelKind kind() const override { return phase_.magnetic ? ModelKind::SUBLM : ModelKind::SUBL; }
    ModelSize size() const override;
    std::unique_ptr<PhaseEvaluator> evaluator(std::span<const Constituent> constituents,
                                              std::span<const std::size_t> active) const override;
    std::vector<char> reduce(std::vector<char> possible) const override {
        return phase_.table.reduce(std::move(possible));
    }
    ThermalValue pure_mixing(std::size_t constituent, const TemperatureTerms& at) const override;
    bool equals(const PhaseModel& other) const override;
    void describe(Description& phase) const override;

    const SublatticePhase& phase() const { return phase_; }

private:
    SublatticePhase phase_;
};

} // namespace tessara
