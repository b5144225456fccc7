"""NURB curves and surfaces, polylines and composite curves from a script: exact texts, knots
bit for bit, the array views, evaluation one by one and many at once against closed forms,
undo, and files read back in a fresh process."""
import json
import math

import numpy as np
import pytest

import qorapi
from qorapi import CompositeCurve, NurbCurve, NurbSurface, PolylineCurve, Vector3D as V
from conftest import run_python

R = math.sqrt(0.5)
NC, NS = "Error in class NurbCurve: ", "Error in class NurbSurface: "


def raises(text, call, *args):
    """Runs call(*args) and checks that it raises RuntimeError with exactly `text`."""
    with pytest.raises(RuntimeError) as e:
        call(*args)
    assert str(e.value) == text


def clamped(n, d):
    """The clamped uniform knots of n poles of degree d, as bits: (i - d) * (1.0 / (n - d))."""
    inner = [(i - d) * (1.0 / (n - d)) for i in range(d + 1, n)]
    return [x.hex() for x in [0.0] * (d + 1) + inner + [1.0] * (d + 1)]


def curve_on(poles, weights, degree, knots=()):
    """A NurbCurve with these poles, weights and (when given) knots."""
    c = NurbCurve()
    c.initialize(degree, len(poles))
    for i, k in enumerate(knots):
        c.knots.set(i, float(k))
    for i, (p, w) in enumerate(zip(poles, weights)):
        c.controlPoints.set(i, V(*p)), c.weights.set(i, float(w))
    return c


def circle(full):
    """A NURB circle of radius 1 about the origin: the 9-pole full turn or the quarter."""
    poles = [(1, 0, 0), (1, 1, 0), (0, 1, 0), (-1, 1, 0), (-1, 0, 0), (-1, -1, 0), (0, -1, 0),
             (1, -1, 0), (1, 0, 0)][:9 if full else 3]
    knots = [0, 0, 0, .25, .25, .5, .5, .75, .75, 1, 1, 1] if full else [0, 0, 0, 1, 1, 1]
    return curve_on(poles, [1.0 if i % 2 == 0 else R for i in range(len(poles))], 2, knots)


def patch(nu=7, nv=6, du=3, dv=3, height=lambda i, j: math.sin(i + 2 * j)):
    """A NurbSurface over [0, 1] x [0, 1] (poles evenly spaced) with poles at height(i, j)."""
    s = NurbSurface()
    s.initialize(du, dv, nu, nv)
    for i in range(nu):
        for j in range(nv):
            s.controlPoints.set(i, j, V(i / (nu - 1), j / (nv - 1), height(i, j)))
    return s


@pytest.mark.parametrize("cls, args, text", [
    (NurbCurve, (3, -1), NC + "numControlPoints must be a positive integer.."),
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
    raises(text, shape.initialize, *args)
    assert list(shape.get("knots" if cls is NurbCurve else "knotsU")) == [0.0] * 4 + [1.0] * 4


def test_knots_of_every_initialize_are_the_rule_bit_for_bit():
    curve, surface = NurbCurve(), NurbSurface()
    assert (curve.isRational, surface.isRational) == (False, 0)
    for d in range(1, 6):
        for n in range(d + 1, 46):
            curve.initialize(d, n)
            assert [x.hex() for x in curve.knots] == clamped(n, d) and curve.isRational, (d, n)
            surface.initialize(d, 6 - d, n, max(7 - d, n // 3))
            assert [[x.hex() for x in k] for k in (surface.knotsU, surface.knotsV)] == [
                clamped(n, d), clamped(max(7 - d, n // 3), 6 - d)]
    curve.initialize(1, 6)
    assert curve.knots.at(4) == 0.6000000000000001 != 3 / 5, "a reciprocal times, not a division"
    assert surface.isRational == 0 and (surface.degreeInU, curve.degree) == (5, 1)


def test_array_views_check_indices_keep_weights_and_count_from_the_end():
    c, s = NurbCurve(), patch(4, 4)
    c.initialize(2, 5)
    assert (type(c.knots), type(s.controlPoints)) == (qorapi.DoubleArray, qorapi.Vector3DArray2D)
    c.weights.set(1, 2.5), c.controlPoints.set(1, V(1, 2, 3)), c.knots.set(3, 0.4)
    assert (c.weights.at(1), c.controlPoints.at(1), list(c.knots)[3]) == (2.5, V(1, 2, 3), 0.4)
    for array, word in ((c.controlPoints, "ctrlPoint"), (c.knots, "knot"), (c.weights, "weight")):
        for index in (-1, array.size()):
            raises(f"{NC}{word} index is out of range.", array.at, index)
    for index in (0, 99):
        raises(NC + "Cannot set weight to 0.0. Invalid weight..", c.weights.set, index, 0.0)
    s.weights.set(3, 3, 2.0), s.controlPoints.set(-1, -1, V(7, 8, 9)), s.knotsV.set(-1, 1.5)
    assert (s.controlPoints.at(3, 3), s.weights.at(-1, -1), s.knotsV.at(7)) == (V(7, 8, 9), 2.0, 1.5)
    assert s.controlPoints.at(-4, 0) == s.controlPoints.at(0, 0) and len(list(s.knotsU)) == 8
    raises(NS + "ctrlPoint u is out of range.", s.controlPoints.at, -5, 0)
    raises(NS + "ctrlPoint v is out of range.", s.controlPoints.set, 0, 4, V(0, 0, 0))
    raises(NS + "weight u is out of range.", s.weights.at, 4, 9)
    raises(NS + "Cannot set weight to 0.0. Invalid weight..", s.weights.set, 9, 9, 0.0)
    raises(NS + "u knot index is out of range.", s.knotsU.at, -1)
    raises(NS + "knot v index is out of range.", s.knotsV.set, 8, 1.0)
    # A view outlives its shell and goes on reading the host.
    knots, poles, points = NurbCurve().knots, patch(4, 4).controlPoints, PolylineCurve().points
    assert (len(list(knots)), poles.rowCount(), points.size()) == (8, 4, 0)


def test_evaluations_check_the_closed_range_one_by_one_and_many_at_once():
    poly, comp, line = PolylineCurve(), CompositeCurve(), qorapi.LineFeature()
    poly.initialize([(0, 0, 0), (1, 0, 0)], [0, 1])
    comp.addCurve(line)
    for shape, label in ((circle(False), "NURB Curve"), (poly, "PolylineCurve"),
                         (comp, "COMPOSITECURVE"), (qorapi.ArcCurve(), "ARC"), (line, "Line")):
        text = f"Error in class {label}: parameter is out of the curve range."
        for call in (shape.evaluatePoint, shape.evaluateTangent, shape.evaluateCurvature):
            raises(text, call, 1.0000001)
        for d in (0, 1, 2):
            raises(text, shape.evaluate_many, [0.5, 1.0, -0.25, 2.0], d)
        assert shape.evaluateTangent(1.0) == V(*shape.evaluate_many([1.0], 1)[0, 1])
    s = patch()
    for call in (s.evaluatePoint, s.evaluateTangent, s.evaluateCurvature):
        name = call.__name__
        raises(f"Error in class {name}: u parameter is out of the surface range.", call, 1.5, 7.0)
        raises(f"Error in class {name}: v parameter is out of the surface range.", call, 1.0, -1e-9)
    raises("Error in class evaluatePoint: v parameter is out of the surface range.",
           s.evaluate_many, [0.5, 0.5, 2.0], [0.0, 1.5, 0.5])
    raises("Error in class evaluateTangent: u parameter is out of the surface range.",
           s.evaluate_many, [0.5, -1.0], [0.5, 9.0], 1)


def test_evaluate_many_matches_single_evaluations_of_every_kind():
    rng = np.random.default_rng(7)
    poly, comp, arc = PolylineCurve(), CompositeCurve(), qorapi.ArcCurve()
    poly.initialize(rng.normal(size=(6, 3)), np.cumsum(rng.uniform(0.1, 1, 6)))
    comp.addCurve(circle(False)), comp.addCurve(qorapi.LineFeature())
    arc.initialize(V(1, 2, 3), 2.0, V(0, 0, 1), V(0, 1, 0))
    nurb = curve_on(rng.normal(size=(12, 3)), rng.uniform(0.5, 2, 12), 3)
    for shape in (nurb, poly, comp, arc, qorapi.LineFeature()):
        lo, hi = shape.range
        t = np.concatenate([[lo, hi], rng.uniform(lo, hi, 50)])
        points, first, second = (shape.evaluate_many(t, d) for d in (0, 1, 2))
        assert points.shape == (52, 3) and first.shape == (52, 2, 3) and second.shape == (52, 3, 3)
        assert [V(*p) for p in points] == [shape.evaluatePoint(x) for x in t]
        assert [V(*p) for p in first[:, 1]] == [shape.evaluateTangent(x) for x in t]
        np.testing.assert_allclose(second[:, :2], first, rtol=1e-12, atol=1e-12)
    s, u, v = patch(), rng.uniform(0, 1, 40), rng.uniform(0, 1, 40)
    points, su, sv, normals = s.evaluate_many(u, v, 1, True)
    assert [V(*p) for p in s.evaluate_many(u, v)] == [s.evaluatePoint(a, b) for a, b in zip(u, v)]
    assert [(V(*a), V(*b)) for a, b in zip(su, sv)] == [s.evaluateTangent(a, b) for a, b in zip(u, v)]
    cross = np.cross(su, sv)
    np.testing.assert_allclose(normals, cross / np.linalg.norm(cross, axis=1)[:, None], atol=1e-12)
    assert np.array_equal(s.evaluate_many(u[0], v, 0, True)[1][0], normals[0])


def test_circles_have_radius_and_curvature_one_and_a_trough_its_bend():
    for c in (circle(True), circle(False)):
        rows = c.evaluate_many(np.linspace(0, 1, 1001), 2)
        np.testing.assert_allclose(np.linalg.norm(rows[:, 0], axis=1), 1.0, atol=1e-14)
        speed, bend = np.linalg.norm(rows[:, 1], axis=1), np.cross(rows[:, 1], rows[:, 2])
        np.testing.assert_allclose(np.linalg.norm(bend, axis=1) / speed ** 3, 1.0, rtol=1e-12)
        ks = [(c.evaluateCurvature(x), c.evaluatePoint(x)) for x in (0.0, 0.3, 1.0)]  # kappa N
        assert all(math.isclose(k.length(), 1, rel_tol=1e-12) and k.dot(p) < 0 for k, p in ks)
    assert tuple(c.evaluatePoint(0.5)) == pytest.approx((R, R, 0), abs=1e-15)
    c.transform(qorapi.Transform3D.translation(0, 0, 2)), c.prepare()
    assert c.evaluatePoint(0.0) == V(1, 0, 2) and c.weights.at(1) == R
    trough = patch(3, 2, 2, 1, lambda i, j: (1, -1, 1)[i])  # z = (2x - 1)^2, not rational
    for u, v in ((0.1, 0.2), (0.5, 0.9), (1.0, 0.0)):
        assert tuple(trough.evaluatePoint(u, v)) == pytest.approx((u, v, (2 * u - 1) ** 2), abs=1e-15)
        bend = sorted(map(abs, trough.evaluateCurvature(u, v)))
        assert bend == pytest.approx([0, 8 / (1 + 16 * (2 * u - 1) ** 2) ** 1.5], abs=1e-12)


def test_polyline_texts_and_forms():
    p, q, PL = PolylineCurve(), PolylineCurve(), "Error in class PolylineCurve: "
    assert p.range == qorapi.Vector2D(0.0, 2147483647.0) and p.points.size() == 0
    raises(PL + "numpPoints must be a positive integer..", p.initialize, -1)
    raises(PL + "Points must contain at least one point..", p.initialize, [], [])
    raises(PL + "Number of knots must equal number of points..", p.initialize, [(0, 0, 0)], [0, 1])
    pts = [(0, 0, 0), (2, 0, 0), (2, 4, 0)]
    p.initialize(qorapi.Vector3DArray(pts), qorapi.DoubleArray([0, 1, 3]))
    q.initialize(np.array(pts, dtype=float), np.array([0, 1, 3]))
    assert list(q.points) == list(p.points) == [V(*x) for x in pts] and list(q.knots) == [0, 1, 3]
    raises(PL + "Cannot append to points. Call initialize() to change number of points or knots.",
           p.points.append, V(0, 0, 0))
    raises(PL + "point index is out of range.", p.points.at, 3)
    assert (p.evaluatePoint(2.0), p.evaluateTangent(2.0), p.evaluateCurvature(0.5)) == (
        V(2, 2, 0), V(0, 2, 0), V(0, 0, 0))
    p.transform(qorapi.Transform3D.translation(1, 0, 0))
    assert p.evaluate_many([0, 3]).tolist() == [[1, 0, 0], [3, 4, 0]]


def test_composite_members_are_copies_and_come_back_as_their_class():
    comp, CC = CompositeCurve(), "Error in class COMPOSITECURVE: CompositeCurve: "
    assert comp.range == qorapi.Vector2D(0, 1) and comp.numCurves() == 0
    for wrong in (PolylineCurve(), CompositeCurve(), None):
        raises(CC + "can not get an arc entity.", comp.addCurve, wrong)
        raises(CC + "the entity is wrong.", comp.setCurve, 0, wrong)
    a, b = qorapi.LineFeature(), qorapi.LineFeature()
    a.initialize(V(0, 0, 0), V(1, 0, 0)), b.initialize(V(1, 0, 0), V(1, 1, 0))
    comp.addCurve(a), comp.addCurve(b)
    a.initialize(V(5, 5, 5), V(6, 6, 6))
    member = comp.curve(1)
    member.initialize(V(9, 9, 9), V(0, 0, 0))
    assert comp.numCurves() == comp.get("numCurves") == 2 and type(member) is qorapi.LineFeature
    assert [comp.evaluatePoint(t) for t in (0, 0.5, 1)] == [V(0, 0, 0), V(1, 0, 0), V(1, 1, 0)]
    comp.setCurve(1, circle(False))
    assert type(comp.curve(1)) is NurbCurve and comp.curve(1) is not comp.curve(1)
    assert tuple(comp.evaluatePoint(1.0)) == pytest.approx((0, 1, 0), abs=1e-15)


def test_undo_redo_and_clones():
    c, comp, s, t = circle(True), CompositeCurve(), patch(), np.linspace(0, 1, 9)
    c.name, before = "before", c.evaluate_many(t)
    comp.addCurve(qorapi.LineFeature())
    records = [c.createUndoInfo(), comp.createUndoInfo(), s.createUndoInfo()]
    c.initialize(3, 5), c.controlPoints.set(2, V(0, 0, 4))
    c.name, after = "after", c.evaluate_many(t)
    comp.addCurve(c), s.controlPoints.set(0, 0, V(-1, -1, -1))
    for r in records:
        r.captureAfter()
    for step, points, name, count, z in (("undo", before, "before", 1, 0), ("redo", after, "after", 2, -1),
                                         ("undo", before, "before", 1, 0)):
        for r in records:
            getattr(r, step)()
        assert np.array_equal(c.evaluate_many(t), points) and c.name == name
        assert comp.numCurves() == count and s.controlPoints.at(0, 0).z == s.clone().controlPoints.at(0, 0).z == z
    assert records[0].undoSize() == 16 * 9 + 16 * 5
    twin = c.clone()
    twin.controlPoints.set(0, V(3, 3, 3))
    assert type(twin) is NurbCurve and twin.name == "before" and c.controlPoints.at(0) == V(1, 0, 0)
    twin.copyFrom(c)
    assert list(twin.knots) == list(c.knots) and twin.controlPoints.at(0) == V(1, 0, 0)
    assert type(s.clone()) is NurbSurface and qorapi.DataObject("h", c=c, s=s).s is s


SCRIPT = """
import json, numpy, qorapi, sys
from qorapi import Vector3D as V
def value(v):  # a 2D array by its entries, anything else by its repr
    rows = range(v.rowCount()) if hasattr(v, "rowCount") else None
    return repr(v) if rows is None else [repr(v.at(i, j)) for i in rows for j in range(v.columnCount())]
def describe(o):
    many = (o.evaluate_many(numpy.linspace(*o.uRange, 7), list(o.vRange)[0]) if o.has("uRange")
            else o.evaluate_many(numpy.linspace(*o.range, 7)))
    values = {n: value(o.get(n)) for n in sorted(o.property_names())}
    return [type(o).__name__, values, [x.hex() for x in many.ravel()]]
if sys.argv[1] == "open":
    shapes = list(qorapi.load(PATH).shapes)
else:
    nurb = qorapi.NurbCurve("nurb"); nurb.initialize(3, 7)
    [(nurb.controlPoints.set(i, V(i, i * i % 5, 1)), nurb.weights.set(i, 1 + i / 7)) for i in range(7)]
    poly = qorapi.PolylineCurve("poly"); poly.initialize([(0, 0, 0), (1, 2, 3), (4, 0, 1)], [0, .5, 2])
    arc = qorapi.ArcCurve(); arc.initialize(V(0, 0, 0), 2.0, V(0, 0, 1), V(1, 0, 0))
    comp = qorapi.CompositeCurve("comp"); comp.addCurve(arc); comp.addCurve(nurb)
    surf = qorapi.NurbSurface("surf"); surf.initialize(2, 3, 4, 5)
    [surf.controlPoints.set(i, j, V(i, j, (i - j) ** 2 / 4)) for i in range(4) for j in range(5)]
    shapes = [nurb, poly, comp, surf]
    qorapi.save(PATH, qorapi.DataObject("root", shapes=qorapi.DataObjectArray(shapes)))
print(json.dumps([describe(o) for o in shapes]))
"""


def test_every_kind_survives_a_file_in_a_fresh_process(tmp_path):
    code = SCRIPT.replace("PATH", repr(str(tmp_path / "shapes.qdm")))
    built, opened = (run_python(args=["-c", code, mode]) for mode in ("build", "open"))
    assert built.returncode == 0 and opened.returncode == 0, (built, opened)
    before, after = json.loads(built.stdout), json.loads(opened.stdout)
    assert [k for k, _, _ in before] == ["NurbCurve", "PolylineCurve", "CompositeCurve", "NurbSurface"]
    assert after == before


def test_assigning_a_whole_view_writes_the_host_all_or_nothing():
    curve = qorapi.NurbCurve()
    curve.knots = [0, 0, 0, 0, 2, 2, 2, 2]
    assert list(curve.knots) == [0, 0, 0, 0, 2, 2, 2, 2] and curve.evaluatePoint(0.5) is not None
    with pytest.raises(RuntimeError, match="Cannot set weight to 0.0"):
        curve.weights = [1, 2, 0.0, 1]
    assert list(curve.weights) == [1, 1, 1, 1]
    with pytest.raises(ValueError, match=r"NurbCurve.knots takes 8 values, not 3"):
        curve.set("knots", [0, 1, 2])
    with pytest.raises(TypeError, match="cannot be None"):
        curve.controlPoints = None
    patch = qorapi.NurbSurface()
    patch.controlPoints = np.arange(48.0).reshape(4, 4, 3)
    assert patch.controlPoints.at(-1, -1) == qorapi.Vector3D(45, 46, 47)
    with pytest.raises(ValueError, match=r"shape \(4, 4\)"):
        patch.weights = np.ones((3, 4))
    line = qorapi.PolylineCurve()
    line.initialize(2)
    line.points = [(0, 0, 0), (3, 4, 0)]
    assert line.evaluatePoint(1) == qorapi.Vector3D(3, 4, 0)
