"""Records: what a system consists of, what goes in, and what comes out of a calculation.

All records keep the same few rules. Fields can be read and assigned; a number that is not known is
`nan`. Two records of one class are equal if all fields are, where `nan` equals `nan`. Records can
be copied and pickled. They hold plain data and never lead back to the library.

Fields that many records share, all in the units in force when the record was filled:

| Field | Meaning |
|---|---|
| `A` | amount |
| `X` | amount fraction |
| `AC` | activity |
| `MU` | chemical potential, energy per mole |
| `Cp`, `H`, `S`, `G`, `V` | heat capacity, enthalpy, entropy, Gibbs energy, volume |
| `CpM`, `HM`, `SM`, `GM`, `VM` | the same per amount |
| `units` | the units that were in force: a dict with the keys "P", "V", "T", "E", "A" |
| `scs`, `phs`, `pcs` | system components, phases, constituents: dicts by name, in index order |
"""

from __future__ import annotations

from math import nan

from .formula import Formula, parse_formula

TYPE_CHECKING = False  # as in `typing`, whose import would take longer than this package's own
if TYPE_CHECKING:
    import os
    import time
    from enum import Enum

    from .enumerations import SolutionModel, Status


class Record:
    """Base of the records: equality, texts, copying and pickling.

    A subclass here declares its fields once, as annotations, and makes its slots of them: a slot
    costs less memory and time than an entry of a dict, and a misspelt field is refused. Subclasses
    elsewhere may have slots or not.
    """

    __slots__ = ()

    def __eq__(self, other: object) -> bool:
        if type(other) is not type(self):
            return NotImplemented
        return _same(self.__getstate__(), other.__getstate__())

    def __getstate__(self) -> object:
        # Written out, since the oldest pickle protocols refuse slots otherwise.
        return object.__getstate__(self)

    def __repr__(self) -> str:
        from .views import one_line

        return one_line(self)


class Viewable(Record):
    """Base of the records that are shown whole: as text by `str`, and as HTML in notebooks."""

    __slots__ = ()

    def __str__(self) -> str:
        from .views import listing

        return listing(self)

    def _repr_html_(self) -> str:
        from .views import html

        return html(self)


def _same(one: object, other: object) -> bool:
    """Compare two values of fields, where `nan` equals `nan` also inside dicts, lists, tuples."""
    if one is other:
        return True
    if isinstance(one, float) and isinstance(other, float):
        return one == other or (one != one and other != other)
    if isinstance(one, dict) and isinstance(other, dict):
        return one.keys() == other.keys() and all(_same(one[key], other[key]) for key in one)
    if isinstance(one, (list, tuple)) and type(one) is type(other):
        return len(one) == len(other) and all(map(_same, one, other))
    return bool(one == other)


class SystemComponentConfig(Record):
    """A system component of the loaded system.

    Attributes:
        index: zero-based index.
        name: name.
        molar_mass: mass per mole, in g/mol under a unit of moles, else in the unit of mass.

    """

    index: int
    name: str
    molar_mass: float
    __slots__ = tuple(__annotations__)

    def __init__(self, index: int, name: str, molar_mass: float) -> None:
        self.index = index
        self.name = name
        self.molar_mass = molar_mass


class PhaseConstituentConfig(Record):
    """A phase constituent of the loaded system.

    Attributes:
        index: zero-based index within the phase.
        name: name.
        molar_mass: mass per mole, in g/mol under a unit of moles, else in the unit of mass.
        stoichiometry: number of each system component by name, zeros included.
        mass_fractions: share of each system component in the mass, by name.

    """

    index: int
    name: str
    molar_mass: float
    stoichiometry: dict[str, float]
    mass_fractions: dict[str, float]
    __slots__ = tuple(__annotations__)

    def __init__(
        self,
        index: int,
        name: str,
        molar_mass: float,
        stoichiometry: dict[str, float],
        mass_fractions: dict[str, float],
    ) -> None:
        self.index = index
        self.name = name
        self.molar_mass = molar_mass
        self.stoichiometry = stoichiometry
        self.mass_fractions = mass_fractions


class PhaseConfig(Record):
    """A phase of the loaded system.

    Attributes:
        index: zero-based index.
        name: name.
        model: model of the phase.
        pcs: its constituents, empty at first.

    """

    index: int
    name: str
    model: SolutionModel
    pcs: dict[str, PhaseConstituentConfig]
    __slots__ = tuple(__annotations__)

    def __init__(self, index: int, name: str, model: SolutionModel) -> None:
        self.index = index
        self.name = name
        self.model = model
        self.pcs = {}


class ThermochemicalSystemConfig(Viewable):
    """The loaded system.

    Attributes:
        path: path of the data file.
        units: the units in force.
        scs: system components, empty at first.
        phs: phases, empty at first.

    """

    path: str | os.PathLike[str]
    units: dict[str, Enum]
    scs: dict[str, SystemComponentConfig]
    phs: dict[str, PhaseConfig]
    __slots__ = tuple(__annotations__)

    def __init__(self, path: str | os.PathLike[str], units: dict[str, Enum]) -> None:
        self.path = path
        self.units = units
        self.scs = {}
        self.phs = {}


class SystemComponentState(Record):
    """A system component at equilibrium, in the whole system or in one phase.

    Attributes:
        index: zero-based index.
        name: name.

    The numbers are `nan` at first.

    """

    index: int
    name: str
    A: float
    X: float
    AC: float
    MU: float
    __slots__ = tuple(__annotations__)

    def __init__(self, index: int, name: str) -> None:
        self.index = index
        self.name = name
        self.A = self.X = self.AC = self.MU = nan


class EquilibriumState(Record):
    """What a phase and a phase constituent at equilibrium have in common: fourteen numbers."""

    A: float
    X: float
    AC: float
    MU: float
    Cp: float
    H: float
    S: float
    G: float
    V: float
    CpM: float
    HM: float
    SM: float
    GM: float
    VM: float
    __slots__ = tuple(__annotations__)


class PhaseConstituentState(EquilibriumState):
    """A phase constituent at equilibrium.

    Attributes:
        index: zero-based index within the phase.
        name: name.
        status: how it takes part.

    The numbers are `nan` at first.

    """

    index: int
    name: str
    status: Status
    __slots__ = tuple(__annotations__)

    def __init__(self, index: int, name: str, status: Status) -> None:
        self.index = index
        self.name = name
        self.status = status
        # A result makes hundreds of these: no call of a base class here.
        self.A = self.X = self.AC = self.MU = nan
        self.Cp = self.H = self.S = self.G = self.V = nan
        self.CpM = self.HM = self.SM = self.GM = self.VM = nan


class PhaseState(EquilibriumState):
    """A phase at equilibrium.

    Attributes:
        index: zero-based index.
        name: name.
        status: how it takes part.
        scs: the system components in the phase, empty at first.
        pcs: its constituents, empty at first.

    The numbers are `nan` at first.

    """

    index: int
    name: str
    status: Status
    scs: dict[str, SystemComponentState]
    pcs: dict[str, PhaseConstituentState]
    __slots__ = tuple(__annotations__)

    def __init__(self, index: int, name: str, status: Status) -> None:
        self.index = index
        self.name = name
        self.status = status
        self.A = self.X = self.AC = self.MU = nan
        self.Cp = self.H = self.S = self.G = self.V = nan
        self.CpM = self.HM = self.SM = self.GM = self.VM = nan
        self.scs = {}
        self.pcs = {}


class SystemComponentIncomingAmountState(Record):
    """Incoming amount of a system component.

    Attributes:
        sc: name of the system component.
        A: incoming amount.

    """

    sc: str
    A: float
    __slots__ = tuple(__annotations__)

    def __init__(self, sc: str, A: float) -> None:
        self.sc = sc
        self.A = A


class PhaseConstituentIncomingAmountState(Record):
    """Incoming amount of a phase constituent.

    Attributes:
        ph: name of the phase.
        pc: name of the phase constituent.
        A: incoming amount. It is kept in `_A`, and follows it.

    """

    ph: str
    pc: str
    _A: float
    __slots__ = tuple(__annotations__)

    def __init__(self, ph: str, pc: str, A: float) -> None:
        self.ph = ph
        self.pc = pc
        self._A = A

    @property
    def A(self) -> float:
        """Incoming amount."""
        return self._A

    @A.setter
    def A(self, value: float) -> None:
        self._A = value


class ChemicalFormulaIncomingAmountState(Record):
    """Incoming amount that is given by a chemical formula.

    The formula is read at once, also for an amount of zero. A charge is kept apart and adds nothing
    to `scs_A`: what goes in are atoms. The electron component that a data file gives to a phase of
    ions keeps that phase neutral; its total in the system is always zero, so no formula adds to it.

    Attributes:
        formula: the formula as written. A formula that is assigned is read too.
        A: amount of the formula, a float.

    Raises:
        FormulaError: the formula cannot be read.
        TypeError, ValueError: the formula is no `str`, or the amount no number.

    """

    _formula: Formula
    A: float
    __slots__ = tuple(__annotations__)

    def __init__(self, formula: str, A: float) -> None:
        self._formula = parse_formula(formula)
        self.A = float(A)

    @property
    def formula(self) -> str:
        """The formula as written."""
        return self._formula.text

    @formula.setter
    def formula(self, text: str) -> None:
        self._formula = parse_formula(text)

    @property
    def counts(self) -> dict[str, float]:
        """Atoms of each element in one formula, in order of first occurrence. A new dict."""
        return {element: float(count) for element, count in self._formula.counts.items()}

    @property
    def charge(self) -> int:
        """Charge number of one formula."""
        return self._formula.charge

    @property
    def scs_A(self) -> dict[str, float]:
        """Moles of each element for `A` moles of formula: count times `A`. A new dict."""
        return {element: count * self.A for element, count in self.counts.items()}


class StreamState(Viewable):
    """A stream: amounts of phase constituents at a temperature and a pressure.

    Attributes:
        name: name of the stream.
        T: temperature.
        P: pressure.
        units: the units in force when the stream was made.
        A_pcs: amounts of the constituents, empty at first.
        Cp, H, S, G, V: properties of the stream, `nan` at first.

    """

    name: str
    T: float
    P: float
    units: dict[str, Enum]
    A_pcs: list[PhaseConstituentIncomingAmountState]
    Cp: float
    H: float
    S: float
    G: float
    V: float
    __slots__ = tuple(__annotations__)

    def __init__(self, name: str, T: float, P: float, units: dict[str, Enum]) -> None:
        self.name = name
        self.T = T
        self.P = P
        self.units = units
        self.A_pcs = []
        self.Cp = self.H = self.S = self.G = self.V = nan

    @property
    def A(self) -> float:
        """Sum of the amounts in `A_pcs`."""
        return sum((pc.A for pc in self.A_pcs), 0.0)


class CalculationResult(Viewable):
    """What the two kinds of results have in common.

    Attributes:
        units: the units in force.
        ts_md5: checksum of the data file, `None` if nobody has set it.
        t_start: local time at which the calculation started, `None` if there was none.
        t_end: local time at which it ended, `None` if it has not.
        dt: its duration in s, `None` if it has not ended.
        error: `None`, or for a failed calculation the description of the error, as
            `get_error_info_dict` gives it.
        str_inputs: the library's listing of the inputs.
        P, T: pressure and temperature.
        scs: system components, empty at first.
        phs: phases, empty at first.

    The numbers are `nan` at first. `A` and the properties are those of the whole system.

    """

    units: dict[str, Enum]
    ts_md5: str | None
    t_start: time.struct_time | None
    t_end: time.struct_time | None
    dt: float | None
    error: dict[str, object] | None
    str_inputs: str
    P: float
    T: float
    A: float
    CpM: float
    HM: float
    SM: float
    GM: float
    VM: float
    Cp: float
    H: float
    S: float
    G: float
    V: float
    scs: dict[str, SystemComponentState]
    phs: dict[str, PhaseState]
    __slots__ = tuple(__annotations__)

    def __init__(
        self,
        *,
        units: dict[str, Enum],
        ts_md5: str | None,
        t_start: time.struct_time | None,
        t_end: time.struct_time | None,
        dt: float | None,
    ) -> None:
        self.units = units
        self.ts_md5 = ts_md5
        self.t_start = t_start
        self.t_end = t_end
        self.dt = dt
        self.error = None
        self.str_inputs = ""
        self.P = self.T = self.A = nan
        self.CpM = self.HM = self.SM = self.GM = self.VM = nan
        self.Cp = self.H = self.S = self.G = self.V = nan
        self.scs = {}
        self.phs = {}


class EquilibriumCalculationResult(CalculationResult):
    """Result of a calculation from incoming amounts. `Cp`, `H`, `S`, `G` and `V` are absolute.

    Attributes:
        IAs: the incoming amounts that are not zero: those of phase constituents, then those of
            system components; empty at first.

    The other fields are those of the base class.

    """

    IAs: list[PhaseConstituentIncomingAmountState | SystemComponentIncomingAmountState]
    __slots__ = tuple(__annotations__)

    def __init__(
        self,
        *,
        units: dict[str, Enum],
        ts_md5: str | None,
        t_start: time.struct_time | None,
        t_end: time.struct_time | None,
        dt: float | None,
    ) -> None:
        super().__init__(units=units, ts_md5=ts_md5, t_start=t_start, t_end=t_end, dt=dt)
        self.IAs = []


class StreamCalculationResult(CalculationResult):
    """Result of a calculation from streams. `Cp`, `H`, `S`, `G` and `V` are absolute.

    Attributes:
        dCp, dH, dS, dG, dV: changes against the streams, `nan` at first.
        streams: the streams by name, empty at first.

    The other fields are those of the base class.

    """

    dCp: float
    dH: float
    dS: float
    dG: float
    dV: float
    streams: dict[str, StreamState]
    __slots__ = tuple(__annotations__)

    def __init__(
        self,
        *,
        units: dict[str, Enum],
        ts_md5: str | None,
        t_start: time.struct_time | None,
        t_end: time.struct_time | None,
        dt: float | None,
    ) -> None:
        super().__init__(units=units, ts_md5=ts_md5, t_start=t_start, t_end=t_end, dt=dt)
        self.dCp = self.dH = self.dS = self.dG = self.dV = nan
        self.streams = {}


class TessaraInfo(Record):
    """About the library itself.

    Attributes:
        copyright: copyright message.
        program_id: program ID.
        version: version number.
        array_sizes_max: greatest sizes that a data file may need, under the keys "na" to "nk".
        array_sizes_used: sizes that the loaded system needs, under the same keys.

    """

    copyright: str
    program_id: str
    version: int
    array_sizes_max: dict[str, int]
    array_sizes_used: dict[str, int]
    __slots__ = tuple(__annotations__)

    def __init__(
        self,
        copyright: str,
        program_id: str,
        version: int,
        array_sizes_max: dict[str, int],
        array_sizes_used: dict[str, int],
    ) -> None:
        self.copyright = copyright
        self.program_id = program_id
        self.version = version
        self.array_sizes_max = array_sizes_max
        self.array_sizes_used = array_sizes_used
