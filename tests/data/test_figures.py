"""Tables of figures: what each key does, and errors that name the entry and the key."""

import contextlib
import copy

import pytest

from tessara.convert import figures
from tessara.convert.figures import FiguresError
from tessara.convert.system import (
    Interaction,
    LatticeFactors,
    MagneticMoment,
    TemperatureRange,
)


def table():
    """A table that uses every key, as Python values."""
    return {
        "title": "A title",
        "remark": ["a remark"],
        "gas_constant": 8.0,
        "temperature": [200, 6000],
        "sources": {
            "me": {"reference": "a paper", "read_in": "a page", "licence": "free", "note": "-"}
        },
        "component": [
            {"name": "Ac", "mass": 227, "source": "me"},
            {"name": "Bk", "mass": 247.5, "source": ["me"], "note": "a note"},
        ],
        "function": [
            {
                "name": "block",
                "source": "me",
                "gibbs": [{"T": [200, 3000], "g": [1, 2]}],
            }
        ],
        "gas": {
            "name": "GAS",
            "species": [
                {
                    "name": "A2",
                    "elements": {"Ac": 2},
                    "source": "me",
                    "origin": "elsewhere",
                    "nasa9": [
                        {"T": [200, 1000], "a": [0, 0, 2.5, 0, 0, 0, 0], "b": [10, 20]},
                        {"T": [1000, 6000], "a": [0, 0, 3, 0, 0, 0, 0], "b": [11, 21]},
                    ],
                }
            ],
        },
        "solution": [
            {
                "name": "MELT",
                "model": "RKMP",
                "species": [
                    {
                        "name": "A",
                        "elements": {"Ac": 1},
                        "source": "me",
                        "derived": "a sum",
                        "sum": {"block": 2, "A(s)": 1},
                        "plus": [100, 10],
                        "mixing": [1, 1],
                    },
                    {
                        "name": "B",
                        "elements": {"Bk": 1},
                        "source": "me",
                        "gibbs": [{"T": [200, 3000], "g": [3], "x": [[5, 7], [6, 99]]}],
                    },
                ],
                "interaction": [{"between": ["B", "A"], "source": "me", "orders": [[1, 2], [3]]}],
            }
        ],
        "pure": [
            {
                "name": "A(s)",
                "elements": {"Ac": 1},
                "source": "me",
                "derived": "continued",
                "below": "constant Cp",
                "above": "Cp of A(s2)",
                "gibbs": [{"T": [300, 1000], "g": [0, 0, -20]}],
            },
            {
                "name": "A(s2)",
                "elements": {"Ac": 1},
                "source": "me",
                "derived": "continued",
                "below": "Cp of A(s)",
                "above": "Cp of GAS:A2",
                "nasa7": [{"T": [1000, 2000], "a": [4, 0, 0, 0, 0], "b": [0, 0]}],
            },
            {
                "name": "B(s)",
                "elements": {"Ac": 0.5, "Bk": 1},
                "source": "me",
                "magnetic": {"Tc": 1043, "beta": 2.22, "f": 1, "p": 0.4},
                "heat_capacity": {
                    "T": [298.15, 2000],
                    "H298": -1000,
                    "S298": 10,
                    "Cp": [[20, 0], [-0.5, -0.5]],
                },
            },
        ],
    }


def toml(value):
    """Write plain values as TOML, everything inline below the top level."""
    if isinstance(value, dict):
        return "{ " + ", ".join(f'"{key}" = {toml(one)}' for key, one in value.items()) + " }"
    if isinstance(value, list):
        return "[" + ", ".join(map(toml, value)) + "]"
    if isinstance(value, bool):
        return "true" if value else "false"
    if isinstance(value, str):
        return '"' + value.replace("\\", "\\\\").replace('"', '\\"') + '"'
    return repr(value)


def parse(values):
    return figures.parse("\n".join(f"{key} = {toml(value)}" for key, value in values.items()))


def changed(*path, to):
    """The table with one value changed; the path holds keys and places."""
    values = table()
    place = values
    for key in path[:-1]:
        place = place[key]
    place[path[-1]] = to
    return values


def without(*path):
    values = table()
    place = values
    for key in path[:-1]:
        place = place[key]
    del place[path[-1]]
    return values


# What the keys do ---------------------------------------------------------------------------------


def test_header_of_the_system():
    system = parse(table())
    assert (system.title, system.remark) == ("A title", ("a remark",))
    assert [(one.name, one.mass) for one in system.components] == [("Ac", 227.0), ("Bk", 247.5)]


def test_amounts_stand_in_the_order_of_the_components():
    system = parse(table())
    assert system.gas.species[0].amounts == (2.0, 0.0)
    assert system.pure[2].species.amounts == (0.5, 1.0)


def test_nine_constant_fit_with_the_gas_constant_of_the_table():
    """Cp = 2.5 R, H/R = 2.5 T + 10, S/R = 2.5 ln T + 20: G/R = 10 + (2.5 - 20) T - 2.5 T ln T."""
    first, second = parse(table()).gas.species[0].ranges
    assert first == TemperatureRange(1000.0, (80.0, -140.0, -20.0, 0.0, 0.0, 0.0))
    assert second == TemperatureRange(6000.0, (88.0, -144.0, -24.0, 0.0, 0.0, 0.0))


def test_gibbs_energy_as_it_stands():
    species = parse(table()).phases[0].species[1]
    assert species.ranges == (
        TemperatureRange(3000.0, (3.0, 0.0, 0.0, 0.0, 0.0, 0.0), ((6.0, 99.0), (5.0, 7.0))),
    )


def test_sum_adds_functions_with_their_factors_and_own_terms():
    """2 (1 + 2 T) - 20 T ln T + 100 + 10 T - 2 R ln 2 T with R = 8, in the range from 300 K."""
    ranges = parse(table()).phases[0].species[0].ranges
    middle = next(one for one in ranges if one.upper == 1000.0)
    assert middle.coefficients[0] == 102.0
    assert middle.coefficients[1] == pytest.approx(14 - 16 * 0.6931471805599453, rel=1e-15)
    assert middle.coefficients[2] == -20.0


def test_interaction_keeps_the_order_of_its_names():
    phase = parse(table()).phases[0]
    zeros = (0.0,) * 4
    assert phase.interactions == (Interaction((1, 0), ((1.0, 2.0, *zeros), (3.0, 0.0, *zeros))),)


def test_magnetism_of_a_pure_phase():
    pure = parse(table()).pure[2]
    assert pure.species.magnetic == MagneticMoment(1043.0, 2.22)
    assert pure.lattice == LatticeFactors(1.0, 0.4)


def test_forms_follow_each_other_on_their_own_sides():
    """Constant Cp below 300 K, that of the other form above 1000 K, of the gas above 2000 K."""
    first, second, _ = parse(table()).pure
    assert [one.upper for one in first.species.ranges] == [300.0, 1000.0, 2000.0, 6000.0]
    assert [-one.coefficients[2] for one in first.species.ranges] == [20.0, 20.0, 32.0, 24.0]
    assert [one.upper for one in second.species.ranges] == [300.0, 1000.0, 2000.0, 6000.0]
    assert [-one.coefficients[2] for one in second.species.ranges] == [20.0, 20.0, 32.0, 24.0]


def test_sum_of_a_magnetic_phase_takes_over_its_magnetism():
    values = table()
    values["pure"].append(
        {
            "name": "AB(s)",
            "elements": {"Ac": 1.5, "Bk": 1},
            "source": "me",
            "derived": "a sum",
            "sum": {"A(s)": 1, "B(s)": 1},
            "magnetic": values["pure"][2]["magnetic"],
        }
    )
    assert parse(values).pure[3].species.magnetic == MagneticMoment(1043.0, 2.22)


def test_sum_of_two_magnetic_phases_is_refused():
    values = table()
    magnetic = values["pure"][2]
    values["pure"].append({**magnetic, "name": "C(s)"})
    values["pure"].append(
        {
            "name": "BC(s)",
            "elements": {"Ac": 1},
            "source": "me",
            "derived": "a sum",
            "sum": {"B(s)": 1, "C(s)": 1},
            "magnetic": magnetic["magnetic"],
        }
    )
    with pytest.raises(FiguresError, match=r"'BC\(s\)', key 'sum': 'B\(s\)' and 'C\(s\)' magnetic"):
        parse(values)


@pytest.mark.parametrize("key", ["remark", "gas", "solution", "function"])
def test_optional_parts_may_be_missing(key):
    values = without(key)
    # What refers to the missing part goes with it.
    if key != "solution":
        values.pop("solution", None)
    if key == "gas":
        values["pure"][1]["above"] = "constant Cp"
    assert parse(values).title == "A title"


# Errors -------------------------------------------------------------------------------------------


@pytest.mark.parametrize(
    ("values", "words"),
    [
        (without("title"), "the table: the key 'title' is missing"),
        (changed("title", to=3), "the table, key 'title': expected a text, found 3"),
        (changed("title", to="Word"), "the table: title 'Word'.*two words"),
        (changed("remark", to=["a", 3]), "key 'remark': expected a list of texts"),
        (changed("surprise", to=1), "the table: unknown key 'surprise'"),
        (changed("gas_constant", to="8"), "key 'gas_constant': expected a number, found '8'"),
        (changed("gas_constant", to=True), "key 'gas_constant': expected a number, found True"),
        (changed("temperature", to=[300, 200]), "key 'temperature': expected two rising"),
        (changed("temperature", to=[0, 200]), "key 'temperature': expected two rising"),
        (changed("temperature", to=[300]), "key 'temperature': expected 2 numbers"),
        (without("sources"), "the key 'sources' is missing"),
        (changed("sources", "me", to="a paper"), "key 'me': expected a table of keys"),
        (without("sources", "me", "reference"), "key 'me': the key 'reference' is missing"),
        (changed("sources", "me", "author", to="x"), "key 'me': unknown key 'author'"),
        (changed("component", to={}), "key 'component': expected a list"),
        (changed("component", 0, to=3), "component number 1: expected a table of keys, found 3"),
        (changed("component", 0, "name", to="A c"), "component 'A c': .*without blanks"),
        (changed("component", 0, "mass", to=-1), "component 'Ac': .*molar mass"),
        (
            changed("component", to=[*table()["component"], table()["component"][0]]),
            "the table: component 'Ac' occurs 2 times",
        ),
        (without("component", 0, "source"), "component 'Ac': the key 'source' is missing"),
        (
            changed("component", 0, "source", to="you"),
            "component 'Ac', key 'source': 'you' is not among the sources",
        ),
        (changed("component", 0, "note", to=3), "component 'Ac', key 'note': expected a text"),
        (changed("pure", 1, "name", to="A(s)"), r"'A\(s\)', key 'name': .*defined twice"),
        (without("pure", 0, "name"), "pure phase number 1: the key 'name' is missing"),
        (without("pure", 0, "elements"), r"pure phase 'A\(s\)': the key 'elements' is missing"),
        (changed("pure", 0, "elements", to={}), "key 'elements': expected names with numbers"),
        (
            changed("pure", 0, "elements", to={"Cf": 1}),
            r"pure phase 'A\(s\)', key 'elements': 'Cf' is not among the components",
        ),
        (changed("pure", 0, "elements", to={"Ac": -1}), r"the table: species 'A\(s\)'.*negative"),
        (changed("pure", 0, "colour", to="red"), r"pure phase 'A\(s\)': unknown key 'colour'"),
        (changed("pure", 2, "name", to="x" * 30), "pure phase 'x+': .*1 to 24 characters"),
        (without("pure", 0, "gibbs"), r"pure phase 'A\(s\)': expected one of .*; found none"),
        (
            changed("pure", 0, "sum", to={"block": 1}),
            r"pure phase 'A\(s\)': expected one of .*; found gibbs and sum",
        ),
        (changed("pure", 0, "gibbs", to=[]), r"'A\(s\)': no range of temperature"),
        (
            changed("pure", 0, "gibbs", 0, "T", to=[500, 400]),
            r"pure phase 'A\(s\)', gibbs number 1, key 'T': expected two rising",
        ),
        (changed("pure", 0, "gibbs", 0, "g", to=[0] * 7), "key 'g': expected 1 to 6 numbers"),
        (changed("pure", 0, "gibbs", 0, "g", to=["1"]), "key 'g': expected a number, found '1'"),
        (changed("pure", 0, "gibbs", 0, "x", to=[[1]]), "key 'x': expected 2 numbers"),
        (changed("pure", 0, "gibbs", 0, "h", to=1), "gibbs number 1: unknown key 'h'"),
        (
            changed("gas", "species", 0, "nasa9", 1, "T", to=[1100, 6000]),
            "gas, species 'A2': a range up to 1000 K, then one from 1100 K",
        ),
        (
            changed("gas", "species", 0, "nasa9", 0, "a", to=[1, 2]),
            "gas, species 'A2', nasa9 number 1, key 'a': expected 7 numbers",
        ),
        (without("gas", "species", 0, "nasa9", 0, "b"), "the key 'b' is missing"),
        (changed("gas", "species", to=[]), "key 'gas': phase 'GAS' has no constituent"),
        (
            changed("gas", "species", 0, "magnetic", to={"Tc": 1, "beta": 1, "f": 1, "p": 0.4}),
            "'A2', key 'magnetic': only pure phases",
        ),
        (
            without("pure", 2, "heat_capacity", "S298"),
            r"pure phase 'B\(s\)', key 'heat_capacity': the key 'S298' is missing",
        ),
        (
            changed("pure", 2, "magnetic", "p", to=2),
            r"pure phase 'B\(s\)', key 'magnetic': structure factor",
        ),
        (without("pure", 2, "magnetic", "f"), "key 'magnetic': the key 'f' is missing"),
        (without("pure", 0, "derived"), r"pure phase 'A\(s\)': the key 'derived' is missing"),
        (without("solution", 0, "species", 0, "derived"), "'A': the key 'derived' is missing"),
        (
            changed("pure", 0, "above", to="as it likes"),
            "key 'above': expected 'constant Cp' or 'Cp of NAME', found 'as it likes'",
        ),
        (
            changed("pure", 0, "above", to="Cp of C(s)"),
            r"key 'above': there is no Gibbs energy of the name 'C\(s\)'",
        ),
        (changed("pure", 0, "above", to="Cp of B(s)"), r"'above': 'B\(s\)' is magnetic"),
        (
            changed("pure", 0, "above", to="Cp of A(s)"),
            r"in a circle: A\(s\) \(above\) -> A\(s\) \(above\)",
        ),
        (
            changed("pure", 1, "above", to="Cp of A(s)"),
            r"in a circle: A\(s2\) \(above\) -> A\(s\) \(above\) -> A\(s2\) \(above\)",
        ),
        (
            changed("temperature", to=[400, 6000]),
            r"pure phase 'A\(s\)': nothing continues the function below 300 K",
        ),
        (
            changed("solution", 0, "species", 0, "sum", to={"nothing": 1}),
            "solution 'MELT', species 'A', key 'sum': there is no Gibbs energy",
        ),
        (
            changed("solution", 0, "species", 0, "sum", to={"MELT:A": 1}),
            r"in a circle: MELT:A -> MELT:A \(sum\) -> MELT:A",
        ),
        (
            changed("solution", 0, "species", 0, "sum", to={"B(s)": 1}),
            r"key 'sum': 'B\(s\)' magnetic: a sum takes over one magnetism, once",
        ),
        (changed("solution", 0, "species", 0, "mixing", to=[1, 0]), "'mixing': .*above 0"),
        (changed("solution", 0, "species", 0, "plus", to=[0] * 7), "key 'plus': expected 1 to 6"),
        (changed("solution", 0, "model", to="SUBL"), "'model': expected 'RKMP', found 'SUBL'"),
        (
            changed("solution", 0, "interaction", 0, "between", to=["A", "C"]),
            "solution 'MELT', interaction number 1, key 'between': 'C' is no species",
        ),
        (
            changed("solution", 0, "interaction", 0, "between", to=["A", "A"]),
            "solution 'MELT': phase 'MELT': interaction of 1, 1: a constituent is named twice",
        ),
        (
            changed("solution", 0, "interaction", 0, "orders", to=[[0] * 7]),
            "key 'orders': expected 1 to 6 numbers",
        ),
        (
            changed("solution", 0, "interaction", 0, "orders", to=[]),
            "solution 'MELT': .*has no coefficients",
        ),
        (without("function", 0, "gibbs"), "function 'block': expected one of"),
        (changed("function", 0, "elements", to={}), "function 'block': unknown key 'elements'"),
    ],
)
def test_error_names_the_entry_and_the_key(values, words):
    with pytest.raises(FiguresError, match=words):
        parse(values)


@pytest.mark.parametrize("number", ["inf", "-inf", "nan", "1e400", "-1e9999", "1e-400"])
def test_number_out_of_all_proportion_is_refused(number):
    with pytest.raises(FiguresError, match="key 'gas_constant': expected a finite number"):
        figures.parse(f"temperature = [1, 2]\ngas_constant = {number}")


def test_numbers_that_overflow_together_are_refused():
    values = changed("solution", 0, "species", 0, "sum", to={"block": 1e150})
    values["function"][0]["gibbs"][0]["g"] = [1e150]
    values["function"][0]["gibbs"][0]["x"] = [[1e150, 9]]
    values["solution"][0]["species"][0]["sum"]["block"] = 1e149
    system = parse(values)
    assert system.phases[0].species[0].ranges[-1].coefficients[0] == pytest.approx(1e299)
    values["pure"].append(
        {
            "name": "huge",
            "elements": {"Ac": 1},
            "source": "me",
            "derived": "a sum",
            "sum": {"MELT:A": 1e100},
        }
    )
    with pytest.raises(FiguresError, match=r"pure phase 'huge'.*not a finite number"):
        parse(values)


def test_text_that_is_no_toml_is_refused():
    with pytest.raises(FiguresError, match="not a TOML table"):
        figures.parse("title = ")


def test_deeply_nested_text_is_refused():
    with pytest.raises(FiguresError):
        figures.parse("a = " + "[" * 100_000)


def test_long_chain_of_functions_is_refused_in_words():
    values = table()
    for n in range(3000):
        values["function"].append(
            {"name": f"f{n}", "source": "me", "derived": "-", "sum": {f"f{n + 1}": 1}}
        )
    values["function"].append({"name": "f3000", "source": "me", "gibbs": [{"T": [1, 2], "g": [1]}]})
    with pytest.raises(FiguresError, match="too long a chain"):
        parse(values)


def test_bytes_that_are_no_text_are_refused(tmp_path):
    path = tmp_path / "figures.toml"
    path.write_bytes(b"title = '\xff'")
    with pytest.raises(FiguresError, match="UTF-8"):
        figures.read(path)


def test_missing_file_is_an_os_error(tmp_path):
    with pytest.raises(FileNotFoundError):
        figures.read(tmp_path / "missing.toml")


def leaves(value, path=()):
    """Every place of a nested value, the inner ones too."""
    if path:
        yield path
    items = (
        value.items()
        if isinstance(value, dict)
        else enumerate(value)
        if isinstance(value, list)
        else ()
    )
    for key, one in items:
        yield from leaves(one, (*path, key))


@pytest.mark.parametrize(
    "junk", [0, -1, 1.5, 1e140, "", "A(s)", "Cp of A(s)", True, [], {}, [[]], [1, 2], {"Ac": 1}]
)
def test_junk_in_any_place_gives_a_system_or_a_figures_error(junk):
    for path in leaves(table()):
        with contextlib.suppress(FiguresError):
            parse(changed(*path, to=copy.deepcopy(junk)))
