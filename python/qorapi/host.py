"""A window on the reference host: its profile and component, what it recorded (error
reports, log lines, converter registrations), its settings store and its translator.

Profiles (chosen with BRINDLE_HOST_PROFILE before ``import qorapi``):
  full           every service the host has (the default)
  bare           no services; only what the script layer must have
  no-conversion  everything but the script type conversion service (import fails)
  proxy          full, plus a second component "brindle.proxy" with its own settings store
  strsupport     full, plus the host's text rules (IQorStrSupport): UTF-8 narrow form,
                 unit-order comparison, wide-character case mapping and classification
  pool           full, plus the host's shared pool of small blocks (IBucketMemoryPool)
  translator     full, plus a translator service that really translates (into German)
"""
from . import _qorapi

profile = _qorapi.host_profile
component_info = _qorapi.component_info
run_self_tests = _qorapi.run_self_tests
set_proxy_name = _qorapi.set_proxy_name
error_reports = _qorapi.error_reports
log_lines = _qorapi.log_lines
converter_registrations = _qorapi.converter_registrations
convert_with = _qorapi.convert_with
service_lookups = _qorapi.service_lookups
settings_set_int = _qorapi.settings_set_int
settings_set_double = _qorapi.settings_set_double
settings_set_string = _qorapi.settings_set_string
settings_has_key = _qorapi.settings_has_key
settings_remove_key = _qorapi.settings_remove_key
settings_receiver_count = _qorapi.settings_receiver_count
make_int_app_state = _qorapi.make_int_app_state
settings_get = _qorapi.settings_get


def call_log():
    """The calls the host's document, its objects and its application services received,
    oldest first, one str each: the operation and its arguments ("doc.newObject 1 -1")."""
    return _qorapi.call_log()


def clear_call_log():
    """Forgets the host's call log."""
    _qorapi.clear_call_log()


def settings_path():
    """Where the host reads its settings file: $BRINDLE_SETTINGS, else the user's
    ~/.config/brindle/settings.conf. An empty path means no file."""
    return _qorapi.settings_path()


def load_settings(path=None):
    """Reads a settings file ("key = value" lines) into the store; returns a list of the
    lines that could not be understood. OSError when the file can't be read."""
    return _qorapi.load_settings(path or settings_path())


def save_settings(path=None):
    """Writes every setting to `path` (default: the settings file), creating folders."""
    target = path or settings_path()
    if not target:
        raise OSError("no settings file: BRINDLE_SETTINGS is empty and no path was given")
    _qorapi.save_settings(target)


translator_name = _qorapi.translator_name


def translate(key, *args, sequential=False):
    """The translator in use on `key` with its %1..%N arguments. With sequential=True the
    array form runs: each placeholder is replaced in the text earlier steps left."""
    return _qorapi.translate(key, list(args), sequential)



def workflow_activities():
    """The current workflow's activities in order, each a dict of ``ignore``, ``notes``,
    ``language`` and ``text``."""
    return _qorapi.workflow_activities()


def save_workflow(path):
    """Writes the current workflow's activities to `path` as a JSON list."""
    import json
    with open(path, "w", encoding="utf-8") as out:
        json.dump({"activities": workflow_activities()}, out, indent=1)


def set_workflow_state(open=True, creation_fails=False):
    """Opens or closes the host's current workflow, and makes new activities fail."""
    _qorapi.set_workflow_state(open, creation_fails)


def clear_workflow():
    """Removes every activity from the current workflow."""
    _qorapi.clear_workflow()


def script_active():
    """Whether the host's script engine is running a script now."""
    return _qorapi.script_active()


def property_dump_xml():
    """The host's property dump as XML text: ``<propertyDump>`` holding one ``<item>`` per
    provider; every element is an ``<item name= value= type=>`` whose ``<attribute name=
    value= type=/>`` children come before its own ``<item>`` children."""
    return _qorapi.property_dump_xml()


def write_property_dump(path):
    """Writes the property dump's XML to `path` (through a temporary file renamed over it,
    so the target is either the old file or the whole new one). OSError naming `path` when
    it can't be written."""
    import os
    _qorapi.write_property_dump(os.fspath(path))


def clear_property_dump():
    """Empties every branch of the property dump (each provider keeps its branches, as
    ``AddPropertyDump.reset`` does for one)."""
    _qorapi.clear_property_dump()
