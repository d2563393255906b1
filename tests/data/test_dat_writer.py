"""The text of a data file: every kind of record, and what cannot be written."""

import dataclasses
import math

import pytest

from tessara.convert import dat_writer
from tessara.convert.system import (
    Component,
    IdealPhase,
    Interaction,
    LatticeFactors,
    MagneticMoment,
    PurePhase,
    RedlichKisterPhase,
    Species,
    System,
    TemperatureRange,
)

COMPONENTS = (Component("Ac", 227.0), Component("Bk", 247.5))
PLAIN = TemperatureRange(6000.0, (1.0, 2.0, 3.0, 4.0, 5.0, 6.0))
A = Species("A", (1.0, 0.0), (PLAIN,))
B = Species("B", (0.0, 1.0), (PLAIN,))


def with_values(value, **changes):
    return dataclasses.replace(value, **changes)


def body(text):
    """Lines after the header of a file with two components."""
    lines = text.splitlines()
    return [" ".join(line.split()) for line in lines[6:]]


def write(**parts):
    return dat_writer.write(System("A title", COMPONENTS, **parts))


# Header -------------------------------------------------------------------------------------------


def test_header_of_a_file_with_gas_solution_and_pure_phases():
    text = write(
        gas=IdealPhase("GAS", (A, B)), phases=(IdealPhase("MIX", (A,)),), pure=(PurePhase(B),)
    )
    lines = [line.split() for line in text.splitlines()[:6]]
    assert lines == [
        ["A", "title"],
        ["2", "2", "2", "1", "1"],
        ["Ac", "Bk"],
        ["227.0", "247.5"],
        ["6", "1", "2", "3", "4", "5", "6"],
        ["6", "1", "2", "3", "4", "5", "6"],
    ]


def test_gas_is_counted_even_when_there_is_none():
    assert write(pure=(PurePhase(A),)).splitlines()[1].split() == ["2", "1", "0", "1"]


def test_counts_wrap_after_fifteen_integers():
    phases = tuple(IdealPhase(f"P{n}", (A,)) for n in range(20))
    lines = write(phases=phases).splitlines()
    assert lines[1].split() == ["2", "21", "0", *["1"] * 12]
    assert lines[2].split() == [*["1"] * 8, "0"]


def test_components_stand_three_to_a_line_in_fields_of_25_columns():
    components = tuple(Component(f"X{n}", n + 1.0) for n in range(4))
    species = Species("A", (1.0,) * 4, (PLAIN,))
    lines = dat_writer.write(System("A title", components, pure=(PurePhase(species),))).splitlines()
    assert lines[2] == f"{'X0':25}{'X1':25}X2"
    assert lines[3] == "X3"
    assert lines[4].split() == ["1.0", "2.0", "3.0"]


# Species ------------------------------------------------------------------------------------------


def test_type_1_has_one_line_per_range():
    assert body(write(pure=(PurePhase(A),)))[:3] == [
        "A",
        "1 1 1.0 0.0",
        "6000.0 1.0 2.0 3.0 4.0 5.0 6.0",
    ]


def test_type_4_has_a_line_of_extra_terms_for_every_range():
    ranges = (
        TemperatureRange(500.0, (0.0,) * 6),
        TemperatureRange(900.0, (0.0,) * 6, ((1.5, 99.0), (-2.0, -2.0))),
    )
    lines = body(write(pure=(PurePhase(with_values(A, ranges=ranges)),)))
    assert lines[1] == "4 2 1.0 0.0"
    assert lines[3] == "0"
    assert lines[5] == "2 1.5 99.0 -2.0 -2.0"


def test_more_than_three_extra_terms_wrap():
    extra = tuple((float(n), float(n + 4)) for n in range(4))
    ranges = (TemperatureRange(900.0, (0.0,) * 6, extra),)
    lines = body(write(pure=(PurePhase(with_values(A, ranges=ranges)),)))
    assert lines[3:5] == ["4 0.0 4.0 1.0 5.0 2.0 6.0", "3.0 7.0"]


@pytest.mark.parametrize(("extra", "code"), [((), "13"), (((1.0, 7.0),), "16")])
def test_magnetic_pure_phase_has_four_magnetic_numbers(extra, code):
    iron = Species(
        "A", (1.0, 0.0), (with_values(PLAIN, extra=extra),), MagneticMoment(1043.0, 2.22)
    )
    lines = body(write(pure=(PurePhase(iron, LatticeFactors(1.0, 0.4)),)))
    assert lines[1].split()[0] == code
    assert lines[4 if extra else 3] == "1043.0 2.22 1.0 0.4"


def test_dummy_is_marked_in_column_26():
    line = write(pure=(PurePhase(A, dummy=True),)).splitlines()[6]
    assert line == f"{'A':25}#"


def test_long_stoichiometry_wraps():
    components = tuple(Component(f"X{n}", 1.0) for n in range(14))
    species = Species("A", tuple(float(n) for n in range(14)), (PLAIN,))
    lines = dat_writer.write(System("A title", components, pure=(PurePhase(species),))).splitlines()
    place = lines.index("A")
    assert len(lines[place + 1].split()) == 2 + 12
    assert lines[place + 2].split() == ["12.0", "13.0"]


@pytest.mark.parametrize(
    "value",
    [0.1, 1 / 3, -8.31446261815324, 2.29603e31, -3.67516e-21, 5e-324, 1.7976931348623157e308],
)
def test_numbers_read_back_bit_for_bit(value):
    ranges = (TemperatureRange(6000.0, (value,) * 6, ((value, value),)),)
    lines = body(write(pure=(PurePhase(with_values(A, ranges=ranges)),)))
    assert [float(word) for word in lines[2].split()[1:]] == [value] * 6
    assert [float(word) for word in lines[3].split()[1:]] == [value] * 2


# Mixture phases -----------------------------------------------------------------------------------


def test_ideal_phase_has_no_list_of_interactions():
    lines = body(write(gas=IdealPhase("GAS", (A, B))))
    assert lines[:3] == ["GAS", "IDMX", "A"]
    assert lines[5] == "B"
    assert set(lines[8]) == {"#"}


def test_redlich_kister_phase_lists_places_from_one_in_the_order_given():
    interaction = Interaction((1, 0), ((1.0,) * 6, (2.0,) * 6))
    lines = body(write(phases=(RedlichKisterPhase("MELT", (A, B), (interaction,)),)))
    assert lines[1] == "RKMP"
    assert lines[8:13] == ["2", "2 1 2", *(" ".join([f"{n}.0"] * 6) for n in (1, 2)), "0"]


def test_redlich_kister_phase_without_interactions_ends_with_0():
    assert body(write(phases=(RedlichKisterPhase("MELT", (A,)),)))[5] == "0"


def test_magnetic_phase_lists_magnetic_interactions_first():
    species = (with_values(A, magnetic=MagneticMoment(-930.0, -1.65)), B)
    phase = RedlichKisterPhase(
        "SOLID",
        species,
        (Interaction((0, 1), ((9.0,) * 6,)),),
        LatticeFactors(1 / 3, 0.28),
        (Interaction((0, 1), ((450.0, -0.35),)),),
    )
    lines = body(write(phases=(phase,)))
    assert lines[:3] == ["SOLID", "RKMPM", "0.3333333333333333 0.28"]
    assert lines[4].split()[0] == "13"
    assert lines[6] == "-930.0 -1.65"
    assert lines[10:17] == ["2", "1 2 1", "450.0 -0.35", "0", "2", "1 2 1", " ".join(["9.0"] * 6)]
    assert lines[17] == "0"


def test_magnetic_phase_without_interactions_has_two_terminators():
    phase = RedlichKisterPhase("SOLID", (A,), lattice=LatticeFactors(1.0, 0.4))
    assert body(write(phases=(phase,)))[6:8] == ["0", "0"]


def test_copies_of_a_phase_may_share_a_name():
    phase = RedlichKisterPhase("MELT", (A,))
    assert body(write(phases=(phase, phase))).count("MELT") == 2


def test_electron_component_takes_negative_amounts():
    components = (Component("Ac", 227.0), Component("e(ION)", 0.00054858))
    ion = Species("A[2+]", (1.0, -2.0), (PLAIN,))
    text = dat_writer.write(System("A title", components, phases=(IdealPhase("ION", (ion,)),)))
    assert "1.0 -2.0" in text


def test_remark_follows_the_data_as_comment_lines():
    text = dat_writer.write(
        System("A title", COMPONENTS, pure=(PurePhase(A),), remark=("word " * 30, "", "end"))
    )
    rest = text[text.index("###") :].splitlines()[1:]
    assert all(len(line) <= 78 for line in rest)
    assert [line[:3] for line in rest] == [" : ", " : ", " :", " : "]


def test_text_is_reproducible_and_ends_with_a_line_feed():
    system = System("A title", COMPONENTS, gas=IdealPhase("GAS", (A, B)))
    text = dat_writer.write(system)
    assert text == dat_writer.write(system)
    assert text.endswith("\n")
    assert "\r" not in text


def test_file_with_every_kind_of_record_is_read_by_an_independent_reader(parse_dat):
    melt = RedlichKisterPhase("MELT", (A, B), (Interaction((1, 0), ((1.0,) * 6,)),))
    iron = PurePhase(
        with_values(A, name="A(s)", magnetic=MagneticMoment(10.0, 1.0)), LatticeFactors(1.0, 0.4)
    )
    file = parse_dat(write(gas=IdealPhase("GAS", (A, B)), phases=(melt,), pure=(iron,)))
    assert file.components == ["Ac", "Bk"]
    assert list(file.gas) == ["A", "B"]
    assert file.solutions["MELT"][1] == [([2, 1], [[1.0] * 6])]
    assert file.pure["A(s)"].magnetic == (10.0, 1.0, 1.0, 0.4)


# What cannot be written ---------------------------------------------------------------------------


@pytest.mark.parametrize(
    "name", ["", "x" * 25, "two words", "tab\t", "\u00e9", "#", "1A", "-A", ".5"]
)
def test_name_that_would_not_read_back_is_refused(name):
    with pytest.raises(ValueError, match=r"a name|this name"):
        with_values(A, name=name)


@pytest.mark.parametrize("value", [math.nan, math.inf, -math.inf])
def test_number_that_is_not_finite_is_refused(value):
    with pytest.raises(ValueError, match="not a finite number"):
        TemperatureRange(6000.0, (0.0, 0.0, value, 0.0, 0.0, 0.0))
    with pytest.raises(ValueError, match="not a finite number"):
        TemperatureRange(6000.0, (0.0,) * 6, ((value, 1.0),))
    with pytest.raises(ValueError, match="not a finite number"):
        with_values(A, amounts=(value, 0.0))
    with pytest.raises(ValueError, match="not a finite number"):
        MagneticMoment(value, 0.0)
    with pytest.raises(ValueError, match="not a temperature"):
        TemperatureRange(value, (0.0,) * 6)
    with pytest.raises(ValueError, match="molar mass"):
        Component("Ac", value)


@pytest.mark.parametrize(
    ("make", "words"),
    [
        (lambda: TemperatureRange(0.0, (0.0,) * 6), "not a temperature above 0"),
        (lambda: TemperatureRange(9.0, (0.0,) * 5), "5 coefficients instead of 6"),
        (lambda: with_values(A, ranges=()), "no temperature range"),
        (
            lambda: with_values(A, ranges=(PLAIN, with_values(PLAIN, upper=5.0))),
            "5.0 K follows 6000.0 K",
        ),
        (lambda: LatticeFactors(0.0, 0.4), "antiferromagnetic factor"),
        (lambda: LatticeFactors(1.0, 1.0), "between 0 and 1"),
        (lambda: Component("Ac", 0.0), "not above 0"),
        (lambda: IdealPhase("GAS", ()), "no constituent"),
        (lambda: IdealPhase("GAS", (A, A)), "'A' occurs 2 times"),
        (
            lambda: IdealPhase("GAS", (with_values(A, magnetic=MagneticMoment(1.0, 1.0)),)),
            "is magnetic, the phase is not",
        ),
        (
            lambda: RedlichKisterPhase(
                "M", (A, B), magnetic_interactions=(Interaction((0, 1), ((1.0, 1.0),)),)
            ),
            "without lattice factors",
        ),
        (lambda: PurePhase(A, LatticeFactors(1.0, 0.4)), "belong together"),
        (
            lambda: PurePhase(with_values(A, magnetic=MagneticMoment(1.0, 1.0))),
            "belong together",
        ),
    ],
)
def test_value_that_makes_no_sense_is_refused(make, words):
    with pytest.raises(ValueError, match=words):
        make()


SIX = (0.0,) * 6


@pytest.mark.parametrize(
    ("places", "sets", "words"),
    [
        ((0,), (SIX,), "2 to 4 constituents"),
        ((0, 1, 2, 3, 4), (SIX,), "2 to 4 constituents"),
        ((0, 0), (SIX,), "named twice"),
        ((0, 9), (SIX,), "the phase has 5 constituents"),
        ((0, -1), (SIX,), "the phase has 5 constituents"),
        ((0, 1), (), "no coefficients"),
        ((0, 1, 2), (SIX, SIX), "1 or 3 sets"),
        ((0, 1, 2, 3), (SIX, SIX), "1 set"),
        ((0, 1), ((0.0,) * 5,), "5 coefficients instead of 6"),
        ((0, 1), ((math.nan,) * 6,), "not a finite number"),
    ],
)
def test_interaction_that_does_not_fit_is_refused_with_the_name_of_the_phase(places, sets, words):
    species = tuple(with_values(A, name=f"S{n}") for n in range(5))
    with pytest.raises(ValueError, match=f"'MELT'.*{words}"):
        RedlichKisterPhase("MELT", species, (Interaction(places, sets),))


@pytest.mark.parametrize(
    ("changes", "words"),
    [
        ({"title": "Word"}, "at least two words"),
        ({"title": "two\nlines"}, "one line"),
        ({"title": "gr\u00fcn wei\u00df"}, "plain ASCII"),
        ({"remark": ("two\nlines",)}, "remark"),
        ({"components": ()}, "at least one component"),
        ({"components": (COMPONENTS[0],) * 2}, "'Ac' occurs 2 times"),
        ({"pure": (PurePhase(A), PurePhase(A))}, "'A' occurs 2 times"),
        ({"pure": (PurePhase(with_values(A, amounts=(1.0,))),)}, "1 stoichiometric numbers for 2"),
        ({"pure": (PurePhase(with_values(A, amounts=(-1.0, 1.0))),)}, "'Ac' is negative"),
    ],
)
def test_system_that_makes_no_sense_is_refused(changes, words):
    with pytest.raises(ValueError, match=words):
        System(**{"title": "A title", "components": COMPONENTS, **changes})


def test_dummies_may_share_a_name():
    dummy = PurePhase(A, dummy=True)
    assert System("A title", COMPONENTS, pure=(dummy, dummy)).pure == (dummy, dummy)
