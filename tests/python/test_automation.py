"""Automation commands against the reference host's workflow and script engine."""
import json

import pytest

import qorapi
import _brindle
from qorapi import host
from conftest import run_python

LANGUAGES = ["JavaScript", "Python", "Python3", "V8", "JScript", "VBScript"]


@pytest.fixture(autouse=True)
def fresh_workflow():
    host.set_workflow_state()
    host.clear_workflow()
    host.clear_call_log()
    yield
    host.set_workflow_state()


def test_activities_reach_the_workflow_in_order(tmp_path):
    node = qorapi.AppendAutomationNode()
    assert (node.ignore, node.notes, node.language, node.text) == (False, "", 1, "")
    assert node.type_string() == "qorapi.datamodel.DataObject"
    before = host.service_lookups("IQorWorkflowManager")
    with pytest.raises(RuntimeError, match=r"^Error in class AutomationSupport: variable text cannot be empty\.\.$"):
        node.run()
    assert host.service_lookups("IQorWorkflowManager") == before
    qorapi.AppendAutomationNode(text="a = 1").run()
    assert host.call_log() == ["activity.setIgnore 0", "activity.setNotes ", "activity.setLanguage Python",
                               "activity.setText a = 1"]
    for language in range(6):
        qorapi.AppendAutomationNode(text=f"t{language}", notes="n", ignore=True, language=language).run()
    for bad in (-1, 6):
        with pytest.raises(RuntimeError, match=f"language {bad} is not one of 0 to 5"):
            qorapi.AppendAutomationNode(text="x", language=bad).run()
    host.save_workflow(str(tmp_path / "flow.json"))
    saved = json.loads((tmp_path / "flow.json").read_text())["activities"]
    assert saved[0] == {"ignore": False, "notes": "", "language": "Python", "text": "a = 1"}
    assert saved[1:] == [{"ignore": True, "notes": "n", "language": name, "text": f"t{i}"}
                         for i, name in enumerate(LANGUAGES)]


@pytest.mark.parametrize("state, text", [
    ({"open": False}, "Current workflow could not be loaded."),
    ({"creation_fails": True}, "Error creating new macro activity."),
])
def test_workflow_refusals(state, text):
    host.set_workflow_state(**state)
    with pytest.raises(RuntimeError, match=f"^Error in class AutomationSupport: {text}\\.$"):
        qorapi.AppendAutomationNode(text="x").run()
    assert host.workflow_activities() == []


def test_run_script_changes_the_document_and_survives_a_failure(tmp_path):
    (tmp_path / "group.py").write_text(
        "import qorapi\nqorapi.Application.instance().newGroup("
        "'inside' if qorapi.host.script_active() else 'outside')\n")
    (tmp_path / "bad.py").write_text("raise KeyError('lost')\n")
    host.settings_set_string("Directories/Scripts Directory", str(tmp_path))
    command = qorapi.RunScript(scriptName="group.py")
    assert command.name() == "RunScript" and command.run() is None
    assert qorapi.Application.instance().getModelByName("inside") is not None
    assert not host.script_active()
    with pytest.raises(RuntimeError, match=r"^Error in class RunScript: script .*bad\.py failed: "
                                           r"KeyError: 'lost'\.$"):
        command.run("bad.py")
    assert command.scriptName == "group.py"
    assert any("Traceback" in line and "KeyError" in line for _, line in host.log_lines())
    assert [line for line in host.call_log() if line.startswith("engine")] == [
        "engine.runScript group.py []", "engine.runScript bad.py []"]
    with pytest.raises(RuntimeError, match=r"^Error in class RunScript: script name empty or not set\.\.$"):
        qorapi.RunScript().run()
    with pytest.raises(NotImplementedError):
        _brindle.RunScript_run(command, "group.py")
    with pytest.raises(ValueError, match="invalid null reference"):
        _brindle.RunScript_run(command, None)


@pytest.mark.parametrize("service, code, text", [
    ("IQorWorkflowManager", "qorapi.AppendAutomationNode(text='x').run()",
     "Error in class AutomationSupport: Workflow manager could not be loaded.."),
    ("IScriptEngine", "qorapi.RunScript(scriptName='s.py').run()",
     "Error in class RunScript: Failed to load script engine.."),
])
def test_missing_services(service, code, text):
    r = run_python(f"""
import qorapi
from qorapi import _testing
_testing.set_service_mode({service!r}, "absent")
try:
    {code}
except RuntimeError as e:
    print(e)
""")
    assert r.returncode == 0 and r.stdout.strip() == text, r
