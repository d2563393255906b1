"""The frame of a calculation and the capture of listings."""

import builtins
import io
import tempfile
from pathlib import Path
from typing import ClassVar
from unittest import mock

import pytest


@pytest.fixture
def base(friendly):
    return friendly.EquilibriumCalculationBase


@pytest.fixture
def clock(friendly, monkeypatch):
    """A clock that ticks 1.5 s at each look."""
    ticks = iter([10.0, 11.5, 13.0, 14.5])
    fake = mock.Mock()
    fake.time.side_effect = lambda: next(ticks)
    monkeypatch.setattr(friendly, "time", fake)
    return fake


class Recorder(type):
    """A metaclass that records which class attributes are read and written."""

    def __setattr__(cls, name, value):
        if name != "log":
            cls.log.append(("set", name, value))
        super().__setattr__(name, value)

    def __getattribute__(cls, name):
        if name in ("t_start", "t_end", "dt"):
            cls.log.append(("get", name))
        return super().__getattribute__(name)


# The frame.


def test_start_sets_three_attributes_in_order(base, clock):
    class Mine(base, metaclass=Recorder):
        log: ClassVar[list] = []

    assert Mine._start_calc() is None
    assert Mine.log == [("set", "t_start", 10.0), ("set", "t_end", None), ("set", "dt", None)]


def test_end_reads_both_times_back_from_cls(base, clock):
    class Mine(base, metaclass=Recorder):
        log: ClassVar[list] = []

    Mine._start_calc()
    Mine.log.clear()
    assert Mine._end_calc() is None
    assert Mine.log == [
        ("set", "t_end", 11.5),
        ("get", "t_end"),
        ("get", "t_start"),
        ("set", "dt", 1.5),
    ]


def test_frame_lands_on_the_class_that_it_is_called_through(friendly, clock):
    friendly.EquilibriumCalculation._start_calc()
    friendly.EquilibriumCalculation._end_calc()
    assert vars(friendly.EquilibriumCalculation)["dt"] == 1.5
    for other in (friendly.EquilibriumCalculationBase, friendly.StreamCalculation):
        assert (other.t_start, other.t_end, other.dt) == (None, None, None)


def test_frame_takes_the_time_of_the_clock(friendly, base):
    import time

    before = time.time()
    base._start_calc()
    assert (base.t_end, base.dt) == (None, None)
    base._end_calc()
    after = time.time()
    assert before <= base.t_start <= base.t_end <= after
    assert base.dt == base.t_end - base.t_start
    assert type(base.dt) is float


def test_end_without_start_sets_the_end_and_fails_in_the_subtraction(base, clock):
    class Mine(base):
        pass

    with pytest.raises(TypeError, match="unsupported operand"):
        Mine._end_calc()
    assert Mine.t_end == 10.0
    assert Mine.dt is None


def test_times_stay_until_the_next_start(base, clock):
    base._start_calc()
    base._end_calc()
    assert (base.t_start, base.t_end, base.dt) == (10.0, 11.5, 1.5)
    base._start_calc()
    assert (base.t_start, base.t_end, base.dt) == (13.0, None, None)


def test_clock_that_fails_leaves_the_attributes(friendly, base, clock):
    clock.time.side_effect = LookupError("no clock")
    with pytest.raises(LookupError):
        base._start_calc()
    assert base.t_start is None


def test_class_that_refuses_attributes_says_so(friendly, clock):
    function = vars(friendly.EquilibriumCalculationBase)["_start_calc"].__func__
    with pytest.raises(TypeError, match="immutable type"):
        function(int)


# The capture.


def test_capture_from_standard_output_closes_nothing(base, library, core):
    file_name, old = base._list_to_file()
    assert library.calls == [
        ("hxgio", core.IoOption.LIST),
        ("hxcio", core.IoOption.LIST, 21),
        ("hxopen", file_name, 21),
    ]
    assert old == 6
    assert type(file_name) is str
    assert all(type(call[-1]) is int for call in library.calls[1:])


def test_capture_from_a_file_closes_it(base, library, core):
    library.list_number = 10
    file_name, old = base._list_to_file()
    assert library.calls == [
        ("hxgio", core.IoOption.LIST),
        ("hxclos", 10),
        ("hxcio", core.IoOption.LIST, 21),
        ("hxopen", file_name, 21),
    ]
    assert old == 10


def test_capture_returns_a_tuple_with_the_old_number_as_it_came(base, library):
    number = 10**6
    library.list_number = number
    result = base._list_to_file()
    assert type(result) is tuple
    assert result[1] is number


def test_capture_makes_an_empty_temporary_file_and_closes_it(friendly, base, library, monkeypatch):
    made = []

    def make(*arguments, **keywords):
        assert library.calls[-1][0] == "hxcio"
        file = tempfile.NamedTemporaryFile(*arguments, **keywords)  # noqa: SIM115
        made.append((arguments, keywords, file))
        return file

    monkeypatch.setattr(friendly, "NamedTemporaryFile", make)
    closed = []
    library.before = lambda call: call[0] == "hxopen" and closed.append(made[0][2].closed)
    file_name, _ = base._list_to_file()
    assert made[0][:2] == ((), {"delete": False})
    assert file_name == made[0][2].name
    assert closed == [True]
    assert Path(file_name).read_text() == ""


def test_end_of_a_capture_returns_the_text(base, library, core, tmp_path):
    path = tmp_path / "listing"
    path.write_text("one\ntwo\n")
    assert base._list_back(str(path), 10) == "one\ntwo\n"
    assert library.calls == [("hxclos", 21), ("hxcio", core.IoOption.LIST, 10)]


def test_end_of_a_capture_opens_nothing_again(base, library):
    library.list_number = 10
    base._list_back(*base._list_to_file())
    assert library.of("hxopen") == [("hxopen", library.of("hxopen")[0][1], 21)]
    assert library.list_number == 10


def test_file_is_read_between_the_two_calls_of_the_library(friendly, base, library, monkeypatch):
    seen = []

    def fake_open(*arguments, **keywords):
        seen.append((arguments, keywords, list(library.calls)))
        return io.StringIO("text")

    monkeypatch.setattr(friendly, "open", fake_open, raising=False)
    assert base._list_back("name", 6) == "text"
    assert seen == [(("name", "r"), {}, [("hxclos", 21)])]


def test_mock_open_works(friendly, base, monkeypatch):
    fake = mock.mock_open(read_data="mocked")
    monkeypatch.setattr(friendly, "open", fake, raising=False)
    assert base._list_back("name", 6) == "mocked"
    fake.assert_called_once_with("name", "r")
    fake().__enter__.assert_called_once_with()
    fake().__exit__.assert_called_once_with(None, None, None)


class Manager:
    """A context manager whose file fails to read."""

    def __init__(self, swallow):
        self.swallow = swallow
        self.seen = []

    def __enter__(self):
        return self

    def read(self):
        raise OSError("unreadable")

    def __exit__(self, *arguments):
        import sys

        self.seen.append((arguments, sys.exc_info()[1]))
        return self.swallow


def test_file_is_closed_when_the_read_fails(friendly, base, library, monkeypatch):
    manager = Manager(swallow=0)
    monkeypatch.setattr(friendly, "open", lambda *arguments: manager, raising=False)
    with pytest.raises(OSError, match="unreadable") as failure:
        base._list_back("name", 10)
    (kind, value, traceback), handled = manager.seen[0]
    assert (kind, value, handled) == (OSError, failure.value, failure.value)
    assert traceback is not None
    assert failure.value.__context__ is None
    assert library.calls == [("hxclos", 21)]


def test_failure_of_the_exit_has_the_first_failure_as_context(friendly, base, monkeypatch):
    class Failing(Manager):
        def __exit__(self, *arguments):
            raise LookupError("exit")

    monkeypatch.setattr(friendly, "open", lambda *arguments: Failing(0), raising=False)
    with pytest.raises(LookupError, match="exit") as failure:
        base._list_back("name", 10)
    assert type(failure.value.__context__) is OSError


def test_swallowed_failure_leaves_no_text(friendly, base, library, core, monkeypatch):
    monkeypatch.setattr(friendly, "open", lambda *arguments: Manager(1), raising=False)
    with pytest.raises(UnboundLocalError, match="list_string"):
        base._list_back("name", 10)
    assert library.calls == [("hxclos", 21), ("hxcio", core.IoOption.LIST, 10)]


@pytest.mark.parametrize(
    ("attributes", "text"),
    [
        ({}, "'Thing' object does not support the context manager protocol"),
        ({"__enter__": None}, r"protocol \(missed __exit__ method\)"),
    ],
)
def test_what_is_no_context_manager_is_refused(friendly, base, monkeypatch, attributes, text):
    thing = type("Thing", (), attributes)()
    thing.__enter__ = thing.__exit__ = lambda *arguments: None
    monkeypatch.setattr(friendly, "open", lambda *arguments: thing, raising=False)
    with pytest.raises(TypeError, match=text):
        base._list_back("name", 6)


def test_missing_file_leaves_the_channel_turned_away(base, library, tmp_path):
    with pytest.raises(FileNotFoundError):
        base._list_back(str(tmp_path / "none"), 10)
    assert library.calls == [("hxclos", 21)]


def test_text_is_decoded_as_open_decodes_it(base, tmp_path):
    path = tmp_path / "listing"
    path.write_bytes(b"a\r\nb\xff")
    with pytest.raises(UnicodeDecodeError):
        base._list_back(str(path), 6)
    path.write_bytes(b"a\r\nb")
    assert base._list_back(str(path), 6) == "a\nb"


@pytest.mark.parametrize("place", [1, 2, 3])
def test_failure_of_the_library_while_turning_passes(base, library, core, place):
    library.fail_at = place
    with pytest.raises(core.TessaraError) as failure:
        base._list_to_file()
    assert failure.value is library.error
    assert len(library.calls) == place


@pytest.mark.parametrize("place", [1, 2])
def test_failure_of_the_library_while_turning_back_passes(base, library, core, tmp_path, place):
    path = tmp_path / "listing"
    path.write_text("")
    library.fail_at = place
    with pytest.raises(core.TessaraError) as failure:
        base._list_back(str(path), 6)
    assert failure.value is library.error
    assert len(library.calls) == place


def test_channel_numbers_are_read_from_the_globals(friendly, base, library, core, monkeypatch):
    monkeypatch.setattr(friendly, "LIST_STDOUT_NUMBER", 7)
    monkeypatch.setattr(friendly, "LIST_FILE_NUMBER", 33)
    file_name, old = base._list_to_file()
    assert library.calls[1:] == [
        ("hxclos", 6),
        ("hxcio", core.IoOption.LIST, 33),
        ("hxopen", file_name, 33),
    ]
    library.calls.clear()
    base._list_back(file_name, old)
    assert library.calls[0] == ("hxclos", 33)


def test_channel_is_compared_by_equality(base, library):
    library.list_number = 6.0
    base._list_to_file()
    assert library.count("hxclos") == 0


def test_second_capture_sees_the_channel_of_the_first_and_closes_it(base, library):
    base._list_to_file()
    library.calls.clear()
    assert base._list_to_file()[1] == 21
    assert library.calls[1] == ("hxclos", 21)


# The listing of inputs.


def test_inputs_are_listed_to_a_capture(base, library, core):
    library.listing = "P 1 bar\nT 300 K  \n"
    assert base.get_str_inputs() == "P 1 bar\nT 300 K  \n"
    file_name = library.of("hxopen")[0][1]
    assert library.calls == [
        ("hxgio", core.IoOption.LIST),
        ("hxcio", core.IoOption.LIST, 21),
        ("hxopen", file_name, 21),
        ("hxshow",),
        ("hxclos", 21),
        ("hxcio", core.IoOption.LIST, 6),
    ]


def test_no_output_is_the_empty_string(base, library):
    library.listing = ""
    assert base.get_str_inputs() == ""


def test_file_of_a_capture_stays_on_disk(base, library):
    base.get_str_inputs()
    file_name = library.of("hxopen")[0][1]
    assert Path(file_name).read_text() == "LISTING\n"
    Path(file_name).unlink()


def test_failure_of_the_listing_leaves_it_turned_away(base, library, core):
    library.fail_at = 4
    with pytest.raises(core.TessaraError):
        base.get_str_inputs()
    assert library.list_number == 21
    assert 21 in library.files
    assert library.calls[-1] == ("hxshow",)


def test_capture_goes_through_cls(base, library):
    seen = []

    class Mine(base):
        @classmethod
        def _list_to_file(cls):
            return iter(["name", "number"])

        @classmethod
        def _list_back(cls, *arguments):
            seen.append(arguments)
            return library

    assert Mine.get_str_inputs() is library
    assert seen == [("name", "number")]
    assert library.calls == [("hxshow",)]


@pytest.mark.parametrize(
    ("pair", "error", "text"),
    [
        ((), ValueError, "need more than 0 values to unpack"),
        (["name"], ValueError, "need more than 1 value to unpack"),
        ("abc", ValueError, r"too many values to unpack \(expected 2\)"),
        (None, TypeError, "'NoneType' object is not iterable"),
    ],
)
def test_override_that_gives_no_pair_is_refused(base, library, pair, error, text):
    class Mine(base):
        @classmethod
        def _list_to_file(cls):
            return pair

    with pytest.raises(error, match=text):
        Mine.get_str_inputs()
    assert library.calls == []


def test_open_is_the_built_in_without_a_global_of_that_name(base, library, monkeypatch, tmp_path):
    path = tmp_path / "listing"
    path.write_text("real")
    seen = []
    real = builtins.open
    monkeypatch.setattr(builtins, "open", lambda *a, **k: seen.append(a) or real(*a, **k))
    assert base._list_back(str(path), 6) == "real"
    assert seen == [(str(path), "r")]
