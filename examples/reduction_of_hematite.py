"""Reduction of hematite by carbon and by carbon monoxide at blast-furnace temperatures.

One mole of Fe2O3 meets a reductant at 1 bar. At each temperature the equilibrium says which solids
stand, what the gas consists of, how reducing it is, and how much heat the reaction takes up when
everything comes in at 25 °C.

    python examples/reduction_of_hematite.py
"""

from __future__ import annotations

from math import log10

import tessara.data
from tessara.friendly import EquilibriumCalculation, ThermochemicalSystem

ROOM_TEMPERATURE = 298.15  # K
HEMATITE = "Fe2O3(hematite)"
GRAPHITE = "C(gr)"
CONDENSED = (
    HEMATITE,
    "Fe3O4(magnetite)",
    "Fe0.947O(wustite)",
    "Fe(bcc)",
    "Fe(fcc)",
    "Fe3C(cementite)",
    "LIQUID_IRON",
    GRAPHITE,
)

Place = tuple[str, str]  # a phase and a constituent in it
Cell = tuple[str, str]  # a column's heading and the text below it


def equilibrium(inputs: dict[Place, float], temperature: float) -> None:
    """Work out the equilibrium of the amounts `inputs`, in mol, at `temperature`, in K."""
    EquilibriumCalculation.remove_eq_conditions_all()
    EquilibriumCalculation.set_eq_T(temperature)
    EquilibriumCalculation.set_eq_P(1.0)
    for (phase, constituent), amount in inputs.items():
        EquilibriumCalculation.set_IA_pc(phase, constituent, amount)
    EquilibriumCalculation.calculate_eq()


def enthalpy_at_room_temperature(inputs: dict[Place, float]) -> float:
    """Give the enthalpy, in J, of the amounts `inputs` before anything has reacted."""
    equilibrium(inputs, ROOM_TEMPERATURE)
    return sum(
        amount * EquilibriumCalculation.get_eq_HM_pc(*place) for place, amount in inputs.items()
    )


def phases() -> list[Cell]:
    """Amounts of the phases in mol; in brackets the activity of a phase that is not there."""
    cells = []
    for phase in ("GAS", *CONDENSED):
        amount = EquilibriumCalculation.get_eq_A_ph(phase)
        activity = EquilibriumCalculation.get_eq_AC_ph(phase)
        cells.append((phase, f"{amount:.4f}" if amount > 0 else f"({activity:.1e})"))
    return cells


def gas(heat: float) -> list[Cell]:
    """Composition of the gas and its power to reduce; `heat` in J."""
    get_eq_AC_pc = EquilibriumCalculation.get_eq_AC_pc
    co, co2, oxygen = (get_eq_AC_pc("GAS", species) for species in ("CO", "CO2", "O2"))
    carbon = EquilibriumCalculation.get_eq_AC_sc("C")
    return [
        ("p(CO)/bar", f"{co:.4f}"),
        ("p(CO2)/bar", f"{co2:.4f}"),
        ("CO/CO2", f"{co / co2:.3g}"),
        ("log10 p(O2)/bar", f"{log10(oxygen):.2f}"),
        ("a(C)", f"{carbon:.4f}"),
        ("V/dm3", f"{EquilibriumCalculation.get_eq_V():.1f}"),
        ("heat/kJ", f"{heat / 1000:.1f}"),
        ("G/kJ", f"{EquilibriumCalculation.get_eq_G() / 1000:.1f}"),
    ]


def print_table(title: str, rows: list[list[Cell]]) -> None:
    """Print `rows` below the headings that they share."""
    headings = [heading for heading, _ in rows[0]]
    widths = [
        max(len(heading), *(len(row[i][1]) for row in rows)) for i, heading in enumerate(headings)
    ]
    print(f"\n{title}")
    print("  ".join(f"{heading:>{width}}" for heading, width in zip(headings, widths, strict=True)))
    for row in rows:
        print("  ".join(f"{text:>{width}}" for (_, text), width in zip(row, widths, strict=True)))


def reduce(title: str, inputs: dict[Place, float], temperatures: list[float]) -> None:
    """Print what becomes of the amounts `inputs`, in mol, at each of `temperatures`, in K."""
    enthalpy_before = enthalpy_at_room_temperature(inputs)
    amounts: list[list[Cell]] = []
    gases: list[list[Cell]] = []
    for temperature in temperatures:
        equilibrium(inputs, temperature)
        heat = EquilibriumCalculation.get_eq_H() - enthalpy_before
        heading = ("T/K", f"{temperature:g}")
        amounts.append([heading, *phases()])
        gases.append([heading, *gas(heat)])
    print(f"\n{title}\n{'=' * len(title)}")
    print_table("Phases: amount in mol, or (activity) where the phase is not stable", amounts)
    print_table("Gas; heat taken up from 25 °C on; Gibbs energy of everything", gases)


def main() -> None:
    """Print the tables of both reductants."""
    ThermochemicalSystem.load(tessara.data.path("ironmaking"))
    carbon = {(HEMATITE, HEMATITE): 1.0, (GRAPHITE, GRAPHITE): 3.0}
    reduce(
        "Fe2O3 + 3 C at 1 bar", carbon, [800, 900, 950, 1000, 1050, 1100, 1200, 1400, 1600, 1800]
    )
    monoxide = {(HEMATITE, HEMATITE): 1.0, ("GAS", "CO"): 9.0}
    reduce("Fe2O3 + 9 CO at 1 bar", monoxide, [700, 800, 900, 1000, 1100, 1200, 1400, 1600, 1800])
    print(
        "\nCrystals of iron are pure in this data file: where Fe3C(cementite) is beside Fe(fcc),"
        "\nreal iron would take up the carbon as austenite."
    )


if __name__ == "__main__":
    main()
