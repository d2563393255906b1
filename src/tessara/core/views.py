"""How records are shown: one line for `repr`, a listing for `str`, HTML for notebooks.

Listing and HTML are two renderings of one content, a heading and sections. A section is open where
it answers the first question that one has, and folded otherwise.
"""

from __future__ import annotations

from collections.abc import Mapping, Sized
from enum import Enum
from html import escape
from math import isnan, log, nan

from .formula import Formula
from .records import (
    CalculationResult,
    EquilibriumCalculationResult,
    PhaseState,
    Record,
    StreamCalculationResult,
    StreamState,
    SystemComponentIncomingAmountState,
    ThermochemicalSystemConfig,
    Viewable,
)

# What a number is measured in: letters stand for the unit of that quantity, "D" for that of a
# temperature difference.
_UNITS = {
    "T": "T",
    "P": "P",
    "A": "A",
    "MU": "E/mol",
    "Cp": "E/D",
    "H": "E",
    "S": "E/D",
    "G": "E",
    "V": "V",
    "CpM": "E/(A D)",
    "HM": "E/A",
    "SM": "E/(A D)",
    "GM": "E/A",
    "VM": "V/A",
}
_PROPERTIES = ("Cp", "H", "S", "G", "V", "CpM", "HM", "SM", "GM", "VM")
_STATE = ("A", "X", "AC", "MU")
_CHANGES = ("dCp", "dH", "dS", "dG", "dV")
_NAMES_SHOWN = 6


class Section:
    """A part of what is shown: a title, and a table, a text or further sections below it."""

    def __init__(
        self,
        title: str,
        *,
        columns: list[str] | None = None,
        rows: list[list[str]] | None = None,
        text: str = "",
        parts: list[Section] | None = None,
        is_open: bool = False,
    ) -> None:
        self.title = title
        self.columns = columns or []
        self.rows = rows or []
        self.text = text
        self.parts = parts or []
        self.is_open = is_open


def one_line(record: Record) -> str:
    """Give the text of `repr`: the class, and in few words what is known."""
    name = type(record).__name__
    if isinstance(record, Viewable):
        return f"<{name}: {_heading(record)}>"
    state = object.__getstate__(record)
    fields: dict[str, object] = {}
    for part in state if isinstance(state, tuple) else (state,):
        fields.update(part or {})
    known = {key.lstrip("_"): value for key, value in fields.items() if not _is_nan(value)}
    return f"{name}({', '.join(f'{key}={_brief(value)}' for key, value in known.items())})"


def listing(record: Viewable) -> str:
    """Give the text of `str`: heading and all sections, as aligned plain text."""
    lines = [f"{type(record).__name__}: {_heading(record)}"]
    for section in _sections(record):
        lines += ["", *_section_as_text(section)]
    return "\n".join(line.rstrip() for line in lines)


def html(record: Viewable) -> str:
    """Give the HTML that notebooks show: heading and foldable sections, no script, no colours."""
    heading = f"<p><b>{escape(type(record).__name__)}</b>: {escape(_heading(record))}</p>"
    return f"<div>{heading}{''.join(map(_section_as_html, _sections(record)))}</div>"


def _heading(record: Viewable) -> str:
    if isinstance(record, CalculationResult):
        text = _result_heading(record)
    elif isinstance(record, StreamState):
        state = _known_numbers(record, ("T", "P", "A"), record.units)
        text = f"{record.name}, {state}, {_count(record.A_pcs, 'constituent')}"
    else:
        assert isinstance(record, ThermochemicalSystemConfig)
        components = _count(record.scs, "system component")
        text = f"{record.path}, {components}, {_count(record.phs, 'phase')}"
    return " ".join(text.split())


def _result_heading(result: CalculationResult) -> str:
    numbers = _known_numbers(result, ("T", "P", "A"), result.units) or "no values"
    if result.error is not None:
        return f"failed: {_error(result).get('text') or 'no error noted'}, {numbers}"
    stable = [name for name, ph in result.phs.items() if _is_positive(ph.A)]
    if not stable:
        return numbers
    more = f" and {len(stable) - _NAMES_SHOWN} more" if len(stable) > _NAMES_SHOWN else ""
    return f"{numbers}, stable: {', '.join(stable[:_NAMES_SHOWN])}{more}"


def _sections(record: Viewable) -> list[Section]:
    if isinstance(record, CalculationResult):
        sections = _result_sections(record)
    elif isinstance(record, StreamState):
        sections = _stream_sections(record)
    else:
        assert isinstance(record, ThermochemicalSystemConfig)
        sections = _system_sections(record)
    return [section for section in sections if section.rows or section.text or section.parts]


def _result_sections(result: CalculationResult) -> list[Section]:
    units = result.units
    stable = {name: ph for name, ph in result.phs.items() if _is_positive(ph.A)}
    absent = {name: ph for name, ph in result.phs.items() if name not in stable}
    sections = [
        _mapping("Error", _error(result), is_open=True),
        _table(
            f"Stable phases ({len(stable)})",
            stable,
            _STATE,
            units,
            parts=[_phase_part(name, ph, units) for name, ph in stable.items()],
            is_open=True,
        ),
        Section(
            f"Absent phases ({len(absent)})",
            columns=["", "status", "AC", "driving force/RT"],
            rows=[
                [name, _brief(ph.status), _number(ph.AC), _number(_log(ph.AC))]
                for name, ph in absent.items()
            ],
        ),
        _table(f"System components ({len(result.scs)})", result.scs, _STATE, units),
        _properties(result, _PROPERTIES, units),
    ]
    if isinstance(result, EquilibriumCalculationResult):
        amounts = [
            [place.sc, "", _number(place.A)]
            if isinstance(place, SystemComponentIncomingAmountState)
            else [place.ph, place.pc, _number(place.A)]
            for place in result.IAs
        ]
        columns = ["", "", _with_unit("A", units)]
        sections.append(Section("Incoming amounts", columns=columns, rows=amounts))
    if isinstance(result, StreamCalculationResult):
        sections.append(_properties(result, _CHANGES, units, title="Changes against the streams"))
        streams = [
            Section(_heading(stream), parts=_sections(stream)) for stream in result.streams.values()
        ]
        sections.append(Section(f"Streams ({len(streams)})", parts=streams))
    sections.append(Section("Inputs", text=result.str_inputs))
    return sections


def _phase_part(name: str, phase: PhaseState, units: dict[str, Enum]) -> Section:
    components = {key: sc for key, sc in phase.scs.items() if sc.A != 0.0}
    return _table(
        f"{name}: {_count(phase.pcs, 'constituent')}",
        phase.pcs,
        _STATE,
        units,
        parts=[
            _table(f"{name}: system components", components, ("A", "X"), units),
            _properties(phase, _PROPERTIES, units, title=f"{name}: properties"),
        ],
    )


def _stream_sections(stream: StreamState) -> list[Section]:
    return [
        Section(
            "Amounts",
            columns=["", "", _with_unit("A", stream.units)],
            rows=[[pc.ph, pc.pc, _number(pc.A)] for pc in stream.A_pcs],
            is_open=True,
        ),
        _properties(stream, _PROPERTIES[:5], stream.units),
    ]


def _system_sections(system: ThermochemicalSystemConfig) -> list[Section]:
    unit = _name_of((system.units or {}).get("A"))
    mass = "g" if unit in ("mol", "gram") else unit
    molar_mass = f"molar mass [{mass}/mol]" if mass else "molar mass"
    constituents = [
        Section(
            f"{name}: {_count(ph.pcs, 'constituent')}",
            columns=["", molar_mass, "stoichiometry"],
            rows=[
                [key, _number(pc.molar_mass), _stoichiometry(pc.stoichiometry)]
                for key, pc in ph.pcs.items()
            ],
        )
        for name, ph in system.phs.items()
    ]
    return [
        Section(
            f"System components ({len(system.scs)})",
            columns=["", molar_mass],
            rows=[[name, _number(sc.molar_mass)] for name, sc in system.scs.items()],
            is_open=True,
        ),
        Section(
            f"Phases ({len(system.phs)})",
            columns=["", "model", "constituents"],
            rows=[[name, _brief(ph.model), str(len(ph.pcs))] for name, ph in system.phs.items()],
            parts=constituents,
        ),
    ]


def _table(
    title: str,
    states: Mapping[str, Record],
    fields: tuple[str, ...],
    units: dict[str, Enum],
    *,
    parts: list[Section] | None = None,
    is_open: bool = False,
) -> Section:
    """Make a table of records by name, one column for each field."""
    return Section(
        title,
        columns=["", *(_with_unit(field, units) for field in fields)],
        rows=[
            [name, *(_number(getattr(state, field)) for field in fields)]
            for name, state in states.items()
        ],
        parts=parts,
        is_open=is_open,
    )


def _properties(
    record: Record, fields: tuple[str, ...], units: dict[str, Enum], title: str = "Properties"
) -> Section:
    rows = [
        [field, _number(getattr(record, field)), _unit(field.removeprefix("d"), units)]
        for field in fields
        if not _is_nan(getattr(record, field))
    ]
    return Section(title, columns=["", "value", "unit"], rows=rows)


def _mapping(title: str, content: dict[str, object], *, is_open: bool) -> Section:
    rows = [[key, str(value)] for key, value in content.items() if value is not None]
    return Section(title, columns=["", ""], rows=rows, is_open=is_open)


def _section_as_text(section: Section) -> list[str]:
    lines = [section.title, "-" * len(section.title), *section.text.splitlines()]
    table = [section.columns, *section.rows] if section.rows else []
    widths = [max(map(len, column)) for column in zip(*table, strict=True)]
    lines += [
        "  ".join(cell.ljust(width) for cell, width in zip(row, widths, strict=True))
        for row in table
    ]
    for part in section.parts:
        if part.rows or part.text or part.parts:
            lines += ["", *(f"  {line}" for line in _section_as_text(part))]
    return lines


def _section_as_html(section: Section) -> str:
    if not (section.rows or section.text or section.parts):
        return ""
    head = "".join(f"<th>{escape(column)}</th>" for column in section.columns)
    rows = "".join(
        f"<tr>{''.join(f'<td>{escape(cell)}</td>' for cell in row)}</tr>" for row in section.rows
    )
    table = f"<table><thead><tr>{head}</tr></thead><tbody>{rows}</tbody></table>" if rows else ""
    text = f"<pre>{escape(section.text)}</pre>" if section.text else ""
    parts = "".join(map(_section_as_html, section.parts))
    return (
        f"<details{' open' if section.is_open else ''}><summary>{escape(section.title)}</summary>"
        f"{text}{table}{parts}</details>"
    )


def _known_numbers(record: Record, fields: tuple[str, ...], units: dict[str, Enum]) -> str:
    return ", ".join(
        f"{field} = {_number(getattr(record, field))} {_unit(field, units)}".rstrip()
        for field in fields
        if not _is_nan(getattr(record, field))
    )


def _with_unit(field: str, units: dict[str, Enum]) -> str:
    unit = _unit(field, units)
    return f"{field} [{unit}]" if unit else field


def _unit(field: str, units: dict[str, Enum]) -> str:
    """Give the unit of a field, "" if it has none or the units are not known."""
    pattern = _UNITS.get(field, "")
    names = {key: _name_of((units or {}).get(key)) for key in "PVTEA"}
    names["D"] = "K" if names["T"] == "C" else names["T"]
    if not all(names.get(letter, letter) for letter in pattern):
        return ""
    return "".join(names.get(letter, letter) for letter in pattern)


def _name_of(unit: object) -> str:
    return unit.name if isinstance(unit, Enum) else ""


def _number(value: object) -> str:
    """Write a number with six digits; one that is not known is left out."""
    if isinstance(value, (int, float)):
        return "" if _is_nan(value) else f"{value:.6g}"
    return str(value)


def _stoichiometry(counts: dict[str, float]) -> str:
    return " ".join(f"{name}:{_number(count)}" for name, count in counts.items() if count != 0.0)


def _error(result: CalculationResult) -> dict[str, object]:
    error: object = result.error
    return error if isinstance(error, dict) else {"text": error}


def _log(value: float) -> float:
    return log(value) if _is_positive(value) else nan


def _is_positive(value: object) -> bool:
    return isinstance(value, (int, float)) and value > 0.0


def _is_nan(value: object) -> bool:
    return isinstance(value, float) and isnan(value)


def _count(items: Sized, noun: str) -> str:
    return f"{len(items)} {noun}{'' if len(items) == 1 else 's'}"


def _brief(value: object) -> str:
    """Write the value of a field on one line: containers by their size, members by their name."""
    if isinstance(value, Enum):
        return value.name
    if isinstance(value, Formula):
        return repr(value.text)
    if isinstance(value, float):
        return _number(value)
    if isinstance(value, (dict, list, tuple)):
        return f"<{_count(value, 'item')}>"
    return repr(value)
