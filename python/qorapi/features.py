"""Features: geometric elements of the document, such as arcs and lines.

The geometry of a feature lives in a host object; the script sees it as a
:class:`Feature`, a data object whose properties read and write the host at each access.
A new feature holds a new host of its kind with default values::

    arc = qorapi.ArcCurve()
    arc.initialize(qorapi.Vector3D(0, 0, 0), 2.0, qorapi.Vector3D(0, 0, 1),
                   qorapi.Vector3D(1, 0, 0))
    arc.evaluatePoint(0.25)              # a qorapi.Vector3D on the arc
    arc.startAngle = 1.0                 # re-assembles the host's arc

A check that fails raises RuntimeError with the class error's whole text, e.g.
"Error in class ArcCurve: initialize: radius must be non-negative..".
"""
import operator as _operator

import numpy as _np

from . import _qorapi
from .datamodel import DataObject, Vector3D, _kinds, _bind_new

__all__ = ["Feature", "FeatureUndoInfo", "ArcCurve", "LineFeature"]


class FeatureUndoInfo:
    """The undo record of a feature: whole clones of its host before (taken when the record
    is made) and after (taken by :meth:`captureAfter`) a change, and the names."""

    __slots__ = ("_handle", "_feature")

    def __init__(self, handle, feature):
        """Wraps the native record `handle` of `feature`, which it keeps alive (the record
        points at it); made by :meth:`Feature.createUndoInfo`."""
        self._handle = handle
        self._feature = feature

    def captureAfter(self):
        """Takes the feature's state after the change."""
        _qorapi.undo_call(self._handle, "captureAfter")

    def undo(self):
        """Puts the feature back on the before state's host and name."""
        _qorapi.undo_call(self._handle, "undo")

    def redo(self):
        """Puts the feature on the after state's host and name."""
        _qorapi.undo_call(self._handle, "redo")

    def undoSize(self):
        """The bytes the record accounts for: 80 per host clone it holds."""
        return _qorapi.undo_call(self._handle, "undoSize")

    def __repr__(self):
        return f"<qorapi.FeatureUndoInfo size={self.undoSize()}>"


class Feature(DataObject):
    """A geometric element whose values live in a host object. Its properties (such as
    ``boundingBox``) read the host at each access; setting one checks the value and writes
    it to the host. Make one of the concrete classes (:class:`ArcCurve`,
    :class:`LineFeature`, ...)."""

    __slots__ = ()

    def __init__(self, name=None, **properties):
        if type(self) in (Feature, _Curve):
            raise TypeError(f"{type(self).__name__} has no host of its own; make one of "
                            f"the feature classes ({', '.join(sorted(_classes))})")
        ref = _qorapi.make_feature(type(self).__name__)
        _bind_new(self, ref, name, properties)

    def transform(self, matrix):
        """Moves the feature by a :class:`~qorapi.Transform3D` (or 16 numbers, row by row)."""
        _qorapi.feature_transform(self._ref, tuple(matrix))

    def createUndoInfo(self):
        """A :class:`FeatureUndoInfo` holding the present state of the feature."""
        handle = _qorapi.feature_create_undo(self._ref)
        return None if handle is None else FeatureUndoInfo(handle, self)

    def __repr__(self):
        return f"<qorapi.{type(self).__name__} {self.get('name')!r}>"


class _Curve(Feature):
    """What arcs and lines share: evaluations at a parameter inside the curve's range."""

    __slots__ = ()

    def evaluatePoint(self, t):
        """The point at parameter `t` (inside the closed range), as a Vector3D."""
        return Vector3D(*_qorapi.curve_evaluate(self._ref, 0, t))

    def evaluateTangent(self, t):
        """The first derivative at parameter `t`, as a Vector3D."""
        return Vector3D(*_qorapi.curve_evaluate(self._ref, 1, t))

    def evaluateCurvature(self, t):
        """The curvature vector at `t`: from the centre to the point for an arc, zero for a
        line."""
        return Vector3D(*_qorapi.curve_evaluate(self._ref, 2, t))

    def prepare(self):
        """Passes the host curve's preparation step on; the evaluations need no call."""
        _qorapi.curve_prepare(self._ref)

    def evaluate_many(self, t, derivatives=0):
        """The curve at many parameters in one native call through the host curve: the
        points, shape (n, 3), or for ``derivatives`` 1 or 2 shape (n, derivatives + 1, 3)
        holding the point, C' and C''. Every parameter of the 1-D `t` is checked against
        the closed range first, the first outside raising the single evaluation's error."""
        return _curve_many(self, t, derivatives)


class ArcCurve(_Curve):
    """A circular arc: properties center, normal, radius, xAxis, radialDir, yAxis,
    startAngle, endAngle (radians, within -2 pi .. 2 pi), startPt, endPt, isDegenerate,
    isClosed, range and boundingBox. A new arc is a full turn (xAxis (1, 0, 0), angles 0 to
    2 pi, range (0, 1))."""

    __slots__ = ()

    def initialize(self, center, radius, normal, radDir=None):
        """Replaces center, radius, normal and (when given) radDir, keeping the angles and
        the range. `normal` and `radDir` must be unit vectors within 1e-6 and perpendicular
        within 1e-4; `radius` must not be negative."""
        _qorapi.arc_initialize(self._ref, center, float(radius), normal, radDir)


class LineFeature(_Curve):
    """A line segment: properties start, end, planeNormal, length, direction, range,
    isDegenerate, isClosed and boundingBox. A new line has the range (0, 1)."""

    __slots__ = ()

    def initialize(self, start, second, length=None):
        """``initialize(start, end)`` sets both ends; ``initialize(start, direction,
        length)`` sets the end to start + length * direction (the direction made a unit
        vector first); `length` must not be negative."""
        _qorapi.line_initialize(self._ref, start, second,
                                None if length is None else float(length))


def _curve_many(curve, t, derivatives):
    """Evaluates `curve` (any curve the native side knows) at the 1-D parameters `t` with
    `derivatives` (0, 1 or 2) into a new numpy array."""
    d = _operator.index(derivatives)
    if d not in (0, 1, 2):
        raise ValueError(f"derivatives must be 0, 1 or 2, not {derivatives!r}")
    t = _np.asarray(t, dtype=_np.float64)
    if t.ndim != 1:
        raise ValueError(f"the parameters must form a 1-D array, not one of shape {t.shape}")
    t = _np.ascontiguousarray(t)
    out = _np.empty((t.shape[0], 3) if d == 0 else (t.shape[0], d + 1, 3))
    _qorapi.surfacing_curve_evaluate_many(curve, t, d, out)
    return out


#: The script class of each native feature class, by class name; other modules of the
#: package add theirs. A feature of a class not listed comes back as a plain Feature.
_classes = {"ArcCurve": ArcCurve, "LineFeature": LineFeature}


def _class_of(ref):
    """The script class of a native feature, by its class name."""
    return _classes.get(_qorapi.object_info(ref)[1], Feature)


_kinds["feature"] = _class_of
