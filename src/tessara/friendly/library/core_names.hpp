#pragma once

#include <array>

namespace tessara::friendly {

/// What this module takes over from `core`, in the order in which it becomes visible. Some of it
/// serves no method: it is here so that users find all of the interface in one place.
inline constexpr std::array<const char*, 38> core_names{
    "get_error_info_dict",
    "TessaraPyError",
    "TessaraError",
    "ErrorStrings",
    "TessaraInfo",
    "ThermochemicalSystemConfig",
    "Status",
    "SolutionModel",
    "switch_components",
    "Composition",
    "PhaseConfig",
    "PhaseConstituentConfig",
    "SystemComponentConfig",
    "EquilibriumCalculationResult",
    "StreamCalculationResult",
    "PhaseConstituentIncomingAmountState",
    "ChemicalFormulaIncomingAmountState",
    "SystemComponentIncomingAmountState",
    "StreamState",
    "PhaseState",
    "PhaseConstituentState",
    "SystemComponentState",
    "ConfigurationOption",
    "IoOption",
    "Quantity",
    "PressureUnit",
    "VolumeUnit",
    "TemperatureUnit",
    "EnergyUnit",
    "AmountUnit",
    "ConditionVariable",
    "TargetVariable",
    "PhaseMapVariable",
    "ResultVariable",
    "PhaseConstituentVariable",
    "StreamVariable",
    "PhaseConstituentData",
    "InteractionVariable",
};

} // namespace tessara::friendly
