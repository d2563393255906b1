"""The vocabulary of the library: what can be asked for, set and measured.

Members are compared by identity and found by name (`ResultVariable["T"]`). The value of a member
is a phrase that tells its meaning, so that `help` and `repr` show it; programs must not rely on it.
"""

from __future__ import annotations

from enum import Enum


class _Vocabulary(Enum):
    """Base of the enumerations: a member is known by its name."""

    def __init_subclass__(cls) -> None:
        # `help` cuts values short and leaves out aliases, so the meanings go into the docstring.
        meanings = "\n".join(f"    {name}: {m.value}" for name, m in cls.__members__.items())
        cls.__doc__ = f"{cls.__doc__ or ''}\n\nMembers:\n{meanings}\n"

    def __reduce_ex__(self, protocol: object) -> tuple[object, tuple[type, str]]:
        # By name and not by value: a better phrase must not spoil what was pickled before.
        return getattr, (type(self), self.name)


class IoOption(_Vocabulary):
    """Which kind of output a channel number is set or read for."""

    ERROR = "channel of error messages, 0 for none"
    LIST = "channel of listings, 6 for standard output"


class Quantity(_Vocabulary):
    """A kind of quantity that has a unit."""

    Pressure = "pressure"
    Volume = "volume"
    Temperature = "temperature"
    Energy = "energy"
    Amount = "amount of substance or mass"


class PressureUnit(_Vocabulary):
    """Unit of pressure."""

    bar = "bar, 100000 Pa"
    Pa = "pascal"
    kPa = "kilopascal, 1000 Pa"
    MPa = "megapascal, 1000000 Pa"
    atm = "standard atmosphere, 101325 Pa"
    psi = "pound-force per square inch, 6894.757293168 Pa"
    torr = "torr, 1/760 of a standard atmosphere"


class VolumeUnit(_Vocabulary):
    """Unit of volume."""

    dm3 = "cubic decimetre"
    m3 = "cubic metre"
    cm3 = "cubic centimetre"
    ft3 = "cubic foot, 28.316846592 dm3"
    in3 = "cubic inch, 16.387064 cm3"


class TemperatureUnit(_Vocabulary):
    """Unit of temperature. Temperature differences have no offset."""

    K = "kelvin"
    C = "degree Celsius, zero at 273.15 K"
    F = "degree Fahrenheit, 5/9 K, 32 at 273.15 K"


class EnergyUnit(_Vocabulary):
    """Unit of energy."""

    J = "joule"
    kJ = "kilojoule"
    MJ = "megajoule"
    cal = "thermochemical calorie, 4.184 J"
    kcal = "thermochemical kilocalorie, 4184 J"
    BTU = "British thermal unit (International Table), 1055.05585262 J"
    kWh = "kilowatt-hour, 3600000 J"


class AmountUnit(_Vocabulary):
    """Unit of amount. Under a unit of mass, fractions are mass fractions."""

    mol = "mole"
    gram = "gram"
    kg = "kilogram"
    tonne = "metric tonne, 1000 kg"
    pound = "avoirdupois pound, 0.45359237 kg"


class Status(_Vocabulary):
    """How a phase or phase constituent takes part in a calculation."""

    ENTERED = "takes part in the equilibrium"
    DORMANT = "takes no part, but its activity is worked out"
    ELIMINATED = "takes no part, and nothing is worked out for it"
    ELIMINATE = ELIMINATED


class SolutionModel(_Vocabulary):
    """Model of the Gibbs energy of a phase."""

    PURE = "pure condensed phase: one constituent, no mixing"
    IDMX = "ideal mixture"
    RKMP = "Redlich-Kister polynomials, Muggianu extension"
    RKMPM = "Redlich-Kister polynomials, Muggianu extension, magnetic"
    QKTO = "polynomials in equivalent fractions, Kohler and Toop extensions"
    SUBL = "compound energy formalism"
    SUBLM = "compound energy formalism, magnetic"
    SUBM = "two sublattices of ions"
    SUBI = "ionic liquid of two sublattices with variable numbers of sites"
    SUBG = "modified quasichemical model of quadruplets, one zeta for all pairs"
    SUBQ = "modified quasichemical model of quadruplets, one zeta per pair"


class ConditionVariable(_Vocabulary):
    """A variable on which a condition or a target can be placed."""

    P = "pressure"
    VT = "total volume"
    T = "temperature"
    CP = "heat capacity"
    H = "enthalpy"
    S = "entropy"
    G = "Gibbs energy"
    V = "volume"
    A = "equilibrium amount"
    IA = "incoming amount"
    AC = "activity"
    MU = "chemical potential"
    AT = "target activity"
    XT = "target mole fraction"


class TargetVariable(_Vocabulary):
    """The variable that a calculation may move to meet its target."""

    NoTarget = "nothing is moved"
    P = "pressure"
    V = "volume"
    T = "temperature"
    IA0 = "a further incoming amount, kept for the IA call that follows"
    IA = "incoming amount"


class PhaseMapVariable(_Vocabulary):
    """The variable along which phase transitions are looked for, and the step of the walk."""

    TF = "temperature, first call: lower end"
    TN = "temperature, next calls: upper end, then each transition"
    PF = "pressure, first call: lower end"
    PN = "pressure, next calls: upper end, then each transition"
    IA0 = "a further incoming amount, kept for the IAF call that follows"
    IAF = "incoming amounts, first call: lower end"
    IAN = "incoming amounts, next calls: upper end, then each transition"


class ResultVariable(_Vocabulary):
    """A result of an equilibrium calculation."""

    P = "pressure"
    VT = "total volume"
    T = "temperature"
    A = "equilibrium amount"
    AP = "amount of a system component in a phase"
    X = "amount fraction"
    XP = "fraction of a system component in a phase"
    IA = "incoming amount"
    AC = "activity"
    MU = "chemical potential"
    CP = "heat capacity"
    H = "enthalpy"
    S = "entropy"
    G = "Gibbs energy"
    V = "volume"
    CPM = "heat capacity per amount"
    HM = "enthalpy per amount"
    SM = "entropy per amount"
    GM = "Gibbs energy per amount"
    VM = "volume per amount"


class StreamVariable(_Vocabulary):
    """An extensive property of a stream."""

    CP = "heat capacity"
    H = "enthalpy"
    S = "entropy"
    G = "Gibbs energy"
    V = "volume"


class PhaseConstituentVariable(_Vocabulary):
    """A result that exists for a phase constituent."""

    A = "equilibrium amount"
    IA = "incoming amount"
    AC = "activity"
    MU = "chemical potential"
    X = "amount fraction in the phase"
    CP = "heat capacity"
    H = "enthalpy"
    S = "entropy"
    G = "Gibbs energy"
    V = "volume"
    CPM = "heat capacity per amount"
    HM = "enthalpy per amount"
    SM = "entropy per amount"
    GM = "Gibbs energy per amount"
    VM = "volume per amount"


class PhaseConstituentData(_Vocabulary):
    """A standard-state datum of a phase constituent, as the data file gives it."""

    CP = "standard heat capacity at a temperature"
    H = "standard enthalpy at a temperature"
    S = "standard entropy at a temperature"
    G = "standard Gibbs energy at a temperature"
    H298 = "standard enthalpy at 298.15 K"
    S298 = "standard entropy at 298.15 K"
    TC = "Curie temperature, below zero for a Neel temperature not yet divided by its factor"
    BETA = "mean magnetic moment in Bohr magnetons"
    T_MAX = "upper temperature limit of the data"


class InteractionVariable(_Vocabulary):
    """What an interaction between the constituents of a mixture phase adds to."""

    G = "excess Gibbs energy"
    TC = "Curie temperature"
    BETA = "mean magnetic moment"


class ConfigurationOption(_Vocabulary):
    """A setting of the library that holds until it is changed or the library is initialised."""

    ITERATION_LIMIT = "most rounds of search and Newton's method that one equilibrium may take"
    COMPOSITION_SETS = "whether a mixture phase may be split into more sets than the file lists"
    SAMPLING = "how closely mixture phases are sampled for a cold start, 1 for the usual way"
