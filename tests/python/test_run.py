"""The headless runner: exit status and what it writes, by how the script ends."""
import os

import pytest

from conftest import REPO, run_python

# (script text, arguments, exit status, text in stdout, text in stderr)
ENDINGS = [
    ("import qorapi\ndef f():\n    raise ValueError('broken on purpose')\nf()\n", [], 1, "",
     "ValueError: broken on purpose"),
    ("import sys\nprint(sys.argv[1:])\nsys.exit(int(sys.argv[1]))\n", ["3", "x"], 3,
     "['3', 'x']", ""),
    ("import sys\nsys.exit(0)\n", [], 0, "", ""),
    ("import sys\nsys.exit('stopped: no input')\n", [], 1, "", "stopped: no input"),
    ("import os, signal\nos.kill(os.getpid(), signal.SIGINT)\nwhile True: pass\n", [], 130, "",
     "KeyboardInterrupt"),
    (None, [], 2, "", "no such script: /nonexistent/script.py"),
]


def _models():
    """The shared models folder, or None when this machine has none."""
    return next((os.path.join(p, "shared", "data", "models") for p in
                 [os.path.dirname(REPO), os.path.dirname(os.path.dirname(REPO))]
                 if os.path.isdir(os.path.join(p, "shared", "data", "models"))), None)


@pytest.mark.parametrize("text, args, status, out, err", ENDINGS)
def test_exit_status_and_reports(tmp_path, text, args, status, out, err):
    script = tmp_path / "script.py" if text is not None else "/nonexistent/script.py"
    if text is not None:
        script.write_text(text)
    r = run_python(args=["-m", "qorapi.run", str(script)] + args, timeout=30)
    assert r.returncode == status and out in r.stdout and err in r.stderr, r


def test_tour_prints_version_and_constants():
    r = run_python(args=["-m", "qorapi.run", os.path.join(REPO, "examples", "tour.py")])
    assert r.returncode == 0, r
    assert "5.3.21.373382" in r.stdout
    assert "Model_LastModel" in r.stdout and "AppendAutomationNode_VBScript" in r.stdout


def test_scan_document_example_reopens_what_it_saved():
    models = _models()
    if models is None:
        pytest.skip("the shared models are not on this machine")
    r = run_python(args=["-m", "qorapi.run", os.path.join(REPO, "examples", "scan_document.py"), models])
    assert r.returncode == 0, r
    assert "'igea': type 4, 134345 vertices" in r.stdout
    assert "reopened: ['stanford-bunny', 'igea', 'scans']" in r.stdout


def test_selections_example_writes_a_valid_report(tmp_path):
    models = _models()
    if models is None:
        pytest.skip("the shared models are not on this machine")
    import xml.etree.ElementTree as ET
    report = tmp_path / "report.xml"
    r = run_python(args=["-m", "qorapi.run", os.path.join(REPO, "examples", "selections_and_report.py"),
                         os.path.join(models, "stanford-bunny.obj"), str(report)])
    assert r.returncode == 0, r
    items = {e.get("name"): e for e in ET.parse(report).iter("item")}
    count, total = int(items["count"].get("value")), int(items["triangles"].get("value"))
    assert f"{count} of {total} triangles" in r.stdout and abs(count / total - 0.1) < 0.01
    assert [a.get("name") for a in items["bbox"]] == ["XMin", "XMax", "YMin", "YMax", "ZMin", "ZMax"]


def test_features_example_reopens_its_features():
    models = _models()
    if models is None:
        pytest.skip("the shared models are not on this machine")
    r = run_python(args=["-m", "qorapi.run", os.path.join(REPO, "examples", "features.py"), models])
    assert r.returncode == 0, r
    assert "features in the document: 3" in r.stdout and "after newFile: 0 features" in r.stdout
    assert "reopened: 3 features on ['stanford-bunny']" in r.stdout
    assert "PlaneSurface 'base': box" in r.stdout and "ArcCurve 'rim': box" in r.stdout


def test_nurbs_example_builds_evaluates_and_reopens_its_surface():
    models = _models()
    if models is None:
        pytest.skip("the shared models are not on this machine")
    r = run_python(args=["-m", "qorapi.run", os.path.join(REPO, "examples", "nurbs.py"), models])
    assert r.returncode == 0 and "evaluated 40000 points" in r.stdout, r
    assert "largest principal curvature" in r.stdout and "reopened: 1 feature(s)" in r.stdout


def test_surfaces_example_sweeps_a_bunny_slice_and_reopens_every_piece():
    models = _models()
    if models is None:
        pytest.skip("the shared models are not on this machine")
    r = run_python(args=["-m", "qorapi.run", os.path.join(REPO, "examples", "surfaces.py"), models])
    assert r.returncode == 0 and r.stdout.count("3600 points") == 3, r
    assert "closed True, 1 component(s)" in r.stdout, r.stdout
    assert "reopened: 3 feature(s) on ['stanford-bunny', 'bunny slice']" in r.stdout, r.stdout
