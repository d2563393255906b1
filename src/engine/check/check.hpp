#pragma once

#include "engine/data/system.hpp"

#include <array>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tessara {

/// How much a finding weighs: a file with an error gives wrong results or cannot be loaded, one
/// with a warning may, and a note is only worth knowing.
enum class Gravity : unsigned char { Error, Warning, Note };

/// "error", "warning", "note"
std::string_view gravity_name(Gravity gravity);

/// What the check looks for. The order is that of the table of descriptions.
enum class Rule : unsigned char {
    Unreadable,
    ReaderNote,
    RangeOrder,
    RangeGap,
    GibbsJump,
    EnthalpyJump,
    NegativeHeatCapacity,
    NegativeEntropy,
    MolarMass,
    Formula,
    DuplicateName,
    CaseOnly,
    NeverForms,
    AbsentComponent,
    NeverLowest,
    NoData,
    ZeroParameter,
    RepeatedParameter,
    DeadParameter,
    IdleMagnetism,
    Unmixing,
};

struct RuleDescription {
    Rule rule;
    const char* number; ///< "TS101": stable, as users select by it
    Gravity gravity;    ///< of its findings, but where the check says otherwise
    const char* title;
    const char* advice;
};

/// All rules in order of their numbers.
std::span<const RuleDescription> rules();
const RuleDescription& description_of(Rule rule);

/// Something suspicious in a system.
struct Finding {
    Rule rule;
    Gravity gravity;
    int line;   ///< in the data file, from 1
    int column; ///< from 1, or 0 where the whole line is meant
    std::string subject;
    std::string text;
};

/// Looks through a system for what its author should know of; the gravest first, each kind in order
/// of lines. Nothing is changed.
std::vector<Finding> check(const std::shared_ptr<const System>& system);

} // namespace tessara
