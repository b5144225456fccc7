"""Curves and surfaces: NURB curves and surfaces, polylines, composite curves and the swept
surfaces (extruded, drafted, rotational and sweep).

The geometry of each lives in a host object; the script sees a data object whose
properties read and write the host at each access. The control points, weights and knots
are the typed arrays of :mod:`qorapi.sequences` over the host's own values (no copy)::

    curve = qorapi.NurbCurve()
    curve.initialize(3, 6)                      # clamped uniform knots, six zero poles
    curve.controlPoints.set(1, Vector3D(1, 2, 0))
    curve.knots.at(4)                           # 0.3333333333333333
    curve.evaluatePoint(0.5)                    # a Vector3D
    curve.evaluate_many(numpy.linspace(0, 1, 1000))   # a (1000, 3) numpy array

    patch = qorapi.NurbSurface()
    patch.initialize(3, 3, 6, 6)
    patch.controlPoints.set(-1, -1, Vector3D(5, 5, 1))   # negative indices count from the end
    patch.evaluate_many(u, v, derivatives=1)    # (points, su, sv)

A check that fails raises RuntimeError with the class error's whole text, e.g.
"Error in class NurbCurve: numControlPoints must be greater than degree..".
"""
import operator as _operator

import numpy as _np

from . import _qorapi
from .datamodel import DataObject, Vector3D, _kinds, _bind_new
from .features import Feature, FeatureUndoInfo, _classes, _curve_many
from .sequences import DoubleArray, Vector3DArray

__all__ = ["NurbCurve", "PolylineCurve", "CompositeCurve", "NurbSurface", "ExtrudedSurface",
           "DraftedSurface", "RotationalSurface", "SweepSurface"]


class _Views:
    """Assignment to the array views of a curve or surface (``curve.knots = [...]``)
    writes the values into the host, one by one through the view, all or nothing: the
    count must be the view's, and a value the view refuses (a zero weight) leaves every
    value as it was. The views themselves stay: their counts change only by initialize."""

    __slots__ = ()
    _views = ()

    def __setattr__(self, name, value):
        if name in type(self)._views:
            _assign_view(self, name, value)
        else:
            super().__setattr__(name, value)

    def set(self, name, value):
        """Sets property `name` as an attribute assignment would."""
        if name in type(self)._views:
            _assign_view(self, name, value)
        else:
            super().set(name, value)


def _assign_view(owner, name, value):
    view = owner.get(name)
    label = f"{type(owner).__name__}.{name}"
    if value is None:
        raise TypeError(f"{label} cannot be None: it always shows the host's values")
    if hasattr(view, "rowCount"):
        shape = (view.rowCount(), view.columnCount())
        cells = [(u, v) for u in range(shape[0]) for v in range(shape[1])]
        given = _np.asarray(value, dtype=float)
        want = shape + ((3,) if isinstance(view.at(0, 0), Vector3D) else ())
        if given.shape != want:
            raise ValueError(f"{label} takes an array of shape {want}, not {given.shape}; "
                             f"initialize changes the counts")
        old = [view.at(u, v) for u, v in cells]
        new = [given[u, v] if len(want) == 2 else Vector3D(*given[u, v]) for u, v in cells]
        put = [lambda c=c, x=x: view.set(c[0], c[1], x) for c, x in zip(cells, new)]
        back = [lambda c=c, x=x: view.set(c[0], c[1], x) for c, x in zip(cells, old)]
    else:
        new = list(value)
        if len(new) != len(view):
            raise ValueError(f"{label} takes {len(view)} values, not {len(new)}; "
                             f"initialize changes the count")
        old = [view.at(i) for i in range(len(view))]
        put = [lambda i=i, x=x: view.set(i, x) for i, x in enumerate(new)]
        back = [lambda i=i, x=x: view.set(i, x) for i, x in enumerate(old)]
    done = 0
    try:
        for step in put:
            step()
            done += 1
    except BaseException:
        for step in back[:done]:
            step()
        raise


class _ShellCurve(DataObject):
    """What NURB curves, polylines and composite curves share: a new one holds a new host
    of its kind; evaluations at a parameter t inside the closed ``range``."""

    __slots__ = ()

    def __init__(self, name=None, **properties):
        """A new curve with a new host; `name` and further properties are set in order."""
        if type(self) is _ShellCurve:
            raise TypeError("_ShellCurve has no host of its own; make a NurbCurve, "
                            "PolylineCurve or CompositeCurve")
        ref = _qorapi.surfacing_make(type(self).__name__)
        _bind_new(self, ref, name, properties)

    def evaluatePoint(self, t):
        """The point at parameter `t` (inside the closed range), as a Vector3D."""
        return Vector3D(*_qorapi.surfacing_curve_evaluate(self, 0, t))

    def evaluateTangent(self, t):
        """The first derivative at parameter `t`, as a Vector3D."""
        return Vector3D(*_qorapi.surfacing_curve_evaluate(self, 1, t))

    def evaluateCurvature(self, t):
        """The curvature vector at `t`: kappa times the unit normal, pointing to the centre
        of curvature (length 1/r on a circle of radius r); zero on a polyline."""
        return Vector3D(*_qorapi.surfacing_curve_evaluate(self, 2, t))

    def evaluate_many(self, t, derivatives=0):
        """The curve at many parameters in one native call.

        `t` is anything numpy turns into a 1-D float64 array. Every parameter is checked
        against the closed range first; the first one outside raises the error its single
        evaluation raises (e.g. "Error in class NURB Curve: parameter is out of the curve
        range."). Answers a numpy float64 array: the points, shape (n, 3), for
        ``derivatives=0``; for 1 or 2, shape (n, derivatives + 1, 3) holding the point, C'
        and (for 2) C'' at each parameter. The loop runs without the GIL; don't change the
        curve from another thread meanwhile."""
        return _curve_many(self, t, derivatives)

    def transform(self, matrix):
        """Moves the curve by a :class:`~qorapi.Transform3D` (or 16 numbers, row by row)."""
        _qorapi.surfacing_curve_transform(self, tuple(matrix))

    def prepare(self):
        """Passes the host curve's preparation step on; the evaluations need no call."""
        _qorapi.surfacing_curve_prepare(self)

    def __repr__(self):
        return f"<qorapi.{type(self).__name__} {self.get('name')!r}>"


class NurbCurve(_Views, _ShellCurve):
    """A non-uniform rational B-spline curve. Properties: degree, knots (a DoubleArray),
    weights (a DoubleArray), controlPoints (a Vector3DArray), range (a window in knot
    space: t is a knot value), isRational, isDegenerate, isClosed and boundingBox. The
    arrays are views of the host: fixed in size (``initialize`` changes it), checked
    indices from 0, and a weight of 0.0 is refused. Assigning a whole array
    (``curve.knots = [...]``) writes its values into the host, all or nothing, at the same
    count. A new curve is cubic with four zero poles of weight 1 and knots
    (0, 0, 0, 0, 1, 1, 1, 1)."""

    __slots__ = ()
    _views = ("knots", "weights", "controlPoints")

    def initialize(self, degree, numControlPoints):
        """Makes the curve rational with `numControlPoints` zero poles of weight 1 and the
        clamped uniform knots of that degree: d + 1 zeros, (i - d) * (1.0 / (n - d))
        between, d + 1 ones. Refuses a negative count, a degree below 1 and a count not
        above the degree, in that order."""
        _qorapi.surfacing_nurb_curve_initialize(self, _operator.index(degree),
                                                _operator.index(numControlPoints))

    def copyFrom(self, source):
        """Makes this curve's host a copy of the NurbCurve `source`'s (degree, knots, poles,
        weights); the curve is rational afterwards."""
        _qorapi.surfacing_nurb_curve_copy_from(self, source)

    def clone(self):
        """A new NurbCurve over a copy of the host, with this curve's name."""
        return _qorapi.surfacing_clone(self)

    def createUndoInfo(self):
        """A :class:`~qorapi.FeatureUndoInfo` holding the present state (a copy of the
        host and the name); ``captureAfter``, ``undo`` and ``redo`` as for features."""
        handle = _qorapi.surfacing_create_undo(self)
        return None if handle is None else FeatureUndoInfo(handle, self)


class PolylineCurve(_Views, _ShellCurve):
    """A chain of straight segments with one knot per point. Properties: points (a
    Vector3DArray), knots (a DoubleArray), range, isDegenerate, isClosed and boundingBox.
    A new polyline has no points and the range (0, 2147483647); evaluation clamps t into
    the knots. The points change in number only through ``initialize``: appending to
    ``points`` fails, and assigning a whole array (``line.points = [...]``) writes its
    values at the same count."""

    __slots__ = ()
    _views = ("knots", "points")

    def initialize(self, points, knots=None):
        """``initialize(n)`` makes n zero points (n must not be negative);
        ``initialize(points, knots)`` sets both, from qorapi arrays or any sequences of
        (x, y, z) and of numbers (numpy arrays too). There must be at least one point and
        as many knots as points."""
        if knots is None:
            _qorapi.surfacing_polyline_initialize_count(self, _operator.index(points))
            return
        if not isinstance(points, Vector3DArray):
            points = (Vector3DArray.from_numpy(_np.ascontiguousarray(points, dtype=_np.float64))
                      if isinstance(points, _np.ndarray) else Vector3DArray(points))
        if not isinstance(knots, DoubleArray):
            knots = DoubleArray(_np.asarray(knots, dtype=_np.float64).tolist())
        _qorapi.surfacing_polyline_initialize(self, points, knots)


class CompositeCurve(_ShellCurve):
    """One curve made of member curves (arcs, lines and NURB curves), each kept as a copy.
    Properties: range (split among the members by their parameter widths), isDegenerate,
    numCurves, isClosed and boundingBox. A new composite has no members and the range
    (0, 1)."""

    __slots__ = ()

    def addCurve(self, curve):
        """Appends a copy of `curve` (an ArcCurve, LineFeature or NurbCurve). Anything else,
        None included, raises "Error in class COMPOSITECURVE: CompositeCurve: can not get an
        arc entity."."""
        _qorapi.surfacing_composite_add(self, curve)

    def setCurve(self, index, curve):
        """Replaces member `index` by a copy of `curve`; a curve of another kind (or None)
        raises "Error in class COMPOSITECURVE: CompositeCurve: the entity is wrong."."""
        _qorapi.surfacing_composite_set(self, _operator.index(index), curve)

    def curve(self, index):
        """A new script curve over a copy of member `index`, or None."""
        return _qorapi.surfacing_composite_curve(self, _operator.index(index))

    def numCurves(self):
        """The number of members."""
        return _qorapi.surfacing_composite_count(self)

    def createUndoInfo(self):
        """A :class:`~qorapi.FeatureUndoInfo` holding a copy of the composite now; it copies
        again on each undo and redo, so it can run any number of times."""
        handle = _qorapi.surfacing_create_undo(self)
        return None if handle is None else FeatureUndoInfo(handle, self)


class NurbSurface(_Views, Feature):
    """A non-uniform rational B-spline surface, a feature. Properties: degreeInU,
    degreeInV, isClosedInU, isClosedInV, uRange, vRange, controlPoints (a Vector3DArray2D
    indexed (u, v), negative indices counting from the end), knotsU, knotsV (DoubleArrays),
    weights (a DoubleArray2D), isRational (0 or 1) and boundingBox. A new surface is
    bicubic with 4 x 4 zero poles of weight 1. A surface made or initialized here is
    non-rational: its weights are kept but enter evaluation only once the host is rational
    (a surface read from a file may be). Assigning a whole array (``patch.weights =
    numpy.ones((4, 4))``, the control net as shape (nu, nv, 3)) writes its values into the
    host, all or nothing, at the same counts."""

    __slots__ = ()
    _views = ("knotsU", "knotsV", "weights", "controlPoints")

    def __init__(self, name=None, **properties):
        """A new surface with a new host; `name` and further properties are set in order."""
        _bind_new(self, _qorapi.surfacing_make("NurbSurface"), name, properties)

    def initialize(self, degreeInU, degreeInV, numControlPointsInU, numControlPointsInV):
        """Gives the surface a new non-rational host with zero poles of weight 1 and the
        clamped uniform knots of each direction (as :meth:`NurbCurve.initialize`). Refuses,
        in this order, a count below 1, a degree below 1, a count not above its degree."""
        _qorapi.surfacing_nurb_surface_initialize(
            self, _operator.index(degreeInU), _operator.index(degreeInV),
            _operator.index(numControlPointsInU), _operator.index(numControlPointsInV))

    def evaluatePoint(self, u, v):
        """The point at (u, v), each inside its closed range, as a Vector3D."""
        return Vector3D(*_qorapi.surfacing_surface_evaluate(self, 0, u, v))

    def evaluateTangent(self, u, v):
        """The partial derivatives (Su, Sv) at (u, v), as two Vector3D."""
        su, sv = _qorapi.surfacing_surface_evaluate(self, 1, u, v)
        return Vector3D(*su), Vector3D(*sv)

    def evaluateCurvature(self, u, v):
        """The principal curvatures (k_min, k_max) at (u, v), signed against the normal
        Su x Sv."""
        return _qorapi.surfacing_surface_evaluate(self, 2, u, v)

    def evaluate_many(self, u, v, derivatives=0, normals=False):
        """The surface at many (u, v) pairs in one native call.

        `u` and `v` are anything numpy turns into float64 arrays that broadcast to one 1-D
        shape (n,). Every pair is checked first, u before v, as the single evaluations
        check them. Answers the points, shape (n, 3); with ``derivatives=1`` the tuple
        (points, su, sv); with ``normals=True`` the unit normals, shape (n, 3), come last
        (the tuple (points, normals) when derivatives is 0). The loop runs without the GIL;
        don't change the surface from another thread meanwhile."""
        return _surface_many(self, u, v, derivatives, normals)

    def clone(self):
        """A new NurbSurface over a copy of the host."""
        return _qorapi.surfacing_clone(self)


def _surface_many(surface, u, v, derivatives, normals):
    """Evaluates `surface` at the (u, v) pairs of two broadcasting 1-D arrays: points, with
    ``derivatives=1`` also Su and Sv, with `normals` the unit normals last."""
    d = _operator.index(derivatives)
    if d not in (0, 1):
        raise ValueError(f"derivatives must be 0 or 1, not {derivatives!r}")
    u, v = _np.broadcast_arrays(_np.asarray(u, dtype=_np.float64),
                                _np.asarray(v, dtype=_np.float64))
    if u.ndim != 1:
        raise ValueError(f"u and v must broadcast to one 1-D shape, not {u.shape}")
    u, v = _np.ascontiguousarray(u), _np.ascontiguousarray(v)
    outs = tuple(_np.empty((u.shape[0], 3)) for _ in range(1 + 2 * d + bool(normals)))
    _qorapi.surfacing_surface_evaluate_many(surface, u, v, d, bool(normals), outs)
    return outs[0] if len(outs) == 1 else outs


class _SweptSurface(Feature):
    """What the swept surfaces share: a new one holds a new host of its kind; the
    evaluations take any (u, v), inside the windows or not."""

    __slots__ = ()

    def __init__(self, name=None, **properties):
        """A new surface with a new host; `name` and further properties are set in order
        (``ExtrudedSurface(extrudeDir=Vector3D(1, 0, 0), sketch=line)``)."""
        if type(self) is _SweptSurface:
            raise TypeError("_SweptSurface has no host of its own; make an ExtrudedSurface, "
                            "DraftedSurface, RotationalSurface or SweepSurface")
        _bind_new(self, _qorapi.swept_make(type(self).__name__), name, properties)

    def evaluatePoint(self, u, v):
        """The point at (u, v), as a Vector3D."""
        return Vector3D(*_qorapi.swept_evaluate(self, 0, u, v))

    def evaluateNormal(self, u, v):
        """The unit normal (Su x Sv, normalised) at (u, v), as a Vector3D."""
        return Vector3D(*_qorapi.swept_evaluate(self, 1, u, v))

    def evaluate_many(self, u, v, derivatives=0, normals=False):
        """The surface at many (u, v) pairs in one native call, as
        :meth:`NurbSurface.evaluate_many` (points; with ``derivatives=1`` also Su and Sv;
        with ``normals=True`` the unit normals last), without a range check."""
        return _surface_many(self, u, v, derivatives, normals)

    def clone(self):
        """A new surface of the same kind and state with a host of its own and a new
        sketch object in the same place."""
        return _qorapi.surfacing_clone(self)


class ExtrudedSurface(_SweptSurface):
    """A sketch curve swept along a straight direction. Properties: coordinate (the frame,
    a Transform3D: columns x axis, y axis, extrudeDir, origin), extrudeDir, sketch (the
    script's curve in world coordinates: a NurbCurve, CompositeCurve, LineFeature, ArcCurve
    or PolylineCurve), curveParamRange (u), sweepParamRange (v), boundingBox, heightFrom,
    heightTo, topSketch and bottomSketch (new curves at each read: the sections at the lower
    and the upper end of sweepParamRange). Setting the sketch puts the frame's origin at the
    curve's middle point; ``transform`` moves the surface and the sketch object with it."""

    __slots__ = ()


class DraftedSurface(_SweptSurface):
    """An extruded surface whose sections widen by the draft angle: the properties of
    :class:`ExtrudedSurface` and draftAngle (radians, -pi .. pi) and isConic (sections
    scaled about the axis rather than offset)."""

    __slots__ = ()


class RotationalSurface(_SweptSurface):
    """A sketch curve turned about an axis. Properties: originPt and axisDirection (the
    axis), sketch, sweepParamRange (u, the angle), curveParamRange (v, the curve),
    isClosedRotational, boundingBox, angleFrom and angleTo (0 .. 2 pi), heightFrom and
    heightTo (read-only: the sketch's extent along the axis). Setting the sketch takes the
    radial direction towards its middle point."""

    __slots__ = ()


class SweepSurface(_SweptSurface):
    """A sketch carried along a spine curve, turned so that the ruler curve fixes the
    sketch's x axis. Properties: sketch (in world coordinates), spine and ruler (read-only;
    each read gives a new curve), uRange (the sketch's parameter), vRange (the spine's),
    arcProfileRadius (the radius of a one-arc profile, else 0; setting it makes the profile
    a full circle of that radius) and boundingBox. A new SweepSurface has no curves: make
    one with :meth:`build`."""

    __slots__ = ()

    @classmethod
    def build(cls, sketch, spine, ruler, name=None):
        """A new sweep over copies of three curves (NurbCurve, CompositeCurve, LineFeature,
        ArcCurve or PolylineCurve): `sketch` in world coordinates, placed at the start of
        the spine (the host keeps it in its frame there), `spine` and `ruler` as given."""
        made = _qorapi.sweep_build(sketch, spine, ruler)
        if name is not None:
            made.set("name", name)
        return made

    def isoCurveU(self, t):
        """A new curve along v at the first parameter `t`, or None."""
        return _qorapi.sweep_iso_curve(self, 0, t)

    def isoCurveV(self, t):
        """A new curve along u at the second parameter `t` (the sketch there), or None."""
        return _qorapi.sweep_iso_curve(self, 1, t)

    def clone(self):
        """A new SweepSurface on a copy of the host (the surface factory knows no sweep, so
        this is the class's setHost on a copied host)."""
        return _qorapi.sweep_copy(self)


#: The script class of each native curve shell, by class name.
_curve_classes = {"NurbCurve": NurbCurve, "PolylineCurve": PolylineCurve,
                  "CompositeCurve": CompositeCurve}


def _class_of(ref):
    """The script class of a native curve shell, by its class name."""
    return _curve_classes.get(_qorapi.object_info(ref)[1], DataObject)


_kinds["curve"] = _class_of
_classes.update(NurbSurface=NurbSurface, ExtrudedSurface=ExtrudedSurface,
                DraftedSurface=DraftedSurface, RotationalSurface=RotationalSurface,
                SweepSurface=SweepSurface)
