"""The module's two doors: EntryPoint and import, and what a script finds afterwards."""
import shutil
import subprocess

import pytest

import qorapi
import _brindle

CONSTANTS = {
    "Model_Unknown": 0, "Model_World": 1, "Model_Points": 2, "Model_GriddedPoints": 3,
    "Model_Mesh": 4, "Model_Curves": 5, "Model_CADModel": 6, "Model_Feature": 7,
    "Model_LastModel": 8, "AppendAutomationNode_JavaScript": 0,
    "AppendAutomationNode_Python": 1, "AppendAutomationNode_Python3": 2,
    "AppendAutomationNode_V8": 3, "AppendAutomationNode_JScript": 4,
    "AppendAutomationNode_VBScript": 5,
}

# The flat functions that exist so far.
FUNCTIONS = {"SWIG_PyInstanceMethod_New"} | {
    f % c for c in ("IntAppState", "FloatAppState", "StringAppState", "CStringAppState")
    for f in ("new_%s", "delete_%s", "%s_getValue", "%s_setValue", "%s_swigregister")}


def test_module_dictionary_holds_exactly_functions_and_constants():
    names = {k for k in vars(_brindle) if not (k.startswith("__") and k.endswith("__"))}
    assert names == FUNCTIONS | set(CONSTANTS)
    for k, v in CONSTANTS.items():
        assert type(getattr(_brindle, k)) is int and getattr(_brindle, k) == v, k
    for k in FUNCTIONS:
        assert callable(getattr(_brindle, k)) and not isinstance(getattr(_brindle, k), type), k
    assert _brindle.__doc__ is None
    assert _brindle.__name__ == "_brindle"


def test_constants_are_published_in_table_order():
    consts = [k for k in vars(_brindle) if k in CONSTANTS]
    assert consts == list(CONSTANTS)


def test_only_two_dynamic_exports(module_path):
    nm = shutil.which("nm")
    if not nm:
        pytest.skip("nm is not installed")
    out = subprocess.run([nm, "-D", "--defined-only", module_path], capture_output=True,
                         text=True, check=True).stdout
    exported = sorted(line.split()[-1] for line in out.splitlines() if line.strip())
    assert exported == ["EntryPoint", "PyInit__brindle"]


def test_entry_point_through_ctypes(in_host, module_path):
    # A fresh process: no qorapi, no locator. EntryPoint works on its own.
    r = in_host(f"""
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


def test_component_identity_after_boot():
    info = qorapi.host.component_info()
    assert info["version"] == "5.3.21.373382"
    assert info["moduleName"] == "brindle"
    assert info["guid"] == "5D68CF6F-4618-40B4-AE7D-34B224BB02BF"
    assert info["classCount"] == 0 and info["firstClass"] is False
    assert qorapi.component_version() == "5.3.21.373382"


def test_import_without_a_host_is_a_clear_import_error(in_host):
    r = in_host("""
        try:
            import _brindle
        except ImportError as e:
            print(e)
        else:
            raise SystemExit("imported without a host")
    """)
    assert r.returncode == 0, r
    assert "import qorapi" in r.stdout.lower() and "_brindle" in r.stdout


def test_import_without_conversion_service_fails_cleanly(in_host):
    r = in_host("""
        try:
            import qorapi
        except ImportError as e:
            print(e)
        else:
            raise SystemExit("imported without a conversion service")
    """, profile="no-conversion")
    assert r.returncode == 0, r
    assert "IQorPythonTypeConversionService" in r.stdout


def test_unknown_profile_is_named_in_the_error(in_host):
    r = in_host("import qorapi", profile="nonsense")
    assert r.returncode != 0
    assert "unknown host profile 'nonsense'" in r.stderr


def test_converters_registered_property_first():
    regs = qorapi.host.converter_registrations()
    assert regs[:2] == [("property", "V3", "qorapp.brindle.Model"),
                        ("object", "V3", "qorapp.brindle.Model")]


def test_object_converter_gives_none_for_non_models_and_null():
    assert qorapi.host.convert_with("object", "V3", "qorapp.brindle.Model", "component") is None
    assert qorapi.host.convert_with("object", "V3", "qorapp.brindle.Model", "null") is None
    assert qorapi.host.convert_with("property", "V3", "qorapp.brindle.Model", "null") is None
    with pytest.raises(LookupError, match="no object converter for \\(V9, x\\)"):
        qorapi.host.convert_with("object", "V9", "x", "null")


def test_capsule_of_a_module_loaded_first_is_kept(in_host):
    r = in_host("""
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


def test_self_tests_report_a_missing_service():
    qorapi.host.clear_records()
    qorapi.host.run_self_tests(False)
    assert qorapi.host.error_reports() == [("Unable to get test service", 1, "")]
    qorapi.host.run_self_tests(True)
    qorapi.host.run_self_tests(True)
    assert len(qorapi.host.error_reports()) == 1
    qorapi.host.clear_records()
