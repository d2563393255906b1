"""The text of a TDB file: names, elements, every kind of phase, and what it cannot hold."""

import dataclasses
import math
import random
import re
from pathlib import Path

import pytest
from dat_evaluator import DataFile
from tdb_evaluator import TdbFile

from tessara.convert import dat_writer, data_files, tdb_writer
from tessara.convert.report import ConversionError, Report
from tessara.convert.system import (
    Component,
    IdealPhase,
    Interaction,
    LatticeFactors,
    MagneticMoment,
    PurePhase,
    RedlichKisterPhase,
    Species,
    SublatticePhase,
    System,
    TemperatureRange,
)

FE_O = (Component("Fe", 55.845), Component("O", 15.999))
PLAIN = TemperatureRange(6000.0, (1.0, 2.0, 3.0, 4.0, 5.0, 6.0))
FE = Species("Fe", (1.0, 0.0), (PLAIN,))
O2 = Species("O2", (0.0, 2.0), (PLAIN,))
FEO = Species("FeO", (1.0, 1.0), (PLAIN,))


def six(*numbers):
    return (*map(float, numbers), *[0.0] * (6 - len(numbers)))


def write(report, components=FE_O, **parts):
    return tdb_writer.write(System("A title", components, **parts), report)


def statements(text, keyword):
    return [
        " ".join(re.sub(r"\n\s*(?=[+-])", "", one).split())
        for one in re.sub(r"\$.*", "", text).split("!")
        if one.strip().startswith(keyword)
    ]


def texts(report):
    return [str(item) for item in report]


def test_elements_have_their_masses_and_vacancies_come_along(report):
    text = write(report, pure=(PurePhase(FEO),))
    assert statements(text, "ELEMENT") == [
        "ELEMENT VA VACUUM 0.0 0.0 0.0",
        "ELEMENT FE UNKNOWN 55.845 0.0 0.0",
        "ELEMENT O UNKNOWN 15.999 0.0 0.0",
    ]


def test_title_and_comment_are_comments(report):
    text = write(report, pure=(PurePhase(FEO),), remark=("words " * 20,))
    assert text.startswith("$ A title\n$ words")
    assert all(len(line) <= 80 for line in text.splitlines())


def test_pure_phase_has_a_species_with_its_amounts(report):
    text = write(report, pure=(PurePhase(FEO),))
    assert statements(text, "SPECIES") == ["SPECIES FEO FE1.0O1.0"]
    assert statements(text, "PHASE") == ["PHASE FEO % 1 1.0"]
    assert statements(text, "CONSTITUENT") == ["CONSTITUENT FEO :FEO :"]
    assert statements(text, "PARAMETER") == [
        "PARAMETER G(FEO,FEO;0) 298.15 +1.0+2.0*T+3.0*T*LN(T)+4.0*T**2+5.0*T**3+6.0*T**(-1);"
        " 6000.0 N"
    ]
    assert texts(report) == []


def test_element_is_its_own_species(report):
    text = write(report, pure=(PurePhase(FE),))
    assert statements(text, "SPECIES") == []
    assert statements(text, "CONSTITUENT") == ["CONSTITUENT FE :FE :"]


def test_gas_has_the_term_of_pressure(report):
    text = write(report, gas=IdealPhase("GAS", (O2,)))
    assert statements(text, "PHASE") == ["PHASE GAS:G % 1 1.0"]
    (parameter,) = statements(text, "PARAMETER")
    assert "+8.314462618*T*LN(1E-05*P); 6000.0 N" in parameter


def test_names_become_plain_and_stay_apart(report):
    pure = tuple(
        PurePhase(dataclasses.replace(FEO, name=name)) for name in ("FeO(a)", "FeO[a]", "(x)")
    )
    text = write(report, pure=pure)
    assert statements(text, "PHASE") == [
        "PHASE FEO_A % 1 1.0",
        "PHASE FEO_A_2 % 1 1.0",
        "PHASE X % 1 1.0",
    ]
    assert texts(report) == [
        "remark: phase 'FeO(a)': is called FEO_A",
        "remark: phase 'FeO[a]': is called FEO_A_2",
        "remark: phase '(x)': is called X",
    ]


def test_extra_terms_and_ranges_are_written(report):
    ranges = (
        TemperatureRange(250.0, six(1), ((2.0, 99.0), (-3.0, 0.5))),
        TemperatureRange(900.0, six(0), ((1.0, -9.0),)),
        TemperatureRange(900.0, six(7)),
    )
    text = write(report, pure=(PurePhase(dataclasses.replace(FEO, ranges=ranges)),))
    assert statements(text, "PARAMETER") == [
        "PARAMETER G(FEO,FEO;0) 1.0 +1.0+2.0*LN(T)-3.0*T**(0.5); 250.0 Y +1.0*T**(-9); 900.0 Y"
        " +7.0; 6000.0 N"
    ]


def test_ranges_that_never_apply_are_told(report):
    ranges = (PLAIN, PLAIN, dataclasses.replace(PLAIN, coefficients=six(7)))
    write(report, pure=(PurePhase(dataclasses.replace(FEO, ranges=ranges)),))
    assert texts(report) == ["remark: species 'FeO': ranges that never apply were left out"]


def test_dummies_are_told(report):
    write(report, pure=(PurePhase(FEO), PurePhase(FE, dummy=True)))
    assert texts(report) == ["remark: phase 'Fe': a dummy has no place in a TDB file"]


def test_copies_stand_once(report):
    phase = RedlichKisterPhase("MIX", (FE, FEO), (Interaction((0, 1), (six(5),)),))
    text = write(report, phases=(phase, phase))
    assert len(statements(text, "PHASE")) == 1
    assert texts(report) == [
        "remark: phase 'MIX': it stands in a TDB file once, however often it may split"
    ]


def test_copies_that_differ_are_a_loss(report):
    phase = RedlichKisterPhase("MIX", (FE, FEO), (Interaction((0, 1), (six(5),)),))
    write(report, phases=(phase, dataclasses.replace(phase, interactions=())))
    assert texts(report) == ["loss: phase 'MIX': copies of it differ; the first one is written"]


def test_constituents_are_named_in_the_order_of_the_alphabet(report):
    held = (FEO, FE)
    phase = RedlichKisterPhase("MIX", held, (Interaction((0, 1), (six(5), six(6), six(7))),))
    text = write(report, phases=(phase,))
    assert statements(text, "PARAMETER G(MIX,FE,FEO") == [
        "PARAMETER G(MIX,FE,FEO;0) 298.15 +5.0; 6000.0 N",
        "PARAMETER G(MIX,FE,FEO;1) 298.15 -6.0; 6000.0 N",
        "PARAMETER G(MIX,FE,FEO;2) 298.15 +7.0; 6000.0 N",
    ]


def test_ternary_sets_follow_their_constituents(report):
    phase = RedlichKisterPhase(
        "MIX", (O2, FE, FEO), (Interaction((0, 1, 2), (six(5), six(0), six(7))),)
    )
    text = write(report, phases=(phase,))
    assert statements(text, "PARAMETER G(MIX,FE,FEO,O2") == [
        "PARAMETER G(MIX,FE,FEO,O2;0) 298.15 +0; 6000.0 N",
        "PARAMETER G(MIX,FE,FEO,O2;1) 298.15 +7.0; 6000.0 N",
        "PARAMETER G(MIX,FE,FEO,O2;2) 298.15 +5.0; 6000.0 N",
    ]


def test_terms_of_pressure_are_in_pascal(report):
    phase = RedlichKisterPhase("MIX", (FE, FEO), (Interaction((0, 1), ((*six(1), 2.0, 3.0),)),))
    text = write(report, phases=(phase,))
    assert "+1.0+2.0*1E-05*P+3.0*1E-10*P**2;" in "".join(text.split())


def test_magnetism_has_a_type_definition(report):
    iron = dataclasses.replace(FE, magnetic=MagneticMoment(1043.0, 2.22))
    phase = RedlichKisterPhase(
        "MIX", (iron, FEO), (), LatticeFactors(0.25, 0.4), (Interaction((0, 1), ((0.0, 5.0),)),)
    )
    text = write(report, phases=(phase,), pure=(PurePhase(iron, LatticeFactors(1.0, 0.28)),))
    assert statements(text, "TYPE_DEFINITION") == [
        "TYPE_DEFINITION % SEQ *",
        "TYPE_DEFINITION A GES A_P_D @ MAGNETIC -4.0 0.4",
        "TYPE_DEFINITION B GES A_P_D @ MAGNETIC -1.0 0.28",
    ]
    assert statements(text, "PHASE") == ["PHASE MIX %A 1 1.0", "PHASE FE %B 1 1.0"]
    assert statements(text, "PARAMETER TC") == [
        "PARAMETER TC(MIX,FE;0) 298.15 +1043.0; 6000.0 N",
        "PARAMETER TC(FE,FE;0) 298.15 +1043.0; 6000.0 N",
    ]
    assert statements(text, "PARAMETER BMAGN(MIX,FE,FEO") == [
        "PARAMETER BMAGN(MIX,FE,FEO;0) 298.15 +5.0; 6000.0 N"
    ]


def test_ions_have_charges(report):
    components = (*FE_O, Component("e(SALT)", 0.00054858))
    ions = (
        Species("Fe[2+]", (1.0, 0.0, -2.0), (PLAIN,)),
        Species("O[2-]", (0.0, 1.0, 2.0), (PLAIN,)),
    )
    text = write(report, components, phases=(IdealPhase("SALT", ions),))
    assert statements(text, "ELEMENT /-") == ["ELEMENT /- ELECTRON_GAS 0.0 0.0 0.0"]
    assert statements(text, "SPECIES") == ["SPECIES FE_2 FE1.0/+2", "SPECIES O_2 O1.0/-2"]


def sublattice_phase(**changes):
    species = (
        Species("Fe:O", (1.0, 3.0), (PLAIN,)),
        Species("Fe:Va", (1.0, 0.0), (PLAIN,)),
        Species("X:O", (2.0, 5.0), (PLAIN,)),
        Species("X:Va", (2.0, 2.0), (PLAIN,)),
    )
    phase = SublatticePhase(
        "SUB",
        species,
        (1.0, 3.0),
        (("Fe", "X"), ("O", "Va")),
        ((0, 0), (0, 1), (1, 0), (1, 1)),
        (Interaction((1, 0, 2), (six(5), six(6))),),
    )
    return dataclasses.replace(phase, **changes)


def test_species_behind_names_on_sublattices_are_found(report):
    text = write(report, phases=(sublattice_phase(),))
    assert statements(text, "PHASE") == ["PHASE SUB % 2 1.0 3.0"]
    assert statements(text, "CONSTITUENT") == ["CONSTITUENT SUB :FE, X :O, VA :"]
    assert statements(text, "SPECIES") == ["SPECIES X FE2.0O2.0"]
    assert statements(text, "PARAMETER G(SUB,FE,X:O") == [
        "PARAMETER G(SUB,FE,X:O;0) 298.15 +5.0; 6000.0 N",
        "PARAMETER G(SUB,FE,X:O;1) 298.15 -6.0; 6000.0 N",
    ]


def test_amounts_that_do_not_add_up_are_refused(report):
    phase = sublattice_phase()
    species = (dataclasses.replace(phase.species[0], amounts=(1.0, 4.0)), *phase.species[1:])
    with pytest.raises(ConversionError, match="phase 'SUB': the amounts of"):
        write(report, phases=(dataclasses.replace(phase, species=species),))


def test_higher_orders_of_reciprocal_parameters_are_a_loss(report):
    phase = sublattice_phase(interactions=(Interaction((0, 1, 2, 3), (six(5), six(6))),))
    text = write(report, phases=(phase,))
    assert [item.loss for item in report] == [True]
    assert statements(text, "PARAMETER G(SUB,FE,X:O,VA;") == [
        "PARAMETER G(SUB,FE,X:O,VA;0) 298.15 +5.0; 6000.0 N"
    ]


def test_component_that_is_no_element_is_refused(report):
    components = (Component("SiO2", 60.0),)
    with pytest.raises(ConversionError, match="'SiO2' is no element"):
        write(report, components, pure=(PurePhase(Species("q", (1.0,), (PLAIN,))),))


def test_constituents_that_are_one_species_are_refused(report):
    twice = (FE, dataclasses.replace(FE, name="Fe*"))
    with pytest.raises(ConversionError, match="two constituents are the species FE"):
        write(report, phases=(IdealPhase("MIX", twice),))


@pytest.mark.parametrize("seed", range(20))
def test_both_formats_give_the_same_energies(report, seed):
    """A magnetic solution of three and one with sublattices, of random order and numbers."""
    draw = random.Random(seed)

    def numbers(scale):
        return tuple(draw.uniform(-scale, scale) for _ in range(6))

    def species(name, amounts):
        ranges = tuple(TemperatureRange(T, numbers(1.0)) for T in (700.0, 6000.0))
        return Species(name, amounts, ranges, MagneticMoment(draw.uniform(-900, 900), 1.5))

    held = [species("Fe", (1.0, 0.0)), species("O", (0.0, 1.0)), species("FeO", (1.0, 1.0))]
    draw.shuffle(held)
    pairs = [tuple(draw.sample(range(3), 2)) for _ in range(2)]
    solution = RedlichKisterPhase(
        "MIX",
        tuple(held),
        (
            *(Interaction(pair, (numbers(9.0), numbers(9.0), numbers(9.0))) for pair in pairs[:1]),
            Interaction(tuple(draw.sample(range(3), 3)), (numbers(9.0),) * draw.choice([1, 3])),
            Interaction(
                tuple(draw.sample(range(3), 3)), (numbers(9.0), numbers(9.0), numbers(9.0))
            ),
        )[: draw.choice([1, 2])],
        LatticeFactors(0.25, 0.4),
        (Interaction(pairs[1], ((100.0, 0.1), (50.0, -0.2))),),
    )
    system = System("A title", FE_O, phases=(solution, sublattice_phase()))
    source = DataFile(dat_writer.write(system))
    target = TdbFile(tdb_writer.write(system, report))
    assert report.losses() == []
    for phase, sizes in (("MIX", (3,)), ("SUB", (2, 2))):
        for T in (300.0, 700.0, 2000.0):
            y = []
            for size in sizes:
                row = [draw.random() + 0.05 for _ in range(size)]
                y.append([one / sum(row) for one in row])
            expected = source.mixtures[phase].G(T, y)
            assert math.isfinite(expected)
            assert target.G(phase, T, y) == pytest.approx(expected, rel=1e-11), phase


@pytest.mark.parametrize(
    ("name", "model"),
    [
        ("polynomial", "polynomials after Kohler and Toop (QKTO)"),
        ("ion_sublattices", "cations and anions with polynomials (SUBM)"),
        ("ionic_liquid", "ionic liquids (SUBI)"),
        ("quasichemical", "quasichemical phases (SUBG, SUBQ)"),
        ("quasichemical_half", "quasichemical phases (SUBG, SUBQ)"),
    ],
)
def test_phase_that_has_no_form_is_a_loss_and_the_others_are_written(name, model, report):
    corpus = Path(__file__).parents[1] / "fuzz" / "corpus"
    source = "quasichemical_override" if name == "quasichemical_half" else name
    system = data_files.read(corpus / f"{source}.dat", Report())
    text = tdb_writer.write(system, report)
    subject = f"phase {system.phases[0].name!r}"
    words = f"a TDB file has no form for {model}; left out"
    assert [(one.subject, one.text) for one in report.losses()] == [(subject, words)]
    assert text.count("PHASE ") == len(system.pure)
