"""What the module holds once it is imported: names, classes, documentation."""

import copy
import enum
import functools
import gc
import inspect
import pickle
import pydoc
import types
import weakref
from unittest import mock

import pytest

CORE_NAMES = [
    "get_error_info_dict",
    "TessaraPyError",
    "TessaraError",
    "ErrorStrings",
    "TessaraInfo",
    "ThermochemicalSystemConfig",
    "Status",
    "SolutionModel",
    "switch_components",
    "Composition",
    "PhaseConfig",
    "PhaseConstituentConfig",
    "SystemComponentConfig",
    "EquilibriumCalculationResult",
    "StreamCalculationResult",
    "PhaseConstituentIncomingAmountState",
    "ChemicalFormulaIncomingAmountState",
    "SystemComponentIncomingAmountState",
    "StreamState",
    "PhaseState",
    "PhaseConstituentState",
    "SystemComponentState",
    "ConfigurationOption",
    "IoOption",
    "Quantity",
    "PressureUnit",
    "VolumeUnit",
    "TemperatureUnit",
    "EnergyUnit",
    "AmountUnit",
    "ConditionVariable",
    "TargetVariable",
    "PhaseMapVariable",
    "ResultVariable",
    "PhaseConstituentVariable",
    "StreamVariable",
    "PhaseConstituentData",
    "InteractionVariable",
]

CLASSES = {
    "Info": ("object", []),
    "Units": ("object", []),
    "ThermochemicalSystem": ("object", ["current_file_path", "current_file_md5", "ts"]),
    "EquilibriumCalculationBase": ("object", ["result_type", "t_start", "t_end", "dt"]),
    "AbsoluteEquilibriumCalculationBase": ("EquilibriumCalculationBase", []),
    "EquilibriumCalculation": ("AbsoluteEquilibriumCalculationBase", []),
    "PhaseMapCalculation": ("AbsoluteEquilibriumCalculationBase", ["IA_range"]),
    "StreamCalculation": ("EquilibriumCalculationBase", ["result_type", "streams"]),
}

IN_ORDER = [
    *["struct", "time", "warnings"],
    *["namedtuple", "copy", "deepcopy", "Path", "NamedTemporaryFile"],
    *CORE_NAMES,
    "basic",
    *["LIST_STDOUT_NUMBER", "LIST_FILE_NUMBER", "ERROR_FILE_NUMBER"],
    *["_query_stoich_list", "_build_stoich_dict"],
    *CLASSES,
]

METHODS = {
    "Info": """
        get_copyright_message(cls)
        get_program_id(cls)
        get_version_number(cls)
        get_array_size_max_dict(cls)
        get_array_size_max_list(cls)
        get_array_size_max_str(cls)
        get_array_size_used_dict(cls)
        get_array_size_used_list(cls)
        get_array_size_used_str(cls)
        get_object(cls)
    """,
    "Units": """
        set(cls, P=PressureUnit.atm, V=VolumeUnit.m3, T=TemperatureUnit.C, E=EnergyUnit.kWh, \
            A=AmountUnit.kg)
        use_tessara_defaults(cls)
        set_P_unit(cls, unit)
        set_V_unit(cls, unit)
        set_T_unit(cls, unit)
        set_E_unit(cls, unit)
        set_A_unit(cls, unit)
        get(cls)
        get_P_unit(cls)
        get_V_unit(cls)
        get_T_unit(cls)
        get_E_unit(cls)
        get_A_unit(cls)
        get_str(cls)
    """,
    "ThermochemicalSystem": """
        load(cls, file_path)
        _update(cls)
        _build_cache(cls)
        _build_object(cls)
        _build_object_scs(cls, ts)
        _build_object_phs(cls, ts)
        _build_object_ph_pcs(cls, int i_ph, ts)
        get_object(cls)
        get_config_sc(cls, sc)
        get_config_scs(cls)
        get_config_ph(cls, ph)
        get_config_phs(cls)
        get_config_pc(cls, ph, pc)
        get_config_pcs_in_ph(cls, ph)
        get_tdf_info_dict(cls)
        get_tdf_info_str(cls)
        get_str_scs(cls)
        get_str_phs(cls)
        get_str_phs_pcs(cls)
        get_count_scs(cls)
        get_count_phs(cls)
        get_count_pcs_in_ph(cls, ph)
        get_count_pcs(cls)
        get_index_sc(cls, sc)
        get_name_sc(cls, sc)
        get_name_scs(cls)
        get_mm_sc(cls, sc)
        get_mm_scs(cls)
        get_index_ph(cls, ph)
        get_name_ph(cls, ph)
        get_name_phs(cls)
        get_index_pc(cls, ph, pc)
        get_name_pc(cls, ph, pc)
        get_name_pcs_in_ph(cls, ph)
        get_name_pcs(cls)
        get_mm_pc(cls, ph, pc)
        get_mm_pcs_in_ph(cls, ph)
        get_mm_pcs(cls)
        get_name_ph_pcs(cls)
        get_model_ph(cls, ph)
        get_model_phs(cls)
        get_stoich_sc(cls, sc, scs=None)
        get_stoich_scs(cls, scs=None)
        get_stoich_pc(cls, ph, pc, scs=None)
        get_stoich_pcs_in_ph(cls, ph, scs=None)
        get_stoich_pcs(cls, scs=None)
        get_y_sc_pc(cls, ph, pc, sc)
        get_y_scs_pc(cls, ph, pc, scs=None)
        get_y_sc_pcs_in_ph(cls, ph, sc)
        get_y_scs_pcs_in_ph(cls, ph, scs=None)
        get_y_sc_pcs(cls, sc)
        get_y_scs_pcs(cls, scs=None)
        get_status_ph(cls, ph)
        get_status_phs(cls)
        get_status_pc(cls, ph, pc)
        get_status_pcs_in_ph(cls, ph)
        get_status_pcs(cls)
        set_status_ph(cls, ph, status)
        set_status_phs(cls, status)
        set_status_pc(cls, ph, pc, status)
        set_status_pcs_in_ph(cls, ph, status)
        set_status_pcs(cls, status)
    """,
    "EquilibriumCalculationBase": """
        _set_eq_condition_sys(cls, variable, double value)
        _set_eq_condition_ph(cls, variable, ph, double value)
        set_eq_P(cls, double value)
        set_eq_VT(cls, double value)
        set_eq_T(cls, double value)
        set_eq_Cp(cls, double value)
        set_eq_H(cls, double value)
        set_eq_S(cls, double value)
        set_eq_G(cls, double value)
        set_eq_V(cls, double value)
        set_eq_A_ph(cls, ph, double value)
        set_eq_Cp_ph(cls, ph, double value)
        set_eq_H_ph(cls, ph, double value)
        set_eq_S_ph(cls, ph, double value)
        set_eq_G_ph(cls, ph, double value)
        set_eq_V_ph(cls, ph, double value)
        remove_eq_condition(cls, int number)
        remove_eq_conditions_IA(cls)
        remove_eq_conditions_all(cls)
        _start_calc(cls)
        _end_calc(cls)
        _list_to_file(cls)
        _list_back(cls, file_name, old_list_number)
        get_str_inputs(cls)
        _get_result_scs(cls)
        _get_result_phs(cls)
        _get_result_ph_scs(cls, int i_ph, double A_ph)
        _get_result_ph_pcs(cls, int i_ph, double A_ph)
        get_result_object(cls, result_type=EquilibriumCalculationResult, bool error=False)
    """,
    "AbsoluteEquilibriumCalculationBase": """
        _set_eq_condition_sc(cls, variable, sc, double value)
        _set_eq_condition_pc(cls, variable, ph, pc, value)
        set_IA_sc(cls, sc, double value)
        set_eq_AC_sc(cls, sc, double value)
        set_IA_pc(cls, ph, pc, double value)
        set_eq_AC_pc(cls, ph, pc, double value)
        set_eq_MU_pc(cls, ph, pc, double value)
        set_IA_cfs(cls, list cfs, list values)
        _get_result_IAs(cls)
        get_result_object(cls, result_type=EquilibriumCalculationResult, bool error=False)
    """,
    "EquilibriumCalculation": """
        set_target_formation_of_ph(cls, ph)
        set_target_precipitation_from_ph(cls, ph)
        set_target_AC_pc(cls, ph, pc, double value)
        set_target_XT_pc(cls, ph, pc, double value)
        set_target_XT_sc_in_ph(cls, sc, ph, double value)
        set_tg_formation_of_ph(cls, ph)
        set_tg_precipitation_from_ph(cls, ph)
        set_tg_AC_pc(cls, ph, pc, double value)
        set_tg_XT_pc(cls, ph, pc, double value)
        set_tg_XT_sc_in_ph(cls, sc, ph, double value)
        calculate_eq(cls, print_results=False, estimate=False, return_result=False, **kwargs)
        _calculate_eq(cls, variable, double guess, int print_results)
        calculate_eq_P(cls, P_guess, print_results=False)
        calculate_eq_V(cls, V_guess, print_results=False)
        calculate_eq_T(cls, T_guess, print_results=False)
        calculate_eq_IA(cls, list IA_ranges, bool print_results=False)
    """,
    "PhaseMapCalculation": """
        _calculate_ph_txs(cls, var_first, var_next, double val_min, double val_max, \
bool print_results)
        calculate_ph_txs_T(cls, double T_min, double T_max, bool print_results=False)
        calculate_ph_txs_P(cls, double P_min, double P_max, bool print_results=False)
        calculate_ph_txs_IA(cls, list IA_ranges, bool print_results=False)
    """,
    "StreamCalculation": """
        create_st(cls, str name, double T, double P)
        remove_st(cls, str st)
        remove_sts(cls)
        set_st(cls, stream, name=None, double A=-1.0)
        _set_eq_condition_sys(cls, variable, double value)
        _set_eq_condition_ph(cls, variable, ph, double value)
        set_IA_pc(cls, name, ph, pc, double value)
        _set_target_ph(cls, ph, double value)
        set_target_formation_of_ph(cls, ph)
        set_target_precipitation_from_ph(cls, ph)
        set_tg_formation_of_ph(cls, ph)
        set_tg_precipitation_from_ph(cls, ph)
        calculate_eq(cls, print_results=False, estimate=False, return_result=False, **kwargs)
        _calculate_eq(cls, variable, double guess, int print_results)
        calculate_eq_P(cls, P_guess, print_results=False)
        calculate_eq_V(cls, V_guess, print_results=False)
        calculate_eq_T(cls, T_guess, print_results=False)
        calculate_eq_IA(cls, list IA_ranges, bool print_results=False)
        get_st_Cp(cls, str name)
        get_st_H(cls, str name)
        get_st_S(cls, str name)
        get_st_G(cls, str name)
        get_st_V(cls, str name)
        get_result_object(cls, bool stream_extensive_properties=False, bool error=False)
        stream_reaction_result(cls, streams, T=800.0, P=1.0)
    """,
}
DECLARATIONS = [
    (owner, " ".join(line.split()))
    for owner, lines in METHODS.items()
    for line in lines.strip().splitlines()
]


def function_of(friendly, owner, name):
    return vars(getattr(friendly, owner))[name].__func__


# The names of the module.


def test_names_come_into_being_in_their_order(friendly):
    given = {"__name__", "__doc__", "__package__", "__loader__", "__spec__", "__file__"}
    own = [name for name in vars(friendly) if name not in given]
    assert own == IN_ORDER


def test_there_are_38_names_of_core_each_the_object_that_core_holds(friendly, core):
    assert len(CORE_NAMES) == 38
    assert all(getattr(friendly, name) is getattr(core, name) for name in CORE_NAMES)


def test_basic_is_the_sibling_module(friendly, basic):
    assert friendly.basic is basic


@pytest.mark.parametrize(
    ("name", "source"),
    [
        ("struct", "struct"),
        ("time", "time"),
        ("warnings", "warnings"),
        ("namedtuple", "collections"),
        ("copy", "copy"),
        ("deepcopy", "copy"),
        ("Path", "pathlib"),
        ("NamedTemporaryFile", "tempfile"),
    ],
)
def test_standard_names_are_those_of_the_standard_library(friendly, name, source):
    module = __import__(source)
    expected = module if name == source and name != "copy" else getattr(module, name)
    assert getattr(friendly, name) is expected


@pytest.mark.parametrize(
    ("name", "number"),
    [("LIST_STDOUT_NUMBER", 6), ("LIST_FILE_NUMBER", 21), ("ERROR_FILE_NUMBER", 22)],
)
def test_channel_numbers_are_plain_ints(friendly, name, number):
    assert type(getattr(friendly, name)) is int
    assert getattr(friendly, name) == number


@pytest.mark.parametrize("name", ["_system_cache", "_sc_cache", "_ph_cache"])
def test_caches_are_no_attributes_of_the_module(friendly, name):
    assert not hasattr(friendly, name)


def test_import_makes_two_calls_of_the_library(at_import, core):
    assert at_import == [("hxini",), ("hxcio", core.IoOption.ERROR, 0)]
    assert type(at_import[1][2]) is int


# The documentation of the module.


def test_module_docstring_publishes_the_vocabulary(friendly):
    terms = {
        "cf": "complex formula",
        "cfs": "complex formulae",
        "eq": "equilibrium",
        "mm": "molar mass",
        "ph": "phase",
        "phs": "phases",
        "pc": "phase constituent",
        "pcs": "phase constituents",
        "sc": "system component",
        "scs": "system components",
        "st": "stream",
        "sts": "streams",
        "tg": "target",
        "tx": "transition",
        "txs": "transitions",
        "CP": "heat capacity",
        "E": "energy",
        "G": "Gibbs energy",
        "H": "enthalpy",
        "IA": "incoming amount",
        "MU": "chemical potential",
        "P": "pressure",
        "S": "entropy",
        "T": "temperature",
        "V": "volume",
        "VT": "total volume",
        "X": "fraction",
        "XT": "mole fraction",
        "y": "mass fraction",
    }
    rows = [line for line in friendly.__doc__.splitlines() if line[:1].isalpha()]
    published = {}
    for row in rows:
        cells = [cell for cell in row.split("  ") if cell.strip()]
        published.update(
            {cells[i].strip(): cells[i + 1].strip() for i in range(0, len(cells) - 1, 2)}
        )
    assert {key: published.get(key) for key in terms} == terms


# The classes.


@pytest.mark.parametrize("name", CLASSES)
def test_class_is_a_plain_class_with_its_base(friendly, name):
    cls = getattr(friendly, name)
    base = CLASSES[name][0]
    assert type(cls) is type
    expected = object if base == "object" else getattr(friendly, base)
    assert cls.__bases__ == (expected,)
    assert (cls.__module__, cls.__qualname__, cls.__name__) == ("tessara.friendly", name, name)
    assert not {"__init__", "__new__", "__slots__"} & set(vars(cls))


@pytest.mark.parametrize("name", CLASSES)
def test_class_body_binds_attributes_first_and_methods_after(friendly, name):
    own = [key for key in vars(getattr(friendly, name)) if not key.startswith("__")]
    attributes = CLASSES[name][1]
    assert own[: len(attributes)] == attributes
    methods = own[len(attributes) :]
    assert all(type(vars(getattr(friendly, name))[key]) is classmethod for key in methods)


@pytest.mark.parametrize("owner", METHODS)
def test_methods_stand_in_their_order(friendly, owner):
    expected = [line.split("(")[0] for one, line in DECLARATIONS if one == owner]
    own = [
        key
        for key, value in vars(getattr(friendly, owner)).items()
        if type(value) is classmethod and not key.startswith("get_eq_")
    ]
    assert own == expected


def test_class_attributes_have_their_first_values(friendly, core):
    system = friendly.ThermochemicalSystem
    assert (system.current_file_md5, system.ts) == (None, None)
    base = friendly.EquilibriumCalculationBase
    assert base.result_type is core.EquilibriumCalculationResult
    assert (base.t_start, base.t_end, base.dt) == (None, None, None)
    streams = friendly.StreamCalculation
    assert streams.result_type is core.StreamCalculationResult
    assert type(streams.streams) is dict
    assert streams.streams == {}


def test_streams_are_one_dict_for_subclasses_too(friendly):
    class Mine(friendly.StreamCalculation):
        pass

    assert Mine.streams is friendly.StreamCalculation.streams


def test_IA_range_is_a_named_tuple_that_can_be_pickled(friendly):
    kind = friendly.PhaseMapCalculation.IA_range
    assert issubclass(kind, tuple)
    assert kind.__name__ == "IA_range"
    assert kind._fields == ("ph", "pc", "start", "end")
    made = kind("GAS", None, 0.0, 1.0)
    assert pickle.loads(pickle.dumps(made)) == made


@pytest.mark.parametrize(
    ("name", "words"),
    [
        ("Info", ["library itself", "array sizes", "memory"]),
        ("Units", ["units of measure"]),
        ("ThermochemicalSystem", ["data file", ".dat", ".tdf", "loaded"]),
        ("EquilibriumCalculationBase", ["Abstract", "share"]),
        ("AbsoluteEquilibriumCalculationBase", ["Abstract", "StreamCalculation", "relative"]),
        ("EquilibriumCalculation", ["without streams", "phase maps"]),
    ],
)
def test_class_says_what_it_is_for(friendly, name, words):
    documentation = getattr(friendly, name).__doc__
    assert [word for word in words if word not in documentation] == []


@pytest.mark.parametrize("name", ["PhaseMapCalculation", "StreamCalculation"])
def test_class_without_docstring_has_none(friendly, name):
    assert getattr(friendly, name).__doc__ is None


@pytest.mark.parametrize("name", CLASSES)
def test_an_instance_can_be_made_and_cls_is_still_the_class(friendly, name):
    instance = getattr(friendly, name)()
    assert vars(instance) == {}
    methods = [key for key, value in vars(type(instance)).items() if type(value) is classmethod]
    for method in methods:
        assert getattr(instance, method).__self__ is type(instance)


def test_a_method_called_through_an_instance_works(friendly, loaded, core):
    instance = friendly.EquilibriumCalculation()
    instance.set_eq_T(300)
    assert loaded.calls == [("hxsetc", core.ConditionVariable.T, -1, -1, 300.0)]


@pytest.mark.parametrize(
    "name", ["EquilibriumCalculationBase", "AbsoluteEquilibriumCalculationBase"]
)
def test_abstract_classes_can_be_called_directly(friendly, library, core, name):
    getattr(friendly, name).set_eq_P(1.0)
    assert library.calls == [("hxsetc", core.ConditionVariable.P, -1, -1, 1.0)]


def test_classes_can_be_subclassed_and_given_attributes(friendly):
    class Mine(friendly.EquilibriumCalculation):
        extra = 1

    Mine.other = 2
    friendly.EquilibriumCalculation.third = 3
    assert (Mine.extra, Mine.other, Mine.third) == (1, 2, 3)
    assert weakref.ref(friendly.EquilibriumCalculation)() is friendly.EquilibriumCalculation


def test_cls_is_the_subclass_that_a_call_comes_through(friendly):
    seen = []

    class Mine(friendly.EquilibriumCalculation):
        @classmethod
        def _set_eq_condition_sys(cls, variable, value):
            seen.append(cls)

    Mine.set_eq_T(1.0)
    assert seen == [Mine]


# The functions and methods.


@pytest.mark.parametrize(("owner", "line"), DECLARATIONS)
def test_documentation_starts_with_the_declaration(friendly, owner, line):
    documentation = getattr(getattr(friendly, owner), line.split("(")[0]).__doc__
    assert documentation.splitlines()[0] == f"{owner}.{line}"


def test_documentation_names_the_class_where_a_method_is_defined(friendly):
    documentation = friendly.EquilibriumCalculation.set_eq_T.__doc__
    expected = "EquilibriumCalculationBase.set_eq_T(cls, double value)"
    assert documentation.splitlines()[0] == expected


def test_one_method_says_nothing_beyond_its_declaration(friendly):
    expected = "Units.use_tessara_defaults(cls)"
    assert friendly.Units.use_tessara_defaults.__doc__ == expected


@pytest.mark.parametrize(
    ("owner", "line"),
    [row for row in DECLARATIONS if row != ("Units", "use_tessara_defaults(cls)")],
)
def test_documentation_goes_on_with_a_description(friendly, owner, line):
    documentation = getattr(getattr(friendly, owner), line.split("(")[0]).__doc__
    _, blank, *rest = documentation.splitlines()
    assert blank == ""
    assert len(" ".join(rest)) > 30
    assert max(map(len, rest)) <= 100


@pytest.mark.parametrize("name", ["_query_stoich_list", "_build_stoich_dict"])
def test_module_functions_are_documented_too(friendly, name):
    function = getattr(friendly, name)
    assert function.__doc__.splitlines()[0] == f"{name}(stoich, scs=None)"
    assert (function.__name__, function.__qualname__) == (name, name)
    assert function.__module__ == "tessara.friendly"


@pytest.mark.parametrize(("owner", "line"), DECLARATIONS)
def test_function_knows_its_names(friendly, owner, line):
    name = line.split("(")[0]
    function = function_of(friendly, owner, name)
    assert function.__name__ == name
    assert function.__qualname__ == f"{owner}.{name}"
    assert function.__module__ == "tessara.friendly"
    bound = getattr(getattr(friendly, owner), name)
    assert bound.__name__ == name
    assert inspect.ismethod(bound)
    assert inspect.isroutine(bound)


def as_declared(parameter):
    """The parameter as Python would write it, without its type."""
    shown = str(parameter.replace(annotation=parameter.empty))
    default = parameter.default
    if isinstance(default, enum.Enum):
        return shown.replace(repr(default), str(default))
    if isinstance(default, type) and default is not parameter.empty:
        return shown.replace(repr(default), default.__name__)
    return shown


@pytest.mark.parametrize(("owner", "line"), DECLARATIONS)
def test_signature_tells_names_and_defaults(friendly, owner, line):
    name, parameters = line[:-1].split("(")
    plain = [words.split(" ")[-1] for words in parameters.split(", ")]
    signature = inspect.signature(getattr(getattr(friendly, owner), name))
    assert [as_declared(p) for p in signature.parameters.values()] == plain[1:]
    function = function_of(friendly, owner, name)
    assert function.__text_signature__ == f"({', '.join(plain)})"
    assert next(iter(inspect.signature(function).parameters)) == "cls"


def test_signature_tells_declared_types_as_annotations(friendly):
    parameters = inspect.signature(friendly.EquilibriumCalculation._calculate_eq).parameters
    kinds = {name: parameter.annotation for name, parameter in parameters.items()}
    assert kinds == {
        "variable": inspect.Parameter.empty,
        "guess": float,
        "print_results": int,
    }


def test_signature_of_a_method_with_extra_keywords_binds_them(friendly):
    signature = inspect.signature(friendly.EquilibriumCalculation.calculate_eq)
    bound = signature.bind(True, error=True)
    assert bound.arguments == {"print_results": True, "kwargs": {"error": True}}


def test_help_shows_the_declaration_and_the_description(friendly):
    shown = pydoc.plain(pydoc.render_doc(friendly.ThermochemicalSystem))
    assert "load(file_path)" in shown
    assert "ThermochemicalSystem.load(cls, file_path)" in shown
    assert "Class methods defined here" in shown
    assert "ThermochemicalSystem" in pydoc.plain(pydoc.render_doc(friendly))


def test_partial_of_a_method_works(friendly, library, core):
    functools.partial(friendly.EquilibriumCalculation.set_eq_T, value=5)()
    assert library.calls == [("hxsetc", core.ConditionVariable.T, -1, -1, 5.0)]


def test_wraps_takes_over_names_and_documentation(friendly):
    @functools.wraps(friendly.ThermochemicalSystem.load)
    def mine():
        pass

    assert mine.__qualname__ == "ThermochemicalSystem.load"
    assert mine.__doc__ == friendly.ThermochemicalSystem.load.__doc__


@pytest.mark.parametrize("options", [{}, {"autospec": True}])
def test_a_method_can_be_patched_and_is_put_back(friendly, library, options):
    cls = friendly.EquilibriumCalculationBase
    before = vars(cls)["_set_eq_condition_sys"]
    with mock.patch.object(cls, "_set_eq_condition_sys", **options) as patched:
        patched.return_value = "patched"
        assert cls.set_eq_T(1.0) == "patched"
    assert vars(cls)["_set_eq_condition_sys"] is before
    assert library.calls == []


def test_a_spec_of_a_class_refuses_wrong_calls(friendly):
    spec = mock.create_autospec(friendly.ThermochemicalSystem)
    spec.load("x.dat")
    with pytest.raises(TypeError):
        spec.load()


def test_methods_and_functions_can_be_pickled_and_copied(friendly):
    bound = friendly.ThermochemicalSystem.load
    assert pickle.loads(pickle.dumps(bound)) == bound
    function = friendly._query_stoich_list
    assert pickle.loads(pickle.dumps(function)) is function
    assert copy.deepcopy(function) is function
    assert copy.copy(function_of(friendly, "ThermochemicalSystem", "load")) is function_of(
        friendly, "ThermochemicalSystem", "load"
    )


def test_a_function_is_an_ordinary_object(friendly):
    function = function_of(friendly, "ThermochemicalSystem", "load")
    assert repr(function).startswith("<function ThermochemicalSystem.load at ")
    assert weakref.ref(function)() is function
    assert gc.is_tracked(function)
    bound = function.__get__(1, int)
    assert isinstance(bound, types.MethodType)
    assert bound.__self__ == 1
    assert function.__get__(None, int) is function
    with pytest.raises(TypeError, match="cannot create"):
        type(function)()


def test_function_keeps_working_after_it_was_taken_out_of_its_class(friendly, library):
    method = friendly.EquilibriumCalculation.remove_eq_conditions_all
    original = vars(friendly.EquilibriumCalculationBase)["remove_eq_conditions_all"]
    del friendly.EquilibriumCalculationBase.remove_eq_conditions_all
    try:
        method()
    finally:
        friendly.EquilibriumCalculationBase.remove_eq_conditions_all = original
    assert library.calls == [("hxremc", -2)]
