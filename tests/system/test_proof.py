"""Each result proved by code that shares nothing with the engine.

The evaluator of `tests/support` reads the data file by itself. From it and from the amounts and
potentials that the classes give follow the balances, the equality of potentials in what is stable,
the driving force of everything that is not, and the sums of the system's properties.
"""

import math

import pytest

from tessara.friendly import EquilibriumCalculation

R = 8.314462618

INPUTS = {
    "hematite, carbon, some CO2": {"Fe2O3(hematite)": 1.0, "C(gr)": 2.7, "CO2": 0.1},
    "hematite and CO": {"Fe2O3(hematite)": 1.0, "CO": 5.0},
    "iron ore, coke, limestone, air": {
        "Fe2O3(hematite)": 1.0,
        "C(gr)": 2.5,
        "CaCO3(calcite)": 0.3,
        "SiO2(low-quartz)": 0.2,
        "Al2O3(corundum)": 0.05,
        "MgO(periclase)": 0.1,
        "O2": 0.5,
        "N2": 2.0,
    },
    "steam on iron": {"Fe(bcc)": 1.0, "H2O": 2.0},
    "limestone and a trace of iron": {"CaCO3(calcite)": 1.0, "Fe(bcc)": 1e-9, "N2": 1e-6},
    "methane and air": {"CH4": 1.0, "O2": 2.1, "N2": 7.9},
    "carbon-saturated iron": {"Fe(bcc)": 1.0, "C(gr)": 0.3, "H2": 1e-4, "O2": 1e-7},
}
TEMPERATURES = [200.0, 298.15, 500.0, 800.0, 1000.0, 1184.0, 1400.0, 1809.0, 2200.0, 3500.0, 6000.0]


def melt_driving_force(file, T, potentials, steps=2000):
    """The greatest driving force of the melt over R T, from a grid that is refined."""
    species, _ = file.solutions["LIQUID_IRON"]
    affinity = {
        name: sum(n * potentials[c] for c, n in species[name].amounts.items()) for name in species
    }

    def force(x_C):
        x = {"C": x_C, "Fe": 1.0 - x_C}
        return sum(
            x[name] * (affinity[name] - file.chemical_potential("LIQUID_IRON", name, x, T))
            for name in x
        ) / (R * T)

    grid = [10.0 ** (-12 + 12 * k / steps) for k in range(steps)]
    best = max(grid, key=force)
    width = best * (10 ** (12 / steps) - 1)
    for _ in range(200):
        width *= 0.8
        best = max((min(max(best + d, 1e-300), 1 - 1e-16) for d in (-width, 0.0, width)), key=force)
    return force(best)


@pytest.mark.parametrize("T", TEMPERATURES)
@pytest.mark.parametrize("P", [1e-3, 1.0, 50.0])
@pytest.mark.parametrize("inputs", INPUTS.values(), ids=INPUTS)
def test_result_is_the_equilibrium(bench, ironmaking, inputs, T, P):
    file = ironmaking
    bench.solve(inputs, T, P)

    records = {}
    for phase, constituents in bench.constituents.items():
        for name in constituents:
            key = {"GAS": name, "LIQUID_IRON": f"LIQUID_IRON:{name}"}.get(phase, name)
            records[phase, name] = file.find(key)
    amounts = dict(zip(records, EquilibriumCalculation.get_eq_A_pcs(), strict=True))
    potentials = dict(zip(bench.components, EquilibriumCalculation.get_eq_MU_scs(), strict=True))

    # Balances, on terms that are not rounded on the way.
    for component in bench.components:
        terms = [
            records[bench.place(name)].amounts.get(component, 0.0) * amount
            for name, amount in inputs.items()
        ]
        terms += [
            -records[place].amounts.get(component, 0.0) * amount
            for place, amount in amounts.items()
        ]
        size = math.fsum(map(abs, terms))
        assert abs(math.fsum(terms)) <= 1e-12 * size
        if size == 0.0:
            assert math.isnan(potentials[component])

    present = {c for name in inputs for c in records[bench.place(name)].amounts}
    assert all(not math.isnan(potentials[c]) for c in present)

    def affinity(record):
        return math.fsum(n * potentials[c] for c, n in record.amounts.items())

    def size(record):
        return math.fsum(abs(n * potentials[c]) for c, n in record.amounts.items())

    RT = R * T
    gibbs = 0.0
    for phase, constituents in bench.constituents.items():
        possible = [n for n in constituents if set(records[phase, n].amounts) <= present]
        if not possible:
            assert bench.ph("A", phase) == 0.0
            continue
        total = bench.ph("A", phase)
        if phase == "GAS":
            # The fractions that the potentials ask for: their sum is 1 where there is gas.
            wanted = {
                name: math.exp((affinity(records[phase, name]) - records[phase, name].G(T)) / RT)
                / P
                for name in possible
            }
            if total > 0.0:
                assert math.fsum(wanted.values()) == pytest.approx(1.0, rel=1e-9)
                for name, x in wanted.items():
                    assert amounts[phase, name] == pytest.approx(total * x, rel=1e-8, abs=1e-300)
            else:
                assert math.fsum(wanted.values()) <= 1.0 + 1e-9
        elif phase == "LIQUID_IRON":
            if total > 0.0:
                x = {name: amounts[phase, name] / total for name in constituents}
                for name in possible:
                    if x[name] > 0.0 and len(possible) == 2:
                        expected = file.chemical_potential(phase, name, x, T)
                        record = records[phase, name]
                        assert affinity(record) == pytest.approx(
                            expected, rel=0, abs=1e-9 * RT + 1e-13 * size(record)
                        )
            elif len(possible) == 2:
                assert melt_driving_force(file, T, potentials) <= 1e-9
        else:
            record = records[phase, phase]
            force = affinity(record) - record.G(T)
            slack = 1e-9 * RT + 1e-13 * (size(record) + abs(record.G(T)))
            assert force <= slack
            assert total == 0.0 or abs(force) <= slack
        gibbs += math.fsum(
            amounts[phase, name] * affinity(records[phase, name]) for name in possible
        )

    assert EquilibriumCalculation.get_eq_G() == pytest.approx(gibbs, rel=1e-12)
    H, S = EquilibriumCalculation.get_eq_H(), EquilibriumCalculation.get_eq_S()
    assert pytest.approx(gibbs, rel=1e-11) == H - T * S
    if bench.ph("A", "LIQUID_IRON") == 0.0:
        enthalpy = math.fsum(n * records[place].H(T) for place, n in amounts.items() if n > 0.0)
        heat_capacity = math.fsum(
            n * records[place].Cp(T) for place, n in amounts.items() if n > 0.0
        )
        assert pytest.approx(enthalpy, rel=1e-11, abs=1e-6) == H
        assert EquilibriumCalculation.get_eq_Cp() == pytest.approx(heat_capacity, rel=1e-9)
    volume = bench.ph("A", "GAS") * RT / (P * 1e5) * 1e3
    assert EquilibriumCalculation.get_eq_V() == pytest.approx(volume, rel=1e-12)
