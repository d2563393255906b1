"""`Units`: setting and getting units, and the rebuild that follows each change."""

import pytest

ROWS = [
    ("P", "Pressure", "PressureUnit", "atm"),
    ("V", "Volume", "VolumeUnit", "m3"),
    ("T", "Temperature", "TemperatureUnit", "C"),
    ("E", "Energy", "EnergyUnit", "kWh"),
    ("A", "Amount", "AmountUnit", "kg"),
]
KEYS = [key for key, *_ in ROWS]


@pytest.fixture
def units(friendly):
    return friendly.Units


@pytest.fixture
def updates(friendly, library, monkeypatch):
    """Replaces the rebuild: the calls of the library that came before each."""
    seen = []

    def update():
        seen.append(list(library.calls))
        library.calls.clear()
        return "dropped"

    monkeypatch.setattr(friendly.ThermochemicalSystem, "_update", update)
    return seen


def changes(core, units):
    return [("hxcsu", core.Quantity[row[1]], unit) for row, unit in zip(ROWS, units, strict=True)]


def standard(core):
    return [getattr(core, enumeration)[name] for _, _, enumeration, name in ROWS]


# Setting.


def test_set_changes_five_units_in_order_and_rebuilds_once(units, library, core, updates):
    given = [object() for _ in ROWS]
    assert units.set(*given) is None
    assert updates == [changes(core, given)]
    assert library.calls == []
    assert all(call[2] is unit for call, unit in zip(updates[0], given, strict=True))


@pytest.mark.parametrize("name", ["set", "use_tessara_defaults"])
def test_defaults_are_members_in_order(units, core, updates, name):
    assert getattr(units, name)() is None
    assert updates == [changes(core, standard(core))]
    assert all(a is b[2] for a, b in zip(standard(core), updates[0], strict=True))


@pytest.mark.parametrize("place", range(5))
def test_a_parameter_left_out_is_set_to_its_default(units, core, updates, place):
    units.set(**{KEYS[place]: "given"})
    expected = standard(core)
    expected[place] = "given"
    assert updates == [changes(core, expected)]


def test_defaults_of_set_were_evaluated_when_the_class_was_made(
    friendly, units, core, updates, monkeypatch
):
    monkeypatch.delattr(friendly, "PressureUnit")
    units.set()
    assert updates == [changes(core, standard(core))]


def test_defaults_go_to_set_by_keyword_and_through_cls(units, core):
    seen = []

    class Mine(units):
        @classmethod
        def set(cls, **units):
            seen.append((cls, list(units.items())))
            return "dropped"

    assert Mine.use_tessara_defaults() is None
    assert seen == [(Mine, list(zip(KEYS, standard(core), strict=True)))]


def test_defaults_are_looked_up_at_each_call_after_the_method(friendly, units, monkeypatch):
    class Mine(units):
        pass

    Mine.set = None
    monkeypatch.setattr(friendly, "EnergyUnit", object())
    with pytest.raises(AttributeError, match="kWh"):
        Mine.use_tessara_defaults()
    monkeypatch.delattr(friendly, "VolumeUnit")
    with pytest.raises(NameError, match="VolumeUnit"):
        Mine.use_tessara_defaults()


@pytest.mark.parametrize(("key", "quantity"), [row[:2] for row in ROWS])
def test_single_setter_changes_one_unit_and_rebuilds(units, library, core, updates, key, quantity):
    unit = object()
    assert getattr(units, f"set_{key}_unit")(unit=unit) is None
    assert updates == [[("hxcsu", core.Quantity[quantity], unit)]]
    assert updates[0][0][2] is unit
    assert library.calls == []


@pytest.mark.parametrize("call", [lambda u: u.set(), lambda u: u.set_P_unit(1)])
def test_rebuild_is_that_of_the_class_of_that_name_now(friendly, units, monkeypatch, call):
    seen = []

    class Other:
        @classmethod
        def _update(cls):
            seen.append(cls)

    monkeypatch.setattr(friendly, "ThermochemicalSystem", Other)
    call(units)
    assert seen == [Other]


def test_setters_do_not_go_through_cls(units, updates):
    class Mine(units):
        set_P_unit = set_V_unit = None

    Mine.set()
    assert len(updates) == 1


@pytest.mark.parametrize("place", range(1, 6))
def test_refused_unit_leaves_those_before_it_changed(units, library, core, updates, place):
    library.fail_at = place
    with pytest.raises(core.TessaraError) as failure:
        units.use_tessara_defaults()
    assert failure.value is library.error
    assert library.calls == changes(core, standard(core))[:place]
    assert updates == []
    changed = [library.units[core.Quantity[row[1]]] for row in ROWS[: place - 1]]
    assert changed == standard(core)[: place - 1]


@pytest.mark.parametrize(("key", "quantity"), [row[:2] for row in ROWS])
def test_refused_unit_of_a_single_setter(units, library, core, updates, key, quantity):
    before = dict(library.units)
    library.fail_at = 1
    with pytest.raises(core.TessaraError) as failure:
        getattr(units, f"set_{key}_unit")("unit")
    assert failure.value is library.error
    assert library.units == before
    assert updates == []


def test_failure_of_the_rebuild_leaves_the_units_changed(friendly, units, loaded, core):
    loaded.phs[1].name = "GAS"
    with pytest.raises(core.TessaraPyError, match="duplicate phase"):
        units.set_A_unit(core.AmountUnit.mol)
    assert units.get_A_unit() is core.AmountUnit.mol


# What a rebuild of the loaded system shows.


@pytest.mark.parametrize("key", KEYS)
def test_change_of_units_asks_for_the_system_anew(friendly, units, loaded, core, key):
    before = friendly.ThermochemicalSystem.get_object()
    getattr(units, f"set_{key}_unit")(core.AmountUnit.kg)
    assert loaded.count("hxnosc") == 1
    assert loaded.count("hxgnpc") == 6
    assert friendly.ThermochemicalSystem.get_object() is not before


def test_five_single_changes_rebuild_five_times_where_set_rebuilds_once(units, loaded, core):
    units.set()
    assert loaded.count("hxnosc") == 1
    for key, _, enumeration, name in ROWS:
        getattr(units, f"set_{key}_unit")(getattr(core, enumeration)[name])
    assert loaded.count("hxnosc") == 6


def test_molar_masses_follow_the_amount_unit(friendly, units, loaded, core):
    system = friendly.ThermochemicalSystem
    assert system.get_mm_sc("Fe") == 0.055845
    units.set_A_unit(core.AmountUnit.gram)
    assert system.get_mm_sc("Fe") == 55.845
    units.set_A_unit(core.AmountUnit.kg)
    assert system.get_mm_sc("Fe") == 0.055845


def test_a_subclass_as_argument_of_the_rebuild_does_not_matter(friendly, units, loaded):
    class Mine(units):
        pass

    Mine.set_P_unit("unit")
    assert loaded.count("hxnosc") == 1
    assert not hasattr(Mine, "ts")


# Getting.


def test_get_asks_for_the_five_in_order(units, library, core):
    result = units.get()
    assert library.calls == [("hxgsu", core.Quantity[row[1]]) for row in ROWS]
    assert list(result.items()) == [(row[0], library.units[core.Quantity[row[1]]]) for row in ROWS]
    assert type(result) is dict


def test_get_hands_on_what_the_library_gave(units, library):
    things = [object() for _ in ROWS]
    left = iter(things)
    library.instead["hxgsu"] = lambda quantity: next(left)
    assert list(units.get().values()) == things


def test_get_does_not_go_through_cls(units, library):
    class Mine(units):
        get_P_unit = None

    assert len(Mine.get()) == 5


def test_dict_is_a_snapshot(friendly, units, loaded, core):
    before = units.get()
    units.set_P_unit(core.PressureUnit.atm)
    assert before["P"] is core.PressureUnit.bar
    assert units.get()["P"] is core.PressureUnit.atm
    assert units.get() is not units.get()


@pytest.mark.parametrize(("key", "quantity"), [row[:2] for row in ROWS])
def test_single_getter_asks_for_its_quantity(units, library, core, key, quantity):
    result = getattr(units, f"get_{key}_unit")()
    assert library.calls == [("hxgsu", core.Quantity[quantity])]
    assert result is library.units[core.Quantity[quantity]]


def test_load_puts_the_units_back(friendly, units, basic, core, dat, monkeypatch):
    monkeypatch.setitem(basic.STARTING_UNITS, core.Quantity.Amount, core.AmountUnit.mol)
    units.set()
    friendly.ThermochemicalSystem.load(dat)
    assert units.get() == {
        "P": core.PressureUnit.bar,
        "V": core.VolumeUnit.dm3,
        "T": core.TemperatureUnit.K,
        "E": core.EnergyUnit.J,
        "A": core.AmountUnit.mol,
    }


@pytest.mark.parametrize("place", range(1, 6))
@pytest.mark.parametrize("name", ["get", "get_str"])
def test_refused_question_comes_out(units, library, core, name, place):
    library.fail_at = place
    with pytest.raises(core.TessaraError) as failure:
        getattr(units, name)()
    assert failure.value is library.error
    assert len(library.calls) == place


# The listing.


def test_listing_has_a_line_per_unit(units, library, core):
    units.use_tessara_defaults()
    library.calls.clear()
    listing = units.get_str()
    assert listing == (
        "Units Currently Used by Tessara\n"
        "===============================\n"
        "Pressure:    atm\n"
        "Volume:      m3\n"
        "Temperature: C\n"
        "Energy:      kWh\n"
        "Amount:      kg\n"
    )
    assert type(listing) is str
    assert library.calls == [("hxgsu", core.Quantity[row[1]]) for row in ROWS]


def test_values_of_the_listing_start_in_one_column(units, library):
    lines = units.get_str().splitlines()[2:]
    assert [line[:13].rstrip()[-1] for line in lines] == [":"] * 5
    assert all(line[13] != " " for line in lines)


def test_listing_shows_the_name_and_nothing_else_of_a_unit(units, library):
    class Unit:
        def __init__(self, name):
            self.name = name

        def __str__(self):
            raise AssertionError("the unit itself is not shown")

    names = iter(["p", "", 3, None, "%s"])
    library.instead["hxgsu"] = lambda quantity: Unit(next(names))
    assert [line[13:] for line in units.get_str().splitlines()[2:]] == ["p", "", "3", "None", "%s"]


def test_listing_reads_each_name_before_it_asks_for_the_next_unit(units, library):
    class Unit:
        @property
        def name(self):
            library.calls.append("name")
            return "unit"

    library.instead["hxgsu"] = lambda quantity: Unit()
    units.get_str()
    assert [call == "name" for call in library.calls] == [False, True] * 5


def test_unit_without_a_name_fails_in_the_listing_alone(units, library):
    library.instead["hxgsu"] = lambda quantity: 3
    with pytest.raises(AttributeError, match="name"):
        units.get_str()
    assert units.get()["P"] == 3


@pytest.mark.parametrize(
    "call",
    [lambda u: u.set("P"), lambda u: u.set_A_unit("A"), lambda u: u.get(), lambda u: u.get_str()],
)
def test_library_may_change_units_from_within(friendly, units, loaded, core, call):
    depth = []

    def before(_call):
        if not depth:
            depth.append(1)
            units.use_tessara_defaults()

    loaded.before = before
    call(units)
    assert depth == [1]
    assert friendly.ThermochemicalSystem.get_index_sc("C") == 2
