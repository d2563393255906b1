#pragma once

#include "engine/data/system.hpp"

#include <compare>
#include <cstddef>
#include <string>

namespace tessara {

/// What a condition or a result belongs to.
struct Place {
    enum class Kind { System, Component, Phase, Constituent, ComponentInPhase };

    Kind kind = Kind::System;
    std::size_t phase = 0; ///< of phases and of what is in a phase
    std::size_t index = 0; ///< of a component, or of a constituent in its phase

    static constexpr Place system() { return {}; }
    static constexpr Place component(std::size_t index) { return {Kind::Component, 0, index}; }
    static constexpr Place of_phase(std::size_t phase) { return {Kind::Phase, phase, 0}; }
    static constexpr Place constituent(std::size_t phase, std::size_t index) {
        return {Kind::Constituent, phase, index};
    }
    static constexpr Place component_in_phase(std::size_t phase, std::size_t index) {
        return {Kind::ComponentInPhase, phase, index};
    }

    friend auto operator<=>(const Place&, const Place&) = default;
};

/// g per mole of a component or a constituent.
double molar_mass_of(const System& system, const Place& place);

/// The kind of a place in words: "a phase".
const char* kind_text(Place::Kind kind);

/// A place by the names of the system: "system", "component Fe", "phase GAS", "GAS : CO2",
/// "component O in GAS".
std::string place_text(const System& system, const Place& place);

} // namespace tessara
