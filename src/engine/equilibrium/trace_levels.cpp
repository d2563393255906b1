#include "engine/equilibrium/trace_levels.hpp"

#include <algorithm>
#include <cmath>

namespace tessara {
namespace {

/// What a column holds of a balance is zero below this.
constexpr double EntryTolerance = 1e-9;
constexpr std::size_t NoId = static_cast<std::size_t>(-1);

} // namespace

void TraceLevels::reset(std::size_t rows) {
    rows_ = rows;
    entries_.clear();
    columns_.clear();
    changes_.assign(rows, 0.0);
    present_.clear();
    directions_.assign(rows, std::vector<double>(rows, 0.0));
    for (std::size_t k = 0; k < rows; ++k) {
        directions_[k][k] = 1.0;
    }
}

void TraceLevels::add_species(std::span<const double> entries, double log_amount) {
    entries_.insert(entries_.end(), entries.begin(), entries.end());
    columns_.push_back({-log_amount, NoId, true});
}

void TraceLevels::add_pure(std::span<const double> entries, double force, std::size_t id) {
    entries_.insert(entries_.end(), entries.begin(), entries.end());
    columns_.push_back({-force, id, false});
}

/// What a column holds along one of the directions that are still free.
double TraceLevels::entry(std::size_t row, std::size_t column) const {
    double sum = 0.0;
    for (std::size_t i = 0; i < rows_; ++i) {
        sum += directions_[row][i] * entries_[column * rows_ + i];
    }
    return std::abs(sum) > EntryTolerance ? sum : 0.0;
}

/// Finds the level of what the free directions move. Says whether any direction is still free after
/// it.
bool TraceLevels::solve_level() {
    const std::size_t free = directions_.size();
    programme_.reset(free + 1);
    used_.clear();
    std::vector<double> column(free + 1);
    bool any_species = false;
    for (std::size_t j = 0; j < columns_.size(); ++j) {
        bool moves = false;
        for (std::size_t k = 0; k < free; ++k) {
            column[k] = entry(k, j);
            moves = moves || column[k] != 0.0;
        }
        if (!moves) {
            continue;
        }
        double cost = columns_[j].cost;
        for (std::size_t i = 0; i < rows_; ++i) {
            cost -= changes_[i] * entries_[j * rows_ + i];
        }
        column[free] = columns_[j].species ? 1.0 : 0.0;
        any_species = any_species || columns_[j].species;
        programme_.add_column(column, cost);
        used_.push_back(j);
    }
    if (!any_species) {
        return false;
    }
    std::fill(column.begin(), column.end(), 0.0);
    column[free] = 1.0;
    programme_.set_right_side(column);
    if (programme_.solve() != LinearProgramme::Status::Optimal) {
        return false;
    }
    for (std::size_t k = 0; k < free; ++k) {
        for (std::size_t i = 0; i < rows_; ++i) {
            changes_[i] += programme_.dual(k) * directions_[k][i];
        }
    }
    std::vector<std::vector<double>> next;
    std::vector<double> unit(free + 1, 0.0);
    for (std::size_t k = 0; k <= free; ++k) {
        const std::size_t basic = programme_.basic(k);
        if (basic == LinearProgramme::Artificial) {
            continue;
        }
        if (programme_.level(k) > 0.0) {
            const Column& there = columns_[used_[basic]];
            if (!there.species) {
                present_.push_back(there.id);
            }
            continue;
        }
        // Along this row of the inverse nothing of what is at this level moves.
        std::vector<double> direction(rows_, 0.0);
        for (std::size_t i = 0; i < free; ++i) {
            unit[i] = 1.0;
            const double share = programme_.transformed(k, unit);
            unit[i] = 0.0;
            for (std::size_t r = 0; r < rows_; ++r) {
                direction[r] += share * directions_[i][r];
            }
        }
        next.push_back(std::move(direction));
    }
    const bool narrower = next.size() < free;
    directions_ = std::move(next);
    return narrower && !directions_.empty();
}

bool TraceLevels::solve() {
    if (rows_ == 0) {
        return false;
    }
    while (solve_level()) {
    }
    return std::any_of(changes_.begin(), changes_.end(), [](double c) { return c != 0.0; }) ||
           !present_.empty();
}

} // namespace tessara
