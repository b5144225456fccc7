"""Data objects, their values and whole documents, for scripts.

A :class:`DataObject` holds named, typed properties and shows them as attributes::

    part = qorapi.DataObject("bracket")
    part.radius = 2.0          # a new name takes the value's own type: a double
    part.count = 3             # an int
    part.radius = 3            # an existing double takes an int as a double
    part.center = qorapi.Vector3D(1, 2, 3)
    part.next = other_part     # a reference to another data object

Reads go through the getter of the property's class, writes through the setter chosen by
the Python type of the value (bool before int, int, float, str, data objects, arrays, and
the value classes below). A typed array (DoubleArray ... Array3D, the 2D arrays), a
DirIndex or a QorImage becomes a property of its own class that holds that very object:
a change made through either name is seen through the other. The system's own failures keep their texts: a missing or
read-only property or a value of the wrong type raises AttributeError, anything else
RuntimeError.

:func:`save` writes an object and every object it refers to into one data-model file;
:func:`load` reads it back whole, shared objects and cycles included.
"""
import math as _math
import numbers as _numbers
import struct as _struct
import weakref as _weakref

from . import _qorapi

__all__ = [
    "DataObject",
    "DataObjectArray",
    "Subscription",
    "Vector3D",
    "Vector2D",
    "Vector2F",
    "Transform3D",
    "QorBounds",
    "QorColor",
    "QorMaterial",
    "QorQuaternion",
    "QorRect",
    "save",
    "load",
]

# One wrapper per native object, so that `a.first is a.second` holds for a shared object.
_live = _weakref.WeakValueDictionary()


_SINGLE = _struct.Struct("f")


def _to_single(x):
    """The single-precision number nearest `x` (infinite beyond the range), as a float."""
    try:
        return _SINGLE.unpack(_SINGLE.pack(x))[0]
    except OverflowError:
        return _math.copysign(_math.inf, x)


def _number_repr(x):
    return repr(int(x)) if float(x).is_integer() and abs(x) < 1e15 else repr(x)


def _single_repr(x):
    """The shortest text that reads back as the same single-precision number."""
    if x.is_integer() and abs(x) < 1e15:
        return repr(int(x))
    for digits in range(1, 10):
        text = "%.*g" % (digits, x)
        if _to_single(float(text)) == x:
            return text
    return repr(x)


class _Value:
    """Base of the value classes: a fixed tuple of numbers, compared by value. The classes
    stored in single precision (_single) keep their numbers rounded to it, so that a value
    read back equals the value that was set."""

    __slots__ = ("_v",)
    _size = 0
    _single = False

    @classmethod
    def _make(cls, values):
        obj = cls.__new__(cls)
        obj._v = tuple(_to_single(float(x)) if cls._single else float(x) for x in values)
        return obj

    def _init(self, values):
        values = tuple(float(x) for x in values)
        if len(values) != self._size:
            raise ValueError(f"{type(self).__name__} takes {self._size} numbers, not {len(values)}")
        self._v = tuple(_to_single(x) for x in values) if self._single else values

    def _repr_number(self, x):
        return _single_repr(x) if self._single else _number_repr(x)

    def __eq__(self, other):
        return type(self) is type(other) and self._v == other._v

    def __ne__(self, other):
        return not self == other

    def __hash__(self):
        return hash((type(self).__name__, self._v))

    def __repr__(self):
        return f"{type(self).__name__}({', '.join(self._repr_number(x) for x in self._v)})"

    def __iter__(self):
        return iter(self._v)

    def __reduce__(self):
        return (type(self)._make, (self._v,))


class Vector3D(_Value):
    """A point or direction in space: x, y, z as doubles."""

    __slots__ = ()
    _size = 3

    def __init__(self, x=0.0, y=0.0, z=0.0):
        self._init((x, y, z))

    x = property(lambda self: self._v[0], doc="The x coordinate.")
    y = property(lambda self: self._v[1], doc="The y coordinate.")
    z = property(lambda self: self._v[2], doc="The z coordinate.")

    def __add__(self, other):
        if not isinstance(other, Vector3D):
            return NotImplemented
        return Vector3D(*(a + b for a, b in zip(self._v, other._v)))

    def __sub__(self, other):
        if not isinstance(other, Vector3D):
            return NotImplemented
        return Vector3D(*(a - b for a, b in zip(self._v, other._v)))

    def __mul__(self, factor):
        if not isinstance(factor, _numbers.Real):
            return NotImplemented
        return Vector3D(*(a * factor for a in self._v))

    __rmul__ = __mul__

    def __neg__(self):
        return Vector3D(*(-a for a in self._v))

    def dot(self, other):
        """The scalar product with another Vector3D."""
        return sum(a * b for a, b in zip(self._v, other._v))

    def cross(self, other):
        """The vector product with another Vector3D."""
        ax, ay, az = self._v
        bx, by, bz = other._v
        return Vector3D(ay * bz - az * by, az * bx - ax * bz, ax * by - ay * bx)

    def length(self):
        """The Euclidean length."""
        return self.dot(self) ** 0.5


class _Pair(_Value):
    """A point in the plane: x and y."""

    __slots__ = ()
    _size = 2

    def __init__(self, x=0.0, y=0.0):
        self._init((x, y))

    x = property(lambda self: self._v[0], doc="The x coordinate.")
    y = property(lambda self: self._v[1], doc="The y coordinate.")


class Vector2D(_Pair):
    """A point in the plane: x, y as doubles."""

    __slots__ = ()


class Vector2F(_Pair):
    """A point in the plane stored in single precision: x, y rounded to it when made. Not
    a Vector2D: the two are stored by different property classes."""

    __slots__ = ()
    _single = True


class Transform3D(_Value):
    """A 4x4 transform, row by row; the default is the identity."""

    __slots__ = ()
    _size = 16

    def __init__(self, *values):
        if not values:
            values = (1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1)
        elif len(values) == 1:
            values = tuple(values[0])
        self._init(values)

    @classmethod
    def identity(cls):
        """The identity transform."""
        return cls()

    @classmethod
    def translation(cls, x, y, z):
        """The transform that moves by (x, y, z)."""
        return cls(1, 0, 0, x, 0, 1, 0, y, 0, 0, 1, z, 0, 0, 0, 1)

    def __getitem__(self, rc):
        """The element at (row, column), both from 0 to 3."""
        r, c = rc
        if not (0 <= r < 4 and 0 <= c < 4):
            raise IndexError(f"Transform3D has rows and columns 0 to 3, not {rc!r}")
        return self._v[r * 4 + c]

    def rows(self):
        """The four rows as tuples."""
        return [self._v[r * 4:r * 4 + 4] for r in range(4)]

    def __matmul__(self, other):
        if isinstance(other, Transform3D):
            a, b = self._v, other._v
            return Transform3D(*(sum(a[r * 4 + k] * b[k * 4 + c] for k in range(4))
                                 for r in range(4) for c in range(4)))
        if isinstance(other, Vector3D):
            a = self._v
            p = (*other._v, 1.0)
            return Vector3D(*(sum(a[r * 4 + k] * p[k] for k in range(4)) for r in range(3)))
        return NotImplemented


_EMPTY = 1.7014117331926443e38


class QorBounds(_Value):
    """An axis-aligned box: minimum and maximum corners. The default is the empty box."""

    __slots__ = ()
    _size = 6

    def __init__(self, minimum=None, maximum=None):
        lo = tuple(minimum) if minimum is not None else (_EMPTY,) * 3
        hi = tuple(maximum) if maximum is not None else (-_EMPTY,) * 3
        self._init(lo + hi)

    minimum = property(lambda self: Vector3D(*self._v[:3]), doc="The minimum corner.")
    maximum = property(lambda self: Vector3D(*self._v[3:]), doc="The maximum corner.")

    def is_empty(self):
        """Whether the box holds nothing: a minimum above its maximum on some axis."""
        return any(self._v[i] > self._v[i + 3] for i in range(3))

    def __repr__(self):
        if self.is_empty():
            return "QorBounds()"
        return f"QorBounds({self.minimum!r}, {self.maximum!r})"


class QorColor(_Value):
    """A colour: red, green, blue, alpha from 0 to 1, rounded to single precision when made
    (the precision it is stored in)."""

    __slots__ = ()
    _size = 4
    _single = True

    def __init__(self, red=0.5, green=0.5, blue=0.5, alpha=1.0):
        self._init((red, green, blue, alpha))

    red = property(lambda self: self._v[0], doc="The red part, 0 to 1.")
    green = property(lambda self: self._v[1], doc="The green part, 0 to 1.")
    blue = property(lambda self: self._v[2], doc="The blue part, 0 to 1.")
    alpha = property(lambda self: self._v[3], doc="The opacity, 0 to 1.")


class QorMaterial(_Value):
    """A surface material: four colours, transmission, shininess and the face it applies to
    (0 front, 1 back, 2 both); the numbers are rounded to single precision when made."""

    __slots__ = ()
    _size = 19
    _single = True

    def __init__(self, ambient=None, diffuse=None, specular=None, emission=None,
                 transmission=0.0, shininess=0.0, face=0):
        colors = [c if c is not None else QorColor(0, 0, 0, 0)
                  for c in (ambient, diffuse, specular, emission)]
        self._init(tuple(x for c in colors for x in c._v) + (transmission, shininess, face))

    ambient = property(lambda self: QorColor(*self._v[0:4]), doc="The ambient colour.")
    diffuse = property(lambda self: QorColor(*self._v[4:8]), doc="The diffuse colour.")
    specular = property(lambda self: QorColor(*self._v[8:12]), doc="The specular colour.")
    emission = property(lambda self: QorColor(*self._v[12:16]), doc="The emitted colour.")
    transmission = property(lambda self: self._v[16], doc="The transmission, 0 to 1.")
    shininess = property(lambda self: self._v[17], doc="The shininess.")
    face = property(lambda self: int(self._v[18]), doc="0 front, 1 back, 2 both faces.")

    def __repr__(self):
        return (f"QorMaterial({self.ambient!r}, {self.diffuse!r}, {self.specular!r}, "
                f"{self.emission!r}, {_single_repr(self.transmission)}, "
                f"{_single_repr(self.shininess)}, {self.face!r})")


class QorQuaternion(_Value):
    """A quaternion w + xi + yj + zk."""

    __slots__ = ()
    _size = 4

    def __init__(self, w=0.0, x=0.0, y=0.0, z=0.0):
        self._init((w, x, y, z))

    w = property(lambda self: self._v[0], doc="The real part.")
    x = property(lambda self: self._v[1], doc="The i part.")
    y = property(lambda self: self._v[2], doc="The j part.")
    z = property(lambda self: self._v[3], doc="The k part.")


class QorRect(_Value):
    """A rectangle in the plane: x_min, y_min, x_max, y_max."""

    __slots__ = ()
    _size = 4

    def __init__(self, x_min=0.0, y_min=0.0, x_max=0.0, y_max=0.0):
        self._init((x_min, y_min, x_max, y_max))

    x_min = property(lambda self: self._v[0], doc="The left edge.")
    y_min = property(lambda self: self._v[1], doc="The bottom edge.")
    x_max = property(lambda self: self._v[2], doc="The right edge.")
    y_max = property(lambda self: self._v[3], doc="The top edge.")


class Subscription:
    """The handle of a subscription made with DataObject.subscribe.

    The subscription lasts until unsubscribe() or the object's death, whether or not the
    handle is kept. Used as a context manager it unsubscribes on leaving the block.
    """

    __slots__ = ("_handle", "event")

    def __init__(self, handle, event):
        self._handle = handle
        self.event = event

    def unsubscribe(self):
        """Stops the deliveries; False when they had stopped already."""
        return _qorapi.unsubscribe(self._handle)

    @property
    def active(self):
        """Whether the subscription still delivers."""
        return _qorapi.subscription_active(self._handle)

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.unsubscribe()
        return False

    def __repr__(self):
        state = "active" if self.active else "ended"
        return f"<qorapi.Subscription {self.event!r} {state}>"


def _bind_new(obj, ref, name, properties):
    """Binds the new script object `obj` to the new native `ref`, then sets `name` and the
    further properties in order."""
    _qorapi.bind_object(obj, ref)
    _live[(type(obj), _qorapi.ref_address(ref))] = obj
    if name is not None:
        obj.set("name", name)
    for key, value in properties.items():
        obj.set(key, value)


def _adopt(cls, ref):
    address = _qorapi.ref_address(ref)
    key = (cls, address)
    obj = _live.get(key)
    if obj is None:
        obj = cls.__new__(cls)
        if issubclass(cls, DataObject):
            _qorapi.bind_object(obj, ref)
        else:
            object.__setattr__(obj, "_ref", ref)
        _live[key] = obj
    return obj


# The script class of each kind of native object; other modules of the package add theirs.
# An entry that is not a class picks the class from the reference (selections: by their
# class name).
_kinds = {}


def _wrap(ref, kind):
    cls = _kinds[kind]
    return _adopt(cls if isinstance(cls, type) else cls(ref), ref)


class DataObject(_qorapi.data_object_type()):
    """A data object: a name and named, typed properties, reached as attributes.

    ``DataObject(name, **properties)`` makes a new object; each keyword becomes a property
    of the value's type. Reading a name the object lacks raises AttributeError. Methods
    of this class take precedence over properties of the same name when read; use
    :meth:`get` and :meth:`set` to reach such a property. Every assignment of a name that
    does not start with '_' sets a property, and ``del`` removes one.
    """

    __slots__ = ("_swig",)

    def __init__(self, name=None, **properties):
        ref = _qorapi.new_data_object()
        _qorapi.bind_object(self, ref)
        _live[(DataObject, _qorapi.ref_address(ref))] = self
        if name is not None:
            self.set("name", name)
        for key, value in properties.items():
            self.set(key, value)

    def __dir__(self):
        return sorted(set(object.__dir__(self)) | set(self.property_names()))

    @property
    def this(self):
        """The module's pointer object of this data object, which does not own it: what
        the module's functions taking a DataObject receive."""
        try:
            return _swig_slot.__get__(self)
        except AttributeError:
            pointer = _qorapi.pointer_of(self._ref)
            _swig_slot.__set__(self, pointer)
            return pointer

    def get(self, name):
        """The value of property `name`."""
        return _qorapi.object_get(self._ref, name)

    def set(self, name, value):
        """Sets property `name` as an attribute assignment would."""
        _qorapi.object_set(self._ref, name, value)

    def has(self, name):
        """Whether the object has a property `name`."""
        return _qorapi.object_has(self._ref, name)

    def property_names(self):
        """The names of all properties, in the system's key order."""
        return _qorapi.object_names(self._ref)

    def property_type(self, name):
        """The type name of property `name` ("int", "double", "qorapi.math.Vector3D", ...)."""
        return _qorapi.object_property_type(self._ref, name)

    def type_string(self):
        """The script type of the object: "qorapi.datamodel.DataObject" for a plain one."""
        return _qorapi.object_info(self._ref)[2]

    def documentation(self):
        """Every property with its type, value and description, one per line."""
        return _qorapi.object_documentation(self._ref)

    def subscribe(self, event, callback, priority=0):
        """Calls ``callback(event, args)`` on every firing of `event` and returns a
        :class:`Subscription`.

        `args` is a dict of the firing's named values: for "property_modified" on an
        object, "name" (the property's name), "oldValue", "newValue" and the property's
        own value. An exception the callback raises is reported through
        sys.unraisablehook and does not stop the delivery.

        Subscribers run in list order, and `priority` decides where a new one lands: before
        the first subscriber listed with a strictly greater priority. When no listed
        priority is greater, it is appended and listed with priority -1, whatever was
        asked; so after ``subscribe(e, f, 5)`` on an empty list, ``subscribe(e, g, 0)``
        lands after f. A subscription made while the event is being delivered waits until
        the outermost delivery ends, then lands by the same rule.
        """
        return Subscription(_qorapi.object_subscribe(self._ref, event, callback, priority), event)

    def __repr__(self):
        try:
            name = _qorapi.object_get(self._ref, "name")
        except Exception:  # a subclass without a readable name
            name = ""
        return f"<qorapi.DataObject {name!r}>"


_swig_slot = DataObject._swig  # set through the slot: assignments of names are properties
_kinds["object"] = DataObject


class DataObjectArray:
    """An array of data objects (or None), indexed from 0.

    ``DataObjectArray(objects)`` makes a new array holding `objects`. It supports len(),
    iteration, indexing (negative indices count from the end), ``in`` and the list-like
    methods below. Set it as a property to store it with its object.
    """

    __slots__ = ("_ref", "__weakref__")

    def __init__(self, objects=()):
        object.__setattr__(self, "_ref", _qorapi.new_array())
        _live[(DataObjectArray, _qorapi.ref_address(self._ref))] = self
        for obj in objects:
            self.append(obj)

    def _index(self, index):
        if not isinstance(index, int):
            raise TypeError(f"DataObjectArray indices are integers, not {type(index).__name__}")
        n = len(self)
        if index < 0:
            index += n
        if not 0 <= index < n:
            raise IndexError(f"index {index} is out of range for a DataObjectArray of {n}")
        return index

    def __len__(self):
        return _qorapi.array_len(self._ref)

    def __getitem__(self, index):
        return _qorapi.array_get(self._ref, self._index(index))

    def __setitem__(self, index, obj):
        _qorapi.array_set(self._ref, self._index(index), obj)

    def __delitem__(self, index):
        _qorapi.array_remove_at(self._ref, self._index(index))

    def __iter__(self):
        return iter([_qorapi.array_get(self._ref, i) for i in range(len(self))])

    def __contains__(self, obj):
        return _qorapi.array_index(self._ref, obj) >= 0

    def append(self, obj):
        """Adds a DataObject (or None) at the end."""
        _qorapi.array_append(self._ref, obj)

    def insert(self, index, obj):
        """Inserts before `index` as list.insert does: a negative index counts from the end,
        and an index beyond either end inserts at that end."""
        if not isinstance(index, int):
            raise TypeError(f"DataObjectArray indices are integers, not {type(index).__name__}")
        n = len(self)
        index = max(0, index + n) if index < 0 else min(index, n)
        _qorapi.array_insert(self._ref, index, obj)

    def pop(self):
        """Removes and returns the last entry."""
        return _qorapi.array_pop(self._ref)

    def index_of(self, obj):
        """The index of the last entry holding `obj`, or -1."""
        return _qorapi.array_index(self._ref, obj)

    def clear(self):
        """Removes every entry."""
        _qorapi.array_clear(self._ref)

    def __repr__(self):
        return f"DataObjectArray({list(self)!r})"


_kinds["array"] = DataObjectArray


def save(path, obj):
    """Writes `obj` and every data object it refers to into a data-model file at `path`."""
    if not isinstance(obj, DataObject):
        raise TypeError(f"save() stores a DataObject, not {type(obj).__name__}")
    _qorapi.save_document(path, obj._ref)


def load(path):
    """Reads a data-model file written by save() and returns its root DataObject.

    A file that cannot be read whole (cut short, or with numbers that run past its end)
    raises ValueError naming the file and the byte where reading stopped; nothing of it is
    returned. What the format lets a reader skip, properties and objects of classes this
    build does not know or of a newer version, is left out with a line in the log.
    """
    return _qorapi.load_document(path)


_qorapi.set_value_types({
    "wrap": _wrap,
    "Vector3D": Vector3D,
    "Vector2D": Vector2D,
    "Vector2F": Vector2F,
    "Transform3D": Transform3D,
    "QorBounds": QorBounds,
    "QorColor": QorColor,
    "QorMaterial": QorMaterial,
    "QorQuaternion": QorQuaternion,
    "QorRect": QorRect,
})

# The typed arrays belong to the data model too; their module needs the value classes above.
from .sequences import (  # noqa: E402
    Array3D,
    ByteArray,
    ColorArray,
    DirIndex,
    DoubleArray,
    DoubleArray2D,
    ImageArray,
    IntArray,
    StringArray,
    Transform3DArray,
    Vector2DArray,
    Vector2FArray,
    Vector3DArray,
    Vector3DArray2D,
)

__all__ += [
    "Array3D",
    "ByteArray",
    "ColorArray",
    "DirIndex",
    "DoubleArray",
    "DoubleArray2D",
    "ImageArray",
    "IntArray",
    "StringArray",
    "Transform3DArray",
    "Vector2DArray",
    "Vector2FArray",
    "Vector3DArray",
    "Vector3DArray2D",
]
