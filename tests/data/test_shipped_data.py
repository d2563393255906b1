"""The shipped data files and their sources, as the package hands them out."""

import pytest

from tessara import data


def test_names_are_those_of_the_files():
    assert data.names() == ("ironmaking",)


def test_path_is_that_of_a_data_file():
    assert data.path() == data.path("ironmaking")
    assert data.path().read_text(encoding="ascii").startswith("Fe-C-O-H-N-Ca-Si-Al-Mg")


@pytest.mark.parametrize("call", [data.path, data.sources])
@pytest.mark.parametrize("name", ["steel", "", "../ironmaking", "ironmaking.dat", None, 3])
def test_unknown_name_is_refused_and_the_known_ones_are_named(call, name):
    with pytest.raises(ValueError, match="there is ironmaking"):
        call(name)


def test_sources_name_publication_and_place():
    source = data.sources()["dinsdale1991"]
    assert source.reference == "A. T. Dinsdale, CALPHAD 15 (1991) 317-425"
    assert source.read_in.startswith("open database for cast iron")
    assert source.licence.startswith("CC BY 4.0")


def test_sources_may_be_changed_by_the_caller_without_effect():
    data.sources().clear()
    assert data.sources()
