"""What is told of a data file without loading it: findings and descriptions."""

import pytest

from tessara.core import TessaraError, get_error_info_dict
from tessara.core.elements import ATOMIC_WEIGHTS

KEYS = ["gravity", "rule", "line", "column", "subject", "text", "advice"]


@pytest.fixture
def written(tmp_path):
    def write(file):
        path = tmp_path / "other.dat"
        path.write_text(file if isinstance(file, str) else file.text())
        return path

    return write


@pytest.fixture
def suspicious(dat):
    """A compound that no name contradicts, with a negative heat capacity, and one without data."""
    return dat({"A": 10.0, "X": 40.0}).pure("AX", [1, 1], [0.0, -60.0, 5.0]).pure("AX2", [1, 2], [])


def test_findings_are_dicts_with_the_gravest_first(hx, written, suspicious):
    found = hx.findings(written(suspicious))
    assert [list(one) for one in found] == [KEYS, KEYS]
    assert [(one["gravity"], one["rule"], one["line"]) for one in found] == [
        ("warning", "TS105", 9),
        ("note", "TS304", 10),
    ]
    assert found[0]["subject"] == "phase 'AX'"
    assert found[0]["column"] is None
    assert found[1]["text"] == "all its coefficients are zero"


def test_findings_carry_the_advice_of_their_rule(hx, written, suspicious):
    rules = {rule["rule"]: rule for rule in hx.finding_rules()}
    for one in hx.findings(written(suspicious)):
        assert one["advice"] == rules[one["rule"]]["advice"]


def test_notes_of_the_reader_have_a_column(hx, written, dat):
    text = dat({"A": 10.0}).pure("Q", [1], [0.0, -1.0, -5.0]).text()
    (note,) = hx.findings(written(text.rstrip() + " 7\n"))
    assert (note["rule"], note["line"]) == ("TS002", 9)
    assert type(note["column"]) is int


def test_rules_are_told_in_order(hx):
    rules = hx.finding_rules()
    assert [list(one) for one in rules] == [["rule", "gravity", "title", "advice"]] * len(rules)
    numbers = [one["rule"] for one in rules]
    assert numbers == sorted(set(numbers))
    assert numbers[0] == "TS001"
    assert {one["gravity"] for one in rules} == {"error", "warning", "note"}


def test_loaded_system_and_its_result_stay(hx, lab, saturated, written, suspicious):
    names = [hx.hxgnp(i) for i in range(hx.hxnop())]
    before = lab.get("A", 0)
    path = written(suspicious)
    hx.findings(path)
    hx.description(path)
    with pytest.raises(TessaraError):
        hx.findings(written("no data file"))
    assert [hx.hxgnp(i) for i in range(hx.hxnop())] == names
    assert lab.get("A", 0) == before


@pytest.mark.parametrize("name", ["findings", "description"])
def test_file_that_cannot_be_read_is_the_readers_error(hx, written, name):
    path = written("a title\n1 x\n")
    with pytest.raises(TessaraError, match="expected the number of solution phases, found 'x'"):
        getattr(hx, name)(path)
    note = get_error_info_dict()
    assert (note["file"], note["line"], note["column"]) == (str(path), 2, 3)
    assert note["operation"] == name


@pytest.mark.parametrize("name", ["findings", "description"])
def test_file_that_is_not_there_is_an_error(hx, tmp_path, name):
    with pytest.raises(TessaraError, match="cannot be opened"):
        getattr(hx, name)(tmp_path / "missing.dat")


@pytest.mark.parametrize("element", ATOMIC_WEIGHTS)
def test_mass_of_each_element_is_known(hx, written, dat, element):
    weight = ATOMIC_WEIGHTS[element]

    def rules(mass):
        file = dat({element: mass}).pure("Q(s)", [1], [0.0, -1.0, -5.0])
        return [one["rule"] for one in hx.findings(written(file))]

    assert rules(weight) == []
    assert rules(1.05 * weight) == ["TS201"]


def test_description_is_plain_values(hx, written, gas_over_solid):
    file = gas_over_solid.regular("MELT", [("A", [1, 0], []), ("B", [0, 1], [])], -5.0)
    found = hx.description(
        written(file.magnetic("M", [1, 1], 900.0, 2.0).dummy("B(d)", [0, 1], []))
    )
    assert list(found) == ["title", "components", "phases", "dummies", "comment_line"]
    assert found["title"] == "a test file"
    assert found["components"] == [
        {"name": "A", "molar_mass": 10.0},
        {"name": "B", "molar_mass": 40.0},
    ]
    gas, melt, *pure = found["phases"]
    assert [phase["name"] for phase in found["phases"]] == ["GAS", "MELT", "A(s)", "B(s)", "M"]
    assert [phase["gas"] for phase in found["phases"]] == [True, False, False, False, False]
    assert (gas["model"], melt["model"], pure[0]["model"]) == ("IDMX", "RKMP", "PURE")
    assert melt["interactions"][0]["constituents"] == [0, 1]
    assert melt["interactions"][0]["sets"] == [[-5.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0]]
    assert gas["constituents"][1]["ranges"] == [
        {"upper": 6000.0, "coefficients": [5000.0, 40.0, -35.0, 0.0, 0.0, 0.0], "extra": []}
    ]
    assert pure[2]["constituents"][0]["magnetic"] == [900.0, 2.0, 1.0, 0.4]
    assert [one["name"] for one in found["dummies"]] == ["B(d)"]
    assert found["comment_line"] == 0


def test_description_is_new_each_time(hx, written, gas_over_solid):
    path = written(gas_over_solid)
    hx.description(path)["phases"].clear()
    assert hx.description(path)["phases"]


def test_description_tells_where_the_comment_begins(hx, written, gas_over_solid):
    text = gas_over_solid.text()
    found = hx.description(written(text + "### end\n : words\n"))
    assert found["comment_line"] == len(text.splitlines()) + 1
