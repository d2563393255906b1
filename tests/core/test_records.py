"""Records: construction, fields, equality, copying, pickling."""

import copy
import math
import pickle
import time
from types import MemberDescriptorType

import pytest

from tessara import core
from tessara.core import (
    AmountUnit,
    ChemicalFormulaIncomingAmountState,
    EnergyUnit,
    EquilibriumCalculationResult,
    FormulaError,
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
    TessaraInfo,
    ThermochemicalSystemConfig,
    VolumeUnit,
)

NAN = float("nan")
UNITS = {
    "P": PressureUnit.bar,
    "V": VolumeUnit.dm3,
    "T": TemperatureUnit.K,
    "E": EnergyUnit.J,
    "A": AmountUnit.mol,
}
STATE = ("A", "X", "AC", "MU")
PROPERTIES = ("Cp", "H", "S", "G", "V", "CpM", "HM", "SM", "GM", "VM")
RESULT_KEYWORDS = {
    "units": UNITS,
    "ts_md5": "abc",
    "t_start": time.localtime(0),
    "t_end": time.localtime(1),
    "dt": 1.0,
}
RESULT_FRESH = {
    "error": None,
    "str_inputs": "",
    **dict.fromkeys(("P", "T", "A", *PROPERTIES), NAN),
    "scs": {},
    "phs": {},
}

# Record, its arguments by the names of the fields that they fill, and the other fields as they
# stand on a fresh record.
RECORDS = [
    (SystemComponentConfig, {"index": 0, "name": "Fe", "molar_mass": 55.845}, {}),
    (
        PhaseConstituentConfig,
        {
            "index": 1,
            "name": "CO",
            "molar_mass": 28.01,
            "stoichiometry": {"C": 1.0, "O": 1.0},
            "mass_fractions": {"C": 0.43, "O": 0.57},
        },
        {},
    ),
    (PhaseConfig, {"index": 2, "name": "GAS", "model": SolutionModel.IDMX}, {"pcs": {}}),
    (ThermochemicalSystemConfig, {"path": "a.dat", "units": UNITS}, {"scs": {}, "phs": {}}),
    (SystemComponentState, {"index": 0, "name": "Fe"}, dict.fromkeys(STATE, NAN)),
    (
        PhaseConstituentState,
        {"index": 1, "name": "CO", "status": Status.ENTERED},
        dict.fromkeys((*STATE, *PROPERTIES), NAN),
    ),
    (
        PhaseState,
        {"index": 2, "name": "GAS", "status": Status.DORMANT},
        {**dict.fromkeys((*STATE, *PROPERTIES), NAN), "scs": {}, "pcs": {}},
    ),
    (SystemComponentIncomingAmountState, {"sc": "Fe", "A": 1.0}, {}),
    (PhaseConstituentIncomingAmountState, {"ph": "GAS", "pc": "CO", "A": 2.0}, {"_A": 2.0}),
    (
        ChemicalFormulaIncomingAmountState,
        {"formula": "Fe2O3", "A": 1.5},
        {"scs_A": {"Fe": 3.0, "O": 4.5}, "counts": {"Fe": 2.0, "O": 3.0}, "charge": 0},
    ),
    (
        StreamState,
        {"name": "air", "T": 298.15, "P": 1.0, "units": UNITS},
        {"A": 0.0, "A_pcs": [], **dict.fromkeys(PROPERTIES[:5], NAN)},
    ),
    (EquilibriumCalculationResult, RESULT_KEYWORDS, {**RESULT_FRESH, "IAs": []}),
    (
        StreamCalculationResult,
        RESULT_KEYWORDS,
        {**RESULT_FRESH, **dict.fromkeys(("dCp", "dH", "dS", "dG", "dV"), NAN), "streams": {}},
    ),
    (
        TessaraInfo,
        {
            "copyright": "(c)",
            "program_id": "p",
            "version": 100,
            "array_sizes_max": {"na": 9},
            "array_sizes_used": {"na": 1},
        },
        {},
    ),
]
RESULTS = (EquilibriumCalculationResult, StreamCalculationResult)
READ_ONLY = {"scs_A", "counts", "charge"}

every_record = pytest.mark.parametrize(
    ("cls", "arguments", "fresh"), RECORDS, ids=[row[0].__name__ for row in RECORDS]
)


def make(cls, arguments):
    """Make a record as its users do: results by keywords, others by position."""
    arguments = copy.copy(arguments)
    return cls(**arguments) if cls in RESULTS else cls(*arguments.values())


def equal(one, other):
    return one == other or (one != one and other != other)


def assignable(cls, arguments, fresh):
    names = {*arguments, *fresh} - READ_ONLY
    return names - {"A"} if cls is StreamState else names


def test_every_record_of_the_package_is_tested_here():
    records = {cls for cls, _, _ in RECORDS}
    public = [getattr(core, name) for name in core.__all__]
    classes = {value for value in public if isinstance(value, type)}
    assert {cls for cls in classes if issubclass(cls, core.records.Record)} == records


@every_record
def test_arguments_fill_their_fields(cls, arguments, fresh):
    record = make(cls, arguments)
    for name, value in arguments.items():
        assert getattr(record, name) == value


@every_record
def test_arguments_can_be_given_by_name(cls, arguments, fresh):
    assert cls(**arguments) == make(cls, arguments)


@every_record
def test_fresh_record_has_its_other_fields(cls, arguments, fresh):
    record = make(cls, arguments)
    for name, value in fresh.items():
        assert equal(getattr(record, name), value), name
        assert type(getattr(record, name)) is type(value), name


@every_record
def test_missing_argument_is_a_type_error(cls, arguments, fresh):
    for name in arguments:
        with pytest.raises(TypeError):
            cls(**{key: value for key, value in arguments.items() if key != name})


@pytest.mark.parametrize("cls", RESULTS)
def test_results_take_no_arguments_by_position(cls):
    with pytest.raises(TypeError):
        cls(*RESULT_KEYWORDS.values())


@every_record
def test_containers_belong_to_one_record_alone(cls, arguments, fresh):
    one, other = make(cls, arguments), make(cls, arguments)
    for name, value in fresh.items():
        if isinstance(value, (dict, list)):
            assert getattr(one, name) is not getattr(other, name)


@every_record
def test_fields_can_be_assigned(cls, arguments, fresh):
    for name in assignable(cls, arguments, fresh):
        record = make(cls, arguments)
        value = "FeO" if name == "formula" else 7.0
        setattr(record, name, value)
        assert getattr(record, name) == value


@every_record
def test_misspelt_field_is_refused(cls, arguments, fresh):
    record = make(cls, arguments)
    with pytest.raises(AttributeError):
        record.no_such_field = 1.0


@every_record
def test_fresh_records_are_equal(cls, arguments, fresh):
    assert make(cls, arguments) == make(cls, arguments)


@every_record
def test_records_that_differ_in_one_field_differ(cls, arguments, fresh):
    for name in assignable(cls, arguments, fresh):
        record = make(cls, arguments)
        setattr(record, name, "FeO" if name == "formula" else 7.0)
        assert record != make(cls, arguments), name


@every_record
def test_record_differs_from_other_types(cls, arguments, fresh):
    record = make(cls, arguments)
    assert record != tuple(arguments.values())
    assert record != arguments
    assert all(record != make(other, values) for other, values, _ in RECORDS if other is not cls)


@every_record
def test_record_cannot_be_hashed(cls, arguments, fresh):
    with pytest.raises(TypeError, match="unhashable"):
        hash(make(cls, arguments))


@every_record
@pytest.mark.parametrize("protocol", range(pickle.HIGHEST_PROTOCOL + 1))
def test_record_survives_pickling(cls, arguments, fresh, protocol):
    record = make(cls, arguments)
    other = pickle.loads(pickle.dumps(record, protocol))
    assert type(other) is cls
    assert other == record


@every_record
@pytest.mark.parametrize("duplicate", [copy.copy, copy.deepcopy])
def test_record_can_be_copied(cls, arguments, fresh, duplicate):
    record = make(cls, arguments)
    other = duplicate(record)
    assert type(other) is cls
    assert other is not record
    assert other == record


@every_record
def test_representation_is_one_readable_line(cls, arguments, fresh):
    text = repr(make(cls, arguments))
    assert cls.__name__ in text
    assert "\n" not in text
    assert "nan" not in text
    assert len(text) < 150


@every_record
def test_fields_are_stored_in_slots(cls, arguments, fresh):
    assert not hasattr(make(cls, arguments), "__dict__")
    kinds = {name: type(getattr(cls, name)) for name in {*arguments, *fresh}}
    assert set(kinds.values()) <= {MemberDescriptorType, property}
    computed = {name for name, kind in kinds.items() if kind is property}
    assert computed <= READ_ONLY | {"A", "formula"}


@every_record
def test_subclass_may_add_attributes(cls, arguments, fresh):
    subclass = type("Mine", (cls,), {})
    one, other = subclass(**arguments), subclass(**arguments)
    one.remark = other.remark = NAN
    assert one == other
    one.remark = "different"
    assert one != other
    assert one != make(cls, arguments)
    assert copy.copy(one).remark == "different"
    assert "Mine" in repr(one)


def filled_result():
    result = EquilibriumCalculationResult(**RESULT_KEYWORDS)
    phase = PhaseState(0, "GAS", Status.ENTERED)
    phase.pcs["CO"] = PhaseConstituentState(0, "CO", Status.ENTERED)
    result.phs["GAS"] = phase
    result.IAs.append(PhaseConstituentIncomingAmountState("GAS", "CO", 1.0))
    return result


def test_results_with_equal_trees_are_equal():
    assert filled_result() == filled_result()


def test_results_that_differ_deep_inside_differ():
    one, other = filled_result(), filled_result()
    other.phs["GAS"].pcs["CO"].A = 1.0
    assert one != other
    one.phs["GAS"].pcs["CO"].A = 1.0
    assert one == other
    other.IAs[0].A = 2.0
    assert one != other


def test_unknown_numbers_are_equal_whatever_object_they_are():
    one, other = SystemComponentState(0, "Fe"), SystemComponentState(0, "Fe")
    one.A, other.A = float("nan"), -float("nan")
    assert one == other


def test_unknown_numbers_are_equal_inside_containers():
    def config():
        numbers = {"C": float("nan")}
        return PhaseConstituentConfig(0, "CO", 28.0, numbers, {"x": [float("nan"), (numbers,)]})

    assert config() == config()


def test_containers_of_unequal_size_or_type_differ():
    one, other = filled_result(), filled_result()
    other.IAs.append(other.IAs[0])
    assert one != other
    other.IAs = tuple(one.IAs)
    assert one != other
    other = filled_result()
    other.phs["X"] = other.phs["GAS"]
    assert one != other


def test_deep_copy_shares_nothing():
    result = filled_result()
    other = copy.deepcopy(result)
    other.phs["GAS"].pcs["CO"].A = 1.0
    assert math.isnan(result.phs["GAS"].pcs["CO"].A)


def test_copy_shares_what_it_holds():
    result = filled_result()
    assert copy.copy(result).phs is result.phs


def test_incoming_amount_follows_its_private_field():
    amount = PhaseConstituentIncomingAmountState("GAS", "CO", 1.0)
    amount._A = 2.0
    assert amount.A == 2.0
    amount.A = 3.0
    assert amount._A == 3.0


def test_amount_of_a_stream_is_the_sum_of_its_amounts():
    stream = StreamState("air", 298.15, 1.0, UNITS)
    stream.A_pcs.append(PhaseConstituentIncomingAmountState("GAS", "O2", 2.0))
    stream.A_pcs.append(PhaseConstituentIncomingAmountState("GAS", "N2", 7.5))
    assert stream.A == 9.5
    stream.A_pcs[0]._A = 3.0
    assert stream.A == 10.5


def test_amount_of_a_stream_cannot_be_assigned():
    with pytest.raises(AttributeError):
        StreamState("air", 298.15, 1.0, UNITS).A = 1.0


def test_formula_amount_gives_what_each_element_receives():
    state = ChemicalFormulaIncomingAmountState("Na(OH)2", 0.5)
    assert list(state.scs_A.items()) == [("Na", 0.5), ("O", 1.0), ("H", 1.0)]
    assert {type(amount) for amount in state.scs_A.values()} == {float}


def test_formula_amount_may_be_whole_zero_or_negative():
    assert ChemicalFormulaIncomingAmountState("FeO", 2).scs_A == {"Fe": 2.0, "O": 2.0}
    assert type(ChemicalFormulaIncomingAmountState("FeO", 2).scs_A["Fe"]) is float
    assert ChemicalFormulaIncomingAmountState("FeO", 0).scs_A == {"Fe": 0.0, "O": 0.0}
    assert ChemicalFormulaIncomingAmountState("FeO", -1.0).scs_A == {"Fe": -1.0, "O": -1.0}


def test_formula_is_read_even_for_an_amount_of_zero():
    with pytest.raises(FormulaError):
        ChemicalFormulaIncomingAmountState("FE", 0.0)


def test_counts_stay_reachable_for_an_amount_of_zero():
    assert ChemicalFormulaIncomingAmountState("Fe2O3", 0.0).counts == {"Fe": 2.0, "O": 3.0}


def test_assigned_formula_is_read():
    state = ChemicalFormulaIncomingAmountState("FeO", 1.0)
    state.formula = "Fe3O4"
    assert state.scs_A == {"Fe": 3.0, "O": 4.0}


def test_assigned_formula_with_a_mistake_leaves_the_old_one():
    state = ChemicalFormulaIncomingAmountState("FeO", 1.0)
    with pytest.raises(FormulaError):
        state.formula = "FE"
    assert state.formula == "FeO"


def test_charge_is_kept_apart_from_the_amounts():
    state = ChemicalFormulaIncomingAmountState("SO4-2", 2.0)
    assert state.charge == -2
    assert state.scs_A == {"S": 2.0, "O": 8.0}


def test_electron_alone_brings_no_amounts():
    state = ChemicalFormulaIncomingAmountState("e-", 1.0)
    assert state.charge == -1
    assert state.scs_A == {}


@pytest.mark.parametrize(("amount", "error"), [("x", ValueError), (None, TypeError)])
def test_amount_that_is_no_number_is_refused(amount, error):
    with pytest.raises(error):
        ChemicalFormulaIncomingAmountState("FeO", amount)


def test_dicts_of_a_formula_amount_are_new_each_time():
    state = ChemicalFormulaIncomingAmountState("FeO", 1.0)
    state.scs_A["Fe"] = 9.0
    state.counts["Fe"] = 9.0
    assert state.scs_A == {"Fe": 1.0, "O": 1.0}
    assert state.counts == {"Fe": 1.0, "O": 1.0}
