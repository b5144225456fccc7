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


# ---- selections: the host's own selection state of a model ----
# Each takes a qorapi.Model in the host's document (from Application.importFile, getModels
# or AddModel). Regions are tested in the object's placed coordinates and are closed.

def _point(p, what):
    values = tuple(float(x) for x in p)
    if len(values) != 3:
        raise ValueError(f"{what} takes 3 coordinates, not {len(values)}: {p!r}")
    return values


def _bits(data):
    from .selection import BitSet
    return BitSet._from_bytes(data)


def mark_triangles_in_box(model, lo, hi):
    """Marks exactly the triangles of the model's mesh (or CAD model) whose three corners
    lie in the box `lo` .. `hi`; the number marked."""
    return _qorapi.mark_triangles_in(model, False, *_point(lo, "lo"), *_point(hi, "hi"))


def mark_triangles_in_sphere(model, centre, radius):
    """Marks exactly the triangles whose three corners lie in the ball about `centre`;
    the number marked."""
    return _qorapi.mark_triangles_in(model, True, *_point(centre, "centre"), float(radius), 0.0, 0.0)


def mark_points_in_box(model, lo, hi):
    """Makes exactly the points of a point cloud or gridded points in the box `lo` .. `hi`
    active; the number of active points."""
    return _qorapi.mark_points_in(model, False, *_point(lo, "lo"), *_point(hi, "hi"))


def mark_points_in_sphere(model, centre, radius):
    """Makes exactly the points in the ball about `centre` active; their number."""
    return _qorapi.mark_points_in(model, True, *_point(centre, "centre"), float(radius), 0.0, 0.0)


def marked_triangles(model):
    """The marked triangles of the model's mesh, as a qorapi.BitSet."""
    return _bits(_qorapi.host_words(model, "triangles"))


def active_points(model):
    """The active points of a point cloud or gridded points, as a qorapi.BitSet."""
    return _bits(_qorapi.host_words(model, "points"))


def active_vertices(model):
    """The active vertex set of the model's mesh (empty when there is none)."""
    return _bits(_qorapi.host_words(model, "vertices"))


def active_edges(model):
    """The active edge set of the model's mesh (empty when there is none)."""
    return _bits(_qorapi.host_words(model, "edges"))


def selection_names(model):
    """The names of the selections stored on the model's host object, oldest first."""
    return _qorapi.selection_names(model)


def model_features(model):
    """The features attached to a model (``ModelManager.addFeature``, or read with the
    document), as their script classes, in the order they were added."""
    return _qorapi.model_features(model)


def stored_selection(model, name):
    """The bits of the stored selection `name` as a qorapi.BitSet, or None."""
    data = _qorapi.stored_selection_words(model, name)
    return None if data is None else _bits(data)


def cad_faces(model):
    """The CAD face (from 1) of each triangle of a CAD model, as a numpy int32 array."""
    import numpy
    return numpy.frombuffer(_qorapi.cad_face_map(model), dtype=numpy.int32)


def add_cad_model(mesh):
    """Adds a CAD model to the host's document made of the geometry of `mesh` (a Mesh data
    object, as qorapi.make_mesh gives) and named as it; its qorapi.Model. Its faces are its
    planar patches (see cad_faces)."""
    return _qorapi.add_cad_model(mesh)


def status_bar_refreshes():
    """How often the host's status bar has been refreshed."""
    return _qorapi.status_bar_refreshes()
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
