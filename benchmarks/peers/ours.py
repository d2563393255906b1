"""The states of the tables through `tessara.friendly`, as one writes it for many of them."""

from __future__ import annotations

from collections.abc import Callable, Sequence
from pathlib import Path

from peers.alloys import Alloy
from peers.gases import GasState
from tessara.friendly import EquilibriumCalculation, StreamCalculation, ThermochemicalSystem

GAS = 0
FLAME_GUESS = 2000.0

Fractions = list[float]


def load(path: Path) -> None:
    ThermochemicalSystem.load(path)


def gas_fractions(states: Sequence[GasState]) -> Callable[[], list[Fractions]]:
    """Give a function that solves all states at their T and P."""
    calculation = EquilibriumCalculation
    places = _places(states)

    def run() -> list[Fractions]:
        answers = []
        for state in states:
            calculation.set_eq_T(state.T)
            calculation.set_eq_P(state.P)
            for place in places:
                calculation.set_IA_pc(GAS, place, state.moles[place])
            calculation.calculate_eq()
            answers.append(_fractions(calculation.get_eq_A_pcs_in_ph(GAS)))
        return answers

    return run


def flames(states: Sequence[GasState]) -> Callable[[], list[tuple[float, Fractions]]]:
    """Give a function that finds the adiabatic temperature of all states and what is there then."""
    calculation = StreamCalculation
    places = _places(states)

    def run() -> list[tuple[float, Fractions]]:
        answers = []
        for state in states:
            calculation.remove_sts()
            calculation.create_st("reactants", state.T, state.P)
            for place in places:
                calculation.set_IA_pc("reactants", GAS, place, state.moles[place])
            calculation.set_eq_P(state.P)
            calculation.set_eq_H(0.0)
            calculation.calculate_eq_T(FLAME_GUESS)
            amounts = calculation.get_eq_A_pcs_in_ph(GAS)
            answers.append((calculation.get_eq_T(), _fractions(amounts)))
        return answers

    return run


def alloy_energies(alloy: Alloy) -> Callable[[], list[tuple[float, Fractions]]]:
    """Give a function for G and the potentials of the elements, J/mol, in all states."""
    calculation = EquilibriumCalculation

    def run() -> list[tuple[float, Fractions]]:
        answers = []
        for T, shares in alloy.states:
            calculation.set_eq_T(T)
            calculation.set_IA_sc(0, 1.0 - sum(shares))
            for element, share in enumerate(shares, start=1):
                calculation.set_IA_sc(element, share)
            calculation.calculate_eq()
            answers.append((calculation.get_eq_G(), calculation.get_eq_MU_scs()))
        return answers

    return run


def _places(states: Sequence[GasState]) -> list[int]:
    return [place for place, moles in enumerate(states[0].moles) if moles]


def _fractions(amounts: Sequence[float]) -> Fractions:
    total = sum(amounts)
    return [amount / total for amount in amounts]
