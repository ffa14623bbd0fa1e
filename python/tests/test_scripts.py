"""Scripts read, checked and run as the tool's script commands do, and model
assertions reported instead of ending the interpreter."""

import pytest

import tavrel
from conftest import COMMON, INSTALLATION, MODEL, SCRIPTS, tool, tool_json_lines

NURO = COMMON / "tools" / "nuro"
CROSSING, TRACE = str(SCRIPTS / "crossing.sc"), str(SCRIPTS / "crossing.csv")


def listing(item, depth=0):
    """The tree as `script parse --evaluate` prints it, one item a line."""
    line = "  " * depth + f'{item["kind"]} ({item["name"]}) "{item["label"]}"'
    if item["display"] and item["display"] != item["label"]:
        line += "  | " + item["display"]
    if "value" in item:
        line += "  = %g" % item["value"]
    if "problem" in item:
        line += "  = " + item["problem"]
    yield line
    for child in item["children"]:
        yield from listing(child, depth + 1)


@pytest.mark.parametrize("script", ["sample.scr", "exercise.scr"])
def test_parse_matches_the_tool(script):
    parsed = tavrel.parse_script(str(NURO / script), root_model=MODEL, evaluate=True)
    printed = tool("script", "parse", str(NURO / script), "--root-model", MODEL, "--evaluate")
    assert list(listing(parsed["tree"])) == printed.splitlines()
    assert all(m["severity"] not in ("warning", "error") for m in parsed["messages"])


def test_parse_saves_what_reads_back(tmp_path):
    saved = tmp_path / "saved.scr"
    first = tavrel.parse_script(str(NURO / "exercise.scr"), root_model=MODEL, save=str(saved))
    assert saved.read_bytes().count(b"\r\n") > 10
    assert tavrel.parse_script(str(saved), root_model=MODEL)["tree"] == first["tree"]


@pytest.mark.parametrize("text, message", [
    ("TYPEOF FOLDER (X)\r\n{\r\n\tNOBODY=\"x\"\r\n}\r\n", "row 3"),
    ("", "is empty"),
])
def test_parse_failures_carry_the_readers_message(tmp_path, text, message):
    broken = tmp_path / "broken.scr"
    broken.write_text(text)
    with pytest.raises(tavrel.Error) as raised:
        tavrel.parse_script(str(broken))
    assert raised.value.code == -1 and message in raised.value.message
    with pytest.raises(tavrel.Error, match="no root model"):
        tavrel.parse_script(str(NURO / "sample.scr"), root_model=str(broken))


def test_model_assertion_becomes_an_error_and_the_module_goes_on(tmp_path):
    token = tmp_path / "token.scr"
    token.write_bytes(b"TYPEOF TOKEN (t)\r\n{\r\n}\r\n")
    for _ in range(2):
        with pytest.raises(tavrel.Error) as raised:
            tavrel.parse_script(str(token))
        assert (raised.value.message, raised.value.code) == ("ScenarioItem:122: internal assertion failed", -1)
    assert tavrel.parse_script(str(NURO / "sample.scr"), root_model=MODEL, evaluate=True)["tree"]["name"] == "SAMPLE"


def test_check_matches_the_tool():
    findings = tavrel.check_script(CROSSING, MODEL)
    printed = tool_json_lines("script", "check", CROSSING, "--root-model", MODEL, "--json")
    assert findings == printed[:-1] and printed[-1]["summary"]["invalid"] == len(findings)
    assert findings[0]["kind"] == "INCLUDE" and findings[0]["row"] == 8


def test_check_scenario_scripts(db):
    assert db.check_scripts("highway.sce") == []
    with pytest.raises(tavrel.Error) as raised:
        db.check_scripts("fog/broken_script.sce", configuration="Training")
    assert raised.value.message.endswith("broken_script.sce:12: error: script cut doesn't read")
    with pytest.raises(tavrel.Error) as raised:
        db.check_scripts("nope.sce")
    assert raised.value.code == 24


@pytest.mark.parametrize("arguments", [(CROSSING, "/nonexistent.mdl"), ("/nonexistent.sc", MODEL)])
def test_check_of_what_does_not_load(arguments):
    with pytest.raises(tavrel.Error, match="unable to load"):
        tavrel.check_script(*arguments)


def test_run_matches_the_tool_and_leaves_the_tables_clean():
    ran = tavrel.run_script(CROSSING, MODEL, signals=TRACE)
    printed = tool_json_lines("script", "run", CROSSING, "--root-model", MODEL, "--signals", TRACE, "--json")
    assert ran["events"] == printed[:-1] and ran["summary"] == printed[-1]["summary"]
    assert ran["summary"]["tasks"][0] == {"path": "CROSSING", "state": -3, "steps": 118}
    short = tavrel.run_script(CROSSING, MODEL, until=0.5, step=0.25)
    assert (short["summary"]["steps"], short["summary"]["time"]) == (3, 0.5)
    # The run's host entries are gone: calls evaluate with the default table again.
    tree = tavrel.parse_script(str(NURO / "sample.scr"), root_model=MODEL, evaluate=True)["tree"]
    assert tree["children"][0]["problem"] == "no run-time entry for CODE 1"


@pytest.mark.parametrize("arguments, message", [
    (dict(signals="MISSING"), "missing signal vehicle_stopped (read by IS_VEHICLE_STOPPED)"),
    (dict(), "give signals or until"),
    (dict(until=1.0, step=0), "step must be above 0"),
    (dict(file=str(NURO / "exercise.scr"), until=1.0), "the top item is a TASK, not a SCENARIO"),
    (dict(root_model=str(SCRIPTS / "crossing.csv"), until=1.0), "is no root model"),
])
def test_run_refusals(tmp_path, arguments, message):
    if arguments.get("signals") == "MISSING":
        trace = tmp_path / "trace.csv"
        trace.write_text("time,light_green\n0,1\n1,0\n")
        arguments["signals"] = str(trace)
    arguments = {"file": CROSSING, "root_model": MODEL, **arguments}
    with pytest.raises(tavrel.Error) as raised:
        tavrel.run_script(**arguments)
    assert message in raised.value.message and raised.value.code == -1


def test_scripts_of_a_template_are_nodes(db):
    main = db.open("highway.sce").root.child('ScenarioScript[scriptName="main"]')
    assert {p.id: p.value for p in main.parameters} == {
        "Variable[name=1]/value": 90.0, "Variable[name=2]/value": True,
        "Variable[name=3]/value": 25, "Variable[name=4]/value": "Keep right"}
    assert main.children == []
