#pragma once

#include "engine/data/description.hpp"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tessara {

/// Which constituent each end member has on each sublattice: every combination once.
class SiteTable {
public:
    SiteTable() = default;
    /// `sizes`: number of constituents of each sublattice; `rows`: for each end member the numbers
    /// of its constituents within their sublattices.
    SiteTable(std::vector<std::size_t> sizes, std::vector<std::vector<std::size_t>> rows);

    std::size_t sublattices() const { return sizes_.size(); }
    const std::vector<std::size_t>& sizes() const { return sizes_; }
    std::size_t end_members() const { return rows_.size(); }
    /// Number of constituents on all sublattices.
    std::size_t total() const { return offsets_.back(); }

    std::size_t at(std::size_t end_member, std::size_t sublattice) const {
        return rows_[end_member][sublattice];
    }
    /// The same, numbered through all sublattices.
    std::size_t running(std::size_t end_member, std::size_t sublattice) const {
        return offsets_[sublattice] + rows_[end_member][sublattice];
    }
    std::size_t offset(std::size_t sublattice) const { return offsets_[sublattice]; }
    std::size_t sublattice_of(std::size_t running) const;
    /// The end member of these constituents, one of each sublattice.
    std::size_t end_member(std::span<const std::size_t> constituents) const;

    /// Marks the constituents of the sites that the end members listed hold.
    std::vector<char> present(std::span<const std::size_t> end_members) const;

    /// The largest table within the end members marked: constituents of the sites leave, those
    /// first that lack the most end members, until the rest is a full product.
    std::vector<char> reduce(std::vector<char> possible) const;

    friend bool operator==(const SiteTable&, const SiteTable&) = default;

private:
    std::vector<std::size_t> sizes_;
    std::vector<std::vector<std::size_t>> rows_;
    std::vector<std::size_t> offsets_{0};
    std::vector<std::size_t> by_place_; ///< end members by their constituents, the last fastest
};

/// Adds "sublattices", the names on each, and "members", for each end member the numbers of its
/// constituents within their sublattices.
void describe_sites(const SiteTable& table, std::span<const std::string> names, Description& phase);

/// What each constituent of the sites holds, so that an end member holds the sum of its own:
/// a row of `width` numbers for each running number. Where end members share something the choice
/// is free: all are at least zero and most are zero if the end members' are not negative.
struct SiteContents {
    std::vector<double> rows;
    /// An end member whose content is not the sum; all numbers are of no use then.
    std::optional<std::size_t> exception;
};

/// `contents`: a row of `width` numbers for each end member.
SiteContents site_contents(const SiteTable& table, std::span<const double> contents,
                           std::size_t width);

} // namespace tessara
