"""Oriented triangles: the sides of mesh triangles as scripts see them.

An oriented triangle is one 32-bit number: bits 0 to 2 hold the version (0 to 5, three
rotations in each of two senses) and bits 3 to 31 the triangle's index + 1 (0 for no
triangle). ``OrientedTriangleStack`` holds such numbers, indexed from 0;
``OrientedTriangleStackList`` holds stacks. The classes offer the system's own operations
(``at``, ``set``, ``append``, ``pop``, ``insertAt``, ``removeAt``, ``indexOf``, ``clear``,
``getOrInvalid``, ``setIfValid``, ``first``, ``last``, the built-in cursor ``next``,
``current``, ``reset``, and ``newIterator``) and the usual Python forms: len(), indexing
with negative indices and slices, iteration, ``in``, ``==``, repr(), copy and pickle.

A stack keeps only the number of a triangle it is given, and every triangle it gives back
is a new object: changing it does not change the stack. A list holds its stacks
themselves. The system's errors raise RuntimeError with their whole text, such as
"Error in class Collection: Invalid index."; Python indexing raises IndexError with that
text and the index.
"""
from . import _qorapi
from .sequences import _index, _Sequence

__all__ = [
    "OrientedTriangle",
    "OrientedTriangleIter",
    "OrientedTriangleStack",
    "OrientedTriangleStackIter",
    "OrientedTriangleStackList",
    "DirIndex",
]

(_TriangleBase, _StackBase, _ListBase, OrientedTriangleIter,
 OrientedTriangleStackIter) = _qorapi.mesh_types()


class OrientedTriangle(_TriangleBase):
    """A side of a mesh triangle: a triangle index and a version from 0 to 5.

    ``OrientedTriangle()`` has no triangle (index -1) and version 0;
    ``OrientedTriangle(index, version)`` follows the rule of set(); ``OrientedTriangle(t)``
    copies another; ``OrientedTriangle.from_raw(n)`` takes a number as it stands.
    Two triangles are equal when their numbers are.
    """

    __slots__ = ()
    __hash__ = None  # type: ignore[assignment]  # mutable, as set() and flip() show

    def __init__(self, index=-1, version=0):
        """By the rule of set(), or a copy when `index` is an OrientedTriangle."""
        if isinstance(index, OrientedTriangle):
            self._load(index.rawValue())
        else:
            self.set(index, version)

    @classmethod
    def from_raw(cls, raw):
        """A new triangle holding the 32-bit number `raw` as it stands."""
        t = cls()
        t._load(raw)
        return t

    def __eq__(self, other):
        if isinstance(other, OrientedTriangle):
            return self.rawValue() == other.rawValue()
        return NotImplemented

    def __reduce__(self):
        return (type(self).from_raw, (self.rawValue(),))

    def __repr__(self):
        if self.version() <= 5:
            return f"OrientedTriangle({self.index()}, {self.version()})"
        return f"OrientedTriangle.from_raw({self.rawValue()})"


class OrientedTriangleStack(_Sequence, _StackBase):
    """A stack of oriented triangles, indexed from 0; it keeps only their numbers.

    ``OrientedTriangleStack(triangles)`` makes a new stack holding `triangles`. Unlike the
    other collections, the built-in cursor is zero-based: after reset(), current() is the
    first entry, and a loop runs current(), next(), current() until next() answers False.
    Two stacks are equal when they hold the same numbers in the same order.
    """

    __slots__ = ()
    __hash__ = None  # type: ignore[assignment]

    def __init__(self, triangles=()):
        """A new stack holding the numbers of `triangles`."""
        for t in triangles:
            self.append(t)

    def __contains__(self, triangle):
        return isinstance(triangle, OrientedTriangle) and self.indexOf(triangle) >= 0

    def __eq__(self, other):
        if isinstance(other, OrientedTriangleStack):
            return self._values() == other._values()
        return NotImplemented

    def __reduce__(self):
        return (type(self), (list(self),))

    def __repr__(self):
        return f"OrientedTriangleStack({list(self)!r})"


class OrientedTriangleStackList(_Sequence, _ListBase):
    """A list of OrientedTriangleStack (or None) entries, indexed from 0.

    The list holds the stacks themselves: a stack changed through the list is changed for
    everyone who holds it. ``OrientedTriangleStackList(stacks)`` makes a new list holding
    `stacks`. The built-in cursor is one-based: the first next() moves onto the first
    entry. ``in`` and ``==`` compare stacks by content, indexOf() by identity.
    """

    __slots__ = ()
    __hash__ = None  # type: ignore[assignment]

    def __init__(self, stacks=()):
        """A new list holding `stacks`."""
        for s in stacks:
            self.append(s)

    def __contains__(self, stack):
        return any(s == stack for s in self)

    def __eq__(self, other):
        if isinstance(other, OrientedTriangleStackList):
            return len(self) == len(other) and all(a == b for a, b in zip(self, other))
        return NotImplemented

    def __reduce__(self):
        return (type(self), (list(self),))

    def __repr__(self):
        return f"OrientedTriangleStackList({list(self)!r})"


_qorapi.mesh_register(OrientedTriangle, OrientedTriangleStack, OrientedTriangleStackList)

# A direction index names a mesh side too; its class lives with the typed arrays.
from .sequences import DirIndex  # noqa: E402
