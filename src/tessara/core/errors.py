"""Exceptions, warnings, texts of errors, and the note of the library's last error."""

from __future__ import annotations

from enum import StrEnum


class TessaraError(Exception):
    """A failure that the library reports. Constructed with one text."""


class TessaraPyError(Exception):
    """A failure that the Python side detects itself. Constructed with one text."""


class TessaraWarning(UserWarning):
    """Base of the warnings that concern a calculation's meaning."""


class MiscibilityWarning(TessaraWarning):
    """A mixture phase splits into more composition sets than the data file lists."""


class TargetReadingWarning(TessaraWarning):
    """A target's index can be read as a constituent or as a system component, which differ."""


class ErrorStrings(StrEnum):
    """Texts of errors that carry no particulars. A member is the text itself."""

    ERROR_PHASE_TRANSITION_LIMIT_EXCEEDED = (
        "The limit on the number of phase transitions in one phase map over incoming amounts is "
        "exceeded. Divide the range and calculate one map for each piece."
    )


_NO_ERROR: dict[str, object] = {
    "number": 0,
    "text": "",
    "operation": "",
    "file": None,
    "line": None,
    "column": None,
}

# Replaced as a whole and never changed in place, so that a reader never sees half of a note.
_last_error = _NO_ERROR


def note_error(
    number: int,
    text: str,
    operation: str,
    file: object = None,
    line: int | None = None,
    column: int | None = None,
) -> None:
    """Note the library's last error. The library's binding calls this before it raises.

    Args:
        number: the error's number, above 0.
        text: what was asked, what is wrong and what to do.
        operation: name of the operation that failed.
        file: the data file concerned, a path or a text; `None` if none is.
        line: line in that file, counted from 1; `None` if unknown.
        column: column in that line, counted from 1; `None` if unknown.

    """
    global _last_error
    _last_error = {
        "number": number,
        "text": text,
        "operation": operation,
        "file": None if file is None else str(file),
        "line": line,
        "column": column,
    }


def clear_error_note() -> None:
    """Forget the last error."""
    global _last_error
    _last_error = _NO_ERROR


def get_error_info_dict() -> dict[str, object]:
    """Describe the library's last error.

    Returns:
        A new dict with the keys "number" (int), "text" (str), "operation" (str), "file" (str or
        `None`), "line" (int or `None`) and "column" (int or `None`). While there is no error,
        "number" is 0, the two texts are empty and the rest is `None`. Exceptions that Python code
        raises by itself leave no note.

    """
    return dict(_last_error)
