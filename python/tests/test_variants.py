"""Variants of a template: its domains, one variant written, and sets written
as `tavrel variants` writes them."""

import os

import pytest

import tavrel
from conftest import INSTALLATION, tool_json

SPEED, RAIN = "/sce/Scenario/Environment/speedLimit", "/sce/Scenario/Environment/rain"
LANE, LABEL = "/sce/Scenario/Vehicle[id/@ScenarioTreeValue=1]/lane", "/sce/Scenario/Environment/roadLabel"


@pytest.fixture(scope="module")
def highway(db):
    return db.open("highway.sce")


def test_domains_follow_the_declarations(highway):
    domains = highway.domains()
    assert [(d["name"], d["target"], d["type"], d["default"]) for d in domains] == [
        (v.name, v.target, v.type, v.default) for v in highway.variadics]
    assert domains[0]["ranges"] == [(30.0, 70.0), (90.0, 130.0)] and domains[0]["unit"] == "km/h"
    assert domains[3]["literals"] == ["A7", "B12"]


@pytest.mark.parametrize("values", [
    [50.5, True, 3, "B12"],
    {"Road label": "B12", "Start lane": 3, "Rain": True, "Speed limit": 50.5},
])
def test_write_variant_sets_each_target(highway, db, tmp_path, values):
    path = tmp_path / "variant.sce"
    highway.write_variant(values, str(path))
    variant = db.open_file(str(path), configuration="Default")
    assert variant.get(SPEED).value == pytest.approx(50.5)
    assert (variant.get(RAIN).value, variant.get(LANE).value, variant.get(LABEL).value) == (True, 3, "B12")
    assert variant.variadics == [] and highway.get(SPEED).value == 130.0


@pytest.mark.parametrize("values, code", [
    ([50.5, "yes", 3, "B12"], 32),              # a text for a boolean
    ([80.0, True, 3, "B12"], 4),                # between the ranges
    ([50.5, True, 4, "B12"], 4),                # above the range
    ([50.5, True, 3, "C3"], 4),                 # not a literal
    ([50.5, True, 3], 4),                       # one missing
    ({"Speed limit": 50.5, "Rain": True, "Start lane": 3}, 4),
    ({"Speed limit": 50.5, "Rain": True, "Start lane": 3, "Road label": "A7", "Other": 1}, 4),
])
def test_write_variant_refuses_and_writes_nothing(highway, tmp_path, values, code):
    path = tmp_path / "variant.sce"
    with pytest.raises(tavrel.Error) as raised:
        highway.write_variant(values, str(path))
    assert raised.value.code == code
    assert not path.exists()


def test_grid_matches_the_tool(db, tmp_path):
    crossing = db.open("city/crossing.sce")
    written = tavrel.generate_variants(crossing, str(tmp_path / "ours"), mode="grid", steps=2)
    theirs = tool_json("variants", "city/crossing.sce", "--grid", "--steps", "2", "--json",
                       "--out", str(tmp_path / "theirs"), "--installation", INSTALLATION)["variants"]
    assert [v["values"] for v in written] == [v["values"] for v in theirs]
    assert len(written) == 8 and written[1]["values"] == {"Speed limit": 30.0, "Rain": True}
    for ours, tools in zip(written, theirs):
        assert open(ours["file"], "rb").read() == open(tools["file"], "rb").read()
    assert sorted(os.listdir(tmp_path / "ours"))[-1] == "variants.csv"


def test_random_draws_repeat_with_their_seed(highway, tmp_path):
    first = tavrel.generate_variants(highway, str(tmp_path / "a"), mode="random", count=5, seed=7)
    again = tavrel.generate_variants(highway, str(tmp_path / "b"), mode="random", count=5, seed=7)
    assert len(first) == 5 and [v["values"] for v in first] == [v["values"] for v in again]
    defaults = tavrel.generate_variants(highway, str(tmp_path / "c"))
    assert [v["values"] for v in defaults] == [{"Speed limit": 130.0, "Rain": False, "Start lane": 1,
                                                "Road label": "A7"}]


@pytest.mark.parametrize("arguments", [dict(mode="grid", max=10), dict(mode="sometimes"), dict(mode="grid", steps=1)])
def test_refused_plans_leave_the_folder_as_it_was(highway, tmp_path, arguments):
    with pytest.raises(tavrel.Error) as raised:
        tavrel.generate_variants(highway, str(tmp_path), **arguments)
    assert raised.value.code == -1 and os.listdir(tmp_path) == []
