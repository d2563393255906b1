"""Uses of the package that a type checker accepts, and below them such as it has to refuse.

Never run. The lines that are refused end in the code of the error.
"""

from collections.abc import Sequence
from enum import Enum
from pathlib import Path
from typing import assert_type

from tessara import basic, core, friendly
from tessara.friendly import (
    AmountUnit,
    ConditionVariable,
    EquilibriumCalculation,
    EquilibriumCalculationResult,
    Info,
    PhaseMapCalculation,
    PressureUnit,
    Quantity,
    ResultVariable,
    SolutionModel,
    Status,
    StreamCalculation,
    StreamCalculationResult,
    StreamState,
    TargetVariable,
    TemperatureUnit,
    TessaraError,
    TessaraPyError,
    ThermochemicalSystem,
    Units,
)


class OwnResult(EquilibriumCalculationResult):
    """A record of a caller's own."""


class OwnCalculation(EquilibriumCalculation):
    """A subclass that looks at conditions on their way."""

    @classmethod
    def _set_eq_condition_sys(cls, variable: ConditionVariable, value: float) -> int:
        return super()._set_eq_condition_sys(variable, 2.0 * value)


def system() -> None:
    ThermochemicalSystem.load("a.dat")
    ThermochemicalSystem.load(Path("a.dat"))
    assert_type(ThermochemicalSystem.current_file_path, Path | None)
    assert_type(ThermochemicalSystem.get_name_pc("GAS", 0), str)
    assert_type(ThermochemicalSystem.get_name_ph_pcs(), list[tuple[str, str]])
    assert_type(ThermochemicalSystem.get_model_phs(), list[SolutionModel])
    assert_type(ThermochemicalSystem.get_stoich_pcs(("Fe", 1)), list[list[float]])
    assert_type(ThermochemicalSystem.get_y_scs_pc("GAS", 0, scs=["O"]), list[float])
    ThermochemicalSystem.set_status_pc("GAS", "CO", Status.DORMANT)
    config = ThermochemicalSystem.get_object()
    if config is not None:
        assert_type(config.phs["GAS"].pcs["CO"].mass_fractions, dict[str, float])
    assert_type(Info.get_object().array_sizes_max, dict[str, int])


def units() -> None:
    Units.set(T=TemperatureUnit.K)
    Units.set_A_unit(AmountUnit.kg)
    assert_type(Units.get_P_unit(), PressureUnit)
    assert_type(Units.get(), dict[str, Enum])
    assert_type(basic.hxgsu(Quantity.Amount), AmountUnit)


def absolute(results: Sequence[float]) -> None:
    number = EquilibriumCalculation.set_eq_T(1000)
    EquilibriumCalculation.remove_eq_condition(number)
    EquilibriumCalculation.set_IA_pc(ph="GAS", pc=1, value=2.0)
    assert_type(EquilibriumCalculation.set_IA_cfs(["Fe2O3"], [1]), list[int])
    EquilibriumCalculation.set_target_XT_sc_in_ph("Fe", "LIQUID", 0.5)
    assert_type(EquilibriumCalculation.calculate_eq_T(1000, print_results=True), float)
    EquilibriumCalculation.calculate_eq(return_result=True, error=True)
    ranges = [("GAS", "CO", 0.0, 1.0)]
    found = EquilibriumCalculation.calculate_eq_IA(ranges)
    assert_type(found[0][2], float)
    assert_type(EquilibriumCalculation.get_eq_A_pcs_in_ph("GAS"), list[float])
    assert_type(EquilibriumCalculation.get_result_object(), EquilibriumCalculationResult)
    assert_type(EquilibriumCalculation.get_result_object(OwnResult, True), OwnResult)
    assert_type(EquilibriumCalculation.dt, float | None)
    OwnCalculation.set_eq_P(2)


def phase_map() -> None:
    ranges = [PhaseMapCalculation.IA_range("GAS", None, 0.0, 1.0)]
    assert_type(ranges[0].start, float)
    results = PhaseMapCalculation.calculate_ph_txs_IA(ranges, print_results=True)
    assert_type(results, list[EquilibriumCalculationResult])
    assert_type(PhaseMapCalculation.calculate_ph_txs_T(300, 400)[0].T, float)


def streams() -> None:
    StreamCalculation.create_st("ore", 300.0, 1)
    ore = StreamCalculation.streams["ore"]
    assert_type(ore, StreamState)
    StreamCalculation.set_IA_pc("ore", "Fe2O3", "", 1.0)
    StreamCalculation.set_st(ore, A=2)
    result = StreamCalculation.stream_reaction_result([ore], P=2)
    assert_type(result, StreamCalculationResult)
    assert_type(StreamCalculation.get_result_object(error=True).dH, float)
    StreamCalculation.calculate_eq_T(1000)
    assert_type(StreamCalculation.get_st_Cp("ore"), float)


def library() -> None:
    assert_type(basic.hxstpc(0, 0), tuple[list[float], float])
    assert_type(basic.hxgetr(TargetVariable.T), float)
    assert_type(core.parse_formula("H2O").molar_mass, float)
    assert_type(friendly.LIST_FILE_NUMBER, int)
    try:
        basic.hxini()
    except (TessaraError, TessaraPyError) as error:
        print(error)


def refused() -> None:
    ThermochemicalSystem.load(1)  # [arg-type]
    ThermochemicalSystem.load()  # [call-arg]
    ThermochemicalSystem.get_name_pc("GAS")  # [call-arg]
    ThermochemicalSystem.get_index_sc(1.5)  # [arg-type]
    ThermochemicalSystem.set_status_ph("GAS", "DORMANT")  # [arg-type]
    Units.set(T=PressureUnit.bar)  # [arg-type]
    basic.hxcsu(Quantity.Amount, PressureUnit.bar)  # [call-overload]
    basic.hxgetr(TargetVariable.NoTarget)  # [arg-type]
    EquilibriumCalculation.set_eq_T("1000")  # [arg-type]
    EquilibriumCalculation._set_eq_condition_sys(ResultVariable.T, 1.0)  # [arg-type]
    EquilibriumCalculation.remove_eq_condition("2")  # [arg-type]
    EquilibriumCalculation.calculate_eq_IA([("GAS", "CO")])  # [type-var]
    EquilibriumCalculation.calculate_eq_IA(())  # [arg-type]
    EquilibriumCalculation.get_eq_IA_sc("Fe")  # [attr-defined]
    EquilibriumCalculation.get_result_object(error_=True)  # [call-overload]
    EquilibriumCalculation.create_st("ore", 300.0, 1.0)  # [attr-defined]
    StreamCalculation.set_IA_sc("Fe", 1.0)  # [attr-defined]
    StreamCalculation.create_st(1, 300.0, 1.0)  # [arg-type]
    print(1.0 + StreamCalculation.calculate_eq_T(1000))  # [operator]
    friendly.LIST_FILE_NUMBER = 22  # [misc]
