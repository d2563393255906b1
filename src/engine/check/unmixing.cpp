#include "engine/check/findings.hpp"
#include "engine/equilibrium/solver.hpp"
#include "engine/text/text.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

// Mixtures that unmix: where the Gibbs energy of two constituents alone is concave, one phase is
// less stable than two. Pairs are looked at, as gaps of more constituents nearly always start
// there.

namespace tessara::checks {
namespace {

constexpr double LowestTemperature = 298.15;
constexpr double HighestTemperature = 4000.0;
constexpr double TemperatureStep = 1.2;
constexpr int Parts = 40;

/// Equilibria that are calculated for one file at most.
constexpr int SolutionLimit = 300;

struct Gap {
    double t;
    double x; ///< fraction of the second constituent at which the phase is least stable
};

/// A phase of two constituents.
class Pair {
public:
    Pair(const Phase& phase, const TemperatureTerms& terms, std::size_t first, std::size_t second)
        : active_{first, second}, evaluator_(phase.model->evaluator(phase.constituents, active_)),
          at_(terms) {}

    /// Where the pair is concave at T, if anywhere.
    std::optional<Gap> gap_at(double t) {
        at_.set(t);
        evaluator_->set_state(at_, 1.0);
        double least = 0.0;
        std::optional<Gap> found;
        for (int k = 1; k < Parts; ++k) {
            const double x = static_cast<double>(k) / Parts;
            const double curvature = curvature_at(x);
            if (curvature < least) {
                least = curvature;
                found = Gap{t, x};
            }
        }
        return found;
    }

    /// The gap at the highest temperature at which there is one.
    std::optional<Gap> highest_gap(double upper) {
        std::optional<Gap> highest;
        double free = 0.0; // the next temperature above it that has none
        for (double t = LowestTemperature; t <= upper; t *= TemperatureStep) {
            if (const std::optional<Gap> gap = gap_at(t)) {
                highest = gap;
                free = 0.0;
            } else if (free == 0.0) {
                free = t;
            }
        }
        if (highest && free > highest->t) {
            while (free - highest->t > 1.0) {
                const double middle = 0.5 * (free + highest->t);
                if (const std::optional<Gap> gap = gap_at(middle)) {
                    highest = gap;
                } else {
                    free = middle;
                }
            }
        }
        return highest;
    }

private:
    double curvature_at(double x) {
        const std::array<double, 2> y{1.0 - x, x};
        const std::array<double, 2> log_y{std::log(y[0]), std::log(y[1])};
        std::array<double, 2> gradient{};
        std::array<double, 4> hessian{}; // scaled by sqrt(y_i y_j)
        evaluator_->mixing(y, log_y, gradient, hessian);
        return hessian[0] / y[0] - 2.0 * hessian[1] / std::sqrt(y[0] * y[1]) + hessian[3] / y[1];
    }

    std::array<std::size_t, 2> active_;
    std::unique_ptr<PhaseEvaluator> evaluator_;
    TemperatureTerms at_;
};

/// Charges of a constituent: two that differ in them do not mix alone.
std::vector<double> charges(const System& system, const Constituent& one) {
    std::vector<double> entries;
    for (std::size_t j = 0; j < system.components.size(); ++j) {
        if (system.components[j].electron) {
            entries.push_back(one.stoichiometry[j]);
        }
    }
    return entries;
}

double end_of_data(const Constituent& one) {
    double end = 0.0;
    for (const TemperatureFunction::Range& range : one.gibbs.ranges()) {
        end = std::max(end, range.t_max);
    }
    return end;
}

/// Whether the model's own variables are the fractions of the constituents.
bool mixes_constituents(const Phase& phase) {
    return phase.kind() == ModelKind::RKMP || phase.kind() == ModelKind::RKMPM ||
           phase.kind() == ModelKind::QKTO;
}

/// Looks at one phase: pairs that unmix by themselves, then whether they still do beside all other
/// phases of the file.
class PhaseCheck {
public:
    /// `solutions` counts down how many equilibria may still be calculated; what is left open
    /// counts as splitting.
    PhaseCheck(const System& system, Solver& solver, std::size_t index, int& solutions)
        : system_(system), solver_(solver), index_(index), phase_(system.phases[index]),
          solutions_(solutions) {}

    void run(Findings& findings) {
        for (std::size_t a = 0; a < phase_.constituents.size(); ++a) {
            for (std::size_t b = a + 1; b < phase_.constituents.size(); ++b) {
                look_at(a, b);
            }
        }
        if (pairs_ == 0) {
            return;
        }
        std::string text = text_;
        if (pairs_ > 1) {
            text += "; " + std::to_string(pairs_ - 1) + " more pairs do not, either";
        }
        if (!splits_) {
            text += "; other phases of the file are more stable there";
        }
        findings.add(Rule::Unmixing, splits_ ? Gravity::Warning : Gravity::Note, phase_.line,
                     of_phase(phase_), text);
    }

private:
    void look_at(std::size_t a, std::size_t b) {
        const Constituent& first = phase_.constituents[a];
        const Constituent& second = phase_.constituents[b];
        if (charges(system_, first) != charges(system_, second)) {
            return;
        }
        Pair pair(phase_, system_.terms(), a, b);
        const double upper =
            std::min({HighestTemperature, end_of_data(first), end_of_data(second)});
        const std::optional<Gap> gap = pair.highest_gap(upper);
        if (!gap) {
            return;
        }
        ++pairs_;
        const bool splits = !splits_ && pair_splits(pair, a, b, *gap);
        if (pairs_ == 1 || splits) {
            text_ = quoted(first.name) + " and " + quoted(second.name) +
                    " do not mix in all proportions at temperatures up to " +
                    number_text(gap->t, 4) + " K, there around x(" + second.name +
                    ") = " + number_text(gap->x, 3);
        }
        splits_ = splits_ || splits;
    }

    /// Whether the phase is there with two compositions at equilibrium, at any temperature.
    bool pair_splits(Pair& pair, std::size_t a, std::size_t b, const Gap& highest) {
        // Just below the top both compositions are nearly the same.
        for (double t = highest.t * 0.98; t > LowestTemperature / TemperatureStep;
             t /= TemperatureStep) {
            const std::optional<Gap> gap = pair.gap_at(std::max(t, LowestTemperature));
            if (gap && (--solutions_ < 0 || state_splits(*gap, a, b))) {
                return true;
            }
        }
        return false;
    }

    bool state_splits(const Gap& gap, std::size_t a, std::size_t b) {
        EquilibriumConditions conditions;
        conditions.t = gap.t;
        conditions.amounts = {{index_, a, 1.0 - gap.x}, {index_, b, gap.x}};
        try {
            const Equilibrium& found = solver_.solve(conditions);
            return std::find(found.folded.begin(), found.folded.end(), index_) !=
                   found.folded.end();
        } catch (const SolveError&) {
            return true; // not shown to be harmless
        }
    }

    const System& system_;
    Solver& solver_;
    std::size_t index_;
    const Phase& phase_;
    int& solutions_;
    std::size_t pairs_ = 0;
    bool splits_ = false;
    std::string text_;
};

} // namespace

void check_unmixing(const std::shared_ptr<const System>& system, Findings& findings) {
    std::optional<Solver> solver;
    int solutions = SolutionLimit;
    for (std::size_t i = 0; i < system->phases.size(); ++i) {
        const Phase& phase = system->phases[i];
        // Copies have names of their own.
        if (phase.model && !phase.gas && phase.name == phase.file_name &&
            mixes_constituents(phase)) {
            if (!solver) {
                solver.emplace(system);
            }
            PhaseCheck(*system, *solver, i, solutions).run(findings);
        }
    }
}

} // namespace tessara::checks
