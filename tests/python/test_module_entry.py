"""The module's two doors: EntryPoint and import, and what a script finds afterwards."""
import os
import shutil
import subprocess

import pytest

import qorapi
import _brindle
from conftest import REPO, run_python

# Each enumeration numbers its names from 0 in this order.
CONSTANTS = {f"{enum}_{name}": value for enum, names in [
    ("Model", "Unknown World Points GriddedPoints Mesh Curves CADModel Feature LastModel"),
    ("AppendAutomationNode", "JavaScript Python Python3 V8 JScript VBScript")]
    for value, name in enumerate(names.split())}

# The flat functions, as the table the build checks the module against lists them.
with open(os.path.join(REPO, "src", "module", "flat_table.txt"), encoding="utf-8") as table:
    FUNCTIONS = {line.strip() for line in table if line.strip() and not line.startswith("#")}


def test_module_dictionary_holds_exactly_functions_and_constants():
    names = {k for k in vars(_brindle) if not (k.startswith("__") and k.endswith("__"))}
    assert names == FUNCTIONS | set(CONSTANTS)
    for k, v in CONSTANTS.items():
        assert type(getattr(_brindle, k)) is int and getattr(_brindle, k) == v, k
    for k in FUNCTIONS:
        assert callable(getattr(_brindle, k)) and not isinstance(getattr(_brindle, k), type), k
    assert [k for k in vars(_brindle) if k in CONSTANTS] == list(CONSTANTS), "in table order"
    assert _brindle.__doc__ is None and _brindle.__name__ == "_brindle"


def test_only_two_dynamic_exports(module_path):
    nm = shutil.which("nm")
    if not nm:
        pytest.skip("nm is not installed")
    out = subprocess.run([nm, "-D", "--defined-only", module_path], capture_output=True,
                         text=True, check=True).stdout
    exported = sorted(line.split()[-1] for line in out.splitlines() if line.strip())
    assert exported == ["EntryPoint", "PyInit__brindle"]


def test_entry_point_through_ctypes(module_path):
    # A fresh process: no qorapi, no locator. EntryPoint works on its own.
    r = run_python(f"""
        import ctypes
        lib = ctypes.CDLL({module_path!r})
        ep = lib.EntryPoint
        ep.argtypes = [ctypes.POINTER(ctypes.c_uint32), ctypes.POINTER(ctypes.c_size_t)]
        ep.restype = ctypes.c_int
        v = ctypes.c_uint32(77); c = ctypes.c_size_t(0)
        assert ep(ctypes.byref(v), None) == 0 and v.value == 77, v.value
        assert ep(ctypes.byref(v), ctypes.byref(c)) == 1
        assert v.value == 100 and c.value != 0, (v.value, c.value)
        print("ok")
    """)
    assert r.returncode == 0 and r.stdout.strip() == "ok", r


@pytest.mark.parametrize("module,profile,needed", [
    ("_brindle", "full", ["import qorapi", "_brindle"]),  # no host yet
    ("qorapi", "no-conversion", ["IQorPythonTypeConversionService"]),
])
def test_import_failures_are_clear_import_errors(module, profile, needed):
    r = run_python(f"""
        try:
            import {module}
        except ImportError as e:
            print(e)
        else:
            raise SystemExit("imported {module}")
    """, profile=profile)
    assert r.returncode == 0, r
    for text in needed:
        assert text.lower() in r.stdout.lower(), r


def test_unknown_profile_is_named_in_the_error():
    r = run_python("import qorapi", profile="nonsense")
    assert r.returncode != 0
    assert "unknown host profile 'nonsense'" in r.stderr


def test_converters_registered_property_first_give_none_for_non_models_and_null():
    assert qorapi.host.converter_registrations()[:2] == [
        ("property", "V3", "qorapp.brindle.Model"), ("object", "V3", "qorapp.brindle.Model")]
    for kind, what in (("object", "component"), ("object", "null"), ("property", "null")):
        assert qorapi.host.convert_with(kind, "V3", "qorapp.brindle.Model", what) is None, what
    with pytest.raises(LookupError, match="no object converter for \\(V9, x\\)"):
        qorapi.host.convert_with("object", "V9", "x", "null")


def test_capsule_of_a_module_loaded_first_is_kept():
    r = run_python("""
        import sys
        import _bindprobe
        cap = sys.modules["swig_runtime_data4"].type_pointer_capsule
        import qorapi, _brindle
        assert sys.modules["swig_runtime_data4"].type_pointer_capsule is cap
        # A type made in another module converts here: _qorapi makes, _brindle reads.
        qorapi.host.settings_set_int("k", 41)
        h = qorapi.host.make_int_app_state("k")
        assert isinstance(h, qorapi.IntAppState), type(h)
        assert _brindle.IntAppState_getValue(h) == 41
        print("ok")
    """)
    assert r.returncode == 0 and "ok" in r.stdout, r
