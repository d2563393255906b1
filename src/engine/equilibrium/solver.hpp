#pragma once

#include "engine/conditions/equilibrium_conditions.hpp"
#include "engine/equilibrium/active_system.hpp"
#include "engine/equilibrium/assemblage.hpp"
#include "engine/equilibrium/equilibrium.hpp"
#include "engine/equilibrium/linear_programme.hpp"
#include "engine/equilibrium/phase_search.hpp"

#include <memory>
#include <utility>
#include <vector>

namespace tessara {

/// Finds states of lowest Gibbs energy.
///
/// A calculation starts from a linear programme over pure constituents and compositions of the
/// mixture phases, which names the phases. Newton's method (see `Assemblage`) makes their state
/// exact. The phases left out are then searched for one that would lower the Gibbs energy; what is
/// found joins the programme, whose optimum falls with each round, so that no set of phases comes
/// back.
///
/// A solver keeps its work space, and the last result as a start for the next. It is not for
/// several threads at once; a system may be shared by any number of solvers.
class Solver {
public:
    enum class Start { Cold, Warm };

    struct Options {
        /// Rounds of linear programme and Newton's method before a calculation is given up.
        int round_limit = 30;
        /// Whether a phase may take up more composition sets than the system lists copies of it.
        bool surplus_sets = true;
        /// Sampled compositions per edge of a phase's composition space, relative to the usual
        /// ones.
        int sampling = 1;
    };

    explicit Solver(std::shared_ptr<const System> system);

    /// The equilibrium under the conditions; valid until the next call. A warm start begins from
    /// the phases and compositions of the last result, and falls back to a cold one where there is
    /// none or where it leads nowhere. Throws `SolveError`.
    const Equilibrium& solve(const EquilibriumConditions& conditions, Start start = Start::Cold);

    /// The state that the phases of the last result have under the conditions, whatever else would
    /// lower the Gibbs energy: driving forces of the absent may be above zero. Null where they have
    /// none; the last result stays the start of the next calculation then.
    const Equilibrium* follow(const EquilibriumConditions& conditions);

    /// Phases and compositions to start from.
    struct Snapshot {
        std::size_t of = 0; ///< the active system they belong to
        std::vector<PureSet> pure;
        std::vector<MixtureSet> mixtures;
    };
    /// Those of the last result; empty where there is none.
    Snapshot snapshot() const;
    /// Makes them the start of the next calculation. False where they don't belong to what takes
    /// part now: the next calculation starts as it would have.
    bool start_from(const Snapshot& snapshot);

    const Options& options() const { return options_; }
    void set_options(const Options& options);

    const System& system() const { return *system_; }
    /// The temperature terms of the last calculation.
    const TemperatureTerms& terms() const { return terms_; }

private:
    friend struct SolverFaults; // tests spoil results with it, and see them caught

    /// A composition of a mixture phase as a column of the linear programme.
    struct Column {
        std::size_t block;
        std::vector<double> x;
        std::vector<double> log_x;
    };

    // Conditions.
    void collect_feeds(const EquilibriumConditions& conditions);
    void collect_reservoirs(const EquilibriumConditions& conditions);
    void refuse_volume_data(const EquilibriumConditions& conditions) const;
    void prepare(const EquilibriumConditions& conditions);
    void activate(const EquilibriumConditions& conditions);
    void reduce_inputs();

    // The linear programme.
    void start_programme();
    void run_programme();
    [[noreturn]] void fail_infeasible() const;
    [[noreturn]] void fail_unbounded() const;
    void clear_pool();
    void restart_programme();
    bool exclude_impossible();
    bool refine(double threshold, bool coarse = false);
    bool add_column(std::size_t block, std::span<const double> x, std::span<const double> log_x);
    double corner_cost(const Corner& corner) const;
    void leave_out_traces(const Block& block, const Column& column);
    void merge_sets(MixtureSet& into, double amount, std::span<const double> tau);
    void assemble();
    void assemble_block(std::size_t block);
    void limit_sets(std::size_t block, std::size_t first_set);

    // Newton's method and what follows it.
    bool solve_warm();
    bool holds_impossible();
    void solve_cold(const EquilibriumConditions& conditions);
    bool solve_rounds();
    bool settle(std::span<const double> start_duals);
    bool close_open_potentials();
    bool find_violations();
    const std::vector<Candidate>& minima(std::size_t b, std::span<const double> tau);
    const std::vector<Candidate>& likely_minima(std::size_t b, std::span<const double> tau,
                                                double least);
    const std::vector<Candidate>& remember(std::size_t b, const std::vector<Candidate>& found);
    bool drop_traces();
    bool join_violator();
    bool splits_set(std::size_t b);
    bool descend();
    bool improve();
    bool solve_by_way_of_others();
    bool stable_phases_hold();
    bool is_stable(std::size_t block) const;
    std::size_t set_count(std::size_t block) const;

    // Results.
    void make_result(const EquilibriumConditions& conditions);
    void fill_phase(const EquilibriumConditions& conditions, std::size_t phase);
    void assign_sets(std::size_t block);
    double report(const Block& block, std::span<const double> x, std::span<const double> log_x);
    void fill_potentials(const EquilibriumConditions& conditions);
    void certify();
    void certify_variables(const MixtureSet& set, double m, std::span<const double> hessian);

    std::shared_ptr<const System> system_;
    /// Phase and constituent of the records with volume data, outside of gases.
    std::vector<std::pair<std::size_t, std::size_t>> with_volume_data_;
    std::vector<std::vector<Candidate>> known_minima_; ///< of each block
    Options options_;
    TemperatureTerms terms_;
    double p_ = 0.0;
    bool state_set_ = false;

    // What goes in.
    std::vector<double> input_;      ///< per component, mol
    std::vector<double> input_size_; ///< sums of absolute terms
    std::vector<double> full_feeds_; ///< stoichiometry over all components, feed after feed
    std::vector<double> feed_amounts_;
    std::vector<std::vector<double>> reservoir_rows_; ///< over all components
    std::vector<Feed> feeds_;                         ///< over the components that are there
    std::vector<Reservoir> reservoirs_;

    // The part of the system that can be there.
    std::unique_ptr<ActiveSystem> active_;
    std::size_t active_number_ = 0; ///< counts the active systems
    std::vector<char> available_;
    std::vector<char> excluded_;       ///< constituents that cannot form
    std::vector<double> excluded_for_; ///< the input that `excluded_` was worked out for
    bool excluded_known_ = false;      ///< for the present input and statuses

    LinearProgramme programme_;
    LinearProgramme open_programme_;
    bool programme_ready_ = false; ///< holds the species at the present state
    bool priced_ = false;          ///< has been solved since
    std::size_t pool_column_ = 0;  ///< index of the first pool column in the programme
    std::vector<Column> pool_;
    std::size_t pool_count_ = 0;
    double trace_ = 0.0; ///< fractions up to this are left out of columns
    std::vector<double> short_x_, short_log_x_;
    PhaseSearch search_;
    Assemblage assemblage_{search_};
    bool assemblage_is_start_ = false; ///< holds the last result, over the present active system
    int iterations_ = 0;

    // The absent phases at the final potentials.
    struct Absent {
        double force = 0.0; ///< driving force over R T
        std::vector<Candidate> minima;
    };
    std::vector<Absent> absent_; ///< per block
    std::vector<std::pair<double, std::size_t>> violators_;

    std::vector<double> tau_, x_, log_x_, row_, start_;
    /// The constituents' amounts in one unit of the composition reported last, and their
    /// logarithms.
    std::vector<double> reported_, log_reported_;
    std::vector<std::size_t> group_columns_;
    std::vector<double> group_levels_;
    std::vector<char> impossible_;

    Equilibrium result_;
};

} // namespace tessara
