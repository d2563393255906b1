"""`ThermochemicalSystem.load` and `_update`."""

from pathlib import Path

import pytest

BUILD = "hxnosc"  # the first call of a build


def reading(calls):
    """The calls up to the build of the caches."""
    names = [call[0] for call in calls]
    return calls[: names.index(BUILD)] if BUILD in names else calls


@pytest.fixture
def system(friendly):
    return friendly.ThermochemicalSystem


@pytest.fixture
def file(tmp_path):
    """`file(name)` makes an empty file of that name."""

    def make(name):
        path = tmp_path / name
        path.write_text("")
        return path

    return make


@pytest.mark.parametrize(
    ("name", "opening", "reader"),
    [("a.dat", "hxopna", "hxrfil"), ("a.tdf", "hxopnt", "hxrtdf")],
)
def test_load_reads_the_file_on_channel_10(system, library, core, file, name, opening, reader):
    path = file(name)
    assert system.load(path) is None
    assert reading(library.calls) == [
        ("hxini",),
        ("hxcio", core.IoOption.ERROR, 0),
        (opening, path, 10),
        (reader,),
        ("hxclos", 10),
    ]


@pytest.mark.parametrize("name", ["a.dat", "a.tdf"])
def test_library_gets_the_path_object_itself(system, library, file, name):
    system.load(str(file(name)))
    opened = library.of("hxopna", "hxopnt")[0][1]
    assert isinstance(opened, Path)
    assert opened is system.current_file_path


@pytest.mark.parametrize("kind", [str, Path])
def test_path_is_remembered_as_made_from_the_argument(system, file, kind, monkeypatch):
    path = file("a.dat")
    monkeypatch.chdir(path.parent)
    system.load(kind("a.dat"))
    assert system.current_file_path == Path("a.dat")
    assert isinstance(system.current_file_path, Path)


def test_path_is_remembered_after_the_read_and_before_the_update(friendly, system, library, file):
    seen = []

    class Mine(system):
        @classmethod
        def _update(cls):
            seen.append((cls.current_file_path, library.calls[-1]))

    path = file("a.dat")
    Mine.load(path)
    assert seen == [(path, ("hxclos", 10))]
    assert vars(Mine)["current_file_path"] == path
    assert "current_file_path" in vars(system)
    assert system.current_file_path != path


def test_update_builds_the_caches_and_then_the_object_through_cls(system, library):
    seen = []

    class Mine(system):
        ts = "former"

        @classmethod
        def _build_cache(cls):
            seen.append(("caches", cls, cls.ts))
            return "dropped"

        @classmethod
        def _build_object(cls):
            seen.append(("object", cls, cls.ts))
            return "made"

    assert Mine._update() is None
    assert seen == [("caches", Mine, "former"), ("object", Mine, "former")]
    assert Mine.ts == "made"
    assert system.ts is None
    assert library.calls == []


def test_update_stops_after_caches_that_fail(system):
    class Mine(system):
        ts = "former"

        @classmethod
        def _build_cache(cls):
            raise LookupError("caches")

        @classmethod
        def _build_object(cls):
            raise AssertionError("called too early")

    with pytest.raises(LookupError, match="caches"):
        Mine._update()
    assert Mine.ts == "former"


def test_update_keeps_the_former_object_where_the_new_one_fails(system):
    class Mine(system):
        ts = "former"

        @classmethod
        def _build_object(cls):
            raise LookupError("object")

    with pytest.raises(LookupError, match="object"):
        Mine._update()
    assert Mine.ts == "former"


def test_load_replaces_the_configuration_object(system, core, file):
    system.load(file("a.dat"))
    first = system.ts
    assert type(first) is core.ThermochemicalSystemConfig
    system.load(file("a.dat"))
    assert type(system.ts) is core.ThermochemicalSystemConfig
    assert system.ts is not first


def test_load_leaves_the_streams_alone(friendly, system, file):
    friendly.StreamCalculation.streams["ore"] = 1
    try:
        system.load(file("a.dat"))
        assert friendly.StreamCalculation.streams == {"ore": 1}
    finally:
        friendly.StreamCalculation.streams.clear()


def test_missing_file(system, library, tmp_path):
    path = tmp_path / "none.dat"
    with pytest.raises(FileExistsError) as failure:
        system.load(path)
    assert failure.value.args == (f"{path} does not exist",)
    assert library.calls == []


def test_missing_file_leaves_the_former_system(system, library, file, tmp_path):
    path = file("a.dat")
    system.load(path)
    with pytest.raises(FileExistsError):
        system.load(tmp_path / "none.dat")
    assert system.current_file_path == path
    assert system.get_index_sc("C") == 2


@pytest.mark.parametrize("name", ["x.TDF", "x.Dat", "x", "x.dat.txt", ".dat", "x.cst"])
def test_other_extension(system, library, core, file, name):
    with pytest.raises(ValueError, match="Invalid path") as failure:
        system.load(file(name))
    text = 'Invalid path. The file extension must be either ".tdf" or ".dat".'
    assert failure.value.args == (text,)
    assert library.calls == [("hxini",), ("hxcio", core.IoOption.ERROR, 0)]


def test_other_extension_leaves_caches_and_path_of_the_former_system(system, library, file):
    path = file("a.dat")
    system.load(path)
    with pytest.raises(ValueError, match="Invalid path"):
        system.load(file("x.TDF"))
    assert system.current_file_path == path
    assert system.get_index_ph("LIQUID") == 1
    library.scs, library.phs = [], []
    system._update()
    with pytest.raises(KeyError):
        system.get_index_ph("LIQUID")


def test_setter_of_a_unit_after_another_extension_finds_the_library_empty(
    friendly, system, library, core, file
):
    system.load(file("a.dat"))
    with pytest.raises(ValueError, match="Invalid path"):
        system.load(file("x"))
    library.scs, library.phs = [], []
    library.calls.clear()
    friendly.Units.set_P_unit(core.PressureUnit.atm)
    assert library.count("hxnosc") == 1
    assert system.get_name_scs() == system.get_name_phs() == []
    assert (system.get_object().scs, system.get_object().phs) == ({}, {})


def test_existing_directory_gets_as_far_as_the_library(system, library, tmp_path):
    path = tmp_path / "a.dat"
    path.mkdir()
    system.load(path)
    assert library.of("hxopna") == [("hxopna", path, 10)]


@pytest.mark.parametrize("name", ["a.dat", "a.tdf"])
@pytest.mark.parametrize("place", [3, 4, 5])
def test_error_of_the_library_gets_the_path(system, library, core, file, name, place):
    path = file(name)
    library.fail_at = place
    with pytest.raises(core.TessaraError) as failure:
        system.load(path)
    assert type(failure.value) is core.TessaraError
    assert failure.value.args == (f"library text\n{path}",)
    assert failure.value.__context__ is library.error
    assert failure.value.__cause__ is None
    assert len(library.calls) == place


@pytest.mark.parametrize("place", [3, 4])
def test_channel_stays_open_after_an_error(system, library, core, file, place):
    library.fail_at = place
    with pytest.raises(core.TessaraError):
        system.load(file("a.dat"))
    assert library.of("hxclos") == []


def test_error_of_the_library_leaves_the_former_system(system, library, core, file):
    path = file("a.dat")
    system.load(path)
    library.fail_at = len(library.calls) + 4
    with pytest.raises(core.TessaraError):
        system.load(file("b.dat"))
    assert system.current_file_path == path
    assert system.get_index_sc("C") == 2


@pytest.mark.parametrize("place", [1, 2])
def test_error_before_the_file_passes_unchanged(system, library, core, file, place):
    library.fail_at = place
    with pytest.raises(core.TessaraError) as failure:
        system.load(file("a.dat"))
    assert failure.value is library.error


@pytest.mark.parametrize("error", [ValueError("v"), KeyboardInterrupt(), OSError(2, "no")])
def test_other_errors_of_the_read_pass_unchanged(system, library, file, error):
    library.fail_at = 4
    library.error = error
    with pytest.raises(type(error)) as failure:
        system.load(file("a.dat"))
    assert failure.value is error
    assert failure.value.__context__ is None


def test_subclass_of_the_error_is_caught_too(system, library, core, file):
    class Special(core.TessaraError):
        def __str__(self):
            return "special words"

    path = file("a.dat")
    library.fail_at = 4
    library.error = Special("never shown")
    with pytest.raises(core.TessaraError) as failure:
        system.load(path)
    assert type(failure.value) is core.TessaraError
    assert failure.value.args == (f"special words\n{path}",)


def test_error_whose_text_fails_keeps_the_context(system, library, core, file):
    class Special(core.TessaraError):
        def __str__(self):
            raise LookupError("no words")

    library.fail_at = 4
    library.error = Special()
    with pytest.raises(LookupError) as failure:
        system.load(file("a.dat"))
    assert failure.value.__context__ is library.error


def test_error_class_is_taken_from_the_globals(friendly, system, library, core, file, monkeypatch):
    class OtherError(Exception):
        pass

    monkeypatch.setattr(friendly, "TessaraError", OtherError)
    path = file("a.dat")
    library.fail_at = 4
    with pytest.raises(core.TessaraError) as failure:
        system.load(path)
    assert failure.value is library.error

    library.calls.clear()
    library.error = OtherError("o")
    with pytest.raises(OtherError, match=f"o\n{path}"):
        system.load(path)


@pytest.mark.parametrize("error_class", [int, "text", (KeyError, 1)])
def test_error_class_that_is_none_is_refused(
    friendly, system, library, file, monkeypatch, error_class
):
    monkeypatch.setattr(friendly, "TessaraError", error_class)
    library.fail_at = 4
    with pytest.raises(TypeError, match="do not inherit from BaseException") as failure:
        system.load(file("a.dat"))
    assert failure.value.__context__ is library.error


def test_error_class_that_is_missing_is_a_name_error(friendly, system, library, file, monkeypatch):
    monkeypatch.delattr(friendly, "TessaraError")
    library.fail_at = 4
    with pytest.raises(NameError) as failure:
        system.load(file("a.dat"))
    assert str(failure.value) == "name 'TessaraError' is not defined"
    assert failure.value.__context__ is library.error


def test_duplicate_name_leaves_the_new_path(system, library, core, file):
    system.load(file("a.dat"))
    former = system.ts
    library.phs[1].name = "GAS"
    path = file("b.dat")
    with pytest.raises(core.TessaraPyError, match="duplicate phase"):
        system.load(path)
    assert system.current_file_path == path
    assert system.ts is former


@pytest.mark.parametrize("argument", [None, 3, b"a.dat", [], object()])
def test_what_is_no_path_fails_in_path(system, library, argument):
    with pytest.raises(TypeError):
        system.load(argument)
    assert library.calls == []


def test_path_class_is_taken_from_the_globals(friendly, system, library, monkeypatch):
    class Fake:
        suffix = ".dat"

        def __init__(self, given):
            self.given = given

        def exists(self):
            return 1

    monkeypatch.setattr(friendly, "Path", Fake)
    system.load("whatever")
    assert library.of("hxopna")[0][1].given == "whatever"


def test_path_is_formatted_in_the_message_of_a_missing_file(friendly, system, monkeypatch):
    class Fake:
        def __init__(self, given):
            pass

        def exists(self):
            return []

        def __format__(self, specification):
            return f"<{specification}>"

    monkeypatch.setattr(friendly, "Path", Fake)
    with pytest.raises(FileExistsError) as failure:
        system.load("whatever")
    assert failure.value.args == ("<> does not exist",)


def test_second_load_starts_from_nothing(system, library, basic, file):
    system.load(file("a.tdf"))
    first = {name: system.get_index_ph(name) for name in ("GAS", "LIQUID", "Fe2O3")}
    library.phs = library.phs[:1]
    system.load(file("b.dat"))
    with pytest.raises(KeyError):
        system.get_index_ph("LIQUID")
    library.scs, library.phs = basic.iron_oxygen_carbon()
    system.load(file("c.dat"))
    assert {name: system.get_index_ph(name) for name in first} == first


def test_operations_are_looked_up_at_each_call(friendly, system, basic, file, monkeypatch):
    seen = []
    monkeypatch.setattr(basic, "hxini", lambda: seen.append("replaced"))
    system.load(file("a.dat"))
    assert seen == ["replaced"]
    monkeypatch.delattr(basic, "hxini")
    with pytest.raises(AttributeError, match="hxini"):
        system.load(file("a.dat"))
    monkeypatch.delattr(friendly, "basic")
    with pytest.raises(NameError, match="name 'basic' is not defined"):
        system.load(file("a.dat"))
