#include "engine/equilibrium/phase_search.hpp"

#include "engine/equilibrium/vectors.hpp"

#include <Eigen/Cholesky>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace tessara {
namespace {

using SquareMap = Eigen::Map<Eigen::MatrixXd>;

/// The gradient counts as zero below this, in R T.
constexpr double GradientTolerance = 1e-12;
constexpr int MostIterations = 80;
/// Growth of ln x in one step, for constituents that are no traces.
constexpr double MostGrowth = 2.0;
/// Samples farther below the plane than this hold no second minimum that touches it.
constexpr double FarBelow = 1.5;
/// Two compositions are one where no fraction differs by more.
constexpr double SameComposition = 1e-6;

/// Least pivot that counts as positive, where the unit matrix has 1.
constexpr double LeastPivot = 1e-7;
/// sqrt(x) of a fraction below the range of doubles; any number above zero serves.
constexpr double LeastRoot = 1e-160;

} // namespace

double PhaseSearch::normalise(std::span<double> x, std::span<double> log_x) {
    const double top = *std::max_element(log_x.begin(), log_x.end());
    double sum = 0.0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        x[i] = std::exp(log_x[i] - top);
        sum += x[i];
    }
    const double shift = top + std::log(sum);
    for (std::size_t i = 0; i < x.size(); ++i) {
        x[i] /= sum;
        log_x[i] -= shift;
    }
    return shift;
}

double PhaseSearch::ideal(const Block& block, std::span<const double> tau, std::span<double> x,
                          std::span<double> log_x) {
    for (std::size_t i = 0; i < block.count; ++i) {
        log_x[i] = tau[i] - block.shift;
    }
    return normalise(x, log_x);
}

void PhaseSearch::resize(std::size_t n) {
    n_ = n;
    if (gradient_.size() < n) {
        for (auto* v : {&gradient_, &root_, &normal_, &step_, &trial_x_, &trial_log_x_}) {
            v->resize(n);
        }
        hessian_.resize(n * n);
        factor_.resize(n * n);
    }
}

/// P (I + share (K - I)) P + s s', with s = sqrt(x), the unit vector across the plane of
/// compositions, and P the projection onto that plane: positive definite exactly where the Hessian
/// is so along sum(x) = 1.
void PhaseSearch::project(std::size_t n, double share) {
    const auto size = static_cast<Eigen::Index>(n);
    const SquareMap hessian(hessian_.data(), size, size);
    const Eigen::Map<const Eigen::VectorXd> s(root_.data(), size);
    Eigen::Map<Eigen::VectorXd> ks(normal_.data(), size);
    SquareMap projected(factor_.data(), size, size);
    projected = share * hessian;
    projected.diagonal().array() += 1.0 - share;
    ks.noalias() = projected * s;
    const double sks = s.dot(ks);
    for (Eigen::Index i = 0; i < size; ++i) {
        for (Eigen::Index j = 0; j < size; ++j) {
            projected(i, j) += (sks + 1.0) * s[i] * s[j] - s[i] * ks[j] - ks[i] * s[j];
        }
    }
}

/// Cholesky factor of the projected Hessian; false where it is not positive definite.
bool PhaseSearch::factorise(std::size_t n, double share) {
    project(n, share);
    const auto size = static_cast<Eigen::Index>(n);
    SquareMap factor(factor_.data(), size, size);
    const Eigen::LLT<Eigen::Ref<Eigen::MatrixXd>> decomposition(factor);
    // A pivot that is nothing but rounding is no proof of a positive one.
    return decomposition.info() == Eigen::Success && factor.diagonal().minCoeff() > LeastPivot;
}

bool PhaseSearch::prepare(const Block& block, std::span<const double> x,
                          std::span<const double> log_x, bool exact) {
    const std::size_t n = block.count;
    resize(n);
    mixing_ = block.evaluator->mixing(x, log_x, std::span(gradient_.data(), n),
                                      std::span(hessian_.data(), n * n));
    for (std::size_t i = 0; i < n; ++i) {
        root_[i] = std::max(std::sqrt(x[i]), LeastRoot);
    }
    indefinite_ = false;
    if (factorise(n, 1.0)) {
        return true;
    }
    const auto size = static_cast<Eigen::Index>(n);
    SquareMap factor(factor_.data(), size, size);
    if (exact) {
        project(n, 1.0);
        lu_.compute(factor);
        indefinite_ = true;
        return false;
    }
    for (const double share : {0.5, 0.25, 0.1}) {
        if (factorise(n, share)) {
            return false;
        }
    }
    factor.setIdentity(); // ideal mixing alone
    return false;
}

void PhaseSearch::respond(std::span<double> right, std::size_t columns) {
    const auto size = static_cast<Eigen::Index>(n_);
    const SquareMap factor(factor_.data(), size, size);
    const Eigen::Map<const Eigen::VectorXd> s(root_.data(), size);
    Eigen::Map<Eigen::MatrixXd> w(right.data(), size, static_cast<Eigen::Index>(columns));
    for (Eigen::Index k = 0; k < w.cols(); ++k) {
        w.col(k) -= s.dot(w.col(k)) * s;
    }
    if (indefinite_) {
        w = lu_.solve(w).eval();
    } else {
        factor.triangularView<Eigen::Lower>().solveInPlace(w);
        factor.transpose().triangularView<Eigen::Upper>().solveInPlace(w);
    }
    w.array().colwise() /= s.array();
}

bool PhaseSearch::locally_stable(const Block& block, std::span<const double> x,
                                 std::span<const double> log_x) {
    return block.curvature == Curvature::Ideal || prepare(block, x, log_x);
}

double PhaseSearch::local(const Block& block, std::span<const double> tau, std::span<double> x,
                          std::span<double> log_x) {
    const std::size_t n = block.count;
    converged_ = true;
    if (block.curvature == Curvature::Ideal) {
        return ideal(block, tau, x, log_x);
    }
    resize(n);
    const std::span step(step_.data(), n);
    const std::span trial_x(trial_x_.data(), n);
    const std::span trial_log_x(trial_log_x_.data(), n);
    bool convex = prepare(block, x, log_x);
    double force = dot(x, tau) - mixing_;
    for (int iteration = 0; iteration < MostIterations; ++iteration) {
        double mean = 0.0;
        double size = 1.0;
        for (std::size_t i = 0; i < n; ++i) {
            step[i] = tau[i] - gradient_[i];
            mean += x[i] * step[i];
            size = std::max(size, std::abs(tau[i]));
        }
        double largest = 0.0;
        for (std::size_t i = 0; i < n; ++i) {
            step[i] -= mean;
            largest = std::max(largest, std::abs(step[i]));
            step[i] *= root_[i];
        }
        if (largest <= GradientTolerance * size && convex) {
            return force;
        }
        respond(step, 1);
        double slope = 0.0;
        double length = 1.0;
        for (std::size_t i = 0; i < n; ++i) {
            slope += x[i] * step[i] * (tau[i] - gradient_[i] - mean);
            const double room = std::max(MostGrowth, std::log(0.5) - log_x[i]);
            const double most = step[i] > 0.0 ? room : x[i] > 0.1 ? MostGrowth : 1e300;
            length = std::min(length, most / std::max(std::abs(step[i]), 1e-300));
        }
        // Near the end the gain drowns in rounding; the gradient alone then decides.
        const double noise = 16.0 * 2.2e-16 * (size + std::abs(mixing_));
        double new_force = force;
        bool accepted = false;
        for (int cut = 0; cut < 40 && !accepted; ++cut) {
            for (std::size_t i = 0; i < n; ++i) {
                trial_log_x[i] = log_x[i] + length * step[i];
            }
            normalise(trial_x, trial_log_x);
            new_force = dot(trial_x, tau) - block.evaluator->mixing(trial_x, trial_log_x);
            accepted = new_force >= force + 1e-4 * length * slope - noise;
            length *= accepted ? 1.0 : 0.5;
        }
        if (!accepted) {
            break;
        }
        std::copy(trial_x.begin(), trial_x.end(), x.begin());
        std::copy(trial_log_x.begin(), trial_log_x.end(), log_x.begin());
        force = new_force;
        convex = prepare(block, x, log_x);
    }
    converged_ = false;
    return force;
}

const std::vector<Candidate>& PhaseSearch::all(const Block& block, std::span<const double> tau,
                                               std::size_t most) {
    const std::size_t n = block.count;
    for (Candidate& old : found_) {
        spare_.push_back(std::move(old));
    }
    found_.clear();
    const auto fresh = [&]() -> Candidate {
        if (spare_.empty()) {
            return {};
        }
        Candidate candidate = std::move(spare_.back());
        spare_.pop_back();
        return candidate;
    };
    if (block.curvature == Curvature::Ideal) {
        Candidate candidate = fresh();
        candidate.x.resize(n);
        candidate.log_x.resize(n);
        candidate.driving_force = ideal(block, tau, candidate.x, candidate.log_x);
        found_.push_back(std::move(candidate));
        return found_;
    }
    const std::size_t samples = block.sample_count();
    sample_force_.resize(samples);
    order_.resize(samples);
    for (std::size_t k = 0; k < samples; ++k) {
        sample_force_[k] = dot(block.sample(k), tau) - block.sample_mixing[k];
        order_[k] = k;
    }
    std::sort(order_.begin(), order_.end(), [&](std::size_t a, std::size_t b) {
        return sample_force_[a] != sample_force_[b] ? sample_force_[a] > sample_force_[b] : a < b;
    });
    resize(n);
    for (std::size_t k : order_) {
        if (!found_.empty() && (sample_force_[k] < -FarBelow || found_.size() >= most)) {
            break;
        }
        const std::span<const double> start = block.sample(k);
        // A sample from which the force only rises on the way to a maximum already found leads
        // there.
        const bool known = std::any_of(found_.begin(), found_.end(), [&](const Candidate& other) {
            double last = sample_force_[k];
            for (const double share : {0.1, 0.25, 0.45, 0.65, 0.85}) {
                for (std::size_t i = 0; i < n; ++i) {
                    trial_x_[i] = (1.0 - share) * start[i] + share * other.x[i];
                    trial_log_x_[i] = std::log(trial_x_[i]);
                }
                const std::span x(trial_x_.data(), n);
                const double force =
                    dot(x, tau) - block.evaluator->mixing(x, std::span(trial_log_x_.data(), n));
                if (force < last - 1e-12) {
                    return false;
                }
                last = force;
            }
            return last <= other.driving_force + 1e-12;
        });
        if (known) {
            continue;
        }
        Candidate candidate = fresh();
        candidate.x.assign(start.begin(), start.end());
        const std::span<const double> log_start = block.log_sample(k);
        candidate.log_x.assign(log_start.begin(), log_start.end());
        candidate.driving_force = local(block, tau, candidate.x, candidate.log_x);
        const bool distinct = std::none_of(found_.begin(), found_.end(), [&](const Candidate& o) {
            for (std::size_t i = 0; i < n; ++i) {
                if (std::abs(o.x[i] - candidate.x[i]) > SameComposition) {
                    return false;
                }
            }
            return true;
        });
        if (distinct) {
            found_.push_back(std::move(candidate));
        } else {
            spare_.push_back(std::move(candidate));
        }
    }
    std::sort(found_.begin(), found_.end(), [](const Candidate& a, const Candidate& b) {
        return a.driving_force > b.driving_force;
    });
    return found_;
}

} // namespace tessara
