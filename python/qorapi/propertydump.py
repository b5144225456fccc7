"""The script's pen on the host's property dump.

An :class:`AddPropertyDump` adds named values to one branch of the dump (its ``basename``,
"Custom" by default) of the provider "Custom"; objects with the same basename share the
branch. ``push`` opens a child that the next values go into, ``pop`` closes it. Every
method answers True or False and never raises for a missing host service or a refused
element. The host writes the tree as XML (``qorapi.host.write_property_dump``).
"""
import _brindle

from .datamodel import QorBounds as _Bounds, Transform3D as _Transform
from .document import _Command
from .wrapped import (QorBounds as _WrappedBounds, QorMatrix as _WrappedMatrix,
                      QorString as _WrappedString, QorVector as _WrappedVector,
                      make_QorBounds, make_QorMatrix, make_QorVector)

__all__ = ["AddPropertyDump"]

# The calls a dump makes most, reached without the attribute lookups; the methods pass the
# object's pointer (its slot `_swig`, set when the object is made) rather than the object.
_add = _brindle.AddPropertyDump_add
_push = _brindle.AddPropertyDump_push
_pop = _brindle.AddPropertyDump_pop


def _vector(value):
    """A wrapped QorVector from a Vector3D, a sequence of three numbers or a wrapped one."""
    return value if isinstance(value, _WrappedVector) else make_QorVector(value)


class AddPropertyDump(_Command):
    """Add a property name value pair to the xml property dump.

    ``AddPropertyDump()`` writes under the branch "Custom", ``AddPropertyDump("run 7")``
    under the branch "run 7". Property: ``basename`` (str), read once, when the object
    first needs its branch.
    """

    __slots__ = ()
    __swig_destroy__ = _brindle.delete_AddPropertyDump

    def __init__(self, basename=None):
        if basename is None:
            self.this = _brindle.new_AddPropertyDump()
        else:
            self.this = _brindle.new_AddPropertyDump(basename)

    def push(self, propname, type=None):
        """Adds an empty child `propname` (with `type` in its type slot, when given) and
        makes it the place where the next values go. True when the child was added."""
        if type is None:
            return _push(self._swig, propname)
        return _push(self._swig, propname, type)

    def pop(self):
        """Goes back to the element of the push before; False when none is open."""
        return _pop(self._swig)

    def reset(self):
        """Closes every open child and empties the branch, for every object sharing it."""
        return _brindle.AddPropertyDump_reset(self)

    def add(self, propname, value):
        """Adds the child `propname` holding `value`: an int (type "int", "%d"), a float
        (type "double", "%f", or "%e" beyond 1e10) or a str (type "string")."""
        try:
            return _add(self._swig, propname, value)
        except NotImplementedError:
            if isinstance(value, _WrappedString):
                return _add(self._swig, propname, str(value))
            raise

    def addPoint(self, propname, vec):
        """Adds a "point" child with the children "X", "Y", "Z" from `vec` (a Vector3D,
        three numbers or a wrapped QorVector)."""
        return _brindle.AddPropertyDump_addPoint(self, propname, _vector(vec))

    def addDirection(self, propname, vec):
        """Adds a "vector" child with the children "XDir", "YDir", "ZDir" from `vec`."""
        return _brindle.AddPropertyDump_addDirection(self, propname, _vector(vec))

    def addMatrix(self, propname, mat):
        """Adds a "matrix" child with the attributes "M0" to "M15", row by row, from `mat`
        (a Transform3D, 16 numbers or a wrapped QorMatrix)."""
        if not isinstance(mat, _WrappedMatrix):
            mat = make_QorMatrix(mat if isinstance(mat, _Transform) else _Transform(*mat))
        return _brindle.AddPropertyDump_addMatrix(self, propname, mat)

    def addBounds(self, propname, bnds):
        """Adds a "boundbox" child with the attributes "XMin", "XMax", "YMin", "YMax",
        "ZMin", "ZMax" from `bnds` (a qorapi.QorBounds or a wrapped QorBounds)."""
        if not isinstance(bnds, _WrappedBounds):
            if not isinstance(bnds, _Bounds):
                raise TypeError(f"addBounds takes a QorBounds, not {type(bnds).__name__}")
            bnds = make_QorBounds(bnds)
        return _brindle.AddPropertyDump_addBounds(self, propname, bnds)

    def addFeature(self, propName, dobj):
        """Adds a "feature" child that the host fills from the script feature `dobj`;
        False for anything that is no feature or without the host's dump utility."""
        return _brindle.AddPropertyDump_addFeature(self, propName, dobj)

    def addCADModel(self, propName, dobj):
        """Adds a "cadModel" child that the host fills from the CAD model `dobj`; False
        for anything else, and False (the child stays) without the host's dump utility."""
        return _brindle.AddPropertyDump_addCADModel(self, propName, dobj)

    def typeString(self):
        """The script type: "qorapi.datamodel.AddPropertyDump"."""
        return _brindle.AddPropertyDump_typeString(self)


_brindle.AddPropertyDump_swigregister(AddPropertyDump)
