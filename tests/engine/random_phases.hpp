#pragma once

#include "engine/data/system.hpp"

#include <random>

namespace tessara::test {

/// A phase with parameters drawn at random, with every shape of parameter that its model has.
struct RandomModel {
    std::vector<Constituent> constituents;
    std::shared_ptr<const PhaseModel> model;
};

/// Permutes constituents (of each sublattice) of the same phase: `order[k]` is the variable that
/// becomes the k-th.
struct PermutedModel {
    RandomModel phase;
    std::vector<std::size_t> order;
};

/// The models that the laws are tested for. A new one joins with a row.
struct ModelRow {
    const char* name;
    RandomModel (*draw)(std::mt19937& random);
    PermutedModel (*permute)(const RandomModel& phase);
};
const std::vector<ModelRow>& model_rows();

/// Variables that keep all constraints of an evaluator, down to about `least`.
std::vector<double> random_state(const PhaseEvaluator& evaluator, std::mt19937& random,
                                 double least);
/// A random change of them along the constraints, in proportion to each.
std::vector<double> random_change(const PhaseEvaluator& evaluator, std::span<const double> y,
                                  std::mt19937& random);
/// What holds among an evaluator's variables; fractions of constituents sum to one.
Constraints constraints_of(const PhaseEvaluator& evaluator);

ExcessCoefficients random_coefficients(std::mt19937& random, double size = 2e4);

} // namespace tessara::test
