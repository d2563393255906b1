"""A gas of 45 species for combustion, as data for both programs, and states of it."""

from __future__ import annotations

import random
from pathlib import Path
from typing import Final, NamedTuple

import tessara.data
from tessara.convert import figures
from tessara.convert.system import LN_T, Component, IdealPhase, Species, System, TemperatureRange

TABLES: Final = (
    Path(tessara.data.__file__).with_name("ironmaking.toml"),
    Path(__file__).with_name("combustion.toml"),
)
GAS_CONSTANT: Final = 8.314462618
LOWEST: Final = 200.0
BAR: Final = 1e5

# The usual species of the oxidation of small hydrocarbons with the chemistry of nitrogen are 53.
# Eight of them have no figures: singlet CH2, HCCOH, NNH, H2CN, HCNN, HCNO, HOCN, CH2CHO.
SPECIES: Final = """
    H2 H O O2 OH H2O HO2 H2O2
    C CH CH2 CH3 CH4 CO CO2 HCO HCHO CH2OH CH3O CH3OH
    C2H C2H2 C2H3 C2H4 C2H5 C2H6 HCCO CH2CO CH3CHO C3H7 C3H8
    N NH NH2 NH3 NO NO2 N2O HNO CN HCN HNCO NCO N2 Ar
"""
NAMES: Final = tuple(SPECIES.split())


class GasState(NamedTuple):
    """What goes in, as moles of the species in the order of `NAMES`; T in K, P in bar."""

    T: float
    P: float
    moles: tuple[float, ...]


def system() -> System:
    """Give the gas: each species from the first table that has it."""
    masses: dict[str, float] = {}
    found: dict[str, tuple[Species, dict[str, float]]] = {}
    for table in map(figures.read, TABLES):
        masses = {one.name: one.mass for one in table.components} | masses
        for species in table.gas.species:
            amounts = {
                component.name: amount
                for component, amount in zip(table.components, species.amounts, strict=True)
                if amount
            }
            found.setdefault(species.name, (species, amounts))
    elements = ("C", "H", "O", "N", "Ar")
    return System(
        title="Combustion of small hydrocarbons in air",
        components=tuple(Component(name, masses[name]) for name in elements),
        gas=IdealPhase("GAS", tuple(_over(elements, *found[name]) for name in NAMES)),
        phases=(),
        pure=(),
    )


def _over(elements: tuple[str, ...], species: Species, amounts: dict[str, float]) -> Species:
    return Species(species.name, tuple(amounts.get(name, 0.0) for name in elements), species.ranges)


def nasa9(one: TemperatureRange) -> list[float]:
    """Give the nine coefficients of a range: those of Cp/R from T^-2 to T^4, then the constants.

    Each term of G/R belongs to one of them: a T^q of Cp/R gives -a T^(q+1) / (q (q+1)), its
    exceptions a (T - T ln T) for q = 0 and a (1 + ln T) for q = -1; the constants b1 - b2 T.
    """
    constant, linear, t_ln_t, square, cube, inverse = one.coefficients
    powers = {2.0: square, 3.0: cube, -1.0: inverse, LN_T: 0.0}
    for coefficient, power in one.extra:
        powers[power] = powers.get(power, 0.0) + coefficient
    a = {0: -t_ln_t, -1: powers.pop(LN_T)}
    a |= {int(power) - 1: -value * power * (power - 1) for power, value in powers.items()}
    if not set(a) <= set(range(-2, 5)):
        raise ValueError(f"powers {sorted(a)} of T in Cp have no place among -2 to 4")
    terms = [a.get(q, 0.0) for q in range(-2, 5)]
    return [term / GAS_CONSTANT for term in (*terms, constant - a[-1], a[0] - linear)]


def cantera_yaml(gas: System) -> str:
    """Write the input of Cantera: an ideal gas without reactions."""
    names = ", ".join(f'"{one.name}"' for one in gas.components)
    species = ", ".join(f'"{one.name}"' for one in gas.gas.species)
    lines = [
        "elements:",
        *(f'- {{symbol: "{one.name}", atomic-weight: {one.mass!r}}}' for one in gas.components),
        "phases:",
        f"- {{name: gas, thermo: ideal-gas, elements: [{names}], species: [{species}]}}",
        "species:",
    ]
    for one in gas.gas.species:
        composition = ", ".join(
            f'"{component.name}": {amount!r}'
            for component, amount in zip(gas.components, one.amounts, strict=True)
            if amount
        )
        limits = [LOWEST, *(part.upper for part in one.ranges)]
        lines += [
            f'- name: "{one.name}"',
            f"  composition: {{{composition}}}",
            "  thermo:",
            "    model: NASA9",
            "    reference-pressure: 1 bar",
            f"    temperature-ranges: {limits}",
            "    data:",
            *(f"    - {nasa9(part)}" for part in one.ranges),
        ]
    return "\n".join(lines) + "\n"


def _moles(amounts: dict[str, float]) -> tuple[float, ...]:
    return tuple(amounts.get(name, 0.0) for name in NAMES)


def heated(count: int = 400) -> list[GasState]:
    """Give mixtures at temperatures and pressures of their own."""
    draw = random.Random(53).uniform
    return [
        GasState(
            draw(800.0, 3200.0),
            10.0 ** draw(-1.0, 1.5),
            _moles(
                {name: draw(0.05, 1.0) for name in ("CH4", "C2H4", "CO", "H2", "NH3")}
                | {"O2": draw(0.3, 6.0), "N2": draw(0.5, 10.0), "Ar": draw(0.01, 0.1)}
            ),
        )
        for _ in range(count)
    ]


def burnt(count: int = 400) -> list[GasState]:
    """Give fuels with air, lean and rich, before they burn."""
    draw = random.Random(45).uniform
    states = []
    for _ in range(count):
        fuel = {"CH4": draw(0.1, 1.0), "C3H8": draw(0.0, 0.3), "H2": draw(0.0, 1.0)}
        needed = 2.0 * fuel["CH4"] + 5.0 * fuel["C3H8"] + 0.5 * fuel["H2"]
        oxygen = needed * draw(0.6, 2.0)
        air = {"O2": oxygen, "N2": 3.73 * oxygen, "Ar": 0.045 * oxygen}
        states.append(GasState(draw(298.15, 900.0), 10.0 ** draw(-0.5, 1.5), _moles(fuel | air)))
    return states
