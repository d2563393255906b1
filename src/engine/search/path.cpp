#include "engine/search/path.hpp"

#include "engine/text/text.hpp"

#include <algorithm>
#include <cmath>

namespace tessara {

Path::Path(Variable variable, StateRequest request)
    : variable_(variable), request_(std::move(request)) {
    if (variable_ == Variable::Pressure) {
        request_.volume.reset();
    }
}

Path::Path(std::vector<MovedAmount> moved, StateRequest request)
    : variable_(Variable::Amounts), request_(std::move(request)), moved_(std::move(moved)) {
    std::vector<IncomingAmount>& amounts = request_.conditions.amounts;
    for (const MovedAmount& one : moved_) {
        const auto found =
            std::find_if(amounts.begin(), amounts.end(), [&](const IncomingAmount& amount) {
                return amount.phase == one.at.phase && amount.index == one.at.index;
            });
        entries_.push_back(static_cast<std::size_t>(found - amounts.begin()));
        if (found == amounts.end()) {
            amounts.push_back(one.at);
        }
    }
}

double Path::point(double value) const {
    const bool logarithmic = variable_ == Variable::Pressure || variable_ == Variable::Volume;
    return logarithmic ? std::log(value) : value;
}

double Path::value(double point) const {
    const bool logarithmic = variable_ == Variable::Pressure || variable_ == Variable::Volume;
    return logarithmic ? std::exp(point) : point;
}

std::string Path::text(double point) const {
    switch (variable_) {
    case Variable::Temperature:
        return number_text(point) + " K";
    case Variable::Pressure:
        return number_text(std::exp(point)) + " Pa";
    case Variable::Volume:
        return number_text(std::exp(point)) + " m3";
    case Variable::Amounts:
        break;
    }
    return number_text(100.0 * point) + " % of the way";
}

double Path::amount(std::size_t k, double point) const {
    const double lower = moved_[k].at.amount;
    return point == 1.0 ? moved_[k].upper : lower + point * (moved_[k].upper - lower);
}

const StateRequest& Path::at(double point) {
    EquilibriumConditions& conditions = request_.conditions;
    switch (variable_) {
    case Variable::Temperature:
        conditions.t = point;
        break;
    case Variable::Pressure:
        conditions.p = std::exp(point);
        break;
    case Variable::Volume:
        request_.volume = std::exp(point);
        break;
    case Variable::Amounts:
        for (std::size_t k = 0; k < moved_.size(); ++k) {
            conditions.amounts[entries_[k]].amount = amount(k, point);
        }
        break;
    }
    return request_;
}

} // namespace tessara
