#include "engine/equilibrium/possible_species.hpp"

#include <algorithm>
#include <cmath>

namespace tessara {
namespace {

constexpr double EntryTolerance = 1e-9;

/// A row at level zero: its basic column, and its entries over the other columns.
struct ZeroRow {
    std::size_t basic;
    std::vector<double> entries;
    bool decided = false;
};

std::vector<ZeroRow> zero_rows(const LinearProgramme& solved) {
    std::vector<ZeroRow> rows;
    const std::size_t n = solved.column_count();
    for (std::size_t k = 0; k < solved.rows(); ++k) {
        const std::size_t basic = solved.basic(k);
        if (basic == LinearProgramme::Artificial || solved.is_free(basic) ||
            solved.level(k) != 0.0) {
            continue;
        }
        ZeroRow row{basic, std::vector<double>(n)};
        for (std::size_t j = 0; j < n; ++j) {
            const double w = solved.transformed(k, solved.column(j));
            row.entries[j] = std::abs(w) > EntryTolerance ? w : 0.0;
            // A column free in sign can take up whatever the row needs.
            row.decided = row.decided || (solved.is_free(j) && row.entries[j] != 0.0);
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

/// Decides rows by the signs of their entries until no row can be decided so.
void decide_by_signs(std::vector<ZeroRow>& rows, std::vector<char>& impossible) {
    for (bool changed = true; changed;) {
        changed = false;
        for (ZeroRow& row : rows) {
            if (row.decided) {
                continue;
            }
            bool positive = false;
            bool negative = false;
            for (std::size_t j = 0; j < row.entries.size(); ++j) {
                if (impossible[j] == 0 && j != row.basic) {
                    positive = positive || row.entries[j] > 0.0;
                    negative = negative || row.entries[j] < 0.0;
                }
            }
            if (impossible[row.basic] != 0) {
                // The row then reads sum = 0 without its basic column.
                if (positive && negative) {
                    continue;
                }
            } else if (negative) {
                if (!positive) {
                    row.decided = true; // the basic column takes up what the others bring
                    changed = true;
                }
                continue;
            }
            impossible[row.basic] = 1;
            for (std::size_t j = 0; j < row.entries.size(); ++j) {
                if (row.entries[j] != 0.0) {
                    impossible[j] = 1;
                }
            }
            row.decided = true;
            changed = true;
        }
    }
}

/// Decides the rest: columns that no point of the cone of the undecided rows holds.
void decide_by_programme(const std::vector<ZeroRow>& rows, std::vector<char>& impossible) {
    std::vector<const ZeroRow*> open;
    for (const ZeroRow& row : rows) {
        if (!row.decided) {
            open.push_back(&row);
        }
    }
    if (open.empty()) {
        return;
    }
    const std::size_t m = open.size();
    std::vector<std::size_t> undecided;
    for (std::size_t j = 0; j < impossible.size(); ++j) {
        const bool touches = std::any_of(open.begin(), open.end(), [&](const ZeroRow* row) {
            return row->entries[j] != 0.0 || row->basic == j;
        });
        if (touches && impossible[j] == 0) {
            undecided.push_back(j);
        }
    }
    // Maximise the sum of what is undecided, up to 1; what comes out above zero is possible.
    std::vector<char> possible(undecided.size(), 0);
    for (;;) {
        LinearProgramme programme;
        programme.reset(m + 1);
        std::vector<double> entries(m + 1);
        for (std::size_t u = 0; u < undecided.size(); ++u) {
            for (std::size_t k = 0; k < m; ++k) {
                entries[k] = open[k]->basic == undecided[u] ? 1.0 : open[k]->entries[undecided[u]];
            }
            entries[m] = possible[u] != 0 ? 0.0 : 1.0;
            programme.add_column(entries, -entries[m]);
        }
        std::fill(entries.begin(), entries.end(), 0.0);
        entries[m] = 1.0;
        programme.add_column(entries, 0.0);
        programme.set_right_side(entries);
        const LinearProgramme::Status status = programme.solve();
        bool found = false;
        if (status == LinearProgramme::Status::Optimal) {
            for (std::size_t k = 0; k <= m; ++k) {
                const std::size_t j = programme.basic(k);
                if (j < undecided.size() && possible[j] == 0 && programme.level(k) > 1e-9) {
                    possible[j] = 1;
                    found = true;
                }
            }
        } else {
            return; // nothing is held down that is not proven to be
        }
        if (!found) {
            break;
        }
    }
    for (std::size_t u = 0; u < undecided.size(); ++u) {
        if (possible[u] == 0) {
            impossible[undecided[u]] = 1;
        }
    }
}

} // namespace

bool find_impossible_columns(const LinearProgramme& solved, std::vector<char>& impossible) {
    impossible.assign(solved.column_count(), 0);
    std::vector<ZeroRow> rows = zero_rows(solved);
    if (rows.empty()) {
        return false;
    }
    decide_by_signs(rows, impossible);
    decide_by_programme(rows, impossible);
    return std::find(impossible.begin(), impossible.end(), 1) != impossible.end();
}

} // namespace tessara
