"""Opening and reading data files, and what the library holds before, after and without one."""

import pytest

import tessara
from tessara.core import (
    AmountUnit,
    ConditionVariable,
    ConfigurationOption,
    Quantity,
    SolutionModel,
    Status,
    TessaraError,
    get_error_info_dict,
)


def test_holds_nothing_at_first(hx):
    assert hx.hxnosc() == 0
    assert hx.hxnop() == 0
    assert hx.hxused() == (0,) * 11
    for attempt in (
        lambda: hx.hxgnsc(0),
        lambda: hx.hxgnp(0),
        lambda: hx.hxsetc(ConditionVariable.T, -1, -1, 1.0),
    ):
        with pytest.raises(TessaraError, match="no data file is loaded; open one with hxopna"):
            attempt()


def test_reads_what_the_file_holds(hx, lab, gas_over_solid):
    lab.load(gas_over_solid)
    assert [hx.hxgnsc(i) for i in range(hx.hxnosc())] == ["A", "B"]
    assert [hx.hxgnp(i) for i in range(hx.hxnop())] == ["GAS", "A(s)", "B(s)"]
    assert [hx.hxnopc(i) for i in range(3)] == [2, 1, 1]
    assert [hx.hxgnpc(0, k) for k in range(2)] == ["A", "B"]
    assert [hx.hxgnpc(i, 0) for i in (1, 2)] == ["A(s)", "B(s)"]
    assert hx.hxmodl(0) is SolutionModel.IDMX
    assert hx.hxmodl(1) is SolutionModel.PURE
    assert hx.hxstsc(0) == ([1.0, 0.0], 10.0)
    assert hx.hxstsc(1) == ([0.0, 1.0], 40.0)
    assert hx.hxstpc(0, 1) == ([0.0, 1.0], 40.0)


def test_phases_stand_in_order_gas_mixtures_pure(hx, lab, dat):
    file = (
        dat({"A": 10.0, "B": 40.0})
        .pure("A(s)", [1, 0], [])
        .ideal("MELT", ("A", [1, 0], []), ("B", [0, 1], []))
        .gas("GAS", ("A2", [2, 0], []))
    )
    lab.load(file)
    assert [hx.hxgnp(i) for i in range(hx.hxnop())] == ["GAS", "MELT", "A(s)"]


def test_copies_of_mixture_phases_are_numbered(hx, lab, dat):
    species = [("A", [1, 0], []), ("B", [0, 1], [])]
    file = dat({"A": 10.0, "B": 40.0})
    file.regular("MELT", species, 1.0).ideal("OTHER", *species).regular("MELT", species, 1.0)
    lab.load(file)
    assert [hx.hxgnp(i) for i in range(hx.hxnop())] == ["MELT#1", "OTHER", "MELT#2"]


def test_other_duplicates_are_read_as_they_stand(hx, lab, dat):
    file = dat({"A": 10.0}).gas("GAS", ("A", [1], []), ("A", [1], [1.0]))
    lab.load(file.pure("S", [1], []).pure("S", [1], []))
    assert [hx.hxgnp(i) for i in range(hx.hxnop())] == ["GAS", "S", "S"]
    assert [hx.hxgnpc(0, k) for k in range(2)] == ["A", "A"]


def test_dummies_are_no_phases(hx, lab, dat):
    lab.load(dat({"A": 10.0}).pure("A(s)", [1], []).dummy("A(ref)", [1], [-5.0]))
    assert hx.hxnop() == 1


def test_names_in_another_encoding_are_read(hx, tmp_path):
    path = tmp_path / "x.dat"
    path.write_bytes(b"t\n1 1 0 1\nA\n1\n1 1\n1 1\nA\xe9\n1 1 1\n6000 0\n")
    hx.hxopna(path, 10)
    hx.hxrfil()
    assert hx.hxgnp(0) == "Aé"


def test_new_file_replaces_everything(hx, lab, gas_over_solid, dat):
    lab.load(gas_over_solid)
    lab.set("T", 1000.0)
    lab.put_in(A=1.0)
    hx.hxcsp(1, Status.DORMANT)
    lab.calculate()
    lab.load(gas_over_solid)
    assert hx.hxgsp(1) is Status.ENTERED
    assert lab.get("IA", *lab.sc("A")) == 0.0
    with pytest.raises(TessaraError, match="nothing has been calculated yet"):
        lab.get("T")
    assert lab.set("P", 2.0) == 1
    lab.load(dat({"Q": 1.0}).pure("Q(s)", [1], []))
    assert hx.hxnosc() == hx.hxnop() == 1


def test_reading_keeps_units_and_channels(hx, lab, gas_over_solid):
    hx.hxcsu(Quantity.Amount, AmountUnit.kg)
    lab.load(gas_over_solid)
    assert hx.hxgsu(Quantity.Amount) is AmountUnit.kg


def test_failed_read_names_file_line_and_column_and_leaves_nothing(
    hx, lab, gas_over_solid, tmp_path
):
    lab.load(gas_over_solid)
    path = tmp_path / "broken.dat"
    path.write_text("title\n1 1 0 1\nA\nten\n")
    hx.hxopna(path, 10)
    with pytest.raises(TessaraError) as caught:
        hx.hxrfil()
    assert f"{path}, line 4, column 1: " in str(caught.value)
    note = get_error_info_dict()
    assert note["operation"] == "hxrfil"
    assert (note["file"], note["line"], note["column"]) == (str(path), 4, 1)
    assert note["text"] == str(caught.value)
    assert hx.hxnosc() == hx.hxnop() == 0
    assert hx.hxused() == (0,) * 11
    with pytest.raises(TessaraError, match="no data file is loaded"):
        hx.hxgnp(0)


def test_other_errors_have_no_file(hx):
    with pytest.raises(TessaraError):
        hx.hxgnp(0)
    note = get_error_info_dict()
    assert (note["file"], note["line"], note["column"]) == (None, None, None)


def test_library_works_on_after_a_failed_read(hx, lab, gas_over_solid):
    with pytest.raises(TessaraError):
        lab.load("nonsense")
    lab.load(gas_over_solid)  # channel 10 is still open from before
    assert hx.hxnop() == 3


@pytest.mark.parametrize("text", ["", "\0" * 100, "title\n-1 1 0 1\n", "é\n9 9 9", "\xff" * 50])
def test_no_file_breaks_the_library(lab, text):
    with pytest.raises(TessaraError, match="line"):
        lab.load(text)


def test_reading_needs_an_open_file(hx, lab, gas_over_solid, tmp_path):
    with pytest.raises(TessaraError, match="no data file is open; open one with hxopna"):
        hx.hxrfil()
    lab.load(gas_over_solid)  # closes its channel
    with pytest.raises(TessaraError, match="no data file is open"):
        hx.hxrfil()
    assert hx.hxnop() == 3


def test_file_that_cannot_be_opened_is_told_with_the_reason(hx, tmp_path):
    missing = tmp_path / "none.dat"
    with pytest.raises(TessaraError) as caught:
        hx.hxopna(missing, 10)
    assert str(caught.value) == (
        f"hxopna: the file {missing} cannot be opened: No such file or directory"
    )
    assert isinstance(caught.value.__cause__, FileNotFoundError)
    with pytest.raises(TessaraError, match="it is a directory"):
        hx.hxopna(tmp_path, 10)
    with pytest.raises(TessaraError, match="cannot be opened: embedded null"):
        hx.hxopna("a\0b", 10)


def test_opening_an_open_channel_closes_it_first(hx, tmp_path, gas_over_solid):
    path = tmp_path / "system.dat"
    path.write_text(gas_over_solid.text())
    hx.hxopna(path, 10)
    with pytest.raises(TessaraError):
        hx.hxopna(tmp_path / "none.dat", 10)
    with pytest.raises(TessaraError, match="no data file is open"):
        hx.hxrfil()


def test_file_is_taken_when_it_is_opened(hx, tmp_path, gas_over_solid):
    path = tmp_path / "system.dat"
    path.write_text(gas_over_solid.text())
    hx.hxopna(str(path), 10)
    path.unlink()
    hx.hxrfil()
    assert hx.hxnop() == 3


def test_hxini_empties_the_library(hx, lab, gas_over_solid):
    lab.load(gas_over_solid)
    lab.set("T", 1000.0)
    hx.hxcsu(Quantity.Amount, AmountUnit.kg)
    hx.configure(ConfigurationOption.SAMPLING, 3)
    hx.hxini()
    assert hx.hxnop() == hx.hxnosc() == 0
    assert hx.hxgsu(Quantity.Amount) is AmountUnit.mol
    assert hx.configuration(ConfigurationOption.SAMPLING) == 1
    lab.load(gas_over_solid)
    assert lab.set("P", 2.0) == 1


def test_sizes(hx, lab, dat):
    assert hx.hxsize() == (99999,) * 11
    species = [("A", [1, 0], []), ("B", [0, 1], [])]
    file = dat({"A": 10.0, "B": 40.0}).gas("GAS", *species).regular("MELT", species, 1.0)
    lab.load(file.pure("A(s)", [1, 0], []))
    used = hx.hxused()
    # constituents, components, mixtures, excess coefficients; equations of one and of all
    assert used[:4] == (5, 2, 2, 1)
    assert used[8:10] == (1, 5)
    assert all(type(n) is int for n in used)


def test_information(hx):
    assert hx.hxgtpi().startswith("tessara ")
    major, minor, patch = map(int, hx.hxgtpi().split()[1].split("."))
    assert hx.hxvers() == 10000 * major + 100 * minor + patch
    assert "copyright" in hx.hxcprt()


def test_program_id_carries_the_version_of_the_package(hx):
    assert hx.hxgtpi() == f"tessara {tessara.__version__}"


def test_no_header_without_transparent_file(hx, lab, gas_over_solid):
    for _ in range(2):
        with pytest.raises(TessaraError, match="no transparent data file is loaded"):
            hx.hxgtrh()
        lab.load(gas_over_solid)
