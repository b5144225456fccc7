"""Curve sets in the host's document: a script set added with AddModel, saved and opened in a
fresh process; the curve model's selection bits by host index; OBJ polylines imported as a
curve model."""
import json

import pytest

import qorapi
from conftest import run_python
from qorapi import Curves, LineFeature, Vector3D as V

SCRIPT = """
import json, sys, numpy, qorapi
from qorapi import DirIndex, Vector3D as V
app = qorapi.Application.instance()
def line(a, b):
    c = qorapi.LineFeature(); c.initialize(V(*a), V(*b)); return c
def describe(s):
    props = {n: repr(s.get(n)) for n in sorted(s.property_names())}
    curves = []
    for i in s.indices():
        c = s.curve(i)
        ends = [s.nextEnd(DirIndex(i, d)) for d in (0, 1)]
        curves.append([i, type(c).__name__, repr(s.startPoint(i)), repr(s.endPoint(i)),
                       [x.hex() for x in c.evaluate_many(numpy.linspace(*c.range, 5)).ravel()],
                       [(e.index(), e.version()) for e in ends], s.testEnd(DirIndex(i, 0))])
    return [props, curves]
if sys.argv[1] == "open":
    assert app.open(PATH)
    s = app.getModelByName("wires").getData()
else:
    s = qorapi.Curves("wires")
    for a, b in [((0, 0, 0), (2, 0, 0)), ((9, 9, 9), (8, 8, 8)), ((2, 0, 0), (2, 1, 0))]:
        s.addCurve(line(a, b))
    arc = qorapi.ArcCurve(); arc.initialize(V(2, 2, 0), 1.0, V(0, 0, 1), V(0, -1, 0))
    nurb = qorapi.NurbCurve(); nurb.initialize(3, 5)
    [nurb.controlPoints.set(i, V(i / 3, i * i % 3, 1 / 7)) for i in range(5)]
    poly = qorapi.PolylineCurve(); poly.initialize([(0, 0, 0), (1, 2, 3), (4, 0, 1)], [0, .5, 2])
    comp = qorapi.CompositeCurve(); comp.addCurve(line((4, 0, 1), (5, 5, 5))); comp.addCurve(nurb)
    for c in (arc, nurb, poly, comp):
        s.addCurve(c)
    s.removeCurve(1)
    s.rebuild(1e-3)
    command = qorapi.AddModel(model=s, name="wires")
    assert command.run() == 1 and command.object.getData() is s
    assert app.saveAs(PATH)
print(json.dumps(describe(s)))
"""


def test_a_script_set_added_saved_and_opened_in_a_fresh_process_keeps_every_value(tmp_path):
    code = SCRIPT.replace("PATH", repr(str(tmp_path / "wires.wex")))
    built, opened = (run_python(args=["-c", code, mode]) for mode in ("build", "open"))
    assert built.returncode == 0 and opened.returncode == 0, (built, opened)
    before, after = json.loads(built.stdout), json.loads(opened.stdout)
    kinds = [c[1] for c in before[1]]
    assert kinds == ["LineFeature", "LineFeature", "ArcCurve", "NurbCurve", "PolylineCurve",
                     "CompositeCurve"]
    assert [c[0] for c in before[1]] == [0, 2, 3, 4, 5, 6], "the gap stays"
    assert before[1][0][5][0] == [2, 0], "chained at the document's tolerance"
    assert after == before


def line(a, b):
    c = LineFeature()
    c.initialize(V(*a), V(*b))
    return c


@pytest.fixture
def app():
    a = qorapi.Application.instance()
    a.newFile()
    yield a
    a.newFile()


def test_curve_selection_bits_name_host_indices_of_the_document_set(app, tmp_path):
    s = Curves("wires")
    for k in range(4):
        s.addCurve(line((k, 0, 0), (k + 1, 0, 0)))
    del s[1]  # host index 2 is a gap
    assert qorapi.AddModel(model=s, name="wires", active=0).run() == 1
    sel = qorapi.CurveSelection(curveSet=s)
    sel.markedBits = [1, 2, 4, 7]
    qorapi.SetActiveCurveSelection(curveSet=s, inputCurveSelection=sel).run()  # not active: no model
    with pytest.raises(RuntimeError, match="cannot access internal points object"):
        qorapi.GetActiveCurveSelection(curveSet=s).run()
    model = app.getModelByName("wires")
    app.setActiveObject(model)
    qorapi.SetActiveCurveSelection(curveSet=s, inputCurveSelection=sel).run()
    got = qorapi.GetActiveCurveSelection(curveSet=s).run()
    assert got.markedBits.indices().tolist() == [1, 4], "bits of gaps and past the set are dropped"
    # The opened document's set is a new one: its own model selection starts empty.
    assert app.saveAs(str(tmp_path / "w.wex")) and app.open(str(tmp_path / "w.wex"))
    app.setActiveObject(app.getModelByName("wires"))
    back = app.getModelByName("wires").getData()
    assert back is not s and back.indices() == [0, 2, 3]
    assert qorapi.GetActiveCurveSelection(curveSet=back).run().markedBits.count() == 0


def test_obj_lines_import_as_a_curve_model_beside_the_mesh(app, tmp_path):
    both = tmp_path / "part.obj"
    both.write_text("v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3\n"
                    "l 1 2 3 4 1\nl -1 -3\n")
    assert app.importFile(str(both))
    mesh, wires = app.getModels()
    assert (mesh.name, mesh.type, wires.name, wires.type) == ("part", qorapi.Model_Mesh,
                                                              "part curves", qorapi.Model_Curves)
    s = wires.getData()
    assert (type(s), s.name, s.numPolylines, s.indices(), s.length) == (Curves, "part curves", 2,
                                                                        [0, 1], 4 + 2 ** 0.5)
    square = s.curve(0)
    assert (s.startPoint(1), s.endPoint(1), list(square.knots)) == (V(0, 1, 0), V(1, 0, 0),
                                                                    [0, 1, 2, 3, 4])
    # The square closes on itself; the diagonal's ends touch no end of it.
    assert (s.numComponents, s.isClosed, square.isClosed) == (2, False, True)
    app.newFile()
    alone = tmp_path / "outline.obj"
    alone.write_text("v 0 0 0\nv 3 0 0\nv 3 4 0\nl 1 2\nl 2 3\n")
    assert app.importFile(str(alone))
    model, = app.getModels()
    s = model.getData()
    assert (model.name, model.type, s.numCurves, s.numComponents, s.isClosed, s.length) == (
        "outline", qorapi.Model_Curves, 2, 1, False, 7.0)
