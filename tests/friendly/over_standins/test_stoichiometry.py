"""What components and constituents are made of: the functions of the module, and the methods."""

import pytest

STOICH = [5.0, 6.0, 7.0]


@pytest.fixture
def query(friendly, loaded):
    return friendly._query_stoich_list


@pytest.fixture
def build(friendly, loaded):
    return friendly._build_stoich_dict


@pytest.mark.parametrize("arguments", [(), (None,)])
def test_query_for_all_gives_the_object_itself(query, arguments):
    assert query(STOICH, *arguments) is STOICH
    thing = object()
    assert query(thing, *arguments) is thing


@pytest.mark.parametrize(
    ("scs", "expected"),
    [
        ([], []),
        (["O"], [6.0]),
        (["O", 0, "O"], [6.0, 5.0, 6.0]),
        ((2, "C"), [7.0, 7.0]),
        ("CO", [7.0, 6.0]),
        ({"Fe": 1}, [5.0]),
        (iter([2, 0]), [7.0, 5.0]),
        ([True, 2.0], [6.0, 7.0]),
    ],
)
def test_query_picks_and_orders(query, loaded, scs, expected):
    assert query(STOICH, scs) == expected
    assert loaded.calls == []


def test_query_gives_a_new_list(query):
    assert query(STOICH, [0]) is not query(STOICH, [0])


@pytest.mark.parametrize(("scs", "key"), [(["O", "Xx"], "Xx"), ("Fe", "F"), ([3], 3), ([-1], -1)])
def test_query_fails_with_the_key_error_of_the_lookup(query, scs, key):
    with pytest.raises(KeyError) as failure:
        query(STOICH, scs)
    assert failure.value.args == (key,)


def test_query_resolves_all_references_before_it_reads(query):
    class Stoich:
        def __getitem__(self, place):
            raise AssertionError("read too early")

    with pytest.raises(KeyError, match="Xx"):
        query(Stoich(), ["O", "Xx"])


@pytest.mark.parametrize(
    ("scs", "text"),
    [(3, "'int' object is not iterable"), (["count"], "'int' object is not subscriptable")],
)
def test_query_passes_on_type_errors(query, scs, text):
    with pytest.raises(TypeError, match=text):
        query(STOICH, scs)


def test_query_passes_on_what_the_iteration_raises(query):
    def references():
        yield "O"
        raise LookupError("end")

    with pytest.raises(LookupError, match="end"):
        query(STOICH, references())


def test_query_of_a_list_that_is_too_short(query):
    with pytest.raises(IndexError):
        query([1.0], ["C"])


@pytest.mark.parametrize("arguments", [(), (None,)])
def test_dict_of_all(build, arguments):
    assert list(build(STOICH, *arguments).items()) == [("Fe", 5.0), ("O", 6.0), ("C", 7.0)]


@pytest.mark.parametrize(
    ("scs", "expected"),
    [
        ([], []),
        (["C", "Fe"], [("Fe", 5.0), ("C", 7.0)]),
        ([2, 0, "Fe", 2], [("Fe", 5.0), ("C", 7.0)]),
        (["Xx"], []),
        ({"O"}, [("O", 6.0)]),
        ([1.0], [("O", 6.0)]),
    ],
)
def test_dict_keeps_the_order_of_the_system(build, loaded, scs, expected):
    assert list(build(STOICH, scs).items()) == expected
    assert loaded.calls == []


def test_dict_asks_for_the_index_first(build):
    asked = []

    class Wanted:
        def __contains__(self, thing):
            asked.append(thing)
            return thing == 1

    assert build(STOICH, Wanted()) == {"O": 6.0}
    assert asked == [0, "Fe", 1, 2, "C"]


def test_dict_with_a_text_fails_at_the_first_test(build):
    with pytest.raises(TypeError, match="requires string as left operand, not int"):
        build(STOICH, "CO")


def test_dict_of_a_list_that_is_too_short(build):
    with pytest.raises(IndexError):
        build([1.0])


def test_no_other_operation_calls_them(friendly, loaded, monkeypatch):
    monkeypatch.delattr(friendly, "_query_stoich_list")
    monkeypatch.delattr(friendly, "_build_stoich_dict")
    friendly.ThermochemicalSystem._update()


# The methods: stoichiometry.

COMPONENTS = [[1.0, 0.0, 0.0], [0.0, 1.0, 0.0], [0.0, 0.0, 1.0]]
CONSTITUENTS = [
    [[0.0, 1.0, 1.0], [0.0, 2.0, 1.0], [0.0, 2.0, 0.0]],
    [[1.0, 0.0, 0.0], [0.0, 0.0, 1.0]],
    [[2.0, 3.0, 0.0]],
]
ALL_CONSTITUENTS = [row for rows in CONSTITUENTS for row in rows]


@pytest.fixture
def system(friendly, loaded):
    return friendly.ThermochemicalSystem


def picked(rows, columns):
    return [[row[column] for column in columns] for row in rows]


CHOICES = [
    ({}, [0, 1, 2]),
    ({"scs": None}, [0, 1, 2]),
    ({"scs": []}, []),
    ({"scs": ["O", 0, "O"]}, [1, 0, 1]),
    ({"scs": "CO"}, [2, 1]),
    ({"scs": (True, 2.0)}, [1, 2]),
]


@pytest.mark.parametrize(("scs", "columns"), CHOICES)
def test_rows_of_components(system, loaded, scs, columns):
    rows = picked(COMPONENTS, columns)
    assert system.get_stoich_scs(**scs) == rows
    for sc in (1, "O"):
        assert system.get_stoich_sc(sc, **scs) == rows[1]
    assert loaded.calls == []


@pytest.mark.parametrize(("scs", "columns"), CHOICES)
def test_rows_of_constituents(system, loaded, scs, columns):
    for i_ph, ph in enumerate(["GAS", "LIQUID", "Fe2O3"]):
        rows = picked(CONSTITUENTS[i_ph], columns)
        assert system.get_stoich_pcs_in_ph(i_ph, **scs) == rows
        assert system.get_stoich_pcs_in_ph(ph=ph, **scs) == rows
        for i_pc, row in enumerate(rows):
            assert system.get_stoich_pc(ph, i_pc, **scs) == row
    assert system.get_stoich_pc("GAS", pc="CO2", **scs) == picked(CONSTITUENTS[0], columns)[1]
    assert system.get_stoich_pcs(**scs) == picked(ALL_CONSTITUENTS, columns)
    assert loaded.calls == []


def test_row_of_a_component_is_the_list_of_the_cache(system, loaded):
    assert system.get_stoich_sc(0) is loaded.scs[0].stoich
    assert system.get_stoich_sc(0, scs=None) is system.get_stoich_sc("Fe")
    assert all(a is sc.stoich for a, sc in zip(system.get_stoich_scs(), loaded.scs, strict=True))
    assert system.get_stoich_scs() is not system.get_stoich_scs()


def test_change_of_a_shared_row_shows_until_the_next_build(system, loaded, dat):
    system.get_stoich_sc("C").append(5.0)
    assert system.get_stoich_scs()[2] == [0.0, 0.0, 1.0, 5.0]
    loaded.scs[2].stoich = [0.0, 0.0, 1.0]
    system.load(dat)
    assert system.get_stoich_sc("C") == [0.0, 0.0, 1.0]


def test_picked_row_of_a_component_is_new(system):
    assert system.get_stoich_sc(0, [0]) is not system.get_stoich_sc(0, [0])


def test_rows_of_constituents_are_new(system, loaded):
    assert system.get_stoich_pc(0, 0) is not system.get_stoich_pc(0, 0)
    assert system.get_stoich_pc(0, 0) is not loaded.phs[0].pcs[0].stoich
    system.get_stoich_pcs()[0].clear()
    system.get_stoich_pcs_in_ph(0)[0].clear()
    assert system.get_stoich_pc(0, 0) == [0.0, 1.0, 1.0]


@pytest.mark.parametrize(
    ("name", "arguments", "asked"),
    [
        ("get_stoich_sc", ("O",), COMPONENTS[1:2]),
        ("get_stoich_scs", (), COMPONENTS),
        ("get_stoich_pc", ("LIQUID", "C"), CONSTITUENTS[1][1:]),
        ("get_stoich_pcs_in_ph", ("LIQUID",), CONSTITUENTS[1]),
        ("get_stoich_pcs", (), ALL_CONSTITUENTS),
    ],
)
def test_rows_are_queried_through_the_global_function(
    friendly, system, monkeypatch, name, arguments, asked
):
    wanted = object()
    seen = []

    def query(*given):
        seen.append(given)
        return ("row", len(seen))

    monkeypatch.setattr(friendly, "_query_stoich_list", query)
    result = getattr(system, name)(*arguments, wanted)
    assert seen == [(row, wanted) for row in asked]
    rows = [("row", place + 1) for place in range(len(asked))]
    assert result == (rows if name[-4:] in ("_scs", "_pcs", "n_ph") else rows[0])


def test_stoichiometry_does_not_go_through_cls(system):
    class Mine(system):
        get_stoich_sc = get_stoich_pc = get_stoich_pcs_in_ph = get_count_phs = None

    assert Mine.get_stoich_scs() == COMPONENTS
    assert Mine.get_stoich_pcs() == ALL_CONSTITUENTS


# The methods: mass fractions.

# One division per value, as the caches make them: product first.
MASSES = [0.055845, 0.015999, 0.012011]
CONSTITUENT_MASSES = [[0.02801, 0.044009, 0.031998], [0.055845, 0.012011], [0.159687]]
FRACTIONS = [
    [
        [MASSES[i_sc] * st / mm for i_sc, st in enumerate(row)]
        for row, mm in zip(rows, masses, strict=True)
    ]
    for rows, masses in zip(CONSTITUENTS, CONSTITUENT_MASSES, strict=True)
]
ALL_FRACTIONS = [row for rows in FRACTIONS for row in rows]


@pytest.mark.parametrize(("scs", "columns"), CHOICES)
def test_rows_of_mass_fractions(system, loaded, scs, columns):
    for i_ph, ph in enumerate(["GAS", "LIQUID", "Fe2O3"]):
        rows = picked(FRACTIONS[i_ph], columns)
        assert system.get_y_scs_pcs_in_ph(ph, **scs) == rows
        for i_pc, row in enumerate(rows):
            assert system.get_y_scs_pc(i_ph, i_pc, **scs) == row
    assert system.get_y_scs_pcs(**scs) == picked(ALL_FRACTIONS, columns)
    assert loaded.calls == []


@pytest.mark.parametrize(
    ("sc", "column"), [("Fe", 0), ("O", 1), ("C", 2), (0, 0), (2, 2), (True, 1)]
)
def test_mass_fractions_of_one_component(system, loaded, sc, column):
    assert system.get_y_sc_pc("GAS", "CO2", sc) == FRACTIONS[0][1][column]
    assert system.get_y_sc_pcs_in_ph("GAS", sc) == [row[column] for row in FRACTIONS[0]]
    assert system.get_y_sc_pcs(sc) == [row[column] for row in ALL_FRACTIONS]
    assert loaded.calls == []


@pytest.mark.parametrize("mm", [0.0, -1.0, float("nan")])
def test_constituent_without_mass_has_no_mass_fractions(friendly, library, dat, mm):
    library.phs[0].pcs[0].mm = mm
    friendly.ThermochemicalSystem.load(dat)
    assert friendly.ThermochemicalSystem.get_y_scs_pc("GAS", "CO") == [0.0, 0.0, 0.0]
    assert friendly.ThermochemicalSystem.get_stoich_pc("GAS", "CO") == [0.0, 1.0, 1.0]


def recording(system, *replaced):
    """A subclass whose methods of these names record their arguments and answer with them."""
    seen = []

    def method(name):
        def give(cls, *arguments):
            seen.append((name, *arguments))
            return [arguments]

        return classmethod(give)

    return type("Mine", (system,), {name: method(name) for name in replaced}), seen


def test_row_asks_for_each_fraction_through_cls(system):
    mine, seen = recording(system, "get_y_sc_pc")
    assert mine.get_y_scs_pc("ph", "pc") == [[("ph", "pc", i)] for i in range(3)]
    assert seen == [("get_y_sc_pc", "ph", "pc", i) for i in range(3)]
    seen.clear()
    assert mine.get_y_scs_pc("ph", "pc", iter(["a", "b"])) == [
        [("ph", "pc", "a")],
        [("ph", "pc", "b")],
    ]
    assert seen == [("get_y_sc_pc", "ph", "pc", sc) for sc in "ab"]


def test_fractions_in_a_phase_are_asked_for_through_cls(system):
    mine, seen = recording(system, "get_y_sc_pc", "get_y_scs_pc")
    wanted = object()
    mine.get_y_sc_pcs_in_ph("LIQUID", wanted)
    assert seen == [("get_y_sc_pc", "LIQUID", i, wanted) for i in range(2)]
    seen.clear()
    mine.get_y_scs_pcs_in_ph("LIQUID", wanted)
    assert seen == [("get_y_scs_pc", "LIQUID", i, wanted) for i in range(2)]
    seen.clear()
    mine.get_y_scs_pcs_in_ph("Fe2O3")
    assert seen == [("get_y_scs_pc", "Fe2O3", 0, None)]


@pytest.mark.parametrize(
    ("name", "below"),
    [("get_y_sc_pcs", "get_y_sc_pcs_in_ph"), ("get_y_scs_pcs", "get_y_scs_pcs_in_ph")],
)
def test_fractions_of_all_are_joined_from_phases_through_cls(system, name, below):
    mine, seen = recording(system, below)
    mine.get_count_phs = classmethod(lambda cls: seen.append(("count",)) or 2)
    wanted = object()
    assert getattr(mine, name)(wanted) == [(0, wanted), (1, wanted)]
    assert seen == [("count",), (below, 0, wanted), (below, 1, wanted)]


@pytest.mark.parametrize("parts", [(1, 2), {1: 0, 2: 0}, "12", iter([1, 2])])
def test_list_of_all_is_extended_by_any_iterable(system, parts):
    class Mine(system):
        get_count_phs = classmethod(lambda cls: 1)
        get_y_sc_pcs_in_ph = classmethod(lambda cls, *arguments: parts)

    assert [int(value) for value in Mine.get_y_sc_pcs(0)] == [1, 2]


def test_list_of_all_is_not_extended_by_what_is_no_iterable(system):
    class Mine(system):
        get_y_sc_pcs_in_ph = classmethod(lambda cls, *arguments: 1.0)

    with pytest.raises(TypeError, match="'float' object is not iterable"):
        Mine.get_y_sc_pcs(0)


def test_count_of_phases_is_used_as_range_takes_it(system):
    class Mine(system):
        get_count_phs = classmethod(lambda cls: "three")

    with pytest.raises(TypeError, match="'str' object cannot be interpreted as an integer"):
        Mine.get_y_scs_pcs()


def test_override_at_the_bottom_shows_in_the_whole_family(system):
    class Mine(system):
        get_y_sc_pc = classmethod(lambda cls, ph, pc, sc: 7.0)

    assert Mine.get_y_scs_pc(0, 0) == [7.0] * 3
    assert Mine.get_y_sc_pcs_in_ph(0, 0) == [7.0] * 3
    assert Mine.get_y_scs_pcs_in_ph(1, ["O"]) == [[7.0]] * 2
    assert Mine.get_y_sc_pcs(0) == [7.0] * 6
    assert Mine.get_y_scs_pcs([0, 1]) == [[7.0] * 2] * 6


# Failures of the methods.

BY_SCS = [
    ("get_stoich_sc", ("Fe",)),
    ("get_stoich_scs", ()),
    ("get_stoich_pc", ("GAS", "CO")),
    ("get_stoich_pcs_in_ph", ("GAS",)),
    ("get_stoich_pcs", ()),
    ("get_y_scs_pc", ("GAS", "CO")),
    ("get_y_scs_pcs_in_ph", ("GAS",)),
    ("get_y_scs_pcs", ()),
]


@pytest.mark.parametrize(("name", "arguments"), BY_SCS)
@pytest.mark.parametrize(("scs", "key"), [(["O", "Xx"], "Xx"), ("Fe", "F"), ([3], 3), ([-1], -1)])
def test_unknown_component_wanted_is_the_key_error(system, name, arguments, scs, key):
    with pytest.raises(KeyError) as failure:
        getattr(system, name)(*arguments, scs)
    assert failure.value.args == (key,)


@pytest.mark.parametrize(("name", "arguments"), BY_SCS)
def test_scs_that_cannot_be_iterated(system, name, arguments):
    with pytest.raises(TypeError, match="'int' object is not iterable"):
        getattr(system, name)(*arguments, 3)


def test_fractions_before_a_bad_component_were_read(system):
    mine, seen = recording(system, "get_y_sc_pc")

    def scs():
        yield "O"
        raise LookupError("end")

    with pytest.raises(LookupError, match="end"):
        mine.get_y_scs_pc("GAS", "CO", scs())
    assert seen == [("get_y_sc_pc", "GAS", "CO", "O")]


@pytest.mark.parametrize(
    ("name", "arguments", "key"),
    [
        ("get_stoich_sc", ("Xx",), "Xx"),
        ("get_stoich_pc", ("Xx", 0), "Xx"),
        ("get_stoich_pc", ("GAS", "Fe"), "Fe"),
        ("get_stoich_pcs_in_ph", (3,), 3),
        ("get_y_sc_pc", ("Xx", 0, 0), "Xx"),
        ("get_y_sc_pc", ("GAS", -1, 0), -1),
        ("get_y_sc_pc", ("GAS", 0, "Xx"), "Xx"),
        ("get_y_scs_pc", ("GAS", "Fe"), "Fe"),
        ("get_y_sc_pcs_in_ph", ("Xx", 0), "Xx"),
        ("get_y_sc_pcs_in_ph", ("GAS", "Xx"), "Xx"),
        ("get_y_scs_pcs_in_ph", ("Xx",), "Xx"),
        ("get_y_sc_pcs", ("Xx",), "Xx"),
    ],
)
def test_unknown_reference_is_the_key_error_of_the_lookup(system, loaded, name, arguments, key):
    with pytest.raises(KeyError) as failure:
        getattr(system, name)(*arguments)
    assert failure.value.args == (key,)
    assert failure.value.__context__ is None
    assert loaded.calls == []


def test_system_without_components_has_empty_rows(friendly, library, dat):
    library.scs = []
    friendly.ThermochemicalSystem.load(dat)
    system = friendly.ThermochemicalSystem
    assert system.get_stoich_scs() == []
    assert system.get_stoich_pcs() == system.get_y_scs_pcs() == [[]] * 6
    with pytest.raises(KeyError):
        system.get_stoich_pc("Xx", 0)


def test_system_without_phases_has_no_rows(friendly, library, dat):
    library.phs = []
    friendly.ThermochemicalSystem.load(dat)
    system = friendly.ThermochemicalSystem
    assert system.get_stoich_pcs() == system.get_y_scs_pcs() == system.get_y_sc_pcs("Fe") == []


@pytest.mark.parametrize("name", ["get_stoich_pcs", "get_y_scs_pcs"])
def test_system_may_be_loaded_again_from_within_scs(system, loaded, dat, name):
    class Wanted:
        def __iter__(self):
            loaded.phs = loaded.phs[:1]
            system.load(dat)
            return iter([0])

    # The walk goes on to phases that are not there any more.
    with pytest.raises(KeyError) as failure:
        getattr(system, name)(Wanted())
    assert failure.value.args == (1,)
