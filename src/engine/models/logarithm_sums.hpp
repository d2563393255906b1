#pragma once

#include "engine/models/form_products.hpp"

namespace tessara {

/// sum_k f_k l_k ln l_k over linear forms l with positive shares: the entropies of mixing. Exact
/// for traces, as it knows the logarithms of the variables.
class LogarithmSums {
public:
    explicit LogarithmSums(std::size_t variables) : variables_(variables) {}

    void add(double factor, std::span<const FormPart> parts);
    /// f y ln y of one variable.
    void add(double factor, std::size_t variable);
    /// sum_i l_i ln(l_i / sum l) with l_i = share_i y_i.
    void add_mixing(std::span<const FormPart> parts);

    double value(std::span<const double> y, std::span<const double> log_y) const;
    /// Adds the gradient to `gradient` and returns the value.
    double gradient(std::span<const double> y, std::span<const double> log_y,
                    std::span<double> gradient) const;
    /// Adds the Hessian scaled by sqrt(y_i y_j) to `hessian`, a row-major square.
    void scaled_hessian(std::span<const double> y, std::span<const double> log_y,
                        std::span<double> hessian) const;

private:
    struct Sum {
        double factor;
        std::size_t first;
        std::size_t count;
        double log_share; ///< of a sum of one part
    };

    std::span<const FormPart> parts(const Sum& sum) const {
        return {&parts_[sum.first], sum.count};
    }
    double logarithm(const Sum& sum, double value, std::span<const double> log_y) const;
    double value_of(const Sum& sum, std::span<const double> y) const;

    std::size_t variables_;
    std::vector<Sum> sums_;
    std::vector<FormPart> parts_;
    mutable std::vector<double> row_;
};

} // namespace tessara
