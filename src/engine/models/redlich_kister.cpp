#include "engine/models/redlich_kister.hpp"

#include "engine/models/magnetic_mixing.hpp"
#include "engine/units/constants.hpp"

#include <algorithm>
#include <cmath>

namespace tessara {
namespace {

/// sum_k c_k d^k with its first two derivatives in d.
struct Polynomial {
    double p = 0.0;
    double d1 = 0.0;
    double d2 = 0.0;
};

Polynomial horner(std::span<const double> c, double d) {
    Polynomial r;
    for (std::size_t k = c.size(); k-- > 0;) {
        r.d2 = r.d2 * d + 2.0 * r.d1;
        r.d1 = r.d1 * d + r.p;
        r.p = r.p * d + c[k];
    }
    return r;
}

/// Product of the four numbers but those at a and b.
double product_without(std::span<const double, 4> x, std::size_t a, std::size_t b) {
    double product = 1.0;
    for (std::size_t k = 0; k < 4; ++k) {
        product *= k == a || k == b ? 1.0 : x[k];
    }
    return product;
}

} // namespace

std::size_t CompositionPolynomial::add(std::span<const std::size_t> constituents,
                                       std::size_t set_count) {
    Block block{Shape::Binary, {}, coefficient_count_, set_count};
    std::copy(constituents.begin(), constituents.end(), block.at.begin());
    if (constituents.size() == 3) {
        block.shape = set_count == 1 ? Shape::TernaryConstant : Shape::Ternary;
    } else if (constituents.size() == 4) {
        block.shape = Shape::Quaternary;
    }
    blocks_.push_back(block);
    coefficient_count_ += set_count;
    return block.first;
}

double CompositionPolynomial::value(std::span<const double> x,
                                    std::span<const double> coefficients) const {
    double total = 0.0;
    for (const Block& block : blocks_) {
        const auto c = coefficients.subspan(block.first, block.count);
        const double a = x[block.at[0]];
        const double b = x[block.at[1]];
        switch (block.shape) {
        case Shape::Binary:
            total += a * b * horner(c, a - b).p;
            break;
        case Shape::TernaryConstant:
            total += c[0] * a * b * x[block.at[2]];
            break;
        case Shape::Ternary: {
            const double third = x[block.at[2]];
            const double share = (1.0 - a - b - third) / 3.0;
            total +=
                a * b * third * (c[0] * (a + share) + c[1] * (b + share) + c[2] * (third + share));
            break;
        }
        case Shape::Quaternary:
            total += c[0] * a * b * x[block.at[2]] * x[block.at[3]];
            break;
        }
    }
    return total;
}

double CompositionPolynomial::gradient(std::span<const double> x,
                                       std::span<const double> coefficients,
                                       std::span<double> gradient) const {
    double total = 0.0;
    for (const Block& block : blocks_) {
        const auto c = coefficients.subspan(block.first, block.count);
        const auto [i, j, k, l] = block.at;
        const double a = x[i];
        const double b = x[j];
        switch (block.shape) {
        case Shape::Binary: {
            const Polynomial q = horner(c, a - b);
            gradient[i] += b * q.p + a * b * q.d1;
            gradient[j] += a * q.p - a * b * q.d1;
            total += a * b * q.p;
            break;
        }
        case Shape::TernaryConstant: {
            const double d = x[k];
            gradient[i] += c[0] * b * d;
            gradient[j] += c[0] * a * d;
            gradient[k] += c[0] * a * b;
            total += c[0] * a * b * d;
            break;
        }
        case Shape::Ternary: {
            const double d = x[k];
            const double share = (1.0 - a - b - d) / 3.0;
            const double f = c[0] * (a + share) + c[1] * (b + share) + c[2] * (d + share);
            const double mean = (c[0] + c[1] + c[2]) / 3.0;
            const double p = a * b * d;
            gradient[i] += b * d * f + p * (c[0] - mean);
            gradient[j] += a * d * f + p * (c[1] - mean);
            gradient[k] += a * b * f + p * (c[2] - mean);
            total += p * f;
            break;
        }
        case Shape::Quaternary: {
            const std::array<double, 4> four{a, b, x[k], x[l]};
            for (std::size_t m = 0; m < 4; ++m) {
                gradient[block.at[m]] += c[0] * product_without(four, m, m);
            }
            total += c[0] * four[0] * four[1] * four[2] * four[3];
            break;
        }
        }
    }
    return total;
}

void CompositionPolynomial::hessian(std::span<const double> x, std::span<const double> coefficients,
                                    double weight, std::span<double> hessian) const {
    const std::size_t n = x.size();
    const auto add = [&](std::size_t row, std::size_t column, double h) {
        hessian[row * n + column] += weight * h;
        hessian[column * n + row] += weight * h;
    };
    const auto add_diagonal = [&](std::size_t row, double h) {
        hessian[row * n + row] += weight * h;
    };
    for (const Block& block : blocks_) {
        const auto c = coefficients.subspan(block.first, block.count);
        const auto [i, j, k, l] = block.at;
        const double a = x[i];
        const double b = x[j];
        switch (block.shape) {
        case Shape::Binary: {
            const Polynomial q = horner(c, a - b);
            add_diagonal(i, 2.0 * b * q.d1 + a * b * q.d2);
            add_diagonal(j, -2.0 * a * q.d1 + a * b * q.d2);
            add(i, j, q.p + (a - b) * q.d1 - a * b * q.d2);
            break;
        }
        case Shape::TernaryConstant:
            add(i, j, c[0] * x[k]);
            add(i, k, c[0] * b);
            add(j, k, c[0] * a);
            break;
        case Shape::Ternary: {
            const double d = x[k];
            const double share = (1.0 - a - b - d) / 3.0;
            const double f = c[0] * (a + share) + c[1] * (b + share) + c[2] * (d + share);
            const double mean = (c[0] + c[1] + c[2]) / 3.0;
            const double fi = c[0] - mean;
            const double fj = c[1] - mean;
            const double fk = c[2] - mean;
            add_diagonal(i, 2.0 * b * d * fi);
            add_diagonal(j, 2.0 * a * d * fj);
            add_diagonal(k, 2.0 * a * b * fk);
            add(i, j, d * f + b * d * fj + a * d * fi);
            add(i, k, b * f + b * d * fk + a * b * fi);
            add(j, k, a * f + a * d * fk + a * b * fj);
            break;
        }
        case Shape::Quaternary: {
            const std::array<double, 4> four{a, b, x[k], x[l]};
            for (std::size_t m = 0; m < 4; ++m) {
                for (std::size_t o = m + 1; o < 4; ++o) {
                    add(block.at[m], block.at[o], c[0] * product_without(four, m, o));
                }
            }
            break;
        }
        }
    }
}

namespace {

/// The terms of one list that lie within the active constituents, as polynomials over these.
template <class Coefficients>
struct ActiveTerms {
    CompositionPolynomial polynomial;
    std::vector<Coefficients> sets;

    ActiveTerms(std::span<const InteractionTerm<Coefficients>> terms,
                std::span<const std::size_t> place, std::size_t absent) {
        for (const InteractionTerm<Coefficients>& term : terms) {
            std::vector<std::size_t> local;
            for (std::size_t c : term.constituents) {
                local.push_back(place[c]);
            }
            if (std::find(local.begin(), local.end(), absent) == local.end()) {
                // Of four constituents only the first set has a meaning.
                const std::size_t count = local.size() == 4 ? 1 : term.sets.size();
                polynomial.add(local, count);
                sets.insert(sets.end(), term.sets.begin(),
                            term.sets.begin() + static_cast<std::ptrdiff_t>(count));
            }
        }
    }
};

class RedlichKisterEvaluator final : public PhaseEvaluator {
public:
    RedlichKisterEvaluator(std::size_t size, ActiveTerms<ExcessCoefficients> excess)
        : size_(size), excess_(std::move(excess)), reduced_(excess_.sets.size()),
          thermal_(excess_.sets.size()), selected_(excess_.sets.size()), gradient_(size),
          work_(size) {}

    void make_magnetic(const MagneticFactors& factors, std::vector<MagneticNumbers> pure,
                       ActiveTerms<MagneticNumbers> terms) {
        magnetic_.emplace(factors, std::move(pure), std::move(terms.polynomial), terms.sets);
    }

    Curvature curvature() const override {
        return excess_.sets.empty() && !magnetic_ ? Curvature::Ideal : Curvature::General;
    }
    std::size_t size() const override { return size_; }

    void set_state(const TemperatureTerms& at, double pressure) override {
        at_ = &at;
        t_ = at.t;
        pressure_ = pressure;
        const double inverse_rt = 1.0 / (GasConstant * t_);
        for (std::size_t k = 0; k < reduced_.size(); ++k) {
            const ExcessCoefficients& c = excess_.sets[k];
            reduced_[k] =
                (evaluate_six(c.thermal, at) + (c.p + c.p2 * pressure) * pressure) * inverse_rt;
        }
    }

    double energy(std::span<const double> x) const override {
        double m = excess_.polynomial.value(x, reduced_);
        if (magnetic_) {
            m += magnetic_->value(t_, x);
        }
        return m;
    }

    double entropy(std::span<const double> x, std::span<const double> log_x) const override {
        double m = 0.0;
        for (std::size_t i = 0; i < size_; ++i) {
            m += x[i] * log_x[i];
        }
        return m;
    }

    using PhaseEvaluator::mixing;
    double mixing(std::span<const double> x, std::span<const double> log_x,
                  std::span<double> gradient, std::span<double> scaled_hessian) const override {
        for (std::size_t i = 0; i < size_; ++i) {
            gradient[i] = log_x[i] + 1.0;
        }
        std::fill(scaled_hessian.begin(), scaled_hessian.end(), 0.0);
        double m = excess_.polynomial.gradient(x, reduced_, gradient);
        excess_.polynomial.hessian(x, reduced_, 1.0, scaled_hessian);
        if (magnetic_) {
            m += magnetic_->add(t_, x, gradient, scaled_hessian);
        }
        for (std::size_t i = 0; i < size_; ++i) {
            m += x[i] * log_x[i];
            work_[i] = std::sqrt(x[i]);
        }
        for (std::size_t i = 0; i < size_; ++i) {
            for (std::size_t j = 0; j < size_; ++j) {
                scaled_hessian[i * size_ + j] *= work_[i] * work_[j];
            }
            scaled_hessian[i * size_ + i] += 1.0;
        }
        return m;
    }

    ThermalValue mixing_thermal(std::span<const double> x, std::span<const double> log_x,
                                std::span<ThermalValue> partial) const override {
        for (std::size_t k = 0; k < thermal_.size(); ++k) {
            const ExcessCoefficients& c = excess_.sets[k];
            thermal_[k] = evaluate_six_with_derivatives(c.thermal, *at_);
            thermal_[k].value += (c.p + c.p2 * pressure_) * pressure_;
        }
        // The value and its two T derivatives mix alike, one after the other.
        ThermalValue total;
        for (auto part : ThermalParts) {
            for (std::size_t k = 0; k < thermal_.size(); ++k) {
                selected_[k] = thermal_[k].*part;
            }
            std::fill(gradient_.begin(), gradient_.end(), 0.0);
            total.*part = excess_.polynomial.gradient(x, selected_, gradient_);
            for (std::size_t i = 0; i < size_; ++i) {
                partial[i].*part = gradient_[i];
            }
        }
        if (magnetic_) {
            magnetic_->add_thermal(t_, x, total, partial);
        }
        for (auto part : ThermalParts) {
            double mean = 0.0;
            for (std::size_t i = 0; i < size_; ++i) {
                mean += x[i] * (partial[i].*part);
            }
            for (std::size_t i = 0; i < size_; ++i) {
                partial[i].*part += total.*part - mean;
            }
        }
        for (std::size_t i = 0; i < size_; ++i) {
            const double ideal = GasConstant * log_x[i];
            partial[i] += {.value = t_ * ideal, .d_t = ideal, .d_tt = 0.0};
            if (x[i] > 0.0) {
                total += {.value = x[i] * t_ * ideal, .d_t = x[i] * ideal, .d_tt = 0.0};
            }
        }
        return total;
    }

    double volume(std::span<const double> x, std::span<double> partial) const override {
        for (std::size_t k = 0; k < selected_.size(); ++k) {
            const ExcessCoefficients& c = excess_.sets[k];
            selected_[k] = (c.p + 2.0 * c.p2 * pressure_) / ReferencePressure;
        }
        std::fill(partial.begin(), partial.end(), 0.0);
        const double total = excess_.polynomial.gradient(x, selected_, partial);
        double mean = 0.0;
        for (std::size_t i = 0; i < size_; ++i) {
            mean += x[i] * partial[i];
        }
        for (std::size_t i = 0; i < size_; ++i) {
            partial[i] += total - mean;
        }
        return total;
    }

private:
    std::size_t size_;
    ActiveTerms<ExcessCoefficients> excess_;
    std::optional<MagneticMixing<CompositionPolynomial>> magnetic_;
    const TemperatureTerms* at_ = nullptr;
    double t_ = 0.0;
    double pressure_ = 1.0;
    std::vector<double> reduced_; ///< L / (R T)
    mutable std::vector<ThermalValue> thermal_;
    mutable std::vector<double> selected_; ///< the coefficients of one property, while it is mixed
    mutable std::vector<double> gradient_;
    mutable std::vector<double> work_;
};

} // namespace

ModelSize RedlichKisterModel::size() const {
    return {.excess_coefficients = set_count(excess_),
            .magnetic_coefficients = magnetic_ ? set_count(magnetic_->terms) : 0};
}

std::unique_ptr<PhaseEvaluator>
RedlichKisterModel::evaluator(std::span<const Constituent>,
                              std::span<const std::size_t> active) const {
    const std::size_t absent = constituent_count_;
    std::vector<std::size_t> place(constituent_count_, absent);
    for (std::size_t k = 0; k < active.size(); ++k) {
        place[active[k]] = k;
    }
    auto result = std::make_unique<RedlichKisterEvaluator>(
        active.size(), ActiveTerms<ExcessCoefficients>(excess_, place, absent));
    if (magnetic_) {
        std::vector<MagneticNumbers> pure;
        for (std::size_t c : active) {
            pure.push_back(magnetic_->constituents[c]);
        }
        result->make_magnetic(magnetic_->factors, std::move(pure),
                              ActiveTerms<MagneticNumbers>(magnetic_->terms, place, absent));
    }
    return result;
}

ThermalValue RedlichKisterModel::pure_mixing(std::size_t constituent,
                                             const TemperatureTerms& at) const {
    if (!magnetic_) {
        return {};
    }
    const MagneticNumbers& own = magnetic_->constituents[constituent];
    return magnetic_gibbs(at.t, own.tc, own.beta, magnetic_->factors);
}

bool RedlichKisterModel::equals(const PhaseModel& other) const {
    const auto* same = dynamic_cast<const RedlichKisterModel*>(&other);
    return same != nullptr && same->constituent_count_ == constituent_count_ &&
           same->excess_ == excess_ && same->magnetic_ == magnetic_;
}

void RedlichKisterModel::describe(Description& phase) const {
    phase.set("interactions", describe_terms(excess_));
    if (magnetic_) {
        describe_magnetism(*magnetic_, phase);
    }
}

} // namespace tessara
