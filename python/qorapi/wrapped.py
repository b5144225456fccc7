"""Wrapped values of the system, for the module's functions that take a QorString,
QorVector, QorMatrix or QorBounds by pointer. None of the module's functions returns one,
so scripts make them with the factories below; each belongs to its Python object and dies
with it."""
from . import _qorapi
from ._proxies import _Proxy
from .datamodel import QorBounds as _Bounds, Transform3D as _Transform, Vector3D as _Vector

__all__ = ["QorString", "QorVector", "QorMatrix", "QorBounds",
           "make_QorString", "make_QorVector", "make_QorMatrix", "make_QorBounds"]


class QorString(_Proxy):
    """A text of the system. Make one with make_QorString; str() gives its text."""

    __swig_destroy__ = _qorapi.delete_QorString

    def __str__(self):
        return _qorapi.wrapped_string_text(self)


class QorVector(_Proxy):
    """A 3D vector of the system. Make one with make_QorVector."""

    __swig_destroy__ = _qorapi.delete_QorVector

    def value(self):
        """The vector as a Vector3D."""
        return _Vector(*_qorapi.wrapped_vector_values(self))


class QorMatrix(_Proxy):
    """A 4x4 transform of the system. Make one with make_QorMatrix."""

    __swig_destroy__ = _qorapi.delete_QorMatrix

    def value(self):
        """The transform as a Transform3D."""
        return _Transform(*_qorapi.wrapped_matrix_values(self))


class QorBounds(_Proxy):
    """A box of the system. Make one with make_QorBounds."""

    __swig_destroy__ = _qorapi.delete_QorBounds

    def value(self):
        """The box as a qorapi.QorBounds value."""
        v = _qorapi.wrapped_bounds_values(self)
        return _Bounds(v[:3], v[3:])


for _cls in (QorString, QorVector, QorMatrix, QorBounds):
    getattr(_qorapi, _cls.__name__ + "_swigregister")(_cls)


def make_QorString(text):
    """A QorString holding `text` (any str, characters beyond U+FFFF included)."""
    return _qorapi.make_QorString(text)


def make_QorVector(x, y=None, z=None):
    """A QorVector from a Vector3D or from x, y, z."""
    if y is None and z is None:
        x, y, z = tuple(x)
    return _qorapi.make_QorVector(x, y, z)


def make_QorMatrix(transform=None):
    """A QorMatrix from a Transform3D or 16 numbers row by row; the identity by default."""
    values = tuple(transform) if transform is not None else tuple(_Transform())
    return _qorapi.make_QorMatrix(values)


def make_QorBounds(bounds=None):
    """A QorBounds from a qorapi.QorBounds value; the empty box by default."""
    return _qorapi.make_QorBounds(*tuple(bounds if bounds is not None else _Bounds()))
