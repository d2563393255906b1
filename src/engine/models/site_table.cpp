#include "engine/models/site_table.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tessara {
namespace {

/// Contents of end members are rounded in data files; differences of less, of a mole, are none.
constexpr double ContentTolerance = 1e-4;

} // namespace

SiteTable::SiteTable(std::vector<std::size_t> sizes, std::vector<std::vector<std::size_t>> rows)
    : sizes_(std::move(sizes)), rows_(std::move(rows)) {
    for (std::size_t size : sizes_) {
        offsets_.push_back(offsets_.back() + size);
    }
    by_place_.resize(rows_.size());
    for (std::size_t k = 0; k < rows_.size(); ++k) {
        std::size_t place = 0;
        for (std::size_t s = 0; s < sizes_.size(); ++s) {
            place = place * sizes_[s] + rows_[k][s];
        }
        by_place_[place] = k;
    }
}

std::size_t SiteTable::sublattice_of(std::size_t running) const {
    const auto next = std::upper_bound(offsets_.begin(), offsets_.end(), running);
    return static_cast<std::size_t>(next - offsets_.begin()) - 1;
}

std::size_t SiteTable::end_member(std::span<const std::size_t> constituents) const {
    std::size_t place = 0;
    for (std::size_t s = 0; s < sizes_.size(); ++s) {
        place = place * sizes_[s] + constituents[s];
    }
    return by_place_[place];
}

std::vector<char> SiteTable::present(std::span<const std::size_t> end_members) const {
    std::vector<char> marks(total(), 0);
    for (std::size_t k : end_members) {
        for (std::size_t s = 0; s < sublattices(); ++s) {
            marks[running(k, s)] = 1;
        }
    }
    return marks;
}

std::vector<char> SiteTable::reduce(std::vector<char> possible) const {
    std::vector<std::size_t> there;
    for (std::size_t k = 0; k < possible.size(); ++k) {
        if (possible[k] != 0) {
            there.push_back(k);
        }
    }
    std::vector<char> keep = present(there);
    const auto kept = [&](std::size_t k) {
        for (std::size_t s = 0; s < sublattices(); ++s) {
            if (keep[running(k, s)] == 0) {
                return false;
            }
        }
        return true;
    };
    for (;;) {
        std::vector<std::size_t> missing(total(), 0);
        for (std::size_t k = 0; k < possible.size(); ++k) {
            for (std::size_t s = 0; possible[k] == 0 && kept(k) && s < sublattices(); ++s) {
                ++missing[running(k, s)];
            }
        }
        // On a sublattice with one constituent left this one lacks whatever another lacks; that
        // other one leaves, unless there is none.
        std::size_t worst = total();
        bool alone = true;
        for (std::size_t s = 0; s < sublattices(); ++s) {
            const auto first = keep.begin() + static_cast<std::ptrdiff_t>(offsets_[s]);
            const bool last =
                std::count(first, first + static_cast<std::ptrdiff_t>(sizes_[s]), 1) == 1;
            for (std::size_t c = offsets_[s]; c < offsets_[s + 1]; ++c) {
                if (missing[c] > 0 && (worst == total() || (alone && !last) ||
                                       (alone == last && missing[c] > missing[worst]))) {
                    worst = c;
                    alone = last;
                }
            }
        }
        if (worst == total()) {
            break;
        }
        keep[worst] = 0;
    }
    for (std::size_t k = 0; k < possible.size(); ++k) {
        possible[k] = kept(k) ? 1 : 0;
    }
    return possible;
}

void describe_sites(const SiteTable& table, std::span<const std::string> names,
                    Description& phase) {
    Description::List groups;
    for (std::size_t s = 0; s < table.sublattices(); ++s) {
        groups.push_back(Description::list(names.subspan(table.offset(s), table.sizes()[s])));
    }
    Description::List members;
    for (std::size_t k = 0; k < table.end_members(); ++k) {
        Description::List places;
        for (std::size_t s = 0; s < table.sublattices(); ++s) {
            places.emplace_back(table.at(k, s));
        }
        members.emplace_back(std::move(places));
    }
    phase.set("sublattices", std::move(groups));
    phase.set("members", std::move(members));
}

SiteContents site_contents(const SiteTable& table, std::span<const double> contents,
                           std::size_t width) {
    const std::size_t sublattices = table.sublattices();
    SiteContents result;
    result.rows.assign(table.total() * width, 0.0);
    const std::vector<std::size_t> first(sublattices, 0);
    const double* origin = contents.data() + table.end_member(first) * width;
    std::size_t rest = sublattices - 1;
    for (std::size_t s = sublattices; s-- > 0;) {
        rest = table.sizes()[s] == 1 ? s : rest;
    }
    for (std::size_t j = 0; j < width; ++j) {
        double shared = origin[j];
        for (std::size_t s = 0; s < sublattices; ++s) {
            double least = 0.0;
            for (std::size_t c = 0; c < table.sizes()[s]; ++c) {
                std::vector<std::size_t> other = first;
                other[s] = c;
                const double more = contents[table.end_member(other) * width + j] - origin[j];
                result.rows[(table.offset(s) + c) * width + j] = more;
                least = std::min(least, more);
            }
            for (std::size_t c = 0; c < table.sizes()[s]; ++c) {
                result.rows[(table.offset(s) + c) * width + j] -= least;
            }
            shared += least;
        }
        for (std::size_t c = 0; c < table.sizes()[rest]; ++c) {
            result.rows[(table.offset(rest) + c) * width + j] += shared;
        }
    }
    for (std::size_t k = 0; k < table.end_members() && !result.exception; ++k) {
        for (std::size_t j = 0; j < width; ++j) {
            const double given = contents[k * width + j];
            double sum = 0.0;
            for (std::size_t s = 0; s < sublattices; ++s) {
                sum += result.rows[table.running(k, s) * width + j];
            }
            if (!(std::abs(sum - given) <= ContentTolerance * std::max(1.0, std::abs(given)))) {
                result.exception = k;
            }
        }
    }
    return result;
}

} // namespace tessara
