"""How records are shown."""

from html.parser import HTMLParser
from pathlib import Path

import pytest

from tessara.core import (
    AmountUnit,
    ChemicalFormulaIncomingAmountState,
    EnergyUnit,
    EquilibriumCalculationResult,
    PhaseConfig,
    PhaseConstituentConfig,
    PhaseConstituentIncomingAmountState,
    PhaseConstituentState,
    PhaseState,
    PressureUnit,
    SolutionModel,
    Status,
    StreamCalculationResult,
    StreamState,
    SystemComponentConfig,
    SystemComponentIncomingAmountState,
    SystemComponentState,
    TemperatureUnit,
    ThermochemicalSystemConfig,
    VolumeUnit,
)

UNITS = {
    "P": PressureUnit.bar,
    "V": VolumeUnit.dm3,
    "T": TemperatureUnit.C,
    "E": EnergyUnit.kJ,
    "A": AmountUnit.mol,
}
NASTY = "<script>alert('&')</script>"


class Tree(HTMLParser):
    """Collects tags, texts and the `details` elements of well-formed HTML."""

    def __init__(self, html):
        super().__init__()
        self.open, self.tags, self.text, self.details = [], [], "", {}
        self.feed(html)
        self.close()
        assert self.open == []

    def handle_starttag(self, tag, attributes):
        self.open.append(tag)
        self.tags.append(tag)
        if tag == "details":
            self.is_open = ("open", None) in attributes

    def handle_endtag(self, tag):
        assert self.open.pop() == tag

    def handle_data(self, data):
        self.text += data
        if self.open and self.open[-1] == "summary":
            self.details[data] = self.is_open


def fill(result, stable=("GAS", "Fe"), absent=("FeO",)):
    result.T, result.P, result.A = 1000.0, 1.0, 3.0
    result.H, result.CpM = -512.5, 0.25
    for name in (*stable, *absent):
        phase = result.phs[name] = PhaseState(len(result.phs), name, Status.ENTERED)
        phase.A = 1.5 if name in stable else 0.0
        phase.AC = 1.0 if name in stable else 0.5
        phase.pcs["CO"] = PhaseConstituentState(0, "CO", Status.ENTERED)
        phase.pcs["CO"].X = 0.125
        phase.scs["C"] = SystemComponentState(0, "C")
    result.scs["Fe"] = SystemComponentState(0, "Fe")
    result.scs["Fe"].MU = -42.0
    result.str_inputs = "T = 1000\nP < 2"
    return result


def result_of(cls):
    return cls(units=UNITS, ts_md5=None, t_start=None, t_end=None, dt=None)


def equilibrium_result():
    result = fill(result_of(EquilibriumCalculationResult))
    result.IAs.append(PhaseConstituentIncomingAmountState("GAS", "CO", 2.0))
    result.IAs.append(SystemComponentIncomingAmountState("Fe", 1.0))
    return result


def stream(name="air"):
    stream = StreamState(name, 25.0, 1.0, UNITS)
    stream.A_pcs.append(PhaseConstituentIncomingAmountState("GAS", "O2", 2.0))
    stream.A_pcs.append(PhaseConstituentIncomingAmountState("GAS", "N2", 7.5))
    return stream


def stream_result():
    result = fill(result_of(StreamCalculationResult))
    result.streams["air"] = stream()
    result.dH = 77.0
    return result


def system():
    system = ThermochemicalSystemConfig(Path("iron.dat"), UNITS)
    system.scs["Fe"] = SystemComponentConfig(0, "Fe", 55.845)
    phase = system.phs["GAS"] = PhaseConfig(0, "GAS", SolutionModel.IDMX)
    phase.pcs["CO"] = PhaseConstituentConfig(0, "CO", 28.01, {"C": 1.0, "O": 1.0, "Fe": 0.0}, {})
    return system


ALL = {
    "equilibrium result": equilibrium_result,
    "stream result": stream_result,
    "stream": stream,
    "system": system,
}
FRESH = {
    "equilibrium result": lambda: result_of(EquilibriumCalculationResult),
    "stream result": lambda: result_of(StreamCalculationResult),
    "stream": lambda: StreamState("air", 25.0, 1.0, UNITS),
    "system": lambda: ThermochemicalSystemConfig("iron.dat", UNITS),
}
every_view = pytest.mark.parametrize("make", ALL.values(), ids=ALL)
every_view_fresh = pytest.mark.parametrize("make", FRESH.values(), ids=FRESH)


@every_view
def test_html_is_well_formed_and_holds_no_script(make):
    tree = Tree(make()._repr_html_())
    assert set(tree.tags) <= {
        *("div", "p", "b", "details", "summary", "pre"),
        *("table", "thead", "tbody", "tr", "th", "td"),
    }


@every_view_fresh
def test_fresh_record_can_be_shown(make):
    record = make()
    Tree(record._repr_html_())
    assert type(record).__name__ in str(record)
    assert "\n" not in repr(record)


@every_view
def test_html_starts_with_the_heading(make):
    record = make()
    heading = repr(record)[1:-1]
    assert Tree(record._repr_html_()).text.startswith(heading)


@every_view
def test_listing_starts_with_the_heading(make):
    record = make()
    assert str(record).splitlines()[0] == repr(record)[1:-1]


@every_view
def test_record_without_units_can_be_shown(make):
    record = make()
    for units in ({}, None):
        for part in (record, *getattr(record, "streams", {}).values()):
            part.units = units
        Tree(record._repr_html_())
        assert "[" not in str(record)


def test_representation_of_a_result_tells_state_and_stable_phases():
    assert repr(equilibrium_result()) == (
        "<EquilibriumCalculationResult: T = 1000 C, P = 1 bar, A = 3 mol, stable: GAS, Fe>"
    )


def test_representation_names_six_stable_phases_at_most():
    result = fill(result_of(EquilibriumCalculationResult), stable=[f"P{i}" for i in range(9)])
    assert repr(result).endswith("stable: P0, P1, P2, P3, P4, P5 and 3 more>")


def test_representation_of_a_fresh_result_says_that_nothing_is_known():
    text = repr(result_of(EquilibriumCalculationResult))
    assert text == "<EquilibriumCalculationResult: no values>"


def test_representation_of_a_failed_result_tells_the_error():
    result = result_of(EquilibriumCalculationResult)
    result.error = {"number": 7, "text": "no\nconvergence", "operation": "hxce", "file": None}
    assert repr(result) == "<EquilibriumCalculationResult: failed: no convergence, no values>"


def test_error_of_a_failed_result_is_shown_open():
    result = result_of(EquilibriumCalculationResult)
    result.error = {"number": 7, "text": "no convergence", "operation": "hxce", "file": None}
    tree = Tree(result._repr_html_())
    assert tree.details["Error"] is True
    assert "hxce" in tree.text
    assert "file" not in tree.text


def test_failed_result_without_a_note_says_so():
    result = result_of(EquilibriumCalculationResult)
    result.error = {"number": 0, "text": ""}
    assert "failed: no error noted" in repr(result)


def test_error_that_is_no_dict_is_shown_as_it_is():
    result = result_of(EquilibriumCalculationResult)
    result.error = "odd"
    assert "failed: odd" in repr(result)
    assert "odd" in str(result)


def test_stable_phases_are_open_and_all_else_is_folded():
    details = Tree(equilibrium_result()._repr_html_()).details
    assert [title for title, is_open in details.items() if is_open] == ["Stable phases (2)"]
    assert {"GAS: 1 constituent", "Absent phases (1)", "System components (1)"} <= details.keys()


def test_absent_phase_is_shown_with_its_driving_force():
    # ln 0.5
    line = next(line for line in str(equilibrium_result()).splitlines() if line.startswith("FeO"))
    assert line.split() == ["FeO", "ENTERED", "0.5", "-0.693147"]


def test_absent_phase_that_cannot_form_has_no_driving_force():
    result = equilibrium_result()
    result.phs["FeO"].AC = 0.0
    line = next(line for line in str(result).splitlines() if line.startswith("FeO"))
    assert line.split() == ["FeO", "ENTERED", "0"]


def test_phase_of_unknown_amount_counts_as_absent():
    result = equilibrium_result()
    for amount in (float("nan"), None):
        result.phs["GAS"].A = amount
        assert "Absent phases (2)" in str(result)


def test_field_that_holds_no_number_is_shown_as_it_is():
    result = equilibrium_result()
    result.scs["Fe"].A = "much"
    result.phs["GAS"].AC = None
    assert "much" in str(result)
    Tree(result._repr_html_())


def test_units_stand_with_the_numbers():
    listing = str(equilibrium_result())
    assert "A [mol]" in listing
    assert "MU [kJ/mol]" in listing
    lines = [line.split() for line in listing.splitlines()]
    assert ["H", "-512.5", "kJ"] in lines
    # A difference of one degree Celsius is one kelvin.
    assert ["CpM", "0.25", "kJ/(mol", "K)"] in lines


def test_incoming_amounts_stand_with_their_places():
    lines = [line.split() for line in str(equilibrium_result()).splitlines()]
    assert ["GAS", "CO", "2"] in lines
    assert ["Fe", "1"] in lines


def test_inputs_are_shown_as_they_are():
    assert str(equilibrium_result()).endswith("T = 1000\nP < 2")
    assert "<pre>T = 1000\nP &lt; 2</pre>" in equilibrium_result()._repr_html_()


def test_changes_and_streams_of_a_stream_result_are_shown():
    lines = [line.split() for line in str(stream_result()).splitlines()]
    assert ["dH", "77", "kJ"] in lines
    assert ["GAS", "N2", "7.5"] in lines
    assert "Streams (1)" in Tree(stream_result()._repr_html_()).details


def test_representation_of_a_stream():
    assert repr(stream()) == "<StreamState: air, T = 25 C, P = 1 bar, A = 9.5 mol, 2 constituents>"


def test_representation_of_a_system():
    text = repr(system())
    assert text == "<ThermochemicalSystemConfig: iron.dat, 1 system component, 1 phase>"


@pytest.mark.parametrize(
    ("unit", "heading"),
    [
        (AmountUnit.mol, "molar mass [g/mol]"),
        (AmountUnit.gram, "molar mass [g/mol]"),
        (AmountUnit.kg, "molar mass [kg/mol]"),
    ],
)
def test_molar_masses_of_a_system_carry_their_unit(unit, heading):
    config = system()
    config.units = {**UNITS, "A": unit}
    assert heading in str(config)


def test_stoichiometry_is_shown_without_zeros():
    lines = [line.split() for line in str(system()).splitlines()]
    assert ["CO", "28.01", "C:1", "O:1"] in lines


def test_names_are_escaped():
    result = equilibrium_result()
    phase = result.phs[NASTY] = PhaseState(9, NASTY, Status.ENTERED)
    phase.A = 1.0
    phase.pcs[NASTY] = PhaseConstituentState(0, NASTY, Status.ENTERED)
    result.scs[NASTY] = SystemComponentState(1, NASTY)
    result.IAs.append(PhaseConstituentIncomingAmountState(NASTY, NASTY, 1.0))
    result.str_inputs = NASTY
    result.error = {"text": NASTY}
    config = ThermochemicalSystemConfig(NASTY, UNITS)
    config.scs[NASTY] = SystemComponentConfig(0, NASTY, 1.0)
    config.phs[NASTY] = PhaseConfig(0, NASTY, SolutionModel.PURE)
    for record in (result, config, stream(NASTY)):
        html = record._repr_html_()
        assert "script" not in Tree(html).tags
        assert NASTY in Tree(html).text


def test_representation_of_a_state_leaves_out_what_is_not_known():
    state = PhaseConstituentState(3, "CO", Status.ENTERED)
    state.A = 0.5
    assert repr(state) == "PhaseConstituentState(index=3, name='CO', status=ENTERED, A=0.5)"


def test_representation_gives_the_size_of_containers():
    text = repr(equilibrium_result().phs["GAS"])
    assert "pcs=<1 item>" in text
    assert "CO" not in text


def test_representation_of_amounts_names_the_public_field():
    amount = PhaseConstituentIncomingAmountState("GAS", "CO", 2.0)
    assert repr(amount) == "PhaseConstituentIncomingAmountState(ph='GAS', pc='CO', A=2)"
    formula = ChemicalFormulaIncomingAmountState("FeO", 2.0)
    assert repr(formula) == "ChemicalFormulaIncomingAmountState(formula='FeO', A=2)"


def test_record_that_was_never_filled_can_be_represented():
    assert repr(PhaseState.__new__(PhaseState)) == "PhaseState()"
