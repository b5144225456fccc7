"""The headless runner."""
import os

from conftest import REPO, run_python


def test_tour_prints_version_and_constants():
    r = run_python(args=["-m", "qorapi.run", os.path.join(REPO, "examples", "tour.py")])
    assert r.returncode == 0, r
    assert "5.3.21.373382" in r.stdout
    assert "Model_LastModel" in r.stdout and "AppendAutomationNode_VBScript" in r.stdout


def test_failing_script_exits_non_zero_with_traceback(tmp_path):
    script = tmp_path / "bad.py"
    script.write_text("import qorapi\ndef f():\n    raise ValueError('broken on purpose')\nf()\n")
    r = run_python(args=["-m", "qorapi.run", str(script)])
    assert r.returncode == 1, r
    assert "Traceback" in r.stderr and "ValueError: broken on purpose" in r.stderr


def test_script_exit_codes_and_argv(tmp_path):
    script = tmp_path / "argv.py"
    script.write_text("import sys\nprint(sys.argv[1:])\nsys.exit(int(sys.argv[1]))\n")
    r = run_python(args=["-m", "qorapi.run", str(script), "3", "x"])
    assert r.returncode == 3 and "['3', 'x']" in r.stdout, r
    r = run_python(args=["-m", "qorapi.run", str(script), "0"])
    assert r.returncode == 0


def test_missing_script_is_reported():
    r = run_python(args=["-m", "qorapi.run", "/nonexistent/script.py"])
    assert r.returncode == 2 and "no such script" in r.stderr
