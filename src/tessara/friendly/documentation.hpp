#pragma once

/// What the documentation of many methods says in the same words.
namespace tessara::friendly::words {

// Lines below "Parameters:".
inline constexpr const char* sc = "    sc: name or zero-based index of the system component.\n";
inline constexpr const char* ph = "    ph: name or zero-based index of the phase.\n";
inline constexpr const char* ph_pc =
    "    ph: name or zero-based index of the phase.\n"
    "    pc: name or zero-based index of the constituent within the phase.\n";
inline constexpr const char* ph_sc = "    ph: name or zero-based index of the phase.\n"
                                     "    sc: name or zero-based index of the system component.\n";

// Lines below "Raises:".
inline constexpr const char* nothing_loaded = "    TypeError: no data file is loaded.\n";
inline constexpr const char* no_component =
    "    KeyError: there is no such system component.\n    TypeError: no data file is loaded.\n";
inline constexpr const char* no_phase =
    "    KeyError: there is no such phase.\n    TypeError: no data file is loaded.\n";
inline constexpr const char* no_constituent =
    "    KeyError: there is no such phase, or no such constituent in it.\n"
    "    TypeError: no data file is loaded.\n";
inline constexpr const char* no_component_or_phase =
    "    KeyError: there is no such system component, or no such phase.\n"
    "    TypeError: no data file is loaded.\n";

} // namespace tessara::friendly::words
