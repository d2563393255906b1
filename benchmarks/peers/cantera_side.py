"""The states of the gas through Cantera."""

from __future__ import annotations

from collections.abc import Callable, Sequence

import cantera
import numpy as np

from peers.gases import BAR, GasState


def fractions(text: str, states: Sequence[GasState]) -> Callable[[], list[np.ndarray]]:
    """Give a function that solves all states at their T and P."""
    gas = cantera.Solution(yaml=text)
    prepared = _prepared(states)

    def run() -> list[np.ndarray]:
        answers = []
        for state in prepared:
            gas.TPX = state
            gas.equilibrate("TP")
            answers.append(gas.X)
        return answers

    return run


def flames(text: str, states: Sequence[GasState]) -> Callable[[], list[tuple[float, np.ndarray]]]:
    """Give a function for the adiabatic temperature of all states and what is there then."""
    gas = cantera.Solution(yaml=text)
    prepared = _prepared(states)

    def run() -> list[tuple[float, np.ndarray]]:
        answers = []
        for state in prepared:
            gas.TPX = state
            gas.equilibrate("HP")
            answers.append((gas.T, gas.X))
        return answers

    return run


def _prepared(states: Sequence[GasState]) -> list[tuple[float, float, np.ndarray]]:
    return [(state.T, state.P * BAR, np.array(state.moles)) for state in states]
