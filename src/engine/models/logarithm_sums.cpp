#include "engine/models/logarithm_sums.hpp"

#include <algorithm>
#include <cmath>

namespace tessara {
namespace {

/// Sums below it are worked out from logarithms.
constexpr double LeastSum = 1e-280;

} // namespace

void LogarithmSums::add(double factor, std::span<const FormPart> parts) {
    const double log_share = parts.size() == 1 ? std::log(parts.front().factor) : 0.0;
    row_.resize(std::max(row_.size(), parts.size()));
    sums_.push_back({factor, parts_.size(), parts.size(), log_share});
    parts_.insert(parts_.end(), parts.begin(), parts.end());
}

void LogarithmSums::add(double factor, std::size_t variable) {
    const FormPart alone{variable, 1.0};
    add(factor, {&alone, 1});
}

void LogarithmSums::add_mixing(std::span<const FormPart> parts) {
    for (const FormPart& part : parts) {
        add(1.0, {&part, 1});
    }
    add(-1.0, parts);
}

double LogarithmSums::value_of(const Sum& sum, std::span<const double> y) const {
    double value = 0.0;
    for (const FormPart& part : parts(sum)) {
        value += part.factor * y[part.variable];
    }
    return value;
}

double LogarithmSums::logarithm(const Sum& sum, double value, std::span<const double> log_y) const {
    const std::span<const FormPart> of = parts(sum);
    if (of.size() == 1) {
        return sum.log_share + log_y[of.front().variable];
    }
    if (value > LeastSum) {
        return std::log(value);
    }
    double top = log_y[of.front().variable];
    for (const FormPart& part : of) {
        top = std::max(top, log_y[part.variable]);
    }
    double total = 0.0;
    for (const FormPart& part : of) {
        total += part.factor * std::exp(log_y[part.variable] - top);
    }
    return top + std::log(total);
}

double LogarithmSums::value(std::span<const double> y, std::span<const double> log_y) const {
    double total = 0.0;
    for (const Sum& sum : sums_) {
        const double value = value_of(sum, y);
        total += value > 0.0 ? sum.factor * value * logarithm(sum, value, log_y) : 0.0;
    }
    return total;
}

double LogarithmSums::gradient(std::span<const double> y, std::span<const double> log_y,
                               std::span<double> gradient) const {
    double total = 0.0;
    for (const Sum& sum : sums_) {
        const double value = value_of(sum, y);
        const double log_value = logarithm(sum, value, log_y);
        for (const FormPart& part : parts(sum)) {
            gradient[part.variable] += sum.factor * part.factor * (log_value + 1.0);
        }
        total += value > 0.0 ? sum.factor * value * log_value : 0.0;
    }
    return total;
}

void LogarithmSums::scaled_hessian(std::span<const double> y, std::span<const double> log_y,
                                   std::span<double> hessian) const {
    for (const Sum& sum : sums_) {
        const std::span<const FormPart> of = parts(sum);
        if (of.size() == 1) {
            const FormPart& part = of.front();
            hessian[part.variable * variables_ + part.variable] += sum.factor * part.factor;
            continue;
        }
        const double value = value_of(sum, y);
        const std::size_t count = of.size();
        // share sqrt(y / sum), of order one also where the sum is beyond the range of doubles
        if (value > LeastSum) {
            const double inverse = 1.0 / std::sqrt(value);
            for (std::size_t k = 0; k < count; ++k) {
                row_[k] = of[k].factor * std::sqrt(y[of[k].variable]) * inverse;
            }
        } else {
            const double log_value = logarithm(sum, value, log_y);
            for (std::size_t k = 0; k < count; ++k) {
                row_[k] = of[k].factor * std::exp(0.5 * (log_y[of[k].variable] - log_value));
            }
        }
        for (std::size_t k = 0; k < count; ++k) {
            double* row = hessian.data() + of[k].variable * variables_;
            const double left = sum.factor * row_[k];
            for (std::size_t m = 0; m < count; ++m) {
                row[of[m].variable] += left * row_[m];
            }
        }
    }
}

} // namespace tessara
