#include "engine/models/model.hpp"

#include <algorithm>
#include <cmath>

namespace tessara {

std::string_view model_name(ModelKind kind) {
    switch (kind) {
    case ModelKind::Pure:
        return "PURE";
    case ModelKind::IDMX:
        return "IDMX";
    case ModelKind::RKMP:
        return "RKMP";
    case ModelKind::RKMPM:
        return "RKMPM";
    case ModelKind::QKTO:
        return "QKTO";
    case ModelKind::SUBL:
        return "SUBL";
    case ModelKind::SUBLM:
        return "SUBLM";
    case ModelKind::SUBM:
        return "SUBM";
    case ModelKind::SUBI:
        return "SUBI";
    case ModelKind::SUBG:
        return "SUBG";
    case ModelKind::SUBQ:
        return "SUBQ";
    }
    return "";
}

void PhaseModel::describe(Description&) const {}

void PhaseEvaluator::mixing_of_samples(std::span<const double> x, std::span<double> m) const {
    const std::size_t n = size();
    if (sample_entropy_.size() != m.size()) {
        sample_entropy_.resize(m.size());
        std::vector<double> log_x(n);
        for (std::size_t k = 0; k < m.size(); ++k) {
            const std::span<const double> at = x.subspan(k * n, n);
            std::transform(at.begin(), at.end(), log_x.begin(),
                           [](double value) { return std::log(value); });
            sample_entropy_[k] = entropy(at, log_x);
        }
    }
    for (std::size_t k = 0; k < m.size(); ++k) {
        m[k] = energy(x.subspan(k * n, n)) + sample_entropy_[k];
    }
}

void PhaseEvaluator::reported(std::span<const double> y, std::span<double> amounts) const {
    std::copy(y.begin(), y.end(), amounts.begin());
}

void PhaseEvaluator::reported_partials(std::span<const double>,
                                       std::span<const ThermalValue> of_variables,
                                       std::span<ThermalValue> of_constituents) const {
    std::copy(of_variables.begin(), of_variables.end(), of_constituents.begin());
}

namespace {

/// Adds what is scaled to the sum 1.
void add_fractions(std::vector<NamedFractions>& list, std::size_t sublattice,
                   std::vector<std::string> names, std::vector<double> amounts) {
    double sum = 0.0;
    for (double amount : amounts) {
        sum += amount;
    }
    for (double& amount : amounts) {
        amount /= sum;
    }
    if (!names.empty()) {
        list.push_back(
            {"sublattice " + std::to_string(sublattice), std::move(names), std::move(amounts)});
    }
}

} // namespace

std::vector<NamedFractions> PhaseModel::fractions(std::span<const std::size_t>,
                                                  const Variables& variables,
                                                  std::span<const double> y) const {
    const Constraints& constraints = variables.constraints;
    std::vector<NamedFractions> list;
    if (!constraints.charge.empty()) {
        // Cations on one sublattice; on the other anions, neutrals, and vacancies, whose variable
        // counts the charges that they make up for: as many of these as the mean cation has.
        std::vector<std::string> names[2];
        std::vector<double> amounts[2];
        double cations = 0.0;
        double charge = 0.0;
        for (std::size_t i = 0; i < y.size(); ++i) {
            const double z = constraints.charge[i];
            if (z > 0.0) {
                cations += y[i];
                charge += z * y[i];
            }
        }
        for (std::size_t i = 0; i < y.size(); ++i) {
            const std::size_t side = constraints.charge[i] > 0.0 ? 0 : 1;
            const bool vacancy = constraints.weight[i] == 0.0;
            names[side].push_back(variables.names[i]);
            amounts[side].push_back(vacancy ? y[i] * cations / charge : y[i]);
        }
        for (const std::size_t side : {0U, 1U}) {
            add_fractions(list, side + 1, std::move(names[side]), std::move(amounts[side]));
        }
        return list;
    }
    for (std::size_t g = 0; g < constraints.groups; ++g) {
        std::vector<std::string> names;
        std::vector<double> amounts;
        for (std::size_t i = 0; i < y.size(); ++i) {
            if (constraints.group[i] == g) {
                // Names tell their sublattice as well.
                names.push_back(variables.names[i].substr(0, variables.names[i].rfind(':')));
                amounts.push_back(constraints.weight[i] * y[i]);
            }
        }
        add_fractions(list, g + 1, std::move(names), std::move(amounts));
    }
    return list;
}

} // namespace tessara
