"""What `tessara.core` offers, and what it needs."""

import doctest
import importlib
import subprocess
import sys
from pathlib import Path

import pytest

import tessara.core as core

INTERFACE = """
    get_error_info_dict TessaraPyError TessaraError ErrorStrings TessaraInfo
    ThermochemicalSystemConfig Status SolutionModel switch_components Composition PhaseConfig
    PhaseConstituentConfig SystemComponentConfig EquilibriumCalculationResult
    StreamCalculationResult PhaseConstituentIncomingAmountState ChemicalFormulaIncomingAmountState
    SystemComponentIncomingAmountState StreamState PhaseState PhaseConstituentState
    SystemComponentState ConfigurationOption IoOption Quantity PressureUnit VolumeUnit
    TemperatureUnit EnergyUnit AmountUnit ConditionVariable TargetVariable PhaseMapVariable
    ResultVariable PhaseConstituentVariable StreamVariable PhaseConstituentData
    InteractionVariable
"""
NAMES = INTERFACE.split()


def imported_by_core() -> set[str]:
    """Modules that a bare interpreter imports for `tessara.core` and does not hold before."""
    source = Path(core.__file__).parents[2]
    code = (
        f"import sys; sys.path.insert(0, {str(source)!r}); before = set(sys.modules); "
        "import tessara.core; print(*(set(sys.modules) - before))"
    )
    run = subprocess.run(
        [sys.executable, "-I", "-S", "-c", code], capture_output=True, text=True, check=True
    )
    return set(run.stdout.split())


def test_interface_imports_thirty_eight_names():
    assert len(set(NAMES)) == 38


@pytest.mark.parametrize("name", NAMES)
def test_name_is_there(name):
    assert name in core.__all__
    assert getattr(core, name) is not None


@pytest.mark.parametrize("name", core.__all__)
def test_public_name_is_documented(name):
    value = getattr(core, name)
    if not isinstance(value, (dict, frozenset)):
        assert value.__doc__


def test_only_the_standard_library_is_imported():
    foreign = {
        name
        for name in imported_by_core()
        if name.partition(".")[0] not in {*sys.stdlib_module_names, "tessara"}
    }
    assert foreign == set()


def test_no_other_part_of_tessara_is_imported():
    own = {name for name in imported_by_core() if name.startswith("tessara.")}
    assert all(name == "tessara.core" or name.startswith("tessara.core.") for name in own)


def test_slow_modules_are_not_imported():
    # Each of these takes about as long as the whole package.
    slow = {"dataclasses", "decimal", "fractions", "html", "inspect", "re", "typing"}
    assert imported_by_core().isdisjoint(slow)


def test_examples_in_docstrings_hold():
    outcome = doctest.testmod(importlib.import_module("tessara.core.composition"))
    assert outcome.attempted > 0
    assert outcome.failed == 0
