#pragma once

#include "random_systems.hpp"
#include "support.hpp"

#include <algorithm>
#include <string>
#include <vector>

namespace tessara::test {

/// What a sweep has found: points, failures, and the worst residual of each kind.
struct Tally {
    std::string name;
    int points = 0;
    int failures = 0;
    Certificate worst{};
    double requirement = 0.0; ///< of searches: how far from what was required, relative
};

/// Part of a sweep that is run: all of its points, or about so many of them drawn at random.
struct Extent {
    int points = 0;
    bool whole = false;
};

/// Solves a list of states in random order: each cold, and from the result of the state before it,
/// which may lie anywhere. Failures are exceptions, certificates outside their bounds, and starts
/// that end elsewhere; each is printed with its conditions.
class Sweep {
public:
    Sweep(std::string name, std::shared_ptr<const System> system);

    void point(const EquilibriumConditions& in);
    /// All of the points, or a sample.
    void run(std::vector<EquilibriumConditions> points, Random& random, const Extent& extent);

    const Tally& tally() const { return tally_; }
    Tally& tally() { return tally_; }
    void fail(const EquilibriumConditions& in, const std::string& why);
    void take(const EquilibriumConditions& in, const Certificate& certificate);

private:
    std::shared_ptr<const System> system_;
    Solver cold_;
    Solver warm_;
    Tally tally_;
};

/// A system of a data file of the tests, or of the package.
std::shared_ptr<const System> read_file(const std::string& path);

/// All compositions of some components on a grid: whole multiples of 1/parts that sum to one.
std::vector<std::vector<double>> composition_grid(std::size_t components, int parts);

/// About as many as the extent asks for, in random order.
template <class Item>
void draw(std::vector<Item>& items, Random& random, const Extent& extent) {
    std::shuffle(items.begin(), items.end(), random);
    if (!extent.whole && items.size() > static_cast<std::size_t>(extent.points)) {
        items.resize(static_cast<std::size_t>(extent.points));
    }
}

// The sweeps, each over its own systems.
std::vector<Tally> sweep_random(const Extent& extent);
std::vector<Tally> sweep_gas_with_graphite(const Extent& extent);
std::vector<Tally> sweep_exact_mixtures(const Extent& extent);
std::vector<Tally> sweep_corners(const Extent& extent);
std::vector<Tally> sweep_assessments(const Extent& extent);
std::vector<Tally> sweep_burning_over_ice(const Extent& extent);

} // namespace tessara::test
