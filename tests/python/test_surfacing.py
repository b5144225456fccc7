"""NURB curves and surfaces, polylines and composite curves from a script: the checks with
their exact texts, the knots bit for bit, the array views, evaluation one by one and many at
once against closed forms, undo, and files read back in a fresh process."""
import json
import math

import numpy as np
import pytest

import qorapi
from qorapi import CompositeCurve, NurbCurve, NurbSurface, PolylineCurve, Vector3D as V
from conftest import run_python

R = math.sqrt(0.5)


def raises(text, call, *args):
    """Runs call(*args) and checks that it raises RuntimeError with exactly `text`."""
    with pytest.raises(RuntimeError) as e:
        call(*args)
    assert str(e.value) == text


def clamped(n, d):
    """The clamped uniform knots of n poles of degree d, by the rule of the curve classes."""
    return [0.0] * (d + 1) + [(i - d) * (1.0 / (n - d)) for i in range(d + 1, n)] + [1.0] * (d + 1)


def hexes(values):
    return [float(x).hex() for x in values]


def circle(full):
    """A NURB circle of radius 1 about the origin: the 9-pole full turn or the quarter."""
    c = NurbCurve()
    if full:
        poles = [(1, 0), (1, 1), (0, 1), (-1, 1), (-1, 0), (-1, -1), (0, -1), (1, -1), (1, 0)]
        knots = [0, 0, 0, .25, .25, .5, .5, .75, .75, 1, 1, 1]
    else:
        poles, knots = [(1, 0), (1, 1), (0, 1)], [0, 0, 0, 1, 1, 1]
    c.initialize(2, len(poles))
    for i, k in enumerate(knots):
        c.knots.set(i, float(k))
    for i, (x, y) in enumerate(poles):
        c.controlPoints.set(i, V(x, y, 0))
        c.weights.set(i, 1.0 if i % 2 == 0 else R)
    return c


def wavy(nu=7, nv=6):
    """A bicubic patch over [0, 3] x [0, 2] with a bumpy height."""
    s = NurbSurface()
    s.initialize(3, 3, nu, nv)
    for i in range(nu):
        for j in range(nv):
            s.controlPoints.set(i, j, V(3 * i / (nu - 1), 2 * j / (nv - 1), math.sin(i + 2 * j)))
    return s


NC, NS = "Error in class NurbCurve: ", "Error in class NurbSurface: "


@pytest.mark.parametrize("cls, args, text", [
    (NurbCurve, (3, -1), NC + "numControlPoints must be a positive integer.."),
    (NurbCurve, (0, -1), NC + "numControlPoints must be a positive integer.."),
    (NurbCurve, (0, 4), NC + "degree must be a positive integer.."),
    (NurbCurve, (3, 3), NC + "numControlPoints must be greater than degree.."),
    (NurbCurve, (3, 0), NC + "numControlPoints must be greater than degree.."),
    (NurbSurface, (3, 3, 0, 4), NS + "numControlPointsInU must be a positive integer.."),
    (NurbSurface, (0, 0, 4, 0), NS + "numControlPointsInV must be a positive integer.."),
    (NurbSurface, (0, 0, 4, 4), NS + "degreeInU must be a positive integer.."),
    (NurbSurface, (3, 0, 4, 4), NS + "degreeInV must be a positive integer.."),
    (NurbSurface, (3, 3, 3, 4), NS + "numControlPointsInU must be greater than degreeInU.."),
    (NurbSurface, (3, 3, 4, 3), NS + "numControlPointsInV must be greater than degreeInV.."),
])
def test_initialize_checks_in_order_and_leaves_the_shape(cls, args, text):
    shape = cls()
    knots = "knots" if cls is NurbCurve else "knotsU"
    raises(text, shape.initialize, *args)
    assert list(shape.get(knots)) == [0.0] * 4 + [1.0] * 4


def test_knots_of_every_initialize_are_the_rule_bit_for_bit():
    curve, surface = NurbCurve(), NurbSurface()
    assert (curve.isRational, surface.isRational) == (False, 0)
    differs = 0
    for d in range(1, 6):
        for n in range(d + 1, 46):
            curve.initialize(d, n)
            assert hexes(curve.knots) == hexes(clamped(n, d)), (d, n)
            assert curve.knots.size() == n + d + 1 and curve.degree == d and curve.isRational
            dv, nv = 6 - d, max(7 - d, n // 3)
            surface.initialize(d, dv, n, nv)
            assert hexes(surface.knotsU) == hexes(clamped(n, d))
            assert hexes(surface.knotsV) == hexes(clamped(nv, dv))
            differs += sum(a != b for a, b in zip(curve.knots, [0.0] * (d + 1) + [
                (i - d) / (n - d) for i in range(d + 1, n)]))
    assert differs > 0, "the reciprocal rule differs from a division somewhere"
    assert surface.isRational == 0 and surface.degreeInU == 5
    assert curve.weights.at(3) == 1.0 and curve.controlPoints.at(3) == V(0, 0, 0)


def test_curve_arrays_are_views_of_the_host():
    c = NurbCurve()
    c.initialize(2, 5)
    assert type(c.knots) is qorapi.DoubleArray and type(c.controlPoints) is qorapi.Vector3DArray
    c.weights.set(1, 2.5)
    c.controlPoints.set(1, V(1, 2, 3))
    assert (c.weights.at(1), c.controlPoints.at(1)) == (2.5, V(1, 2, 3)), "the weight is kept"
    c.knots.set(3, 0.4)
    assert list(c.knots)[3] == 0.4 and c.get("knots").at(3) == 0.4
    for array, word in ((c.controlPoints, "ctrlPoint"), (c.knots, "knot"), (c.weights, "weight")):
        for index in (-1, array.size()):
            raises(f"{NC}{word} index is out of range.", array.at, index)
    for index in (0, 99):
        raises(NC + "Cannot set weight to 0.0. Invalid weight..", c.weights.set, index, 0.0)
    c.weights.set(0, math.nan)
    assert math.isnan(c.weights.at(0))


def test_surface_arrays_take_negative_indices_from_the_end():
    s = wavy(4, 4)
    assert type(s.controlPoints) is qorapi.Vector3DArray2D
    s.weights.set(3, 3, 2.0)
    s.controlPoints.set(-1, -1, V(7, 8, 9))
    assert s.controlPoints.at(3, 3) == V(7, 8, 9) and s.weights.at(-1, -1) == 2.0
    assert s.controlPoints.at(-4, 0) == s.controlPoints.at(0, 0)
    raises(NS + "ctrlPoint u is out of range.", s.controlPoints.at, -5, 0)
    raises(NS + "ctrlPoint v is out of range.", s.controlPoints.set, 0, 4, V(0, 0, 0))
    raises(NS + "weight u is out of range.", s.weights.at, 4, 9)
    raises(NS + "Cannot set weight to 0.0. Invalid weight..", s.weights.set, 9, 9, 0.0)
    raises(NS + "u knot index is out of range.", s.knotsU.at, -1)
    raises(NS + "knot v index is out of range.", s.knotsV.set, 8, 1.0)
    s.knotsV.set(-1, 1.5)
    assert s.knotsV.at(7) == 1.5 and len(list(s.knotsU)) == 8


def test_evaluations_check_the_closed_range_one_by_one_and_many_at_once():
    curve, poly, comp, arc = circle(False), PolylineCurve(), CompositeCurve(), qorapi.ArcCurve()
    poly.initialize([(0, 0, 0), (1, 0, 0)], [0, 1])
    line = qorapi.LineFeature()
    line.initialize(V(0, 0, 0), V(1, 0, 0))
    comp.addCurve(line)
    for shape, label in ((curve, "NURB Curve"), (poly, "PolylineCurve"), (comp, "COMPOSITECURVE"),
                         (arc, "ARC"), (line, "Line")):
        text = f"Error in class {label}: parameter is out of the curve range."
        for call in (shape.evaluatePoint, shape.evaluateTangent, shape.evaluateCurvature):
            raises(text, call, 1.0000001)
        for d in (0, 1, 2):
            raises(text, shape.evaluate_many, [0.5, 1.0, -0.25, 2.0], d)
        assert shape.evaluateTangent(1.0) == V(*shape.evaluate_many([1.0], 1)[0, 1])
    s = wavy()
    for call, name in ((s.evaluatePoint, "evaluatePoint"), (s.evaluateTangent, "evaluateTangent"),
                       (s.evaluateCurvature, "evaluateCurvature")):
        raises(f"Error in class {name}: u parameter is out of the surface range.", call, 1.5, 7.0)
        raises(f"Error in class {name}: v parameter is out of the surface range.", call, 1.0, -1e-9)
    raises("Error in class evaluatePoint: v parameter is out of the surface range.",
           s.evaluate_many, [0.5, 0.5, 2.0], [0.0, 1.5, 0.5])
    raises("Error in class evaluateTangent: u parameter is out of the surface range.",
           s.evaluate_many, [0.5, -1.0], [0.5, 9.0], 1)
    with pytest.raises(ValueError, match="1-D"):
        curve.evaluate_many([[0.5]])
    with pytest.raises(ValueError, match="derivatives must be 0, 1 or 2, not 3"):
        curve.evaluate_many([0.5], 3)
    assert s.evaluateTangent(1.0, 1.0)[0] == V(*s.evaluate_many(1.0, [1.0], 1)[1][0])


def test_evaluate_many_matches_single_evaluations_of_every_kind():
    rng = np.random.default_rng(7)
    nurb = NurbCurve()
    nurb.initialize(3, 12)
    for i in range(12):
        nurb.controlPoints.set(i, V(*rng.normal(size=3)))
        nurb.weights.set(i, float(rng.uniform(0.5, 2)))
    poly = PolylineCurve()
    poly.initialize(rng.normal(size=(6, 3)), np.cumsum(rng.uniform(0.1, 1, 6)))
    comp = CompositeCurve()
    comp.addCurve(circle(False))
    comp.addCurve(qorapi.LineFeature())
    arc = qorapi.ArcCurve()
    arc.initialize(V(1, 2, 3), 2.0, V(0, 0, 1), V(0, 1, 0))
    for shape in (nurb, poly, comp, arc, qorapi.LineFeature()):
        lo, hi = shape.range
        t = np.concatenate([[lo, hi], rng.uniform(lo, hi, 50)])
        points, first, second = (shape.evaluate_many(t, d) for d in (0, 1, 2))
        assert points.shape == (52, 3) and first.shape == (52, 2, 3) and second.shape == (52, 3, 3)
        assert [V(*p) for p in points] == [shape.evaluatePoint(x) for x in t]
        assert [V(*p) for p in first[:, 1]] == [shape.evaluateTangent(x) for x in t]
        np.testing.assert_allclose(second[:, :2], first, rtol=1e-12, atol=1e-12)
    s = wavy()
    u, v = rng.uniform(0, 1, 40), rng.uniform(0, 1, 40)
    points, su, sv, normals = s.evaluate_many(u, v, 1, True)
    assert [V(*p) for p in s.evaluate_many(u, v)] == [s.evaluatePoint(a, b) for a, b in zip(u, v)]
    assert [(V(*a), V(*b)) for a, b in zip(su, sv)] == [s.evaluateTangent(a, b) for a, b in zip(u, v)]
    cross = np.cross(su, sv)
    np.testing.assert_allclose(normals, cross / np.linalg.norm(cross, axis=1)[:, None], atol=1e-12)
    assert np.array_equal(s.evaluate_many(u[0], v, 0, True)[1][0], normals[0])


def test_circles_have_radius_and_curvature_one():
    t = np.linspace(0, 1, 1001)
    for full in (True, False):
        c = circle(full)
        rows = c.evaluate_many(t, 2)
        p, d1, d2 = rows[:, 0], rows[:, 1], rows[:, 2]
        np.testing.assert_allclose(np.linalg.norm(p, axis=1), 1.0, atol=1e-14)
        kappa = np.linalg.norm(np.cross(d1, d2), axis=1) / np.linalg.norm(d1, axis=1) ** 3
        np.testing.assert_allclose(kappa, 1.0, rtol=1e-12)
        for x in (0.0, 0.3, 1.0):
            k = c.evaluateCurvature(x)  # kappa N: towards the centre
            assert math.isclose(k.length(), 1.0, rel_tol=1e-12) and k.dot(c.evaluatePoint(x)) < 0
    assert tuple(c.evaluatePoint(0.5)) == pytest.approx((R, R, 0), abs=1e-15)
    trough = NurbSurface()  # z = x^2 over y: initialize leaves a surface non-rational
    trough.initialize(2, 1, 3, 2)
    for i, (x, z) in enumerate([(-1, 1), (0, -1), (1, 1)]):
        for j in (0, 1):
            trough.controlPoints.set(i, j, V(x, 2 * j, z))
    for u, v in ((0.1, 0.2), (0.5, 0.9), (1.0, 0.0)):
        x, _, z = trough.evaluatePoint(u, v)
        assert x == pytest.approx(2 * u - 1, abs=1e-15) and z == pytest.approx(x * x, abs=1e-15)
        bend = sorted(map(abs, trough.evaluateCurvature(u, v)))
        assert bend == pytest.approx([0, 2 / (1 + 4 * x * x) ** 1.5], abs=1e-12)


def test_polyline_texts_and_forms():
    p, PL = PolylineCurve(), "Error in class PolylineCurve: "
    assert p.range == qorapi.Vector2D(0.0, 2147483647.0) and p.points.size() == 0
    raises(PL + "numpPoints must be a positive integer..", p.initialize, -1)
    raises(PL + "Points must contain at least one point..", p.initialize, [], [])
    raises(PL + "Number of knots must equal number of points..", p.initialize, [(0, 0, 0)], [0, 1])
    p.initialize(0)
    assert p.points.size() == 0
    pts = [(0, 0, 0), (2, 0, 0), (2, 4, 0)]
    p.initialize(qorapi.Vector3DArray(pts), qorapi.DoubleArray([0, 1, 3]))
    q = PolylineCurve()
    q.initialize(np.array(pts, dtype=float), np.array([0, 1, 3]))
    assert list(q.points) == list(p.points) == [V(*x) for x in pts] and list(q.knots) == [0, 1, 3]
    raises(PL + "Cannot append to points. Call initialize() to change number of points or knots.",
           p.points.append, V(0, 0, 0))
    raises(PL + "point index is out of range.", p.points.at, -1)
    raises(PL + "knot index is out of range.", p.knots.set, 3, 1.0)
    assert p.evaluatePoint(2.0) == V(2, 2, 0) and p.evaluateTangent(2.0) == V(0, 2, 0)
    assert p.evaluateCurvature(0.5) == V(0, 0, 0)
    p.transform(qorapi.Transform3D.translation(1, 0, 0))
    assert p.evaluate_many([0, 3]).tolist() == [[1, 0, 0], [3, 4, 0]]


def test_composite_members_are_copies_and_come_back_as_their_class():
    comp, CC = CompositeCurve(), "Error in class COMPOSITECURVE: CompositeCurve: "
    assert comp.range == qorapi.Vector2D(0, 1) and comp.numCurves() == 0
    for wrong in (PolylineCurve(), CompositeCurve(), None):
        raises(CC + "can not get an arc entity.", comp.addCurve, wrong)
        raises(CC + "the entity is wrong.", comp.setCurve, 0, wrong)
    a, b = qorapi.LineFeature(), qorapi.LineFeature()
    a.initialize(V(0, 0, 0), V(1, 0, 0))
    b.initialize(V(1, 0, 0), V(1, 1, 0))
    comp.addCurve(a)
    comp.addCurve(b)
    a.initialize(V(5, 5, 5), V(6, 6, 6))
    assert comp.numCurves() == comp.get("numCurves") == 2 and comp.evaluatePoint(0.0) == V(0, 0, 0)
    assert comp.evaluatePoint(0.5) == V(1, 0, 0) and comp.evaluatePoint(1.0) == V(1, 1, 0)
    member = comp.curve(1)
    assert type(member) is qorapi.LineFeature and member.end == V(1, 1, 0)
    member.initialize(V(9, 9, 9), V(0, 0, 0))
    assert comp.evaluatePoint(1.0) == V(1, 1, 0)
    comp.setCurve(1, circle(False))
    assert type(comp.curve(1)) is NurbCurve and comp.curve(1) is not comp.curve(1)
    assert tuple(comp.evaluatePoint(1.0)) == pytest.approx((0, 1, 0), abs=1e-15)


def test_undo_redo_and_clones():
    c = circle(True)
    c.name = "before"
    before = c.evaluate_many(np.linspace(0, 1, 9))
    record = c.createUndoInfo()
    c.initialize(3, 5)
    c.controlPoints.set(2, V(0, 0, 4))
    c.name = "after"
    record.captureAfter()
    after = c.evaluate_many(np.linspace(0, 1, 9))
    for step, points, name in ((record.undo, before, "before"), (record.redo, after, "after"),
                               (record.undo, before, "before")):
        step()
        assert np.array_equal(c.evaluate_many(np.linspace(0, 1, 9)), points) and c.name == name
    assert record.undoSize() == 16 * 9 + 16 * 5
    twin = c.clone()
    assert type(twin) is NurbCurve and twin.name == "before" and twin is not c
    twin.controlPoints.set(0, V(3, 3, 3))
    assert c.controlPoints.at(0) == V(1, 0, 0)
    copy = NurbCurve()
    copy.copyFrom(c)
    assert list(copy.knots) == list(c.knots) and copy.isRational
    comp = CompositeCurve()
    comp.addCurve(qorapi.LineFeature())
    record = comp.createUndoInfo()
    comp.addCurve(c)
    record.captureAfter()
    for step, count in ((record.undo, 1), (record.redo, 2), (record.undo, 1), (record.redo, 2)):
        step()
        assert comp.numCurves() == count
    s = wavy()
    record = s.createUndoInfo()
    s.controlPoints.set(0, 0, V(-1, -1, -1))
    record.captureAfter()
    record.undo()
    assert s.controlPoints.at(0, 0) == V(0, 0, math.sin(0))
    record.redo()
    assert s.controlPoints.at(0, 0) == V(-1, -1, -1)
    twin = s.clone()
    assert type(twin) is NurbSurface and twin.controlPoints.at(0, 0) == V(-1, -1, -1)
    holder = qorapi.DataObject("holder", curve=c, surface=s)
    assert holder.curve is c and holder.surface is s
    assert qorapi.surfacing.NurbCurve is NurbCurve and isinstance(s, qorapi.Feature)


DESCRIBE = """
import json, numpy, qorapi
def value(v):
    if hasattr(v, "rowCount"):
        return [[repr(v.at(i, j)) for j in range(v.columnCount())] for i in range(v.rowCount())]
    if isinstance(v, (qorapi.DoubleArray, qorapi.Vector3DArray)):
        return [repr(x) for x in v]
    return repr(v)
def describe(o):
    out = {n: value(o.get(n)) for n in sorted(o.property_names())}
    if isinstance(o, qorapi.NurbSurface):
        (lo, hi), (v, _) = o.uRange, o.vRange
        many = o.evaluate_many(numpy.linspace(lo, hi, 7), v)
    else:
        many = o.evaluate_many(numpy.linspace(*o.range, 7))
    return [type(o).__name__, out, [x.hex() for x in many.ravel()]]
"""

BUILD = DESCRIBE + """
from qorapi import Vector3D as V
nurb = qorapi.NurbCurve("nurb"); nurb.initialize(3, 7)
for i in range(7):
    nurb.controlPoints.set(i, V(i, i * i % 5, 1)); nurb.weights.set(i, 1 + i / 7)
poly = qorapi.PolylineCurve("poly"); poly.initialize([(0, 0, 0), (1, 2, 3), (4, 0, 1)], [0, 0.5, 2])
arc = qorapi.ArcCurve(); arc.initialize(V(0, 0, 0), 2.0, V(0, 0, 1), V(1, 0, 0))
comp = qorapi.CompositeCurve("comp"); comp.addCurve(arc); comp.addCurve(nurb)
surf = qorapi.NurbSurface("surf"); surf.initialize(2, 3, 4, 5)
for i in range(4):
    for j in range(5):
        surf.controlPoints.set(i, j, V(i, j, (i - j) ** 2 / 4)); surf.weights.set(i, j, 1 + j / 9)
shapes = [nurb, poly, comp, surf]
qorapi.save(PATH, qorapi.DataObject("root", shapes=qorapi.DataObjectArray(shapes)))
print(json.dumps([describe(o) for o in shapes]))
"""

OPEN = DESCRIBE + """
root = qorapi.load(PATH)
print(json.dumps([describe(o) for o in root.shapes]))
"""


def test_every_kind_survives_a_file_in_a_fresh_process(tmp_path):
    path = repr(str(tmp_path / "shapes.qdm"))
    built = run_python(BUILD.replace("PATH", path))
    assert built.returncode == 0, built
    opened = run_python(OPEN.replace("PATH", path))
    assert opened.returncode == 0, opened
    before, after = json.loads(built.stdout), json.loads(opened.stdout)
    assert [k for k, _, _ in before] == ["NurbCurve", "PolylineCurve", "CompositeCurve", "NurbSurface"]
    assert after == before
