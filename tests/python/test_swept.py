"""Extruded, drafted, rotational and sweep surfaces from a script: defaults and bounds, the
sketch carried between world and surface frame, moves, clones, undo, a sweep built from
three curves, and every kind read back from a file in a fresh process."""
import json
import math
import os

import numpy as np
import pytest

import qorapi
from qorapi import (ArcCurve, CompositeCurve, DraftedSurface, ExtrudedSurface, LineFeature,
                    NurbSurface, RotationalSurface, SweepSurface, Vector2D, Vector3D as V)
from conftest import REPO, run_python

SKETCHED = (ExtrudedSurface, DraftedSurface, RotationalSurface)
SHIFT = [1, 0, 0, 3, 0, 1, 0, -2, 0, 0, 1, 1, 0, 0, 0, 1]
TURN = [0, -1, 0, 1, 1, 0, 0, 0, 0, 0, 1, 2, 0, 0, 0, 1]  # a quarter turn about z, moved
SHEAR = [1, 1, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1]
GRID = np.linspace(0, 1, 5)

# Every property's value: curves by their points over their range, the rest by repr; and
# the surface on a grid. Shared with the fresh process of the file test.
DESCRIBE = '''
def describe(s):
    out = {}
    for n in sorted(s.property_names()):
        v = s.get(n)
        out[n] = ([x.hex() for x in v.evaluate_many(numpy.linspace(*v.range, 5)).ravel()]
                  if hasattr(v, "evaluate_many") else repr(v))
    u, w = numpy.meshgrid(numpy.linspace(0, 1, 5), numpy.linspace(0, 1, 4))
    rows = s.evaluate_many(u.ravel(), w.ravel(), 1, True)
    out["grid"] = [x.hex() for a in rows for x in a.ravel()]
    return out
'''
exec(DESCRIBE.replace("numpy", "np"))


def err(cls, text):
    return f"Error in class {cls.__name__}: {cls.__name__}: {text}."


def raises(text, call, *args):
    """Runs call(*args) and checks that it raises RuntimeError with exactly `text`."""
    with pytest.raises(RuntimeError) as e:
        call(*args)
    assert str(e.value) == text


def line(a, b):
    made = LineFeature()
    made.initialize(V(*a), V(*b))
    return made


def circle(r, centre=(0, 0, 0)):
    made = ArcCurve()
    made.initialize(V(*centre), r, V(0, 0, 1), V(1, 0, 0))
    return made


def moved(m, p):
    return tuple(m[4 * i] * p[0] + m[4 * i + 1] * p[1] + m[4 * i + 2] * p[2] + m[4 * i + 3]
                 for i in range(3))


@pytest.mark.parametrize("cls, values", [
    (ExtrudedSurface, dict(extrudeDir=V(0, 0, 1), heightFrom=0.0, heightTo=0.0, sketch=None,
                           curveParamRange=Vector2D(0, 1), sweepParamRange=Vector2D(0, 1))),
    (DraftedSurface, dict(extrudeDir=V(0, 0, 1), heightFrom=0.0, heightTo=0.0, sketch=None,
                          draftAngle=0.0, isConic=False, curveParamRange=Vector2D(0, 1))),
    (RotationalSurface, dict(axisDirection=V(0, 0, 1), originPt=V(0, 0, 0), angleFrom=0.0,
                             angleTo=0.0, sketch=None, sweepParamRange=Vector2D(0, 1))),
    (SweepSurface, dict(uRange=Vector2D(0, 1), vRange=Vector2D(0, 1), sketch=None, spine=None,
                        ruler=None, arcProfileRadius=0.0)),
])
def test_a_new_surface_reads_its_defaults(cls, values):
    s = cls()
    assert {k: s.get(k) for k in values} == values


@pytest.mark.parametrize("cls, name, value", [
    (DraftedSurface, "draftAngle", 4.0), (RotationalSurface, "angleFrom", -0.1),
    (RotationalSurface, "angleFrom", 7.0), (RotationalSurface, "angleTo", 7.0),
    (SweepSurface, "arcProfileRadius", -1.0)])
def test_bounds_refuse_values_and_rotational_heights_are_read_only(cls, name, value):
    s = cls()
    with pytest.raises(RuntimeError, match=f"Value for property '{name}' is out of bounds"):
        s.set(name, value)
    assert s.get(name) == 0.0
    with pytest.raises(AttributeError, match="read only attribute 'heightTo'"):
        RotationalSurface().heightTo = 1.0


@pytest.mark.parametrize("cls", [ExtrudedSurface, DraftedSurface])
def test_the_sketch_setter_puts_the_frame_on_the_curve(cls):
    s = cls(extrudeDir=V(0, 1, 0), heightTo=2.0)
    sketch = line((0, 0, 0), (2, 0, 0))
    s.sketch = sketch
    m = s.coordinate
    assert s.sketch is sketch and [m[r, 3] for r in range(4)] == [1, 0, 0, 1]  # C(0.5)
    assert [m[r, 2] for r in range(4)] == [0, 1, 0, 0] and [m[3, c] for c in range(3)] == [0, 0, 0]
    for u in (0.0, 0.25, 1.0):
        assert s.evaluatePoint(u, 0.0) == sketch.evaluatePoint(u)
        assert s.evaluatePoint(u, 1.0) == sketch.evaluatePoint(u) + V(0, 2, 0)
    top, bottom = s.topSketch, s.bottomSketch
    assert (type(top), top.start, top.end, bottom.start) == (LineFeature, V(0, 0, 0), V(2, 0, 0),
                                                             V(0, 2, 0))
    assert s.topSketch is not top


@pytest.mark.parametrize("cls, text", [(ExtrudedSurface, "curve type is wrong"),
                                       (DraftedSurface, "the curve type is wrong"),
                                       (RotationalSurface, "the curve type is wrong")])
def test_a_wrong_kind_is_refused_and_none_leaves_the_host_curve(cls, text):
    s = cls()
    sketch = line((1, 0, 0), (1, 0, 2))
    s.sketch = sketch
    before = s.evaluatePoint(0.5, 0.5)
    raises(err(cls, text), setattr, s, "sketch", NurbSurface())
    assert s.sketch is sketch
    s.sketch = None
    assert s.sketch is None and s.evaluatePoint(0.5, 0.5) == before


@pytest.mark.parametrize("cls", SKETCHED)
def test_transform_moves_host_and_sketch_or_fails_in_order(cls):
    s = cls(angleTo=1.0) if cls is RotationalSurface else cls(heightTo=1.5)
    sketch = line((1, 0, 0), (1, 2, 3))
    s.sketch = sketch
    points = s.evaluate_many(GRID, GRID)
    s.transform(TURN)
    assert sketch.start == V(*moved(TURN, (1, 0, 0))) and sketch.end == V(*moved(TURN, (1, 2, 3)))
    assert np.allclose(s.evaluate_many(GRID, GRID), [moved(TURN, p) for p in points], atol=1e-12)
    raises(err(cls, "transfomation failed"), s.transform, SHEAR)
    assert sketch.end == V(*moved(TURN, (1, 2, 3)))
    bare = cls()
    raises(err(cls, "the curve type is wrong"), bare.transform, SHIFT)
    origin = (tuple(bare.originPt) if cls is RotationalSurface
              else tuple(bare.coordinate[r, 3] for r in range(3)))
    assert origin == (3, -2, 1)  # the host moved first


def test_rotational_sketch_takes_the_radial_direction_and_gives_a_cylinder():
    r = RotationalSurface(originPt=V(0, 0, 1), angleTo=2 * math.pi)
    r.sketch = line((0, 2, 0), (0, 2, 3))  # middle point (0, 2, 1.5): radial (0, 1, 0)
    assert np.allclose([tuple(r.evaluatePoint(0, 0)), tuple(r.evaluatePoint(0.25, 1))],
                       [(0, 2, 0), (-2, 0, 3)], rtol=0, atol=1e-15)
    assert r.isClosedRotational and (r.heightFrom, r.heightTo) == (-1.0, 2.0)
    u, v = np.meshgrid(np.linspace(0, 1, 9), GRID)
    p, n = r.evaluate_many(u.ravel(), v.ravel(), normals=True)
    assert np.hypot(p[:, 0], p[:, 1]) == pytest.approx(2.0)
    assert n[:, :2] == pytest.approx(p[:, :2] / 2)
    on_axis = RotationalSurface()
    on_axis.sketch = line((0, 0, -1), (0, 0, 1))  # d x a is zero: no radial direction, no error
    assert on_axis.sketch.end == V(0, 0, 1) and on_axis.clone().sketch.end == V(0, 0, 1)


@pytest.mark.parametrize("angle", [0.3, -0.2])
def test_a_conic_draft_of_a_circle_is_a_cone_of_the_draft_angle(angle):
    d = DraftedSurface(draftAngle=angle, isConic=True, heightTo=1.5, sketch=circle(2, (1, -1, 0)))
    u, v = np.meshgrid(np.linspace(0, 1, 9), GRID)
    p, n = d.evaluate_many(u.ravel(), v.ravel(), normals=True)
    radius = np.hypot(p[:, 0] - 1, p[:, 1] + 1)
    assert radius == pytest.approx(2 + p[:, 2] * math.tan(angle), abs=1e-12)
    # The normal leans off the horizontal by the draft: the cone's half-angle.
    assert np.abs(n[:, 2]) == pytest.approx(abs(math.sin(angle)), abs=1e-12)


def test_clones_rebuild_every_value_through_the_setters():
    e = ExtrudedSurface("ex", extrudeDir=V(0, 1, 1), heightFrom=-1.0, heightTo=2.0,
                        curveParamRange=Vector2D(0.25, 1), sweepParamRange=Vector2D(0, 2))
    e.sketch = line((0, 0, 0), (2, 1, 0))
    d = DraftedSurface(draftAngle=0.3, isConic=True, heightTo=1.0)
    d.sketch = circle(1.5, (1, 1, 0))
    r = RotationalSurface(axisDirection=V(1, 0, 0), originPt=V(0, 1, 0), angleFrom=0.5,
                          angleTo=2.5, sweepParamRange=Vector2D(0, 3))
    r.sketch = line((0, 2, 0), (3, 4, 0))
    for s in (e, d, r, ExtrudedSurface()):
        twin = s.clone()  # the name is not among the values a clone is built from
        assert type(twin) is type(s) and twin.name == type(s).__name__
        twin.name = s.name
        assert describe(twin) == describe(s)
        assert twin.sketch is None or twin.sketch is not s.sketch
    twin = e.clone()
    twin.sketch.initialize(V(5, 5, 5), V(6, 6, 6))
    assert e.sketch.start == V(0, 0, 0)


@pytest.mark.parametrize("cls", SKETCHED)
def test_undo_and_redo_bring_host_and_sketch_back(cls):
    s = cls(angleTo=1.0) if cls is RotationalSurface else cls(heightTo=1.0)
    s.sketch = line((1, 0, 0), (1, 0, 2))
    before, record = describe(s), s.createUndoInfo()
    s.transform(TURN)
    s.sketch = circle(2.0, (4, 0, 0))
    record.captureAfter()
    after = describe(s)
    for step, state in (("undo", before), ("redo", after), ("undo", before)):
        getattr(record, step)()
        assert describe(s) == state


def test_a_sweep_built_from_three_curves():
    spine, ruler = line((0, 0, 0), (0, 0, 4)), line((1, 0, 0), (1, 0, 4))
    tube = CompositeCurve()
    tube.addCurve(circle(0.5))
    s = SweepSurface.build(tube, spine, ruler, name="tube")
    u, v = (a.ravel() for a in np.meshgrid(np.linspace(0, 1, 7), GRID))
    p = s.evaluate_many(u, v)
    assert s.name == "tube" and s.arcProfileRadius == 0.5
    assert np.hypot(p[:, 0], p[:, 1]) == pytest.approx(0.5) and p[:, 2] == pytest.approx(4 * v)
    assert s.sketch.evaluate_many(GRID) == pytest.approx(tube.evaluate_many(GRID), abs=1e-15)
    assert s.spine is not s.spine and s.ruler.end == V(1, 0, 4)
    assert s.isoCurveV(1.0).evaluate_many(GRID)[:, 2] == pytest.approx(4.0)
    assert np.allclose(tuple(s.isoCurveU(0.0).evaluatePoint(0.5)), tuple(s.evaluatePoint(0, 0.5)))
    twin = s.clone()
    raises(err(SweepSurface, "transfomation failed"), s.transform, SHEAR)
    s.transform(SHIFT)
    assert np.allclose(s.evaluate_many(u, v), [moved(SHIFT, q) for q in p])
    assert twin.name == "tube" and np.array_equal(twin.evaluate_many(u, v), p)
    s.arcProfileRadius = 2.0
    assert s.arcProfileRadius == 2.0 and s.sketch.numCurves() == 1
    two = CompositeCurve()
    two.addCurve(circle(0.5)), two.addCurve(circle(0.5, (1, 0, 0)))
    assert SweepSurface.build(two, spine, ruler).arcProfileRadius == 0.0
    with pytest.raises(TypeError, match="the ruler must be a NurbCurve.*not None"):
        SweepSurface.build(tube, spine, None)


SCRIPT = """
import json, math, numpy, qorapi, sys
from qorapi import Vector3D as V
DESCRIBE
if sys.argv[1] == "open":
    shapes = list(qorapi.load(PATH).shapes)
else:
    nurb = qorapi.NurbCurve(); nurb.initialize(3, 5)
    [nurb.controlPoints.set(i, V(i, i * i % 3, 0)) for i in range(5)]
    ex = qorapi.ExtrudedSurface("ex", extrudeDir=V(0, 1, 1), heightTo=2.0); ex.sketch = nurb
    arc = qorapi.ArcCurve(); arc.initialize(V(1, 0, 0), 2.0, V(0, 0, 1), V(1, 0, 0))
    dr = qorapi.DraftedSurface("dr", draftAngle=0.2, isConic=True, heightTo=1.0); dr.sketch = arc
    poly = qorapi.PolylineCurve(); poly.initialize([(1, 0, 0), (2, 0, 1), (1, 0, 3)], [0, 1, 2])
    ro = qorapi.RotationalSurface("ro", angleTo=3.0); ro.sketch = poly
    spine = qorapi.LineFeature(); spine.initialize(V(0, 0, 0), V(1, 2, 4))
    ruler = qorapi.LineFeature(); ruler.initialize(V(2, 0, 0), V(3, 2, 4))
    sw = qorapi.SweepSurface.build(arc, spine, ruler, name="sw")
    shapes = [ex, dr, ro, qorapi.ExtrudedSurface("bare"), sw]
    qorapi.save(PATH, qorapi.DataObject("root", shapes=qorapi.DataObjectArray(shapes)))
print(json.dumps([[type(o).__name__, describe(o)] for o in shapes]))
"""


def test_every_kind_survives_a_file_in_a_fresh_process(tmp_path):
    code = SCRIPT.replace("PATH", repr(str(tmp_path / "swept.qdm"))).replace("DESCRIBE", DESCRIBE)
    built, opened = (run_python(args=["-c", code, mode]) for mode in ("build", "open"))
    assert built.returncode == 0 and opened.returncode == 0, (built, opened)
    before, after = json.loads(built.stdout), json.loads(opened.stdout)
    assert [k for k, _ in before] == ["ExtrudedSurface", "DraftedSurface", "RotationalSurface",
                                      "ExtrudedSurface", "SweepSurface"]
    assert before[3][1]["sketch"] == "None" and after == before


def test_the_vase_example_measures_its_pieces_and_reads_them_back():
    r = run_python(args=[os.path.join(REPO, "examples", "swept.py")])
    lines = r.stdout.splitlines()
    assert r.returncode == 0 and lines[-1] == "read back from vase.qdm: equal", r
    band = math.pi * (1.8 + 0.3 * math.tan(math.pi / 6)) * 0.3 / math.cos(math.pi / 6)
    assert float(lines[2].split()[2].rstrip(",")) == pytest.approx(band, rel=1e-3)
