"""Reading of chemical formulae: what is accepted, what is refused, and where."""

import pickle
import time
from contextlib import suppress
from fractions import Fraction

import pytest
from hypothesis import given, strategies as st

from tessara.core import ATOMIC_WEIGHTS, FormulaError, TessaraPyError, parse_formula

# Counts worked out by hand.
ACCEPTED = {
    "O2": {"O": 2},
    "Fe2O3": {"Fe": 2, "O": 3},
    "NaOH3": {"Na": 1, "O": 1, "H": 3},
    "Na(OH)2": {"Na": 1, "O": 2, "H": 2},
    "Co": {"Co": 1},
    "CO": {"C": 1, "O": 1},
    "CH3COOH": {"C": 2, "H": 4, "O": 2},
    "Og": {"Og": 1},
    # fractional counts
    "Cr0.3Mn0.7C": {"Cr": "0.3", "Mn": "0.7", "C": 1},
    "Fe0.947O": {"Fe": "0.947", "O": 1},
    "Mg1.5Si0.5": {"Mg": "1.5", "Si": "0.5"},
    "UO2.25": {"U": 1, "O": "2.25"},
    "Fe2.5Mn0.5O4": {"Fe": "2.5", "Mn": "0.5", "O": 4},
    "Fe2.05O": {"Fe": "2.05", "O": 1},
    "Ni2.50Al": {"Ni": "2.5", "Al": 1},
    "AlO1.5": {"Al": 1, "O": "1.5"},
    "AlO1.5SiO2": {"Al": 1, "O": "3.5", "Si": 1},
    # nested brackets
    "Ca3(PO4)2": {"Ca": 3, "P": 2, "O": 8},
    "K4[Fe(CN)6]": {"K": 4, "Fe": 1, "C": 6, "N": 6},
    "{[(Fe)2]3}4O": {"Fe": 24, "O": 1},
    "(Fe0.5Mn0.5)2O3": {"Fe": 1, "Mn": 1, "O": 3},
    "((NH4)2.5)H0.5PW12O40": {"N": "2.5", "H": "10.5", "P": 1, "W": 12, "O": 40},
    # hydrates and other joined compounds
    "CuSO4·5H2O": {"Cu": 1, "S": 1, "O": 9, "H": 10},
    "CuSO4.5H2O": {"Cu": 1, "S": 1, "O": 9, "H": 10},
    "CuSO4*5H2O": {"Cu": 1, "S": 1, "O": 9, "H": 10},
    "CuSO4•5H2O": {"Cu": 1, "S": 1, "O": 9, "H": 10},
    "Na2CO3.10H2O": {"Na": 2, "C": 1, "O": 13, "H": 20},
    "CaSO4.0.5H2O": {"Ca": 1, "S": 1, "O": "4.5", "H": 1},
    "CaSO4·0.5H2O": {"Ca": 1, "S": 1, "O": "4.5", "H": 1},
    "KCl.MgCl2.6H2O": {"K": 1, "Cl": 3, "Mg": 1, "H": 12, "O": 6},
    "(CaSO4.2H2O)2": {"Ca": 2, "S": 2, "O": 12, "H": 8},
    "CaCl2.8NH3": {"Ca": 1, "Cl": 2, "N": 8, "H": 24},
    "NaBr.2H2O": {"Na": 1, "Br": 1, "H": 4, "O": 2},
    "CaO.SiO2": {"Ca": 1, "O": 3, "Si": 1},
    "2CaO.SiO2": {"Ca": 2, "O": 4, "Si": 1},
    "CaO.2Al2O3": {"Ca": 1, "O": 7, "Al": 4},
    "12CaO.7Al2O3": {"Ca": 12, "O": 33, "Al": 14},
    "3Al2O3·2SiO2": {"Al": 6, "O": 13, "Si": 2},
    "(2CaO·SiO2)3": {"Ca": 6, "O": 12, "Si": 3},
    "Fe2.O3": {"Fe": 2, "O": 3},
}

CHARGED = {
    "Na+": ({"Na": 1}, 1),
    "Fe+3": ({"Fe": 1}, 3),
    "Fe+++": ({"Fe": 1}, 3),
    "SO4-2": ({"S": 1, "O": 4}, -2),
    "SO4--": ({"S": 1, "O": 4}, -2),
    "SO4−2": ({"S": 1, "O": 4}, -2),
    "NO3-": ({"N": 1, "O": 3}, -1),
    "NH4+": ({"N": 1, "H": 4}, 1),
    "Ca[2+]": ({"Ca": 1}, 2),
    "Ca[+2]": ({"Ca": 1}, 2),
    "Ca[+]": ({"Ca": 1}, 1),
    "Fe{3+}": ({"Fe": 1}, 3),
    "Fe(3+)": ({"Fe": 1}, 3),
    "O2[-]": ({"O": 2}, -1),
    "O[2-]": ({"O": 1}, -2),
    "Hg2+2": ({"Hg": 2}, 2),
    "(Fe0.5Mn0.5)[2+]": ({"Fe": "0.5", "Mn": "0.5"}, 2),
    "[Fe(CN)6]-3": ({"Fe": 1, "C": 6, "N": 6}, -3),
    "[Fe(CN)6][3-]": ({"Fe": 1, "C": 6, "N": 6}, -3),
    "e-": ({}, -1),
    "e[-]": ({}, -1),
}

# Formula, position of the mistake, and words of the message.
REFUSED = [
    ("", 0, "expected an element symbol or a bracket, found the end"),
    (" Fe", 0, "found ' '"),
    ("Fe ", 2, "found ' '"),
    ("Fe2 O3", 3, "found ' '"),
    ("Fe2_O", 3, "found '_'"),
    ("H₂O", 1, "found '₂'"),
    ("²", 0, "found '²'"),
    ("é", 0, "found 'é'"),
    # unknown symbols
    ("FE2O3", 1, "did you mean 'Fe'?"),
    ("fe2o3", 0, "did you mean 'Fe'?"),
    ("NaOh", 3, "did you mean 'H'?"),
    ("NACL", 1, "did you mean 'Na'?"),
    ("Hx", 1, "known with this initial: H, He, Ho, Hf, Hg, Hs"),
    ("Q", 0, "no symbol has this initial"),
    ("slag", 0, "did you mean 'S'?"),
    ("D2O", 0, "isotopes have no symbols of their own, write 'H'"),
    ("T2", 0, "isotopes have no symbols of their own, write 'H'"),
    ("Va", 1, "expected an element symbol, found 'a'"),
    ("Fe1e5", 3, "expected an element symbol, found 'e'"),
    # numbers
    ("C02", 1, "or the letter O"),
    ("Fe0O", 2, "expected a number above 0"),
    ("Fe0.0O", 2, "expected a number above 0"),
    ("0Fe", 0, "expected a number above 0"),
    ("2", 1, "found the end"),
    ("2.", 1, "found '.'"),
    ("Fe1234567890123456", 2, "more than 15 digits"),
    # brackets
    ("Fe(O", 4, "expected ')', found the end"),
    ("Fe(O]", 4, "expected ')', found ']'"),
    ("Fe()", 3, "found ')'"),
    ("Fe)", 2, "found ')'"),
    ("(" * 31 + "Fe" + ")" * 31, 30, "nested more than 30 deep"),
    ("Fe(III)2O3", 2, "oxidation number"),
    # dots
    ("H2O.", 4, "found the end"),
    (".H2O", 0, "found '.'"),
    ("Fe2..O3", 4, "found '.'"),
    ("Fe.947O", 2, "expected a digit in front of this dot"),
    ("Al2O3.2SiO2", 5, "this dot can be a decimal point or join two compounds"),
    ("3Al2O3.2SiO2", 6, "this dot can be a decimal point or join two compounds"),
    ("2Na2CO3.3H2O2", 7, "this dot can be a decimal point or join two compounds"),
    ("FeO1.5H2O", 4, "this dot can be a decimal point or join two compounds"),
    ("SiO1.5.5CaO", 6, "a second decimal point"),
    # charges
    ("Fe3+", 2, "the number can belong to the atoms or to the charge"),
    ("O2-", 1, "the number can belong to the atoms or to the charge"),
    ("SO42-", 2, "the number can belong to the atoms or to the charge"),
    ("[Fe(CN)6]3-", 9, "the number can belong to the atoms or to the charge"),
    ("Fe+0", 3, "expected a charge number"),
    ("Fe+1000", 3, "expected a charge number"),
    ("Fe+-", 3, "expected the end, found '-'"),
    ("Na+Cl-", 3, "expected the end, found 'C'"),
    ("Fe[2+]O", 6, "expected the end, found 'O'"),
    ("(Na+)Cl", 3, "a charge stands at the end of the formula"),
    ("Fe[2+", 4, "found '+'"),
    ("[2+]Fe", 0, "found '['"),
    ("2Na+", 3, "one compound that has no number in front"),
    ("NaCl·H2O+", 8, "one compound that has no number in front"),
    ("e", 1, "expected '-'"),
    ("e+", 1, "expected '-'"),
    ("e-2", 1, "expected '-'"),
    ("e(GAS)", 1, "expected '-'"),
]


def exact(counts):
    return {element: Fraction(count) for element, count in counts.items()}


@pytest.mark.parametrize("text", ACCEPTED)
def test_neutral_formula_gives_its_counts(text):
    formula = parse_formula(text)
    assert formula.counts == exact(ACCEPTED[text])
    assert formula.charge == 0
    assert formula.text == text


@pytest.mark.parametrize("text", CHARGED)
def test_ion_gives_counts_and_charge(text):
    counts, charge = CHARGED[text]
    formula = parse_formula(text)
    assert formula.counts == exact(counts)
    assert formula.charge == charge


@pytest.mark.parametrize(("text", "position", "words"), REFUSED)
def test_mistake_is_refused_at_its_place(text, position, words):
    with pytest.raises(FormulaError) as caught:
        parse_formula(text)
    assert caught.value.formula == text
    assert caught.value.position == position
    assert words in str(caught.value)


def test_elements_come_in_order_of_first_occurrence():
    assert list(parse_formula("CH3COOH").counts) == ["C", "H", "O"]
    assert list(parse_formula("CuSO4·5H2O").counts) == ["Cu", "S", "O", "H"]


def test_decimal_counts_are_exact():
    assert parse_formula("Cr0.3").counts["Cr"] == Fraction(3, 10)


def test_depth_of_thirty_brackets_is_read():
    assert parse_formula("(" * 30 + "Fe" + ")" * 30).counts == {"Fe": 1}


def test_number_of_fifteen_digits_is_read():
    assert parse_formula("Fe123456789012345").counts == {"Fe": 123456789012345}


def test_too_many_atoms_for_a_float_are_refused():
    text = "(" * 25 + "Fe" + ")999999999999999" * 25
    with pytest.raises(FormulaError, match="too large"):
        parse_formula(text)


def test_too_few_atoms_for_a_float_are_refused():
    text = "(" * 25 + "Fe" + ")0.00000000000001" * 25
    with pytest.raises(FormulaError, match="too small"):
        parse_formula(text)


def test_molar_mass_is_the_sum_over_the_atoms():
    # 63.546 + 32.06 + 9 * 15.999 + 10 * 1.008
    assert parse_formula("CuSO4·5H2O").molar_mass == pytest.approx(249.677, abs=1e-9)


def test_electrons_have_no_mass():
    assert parse_formula("e-").molar_mass == 0.0
    assert parse_formula("Na+").molar_mass == parse_formula("Na").molar_mass


def test_error_shows_the_formula_with_a_caret_below_the_mistake():
    with pytest.raises(FormulaError) as caught:
        parse_formula("FE2O3")
    first, formula, caret = str(caught.value).splitlines()
    assert "position 1" in first
    assert "expected" in first
    assert formula.strip() == "FE2O3"
    assert caret.index("^") == formula.index("E2")


def test_error_shows_only_the_surroundings_in_a_long_formula():
    text = "Fe" * 500 + "?" + "O" * 500
    with pytest.raises(FormulaError) as caught:
        parse_formula(text)
    _, formula, caret = str(caught.value).splitlines()
    assert len(formula) < 80
    assert formula[caret.index("^")] == "?"
    assert caught.value.formula == text


def test_error_shows_characters_that_cannot_be_printed_as_question_marks():
    with pytest.raises(FormulaError) as caught:
        parse_formula("Fe\n\ud800")
    assert "Fe??" in str(caught.value)
    assert caught.value.position == 2


def test_formula_error_is_caught_as_the_library_s_own_and_as_value_error():
    assert issubclass(FormulaError, TessaraPyError)
    assert issubclass(FormulaError, ValueError)


def test_formula_error_survives_pickling():
    error = FormulaError("FE", 1, "expected a symbol")
    other = pickle.loads(pickle.dumps(error))
    assert type(other) is FormulaError
    assert (other.formula, other.position, other.problem) == ("FE", 1, "expected a symbol")
    assert str(other) == str(error)


@pytest.mark.parametrize("value", [None, 1, b"Fe", ["Fe"]])
def test_formula_that_is_no_text_is_a_type_error(value):
    with pytest.raises(TypeError, match="a formula is a str"):
        parse_formula(value)


def test_equal_formulae_are_equal_and_hash_alike():
    assert parse_formula("FeO") == parse_formula("FeO")
    assert hash(parse_formula("FeO")) == hash(parse_formula("FeO"))
    assert parse_formula("FeO") != parse_formula("OFe")
    assert parse_formula("FeO") != "FeO"


def test_representation_of_a_formula_shows_how_to_read_it_again():
    assert repr(parse_formula("FeO")) == "parse_formula('FeO')"


def test_formula_survives_pickling():
    formula = pickle.loads(pickle.dumps(parse_formula("Fe0.947O")))
    assert formula.counts == {"Fe": Fraction("0.947"), "O": 1}


# Trees of what can be written, with the counts that they stand for. H, N, I and V are left out:
# water, ammonia and oxidation numbers have rules of their own.

SYMBOLS = st.sampled_from([s for s in ATOMIC_WEIGHTS if s not in ("H", "N", "I", "V")])
COUNTS = st.one_of(
    st.just(""),
    st.integers(1, 10**6).map(str),
    st.decimals("0.001", "1.999", places=3).map(lambda d: f"{d:.3f}"),
)
CHARGES = st.one_of(
    st.just(("", 0)),
    st.tuples(st.sampled_from(["[]", "()", "{}"]), st.sampled_from("+-"), st.integers(1, 99)).map(
        lambda t: (f"{t[0][0]}{t[2]}{t[1]}{t[0][1]}", t[2] if t[1] == "+" else -t[2])
    ),
    st.tuples(st.sampled_from("+-"), st.integers(1, 99)).map(
        lambda t: (f"{t[0]}{t[1]}", t[1] if t[0] == "+" else -t[1])
    ),
)


def add(total, counts, factor):
    for element, count in counts.items():
        total[element] = total.get(element, 0) + count * factor


def sequence(items):
    text, total = "", {}
    for part, count in items:
        text += part[0] + count
        add(total, part[1], Fraction(count or 1))
    return text, total


def bracketed(inner):
    brackets = st.sampled_from(["()", "[]", "{}"])
    return st.tuples(brackets, inner).map(lambda t: (t[0][0] + t[1][0] + t[0][1], t[1][1]))


ITEMS = st.recursive(
    SYMBOLS.map(lambda symbol: (symbol, {symbol: Fraction(1)})),
    lambda items: bracketed(
        st.lists(st.tuples(items, COUNTS), min_size=1, max_size=4).map(sequence)
    ),
    max_leaves=12,
)
PARTS = st.lists(st.tuples(ITEMS, COUNTS), min_size=1, max_size=5).map(sequence)
FACTORS = st.one_of(st.just(""), st.integers(1, 99).map(str), st.just("0.5"))
JOINTS = st.sampled_from("·•∙⋅*")


@given(PARTS, CHARGES)
def test_written_tree_reads_back_with_its_charge(part, charge):
    formula = parse_formula(part[0] + charge[0])
    assert formula.counts == part[1]
    assert list(formula.counts) == list(part[1])
    assert formula.charge == charge[1]


@given(st.lists(st.tuples(JOINTS, FACTORS, PARTS), min_size=1, max_size=4))
def test_joined_trees_read_back_as_their_sum(parts):
    text, total = "", {}
    for joint, factor, part in parts:
        text += (joint if text else "") + factor + part[0]
        add(total, part[1], Fraction(factor or 1))
    assert parse_formula(text).counts == total


@given(st.decimals("2.1", "9.9", places=1).filter(lambda d: d % 1 != 0), SYMBOLS, SYMBOLS)
def test_fraction_above_two_is_read_unless_its_element_comes_again(count, one, other):
    text = f"{one}{count}{other}"
    if one == other:
        with pytest.raises(FormulaError) as caught:
            parse_formula(text)
        assert caught.value.position == text.index(".")
    else:
        assert parse_formula(text).counts == {one: Fraction(count), other: 1}


@given(
    st.one_of(
        st.text(),
        st.text("FeOHCNaSiIVe0123456789.·*()[]{}+-−", max_size=30),
        st.builds("".join, st.lists(st.sampled_from(["Fe", "O", "H2O", ".", "2", "(", ")", "+"]))),
    )
)
def test_any_text_is_read_or_refused_with_a_position(text):
    formula, refusal = None, None
    try:
        formula = parse_formula(text)
    except FormulaError as error:
        refusal = error
    if formula is not None:
        assert all(count > 0 for count in formula.counts.values())
        assert formula.counts or formula.charge == -1
    else:
        assert 0 <= refusal.position <= len(text)
        assert len(str(refusal).splitlines()) == 3


@pytest.mark.parametrize(
    "text",
    [
        lambda n: "Fe" * n,
        lambda n: "Fe0.5" * n,
        lambda n: "(FeO)2" * n,
        lambda n: "9" * n,
        lambda n: "Fe" + "+" * n,
        lambda n: "(" * n,
        lambda n: "[9" * n,
        lambda n: "(((" + "Fe" * n + ")))",
        lambda n: "FeO·" * n + "Fe",
        lambda n: "CaO.2SiO2." * n + "CaO",
        lambda n: "O" + ".5" * n,
        lambda n: "Fe2.5" + "Mn" * n,
    ],
)
def test_time_of_reading_grows_no_faster_than_the_length(text):
    def seconds(n):
        formula = text(n)
        best = float("inf")
        for _ in range(3):
            start = time.perf_counter()
            with suppress(FormulaError):
                parse_formula(formula)
            best = min(best, time.perf_counter() - start)
        return best

    # Sixteen times the length: a quadratic reader would take 256 times as long.
    assert seconds(16_000) < 80 * max(seconds(1_000), 1e-5)
