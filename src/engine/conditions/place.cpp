#include "engine/conditions/place.hpp"

namespace tessara {

double molar_mass_of(const System& system, const Place& place) {
    return place.kind == Place::Kind::Component
               ? system.components[place.index].molar_mass
               : system.phases[place.phase].constituents[place.index].molar_mass;
}

const char* kind_text(Place::Kind kind) {
    switch (kind) {
    case Place::Kind::System:
        return "the system";
    case Place::Kind::Component:
        return "a system component";
    case Place::Kind::Phase:
        return "a phase";
    case Place::Kind::Constituent:
        return "a phase constituent";
    case Place::Kind::ComponentInPhase:
        return "a system component in a phase";
    }
    return "";
}

std::string place_text(const System& system, const Place& place) {
    switch (place.kind) {
    case Place::Kind::System:
        return "system";
    case Place::Kind::Component:
        return "component " + system.components[place.index].name;
    case Place::Kind::Phase:
        return "phase " + system.phases[place.phase].name;
    case Place::Kind::Constituent: {
        const Phase& phase = system.phases[place.phase];
        return phase.name + " : " + phase.constituents[place.index].name;
    }
    case Place::Kind::ComponentInPhase:
        return "component " + system.components[place.index].name + " in " +
               system.phases[place.phase].name;
    }
    return "";
}

} // namespace tessara
