"""The states of an alloy through pycalphad, all of them in one call, as it is fastest."""

from __future__ import annotations

import warnings
from collections.abc import Callable

import numpy as np

from peers import alloys
from peers.alloys import Alloy
from peers.gases import BAR, GAS_CONSTANT

with warnings.catch_warnings():
    warnings.simplefilter("ignore")
    from pycalphad import Database, equilibrium, variables
    from pycalphad.codegen.phase_record_factory import PhaseRecordFactory
    from pycalphad.core.utils import instantiate_models

# The same gas constant on both sides, so that the energies agree beyond its rounding.
variables.R = GAS_CONSTANT


def energies(alloy: Alloy) -> Callable[[], list[tuple[float, np.ndarray]]]:
    """Give a function for G and the potentials of the elements, J/mol, in all states.

    The models are built beforehand: that is done once for any number of states.
    """
    database = Database.from_string(alloys.write(alloy, ".tdb"), fmt="tdb")
    elements = [component.name.upper() for component in alloys.system(alloy).components]
    components = [*elements, "VA"]
    phases = list(database.phases)
    models = instantiate_models(database, components, phases)
    state_variables = [variables.N, variables.P, variables.T]
    records = PhaseRecordFactory(database, components, state_variables, models)
    conditions = {variables.T: list(alloy.temperatures), variables.P: BAR, variables.N: 1.0}
    for element, shares in zip(elements[1:], alloy.shares, strict=True):
        conditions[variables.X(element)] = list(shares)

    def run() -> list[tuple[float, np.ndarray]]:
        with warnings.catch_warnings():
            warnings.simplefilter("ignore")
            found = equilibrium(
                database, components, phases, conditions, model=models, phase_records=records
            )
        order = [list(found.component.values).index(element) for element in elements]
        potentials = found.MU.values.reshape(-1, len(elements))[:, order]
        return list(zip(found.GM.values.ravel(), potentials, strict=True))

    return run
