#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace tessara {

/// A linear programme in standard form,
///
///     minimise c . n   with   sum_j n_j a_j = b,   n >= 0,
///
/// solved by the revised simplex method with an explicit inverse: few rows (system components), up
/// to some thousand columns (species and sampled compositions). Columns may be added and costs
/// changed between solutions; the last basis is kept as the start of the next.
///
/// Memory is kept between uses: a programme that has seen its size allocates nothing.
class LinearProgramme {
public:
    enum class Status { Optimal, Infeasible, Unbounded, Stalled };

    /// Stands for an artificial column in `basic`.
    static constexpr std::size_t Artificial = static_cast<std::size_t>(-1);

    /// Forgets all columns and the basis. In a bounded programme no columns can grow without limit:
    /// what seems to is taken to be rounding, and left out of that solution.
    void reset(std::size_t rows, bool bounded = false);

    /// Adds a column; gives its index. A free column may take either sign.
    std::size_t add_column(std::span<const double> entries, double cost, bool free = false);
    /// Drops the columns from `count` on; none of them may be basic.
    void truncate(std::size_t count);
    void set_cost(std::size_t column, double cost) { costs_[column] = cost; }
    /// The right-hand side. The next solution starts afresh.
    void set_right_side(std::span<const double> b);

    /// Solves from the start (two phases) where there is no usable basis, else from the last one.
    Status solve();

    std::size_t rows() const { return rows_; }
    std::size_t column_count() const { return costs_.size(); }
    /// The column that is basic in row k, or `Artificial`.
    std::size_t basic(std::size_t k) const { return basis_[k]; }
    /// Value of the basic column of row k; zero where it is below its rounding.
    double level(std::size_t k) const { return levels_[k]; }
    /// Price of row j: the potential of the component.
    double dual(std::size_t j) const { return duals_[j]; }
    std::span<const double> duals() const { return duals_; }
    /// Row k of the inverse of the basis times the entries.
    double transformed(std::size_t k, std::span<const double> entries) const;
    std::span<const double> column(std::size_t j) const {
        return {entries_.data() + j * rows_, rows_};
    }
    bool is_free(std::size_t column) const { return free_[column] != 0; }
    double objective() const;
    int pivots() const { return pivots_; }

private:
    Status solve_once();
    void start_basis();
    bool refactor();
    Status improve(bool first_phase);
    void expel_artificials();
    void price_rows(bool first_phase);
    void compute_levels();
    void pivot(std::size_t row, std::size_t entering);
    double basic_cost(std::size_t k, bool first_phase) const;
    bool infeasible() const;

    std::size_t rows_ = 0;
    std::vector<double> entries_; ///< column after column
    std::vector<double> costs_;
    std::vector<char> free_;
    std::vector<double> b_;

    std::vector<std::size_t> basis_;
    std::vector<double> artificial_sign_;
    std::vector<double> inverse_; ///< row-major
    std::vector<double> levels_;
    std::vector<double> duals_;
    std::vector<double> work_;   ///< the entering column in terms of the basis
    std::vector<double> square_; ///< for the inversion
    std::vector<char> is_basic_;
    std::vector<char> barred_; ///< columns that seemed to grow without limit
    bool bounded_ = false;
    bool cautious_ = false; ///< larger pivots, and the inverse worked out anew more often
    bool has_basis_ = false;
    int pivots_ = 0;
    int since_refactor_ = 0;
};

} // namespace tessara
