"""Answers over several data files, confirmed by a checker that shares nothing with the engine.

The checker itself is shown to see what it is there for: answers that are wrong in one respect.
"""

import random

import pytest
from dat_evaluator import R
from loaded_files import FILES, Loaded

from tessara import basic, core
from tessara.core import Status


@pytest.fixture
def loaded():
    yield Loaded
    basic.configure(core.ConfigurationOption.COMPOSITION_SETS, True)
    basic.hxini()


def drawn(draw, components):
    """Amounts of components: some absent, some traces."""
    kinds = draw.choices(("ordinary", "trace", "absent"), weights=(6, 2, 1), k=len(components))
    size = {
        "ordinary": lambda: draw.uniform(0.05, 1.0),
        "trace": lambda: 10.0 ** draw.uniform(-12, -3),
        "absent": lambda: 0.0,
    }
    amounts = {c: size[kind]() for c, kind in zip(components, kinds, strict=True)}
    return amounts if any(n > 0.01 for n in amounts.values()) else {**amounts, components[0]: 1.0}


def confirm(name, points, seed):
    system = Loaded(name)
    draw = random.Random(seed)
    for _ in range(points):
        amounts = drawn(draw, system.components)
        T, P = draw.uniform(300.0, 2500.0), 10.0 ** draw.uniform(-3, 2)
        findings = system.checker.check(system.solve(T, P, amounts, draw.random() < 0.5))
        assert not findings.faults, (T, P, amounts)


@pytest.mark.parametrize("name", FILES)
def test_answers_are_confirmed(loaded, name):
    confirm(name, 6, 1)


@pytest.mark.long
@pytest.mark.parametrize("name", FILES)
def test_many_answers_are_confirmed(loaded, name):
    confirm(name, 400, 2)


# Answers that are wrong in one respect.


@pytest.fixture
def alloy(loaded):
    """Al-Mg-Si with several phases, and the answer."""
    system = loaded("al_mg_si")
    answer = system.solve(600.0, 1.0, {"Al": 0.8, "Mg": 0.1, "Si": 0.1})
    assert len(answer.sets) > 1
    assert system.checker.check(answer).faults == []
    return system, answer


@pytest.mark.parametrize("change", [1e-10, -1e-10])
def test_checker_sees_an_amount_that_is_off(alloy, change):
    system, answer = alloy
    for _, moles in answer.sets:
        largest = moles.index(max(moles))
        right = moles[largest]
        moles[largest] *= 1 + change
        assert any("balance" in fault for fault in system.checker.check(answer).faults)
        moles[largest] = right


@pytest.mark.parametrize("change", [1e-7, -1e-7])
def test_checker_sees_a_potential_that_is_off(alloy, change):
    system, answer = alloy
    for component in system.components:
        right = answer.potentials[component]
        answer.potentials[component] += change * R * answer.T
        assert any("off the tangent" in fault for fault in system.checker.check(answer).faults)
        answer.potentials[component] = right


def test_checker_sees_each_phase_that_is_kept_from_forming(alloy):
    system, answer = alloy
    for name in dict.fromkeys(name for name, _ in answer.sets):
        place = system.phases.index(name)
        basic.hxcsp(place, Status.DORMANT)
        held = system.solve(600.0, 1.0, {"Al": 0.8, "Mg": 0.1, "Si": 0.1})
        basic.hxcsp(place, Status.ENTERED)
        faults = system.checker.check(held).faults
        assert any(name in fault and "below the tangent" in fault for fault in faults)


def test_checker_sees_a_phase_that_should_have_unmixed(loaded):
    system = loaded("al_zn")
    amounts = {"Al": 0.6, "Zn": 0.4}
    assert system.checker.check(system.solve(575.0, 1.0, amounts)).faults == []
    assert sum(name == "FCC_A1" for name, _ in system.answer(575.0, 1.0, amounts).sets) == 2
    basic.configure(core.ConfigurationOption.COMPOSITION_SETS, False)
    whole = system.solve(575.0, 1.0, amounts)
    assert sum(name == "FCC_A1" for name, _ in whole.sets) == 1
    assert any("below the tangent" in fault for fault in system.checker.check(whole).faults)
