"""The live document from a script: import, models, groups, references, graphics updates,
correspondences, the document file, progress, lifetime, and missing host services."""
import json
import os

import pytest

import qorapi
from qorapi import _testing, host
from qorapi.wrapped import make_QorMatrix
from conftest import run_python

FLT_MAX = 3.4028234663852886e38

DESCRIBE = """
import json, qorapi
def describe():
    app = qorapi.Application.instance()
    models = []
    for m in app.getModels():
        box, data, parent = m.boundingBox, m.getData(), m.groupParent
        models.append({
            "name": m.name, "id": m.id, "type": m.type, "visible": m.visible,
            "group": m.isGroup, "parent": parent.name if parent else None,
            "box": list(box.minimum) + list(box.maximum), "edges": m.getPrimVisible("PrimEdges"),
            "members": [x.name for x in m.groupModels] if m.isGroup else None,
            "data": data and {k: data.get(k) for k in data.property_names() if k != "name"}})
    ref = app.namedReferenceObject("front")
    return {"models": models, "front": ref.name if ref else None}
"""
exec(DESCRIBE)  # defines describe() here too


def write_points(folder, name="cloud.xyz", rows=((0, 0, 0), (1, 2, 3), (-1, 5, 2))):
    path = os.path.join(folder, name)
    with open(path, "w") as f:
        f.writelines("%g %g %g\n" % r for r in rows)
    return path


def write_stl(folder):
    path = os.path.join(folder, "quad.stl")
    facets = [((0, 0, 0), (2, 0, 0), (2, 1, 0)), ((0, 0, 0), (2, 1, 0), (0, 1, 0))]
    with open(path, "w") as f:
        f.write("solid quad\n")
        for tri in facets:
            f.write(" facet normal 0 0 1\n  outer loop\n")
            f.writelines("   vertex %g %g %g\n" % v for v in tri)
            f.write("  endloop\n endfacet\n")
        f.write("endsolid quad\n")
    return path


@pytest.fixture
def app():
    a = qorapi.Application.instance()
    a.newFile()
    host.clear_call_log()
    yield a
    a.newFile()


def test_document_round_trip_in_a_fresh_process(app, tmp_path):
    assert app.importFile(write_points(str(tmp_path))) and app.importFile(write_stl(str(tmp_path)))
    cloud, quad = app.getModelByName("cloud"), app.getModelByName("quad")
    assert (cloud.type, quad.type) == (qorapi.Model_Points, qorapi.Model_Mesh)
    group = app.newGroup("parts")
    assert cloud.addToGroup(group) and quad.addToGroup(group)
    cloud.visible = 0
    quad.name = "renamed quad"
    quad.setPrimVisible("PrimEdges", True)
    assert quad.transform(make_QorMatrix([1, 0, 0, 10, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1]))
    app.setNamedReferenceObject("front", quad)
    path = str(tmp_path / "doc.wex")
    assert app.saveAs(path)
    here = describe()
    assert [m["name"] for m in here["models"]] == ["cloud", "renamed quad", "parts"]
    assert here["models"][1]["box"] == [10, 0, 0, 12, 1, 0], "bounds follow the transform"
    assert here["models"][0]["data"]["numPoints"] == 3 and here["models"][1]["data"]["numTriangles"] == 2
    code = DESCRIBE + f"""
app = qorapi.Application.instance()
assert app.open({path!r})
assert app.saveAs({path!r} + ".again")
print(json.dumps(describe()))
"""
    r = run_python(code)
    assert r.returncode == 0, r
    assert json.loads(r.stdout) == json.loads(json.dumps(here))
    with open(path, "rb") as a, open(path + ".again", "rb") as b:
        assert a.read() == b.read(), "open, then save, gives the same bytes"


def test_damaged_or_missing_files_leave_the_document_alone(app, tmp_path):
    assert app.importFile(write_points(str(tmp_path)))
    path = str(tmp_path / "doc.wex")
    assert app.saveAs(path)
    data = open(path, "rb").read()
    with open(path, "wb") as f:
        f.write(data[:-7])
    before = describe()
    assert app.open(path) is False and describe() == before
    assert "is damaged: reading stopped at byte" in host.log_lines()[-1][1]
    assert app.importFile(str(tmp_path / "none.ply")) is False and describe() == before
    assert "none.ply" in host.log_lines()[-1][1]
    assert app.newFile() and app.save() is False, "a new document has no file to save to"


def test_import_reports_progress_and_a_cancel_leaves_nothing(app, tmp_path):
    path = write_points(str(tmp_path), rows=[(i, i % 7, 0) for i in range(20000)])
    seen = []
    with qorapi.progress.reporting(lambda f: seen.append(f)):
        assert app.importFile(path)
    assert seen[0] == 0.0 and seen[-1] == 1.0 and seen == sorted(seen) and len(seen) <= 1002
    with qorapi.progress.reporting(lambda f: f < 0.3):
        assert app.importFile(path) is False
    assert [m.name for m in app.getModels()] == ["cloud"]


def test_models_follow_their_host_objects(app, tmp_path):
    assert app.importFile(write_points(str(tmp_path))) and app.importFile(write_stl(str(tmp_path)))
    cloud, quad = app.getModels()
    assert app.getModelById(cloud.id) is cloud and qorapi.find_(cloud) is not None
    host.clear_call_log()
    qorapi.find_(cloud)
    assert not any("objectIterator" in line for line in host.call_log()), "a bound model walks nothing"
    assert qorapi.find_(qorapi.DataObject()) is None and qorapi.find_(None) is None
    for model in (cloud, quad):  # a data object is found by walking the document
        assert qorapi.find_(model.getData()) == qorapi.find_(model)
    assert qorapi.find_(cloud.getData()) != qorapi.find_(quad)
    assert (cloud.groupModels, cloud.groupParent, cloud.removeFromGroup()) == (None, None, False)
    g, h = app.newGroup("g"), app.newGroup("h")
    assert (g.addToGroup(h), cloud.addToGroup(quad), qorapi.Model().addToGroup(g)) == (False,) * 3
    assert cloud.addToGroup(g) and quad.addToGroup(g)
    members = g.groupModels
    assert list(members) == [cloud, quad] and g.groupModels is members, "one array, refilled"
    assert cloud.groupParent is g and cloud.isInGroup and cloud.removeFromGroup()
    assert list(g.groupModels) == [quad] and not cloud.isInGroup
    heard = []
    cloud.subscribe("name_changed", lambda event, args: heard.append(args["name"]))
    cloud.name = "points"
    assert heard[-1] == "points" and app.getModelByName("points") is cloud
    _testing.add_object("Section", "cut")
    assert "cut" not in [m.name for m in app.getModels()]
    assert "World" not in [m.name for m in app.activeObjects()]
    app.setActiveObject(quad)
    assert app.activeObject() is quad and app.activeObjects() == [quad]
    app.addActiveObject(cloud)
    assert app.activeObjects() == [quad, cloud]
    app.setNamedReferenceObject("front", quad)
    assert app.namedReferenceObject("front") is quad and app.isNamedReferenceObject("front", quad)
    app.clearNamedReference("front")
    assert app.namedReferenceObject("front") is None and not app.isNamedReferenceObject("front", quad)


def test_graphics_updates_and_correspondences(app, tmp_path):
    assert app.importFile(write_stl(str(tmp_path))) and app.importFile(write_points(str(tmp_path)))
    quad, cloud = app.getModels()
    host.clear_call_log()
    app.redraw()
    app.redraw(False)
    log = host.call_log()
    assert log.count("renderer.render 1") == 2 and not any("rebuild" in line for line in log)
    host.clear_call_log()
    app.redraw(True)
    log = host.call_log()
    assert log[0] == "doc.objectIterator 2 0 0 0" and log[-2:] == ["gui.update 0", "renderer.render 1"]
    assert log.index("mesh.invalidate 1 null") < log.index("gfx2.rebuild")
    assert app.getDefaultCorrespondence(quad, quad) is None
    assert app.getDefaultCorrespondence(cloud, quad) is None, "no sub-object of that name"
    _testing.add_correspondence(cloud.id, "DefaultCorrespondence %d" % quad.id)
    host.clear_call_log()
    assert app.getDefaultCorrespondence(cloud, quad) is not None
    assert any(line.startswith("correspondence.setUp") for line in host.call_log())
    assert app.getCADPolyCorrespondence(cloud, quad) is None


def test_model_manager_builds_and_removes(app, tmp_path):
    assert app.importFile(write_stl(str(tmp_path)))
    mm = qorapi.ModelManager.instance()
    mesh = app.getModels()[0].getData()
    assert (mm.getNumObjects(), mm.getNumFeatures()) == (1, 0)
    host.clear_call_log()
    assert mm.addObject(mesh, True) == 1 and mm.getNumObjects() == 2
    assert any(line.startswith("builder.begin Polygon") for line in host.call_log())
    added = app.getModels()[1]
    assert mm.removeObject(added) == 1 and mm.getNumObjects() == 1
    assert added.id == -1 and added.name == "", "a removed model reads its neutral values"
    assert mm.removeObject(qorapi.DataObject()) == 0
    stranger = qorapi.DataObject("not a feature")
    assert (mm.addFeature(app.getModels()[0], stranger), mm.addFeature(None, stranger),
            mm.removeFeature(stranger), mm.removeCoordinateSystem(stranger)) == (0, 0, 0, 0)


def test_many_import_and_new_file_cycles_leave_no_native_objects(app, tmp_path):
    path = write_points(str(tmp_path))
    app.importFile(path)
    app.getModels()
    app.newFile()
    before = _testing.database_counts()
    for _ in range(10000):
        assert app.importFile(path)
        assert len(app.getModels()) == 1
        app.newFile()
    assert _testing.database_counts() == before


@pytest.mark.parametrize("service, code", [
    ("IQorDoc", "app.getModels() == [] and app.getModelByName('x') is None and "
                "app.newGroup('g') is None and mm.getNumObjects() == 0 and app.activeObject() is None"),
    ("IQorLodexFileSupport", "app.importFile('x.ply') is False and app.newFile() is False"),
    ("IQorObjectBuilder", "mm.addObject(qorapi.DataObject(), True) == 0"),
    ("IQorAppProxyManager", "app.importFile(POINTS) and app.getModels() == []"),
    ("IGfxDoc", "app.redraw(True) is None and app.updateGUI() is None"),
    ("IEventService", "app.updateGfx() is None"),
    ("IQorPlatformOldMacroSupport", "app.compareFeatures(1, 2, 3) is True and app.createReport() is None"),
    ("IUnitService", "app.displayUnits() == 4"),
    ("IQorObjectRemover", "app.importFile(POINTS) and mm.removeObject(app.getModels()[0]) == 0 "
                          "and len(app.getModels()) == 1"),
    ("IGfxRenderer", "app.importFile(POINTS) and app.redraw() is None and "
                     "app.refresh(app.getModels()[0]) is None"),
    ("IUpdateGui", "app.rebuildGfx() is None"),
    ("IDataStore", "app.enableSensitivityChecks(True) is None and app.redraw() is None"),
])
def test_a_missing_service_gives_the_not_found_answer(service, code, tmp_path):
    points = write_points(str(tmp_path))
    r = run_python(f"""
import qorapi
from qorapi import _testing
_testing.set_service_mode({service!r}, "absent")
app, mm, POINTS = qorapi.Application.instance(), qorapi.ModelManager.instance(), {points!r}
assert {code}
print("ok")
""")
    assert r.returncode == 0 and r.stdout.strip() == "ok", r


def test_model_type_follows_the_exact_phase_name(app):
    phases = {"World": 1, "Point": 2, "Scan": 3, "Polygon": 4, "Curve": 5, "CAD": 6, "Feature": 7,
              "CADModel": 0, "cad": 0, "": 0}
    ids = {phase: _testing.add_object(phase, "p" + phase) for phase in phases}
    assert {phase: app.getModelById(i).type for phase, i in ids.items()} == phases
    with pytest.raises(LookupError, match="no object with id 999"):
        _testing.add_correspondence(999, "x")


def test_unbound_model_reads_neutral_values():
    m = qorapi.Model()
    box = m.boundingBox
    assert (m.id, m.name, m.visible, m.type, m.isGroup, m.isInGroup) == (-1, "", 0, 0, False, False)
    assert list(box.minimum) == [FLT_MAX] * 3 and list(box.maximum) == [-FLT_MAX] * 3
    assert m.getData() is None and m.getPrimVisible("PrimEdges") is False
