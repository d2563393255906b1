"""The two targets that calculations with streams have, and their former names."""

import warnings

import pytest

TARGETS = {"set_target_formation_of_ph": 0.0, "set_target_precipitation_from_ph": -1.0}
FORMER = {
    "set_tg_formation_of_ph": (
        "set_target_formation_of_ph",
        "This function is renamed to `set_target_formation_of_ph`. "
        "`set_tg_formation_of_ph` will be removed in a future version.",
    ),
    "set_tg_precipitation_from_ph": (
        "set_target_precipitation_from_ph",
        "This function is renamed to `set_target_precipitation_from_ph`. "
        "`set_tg_precipitation_from_ph` will be removed in a future version.",
    ),
}


@pytest.mark.parametrize("ph", ["Fe2O3", 2])
def test_target_is_a_condition_on_the_amount_of_a_phase(streams, loaded, core, ph):
    loaded.instead["hxstec"] = lambda *arguments: 17
    assert streams._set_target_ph(ph, 3) is None
    assert loaded.calls == [("hxstec", core.ConditionVariable.A, 2, 3.0)]
    call = loaded.calls[0]
    assert call[1] is core.ConditionVariable.A
    assert [type(part) for part in call[2:]] == [int, float]


@pytest.mark.parametrize("ph", ["LIQUID", 1])
@pytest.mark.parametrize(("name", "value"), TARGETS.items())
def test_setter_has_its_value(streams, loaded, core, name, value, ph):
    assert getattr(streams, name)(ph) is None
    assert loaded.calls == [("hxstec", core.ConditionVariable.A, 1, value)]
    assert type(loaded.calls[0][3]) is float


@pytest.mark.parametrize(("name", "value"), TARGETS.items())
def test_setter_goes_through_cls_and_returns_what_comes(streams, library, name, value):
    ph = object()

    class Mine(streams):
        _set_target_ph = classmethod(lambda cls, *arguments: (cls, *arguments))

    assert getattr(Mine, name)(ph) == (Mine, ph, value)
    assert library.calls == []


@pytest.mark.parametrize("name", TARGETS)
@pytest.mark.parametrize("ph", ["SLAG", 3, -1])
def test_unknown_phase_is_a_key_error(streams, loaded, core, name, ph):
    with pytest.raises(KeyError) as failure:
        getattr(streams, name)(ph)
    assert failure.value.args == (ph,)
    assert not isinstance(failure.value, core.TessaraPyError)
    assert loaded.calls == []


@pytest.mark.parametrize("name", TARGETS)
def test_refusal_of_the_library_passes(streams, loaded, core, name):
    loaded.fail_at = 1
    with pytest.raises(core.TessaraError) as failure:
        getattr(streams, name)("GAS")
    assert failure.value is loaded.error


def test_condition_variable_is_fetched_after_the_phase(friendly, streams, loaded, monkeypatch):
    monkeypatch.delattr(friendly, "ConditionVariable")
    with pytest.raises(KeyError):
        streams._set_target_ph("SLAG", 0.0)
    with pytest.raises(NameError, match="ConditionVariable"):
        streams._set_target_ph("GAS", 0.0)


def test_value_that_is_no_number_is_refused_first(streams, library):
    with pytest.raises(TypeError, match="must be real number"):
        streams._set_target_ph("no phase", None)


def test_streams_have_no_other_targets(streams):
    targets = {name for name in dir(streams) if name.startswith(("set_target_", "set_tg_"))}
    assert targets == {*TARGETS, *FORMER}


# Former names.


@pytest.mark.parametrize(("name", "expected"), FORMER.items())
def test_former_name_warns_and_sets(streams, loaded, core, name, expected):
    successor, message = expected
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        assert getattr(streams, name)("GAS") is None
    assert [(str(w.message), w.category) for w in caught] == [(message, DeprecationWarning)]
    assert caught[0].filename == __file__
    assert loaded.calls == [("hxstec", core.ConditionVariable.A, 0, TARGETS[successor])]


@pytest.mark.parametrize(("name", "expected"), FORMER.items())
def test_warning_has_two_arguments_and_goes_first(friendly, streams, loaded, name, expected):
    successor, message = expected

    class Warnings:
        @staticmethod
        def warn(*arguments, **keywords):
            loaded.calls.append(("warn", arguments, keywords))

    class Mine(streams):
        pass

    def set_target(cls, *arguments):
        loaded.calls.append((successor, cls, *arguments))
        return "what comes"

    setattr(Mine, successor, classmethod(set_target))
    friendly.warnings = Warnings
    ph = object()
    assert getattr(Mine, name)(ph) == "what comes"
    assert loaded.calls == [
        ("warn", (message, DeprecationWarning), {}),
        (successor, Mine, ph),
    ]


@pytest.mark.parametrize("name", FORMER)
def test_warning_that_is_an_exception_keeps_the_target_from_being_set(streams, loaded, name):
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        with pytest.raises(DeprecationWarning, match=name):
            getattr(streams, name)("GAS")
    assert loaded.calls == []


@pytest.mark.parametrize("name", FORMER)
def test_unknown_phase_of_a_former_name_warns_first(streams, loaded, name):
    with pytest.warns(DeprecationWarning, match=name), pytest.raises(KeyError):
        getattr(streams, name)("SLAG")


@pytest.mark.parametrize("name", FORMER)
def test_missing_argument_of_a_former_name_does_not_warn(streams, library, name):
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        with pytest.raises(TypeError, match=rf"{name}\(\) takes exactly 2 positional"):
            getattr(streams, name)()


@pytest.mark.parametrize(("name", "expected"), FORMER.items())
def test_former_name_says_what_to_use(streams, name, expected):
    text = getattr(streams, name).__doc__.split("\n\n", 1)[1]
    assert text.startswith("FutureWarning")
    assert f"`{expected[0]}`" in text


def test_category_is_fetched_from_the_module_at_the_time_of_the_call(friendly, streams, loaded):
    friendly.DeprecationWarning = UserWarning
    with pytest.warns(UserWarning, match="renamed"):
        streams.set_tg_formation_of_ph("GAS")
