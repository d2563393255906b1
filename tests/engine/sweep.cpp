#include "sweep.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace tessara::test {
namespace {

bool same_potentials(const std::vector<double>& a, const std::vector<double>& b) {
    for (std::size_t j = 0; j < a.size(); ++j) {
        if (std::isnan(a[j]) != std::isnan(b[j]) ||
            std::abs(a[j] - b[j]) > 1e-9 * std::abs(a[j]) + 1e-5) {
            return false;
        }
    }
    return true;
}

/// The sets of a phase are apart: none has the composition of another.
bool sets_are_apart(const Equilibrium& result) {
    for (std::size_t a = 0; a < result.sets.size(); ++a) {
        for (std::size_t b = 0; b < a; ++b) {
            const CompositionSet& one = result.sets[a];
            const CompositionSet& other = result.sets[b];
            if (one.phase != other.phase) {
                continue;
            }
            double apart = 0.0;
            for (std::size_t c = 0; c < one.fractions.size(); ++c) {
                apart = std::max(apart, std::abs(one.fractions[c] - other.fractions[c]));
            }
            if (apart < 1e-6) {
                return false;
            }
        }
    }
    return true;
}

} // namespace

std::shared_ptr<const System> read_file(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    if (!file) {
        throw std::runtime_error("cannot read " + path);
    }
    return System::read_dat(text.str(), path);
}

std::vector<std::vector<double>> composition_grid(std::size_t components, int parts) {
    std::vector<std::vector<double>> grid;
    std::vector<double> x(components, 0.0);
    const auto fill = [&](const auto& self, std::size_t k, int left) -> void {
        if (k + 1 == components) {
            x[k] = static_cast<double>(left) / parts;
            grid.push_back(x);
            return;
        }
        for (int n = 0; n <= left; ++n) {
            x[k] = static_cast<double>(n) / parts;
            self(self, k + 1, left - n);
        }
    };
    fill(fill, 0, parts);
    return grid;
}

Sweep::Sweep(std::string name, std::shared_ptr<const System> system)
    : system_(std::move(system)), cold_(system_), warm_(system_), tally_{std::move(name)} {}

void Sweep::fail(const EquilibriumConditions& in, const std::string& why) {
    ++tally_.failures;
    std::printf("  failure of %s: %s\n    T = %.17g K, P = %.17g Pa:", tally_.name.c_str(),
                why.c_str(), in.t, in.p);
    for (const IncomingAmount& amount : in.amounts) {
        const std::string name =
            amount.phase == IncomingAmount::NoPhase
                ? system_->components[amount.index].name
                : system_->phases[amount.phase].name + ":" +
                      system_->phases[amount.phase].constituents[amount.index].name;
        std::printf(" %s=%.17g", name.c_str(), amount.amount);
    }
    std::printf("\n");
}

void Sweep::take(const EquilibriumConditions& in, const Certificate& certificate) {
    Certificate& worst = tally_.worst;
    worst.balance = std::max(worst.balance, certificate.balance);
    worst.potential = std::max(worst.potential, certificate.potential);
    worst.driving_force = std::max(worst.driving_force, certificate.driving_force);
    if (!certificate.holds()) {
        fail(in, "the certificate is outside its bounds");
    }
}

void Sweep::point(const EquilibriumConditions& in) {
    ++tally_.points;
    try {
        const Equilibrium& first = cold_.solve(in);
        take(in, first.certificate);
        if (!sets_are_apart(first)) {
            fail(in, "a phase stands twice with one composition");
        }
        const Equilibrium& second = warm_.solve(in, Solver::Start::Warm);
        take(in, second.certificate);
        if (!same_potentials(first.potentials, second.potentials)) {
            fail(in, "a warm start ends elsewhere");
        }
    } catch (const SolveError& error) {
        fail(in, error.what());
    }
}

void Sweep::run(std::vector<EquilibriumConditions> points, Random& random, const Extent& extent) {
    draw(points, random, extent);
    for (const EquilibriumConditions& in : points) {
        point(in);
    }
}

} // namespace tessara::test
