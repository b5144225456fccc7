"""Selections: sets of model elements, and the script classes that hold them.

Elements are numbered from 1 in every set: triangle t of a mesh (counted from 0 in its
geometry) is element t + 1, vertex v is v + 1, edge k (0..2, from corner k to corner k + 1)
of triangle t is 3t + k + 1, point p is p + 1, grid cell c is c + 1, and CAD faces start
at 1.

A :class:`BitSet` is an immutable snapshot of such a set. The selection classes
(:class:`TriangleSelection`, :class:`EdgeSelection`, :class:`VertexSelection`,
:class:`PointSelection`, :class:`QuadSelection`, :class:`CADFaceSelection`,
:class:`CurveSelection`) are data objects made by the host; each has a property naming
its model and a :attr:`~_Selection.markedBits` set::

    sel = qorapi.TriangleSelection(mesh=model.getData())
    sel.markedBits = [1, 2, 5]           # element numbers
    sel.markedBits.indices()             # array([1, 2, 5])
"""
import numpy as _np

from . import _qorapi
from .datamodel import DataObject, _kinds, _bind_new

__all__ = [
    "BitSet",
    "TriangleSelection",
    "EdgeSelection",
    "VertexSelection",
    "PointSelection",
    "QuadSelection",
    "CADFaceSelection",
    "CurveSelection",
]

_WORD = _np.dtype("<u4")


def _trimmed(words):
    """The words without the zero words at the end."""
    nonzero = _np.flatnonzero(words)
    return words[: nonzero[-1] + 1] if nonzero.size else words[:0]


class BitSet:
    """An immutable set of element numbers, stored as the 32-bit words of a bit vector
    (bit i of the set is bit i % 32 of word i // 32).

    ``len(s)`` and :meth:`count` give the number of members, ``n in s`` tests one, and two
    sets are equal when they have the same members. Build one from element numbers with
    :meth:`from_indices` or from a boolean mask with :meth:`from_mask`.
    """

    __slots__ = ("_words", "_count")

    def __init__(self, words=()):
        """A set from its 32-bit words (any sequence or buffer of unsigned 32-bit values)."""
        w = _np.array(words, dtype=_WORD).reshape(-1)
        w.setflags(write=False)
        self._words = w
        self._count = None

    @classmethod
    def _from_bytes(cls, data):
        obj = cls.__new__(cls)
        w = _np.frombuffer(data, dtype=_np.uint32).astype(_WORD, copy=False)
        w.setflags(write=False)
        obj._words = w
        obj._count = None
        return obj

    @classmethod
    def from_indices(cls, numbers):
        """The set of the given element numbers (each at least 1; repeats are allowed)."""
        idx = _np.asarray(numbers)
        if idx.size == 0:
            return cls()
        if idx.dtype.kind not in "iu":
            bad = idx.reshape(-1)[_np.mod(idx, 1).reshape(-1) != 0] if idx.dtype.kind == "f" else idx
            if bad.size:
                raise TypeError(f"element numbers must be whole numbers, not {bad.reshape(-1)[0]!r}")
            idx = idx.astype(_np.int64)
        idx = idx.reshape(-1).astype(_np.int64, copy=False)
        low, high = int(idx.min()), int(idx.max())
        if low < 1:
            raise ValueError(f"element numbers start at 1; got {low}")
        if high >= 1 << 31:
            raise ValueError(f"element number {high} is beyond the largest, {(1 << 31) - 1}")
        flags = _np.zeros(((high >> 5) + 1) * 32, dtype=bool)
        flags[idx] = True
        return cls._from_flags(flags)

    @classmethod
    def from_mask(cls, mask):
        """The set of i + 1 for every true mask[i]: the inverse of :meth:`mask`."""
        m = _np.asarray(mask)
        if m.dtype != bool or m.ndim != 1:
            raise TypeError(f"a mask is a one-dimensional bool array, not {m.dtype} of shape {m.shape}")
        flags = _np.zeros(((m.size + 1 + 31) >> 5) * 32, dtype=bool)
        flags[1 : m.size + 1] = m
        return cls._from_flags(flags)

    @classmethod
    def _from_flags(cls, flags):
        """A set from one flag per bit (a multiple of 32 of them)."""
        return cls._from_bytes(_np.packbits(flags, bitorder="little").tobytes())

    def _flags(self):
        return _np.unpackbits(self._words.view(_np.uint8), bitorder="little").view(bool)

    def words(self):
        """The 32-bit words (a read-only numpy uint32 array)."""
        return self._words

    def count(self):
        """The number of members."""
        if self._count is None:
            self._count = int(_np.unpackbits(self._words.view(_np.uint8)).sum(dtype=_np.int64))
        return self._count

    def indices(self):
        """The members, ascending, as a numpy int64 array."""
        return _np.flatnonzero(self._flags()).astype(_np.int64)

    def mask(self, n):
        """A bool array of length `n` whose element i tells whether i + 1 is a member;
        members above n are left out."""
        if n < 0:
            raise ValueError(f"a mask length can't be negative: {n}")
        flags = self._flags()[1 : n + 1]
        out = _np.zeros(n, dtype=bool)
        out[: flags.size] = flags
        return out

    def __len__(self):
        return self.count()

    def __contains__(self, number):
        if not isinstance(number, (int, _np.integer)) or number < 0:
            return False
        w = int(number) >> 5
        return w < self._words.size and bool((int(self._words[w]) >> (int(number) & 31)) & 1)

    def __eq__(self, other):
        if not isinstance(other, BitSet):
            return NotImplemented
        return _np.array_equal(_trimmed(self._words), _trimmed(other._words))

    def __hash__(self):
        return hash(_trimmed(self._words).tobytes())

    def __repr__(self):
        shown = self.indices()[:10].tolist()
        more = ", ..." if self.count() > 10 else ""
        return f"BitSet([{', '.join(map(str, shown))}{more}], count={self.count()})"


def _as_bitset(value):
    """A BitSet from a BitSet, a bool mask or a sequence of element numbers."""
    if isinstance(value, BitSet):
        return value
    arr = _np.asarray(value)
    if arr.dtype == bool:
        return BitSet.from_mask(arr)
    return BitSet.from_indices(arr)


class _Selection(DataObject):
    """What the selection classes share: made by the host's service of the class, a model
    property set from the keywords, and :attr:`markedBits`."""

    __slots__ = ()

    def __init__(self, name=None, **properties):
        ref = _qorapi.make_selection(type(self).__name__)
        _bind_new(self, ref, name, properties)

    @property
    def markedBits(self):
        """The marked elements, as a :class:`BitSet` snapshot. Set it from a BitSet, a bool
        mask (element i + 1 for mask[i]) or a sequence of element numbers."""
        return BitSet._from_bytes(_qorapi.selection_words(self._ref))

    @markedBits.setter
    def markedBits(self, value):
        _qorapi.selection_set_words(self._ref, _as_bitset(value)._words.tobytes())

    def __repr__(self):
        return f"<qorapi.{type(self).__name__} {self.get('name')!r} count={self.markedBits.count()}>"


class TriangleSelection(_Selection):
    """Marked triangles of the mesh in the property ``mesh``."""

    __slots__ = ()


class EdgeSelection(_Selection):
    """Marked edges (3t + k + 1 for edge k of triangle t) of the mesh in ``mesh``."""

    __slots__ = ()


class VertexSelection(_Selection):
    """Marked vertices of the mesh in the property ``mesh``."""

    __slots__ = ()


class PointSelection(_Selection):
    """Marked points of the point cloud in the property ``points``."""

    __slots__ = ()


class QuadSelection(_Selection):
    """Marked cells of the gridded points in the property ``griddedPoints``."""

    __slots__ = ()


class CADFaceSelection(_Selection):
    """Marked faces of the CAD model in the property ``cadModel``."""

    __slots__ = ()


class CurveSelection(_Selection):
    """Marked curves of the curve set in the property ``curveSet``."""

    __slots__ = ()


_classes = {c.__name__: c for c in (TriangleSelection, EdgeSelection, VertexSelection,
                                    PointSelection, QuadSelection, CADFaceSelection,
                                    CurveSelection)}


def _class_of(ref):
    """The script class of a native selection, by its class name."""
    name = _qorapi.object_info(ref)[1]
    try:
        return _classes[name]
    except KeyError:
        raise TypeError(f"no script class for the selection class {name!r}") from None


_kinds["selection"] = _class_of
