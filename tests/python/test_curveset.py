"""Curve sets from a script: the counts, closedness and components of hand shapes, exact
texts, removal with gaps and its event, the sparse sequence, copies and shared curves, ends as
DirIndex values, and a set read back from a file."""
import math

import pytest

import qorapi
from qorapi import ArcCurve, CompositeCurve, Curves, DirIndex, LineFeature, NurbCurve
from qorapi import PolylineCurve, Vector3D as V, _testing

BAD_INDEX = "Error in class CurveSet: invalid index."
EMPTY = 3.4028234663852886e38


def line(a, b):
    c = LineFeature()
    c.initialize(V(*a), V(*b))
    return c


def loop(points, gap=0.0):
    """Lines around the points, the last one finishing `gap` away (in z) from the first."""
    ends = list(points) + [(points[0][0], points[0][1], points[0][2] + gap)]
    return [line(ends[i], ends[i + 1]) for i in range(len(points))]


def poly(points):
    p = PolylineCurve()
    p.initialize(points, list(range(len(points))))
    return p


def circle(r):
    a = ArcCurve()
    a.initialize(V(5, 0, 0), r, V(0, 0, 1))
    return a


def filled(curves):
    s = Curves()
    for c in curves:
        s.addCurve(c)
    return s


SQUARE = [(0, 0, 0), (1, 0, 0), (1, 1, 0), (0, 1, 0)]
FAR = [(p[0] + 5, p[1], p[2]) for p in SQUARE]


# (curves, numCurves, numComponents, isClosed, length, (lines, arcs, splines, polylines,
# composites))
@pytest.mark.parametrize("make, n, comps, closed, length, kinds", [
    (lambda: loop(SQUARE), 4, 1, True, 4.0, (4, 0, 0, 0, 0)),
    (lambda: loop(SQUARE) + loop(FAR), 8, 2, True, 8.0, (8, 0, 0, 0, 0)),
    (lambda: [poly([(0, 0, 0), (1, 0, 0), (1, 2, 0)]), poly([(1, 2, 0), (4, 6, 0)])],
     2, 1, False, 8.0, (0, 0, 0, 2, 0)),
    (lambda: loop(SQUARE, 1e-9), 4, 1, True, 4.0, (4, 0, 0, 0, 0)),
    (lambda: loop(SQUARE, 1e-7), 4, 1, False, 4.0, (4, 0, 0, 0, 0)),
    (lambda: [circle(2.0), line((0, 0, 0), (0, 0, 3))], 2, 2, False, 4 * math.pi + 3,
     (1, 1, 0, 0, 0)),
    # A new NURB curve is a point, a loop of its own; the empty composite's ends are NaN,
    # never farther apart than the limit.
    (lambda: [NurbCurve(), CompositeCurve()], 2, 2, True, None, (0, 0, 1, 0, 1)),
], ids=["square", "two-loops", "open-polylines", "gap-1e-9", "gap-1e-7", "circle-and-line",
        "nurb-and-composite"])
def test_hand_shapes_give_their_counts_closedness_and_length(make, n, comps, closed, length,
                                                              kinds):
    s = filled(make())
    got = (s.numCurves, s.maxCurvesIndex, s.numComponents, s.isClosed, (s.numLines, s.numArcs,
           s.numSplines, s.numPolylines, s.numCompositeCurves))
    assert got == (n, n - 1, comps, closed, kinds)
    if length is not None:
        assert s.length == pytest.approx(length, abs=1e-12)


def test_empty_objects_answer_the_defaults_and_texts():
    s = Curves()
    assert (s.numCurves, s.maxCurvesIndex, s.length, s.isClosed, s.numComponents) == (0, -1, 0.0,
                                                                                      False, 0)
    assert s.boundingBox == qorapi.QorBounds(V(0, 0, 0), V(0, 0, 0)) and not s.hasCurveSet()
    for call in (s.curve, s.startPoint, s.removeCurve):
        with pytest.raises(RuntimeError, match="^" + BAD_INDEX + "$"):
            call(0)
    for curve, text in ((None, "curve is None"), (qorapi.DataObject(), "Invalid curve"),
                        (qorapi.NurbSurface(), "Invalid curve")):
        with pytest.raises(RuntimeError) as e:
            s.addCurve(curve)
        assert str(e.value) == f"Error in class Curves: {text}."
    # The set made by the first addCurve stays: a set never filled is closed, its box empty.
    assert s.hasCurveSet() and s.isClosed and s.numCurves == 0
    b = s.boundingBox
    assert (b.minimum.x, b.maximum.x) == (EMPTY, -EMPTY)
    assert s.addCurve(line((3, 2, 1), (0, 5, -1))) == 0
    assert s.boundingBox == qorapi.QorBounds(V(0, 2, -1), V(3, 5, 1))


def test_removal_keeps_gaps_fires_updated_and_the_sequence_skips_them():
    s = filled(loop(SQUARE))
    heard = []
    s.subscribe("updated", lambda name, args: heard.append(dict(args)))
    s.removeCurve(0)
    del s[2]
    assert heard == [{"delCurveId": 1}, {"delCurveId": 3}]
    assert (s.numCurves, s.maxCurvesIndex, s.indices(), len(s)) == (2, 3, [1, 3], 2)
    assert [c.end for c in s] == [V(1, 1, 0), V(0, 0, 0)]
    for index in (0, 2, 4, -1):
        with pytest.raises(IndexError, match="^" + BAD_INDEX + "$"):
            s[index]
    with pytest.raises(RuntimeError, match="^" + BAD_INDEX + "$"):
        s.setCurve(0, line((0, 0, 0), (1, 0, 0)))
    s[1] = line((7, 7, 7), (8, 8, 8))
    assert (s.startPoint(1), s.endPoint(3), s.numComponents, s.isClosed) == (V(7, 7, 7),
                                                                              V(0, 0, 0), 2, False)
    assert s.addCurve(line((0, 0, 0), (1, 0, 0))) == 4, "appends never fill a gap"


def test_the_set_keeps_copies_and_lends_its_own_lines():
    given = line((0, 0, 0), (1, 0, 0))
    s = filled([given])
    given.end = V(9, 0, 0)
    assert s.endPoint(0) == V(1, 0, 0), "the set holds a copy"
    s.curve(0).end = V(2, 0, 0)
    assert (s.endPoint(0), s.length) == (V(2, 0, 0), 2.0), "curve(i) of a line is the set's own"
    copy = s.clone()
    copy.curve(0).end = V(3, 0, 0)
    assert (s.length, copy.length, type(copy)) == (2.0, 3.0, Curves)


def test_ends_are_dir_index_values_walking_the_chain():
    s = filled(loop(SQUARE[:3]) + [line((5, 5, 5), (6, 5, 5))])
    assert s.nextEnd(DirIndex(0, 0)) == DirIndex(1, 0)
    assert s.previousEnd(DirIndex(0, 0)) == DirIndex(2, 0)
    assert s.nextEnd(DirIndex(0, 1)) == DirIndex(2, 1), "reversed, the walk turns round"
    assert s.nextEnd(DirIndex(3, 0)) == DirIndex(), "a free end: none"
    assert (s.testEnd(DirIndex(1, 1)), s.testEnd(DirIndex(3, 0))) == (True, False)
    assert (s.testPair(DirIndex(0, 1), DirIndex(1, 0)),
            s.testPair(DirIndex(0, 0), DirIndex(1, 0))) == (True, False)
    with pytest.raises(RuntimeError, match="^" + BAD_INDEX + "$"):
        s.nextEnd(DirIndex(4, 0))
    # Chained within the host's tolerance but 1e-7 apart: open; a wider host tolerance
    # chains the looser loop without making it closed.
    t = filled(loop(SQUARE, 1e-5))
    assert (t.numComponents, t.isClosed) == (1, False)
    assert t.nextEnd(DirIndex(3, 0)) == DirIndex()
    t.rebuild(1e-4)
    assert (t.nextEnd(DirIndex(3, 0)), t.isClosed) == (DirIndex(0, 0), False)


def test_a_set_survives_a_file(tmp_path):
    s = filled(loop(SQUARE) + [circle(1.0)])
    s.removeCurve(1)
    s.name = "profile"
    path = str(tmp_path / "set.wex")
    qorapi.save(path, s)
    back = qorapi.load(path)
    assert type(back) is Curves and back.name == "profile"
    assert (back.indices(), back.numArcs, back.length) == ([0, 2, 3, 4], 1, s.length)
    assert [back.startPoint(i) for i in back.indices()] == [s.startPoint(i) for i in s.indices()]


def test_a_curve_model_hands_out_its_host_set_as_one_curves_object(tmp_path):
    app = qorapi.Application.instance()
    app.newFile()
    try:
        _testing.add_object("Curve", "wires")
        path = str(tmp_path / "wires.wex")
        assert app.saveAs(path) and app.open(path)
        data = app.getModelByName("wires").getData()
        assert type(data) is Curves and data.hasCurveSet() and data.numCurves == 0
        data.addCurve(line((0, 0, 0), (2, 0, 0)))
        again = app.getModelByName("wires").getData()
        assert again is data and again.length == 2.0
    finally:
        app.newFile()
