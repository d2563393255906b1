"""`_build_cache`, and the resolution of names and indexes through what it builds."""

from fractions import Fraction

import pytest

NOT_USABLE = "This data file cannot be used with Tessara for Python."


@pytest.fixture
def system(friendly, dat):
    friendly.ThermochemicalSystem.current_file_path = dat
    return friendly.ThermochemicalSystem


# The walk.


def test_build_asks_the_library_in_this_order(system, library, core):
    system._build_cache()
    amount, gram = core.Quantity.Amount, core.AmountUnit.gram
    assert library.calls == [
        ("hxnosc",),
        *[("hxgnsc", i) for i in range(3)],
        *[("hxstsc", i) for i in range(3)],
        ("hxgsu", amount),
        ("hxcsu", amount, gram),
        *[("hxstsc", i) for i in range(3)],
        ("hxcsu", amount, core.AmountUnit.kg),
        ("hxnop",),
        *[("hxgnp", i) for i in range(3)],
        *[("hxmodl", i) for i in range(3)],
        ("hxnopc", 0),
        *[("hxgnpc", 0, i) for i in range(3)],
        *[("hxstpc", 0, i) for i in range(3)],
        ("hxnopc", 1),
        *[("hxgnpc", 1, i) for i in range(2)],
        *[("hxstpc", 1, i) for i in range(2)],
        ("hxnopc", 2),
        ("hxgnpc", 2, 0),
        ("hxstpc", 2, 0),
    ]
    assert all(type(part) is int for call in library.of("hxgnpc") for part in call[1:])


def test_build_returns_none(system):
    assert system._build_cache() is None


def test_unit_that_was_in_force_is_given_back_as_it_came(system, library, core):
    unit = object()
    library.instead["hxgsu"] = lambda quantity: unit
    system._build_cache()
    assert library.of("hxcsu")[1][2] is unit


def test_path_is_asked_through_cls(friendly, system, library):
    class Mine(friendly.ThermochemicalSystem):
        current_file_path = None

    Mine._build_cache()
    assert library.calls == []


def test_globals_are_read_at_each_use(friendly, system, library, core, monkeypatch):
    class Quantity:
        Amount = "amount"

    monkeypatch.setattr(friendly, "Quantity", Quantity)
    monkeypatch.delattr(friendly, "AmountUnit")
    with pytest.raises(NameError, match="name 'AmountUnit' is not defined"):
        system._build_cache()
    assert library.calls[-1] == ("hxgsu", "amount")


# Resolution.


@pytest.mark.parametrize(("name", "index"), [("Fe", 0), ("O", 1), ("C", 2)])
def test_name_and_index_of_a_component_resolve_alike(friendly, loaded, name, index):
    assert friendly.ThermochemicalSystem.get_index_sc(name) == index
    assert friendly.ThermochemicalSystem.get_index_sc(index) == index
    assert loaded.calls == []


@pytest.mark.parametrize(("name", "index"), [("GAS", 0), ("LIQUID", 1), ("Fe2O3", 2)])
def test_name_and_index_of_a_phase_resolve_alike(friendly, loaded, name, index):
    assert friendly.ThermochemicalSystem.get_index_ph(name) == index
    assert friendly.ThermochemicalSystem.get_index_ph(index) == index
    assert loaded.calls == []


@pytest.mark.parametrize("ph", ["GAS", 0])
@pytest.mark.parametrize("pc", ["O2", 2])
def test_name_and_index_of_a_constituent_resolve_alike(friendly, loaded, ph, pc):
    assert friendly.ThermochemicalSystem.get_index_pc(ph, pc) == 2
    assert loaded.calls == []


def test_first_component_resolves_to_the_same_index(friendly, loaded):
    get = friendly.ThermochemicalSystem.get_index_sc
    assert get("Fe") is get(0)
    assert type(get("Fe")) is int


@pytest.mark.parametrize("sc", [3, 5, -1, "Xx", "1", "fe", "", None, (), 0.5, ("Fe", 0)])
def test_unknown_component_is_the_key_error_of_the_lookup(friendly, loaded, sc):
    with pytest.raises(KeyError) as failure:
        friendly.ThermochemicalSystem.get_index_sc(sc)
    assert failure.value.args == (sc,)
    assert failure.value.__context__ is None


@pytest.mark.parametrize("ph", [3, -1, "gas", "0"])
def test_unknown_phase_is_the_key_error_of_the_lookup(friendly, loaded, ph):
    for call in (
        lambda: friendly.ThermochemicalSystem.get_index_ph(ph),
        lambda: friendly.ThermochemicalSystem.get_index_pc(ph, 0),
    ):
        with pytest.raises(KeyError) as failure:
            call()
        assert failure.value.args == (ph,)


@pytest.mark.parametrize("pc", [2, -1, "O2", "1"])
def test_constituent_of_another_phase_is_unknown(friendly, loaded, pc):
    with pytest.raises(KeyError) as failure:
        friendly.ThermochemicalSystem.get_index_pc("LIQUID", pc)
    assert failure.value.args == (pc,)


@pytest.mark.parametrize(("key", "index"), [(True, 1), (1.0, 1), (False, 0), (0.0, 0), (1 + 0j, 1)])
def test_keys_follow_equality(friendly, loaded, key, index):
    assert friendly.ThermochemicalSystem.get_index_sc(key) == index
    assert friendly.ThermochemicalSystem.get_index_ph(key) == index
    assert friendly.ThermochemicalSystem.get_index_pc("GAS", key) == index


def test_count_is_found_and_has_no_index(friendly, loaded):
    system = friendly.ThermochemicalSystem
    for call in (
        lambda: system.get_index_sc("count"),
        lambda: system.get_index_ph("count"),
        lambda: system.get_index_pc("count", 0),
        lambda: system.get_index_pc("GAS", "count"),
    ):
        with pytest.raises(TypeError) as failure:
            call()
        assert str(failure.value) == "'int' object is not subscriptable"


def test_names_of_phases_are_found_and_have_no_index(friendly, loaded):
    with pytest.raises(TypeError, match="list indices must be integers or slices, not str"):
        friendly.ThermochemicalSystem.get_index_ph("names")
    with pytest.raises(KeyError):
        friendly.ThermochemicalSystem.get_index_sc("names")


@pytest.mark.parametrize("key", [[], {}, {1}])
def test_unhashable_reference_is_the_type_error_of_the_dict(friendly, loaded, key):
    system = friendly.ThermochemicalSystem
    for call in (
        lambda: system.get_index_sc(key),
        lambda: system.get_index_ph(key),
        lambda: system.get_index_pc(key, 0),
        lambda: system.get_index_pc(0, key),
    ):
        with pytest.raises(TypeError, match="unhashable type"):
            call()


def test_name_made_of_digits_stays_a_name(friendly, library, system):
    library.scs[2].name = "0"
    library.phs[2].name = "1"
    system._build_cache()
    assert system.get_index_sc("0") == 2
    assert system.get_index_sc(0) == 0
    assert system.get_index_ph("1") == 2


def test_two_phases_may_have_constituents_of_one_name(friendly, library, system):
    library.phs[1].pcs[0].name = "CO"
    system._build_cache()
    assert system.get_index_pc("GAS", "CO") == 0
    assert system.get_index_pc("LIQUID", "CO") == 0


# What the caches hold.


def fractions(system, ph, pc):
    """The mass fractions of a constituent, as they are under indexes and under names."""
    scs = system.get_name_scs()
    by_index = [system.get_y_sc_pc(ph, pc, i) for i in range(len(scs))]
    by_name = [system.get_y_sc_pc(ph, pc, name) for name in scs]
    assert all(one is other for one, other in zip(by_index, by_name, strict=True))
    return by_index


def test_component_is_the_same_under_index_and_name(friendly, loaded):
    system = friendly.ThermochemicalSystem
    for sc in (1, "O"):
        assert system.get_index_sc(sc) == 1
        assert system.get_name_sc(sc) == "O"
        assert system.get_stoich_sc(sc) == [0.0, 1.0, 0.0]
        assert system.get_mm_sc(sc) == 0.015999


def test_component_has_the_very_objects_of_the_library(friendly, loaded):
    system, known = friendly.ThermochemicalSystem, loaded.scs[2]
    assert system.get_name_sc("C") is known.name
    assert system.get_mm_sc("C") is known.mm


def test_phase_is_the_same_under_index_and_name(friendly, loaded, core):
    system = friendly.ThermochemicalSystem
    assert system.get_name_phs() == ["GAS", "LIQUID", "Fe2O3"]
    for ph in (1, "LIQUID"):
        assert system.get_index_ph(ph) == 1
        assert system.get_name_ph(ph) == "LIQUID"
        assert system.get_model_ph(ph) is core.SolutionModel.RKMP


def test_constituent_is_the_same_under_index_and_name(friendly, loaded):
    system = friendly.ThermochemicalSystem
    assert system.get_name_pcs_in_ph("GAS") == ["CO", "CO2", "O2"]
    for pc in (1, "CO2"):
        assert system.get_index_pc("GAS", pc) == 1
        assert system.get_name_pc("GAS", pc) == "CO2"
        assert system.get_mm_pc("GAS", pc) == 0.044009


def test_composition_of_a_constituent_stands_under_index_and_name(friendly, loaded):
    system = friendly.ThermochemicalSystem
    assert system.get_stoich_pc("GAS", "CO2") == [0.0, 2.0, 1.0]
    carbon, oxygen = 0.012011 * 1.0 / 0.044009, 0.015999 * 2.0 / 0.044009
    assert fractions(system, "GAS", "CO2") == [0.0, oxygen, carbon]


def test_mass_fractions_of_other_numbers_are_python_s(system, library):
    library.scs[1].mm = Fraction(16)
    library.phs[0].pcs[2].mm = 32
    library.phs[0].pcs[2].stoich = [0, 2, 0.0]
    system._build_cache()
    iron, oxygen, carbon = fractions(system, "GAS", "O2")
    assert (oxygen, type(oxygen)) == (Fraction(1), Fraction)
    assert (iron, carbon) == (0.0, 0.0)


class Text(str):
    __slots__ = ()


class Real(float):
    pass


class Row(list):
    pass


@pytest.mark.parametrize("spoil", [int, Real, Fraction], ids=["int", "own float", "fraction"])
@pytest.mark.parametrize("of", ["component", "constituent", "coefficients"])
def test_numbers_of_any_kind_give_the_mass_fractions_of_floats(system, library, of, spoil):
    library.scs[1].mm, library.scs[2].mm = 16.0, 12.0
    co2 = library.phs[0].pcs[1]
    co2.mm = 44.0
    if of == "component":
        library.scs[1].mm = spoil(16)
    elif of == "constituent":
        co2.mm = spoil(44)
    else:
        co2.stoich = [spoil(0), spoil(2), spoil(1)]
    system._build_cache()
    assert fractions(system, "GAS", "CO2") == pytest.approx([0.0, 32 / 44, 12 / 44], rel=1e-15)
    stoichiometry = system.get_stoich_pc("GAS", "CO2")
    assert stoichiometry == [0, 2, 1]
    assert {type(value) for value in stoichiometry} == (
        {spoil} if of == "coefficients" else {float}
    )


def test_names_of_a_class_of_their_own_are_keys(system, library):
    for sc in library.scs:
        sc.name = Text(sc.name)
    system._build_cache()
    assert type(system.get_name_sc("O")) is Text
    assert system.get_stoich_pc("GAS", "CO2") == [0.0, 2.0, 1.0]
    assert fractions(system, "GAS", "CO2")[1] == 0.015999 * 2.0 / 0.044009


@pytest.mark.parametrize("make", [tuple, Row, lambda values: [*values, 7.0]])
def test_coefficients_may_be_any_sequence_that_is_long_enough(system, library, make):
    library.phs[0].pcs[1].stoich = make([0.0, 2.0, 1.0])
    system._build_cache()
    assert system.get_stoich_pc("GAS", "CO2") == [0.0, 2.0, 1.0]


@pytest.mark.parametrize("mm", [0.0, -1.0, float("nan"), 0])
def test_constituent_without_molar_mass_has_mass_fractions_of_zero(system, library, mm):
    library.phs[0].pcs[1].mm = mm
    system._build_cache()
    assert fractions(system, "GAS", "CO2") == [0.0, 0.0, 0.0]


def test_empty_system_leaves_the_counts(system, library):
    library.scs, library.phs = [], []
    system._build_cache()
    assert (system.get_count_scs(), system.get_count_phs()) == (0, 0)
    assert system.get_name_phs() == []


def test_no_components_leave_compositions_empty(system, library):
    library.scs = []
    system._build_cache()
    assert system.get_count_scs() == 0
    assert system.get_stoich_pc("GAS", "CO2") == []
    with pytest.raises(KeyError):
        system.get_y_sc_pc("GAS", "CO2", 0)


class IronOxide:
    """A formula of which half the amount is of each component."""

    def __init__(self, name, amount):
        self.scs_A = {"Fe": amount, "O": amount}


def test_change_of_the_unit_changes_mm_and_not_mm_g(friendly, loaded, core, monkeypatch):
    monkeypatch.setattr(friendly, "ChemicalFormulaIncomingAmountState", IronOxide)
    system, shares = friendly.ThermochemicalSystem, []
    for unit, factor in [("kg", 1.0), ("gram", 1000.0), ("kg", 1.0)]:
        loaded.units[core.Quantity.Amount] = core.AmountUnit[unit]
        system._update()
        assert system.get_mm_scs() == pytest.approx(
            [0.055845 * factor, 0.015999 * factor, 0.012011 * factor]
        )
        # Formulas are worked out with the molar masses in gram.
        loaded.calls.clear()
        friendly.EquilibriumCalculation.set_IA_cfs(["FeO"], [1.0])
        shares.append([call[-1] for call in loaded.of("hxsetc")])
    iron, oxygen = 55.845 / (55.845 + 15.999), 15.999 / (55.845 + 15.999)
    assert shares == [[pytest.approx(iron), pytest.approx(oxygen), 0.0]] * 3
    assert shares[0] == shares[1] == shares[2]


def test_a_failed_build_leaves_what_was_built_so_far(system, library, core):
    library.fail_at = 11  # among the molar masses in gram
    with pytest.raises(core.TessaraError):
        system._build_cache()
    assert system.get_count_scs() == 3
    with pytest.raises(KeyError):
        system.get_index_sc(0)
    with pytest.raises(TypeError, match="NoneType"):
        system.get_count_phs()
    library.calls.clear()
    library.fail_at = 15  # the first name of a phase
    with pytest.raises(core.TessaraError):
        system._build_cache()
    assert system.get_name_scs() == ["Fe", "O", "C"]
    assert system.get_count_phs() == 3
    with pytest.raises(KeyError, match="names"):
        system.get_name_ph("names")


class Number:
    """A number whose arithmetic is on record."""

    def __init__(self, name, log):
        self.name = name
        self.log = log

    def _record(self, operation, other):
        shown = other.name if isinstance(other, Number) else other
        self.log.append(f"{self.name} {operation} {shown}")
        return Number(f"({self.name}{operation}{shown})", self.log)

    def __mul__(self, other):
        return self._record("*", other)

    def __truediv__(self, other):
        return self._record("/", other)

    def __gt__(self, other):
        assert type(other) is float
        self.log.append(f"{self.name} > {other}")
        return True


def test_mass_fraction_is_the_product_first_and_then_the_division(system, library, basic):
    log = []
    library.scs = [basic.Component("Fe", [1.0], Number("mm_sc", log), 55.845)]
    library.phs = library.phs[2:]
    library.phs[0].pcs[0].mm = Number("mm_pc", log)
    library.phs[0].pcs[0].stoich = [Number("st", log)]
    system._build_cache()
    assert log == ["mm_pc > 0.0", "mm_sc * st", "(mm_sc*st) / mm_pc"]


@pytest.mark.parametrize("mm", [0.0, -1.0, float("nan"), 0])
def test_constituent_without_molar_mass_divides_nothing(system, library, basic, mm):
    log = []
    library.scs = [basic.Component("Fe", [1.0], Number("mm_sc", log), 55.845)]
    library.phs = library.phs[2:]
    library.phs[0].pcs[0].mm = mm
    library.phs[0].pcs[0].stoich = [Number("st", log)]
    system._build_cache()
    assert log == []


def test_molar_mass_of_another_kind_is_compared_and_divided_as_python_does(system, library):
    library.phs[0].pcs[0].mm = "heavy"
    with pytest.raises(TypeError, match="'>' not supported between instances of 'str' and 'float'"):
        system._build_cache()


def test_sequence_that_the_library_gives_is_subscripted(system, library):
    class Pair:
        def __init__(self, *items):
            self.items = items
            self.asked = []

        def __getitem__(self, place):
            self.asked.append(place)
            return self.items[place]

    pairs = []

    def answer(i_sc):
        pairs.append(Pair([1.0, 0.0, 0.0], 1.0))
        return pairs[-1]

    library.instead["hxstsc"] = answer
    system._build_cache()
    assert [pair.asked for pair in pairs] == [[0, 1]] * 3 + [[1]] * 3


@pytest.mark.parametrize("given", [None, 5, (), ([1.0],)])
def test_answer_that_is_no_pair_fails_as_subscripting_does(system, library, given):
    library.instead["hxstsc"] = lambda i_sc: given
    with pytest.raises((TypeError, IndexError)):
        system._build_cache()


def test_coefficients_that_are_too_few_are_an_index_error(system, library):
    library.phs[0].pcs[0].stoich = [0.0, 1.0]
    with pytest.raises(IndexError):
        system._build_cache()


def test_only_the_name_of_a_model_is_read(system, library):
    class Model:
        name = "ANY"

    library.phs[0].model = Model()
    system._build_cache()
    library.phs[0].model = object()
    with pytest.raises(AttributeError, match="name"):
        system._build_cache()


# Counts.


def test_count_may_be_anything_that_range_takes(friendly, system, library):
    class Three:
        def __index__(self):
            return 3

    library.instead["hxnosc"] = Three
    system._build_cache()
    assert system.get_index_sc("C") == 2
    library.calls.clear()
    assert len(friendly.EquilibriumCalculation.get_eq_A_scs()) == 3


@pytest.mark.parametrize("count", ["3", 3.0, None])
def test_count_that_range_refuses_is_refused(system, library, count):
    library.instead["hxnosc"] = lambda: count
    with pytest.raises(TypeError, match="cannot be interpreted as an integer"):
        system._build_cache()


def test_count_true_is_one(system, library):
    library.instead["hxnosc"] = lambda: True
    library.phs = []
    system._build_cache()
    assert system.get_index_sc(0) == 0
    with pytest.raises(KeyError):
        system.get_index_sc(1)


def test_negative_count_is_nothing(system, library):
    library.instead["hxnosc"] = lambda: -4
    library.phs = []
    system._build_cache()
    with pytest.raises(KeyError):
        system.get_index_sc(0)


def test_huge_count_goes_on_until_the_library_refuses(system, library):
    library.instead["hxnosc"] = lambda: 10**30
    with pytest.raises(IndexError):
        system._build_cache()
    assert library.count("hxgnsc") == 4


def test_range_can_be_replaced(friendly, system, library, monkeypatch):
    monkeypatch.setattr(friendly, "range", lambda count: iter(range(count)[::-1]), raising=False)
    library.phs = []
    # Names are collected in the order of `range` and read by position, as a comprehension would.
    system._build_cache()
    assert [call[1] for call in library.of("hxgnsc")] == [2, 1, 0]
    assert system.get_index_sc("C") == 0


def test_no_phases(friendly, system, library):
    library.phs = []
    system._build_cache()
    assert friendly.EquilibriumCalculation.get_eq_A_phs() == []
    assert library.of("hxmodl", "hxnopc") == []
    with pytest.raises(TypeError, match="list indices"):
        system.get_index_ph("names")
    with pytest.raises(KeyError):
        system.get_index_ph(0)


def test_no_components(friendly, system, library):
    library.scs = []
    for ph in library.phs:
        for pc in ph.pcs:
            pc.stoich = []
    system._build_cache()
    assert friendly.EquilibriumCalculation.get_eq_A_scs() == []
    assert friendly._build_stoich_dict([]) == {}
    assert system.get_index_pc("GAS", "O2") == 2


def test_no_constituents(friendly, system, library):
    library.phs[0].pcs = []
    system._build_cache()
    assert friendly.EquilibriumCalculation.get_eq_A_pcs_in_ph("GAS") == []


# Duplicates and names that can't be keys.


def test_duplicate_component(system, library, core):
    library.scs[2].name = "Fe"
    with pytest.raises(core.TessaraPyError) as failure:
        system._build_cache()
    assert failure.value.args == (
        "A duplicate system component 'Fe' was found in the thermochemical data file. It occurs at "
        f"index 0 and 2. {NOT_USABLE}",
    )
    assert failure.value.__context__ is None


def test_duplicate_phase(system, library, core):
    library.phs[2].name = "LIQUID"
    with pytest.raises(core.TessaraPyError) as failure:
        system._build_cache()
    assert failure.value.args == (
        "A duplicate phase 'LIQUID' was found in the thermochemical data file. It occurs at index "
        f"1 and 2. {NOT_USABLE}",
    )


def test_duplicate_constituent(system, library, core):
    library.phs[1].pcs[1].name = "Fe"
    with pytest.raises(core.TessaraPyError) as failure:
        system._build_cache()
    assert failure.value.args == (
        "A duplicate constituent 'Fe' was found in phase 'LIQUID' of the thermochemical data file. "
        f"It occurs at index 0 and 1. {NOT_USABLE}",
    )


def test_name_of_a_duplicate_is_formatted(system, library, core):
    class Name(str):
        __slots__ = ()

        def __format__(self, specification):
            return f"<{self!s}{specification}>"

    library.scs[2].name = Name("Fe")
    with pytest.raises(core.TessaraPyError, match="component '<Fe>' was found"):
        system._build_cache()


def test_duplicate_component_leaves_the_phase_cache_at_none(friendly, loaded, core):
    loaded.scs[2].name = "Fe"
    with pytest.raises(core.TessaraPyError):
        friendly.ThermochemicalSystem._update()
    assert friendly.ThermochemicalSystem.get_index_sc("O") == 1
    assert friendly.ThermochemicalSystem.get_index_sc(2) == 2
    with pytest.raises(TypeError, match="NoneType"):
        friendly.ThermochemicalSystem.get_index_ph(0)


def test_duplicate_phase_leaves_what_was_built_so_far(friendly, loaded, core):
    loaded.phs[1].name = "GAS"
    with pytest.raises(core.TessaraPyError):
        friendly.ThermochemicalSystem._update()
    assert friendly.ThermochemicalSystem.get_index_sc("C") == 2
    assert friendly.ThermochemicalSystem.get_index_ph("GAS") == 0
    assert friendly.ThermochemicalSystem.get_index_ph(1) == 1
    with pytest.raises(KeyError):
        friendly.ThermochemicalSystem.get_index_ph(2)
    with pytest.raises(KeyError, match="CO"):
        friendly.ThermochemicalSystem.get_index_pc("GAS", "CO")


def test_duplicate_constituent_leaves_earlier_phases_complete(friendly, loaded, core):
    loaded.phs[1].pcs[1].name = "Fe"
    with pytest.raises(core.TessaraPyError):
        friendly.ThermochemicalSystem._update()
    get = friendly.ThermochemicalSystem.get_index_pc
    assert get("GAS", "O2") == 2
    assert get("LIQUID", "Fe") == 0
    assert get("LIQUID", 1) == 1
    with pytest.raises(KeyError):
        get("Fe2O3", 0)


@pytest.mark.parametrize(
    ("spoil", "text"),
    [
        (lambda lib: setattr(lib.scs[0], "name", "count"), "'int' object is not subscriptable"),
        (lambda lib: setattr(lib.phs[0], "name", "count"), "'int' object is not subscriptable"),
        (lambda lib: setattr(lib.phs[0], "name", "names"), "list indices must be integers"),
        (
            lambda lib: setattr(lib.phs[0].pcs[0], "name", "count"),
            "'int' object is not subscriptable",
        ),
    ],
)
def test_name_that_is_a_key_of_the_cache_itself(system, library, spoil, text):
    spoil(library)
    with pytest.raises(TypeError, match=text):
        system._build_cache()


def test_unhashable_name_is_refused_by_the_dict(system, library):
    library.scs[1].name = ["O"]
    with pytest.raises(TypeError, match="unhashable type: 'list'"):
        system._build_cache()


def test_component_named_like_an_index_is_a_duplicate_of_it(system, library, core):
    library.scs[1].name = 0
    with pytest.raises(core.TessaraPyError, match=r"component '0' .* index 0 and 1"):
        system._build_cache()


# Failures of the library.


def test_failure_at_the_gram_leaves_the_unit_there(system, library, core):
    library.fail_at = 10  # the first `hxstsc` under gram
    with pytest.raises(core.TessaraError) as failure:
        system._build_cache()
    assert failure.value is library.error
    assert library.units[core.Quantity.Amount] is core.AmountUnit.gram


def test_molar_mass_in_gram_is_asked_under_gram(system, library, core):
    units = []
    library.before = lambda call: (
        units.append(library.hxgsu(core.Quantity.Amount)) if call[0] == "hxstsc" else None
    )
    system._build_cache()
    assert units == [core.AmountUnit.kg] * 3 + [core.AmountUnit.gram] * 3
    assert library.hxgsu(core.Quantity.Amount) is core.AmountUnit.kg


def test_constituents_are_not_asked_under_gram(system, library, core):
    units = []
    library.before = lambda call: (
        units.append(library.hxgsu(core.Quantity.Amount)) if call[0] == "hxstpc" else None
    )
    system._build_cache()
    assert units == [core.AmountUnit.kg] * 6


def test_statuses_are_not_asked(system, library):
    system._build_cache()
    assert library.of("hxgsp", "hxgspc") == []


def test_a_rebuild_replaces_what_was_there(friendly, loaded, basic):
    loaded.scs[2].name = "Si"
    friendly.ThermochemicalSystem._update()
    assert friendly.ThermochemicalSystem.get_index_sc("Si") == 2
    with pytest.raises(KeyError):
        friendly.ThermochemicalSystem.get_index_sc("C")
