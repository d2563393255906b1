"""The header of a transparent file, as a dict and as a listing."""

import pytest

SHOWN = {"ver": 0, "nwp": 1, "vnw": 2, "vnr": 4, "dtc": 5, "rem": 9}


@pytest.fixture
def system(friendly):
    return friendly.ThermochemicalSystem


@pytest.fixture
def header(library):
    """`header(**items)`: the library's header with these items."""

    def give(**items):
        values = [3, "writer".ljust(40), (8, 0, 1), 0, (7, 2, 0), (2021, 3, 4, 5, 6, 7), 0, 0, 0]
        values.append("remark".ljust(80))
        for key, value in items.items():
            values[SHOWN[key]] = value
        library.instead["hxgtrh"] = lambda: values
        return values

    return give


def test_dict_has_six_items_in_order_as_the_library_gave_them(system, library):
    things = [object() for _ in range(10)]
    library.instead["hxgtrh"] = lambda: tuple(things)
    result = system.get_tdf_info_dict()
    assert type(result) is dict
    assert list(result) == ["ver", "nwp", "vnw", "vnr", "dtc", "rem"]
    assert all(result[key] is things[place] for key, place in SHOWN.items())


@pytest.mark.parametrize("name", ["get_tdf_info_dict", "get_tdf_info_str"])
def test_each_call_asks_the_library_anew(system, library, name):
    first = getattr(system, name)()
    assert library.calls == [("hxgtrh",)]
    assert getattr(system, name)() == first
    assert library.calls == [("hxgtrh",)] * 2


def test_dict_is_new(system, library):
    assert system.get_tdf_info_dict() is not system.get_tdf_info_dict()


def test_listing(system, header):
    header()
    listing = system.get_tdf_info_str()
    assert type(listing) is str
    assert listing == (
        "Transparent Data File Header Information\n"
        "========================================\n"
        "dtc  File Creation Timestamp          2021-03-04 05:06:07\n"
        "rem  Remarks                          " + "remark".ljust(80) + "\n"
        "vnr  Minimum Reading Program Version  7.2.0\n"
        "ver  Header Format Version            3\n"
        "nwp  Source Program Name              " + "writer".ljust(40) + "\n"
        "vnw  Source Program Version           8.0.1\n"
    )


def test_lines_start_with_their_keys_and_values_in_one_column(system, header):
    header()
    lines = system.get_tdf_info_str().splitlines()[2:]
    assert [line[:5] for line in lines] == ["dtc  ", "rem  ", "vnr  ", "ver  ", "nwp  ", "vnw  "]
    assert all(line[37] == " " and line[38] != " " for line in lines)


@pytest.mark.parametrize(
    ("key", "value", "shown"),
    [
        ("dtc", (2021, 3, 4, 5, 6, 7), "2021-03-04 05:06:07"),
        ("dtc", [1, 12, 31, 23, 59, 60], "0001-12-31 23:59:60"),
        ("dtc", (12021, 1, 1, 0, 0, 0, "more"), "12021-01-01 00:00:00"),
        ("vnw", (8, 0, 1), "8.0.1"),
        ("vnw", [10, 200, 3000], "10.200.3000"),
        ("vnr", (0, 0, 0), "0.0.0"),
        ("ver", 12, "12"),
        ("ver", 2.9, "2"),
        ("nwp", "", ""),
        ("rem", "a %s b  ", "a %s b  "),
        ("rem", ("a", "b"), "('a', 'b')"),
    ],
)
def test_items_are_printed_as_they_come(system, header, key, value, shown):
    header(**{key: value})
    (line,) = [row for row in system.get_tdf_info_str().splitlines() if row.startswith(key)]
    assert line[38:] == shown


@pytest.mark.parametrize("key", ["dtc", "vnr", "vnw"])
def test_short_item_is_an_index_error_in_the_listing_alone(system, header, key):
    header(**{key: (1, 2)})
    with pytest.raises(IndexError):
        system.get_tdf_info_str()
    assert system.get_tdf_info_dict()[key] == (1, 2)


@pytest.mark.parametrize("name", ["get_tdf_info_dict", "get_tdf_info_str"])
@pytest.mark.parametrize(
    ("length", "text"), [(0, "need more than 0 values"), (9, "need more"), (11, "too many values")]
)
def test_header_of_another_length_is_the_value_error_of_unpacking(
    system, library, name, length, text
):
    library.instead["hxgtrh"] = lambda: [0] * length
    with pytest.raises(ValueError, match=text):
        getattr(system, name)()


@pytest.mark.parametrize("name", ["get_tdf_info_dict", "get_tdf_info_str"])
def test_header_that_is_no_sequence(system, library, name):
    library.instead["hxgtrh"] = lambda: None
    with pytest.raises(TypeError, match="NoneType"):
        getattr(system, name)()


@pytest.mark.parametrize("name", ["get_tdf_info_dict", "get_tdf_info_str"])
def test_error_of_the_library_passes_through(system, loaded, core, name):
    loaded.fail_at = 1
    with pytest.raises(core.TessaraError) as failure:
        getattr(system, name)()
    assert failure.value is loaded.error


def test_listing_does_not_go_through_the_dict(system, library):
    class Mine(system):
        get_tdf_info_dict = None

    assert Mine.get_tdf_info_str().startswith("Transparent")


def test_header_may_fight_back(system, library, friendly, dat):
    class Items:
        def __iter__(self):
            system.load(dat)
            return iter(library.hxgtrh())

    library.instead["hxgtrh"] = Items
    assert system.get_tdf_info_dict()["ver"] == 3
    assert "8.0.1" in system.get_tdf_info_str()
