#include "engine/equilibrium/assemblage.hpp"

#include "engine/units/constants.hpp"

#include <Eigen/QR>

#include <algorithm>
#include <cmath>
#include <limits>

namespace tessara {
namespace {

/// A rate of change closer to zero than this is none.
constexpr double RateTolerance = 1e-9;
/// A phase is made of others where they come as near to its composition as this.
constexpr double SpanTolerance = 1e-6;
/// A sum counts as zero below this multiple of its absolute terms.
constexpr double ZeroTolerance = 64.0 * Epsilon;
/// Entries of an inverted basis below this share of the largest are rounding.
constexpr double RoundingOfInverse = 1e-12;
/// Squared norm of the residuals, per equation, at which the state is as exact as doubles hold it.
constexpr double Exact = 1e-29;
/// Squared norm per equation that is good enough where rounding allows no less.
constexpr double Good = 1e-21;
constexpr int MostIterations = 120;
constexpr int MostCuts = 12;
/// Fall of ln(amount) after which a set that still falls is taken to vanish.
constexpr double VanishingFall = 14.0;
/// A basis member may be rarer by this factor (ln) than a species that could take its place.
constexpr double MemberLag = 5.0;
constexpr int MostBases = 5;
/// Difference of the logarithms of a balance's sides that Newton's method need not start from.
constexpr double FarBalance = 40.0;
constexpr int FarSweeps = 4;
/// Steps that leave more than this share of the norm are slow; so many of them in a row lead
/// nowhere.
constexpr double SlowProgress = 0.97;
constexpr int MostSlow = 8;
/// Fall of ln(amount) that makes a mixture the likely cause of a failure.
constexpr double BlamedFall = 1.0;
/// Largest change of an amount, relative, by which rounding is taken out of its balance.
constexpr double MostClosing = 1e-10;
/// Largest growth of ln x of a constituent that is no trace, in one step.
constexpr double MostGrowth = 2.0;
/// Largest fall of ln(amount) in one step.
constexpr double MostFall = 5.0;

double dot(const double* a, const double* b, std::size_t n) {
    double sum = 0.0;
    for (std::size_t k = 0; k < n; ++k) {
        sum += a[k] * b[k];
    }
    return sum;
}

} // namespace

double MixtureSet::amount() const {
    return std::exp(log_amount);
}

MixtureSet& Assemblage::add_mixture(std::size_t block, std::size_t size) {
    if (mixture_count == mixtures.size()) {
        mixtures.emplace_back();
    }
    MixtureSet& set = mixtures[mixture_count++];
    set.block = block;
    set.log_amount = 0.0;
    set.x.assign(size, 0.0);
    set.log_x.assign(size, 0.0);
    return set;
}

void Assemblage::remove_mixture(std::size_t k) {
    // The set goes behind the others, so that its memory stays.
    const auto at = mixtures.begin() + static_cast<std::ptrdiff_t>(k);
    std::rotate(at, at + 1, mixtures.begin() + static_cast<std::ptrdiff_t>(mixture_count));
    --mixture_count;
}

// --- the basis ---

std::span<const double> Assemblage::member_stoichiometry(const Member& member) const {
    if (member.kind == Member::Kind::Reservoir) {
        return (*reservoirs_)[member.id].stoichiometry;
    }
    return system_->stoichiometry(member.id);
}

double Assemblage::member_gibbs(const Member& member) const {
    return member.kind == Member::Kind::Reservoir ? (*reservoirs_)[member.id].potential
                                                  : system_->gibbs()[member.id];
}

/// Reservoirs, pure phases, then the constituents of mixtures by falling amount. Says whether all
/// reservoirs and pure phases are independent; if not, `vanishing_` is the pure phase that is not.
bool Assemblage::choose_basis() {
    basis_.clear();
    rows_.reset(system_->component_count());
    for (std::size_t r = 0; r < reservoirs_->size(); ++r) {
        if (rows_.offer((*reservoirs_)[r].stoichiometry)) {
            basis_.push_back({Member::Kind::Reservoir, r, 0});
        }
    }
    for (std::size_t p = 0; p < pure.size(); ++p) {
        const std::size_t species = system_->blocks[pure[p].block].first;
        if (!rows_.offer(system_->stoichiometry(species))) {
            vanishing_ = p;
            return false;
        }
        basis_.push_back({Member::Kind::Pure, species, p});
    }
    fixed_ = basis_.size();
    ranking_.clear();
    for (std::size_t f = 0; f < mixture_count; ++f) {
        const MixtureSet& set = mixtures[f];
        const Block& block = system_->blocks[set.block];
        for (std::size_t i = 0; i < block.count; ++i) {
            ranking_.push_back({set.log_amount + set.log_x[i], block.first + i, f});
        }
    }
    std::sort(ranking_.begin(), ranking_.end(), [](const Ranked& a, const Ranked& b) {
        return a.log_amount != b.log_amount ? a.log_amount > b.log_amount : a.species < b.species;
    });
    const std::size_t nc = system_->component_count();
    for (const Ranked& ranked : ranking_) {
        if (basis_.size() == nc) {
            break;
        }
        if (rows_.offer(system_->stoichiometry(ranked.species))) {
            basis_.push_back({Member::Kind::Mixture, ranked.species, ranked.set});
        }
    }
    spanned_ = basis_.size();
    complete_basis();
    return true;
}

/// Adds species that are not there, until every species can be written over the members.
void Assemblage::complete_basis() {
    const std::size_t nc = system_->component_count();
    for (std::size_t s = 0; s < system_->species().size() && basis_.size() < nc; ++s) {
        if (rows_.offer(system_->stoichiometry(s))) {
            basis_.push_back({Member::Kind::Open, s, 0});
        }
    }
    rank_ = basis_.size();
}

/// Writes all species over the members.
void Assemblage::transform() {
    const std::size_t r = rank_;
    const auto n = static_cast<Eigen::Index>(r);
    using RowMajor = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
    inverse_.resize(r * r);
    Eigen::Map<RowMajor> inverse(inverse_.data(), n, n);
    if (r > 0) {
        matrix_.resize(n, n);
        for (std::size_t k = 0; k < r; ++k) {
            const std::span<const double> row = member_stoichiometry(basis_[k]);
            for (std::size_t j = 0; j < r; ++j) {
                matrix_(static_cast<Eigen::Index>(k), static_cast<Eigen::Index>(j)) =
                    row[rows_.pivot(j)];
            }
        }
        lu_.compute(matrix_);
        inverse = lu_.inverse();
        // Rounding must not mix what has nothing to do with each other: a trace's balance would
        // take up digits of abundant matter.
        const double largest = inverse.cwiseAbs().maxCoeff();
        for (double& entry : inverse_) {
            entry = std::abs(entry) <= RoundingOfInverse * largest ? 0.0 : entry;
        }
    }
    const std::vector<Species>& species = system_->species();
    nu_.assign(species.size() * r, 0.0);
    kappa_.resize(species.size());
    tau_.resize(species.size());
    const std::span<const double> gibbs = system_->gibbs();
    size_.resize(r);
    for (std::size_t s = 0; s < species.size(); ++s) {
        const double* row = system_->stoichiometry(s).data();
        double* nu = &nu_[s * r];
        std::fill(size_.begin(), size_.end(), 0.0);
        for (std::size_t j = 0; j < r; ++j) {
            const double a = row[rows_.pivot(j)];
            if (a == 0.0) {
                continue; // most are
            }
            const double* inverse_row = &inverse_[j * r];
            for (std::size_t k = 0; k < r; ++k) {
                const double term = a * inverse_row[k];
                nu[k] += term;
                size_[k] += std::abs(term);
            }
        }
        for (std::size_t k = 0; k < r; ++k) {
            nu[k] = std::abs(nu[k]) <= ZeroTolerance * size_[k] ? 0.0 : nu[k];
        }
    }
    for (std::size_t k = 0; k < r; ++k) {
        if (basis_[k].kind != Member::Kind::Reservoir) {
            double* nu = &nu_[basis_[k].id * r];
            std::fill(nu, nu + r, 0.0);
            nu[k] = 1.0;
        }
    }
    for (std::size_t s = 0; s < species.size(); ++s) {
        double kappa = gibbs[s];
        for (std::size_t k = 0; k < r; ++k) {
            kappa -= nu_[s * r + k] * member_gibbs(basis_[k]);
        }
        kappa_[s] = kappa;
    }
    for (std::size_t k = 0; k < r; ++k) {
        if (basis_[k].kind != Member::Kind::Reservoir) {
            kappa_[basis_[k].id] = 0.0;
        }
    }
}

void Assemblage::set_right_sides() {
    const std::size_t r = rank_;
    right_.assign(r, 0.0);
    right_size_.assign(r, 0.0);
    for (const Feed& feed : *feeds_) {
        for (std::size_t k = 0; k < r; ++k) {
            double nu = 0.0;
            double size = 0.0;
            for (std::size_t j = 0; j < r; ++j) {
                const double term = feed.stoichiometry[rows_.pivot(j)] * inverse_[j * r + k];
                nu += term;
                size += std::abs(term);
            }
            if (std::abs(nu) > ZeroTolerance * size) {
                right_[k] += feed.amount * nu;
            }
            right_size_[k] += std::abs(feed.amount) * size;
        }
    }
    for (std::size_t k = 0; k < r; ++k) {
        if (std::abs(right_[k]) <= ZeroTolerance * right_size_[k]) {
            right_[k] = 0.0;
        }
    }
}

/// Whether nothing went in along the directions that the stable phases don't hold.
bool Assemblage::open_is_empty() const {
    return std::all_of(right_.begin() + static_cast<std::ptrdiff_t>(spanned_), right_.end(),
                       [](double right) { return right == 0.0; });
}

// --- the state ---

void Assemblage::start_from_duals(std::span<const double> duals) {
    v_.assign(rank_, 0.0);
    for (std::size_t k = fixed_; k < rank_; ++k) {
        const std::span<const double> row = member_stoichiometry(basis_[k]);
        v_[k] = dot(row.data(), duals.data(), row.size()) - member_gibbs(basis_[k]);
    }
}

/// Potentials of the members from the compositions of the sets that hold them.
void Assemblage::start_from_compositions() {
    v_.resize(rank_);
    for (std::size_t k = 0; k < fixed_; ++k) {
        v_[k] = 0.0;
    }
    for (std::size_t k = fixed_; k < spanned_; ++k) {
        const MixtureSet& set = mixtures[basis_[k].set];
        const Block& block = system_->blocks[set.block];
        const std::size_t i = basis_[k].id - block.first;
        if (block.curvature == Curvature::Ideal) {
            v_[k] = set.log_x[i] + block.shift;
            continue;
        }
        gradient_.resize(block.count);
        hessian_.resize(block.count * block.count);
        const double m = block.evaluator->mixing(set.x, set.log_x, gradient_, hessian_);
        v_[k] = m + gradient_[i] - dot(set.x.data(), gradient_.data(), block.count);
    }
    for (std::size_t k = spanned_; k < rank_; ++k) {
        const std::span<const double> row = member_stoichiometry(basis_[k]);
        v_[k] = duals_.size() == row.size()
                    ? dot(row.data(), duals_.data(), row.size()) - member_gibbs(basis_[k])
                    : 0.0;
    }
}

void Assemblage::update_affinities(std::size_t first, std::size_t count) {
    for (std::size_t s = first; s < first + count; ++s) {
        const double* nu = nu_row(s);
        double tau = -kappa_[s];
        for (std::size_t k = fixed_; k < rank_; ++k) {
            tau += nu[k] * v_[k];
        }
        tau_[s] = tau;
    }
}

double Assemblage::balance_sides() {
    const std::size_t m = unknowns();
    for (std::size_t k = 0; k < m; ++k) {
        const double right = right_[fixed_ + k];
        above_scale_[k] = std::max(-right, 0.0);
        below_scale_[k] = std::max(right, 0.0);
    }
    for (std::size_t f = 0; f < mixture_count; ++f) {
        const Block& block = system_->blocks[mixtures[f].block];
        for (std::size_t i = 0; i < block.count; ++i) {
            const double* nu = nu_row(block.first + i) + fixed_;
            const double n = amounts_[sets_[f].first + i];
            for (std::size_t k = 0; k < m; ++k) {
                const double term = n * nu[k];
                (term > 0.0 ? above_scale_[k] : below_scale_[k]) += std::abs(term);
            }
        }
    }
    double norm = 0.0;
    for (std::size_t k = 0; k < m; ++k) {
        for (const bool upper : {true, false}) {
            double& scale = upper ? above_scale_[k] : below_scale_[k];
            double& log_side = upper ? above_[k] : below_[k];
            if (scale > 1e-280) {
                log_side = std::log(scale);
                scale = 1.0 / scale;
                continue;
            }
            // All terms of this side underflow: their logarithms are added up instead.
            double top = -std::numeric_limits<double>::infinity();
            double sum = 0.0;
            for (const int pass : {0, 1}) {
                for (std::size_t f = 0; f < mixture_count; ++f) {
                    const Block& block = system_->blocks[mixtures[f].block];
                    for (std::size_t i = 0; i < block.count; ++i) {
                        const double nu = nu_row(block.first + i)[fixed_ + k];
                        if (nu != 0.0 && (nu > 0.0) == upper) {
                            const double term =
                                log_amounts_[sets_[f].first + i] + std::log(std::abs(nu));
                            top = pass == 0 ? std::max(top, term) : top;
                            sum += pass == 0 ? 0.0 : std::exp(term - top);
                        }
                    }
                }
            }
            scale = 0.0;
            log_side = std::isfinite(top) ? top + std::log(sum) : -1e4;
        }
        const double residual = above_[k] - below_[k];
        norm += residual * residual;
    }
    return norm;
}

double Assemblage::evaluate() {
    double norm = 0.0;
    for (std::size_t f = 0; f < mixture_count; ++f) {
        MixtureSet& set = mixtures[f];
        const Block& block = system_->blocks[set.block];
        update_affinities(block.first, block.count);
        const std::span<const double> tau(&tau_[block.first], block.count);
        SetState& state = sets_[f];
        state.mismatch = 0.0;
        if (block.curvature == Curvature::Ideal) {
            state.force = PhaseSearch::ideal(block, tau, set.x, set.log_x);
        } else {
            gradient_.resize(block.count);
            hessian_.resize(block.count * block.count);
            const double m = block.evaluator->mixing(set.x, set.log_x, gradient_, hessian_);
            double mean = 0.0;
            state.force = -m;
            for (std::size_t i = 0; i < block.count; ++i) {
                state.force += set.x[i] * tau[i];
                mean += set.x[i] * (tau[i] - gradient_[i]);
            }
            for (std::size_t i = 0; i < block.count; ++i) {
                const double rho = tau[i] - gradient_[i] - mean;
                state.mismatch += (set.x[i] + 1e-3) * rho * rho;
            }
        }
        norm += state.force * state.force + state.mismatch;
        const double amount = set.amount();
        for (std::size_t i = 0; i < block.count; ++i) {
            amounts_[state.first + i] = amount * set.x[i];
            log_amounts_[state.first + i] = set.log_amount + set.log_x[i];
        }
    }
    return norm + balance_sides();
}

/// The change of one member's potential that closes its own balance, the others held. The balance
/// rises with the potential, so that Newton's method between bounds finds it from anywhere.
double Assemblage::solve_balance_alone(std::size_t k) const {
    const double right = right_[fixed_ + k];
    const double log_right =
        right != 0.0 ? std::log(std::abs(right)) : -std::numeric_limits<double>::infinity();
    double low = -std::numeric_limits<double>::infinity();
    double high = std::numeric_limits<double>::infinity();
    double change = 0.0;
    for (int iteration = 0; iteration < MostIterations; ++iteration) {
        // Sums of exponentials on both sides, with their slopes, scaled by the largest term.
        double top[2];
        double sum[2] = {0.0, 0.0};
        double slope[2] = {0.0, 0.0};
        for (const int pass : {0, 1}) {
            for (const int side : {0, 1}) {
                const bool here = side == 0 ? right < 0.0 : right > 0.0;
                const double term = here ? log_right : -std::numeric_limits<double>::infinity();
                if (pass == 0) {
                    top[side] = term;
                } else if (here) {
                    sum[side] += std::exp(term - top[side]);
                }
            }
            for (std::size_t f = 0; f < mixture_count; ++f) {
                const Block& block = system_->blocks[mixtures[f].block];
                const bool ideal = block.curvature == Curvature::Ideal;
                for (std::size_t i = 0; i < block.count; ++i) {
                    const double nu = nu_row(block.first + i)[fixed_ + k];
                    if (nu == 0.0) {
                        continue;
                    }
                    const int side = nu > 0.0 ? 0 : 1;
                    const double rate = ideal ? nu : 0.0;
                    const double term =
                        log_amounts_[sets_[f].first + i] + std::log(std::abs(nu)) + rate * change;
                    if (pass == 0) {
                        top[side] = std::max(top[side], term);
                    } else {
                        const double part = std::exp(term - top[side]);
                        sum[side] += part;
                        slope[side] += part * rate;
                    }
                }
            }
        }
        if (!std::isfinite(top[0]) || !std::isfinite(top[1])) {
            return 0.0; // one side is empty: no change closes it
        }
        const double residual = top[0] + std::log(sum[0]) - top[1] - std::log(sum[1]);
        if (std::abs(residual) < 1e-2) {
            break;
        }
        (residual > 0.0 ? high : low) = change;
        const double rise = slope[0] / sum[0] - slope[1] / sum[1];
        if (!(rise > 0.0)) {
            return 0.0;
        }
        double next = change - residual / rise;
        if (!(next > low && next < high)) {
            next = 0.5 * (low + high);
        }
        if (!std::isfinite(next)) {
            return 0.0;
        }
        change = next;
    }
    return change;
}

/// Balances of traces may start out far off, by thousands of orders of magnitude where the linear
/// programme left their potentials open. Each is closed alone, a few times over.
void Assemblage::settle_far_balances() {
    for (int sweep = 0; sweep < FarSweeps; ++sweep) {
        bool changed = false;
        for (std::size_t k = 0; k < unknowns(); ++k) {
            if (std::abs(above_[k] - below_[k]) > FarBalance) {
                const double change = solve_balance_alone(k);
                if (change != 0.0) {
                    v_[fixed_ + k] += change;
                    evaluate();
                    changed = true;
                }
            }
        }
        if (!changed) {
            return;
        }
    }
}

/// Size of the rounding in the residuals: that of the largest numbers which cancel in them.
double Assemblage::rounding_level() const {
    double largest = 1.0;
    for (std::size_t f = 0; f < mixture_count; ++f) {
        const Block& block = system_->blocks[mixtures[f].block];
        for (std::size_t i = 0; i < block.count; ++i) {
            if (mixtures[f].x[i] > 0.0) {
                largest = std::max(largest, std::abs(kappa_[block.first + i]));
            }
        }
    }
    for (std::size_t k = fixed_; k < spanned_; ++k) {
        largest = std::max(largest, std::abs(v_[k]));
    }
    return 16.0 * Epsilon * largest;
}

// --- Newton's system ---

/// Works out the changes of ln x of a general set: for its own mismatch, then per unit of each
/// unknown.
void Assemblage::respond(std::size_t f) {
    const MixtureSet& set = mixtures[f];
    const Block& block = system_->blocks[set.block];
    const std::size_t n = block.count;
    const std::size_t m = unknowns();
    // A phase that may not unmix is solved for also where it is unstable.
    search_->prepare(block, set.x, set.log_x, !block.may_add_sets);
    const std::span<const double> gradient = search_->gradient();
    const std::span<double> responses(&responses_[sets_[f].first * (m + 1)], n * (m + 1));
    double mean = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        mean += set.x[i] * (tau_[block.first + i] - gradient[i]);
    }
    for (std::size_t i = 0; i < n; ++i) {
        const double root = search_->root(i);
        const double* nu = nu_row(block.first + i) + fixed_;
        rho_[i] = tau_[block.first + i] - gradient[i] - mean;
        responses[i] = root * rho_[i];
        for (std::size_t l = 0; l < m; ++l) {
            responses[(l + 1) * n + i] = root * nu[l];
        }
    }
    search_->respond(responses, m + 1);
}

void Assemblage::fill_system() {
    const std::size_t m = unknowns();
    const auto size = static_cast<Eigen::Index>(m + mixture_count);
    if (matrix_.rows() != size) {
        matrix_.resize(size, size);
    }
    if (vector_.size() != size) {
        vector_.resize(size);
    }
    matrix_.setZero();
    const auto index = [](std::size_t k) { return static_cast<Eigen::Index>(k); };
    for (std::size_t k = 0; k < m; ++k) {
        vector_[index(k)] = below_[k] - above_[k];
    }
    for (std::size_t f = 0; f < mixture_count; ++f) {
        const MixtureSet& set = mixtures[f];
        const Block& block = system_->blocks[set.block];
        const std::size_t n = block.count;
        const SetState& state = sets_[f];
        const auto column = index(m + f);
        const bool general = block.curvature != Curvature::Ideal;
        const double* response = &responses_[state.first * (m + 1)];
        // The phase's own row: its driving force is to vanish.
        vector_[column] = -state.force;
        for (std::size_t i = 0; i < n; ++i) {
            const double* nu = nu_row(block.first + i) + fixed_;
            for (std::size_t l = 0; l < m; ++l) {
                matrix_(column, index(l)) += set.x[i] * nu[l];
            }
        }
        if (general) {
            respond(f);
            for (std::size_t i = 0; i < n; ++i) {
                const double weight = set.x[i] * rho_[i];
                vector_[column] -= weight * response[i];
                for (std::size_t l = 0; l < m; ++l) {
                    matrix_(column, index(l)) += weight * response[(l + 1) * n + i];
                }
            }
        }
        // Rows of the balances: d ln(amount of i) = d ln N + d ln x_i.
        for (std::size_t i = 0; i < n; ++i) {
            const double* nu = nu_row(block.first + i) + fixed_;
            const double amount = amounts_[state.first + i];
            for (std::size_t k = 0; k < m; ++k) {
                if (nu[k] == 0.0) {
                    continue;
                }
                const double scale = nu[k] > 0.0 ? above_scale_[k] : below_scale_[k];
                const double log_side = nu[k] > 0.0 ? above_[k] : below_[k];
                const double c = scale > 0.0
                                     ? amount * nu[k] * scale
                                     : nu[k] * std::exp(log_amounts_[state.first + i] - log_side);
                matrix_(index(k), column) += c;
                if (general) {
                    vector_[index(k)] -= c * response[i];
                    for (std::size_t l = 0; l < m; ++l) {
                        matrix_(index(k), index(l)) += c * response[(l + 1) * n + i];
                    }
                } else {
                    for (std::size_t l = 0; l < m; ++l) {
                        matrix_(index(k), index(l)) += c * nu[l];
                    }
                }
            }
        }
        if (!general) {
            // d ln x_i of an ideal phase is nu_i less the phase's mean.
            for (std::size_t k = 0; k < m; ++k) {
                const double c = matrix_(index(k), column);
                for (std::size_t l = 0; l < m; ++l) {
                    matrix_(index(k), index(l)) -= c * matrix_(column, index(l));
                }
            }
        }
    }
}

/// d ln x of a general set's constituent for the whole step.
double Assemblage::composition_step(std::size_t f, std::size_t i) const {
    const std::size_t m = unknowns();
    const std::size_t n = mixtures[f].x.size();
    const double* response = &responses_[sets_[f].first * (m + 1)];
    double change = response[i];
    for (std::size_t l = 0; l < m; ++l) {
        change += response[(l + 1) * n + i] * vector_[static_cast<Eigen::Index>(l)];
    }
    return change;
}

/// The part of the step that keeps the compositions of general sets within reach.
double Assemblage::step_limit() const {
    double length = 1.0;
    for (std::size_t f = 0; f < mixture_count; ++f) {
        const MixtureSet& set = mixtures[f];
        if (system_->blocks[set.block].curvature == Curvature::Ideal) {
            continue;
        }
        for (std::size_t i = 0; i < set.x.size(); ++i) {
            const double change = composition_step(f, i);
            const double room = std::max(MostGrowth, std::log(0.5) - set.log_x[i]);
            if (change > room) {
                length = std::min(length, room / change);
            } else if (set.x[i] > 0.1 && change < -MostGrowth) {
                length = std::min(length, -MostGrowth / change);
            }
        }
    }
    return length;
}

void Assemblage::take_step(double length) {
    const std::size_t m = unknowns();
    for (std::size_t f = 0; f < mixture_count; ++f) {
        MixtureSet& set = mixtures[f];
        if (system_->blocks[set.block].curvature != Curvature::Ideal) {
            for (std::size_t i = 0; i < set.x.size(); ++i) {
                set.log_x[i] += length * composition_step(f, i);
            }
            PhaseSearch::normalise(set.x, set.log_x);
        }
        // Growth follows the amount itself: where a set starts far too small, its logarithm would
        // overshoot.
        const double change = length * vector_[static_cast<Eigen::Index>(m + f)];
        set.log_amount += change > 0.0 ? std::log1p(change) : std::max(change, -MostFall);
    }
    for (std::size_t l = 0; l < m; ++l) {
        v_[fixed_ + l] += length * vector_[static_cast<Eigen::Index>(l)];
    }
}

void Assemblage::save() {
    saved_.clear();
    saved_.insert(saved_.end(), v_.begin(), v_.end());
    for (std::size_t f = 0; f < mixture_count; ++f) {
        const MixtureSet& set = mixtures[f];
        saved_.push_back(set.log_amount);
        saved_.insert(saved_.end(), set.x.begin(), set.x.end());
        saved_.insert(saved_.end(), set.log_x.begin(), set.log_x.end());
    }
}

void Assemblage::restore() {
    auto from = saved_.cbegin();
    const auto take = [&](std::vector<double>& into) {
        const auto end = from + static_cast<std::ptrdiff_t>(into.size());
        std::copy(from, end, into.begin());
        from = end;
    };
    take(v_);
    for (std::size_t f = 0; f < mixture_count; ++f) {
        mixtures[f].log_amount = *from++;
        take(mixtures[f].x);
        take(mixtures[f].log_x);
    }
}

/// Whether a set's amount runs to zero; `vanishing_` says which.
bool Assemblage::falls_to_nothing() {
    const std::size_t m = unknowns();
    for (std::size_t f = 0; f < mixture_count; ++f) {
        if (vector_[static_cast<Eigen::Index>(m + f)] < -1.0 &&
            mixtures[f].log_amount < start_log_amount_[f] - VanishingFall) {
            vanishing_ = f;
            return true;
        }
    }
    return false;
}

/// Amount that its balance leaves to the fixed member k; `size` is the sum of the absolute terms.
double Assemblage::pure_amount(std::size_t k, double& size) const {
    // A right-hand side of zero is exact: what then comes out may be a trace.
    double amount = right_[k];
    size = right_[k] != 0.0 ? right_size_[k] : 0.0;
    for (std::size_t f = 0; f < mixture_count; ++f) {
        const Block& block = system_->blocks[mixtures[f].block];
        for (std::size_t i = 0; i < block.count; ++i) {
            const double term = amounts_[sets_[f].first + i] * nu_row(block.first + i)[k];
            amount -= term;
            size += std::abs(term);
        }
    }
    return std::abs(amount) <= ZeroTolerance * size ? 0.0 : amount;
}

/// Names the phase without which the others may have a state, where Newton's method found none: a
/// pure phase that would have to be less than nothing, or a mixture that was on its way there.
Assemblage::Outcome Assemblage::blame() {
    Outcome outcome = Outcome::Failed;
    double worst = 0.0;
    for (std::size_t k = 0; k < fixed_; ++k) {
        if (basis_[k].kind == Member::Kind::Pure) {
            double size = 0.0;
            const double amount = pure_amount(k, size);
            if (amount < worst * size) {
                worst = amount / size;
                vanishing_ = basis_[k].set;
                outcome = Outcome::PureVanishes;
            }
        }
    }
    if (outcome == Outcome::Failed) {
        worst = -BlamedFall;
        for (std::size_t f = 0; f < mixture_count; ++f) {
            const double change = mixtures[f].log_amount - start_log_amount_[f];
            if (change < worst) {
                worst = change;
                vanishing_ = f;
                outcome = Outcome::SetVanishes;
            }
        }
    }
    return outcome;
}

Assemblage::Outcome Assemblage::iterate() {
    const std::size_t m = unknowns();
    const std::size_t count = m + mixture_count;
    if (mixture_count > m) {
        // More mixture sets than potentials left to fix them: the smallest goes.
        vanishing_ = 0;
        for (std::size_t f = 1; f < mixture_count; ++f) {
            if (mixtures[f].log_amount < mixtures[vanishing_].log_amount) {
                vanishing_ = f;
            }
        }
        return Outcome::SetVanishes;
    }
    start_log_amount_.clear();
    for (std::size_t f = 0; f < mixture_count; ++f) {
        start_log_amount_.push_back(mixtures[f].log_amount);
    }
    double norm = evaluate();
    settle_far_balances();
    norm = evaluate();
    const double exact = Exact * static_cast<double>(count);
    double good = Good * static_cast<double>(count);
    int slow = 0;
    for (int iteration = 0; iteration < MostIterations; ++iteration) {
        if (!std::isfinite(norm)) {
            return Outcome::Failed;
        }
        if (norm <= exact) {
            return Outcome::Solved;
        }
        const double rounding = rounding_level();
        good = std::max(Good, rounding * rounding) * static_cast<double>(count);
        ++iterations_;
        fill_system();
        lu_.compute(matrix_);
        vector_ = lu_.solve(vector_);
        if (!vector_.allFinite()) {
            return norm <= good ? Outcome::Solved : Outcome::Failed;
        }
        if (falls_to_nothing()) {
            return Outcome::SetVanishes;
        }
        double length = step_limit();
        save();
        double new_norm = norm;
        bool accepted = false;
        for (int cut = 0; cut < MostCuts && !accepted; ++cut) {
            take_step(length);
            new_norm = evaluate();
            accepted = new_norm <= norm * (1.0 - 1e-4 * length);
            if (!accepted) {
                restore();
                length *= 0.5;
            }
            if (norm <= good) {
                break; // rounding decides; a shorter step gains nothing
            }
        }
        if (!accepted) {
            evaluate();
            return norm <= good ? Outcome::Solved : Outcome::Failed;
        }
        slow = new_norm > SlowProgress * norm ? slow + 1 : 0;
        if (slow > MostSlow) {
            return Outcome::Failed;
        }
        norm = new_norm;
    }
    return norm <= good ? Outcome::Solved : Outcome::Failed;
}

/// Whether each basis member is about as abundant as any species that could take its place. Where
/// it is not, its balance is a difference of larger amounts and loses digits.
bool Assemblage::basis_is_good() const {
    const std::size_t m = unknowns();
    for (std::size_t f = 0; f < mixture_count; ++f) {
        const Block& block = system_->blocks[mixtures[f].block];
        for (std::size_t i = 0; i < block.count; ++i) {
            const double* nu = nu_row(block.first + i) + fixed_;
            for (std::size_t k = 0; k < m; ++k) {
                if (nu[k] == 0.0) {
                    continue;
                }
                const Member& member = basis_[fixed_ + k];
                const std::size_t at =
                    member.id - system_->blocks[mixtures[member.set].block].first;
                if (log_amounts_[sets_[f].first + i] >
                    log_amounts_[sets_[member.set].first + at] + MemberLag) {
                    return false;
                }
            }
        }
    }
    return true;
}

/// Takes what rounding of the potentials left open in each balance out of its basis species, a
/// change far below what their potentials can show.
void Assemblage::close_balances() {
    for (std::size_t k = 0; k < unknowns(); ++k) {
        const Member& member = basis_[fixed_ + k];
        MixtureSet& set = mixtures[member.set];
        const std::size_t at = member.id - system_->blocks[set.block].first;
        double rest = right_[fixed_ + k];
        for (std::size_t f = 0; f < mixture_count; ++f) {
            const Block& block = system_->blocks[mixtures[f].block];
            for (std::size_t i = 0; i < block.count; ++i) {
                rest -= amounts_[sets_[f].first + i] * nu_row(block.first + i)[fixed_ + k];
            }
        }
        const double own = amounts_[sets_[member.set].first + at];
        if (std::abs(rest) <= 2.0 * Epsilon * own || std::abs(rest) > MostClosing * own) {
            continue;
        }
        // The set grows by the rest; the other fractions fall in proportion.
        const double growth = std::log1p(rest / set.amount());
        set.log_amount += growth;
        set.log_x[at] += std::log1p(rest / own);
        set.x[at] *= 1.0 + rest / own;
        amounts_[sets_[member.set].first + at] += rest;
        for (std::size_t i = 0; i < set.x.size(); ++i) {
            set.log_x[i] -= growth;
            set.x[i] *= std::exp(-growth);
        }
    }
}

void Assemblage::keep() {
    kept_pure_ = pure;
    kept_mixtures_.assign(mixtures.begin(),
                          mixtures.begin() + static_cast<std::ptrdiff_t>(mixture_count));
}

void Assemblage::take_back() {
    pure = kept_pure_;
    mixture_count = 0;
    for (const MixtureSet& kept : kept_mixtures_) {
        add_mixture(kept.block, kept.x.size()) = kept;
    }
}

/// Amounts of pure phases and reservoirs from their balances.
Assemblage::Outcome Assemblage::finish() {
    close_balances();
    double worst = 0.0;
    Outcome outcome = Outcome::Solved;
    for (std::size_t k = 0; k < fixed_; ++k) {
        double size = 0.0;
        const double amount = pure_amount(k, size);
        if (basis_[k].kind == Member::Kind::Reservoir) {
            (*reservoirs_)[basis_[k].id].amount = -amount;
            continue;
        }
        pure[basis_[k].set].amount = amount;
        if (amount <= 0.0 && (outcome == Outcome::Solved || amount / size < worst)) {
            worst = size > 0.0 ? amount / size : 0.0;
            vanishing_ = basis_[k].set;
            outcome = Outcome::PureVanishes;
        }
    }
    return outcome;
}

void Assemblage::update_duals() {
    // Components that no member eliminates are left at zero: only combinations have a meaning.
    duals_.assign(system_->component_count(), 0.0);
    for (std::size_t k = 0; k < rank_; ++k) {
        const double mu = member_gibbs(basis_[k]) + v_[k];
        for (std::size_t j = 0; j < rank_; ++j) {
            duals_[rows_.pivot(j)] += inverse_[j * rank_ + k] * mu;
        }
    }
}

Assemblage::Outcome Assemblage::solve(ActiveSystem& system, std::vector<Reservoir>& reservoirs,
                                      const std::vector<Feed>& feeds,
                                      std::span<const double> start_duals) {
    system_ = &system;
    reservoirs_ = &reservoirs;
    feeds_ = &feeds;
    iterations_ = 0;
    start_.resize(std::max(start_.size(), mixture_count));
    for (std::size_t f = 0; f < mixture_count; ++f) {
        start_[f].log_amount = mixtures[f].log_amount;
        start_[f].x = mixtures[f].x;
        start_[f].log_x = mixtures[f].log_x;
    }
    for (int bases = 0;; ++bases) {
        if (!choose_basis()) {
            return Outcome::PureVanishes;
        }
        transform();
        set_right_sides();
        std::size_t total = 0;
        std::size_t largest = 0;
        sets_.resize(mixture_count);
        for (std::size_t f = 0; f < mixture_count; ++f) {
            const std::size_t n = mixtures[f].x.size();
            sets_[f] = {total, 0.0, 0.0};
            total += n;
            largest = std::max(largest, n);
        }
        const std::size_t m = unknowns();
        amounts_.resize(total);
        log_amounts_.resize(total);
        responses_.resize(total * (m + 1));
        rho_.resize(largest);
        for (auto* side : {&above_, &below_, &above_scale_, &below_scale_}) {
            side->resize(m);
        }
        if (bases == 0 && !start_duals.empty()) {
            start_from_duals(start_duals);
        } else {
            start_from_compositions();
        }
        if (!open_is_empty()) {
            return Outcome::Failed;
        }
        Outcome outcome = iterate();
        if (outcome == Outcome::Failed) {
            outcome = blame();
            for (std::size_t f = 0; f < mixture_count; ++f) {
                mixtures[f].log_amount = start_[f].log_amount;
                mixtures[f].x = start_[f].x;
                mixtures[f].log_x = start_[f].log_x;
            }
        }
        if (outcome != Outcome::Solved) {
            return outcome;
        }
        update_affinities(0, tau_.size());
        update_duals();
        if (bases + 1 >= MostBases || basis_is_good()) {
            break;
        }
    }
    return finish();
}

bool Assemblage::place_traces(ActiveSystem& system, std::vector<Reservoir>& reservoirs,
                              const std::vector<Feed>& feeds, std::span<const double> start_duals) {
    system_ = &system;
    reservoirs_ = &reservoirs;
    feeds_ = &feeds;
    if (!choose_basis()) {
        return false;
    }
    transform();
    set_right_sides();
    std::vector<std::size_t> rows;
    for (std::size_t k = fixed_; k < spanned_; ++k) {
        if (right_[k] == 0.0) {
            rows.push_back(k);
        }
    }
    if (rows.empty()) {
        return false;
    }
    start_from_duals(start_duals);
    update_affinities(0, tau_.size());
    levels_.reset(rows.size());
    std::vector<double> entries(rows.size());
    const auto take_entries = [&](std::size_t species) {
        bool any = false;
        for (std::size_t r = 0; r < rows.size(); ++r) {
            entries[r] = nu_row(species)[rows[r]];
            any = any || entries[r] != 0.0;
        }
        return any;
    };
    std::vector<char> there(system.blocks.size(), 0);
    for (const PureSet& set : pure) {
        there[set.block] = 1;
    }
    for (std::size_t f = 0; f < mixture_count; ++f) {
        MixtureSet& set = mixtures[f];
        const Block& block = system.blocks[set.block];
        there[set.block] = 1;
        if (block.curvature == Curvature::Ideal) {
            PhaseSearch::ideal(block, std::span(&tau_[block.first], block.count), set.x, set.log_x);
        }
        for (std::size_t i = 0; i < block.count; ++i) {
            if (take_entries(block.first + i)) {
                levels_.add_species(entries, set.log_amount + set.log_x[i]);
            }
        }
    }
    for (std::size_t b = 0; b < system.blocks.size(); ++b) {
        const Block& block = system.blocks[b];
        if (block.pure && !block.dormant && there[b] == 0 && take_entries(block.first)) {
            levels_.add_pure(entries, tau_[block.first], b);
        }
    }
    if (!levels_.solve()) {
        return false;
    }
    for (std::size_t r = 0; r < rows.size(); ++r) {
        v_[rows[r]] += levels_.changes()[r];
    }
    update_duals();
    for (std::size_t b : levels_.present()) {
        pure.push_back({b, 0.0});
    }
    return true;
}

double Assemblage::gibbs() const {
    double sum = 0.0;
    for (const Feed& feed : *feeds_) {
        sum += feed.amount * dot(feed.stoichiometry.data(), duals_.data(), duals_.size());
    }
    return sum;
}

// --- joining ---

/// Removes the phase that is used up first when each falls at the rate given; false where none
/// falls.
bool Assemblage::drop_first_used_up(std::span<const double> fall,
                                    std::span<const double> mixture_fall) {
    double least = std::numeric_limits<double>::infinity();
    std::size_t leaving_pure = pure.size();
    std::size_t leaving_mixture = mixture_count;
    for (std::size_t k = 0; k < fixed_; ++k) {
        if (basis_[k].kind == Member::Kind::Pure && fall[k] > RateTolerance) {
            const double ratio = pure[basis_[k].set].amount / fall[k];
            if (ratio < least) {
                least = ratio;
                leaving_pure = basis_[k].set;
            }
        }
    }
    for (std::size_t f = 0; f < mixture_fall.size(); ++f) {
        if (mixture_fall[f] > RateTolerance) {
            const double ratio = mixtures[f].amount() / mixture_fall[f];
            if (ratio < least) {
                least = ratio;
                leaving_mixture = f;
            }
        }
    }
    if (leaving_mixture < mixture_count) {
        remove_mixture(leaving_mixture);
    } else if (leaving_pure < pure.size()) {
        pure.erase(pure.begin() + static_cast<std::ptrdiff_t>(leaving_pure));
    } else {
        return false;
    }
    return true;
}

/// Makes room for a phase that holds `growth` of each member. There is room where the phases that
/// are there leave a potential free that the new one can fix; else one of them has to go.
bool Assemblage::make_room(std::span<const double> growth) {
    const std::size_t m = unknowns();
    const auto nonzero = [](double a) { return a != 0.0; };
    if (std::any_of(growth.begin() + static_cast<std::ptrdiff_t>(spanned_), growth.end(),
                    nonzero)) {
        return true;
    }
    const bool needs_mixtures =
        std::any_of(growth.begin() + static_cast<std::ptrdiff_t>(fixed_), growth.end(), nonzero);
    // What each phase gives for one mole of the new one, compositions held.
    std::vector<double> fall(growth.begin(), growth.begin() + static_cast<std::ptrdiff_t>(fixed_));
    std::vector<double> mixture_fall(needs_mixtures ? mixture_count : 0, 0.0);
    if (needs_mixtures) {
        const auto size = static_cast<Eigen::Index>(m);
        Eigen::MatrixXd held = Eigen::MatrixXd::Zero(static_cast<Eigen::Index>(rank_),
                                                     static_cast<Eigen::Index>(mixture_count));
        for (std::size_t f = 0; f < mixture_count; ++f) {
            const std::size_t first = system_->blocks[mixtures[f].block].first;
            for (std::size_t i = 0; i < mixtures[f].x.size(); ++i) {
                for (std::size_t k = 0; k < rank_; ++k) {
                    held(static_cast<Eigen::Index>(k), static_cast<Eigen::Index>(f)) +=
                        mixtures[f].x[i] * nu_row(first + i)[k];
                }
            }
        }
        Eigen::VectorXd wanted(size);
        for (std::size_t k = 0; k < m; ++k) {
            wanted[static_cast<Eigen::Index>(k)] = growth[fixed_ + k];
        }
        const Eigen::MatrixXd free = held.middleRows(static_cast<Eigen::Index>(fixed_), size);
        const Eigen::VectorXd given = free.colPivHouseholderQr().solve(wanted);
        if (!given.allFinite()) {
            return false;
        }
        if ((free * given - wanted).norm() > SpanTolerance * wanted.norm()) {
            return true; // no combination of the phases that are there makes the new one
        }
        for (std::size_t f = 0; f < mixture_count; ++f) {
            mixture_fall[f] = given[static_cast<Eigen::Index>(f)];
        }
        for (std::size_t k = 0; k < fixed_; ++k) {
            fall[k] -= held.row(static_cast<Eigen::Index>(k)).dot(given);
        }
    }
    return drop_first_used_up(fall, mixture_fall);
}

bool Assemblage::join_pure(std::size_t block) {
    if (!make_room({nu_row(system_->blocks[block].first), rank_})) {
        return false;
    }
    pure.push_back({block, 0.0});
    return true;
}

bool Assemblage::join_mixture(std::size_t block, std::span<const double> x,
                              std::span<const double> log_x) {
    std::vector<double> growth(rank_, 0.0);
    const std::size_t first = system_->blocks[block].first;
    for (std::size_t i = 0; i < x.size(); ++i) {
        for (std::size_t k = 0; k < rank_; ++k) {
            growth[k] += x[i] * nu_row(first + i)[k];
        }
    }
    double total = 0.0;
    for (const Feed& feed : *feeds_) {
        total += std::abs(feed.amount);
    }
    // No more than a share of what goes in, and of the traces that it needs.
    double log_amount = std::log(1e-3 * total);
    for (std::size_t k = 0; k < spanned_; ++k) {
        if (right_[k] != 0.0 || std::abs(growth[k]) <= RateTolerance) {
            continue;
        }
        double there = log_amount;
        if (k >= fixed_) {
            there = std::max(above_[k - fixed_], below_[k - fixed_]);
        } else if (basis_[k].kind == Member::Kind::Pure) {
            there = std::log(pure[basis_[k].set].amount);
        }
        log_amount = std::min(log_amount, there - std::log(std::abs(growth[k])));
    }
    if (!make_room(growth)) {
        return false;
    }
    MixtureSet& set = add_mixture(block, x.size());
    set.log_amount = log_amount;
    std::copy(x.begin(), x.end(), set.x.begin());
    std::copy(log_x.begin(), log_x.end(), set.log_x.begin());
    return true;
}

// --- what is left open ---

void Assemblage::shift_open(std::span<const double> change) {
    for (std::size_t d = 0; d < change.size(); ++d) {
        v_[spanned_ + d] += change[d];
    }
    update_affinities(0, tau_.size());
    update_duals();
}

bool Assemblage::determines(std::span<const double> stoichiometry) const {
    return rows_.contains(stoichiometry, spanned_);
}

std::span<const double> Assemblage::open_stoichiometry(std::size_t d) const {
    return member_stoichiometry(basis_[spanned_ + d]);
}

} // namespace tessara
