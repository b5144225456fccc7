"""Script commands: AddModel."""
import json

import numpy as np
import pytest

import qorapi
from conftest import run_python
from qorapi import _testing


def test_failures_and_feature_model():
    cmd = qorapi.AddModel()
    assert cmd.object is None
    with pytest.raises(RuntimeError, match=r"^Error in class AddModel::run: No model is set\.$"):
        cmd.run()
    with pytest.raises(RuntimeError, match=r"^Error in class : Value for property .type. is out of bounds .8."):
        cmd.type = 8
    with pytest.raises(RuntimeError, match="No mesh, points, curves or features is set"):
        cmd.run(qorapi.DataObject("plain"), 0)
    assert cmd.object is None
    cmd.type = 7
    cmd.name = "feat"
    assert cmd.run() == 1
    made = cmd.object
    assert made is not None and made.name == "feat"
    with pytest.raises(RuntimeError):
        cmd.run(None, 0)
    assert cmd.object is made


def test_a_scripts_own_mesh_and_points_become_models():
    app = qorapi.Application.instance()
    app.newFile()
    verts = [(0, 0, 0), (4, 0, 0), (4, 3, 0), (0, 3, 2)]
    mesh = qorapi.make_mesh(verts, [(0, 1, 2), (0, 2, 3)], "plate")
    assert (mesh.numVertices, mesh.numTriangles) == (4, 2)
    assert qorapi.AddModel(model=mesh, type=4).run() == 1
    with pytest.raises(RuntimeError, match="mesh object already exists in model"):
        qorapi.AddModel(model=mesh).run()
    cloud = qorapi.make_points([(1, -1, 5), (2, 2, 2)], "dots")
    assert qorapi.AddModel(model=cloud, active=0).run() == 1
    plate, dots = app.getModels()
    assert (plate.type, dots.type, plate.getData().numTriangles) == (qorapi.Model_Mesh, qorapi.Model_Points, 2)
    assert list(plate.boundingBox.minimum) + list(plate.boundingBox.maximum) == [0, 0, 0, 4, 3, 2]
    assert list(dots.boundingBox.minimum) + list(dots.boundingBox.maximum) == [1, -1, 2, 2, 2, 5]
    for corners in ([(0, 1, 9)], np.array([(0, 1, 2), (0, 1, 9)], dtype=np.int32)):
        with pytest.raises(ValueError, match="names vertex 9, but there are 4 vertices"):
            qorapi.make_mesh(np.array(verts, dtype=float), corners)
    # numpy arrays go in one copy and give the same model as lists
    bulk = qorapi.make_mesh(np.array(verts, dtype=float), np.array([(0, 1, 2), (0, 2, 3)]), "bulk")
    assert qorapi.AddModel(model=bulk).run() == 1
    assert app.getModels()[-1].boundingBox.maximum == plate.boundingBox.maximum
    app.newFile()


def _mesh(name):
    return qorapi.make_mesh([(0, 0, 0), (1, 0, 0), (0, 1, 0)], [(0, 1, 2)], name)


@pytest.mark.parametrize("service, builder_fails, text", [
    ("IQorObjectBuilder", False,
     "Internal Error in class AddModel::run: This can only be called in an application."),
    ("", True, "Internal Error in class AddModel::run: No model was created."),
    ("mesh::IQorMeshConverter", False, "Error in class AddModel::run: No model data is set."),
])
def test_host_refusals(service, builder_fails, text):
    if service:
        _testing.set_service_mode(service, "absent")
    _testing.set_builder_fails(builder_fails)
    try:
        cmd = qorapi.AddModel(model=_mesh("refused"))
        with pytest.raises(RuntimeError) as caught:
            cmd.run()
        assert str(caught.value) == text and cmd.object is None
    finally:
        _testing.set_builder_fails(False)
        if service:
            _testing.set_service_mode(service, "normal")
    qorapi.Application.instance().newFile()


def test_builder_calls_kind_precedence_and_query_names():
    qorapi.Application.instance().newFile()
    qorapi.host.clear_call_log()
    # type 7 with a mesh: the kind of the data wins; active 0 reaches the builder.
    assert qorapi.AddModel(model=_mesh("seven"), type=7, active=0, name="named").run() == 1
    qorapi.AddModel(type=7).run()
    calls = [c for c in qorapi.host.call_log() if c.startswith("builder.")]
    assert calls[0].startswith("builder.begin Polygon") and calls[0].endswith(" 0")
    assert calls[1].startswith("builder.setData")
    assert calls[3].startswith("builder.begin Feature") and calls[3].endswith(" 1")
    assert not calls[4].startswith("builder.setData")
    for cmd in (qorapi.AddModel(), qorapi.RunScript()):
        names = _testing.interface_names(cmd.this)
        cls = type(cmd).__name__
        assert names[:3] == [cls, "IQor" + cls, "Modifier"] and "IQorModifier" in names
        assert all(_testing.answers(cmd.this, n) for n in names + ["IQorProgressObject"])
        assert not _testing.answers(cmd.this, "DataObject")
    qorapi.Application.instance().newFile()


CURVES_SCRIPT = """
import json, sys, numpy, qorapi
from qorapi import DirIndex as D, Vector3D as V
app = qorapi.Application.instance()
if sys.argv[1] == "open":
    assert app.open(PATH)
    s = app.getModelByName("wires").getData()
else:
    s, arc, nurb, poly, comp = (qorapi.Curves("wires"), qorapi.ArcCurve(), qorapi.NurbCurve(),
                                qorapi.PolylineCurve(), qorapi.CompositeCurve())
    for a, b in [((0, 0, 0), (2, 0, 0)), ((9, 9, 9), (8, 8, 8)), ((2, 0, 0), (2, 1, 0))]:
        s.addCurve(qorapi.LineFeature()), s.curve(s.maxCurvesIndex).initialize(V(*a), V(*b))
    arc.initialize(V(2, 2, 0), 1.0, V(0, 0, 1), V(0, -1, 0)), nurb.initialize(3, 5)
    [nurb.controlPoints.set(i, V(i / 3, i * i % 3, 1 / 7)) for i in range(5)]
    poly.initialize([(0, 0, 0), (1, 2, 3), (4, 0, 1)], [0, .5, 2]), comp.addCurve(nurb)
    [s.addCurve(c) for c in (arc, nurb, poly, comp)]
    s.removeCurve(1), s.rebuild(1e-3)
    command = qorapi.AddModel(model=s, name="wires")
    assert command.run() == 1 and command.object.getData() is s and app.saveAs(PATH)
print(json.dumps([{n: repr(s.get(n)) for n in s.property_names()}] + [
    [i, type(c).__name__, repr(s.startPoint(i)), repr(s.endPoint(i)), s.testEnd(D(i, 0)),
     [s.nextEnd(D(i, d)).rawValue() for d in (0, 1)],
     [x.hex() for x in c.evaluate_many(numpy.linspace(*c.range, 5)).ravel()]]
    for i, c in ((i, s.curve(i)) for i in s.indices())]))
"""


def test_a_script_curve_set_added_saved_and_opened_in_a_fresh_process_keeps_every_value(tmp_path):
    code = CURVES_SCRIPT.replace("PATH", repr(str(tmp_path / "wires.wex")))
    built, opened = (run_python(args=["-c", code, mode]) for mode in ("build", "open"))
    assert built.returncode == 0 and opened.returncode == 0, (built, opened)
    before, after = json.loads(built.stdout), json.loads(opened.stdout)
    assert [c[0] for c in before[1:]] == [0, 2, 3, 4, 5, 6] and len(before[0]) == 12
    assert before[1][5][0] == 6 and after == before  # line 0 ends where line 2 starts
