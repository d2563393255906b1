"""The mapping of components to amounts."""

import copy
import math
import pickle
from fractions import Fraction

import pytest
from hypothesis import given, strategies as st

from tessara.core import Composition, CompositionError, FormulaError

# Sums over the table of atomic weights, by hand.
MOLAR_MASSES = {"Fe2O3": 159.687, "SiO2": 60.083, "CaO": 56.077}

AMOUNTS = st.floats(-1e6, 1e6).filter(lambda x: x == 0.0 or abs(x) > 1e-6)
POSITIVE = st.floats(1e-6, 1e6)
NAMES = st.sampled_from(["Fe", "O2", "CaO", "SiO2", "Al2O3", "H2O"])
COMPOSITIONS = st.dictionaries(NAMES, AMOUNTS).map(Composition)
MIXTURES = st.dictionaries(NAMES, POSITIVE, min_size=1).map(Composition)
FACTORS = st.floats(-1e3, 1e3).filter(lambda x: abs(x) > 1e-3)


def test_formula_gives_its_elements():
    assert dict(Composition("Fe2O3")) == {"Fe": 2.0, "O": 3.0}


def test_formula_of_an_ion_gives_its_atoms():
    assert dict(Composition("SO4-2")) == {"S": 1.0, "O": 4.0}


def test_mapping_gives_its_items_in_order():
    composition = Composition({"SiO2": 1, "CaO": Fraction(1, 2)})
    assert list(composition.items()) == [("SiO2", 1.0), ("CaO", 0.5)]
    assert {type(amount) for amount in composition.values()} == {float}


def test_amounts_can_be_given_by_name():
    assert Composition(Fe=2, O=3) == Composition("Fe2O3")


def test_nothing_gives_an_empty_composition():
    assert len(Composition()) == 0
    assert Composition().amount == 0.0
    assert Composition().mass == 0.0


def test_composition_and_names_together_are_refused():
    with pytest.raises(TypeError, match="not both"):
        Composition("Fe", O=1)


@pytest.mark.parametrize("value", [1, ["Fe"], b"Fe"])
def test_wrong_type_of_composition_is_refused(value):
    with pytest.raises(TypeError, match="made from a str or a mapping"):
        Composition(value)


def test_formula_with_a_mistake_is_refused():
    with pytest.raises(FormulaError):
        Composition("FE")


@pytest.mark.parametrize("value", [math.nan, math.inf, -math.inf, 10**400])
def test_amount_that_is_not_finite_is_refused(value):
    with pytest.raises(CompositionError, match="'Fe' is not finite") as caught:
        Composition({"Fe": value})
    assert caught.value.components == ("Fe",)


@pytest.mark.parametrize("value", ["1", None, [1], 1j])
def test_amount_that_is_no_number_is_refused(value):
    with pytest.raises(TypeError, match="'Fe' is not a number"):
        Composition({"Fe": value})


def test_name_that_is_no_text_is_refused():
    with pytest.raises(TypeError, match="name of a component"):
        Composition({1: 1.0})


def test_missing_component_is_a_key_error():
    with pytest.raises(KeyError, match="Fe"):
        Composition("O2")["Fe"]


def test_composition_cannot_be_changed():
    with pytest.raises(TypeError):
        Composition("O2")["O"] = 1.0
    with pytest.raises(AttributeError):
        Composition("O2").amount = 1.0


def test_later_change_of_the_given_dict_does_not_show():
    amounts = {"Fe": 1.0}
    composition = Composition(amounts)
    amounts["Fe"] = 2.0
    assert composition["Fe"] == 1.0


def test_negative_zero_is_zero():
    assert math.copysign(1.0, Composition({"Fe": -0.0})["Fe"]) == 1.0


@pytest.mark.parametrize("formula", MOLAR_MASSES)
def test_molar_mass_of_a_formula(formula):
    assert Composition(formula).molar_mass == pytest.approx(MOLAR_MASSES[formula], abs=1e-9)


def test_mass_is_the_sum_over_components():
    mixture = Composition({"CaO": 2, "SiO2": 0.5})
    assert mixture.masses() == pytest.approx({"CaO": 112.154, "SiO2": 30.0415})
    assert mixture.mass == pytest.approx(142.1955)


def test_given_molar_mass_goes_before_that_of_the_formula():
    assert Composition({"CaO": 2}, molar_masses={"CaO": 50.0}).mass == 100.0


def test_molar_mass_of_a_name_that_is_no_formula_can_be_given():
    assert Composition({"slag": 2}, molar_masses={"slag": 60.0}).mass == 120.0


def test_unknown_molar_mass_is_refused_by_name():
    with pytest.raises(CompositionError, match="molar mass of 'slag' is not known") as caught:
        _ = Composition({"slag": 2}).mass
    assert caught.value.components == ("slag",)


@pytest.mark.parametrize("mass", [0.0, -1.0])
def test_molar_mass_has_to_be_above_zero(mass):
    with pytest.raises(CompositionError, match="'slag' is not above zero"):
        Composition({"slag": 1}, molar_masses={"slag": mass})


def test_mole_fractions():
    assert Composition({"CaO": 1, "SiO2": 3}).mole_fractions() == {"CaO": 0.25, "SiO2": 0.75}


def test_mass_fractions():
    fractions = Composition({"a": 1, "b": 1}, molar_masses={"a": 10.0, "b": 30.0}).mass_fractions()
    assert fractions == {"a": 0.25, "b": 0.75}


@pytest.mark.parametrize("amounts", [{}, {"Fe": 0.0}, {"Fe": 1.0, "O": -2.0}])
def test_mole_fractions_of_nothing_are_refused(amounts):
    with pytest.raises(CompositionError, match="sum of the amounts"):
        Composition(amounts).mole_fractions()


@pytest.mark.parametrize("amounts", [{}, {"Fe": 0.0}, {"Fe": 1.0, "O": -20.0}])
def test_mass_fractions_of_nothing_are_refused(amounts):
    with pytest.raises(CompositionError, match="sum of the masses"):
        Composition(amounts).mass_fractions()


def test_fractions_of_a_sum_that_overflows_are_refused():
    with pytest.raises(CompositionError, match="finite"):
        Composition({"Fe": 1e308, "O": 1e308}).mole_fractions()


@given(MIXTURES)
def test_fractions_add_up_to_one(mixture):
    assert math.fsum(mixture.mole_fractions().values()) == pytest.approx(1.0)
    assert math.fsum(mixture.mass_fractions().values()) == pytest.approx(1.0)


@given(MIXTURES, POSITIVE)
def test_normalised_composition_has_the_amount_asked_for(mixture, amount):
    normalised = mixture.normalised(amount)
    assert normalised.amount == pytest.approx(amount)
    assert normalised.is_close(mixture * (amount / mixture.amount))


@given(MIXTURES)
def test_composition_made_from_masses_has_them(mixture):
    assert Composition.from_masses(mixture.masses()).is_close(mixture)


def test_composition_from_masses_uses_given_molar_masses():
    composition = Composition.from_masses({"slag": 120.0}, molar_masses={"slag": 60.0})
    assert dict(composition) == {"slag": 2.0}
    assert composition.mass == 120.0


def test_composition_from_the_mass_of_electrons_is_refused():
    with pytest.raises(CompositionError, match="'e-' has no mass"):
        Composition.from_masses({"e-": 1.0})


def test_composition_from_masses_of_an_unknown_is_refused():
    with pytest.raises(CompositionError, match="molar mass of 'slag' is not known"):
        Composition.from_masses({"slag": 1.0})


def test_elements_of_all_components_add_up():
    elements = Composition({"CaO": 1, "SiO2": 2}).elements()
    assert list(elements.items()) == [("Ca", 1.0), ("O", 5.0), ("Si", 2.0)]


@given(COMPOSITIONS)
def test_elements_weigh_as_much_as_the_components(composition):
    size = sum(abs(mass) for mass in composition.masses().values())
    assert composition.elements().mass == pytest.approx(composition.mass, abs=1e-12 * size)


@given(COMPOSITIONS, COMPOSITIONS)
def test_sum_adds_each_component(one, other):
    total = one + other
    assert total.keys() == one.keys() | other.keys()
    for name in total:
        assert total[name] == one.get(name, 0.0) + other.get(name, 0.0)


@given(COMPOSITIONS, COMPOSITIONS)
def test_order_of_the_sum_does_not_matter(one, other):
    assert one + other == other + one


@given(COMPOSITIONS, COMPOSITIONS)
def test_difference_undoes_the_sum(one, other):
    assert ((one + other) - other).is_close(one, absolute=1e-9)


@given(COMPOSITIONS)
def test_difference_with_itself_is_zero(composition):
    assert all(amount == 0.0 for amount in (composition - composition).values())


@given(COMPOSITIONS, FACTORS)
def test_quotient_undoes_the_product(composition, factor):
    assert (composition * factor / factor).is_close(composition)


@given(COMPOSITIONS, FACTORS)
def test_factor_may_stand_on_either_side(composition, factor):
    assert factor * composition == composition * factor


@given(COMPOSITIONS, COMPOSITIONS, FACTORS)
def test_product_distributes_over_the_sum(one, other, factor):
    assert ((one + other) * factor).is_close(one * factor + other * factor, absolute=1e-6)


@given(MIXTURES, FACTORS)
def test_scaling_leaves_the_fractions_alone(mixture, factor):
    assert (mixture * abs(factor)).mole_fractions() == pytest.approx(mixture.mole_fractions())


def test_sign_can_be_turned():
    assert dict(-Composition("O2")) == {"O": -2.0}


def test_names_of_the_left_side_come_first_in_a_sum():
    assert list(Composition("CaO") + Composition("SiO2")) == ["Ca", "O", "Si"]


@pytest.mark.parametrize("other", ["a", {"Fe": 1}, 1, None])
def test_only_compositions_can_be_added(other):
    with pytest.raises(TypeError):
        Composition("Fe") + other
    with pytest.raises(TypeError):
        Composition("Fe") - other


@pytest.mark.parametrize("factor", ["a", None, Composition("Fe")])
def test_only_numbers_can_be_factors(factor):
    with pytest.raises(TypeError):
        Composition("Fe") * factor
    with pytest.raises(TypeError):
        Composition("Fe") / factor


def test_division_by_zero_is_that_error():
    with pytest.raises(ZeroDivisionError):
        Composition("Fe") / 0


def test_product_that_overflows_is_refused():
    with pytest.raises(CompositionError, match="not finite"):
        Composition({"Fe": 1e308}) * 10


def test_molar_masses_follow_through_the_algebra():
    slag = Composition({"slag": 1}, molar_masses={"slag": 60.0})
    assert (2 * slag + Composition({"CaO": 0})).mass == 120.0
    assert Composition(slag).mass == 60.0


def test_sum_may_give_one_molar_mass_twice():
    slag = Composition({"slag": 1}, molar_masses={"slag": 60.0})
    assert (slag + slag).mass == 120.0


def test_sum_with_two_molar_masses_of_one_name_is_refused():
    one = Composition({"slag": 1}, molar_masses={"slag": 60.0})
    other = Composition({"slag": 1}, molar_masses={"slag": 61.0})
    with pytest.raises(CompositionError, match="two different molar masses"):
        one + other


def test_equality_compares_amounts_in_any_order():
    assert Composition({"a": 1, "b": 2}) == Composition({"b": 2, "a": 1})
    assert Composition({"a": 1}) == {"a": 1}
    assert Composition({"a": 1}) != Composition({"a": 2})
    assert Composition({"a": 1}) != Composition({"a": 1, "b": 0})


def test_equal_compositions_hash_alike():
    assert hash(Composition({"a": 1, "b": 2})) == hash(Composition({"b": 2, "a": 1}))


def test_closeness_is_relative_to_the_greater_amount():
    one = Composition({"a": 1.0})
    assert one.is_close({"a": 1.0 + 1e-10})
    assert not one.is_close({"a": 1.0 + 1e-8})
    assert one.is_close({"a": 1.1}, relative=0.1)
    assert one.is_close({"a": 1.1}, absolute=0.2)


def test_closeness_takes_a_missing_component_for_zero():
    assert Composition({"a": 1.0}).is_close({"a": 1.0, "b": 0.0})
    assert not Composition({"a": 1.0}).is_close({"a": 1.0, "b": 1e-3})
    assert Composition({"a": 1.0, "b": 1e-12}).is_close({"a": 1.0}, absolute=1e-9)


@given(COMPOSITIONS)
def test_repr_reads_back(composition):
    assert eval(repr(composition)) == composition


def test_repr_tells_given_molar_masses():
    text = repr(Composition({"slag": 1}, molar_masses={"slag": 60.0}))
    assert text == "Composition({'slag': 1.0}, molar_masses={'slag': 60.0})"


@pytest.mark.parametrize("protocol", range(pickle.HIGHEST_PROTOCOL + 1))
def test_composition_survives_pickling(protocol):
    slag = Composition({"slag": 1}, molar_masses={"slag": 60.0})
    other = pickle.loads(pickle.dumps(slag, protocol))
    assert other == slag
    assert other.mass == 60.0


@pytest.mark.parametrize("duplicate", [copy.copy, copy.deepcopy])
def test_composition_can_be_copied(duplicate):
    assert duplicate(Composition("Fe2O3")) == Composition("Fe2O3")


def test_composition_error_survives_pickling():
    error = CompositionError("text", ["a"], {"O": 1.0})
    other = pickle.loads(pickle.dumps(error))
    assert (str(other), other.components, other.remainder) == ("text", ("a",), {"O": 1.0})
