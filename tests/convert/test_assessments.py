"""Published assessments, converted: the data file says of each state what the assessment says.

Both sides are evaluated by code of the tests. The Gibbs energies in the tables were worked out from
the same figures by a program apart from both, with R = 8.31451 J/(mol K).
"""

import random
from pathlib import Path

import pytest
from dat_evaluator import DataFile
from tdb_evaluator import TdbFile

from tessara.convert import dat_writer, tdb_reader
from tessara.convert.report import Report

ASSESSMENTS = Path(__file__).parent / "assessments"
# What the converter makes of them, for tests that read data files alone.
DATA_FILES = Path(__file__).parents[1] / "engine" / "assessments"
SYSTEMS = sorted(path.stem for path in ASSESSMENTS.glob("*.tdb"))
# This one parameter changes at 1000 K; a data file has one range for it.
LOST = {"c_fe": ["L(BCC_A2,FE:C,VA;0)"]}


def text_of(name):
    return (ASSESSMENTS / f"{name}.tdb").read_text(encoding="ascii")


def converted(name):
    report = Report()
    system = tdb_reader.parse(text_of(name), f"{name}.tdb", report)
    return DataFile(dat_writer.write(system)), report


def energy(file, phase, T, y):
    """Gibbs energy of a state of a data file, whatever became of the phase."""
    if phase in file.pure:
        return file.pure[phase].G(T)
    mixture = file.mixtures[phase]
    if len(mixture.names) == len(y):
        return mixture.G(T, y)
    # Substitutional: the sublattice that holds vacancies alone is left out.
    return mixture.G(T, [row for row in y if len(row) == len(mixture.names[0])][:1])


@pytest.mark.parametrize("name", SYSTEMS)
def test_data_files_of_other_tests_are_those_converted(name):
    system = tdb_reader.parse(text_of(name), f"{name}.tdb", Report())
    assert dat_writer.write(system) == (DATA_FILES / f"{name}.dat").read_text(encoding="ascii")


@pytest.mark.parametrize("name", SYSTEMS)
def test_only_what_cannot_be_held_is_lost(name):
    _, report = converted(name)
    assert [item.subject.removeprefix("parameter ") for item in report.losses()] == LOST.get(
        name, []
    )


@pytest.mark.parametrize("name", SYSTEMS)
def test_data_file_and_assessment_give_the_same_energies(name):
    source = TdbFile(text_of(name))
    file, report = converted(name)
    lost = {item.subject.partition("(")[2].partition(",")[0] for item in report.losses()}
    draw = random.Random(4)
    for phase in source.phases:
        if phase in lost:
            continue
        for T in (298.15, 500.0, 933.0, 1500.0, 2800.0):
            y = source.states(phase, [draw.random() + 0.01 for _ in range(20)])
            expected = source.G(phase, T, y)
            assert energy(file, phase, T, y) == pytest.approx(expected, rel=1e-12, abs=1e-7), phase


@pytest.mark.parametrize("name", SYSTEMS)
def test_end_members_agree_at_limits_of_ranges(name):
    source = TdbFile(text_of(name))
    file, _ = converted(name)
    for phase in source.phases:
        names = source.phases[phase]["names"]
        for member in source.end_members(phase):
            y = [
                [float(one == held) for one in row] for row, held in zip(names, member, strict=True)
            ]
            for T in (250.0, 700.0, 933.6, 1811.0, 4000.0):
                expected = source.G(phase, T, y)
                assert energy(file, phase, T, y) == pytest.approx(expected, rel=1e-12, abs=1e-7)


# Phase, T, site fractions, Gibbs energy per formula unit without ideal mixing and magnetism, ideal
# part, magnetic part.
STATES = {
    "al_zn": [
        ("LIQUID", 600.0, [[0.7, 0.3]], -17627.0178483, -3047.42240885, 0.0),
        ("FCC_A1", 600.0, [[0.7, 0.3]], -19933.5986614, -3047.42240885, 0.0),
        ("HCP_A3", 600.0, [[0.7, 0.3]], -16525.3815694, -3047.42240885, 0.0),
    ],
    "al_mg_si": [
        ("LIQUID", 600.0, [[0.5, 0.3, 0.2]], -16520.3738514, -5136.63616918, 0.0),
        ("FCC_A1", 600.0, [[0.5, 0.3, 0.2], [1.0]], -11576.6770211, -5136.63616918, 0.0),
        ("HCP_A3", 600.0, [[0.5, 0.3, 0.2], [1.0]], -10564.6810211, -5136.63616918, 0.0),
        ("DIAMOND_A4", 600.0, [[0.7, 0.3]], 12242.5217709, -3047.42240885, 0.0),
        ("MG2SI", 600.0, [[1.0], [1.0]], -118924.176499, 0.0, 0.0),
        ("ALMG_BETA", 600.0, [[1.0], [1.0]], -5466731.05891, 0.0, 0.0),
        ("ALMG_EPS", 600.0, [[1.0], [1.0]], -1277322.18485, 0.0, 0.0),
        (
            "ALMG_GAMMA",
            600.0,
            [[1.0], [0.25, 0.75], [0.7, 0.3]],
            -608641.047094,
            -70232.9654258,
            0.0,
        ),
    ],
    "c_fe": [
        ("LIQUID", 600.0, [[0.7, 0.3]], 46475.8593287, -3047.42240885, 0.0),
        ("FCC_A1", 600.0, [[1.0], [0.25, 0.75]], -7463.5201435, -2805.32470997, -0.00196211520195),
        ("HCP_A3", 600.0, [[1.0], [0.25, 0.75]], -9737.9783329, -1402.66235499, 0.0),
        ("CEMENTITE_D011", 600.0, [[1.0], [1.0]], -49624.7191505, 0.0, -51.4361144765),
        ("GRAPHITE", 600.0, [[1.0]], -4775.3144842, 0.0, 0.0),
        ("DIAMOND_A4", 600.0, [[1.0]], -646.0293954, 0.0, 0.0),
    ],
    "cr_fe": [
        ("LIQUID", 600.0, [[0.7, 0.3]], -4895.4877214, -3047.42240885, 0.0),
        ("BCC_A2", 600.0, [[0.7, 0.3], [1.0]], -13654.181815, -3047.42240885, -44.7924316446),
        ("FCC_A1", 600.0, [[0.7, 0.3], [1.0]], -10323.9782537, -3047.42240885, -2.6737555527),
        ("SIGMA", 600.0, [[1.0], [1.0], [0.7, 0.3]], -468873.990962, -48758.7585416, 0.0),
    ],
    "cu_mg": [
        ("LIQUID", 600.0, [[0.7, 0.3]], -24709.5185968, -3047.42240885, 0.0),
        ("FCC_A1", 600.0, [[0.7, 0.3], [1.0]], -26125.6849487, -3047.42240885, 0.0),
        ("HCP_A3", 600.0, [[1.0], [1.0]], -22657.2543119, 0.0, 0.0),
        ("CU2MG", 600.0, [[0.7, 0.3], [0.25, 0.75]], -65652.8720421, -8900.16952766, 0.0),
        ("CUMG2", 600.0, [[1.0], [1.0]], -95686.1371883, 0.0, 0.0),
    ],
}
R_OF_THE_STATES = 8.31451


@pytest.mark.parametrize(("name", "state"), [(name, s) for name in STATES for s in STATES[name]])
def test_data_file_gives_published_states(name, state):
    phase, T, y, rest, ideal, magnetic = state
    file, _ = converted(name)
    ratio = 8.314462618 / R_OF_THE_STATES
    assert energy(file, phase, T, y) == pytest.approx(rest + ratio * (ideal + magnetic), rel=1e-10)
