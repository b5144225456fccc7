"""Surface features: the checks of each initialize form and setter in their order, the
direction rules, "solidity", and the plane's own measures against a numpy model."""
import math

import numpy as np
import pytest

import qorapi
from qorapi import ConeSurface, CylinderSurface, PlaneSurface, SphereSurface, TorusSurface
from qorapi import Vector2D, Vector3D as V


def made(cls):
    """A new surface, or a skip when the host has no such service."""
    try:
        return cls()
    except LookupError as e:
        pytest.skip(str(e))


def close(a, b, tol=1e-12):
    return all(abs(x - y) <= tol for x, y in zip(a, b))


O, X, Y, Z = V(0, 0, 0), V(1, 0, 0), V(0, 1, 0), V(0, 0, 1)
HALF_PI = 1.5707963267948966


def err(cls, text):
    return f"Error in class {cls}: {text}."


# (class, initialize arguments, the exact error or None when it passes)
CHECKS = [
    (ConeSurface, (O, Z, -1.0, -2.0), "initialize: radiusFrom must be non-negative."),
    (ConeSurface, (O, Z, 1.0, -2.0), "initialize: radiusTo must be non-negative."),
    (ConeSurface, (O, Z, 2.0, 1.0), "initialize: radiusFrom must be less than or equal to radiusTo."),
    (ConeSurface, (O, Z, 2.0, 1.0, Z), "initialize: radiusFrom must be less than or equal to radiusTo."),
    (ConeSurface, (O, Z, 1.0, 2.0, Z), "initialize: radialDir must be perpendicular to the axis."),
    (ConeSurface, (O, Z * 5, 1.0, 1.0, X * 3), None),
    (ConeSurface, (O, Z, 0.0), None),
    (ConeSurface, (O, Z, HALF_PI), None),
    (ConeSurface, (O, Z, HALF_PI + 1e-12), "initialize: halfAngle must between 0 and pi/2."),
    (ConeSurface, (O, Z, -1e-12, 1.0, 2.0), "initialize: halfAngle must between 0 and pi/2."),
    (ConeSurface, (O, Z, 9.0, 1.0, 2.0, Z), "initialize: radialDir must be perpendicular to the axis."),
    (ConeSurface, (O, Z * 2, 0.5, 1.0, 2.0, Y * 4), None),
    (CylinderSurface, (O, Z, 1.0, -1.0, Z), "initialize: radius must be non-negative."),
    (CylinderSurface, (O, Z, 1.0, 1.0, Z), "initialize: radialDir must be perpendicular to the axis."),
    (CylinderSurface, (O, Z, -1.0, Z), "initialize: radius must be non-negative."),
    (CylinderSurface, (O, Z, 1.0, Z), "initialize: radialDir must be perpendicular to the axis."),
    (CylinderSurface, (O, Z, 1.0, -1.0), "initialize: radius must be non-negative."),
    (CylinderSurface, (O, Z, -1.0), "initialize: radius must be non-negative."),
    (SphereSurface, (O, -1.0, Z, Z), "initialize: radius must be non-negative."),
    (SphereSurface, (O, 1.0, Z, Z * 3), "initialize: radialDir must be perpendicular to the axis."),
    (SphereSurface, (O, -1.0, Z), "initialize: radius must be non-negative."),
    (SphereSurface, (O, -1.0), "initialize: radius must be non-negative."),
    (TorusSurface, (O, Z, -1.0, 1.0, X), "initialize: radiuses must be non-negative."),
    (TorusSurface, (O, Z, 1.0, -1.0), "initialize: radiuses must be non-negative."),
    (PlaneSurface, (O, Z, Z * 2, Vector2D(0, 1), Vector2D(0, 1)), "initialize: uDir must be perpendicular to normal."),
    (PlaneSurface, (O, Z, V(1, 0, 0.01)), "initialize: uDir must be perpendicular to normal."),
    (PlaneSurface, (O, Z * 7, Y * 2), None),
]


@pytest.mark.parametrize("cls, args, expected", CHECKS)
def test_checks_in_order_leave_the_host_alone(cls, args, expected):
    s = made(cls)
    before = {n: getattr(s, n) for n in ("axis", "normal", "center", "radius", "origin") if hasattr(s, n)}
    if expected is None:
        s.initialize(*args)
        return
    with pytest.raises(RuntimeError) as e:
        s.initialize(*args)
    assert str(e.value) == err(cls.__name__, expected)
    assert {n: getattr(s, n) for n in before} == before


def test_cone_setters_and_step_rule():
    c = made(ConeSurface)
    c.initialize(O, Z * 2, 1.0, 2.0)
    for prop, value, text in [("radiusFrom", -1.0, "radiusFrom must be non-negative."),
                              ("radiusFrom", 3.0, "radiusFrom must be less than or equal to radiusTo."),
                              ("radiusTo", -1.0, "radiusTo must be non-negative."),
                              ("radiusTo", 0.5, "radiusTo must greater than or equal to radiusFrom.")]:
        with pytest.raises(RuntimeError) as e:
            setattr(c, prop, value)
        assert str(e.value) == err("ConeSurface", text)
    c.radiusTo = 4.0
    c.centerTo = V(0, 0, 3)
    assert (c.radiusFrom, c.radiusTo, c.centerFrom, c.centerTo) == (1.0, 4.0, O, V(0, 0, 3))
    assert c.radialDir == X and math.isclose(c.height, 3.0)


def test_cylinder_centers_follow_axis_and_height():
    c = made(CylinderSurface)
    c.initialize(V(1, 2, 3), V(0, 0, 2), 3.0, 1.0)
    assert (c.centerTo, c.axis, c.radialDir, c.height) == (V(1, 2, 6), Z, X, 3.0)
    c.height = 5.0
    assert c.centerTo == V(1, 2, 8)
    c.centerFrom = V(0, 0, 0)
    assert c.centerTo == V(0, 0, 5)
    c.axis = V(0, 2, 0)
    assert close(c.centerTo, (0, 5, 0))


def test_sphere_setters():
    s = made(SphereSurface)
    s.initialize(O, 2.0, X, Y)
    assert s.radDir == Y
    s.axis = Z
    assert (s.axis, s.radDir) == (Z, X)
    for prop, text in [("axis", "axis must be a normalized vector."),
                       ("radDir", "radDir must be a normalized vector.")]:
        with pytest.raises(RuntimeError) as e:
            setattr(s, prop, V(0, 0, 2))
        assert str(e.value) == err("SphereSurface", text)
    s.center = V(1, 1, 1)
    assert (s.center, s.radius, s.axis) == (V(1, 1, 1), 2.0, Z)


def test_torus_frames():
    t = made(TorusSurface)
    for axis, rad in [(Z, (1, 0, 0)), (X, (0, 1, 0)), (V(0.8, 0.6, 0), (-0.6, 0.8, 0))]:
        t.initialize(O, axis, 5.0, 1.0)
        assert close(t.radDir, rad)
    t.initialize(O, Z * 3, 5.0, 1.0, V(2, 0, 7))
    assert (t.axis, t.radDir) == (Z, X)
    with pytest.raises(RuntimeError) as e:
        t.axis = V(0, 0, 0.5)
    assert str(e.value) == err("TorusSurface", "axis must be a normalized vector.")


def test_solidity_lives_in_the_table():
    for cls in (ConeSurface, CylinderSurface, SphereSurface, TorusSurface):
        s = made(cls)
        assert s.solidity == 0
        s.solidity = 2
        assert s.solidity == 2
        s.solidity = 0
        assert s.solidity == 0
        with pytest.raises(RuntimeError, match="out of bounds '3'"):
            s.solidity = 3
        assert s.solidity == 0
    assert not hasattr(made(PlaneSurface), "solidity")


def test_plane_rule_and_ranges():
    p = made(PlaneSurface)
    for normal, u in [(X, (0, 0, -1)), (Z, (0, -1, 0)), (Y, (0, 0, 1)), (X * 2, (0, 0, -1))]:
        p.initialize(O, normal)
        assert close(p.uDir, u)
    p.initialize(O, Z, X, Vector2D(-1, 2), Vector2D(-3, 4))
    p.normal = V(0, 3, 0)
    assert (p.normal, p.uRange, p.vRange) == (Y, Vector2D(-1, 2), Vector2D(-3, 4))
    assert close(p.uDir, (0, 0, 1))
    p.vRange = Vector2D(0, 1)
    assert (p.uRange, p.vRange, p.center) == (Vector2D(-1, 2), Vector2D(0, 1), p.origin)


def test_plane_measures():
    floor, wall = made(PlaneSurface), made(PlaneSurface)
    floor.initialize(V(5, 5, 2), Z * 4)
    wall.initialize(V(3, 7, 1), X)
    assert floor.distance(V(1, 1, 5)) == 3.0 and floor.distance(V(1, 1, -1)) == -3.0
    assert floor.project(V(1, 1, 5)) == V(1, 1, 2)
    assert close(floor.intersectLine(O, V(1, 0, 1)), (2, 0, 2))
    assert floor.intersectLine(O, V(1, 1, 0)) is None
    point, direction = floor.intersectPlane(wall)
    assert close(point, (3, 0, 2)) and direction == Y
    other = made(PlaneSurface)
    other.initialize(V(0, 0, 9), -Z)
    assert floor.intersectPlane(other) is None


def test_projection_of_random_points_on_random_planes():
    rng = np.random.default_rng(7)
    p = made(PlaneSurface)
    for _ in range(2000):
        o, n, q = (V(*rng.normal(scale=10, size=3)) for _ in range(3))
        p.initialize(o, n)
        f = p.project(q)
        unit = np.asarray(tuple(n)) / n.length()
        assert abs(p.distance(f)) <= 1e-9 * (1 + q.length() + o.length())
        assert np.linalg.norm(np.cross(np.asarray(tuple(q - f)), unit)) <= 1e-9 * (1 + q.length() + o.length())
        assert math.isclose(p.distance(q), float(unit @ (np.asarray(tuple(q)) - tuple(o))), abs_tol=1e-9 * (1 + q.length() + o.length()))


def test_surfaces_come_back_from_a_file_as_their_class(tmp_path):
    shapes = [(ConeSurface, (O, Z * 2, 1.0, 2.0), "radiusTo"), (CylinderSurface, (O, Z, 3.0, 1.5), "centerTo"),
              (PlaneSurface, (X, Y), "uDir"), (SphereSurface, (Z, 4.0), "radius"),
              (TorusSurface, (O, X, 5.0, 1.0), "radDir")]
    for cls, args, prop in shapes:
        s = made(cls)
        s.initialize(*args)
        s.name = "kept"
        qorapi.save(str(tmp_path / "s.dat"), s)
        back = qorapi.load(str(tmp_path / "s.dat"))
        assert type(back) is cls and back is not s
        assert (back.name, getattr(back, prop)) == ("kept", getattr(s, prop))
