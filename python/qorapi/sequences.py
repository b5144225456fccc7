"""Typed arrays: one class per element type, with the system's own operations and the
usual Python forms.

Every array offers the system's operations, indexed from 0: ``size``, ``at``, ``set``,
``append``, ``pop``, ``insertAt``, ``removeAt``, ``indexOf``, ``clear``, and the built-in
cursor ``next``, ``current``, ``reset`` (one-based: the first next() moves onto the first
entry). The colour, vector and transform arrays add ``reserve`` and ``capacity``, the
vector and transform arrays ``resize``, IntArray ``appendAll``, ``removeAll`` and
``removeDuplicates``, ByteArray ``read`` and ``write``; ``newIterator`` gives a separate
iterator (``DoubleIter`` ...). Beside them: len(), indexing with
negative indices, slices (which give lists), iteration, ``in``, ``==``, repr(), ``extend``,
copy and pickle.

The system's errors raise RuntimeError with their whole text, such as "Error in class
Collection: Invalid index."; Python indexing raises IndexError with that text and the index.

DoubleArray, IntArray, ByteArray, Vector3DArray, Array3D and ColorArray move to and from
numpy in one bulk copy: ``arr.to_numpy()``, ``DoubleArray.from_numpy(a)`` and
``np.asarray(arr)``.
"""
import operator as _operator

import numpy as _np

from . import _qorapi
from .datamodel import QorColor, Transform3D, Vector2D, Vector2F, Vector3D
from .image import QorImage

__all__ = [
    "DoubleArray",
    "IntArray",
    "ByteArray",
    "StringArray",
    "ColorArray",
    "Vector2DArray",
    "Vector2FArray",
    "Vector3DArray",
    "Transform3DArray",
    "ImageArray",
    "Array3D",
    "DoubleArray2D",
    "Vector3DArray2D",
    "DirIndex",
    "DoubleIter",
    "IntIter",
    "ByteIter",
    "StringIter",
    "ColorIter",
    "Vector2DIter",
    "Vector2FIter",
    "Vector3DIter",
    "Transform3DIter",
    "ImageIter",
]

_bases = _qorapi.sequence_types()

# The iterators newIterator() gives: live over the array's storage (StringIter alone walks a
# copy made when it was made), one-based, each keeping its array alive.
DoubleIter = _bases["DoubleIter"]
IntIter = _bases["IntIter"]
ByteIter = _bases["ByteIter"]
StringIter = _bases["StringIter"]
ColorIter = _bases["ColorIter"]
Vector2DIter = _bases["Vector2DIter"]
Vector2FIter = _bases["Vector2FIter"]
Vector3DIter = _bases["Vector3DIter"]
Transform3DIter = _bases["Transform3DIter"]
ImageIter = _bases["ImageIter"]


def _index(array, index):
    """`index` (negative counts from the end) as a position in `array`; IndexError with the
    system's text and the index outside it."""
    try:
        index = _operator.index(index)
    except TypeError:
        raise TypeError(f"{type(array).__name__} indices are integers or slices, "
                        f"not {type(index).__name__}") from None
    n = array.size()
    i = index + n if index < 0 else index
    if 0 <= i < n:
        return i
    try:
        array.at(-1)  # raises the system's text
    except RuntimeError as e:
        raise IndexError(f"{e} Index {index} is out of range for {n} entries.") from None
    raise AssertionError("at(-1) did not raise")  # pragma: no cover


class _Sequence:
    """The Python forms shared by every array."""

    __slots__ = ()
    __hash__ = None  # type: ignore[assignment]  # mutable

    def __init__(self, values=()):
        """A new array holding `values`."""
        self.extend(values)

    def __len__(self):
        """The number of entries."""
        return self.size()

    def __getitem__(self, index):
        """The entry at `index` (negative counts from the end), or a list for a slice."""
        if isinstance(index, slice):
            return [self.at(i) for i in range(*index.indices(self.size()))]
        return self.at(_index(self, index))

    def __setitem__(self, index, value):
        """Stores `value` at `index` (negative counts from the end)."""
        self.set(_index(self, index), value)

    def __delitem__(self, index):
        """Removes the entry at `index` (negative counts from the end)."""
        self.removeAt(_index(self, index))

    def __iter__(self):
        """The entries in order; entries appended meanwhile are reached too, as in a list."""
        i = 0
        while i < self.size():
            yield self.at(i)
            i += 1

    def __contains__(self, value):
        """Whether indexOf finds `value`; False for a value of another type."""
        try:
            return self.indexOf(value) >= 0
        except (TypeError, ValueError, OverflowError):
            return False

    def __eq__(self, other):
        """Equal to an array of the same class holding equal entries in the same order."""
        if type(self) is type(other):
            return self._values() == other._values()
        return NotImplemented

    def __reduce__(self):
        return (type(self), (self._values(),))

    def __repr__(self):
        return f"{type(self).__name__}({self._values()!r})"


class _Numeric(_Sequence):
    """The numpy exchange of the numeric arrays: each has a dtype and a row shape."""

    __slots__ = ()
    _dtype = _np.dtype(_np.float64)
    _row = ()

    @classmethod
    def _shape_text(cls):
        return "(n, " + ", ".join(map(str, cls._row)) + ")" if cls._row else "(n,)"

    def to_numpy(self):
        """A new numpy array holding a copy of the values, in one block copy."""
        out = _np.empty((self.size(),) + self._row, dtype=self._dtype)
        self._copy_out(out)
        return out

    @classmethod
    def from_numpy(cls, a):
        """A new array holding the values of the numpy array `a`, in one block copy (a
        non-contiguous `a` is made contiguous first).

        TypeError for anything but a numpy array of the class's dtype, ValueError for
        another shape; both name the shape and dtype expected."""
        want = f"shape {cls._shape_text()} and dtype {cls._dtype}"
        if not isinstance(a, _np.ndarray):
            raise TypeError(f"{cls.__name__}.from_numpy takes a numpy array of {want}, "
                            f"not {type(a).__name__}")
        if a.dtype != cls._dtype:
            raise TypeError(f"{cls.__name__}.from_numpy takes a numpy array of {want}, "
                            f"not dtype {a.dtype}")
        if a.ndim != 1 + len(cls._row) or a.shape[1:] != cls._row:
            raise ValueError(f"{cls.__name__}.from_numpy takes a numpy array of {want}, "
                             f"not shape {a.shape}")
        array = cls()
        array._copy_in(_np.ascontiguousarray(a))
        return array

    def __array__(self, dtype=None, copy=None):
        """np.asarray(arr): a new numpy array from to_numpy(), cast to `dtype` if given."""
        a = self.to_numpy()
        return a if dtype is None else a.astype(dtype, copy=False)


class DoubleArray(_bases["DoubleArray"], _Numeric):
    """An array of doubles. numpy: shape (n,), dtype float64."""

    __slots__ = ()


class IntArray(_bases["IntArray"], _Numeric):
    """An array of signed 32-bit ints. numpy: shape (n,), dtype int32.

    removeAll(other) and removeDuplicates() keep the survivors in their order; both run in
    time proportional to the sizes, not their product."""

    __slots__ = ()
    _dtype = _np.dtype(_np.int32)


class ByteArray(_bases["ByteArray"], _Numeric):
    """An array of bytes, 0 to 255. numpy: shape (n,), dtype uint8. write() gives the stream
    form (a 32-bit count, then the bytes) and read(data) takes it back."""

    __slots__ = ()
    _dtype = _np.dtype(_np.uint8)


class StringArray(_bases["StringArray"], _Sequence):
    """An array of str."""

    __slots__ = ()


class ColorArray(_bases["ColorArray"], _Numeric):
    """An array of QorColor (any 4 numbers go in; colours are stored in single precision).
    numpy: shape (n, 4), dtype float32, red, green, blue, alpha."""

    __slots__ = ()
    _dtype = _np.dtype(_np.float32)
    _row = (4,)


class Vector2DArray(_bases["Vector2DArray"], _Sequence):
    """An array of Vector2D (any 2 numbers go in)."""

    __slots__ = ()


class Vector2FArray(_bases["Vector2FArray"], _Sequence):
    """An array of Vector2F, stored in single precision (any 2 numbers go in)."""

    __slots__ = ()


class Vector3DArray(_bases["Vector3DArray"], _Numeric):
    """An array of Vector3D (any 3 numbers go in). numpy: shape (n, 3), dtype float64."""

    __slots__ = ()
    _row = (3,)


class Transform3DArray(_bases["Transform3DArray"], _Sequence):
    """An array of Transform3D (any 16 numbers, row by row, go in)."""

    __slots__ = ()


class ImageArray(_bases["ImageArray"], _Sequence):
    """An array of QorImage (or None) entries. The array holds the images themselves: an
    image changed through the array is changed for everyone who holds it. indexOf() and
    ``in`` look for that very image, ``==`` compares images by content."""

    __slots__ = ()


class Array3D(_bases["Array3D"], Vector3DArray):
    """A Vector3DArray whose points live in a paged point array. numpy: shape (n, 3), dtype
    float64, one block copy per page.

    Its own rules: at() outside 0 to size - 1 raises "Index is out of range.", pop() on an
    empty array "Collection is empty.", in class Array3D; insertAt(index, v) checks the
    index against 0 to size - 1 and then adds v at the end, removeAt(index) checks it and
    then removes the last point; indexOf(v) gives a position counted from 1, looking at all
    points but the last. ``in`` looks at every point. reserve(), capacity() and resize()
    are those of the vector array and do not touch the points."""

    __slots__ = ()

    def __contains__(self, value):
        """Whether indexOf finds `value`; False for a value of another type."""
        try:
            v = Vector3D(*value)
        except (TypeError, ValueError):
            return False
        return v in self._values()


class DoubleArray2D(_bases["DoubleArray2D"]):
    """A two-dimensional array of doubles. This class itself is an empty shell: no rows, at()
    gives 0.0 and set() keeps nothing; the surfaces fill it."""

    __slots__ = ()

    def __repr__(self):
        return f"<DoubleArray2D {self.rowCount()} x {self.columnCount()}>"


class Vector3DArray2D(_bases["Vector3DArray2D"]):
    """A two-dimensional array of Vector3D. This class itself is an empty shell: no rows, at()
    gives the zero vector and set() keeps nothing; the surfaces fill it."""

    __slots__ = ()

    def __repr__(self):
        return f"<Vector3DArray2D {self.rowCount()} x {self.columnCount()}>"


class DirIndex(_bases["DirIndex"]):
    """An index with a one-bit version, held as one number (index + 1) * 2 + version.

    ``DirIndex()`` has index -1 and version 0; ``DirIndex(index, version)`` raises
    RuntimeError for a version above 1 (a negative one is folded into the number as it
    is); ``DirIndex.from_raw(n)`` takes the number as it stands. Two are equal when index and
    version agree.
    """

    __slots__ = ()
    __hash__ = None  # type: ignore[assignment]  # mutable

    def __init__(self, index=-1, version=0):
        """DirIndex(index, version); RuntimeError for a version above 1."""
        self._load(index, version)

    @classmethod
    def from_raw(cls, raw):
        """A new DirIndex holding the number `raw` as it stands."""
        d = cls()
        d._load(raw)
        return d

    def __eq__(self, other):
        if isinstance(other, DirIndex):
            return (self.index(), self.version()) == (other.index(), other.version())
        return NotImplemented

    def __reduce__(self):
        return (type(self).from_raw, (self.rawValue(),))

    def __repr__(self):
        return f"DirIndex({self.index()}, {self.version()})"


_qorapi.sequence_register({
    "Vector3D": Vector3D,
    "Vector2D": Vector2D,
    "Vector2F": Vector2F,
    "Transform3D": Transform3D,
    "QorColor": QorColor,
    "QorImage": QorImage,
    **{name: globals()[name] for name in __all__},
})
