#include "engine/equilibrium/assemblage.hpp"

#include "engine/equilibrium/tolerances.hpp"

#include <algorithm>
#include <cmath>

// The basis: species of which all others are made, chosen so that balances keep their digits.

namespace tessara {
namespace {

/// Entries of an inverted basis below this share of the largest are rounding.
constexpr double RoundingOfInverse = 1e-12;
/// A right-hand side below this share of its terms has lost digits.
constexpr double Cancelled = 1e-3;
/// Each doubles the digits.
constexpr int RefiningRounds = 3;
/// A basis member may be rarer by this factor (ln) than a species that could take its place.
constexpr double MemberLag = 5.0;

/// A sum with twice the digits of a double.
struct TwoFold {
    double high = 0.0;
    double low = 0.0;

    void add(double value) {
        const double sum = high + value;
        const double part = sum - high;
        low += (high - (sum - part)) + (value - part);
        high = sum + low;
        low += sum - high;
    }
    void add_product(double a, double b) {
        const double product = a * b;
        add(product);
        add(std::fma(a, b, -product));
    }
};

} // namespace

/// Sum of the amounts of a block's variables over its sets.
void Assemblage::sum_amounts(std::size_t block, std::vector<double>& sums) const {
    sums.assign(system_->blocks[block].count, 0.0);
    for (std::size_t f = 0; f < mixture_count; ++f) {
        const MixtureSet& set = mixtures[f];
        for (std::size_t i = 0; set.block == block && i < set.x.size(); ++i) {
            sums[i] += set.amount() * set.x[i];
        }
    }
}

/// Counts the contents of phases with internal variables from the variables most abundant now.
void Assemblage::choose_bases_of_blocks() {
    for (std::size_t f = 0; f < mixture_count; ++f) {
        const std::size_t b = mixtures[f].block;
        if (system_->blocks[b].variables != nullptr) {
            sum_amounts(b, size_);
            system_->choose_base(b, size_);
        }
    }
}

/// Reservoirs, pure phases, then the constituents of mixtures by falling amount. Says whether all
/// reservoirs and pure phases are independent; if not, `vanishing_` is the pure phase that is not.
bool Assemblage::choose_basis() {
    choose_bases_of_blocks();
    basis_.clear();
    rows_.reset(system_->component_count());
    for (std::size_t r = 0; r < reservoirs_->size(); ++r) {
        if (rows_.offer((*reservoirs_)[r].stoichiometry)) {
            basis_.push_back({Member::Kind::Reservoir, r, 0});
        }
    }
    for (std::size_t p = 0; p < pure.size(); ++p) {
        const std::size_t species = system_->blocks[pure[p].block].first;
        if (!rows_.offer(system_->exchange(species))) {
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
        if (rows_.offer(system_->exchange(ranked.species))) {
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
        if (rows_.offer(system_->exchange(s))) {
            basis_.push_back({Member::Kind::Open, s, 0});
        }
    }
    rank_ = basis_.size();
}

/// Writes all species over the members. Of the rows only those of another basis are worked out
/// anew, as potentials held from outside may be of any composition.
void Assemblage::transform() {
    if (!reservoirs_->empty() || transformed_stamp_ != system_->stamp() || transformed_ != basis_) {
        transform_rows();
        transformed_ = basis_;
        transformed_stamp_ = system_->stamp();
    }
    const std::size_t r = rank_;
    const std::span<const double> gibbs = system_->gibbs();
    basis_gibbs_.clear();
    for (const Member& member : basis_) {
        basis_gibbs_.push_back(member_gibbs(member));
    }
    for (std::size_t s = 0; s < kappa_.size(); ++s) {
        double kappa = gibbs[s];
        for (std::size_t k = 0; k < r; ++k) {
            kappa -= nu_[s * r + k] * basis_gibbs_[k];
        }
        kappa_[s] = kappa;
    }
    for (const Member& member : basis_) {
        if (member.kind != Member::Kind::Reservoir) {
            kappa_[member.id] = 0.0;
        }
    }
}

void Assemblage::transform_rows() {
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
    size_.resize(r);
    for (std::size_t s = 0; s < species.size(); ++s) {
        const double* row = system_->exchange(s).data();
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
    const std::size_t m = unknowns();
    above_part_.resize(species.size() * m);
    below_part_.resize(species.size() * m);
    for (std::size_t s = 0; s < species.size(); ++s) {
        for (std::size_t k = 0; k < m; ++k) {
            const double nu = nu_[s * r + fixed_ + k];
            above_part_[s * m + k] = std::max(nu, 0.0);
            below_part_[s * m + k] = std::max(-nu, 0.0);
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
        if (std::abs(right_[k]) <= Cancelled * right_size_[k] && right_size_[k] > 0.0) {
            refine_right_sides();
            return;
        }
    }
}

/// The right-hand sides where some are differences of larger amounts, with twice the digits.
///
/// What is zero but for rounding of the input is made exactly zero. The rounding is taken to be
/// that of the component that takes the largest part in the difference, and follows it into the
/// other sides: the trace of H2 over AlN must not take up what 1 mol Al and 1 mol N differ by.
void Assemblage::refine_right_sides() {
    const std::size_t r = rank_;
    std::vector<TwoFold> input(r);
    std::vector<double> input_size(r, 0.0);
    for (const Feed& feed : *feeds_) {
        for (std::size_t j = 0; j < r; ++j) {
            const double a = feed.stoichiometry[rows_.pivot(j)];
            input[j].add_product(feed.amount, a);
            input_size[j] += std::abs(feed.amount * a);
        }
    }
    std::vector<TwoFold> right(r);
    for (int round = 0; round < RefiningRounds; ++round) {
        std::vector<TwoFold> rest = input;
        for (std::size_t k = 0; k < r; ++k) {
            const std::span<const double> row = member_stoichiometry(basis_[k]);
            for (std::size_t j = 0; j < r; ++j) {
                const double a = row[rows_.pivot(j)];
                rest[j].add_product(-right[k].high, a);
                rest[j].add_product(-right[k].low, a);
            }
        }
        for (std::size_t k = 0; k < r; ++k) {
            for (std::size_t j = 0; j < r; ++j) {
                right[k].add_product(rest[j].high, inverse_[j * r + k]);
            }
        }
    }
    std::vector<double> parts = inverse_; // of each component in each side
    std::vector<char> done(r, 0);
    while (true) {
        std::size_t zero = r;
        double least = ZeroTolerance;
        for (std::size_t k = 0; k < r; ++k) {
            double size = 0.0;
            for (std::size_t j = 0; j < r; ++j) {
                size += input_size[j] * std::abs(parts[j * r + k]);
            }
            right_size_[k] = done[k] != 0 ? right_size_[k] : size;
            if (done[k] == 0 && std::abs(right[k].high) <= least * size) {
                zero = k;
                least = size > 0.0 ? std::abs(right[k].high) / size : 0.0;
            }
        }
        if (zero == r) {
            break;
        }
        done[zero] = 1;
        std::size_t from = 0;
        for (std::size_t j = 1; j < r; ++j) {
            if (input_size[j] * std::abs(parts[j * r + zero]) >
                input_size[from] * std::abs(parts[from * r + zero])) {
                from = j;
            }
        }
        const double pivot = parts[from * r + zero];
        for (std::size_t k = 0; k < r; ++k) {
            const double ratio = done[k] != 0 || pivot == 0.0 ? 0.0 : parts[from * r + k] / pivot;
            if (ratio == 0.0) {
                continue;
            }
            right[k].add_product(-ratio, right[zero].high);
            double largest = 0.0;
            for (std::size_t j = 0; j < r; ++j) {
                largest = std::max(largest, std::abs(parts[j * r + k]));
            }
            for (std::size_t j = 0; j < r; ++j) {
                double& part = parts[j * r + k];
                part -= ratio * parts[j * r + zero];
                part = std::abs(part) <= RoundingOfInverse * largest ? 0.0 : part;
            }
        }
        right[zero] = {};
    }
    for (std::size_t k = 0; k < r; ++k) {
        right_[k] = right[k].high;
    }
}

/// Whether nothing went in along the directions that the stable phases don't hold.
bool Assemblage::open_is_empty() const {
    return std::all_of(right_.begin() + static_cast<std::ptrdiff_t>(spanned_), right_.end(),
                       [](double right) { return right == 0.0; });
}

bool Assemblage::has_exact_balance() const {
    for (std::size_t k = 0; k < rank_; ++k) {
        if (right_[k] == 0.0 && right_size_[k] > 0.0) {
            return true;
        }
    }
    return false;
}

/// Whether the base of a block's contents is still about the most abundant.
bool Assemblage::base_is_good(std::size_t b) {
    const Block& block = system_->blocks[b];
    const Constraints& constraints = block.variables->constraints;
    const bool charged = !constraints.charge.empty();
    sum_amounts(b, size_);
    for (std::size_t i = 0; i < block.count; ++i) {
        const std::size_t base = block.base[constraints.group[i]];
        const auto share = [&](std::size_t k) {
            return size_[k] * (charged ? std::abs(constraints.charge[k]) : 1.0);
        };
        if (base != Species::None && share(i) > std::exp(MemberLag) * share(base)) {
            return false;
        }
    }
    return true;
}

/// Whether each basis member is about as abundant as any species that could take its place. Where
/// it is not, its balance is a difference of larger amounts and loses digits.
bool Assemblage::basis_is_good() {
    const std::size_t m = unknowns();
    for (std::size_t f = 0; f < mixture_count; ++f) {
        const Block& block = system_->blocks[mixtures[f].block];
        if (block.variables != nullptr && !base_is_good(mixtures[f].block)) {
            return false;
        }
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
