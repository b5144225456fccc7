"""The five analytic surface features: cone, cylinder, plane, sphere and torus.

Each is a data object whose properties read and write the host's geometry. Make one with
its class and shape it with ``initialize``, whose form is chosen by the arguments given::

    cone = qorapi.ConeSurface()
    cone.initialize(Vector3D(0, 0, 0), Vector3D(0, 0, 2), 1.0, 2.0)   # by two circles
    cone.radiusTo = 3.0
    plane = qorapi.PlaneSurface()
    plane.initialize(Vector3D(0, 0, 2), Vector3D(0, 0, 1))
    plane.distance(Vector3D(1, 1, 5))                                   # 3.0

Direction arguments of ``initialize`` are made unit vectors silently; what the surface
refuses raises RuntimeError with the class's error text.
"""
import numbers as _numbers

from . import _qorapi
from .datamodel import Vector2D, Vector3D, _bind_new
from .features import Feature, _classes

__all__ = ["ConeSurface", "CylinderSurface", "PlaneSurface", "SphereSurface", "TorusSurface"]


def _flat(args, kinds):
    """The numbers of `args` laid out by `kinds` ("v" a Vector3D, "p" a Vector2D, "n" a
    number), or None when an argument is of another kind."""
    out = []
    for a, k in zip(args, kinds):
        if k == "v" and isinstance(a, Vector3D) or k == "p" and isinstance(a, Vector2D):
            out.extend(a)
        elif k == "n" and isinstance(a, _numbers.Real) and not isinstance(a, bool):
            out.append(float(a))
        else:
            return None
    return out


class _Surface(Feature):
    """Base of the surface features: a new one holds a new host of its kind."""

    __slots__ = ()
    _forms = ()

    def __init__(self, name=None, **properties):
        """A new surface with a new host; `name` and further properties are set in order."""
        ref = _qorapi.make_surface(type(self).__name__)
        _bind_new(self, ref, name, properties)

    def initialize(self, *args):
        """Shapes the surface; the form is picked by the number and kinds of the arguments
        (see the class's documentation)."""
        for form, kinds in self._forms:
            if len(kinds) == len(args):
                values = _flat(args, kinds)
                if values is not None:
                    _qorapi.surface_initialize(self, form, values)
                    return
        given = ", ".join(type(a).__name__ for a in args)
        raise TypeError(f"{type(self).__name__}.initialize has no form taking ({given})")


class ConeSurface(_Surface):
    """A cone, or a piece of one, between two circles about its axis.

    ``initialize`` forms:

    - ``(centerFrom, centerTo, radiusFrom, radiusTo[, radialDir])``: by its two end circles;
      radiusFrom may not exceed radiusTo. radialDir is made a unit vector and must be
      perpendicular to the axis (default the X axis, untested).
    - ``(apex, axis, halfAngle[, heightFrom, heightTo[, radialDir]])``: by apex, axis and
      half angle (0 to pi/2), the heights measured from the apex along the axis.

    Properties: centerFrom, centerTo, radiusFrom, radiusTo (settable); axis, apex,
    halfAngle, height, radialDir (read only); angleFrom, angleTo, solidity (0 to 2).
    """

    __slots__ = ()

    _forms = (
        ("circles_dir", "vvnnv"),
        ("apex_range", "vvnnn"),
        ("circles", "vvnn"),
        ("apex_range_dir", "vvnnnv"),
        ("apex", "vvn"),
    )


class CylinderSurface(_Surface):
    """A cylinder, or a piece of one, about its axis.

    ``initialize`` forms:

    - ``(centerFrom, axis, height, radius[, radialDir])``: centerTo is centerFrom + height
      times the unit axis.
    - ``(centerFrom, centerTo, radius[, radialDir])``: by its two end centres.

    radialDir is made a unit vector and must be perpendicular to the axis (default the X
    axis, untested). Properties: centerFrom, axis, radius, height (settable; the others are
    kept), radialDir, centerTo (read only), angleFrom, angleTo, solidity (0 to 2).
    """

    __slots__ = ()

    _forms = (
        ("axis_dir", "vvnnv"),
        ("ends_dir", "vvnv"),
        ("axis", "vvnn"),
        ("ends", "vvn"),
    )


class SphereSurface(_Surface):
    """A sphere, or a piece of one between latitudes and longitudes.

    ``initialize`` forms: ``(center, radius[, axis[, radDir]])``; the axis defaults to Z,
    radDir to X. Both are made unit vectors, and a given radDir must be perpendicular to
    the axis.

    Properties: center, axis (a unit vector; setting it resets radDir to X), radius, radDir
    (a unit vector), latitudeRange, longitudeRange, solidity (0 to 2).
    """

    __slots__ = ()

    _forms = (("axis_dir", "vnvv"), ("axis", "vnv"), ("center", "vn"))


class TorusSurface(_Surface):
    """A torus about its axis: a circle of profileRadius swept along a circle of
    centerRadius.

    ``initialize`` forms: ``(center, axis, centerRadius, profileRadius[, radDir])``. The
    axis is made a unit vector; radDir loses its part along the axis (a radDir along the
    axis gives the zero vector); without it, a direction across the axis is chosen.

    Properties: center, axis (a unit vector), centerRadius, profileRadius, radDir (read
    only), latitudeRange, longitudeRange, solidity (0 to 2).
    """

    __slots__ = ()

    _forms = (("dir", "vvnnv"), ("frame", "vvnn"))


class PlaneSurface(_Surface):
    """A plane, with a rectangle of it given by the ranges along uDir and normal x uDir.

    ``initialize`` forms:

    - ``(origin, normal, uDir[, uRange, vRange])``: normal and uDir are made unit vectors
      and must be perpendicular; the ranges stay when not given.
    - ``(origin, normal)``: uDir is the unit of h x normal, h being the Y axis for a normal
      of exactly (1, 0, 0) and the X axis otherwise (so a normal along -X gives a zero
      uDir).

    Properties: origin, normal (setting it picks uDir anew and keeps the ranges), uRange,
    vRange, center and uDir (read only).
    """

    __slots__ = ()

    _forms = (("ranges", "vvvpp"), ("udir", "vvv"), ("normal", "vv"))

    def distance(self, point):
        """The signed distance of `point` (a Vector3D) along the unit normal."""
        return _qorapi.plane_distance(self, *point)

    def project(self, point):
        """The foot of `point` (a Vector3D) on the plane."""
        return Vector3D(*_qorapi.plane_project(self, *point))

    def intersectLine(self, point, direction):
        """Where the line through `point` along `direction` meets the plane, or None when
        the line runs along the plane."""
        hit = _qorapi.plane_intersect_line(self, *point, *direction)
        return None if hit is None else Vector3D(*hit)

    def intersectPlane(self, other):
        """The line where this plane meets the PlaneSurface `other`, as (point, unit
        direction), or None for parallel planes."""
        line = _qorapi.plane_intersect_plane(self, other)
        return None if line is None else (Vector3D(*line[0]), Vector3D(*line[1]))


for _cls in (ConeSurface, CylinderSurface, PlaneSurface, SphereSurface, TorusSurface):
    _classes[_cls.__name__] = _cls
del _cls
