#pragma once

#include "engine/conditions/condition_store.hpp"
#include "engine/conditions/statuses.hpp"
#include "engine/streams/streams.hpp"

#include <iosfwd>

namespace tessara {

/// What a calculation would start from.
struct Inputs {
    const System& system;
    const Units& units;
    const ConditionStore& conditions;
    const Statuses& statuses;
    const Streams* streams = nullptr; ///< where the calculation is one with streams
    bool searched = false;            ///< the calculation has searched what meets a condition
};

/// Writes the units and, where a system is loaded, its title, the conditions with their numbers,
/// the incoming amounts, and what is not entered.
void list_inputs(std::ostream& out, const Units& units, const Inputs* inputs);

/// The part of it that results show too: conditions and incoming amounts.
void list_conditions(std::ostream& out, const Inputs& inputs);

/// A condition by the names of the system: "T of the system", "A of phase C(gr)".
std::string condition_text(const System& system, const Condition& condition);

} // namespace tessara
