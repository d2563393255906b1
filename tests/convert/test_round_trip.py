"""What is written is read again as it was."""

import dataclasses
from pathlib import Path

import pytest
from dat_evaluator import DataFile
from described_systems import systems
from hypothesis import HealthCheck, given, settings

from tessara import basic
from tessara.convert import dat_writer, data_files, files, tdb_reader, tdb_writer
from tessara.convert.report import Report
from tessara.convert.system import SublatticePhase

CORPUS = sorted((Path(__file__).parents[1] / "fuzz" / "corpus").glob("*.dat"))
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


def without_lines(value):
    """A description but for the places of its records."""
    if isinstance(value, dict):
        places = ("line", "comment_line")
        return {key: without_lines(one) for key, one in value.items() if key not in places}
    return [without_lines(one) for one in value] if isinstance(value, list) else value


@pytest.mark.parametrize("suffix", [".dat", ".tdf"])
@pytest.mark.parametrize("path", CORPUS, ids=lambda path: path.stem)
def test_written_file_of_each_model_is_the_same_system(path, suffix, tmp_path):
    report = Report()
    system = data_files.read(path, report)
    written = tmp_path / f"written{suffix}"
    written.write_bytes(files.write(system, suffix, report))
    assert report.losses() == []
    before, after = (without_lines(basic.description(one)) for one in (path, written))
    before["title"] = after["title"] = ""
    assert after == before


@pytest.mark.parametrize("path", CORPUS, ids=lambda path: path.stem)
def test_what_is_written_of_each_model_does_not_change_any_more(path, read_back):
    system = data_files.read(path, Report())
    assert read_back(system) == dataclasses.replace(system, remark=())


def test_neutral_of_an_ionic_liquid_reads_back_to_the_last_bit(read_back):
    path = next(one for one in CORPUS if one.stem == "ionic_liquid")
    system = dataclasses.replace(data_files.read(path, Report()), remark=())
    (phase,) = system.phases
    third = 1.0 / 3.0  # what a record for three moles gives
    species = [
        dataclasses.replace(
            one,
            ranges=(
                dataclasses.replace(
                    one.ranges[0],
                    coefficients=tuple(third * (100001.1 + k) for k in range(6)),
                    extra=((third * 0.7, 0.5),),
                ),
            ),
        )
        if cation is None
        else one
        for one, (cation, _) in zip(phase.species, phase.members, strict=True)
    ]
    changed = dataclasses.replace(phase, species=tuple(species))
    system = dataclasses.replace(system, phases=(changed,))
    assert read_back(system) == system


def test_corpus_has_every_model():
    models = {phase["model"] for path in CORPUS for phase in basic.description(path)["phases"]}
    assert models >= {"IDMX", "RKMP", "RKMPM", "QKTO", "SUBL", "SUBLM", "SUBM", "SUBI", "SUBG"}
    assert "SUBQ" in models


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
