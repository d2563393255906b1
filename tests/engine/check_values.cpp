#include "check_values.hpp"

#include <cmath>
#include <fstream>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace tessara::test {
namespace {

double number_of(const std::string& word) {
    return word == "-" ? std::numeric_limits<double>::quiet_NaN() : std::stod(word);
}

} // namespace

double CheckValues::last_digit(const std::string& key, double figure) const {
    const auto fewer = fewer_digits.find(key.substr(key.rfind('.') + 1));
    const int count = fewer == fewer_digits.end() ? digits : fewer->second;
    const double exponent = figure == 0.0 ? 0.0 : std::floor(std::log10(std::abs(figure)));
    return std::pow(10.0, exponent + 1.0 - count);
}

CheckValues read_check_values(const std::string& file) {
    std::ifstream in(file);
    if (!in) {
        throw std::runtime_error("cannot open " + file);
    }
    CheckValues values;
    std::string item;
    std::vector<std::pair<std::string, std::size_t>> columns; // keys, and which of those alike
    for (std::string line; std::getline(in, line);) {
        std::istringstream words(line);
        std::vector<std::string> all;
        for (std::string word; words >> word;) {
            all.push_back(word);
        }
        if (all.empty()) {
            columns.clear();
            continue;
        }
        const std::string& first = all.front();
        if (first.front() == '#') {
            continue;
        }
        if (first == "digits") {
            values.digits = all.size() == 2 ? std::stoi(all[1]) : values.digits;
            for (std::size_t k = 2; k < all.size(); ++k) {
                values.fewer_digits[all[k]] = std::stoi(all[1]);
            }
            continue;
        }
        if (first == "state" || first == "equilibrium" || first == "contents" ||
            first == "compounds") {
            values.blocks.emplace_back();
            values.blocks.back().kind = first;
            values.blocks.back().phase = all.size() > 1 ? all[1] : "";
            values.blocks.back().alone = all.back() == "alone";
            columns.clear();
            continue;
        }
        FigureBlock& block = values.blocks.back();
        if (first == "each") {
            item = all.at(1);
            block.names[item].clear();
            columns.clear();
            for (std::size_t k = 2; k < all.size(); ++k) {
                auto& alike = block.figures[item + "." + all[k]];
                columns.emplace_back(item + "." + all[k], alike.size());
                alike.emplace_back();
            }
        } else if (!columns.empty()) {
            if (all.size() != columns.size() + 1) {
                throw std::runtime_error(file + ": " + line);
            }
            block.names[item].push_back(first);
            for (std::size_t k = 0; k < columns.size(); ++k) {
                const auto& [key, place] = columns[k];
                block.figures[key][place].push_back(number_of(all[k + 1]));
            }
        } else {
            for (std::size_t k = 1; k < all.size(); ++k) {
                block.figures[first].push_back({number_of(all[k])});
            }
        }
    }
    return values;
}

} // namespace tessara::test
