#pragma once

#include "engine/models/grouping.hpp"
#include "engine/models/model.hpp"
#include "engine/models/site_table.hpp"

#include <array>

namespace tessara {

/// Two cations and two anions, by their numbers within their sublattices, each pair ascending.
struct Quadruplet {
    /// Of each sublattice.
    std::array<std::array<std::size_t, 2>, 2> ions{};

    bool mixed(std::size_t sublattice) const { return ions[sublattice][0] != ions[sublattice][1]; }
    /// How often an ion occurs: 0, 1 or 2.
    int count(std::size_t sublattice, std::size_t ion) const {
        return (ions[sublattice][0] == ion ? 1 : 0) + (ions[sublattice][1] == ion ? 1 : 0);
    }
    friend bool operator==(const Quadruplet&, const Quadruplet&) = default;
};

/// The coordination numbers of a quadruplet's ions, in their order.
using Coordination = std::array<std::array<double, 2>, 2>;

/// An end member A_nu X_mu, a constituent of the phase.
struct QuasichemicalPair {
    double cations = 1.0; ///< nu
    double anions = 1.0;  ///< mu
    double zeta = 0.0;    ///< quadruplets that hold a given pair of first-nearest neighbours

    friend bool operator==(const QuasichemicalPair&, const QuasichemicalPair&) = default;
};

/// The shapes of excess parameters, named by the letters of the data file: powers of the pair-like
/// fractions chi, of the equivalent-like fractions xi, a term in two pairs, a term of one
/// quadruplet.
enum class QuasichemicalShape { G, Q, B, R };

struct QuasichemicalTerm {
    QuasichemicalShape shape = QuasichemicalShape::G;
    Quadruplet on;
    std::array<int, 2> powers{};                    ///< of the two that mix
    std::array<int, 2> more_powers{};               ///< of an additional cation, anion
    std::array<std::optional<std::size_t>, 2> more; ///< the additional ion, cation or anion
    ExcessCoefficients coefficient;
    SourceLine line{};

    friend bool operator==(const QuasichemicalTerm&, const QuasichemicalTerm&) = default;
};

/// What a data file says of a quasichemical phase. Ions are numbered within their sublattices, but
/// through both in `names`, `charges` and the grouping.
struct QuasichemicalPhase {
    bool half = false; ///< SUBQ: powers 3/4 and 1/2 in the entropy; SUBG: 1 and 1
    SiteTable table;   ///< cation and anion of each pair
    std::vector<std::string> names;
    std::vector<double> charges; ///< absolute values
    std::vector<QuasichemicalPair> pairs;
    std::vector<std::pair<Quadruplet, Coordination>> coordinations; ///< those listed
    Grouping grouping;
    std::vector<QuasichemicalTerm> excess;

    friend bool operator==(const QuasichemicalPhase&, const QuasichemicalPhase&) = default;
};

/// The coordination numbers of all quadruplets: those listed, the rest from those of the
/// quadruplets that have fewer kinds of ions. There may be many more than pairs, so that they are
/// worked out where a phase is evaluated, not where it is read.
class CoordinationNumbers {
public:
    explicit CoordinationNumbers(const QuasichemicalPhase& phase);

    const Coordination& of(const Quadruplet& q) const { return numbers_[place(q)]; }
    /// Of one ion in a quadruplet that holds it.
    double of(const Quadruplet& q, std::size_t sublattice, std::size_t ion) const {
        return of(q)[sublattice][q.ions[sublattice][0] == ion ? 0 : 1];
    }

private:
    std::size_t place(const Quadruplet& q) const;

    std::array<std::size_t, 2> sizes_;
    std::vector<Coordination> numbers_;
};

/// All quadruplets of the ions marked, in the usual order: by pairs of anions, XX for each X, then
/// XY by Y and X; within these pairs of cations likewise.
std::vector<Quadruplet> quadruplets(const SiteTable& table, std::span<const char> present);

/// The modified quasichemical model in the quadruplet approximation. For n moles of quadruplets
/// q = ABXY with coordination numbers Z,
///
///     G = sum n_q g_q + R T { sum_i N_i ln X_i + sum_k N_k ln X_k
///         + sum_ik n*_ik ln(X*_ik / (F_i F_k)) + sum_q n_q ln(X_q / w_q) } + sum_p N W_p g_p
///
///     N_i = sum n_q cnt_i / Z_i(q), X_i their fractions;  Y_i = sum X_q cnt_i / 2
///     X_ik = sum X_q cnt_i cnt_k / 4;  n*_ik = sum n_q cnt_i cnt_k / zeta_ik, X* their fractions,
///     F their sums over the other sublattice
///     w_q = c_q (X_ax X_ay X_bx X_by)^alpha / (Y_a Y_b Y_x Y_y)^beta, c_q doubled for each mixed
///     pair; alpha = beta = 1, or 3/4 and 1/2
///     g_q = sum_c sum_k (v_k / V) G_ck / (nu_ck Z_c), v = q/Z of the anions, V their sum
///
/// Parameters on AB/XX (those on AA/XY alike with the sublattices exchanged):
///
///     W = (1/2) [X_ABXX + (1/2) sum_Z (Zx(AB/XX) / Zx(AB/XZ)) X_ABXZ]
///     G: g = L chi_1^p chi_2^q t, chi_s = sum f_q X_q [a, b in S_s] / sum f_q X_q [a, b in S1 u
///     S2],
///        f_q = 1 for XX, for one X 0 or (SUBQ) 1/2
///     Q: g = L (xi_1/(xi_1 + xi_2))^p (xi_2/(xi_1 + xi_2))^q t, xi_s = sum over S_s of X_iX
///     t for an additional cation d: in S2 (X_dX/xi_2) (1 - X_BX/xi_2)^(r-1), in S1 alike with A,
///        elsewhere X_dX (1 - xi_1 - xi_2)^(r-1)
///     B: W = 1, g = L u^(1+p) v^(1+q) / (u + v)^(1+p+q), u = X*_AX, v = X*_BY
///     R: W = X_ABXY / 2, g = L
///
/// with S1, S2 the constituents counted with A and B, see grouping.hpp.
///
/// A. D. Pelton, P. Chartrand, G. Eriksson, Metall. Mater. Trans. A 32 (2001) 1409-1416;
/// A. D. Pelton, S. A. Degterov, G. Eriksson, C. Robelin, Y. Dessureault, Metall. Mater. Trans. B
/// 31 (2000) 651-659.
class QuasichemicalModel final : public PhaseModel {
public:
    explicit QuasichemicalModel(QuasichemicalPhase phase) : phase_(std::move(phase)) {}

    ModelKind kind() const override { return phase_.half ? ModelKind::SUBQ : ModelKind::SUBG; }
    ModelSize size() const override;
    std::unique_ptr<PhaseEvaluator> evaluator(std::span<const Constituent> constituents,
                                              std::span<const std::size_t> active) const override;
    std::vector<char> reduce(std::vector<char> possible) const override {
        return phase_.table.reduce(std::move(possible));
    }
    /// Of the sites of both sublattices, of pairs, and of quadruplets.
    std::vector<NamedFractions> fractions(std::span<const std::size_t> active,
                                          const Variables& variables,
                                          std::span<const double> y) const override;
    ThermalValue pure_mixing(std::size_t, const TemperatureTerms&) const override { return {}; }
    bool equals(const PhaseModel& other) const override;
    void describe(Description& phase) const override;

    const QuasichemicalPhase& phase() const { return phase_; }

private:
    QuasichemicalPhase phase_;
};

} // namespace tessara
