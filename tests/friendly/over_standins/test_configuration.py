"""Records of what the system consists of: made afresh, and as the tree that is shared."""

import types

import pytest

NOT_USABLE = "This data file cannot be used with Tessara for Python."
SCS = [("Fe", 0.055845), ("O", 0.015999), ("C", 0.012011)]
PCS = [
    (
        "GAS",
        "IDMX",
        [("CO", 0.02801, [0, 1, 1]), ("CO2", 0.044009, [0, 2, 1]), ("O2", 0.031998, [0, 2, 0])],
    ),
    ("LIQUID", "RKMP", [("Fe", 0.055845, [1, 0, 0]), ("C", 0.012011, [0, 0, 1])]),
    ("Fe2O3", "PURE", [("Fe2O3", 0.159687, [2, 3, 0])]),
]


class Record(types.SimpleNamespace):
    """A record that keeps its positional arguments."""

    def __init__(self, kind, arguments):
        super().__init__(kind=kind, arguments=arguments)


@pytest.fixture
def plain(friendly, monkeypatch):
    """Replaces the records by ones whose arguments can be looked at, whichever `core` there is."""

    def maker(kind, *, dicts=(), named=True):
        def make(*arguments):
            record = Record(kind, arguments)
            if named:
                record.index, record.name = arguments[:2]
            for attribute in dicts:
                setattr(record, attribute, {})
            return record

        monkeypatch.setattr(friendly, kind, make)

    maker("SystemComponentConfig")
    maker("PhaseConstituentConfig")
    maker("PhaseConfig", dicts=["pcs"])
    maker("ThermochemicalSystemConfig", dicts=["scs", "phs"], named=False)


@pytest.fixture
def system(friendly, loaded):
    return friendly.ThermochemicalSystem


def constituent(i_ph, i_pc):
    """The arguments of a constituent's record, worked out from the system."""
    name, mm, coefficients = PCS[i_ph][2][i_pc]
    stoichiometry = {sc: float(n) for (sc, _), n in zip(SCS, coefficients, strict=True)}
    fractions = {sc: mm_sc * stoichiometry[sc] / mm for sc, mm_sc in SCS}
    return (i_pc, name, mm, stoichiometry, fractions)


def phase(core, i_ph):
    return (i_ph, PCS[i_ph][0], core.SolutionModel[PCS[i_ph][1]])


def assert_is_phase(core, record, i_ph):
    assert record.kind == "PhaseConfig"
    assert record.arguments == phase(core, i_ph)
    assert list(record.pcs) == [name for name, *_ in PCS[i_ph][2]]
    for i_pc, pc in enumerate(record.pcs.values()):
        assert pc.kind == "PhaseConstituentConfig"
        assert pc.arguments == constituent(i_ph, i_pc)


# Fresh records.


@pytest.mark.parametrize("i_sc", range(3))
def test_record_of_a_component(system, plain, loaded, i_sc):
    name, mm = SCS[i_sc]
    for sc in (i_sc, name):
        record = system.get_config_sc(sc)
        assert (record.kind, record.arguments) == ("SystemComponentConfig", (i_sc, name, mm))
    assert loaded.calls == []


def test_records_of_components_are_a_list_in_index_order(system, plain, loaded):
    records = system.get_config_scs()
    assert type(records) is list
    assert [record.arguments for record in records] == [
        (i, name, mm) for i, (name, mm) in enumerate(SCS)
    ]
    assert loaded.calls == []


@pytest.mark.parametrize(("ph", "pc"), [("GAS", "CO2"), (0, 1), ("GAS", 1), (0, "CO2")])
def test_record_of_a_constituent(system, plain, loaded, ph, pc):
    record = system.get_config_pc(ph, pc)
    assert record.kind == "PhaseConstituentConfig"
    assert record.arguments == constituent(0, 1)
    assert [list(record.arguments[place]) for place in (3, 4)] == [["Fe", "O", "C"]] * 2
    assert loaded.calls == []


@pytest.mark.parametrize("i_ph", range(3))
def test_records_of_constituents_in_a_phase(system, plain, loaded, i_ph):
    for ph in (i_ph, PCS[i_ph][0]):
        records = system.get_config_pcs_in_ph(ph)
        assert type(records) is list
        assert [record.arguments for record in records] == [
            constituent(i_ph, i_pc) for i_pc in range(len(PCS[i_ph][2]))
        ]
    assert loaded.calls == []


@pytest.mark.parametrize("i_ph", range(3))
def test_record_of_a_phase(system, plain, loaded, core, i_ph):
    for ph in (i_ph, PCS[i_ph][0]):
        assert_is_phase(core, system.get_config_ph(ph), i_ph)
    assert loaded.calls == []


def test_records_of_phases_are_a_list_in_index_order(system, plain, loaded, core):
    records = system.get_config_phs()
    assert type(records) is list
    for i_ph, record in enumerate(records):
        assert_is_phase(core, record, i_ph)
    assert loaded.calls == []


def test_records_are_those_of_core(system, core):
    assert type(system.get_config_sc(0)) is core.SystemComponentConfig
    assert type(system.get_config_pc(0, 0)) is core.PhaseConstituentConfig
    assert type(system.get_config_ph(0)) is core.PhaseConfig
    assert type(system.get_object()) is core.ThermochemicalSystemConfig


def test_records_are_new_at_each_call(system, plain):
    assert system.get_config_ph(0) is not system.get_config_ph(0)
    assert system.get_config_ph(0).pcs is not system.get_config_ph(0).pcs
    assert system.get_config_ph(0) == system.get_config_ph(0)
    first, second = system.get_config_pc(0, 0), system.get_config_pc(0, 0)
    assert first.arguments[3] is not second.arguments[3]
    assert first.arguments[4] is not second.arguments[4]


def test_nothing_leads_back_to_the_caches(system, plain):
    record = system.get_config_pc("GAS", "CO")
    record.arguments[3].clear()
    record.arguments[4]["C"] = 7.0
    assert system.get_stoich_pc("GAS", "CO") == [0.0, 1.0, 1.0]
    assert system.get_y_sc_pc("GAS", "CO", "C") != 7.0


def tracing(system, names):
    """A subclass whose methods of these names note their arguments, then do their work."""
    seen = []

    def method(name):
        def call(cls, *arguments):
            seen.append((name, *arguments))
            return getattr(super(mine, cls), name)(*arguments)

        return classmethod(call)

    mine = type("Mine", (system,), {name: method(name) for name in names})
    return mine, seen


def test_component_is_asked_for_through_cls_in_order(system, plain):
    mine, seen = tracing(system, ["get_mm_sc", "get_name_sc", "get_index_sc"])
    mine.get_config_sc("O")
    assert seen == [("get_index_sc", "O"), ("get_name_sc", "O"), ("get_mm_sc", "O")]


def test_components_are_asked_for_through_cls(system, plain):
    mine, seen = tracing(system, ["get_config_sc"])
    mine.get_config_scs()
    assert seen == [("get_config_sc", i) for i in range(3)]


def test_phase_is_asked_for_through_cls_in_order(system, plain):
    names = ["get_model_ph", "get_config_pcs_in_ph", "get_name_ph", "get_index_ph", "get_config_pc"]
    mine, seen = tracing(system, names)
    mine.get_config_ph("LIQUID")
    assert seen == [
        ("get_index_ph", "LIQUID"),
        ("get_name_ph", "LIQUID"),
        ("get_model_ph", "LIQUID"),
        ("get_config_pcs_in_ph", "LIQUID"),
        ("get_config_pc", "LIQUID", 0),
        ("get_config_pc", "LIQUID", 1),
    ]


def test_phases_are_asked_for_through_cls(system, plain):
    mine, seen = tracing(system, ["get_config_ph"])
    mine.get_config_phs()
    assert seen == [("get_config_ph", i) for i in range(3)]


def test_constituent_is_not_asked_for_through_cls(system, plain):
    mine, seen = tracing(system, ["get_index_pc", "get_name_pc", "get_mm_pc", "get_stoich_pc"])
    mine.get_config_pc(0, 0)
    assert seen == []


def test_later_constituent_of_one_name_replaces_the_earlier(system, plain):
    class Mine(system):
        @classmethod
        def get_config_pcs_in_ph(cls, ph):
            return [types.SimpleNamespace(name="same", number=i) for i in range(3)]

    assert {name: pc.number for name, pc in Mine.get_config_ph(0).pcs.items()} == {"same": 2}


def test_constituents_may_come_as_any_iterable(system, plain):
    class Mine(system):
        @classmethod
        def get_config_pcs_in_ph(cls, ph):
            return (types.SimpleNamespace(name=name) for name in "ab")

    assert list(Mine.get_config_ph(0).pcs) == ["a", "b"]


def test_dict_of_a_record_is_filled_by_its_update(friendly, system, core, monkeypatch):
    seen = []

    class Record:
        def __init__(self, *arguments):
            self.index, self.name = arguments[:2]

        @property
        def pcs(self):
            seen.append("pcs")
            return self

        def update(self, made):
            seen.append(made)

    class Mine(system):
        @classmethod
        def get_config_pcs_in_ph(cls, ph):
            seen.append("constituents")
            return []

    monkeypatch.setattr(friendly, "PhaseConfig", Record)
    assert type(Mine.get_config_ph(0)) is Record
    assert seen == ["pcs", "constituents", {}]


def test_phase_without_constituents(friendly, library, plain, dat):
    library.phs[1].pcs = []
    friendly.ThermochemicalSystem.load(dat)
    system = friendly.ThermochemicalSystem
    assert system.get_config_ph("LIQUID").pcs == {}
    assert system.get_config_pcs_in_ph("LIQUID") == []
    assert system.get_object().phs["LIQUID"].pcs == {}


@pytest.mark.parametrize(
    ("name", "arguments", "key"),
    [
        ("get_config_sc", ("Xx",), "Xx"),
        ("get_config_sc", (-1,), -1),
        ("get_config_pc", ("Xx", 0), "Xx"),
        ("get_config_pc", ("GAS", "Fe"), "Fe"),
        ("get_config_pcs_in_ph", (3,), 3),
        ("get_config_ph", ("Xx",), "Xx"),
        ("_build_object_ph_pcs", (3, None), 3),
        ("_build_object_ph_pcs", (-1, None), -1),
    ],
)
def test_unknown_reference_is_the_key_error_of_the_lookup(system, name, arguments, key):
    with pytest.raises(KeyError) as failure:
        getattr(system, name)(*arguments)
    assert failure.value.args == (key,)


@pytest.mark.parametrize("kind", ["SystemComponentConfig", "PhaseConstituentConfig", "PhaseConfig"])
def test_failure_of_a_record_comes_out(friendly, system, monkeypatch, kind):
    def fail(*arguments):
        raise LookupError("record")

    before = system.get_object()
    monkeypatch.setattr(friendly, kind, fail)
    for call in (system._build_object, system._update):
        with pytest.raises(LookupError, match="record"):
            call()
    assert system.get_object() is before


# The tree.


def test_load_makes_the_tree(friendly, plain, library, core, dat):
    friendly.ThermochemicalSystem.load(dat)
    tree = friendly.ThermochemicalSystem.get_object()
    path, units = tree.arguments
    assert path is friendly.ThermochemicalSystem.current_file_path
    assert units == friendly.Units.get()
    assert list(tree.scs) == [name for name, _ in SCS]
    assert [sc.arguments for sc in tree.scs.values()] == [
        (i, name, mm) for i, (name, mm) in enumerate(SCS)
    ]
    assert list(tree.phs) == [name for name, *_ in PCS]
    for i_ph, record in enumerate(tree.phs.values()):
        assert_is_phase(core, record, i_ph)


def test_build_asks_the_library_for_the_units_alone(system, loaded, core):
    system._build_object()
    quantities = ["Pressure", "Volume", "Temperature", "Energy", "Amount"]
    assert loaded.calls == [("hxgsu", core.Quantity[name]) for name in quantities]


def test_units_are_those_of_the_class_of_that_name_now(friendly, plain, system, monkeypatch):
    monkeypatch.setattr(friendly, "Units", types.SimpleNamespace(get=lambda: "units"))
    assert system._build_object().arguments[1] == "units"


def test_parts_of_the_tree_are_built_through_cls_in_order(system, plain):
    seen = []

    class Mine(system):
        @classmethod
        def _build_object_scs(cls, ts):
            seen.append(("scs", cls, ts, dict(ts.scs)))
            return {"a": 1}

        @classmethod
        def _build_object_phs(cls, ts):
            seen.append(("phs", cls, ts, dict(ts.scs)))
            return {"b": 2}

    tree = Mine._build_object()
    assert seen == [("scs", Mine, tree, {}), ("phs", Mine, tree, {"a": 1})]
    assert all(entry[2] is tree for entry in seen)
    assert (tree.scs, tree.phs) == ({"a": 1}, {"b": 2})


def test_constituents_of_the_tree_are_built_through_cls_with_the_tree(system, plain):
    mine, seen = tracing(system, ["_build_object_ph_pcs"])
    thing = object()
    mine._build_object_phs(thing)
    assert seen == [("_build_object_ph_pcs", i, thing) for i in range(3)]
    assert all(type(call[1]) is int for call in seen)


def test_records_of_the_tree_do_not_come_through_cls(system, plain):
    names = ["get_config_pc", "get_config_sc", "get_config_ph", "get_index_sc", "get_model_ph"]
    mine, seen = tracing(system, names)
    mine._build_object()
    assert seen == []


def test_constituent_of_the_tree_comes_through_the_global_class(friendly, system, monkeypatch):
    seen = []

    class Other:
        @classmethod
        def get_config_pc(cls, ph, pc):
            seen.append((ph, pc))
            return types.SimpleNamespace(name=pc, index=pc)

    monkeypatch.setattr(friendly, "ThermochemicalSystem", Other)
    assert list(system._build_object_ph_pcs(1, None)) == [0, 1]
    assert seen == [(1, 0), (1, 1)]


@pytest.mark.parametrize("i_ph", [1, True, 1.9])
def test_index_of_the_phase_is_converted(system, i_ph):
    assert list(system._build_object_ph_pcs(i_ph, None)) == ["Fe", "C"]


@pytest.mark.parametrize("i_ph", ["LIQUID", None])
def test_index_of_the_phase_that_is_no_number_is_refused(system, i_ph):
    with pytest.raises(TypeError, match="an integer is required"):
        system._build_object_ph_pcs(i_ph, None)


def test_object_is_shared_until_the_next_update(system, core, friendly):
    first = system.get_object()
    assert system.get_object() is first
    assert system.ts is first
    first.scs["mine"] = 1
    assert system.get_object().scs["mine"] == 1
    system._update()
    assert system.get_object() is not first
    assert "mine" not in system.get_object().scs
    assert first.scs["mine"] == 1


def test_object_is_the_attribute_of_the_class_it_is_called_through(system, loaded):
    class Mine(system):
        ts = "mine"

    assert Mine.get_object() == "mine"
    assert loaded.calls == []


def test_tree_is_addressed_by_name_only(system):
    for part in (system.get_object().scs, system.get_object().phs):
        with pytest.raises(KeyError):
            part[0]


def test_change_of_units_makes_a_new_tree_and_leaves_the_old(friendly, plain, library, core, dat):
    friendly.ThermochemicalSystem.load(dat)
    before = friendly.ThermochemicalSystem.get_object()
    friendly.Units.set_A_unit(core.AmountUnit.gram)
    after = friendly.ThermochemicalSystem.get_object()
    assert before.arguments[1]["A"] is core.AmountUnit.kg
    assert after.arguments[1]["A"] is core.AmountUnit.gram
    assert before.scs["Fe"].arguments[2] == 0.055845
    assert after.scs["Fe"].arguments[2] == 55.845


def test_no_path_means_no_object(friendly, loaded):
    class Mine(friendly.ThermochemicalSystem):
        current_file_path = None

    assert Mine._build_object() is None
    assert loaded.calls == []


@pytest.mark.parametrize("place", range(1, 6))
def test_failure_of_the_library_keeps_the_former_tree(system, loaded, core, place):
    before = system.get_object()
    system._build_cache()
    built = len(loaded.calls)
    loaded.calls.clear()
    loaded.fail_at = built + place
    with pytest.raises(core.TessaraError) as failure:
        system._update()
    assert failure.value is loaded.error
    assert system.get_object() is before


# Names that occur twice. The caches refuse them first, so the records have to be made to show them.


@pytest.fixture
def renamed(friendly, monkeypatch):
    """`renamed(kind)`: records of this kind are all called "same", with indexes of their own."""

    def rename(kind, offset=10):
        class Named:
            def __init__(self, index, *others):
                self.index = index + offset
                self.name = "same"
                self.pcs = {}

        monkeypatch.setattr(friendly, kind, Named)

    return rename


@pytest.mark.parametrize(
    ("kind", "build", "head"),
    [
        (
            "SystemComponentConfig",
            lambda s: s._build_object_scs(None),
            "A duplicate system component 'same' was found in the thermochemical data file.",
        ),
        (
            "PhaseConfig",
            lambda s: s._build_object_phs(None),
            "A duplicate phase 'same' was found in the thermochemical data file.",
        ),
        (
            "PhaseConstituentConfig",
            lambda s: s._build_object_ph_pcs(0, None),
            # The constituent's name in the cache, where one would look for the phase's.
            "A duplicate constituent 'same' was found in phase 'CO2' in the thermochemical data "
            "file.",
        ),
    ],
)
def test_duplicate_is_refused(system, core, renamed, kind, build, head):
    renamed(kind)
    with pytest.raises(core.TessaraPyError) as failure:
        build(system)
    text = f"{head} It occurs at index 10 and 11. {NOT_USABLE}"
    assert failure.value.args == (text,)
    with pytest.raises(core.TessaraPyError):
        system._build_object()


def test_duplicate_constituent_is_reported_before_the_duplicate_phase(system, core, renamed):
    renamed("PhaseConfig")
    renamed("PhaseConstituentConfig")
    with pytest.raises(core.TessaraPyError, match="A duplicate constituent"):
        system._build_object_phs(None)


def test_error_is_taken_from_the_globals(friendly, system, renamed, monkeypatch):
    class OtherError(Exception):
        pass

    renamed("PhaseConfig")
    monkeypatch.setattr(friendly, "TessaraPyError", OtherError)
    with pytest.raises(OtherError):
        system._build_object_phs(None)


def test_later_phase_is_refused_after_its_constituents_were_built(system, core, renamed):
    renamed("PhaseConfig")
    mine, seen = tracing(system, ["_build_object_ph_pcs"])
    with pytest.raises(core.TessaraPyError, match="A duplicate phase"):
        mine._build_object_phs(None)
    assert [call[1] for call in seen] == [0, 1]


def test_records_may_load_another_system_from_within(friendly, system, loaded, dat, monkeypatch):
    make = friendly.PhaseConstituentConfig

    def reload(*arguments):
        if len(loaded.phs) == 3:
            loaded.phs = loaded.phs[:1]
            system.load(dat)
        return make(*arguments)

    monkeypatch.setattr(friendly, "PhaseConstituentConfig", reload)
    with pytest.raises(KeyError) as failure:
        system._build_object()
    assert failure.value.args == (1,)
    assert list(system.get_object().phs) == ["GAS"]
