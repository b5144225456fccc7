"""Curve sets: :class:`Curves`, a set of curves held by the host, with the connectivity
between curve ends (chains, closed loops, components).

Script indices start at 0 (the host's index less 1). Removing a curve leaves its index
empty and moves no other curve, so a set can have gaps::

    s = qorapi.Curves()
    for a, b in [(0, 0, 0), (1, 0, 0)], [(1, 0, 0), (1, 1, 0)]:
        line = qorapi.LineFeature(); line.start, line.end = qorapi.Vector3D(*a), qorapi.Vector3D(*b)
        s.addCurve(line)            # the set keeps a copy: 0, then 1
    s.numCurves, s.isClosed, s.length    # 2, False, 2.0
    del s[0]                         # index 0 is now a gap; index 1 stays
    len(s), s.maxCurvesIndex, s.indices()   # 1, 1, [1]

As a Python sequence a set is a sparse one: ``len(s)`` is the number of curves
(``numCurves``), iterating gives the curves of the filled indices in rising order (the
indices are taken once when the iteration starts), ``s[i]`` is ``s.curve(i)`` by script
index, ``s[i] = c`` is ``setCurve`` and ``del s[i]`` is ``removeCurve``. A gap or an index
outside 0 .. ``maxCurvesIndex`` raises IndexError with the system's text ("Error in class
CurveSet: invalid index."); negative indices are not counted from the end.

Ends are :class:`qorapi.DirIndex` values: index = the curve, version = the direction (0 the
curve as stored, from its start; 1 reversed, from its end).
"""
import operator as _operator

from . import _qorapi
from .datamodel import DataObject, Vector3D, _kinds, _bind_new
from .sequences import DirIndex

__all__ = ["Curves"]


def _key(end):
    if not isinstance(end, DirIndex):
        raise TypeError(f"an end is a DirIndex, not {type(end).__name__}")
    return end.rawValue()


class Curves(DataObject):
    """A set of curves (lines, arcs, NURB curves, polylines, composite curves) held by the
    host, each a copy of the script curve it was given.

    Read-only properties: numCurves, maxCurvesIndex (the highest index, -1 for none),
    numLines, numArcs, numSplines, numPolylines, numCompositeCurves, numComponents (the
    number of chains), isClosed (every chain's ends within 1e-8; True for a set never
    filled, False for a Curves without a set), length (the sum of the curve lengths) and
    boundingBox. A new Curves holds no set; the first addCurve makes one. Failures raise
    RuntimeError with the system's text ("Error in class CurveSet: invalid index.")."""

    __slots__ = ()

    def __init__(self, name=None, **properties):
        """A new empty Curves; `name` and further properties are set in order."""
        ref = _qorapi.curveset_make()
        _bind_new(self, ref, name, properties)

    def addCurve(self, curve):
        """Adds a copy of `curve` (a LineFeature, ArcCurve, NurbCurve, PolylineCurve or
        CompositeCurve) after the highest index and answers its index. None raises "curve is
        None", another kind "Invalid curve", a curve without a host "invalid curve"."""
        return _qorapi.curveset_add(self, curve)

    def setCurve(self, index, curve):
        """Puts a copy of `curve` at `index`, which must hold a curve."""
        _qorapi.curveset_set(self, _operator.index(index), curve)

    def removeCurve(self, index):
        """Empties `index` (the other indices stay) and fires "updated" with the property
        "delCurveId" = index + 1."""
        _qorapi.curveset_remove(self, _operator.index(index))

    def curve(self, index):
        """The curve at `index` as a script curve. A line, arc or polyline shares the set's
        own curve (changing it changes the set); a NURB or composite curve is a copy."""
        return _qorapi.curveset_curve(self, _operator.index(index))

    def startPoint(self, index):
        """The point where curve `index` starts, as a Vector3D."""
        return Vector3D(*_qorapi.curveset_point(self, 0, _operator.index(index)))

    def endPoint(self, index):
        """The point where curve `index` ends, as a Vector3D."""
        return Vector3D(*_qorapi.curveset_point(self, 1, _operator.index(index)))

    def rebuild(self, tolerance=-1.0, now=True):
        """Sets the distance within which ends meet (negative: the default 1e-6; 0: only
        coincident ends) and rebuilds the connectivity now or at the next query."""
        _qorapi.curveset_rebuild(self, float(tolerance), bool(now))

    def nextEnd(self, end):
        """The oriented curve that follows `end` in its chain, as a DirIndex; index -1 when
        the chain stops there (a free end or a branch point)."""
        return DirIndex.from_raw(_qorapi.curveset_step(self, 0, _key(end)))

    def previousEnd(self, end):
        """The oriented curve that comes before `end` in its chain, as a DirIndex; index -1
        when there is none."""
        return DirIndex.from_raw(_qorapi.curveset_step(self, 1, _key(end)))

    def testEnd(self, end):
        """Whether the end `end` meets another end."""
        return _qorapi.curveset_test(self, _key(end), 0)

    def testPair(self, first, second):
        """Whether the ends `first` and `second` meet."""
        return _qorapi.curveset_test(self, _key(first), _key(second))

    def indices(self):
        """The filled indices in rising order."""
        return _qorapi.curveset_indices(self)

    def hasCurveSet(self):
        """Whether the object holds a set yet."""
        return _qorapi.curveset_has_set(self)

    def clone(self):
        """A new Curves over a copy of the set (and of every curve in it)."""
        return _qorapi.curveset_clone(self)

    def __len__(self):
        return self.numCurves

    def __iter__(self):
        for i in _qorapi.curveset_indices(self):
            yield self.curve(i)

    def __getitem__(self, index):
        return self._at(_qorapi.curveset_curve, index)

    def __setitem__(self, index, curve):
        self._at(lambda s, i: _qorapi.curveset_set(s, i, curve), index)

    def __delitem__(self, index):
        self._at(_qorapi.curveset_remove, index)

    def _at(self, lever, index):
        try:
            return lever(self, _operator.index(index))
        except RuntimeError as e:
            if "invalid index" in str(e):
                raise IndexError(str(e)) from None
            raise

    def __repr__(self):
        return f"<qorapi.Curves {self.get('name')!r} {self.numCurves} curves>"


_kinds["curveset"] = Curves
