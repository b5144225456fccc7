"""Shared fixtures. A service missing at its first lookup stays missing for the process,
so every test that needs another host runs its snippet in a fresh interpreter."""
import os
import subprocess
import sys
import textwrap

import pytest

REPO = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))


def run_python(code=None, args=None, profile="full", env=None, timeout=120):
    """Runs `code` (or `args`) in a fresh /usr/bin/python3 with the given host profile; the
    outcome's repr shows its exit status, stdout and stderr."""
    e = dict(os.environ)
    e["BRINDLE_HOST_PROFILE"] = profile
    e.setdefault("BRINDLE_SETTINGS", "")
    if env:
        e.update(env)
    cmd = [sys.executable]
    if code is not None:
        cmd += ["-c", textwrap.dedent(code)]
    if args:
        cmd += list(args)
    return subprocess.run(cmd, capture_output=True, text=True, env=e, timeout=timeout, cwd=REPO)


@pytest.fixture(scope="session")
def module_path():
    """Path of the built _brindle extension."""
    import importlib.util

    found = importlib.util.find_spec("_brindle")
    assert found is not None and found.origin, "_brindle is not on sys.path"
    return found.origin
