#pragma once

#include <map>
#include <string>
#include <vector>

namespace tessara::test {

/// Figures of one state: a number or a column of them, worked out once, or with each of the gas
/// constants that the block lists under "R".
struct FigureBlock {
    std::string kind;   ///< "state", "equilibrium", "contents", "compounds"
    std::string phase;  ///< as its data file has it
    bool alone = false; ///< no other phase takes part
    /// By key: of "each pair X" and its rows "pair.X".
    std::map<std::string, std::vector<std::vector<double>>> figures;
    /// What the rows of an "each" are of.
    std::map<std::string, std::vector<std::string>> names;

    bool has(const std::string& key) const { return figures.contains(key); }
    const std::vector<double>& column(const std::string& key) const {
        return figures.at(key).front();
    }
    double number(const std::string& key, double otherwise) const {
        return has(key) ? column(key).front() : otherwise;
    }
};

/// A file of figures. Blocks start with their kind and phase, and "alone" where no other phase
/// takes part. They hold lines of a key with its numbers, and tables:
///
///     each ITEM  KEY KEY ...
///     name  number number ...
///
/// to the next "each" or an empty line. "-" stands for no number.
struct CheckValues {
    std::vector<FigureBlock> blocks;
    int digits = 0;
    std::map<std::string, int> fewer_digits; ///< of single keys

    /// A unit of the last digit that figures of this key are given to.
    double last_digit(const std::string& key, double figure) const;
};

CheckValues read_check_values(const std::string& file);

} // namespace tessara::test
