"""A stand-in for the sibling `core`: the names that `friendly` takes, no more than they need."""

import enum


def _enumeration(name: str, members: str) -> type[enum.Enum]:
    return enum.Enum(name, members, module=__name__)


class TessaraError(Exception):
    pass


class TessaraPyError(Exception):
    pass


class ErrorStrings(enum.Enum):
    ERROR_PHASE_TRANSITION_LIMIT_EXCEEDED = "too many phase transitions"


IoOption = _enumeration("IoOption", "ERROR LIST")
Quantity = _enumeration("Quantity", "Pressure Volume Temperature Energy Amount")
PressureUnit = _enumeration("PressureUnit", "atm bar")
VolumeUnit = _enumeration("VolumeUnit", "m3 dm3")
TemperatureUnit = _enumeration("TemperatureUnit", "C K")
EnergyUnit = _enumeration("EnergyUnit", "kWh J")
AmountUnit = _enumeration("AmountUnit", "kg gram mol")
ConditionVariable = _enumeration("ConditionVariable", "P VT T CP H S G V A IA AC MU AT XT")
TargetVariable = _enumeration("TargetVariable", "NoTarget P V T IA0 IA")
PhaseMapVariable = _enumeration("PhaseMapVariable", "TF TN PF PN IA0 IAF IAN")
ResultVariable = _enumeration(
    "ResultVariable", "P VT T A AP X XP IA AC MU CP H S G V CPM HM SM GM VM"
)
StreamVariable = _enumeration("StreamVariable", "CP H S G V")
SolutionModel = _enumeration("SolutionModel", "PURE IDMX RKMP")
Status = _enumeration("Status", "ENTERED DORMANT ELIMINATED")
ConfigurationOption = _enumeration("ConfigurationOption", "NONE")
PhaseConstituentVariable = _enumeration("PhaseConstituentVariable", "NONE")
PhaseConstituentData = _enumeration("PhaseConstituentData", "NONE")
InteractionVariable = _enumeration("InteractionVariable", "NONE")


def get_error_info_dict() -> dict[str, object]:
    return {}


def switch_components() -> None:
    return None


class _Record:
    def __init__(self, *args: object, **kwargs: object) -> None:
        self.args = args
        self.kwargs = kwargs


class TessaraInfo(_Record):
    pass


class Composition(_Record):
    pass


class ThermochemicalSystemConfig(_Record):
    def __init__(self, *args: object) -> None:
        super().__init__(*args)
        self.scs: dict[str, object] = {}
        self.phs: dict[str, object] = {}


class _Part(_Record):
    """A record whose first arguments are index and name."""

    def __init__(self, *args: object) -> None:
        super().__init__(*args)
        self.index, self.name = args[:2]


class PhaseConfig(_Part):
    def __init__(self, *args: object) -> None:
        super().__init__(*args)
        self.pcs: dict[str, object] = {}


class PhaseConstituentConfig(_Part):
    pass


class SystemComponentConfig(_Part):
    pass


class EquilibriumCalculationResult(_Record):
    def __init__(self, *args: object, **kwargs: object) -> None:
        super().__init__(*args, **kwargs)
        self.scs: dict[str, object] = {}
        self.phs: dict[str, object] = {}
        self.IAs: list[object] = []


class StreamCalculationResult(_Record):
    def __init__(self, *args: object, **kwargs: object) -> None:
        super().__init__(*args, **kwargs)
        self.scs: dict[str, object] = {}
        self.phs: dict[str, object] = {}
        self.streams: dict[str, object] = {}


class PhaseConstituentIncomingAmountState(_Record):
    def __init__(self, ph: str, pc: str, A: float) -> None:
        super().__init__(ph, pc, A)
        self.ph, self.pc, self._A = ph, pc, A

    @property
    def A(self) -> float:
        return self._A


class ChemicalFormulaIncomingAmountState(_Record):
    pass


class SystemComponentIncomingAmountState(_Record):
    pass


class StreamState(_Record):
    def __init__(self, name: str, T: float, P: float, units: object) -> None:
        super().__init__(name, T, P, units)
        self.name, self.T, self.P, self.units = name, T, P, units
        self.A_pcs: list[PhaseConstituentIncomingAmountState] = []

    @property
    def A(self) -> float:
        return sum((pc.A for pc in self.A_pcs), 0.0)


class PhaseState(_Record):
    def __init__(self, *args: object, **kwargs: object) -> None:
        super().__init__(*args, **kwargs)
        self.name = args[1]
        self.scs: dict[str, object] = {}
        self.pcs: dict[str, object] = {}


class PhaseConstituentState(_Record):
    pass


class SystemComponentState(_Record):
    pass
