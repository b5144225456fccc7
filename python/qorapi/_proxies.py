"""Proxy classes over the flat functions of _brindle.

Each class stores the module's pointer object as ``this``; the module's
``<Class>_swigregister`` binds the class to its type, so pointers the module returns
come back as instances of these classes. ``__swig_destroy__`` is what frees an object
the script owns.
"""
import _brindle

from . import _qorapi


class _Proxy:
    """Common behaviour: repr and ownership of the native object."""

    __slots__ = ("this", "__weakref__")

    def __repr__(self):
        return "<%s.%s; %r >" % (self.__class__.__module__, self.__class__.__name__, self.this)

    @property
    def thisown(self):
        """Whether this script object owns (and will free) the native object."""
        return self.this.own()

    @thisown.setter
    def thisown(self, value):
        self.this.own(value)


class QorCString(_Proxy):
    """A narrow text of the system, as some functions return it. str() gives its text."""

    __swig_destroy__ = _qorapi.delete_QorCString

    def __init__(self, text=""):
        self.this = _qorapi.new_QorCString(text)

    def __str__(self):
        return _qorapi.QorCString_c_str(self)

    def isEmpty(self):
        """True for a null or empty text."""
        return _qorapi.QorCString_isEmpty(self)

    def __len__(self):
        return _qorapi.QorCString_length(self)

    def __eq__(self, other):
        if isinstance(other, QorCString):
            return str(self) == str(other)
        if isinstance(other, str):
            return str(self) == other
        return NotImplemented

    __hash__ = None


_qorapi.QorCString_swigregister(QorCString)


class IntAppState(_Proxy):
    """A live handle on an integer value of the application's settings store.

    IntAppState(key): reads and writes go to the store each time; nothing is cached.
    """

    __swig_destroy__ = _brindle.delete_IntAppState

    def __init__(self, key):
        self.this = _brindle.new_IntAppState(key)

    def getValue(self):
        """The key's current value (0 when the store has no such key)."""
        return _brindle.IntAppState_getValue(self)

    def setValue(self, value):
        """Writes an int to the key."""
        _brindle.IntAppState_setValue(self, value)


_brindle.IntAppState_swigregister(IntAppState)


class FloatAppState(_Proxy):
    """A live handle on a real value of the application's settings store."""

    __swig_destroy__ = _brindle.delete_FloatAppState

    def __init__(self, key):
        self.this = _brindle.new_FloatAppState(key)

    def getValue(self):
        """The key's current value (0.0 when the store has no such key)."""
        return _brindle.FloatAppState_getValue(self)

    def setValue(self, value):
        """Writes a float (or int) to the key."""
        _brindle.FloatAppState_setValue(self, value)


_brindle.FloatAppState_swigregister(FloatAppState)


class StringAppState(_Proxy):
    """A live handle on a text value of the application's settings store."""

    __swig_destroy__ = _brindle.delete_StringAppState

    def __init__(self, key):
        self.this = _brindle.new_StringAppState(key)

    def getValue(self):
        """The key's current text ("" when the store has no such key)."""
        return _brindle.StringAppState_getValue(self)

    def setValue(self, value):
        """Writes a str to the key."""
        _brindle.StringAppState_setValue(self, value)


_brindle.StringAppState_swigregister(StringAppState)


class CStringAppState(_Proxy):
    """A live handle on a narrow text value of the application's settings store.

    getValue gives a QorCString object; setValue takes a str.
    """

    __swig_destroy__ = _brindle.delete_CStringAppState

    def __init__(self, key):
        self.this = _brindle.new_CStringAppState(key)

    def getValue(self):
        """The key's current text as a QorCString (null when the store has no such key)."""
        return _brindle.CStringAppState_getValue(self)

    def setValue(self, value):
        """Writes a str to the key."""
        _brindle.CStringAppState_setValue(self, value)


_brindle.CStringAppState_swigregister(CStringAppState)
