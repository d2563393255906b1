#pragma once

#include <cstddef>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace tessara {

/// A calculation that has no result: why, and what the user can do.
class SolveError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The proof that comes with a result: the largest residual of each kind, worked out from the
/// result alone. A result is handed out only where each is within its bound.
struct Certificate {
    /// Largest |in - out| of a component (charge too) over the sum of its absolute terms.
    double balance = 0.0;
    /// Largest difference, in R T, between a constituent's potential in a stable phase and the sum
    /// of the component potentials; what rounding of the terms explains is taken off.
    double potential = 0.0;
    /// Largest driving force of an absent phase, in R T per mole; rounding likewise taken off.
    double driving_force = 0.0;
    /// The absent phase that comes nearest to forming, and its driving force in R T (not above 0
    /// but for rounding).
    std::size_t nearest_phase = static_cast<std::size_t>(-1);
    double nearest_driving_force = 0.0;

    static constexpr double BalanceBound = 1e-12;
    static constexpr double PotentialBound = 1e-9;
    static constexpr double DrivingForceBound = 1e-9;

    bool holds() const {
        return balance <= BalanceBound && potential <= PotentialBound &&
               driving_force <= DrivingForceBound;
    }
};

/// One composition of a mixture phase that is present. A phase that unmixes has several.
struct CompositionSet {
    std::size_t phase;             ///< the listed phase that it is counted to
    double amount;                 ///< mol
    std::vector<double> fractions; ///< of all constituents of the phase
    /// The internal variables and their logarithms, see `PhaseResult`.
    std::vector<double> internal;
    std::vector<double> log_internal;
};

/// What an equilibrium says of one phase.
struct PhaseResult {
    bool can_form = false; ///< takes part or is dormant, and its components are there
    bool dormant = false;
    double amount = 0.0; ///< mol; the sum over constituents
    /// Fractions of the constituents: of the phase if present, else of the composition that comes
    /// nearest to forming. Zero for constituents that cannot form.
    std::vector<double> fractions;
    /// ln of the fractions, so that traces below the range of doubles keep a value.
    std::vector<double> log_fractions;
    std::vector<char> constituent_can_form;
    /// In phases whose models have internal variables these, of the active part, and their
    /// logarithms: of the phase if present, else of the composition that comes nearest to forming.
    /// Of a phase whose surplus sets were folded their mean, which is no state of its own.
    std::vector<double> internal;
    std::vector<double> log_internal;
    /// Greatest value of (potentials - Gibbs energy) per mole over R T: 0 when stable, nan where
    /// the stable phases leave it open.
    double driving_force = 0.0;
    /// Of a phase that is present: the same for the best composition that is none of its own, by
    /// which it would unmix; minus infinity where there is none.
    double force_of_further = 0.0;
};

/// The state of lowest Gibbs energy under given conditions. A plain value without links to the
/// solver that made it. SI units and mol.
struct Equilibrium {
    double t = 0.0;
    double p = 0.0;
    std::vector<PhaseResult> phases;
    /// Chemical potentials of the components, J/mol; nan for those absent or left open.
    std::vector<double> potentials;
    /// Amounts of the components, mol.
    std::vector<double> amounts;
    /// Chemical potential of each constituent, J/mol, phase after phase; nan likewise.
    std::vector<std::vector<double>> constituent_potentials;
    /// Sets apart, where a phase has more of them than the system lists.
    std::vector<CompositionSet> sets;
    /// Phases whose surplus sets were folded into their last listed copy.
    std::vector<std::size_t> folded;
    /// Combinations of component potentials that the stable phases leave open: rows over the
    /// components.
    std::vector<std::vector<double>> open_combinations;
    Certificate certificate;
    int iterations = 0;
};

} // namespace tessara
