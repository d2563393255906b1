"""`StreamCalculation` over the package's own library."""

import math

import pytest

from tessara import basic
from tessara.core import (
    ResultVariable,
    StreamCalculationResult,
    StreamState,
    StreamVariable,
    TargetVariable,
    TessaraError,
    get_error_info_dict,
)
from tessara.friendly import EquilibriumCalculation, StreamCalculation

ORE = {("Fe2O3(hematite)", "Fe2O3(hematite)"): 1.0}
GAS = {("GAS", "CO"): 4.0, ("GAS", "N2"): 2.0}
INPUTS = {"Fe2O3(hematite)": 1.0, "CO": 4.0, "N2": 2.0}
EXTENSIVE = ("Cp", "H", "S", "G", "V")


@pytest.fixture(autouse=True)
def no_streams(bench):
    StreamCalculation.streams.clear()
    yield
    StreamCalculation.streams.clear()


def stream(name, amounts):
    StreamCalculation.create_st(name, 298.15, 1.0)
    for (ph, pc), value in amounts.items():
        StreamCalculation.set_IA_pc(name, ph, pc, value)
    return StreamCalculation.streams[name]


# What the library refuses.


@pytest.mark.parametrize(
    ("call", "words"),
    [
        (lambda: StreamCalculation.create_st("ore", 0.0, 1.0), "temperature of the stream 'ore'"),
        (lambda: StreamCalculation.create_st("ore", 300.0, -1.0), "pressure of the stream 'ore'"),
        (lambda: StreamCalculation.create_st("", 300.0, 1.0), "must have a name"),
        (lambda: StreamCalculation.remove_st("ore"), "no stream named 'ore'"),
        (lambda: StreamCalculation.set_IA_pc("ore", "GAS", "CO", 1.0), "no stream named 'ore'"),
        (lambda: StreamCalculation.get_st_H("ore"), "no stream named 'ore'"),
    ],
)
def test_library_refuses_in_words(call, words):
    with pytest.raises(TessaraError, match=words) as refusal:
        call()
    assert StreamCalculation.streams == {}
    assert get_error_info_dict()["text"] in str(refusal.value)


def test_removal_of_all_streams_finds_none():
    StreamCalculation.streams["left over"] = None
    assert StreamCalculation.remove_sts() is None
    assert StreamCalculation.streams == {}


def test_reaction_that_is_refused_has_removed_the_conditions(bench):
    bench.solve(INPUTS, 1000.0)
    with pytest.raises(TessaraError):
        StreamCalculation.stream_reaction_result([])
    with pytest.raises(TessaraError):
        EquilibriumCalculation.calculate_eq()


@pytest.mark.parametrize(
    "call",
    [
        lambda: StreamCalculation.set_eq_A_ph("no phase", 1.0),
        lambda: StreamCalculation.set_IA_pc("ore", "no phase", "-", 1.0),
        lambda: StreamCalculation.set_IA_pc("ore", "GAS", "-", 1.0),
        lambda: StreamCalculation.set_target_precipitation_from_ph("no phase"),
        lambda: StreamCalculation.calculate_eq_IA([("no phase", "-", 0.0, 1.0)]),
    ],
)
def test_unknown_names_are_key_errors(call):
    with pytest.raises(KeyError):
        call()


# What needs no streams.


def test_conditions_of_absolute_calculations_hold_here_too(bench):
    bench.solve(INPUTS, 1100.0)
    expected = EquilibriumCalculation.get_eq_A_phs()
    assert StreamCalculation.calculate_eq() is None
    assert StreamCalculation.get_eq_A_phs() == expected
    assert StreamCalculation.dt == StreamCalculation.t_end - StreamCalculation.t_start


def test_listing_is_printed(bench, capsys):
    bench.solve(INPUTS, 1100.0)
    StreamCalculation.calculate_eq(print_results=True)
    assert "Phases" in capsys.readouterr().out


def test_searches_without_a_requirement_are_refused(bench):
    bench.solve(INPUTS, 1100.0)
    for call in (
        lambda: StreamCalculation.calculate_eq_T(1000.0),
        lambda: StreamCalculation.calculate_eq_P(1.0),
        lambda: StreamCalculation._calculate_eq(TargetVariable.T, 1000.0, 0),
        lambda: StreamCalculation.calculate_eq_IA([("GAS", "CO", 0.0, 1.0)]),
    ):
        with pytest.raises(TessaraError):
            call()
    assert StreamCalculation.t_end is None


def test_library_takes_the_members_that_a_search_asks_with(bench):
    bench.solve(INPUTS, 1100.0)
    for name in ("P", "V", "T"):
        found = basic.hxgetr(TargetVariable[name], -1, -1)
        assert found == basic.hxgetr(ResultVariable[name], -1, -1)


# Reactions of streams.


def test_streams_react_as_their_amounts_do(bench):
    ore, gas = stream("ore", ORE), stream("gas", GAS)
    result = StreamCalculation.stream_reaction_result([ore, gas], 1100.0)
    assert type(result) is StreamCalculationResult
    assert (result.T, result.P) == (1100.0, 1.0)

    bench.solve(INPUTS, 1100.0)
    for name, phase in result.phs.items():
        assert pytest.approx(bench.ph("A", name), rel=1e-10, abs=1e-300) == phase.A
    for field in EXTENSIVE:
        absolute = getattr(EquilibriumCalculation, f"get_eq_{field}")()
        assert getattr(result, field) == pytest.approx(absolute, rel=1e-10)
        brought = sum(
            getattr(StreamCalculation, f"get_st_{field}")(name) for name in ("ore", "gas")
        )
        assert getattr(result, f"d{field}") == pytest.approx(absolute - brought, rel=1e-8)
        assert getattr(result, field) == getattr(result, f"{field}M") * result.A


def test_library_and_dict_stay_in_step(bench):
    stream("ore", ORE)
    stream("gas", GAS)
    StreamCalculation.set_IA_pc("gas", 0, bench.constituents["GAS"].index("CO"), 5.0)
    StreamCalculation.set_IA_pc("ore", "Fe2O3(hematite)", "", 2.0)
    assert list(StreamCalculation.streams) == ["ore", "gas"]
    for state in StreamCalculation.streams.values():
        assert type(state) is StreamState
        assert math.fsum(A_pc.A for A_pc in state.A_pcs) == state.A
    assert basic.hxgetr(ResultVariable.IA, 0, bench.constituents["GAS"].index("CO")) == 5.0
    StreamCalculation.remove_st("ore")
    assert list(StreamCalculation.streams) == ["gas"]
    hematite = bench.phases.index("Fe2O3(hematite)")
    assert basic.hxgetr(ResultVariable.IA, hematite, 0) == 0.0
    StreamCalculation.remove_sts()
    assert StreamCalculation.streams == {}
    assert basic.hxgetr(ResultVariable.IA, 0, bench.constituents["GAS"].index("CO")) == 0.0


def test_total_keeps_the_composition(bench):
    gas = stream("gas", GAS)
    StreamCalculation.set_st(gas, "twice", 2.0 * gas.A)
    twice = StreamCalculation.streams["twice"]
    assert twice.A == 12.0
    assert [A_pc.A for A_pc in twice.A_pcs] == [8.0, 4.0]
    StreamCalculation.set_st(twice, A=0.0)
    assert StreamCalculation.streams["twice"].A == 0.0
    with pytest.raises(ZeroDivisionError):
        StreamCalculation.set_st(StreamCalculation.streams["twice"], A=1.0)


def test_streams_of_a_result_react_again(bench):
    first = StreamCalculation.stream_reaction_result([stream("ore", ORE), stream("gas", GAS)], 1100)
    second = StreamCalculation.stream_reaction_result(first.streams.values(), 1100)
    assert second.H == first.H
    assert second.streams["ore"] is not first.streams["ore"]
    assert {name: phase.A for name, phase in second.phs.items()} == {
        name: phase.A for name, phase in first.phs.items()
    }


def test_properties_of_streams_stand_in_their_states(bench):
    ore = stream("ore", ORE)
    StreamCalculation.set_eq_T(1000.0)
    StreamCalculation.calculate_eq(return_result=True, stream_extensive_properties=True)
    bench.solve({"Fe2O3(hematite)": 1.0}, 298.15)
    alone = [bench.ph(field, "Fe2O3(hematite)") for field in EXTENSIVE]
    assert [getattr(ore, field) for field in EXTENSIVE] == pytest.approx(alone, rel=1e-13)
    assert StreamCalculation.get_st_V("ore") == basic.hxstxp("ore", StreamVariable.V)


def test_record_of_a_failed_calculation(bench):
    ore = stream("ore", ORE)
    basic.hxremc(-2)
    StreamCalculation.set_IA_pc("ore", "Fe2O3(hematite)", "-", 1.0)
    with pytest.raises(TessaraError, match="temperature") as failure:
        StreamCalculation.calculate_eq()
    result = StreamCalculation.get_result_object(True, True)
    assert result.error["text"] in str(failure.value)
    assert result.streams == {"ore": ore}
    assert math.isnan(result.H)
    assert math.isnan(result.dH)
    assert result.phs == {}
