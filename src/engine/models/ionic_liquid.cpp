#include "engine/models/ionic_liquid.hpp"

#include "engine/data/system.hpp"
#include "engine/models/form_evaluator.hpp"

#include <algorithm>
#include <cmath>

namespace tessara {
namespace {

using Factor = FormProducts::Factor;
using Factors = std::vector<Factor>;
constexpr std::size_t None = FormProducts::None;

constexpr double LeastTotal = 1e-290;

/// The pairs of ions as a table over the cations and over the anions and vacancy, with the species
/// that each is; none where there are no such.
struct IonTable {
    SiteTable table;
    std::vector<std::size_t> species;
    std::vector<std::size_t> others; ///< running numbers on the second sublattice
};

std::optional<IonTable> ion_table(const IonicLiquidPhase& phase) {
    IonTable ions;
    for (std::size_t c = phase.cations; c < phase.names.size(); ++c) {
        if (phase.kind(c) != IonicKind::Neutral) {
            ions.others.push_back(c);
        }
    }
    if (ions.others.empty()) {
        return std::nullopt;
    }
    std::vector<std::vector<std::size_t>> rows;
    for (std::size_t k = 0; k < phase.species.size(); ++k) {
        const auto& species = phase.species[k];
        if (species.cation) {
            const auto other = std::find(ions.others.begin(), ions.others.end(), species.other);
            rows.push_back(
                {*species.cation, static_cast<std::size_t>(other - ions.others.begin())});
            ions.species.push_back(k);
        }
    }
    ions.table = {{phase.cations, ions.others.size()}, std::move(rows)};
    return ions;
}

} // namespace

// --- parameters ---

std::vector<std::size_t> ionic_order(const IonicLiquidPhase& phase,
                                     std::vector<std::size_t> constituents) {
    const auto rank = [&](std::size_t c) {
        return c < phase.cations ? -1 : static_cast<int>(phase.kind(c));
    };
    std::stable_sort(constituents.begin(), constituents.end(),
                     [&](std::size_t a, std::size_t b) { return rank(a) < rank(b); });
    return constituents;
}

std::optional<IonicPattern> ionic_pattern(const IonicLiquidPhase& phase,
                                          std::span<const std::size_t> constituents) {
    using enum IonicPattern;
    std::size_t cations = 0;
    std::size_t anions = 0;
    std::size_t vacancies = 0;
    std::size_t neutrals = 0;
    for (std::size_t c : constituents) {
        if (c < phase.cations) {
            ++cations;
        } else {
            const IonicKind kind = phase.kind(c);
            ++(kind == IonicKind::Anion     ? anions
               : kind == IonicKind::Vacancy ? vacancies
                                            : neutrals);
        }
    }
    const std::size_t others = anions + vacancies + neutrals;
    if (anions > 0) {
        if (cations == 1 && others >= 2 && others <= 3) {
            return others == 2 ? AroundCation : ThreeAroundCation;
        }
        if (others == 1 && cations >= 2 && cations <= 3) {
            return cations == 2 ? CationsAroundAnion : ThreeCationsAnion;
        }
        return cations == 2 && others == 2 ? std::optional(Reciprocal) : std::nullopt;
    }
    if (vacancies == 1) {
        if (neutrals == 0 && cations >= 2 && cations <= 3) {
            return cations == 2 ? CationsAroundVacancy : ThreeCationsVacancy;
        }
        if (cations == 1 && neutrals >= 1 && neutrals <= 2) {
            return neutrals == 1 ? VacancyNeutral : VacancyTwoNeutrals;
        }
        return cations == 2 && neutrals == 1 ? std::optional(CationsVacancyNeutral) : std::nullopt;
    }
    if (cations == 1 && neutrals >= 2 && neutrals <= 3) {
        return neutrals == 2 ? Neutrals : ThreeNeutrals;
    }
    return std::nullopt;
}

bool takes_three_sets(IonicPattern pattern) {
    using enum IonicPattern;
    return pattern == ThreeCationsAnion || pattern == ThreeAroundCation ||
           pattern == ThreeCationsVacancy || pattern == VacancyTwoNeutrals ||
           pattern == ThreeNeutrals || pattern == CationsVacancyNeutral;
}

// --- contents ---

SiteContents ionic_contents(const IonicLiquidPhase& phase,
                            std::span<const Constituent> constituents) {
    const std::size_t components = constituents.front().stoichiometry.size();
    SiteContents result;
    result.rows.assign(phase.names.size() * components, 0.0);
    for (std::size_t k = 0; k < phase.species.size(); ++k) {
        if (!phase.species[k].cation) {
            std::copy(constituents[k].stoichiometry.begin(), constituents[k].stoichiometry.end(),
                      result.rows.begin() +
                          static_cast<std::ptrdiff_t>(phase.species[k].other * components));
        }
    }
    const std::optional<IonTable> ions = ion_table(phase);
    if (!ions) {
        return result;
    }
    // Per equivalent a pair holds what an equivalent of either ion does.
    std::vector<double> contents;
    for (std::size_t k : ions->species) {
        const auto& species = phase.species[k];
        const double equivalents = phase.charges[*species.cation] * phase.charges[species.other];
        for (double amount : constituents[k].stoichiometry) {
            contents.push_back(amount / equivalents);
        }
    }
    const SiteContents sites = site_contents(ions->table, contents, components);
    if (sites.exception) {
        result.exception = ions->species[*sites.exception];
        return result;
    }
    for (std::size_t j = 0; j < components; ++j) {
        // A vacancy holds nothing.
        double shift = 0.0;
        for (std::size_t k = 0; k < ions->others.size(); ++k) {
            if (phase.kind(ions->others[k]) == IonicKind::Vacancy) {
                shift = sites.rows[(phase.cations + k) * components + j];
            }
        }
        for (std::size_t c = 0; c < phase.cations; ++c) {
            result.rows[c * components + j] =
                phase.charges[c] * (sites.rows[c * components + j] + shift);
        }
        for (std::size_t k = 0; k < ions->others.size(); ++k) {
            result.rows[ions->others[k] * components + j] =
                phase.charges[ions->others[k]] *
                (sites.rows[(phase.cations + k) * components + j] - shift);
        }
    }
    return result;
}

namespace {

// --- the evaluator ---

/// Turns functions of the moles v of vacancies into ones of their equivalents w = Q v.
class IonicEvaluator final : public PhaseEvaluator {
public:
    /// `form` is over the moles of cations (which are first), anions, vacancies and neutrals.
    IonicEvaluator(FormPhase form, std::vector<double> charges, std::size_t vacancy)
        : constraints_(form.variables.constraints), inner_(std::move(form)),
          charges_(std::move(charges)), vacancy_(vacancy), y_(inner_.size()), log_y_(inner_.size()),
          slope_(inner_.size()), root_(inner_.size()), excess_(inner_.size()) {}

    Curvature curvature() const override { return Curvature::General; }
    std::size_t size() const override { return inner_.size(); }
    const Variables* variables() const override { return inner_.variables(); }
    void reported(std::span<const double> y, std::span<double> amounts) const override {
        inner_.reported(y, amounts);
    }
    void reported_partials(std::span<const double> y, std::span<const ThermalValue> of_variables,
                           std::span<ThermalValue> of_constituents) const override {
        inner_.reported_partials(y, of_variables, of_constituents);
    }
    void set_state(const TemperatureTerms& at, double pressure) override {
        inner_.set_state(at, pressure);
    }

    double energy(std::span<const double> y) const override {
        enter(y);
        return inner_.energy(y_);
    }
    double entropy(std::span<const double> y, std::span<const double> log_y) const override {
        enter(y, log_y);
        return inner_.entropy(y_, log_y_);
    }

    double mixing(std::span<const double> y, std::span<const double> log_y,
                  std::span<double> gradient, std::span<double> scaled_hessian) const override {
        enter(y, log_y);
        const double m = inner_.mixing(y_, log_y_, gradient, scaled_hessian);
        const std::size_t n = size();
        const std::size_t w = vacancy_;
        const std::size_t cations = charges_.size();
        const double v = y_[w];
        const double own = gradient[w];
        const double hvv = scaled_hessian[w * n + w];
        const double to_w = 1.0 / std::sqrt(q_); // dv/dw sqrt(w / v)
        for (std::size_t i = 0; i < cations; ++i) {
            root_[i] = std::sqrt(y[i]) / total_;
            excess_[i] = (charges_[i] - q_) / q_;
            slope_[i] = -std::sqrt(v) * excess_[i] * root_[i]; // dv/dy_i sqrt(y_i / v)
        }
        // Second derivatives: those in v carried over, then those of v itself.
        for (std::size_t i = 0; i < n; ++i) {
            const double cross = scaled_hessian[i * n + w];
            for (std::size_t j = 0; i != w && j < cations; ++j) {
                scaled_hessian[i * n + j] += cross * slope_[j];
                scaled_hessian[j * n + i] += cross * slope_[j];
            }
        }
        for (std::size_t i = 0; i < cations; ++i) {
            for (std::size_t j = 0; j < cations; ++j) {
                scaled_hessian[i * n + j] +=
                    hvv * slope_[i] * slope_[j] +
                    own * v * root_[i] * root_[j] *
                        (2.0 * excess_[i] * excess_[j] + excess_[i] + excess_[j]);
            }
            scaled_hessian[i * n + w] +=
                hvv * slope_[i] - own * excess_[i] * root_[i] * std::sqrt(v);
        }
        for (std::size_t i = 0; i < n; ++i) {
            if (i != w) {
                scaled_hessian[i * n + w] *= to_w;
                scaled_hessian[w * n + i] = scaled_hessian[i * n + w];
            }
        }
        scaled_hessian[w * n + w] = hvv * to_w * to_w;
        carry([&](std::size_t i) -> double& { return gradient[i]; });
        return m;
    }

    ThermalValue mixing_thermal(std::span<const double> y, std::span<const double> log_y,
                                std::span<ThermalValue> partial) const override {
        enter(y, log_y);
        const ThermalValue total = inner_.gradient_thermal(y_, log_y_, partial);
        for (auto part : ThermalParts) {
            const auto get = [&](std::size_t i) -> double& { return partial[i].*part; };
            carry(get);
            gradient_to_partials(constraints_, y, total.*part, sums_, get);
        }
        return total;
    }

    double volume(std::span<const double> y, std::span<double> partial) const override {
        enter(y);
        const double total = inner_.gradient_volume(y_, partial);
        const auto get = [&](std::size_t i) -> double& { return partial[i]; };
        carry(get);
        gradient_to_partials(constraints_, y, total, sums_, get);
        return total;
    }

private:
    /// Q = sum nu_C C / sum C, and v = w / Q in place of w.
    void enter(std::span<const double> y) const {
        std::copy(y.begin(), y.end(), y_.begin());
        double equivalents = 0.0;
        total_ = 0.0;
        for (std::size_t i = 0; i < charges_.size(); ++i) {
            const double amount = std::max(y[i], LeastTotal);
            total_ += amount;
            equivalents += charges_[i] * amount;
        }
        q_ = equivalents / total_;
        y_[vacancy_] = y[vacancy_] / q_;
    }
    void enter(std::span<const double> y, std::span<const double> log_y) const {
        enter(y);
        std::copy(log_y.begin(), log_y.end(), log_y_.begin());
        log_y_[vacancy_] -= std::log(q_);
    }

    /// The gradient in w and the cations from that in v.
    template <class Get>
    void carry(Get get) const {
        const double own = get(vacancy_);
        for (std::size_t i = 0; i < charges_.size(); ++i) {
            get(i) -= own * y_[vacancy_] / total_ * (charges_[i] - q_) / q_;
        }
        get(vacancy_) = own / q_;
    }

    Constraints constraints_;
    FormEvaluator inner_;
    std::vector<double> charges_; ///< of the cations
    std::size_t vacancy_;
    mutable double q_ = 1.0;
    mutable double total_ = 1.0; ///< moles of cations
    mutable std::vector<double> y_, log_y_, slope_, root_, excess_, sums_;
};

/// Lays out the phase of the constituents that are there.
class Layout {
public:
    Layout(const IonicLiquidPhase& phase, std::span<const Constituent> constituents,
           std::span<const std::size_t> active)
        : phase_(phase), place_(places(phase, active)), form_(count()) {
        add_variables(constituents);
        if (vacancy_ != None) {
            form_.variables.constraints.weight[vacancy_] = 0.0;
        }
        for (std::size_t k : active) {
            add_species(constituents[k], phase_.species[k]);
        }
        for (const auto& term : phase_.excess) {
            add_term(term);
        }
    }

    std::unique_ptr<PhaseEvaluator> evaluator() {
        if (vacancy_ == None) {
            return std::make_unique<FormEvaluator>(std::move(form_));
        }
        return std::make_unique<IonicEvaluator>(std::move(form_), std::move(charges_), vacancy_);
    }

private:
    static std::vector<std::size_t> places(const IonicLiquidPhase& phase,
                                           std::span<const std::size_t> active) {
        std::vector<char> there(phase.names.size(), 0);
        for (std::size_t k : active) {
            there[phase.species[k].other] = 1;
            if (phase.species[k].cation) {
                there[*phase.species[k].cation] = 1;
            }
        }
        std::vector<std::size_t> place(phase.names.size(), None);
        std::size_t count = 0;
        for (std::size_t c = 0; c < place.size(); ++c) {
            if (there[c] != 0) {
                place[c] = count++;
            }
        }
        return place;
    }

    std::size_t count() const {
        return static_cast<std::size_t>(std::count_if(
            place_.begin(), place_.end(), [](std::size_t place) { return place != None; }));
    }

    void add_variables(std::span<const Constituent> constituents) {
        const std::size_t components = constituents.front().stoichiometry.size();
        const SiteContents contents = ionic_contents(phase_, constituents);
        Variables& variables = form_.variables;
        variables.constraints = simple_constraints(count());
        std::vector<FormPart> cations;
        std::vector<FormPart> equivalents;
        std::vector<FormPart> others;
        for (std::size_t c = 0; c < place_.size(); ++c) {
            if (place_[c] == None) {
                continue;
            }
            const bool cation = c < phase_.cations;
            variables.names.push_back(phase_.names[c]);
            const auto row = contents.rows.begin() + static_cast<std::ptrdiff_t>(c * components);
            variables.stoichiometry.insert(variables.stoichiometry.end(), row,
                                           row + static_cast<std::ptrdiff_t>(components));
            variables.constraints.charge.push_back(cation ? phase_.charges[c] : -phase_.charges[c]);
            (cation ? cations : others).push_back({place_[c], 1.0});
            if (cation) {
                charges_.push_back(phase_.charges[c]);
                equivalents.push_back({place_[c], phase_.charges[c]});
            } else if (phase_.kind(c) == IonicKind::Vacancy) {
                vacancy_ = place_[c];
            }
        }
        if (!cations.empty()) {
            form_.mixing.add_mixing(cations);
            first_ = form_.energy.form(cations);
            equivalents_ = form_.energy.form(equivalents);
            reported_equivalents_ = form_.reported.form(equivalents);
        } else {
            variables.constraints.charge.clear();
        }
        form_.mixing.add_mixing(others);
        second_ = form_.energy.form(others);
    }

    void add_species(const Constituent& constituent, const IonicLiquidPhase::Species& species) {
        const std::size_t coefficient = form_.coefficients.add(constituent.gibbs);
        const std::size_t report = form_.made_of.size();
        const std::size_t other = place_[species.other];
        Factors factors{{.form = other}};
        Factors amount = factors;
        std::vector<FormPart> made_of{{other, 1.0}};
        if (species.cation) {
            const std::size_t cation = place_[*species.cation];
            const bool vacancy = phase_.kind(species.other) == IonicKind::Vacancy;
            factors.push_back({.form = cation, .over = vacancy ? first_ : equivalents_});
            amount.push_back({.form = cation, .over = reported_equivalents_});
            made_of = {{cation, phase_.charges[species.other]},
                       {other, phase_.charges[*species.cation]}};
        }
        form_.energy.add(coefficient, 1.0, factors);
        form_.reported.add(report, 1.0, amount);
        form_.made_of.push_back(std::move(made_of));
    }

    // --- excess parameters ---

    /// The fraction of a constituent on its sublattice.
    Factor fraction(std::size_t c) const {
        return {.form = place_[c], .over = c < phase_.cations ? first_ : second_};
    }

    Factor difference(std::size_t a, std::size_t b, int power) {
        return {.form = form_.energy.form({{place_[a], 1.0}, {place_[b], -1.0}}),
                .over = a < phase_.cations ? first_ : second_,
                .power = power};
    }

    void add_term(const InteractionTerm<ExcessCoefficients>& term) {
        using enum IonicPattern;
        const IonicPattern pattern = *ionic_pattern(phase_, term.constituents);
        const bool neutrals = pattern == Neutrals || pattern == ThreeNeutrals;
        std::vector<std::size_t> cations;
        std::vector<std::size_t> others;
        for (std::size_t c : term.constituents) {
            // Among neutrals alone the cation named has no effect.
            if (c < phase_.cations && neutrals) {
                continue;
            }
            if (place_[c] == None) {
                return;
            }
            (c < phase_.cations ? cations : others).push_back(c);
        }
        // Per formula unit the product of the fractions, and Q where there is no anion; there each
        // cation brings a vacancy. F = N2 N1 / E formula units, so that one N2 is left out.
        const bool anion = phase_.kind(others.front()) == IonicKind::Anion;
        const bool vacancy = phase_.kind(others.front()) == IonicKind::Vacancy;
        Factors common{{.form = place_[others.front()]}};
        for (std::size_t k = 1; k < others.size(); ++k) {
            common.push_back(fraction(others[k]));
        }
        for (std::size_t c : cations) {
            common.push_back(fraction(c));
        }
        if (anion) {
            common.push_back({.form = first_, .over = equivalents_});
        } else if (vacancy && cations.size() > 1) {
            Factor more = fraction(others.front());
            more.power = static_cast<int>(cations.size()) - 1;
            common.push_back(more);
        }
        for (std::size_t z = 0; z < term.sets.size(); ++z) {
            const std::size_t coefficient = form_.coefficients.add(term.sets[z]);
            if (takes_three_sets(pattern)) {
                add_ternary(coefficient, common, fractions(pattern, cations, others), z,
                            term.sets.size());
            } else {
                add_power(coefficient, common, pattern, cations, others, static_cast<int>(z));
            }
        }
    }

    /// What a ternary parameter counts as its three fractions, each a product.
    std::vector<Factors> fractions(IonicPattern pattern, const std::vector<std::size_t>& cations,
                                   const std::vector<std::size_t>& others) const {
        using enum IonicPattern;
        std::vector<Factors> result;
        const bool vacancy = phase_.kind(others.front()) == IonicKind::Vacancy;
        if (pattern != ThreeAroundCation) {
            for (std::size_t c : cations) {
                result.push_back({fraction(c)});
                if (vacancy) {
                    result.back().push_back(fraction(others.front()));
                }
            }
        }
        if (pattern != ThreeCationsAnion) {
            for (std::size_t c : others) {
                if (!vacancy || c != others.front()) {
                    result.push_back({fraction(c)});
                }
            }
        }
        return result;
    }

    void add(std::size_t coefficient, double multiplier, const Factors& common,
             const Factors& more) {
        Factors factors = common;
        factors.insert(factors.end(), more.begin(), more.end());
        form_.energy.add(coefficient, multiplier, factors);
    }

    /// L (the z-th fraction + (1 - all three) / 3), or L alone where there is one set.
    void add_ternary(std::size_t coefficient, const Factors& common,
                     const std::vector<Factors>& three, std::size_t z, std::size_t sets) {
        if (sets == 1) {
            add(coefficient, 1.0, common, {});
            return;
        }
        add(coefficient, 1.0 / 3.0, common, {});
        for (std::size_t k = 0; k < three.size(); ++k) {
            add(coefficient, (k == z ? 1.0 : 0.0) - 1.0 / 3.0, common, three[k]);
        }
    }

    void add_power(std::size_t coefficient, const Factors& common, IonicPattern pattern,
                   const std::vector<std::size_t>& cations, const std::vector<std::size_t>& others,
                   int z) {
        using enum IonicPattern;
        switch (pattern) {
        case CationsAroundAnion:
        case CationsAroundVacancy:
            add(coefficient, 1.0, common, {difference(cations[0], cations[1], z)});
            break;
        case AroundCation:
        case Neutrals:
            add(coefficient, 1.0, common, {difference(others[0], others[1], z)});
            break;
        case Reciprocal:
            add(coefficient, 1.0, common,
                {z % 2 == 1 ? difference(others[0], others[1], (z + 1) / 2)
                            : difference(cations[0], cations[1], z / 2)});
            break;
        default: {
            // (y_C y_Va - y_B)^z by the binomial theorem
            double multiplier = 1.0;
            for (int k = 0; k <= z; ++k) {
                Factors more{fraction(cations[0]), fraction(others[0]), fraction(others[1])};
                more[0].power = z - k;
                more[1].power = z - k;
                more[2].power = k;
                add(coefficient, multiplier, common, more);
                multiplier *= -static_cast<double>(z - k) / (k + 1);
            }
            break;
        }
        }
    }

    const IonicLiquidPhase& phase_;
    std::vector<std::size_t> place_; ///< of constituents among the variables, by running number
    FormPhase form_;
    std::vector<double> charges_; ///< of the cations that are there
    std::size_t vacancy_ = None;
    std::size_t first_ = None;                ///< moles of cations
    std::size_t second_ = None;               ///< moles on the second sublattice
    std::size_t equivalents_ = None;          ///< of cations
    std::size_t reported_equivalents_ = None; ///< the same among the forms of the amounts
};

} // namespace

// --- the model ---

ModelSize IonicLiquidModel::size() const {
    return {.excess_coefficients = set_count(phase_.excess),
            .sublattices = 2,
            .sublattice_constituents =
                static_cast<int>(std::max(phase_.cations, phase_.names.size() - phase_.cations))};
}

std::unique_ptr<PhaseEvaluator>
IonicLiquidModel::evaluator(std::span<const Constituent> constituents,
                            std::span<const std::size_t> active) const {
    return Layout(phase_, constituents, active).evaluator();
}

/// Neutrals stand for themselves; the pairs of ions must be a full product.
std::vector<char> IonicLiquidModel::reduce(std::vector<char> possible) const {
    const std::optional<IonTable> ions = ion_table(phase_);
    if (!ions) {
        return possible;
    }
    std::vector<char> pairs;
    for (std::size_t k : ions->species) {
        pairs.push_back(possible[k]);
    }
    pairs = ions->table.reduce(std::move(pairs));
    for (std::size_t k = 0; k < pairs.size(); ++k) {
        possible[ions->species[k]] = pairs[k];
    }
    return possible;
}

bool IonicLiquidModel::equals(const PhaseModel& other) const {
    const auto* same = dynamic_cast<const IonicLiquidModel*>(&other);
    return same != nullptr && same->phase_ == phase_;
}

void IonicLiquidModel::describe(Description& phase) const {
    const std::span<const std::string> names(phase_.names);
    phase.set("sublattices", Description::List{Description::list(names.first(phase_.cations)),
                                               Description::list(names.subspan(phase_.cations))});
    Description::List charges;
    for (std::size_t c = 0; c < phase_.charges.size(); ++c) {
        const double sign = c < phase_.cations ? 1.0 : -1.0;
        charges.emplace_back(phase_.charges[c] == 0.0 ? 0.0 : sign * phase_.charges[c]);
    }
    phase.set("charges", std::move(charges));
    phase.set("members", Description::list(phase_.species, [&](const auto& species) {
                  return Description::List{describe_number(species.cation),
                                           species.other - phase_.cations};
              }));
    phase.set("interactions", describe_terms(phase_.excess));
}

} // namespace tessara
