"""The functions of the module: `_query_stoich_list` and `_build_stoich_dict`."""

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
