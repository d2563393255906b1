#include "engine/streams/streams.hpp"

#include "engine/equilibrium/solver.hpp"
#include "engine/text/text.hpp"

#include <algorithm>
#include <cmath>

namespace tessara {
namespace {

/// Whether the amounts of its constituents say all of a phase's state.
bool is_told_by_amounts(const Phase& phase, std::span<const std::size_t> active) {
    return !phase.model ||
           phase.model->evaluator(phase.constituents, active)->variables() == nullptr;
}

/// The state of a phase whose constituents are its variables, as a result that holds nothing else.
Equilibrium unreacted(const System& system, const Stream& stream, std::size_t i,
                      std::span<const double> amounts) {
    Equilibrium state;
    state.t = stream.t;
    state.p = stream.p;
    for (const Phase& phase : system.phases) {
        const std::size_t count = phase.constituents.size();
        PhaseResult& result = state.phases.emplace_back();
        result.fractions.assign(count, 0.0);
        result.log_fractions.assign(count, -std::numeric_limits<double>::infinity());
        result.constituent_can_form.assign(count, 0);
    }
    PhaseResult& phase = state.phases[i];
    phase.can_form = true;
    for (const double amount : amounts) {
        phase.amount += amount;
    }
    for (std::size_t c = 0; c < amounts.size(); ++c) {
        phase.fractions[c] = amounts[c] / phase.amount;
        phase.log_fractions[c] = std::log(phase.fractions[c]);
        phase.constituent_can_form[c] = amounts[c] > 0.0 ? 1 : 0;
    }
    return state;
}

} // namespace

const Stream* Streams::find(const std::string& name) const {
    const auto found = std::find_if(streams_.begin(), streams_.end(),
                                    [&](const Stream& stream) { return stream.name == name; });
    return found == streams_.end() ? nullptr : &*found;
}

Stream* Streams::modifiable(const std::string& name) {
    return const_cast<Stream*>(find(name));
}

void Streams::make(const std::string& name, double t, double p) {
    Stream* stream = modifiable(name);
    if (stream == nullptr) {
        stream = &streams_.emplace_back();
    }
    *stream = {name, t, p, {}};
}

bool Streams::remove(const std::string& name) {
    return std::erase_if(streams_, [&](const Stream& stream) { return stream.name == name; }) > 0;
}

void Streams::set_amount(const std::string& name, std::size_t phase, std::size_t index,
                         double mol) {
    std::vector<IncomingAmount>& amounts = modifiable(name)->amounts;
    for (IncomingAmount& amount : amounts) {
        if (amount.phase == phase && amount.index == index) {
            amount.amount = mol;
            return;
        }
    }
    amounts.push_back({phase, index, mol});
}

double Streams::amount(std::size_t phase, std::size_t index) const {
    double sum = 0.0;
    for (const Stream& stream : streams_) {
        for (const IncomingAmount& amount : stream.amounts) {
            if (amount.phase == phase && amount.index == index) {
                sum += amount.amount;
            }
        }
    }
    return sum;
}

std::size_t Streams::holders(std::size_t phase, std::size_t index) const {
    std::size_t count = 0;
    for (const Stream& stream : streams_) {
        for (const IncomingAmount& amount : stream.amounts) {
            count += amount.phase == phase && amount.index == index && amount.amount != 0.0 ? 1 : 0;
        }
    }
    return count;
}

void Streams::fill(EquilibriumConditions& conditions) const {
    conditions.amounts.clear();
    conditions.potentials.clear();
    for (const Stream& stream : streams_) {
        conditions.amounts.insert(conditions.amounts.end(), stream.amounts.begin(),
                                  stream.amounts.end());
    }
}

ThermalProperties stream_properties(const std::shared_ptr<const System>& system,
                                    const Stream& stream) {
    ThermalProperties sum;
    TemperatureTerms terms = system->terms();
    terms.set(stream.t);
    PropertyTable properties(*system);
    for (std::size_t i = 0; i < system->phases.size(); ++i) {
        const Phase& phase = system->phases[i];
        std::vector<double> amounts(phase.constituents.size(), 0.0);
        for (const IncomingAmount& amount : stream.amounts) {
            if (amount.phase == i) {
                amounts[amount.index] = amount.amount;
            }
        }
        std::vector<std::size_t> active;
        for (std::size_t c = 0; c < amounts.size(); ++c) {
            if (amounts[c] < 0.0) {
                throw SolveError("the stream " + stream.name + " holds less than nothing of " +
                                 phase.constituents[c].name + " in phase " + phase.name +
                                 ": such matter has no properties");
            }
            if (amounts[c] > 0.0) {
                active.push_back(c);
            }
        }
        if (active.empty()) {
            continue;
        }
        if (is_told_by_amounts(phase, active)) {
            properties.fill(unreacted(*system, stream, i, amounts), terms);
        } else {
            EquilibriumConditions alone;
            alone.t = stream.t;
            alone.p = stream.p;
            alone.phases.assign(system->phases.size(), Participation::Eliminated);
            alone.phases[i] = Participation::Entered;
            for (const std::size_t c : active) {
                alone.amounts.push_back({i, c, amounts[c]});
            }
            Solver solver(system);
            properties.fill(solver.solve(alone), terms);
        }
        sum += properties.system();
    }
    return sum;
}

} // namespace tessara
