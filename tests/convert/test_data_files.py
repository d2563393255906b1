"""Descriptions of data files made into systems: titles, comments, what cannot be held."""

import pytest

from tessara import basic
from tessara.convert import data_files
from tessara.convert.report import ConversionError, Item

HEAD = "{title}\n1 {counts}\nFe\n55.845\n6 1 2 3 4 5 6\n6 1 2 3 4 5 6\n"
RANGE = "6000 1 2 3 4 5 6\n"


@pytest.fixture
def read(tmp_path, report):
    def read_text(body, counts="1 0 1", title="a title", end=b""):
        path = tmp_path / "x.dat"
        path.write_bytes((HEAD.format(title=title, counts=counts) + body).encode() + end)
        return data_files.read(path, report)

    return read_text


def items(report):
    return [(item.loss, item.subject, item.text) for item in report]


def test_title_is_kept_as_it_is(read):
    assert read("Fe(s)\n1 1 1\n" + RANGE, title=" a  title ").title == " a  title "


@pytest.mark.parametrize(
    ("title", "made"),
    [("", "System without title"), ("word", "System word"), ("\u00e9t\u00e9 2", "t 2")],
)
def test_title_that_a_data_file_should_not_have_is_changed_with_a_remark(read, report, title, made):
    assert read("Fe(s)\n1 1 1\n" + RANGE, title=title).title == made
    assert items(report) == [(False, "title", f"became {made!r}")]


def test_pure_phases_and_dummies_are_in_the_order_of_the_file(read):
    body = "".join(f"{name}\n1 1 1\n{RANGE}" for name in ("A", "B #", "C"))
    assert [(one.name, one.dummy) for one in read(body, "1 0 3").pure] == [
        ("A", False),
        ("B", True),
        ("C", False),
    ]


def test_comment_behind_the_data_is_kept(read):
    system = read("Fe(s)\n1 1 1\n" + RANGE, end=b"#####\n : one\n\n: two\n###\n")
    assert system.remark == ("one", "two")


def test_characters_beyond_plain_text_are_told(read, report):
    system = read("Fe(s)\n1 1 1\n" + RANGE, end="### \u00e9t\u00e9\n".encode())
    assert system.remark == ("### ??t??",)
    assert items(report)[0][:2] == (False, "comment")


def test_volume_data_are_a_loss(read, report):
    body = "Fe(s)\n3 1 1\n" + RANGE + "1 2 3 4 5 6 7 8 9 10 11\n"
    read(body)
    assert list(report) == [
        Item(True, "species 'Fe(s)'", "its volume data cannot be carried over", 7)
    ]


def test_sets_of_a_quaternary_that_nothing_uses_are_left_out(read, report):
    species = "".join(f"{name}\n1 1 1\n{RANGE}" for name in "ABCD")
    body = "MIX\nRKMP\n" + species + "4\n1 2 3 4 2\n1 0 0 0 0 0\n2 0 0 0 0 0\n0\n"
    system = read(body, "2 0 4 0")
    assert system.phases[0].interactions[0].sets == ((1.0, 0.0, 0.0, 0.0, 0.0, 0.0),)
    assert [item.loss for item in report] == [False]


def test_model_that_cannot_be_converted_is_named(report):
    description = {
        "title": "a title",
        "components": [],
        "phases": [{"name": "SLAG", "model": "WAGN", "gas": False, "line": 7, "constituents": []}],
        "dummies": [],
    }
    with pytest.raises(ConversionError, match="line 7: phase 'SLAG' has the model WAGN"):
        data_files.from_description(description, report)


def test_what_no_system_can_hold_is_refused_with_its_line(read):
    body = "Fe\u00e9\n1 1 1\n" + RANGE
    with pytest.raises(ConversionError, match=r"line 7: species 'Fe.*plain ASCII") as caught:
        read(body)
    assert caught.value.line == 7


def test_sublattices_become_a_phase(report):
    def member(name, line):
        ranges = [{"upper": 6000.0, "coefficients": [0.0] * 6, "extra": []}]
        return {
            "name": name,
            "amounts": [1.0],
            "ranges": ranges,
            "magnetic": None,
            "volume_data": False,
            "line": line,
        }

    set_ = [1.0, 2.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0]
    description = {
        "title": "a title",
        "components": [{"name": "Fe", "molar_mass": 55.845}],
        "phases": [
            {
                "name": "SUB",
                "model": "SUBLM",
                "gas": False,
                "line": 7,
                "constituents": [member("Fe:Va", 10), member("Fe:C", 13)],
                "sites": [1.0, 3.0],
                "sublattices": [["Fe"], ["Va", "C"]],
                "members": [[0, 0], [0, 1]],
                "interactions": [{"constituents": [0, 1, 2], "sets": [set_], "line": 20}],
                "lattice": [1.0, 0.4],
                "moments": [[1043.0, 2.2], [0.0, 0.0]],
                "magnetic_interactions": [],
            }
        ],
        "dummies": [],
    }
    (phase,) = data_files.from_description(description, report).phases
    assert phase.sites == (1.0, 3.0)
    assert phase.constituents == (("Fe",), ("Va", "C"))
    assert phase.members == ((0, 0), (0, 1))
    assert phase.interactions[0].sets == ((1.0, 2.0, 0.0, 0.0, 0.0, 0.0),)
    assert phase.species[0].magnetic.moment == 2.2
    assert phase.species[1].magnetic is None


def test_description_of_the_shipped_file_is_a_system(report, tmp_path):
    import tessara.data
    from tessara.convert import dat_writer

    path = tessara.data.path("ironmaking")
    system = data_files.from_description(basic.description(path), report)
    assert items(report) == []
    text = dat_writer.write(system).splitlines()
    assert text == path.read_text().splitlines()[: len(text)]
