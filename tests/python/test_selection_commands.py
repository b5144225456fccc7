"""Selection commands: stored selections on models and the active selection of each kind."""
import numpy as np
import pytest

import qorapi
from qorapi import _testing, host
from conftest import run_python
from test_import import MODELS

# A solid corner: two triangles in z = 0 (CAD face 1), two in x = 0 (face 2).
CORNER = ([(0, 0, 0), (2, 0, 0), (2, 2, 0), (0, 2, 0), (0, 0, 2), (0, 2, 2)],
          [(0, 1, 2), (0, 2, 3), (0, 3, 5), (0, 5, 4)])


@pytest.fixture
def app():
    a = qorapi.Application.instance()
    a.newFile()
    yield a
    a.newFile()


def add(data, name):
    qorapi.AddModel(model=data, name=name).run()
    return qorapi.Application.instance().getModelByName(name)


def fails(call, error, text):
    with pytest.raises(error) as e:
        call()
    assert str(e.value) == text


def test_inputs_that_are_missing_or_wrong(app):
    plate = add(qorapi.make_mesh(*CORNER), "plate")
    other = add(qorapi.make_mesh(*CORNER), "other")
    section = app.getModelById(_testing.add_object("Section", "s"))
    bare = app.getModelById(_testing.add_object("Polygon", "bare"))  # no data, so no model
    on_other = qorapi.TriangleSelection(mesh=other.getData())
    E, I = "Error in class %s: %s.", "Internal Error in class %s: %s."
    A, G = qorapi.AddSelectionSubObject, qorapi.GetSelectionSubObject
    cases = [
        (A().run, E % ("AddSelectionSubObject", "model does not exist or has not been set.")),
        (A(object=qorapi.DataObject()).run, E % ("AddSelectionSubObject", "object needs to be a Model.")),
        (A(object=plate).run, E % ("AddSelectionSubObject", "selection does not exist.")),
        (lambda: A().run(None, on_other), E % ("AddSelectionSubObject", "invalid model.")),
        (lambda: A().run(qorapi.Model(), on_other), E % ("AddSelectionSubObject", "invalid model.")),
        (lambda: A().run(plate, None), E % ("AddSelectionSubObject", "selection needs to be of type Selection.")),
        (lambda: A().run(plate, on_other), E % ("AddSelectionSubObject", "Selection is not on model.")),
        (lambda: A().run(bare, on_other),
         E % ("AddSelectionSubObject", "Model must be CAD, Mesh, Points, or Gridded Points.")),
        (lambda: A().run(section, on_other), E % ("AddSelectionSubObject", "model holds no selections.")),
        (G(object=plate, selectionName="").run, E % ("GetSelectionSubObject", "selectionName has not been set.")),
        (lambda: G().run(None, "x"), E % ("GetSelectionSubObject", "invalid model.")),
        (qorapi.GetActiveTriangleSelection().run, I % ("GetActiveTriangleSelection", "mesh property not set.")),
        (qorapi.GetActiveEdgeSelection().run, I % ("GetActiveEdgeSelection", "mesh property not set.")),
        (qorapi.SetActiveVertexSelection().run, E % ("SetActiveVertexSelection", "mesh has not been set.")),
        (qorapi.SetActiveEdgeSelection(mesh=plate.getData()).run,
         E % ("SetActiveEdgeSelection", "inputEdgeSelection has not been set.")),
        (qorapi.GetActivePointSelection().run, E % ("run", "points has not been set.")),
        (qorapi.SetActivePointSelection().run, E % ("SetActivePointSelection", "points has not been set.")),
        (qorapi.GetActiveQuadSelection().run, E % ("run", "griddedPointsModel has not been set.")),
        (qorapi.SetActiveQuadSelection().run, E % ("SetActiveQuadSelection", "pointModel has not been set.")),
        (qorapi.GetActiveCadFaceSelection().run, I % ("GetActiveCadFaceSelection", "cad property not set.")),
        (qorapi.SetActiveCadFaceSelection().run, E % ("SetActiveCadFaceSelection", "cad has not been set.")),
        (qorapi.GetActiveCurveSelection().run, E % ("run", "curveSet has not been set.")),
        (qorapi.SetActiveCurveSelection().run, E % ("SetActiveCurveSelection", "curveSet has not been set.")),
    ]
    for call, text in cases:
        fails(call, RuntimeError, text)
    with pytest.raises(TypeError, match="argument 3 of type 'Selection \\*'"):
        A().run(plate, qorapi.DataObject())
    fails(lambda: setattr(qorapi.GetActiveEdgeSelection(), "outputEdgeSelection", None),
          AttributeError, "Cannot modify read only attribute 'outputEdgeSelection'")
    assert qorapi.GetActiveQuadSelection().griddedPointsModel is None
    assert qorapi.SetActiveQuadSelection().pointModel is None
    assert (A().name(), G().name()) == ("AddSelectionSubObject", "GetSelectionSubObject")
    assert "specfieid" in G.__doc__ and "unordered points model" in qorapi.SetActivePointSelection.__doc__


@pytest.mark.skipif(MODELS is None, reason="the shared models are not on this machine")
def test_marked_triangles_of_the_bunny_go_both_ways(app):
    path = str(MODELS / "stanford-bunny.obj")
    assert app.importFile(path)
    bunny = app.getModelByName("stanford-bunny")
    mesh = bunny.getData()
    rows = [line.split() for line in open(path, encoding="ascii")]
    vertices = np.array([r[1:4] for r in rows if r and r[0] == "v"], dtype=float)
    faces = np.array([r[1:4] for r in rows if r and r[0] == "f"], dtype=int) - 1
    lo, hi = np.array([-0.2, 0.05, -0.2]), np.array([0.0, 0.15, 0.2])
    inside = np.all((vertices[faces] >= lo) & (vertices[faces] <= hi), axis=(1, 2))
    expected = np.flatnonzero(inside) + 1
    assert host.mark_triangles_in_box(bunny, lo, hi) == expected.size > 1000
    sel = qorapi.GetActiveTriangleSelection(mesh=mesh).run()
    assert sel.mesh is mesh and sel.markedBits.count() == expected.size
    assert np.array_equal(sel.markedBits.indices(), expected)
    other = qorapi.TriangleSelection(mesh=qorapi.make_mesh(*CORNER))
    other.markedBits = expected[::3]
    qorapi.SetActiveTriangleSelection(mesh=mesh, inputTriangleSelection=other).run()
    assert other.mesh is mesh, "a Set command rebinds the selection to its mesh"
    assert np.array_equal(host.marked_triangles(bunny).indices(), expected[::3])
    assert qorapi.GetActiveTriangleSelection(mesh=mesh).run().markedBits == other.markedBits


@pytest.mark.parametrize("kind", ["Vertex", "Edge"])
def test_active_vertex_and_edge_sets(app, kind):
    plate = add(qorapi.make_mesh(*CORNER), "plate")
    sel = getattr(qorapi, kind + "Selection")(mesh=plate.getData())
    read, log = {"Vertex": (host.active_vertices, "vertices"), "Edge": (host.active_edges, "edges")}[kind]
    setter = getattr(qorapi, f"SetActive{kind}Selection")(mesh=plate.getData())
    setattr(setter, f"input{kind}Selection", sel)
    getter = getattr(qorapi, f"GetActive{kind}Selection")(mesh=plate.getData())
    for marked in ([1, 3, 6], [2, 12], []):
        sel.markedBits = marked
        setter.run()
        tail = host.call_log()[-6:]
        assert read(plate).indices().tolist() == marked
        assert getter.run().markedBits.indices().tolist() == marked
    assert f"{log}.clear" in tail, "an empty selection clears the set"
    assert tail[-1].endswith(".update null"), "then the screen is updated"


def test_active_points_go_both_ways(app):
    xyz = np.random.default_rng(7).uniform(-1, 1, (500, 3))
    cloud = add(qorapi.make_points(xyz.tolist()), "cloud")
    points = cloud.getData()
    expected = np.flatnonzero(np.all(np.abs(xyz) <= 0.5, axis=1)) + 1
    assert host.mark_points_in_box(cloud, (-0.5,) * 3, (0.5,) * 3) == expected.size
    sel = qorapi.GetActivePointSelection(points=points).run()
    assert sel.points is points and np.array_equal(sel.markedBits.indices(), expected)
    sel.markedBits = expected[:5]
    refreshes = host.status_bar_refreshes()
    qorapi.SetActivePointSelection(points=points, inputPointSelection=sel).run()
    assert host.status_bar_refreshes() == refreshes + 1
    assert np.array_equal(host.active_points(cloud).indices(), expected[:5])
    fails(lambda: qorapi.SetActivePointSelection(inputPointSelection=qorapi.TriangleSelection()),
          AttributeError, "Wrong type (qorapi.mesh.TriangleSelection) for attribute "
                          "'inputPointSelection'. Should be qorapi.points.PointSelection")


def test_cad_faces(app):
    part = host.add_cad_model(qorapi.make_mesh(*CORNER, name="part"))
    cad = part.getData()
    assert host.cad_faces(part).tolist() == [1, 1, 2, 2]
    assert host.mark_triangles_in_box(part, (-1, -1, -0.1), (3, 3, 0.1)) == 2
    faces = qorapi.GetActiveCadFaceSelection(cad=cad).run()
    assert faces.markedBits.indices().tolist() == [1], "two triangles of one face set one bit"
    faces.markedBits = [2]
    qorapi.SetActiveCadFaceSelection(cad=cad, inputCadFaceSelection=faces).run()
    assert host.marked_triangles(part).indices().tolist() == [3, 4]
    qorapi.SetActiveCadFaceSelection(cad=cad).run()  # no selection: nothing changes
    assert host.marked_triangles(part).indices().tolist() == [3, 4]
    assert any(line.endswith(".rebuild") for line in host.call_log()[-3:]), "but it rebuilds"
    faces.name = "side"
    qorapi.AddSelectionSubObject(object=part, selection=faces).run()
    assert host.stored_selection(part, "side").indices().tolist() == [3, 4]
    back = qorapi.GetSelectionSubObject(object=part, selectionName="side").run()
    assert type(back) is qorapi.TriangleSelection and back.markedBits.indices().tolist() == [3, 4]
    again = host.add_cad_model(qorapi.make_mesh(*CORNER, name="again"))
    elsewhere = qorapi.CADFaceSelection(cadModel=again.getData())
    fails(qorapi.SetActiveCadFaceSelection(cad=cad, inputCadFaceSelection=elsewhere).run,
          RuntimeError, "Error in class SetActiveCadFaceSelection: cad model set in CADFaceSelection "
                        "and cad are different..")


def test_stored_selections_round_trip(app):
    plate = add(qorapi.make_mesh(*CORNER), "plate")
    cloud = add(qorapi.make_points([(0, 0, 0), (1, 1, 1), (2, 2, 2)]), "cloud")
    tri = qorapi.TriangleSelection("front", mesh=plate.getData())
    tri.markedBits = [2, 4]
    pts = qorapi.PointSelection("pair", points=cloud.getData())
    pts.markedBits = [1, 3]
    edges = qorapi.EdgeSelection("edges", mesh=plate.getData())
    edges.markedBits = [5]
    qorapi.AddSelectionSubObject(object=plate, selection=tri).run()
    qorapi.AddSelectionSubObject().run(cloud, pts)
    qorapi.AddSelectionSubObject().run(plate, edges)
    assert host.selection_names(plate) == ["front", "edges"]
    assert host.stored_selection(plate, "edges").count() == 0, "no triangles: stored empty"
    get = qorapi.GetSelectionSubObject(object=plate, selectionName="front")
    back = get.run()
    assert back is get.selection and back.mesh is plate.getData() and back.markedBits == tri.markedBits
    assert get.run(plate, qorapi.wrapped.make_QorString("nothing")) is None and get.selection is None
    got = get.run(cloud, "pair")
    assert type(got) is qorapi.PointSelection and got.points is cloud.getData()
    assert got.markedBits.indices().tolist() == [1, 3] and get.selectionName == "front"
    assert qorapi.GetSelectionSubObject(object=plate).run() is None, "no selection named None"



def test_curve_selection_bits_name_host_indices_of_the_document_set(app):
    s = qorapi.Curves("wires")
    for k in range(4):
        s.addCurve(qorapi.LineFeature()), s.curve(k).initialize(qorapi.Vector3D(k, 0, 0), qorapi.Vector3D(k + 1, 0, 0))
    del s[1]
    assert qorapi.AddModel(model=s, name="wires", active=0).run() == 1
    with pytest.raises(RuntimeError, match="curves object already exists in model"):
        qorapi.AddModel(model=s).run()
    sel = qorapi.CurveSelection(curveSet=s)
    sel.markedBits = [1, 2, 4, 7]
    qorapi.SetActiveCurveSelection(curveSet=s, inputCurveSelection=sel).run()  # not active: no model
    fails(qorapi.GetActiveCurveSelection(curveSet=s).run, RuntimeError,
          "Internal Error in class run: cannot access internal points object..")
    app.setActiveObject(app.getModelByName("wires"))
    qorapi.SetActiveCurveSelection(curveSet=s, inputCurveSelection=sel).run()
    assert qorapi.GetActiveCurveSelection(curveSet=s).run().markedBits.indices().tolist() == [1, 4]


@pytest.mark.parametrize("service, code, text", [
    ("mesh::IQorMeshConverter", "qorapi.GetActiveEdgeSelection(mesh=mesh).run()",
     "Internal Error in class GetActiveEdgeSelection: Cannot create a QorMesh converter."),
    ("mesh::IQorMeshConverter", "qorapi.SetActiveTriangleSelection(mesh=mesh, inputTriangleSelection=sel).run()",
     "Error in class SetActiveTriangleSelection: Cannot create a QorMesh converter."),
    ("mesh::IQorMeshTriangleSelection", "qorapi.GetActiveTriangleSelection(mesh=mesh).run()",
     "Internal Error in class GetActiveTriangleSelection: Error creating TriangleSelection.."),
    ("mesh::IQorMeshTriangleSelection", "qorapi.GetSelectionSubObject(object=m, selectionName='s').run()",
     "Error in class GetSelectionSubObject: Error creating TriangleSelection.."),
    ("points::IQorPointSelection", "qorapi.GetActivePointSelection(points=cloud).run()",
     "Internal Error in class run: cannot access internal PointSelection object.."),
])
def test_missing_host_services(service, code, text):
    r = run_python(f"""
import qorapi
from qorapi import _testing
qorapi.AddModel(model=qorapi.make_mesh([(0, 0, 0), (1, 0, 0), (0, 1, 0)], [(0, 1, 2)]), name="m").run()
qorapi.AddModel(model=qorapi.make_points([(0, 0, 0)]), name="c").run()
m = qorapi.Application.instance().getModelByName("m")
mesh, cloud = m.getData(), qorapi.Application.instance().getModelByName("c").getData()
sel = qorapi.TriangleSelection("s", mesh=mesh)
qorapi.AddSelectionSubObject(object=m, selection=sel).run()
_testing.set_service_mode({service!r}, "absent")
try:
    {code}
except RuntimeError as e:
    print(e)
""")
    assert r.returncode == 0 and r.stdout.strip() == text, r
