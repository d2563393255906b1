#pragma once

#include "engine/models/model.hpp"
#include "engine/models/parameters.hpp"
#include "engine/models/site_table.hpp"

#include <optional>
#include <string>

namespace tessara {

/// What stands on the second sublattice of an ionic liquid.
enum class IonicKind { Anion, Vacancy, Neutral };

/// What a data file says of an ionic two-sublattice liquid. Cations come first, then the
/// constituents of the second sublattice, numbered through both.
struct IonicLiquidPhase {
    std::size_t cations = 0;
    std::vector<std::string> names;
    std::vector<IonicKind> kinds; ///< of the second sublattice
    std::vector<double> charges;  ///< absolute values; 1 for vacancies, 0 for neutrals
    /// The phase's constituents: pairs of a cation with an anion or vacancy, and neutrals.
    struct Species {
        std::optional<std::size_t> cation; ///< none for neutrals
        std::size_t other;                 ///< running number on the second sublattice

        friend bool operator==(const Species&, const Species&) = default;
    };
    std::vector<Species> species;
    std::vector<InteractionTerm<ExcessCoefficients>> excess;

    IonicKind kind(std::size_t running) const { return kinds[running - cations]; }
    friend bool operator==(const IonicLiquidPhase&, const IonicLiquidPhase&) = default;
};

/// The constituents of a parameter in the order of the equations: cations, then anions, vacancies
/// and neutrals; the order among alike ones stays.
std::vector<std::size_t> ionic_order(const IonicLiquidPhase& phase,
                                     std::vector<std::size_t> constituents);

/// How the constituents of a parameter, in that order, mix.
enum class IonicPattern {
    CationsAroundAnion,    ///< C, C' : A
    AroundCation,          ///< C : A, D with D another anion, the vacancy or a neutral
    CationsAroundVacancy,  ///< C, C' : Va
    VacancyNeutral,        ///< C : Va, B
    Neutrals,              ///< C : B, B'
    ThreeCationsAnion,     ///< C, C', C'' : A
    ThreeAroundCation,     ///< C : A, D, D'
    ThreeCationsVacancy,   ///< C, C', C'' : Va
    VacancyTwoNeutrals,    ///< C : Va, B, B'
    ThreeNeutrals,         ///< C : B, B', B''
    Reciprocal,            ///< C, C' : A, D
    CationsVacancyNeutral, ///< C, C' : Va, B
};
std::optional<IonicPattern> ionic_pattern(const IonicLiquidPhase& phase,
                                          std::span<const std::size_t> constituents);
/// Whether the sets of a pattern belong to its three fractions, so that there are one or three.
bool takes_three_sets(IonicPattern pattern);

/// The two-sublattice ionic liquid (cations C)_P (anions A, vacancy, neutrals B)_Q. Per mole of
/// formula units, with Q = sum nu_C y_C and P = sum nu_A y_A + Q y_Va,
///
///     Gm = sum_CA y_C y_A G_CA + Q y_Va sum_C y_C G_C + Q sum_B y_B G_B + Gex
///        + R T [P sum_C y_C ln y_C + Q (sum_A y_A ln y_A + y_Va ln y_Va + sum_B y_B ln y_B)]
///
///     C, C' : A          y_C y_C' y_A sum L_z (y_C - y_C')^z
///     C : A, D           y_C y_A y_D sum L_z (y_A - y_D)^z
///     C, C' : Va         Q y_C y_C' y_Va^2 sum L_z (y_C - y_C')^z
///     C : Va, B          Q y_C y_Va y_B sum L_z (y_C y_Va - y_B)^z
///     C : B, B'          Q y_B y_B' sum L_z (y_B - y_B')^z
///     C, C', C'' : A     y_C y_C' y_C'' y_A t3(y_C, y_C', y_C'')
///     C : A, D, D'       y_C y_A y_D y_D' t3(y_A, y_D, y_D')
///     C, C', C'' : Va    Q y_C y_C' y_C'' y_Va^3 t3(y_C y_Va, y_C' y_Va, y_C'' y_Va)
///     C : Va, B, B'      Q y_C y_Va y_B y_B' t3(y_C y_Va, y_B, y_B')
///     C : B, B', B''     Q y_B y_B' y_B'' t3(y_B, y_B', y_B'')
///     C, C' : A, D       y_C y_C' y_A y_D {L_0; odd z: L_z (y_A - y_D)^((z+1)/2);
///                        even z: L_z (y_C - y_C')^(z/2)}
///     C, C' : Va, B      Q y_C y_C' y_Va^2 y_B t3(y_C y_Va, y_C' y_Va, y_B)
///
/// t3(u, v, w) = sum L_k (the k-th + (1 - u - v - w)/3), or L_0 where there is one set.
///
/// Its variables are the moles of cations, anions and neutrals and the equivalents w = Q N_Va of
/// vacancies, in which the balance of charges is linear.
///
/// M. Hillert, B. Jansson, B. Sundman, J. Agren, Metall. Trans. A 16 (1985) 261-266; B. Sundman,
/// CALPHAD 15 (1991) 109-119.
class IonicLiquidModel final : public PhaseModel {
public:
    explicit IonicLiquidModel(IonicLiquidPhase phase) : phase_(std::move(phase)) {}

    ModelKind kind() const override { return ModelKind::SUBI; }
    ModelSize size() const override;
    std::unique_ptr<PhaseEvaluator> evaluator(std::span<const Constituent> constituents,
                                              std::span<const std::size_t> active) const override;
    std::vector<char> reduce(std::vector<char> possible) const override;
    ThermalValue pure_mixing(std::size_t, const TemperatureTerms&) const override { return {}; }
    bool equals(const PhaseModel& other) const override;
    void describe(Description& phase) const override;

    const IonicLiquidPhase& phase() const { return phase_; }

private:
    IonicLiquidPhase phase_;
};

/// What each cation, anion and neutral holds, and an equivalent of vacancies: a row for each
/// running number.
SiteContents ionic_contents(const IonicLiquidPhase& phase,
                            std::span<const Constituent> constituents);

} // namespace tessara
