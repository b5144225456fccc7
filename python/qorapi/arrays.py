"""Point and vector arrays: ordered 3D points in paged native storage, exchanged with numpy
as (n, 3) float64 arrays in one bulk copy per storage page."""

import numpy as _np

from . import _qorapi

__all__ = ["VectorArray", "PointArray"]


class VectorArray:
    """An ordered array of 3D vectors in paged native storage (1024 vectors a page)."""

    def __init__(self, points=None):
        """An empty array, or one holding ``points`` (anything from_numpy takes)."""
        self._ref = _qorapi.point_array_new()
        if points is not None:
            self.from_numpy(points)

    def __len__(self):
        """The number of vectors."""
        return _qorapi.point_array_size(self._ref)

    def to_numpy(self):
        """A new (n, 3) float64 array holding a copy of the vectors."""
        out = _np.empty((len(self), 3), dtype=_np.float64)
        _qorapi.point_array_copy_out(self._ref, out)
        return out

    def from_numpy(self, a):
        """Replaces the vectors by the rows of ``a``: a C-contiguous (n, 3) float64 array.

        TypeError for anything that is not a numpy array of dtype float64; ValueError for
        another shape or a non-contiguous array."""
        if not isinstance(a, _np.ndarray):
            raise TypeError("expected a numpy array of shape (n, 3) and dtype float64, "
                            f"got {type(a).__name__}")
        if a.dtype != _np.float64:
            raise TypeError(f"expected dtype float64 for an (n, 3) array, got dtype {a.dtype}")
        if a.ndim != 2 or a.shape[1] != 3:
            raise ValueError(f"expected shape (n, 3) with dtype float64, got shape {a.shape}")
        if not a.flags["C_CONTIGUOUS"]:
            raise ValueError("expected a C-contiguous (n, 3) float64 array, "
                             "got a non-contiguous one")
        _qorapi.point_array_copy_in(self._ref, a)

    def to_bytes(self):
        """The stream form: magic 0x0B916B00, the count, then x, y, z per vector, big-endian."""
        return _qorapi.point_array_stream(self._ref)


class PointArray(VectorArray):
    """An ordered array of 3D points with sorting, duplicate removal and bounds."""

    def sort(self, unique=False):
        """Sorts the points by x, then y, then z; with ``unique`` only the first point of each
        run of equal points stays. Two int32 arrays: the sorted places (from 1) that survived,
        and for each sorted place the index (from 1) its point had before."""
        kept, order = _qorapi.point_array_sort(self._ref, bool(unique))
        as_ints = lambda b: _np.frombuffer(b, dtype=_np.int32).copy()  # noqa: E731
        return as_ints(kept), as_ints(order)

    def bounds(self):
        """((xmin, ymin, zmin), (xmax, ymax, zmax)); zeros for an empty array."""
        return _qorapi.point_array_bounds(self._ref)
