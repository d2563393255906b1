#include "engine/models/form_products.hpp"

#include <algorithm>
#include <cmath>

namespace tessara {
namespace {

/// What mixes by products does not tell smaller fractions apart; its inverse is finite.
constexpr double LeastFraction = 1e-290;

double power(double base, int exponent) {
    double result = 1.0;
    for (int k = 0; k < exponent; ++k) {
        result *= base;
    }
    return result;
}

} // namespace

FormProducts::FormProducts(std::size_t variables) : variables_(variables) {
    for (std::size_t i = 0; i < variables; ++i) {
        forms_.push_back({{{i, 1.0}}, 0.0});
    }
    values_.resize(variables);
    scale_.resize(variables);
}

std::size_t FormProducts::form(std::vector<FormPart> parts, double constant) {
    std::sort(parts.begin(), parts.end(),
              [](const FormPart& a, const FormPart& b) { return a.variable < b.variable; });
    // A variable that is named twice counts with both shares.
    std::vector<FormPart> merged;
    for (const FormPart& part : parts) {
        if (!merged.empty() && merged.back().variable == part.variable) {
            merged.back().factor += part.factor;
        } else {
            merged.push_back(part);
        }
    }
    std::erase_if(merged, [](const FormPart& part) { return part.factor == 0.0; });
    for (std::size_t k = 0; k < forms_.size(); ++k) {
        if (forms_[k].parts == merged && forms_[k].constant == constant) {
            return k;
        }
    }
    forms_.push_back({std::move(merged), constant});
    values_.resize(forms_.size());
    return forms_.size() - 1;
}

void FormProducts::add(std::size_t coefficient, double multiplier,
                       std::span<const Factor> factors) {
    Term term{coefficient, multiplier, factors_.size(), 0, places_.size(), 0, true};
    const auto place_of = [&](std::size_t variable) {
        const auto begin = places_.begin() + static_cast<std::ptrdiff_t>(term.first_variable);
        const auto found = std::find(begin, places_.end(), variable);
        const auto place = static_cast<std::size_t>(found - begin);
        if (found == places_.end()) {
            places_.push_back(variable);
        }
        return place;
    };
    for (const Factor& factor : factors) {
        if (factor.power == 0 || factor.form == factor.over) {
            continue;
        }
        const auto same = std::find_if(
            factors_.begin() + static_cast<std::ptrdiff_t>(term.first_factor), factors_.end(),
            [&](const TermFactor& other) {
                return other.factor.form == factor.form && other.factor.over == factor.over;
            });
        if (same != factors_.end()) {
            same->factor.power += factor.power;
            continue;
        }
        TermFactor own{factor, entries_.size(), 0};
        for (const FormPart& part : forms_[factor.form].parts) {
            entries_.push_back({part.variable, place_of(part.variable), part.factor, 0.0});
        }
        if (factor.over != None) {
            for (const FormPart& part : forms_[factor.over].parts) {
                const std::size_t place = place_of(part.variable);
                const auto begin = entries_.begin() + static_cast<std::ptrdiff_t>(own.first_entry);
                const auto entry = std::find_if(begin, entries_.end(),
                                                [&](const Entry& e) { return e.place == place; });
                if (entry != entries_.end()) {
                    entry->below = part.factor;
                } else {
                    entries_.push_back({part.variable, place, 0.0, part.factor});
                }
            }
        }
        own.entry_count = entries_.size() - own.first_entry;
        factors_.push_back(own);
    }
    term.factor_count = factors_.size() - term.first_factor;
    term.variable_count = places_.size() - term.first_variable;
    for (std::size_t k = 0; k < term.factor_count; ++k) {
        const Factor& factor = factors_[term.first_factor + k].factor;
        term.plain =
            term.plain && factor.form < variables_ && factor.over == None && factor.power == 1;
    }
    if (!add_short(term)) {
        long_.push_back(terms_.size());
    }
    terms_.push_back(term);
    derivatives_.resize(std::max(derivatives_.size(), term.factor_count));
    rows_.resize(std::max(rows_.size(), term.factor_count * term.variable_count));
    after_.resize(std::max(after_.size(), term.factor_count + 1));
    rest_.resize(std::max(rest_.size(), term.factor_count * term.factor_count));
    cross_.resize(std::max(cross_.size(), term.variable_count));
    // Those of forms that nothing divides are constant.
    for (std::size_t k = slopes_.size(); k < entries_.size(); ++k) {
        slopes_.push_back(entries_[k].above);
    }
}

bool FormProducts::add_short(const Term& term) {
    ShortTerm product{term.multiplier, static_cast<std::uint32_t>(term.coefficient), {}};
    std::size_t count = 0;
    for (std::size_t k = 0; k < term.factor_count; ++k) {
        const Factor& factor = factors_[term.first_factor + k].factor;
        for (int times = 0; times < factor.power; ++times) {
            if (factor.over != None || count == MostShort) {
                return false;
            }
            product.forms[count++] = static_cast<std::uint32_t>(factor.form);
        }
    }
    short_[count].push_back(product);
    return true;
}

void FormProducts::set(std::span<const double> y) const {
    for (std::size_t i = 0; i < variables_; ++i) {
        values_[i] = std::max(y[i], LeastFraction);
    }
    for (std::size_t k = variables_; k < forms_.size(); ++k) {
        double sum = forms_[k].constant;
        for (const FormPart& part : forms_[k].parts) {
            sum += part.factor * values_[part.variable];
        }
        values_[k] = sum;
    }
}

double FormProducts::factor_value(const Factor& factor) const {
    const double above = values_[factor.form];
    const double ratio = factor.over == None ? above : above / values_[factor.over];
    return factor.power == 1 ? ratio : power(ratio, factor.power);
}

/// b dr/dy of one entry. Where it stands in both forms, the ratio's change is what the other
/// entries leave: written out, as the difference would lose the digits of a form that a trace fills
/// alone.
double FormProducts::slope(const TermFactor& own, const Entry& entry) const {
    if (own.factor.over == None || entry.below == 0.0) {
        return entry.above;
    }
    const Form& above = forms_[own.factor.form];
    const Form& below = forms_[own.factor.over];
    const double inverse = 1.0 / values_[own.factor.over];
    if (entry.above == 0.0) {
        return -entry.below * values_[own.factor.form] * inverse;
    }
    double sum = entry.above * below.constant - entry.below * above.constant;
    for (std::size_t e = 0; e < own.entry_count; ++e) {
        const Entry& other = entries_[own.first_entry + e];
        sum += (entry.above * other.below - entry.below * other.above) * values_[other.variable];
    }
    return sum * inverse;
}

FormProducts::Derivatives FormProducts::derivatives(const TermFactor& own) const {
    const Factor& factor = own.factor;
    const double inverse = factor.over == None ? 1.0 : 1.0 / values_[factor.over];
    const double ratio = values_[factor.form] * inverse;
    const double e = factor.power;
    const double second = factor.power == 1 ? 0.0 : power(ratio, factor.power - 2);
    const double first = factor.power == 1 ? 1.0 : second * ratio;
    for (std::size_t k = own.first_entry;
         factor.over != None && k < own.first_entry + own.entry_count; ++k) {
        slopes_[k] = slope(own, entries_[k]);
    }
    return {inverse, first * ratio, e * first, e * (e - 1.0) * second};
}

double FormProducts::product(const Term& term) const {
    double result = term.multiplier;
    for (std::size_t k = 0; k < term.factor_count; ++k) {
        result *= factor_value(factors_[term.first_factor + k].factor);
    }
    return result;
}

template <std::size_t Count>
double FormProducts::sum_of_short(std::span<const double> coefficients) const {
    double total = 0.0;
    for (const ShortTerm& term : short_[Count]) {
        double product = coefficients[term.coefficient] * term.multiplier;
        for (std::size_t k = 0; k < Count; ++k) {
            product *= values_[term.forms[k]];
        }
        total += product;
    }
    return total;
}

template <std::size_t... Counts>
double FormProducts::sum_of_all_short(std::span<const double> coefficients,
                                      std::index_sequence<Counts...>) const {
    return (sum_of_short<Counts>(coefficients) + ...);
}

double FormProducts::value(std::span<const double> y, std::span<const double> coefficients) const {
    set(y);
    double total = sum_of_all_short(coefficients, std::make_index_sequence<MostShort + 1>());
    for (const std::size_t place : long_) {
        total += coefficients[terms_[place].coefficient] * product(terms_[place]);
    }
    return total;
}

void FormProducts::by_coefficient(std::span<const double> y, std::span<double> values) const {
    set(y);
    std::fill(values.begin(), values.end(), 0.0);
    for (const Term& term : terms_) {
        values[term.coefficient] += product(term);
    }
}

double FormProducts::gradient(std::span<const double> y, std::span<const double> coefficients,
                              std::span<double> gradient) const {
    set(y);
    double total = 0.0;
    for (const Term& term : terms_) {
        const double c = coefficients[term.coefficient] * term.multiplier;
        if (c == 0.0) {
            continue;
        }
        if (term.plain) {
            total += add_plain_gradient(term, c, gradient);
            continue;
        }
        after_[term.factor_count] = 1.0;
        for (std::size_t k = term.factor_count; k-- > 0;) {
            derivatives_[k] = derivatives(factors_[term.first_factor + k]);
            after_[k] = derivatives_[k].f * after_[k + 1];
        }
        double before = c;
        for (std::size_t k = 0; k < term.factor_count; ++k) {
            const TermFactor& own = factors_[term.first_factor + k];
            const Derivatives& d = derivatives_[k];
            const double others = before * after_[k + 1] * d.inverse * d.first;
            for (std::size_t e = own.first_entry; e < own.first_entry + own.entry_count; ++e) {
                gradient[entries_[e].variable] += others * slopes_[e];
            }
            before *= d.f;
        }
        total += before;
    }
    return total;
}

void FormProducts::hessian(std::span<const double> y, std::span<const double> coefficients,
                           double weight, std::span<double> hessian) const {
    set(y);
    std::fill(scale_.begin(), scale_.end(), 1.0);
    for (const Term& term : terms_) {
        add_hessian(term, weight * coefficients[term.coefficient] * term.multiplier, hessian);
    }
}

void FormProducts::scaled_hessian(std::span<const double> y, std::span<const double> coefficients,
                                  double weight, std::span<double> hessian) const {
    set(y);
    for (std::size_t i = 0; i < variables_; ++i) {
        scale_[i] = std::sqrt(y[i]);
    }
    for (const Term& term : terms_) {
        add_hessian(term, weight * coefficients[term.coefficient] * term.multiplier, hessian);
    }
}

/// Of a product of variables: for each of them the product from it on.
void FormProducts::multiply_from_behind(const Term& term) const {
    const std::size_t* variables = plain_variables(term);
    after_[term.factor_count] = 1.0;
    for (std::size_t k = term.factor_count; k-- > 0;) {
        after_[k] = values_[variables[k]] * after_[k + 1];
    }
}

/// Of a product of variables: those before each of them times those behind it. Gives the product.
double FormProducts::add_plain_gradient(const Term& term, double factor,
                                        std::span<double> gradient) const {
    const std::size_t count = term.factor_count;
    const std::size_t* variables = plain_variables(term);
    multiply_from_behind(term);
    double before = factor;
    for (std::size_t k = 0; k < count; ++k) {
        const std::size_t i = variables[k];
        gradient[i] += before * after_[k + 1];
        before *= values_[i];
    }
    return before;
}

/// Of a product of variables: those before, between and behind each two of them.
void FormProducts::add_plain_hessian(const Term& term, double factor,
                                     std::span<double> hessian) const {
    const std::size_t count = term.factor_count;
    const std::size_t* variables = plain_variables(term);
    multiply_from_behind(term);
    double before = factor;
    for (std::size_t k = 0; k < count; ++k) {
        const std::size_t i = variables[k];
        double between = before * scale_[i];
        for (std::size_t m = k + 1; m < count; ++m) {
            const std::size_t j = variables[m];
            const double second = between * after_[m + 1] * scale_[j];
            hessian[i * variables_ + j] += second;
            hessian[j * variables_ + i] += second;
            between *= values_[j];
        }
        before *= values_[i];
    }
}

/// Second derivatives: of one factor times the others, and of two different ones.
void FormProducts::add_hessian(const Term& term, double factor, std::span<double> hessian) const {
    if (factor == 0.0) {
        return;
    }
    if (term.plain) {
        add_plain_hessian(term, factor, hessian);
        return;
    }
    const std::size_t count = term.factor_count;
    const std::size_t width = term.variable_count;
    const std::size_t* at = places_.data() + term.first_variable;
    std::fill_n(rows_.begin(), count * width, 0.0);
    for (std::size_t k = 0; k < count; ++k) {
        const TermFactor& own = factors_[term.first_factor + k];
        const Derivatives& d = derivatives_[k] = derivatives(own);
        for (std::size_t e = 0; e < own.entry_count; ++e) {
            const Entry& entry = entries_[own.first_entry + e];
            rows_[k * width + entry.place] =
                scale_[entry.variable] * d.inverse * d.first * slopes_[own.first_entry + e];
        }
    }
    // The products without two of the factors, those before, between and after them.
    after_[count] = 1.0;
    for (std::size_t k = count; k-- > 0;) {
        after_[k] = derivatives_[k].f * after_[k + 1];
    }
    double before = factor;
    for (std::size_t k = 0; k < count; ++k) {
        double between = before;
        for (std::size_t m = k + 1; m < count; ++m) {
            rest_[k * count + m] = rest_[m * count + k] = between * after_[m + 1];
            between *= derivatives_[m].f;
        }
        rest_[k * count + k] = before * after_[k + 1];
        before *= derivatives_[k].f;
    }
    for (std::size_t k = 0; k < count; ++k) {
        const TermFactor& own = factors_[term.first_factor + k];
        const Derivatives& d = derivatives_[k];
        const double others = rest_[k * count + k];
        std::fill_n(cross_.begin(), width, 0.0);
        for (std::size_t m = 0; m < count; ++m) {
            const double rest = rest_[k * count + m];
            for (std::size_t v = 0; m != k && v < width; ++v) {
                cross_[v] += rest * rows_[m * width + v];
            }
        }
        const bool curved = own.factor.power > 1 || own.factor.over != None;
        for (std::size_t e = 0; e < own.entry_count; ++e) {
            const Entry& entry = entries_[own.first_entry + e];
            double* row = hessian.data() + entry.variable * variables_;
            const double slope = rows_[k * width + entry.place];
            for (std::size_t v = 0; v < width; ++v) {
                row[at[v]] += slope * cross_[v];
            }
            if (!curved) {
                continue;
            }
            // b^2 d2r/dydz = -(b dr/dy times the share of z in b, and the other way round)
            const double scale = others * scale_[entry.variable] * d.inverse;
            const double own_slope = slopes_[own.first_entry + e];
            const double shared = scale * (d.second * own_slope - d.first * entry.below);
            const double below = -scale * d.first * own_slope;
            for (std::size_t o = 0; o < own.entry_count; ++o) {
                const Entry& other = entries_[own.first_entry + o];
                row[other.variable] +=
                    scale_[other.variable] * d.inverse *
                    (shared * slopes_[own.first_entry + o] + below * other.below);
            }
        }
    }
}

} // namespace tessara
