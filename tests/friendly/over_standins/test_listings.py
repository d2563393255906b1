"""The listings of system components, phases, and phases with their constituents."""

import pytest

HEADER = "INDEX PHASE NAME                STATUS     INDEX CONSTITUENT NAME          STATUS\n"


@pytest.fixture
def system(friendly, loaded):
    return friendly.ThermochemicalSystem


@pytest.fixture
def reload(friendly, library, dat):
    """`reload()` reads the library's system again and gives the listing with constituents."""

    def listing():
        friendly.ThermochemicalSystem.load(dat)
        library.calls.clear()
        return friendly.ThermochemicalSystem.get_str_phs_pcs()

    return listing


def test_components_are_listed_with_their_indexes(system, loaded):
    assert system.get_str_scs() == "SYSTEM COMPONENTS\nINDEX NAME\n    0 Fe\n    1 O\n    2 C\n"
    assert loaded.calls == []


def test_phases_are_listed_with_their_indexes(system, loaded):
    expected = "PHASES\nINDEX NAME\n    0 GAS\n    1 LIQUID\n    2 Fe2O3\n"
    assert system.get_str_phs() == expected
    assert loaded.calls == []


def test_system_with_nothing_in_it_is_listed_as_headings(friendly, library, dat):
    library.scs, library.phs = [], []
    friendly.ThermochemicalSystem.load(dat)
    system = friendly.ThermochemicalSystem
    assert system.get_str_scs() == "SYSTEM COMPONENTS\nINDEX NAME\n"
    assert system.get_str_phs() == "PHASES\nINDEX NAME\n"
    assert system.get_str_phs_pcs() == "PHASES AND CONSTITUENTS\n" + HEADER


def test_names_are_not_padded_or_cut(friendly, library, dat):
    library.scs[1].name = " a name of more than twenty-five characters "
    library.phs[1].name = "%s"
    friendly.ThermochemicalSystem.load(dat)
    lines = friendly.ThermochemicalSystem.get_str_scs().splitlines()
    assert lines[3] == "    1  a name of more than twenty-five characters "
    assert friendly.ThermochemicalSystem.get_str_phs().splitlines()[3] == "    1 %s"


def test_index_fills_five_columns_under_its_heading(system):
    for listing in (system.get_str_scs(), system.get_str_phs()):
        _, heading, *rows = listing.splitlines()
        assert heading.index("NAME") == 6
        assert all(row[:5].strip().isdigit() and row[5] == " " and row[6] != " " for row in rows)


@pytest.mark.parametrize("name", ["get_str_scs", "get_str_phs", "get_str_phs_pcs"])
def test_listing_is_returned_and_not_printed(system, capsys, name):
    assert type(getattr(system, name)()) is str
    assert capsys.readouterr().out == ""


# Phases and constituents.


def test_phases_and_constituents(system, loaded, core):
    loaded.statuses = {(1,): core.Status.DORMANT, (0, 1): core.Status.ELIMINATED}
    below = " " * 48
    assert system.get_str_phs_pcs() == (
        "PHASES AND CONSTITUENTS\n"
        + HEADER
        + f"    0 {'GAS':25} ENTERED   {'':6}     0 {'CO':25} ENTERED\n"
        + f"{below}     1 {'CO2':25} ELIMINATED\n"
        + f"{below}     2 {'O2':25} ENTERED\n"
        + f"    1 {'LIQUID':25} DORMANT   {'':6}     0 {'Fe':25} ENTERED\n"
        + f"{below}     1 {'C':25} ENTERED\n"
        + f"    2 {'Fe2O3':25} ENTERED   \n"
    )


def test_statuses_are_asked_for_in_the_order_of_the_listing(system, loaded):
    system.get_str_phs_pcs()
    assert loaded.calls == [
        ("hxgsp", 0),
        ("hxgspc", 0, 0),
        ("hxgspc", 0, 1),
        ("hxgspc", 0, 2),
        ("hxgsp", 1),
        ("hxgspc", 1, 0),
        ("hxgspc", 1, 1),
        ("hxgsp", 2),
    ]
    assert all(type(part) is int for call in loaded.calls for part in call[1:])


def test_columns(system):
    _, heading, gas, below, *_ = system.get_str_phs_pcs().splitlines()
    assert heading[43:48] == "INDEX"
    assert gas[49:54] == below[49:54].replace("1", "0") == "    0"
    assert gas.index("CO") == below.index("CO2") == 55
    assert gas.rindex("ENTERED") == below.index("ENTERED") == 81


def test_status_of_now_is_shown(system, loaded, core):
    before = system.get_str_phs_pcs()
    system.set_status_pc("GAS", "O2", core.Status.DORMANT)
    after = system.get_str_phs_pcs()
    assert [a for a, b in zip(after.splitlines(), before.splitlines(), strict=True) if a != b] == [
        f"{'':48}     2 {'O2':25} DORMANT"
    ]


@pytest.mark.parametrize("count", [0, 1, 3])
def test_pure_phase_lists_no_constituents_whatever_their_number(library, basic, reload, count):
    library.phs[2].pcs = [basic.Constituent(f"p{i}", [0.0, 0.0, 0.0], 1.0) for i in range(count)]
    assert reload().endswith(f"    2 {'Fe2O3':25} ENTERED   \n")
    assert not [call for call in library.of("hxgspc") if call[1] == 2]


def test_mixture_of_one_constituent_lists_it(library, core, reload):
    library.phs[2].model = core.SolutionModel.RKMP
    assert reload().endswith(f"    2 {'Fe2O3':25} ENTERED   {'':6}     0 {'Fe2O3':25} ENTERED\n")


def test_mixture_without_constituents_leaves_its_line_open(library, reload):
    library.phs[1].pcs = []
    listing = reload()
    assert f"    1 {'LIQUID':25} ENTERED       2 {'Fe2O3':25} ENTERED   \n" in listing


def test_last_line_feed_is_missing_after_a_mixture_without_constituents(library, reload):
    library.phs = library.phs[:2]
    library.phs[1].pcs = []
    assert reload().endswith(f"    1 {'LIQUID':25} ENTERED   ")


def test_long_names_move_the_first_constituent_only(library, reload):
    library.phs[0].name = "P" * 30
    _, _, gas, below, *_ = reload().splitlines()
    assert gas.index(" CO ") == 54 + 5
    assert below.index(" CO2 ") == 54


def test_long_status_moves_the_first_constituent_only(library, reload):
    class Status:
        name = "S" * 13

    library.instead["hxgsp"] = lambda i_ph: Status
    _, _, gas, below, *_ = reload().splitlines()
    assert gas.index(" CO ") == 54 + 3
    assert below.index(" CO2 ") == 54


def test_long_constituent_moves_its_status(library, reload):
    library.phs[0].pcs[1].name = "C" * 30
    _, _, _, below, last, *_ = reload().splitlines()
    assert below == f"{'':48}     1 {'C' * 30} ENTERED"
    assert last == f"{'':48}     2 {'O2':25} ENTERED"


@pytest.mark.parametrize("place", range(1, 9))
def test_failure_of_the_library_passes_through(system, loaded, core, place):
    loaded.fail_at = place
    with pytest.raises(core.TessaraError) as failure:
        system.get_str_phs_pcs()
    assert failure.value is loaded.error
    assert len(loaded.calls) == place


@pytest.mark.parametrize("operation", ["hxgsp", "hxgspc"])
def test_status_without_a_name_is_an_attribute_error(system, loaded, operation):
    loaded.instead[operation] = lambda *place: 1
    with pytest.raises(AttributeError, match="name"):
        system.get_str_phs_pcs()


def test_model_is_compared_by_equality(library, reload):
    class Model:
        def __hash__(self):
            return hash("PURE")

        def __eq__(self, other):
            return other == "PURE"

    class Pure:
        name = Model()

    library.phs[0].model = Pure
    assert "CO2" not in reload()


@pytest.mark.parametrize("operation", ["hxgsp", "hxgspc"])
def test_library_may_load_another_system_from_within(friendly, system, loaded, dat, operation):
    def before(call):
        if call[0] == operation and len(loaded.phs) == 3:
            loaded.phs = loaded.phs[:2]
            loaded.scs = loaded.scs[:1]
            for ph in loaded.phs:
                for pc in ph.pcs:
                    pc.stoich = [1.0]
            friendly.ThermochemicalSystem.load(dat)

    loaded.before = before
    # The walk goes on to the third phase, which is not there any more.
    with pytest.raises(KeyError) as failure:
        system.get_str_phs_pcs()
    assert failure.value.args == (2,)
    loaded.before = None
    assert system.get_str_phs_pcs().count("\n") == 7
