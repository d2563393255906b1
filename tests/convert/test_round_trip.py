"""What is written is read again as it was."""

import dataclasses

import pytest
from dat_evaluator import DataFile
from described_systems import systems
from hypothesis import HealthCheck, given, settings

from tessara.convert import dat_writer, tdb_reader, tdb_writer
from tessara.convert.report import Report
from tessara.convert.system import SublatticePhase

FEW = settings(
    max_examples=60,
    deadline=None,
    suppress_health_check=[HealthCheck.function_scoped_fixture, HealthCheck.too_slow],
)


@FEW
@given(system=systems(with_sublattices=True))
def test_data_file_reads_back_as_the_system_that_was_written(read_back, system):
    assert read_back(system) == system


@FEW
@given(system=systems(with_sublattices=True))
def test_independent_reader_finds_what_was_written(system):
    names = [phase.name for phase in system.phases]
    if len(set(names)) < len(names):
        return
    file = DataFile(dat_writer.write(system))
    assert file.components == [one.name for one in system.components]
    for phase in system.phases:
        found = file.mixtures[phase.name]
        assert list(found.species) == [one.name for one in phase.species]
        for record, one in zip(found.species.values(), phase.species, strict=True):
            assert [r[0] for r in record.ranges] == [r.upper for r in one.ranges]
            assert [tuple(r[1]) for r in record.ranges] == [r.coefficients for r in one.ranges]
            assert [tuple(r[2]) for r in record.ranges] == [r.extra for r in one.ranges]
        if isinstance(phase, SublatticePhase):
            assert found.sites == list(phase.sites)
            assert found.names == [list(group) for group in phase.constituents]
            assert found.members == list(phase.members)
        for (places, sets), one in zip(
            found.interactions, getattr(phase, "interactions", ()), strict=True
        ):
            assert tuple(place - 1 for place in places) == one.constituents
            assert tuple(map(tuple, sets)) == one.sets


def without_zeros(phases):
    """Phases by name, without parameters that are zero throughout."""
    return {
        phase.name: dataclasses.replace(
            phase, interactions=tuple(one for one in phase.interactions if any(map(any, one.sets)))
        )
        for phase in phases
    }


@pytest.mark.parametrize("name", ["al_zn", "al_mg_si", "cr_fe", "cu_mg"])
def test_exchange_file_reads_back_with_the_same_phases(assessment, name):
    first = tdb_reader.parse(assessment(name), "x.tdb", Report())
    report = Report()
    text = tdb_writer.write(first, report)
    again = tdb_reader.parse(text, "x.tdb", Report())
    assert report.losses() == []
    assert without_zeros(again.phases) == without_zeros(first.phases)
    assert {one.name: one for one in again.pure} == {one.name: one for one in first.pure}
