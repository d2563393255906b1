"""The shipped data file, loaded through the class interface over the package's own library."""

from collections.abc import Mapping

import pytest

import tessara.data
from tessara import basic
from tessara.friendly import EquilibriumCalculation, ThermochemicalSystem


class Bench:
    """Conditions and results by name. A place is a pure phase, a gas species or PHASE:SPECIES."""

    def __init__(self):
        self.phases = [basic.hxgnp(i) for i in range(basic.hxnop())]
        self.constituents = {
            phase: [basic.hxgnpc(i, k) for k in range(basic.hxnopc(i))]
            for i, phase in enumerate(self.phases)
        }
        self.components = [basic.hxgnsc(i) for i in range(basic.hxnosc())]

    def place(self, name: str) -> tuple[str, str]:
        if name in self.constituents:
            return name, name
        phase, _, constituent = name.rpartition(":")
        return phase or "GAS", constituent

    def solve(self, inputs: Mapping[str, float], T: float, P: float = 1.0, **how: bool):
        EquilibriumCalculation.remove_eq_conditions_all()
        EquilibriumCalculation.set_eq_T(T)
        EquilibriumCalculation.set_eq_P(P)
        for name, amount in inputs.items():
            EquilibriumCalculation.set_IA_pc(*self.place(name), amount)
        EquilibriumCalculation.calculate_eq(**how)
        return self

    def pc(self, quantity: str, name: str) -> float:
        return getattr(EquilibriumCalculation, f"get_eq_{quantity}_pc")(*self.place(name))

    def ph(self, quantity: str, name: str) -> float:
        return getattr(EquilibriumCalculation, f"get_eq_{quantity}_ph")(name)

    def stable(self) -> list[str]:
        return [phase for phase in self.phases if self.ph("A", phase) > 0.0]


@pytest.fixture
def bench():
    ThermochemicalSystem.load(tessara.data.path("ironmaking"))
    return Bench()
