"""Reading `.dat` and transparent data files into a `System`.

`tessara.basic` reads the file and tells what it holds as plain values; here they become a `System`
that can be written again.
"""

from __future__ import annotations

from collections.abc import Callable, Iterator
from pathlib import Path
from typing import Any, Final, TypeVar

from tessara.convert.report import ConversionError, Report
from tessara.convert.system import (
    GIBBS_TERMS,
    Component,
    Groups,
    IdealPhase,
    Interaction,
    IonicLiquid,
    IonPhase,
    LatticeFactors,
    MagneticMoment,
    Override,
    Phase,
    Polynomial,
    PolynomialPhase,
    PurePhase,
    QuadrupletTerm,
    QuasichemicalPhase,
    RedlichKisterPhase,
    Species,
    SublatticePhase,
    System,
    TemperatureRange,
)

__all__ = ["from_description", "read"]

TRANSPARENT: Final = ".tdf"

# A value of a description: what JSON could hold.
Plain = dict[str, Any]
_V = TypeVar("_V")


def read(path: Path, report: Report) -> System:
    """Read a data file.

    What a `System` cannot hold goes to the report. Raises `tessara.core.TessaraError` when the file
    cannot be read, and `ConversionError` when it holds what no `System` can.
    """
    from tessara import basic  # the extension module, which only this function needs

    description = basic.description(path)
    remark = _comment(path, description["comment_line"], report)
    return from_description(description, report, remark)


def _comment(path: Path, line: int, report: Report) -> tuple[str, ...]:
    """Give the comment behind the data, as far as it is plain text."""
    if not line:
        return ()
    if path.suffix.lower() == TRANSPARENT:
        report.remark("comment", "a comment behind the data stays behind")
        return ()
    lines = path.read_bytes().decode("ascii", "replace").splitlines()[line - 1 :]
    remark = []
    for text in lines:
        words = text.strip().lstrip(":").strip()
        if words.strip("#"):
            remark.append("".join(c if c.isascii() and c.isprintable() else "?" for c in words))
    if any("?" in words for words in remark):
        report.remark("comment", "characters that are not plain text became question marks", line)
    return tuple(remark)


def from_description(description: Plain, report: Report, remark: tuple[str, ...] = ()) -> System:
    """Make a `System` of what `tessara.basic.description` tells of a data file.

    Raises `ConversionError` when it holds what no `System` can.
    """
    mixtures = [_mixture(phase, report) for phase in description["phases"] if _mixes(phase)]
    has_gas = any(phase["gas"] for phase in description["phases"])
    pure = [
        *(
            (phase["line"], _pure(phase["constituents"][0], False, report))
            for phase in description["phases"]
            if not _mixes(phase)
        ),
        *((one["line"], _pure(one, True, report)) for one in description["dummies"]),
    ]
    gas = mixtures[0] if has_gas else None
    if gas is not None and not isinstance(gas, IdealPhase):
        raise ConversionError(f"the gas {gas.name!r} is not ideal")
    return _guarded(
        None,
        lambda: System(
            title=_title(description["title"], report),
            components=tuple(
                Component(one["name"], one["molar_mass"]) for one in description["components"]
            ),
            gas=gas,
            phases=tuple(mixtures[1:] if has_gas else mixtures),
            pure=tuple(phase for _, phase in sorted(pure, key=lambda item: item[0])),
            remark=remark,
        ),
    )


def _mixes(phase: Plain) -> bool:
    return bool(phase["model"] != "PURE")


def _guarded(line: int | None, make: Callable[[], _V]) -> _V:
    """Make a value; what it says against itself is told with its line."""
    try:
        return make()
    except ConversionError:
        raise
    except ValueError as error:
        raise ConversionError(str(error), line) from None


def _title(title: str, report: Report) -> str:
    if len(title.split()) > 1 and title.isascii() and title.isprintable():
        return title
    words = "".join(c if c.isascii() and c.isprintable() else " " for c in title).split()
    made = " ".join(words if len(words) > 1 else ["System", *(words or ["without title"])])
    report.remark("title", f"became {made!r}", 1)
    return made


# Species ------------------------------------------------------------------------------------------


def _ranges(species: Plain) -> tuple[TemperatureRange, ...]:
    return tuple(
        TemperatureRange(
            one["upper"],
            tuple(one["coefficients"]),
            tuple((factor, power) for factor, power in one["extra"]),
        )
        for one in species["ranges"]
    )


def _species(species: Plain, moment: MagneticMoment | None, report: Report) -> Species:
    if species["volume_data"]:
        words = "its volume data cannot be carried over"
        report.loss(f"species {species['name']!r}", words, species["line"])
    return _guarded(
        species["line"],
        lambda: Species(species["name"], tuple(species["amounts"]), _ranges(species), moment),
    )


def _pure(species: Plain, dummy: bool, report: Report) -> PurePhase:
    moment, lattice = None, None
    if species["magnetic"] is not None:
        Tc, beta, f, p = species["magnetic"]
        moment, lattice = MagneticMoment(Tc, beta), LatticeFactors(f, p)
    return PurePhase(_species(species, moment, report), lattice, dummy)


# Mixture phases -----------------------------------------------------------------------------------


def _plain_species(phase: Plain, report: Report) -> tuple[Species, ...]:
    """Give the species of a phase, each with its moment where the phase is magnetic."""
    none = [(0.0, 0.0)] * len(phase["constituents"])
    return tuple(
        _species(one, MagneticMoment(*pair) if any(pair) else None, report)
        for one, pair in zip(phase["constituents"], phase.get("moments", none), strict=True)
    )


def _interactions(terms: list[Plain]) -> Iterator[Interaction]:
    for term in terms:
        sets = [tuple(numbers) for numbers in term["sets"]]
        if all(not any(numbers[GIBBS_TERMS:]) for numbers in sets):
            sets = [numbers[:GIBBS_TERMS] for numbers in sets]
        yield Interaction(tuple(term["constituents"]), tuple(sets))


def _coefficients(term: Plain) -> tuple[float, ...]:
    numbers = tuple(term["coefficients"])
    return numbers if any(numbers[GIBBS_TERMS:]) else numbers[:GIBBS_TERMS]


def _ideal(phase: Plain, report: Report) -> IdealPhase:
    return IdealPhase(phase["name"], _plain_species(phase, report))


def _solution(phase: Plain, report: Report) -> RedlichKisterPhase:
    return RedlichKisterPhase(
        phase["name"],
        _plain_species(phase, report),
        tuple(_used(phase, "interactions", report)),
        _lattice(phase),
        tuple(_interactions(phase.get("magnetic_interactions", []))),
    )


def _sublattices(phase: Plain, report: Report) -> SublatticePhase:
    return SublatticePhase(
        phase["name"],
        _plain_species(phase, report),
        tuple(phase["sites"]),
        tuple(tuple(names) for names in phase["sublattices"]),
        tuple(tuple(places) for places in phase["members"]),
        tuple(_interactions(phase["interactions"])),
        _lattice(phase),
        tuple(_interactions(phase.get("magnetic_interactions", []))),
    )


def _groups(phase: Plain) -> Groups:
    return Groups(
        tuple(phase["groups"]),
        tuple(
            Override((*rule["triple"],), rule["asymmetric"], rule["constant"])
            for rule in phase["overrides"]
        ),
    )


def _polynomials(phase: Plain) -> tuple[Polynomial, ...]:
    return tuple(
        Polynomial(
            tuple(term["constituents"]),
            tuple(term["powers"]),
            _coefficients(term),
            term["constant"],
        )
        for term in phase["polynomials"]
    )


def _pairs(values: list[list[Any]]) -> tuple[Any, ...]:
    return tuple((first, second) for first, second, *_ in values)


def _names(phase: Plain) -> tuple[tuple[str, ...], tuple[str, ...]]:
    first, second = phase["sublattices"]
    return tuple(first), tuple(second)


def _polynomial_phase(phase: Plain, report: Report) -> PolynomialPhase:
    return PolynomialPhase(
        phase["name"],
        _plain_species(phase, report),
        tuple(phase["equivalents"]),
        _groups(phase),
        _polynomials(phase),
    )


def _ion_phase(phase: Plain, report: Report) -> IonPhase:
    return IonPhase(
        phase["name"],
        _plain_species(phase, report),
        _names(phase),
        tuple(phase["charges"]),
        _pairs(phase["members"]),
        tuple(zip(phase["cations"], phase["anions"], strict=True)),
        _groups(phase),
        _polynomials(phase),
    )


def _ionic_liquid(phase: Plain, report: Report) -> IonicLiquid:
    return IonicLiquid(
        phase["name"],
        _plain_species(phase, report),
        _names(phase),
        tuple(phase["charges"]),
        _pairs(phase["members"]),
        tuple(_interactions(phase["interactions"])),
    )


def _quasichemical(phase: Plain, report: Report) -> QuasichemicalPhase:
    return QuasichemicalPhase(
        name=phase["name"],
        species=_plain_species(phase, report),
        half=phase["model"] == "SUBQ",
        ions=_names(phase),
        charges=tuple(phase["charges"]),
        members=_pairs(phase["members"]),
        moles=_pairs(phase["pairs"]),
        zeta=tuple(zeta for _, _, zeta in phase["pairs"]),
        coordinations=tuple(
            (tuple(map(tuple, one["quadruplet"])), tuple(map(tuple, one["numbers"])))
            for one in phase["coordinations"]
        ),
        groups=_groups(phase),
        terms=tuple(
            QuadrupletTerm(
                term["shape"],
                _pairs(term["quadruplet"]),
                (*term["powers"], *term["more_powers"]),
                (*term["more"],),
                _coefficients(term),
            )
            for term in phase["quadruplet_terms"]
        ),
    )


def _used(phase: Plain, key: str, report: Report) -> Iterator[Interaction]:
    """Give the interactions of a solution without the sets that nothing uses."""
    for term, one in zip(phase[key], _interactions(phase[key]), strict=True):
        if len(one.constituents) == 4 and len(one.sets) > 1:
            words = "only the first set of a quaternary parameter is used; the others are left out"
            report.remark(f"phase {phase['name']!r}", words, term["line"])
            yield Interaction(one.constituents, one.sets[:1])
        else:
            yield one


def _lattice(phase: Plain) -> LatticeFactors | None:
    return LatticeFactors(*phase["lattice"]) if "lattice" in phase else None


# One row per model of a data file; a new model joins here.
_PHASE_MAKERS: dict[str, Callable[[Plain, Report], Phase]] = {
    "IDMX": _ideal,
    "RKMP": _solution,
    "RKMPM": _solution,
    "QKTO": _polynomial_phase,
    "SUBL": _sublattices,
    "SUBLM": _sublattices,
    "SUBM": _ion_phase,
    "SUBI": _ionic_liquid,
    "SUBG": _quasichemical,
    "SUBQ": _quasichemical,
}


def _mixture(phase: Plain, report: Report) -> Phase:
    make = _PHASE_MAKERS.get(phase["model"])
    if make is None:
        raise ConversionError(
            f"phase {phase['name']!r} has the model {phase['model']}, which cannot be converted"
            f" (those that can: {', '.join(_PHASE_MAKERS)})",
            phase["line"],
        )
    return _guarded(phase["line"], lambda: make(phase, report))
