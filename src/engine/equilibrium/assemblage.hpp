#pragma once

#include "engine/equilibrium/active_system.hpp"
#include "engine/equilibrium/phase_search.hpp"
#include "engine/equilibrium/row_space.hpp"
#include "engine/equilibrium/trace_levels.hpp"

#include <Eigen/LU>

#include <cstdint>
#include <span>
#include <vector>

namespace tessara {

/// A potential held from outside, as a species whose amount may take either sign.
struct Reservoir {
    std::vector<double> stoichiometry; ///< over the components that are there
    double potential = 0.0;            ///< over R T
    double amount = 0.0;               ///< mol taken up, once solved
};

/// Matter that goes in: its stoichiometry over the components that are there, and moles.
struct Feed {
    std::vector<double> stoichiometry;
    double amount;
};

/// A mixture phase, or one composition set of it, that is taken to be present. The x are the
/// fractions of its constituents, or its internal variables.
struct MixtureSet {
    std::size_t block = 0;
    double log_amount = 0.0; ///< ln of moles, or of units
    std::vector<double> x;
    std::vector<double> log_x;

    double amount() const;
};

/// A pure phase that is taken to be present.
struct PureSet {
    std::size_t block = 0;
    double amount = 0.0;
};

/// A set of phases taken to be stable, and Newton's method for their state.
///
/// The unknowns are the chemical potentials of a basis of species and the amounts of the mixture
/// sets; compositions are eliminated phase by phase. The basis is taken from the most abundant
/// species that are independent, pure phases and reservoirs first:
///
/// - each balance then reads "amount of the basis species + what the others hold of it = input", so
///   that traces have a balance of their own and keep their digits;
/// - potentials are the logarithms of the basis species' activities, small numbers without the
/// large
///   energies of the elements;
/// - the potentials of pure phases and reservoirs are known and drop out.
///
/// Each balance is written as ln(terms above zero) = ln(terms below zero): the equation of sums of
/// exponentials that is straight far from the solution, where plain sums are not.
class Assemblage {
public:
    enum class Outcome {
        Solved,
        SetVanishes,  ///< the amount of the set `vanishing()` runs to zero or below
        PureVanishes, ///< likewise of the pure phase `vanishing()`
        Failed
    };

    explicit Assemblage(PhaseSearch& search) : search_(&search) {}

    std::vector<PureSet> pure;
    std::vector<MixtureSet> mixtures;
    /// Number of mixture sets in use; those behind it keep their memory.
    std::size_t mixture_count = 0;

    void clear() {
        pure.clear();
        mixture_count = 0;
    }
    MixtureSet& add_mixture(std::size_t block, std::size_t size);
    void remove_mixture(std::size_t k);

    /// Keeps the present sets, or takes those kept up again.
    void keep();
    void take_back();
    const std::vector<PureSet>& kept_pure() const { return kept_pure_; }

    /// Adds a phase that would lower the Gibbs energy to the solved state: a pure one, or a mixture
    /// of the composition given. Where the phases already there fix all potentials that the new one
    /// needs, the one that is used up first as it grows makes room. Says whether it could.
    bool join_pure(std::size_t block);
    bool join_mixture(std::size_t block, std::span<const double> x, std::span<const double> log_x);

    /// Finds the levels of traces whose balances have nothing on their right-hand side, from the
    /// component potentials given, and takes the pure phases in that are there as traces.
    /// Afterwards `duals` are the potentials to start from. False where there is nothing to find.
    bool place_traces(ActiveSystem& system, std::vector<Reservoir>& reservoirs,
                      const std::vector<Feed>& feeds, std::span<const double> start_duals);

    /// Solves for the state at the active system's T and P. `start_duals` are component potentials
    /// over R T to start from. Reservoirs get their amounts.
    Outcome solve(ActiveSystem& system, std::vector<Reservoir>& reservoirs,
                  const std::vector<Feed>& feeds, std::span<const double> start_duals);
    std::size_t vanishing() const { return vanishing_; }
    int iterations() const { return iterations_; }

    /// Affinities tau of all species (dormant ones too) at the solved potentials.
    std::span<const double> affinities() const { return tau_; }
    /// Potentials of the components over R T.
    std::span<const double> duals() const { return duals_; }

    /// Whether some balance of what goes in is exactly zero, as that of H against O in water.
    bool has_exact_balance() const;

    /// Sum of what goes in times the potentials: the Gibbs energy over R T of the state solved for.
    double gibbs() const;

    // --- what the stable phases leave open ---

    /// Number of basis species that only complete the basis: directions of the component potentials
    /// that no stable phase fixes.
    std::size_t open_count() const { return rank_ - spanned_; }
    /// Coefficient of open direction d in species s.
    double open_coefficient(std::size_t s, std::size_t d) const {
        return nu_[s * rank_ + spanned_ + d];
    }
    /// Moves the open potentials and brings affinities and duals up to date.
    void shift_open(std::span<const double> change);
    /// Whether the stable phases fix the potential of this combination of components.
    bool determines(std::span<const double> stoichiometry) const;
    bool determines_all() const { return spanned_ == system_->component_count(); }
    /// The combination of component potentials that open direction d moves.
    std::span<const double> open_stoichiometry(std::size_t d) const;

private:
    /// A member of the basis: where its potential comes from.
    struct Member {
        enum class Kind { Reservoir, Pure, Mixture, Open };
        Kind kind;
        std::size_t id;  ///< the reservoir, else the species
        std::size_t set; ///< the pure or mixture set that holds it

        friend bool operator==(const Member&, const Member&) = default;
    };
    /// What Newton's system needs of one mixture set.
    struct SetState {
        std::size_t first; ///< of its constituents in the flat arrays below
        double force;      ///< driving force
        double mismatch;   ///< how far a general phase's composition is from its equilibrium
    };

    bool make_room(std::span<const double> growth);
    bool drop_first_used_up(std::span<const double> fall, std::span<const double> mixture_fall);
    bool choose_basis();
    void complete_basis();
    void transform();
    void transform_rows();
    void set_right_sides();
    void refine_right_sides();
    void start_from_duals(std::span<const double> duals);
    void start_from_compositions();
    Outcome iterate();
    void polish_balances(double good);
    void update_affinities(std::size_t first, std::size_t count);
    bool open_is_empty() const;
    void settle_far_balances();
    double solve_balance_alone(std::size_t k) const;
    double rounding_level() const;
    /// Compositions, driving forces and both sides of each balance; gives the squared norm.
    double evaluate();
    double balance_sides();
    void fill_system();
    template <class Count>
    void take_shares(std::size_t species, std::size_t place, Count m, double* shares);
    template <class Count>
    void fill_ideal_set(std::size_t f, Count m);
    template <class Count>
    void fill_general_set(std::size_t f, Count m);
    void respond(std::size_t f);
    double step_limit() const;
    double composition_step(std::size_t f, std::size_t i) const;
    void take_step(double length);
    void save();
    void restore();
    bool falls_to_nothing();
    double pure_amount(std::size_t k, double& size) const;
    Outcome blame();
    bool basis_is_good();
    bool base_is_good(std::size_t block);
    void sum_amounts(std::size_t block, std::vector<double>& sums) const;
    void choose_bases_of_blocks();
    double member_potential(const Block& block, const MixtureSet& set, std::size_t i);
    double open_rest(std::size_t k) const;
    void close_balances();
    void close_balance(std::size_t k);
    void close_balances_together();
    void add_closing_constraints(std::size_t f);
    void add_closing_row(double scale, double rest);
    void change_amounts(std::size_t f, std::span<const double> relative);
    Outcome finish();
    void update_duals();

    std::span<const double> member_stoichiometry(const Member& member) const;
    double member_gibbs(const Member& member) const;
    std::size_t unknowns() const { return spanned_ - fixed_; }
    const double* nu_row(std::size_t species) const { return &nu_[species * rank_]; }

    PhaseSearch* search_;
    ActiveSystem* system_ = nullptr;
    std::vector<Reservoir>* reservoirs_ = nullptr;
    const std::vector<Feed>* feeds_ = nullptr;
    std::size_t vanishing_ = 0;
    int iterations_ = 0;

    // The basis.
    std::vector<Member> basis_;
    std::size_t rank_ = 0;    ///< members in all
    std::size_t fixed_ = 0;   ///< leading members whose potential is known
    std::size_t spanned_ = 0; ///< leading members that the stable phases hold
    RowSpace rows_;           ///< of the members
    /// What the present inverse and rows of species were made for.
    std::vector<Member> transformed_;
    std::uint64_t transformed_stamp_ = 0;
    struct Ranked {
        double log_amount;
        std::size_t species;
        std::size_t set;
    };
    std::vector<Ranked> ranking_;
    std::vector<double> basis_gibbs_; ///< of the members, over R T
    std::vector<double> inverse_;     ///< of the members over the pivot components
    std::vector<double> size_;        ///< absolute terms of one species' row, while it is made
    std::vector<double> nu_;          ///< species over members
    /// Of the unknown members: what a species adds to the two sides of each balance, per mole.
    std::vector<double> above_part_, below_part_;
    std::vector<double> kappa_;      ///< G(species) - sum nu G(member), over R T
    std::vector<double> right_;      ///< what went in, over members
    std::vector<double> right_size_; ///< sums of its absolute terms

    // The state.
    std::vector<double> v_; ///< ln activities of the members
    std::vector<double> tau_;
    std::vector<double> duals_;

    // Newton's system. Flat arrays run over the constituents of all mixture sets.
    std::vector<SetState> sets_;
    std::vector<double> amounts_; ///< mol
    std::vector<double> log_amounts_;
    /// d ln x of general sets: set after set, first for its own mismatch, then per unknown.
    std::vector<double> responses_;
    std::vector<double> gradient_, hessian_, rho_;
    std::vector<double> above_, below_;             ///< ln of the two sides of each balance
    std::vector<double> above_scale_, below_scale_; ///< 1 / side; 0 where it underflows
    bool any_underflow_ = false;
    std::vector<double> start_log_amount_;
    std::vector<double> shares_; ///< of one constituent in the sides of the balances
    std::vector<double> sums_;   ///< over an ideal set's constituents
    Eigen::MatrixXd matrix_;
    Eigen::VectorXd vector_; ///< right-hand side, then the step
    Eigen::PartialPivLU<Eigen::MatrixXd> lu_;
    TraceLevels levels_;
    std::vector<double> saved_;
    /// Rows over the variables of all mixture sets, what each is short of, and the row being made.
    std::vector<double> closing_rows_, closing_rests_, closing_row_;
    std::vector<MixtureSet> start_; ///< the mixture sets as they were when solving began
    std::vector<PureSet> kept_pure_;
    std::vector<MixtureSet> kept_mixtures_;
};

} // namespace tessara
