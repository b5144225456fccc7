"""The typed stubs. The generator maps the C++ types SWIG reports through its table and
refuses a type it doesn't know, naming the function; the stubs give each native function
the parameters of SWIG's own signature text. (mypy's stubtest, a ctest entry, compares
every stub with its module: names everywhere, full signatures where Python can read them.)"""
import ast
import os
import re
import shutil
import subprocess
import sys
import types

import pytest

from qorapi import _qorapi, host  # boots the host before _brindle
import _brindle
from conftest import REPO


@pytest.mark.parametrize("declaration, expected", [
    ("double f(int a, QorString const &b, bool c, char const *d, PyObject *e, float g);",
     "def f(a: int, b: str, c: bool, d: str, e: Any, g: float, /) -> float: ..."),
    ("QorString f(QorCString const &lambda); void f();",
     "@overload\ndef f(lambda_: str, /) -> str: ...\n@overload\ndef f() -> None: ..."),
    ("long double f(int a);", "f returns 'long double', a type the stub table doesn't know"),
    ("void f(int a, QorCString *b);", "f takes (b) 'QorCString *', a type"),
    ("struct Gauge { int read() const; };", "Gauge_read takes a Gauge, a class no proxy"),
])
def test_generator_types_or_refuses(tmp_path, declaration, expected):
    (tmp_path / "p.i").write_text(
        '%module p\n%include "module/binding.swg"\n%inline %{\n' + declaration + "\n%}\n")
    subprocess.run([shutil.which("swig"), "-c++", "-python", f"-I{REPO}/src", f"-I{REPO}",
                    "-xmlout", "p.xml", "-o", "p.cxx", "p.i"], cwd=tmp_path, check=True)
    ran = subprocess.run([sys.executable, os.path.join(REPO, "cmake", "gen_stub.py"), "p.xml",
                          "p.pyi"], cwd=tmp_path, capture_output=True, text=True)
    if not expected.startswith(("def", "@")):
        assert ran.returncode == 1 and expected in ran.stderr, ran.stderr
    else:
        assert ran.returncode == 0, ran.stderr
        assert expected in (tmp_path / "p.pyi").read_text()


@pytest.mark.parametrize("module", [_brindle, _qorapi, host], ids=lambda m: m.__name__)
def test_native_functions_have_swigs_parameters(module):
    with open(os.path.splitext(module.__file__)[0] + ".pyi", encoding="utf-8") as f:
        tree = ast.parse(f.read())
    stub = {}
    for node in tree.body:
        if isinstance(node, ast.FunctionDef):
            args = node.args.posonlyargs + node.args.args
            stub.setdefault(node.name, set()).add(tuple(a.arg.rstrip("_") for a in args))
    checked = 0
    for name, forms in stub.items():
        native = getattr(module, name)
        texts = re.findall(r"^\w+\((.*)\)(?: -> .*)?$", native.__doc__ or "", re.M)
        if isinstance(native, types.BuiltinFunctionType) and texts:
            swig = {tuple(p.split()[-1] for p in t.split(", ") if p) for t in texts}
            assert forms == swig, name
            checked += 1
    assert checked >= 8
