"""Fixtures of the tavrel module's tests: the sample installation of the source
tree, read only, and copies of it or of its scenarios in temporary folders for
whatever writes."""

import json
import os
import pathlib
import shutil
import subprocess

import pytest

import tavrel

SOURCE = pathlib.Path(__file__).resolve().parents[2]
SAMPLE = SOURCE / "examples" / "installation"
INSTALLATION = str(SAMPLE / "tavrel.cfg")
COMMON = SAMPLE / "projects" / "common" / "data"
MODEL = str(COMMON / "tools" / "nuro" / "nuro.mdl")
SCRIPTS = SOURCE / "examples" / "scripts"


@pytest.fixture(autouse=True)
def no_installation_from_environment(monkeypatch):
    monkeypatch.delenv("TAVREL_CONFIG", raising=False)


@pytest.fixture(scope="session")
def db():
    return tavrel.Database(INSTALLATION)


@pytest.fixture
def copy(tmp_path, db):
    """A template opened from a copy of a sample scenario (configuration Default)."""

    def make(relative="highway.sce", name=None):
        target = tmp_path / (name or pathlib.PurePath(relative).name)
        shutil.copyfile(COMMON / "scenario" / relative, target)
        return db.open_file(str(target), configuration="Default")

    return make


def tool(*arguments):
    """What the tavrel tool prints on its standard output (skips without the tool)."""
    path = os.environ.get("TAVREL_TOOL")
    if not path:
        pytest.skip("TAVREL_TOOL names no tool to compare with")
    done = subprocess.run([path, *arguments], capture_output=True, text=True, env={**os.environ})
    return done.stdout


def tool_json(*arguments):
    return json.loads(tool(*arguments))


def tool_json_lines(*arguments):
    return [json.loads(line) for line in tool(*arguments).splitlines()]
