"""TDB files read into systems: statements, models, what is lost, what is refused."""

import pytest

from tessara.convert import tdb_reader
from tessara.convert.report import ConversionError
from tessara.convert.system import IdealPhase, PurePhase, RedlichKisterPhase, SublatticePhase

HEAD = """
ELEMENT /- ELECTRON_GAS 0 0 0 !
ELEMENT VA VACUUM 0 0 0 !
ELEMENT AL FCC_A1 26.98 0 0 !
ELEMENT C GRAPHITE 12.01 0 0 !
ELEMENT CR BCC_A2 52.0 0 0 !
ELEMENT O GAS 16.0 0 0 !
"""
MAGNETIC = "TYPE_DEFINITION & GES A_P_D MIX MAGNETIC -3.0 0.28 !\n"


def read(text, report, **options):
    return tdb_reader.parse(HEAD + text, "x.tdb", report, **options)


def items(report):
    return [(item.loss, item.subject, item.text) for item in report]


def only(system):
    (phase,) = (*system.mixtures(), *system.pure)
    return phase


def coefficients(function):
    return [one.coefficients for one in function]


MIX = "PHASE MIX %& 2 1 1 !\nCONSTITUENT MIX :AL,CR :VA : !\n"
ENDS = "PARAMETER G(MIX,AL:VA;0) 298.15 1; 6000 N !\nPARAMETER G(MIX,CR:VA;0) 298.15 2; 6000 N !\n"


# Statements ---------------------------------------------------------------------------------------


def test_title_names_elements_and_file(report):
    assert read(MIX + ENDS, report).title == "Al-C-Cr-O from x.tdb"


def test_components_are_the_elements_in_order(report):
    system = read(MIX + ENDS, report)
    assert [(one.name, one.mass) for one in system.components] == [
        ("Al", 26.98),
        ("C", 12.01),
        ("Cr", 52.0),
        ("O", 16.0),
    ]


@pytest.mark.parametrize("keyword", ["PARAMETER", "PARAM", "PARA", "PAR", "Parameter", "parameter"])
def test_keywords_may_be_abbreviated_in_any_case(report, keyword):
    found = only(read(MIX + ENDS.replace("PARAMETER", keyword), report))
    assert coefficients(found.species[0].ranges) == [(1.0, 0.0, 0.0, 0.0, 0.0, 0.0)]


def test_parts_of_keywords_may_be_abbreviated(report):
    text = MAGNETIC.replace("TYPE_DEFINITION", "TYPE_DEF") + MIX + ENDS
    assert only(read(text, report)).lattice.structure == 0.28


def test_comments_and_line_ends_of_all_kinds(report):
    text = (MIX + ENDS).replace("\n", " $ words ! more\r\n")
    assert only(read(text, report)).name == "MIX"


def test_statement_may_take_several_lines(report):
    text = MIX + ENDS.replace("298.15 1;", "\n  298.15\n +1\n ;")
    assert coefficients(only(read(text, report)).species[0].ranges)[0][0] == 1.0


def test_references_stay_behind_with_a_remark(report):
    text = "LIST_OF_REFERENCES\nNUMBER SOURCE\nREF1 'Someone, at last! (1999)'\n!\n"
    read(MIX + ENDS + text, report)
    assert items(report) == [(False, "LIST_OF_REFERENCES", "the references stay behind")]


@pytest.mark.parametrize(
    "text",
    [
        "DEFINE_SYSTEM_DEFAULT ELEMENT 2 !\n",
        "DEFAULT_COMMAND DEF_SYS_ELEMENT VA /- !\n",
        "DATABASE_INFO 'words' !\n",
        "ASSESSED_SYSTEMS AL-CR(;G5 MAJ:BCC/CR C_S) !\n",
        "VERSION_DATE 2020 !\n",
        "TEMP_LIM 298 6000 !\n",
        "TYPE_DEFINITION % SEQ * !\n",
    ],
)
def test_statements_without_effect_are_taken(report, text):
    read(text + MIX + ENDS, report)
    assert items(report) == []


def test_reference_states_of_elements_stay_behind_with_a_remark(report):
    tdb_reader.parse(HEAD.replace("26.98 0 0", "26.98 4577 28.3") + MIX + ENDS, "x.tdb", report)
    assert [item[:2] for item in items(report)] == [(False, "ELEMENT")]


# Functions ----------------------------------------------------------------------------------------


def test_functions_refer_to_each_other_in_any_order(report):
    text = (
        "FUNCTION GA 298.15 2*GB#+T; 6000 N !\nFUNCTION GB 298.15 3; 500 Y 4; 6000 N !\n"
        + MIX
        + ENDS.replace("298.15 1;", "298.15 GA#+GB;")
    )
    ranges = only(read(text, report)).species[0].ranges
    assert [(one.upper, one.coefficients[:2]) for one in ranges] == [
        (500.0, (9.0, 1.0)),
        (6000.0, (12.0, 1.0)),
    ]


def test_function_given_twice_is_told_and_the_later_used(report):
    text = "FUNCTION GA 298.15 1; 6000 N !\nFUNCTION GA 298.15 7; 6000 N !\n"
    found = only(read(text + MIX + ENDS.replace("298.15 1;", "298.15 GA;"), report))
    assert found.species[0].ranges[0].coefficients[0] == 7.0
    assert items(report) == [
        (False, "function GA", "the function is given twice; the later one is used")
    ]


def test_powers_beyond_the_six_become_extra_terms(report):
    text = MIX + ENDS.replace("298.15 1;", "298.15 2*T**(-9)+3*LN(T);")
    assert only(read(text, report)).species[0].ranges[0].extra == ((3.0, 99.0), (2.0, -9.0))


# Models -------------------------------------------------------------------------------------------


def test_one_sublattice_that_mixes_beside_vacancies_is_a_redlich_kister_phase(report):
    text = MIX + ENDS + "PARAMETER L(MIX,AL,CR:VA;1) 298.15 -5+T; 6000 N !\n"
    phase = only(read(text, report))
    assert isinstance(phase, RedlichKisterPhase)
    assert [one.name for one in phase.species] == ["Al", "Cr"]
    assert phase.species[1].amounts == (0.0, 0.0, 1.0, 0.0)
    (interaction,) = phase.interactions
    assert interaction.constituents == (0, 1)
    assert interaction.sets == ((0.0,) * 6, (-5.0, 1.0, 0.0, 0.0, 0.0, 0.0))


def test_order_of_names_is_kept(report):
    text = MIX + ENDS + "PARAMETER L(MIX,CR,AL:VA;1) 298.15 5; 6000 N !\n"
    assert only(read(text, report)).interactions[0].constituents == (1, 0)


def test_parameters_of_kind_g_and_l_are_the_same(report):
    text = MIX + ENDS + "PARAMETER G(MIX,AL,CR:VA;0) 298.15 5; 6000 N !\n"
    assert only(read(text, report)).interactions[0].sets[0][0] == 5.0


TERNARY = "PHASE MIX % 1 1 !\nCONSTITUENT MIX :AL,C,CR : !\n" + "".join(
    f"PARAMETER G(MIX,{one};0) 298.15 1; 6000 N !\n" for one in ("AL", "C", "CR")
)


def test_lone_ternary_parameter_does_not_depend_on_composition(report):
    text = TERNARY + "PARAMETER L(MIX,AL,C,CR;0) 298.15 7; 6000 N !\n"
    (interaction,) = only(read(text, report)).interactions
    assert [one[0] for one in interaction.sets] == [7.0, 7.0, 7.0]


def test_orders_of_a_ternary_parameter_belong_to_its_names(report):
    text = TERNARY + (
        "PARAMETER L(MIX,AL,C,CR;0) 298.15 7; 6000 N !\n"
        "PARAMETER L(MIX,AL,C,CR;2) 298.15 9; 6000 N !\n"
    )
    (interaction,) = only(read(text, report)).interactions
    assert [one[0] for one in interaction.sets] == [7.0, 0.0, 9.0]


def test_one_constituent_on_each_sublattice_is_a_pure_phase(report):
    text = (
        "PHASE CARBIDE % 2 3 2 !\nCONSTITUENT CARBIDE :CR : C: !\n"
        "PARAMETER G(CARBIDE,CR:C;0) 298.15 -9; 6000 N !\n"
    )
    phase = only(read(text, report))
    assert isinstance(phase, PurePhase)
    assert phase.name == "CARBIDE"
    assert phase.species.amounts == (0.0, 2.0, 3.0, 0.0)


def test_magnetic_pure_phase_has_its_numbers(report):
    text = (
        "TYPE_DEFINITION & GES A_P_D CARBIDE MAGNETIC -1.0 0.4 !\n"
        "PHASE CARBIDE %& 2 3 1 !\nCONSTITUENT CARBIDE :CR : C: !\n"
        "PARAMETER G(CARBIDE,CR:C;0) 298.15 -9; 6000 N !\n"
        "PARAMETER TC(CARBIDE,CR:C;0) 298.15 485; 6000 N !\n"
        "PARAMETER BMAGN(CARBIDE,CR:C;0) 298.15 3; 6000 N !\n"
    )
    phase = only(read(text, report))
    assert (phase.species.magnetic.curie_temperature, phase.species.magnetic.moment) == (485, 3)
    assert (phase.lattice.antiferromagnetic, phase.lattice.structure) == (1.0, 0.4)


def test_magnetic_solution_mixes_its_numbers(report):
    text = (
        MAGNETIC
        + MIX
        + ENDS
        + (
            "PARAMETER TC(MIX,CR:VA;0) 298.15 -311.5; 6000 N !\n"
            "PARAMETER BMAGN(MIX,CR:VA;0) 298.15 -0.01; 6000 N !\n"
            "PARAMETER TC(MIX,AL,CR:VA;0) 298.15 100; 6000 N !\n"
            "PARAMETER BMAGN(MIX,AL,CR:VA;1) 298.15 2; 6000 N !\n"
        )
    )
    phase = only(read(text, report))
    assert phase.lattice.antiferromagnetic == pytest.approx(1 / 3)
    assert phase.species[0].magnetic is None
    assert phase.species[1].magnetic.curie_temperature == -311.5
    assert phase.magnetic_interactions[0].sets == ((100.0, 0.0), (0.0, 2.0))


CARBIDE = "PHASE MIX % 2 1 3 !\nCONSTITUENT MIX :AL,CR : C,VA : !\n" + "".join(
    f"PARAMETER G(MIX,{on};0) 298.15 {g}; 6000 N !\n"
    for g, on in enumerate(["AL:C", "AL:VA", "CR:C", "CR:VA"])
)


def test_everything_else_is_a_sublattice_phase(report):
    phase = only(read(CARBIDE + "PARAMETER L(MIX,AL:C,VA;0) 298.15 5; 6000 N !\n", report))
    assert isinstance(phase, SublatticePhase)
    assert phase.sites == (1.0, 3.0)
    assert phase.constituents == (("Al", "Cr"), ("C", "Va"))
    assert [one.name for one in phase.species] == ["Al:C", "Al:Va", "Cr:C", "Cr:Va"]
    assert [one.ranges[0].coefficients[0] for one in phase.species] == [0.0, 1.0, 2.0, 3.0]
    assert phase.species[2].amounts == (0.0, 3.0, 1.0, 0.0)
    assert phase.interactions[0].constituents == (0, 2, 3)


@pytest.mark.parametrize("change", [("2 1 3", "2 2 3"), ("AL,CR : C,VA", "AL,CR,VA : VA")])
def test_sites_other_than_one_and_vacancies_make_a_sublattice_phase(report, change):
    text = CARBIDE.replace(*change)
    assert isinstance(only(read(text, report)), SublatticePhase)


def test_wildcard_stands_for_each_constituent(report):
    text = CARBIDE + (
        "PARAMETER L(MIX,AL,CR:*;0) 298.15 5; 6000 N !\n"
        "PARAMETER G(MIX,*:C;0) 298.15 100; 6000 N !\n"
    )
    phase = only(read(text, report))
    assert [one.constituents for one in phase.interactions] == [(0, 1, 2), (0, 1, 3)]
    assert [one.ranges[0].coefficients[0] for one in phase.species] == [100.0, 1.0, 102.0, 3.0]


def test_missing_end_member_is_zero_with_a_remark(report):
    text = CARBIDE.replace("PARAMETER G(MIX,CR:C;0) 298.15 2; 6000 N !\n", "")
    assert only(read(text, report)).species[2].ranges[0].coefficients == (0.0,) * 6
    assert items(report) == [
        (False, "phase MIX", "the end member CR:C has no Gibbs energy; it is taken as 0")
    ]


def test_reciprocal_parameter_of_order_zero(report):
    text = CARBIDE + "PARAMETER L(MIX,AL,CR:C,VA;0) 298.15 5; 6000 N !\n"
    assert only(read(text, report)).interactions[0].constituents == (0, 1, 2, 3)


def test_gas_is_ideal_and_needs_no_term_of_pressure(report):
    text = (
        "SPECIES O2 O2 !\nSPECIES CO C1O1 !\nFUNCTION RTLNP 10 8.314*T*LN(1E-05*P); 6000 N !\n"
        "PHASE GAS:G % 1 1 !\nCONSTITUENT GAS:G :O2,CO : !\n"
        "PARAMETER G(GAS,O2;0) 298.15 -5*T+RTLNP#; 6000 N !\n"
        "PARAMETER G(GAS,CO;0) 298.15 -110000+RTLNP#; 6000 N !\n"
    )
    system = read(text, report)
    assert isinstance(system.gas, IdealPhase)
    assert [one.name for one in system.gas.species] == ["O2", "CO"]
    assert system.gas.species[0].amounts == (0.0, 0.0, 0.0, 2.0)
    assert coefficients(system.gas.species[0].ranges) == [(0.0, -5.0, 0.0, 0.0, 0.0, 0.0)]
    assert items(report) == []


def test_charged_species_bring_a_component_of_electrons(report):
    text = (
        "SPECIES AL+3 AL1/+3 !\nSPECIES O-2 O1/-2 !\n"
        "PHASE OXIDE % 2 2 3 !\nCONSTITUENT OXIDE :AL+3,VA : O-2 : !\n"
        "PARAMETER G(OXIDE,AL+3:O-2;0) 298.15 -9; 6000 N !\n"
        "PARAMETER G(OXIDE,VA:O-2;0) 298.15 -9; 6000 N !\n"
    )
    system = read(text, report)
    assert system.components[-1].name == "e(OXIDE)"
    full, empty = only(system).species
    assert full.amounts == (2.0, 0.0, 0.0, 3.0, 0.0)
    assert empty.amounts == (0.0, 0.0, 0.0, 3.0, 6.0)


def test_composition_sets_are_copies(report):
    text = "TYPE_DEFINITION ' GES A_P_D MIX C_S 2 !\n" + MIX.replace("%&", "%'") + ENDS
    assert [one.name for one in read(text, report).phases] == ["MIX", "MIX"]


def test_long_labels_of_end_members_are_shortened_apart(report):
    names = ["LONGNAMEDSPECIES1", "LONGNAMEDSPECIES2"]
    text = "".join(f"SPECIES {one} AL1C{n + 1} !\n" for n, one in enumerate(names))
    text += f"PHASE MIX % 2 1 1 !\nCONSTITUENT MIX :{','.join(names)} :{','.join(names)} : !\n"
    phase = only(read(text, report))
    labels = [one.name for one in phase.species]
    assert len(set(labels)) == 4
    assert all(len(one) <= 24 for one in labels)


# Elements -----------------------------------------------------------------------------------------


def test_chosen_elements_limit_constituents_and_parameters(report):
    text = TERNARY + (
        "PARAMETER L(MIX,AL,C;0) 298.15 7; 6000 N !\nPARAMETER L(MIX,AL,CR;0) 298.15 8; 6000 N !\n"
        "PHASE CARBIDE % 2 3 2 !\nCONSTITUENT CARBIDE :CR : C: !\n"
    )
    system = read(text, report, elements=["cr", "Al"])
    assert [one.name for one in system.components] == ["Al", "Cr"]
    phase = only(system)
    assert [one.name for one in phase.species] == ["Al", "Cr"]
    assert [one.sets[0][0] for one in phase.interactions] == [8.0]
    assert items(report) == []


# What is lost -------------------------------------------------------------------------------------

LOST = {
    "two ranges": (
        "PARAMETER L(MIX,AL,CR:VA;0) 298.15 1; 500 Y 2; 6000 N !",
        "a data file holds one range here, not 2; it is left out",
    ),
    "other powers": (
        "PARAMETER L(MIX,AL,CR:VA;0) 298.15 T**4; 6000 N !",
        "a data file holds no term T**4 here; it is left out",
    ),
    "moment of T": (
        "PARAMETER TC(MIX,CR:VA;0) 298.15 5+T; 6000 N !",
        "a data file holds no function of temperature here; left out",
    ),
    "pressure": (
        "PARAMETER L(MIX,AL,CR:VA;0) 298.15 5+1E-5*P; 6000 N !",
        "it depends on the pressure; it is taken at 1 bar",
    ),
    "volume": (
        "PARAMETER V0(MIX,CR:VA;0) 298.15 1E-6; 6000 N !",
        "volumes have no place in a data file; it is left out",
    ),
    "unknown kind": (
        "PARAMETER THETA(MIX,CR:VA;0) 298.15 1E-6; 6000 N !",
        "THETA has no place in a data file; it is left out",
    ),
    "order of an end member": (
        "PARAMETER G(MIX,CR:VA;1) 298.15 1; 6000 N !",
        "an end member has no orders; it is left out",
    ),
}


@pytest.mark.parametrize("what", LOST)
def test_parameter_that_a_data_file_cannot_hold_is_a_loss(report, what):
    statement, words = LOST[what]
    read(MAGNETIC + MIX + ENDS + statement, report)
    assert [(item.loss, item.text) for item in report] == [(True, words)]
    (item,) = report
    assert (item.line, item.column) == (13, statement.index("(") + 2)


def test_taken_at_one_bar_the_parameter_stays(report):
    statement = "PARAMETER L(MIX,AL,CR:VA;0) 298.15 5+1E-5*P; 6000 N !"
    phase = only(read(MIX + ENDS + statement, report))
    assert phase.interactions[0].sets[0][0] == 6.0


@pytest.mark.parametrize("order", [1, 2])
def test_higher_orders_of_reciprocal_parameters_are_a_loss(report, order):
    text = CARBIDE + f"PARAMETER L(MIX,AL,CR:C,VA;{order}) 298.15 5; 6000 N !\n"
    phase = only(read(text, report))
    assert phase.interactions == ()
    assert [item.text for item in report.losses()] == [
        "a data file has no place for this order between so many; it is left out"
    ]


def test_ordered_phase_is_refused_in_words_and_left_out(report):
    text = (
        "TYPE_DEFINITION ' GES A_P_D CARB_B2 DIS_PART MIX,,, !\n"
        + MIX.replace("%&", "%'")
        + ENDS
        + "PHASE CARB_B2 %' 2 0.5 0.5 !\nCONSTITUENT CARB_B2 :AL,CR :AL,CR : !\n"
    )
    assert [one.name for one in read(text, report).phases] == ["MIX"]
    assert items(report) == [
        (
            True,
            "phase CARB_B2",
            "it is the ordered form of another phase, and order and disorder in one phase cannot be"
            " carried over; the phase is left out",
        )
    ]


@pytest.mark.parametrize(
    ("kind", "words"),
    [
        ("Y", "it is an ionic liquid with two sublattices"),
        ("F", "its parameters stand for all permutations of four sublattices"),
        ("A", "it is an aqueous solution"),
        ("X", "the kind 'X' of phases is not known here"),
    ],
)
def test_phase_of_another_kind_is_a_loss(report, kind, words):
    text = MIX + ENDS + f"PHASE SALT:{kind} % 1 1 !\nCONSTITUENT SALT:{kind} :AL,CR : !\n"
    read(text, report)
    assert items(report) == [(True, "phase SALT", f"{words}; the phase is left out")]


def test_unknown_type_definition_is_a_loss(report):
    text = "TYPE_DEFINITION & GES A_P_D MIX EXCESS KOHLER !\n" + MIX + ENDS
    read(text, report)
    assert items(report) == [
        (True, "phase MIX", "the type definition EXCESS is not known here and is left out")
    ]


def test_interactions_in_a_gas_are_a_loss(report):
    text = (
        "PHASE GAS:G % 1 1 !\nCONSTITUENT GAS:G :C,O : !\n"
        "PARAMETER G(GAS,C;0) 298.15 1; 6000 N !\nPARAMETER G(GAS,O;0) 298.15 1; 6000 N !\n"
        "PARAMETER L(GAS,C,O;0) 298.15 1; 6000 N !\n"
    )
    read(text, report)
    assert [item.text for item in report.losses()] == [
        "a data file holds ideal gases only; it is left out"
    ]


# What is told in passing --------------------------------------------------------------------------

TOLD = {
    "no such phase": (
        "PARAMETER G(OTHER,AL;0) 298.15 1; 6000 N !",
        "the file has no such phase",
    ),
    "no such constituent": (
        "PARAMETER L(MIX,AL,C:VA;0) 298.15 1; 6000 N !",
        "it refers to nothing: C is not on that sublattice",
    ),
    "twice": (
        "PARAMETER G(MIX,AL:VA;0) 298.15 7; 6000 N !",
        "it is given twice; the later one is used",
    ),
    "mobility": (
        "PARAMETER MQ&AL(MIX,AL:VA;0) 298.15 7; 6000 N !",
        "mobilities have no place in a data file",
    ),
    "magnetism without a definition": (
        "PARAMETER TC(MIX,AL:VA;0) 298.15 7; 6000 N !",
        "the phase has no magnetic type definition, so it has no effect",
    ),
    "constituents of nothing": (
        "CONSTITUENT OTHER :AL : !",
        "constituents of a phase that the file does not have",
    ),
    "no constituents": ("PHASE OTHER % 1 1 !", "it has no constituents"),
}


@pytest.mark.parametrize("what", TOLD)
def test_what_has_no_effect_is_a_remark(report, what):
    statement, words = TOLD[what]
    read(MIX + ENDS + statement, report)
    assert [(item.loss, item.text) for item in report] == [(False, words)]


# What is refused ----------------------------------------------------------------------------------

REFUSED = {
    "keyword": ("NONSENSE 1 !", (8, 1), "'NONSENSE' is no keyword that is known here"),
    "two keywords": ("P A !", (8, 1), "'P' may stand for PHASE or PARAMETER"),
    "no end": ("PHASE A % 1 1", (8, 1), "the statement PHASE has no '!' at its end"),
    "element": ("ELEMENT FE !", (8, 9), "expected an element's name, reference phase and mass"),
    "mass": ("ELEMENT FE BCC x !", (8, 16), "expected a number, found 'X'"),
    "species": ("SPECIES X Q2 !", (8, 11), "no element of the file begins 'Q2'"),
    "function": ("FUNCTION GA !", (8, 10), "expected a function's name and ranges"),
    "limit": ("FUNCTION GA x; 6000 N !", (8, 13), "expected the lower limit of temperature"),
    "semicolon": ("FUNCTION GA 298 1 !", (8, 16), "expected ';' behind the expression"),
    "falling": (
        "FUNCTION GA 298 1; 200 N !",
        (8, 20),
        "the upper limit 200 is not above the lower one, 298",
    ),
    "upper limit": ("FUNCTION GA 298 1; hot N !", (8, 20), "expected a number, found 'HOT'"),
    "sublattices": ("PHASE A % x 1 !", (8, 11), "expected a number, found 'X'"),
    "fraction of sublattices": (
        "PHASE A % 1.5 1 !",
        (8, 11),
        "expected the number of sublattices, found '1.5'",
    ),
    "sites": ("PHASE A % 3 1 1 !", (8, 7), "expected the sites of 3 sublattices"),
    "no sites": ("PHASE A % 1 0 !", (8, 13), "a number of sites is not above 0"),
    "phase twice": (
        "PHASE A % 1 1 !\nPHASE A % 1 1 !",
        (9, 7),
        "the phase A is given twice",
    ),
    "colons": ("PHASE A % 1 1 !\nCONSTITUENT A AL !", (9, 13), "expected ':' before and behind"),
    "number of constituents": (
        "PHASE A % 1 1 !\nCONSTITUENT A :AL :CR : !",
        (9, 13),
        "constituents for 2 sublattices; the phase A has 1",
    ),
    "unknown constituent": (
        "PHASE A % 1 1 !\nCONSTITUENT A :AL,XE : !",
        (9, 19),
        "'XE' is no element and no species of the file",
    ),
    "parameter": ("PARAMETER G 298 1; 6000 N !", (8, 11), "expected a parameter as G("),
    "parameter's phase": ("PARAMETER G(A) 298 1; 6000 N !", (8, 13), "expected ',' between"),
    "order": ("PARAMETER G(A,AL;x) 298 1; 6000 N !", (8, 13), "expected the order of the"),
    "empty sublattice": (
        "PARAMETER G(A,AL:;0) 298 1; 6000 N !",
        (8, 13),
        "a sublattice of the parameter names nothing",
    ),
    "parameter's sublattices": (
        MIX + "PARAMETER G(MIX,AL;0) 298 1; 6000 N !",
        (10, 13),
        "G(MIX,AL;0) names 1 sublattices; the phase has 2",
    ),
    "unknown function": (
        MIX + "PARAMETER G(MIX,AL:VA;0) 298 GX; 6000 N !",
        (10, 13),
        "there is no function 'GX'",
    ),
    "circle": (
        "FUNCTION GA 298 GB; 6000 N !\nFUNCTION GB 298 GA; 6000 N !\n"
        + MIX
        + "PARAMETER G(MIX,AL:VA;0) 298 GA; 6000 N !",
        (9, 10),
        "functions refer to each other in a circle: GA -> GB -> GA",
    ),
    "product": (
        MIX + "PARAMETER G(MIX,AL:VA;0) 298 T**2*LN(T); 6000 N !",
        (10, 13),
        "the term T**2*LN(T) cannot be held by a data file",
    ),
    "magnetic numbers": (
        "TYPE_DEFINITION & GES A_P_D MIX MAGNETIC 3 0.28 !\n" + MIX,
        (8, 19),
        "expected a negative antiferromagnetic factor",
    ),
    "one magnetic number": (
        "TYPE_DEFINITION & GES A_P_D MIX MAGNETIC -3 !\n" + MIX,
        (8, 19),
        "a magnetic type definition has two numbers",
    ),
    "gas": (
        "PHASE GAS:G % 2 1 1 !\nCONSTITUENT GAS:G :C :O : !",
        (8, None),
        "the gas GAS has 2 sublattices",
    ),
    "nothing": ("", (None, None), "the file has no phase that could be carried over"),
}


@pytest.mark.parametrize("what", REFUSED)
def test_what_is_wrong_is_refused_with_its_place(report, what):
    statements, place, words = REFUSED[what]
    with pytest.raises(ConversionError) as caught:
        read(statements, report)
    assert caught.value.text.startswith(words)
    assert (caught.value.line, caught.value.column) == place


def test_bytes_that_are_no_text_are_refused(report, tmp_path):
    path = tmp_path / "x.tdb"
    path.write_bytes(b"\xff\xfe\x00\x01")
    with pytest.raises(ConversionError, match="is no keyword"):
        tdb_reader.read(path, report)


def test_chain_of_functions_that_is_too_long_is_refused(report):
    text = "".join(f"FUNCTION G{n} 298 G{n + 1}; 6000 N !\n" for n in range(5000))
    text += "FUNCTION G5000 298 1; 6000 N !\n"
    with pytest.raises(ConversionError, match="too long a chain"):
        read(text + MIX + ENDS.replace("298.15 1;", "298.15 G0;"), report)
