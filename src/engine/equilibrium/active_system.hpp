#pragma once

#include "engine/conditions/equilibrium_conditions.hpp"
#include "engine/data/system.hpp"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace tessara {

/// A phase as a calculation sees it: the constituents that can be there, and what mixes them.
/// Copies of a phase are one block, as they are composition sets of one model.
struct Block {
    std::size_t phase = 0;           ///< the first listed copy
    std::vector<std::size_t> copies; ///< listed copies that take part, in file order
    bool may_add_sets = true;        ///< every listed copy is entered: the model may unmix further
    bool dormant = false;
    bool pure = false;
    std::size_t first = 0;           ///< of its species
    std::size_t count = 0;           ///< number of its species: constituents, or internal variables
    std::vector<std::size_t> active; ///< the constituents that can be there
    std::unique_ptr<PhaseEvaluator> evaluator;
    Curvature curvature = Curvature::Ideal;
    double shift = 0.0; ///< of an ideal phase, see `PhaseEvaluator::ideal_shift`

    /// The internal variables; none where the constituents' fractions are the variables.
    const Variables* variables = nullptr;
    /// What they hold of the components that are there, variable after variable.
    std::vector<double> holding;
    /// The variables whose contents are counted with those of others, see `exchange`.
    std::vector<std::size_t> base;

    /// Corners of the composition space of a phase with internal variables: end members, pure
    /// quadruplets, neutral pairs of ions. The other variables stand at `CornerTrace`.
    std::size_t corner_count = 0;
    std::vector<double> corner_y;
    std::vector<double> corner_log_y;
    std::vector<double> corner_holding;
    /// For each corner, which of the active constituents it holds.
    std::vector<char> corner_reports;

    /// Whether its variables have charges, which must add up to nothing.
    bool is_charged() const {
        return variables != nullptr && !variables->constraints.charge.empty();
    }

    static constexpr double CornerTrace = 1e-20;
    std::span<const double> corner(std::size_t k) const { return {&corner_y[k * count], count}; }
    std::span<const double> log_corner(std::size_t k) const {
        return {&corner_log_y[k * count], count};
    }

    /// Scales exp(log_x) to what holds among the variables.
    void normalise(std::span<double> x, std::span<double> log_x) const;
    /// Whether two compositions are one: the same fractions, or, where variables may stand for each
    /// other as on equal sublattices, the same contents.
    bool same_set(std::span<const double> x, std::span<const double> y, double tolerance) const;
    bool same_contents(std::span<const double> x, std::span<const double> y,
                       double tolerance) const;

    /// Compositions that a search starts from, sample after sample; none for ideal phases.
    std::vector<double> sample_x;
    std::vector<double> sample_mixing; ///< m at the samples, at the present state
    /// How far below the best maximum, over R T, the sample next to it may lie.
    static constexpr double MostSampleGap = 1.5;
    double sample_gap = MostSampleGap;

    std::size_t sample_count() const { return sample_mixing.size(); }
    std::span<const double> sample(std::size_t k) const { return {&sample_x[k * count], count}; }
};

/// A constituent that can be there, or an internal variable of a phase.
struct Species {
    std::size_t block;
    std::size_t phase;       ///< the block's first copy
    std::size_t constituent; ///< its number in the phase; `None` for a variable

    static constexpr std::size_t None = static_cast<std::size_t>(-1);
};

/// A constituent alone in its phase, or a corner of the composition space of a phase with internal
/// variables: what the linear programme starts from.
struct Corner {
    std::size_t block;
    std::size_t number; ///< of the species in the block, or of the block's corner
};

/// The part of a system that a calculation can hold: without the components that are absent and
/// without what is eliminated. Depends on which components are there, not on how much of them.
class ActiveSystem {
public:
    /// `available` marks the components that are there; `excluded` (phase after phase, constituent
    /// after constituent; may be empty) marks constituents known to be unable to form.
    ActiveSystem(const System& system, const EquilibriumConditions& conditions,
                 const std::vector<char>& available, const std::vector<char>& excluded,
                 int sampling = 1);

    /// Works out all that depends on T and P alone.
    void set_state(const TemperatureTerms& at, double pressure);

    const System& system() const { return *system_; }

    /// Indexes of the components that are there.
    const std::vector<std::size_t>& components() const { return components_; }
    std::size_t component_count() const { return components_.size(); }

    std::vector<Block> blocks;
    const std::vector<Species>& species() const { return species_; }
    /// Entered species come first, those of dormant blocks last.
    std::size_t entered_count() const { return entered_count_; }
    std::span<const double> stoichiometry(std::size_t species) const {
        return {stoichiometry_.data() + species * components_.size(), components_.size()};
    }
    /// Gibbs energy of the species as pure substances, over R T; 0 for internal variables.
    std::span<const double> gibbs() const { return gibbs_; }

    /// What a species holds in exchange. The contents of one variable on a sublattice, or of one
    /// ion, mean nothing by themselves: what all variables of one sublattice hold can be counted to
    /// those of another, and what ions hold in proportion to their charge be moved as well. Counted
    /// here so that the most abundant variable of each sublattice but the first, or the most
    /// abundant ion, holds nothing: then each row can be held by the phase or is the difference of
    /// two that can, and balances of traces have no abundant terms that only cancel.
    std::span<const double> exchange(std::size_t species) const {
        const std::vector<double>& rows = exchange_.empty() ? stoichiometry_ : exchange_;
        return {rows.data() + species * components_.size(), components_.size()};
    }
    /// A number that no other active system has, nor this one with other exchanges.
    std::uint64_t stamp() const { return stamp_; }
    /// Counts with the most abundant variables of a block as base.
    void choose_base(std::size_t block, std::span<const double> amounts);

    const std::vector<Corner>& corners() const { return corners_; }
    std::size_t entered_corner_count() const { return entered_corner_count_; }
    std::span<const double> corner_stoichiometry(const Corner& corner) const;

    /// Whether the same reduction serves these conditions.
    bool serves(const EquilibriumConditions& conditions, const std::vector<char>& available,
                const std::vector<char>& excluded) const {
        return available == available_ && excluded == excluded_ && conditions.phases == phases_ &&
               conditions.constituents == constituents_;
    }

    /// Place of a constituent among the species, or `None`.
    static constexpr std::size_t None = static_cast<std::size_t>(-1);
    std::size_t species_of(std::size_t phase, std::size_t constituent) const {
        return species_of_[phase_offset_[phase] + constituent];
    }
    /// The block that a listed phase belongs to, or `None`.
    std::size_t block_of(std::size_t phase) const { return block_of_[phase]; }

private:
    bool possible(std::size_t phase, std::size_t constituent) const;
    void add_block(std::size_t phase, const EquilibriumConditions& conditions, bool dormant);
    std::vector<std::size_t> active_constituents(std::size_t phase,
                                                 const EquilibriumConditions& conditions) const;
    void add_variables(Block& block);
    void make_corners(Block& block) const;
    void add_corner(Block& block, std::span<const double> y) const;
    void make_samples(Block& block) const;
    void make_product_samples(Block& block) const;
    void add_sample(Block& block, std::span<const double> x) const;
    void fill_exchange(const Block& block);

    const System* system_;
    std::uint64_t stamp_ = 0;
    int sampling_;
    std::vector<std::size_t> components_;
    std::vector<Species> species_;
    std::size_t entered_count_ = 0;
    std::vector<double> stoichiometry_;
    std::vector<double> exchange_; ///< empty where no phase has internal variables
    std::vector<double> gibbs_;
    std::vector<Corner> corners_;
    std::size_t entered_corner_count_ = 0;
    std::vector<std::size_t> phase_offset_;
    std::vector<std::size_t> species_of_;
    std::vector<std::size_t> block_of_;
    // What this reduction was made for.
    std::vector<char> available_;
    std::vector<char> excluded_;
    std::vector<Participation> phases_;
    std::vector<std::vector<Participation>> constituents_;
};

} // namespace tessara
