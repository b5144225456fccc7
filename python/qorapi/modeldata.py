"""A model's data for scripts: the Mesh, CADModel, Points and GriddedPoints objects that
:meth:`qorapi.Model.getData`, :func:`qorapi.make_mesh` and :func:`qorapi.make_points` give,
with the model's arrays as numpy views.

Each array comes out as an (n, 3) numpy array over the host's own memory: no copy is made,
the array is read-only (assigning to it raises ValueError), and it holds the host's storage
itself, so it stays valid and unchanged after ``del model``, after the model leaves the
document and after the document is closed or replaced. Copy it (``a.copy()``) to change it.

dtypes: vertices and points float64; triangles int32, three zero-based vertex numbers per
row; normals float32; colours float32, red, green and blue from 0 to 1 per row.
"""
import numpy as _np

from . import _qorapi
from .datamodel import DataObject, _kinds

__all__ = ["Mesh", "CADModel", "Points", "GriddedPoints"]


def _view(data, which):
    """The host's array `which` of `data` as a read-only numpy array, or None."""
    buffer = _qorapi.model_array_view(data, which)
    return None if buffer is None else _np.asarray(buffer)


class _ModelData(DataObject):
    """What every model's data has: per-vertex normals and colours."""

    __slots__ = ()

    def __init__(self, *args, **kwargs):
        raise TypeError(f"{type(self).__name__} objects come from the host: use qorapi.make_mesh, "
                        "qorapi.make_points or Model.getData()")

    def normals(self):
        """The unit normals, one (nx, ny, nz) row per vertex: an (n, 3) float32 read-only
        view, or None when the model has no normals (``hasNormals`` is False)."""
        return _view(self, "normals")

    def colors(self):
        """The colours, one (red, green, blue) row per vertex from 0 to 1: an (n, 3) float32
        read-only view, or None when the model has no colours (``hasColors`` is False)."""
        return _view(self, "colors")

    def __repr__(self):
        return f"<qorapi.{type(self).__name__} {self.get('name')!r}>"


class _TriangleData(_ModelData):
    """The arrays of a triangle mesh."""

    __slots__ = ()

    def vertices(self):
        """The vertex positions: an (n, 3) float64 read-only view, n = ``numVertices``."""
        return _view(self, "positions")

    def triangles(self):
        """The triangles, three zero-based vertex numbers each: an (m, 3) int32 read-only
        view, m = ``numTriangles``."""
        return _view(self, "triangles")


class Mesh(_TriangleData):
    """A triangle mesh: ``numVertices``, ``numTriangles``, ``hasNormals``, ``hasColors``."""

    __slots__ = ()


class CADModel(_TriangleData):
    """A CAD model's mesh, with the same arrays and sizes as a :class:`Mesh`."""

    __slots__ = ()


class _PointData(_ModelData):
    """The arrays of points."""

    __slots__ = ()

    def points(self):
        """The point positions: an (n, 3) float64 read-only view, n = ``numPoints``."""
        return _view(self, "positions")


class Points(_PointData):
    """A point cloud: ``numPoints``, ``hasNormals``, ``hasColors``."""

    __slots__ = ()


class GriddedPoints(_PointData):
    """Points on a grid of ``numRows`` by ``numColumns`` (``numPoints`` of them in all)."""

    __slots__ = ()


_classes = {c.__name__: c for c in (Mesh, CADModel, Points, GriddedPoints)}


def _class_of(ref):
    """The script class of a model's data, by its class name (DataObject for other kinds)."""
    return _classes.get(_qorapi.object_info(ref)[1], DataObject)


_kinds["modeldata"] = _class_of
