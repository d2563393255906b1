"""`set_IA_cfs`: incoming amounts given as chemical formulae."""

import gc
import math
import sys

import pytest

MM_G = {"Fe": 55.845, "O": 15.999, "C": 12.011}


@pytest.fixture
def unit(friendly, core, loaded, monkeypatch):
    """What the amount unit is. Each question stands among the library's calls."""
    holder = [core.AmountUnit.mol]

    def get_A_unit(cls):
        loaded.calls.append(("Units.get_A_unit", cls))
        return holder[0]

    def get_name_scs(cls):
        loaded.calls.append(("ThermochemicalSystem.get_name_scs", cls))
        return [sc.name for sc in loaded.scs]

    monkeypatch.setattr(friendly.Units, "get_A_unit", classmethod(get_A_unit), raising=False)
    monkeypatch.setattr(
        friendly.ThermochemicalSystem, "get_name_scs", classmethod(get_name_scs), raising=False
    )
    return holder


class Composition:
    """A sized mapping with `items`, and nothing else of a dict."""

    def __init__(self, calls, pairs):
        self.calls, self.pairs = calls, pairs

    def __len__(self):
        self.calls.append(("len",))
        return len(self.pairs)

    def items(self):
        self.calls.append(("items",))
        return list(self.pairs)


@pytest.fixture
def formulas(friendly, loaded, monkeypatch):
    """Formulae by name: per unit of amount, what each component gets. Making one is recorded."""
    known = {
        "FeO": [("Fe", 1.0), ("O", 1.0)],
        "Fe2O3": [("Fe", 2.0), ("O", 3.0)],
        "CO": [("C", 1.0), ("O", 1.0)],
        "empty": [],
        "NaO": [("Na", 1.0), ("O", 1.0)],
    }

    class State:
        def __init__(self, *arguments):
            loaded.calls.append(("formula", *arguments))
            self.cf, self.value = arguments
            if self.cf not in known:
                raise ValueError("unreadable")

        @property
        def scs_A(self):
            loaded.calls.append(("scs_A",))
            return Composition(loaded.calls, [(n, k * self.value) for n, k in known[self.cf]])

    monkeypatch.setattr(friendly, "ChemicalFormulaIncomingAmountState", State)
    return known


@pytest.fixture
def logged(friendly, loaded):
    class Logged(friendly.EquilibriumCalculation):
        @classmethod
        def _set_eq_condition_sc(cls, *arguments):
            loaded.calls.append(("_set_eq_condition_sc", cls, *arguments))
            return f"number {len(loaded.calls)}"

    return Logged


def placed(loaded):
    return {call[3]: call[4] for call in loaded.calls if call[0] == "_set_eq_condition_sc"}


def test_amounts_in_mol_in_order(friendly, logged, loaded, core, unit, formulas):
    result = logged.set_IA_cfs(["Fe2O3", "CO"], [1.5, 2])
    reading = [("scs_A",), ("len",), ("Units.get_A_unit", friendly.Units), ("scs_A",), ("items",)]
    incoming = core.ConditionVariable.IA
    assert loaded.calls == [
        ("ThermochemicalSystem.get_name_scs", friendly.ThermochemicalSystem),
        *[("formula", "Fe2O3", 1.5), *reading],
        *[("formula", "CO", 2), *reading],
        ("_set_eq_condition_sc", logged, incoming, "Fe", 3.0),
        ("_set_eq_condition_sc", logged, incoming, "O", 4.5 + 2.0),
        ("_set_eq_condition_sc", logged, incoming, "C", 2.0),
    ]
    assert loaded.calls[-1][2] is incoming
    assert type(result) is list
    assert result == [f"number {len(loaded.calls) - i}" for i in (2, 1, 0)]


def test_amounts_as_masses_in_order(friendly, logged, loaded, core, unit, formulas):
    unit[0] = core.AmountUnit.kg
    logged.set_IA_cfs(["Fe2O3"], [1.5])
    total = 0.0 + MM_G["Fe"] * 3.0 / 1.5 + MM_G["O"] * 4.5 / 1.5
    incoming = core.ConditionVariable.IA
    assert loaded.calls == [
        ("ThermochemicalSystem.get_name_scs", friendly.ThermochemicalSystem),
        ("formula", "Fe2O3", 1.5),
        *[("scs_A",), ("len",), ("Units.get_A_unit", friendly.Units)],
        *[("scs_A",), ("items",)] * 3,
        ("_set_eq_condition_sc", logged, incoming, "Fe", 0 + 3.0 * (MM_G["Fe"] / total)),
        ("_set_eq_condition_sc", logged, incoming, "O", 0 + 4.5 * (MM_G["O"] / total)),
        ("_set_eq_condition_sc", logged, incoming, "C", 0),
    ]


@pytest.mark.parametrize("unit_name", ["kg", "gram"])
def test_shares_of_a_mass_add_up_to_it(logged, loaded, core, unit, formulas, unit_name):
    unit[0] = core.AmountUnit[unit_name]
    logged.set_IA_cfs(["Fe2O3", "CO"], [1.5, 0.25])
    shares = placed(loaded)
    assert math.fsum(shares.values()) == pytest.approx(1.75, rel=1e-15)
    # Coefficient times molar mass of the component, over that of the formula.
    iron = 1.5 * 2 * 55.845 / (2 * 55.845 + 3 * 15.999)
    carbon = 0.25 * 12.011 / (12.011 + 15.999)
    assert shares["Fe"] == pytest.approx(iron, rel=1e-14)
    assert shares["C"] == pytest.approx(carbon, rel=1e-14)


def test_any_unit_that_is_not_mol_counts_as_one_of_mass(logged, loaded, unit, formulas):
    unit[0] = "stone"
    logged.set_IA_cfs(["FeO"], [1.0])
    assert placed(loaded)["Fe"] == pytest.approx(55.845 / (55.845 + 15.999), rel=1e-14)


def test_unit_is_asked_once_per_formula_with_an_amount(logged, loaded, core, unit, formulas):
    logged.set_IA_cfs(["FeO", "CO", "Fe2O3"], [1.0, 0.0, 2.0])
    assert loaded.count("Units.get_A_unit") == 2


def test_unit_may_differ_from_one_formula_to_the_next(
    friendly, logged, loaded, core, unit, formulas, monkeypatch
):
    units = iter([core.AmountUnit.mol, core.AmountUnit.kg])
    monkeypatch.setattr(friendly.Units, "get_A_unit", lambda: next(units))
    logged.set_IA_cfs(["FeO", "CO"], [1.0, 1.0])
    assert placed(loaded)["Fe"] == 1.0
    assert placed(loaded)["C"] == pytest.approx(12.011 / (12.011 + 15.999), rel=1e-14)


def test_conditions_go_to_the_library_as_floats(friendly, loaded, core, unit, formulas):
    numbers = friendly.EquilibriumCalculation.set_IA_cfs(["Fe2O3"], [2])
    conditions = loaded.of("hxsetc")
    assert conditions == [
        ("hxsetc", core.ConditionVariable.IA, -1, 0, 4.0),
        ("hxsetc", core.ConditionVariable.IA, -1, 1, 6.0),
        ("hxsetc", core.ConditionVariable.IA, -1, 2, 0.0),
    ]
    assert [type(call[4]) for call in conditions] == [float] * 3
    assert numbers == [1, 2, 3]


def test_component_that_no_formula_touches_gets_the_int_zero(logged, loaded, unit, formulas):
    logged.set_IA_cfs(["FeO"], [1.0])
    assert type(placed(loaded)["C"]) is int


def test_nothing_given_sets_zero_everywhere(friendly, loaded, core, unit, formulas):
    assert friendly.PhaseMapCalculation.set_IA_cfs([], []) == [1, 2, 3]
    assert [call[4] for call in loaded.of("hxsetc")] == [0.0, 0.0, 0.0]


@pytest.mark.parametrize("zero", [0.0, 0, -0.0, False])
def test_zero_amount_is_read_and_adds_nothing(logged, loaded, unit, formulas, zero):
    logged.set_IA_cfs(["NaO", "FeO"], [zero, zero])
    assert loaded.of("formula") == [("formula", "NaO", zero), ("formula", "FeO", zero)]
    assert loaded.of("scs_A", "Units.get_A_unit") == []
    assert list(placed(loaded).values()) == [0, 0, 0]


def test_bad_formula_fails_with_a_zero_amount_too(logged, loaded, unit, formulas):
    with pytest.raises(ValueError, match="unreadable"):
        logged.set_IA_cfs(["FeO", "?"], [1.0, 0.0])
    assert placed(loaded) == {}


@pytest.mark.parametrize(
    ("cfs", "values", "read"),
    [
        (["FeO", "CO", "?"], [1.0, 2.0], ["FeO", "CO"]),
        (["FeO"], [1.0, "no number"], ["FeO"]),
        ([], [1.0], []),
        (["?"], [], []),
    ],
)
def test_shorter_list_ends_the_walk(logged, loaded, unit, formulas, cfs, values, read):
    logged.set_IA_cfs(cfs, values)
    assert [call[1] for call in loaded.of("formula")] == read


def test_negative_amount_is_added_as_it_comes(logged, loaded, unit, formulas):
    logged.set_IA_cfs(["FeO", "CO"], [-1.0, 3.0])
    assert placed(loaded) == {"Fe": -1.0, "O": 2.0, "C": 3.0}


def test_amounts_add_up_in_the_order_of_the_formulae(logged, loaded, unit, formulas):
    logged.set_IA_cfs(["CO"] * 3, [0.1, 0.2, 0.3])
    assert placed(loaded)["C"] == ((0 + 0.1) + 0.2) + 0.3
    logged.set_IA_cfs(["CO"] * 3, [0.3, 0.2, 0.1])
    assert placed(loaded)["C"] == ((0 + 0.3) + 0.2) + 0.1


def test_nothing_carries_over_to_the_next_call(logged, loaded, unit, formulas):
    for _ in range(2):
        logged.set_IA_cfs(["FeO"], [1.0])
        assert placed(loaded)["Fe"] == 1.0


def test_composition_without_items_adds_nothing(logged, loaded, core, unit, formulas):
    for amount_unit in core.AmountUnit:
        unit[0] = amount_unit
        logged.set_IA_cfs(["empty"], [1.0])
        assert list(placed(loaded).values()) == [0, 0, 0]


def test_names_are_those_that_the_system_gives(friendly, logged, loaded, core, unit, formulas):
    class System:
        @staticmethod
        def get_name_scs():
            return ["O", "Fe", "O", "other"]

    friendly.ThermochemicalSystem = System
    assert len(logged.set_IA_cfs(["FeO"], [1.0])) == 3
    assert placed(loaded) == {"O": 1.0, "Fe": 1.0, "other": 0}


def test_molar_masses_are_not_read_under_mol(friendly, logged, loaded, dat, unit, formulas):
    loaded.scs[0].mm_g = "no number"
    friendly.ThermochemicalSystem.load(dat)
    logged.set_IA_cfs(["FeO"], [1.0])
    assert placed(loaded)["Fe"] == 1.0


def test_molar_masses_are_those_in_gram(friendly, logged, loaded, core, dat, unit, formulas):
    for sc in loaded.scs:
        sc.mm = None
    for ph in loaded.phs:
        for pc in ph.pcs:
            pc.mm = 0.0
    friendly.ThermochemicalSystem.load(dat)
    unit[0] = core.AmountUnit.kg
    logged.set_IA_cfs(["FeO"], [1.0])
    assert placed(loaded)["Fe"] == pytest.approx(55.845 / (55.845 + 15.999), rel=1e-14)


# Failures.


@pytest.mark.parametrize(("unit_name", "walks"), [("mol", 1), ("kg", 1), ("gram", 1)])
def test_unknown_component_is_a_bare_key_error(
    logged, loaded, core, unit, formulas, unit_name, walks
):
    unit[0] = core.AmountUnit[unit_name]
    with pytest.raises(KeyError) as failure:
        logged.set_IA_cfs(["FeO", "NaO"], [1.0, 1.0])
    assert failure.value.args == ("Na",)
    assert placed(loaded) == {}
    # Under mol it surfaces in the last walk over the composition, which is the first there.
    second = loaded.calls[loaded.calls.index(("formula", "NaO", 1.0)) :]
    assert [call[0] for call in second].count("items") == walks


def test_formula_without_mass_divides_by_zero(friendly, logged, loaded, core, dat, unit, formulas):
    for sc in loaded.scs:
        sc.mm_g = 0.0
    friendly.ThermochemicalSystem.load(dat)
    loaded.calls.clear()
    unit[0] = core.AmountUnit.kg
    with pytest.raises(ZeroDivisionError):
        logged.set_IA_cfs(["FeO"], [1.0])
    assert placed(loaded) == {}
    assert loaded.count("items") == 2


@pytest.mark.parametrize(
    ("cfs", "values", "text"),
    [
        ((), [], "Argument 'cfs' has incorrect type (expected list, got tuple)"),
        ("FeO", [1.0], "Argument 'cfs' has incorrect type (expected list, got str)"),
        ([], 1.0, "Argument 'values' has incorrect type (expected list, got float)"),
        (
            [],
            type("Mine", (list,), {})(),
            "Argument 'values' has incorrect type (expected list, got Mine)",
        ),
    ],
)
def test_what_is_no_list_is_refused(logged, loaded, unit, cfs, values, text):
    with pytest.raises(TypeError) as failure:
        logged.set_IA_cfs(cfs, values)
    assert failure.value.args == (text,)
    assert loaded.calls == []


@pytest.mark.parametrize(("cfs", "values"), [(None, []), ([], None), (None, None)])
def test_none_fails_when_the_lists_are_walked(logged, loaded, unit, cfs, values):
    with pytest.raises(TypeError, match="NoneType"):
        logged.set_IA_cfs(cfs=cfs, values=values)
    assert [call[0] for call in loaded.calls] == ["ThermochemicalSystem.get_name_scs"]


@pytest.mark.parametrize("place", [1, 2, 3])
def test_refused_condition_leaves_the_ones_before_it(friendly, loaded, core, unit, formulas, place):
    answered = []

    def hxsetc(*arguments):
        answered.append(arguments)
        if len(answered) == place:
            raise core.TessaraError("refused")
        return len(answered)

    loaded.instead["hxsetc"] = hxsetc
    with pytest.raises(core.TessaraError, match="refused"):
        friendly.EquilibriumCalculation.set_IA_cfs(["FeO"], [1.0])
    assert len(answered) == place


def test_composition_with_more_items_than_its_length_is_an_index_error(
    friendly, logged, loaded, unit, formulas, monkeypatch
):
    monkeypatch.setattr(Composition, "__len__", lambda self: 1)
    with pytest.raises(IndexError):
        logged.set_IA_cfs(["FeO"], [1.0])
    assert placed(loaded) == {}


def test_lists_may_change_while_they_are_walked(logged, loaded, unit, formulas, monkeypatch):
    cfs, values = ["FeO", "CO"], [1.0, 1.0]
    loaded.calls.clear()
    original = Composition.items

    def items(self):
        cfs.clear()
        return original(self)

    monkeypatch.setattr(Composition, "items", items)
    logged.set_IA_cfs(cfs, values)
    assert placed(loaded) == {"Fe": 1.0, "O": 1.0, "C": 0}


def test_streams_have_no_formulae(friendly):
    assert not hasattr(friendly.StreamCalculation, "set_IA_cfs")


@pytest.mark.parametrize("unit_name", ["mol", "kg"])
def test_formulae_lose_no_reference(friendly, loaded, core, unit, formulas, unit_name):
    unit[0] = core.AmountUnit[unit_name]

    def sweep():
        for cfs in (["FeO", "CO"], ["FeO", "NaO"], ["FeO", "?"]):
            try:
                friendly.EquilibriumCalculation.set_IA_cfs(cfs, [1.0, 2.0])
            except (KeyError, ValueError) as failure:
                failure.__traceback__ = failure.__context__ = None
        loaded.calls.clear()
        gc.collect()

    def growth(sweeps):
        before = sys.getallocatedblocks()
        for _ in range(sweeps):
            sweep()
        return sys.getallocatedblocks() - before

    assert min(growth(15) for _ in range(4)) < 10


def test_library_may_load_from_within_a_condition(friendly, loaded, dat, unit, formulas):
    """Names were taken before; each is looked up when its condition is set."""

    def hxsetc(*arguments):
        if len(loaded.scs) == 3:
            loaded.scs = loaded.scs[:1]
            for ph in loaded.phs:
                for pc in ph.pcs:
                    pc.stoich = [1.0]
            friendly.ThermochemicalSystem.load(dat)
        return 1

    loaded.instead["hxsetc"] = hxsetc
    with pytest.raises(friendly.TessaraPyError, match="System component 'O' does not exist"):
        friendly.EquilibriumCalculation.set_IA_cfs(["FeO"], [1.0])
    assert loaded.count("hxsetc") == 1


def test_library_may_set_other_formulae_from_within(friendly, loaded, core, unit, formulas):
    solver = friendly.EquilibriumCalculation
    depth = []

    def hxsetc(*arguments):
        if not depth:
            depth.append(1)
            solver.set_IA_cfs(["CO"], [7.0])
        return len(loaded.of("hxsetc"))

    loaded.instead["hxsetc"] = hxsetc
    assert len(solver.set_IA_cfs(["FeO"], [1.0])) == 3
    values = [call[4] for call in loaded.of("hxsetc")]
    assert values == [1.0, *[0.0, 7.0, 7.0], 1.0, 0.0]
