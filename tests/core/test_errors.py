"""Exceptions, warnings and the note of the last error."""

import pickle

import pytest

from tessara import core

NO_ERROR = {
    "number": 0,
    "text": "",
    "operation": "",
    "file": None,
    "line": None,
    "column": None,
}


@pytest.fixture(autouse=True)
def _no_note():
    core.clear_error_note()
    yield
    core.clear_error_note()


@pytest.mark.parametrize("cls", [core.TessaraError, core.TessaraPyError])
def test_exception_gives_its_text(cls):
    assert str(cls("phase 'X' does not exist")) == "phase 'X' does not exist"


@pytest.mark.parametrize("cls", [core.TessaraError, core.TessaraPyError])
def test_exception_survives_pickling(cls):
    error = pickle.loads(pickle.dumps(cls("text")))
    assert type(error) is cls
    assert error.args == ("text",)


def test_errors_of_library_and_python_are_told_apart():
    assert not issubclass(core.TessaraError, core.TessaraPyError)
    assert not issubclass(core.TessaraPyError, core.TessaraError)


def test_exception_made_of_an_error_string_reads_as_a_sentence():
    error = core.TessaraPyError(core.ErrorStrings.ERROR_PHASE_TRANSITION_LIMIT_EXCEEDED)
    assert error.args == (core.ErrorStrings.ERROR_PHASE_TRANSITION_LIMIT_EXCEEDED,)
    assert str(error).startswith("The limit on the number of phase transitions")
    assert str(error).endswith(".")


@pytest.mark.parametrize("member", core.ErrorStrings)
def test_error_string_is_its_text(member):
    assert isinstance(member, str)
    assert f"{member}" == member.value


@pytest.mark.parametrize("cls", [core.MiscibilityWarning, core.TargetReadingWarning])
def test_warning_is_a_user_warning_of_the_library(cls):
    assert issubclass(cls, core.TessaraWarning)
    assert issubclass(cls, UserWarning)


def test_warning_of_one_category_can_be_silenced_alone():
    assert not issubclass(core.MiscibilityWarning, core.TargetReadingWarning)
    assert not issubclass(core.TargetReadingWarning, core.MiscibilityWarning)


def test_without_an_error_the_note_is_empty():
    assert core.get_error_info_dict() == NO_ERROR


def test_note_holds_what_was_noted():
    core.note_error(12, "expected a number", "hxrfil", "steel.dat", 412, 7)
    assert core.get_error_info_dict() == {
        "number": 12,
        "text": "expected a number",
        "operation": "hxrfil",
        "file": "steel.dat",
        "line": 412,
        "column": 7,
    }


def test_note_without_a_file():
    core.note_error(3, "no temperature", "hxce")
    note = core.get_error_info_dict()
    assert (note["file"], note["line"], note["column"]) == (None, None, None)


def test_note_keeps_a_path_as_text(tmp_path):
    core.note_error(3, "text", "hxopna", tmp_path)
    assert core.get_error_info_dict()["file"] == str(tmp_path)


def test_later_note_replaces_the_earlier_one_whole():
    core.note_error(12, "text", "hxrfil", "steel.dat", 412, 7)
    core.note_error(3, "other", "hxce")
    assert core.get_error_info_dict() == {
        **NO_ERROR,
        "number": 3,
        "text": "other",
        "operation": "hxce",
    }


def test_note_can_be_cleared():
    core.note_error(3, "text", "hxce")
    core.clear_error_note()
    assert core.get_error_info_dict() == NO_ERROR


def test_note_is_handed_out_as_a_new_dict():
    core.note_error(3, "text", "hxce")
    core.get_error_info_dict()["text"] = "changed"
    assert core.get_error_info_dict()["text"] == "text"


def test_empty_note_is_handed_out_as_a_new_dict():
    core.get_error_info_dict()["text"] = "changed"
    core.clear_error_note()
    assert core.get_error_info_dict() == NO_ERROR


def test_exception_built_elsewhere_leaves_the_note_alone():
    core.note_error(3, "text", "hxce")
    core.TessaraError("another text")
    assert core.get_error_info_dict()["text"] == "text"
