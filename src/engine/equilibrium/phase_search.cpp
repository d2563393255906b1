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
/// What a start may be short of its maximum.
constexpr double LikelyGain = 1e-3;
/// Two compositions are one where no fraction differs by more.
constexpr double SameComposition = 1e-6;

/// Minima of the same contents that differ by less, in R T, are one in two orders of sublattices.
constexpr double SameForce = 1e-9;

/// Variables below this are traces; ln of the values at which a search starts with more and fewer.
constexpr double MostTrace = 1e-2;
constexpr double LogMoreTraces = -4.0;
constexpr double LogFewTraces = -20.0;

/// Least pivot that counts as positive, where the unit matrix has 1.
constexpr double LeastPivot = 1e-7;
/// Curvature below zero, where ideal mixing has 1, by which a phase gains less than 1e-9 R T when
/// it unmixes: near a critical point one set stands for two that are all but the same.
constexpr double FlatCurvature = 1e-4;
/// ln of the least double that keeps all its digits.
constexpr double LogLeast = -708.0;
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
        for (auto* v : {&gradient_, &root_, &deviation_, &step_, &trial_x_, &trial_log_x_}) {
            v->resize(n);
        }
        hessian_.resize(n * n);
        factor_.resize(n * n);
    }
}

/// P (I + share (K - I)) P + S S', with unit vectors S across the plane of compositions (one,
/// sqrt(x), where sum(x) = 1 is all that holds) and P the projection onto that plane: positive
/// definite exactly where the Hessian is so along the plane.
void PhaseSearch::project(std::size_t n, double share) {
    const auto size = static_cast<Eigen::Index>(n);
    const auto rank = static_cast<Eigen::Index>(space_.rank());
    const SquareMap hessian(hessian_.data(), size, size);
    const Eigen::Map<const Eigen::MatrixXd> s(normal_.data(), size, rank);
    Eigen::Map<Eigen::MatrixXd> ks(product_.data(), size, rank);
    SquareMap projected(factor_.data(), size, size);
    projected = share * hessian;
    projected.diagonal().array() += 1.0 - share;
    for (Eigen::Index r = 0; r < rank; ++r) {
        ks.col(r).noalias() = projected * s.col(r);
    }
    // With Z = K S - S (S' K S + 1) / 2 it is K - S Z' - Z S'.
    for (Eigen::Index r = 0; r < rank; ++r) {
        for (Eigen::Index q = 0; q < rank; ++q) {
            sks_[static_cast<std::size_t>(q * rank + r)] = s.col(q).dot(ks.col(r));
        }
    }
    for (Eigen::Index r = 0; r < rank; ++r) {
        for (Eigen::Index q = 0; q < rank; ++q) {
            const double m = sks_[static_cast<std::size_t>(q * rank + r)] + (q == r ? 1.0 : 0.0);
            ks.col(r) -= 0.5 * m * s.col(q);
        }
    }
    for (Eigen::Index r = 0; r < rank; ++r) {
        const double* sr = &normal_[static_cast<std::size_t>(r * size)];
        const double* zr = &product_[static_cast<std::size_t>(r * size)];
        for (Eigen::Index i = 0; i < size; ++i) {
            for (Eigen::Index j = 0; j < size; ++j) {
                projected(i, j) -= sr[i] * zr[j] + zr[i] * sr[j];
            }
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

/// Lets an internal variable below the range of doubles mix ideally, apart from the others, on
/// which it has no influence.
void PhaseSearch::detach(std::size_t n, std::size_t i) {
    for (std::size_t j = 0; j < n; ++j) {
        hessian_[i * n + j] = i == j ? 1.0 : 0.0;
        hessian_[j * n + i] = hessian_[i * n + j];
    }
}

/// The unit vectors across the plane of compositions.
void PhaseSearch::set_normal(const Block& block, std::size_t n) {
    const std::span<const double> root(root_.data(), n);
    space_.set(block.variables != nullptr ? &block.variables->constraints : nullptr, root);
    const std::size_t rank = space_.rank();
    if (normal_.size() < rank * n) {
        normal_.resize(rank * n);
        product_.resize(rank * n);
    }
    if (sks_.size() < rank * rank) {
        sks_.resize(rank * rank);
    }
    for (std::size_t r = 0; r < rank; ++r) {
        const std::span<const double> row = space_.row(r);
        for (std::size_t i = 0; i < n; ++i) {
            normal_[r * n + i] = root[i] * row[i];
        }
    }
}

void PhaseSearch::deviations(const Block& block, std::span<const double> x,
                             std::span<const double> log_x, std::span<const double> tau,
                             std::span<const double> gradient, std::span<double> deviations) {
    for (std::size_t i = 0; i < block.count; ++i) {
        deviations[i] = tau[i] - gradient[i];
    }
    if (block.variables == nullptr) {
        const double mean = dot(x, deviations);
        for (double& value : deviations) {
            value -= mean;
        }
        return;
    }
    other_root_.resize(block.count);
    for (std::size_t i = 0; i < block.count; ++i) {
        other_root_[i] = std::max(std::sqrt(x[i]), LeastRoot);
    }
    other_space_.set(&block.variables->constraints, other_root_);
    other_space_.project(x, deviations);
    for (std::size_t i = 0; i < block.count; ++i) {
        // Where ratios of such variables matter to a model they may run off without bound.
        if (log_x[i] < LogLeast && log_x[i] + deviations[i] < LogLeast) {
            deviations[i] = 0.0;
        }
    }
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
    for (std::size_t i = 0; block.variables != nullptr && i < n; ++i) {
        if (log_x[i] < LogLeast) {
            detach(n, i);
        }
    }
    set_normal(block, n);
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
    const Eigen::Map<const Eigen::VectorXd> root(root_.data(), size);
    const Eigen::Map<const Eigen::MatrixXd> s(normal_.data(), size,
                                              static_cast<Eigen::Index>(space_.rank()));
    Eigen::Map<Eigen::MatrixXd> w(right.data(), size, static_cast<Eigen::Index>(columns));
    for (Eigen::Index k = 0; k < w.cols(); ++k) {
        for (Eigen::Index r = 0; r < s.cols(); ++r) {
            w.col(k) -= s.col(r).dot(w.col(k)) * s.col(r);
        }
    }
    if (indefinite_) {
        w = lu_.solve(w).eval();
    } else {
        factor.triangularView<Eigen::Lower>().solveInPlace(w);
        factor.transpose().triangularView<Eigen::Upper>().solveInPlace(w);
    }
    w.array().colwise() /= root.array();
}

bool PhaseSearch::locally_stable(const Block& block, std::span<const double> x,
                                 std::span<const double> log_x) {
    return block.curvature == Curvature::Ideal || prepare(block, x, log_x) ||
           factorise(block.count, 1.0 - FlatCurvature);
}

double PhaseSearch::local(const Block& block, std::span<const double> tau, std::span<double> x,
                          std::span<double> log_x, double gain) {
    const std::size_t n = block.count;
    converged_ = true;
    if (block.curvature == Curvature::Ideal) {
        return ideal(block, tau, x, log_x);
    }
    resize(n);
    const std::span deviation(deviation_.data(), n);
    const std::span step(step_.data(), n);
    const std::span trial_x(trial_x_.data(), n);
    const std::span trial_log_x(trial_log_x_.data(), n);
    bool convex = prepare(block, x, log_x);
    double force = dot(x, tau) - mixing_;
    for (int iteration = 0; iteration < MostIterations; ++iteration) {
        deviations(block, x, log_x, tau, gradient_, deviation);
        double size = 1.0;
        double largest = 0.0;
        for (std::size_t i = 0; i < n; ++i) {
            size = std::max(size, std::abs(tau[i]));
            largest = std::max(largest, std::abs(deviation[i]));
            step[i] = deviation[i] * root_[i];
        }
        if (largest <= GradientTolerance * size && convex) {
            return force;
        }
        respond(step, 1);
        double slope = 0.0;
        double length = 1.0;
        for (std::size_t i = 0; i < n; ++i) {
            slope += x[i] * step[i] * deviation[i];
            const double room = std::max(MostGrowth, std::log(0.5) - log_x[i]);
            const double most = step[i] > 0.0 ? room : x[i] > 0.1 ? MostGrowth : 1e300;
            length = std::min(length, most / std::max(std::abs(step[i]), 1e-300));
        }
        if (convex && slope < gain) {
            return force;
        }
        // Near the end the gain drowns in rounding; the gradient alone then decides.
        const double noise = 16.0 * 2.2e-16 * (size + std::abs(mixing_));
        double new_force = force;
        bool accepted = false;
        for (int cut = 0; cut < 40 && !accepted; ++cut) {
            for (std::size_t i = 0; i < n; ++i) {
                trial_log_x[i] = log_x[i] + length * step[i];
            }
            block.normalise(trial_x, trial_log_x);
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

/// Follows a start to its maximum, which is kept where it is another than those found.
bool PhaseSearch::take_if_new(const Block& block, std::span<const double> tau, Candidate candidate,
                              double gain) {
    candidate.driving_force = local(block, tau, candidate.x, candidate.log_x, gain);
    const bool known = std::any_of(found_.begin(), found_.end(), [&](const Candidate& other) {
        return same_composition(other.x, candidate.x, SameComposition) ||
               (block.same_set(other.x, candidate.x, SameComposition) &&
                std::abs(other.driving_force - candidate.driving_force) <= SameForce);
    });
    (known ? spare_ : found_).push_back(std::move(candidate));
    return !known;
}

/// Starts from the composition found last with more of one trace and less of all others. Mixtures
/// of ions have minima that differ in traces alone, which no sample tells apart.
void PhaseSearch::vary_traces(const Block& block, std::span<const double> tau) {
    const std::size_t from = found_.size() - 1;
    for (std::size_t more = 0; more <= block.count; ++more) {
        Candidate start = found_[from];
        if (more < block.count && start.x[more] >= MostTrace) {
            continue;
        }
        for (std::size_t i = 0; i < block.count; ++i) {
            if (i == more) {
                start.log_x[i] = LogMoreTraces;
            } else if (start.x[i] < MostTrace) {
                start.log_x[i] = std::min(start.log_x[i], LogFewTraces);
            }
        }
        block.normalise(start.x, start.log_x);
        take_if_new(block, tau, std::move(start));
    }
}

/// Whether the force only rises on the way from a sample to a maximum already found.
bool PhaseSearch::leads_to_known(const Block& block, std::span<const double> tau,
                                 std::size_t sample) {
    const std::size_t n = block.count;
    const std::span<const double> start = block.sample(sample);
    const std::span x(trial_x_.data(), n);
    const std::span log_x(trial_log_x_.data(), n);
    return std::any_of(found_.begin(), found_.end(), [&](const Candidate& other) {
        double last = sample_force_[sample];
        for (const double share : {0.1, 0.25, 0.45, 0.65, 0.85}) {
            for (std::size_t i = 0; i < n; ++i) {
                x[i] = (1.0 - share) * start[i] + share * other.x[i];
                log_x[i] = std::log(x[i]);
            }
            const double force = dot(x, tau) - block.evaluator->mixing(x, log_x);
            if (force < last - 1e-12) {
                return false;
            }
            last = force;
        }
        return last <= other.driving_force + 1e-12;
    });
}

/// Takes back what was found before, for its memory.
void PhaseSearch::forget_found() {
    for (Candidate& old : found_) {
        spare_.push_back(std::move(old));
    }
    found_.clear();
}

Candidate PhaseSearch::start_at(std::span<const double> x, std::span<const double> log_x) {
    Candidate candidate;
    if (!spare_.empty()) {
        candidate = std::move(spare_.back());
        spare_.pop_back();
    }
    candidate.x.assign(x.begin(), x.end());
    candidate.log_x.assign(log_x.begin(), log_x.end());
    if (log_x.empty()) {
        candidate.log_x.resize(x.size());
        std::transform(x.begin(), x.end(), candidate.log_x.begin(),
                       [](double value) { return std::log(value); });
    }
    return candidate;
}

/// The driving forces of the samples; gives the greatest one's number.
std::size_t PhaseSearch::weigh_samples(const Block& block, std::span<const double> tau) {
    const std::size_t samples = block.sample_count();
    sample_force_.resize(samples);
    for (std::size_t k = 0; k < samples; ++k) {
        sample_force_[k] = dot(block.sample(k), tau) - block.sample_mixing[k];
    }
    return static_cast<std::size_t>(std::max_element(sample_force_.begin(), sample_force_.end()) -
                                    sample_force_.begin());
}

const std::vector<Candidate>& PhaseSearch::likely(const Block& block, std::span<const double> tau,
                                                  std::span<const Candidate> known, double least) {
    forget_found();
    const std::size_t best = weigh_samples(block, tau);
    if (sample_force_[best] < least - block.sample_gap) {
        return found_;
    }
    resize(block.count);
    for (const Candidate& start : known) {
        take_if_new(block, tau, start_at(start.x, start.log_x), LikelyGain);
    }
    if (!leads_to_known(block, tau, best)) {
        take_if_new(block, tau, start_at(block.sample(best)), LikelyGain);
    }
    return found_;
}

const std::vector<Candidate>& PhaseSearch::all(const Block& block, std::span<const double> tau,
                                               std::size_t most, std::span<const Candidate> known) {
    const std::size_t n = block.count;
    forget_found();
    if (block.curvature == Curvature::Ideal) {
        Candidate candidate = start_at(tau, tau); // for its size
        candidate.driving_force = ideal(block, tau, candidate.x, candidate.log_x);
        found_.push_back(std::move(candidate));
        return found_;
    }
    // The samples that may hold a maximum near the plane, and the best of all.
    const std::size_t best = weigh_samples(block, tau);
    resize(n);
    order_.clear();
    for (std::size_t k = 0; k < sample_force_.size(); ++k) {
        if (k == best || sample_force_[k] >= -block.sample_gap) {
            order_.push_back(k);
        }
    }
    std::sort(order_.begin(), order_.end(), [&](std::size_t a, std::size_t b) {
        return sample_force_[a] != sample_force_[b] ? sample_force_[a] > sample_force_[b] : a < b;
    });
    for (const Candidate& start : known) {
        take_if_new(block, tau, start_at(start.x, start.log_x));
    }
    for (std::size_t k : order_) {
        if (found_.size() >= most && !found_.empty()) {
            break;
        }
        if (!leads_to_known(block, tau, k) && take_if_new(block, tau, start_at(block.sample(k))) &&
            block.is_charged()) {
            vary_traces(block, tau);
        }
    }
    std::sort(found_.begin(), found_.end(), [](const Candidate& a, const Candidate& b) {
        return a.driving_force > b.driving_force;
    });
    return found_;
}

} // namespace tessara
