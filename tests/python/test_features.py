"""Arc and line features from a script: the checks of initialize with their exact texts,
property bounds, evaluation ranges, undo records, files and the document."""
import math

import pytest

import qorapi
from qorapi import ArcCurve, LineFeature, Vector3D as V

ARC = "Error in class ArcCurve: initialize: "
RANGE = "parameter is out of the curve range."


def tilted(degrees):
    """A unit radDir at `degrees` from the z axis."""
    r = math.radians(degrees)
    return V(math.sin(r), 0, math.cos(r))


@pytest.mark.parametrize("radius, normal, rad_dir, error", [
    (0.0, V(0, 0, 1.0000005), V(0.9999995, 0, 0), None),
    (1.0, V(0, 0, 1.00001), V(1, 0, 0), ARC + "normal must be a normalized vector.."),
    (1.0, V(0, 0, 1), V(1.00001, 0, 0), ARC + "radDir must be a normalized vector.."),
    (1.0, V(0, 0, 1), tilted(89.995), None),
    (1.0, V(0, 0, 1), tilted(89.99), ARC + "normal must be perpendicular to the radialDir.."),
    (-1.0, V(0, 0, 1), V(1, 0, 0), ARC + "radius must be non-negative.."),
])
def test_arc_initialize_checks_in_order_and_leaves_the_arc_on_failure(radius, normal, rad_dir,
                                                                     error):
    arc = ArcCurve()
    arc.startAngle, arc.endAngle = 0.5, 2.0
    if error is None:
        arc.initialize(V(1, 2, 3), radius, normal, rad_dir)
        assert (arc.center, arc.radius) == (V(1, 2, 3), radius)
    else:
        with pytest.raises(RuntimeError) as e:
            arc.initialize(V(1, 2, 3), radius, normal, rad_dir)
        assert str(e.value) == error
        assert (arc.center, arc.radius) == (V(0, 0, 0), 1.0)
    assert (arc.startAngle, arc.endAngle) == (0.5, 2.0), "the span survives"


def test_arc_defaults_three_argument_form_and_bounds():
    arc = ArcCurve()
    assert (arc.xAxis, arc.startAngle, arc.endAngle, arc.range) == (
        V(1, 0, 0), 0.0, 2 * math.pi, qorapi.Vector2D(0, 1))
    with pytest.raises(TypeError, match="make one of the feature classes"):
        qorapi.Feature()
    arc.initialize(V(0, 0, 0), 2.0, V(0, 0, 1))
    assert arc.radialDir == V(1, 0, 0) and arc.radius == 2.0
    with pytest.raises(RuntimeError, match="normal must be a normalized vector"):
        arc.initialize(V(0, 0, 0), 2.0, V(0, 0, 2))
    with pytest.raises(RuntimeError) as e:
        arc.startAngle = 7
    assert "'startAngle' is out of bounds '7.000000'" in str(e.value)
    assert arc.startAngle == 0.0
    with pytest.raises(RuntimeError, match="^Error in class ArcCurve: normal must be a normalized"):
        arc.normal = V(0, 0, 3)


def test_evaluations_accept_both_range_ends_and_refuse_beyond():
    arc, line = ArcCurve(), LineFeature()
    arc.initialize(V(0, 0, 0), 2.0, V(0, 0, 1), V(1, 0, 0))
    line.initialize(V(0, 0, 0), V(4, 0, 0))
    for t in (0.0, 1.0):
        assert abs(arc.evaluatePoint(t).x - 2.0) < 1e-12
        assert line.evaluatePoint(t) == V(4 * t, 0, 0)
    assert arc.evaluateCurvature(0.25).dot(V(0, 1, 0)) == pytest.approx(2.0)
    assert line.evaluateCurvature(0.5) == V(0, 0, 0)
    assert line.evaluateTangent(0.5) == V(4, 0, 0)
    for curve, name in ((arc, "ARC"), (line, "Line")):
        for call in (curve.evaluatePoint, curve.evaluateTangent, curve.evaluateCurvature):
            with pytest.raises(RuntimeError) as e:
                call(1.000001)
            assert str(e.value) == f"Error in class {name}: {RANGE}"


def test_line_initialize_direction_length_and_table_values():
    line = LineFeature()
    line.initialize(V(1, 2, 3), V(0, 0, 2), 3)
    assert (line.start, line.end, line.length) == (V(1, 2, 3), V(1, 2, 6), 3.0)
    line.initialize(V(0, 0, 0), V(5, 0, 0))
    assert line.direction == V(0, 0, 1), "no <Direction> in the table"
    assert line.range == qorapi.Vector2D(0, 1)
    with pytest.raises(RuntimeError) as e:
        line.initialize(V(0, 0, 0), V(1, 0, 0), -1)
    assert str(e.value) == "Error in class LineFeature: initialize: length must be non-negative.."
    line.end = V(0, 3, 4)
    assert line.length == 5.0 and line.start == V(0, 0, 0)
    line.planeNormal = V(0, 0, 1)
    assert line.planeNormal == V(0, 0, 1)


def test_undo_records_files_and_wrapping(tmp_path):
    arc = ArcCurve()
    arc.name = "a"
    undo = arc.createUndoInfo()
    assert undo.undoSize() == 80
    arc.radius, arc.name = 5.0, "b"
    undo.captureAfter()
    assert undo.undoSize() == 160
    undo.undo()
    assert (arc.radius, arc.name) == (1.0, "a")
    undo.redo()
    assert (arc.radius, arc.name) == (5.0, "b")
    holder = qorapi.DataObject("holder", curve=arc)
    assert holder.curve is arc
    path = str(tmp_path / "arc.qdm")
    qorapi.save(path, arc)
    back = qorapi.load(path)
    assert type(back) is ArcCurve and (back.radius, back.name) == (5.0, "b")
    with pytest.raises(TypeError, match="16 numbers"):
        arc.transform([1, 2])
    arc.transform(qorapi.Transform3D(1, 0, 0, 1, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1))
    assert arc.center == V(1, 0, 0)


def test_features_enter_and_leave_a_model(tmp_path):
    app = qorapi.Application.instance()
    app.newFile()
    path = tmp_path / "cloud.xyz"
    path.write_text("0 0 0\n1 2 3\n")
    assert app.importFile(str(path))
    mm = qorapi.ModelManager.instance()
    arc = ArcCurve()
    arc.name = "rim"
    assert mm.addFeature(app.getModels()[0], arc) == 1
    assert mm.getNumFeatures() == 1
    assert mm.removeFeature(arc) == 1 and mm.getNumFeatures() == 0
    app.newFile()
