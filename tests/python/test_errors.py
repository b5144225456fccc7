"""How a failure inside the system reaches a script and the host's log."""
import pytest

import qorapi
from qorapi import _testing
from conftest import run_python


def test_class_error_is_a_runtime_error_and_a_log_line():
    _testing.clear_records()
    with pytest.raises(RuntimeError) as e:
        _testing.raise_class_error("AddModel::run", "No model is set.")
    assert str(e.value) == "Error in class AddModel::run: No model is set.."
    assert qorapi.host.log_lines() == [("error", "[AddModel::run] No model is set.")]
    with pytest.raises(RuntimeError) as e:
        _testing.raise_internal_error("AddModel::run", "This can only be called in an application.")
    assert str(e.value) == ("Internal Error in class AddModel::run: "
                            "This can only be called in an application..")


def test_property_errors_are_attribute_errors_without_log():
    _testing.clear_records()
    for code in (1, 2, 3):
        with pytest.raises(AttributeError) as e:
            _testing.raise_property_error(code, "Property 'naïve' does not exist.")
        assert str(e.value) == "Property 'naïve' does not exist.", "no character is dropped"
    assert qorapi.host.log_lines() == []


def test_a_translating_host_translates_what_scripts_see():
    r = run_python("""
        import qorapi
        from qorapi import _testing
        h = qorapi.host
        try:
            _testing.raise_class_error("refresh", "object not found or not supported.")
        except RuntimeError as e:
            print(e)
        print(h.log_lines()[-1][1])
        print(h.translator_name())
    """, profile="translator")
    assert r.returncode == 0, r
    assert r.stdout.splitlines() == [
        "Fehler in Klasse refresh: object not found or not supported..",
        "[refresh] object not found or not supported.",
        "TableTranslator"]
