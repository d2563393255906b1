#pragma once

#include "engine/equilibrium/active_system.hpp"
#include "engine/equilibrium/constraint_space.hpp"

#include <Eigen/LU>

#include <span>
#include <vector>

namespace tessara {

/// A composition of a phase with its driving force.
struct Candidate {
    double driving_force = 0.0; ///< over R T, per mole or unit
    std::vector<double> x;
    std::vector<double> log_x;
};

/// Finds the compositions at which a phase comes nearest to forming under given potentials.
///
/// For each constituent i of the phase the affinity is tau_i = (sum_j lambda_j a_ij - G_i)/(R T);
/// the driving force of a composition is sum_i x_i tau_i - m(x). Phases with internal variables are
/// treated alike, per unit; what holds among the variables takes the place of sum(x) = 1, and their
/// G_i are 0. Ideal phases have their greatest
/// driving force in closed form; others are searched by Newton's method with the phase's Gibbs
/// energy over the plane as merit function, from several starts.
class PhaseSearch {
public:
    /// Greatest driving force of an ideal phase; fills the composition.
    static double ideal(const Block& block, std::span<const double> tau, std::span<double> x,
                        std::span<double> log_x);

    /// Runs to the local maximum of the driving force that lies downhill from the composition
    /// given, and leaves it there; stops where less than `gain` is to be had. Gives the driving
    /// force; `converged` says whether the gradient vanished or no such gain was left.
    double local(const Block& block, std::span<const double> tau, std::span<double> x,
                 std::span<double> log_x, double gain = 0.0);
    bool converged() const { return converged_; }

    /// Local maxima found from the samples that may lead to one near the plane, best first, at most
    /// `most` distinct ones. `known` are compositions near which maxima are likely.
    const std::vector<Candidate>& all(const Block& block, std::span<const double> tau,
                                      std::size_t most, std::span<const Candidate> known = {});

    /// About the maxima near `known` and that near the best sample of a phase that is not ideal:
    /// what a start needs. None where none can come up to `least`.
    const std::vector<Candidate>& likely(const Block& block, std::span<const double> tau,
                                         std::span<const Candidate> known, double least);

    /// Whether the phase is stable against small changes of its composition (Hessian positive
    /// definite along what holds among the variables).
    bool locally_stable(const Block& block, std::span<const double> x,
                        std::span<const double> log_x);

    /// Solves for the response of the composition to changes of the affinities. `right` holds
    /// `columns` right-hand sides sqrt(x_i) d(tau_i), column after column; each is replaced by
    /// d(ln x_i), along what holds among the variables. Uses the Hessian left by `prepare`.
    void respond(std::span<double> right, std::size_t columns);

    /// Evaluates the phase at x: gives m, leaves the gradient in `gradient()` and factorises the
    /// Hessian. Where it is not positive definite along what holds among the variables its excess
    /// part is reduced until it is, or with `exact` taken as it is; the result says whether it was
    /// positive definite.
    bool prepare(const Block& block, std::span<const double> x, std::span<const double> log_x,
                 bool exact = false);
    double mixing() const { return mixing_; }
    std::span<const double> gradient() const { return gradient_; }
    /// sqrt(x_i) as `respond` takes it.
    double root(std::size_t i) const { return root_[i]; }

    /// How far each tau_i - dm/dx_i is from what equilibrium within the phase would have, the same
    /// for all i but for the multipliers of what holds among them.
    /// An internal variable that stays below the range of doubles has none.
    void deviations(const Block& block, std::span<const double> x, std::span<const double> log_x,
                    std::span<const double> tau, std::span<const double> gradient,
                    std::span<double> deviations);

    /// Scales exp(log_x) to the sum 1; gives ln of the former sum.
    static double normalise(std::span<double> x, std::span<double> log_x);

private:
    void forget_found();
    Candidate start_at(std::span<const double> x, std::span<const double> log_x = {});
    std::size_t weigh_samples(const Block& block, std::span<const double> tau);
    bool leads_to_known(const Block& block, std::span<const double> tau, std::size_t sample);
    bool take_if_new(const Block& block, std::span<const double> tau, Candidate candidate,
                     double gain = 0.0);
    void vary_traces(const Block& block, std::span<const double> tau);
    void detach(std::size_t n, std::size_t i);
    void set_normal(const Block& block, std::size_t n);
    void project(std::size_t n, double share);
    bool factorise(std::size_t n, double share);
    void resize(std::size_t n);

    bool converged_ = false;
    double mixing_ = 0.0;
    std::size_t n_ = 0;
    std::vector<double> gradient_;
    std::vector<double> hessian_; ///< scaled by sqrt(x_i x_j)
    std::vector<double> factor_;  ///< its Cholesky factor along what holds among the variables
    bool indefinite_ = false;     ///< `lu_` is in use instead of `factor_`
    Eigen::PartialPivLU<Eigen::MatrixXd> lu_;
    std::vector<double> root_;    ///< sqrt(x_i)
    ConstraintSpace space_;       ///< at the composition of `prepare`
    ConstraintSpace other_space_; ///< of `deviations`
    std::vector<double> other_root_;
    std::vector<double> normal_;  ///< unit vectors across, sqrt(x_i) times the rows of `space_`
    std::vector<double> product_; ///< the Hessian's product with them
    std::vector<double> sks_;
    std::vector<double> deviation_, step_, trial_x_, trial_log_x_;
    std::vector<double> sample_force_;
    std::vector<std::size_t> order_;
    std::vector<Candidate> found_;
    std::vector<Candidate> spare_;
};

} // namespace tessara
