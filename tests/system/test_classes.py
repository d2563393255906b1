"""The classes over the package's own library: shapes, overrides, failures."""

import math
import re
import time
from pathlib import Path

import pytest

import tessara.data
from tessara import basic, friendly
from tessara.core import ConditionVariable, TessaraError, TessaraPyError
from tessara.friendly import EquilibriumCalculation, ThermochemicalSystem

GETTERS = sorted(
    name for name in vars(friendly.EquilibriumCalculationBase) if name.startswith("get_eq_")
)
FURNACE = {"Fe2O3(hematite)": 1.0, "C(gr)": 2.5, "CaCO3(calcite)": 0.3, "N2": 2.0}


def same(a, b):
    return a == b or (math.isnan(a) and math.isnan(b))


@pytest.fixture
def furnace(bench):
    return bench.solve(FURNACE, 1250.0)


def test_there_are_94_getters():
    assert len(GETTERS) == 94


@pytest.mark.parametrize("name", GETTERS)
def test_every_getter_agrees_with_the_ones_for_single_places(furnace, name):
    """By name, by index and in a list; a list is in the order of the file."""
    get = getattr(EquilibriumCalculation, name)
    phases = list(enumerate(furnace.phases))
    components = list(enumerate(furnace.components))

    def single(ending):
        return getattr(EquilibriumCalculation, re.sub(r"_(scs|phs|pcs)(_in_ph)?$", ending, name))

    if name.endswith("_sc_in_ph"):
        for i, phase in phases:
            for k, component in components:
                assert same(get(phase, component), get(i, k))
    elif name.endswith("_scs_in_ph"):
        for i, phase in phases:
            values = get(phase)
            assert len(values) == len(components)
            assert all(map(same, values, get(i)))
            one = single("_sc_in_ph")
            assert all(same(values[k], one(i, component)) for k, component in components)
    elif name.endswith("_pcs_in_ph"):
        for i, phase in phases:
            values = get(phase)
            one = single("_pc")
            names = furnace.constituents[phase]
            assert len(values) == len(names)
            assert all(same(value, one(i, pc)) for value, pc in zip(values, names, strict=True))
    elif name.endswith("_pcs"):
        one = getattr(EquilibriumCalculation, name + "_in_ph")
        flat = [value for _, phase in phases for value in one(phase)]
        assert len(flat) == len(get())
        assert all(map(same, flat, get()))
    elif name.endswith(("_scs", "_phs")):
        objects = components if name.endswith("_scs") else phases
        one = single(name[-4:-1])
        values = get()
        assert len(values) == len(objects)
        assert all(same(values[i], one(i)) and same(values[i], one(what)) for i, what in objects)
    elif name.endswith("_pc"):
        for i, phase in phases[:3]:
            for k, pc in enumerate(furnace.constituents[phase]):
                assert same(get(phase, pc), get(i, k))
    elif name.endswith(("_sc", "_ph")):
        objects = components if name.endswith("_sc") else phases
        assert all(same(get(i), get(what)) for i, what in objects)
    else:
        assert type(get()) is float
        assert math.isfinite(get())


def test_values_of_phases_and_constituents_add_up(furnace):
    get = EquilibriumCalculation
    for name in ("A", "H", "S", "G", "Cp", "V"):
        total = getattr(get, f"get_eq_{name}")()
        by_phase = getattr(get, f"get_eq_{name}_phs")()
        by_constituent = getattr(get, f"get_eq_{name}_pcs")()
        assert math.fsum(by_phase) == pytest.approx(total, rel=1e-12)
        existing = [value for value in by_constituent if not math.isnan(value)]
        assert math.fsum(existing) == pytest.approx(total, rel=1e-10)
    assert get.get_eq_GM() * get.get_eq_A() == pytest.approx(get.get_eq_G(), rel=1e-14)
    assert math.fsum(get.get_eq_X_scs()) == pytest.approx(1.0, rel=1e-14)
    incoming = get.get_eq_IA_pc("Fe2O3(hematite)", 0)
    assert incoming == 1.0


def test_stable_phases_hold_the_components(furnace):
    get = EquilibriumCalculation
    for component in furnace.components:
        parts = [get.get_eq_A_sc_in_ph(phase, component) for phase in furnace.phases]
        assert math.fsum(parts) == pytest.approx(get.get_eq_A_sc(component), rel=1e-12, abs=1e-300)
    for phase in furnace.stable():
        assert math.fsum(get.get_eq_X_scs_in_ph(phase)) == pytest.approx(1.0, rel=1e-13)


def test_conditions_are_numbered_replaced_and_removed(bench):
    number = EquilibriumCalculation.set_eq_T(1000.0)
    assert EquilibriumCalculation.set_eq_T(1100.0) == number
    water = EquilibriumCalculation.set_IA_pc("GAS", "H2O", 1.0)
    assert water != number
    assert EquilibriumCalculation.set_IA_pc(0, bench.constituents["GAS"].index("H2O"), 2.0) == water
    EquilibriumCalculation.calculate_eq()
    assert EquilibriumCalculation.get_eq_T() == 1100.0
    assert EquilibriumCalculation.get_eq_A_sc("H") == pytest.approx(4.0, rel=1e-14)
    EquilibriumCalculation.remove_eq_conditions_IA()
    with pytest.raises(TessaraError, match="nothing goes into the system"):
        EquilibriumCalculation.calculate_eq()
    EquilibriumCalculation.set_IA_sc("H", 2.0)
    EquilibriumCalculation.set_IA_sc("O", 1.0)
    EquilibriumCalculation.calculate_eq()
    assert bench.pc("A", "H2O") == pytest.approx(1.0, rel=1e-5)
    EquilibriumCalculation.remove_eq_condition(number)
    with pytest.raises(TessaraError, match="temperature"):
        EquilibriumCalculation.calculate_eq()
    assert EquilibriumCalculation.set_eq_T(900.0) > water  # a number is not given twice


def test_printed_results_come_through_print(furnace, capsys):
    EquilibriumCalculation.calculate_eq(print_results=True)
    printed = capsys.readouterr().out
    for heading in ("Conditions", "Incoming amounts", "Phases", "System components", "Check"):
        assert heading in printed
    assert printed.isascii()
    # Figures of the listing are those that the getters give.
    line = next(row for row in printed.splitlines() if row.startswith("  GAS  "))
    assert float(line.split()[1]) == pytest.approx(furnace.ph("A", "GAS"), rel=1e-6)
    assert basic.hxgio(friendly.IoOption.LIST) == friendly.LIST_STDOUT_NUMBER


def test_inputs_as_text(furnace):
    text = EquilibriumCalculation.get_str_inputs()
    assert "1250" in text
    for name in ("Fe2O3(hematite)", "C(gr)", "CaCO3(calcite)", "N2"):
        assert name in text


def test_frame_takes_the_time(furnace):
    class Mine(EquilibriumCalculation):
        pass

    before = time.time()
    Mine.calculate_eq()
    assert before <= Mine.t_start <= Mine.t_end <= time.time()
    assert Mine.t_end - Mine.t_start == Mine.dt
    assert EquilibriumCalculation.t_start < before


def test_searches_wait_for_a_later_release_and_say_so(furnace):
    with pytest.raises(TessaraError):
        EquilibriumCalculation.calculate_eq_T(1000.0)
    furnace.solve(FURNACE, 1250.0)


def test_subclass_and_replaced_operation_are_heard(furnace, monkeypatch):
    placed = []

    class Mine(EquilibriumCalculation):
        @classmethod
        def _set_eq_condition_sys(cls, variable, value):
            placed.append((variable, value))
            return super()._set_eq_condition_sys(variable, value)

    assert Mine.set_eq_T(1000.0) == EquilibriumCalculation.set_eq_T(1000.0)
    assert placed == [(ConditionVariable.T, 1000.0)]

    monkeypatch.setattr(basic, "hxgetr", lambda *place: place)
    assert EquilibriumCalculation.get_eq_A_ph("GAS") == (friendly.ResultVariable.A, 0, -1)


def test_unknown_names(furnace):
    for call, words in (
        (lambda: EquilibriumCalculation.set_IA_pc("GAS", "Xe", 1.0), "'Xe' of phase 'GAS'"),
        (lambda: EquilibriumCalculation.set_IA_pc("SLAG", "FeO", 1.0), "Phase 'SLAG'"),
        (lambda: EquilibriumCalculation.set_IA_sc("Xe", 1.0), "System component 'Xe'"),
    ):
        with pytest.raises(TessaraPyError, match=words) as refusal:
            call()
        assert isinstance(refusal.value.__context__, KeyError)
    with pytest.raises(KeyError):
        EquilibriumCalculation.get_eq_A_ph("SLAG")
    with pytest.raises(KeyError):
        EquilibriumCalculation.get_eq_A_ph(-1)


def test_load_failures(bench, tmp_path):
    path = tessara.data.path("ironmaking")
    with pytest.raises(FileExistsError, match="does not exist"):
        ThermochemicalSystem.load(tmp_path / "none.dat")
    assert ThermochemicalSystem.current_file_path == path
    EquilibriumCalculation.set_eq_T(1000.0)

    upper = tmp_path / "IRON.DAT"
    upper.write_bytes(path.read_bytes())
    with pytest.raises(ValueError, match=r'either "\.tdf" or "\.dat"'):
        ThermochemicalSystem.load(upper)
    assert basic.hxnop() == 0
    assert ThermochemicalSystem.get_index_ph("GAS") == 0  # the caches are the former file's

    broken = tmp_path / "broken.dat"
    lines = path.read_text(encoding="ascii").splitlines()
    lines[8] = lines[8].replace("1", "x", 1)
    broken.write_text("\n".join(lines), encoding="ascii")
    with pytest.raises(TessaraError, match="line") as refusal:
        ThermochemicalSystem.load(str(broken))
    assert str(refusal.value).endswith("\n" + str(broken))
    assert basic.hxnop() == 0

    folder = tmp_path / "folder.dat"
    folder.mkdir()
    with pytest.raises(TessaraError):
        ThermochemicalSystem.load(folder)

    ThermochemicalSystem.load(str(path))
    assert ThermochemicalSystem.current_file_path == Path(path)
    bench.solve({"H2O": 1.0}, 1000.0)


def test_names_that_occur_twice_are_refused(tmp_path):
    path = tmp_path / "twice.dat"
    record = "A(s)\n1 1 1.0\n6000.0 0 0 0 0 0 0\n"
    path.write_text(
        "twice\n1 1 0 2\nA\n10.0\n6 1 2 3 4 5 6\n6 1 2 3 4 5 6\n" + record * 2, encoding="ascii"
    )
    words = r"A duplicate phase 'A\(s\)' was found .* at index 0 and 1\."
    with pytest.raises(TessaraPyError, match=words):
        ThermochemicalSystem.load(path)


class Hostile:
    """Does something else in the middle of a call."""

    def __init__(self, what):
        self.what = what

    def __hash__(self):
        return hash("GAS")

    def __eq__(self, other):
        self.what()
        return True

    def __float__(self):
        self.what()
        return 1000.0


def test_arguments_that_load_another_file_meanwhile(furnace):
    path = tessara.data.path("ironmaking")

    def load():
        ThermochemicalSystem.load(path)

    assert EquilibriumCalculation.set_eq_T(Hostile(load)) == 1
    assert ThermochemicalSystem.get_index_ph(Hostile(load)) == 0

    def fail():
        raise RuntimeError("no")

    with pytest.raises(RuntimeError, match="no"):
        EquilibriumCalculation.set_eq_T(Hostile(fail))
    with pytest.raises(RuntimeError, match="no"):
        EquilibriumCalculation.get_eq_A_ph(Hostile(fail))
