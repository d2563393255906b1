"""Members of the enumerations, and how they behave."""

import copy
import enum
import pickle

import pytest

from tessara import core

MEMBERS = {
    "IoOption": "ERROR LIST",
    "Quantity": "Pressure Volume Temperature Energy Amount",
    "PressureUnit": "bar Pa kPa MPa atm psi torr",
    "VolumeUnit": "dm3 m3 cm3 ft3 in3",
    "TemperatureUnit": "K C F",
    "EnergyUnit": "J kJ MJ cal kcal BTU kWh",
    "AmountUnit": "mol gram kg tonne pound",
    "Status": "ENTERED DORMANT ELIMINATED",
    "SolutionModel": "PURE IDMX RKMP RKMPM QKTO SUBL SUBLM SUBM SUBI SUBG SUBQ",
    "ConditionVariable": "P VT T CP H S G V A IA AC MU AT XT",
    "TargetVariable": "NoTarget P V T IA0 IA",
    "PhaseMapVariable": "TF TN PF PN IA0 IAF IAN",
    "ResultVariable": "P VT T A AP X XP IA AC MU CP H S G V CPM HM SM GM VM",
    "StreamVariable": "CP H S G V",
    "PhaseConstituentVariable": "A IA AC MU X CP H S G V CPM HM SM GM VM",
    "PhaseConstituentData": "CP H S G H298 S298 TC BETA T_MAX",
    "InteractionVariable": "G TC BETA",
    "ConfigurationOption": "ITERATION_LIMIT COMPOSITION_SETS SAMPLING",
}
EVERY_MEMBER = [member for name in MEMBERS for member in getattr(core, name)]


@pytest.mark.parametrize("name", MEMBERS)
def test_enumeration_has_its_members(name):
    assert [member.name for member in getattr(core, name)] == MEMBERS[name].split()


@pytest.mark.parametrize("name", MEMBERS)
def test_enumeration_is_an_ordinary_one(name):
    cls = getattr(core, name)
    assert type(cls) is enum.EnumType
    assert all(type(member) is cls for member in cls)
    assert all(cls[member.name] is member for member in cls)


@pytest.mark.parametrize("name", MEMBERS)
def test_docstring_tells_the_meaning_of_each_member(name):
    cls = getattr(core, name)
    for member in cls:
        assert f"{member.name}: {member.value}" in cls.__doc__


def test_eliminate_is_another_name_of_eliminated():
    assert core.Status["ELIMINATE"] is core.Status.ELIMINATED


def test_eliminate_stands_in_the_docstring():
    assert "ELIMINATE: " in core.Status.__doc__


@pytest.mark.parametrize("member", EVERY_MEMBER, ids=str)
def test_member_survives_pickling_as_itself(member):
    for protocol in range(pickle.HIGHEST_PROTOCOL + 1):
        assert pickle.loads(pickle.dumps(member, protocol)) is member


def test_pickled_member_does_not_hold_its_phrase():
    assert b"equilibrium" not in pickle.dumps(core.Status.ENTERED)


@pytest.mark.parametrize("member", EVERY_MEMBER, ids=str)
def test_member_survives_copying_as_itself(member):
    assert copy.copy(member) is member
    assert copy.deepcopy(member) is member
