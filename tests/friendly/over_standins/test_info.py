"""`Info`: what the library tells of itself."""

import pytest

LINES = [
    ("na", "a", "Constituents."),
    ("nb", "b", "System components."),
    ("nc", "c", "Mixture phases."),
    ("nd", "d", "Excess Gibbs energy coefficients for a mixture phase."),
    ("ne", "e", "Excess magnetic coefficients for a mixture phase."),
    ("nf", "f", "Sublattices for a mixture phase."),
    ("ng", "g", "Constituents of a sublattice."),
    (
        "nh",
        "h",
        "Oxide constituents of a phase described by the Gaye-Kapoor-Frohberg or modified "
        "quasichemical formalisms.",
    ),
    ("ni", "i", "Gibbs energy/heat capacity equations for a constituent."),
    ("nj", "j", "Gibbs energy/heat capacity equations."),
    ("nk", "k", "Constituents with P,T-dependent molar volumes."),
]
KEYS = [key for key, *_ in LINES]
HEADINGS = {
    "max": "Tessara Maximum Internal Array Dimensions\n" + "=" * 41 + "\n",
    "used": "Tessara Currently Used Internal Array Dimensions\n" + "=" * 48 + "\n",
}
OPERATIONS = {"max": "hxsize", "used": "hxused"}
SETS = sorted(OPERATIONS)


@pytest.fixture
def info(friendly):
    return friendly.Info


@pytest.fixture
def answer(library):
    """`answer(sizes)`: the library reports these, for both sets."""

    def give(sizes):
        for operation in OPERATIONS.values():
            library.instead[operation] = lambda: sizes

    return give


def ask(info, which, form):
    return getattr(info, f"get_array_size_{which}_{form}")()


@pytest.mark.parametrize(
    ("name", "operation"),
    [
        ("get_copyright_message", "hxcprt"),
        ("get_program_id", "hxgtpi"),
        ("get_version_number", "hxvers"),
    ],
)
def test_answer_of_the_library_is_handed_on(info, library, name, operation):
    thing = object()
    library.instead[operation] = lambda: thing
    assert getattr(info, name)() is thing
    assert library.calls == [(operation,)]


@pytest.mark.parametrize("form", ["dict", "list", "str"])
@pytest.mark.parametrize("which", SETS)
def test_sizes_are_asked_for_once(info, library, which, form):
    ask(info, which, form)
    assert library.calls == [(OPERATIONS[which],)]


@pytest.mark.parametrize("which", SETS)
def test_dict_has_eleven_keys_in_order(info, answer, which):
    sizes = [object() for _ in KEYS]
    answer(sizes)
    result = ask(info, which, "dict")
    assert type(result) is dict
    assert list(result) == KEYS
    assert all(a is b for a, b in zip(result.values(), sizes, strict=True))


@pytest.mark.parametrize("which", SETS)
def test_list_is_a_new_list(info, answer, which):
    sizes = list(range(11))
    answer(sizes)
    result = ask(info, which, "list")
    assert type(result) is list
    assert result == sizes
    assert result is not sizes
    answer(iter("abc"))
    assert ask(info, which, "list") == ["a", "b", "c"]


def test_dict_of_maxima_is_as_long_as_the_shorter_side(info, answer):
    answer((1, 2, 3))
    assert info.get_array_size_max_dict() == {"na": 1, "nb": 2, "nc": 3}
    answer(())
    assert info.get_array_size_max_dict() == {}
    answer(range(20))
    assert info.get_array_size_max_dict() == {key: place for place, key in enumerate(KEYS)}
    answer(iter([7]))
    assert info.get_array_size_max_dict() == {"na": 7}


@pytest.mark.parametrize("length", range(11))
@pytest.mark.parametrize(("which", "form"), [("used", "dict"), ("used", "str"), ("max", "str")])
def test_short_sequence_read_by_position_is_an_index_error(info, answer, which, form, length):
    answer(tuple(range(length)))
    with pytest.raises(IndexError):
        ask(info, which, form)


@pytest.mark.parametrize(("which", "form"), [("used", "dict"), ("used", "str"), ("max", "str")])
def test_positions_are_read_one_at_a_time_in_order(info, answer, which, form):
    read = []

    class Sizes:
        def __getitem__(self, place):
            assert type(place) is int
            read.append(place)
            return place

    answer(Sizes())
    ask(info, which, form)
    assert read == list(range(11))


def test_long_sequence_read_by_position_is_cut(info, answer):
    answer(range(20))
    assert list(info.get_array_size_used_dict().values()) == list(range(11))
    assert len(info.get_array_size_used_str().splitlines()) == 13


@pytest.mark.parametrize("which", SETS)
def test_listing(info, answer, which):
    sizes = [0, 1, 12, 123, 1234, 12345, 99999, 7, 8, 9, 10]
    answer(sizes)
    lines = [
        f"{letter} {size:5d} {words}\n"
        for (_, letter, words), size in zip(LINES, sizes, strict=True)
    ]
    listing = ask(info, which, "str")
    assert type(listing) is str
    assert listing == HEADINGS[which] + "".join(lines)


@pytest.mark.parametrize("which", SETS)
def test_number_of_more_than_five_digits_widens_its_line(info, answer, which):
    answer([123456, *range(1, 10), -1234567])
    lines = ask(info, which, "str").splitlines()
    assert lines[2] == "a 123456 Constituents."
    assert lines[3] == "b     1 System components."
    assert lines[12] == "k -1234567 Constituents with P,T-dependent molar volumes."


def test_numbers_of_the_listing_are_cut_to_whole_ones(info, answer):
    answer([1.9] * 11)
    assert info.get_array_size_max_str().splitlines()[2] == "a     1 Constituents."


@pytest.mark.parametrize("which", SETS)
def test_what_is_no_number_fails_in_the_listing(info, answer, which):
    answer(["one"] * 11)
    with pytest.raises(TypeError, match="%i format"):
        ask(info, which, "str")


@pytest.mark.parametrize("which", SETS)
def test_listing_and_dict_and_list_hold_the_same_numbers(info, library, which):
    listed = [int(line.split()[1]) for line in ask(info, which, "str").splitlines()[2:]]
    assert listed == list(ask(info, which, "dict").values()) == ask(info, which, "list")


@pytest.mark.parametrize("which", SETS)
def test_nothing_is_printed(info, library, capsys, which):
    ask(info, which, "str")
    assert capsys.readouterr().out == ""


def test_object_asks_through_cls_in_order(info, friendly, library, core, monkeypatch):
    asked = []

    def method(name):
        def give(cls):
            asked.append((cls, name))
            return name

        return classmethod(give)

    names = [
        "get_copyright_message",
        "get_program_id",
        "get_version_number",
        "get_array_size_max_dict",
        "get_array_size_used_dict",
    ]
    Mine = type("Mine", (info,), {name: method(name) for name in names})
    monkeypatch.setattr(friendly, "TessaraInfo", lambda *values: values)
    assert Mine.get_object() == tuple(names)
    assert asked == [(Mine, name) for name in names]
    assert library.calls == []


def test_object_is_a_record_of_five_values(info, friendly, library, core, monkeypatch):
    assert type(info.get_object()) is core.TessaraInfo
    assert library.calls == [("hxcprt",), ("hxgtpi",), ("hxvers",), ("hxsize",), ("hxused",)]
    monkeypatch.setattr(friendly, "TessaraInfo", lambda *values: values)
    used = {key: place + 1 for place, key in enumerate(KEYS)}
    largest = {key: place + 101 for place, key in enumerate(KEYS)}
    assert info.get_object() == ("copyright", "program", 80001, largest, used)


@pytest.mark.parametrize("place", range(1, 6))
def test_object_passes_a_failure_on(info, library, core, place):
    library.fail_at = place
    with pytest.raises(core.TessaraError) as failure:
        info.get_object()
    assert failure.value is library.error
    assert len(library.calls) == place


@pytest.mark.parametrize(
    "name",
    [
        "get_copyright_message",
        "get_program_id",
        "get_version_number",
        *[f"get_array_size_{which}_{form}" for which in SETS for form in ("dict", "list", "str")],
    ],
)
def test_failure_of_the_library_passes_through(info, library, core, name):
    library.fail_at = 1
    with pytest.raises(core.TessaraError) as failure:
        getattr(info, name)()
    assert failure.value is library.error


@pytest.mark.parametrize("which", SETS)
def test_answer_that_is_no_sequence(info, answer, which):
    answer(3)
    for form in ("dict", "list", "str"):
        with pytest.raises(TypeError):
            ask(info, which, form)
