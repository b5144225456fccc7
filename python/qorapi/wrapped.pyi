from collections.abc import Iterable
from typing import Any, Callable, ClassVar, overload

from ._proxies import _Proxy
from .datamodel import QorBounds as _Bounds, Transform3D, Vector3D

__all__ = ["QorString", "QorVector", "QorMatrix", "QorBounds",
           "make_QorString", "make_QorVector", "make_QorMatrix", "make_QorBounds"]

class QorString(_Proxy):
    __swig_destroy__: ClassVar[Callable[[Any], None]]

class QorVector(_Proxy):
    __swig_destroy__: ClassVar[Callable[[Any], None]]
    def value(self) -> Vector3D: ...

class QorMatrix(_Proxy):
    __swig_destroy__: ClassVar[Callable[[Any], None]]
    def value(self) -> Transform3D: ...

class QorBounds(_Proxy):
    __swig_destroy__: ClassVar[Callable[[Any], None]]
    def value(self) -> _Bounds: ...

def make_QorString(text: str) -> QorString: ...
@overload
def make_QorVector(x: Iterable[float], y: None = None, z: None = None) -> QorVector: ...
@overload
def make_QorVector(x: float, y: float, z: float) -> QorVector: ...
def make_QorMatrix(transform: Iterable[float] | None = None) -> QorMatrix: ...
def make_QorBounds(bounds: _Bounds | None = None) -> QorBounds: ...
