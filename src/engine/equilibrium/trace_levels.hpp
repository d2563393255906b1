#pragma once

#include "engine/equilibrium/linear_programme.hpp"

#include <span>
#include <vector>

namespace tessara {

/// Finds where traces balance.
///
/// Some balances have nothing on their right-hand side: with 2 H2 + O2 all that is there is water,
/// and the rest, H2 against O2, has to make up a balance of its own at whatever level the
/// potentials say. At low temperatures that level is tens or hundreds of orders of magnitude below
/// the amounts put in, and a sum of exponentials is its largest term: among the potentials at which
/// no absent phase forms, those of least total amount of traces minimise the largest of the
/// logarithms,
///
///     minimise max_i (ln n_i + nu_i . change)   with   tau_p + nu_p . change <= 0
///
/// a linear programme. Species and pure phases that share the largest level fix some of the
/// potentials; the others follow in the same way from the next level down, and so on.
class TraceLevels {
public:
    /// Starts afresh with so many balances.
    void reset(std::size_t rows);

    /// A species of a phase that is there: what it holds of each balance, ln of its amount.
    void add_species(std::span<const double> entries, double log_amount);
    /// A pure phase that is not there, with its driving force at the present potentials.
    void add_pure(std::span<const double> entries, double force, std::size_t id);

    /// Works out the changes of the potentials and which pure phases are there as traces. False
    /// where nothing can be said.
    bool solve();
    std::span<const double> changes() const { return changes_; }
    const std::vector<std::size_t>& present() const { return present_; }

private:
    struct Column {
        double cost; ///< -ln(amount), or -driving force
        std::size_t id;
        bool species;
    };

    bool solve_level();
    double entry(std::size_t row, std::size_t column) const;

    std::size_t rows_ = 0;
    std::vector<double> entries_; ///< column after column
    std::vector<Column> columns_;
    std::vector<std::vector<double>> directions_; ///< of the potentials that are not yet fixed
    std::vector<double> changes_;
    std::vector<std::size_t> present_;
    std::vector<std::size_t> used_; ///< columns of the programme of one level
    LinearProgramme programme_;
};

} // namespace tessara
