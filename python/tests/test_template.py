"""A template: its node tree and typed parameters, its variadic declarations,
and edits saved to copies of the sample's files."""

import collections
import gc

import pytest

import tavrel
from conftest import INSTALLATION, tool_json


@pytest.fixture(scope="module")
def highway(db):
    return db.open("highway.sce")


@pytest.mark.parametrize("full_id, type_, unit, value, text", [
    ("/sce/Scenario/Environment/speedLimit", "real", "km/h", 130.0, "130.000000"),
    ("/sce/Scenario/Environment/laneCount", "integer", "", 3, "3"),
    ("/sce/Scenario/Environment/rain", "boolean", "", False, "false"),
    ("/sce/Scenario/Environment/roadLabel", "literal", "", "A7", "A7"),
    ("/sce/Scenario/Vehicle[id/@ScenarioTreeValue=2]/initialSpeed", "real", "km/h", 117.0, "117.000000"),
    ('/sce/Scenario/ScenarioScript[scriptName="main"]/Variable[name=2]/value', "boolean", "-", True, "1"),
    ('/sce/Scenario/ScenarioScript[scriptName="events"]/Variable[name=10]/value', "real", "-", 1.5, "1.5"),
])
def test_typed_values(highway, full_id, type_, unit, value, text):
    parameter = highway.get(full_id)
    assert (parameter.full_id, parameter.type, parameter.unit, parameter.text) == (full_id, type_, unit, text)
    assert parameter.value == pytest.approx(value) and type(parameter.value) is type(value)
    assert parameter.has_unit == (unit not in ("", "-"))


def test_types_the_interface_does_not_read(highway):
    friction = highway.get("/sce/Scenario/Environment/friction")
    assert (friction.type, friction.file_type, friction.file_value) == ("unknown", "float", "0.8")
    with pytest.raises(tavrel.Error) as raised:
        friction.value
    assert raised.value.code == -1
    with pytest.raises(tavrel.Error) as raised:
        friction.text


@pytest.mark.parametrize("full_id, message", [
    ("/sce/Scenario", "Invalid parameter id: /sce/Scenario"),
    ("/sce/Scenario/Nowhere/x", "No child element with id=Nowhere"),
    ("/sce/Scenario/Environment/nothing", "nothing"),
])
def test_bad_ids(highway, full_id, message):
    with pytest.raises(tavrel.Error) as raised:
        highway.get(full_id)
    assert raised.value.code == -1 and message in raised.value.message


def test_tree_is_consistent_and_matches_the_tool(highway):
    nodes = highway.nodes()
    assert nodes[0] == highway.root and highway.root.parent is None
    # Siblings may share an id (two ranges); an id then finds the first.
    ids = collections.Counter(node.node_id for node in nodes)
    unique = lambda node: node is None or (ids[node.node_id] == 1 and unique(node.parent))
    for node in nodes:
        for child in node.children:
            assert child.parent == node and child.node_id == node.node_id + "/" + child.id
        for parameter in node.parameters:
            assert parameter.node == node
            assert not unique(node) or highway.get(parameter.full_id) == parameter
    environment = highway.root.child("Environment")
    assert environment.parameter("laneCount").value == 3
    with pytest.raises(tavrel.Error):
        environment.child("Nothing")
    shown = tool_json("show", "highway.sce", "--json", "--installation", INSTALLATION)
    assert highway.describe() == shown
    assert highway.describe_variadics() == shown["variadicParameters"]


def test_owned_objects_keep_their_template_alive(db):
    template = db.open("highway.sce")
    parameter = template.get("/sce/Scenario/Environment/speedLimit")
    node = template.root.child("Environment")
    variadic = template.variadics[0]
    del template
    gc.collect()
    assert parameter.value == 130.0
    assert node.parameter("laneCount").value == 3
    assert (variadic.name, variadic.target_parameter) == ("Speed limit", parameter)


def test_variadics_read(highway):
    speed, rain, lane, label = highway.variadics
    assert (speed.type, speed.unit, speed.default, speed.ranges) == ("real", "km/h", 130.0, [(30, 70), (90, 130)])
    assert (rain.type, rain.default, rain.ranges, rain.literals) == ("boolean", False, [], [])
    assert (lane.type, lane.default, lane.ranges, lane.index) == ("integer", 1, [(1, 3)], 2)
    assert (label.type, label.default, label.literals) == ("literal", "A7", ["A7", "B12"])
    assert label.describe() == highway.describe_variadics()[3]
    assert all(v.target_found for v in highway.variadics)


@pytest.mark.parametrize("arguments, described", [
    (dict(name="Lanes", target="/sce/Scenario/Environment/laneCount", type="integer", default=2,
          ranges=[(3, 4), "1:2"], description="How many"),
     {"type": "integer", "default": 2, "ranges": [{"minimum": 3, "maximum": 4}, {"minimum": 1, "maximum": 2}]}),
    (dict(name="Speed", target="/sce/Scenario/Environment/speedLimit", type="real", default=0.1,
          ranges=[(-0.5, 1e-05)], unit="km/h"),
     {"type": "real", "unit": "km/h", "default": 0.1, "ranges": [{"minimum": -0.5, "maximum": 1e-05}]}),
    (dict(name="Wet", target="/sce/Scenario/Environment/rain", type="boolean", default=True),
     {"type": "boolean", "default": True}),
    (dict(name="Sign", target="/sce/Scenario/Environment/roadLabel", type="literal", default="A7",
          literals=["A7", "A8"]),
     {"type": "literal", "default": "A7", "literals": ["A7", "A8"]}),
])
def test_add_variadic_saves_what_reads_back(copy, db, arguments, described):
    template = copy()
    added = template.add_variadic(**arguments)
    assert added.index == 4 and added.name == arguments["name"]
    template.save()
    reread = db.open_file(template.file_path, configuration="Default").describe_variadics()[4]
    assert {key: reread[key] for key in described} == described
    assert reread["targetFound"] and reread["target"] == arguments["target"]


@pytest.mark.parametrize("arguments, message", [
    (dict(target="/sce/Scenario/Environment/nothing", type="integer", default=1), "No child parameter"),
    (dict(target="/sce/Scenario", type="integer", default=1), "Invalid parameter id"),
    (dict(type="decimal", default=1), "Invalid type"),
    (dict(type="boolean", default=True, ranges=[(0, 1)]), "Ranges need the type integer or real"),
    (dict(type="integer", default=1, literals=["x"]), "Literals need the type literal"),
    (dict(type="integer", default=2.5), "Invalid integer default"),
    (dict(type="integer", default=1, ranges=["1-2"]), "Invalid range"),
    (dict(type="boolean", default="maybe"), "Invalid boolean default"),
])
def test_add_variadic_refuses_before_changing_anything(copy, db, arguments, message):
    template = copy()
    before = template.describe()
    arguments = {"name": "X", "target": "/sce/Scenario/Environment/laneCount", **arguments}
    with pytest.raises(tavrel.Error) as raised:
        template.add_variadic(**arguments)
    assert message in raised.value.message and raised.value.code == -1
    template.save()
    after = db.open_file(template.file_path, configuration="Default").describe()
    assert after == dict(before, file=template.file_path)


def test_remove_clear_and_stale_declarations(copy, db):
    template = copy()
    first, second = template.variadics[:2]
    node = template.root.child("VariadicParameter")
    template.remove_variadic(0)
    # The library's tree keeps a node over the removed section: it is not read again.
    for read in (lambda: node.name, lambda: template.get("/sce/Scenario/Environment/rain"), template.domains):
        with pytest.raises(tavrel.Error, match="out of date"):
            read()
    assert second.index == 0 and second.name == "Rain"
    with pytest.raises(tavrel.Error) as raised:
        first.name
    assert raised.value.code == 4 and "removed" in repr(first)
    with pytest.raises(tavrel.Error) as raised:
        template.remove_variadic(3)
    assert raised.value.code == 4
    template.save()
    assert [v["name"] for v in db.open_file(template.file_path).describe_variadics()] == \
        ["Rain", "Start lane", "Road label"]
    template.clear_variadics()
    template.save()
    cleared = db.open_file(template.file_path)
    assert (cleared.variadics, cleared.description) == ([], "")


def test_name_description_and_save_as(copy, db, tmp_path):
    template = copy()
    template.name = "Renamed"
    template.description = "Changed"
    written = template.save("renamed.sce")
    assert written == str(tmp_path / "renamed.sce") and template.path == "renamed.sce"
    reread = db.open_file(written)
    assert (reread.name, reread.description) == ("Renamed", "Changed")
    assert db.open_file(str(tmp_path / "highway.sce")).name == "Highway"
    with pytest.raises(tavrel.Error) as raised:
        template.save("missing/folder/x.sce")
    assert "could not be saved" in raised.value.message
