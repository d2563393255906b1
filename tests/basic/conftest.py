"""The operations of `tessara.basic`, small data files with closed forms, and names for indexes.

The extension is the installed one, or the file that the environment variable `TESSARA_BASIC` names.
"""

import os
from collections.abc import Callable, Iterator
from math import exp, log
from pathlib import Path
from types import ModuleType, SimpleNamespace

import pytest

import tessara
from tessara import core

GAS_CONSTANT = 8.314462618


def extension_folder() -> Path | None:
    named = os.environ.get("TESSARA_BASIC")
    return Path(named).resolve().parent if named else None


if (folder := extension_folder()) is not None:
    tessara.__path__.append(str(folder))

try:
    from tessara import basic
except ImportError as error:
    message = "build tessara.basic and install the package, or set TESSARA_BASIC to the file"
    raise ImportError(message) from error


class DatFile:
    """Text of a data file. A species: name, stoichiometry, coefficients of 1, T, T ln T, ..."""

    def __init__(self, components: dict[str, float], title: str = "a test file") -> None:
        self.title = title
        self.components = components
        self.gas_block = ""
        self.counts = [0]
        self.mixtures = ""
        self.pure_records = ""
        self.pure_count = 0

    @staticmethod
    def record(name: str, stoichiometry: list[float], coefficients: list[float]) -> str:
        numbers = [*coefficients, *[0.0] * (6 - len(coefficients))]
        amounts = " ".join(repr(float(a)) for a in stoichiometry)
        return f"{name}\n1 1 {amounts}\n6000.0 " + " ".join(map(repr, numbers)) + "\n"

    def gas(self, name: str, *species: tuple) -> "DatFile":
        self.gas_block = f"{name}\nIDMX\n" + "".join(self.record(*one) for one in species)
        self.counts[0] = len(species)
        return self

    def ideal(self, name: str, *species: tuple) -> "DatFile":
        self.mixtures += f"{name}\nIDMX\n" + "".join(self.record(*one) for one in species)
        self.counts.append(len(species))
        return self

    def regular(self, name: str, species: list[tuple], interaction: float) -> "DatFile":
        """A binary solution with one Redlich-Kister coefficient."""
        self.mixtures += f"{name}\nRKMP\n" + "".join(self.record(*one) for one in species)
        self.mixtures += f"2\n1 2 1\n{interaction!r} 0 0 0 0 0\n0\n"
        self.counts.append(len(species))
        return self

    def pure(self, *species: object) -> "DatFile":
        self.pure_records += self.record(*species)
        self.pure_count += 1
        return self

    def dummy(self, name: str, *rest: object) -> "DatFile":
        return self.pure(f"{name}  #", *rest)

    def magnetic(self, name: str, stoichiometry: list[float], tc: float, beta: float) -> "DatFile":
        amounts = " ".join(repr(float(a)) for a in stoichiometry)
        self.pure_records += f"{name}\n13 1 {amounts}\n6000.0 0 0 0 0 0 0\n{tc} {beta} 1.0 0.4\n"
        self.pure_count += 1
        return self

    def text(self) -> str:
        counts = " ".join(map(str, self.counts))
        return (
            f"{self.title}\n{len(self.components)} {len(self.counts)} {counts} {self.pure_count}\n"
            + " ".join(self.components)
            + "\n"
            + " ".join(map(repr, self.components.values()))
            + "\n6 1 2 3 4 5 6\n6 1 2 3 4 5 6\n"
            + self.gas_block
            + self.mixtures
            + self.pure_records
        )


class Lab:
    """The operations, with names in place of indexes."""

    NoTarget = (core.TargetVariable.NoTarget, -1, -1, [0.0, 0.0])

    def __init__(self, folder: Path) -> None:
        self.folder = folder

    def load(self, file: DatFile | str) -> None:
        path = self.folder / "system.dat"
        text = file if isinstance(file, str) else file.text()
        path.write_bytes(text.encode())
        basic.hxopna(path, 10)
        basic.hxrfil()
        basic.hxclos(10)

    def sc(self, name: str) -> tuple[int, int]:
        names = [basic.hxgnsc(i) for i in range(basic.hxnosc())]
        return -1, names.index(name)

    def ph(self, name: str) -> int:
        return [basic.hxgnp(i) for i in range(basic.hxnop())].index(name)

    def pc(self, phase: str, name: str | None = None) -> tuple[int, int]:
        i = self.ph(phase)
        names = [basic.hxgnpc(i, k) for k in range(basic.hxnopc(i))]
        return i, names.index(name or phase)

    def set(self, variable: str, value: float, place: tuple[int, int] = (-1, -1)) -> int:
        return basic.hxsetc(core.ConditionVariable[variable], *place, value)

    def put_in(self, **amounts: float) -> None:
        """Incoming amounts of components."""
        for name, amount in amounts.items():
            self.set("IA", amount, self.sc(name))

    def calculate(self) -> None:
        basic.hxce(*self.NoTarget)

    def get(self, variable: str, *place: int) -> float:
        return basic.hxgetr(core.ResultVariable[variable], *place)

    def listing(self, operation: Callable[..., object], *arguments: object) -> str:
        """What an operation writes to the channel for listings."""
        path = self.folder / "listing.txt"
        before = basic.hxgio(core.IoOption.LIST)
        basic.hxopen(str(path), 21)
        basic.hxcio(core.IoOption.LIST, 21)
        try:
            operation(*arguments)
        finally:
            basic.hxclos(21)
            basic.hxcio(core.IoOption.LIST, before)
        return path.read_text("ascii")


@pytest.fixture(autouse=True)
def _fresh_library() -> Iterator[None]:
    basic.hxini()
    yield
    basic.hxini()


@pytest.fixture
def hx() -> ModuleType:
    return basic


@pytest.fixture
def lab(tmp_path: Path) -> Lab:
    return Lab(tmp_path)


@pytest.fixture
def dat() -> type[DatFile]:
    return DatFile


# A gas over a solid of its first species, beside an inert one. Per mole, with T in K:
#     G = a + b T + c T ln T, so H = a - c T, S = -b - c (1 + ln T), Cp = -c
GAS_A = [0.0, 50.0, -30.0]
GAS_B = [5000.0, 40.0, -35.0]
SOLID_A = [-20000.0, 25.0, -25.0]


@pytest.fixture
def gas_over_solid() -> DatFile:
    return (
        DatFile({"A": 10.0, "B": 40.0})
        .gas("GAS", ("A", [1, 0], GAS_A), ("B", [0, 1], GAS_B))
        .pure("A(s)", [1, 0], SOLID_A)
        .pure("B(s)", [0, 1], [90000.0])
    )


def thermal(coefficients: list[float], t: float) -> SimpleNamespace:
    """Gibbs energy, enthalpy, entropy and heat capacity of a mole."""
    a, b, c = coefficients
    h, s = a - c * t, -b - c * (1 + log(t))
    return SimpleNamespace(h=h, s=s, g=h - t * s, cp=-c)


@pytest.fixture
def saturated(lab: Lab, gas_over_solid: DatFile) -> SimpleNamespace:
    """The system at 1000 K and 2 bar with 1 mol A and 0.5 mol B, calculated, and its closed form.

    The solid fixes the partial pressure of A, and with it how much of A the gas takes up.
    """
    lab.load(gas_over_solid)
    t, p = 1000.0, 2.0
    lab.set("T", t)
    lab.set("P", p)
    lab.put_in(A=1.0, B=0.5)
    lab.calculate()
    rt = GAS_CONSTANT * t
    gas_a, gas_b, solid = (thermal(c, t) for c in (GAS_A, GAS_B, SOLID_A))
    p_a = exp((solid.g - gas_a.g) / rt)
    x = p_a / p
    n_a = 0.5 * x / (1 - x)
    assert 0.0 < n_a < 1.0
    state = SimpleNamespace(t=t, p=p, rt=rt, x=x, p_a=p_a, p_b=p - p_a, n_a=n_a, n_b=0.5)
    state.n_gas, state.n_solid = n_a + 0.5, 1.0 - n_a
    state.n = state.n_gas + state.n_solid
    state.a, state.b, state.solid = gas_a, gas_b, solid
    state.mu_a, state.mu_b = solid.g, gas_b.g + rt * log(state.p_b)
    # Partial entropies in the gas.
    state.s_a = gas_a.s - GAS_CONSTANT * log(p_a)
    state.s_b = gas_b.s - GAS_CONSTANT * log(state.p_b)
    state.v = rt / (p * 1e5) * 1e3  # dm3 per mole of gas
    return state


@pytest.fixture
def r_gas() -> float:
    return GAS_CONSTANT


@pytest.fixture
def extension_file() -> Path:
    return Path(basic.__file__)


@pytest.fixture
def ironmaking_file() -> Path:
    return Path(core.__file__).parent.parent / "data" / "ironmaking.dat"
