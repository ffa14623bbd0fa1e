"""The installation as a database: opening, the directory tree, browse, and
finding templates by path."""

import shutil

import pytest

import tavrel
from conftest import INSTALLATION, SAMPLE, tool_json


def tree(directory):
    """The tree as browse --json gives it, rebuilt from Directory objects."""
    if directory.kind == "scenarios":
        return {"path": directory.path, "scenarios": [t.path for t in directory.scenarios]}
    return {directory.name: [tree(child) for child in directory.directories]}


def browsed(result):
    return {result["installation"]: [
        {v["version"]: [{c["name"]: [{"path": d["path"], "scenarios": [s["path"] for s in d["scenarios"]]}
                                     for d in c["directories"]]}
                        for c in v["configurations"]]}
        for v in result["versions"]]}


def test_default_installation_is_environment_then_sample(monkeypatch, tmp_path):
    assert tavrel.resolve_installation() == INSTALLATION
    assert tavrel.Database().installation == INSTALLATION
    monkeypatch.setenv("TAVREL_CONFIG", str(tmp_path / "elsewhere.cfg"))
    assert tavrel.resolve_installation() == str(tmp_path / "elsewhere.cfg")
    assert tavrel.resolve_installation("given.cfg") == "given.cfg"


def test_walk_matches_browse_and_the_tool(db):
    walked = tree(db.root)
    assert walked == browsed(db.browse())
    assert db.browse() == tool_json("browse", "--json", "--installation", INSTALLATION)
    assert db.browse(names=True) == tool_json("browse", "--json", "--names", "--installation", INSTALLATION)
    versions = db.root.directories
    assert [v.name for v in versions] == ["2.4.1", "3.0"]
    assert [c.name for c in versions[0].directories] == ["Default", "Night Driving"]
    # The configuration with an unreadable version (Legacy) stays out.
    assert "Legacy" not in str(walked)


def test_scenario_directories_are_named_after_their_own_configuration(db):
    # Listing another configuration between two uses must not rename a directory.
    default = db.root.directories[0].directories[0]
    training = db.root.directories[1].directories[0]
    first = default.directories[1]
    assert training.directories[1].path.endswith("projects/rural")
    assert first.path.endswith("projects/urban")
    assert [t.path for t in first.scenarios][:2] == ["downtown.sce", "parking.sce"]
    assert first.scenario(0).configuration == "Default"
    assert (first.directory_count, first.scenario_count) == (0, 4)


@pytest.mark.parametrize("version, configuration, uri, configurations", [
    ("*", "*", "tavrel://${TAVREL_HOME}/tavrel.cfg", ["Default", "Night Driving", "Training"]),
    ("3.0", "*", "tavrel://${TAVREL_HOME}/tavrel.cfg?version=3.0", ["Training"]),
    ("*", "Night Driving", "tavrel://${TAVREL_HOME}/tavrel.cfg?config=Night Driving", ["Night Driving"]),
])
def test_filters(version, configuration, uri, configurations):
    filtered = tavrel.Database(INSTALLATION, version=version, configuration=configuration)
    assert filtered.uri == uri
    assert [c.name for v in filtered.root.directories for c in v.directories] == configurations


def test_open_by_path_and_configuration(db):
    assert db.current_configuration == "Default"
    highway = db.open("highway.sce")
    assert (highway.path, highway.configuration, highway.name) == ("highway.sce", "Default", "Highway")
    assert highway.file_path == str(SAMPLE / "projects/common/data/scenario/highway.sce")
    assert db.open("fog/deer.sce", configuration="Training").name == "Deer"


@pytest.mark.parametrize("open_, code", [
    (lambda db: db.open("nope.sce"), 24),
    (lambda db: db.open("fog/deer.sce"), 24),  # not in Default's data path
    (lambda db: db.open("tractors.sce", configuration="Training").name, 24),  # broken on purpose
    (lambda db: db.open_file("/nonexistent/x.sce"), 24),
    (lambda db: db.root.directories[0].directories[0].directory(9), -1),
    (lambda db: tavrel.Database("/nonexistent/tavrel.cfg"), -1),
])
def test_errors_carry_message_and_code(db, open_, code):
    with pytest.raises(tavrel.Error) as raised:
        open_(db)
    assert raised.value.code == code
    assert raised.value.message and raised.value.args == (raised.value.message, code)


def test_missing_data_folder_and_two_installations_side_by_side(tmp_path, db):
    shutil.copytree(SAMPLE, tmp_path / "installation")
    shutil.rmtree(tmp_path / "installation" / "projects" / "urban")
    copied = tavrel.Database(str(tmp_path / "installation" / "tavrel.cfg"))
    with pytest.raises(tavrel.Error) as raised:
        tavrel.Database(copied.installation, configuration="Default")
    assert raised.value.code == 16 and "projects/urban" in raised.value.message
    # A template of each, used in turn: each reads through its own installation.
    theirs, ours = copied.open("fog/deer.sce", "Training"), db.open("highway.sce")
    assert theirs.file_path.startswith(str(tmp_path)) and theirs.name == "Deer"
    assert ours.name == "Highway" and ours.get("/sce/Scenario/Environment/laneCount").value == 3
    assert copied.root.directories[1].directories[0].directories[1].path.startswith(str(tmp_path))
