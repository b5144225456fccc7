"""The reference host's settings store and its file."""
import pytest

import qorapi
from conftest import run_python


def test_defaults_of_the_keys_the_system_reads():
    get = qorapi.host.settings_get
    keys = ("Memory/UseErrorService", "General/Texture Image Format", "No/Such Key",
            "Advanced/Warning About Non-Existing Properties",
            "Advanced/Warning About Bogus Dynamic Properties", "GUI/DisableInCommandSensitivity")
    assert [get(k) for k in keys] == [0, 2, None, 0, 0, 0]
    assert isinstance(get("Memory/MemLimit"), float) and get("Memory/MemLimit") > 0
    assert get("Directories/Temp Directory")
    assert get("Directories/Logs Directory").endswith("/brindle/logs")


def test_file_overrides_defaults_and_reports_bad_lines(tmp_path):
    f = tmp_path / "settings.conf"
    f.write_text(
        "# a comment\n"
        "\n"
        "Memory/MemLimit = 1048576\n"
        "General/Texture Image Format = 3\n"
        "Directories/Temp Directory =   \"  spaced \\\"dir\\\"  \"\n"
        "Custom/Int=42\n"
        "Custom/Real = 2.5\n"
        "Custom/Text = hello world\n"
        "GUI/DisableInCommandSensitivity = yes\n"
        "this line has no equals sign\n")
    r = run_python("""
        import qorapi
        g = qorapi.host.settings_get
        print(repr((g("Memory/MemLimit"), g("General/Texture Image Format"),
                    g("Directories/Temp Directory"), g("Custom/Int"), g("Custom/Real"),
                    g("Custom/Text"), g("GUI/DisableInCommandSensitivity"))))
        for level, text in qorapi.host.log_lines():
            print(level, text)
    """, env={"BRINDLE_SETTINGS": str(f)})
    assert r.returncode == 0, r
    lines = r.stdout.splitlines()
    assert lines[0] == repr((1048576.0, 3, '  spaced "dir"  ', 42, 2.5, "hello world", 0))
    assert any("settings.conf:9: \"GUI/DisableInCommandSensitivity\" needs a whole number, "
               "not \"yes\"" in l for l in lines[1:]), r
    assert any(":10: no '=' in" in l and l.startswith("error [settings]") for l in lines[1:]), r


def test_save_writes_an_editable_file_that_reads_back(tmp_path):
    path = tmp_path / "sub" / "settings.conf"
    r = run_python(f"""
        import qorapi
        h = qorapi.host
        h.settings_set_string("Test/Quoted", "  padded  ")
        h.settings_set_string("Test/Plain", "naïve")
        h.settings_set_int("Test/Int", -3)
        h.settings_set_double("Test/Real", 0.1)
        h.save_settings({str(path)!r})
    """)
    assert r.returncode == 0, r
    text = path.read_text(encoding="utf-8").splitlines()
    assert text[0].startswith("# brindle settings")
    assert {"Test/Int = -3", "Test/Plain = naïve", 'Test/Quoted = "  padded  "',
            "Test/Real = 0.10000000000000001"} <= set(text)
    keys = [l.split(" = ")[0] for l in text if not l.startswith("#")]
    assert keys == sorted(keys)
    r = run_python("""
        import qorapi
        g = qorapi.host.settings_get
        print(repr((g("Test/Quoted"), g("Test/Plain"), g("Test/Int"), g("Test/Real"))))
    """, env={"BRINDLE_SETTINGS": str(path)})
    assert r.stdout.strip() == repr(("  padded  ", "naïve", -3, 0.1)), r


def test_missing_file_is_an_os_error(tmp_path):
    with pytest.raises(OSError, match="cannot read settings file"):
        qorapi.host.load_settings(str(tmp_path / "nope.conf"))
