from typing import Any, Callable, ClassVar, overload

from .document import _Modifier
from .datamodel import DataObject
from .selection import (
    CADFaceSelection,
    CurveSelection,
    EdgeSelection,
    PointSelection,
    QuadSelection,
    TriangleSelection,
    VertexSelection,
)
from .wrapped import QorString

__all__ = [
    "AddSelectionSubObject",
    "GetSelectionSubObject",
    "GetActiveTriangleSelection",
    "SetActiveTriangleSelection",
    "GetActiveEdgeSelection",
    "SetActiveEdgeSelection",
    "GetActiveVertexSelection",
    "SetActiveVertexSelection",
    "GetActivePointSelection",
    "SetActivePointSelection",
    "GetActiveQuadSelection",
    "SetActiveQuadSelection",
    "GetActiveCadFaceSelection",
    "SetActiveCadFaceSelection",
    "GetActiveCurveSelection",
    "SetActiveCurveSelection",
]

class AddSelectionSubObject(_Modifier):
    __swig_destroy__: ClassVar[Callable[[Any], None]]
    def name(self) -> str: ...
    @overload
    def run(self) -> None: ...
    @overload
    def run(self, model: DataObject | None, selection: DataObject | None) -> None: ...

class GetSelectionSubObject(_Modifier):
    __swig_destroy__: ClassVar[Callable[[Any], None]]
    def name(self) -> str: ...
    @overload
    def run(self) -> DataObject | None: ...
    @overload
    def run(self, model: DataObject | None, selectionName: str | QorString) -> DataObject | None: ...

class _GetActive(_Modifier):
    def run(self) -> DataObject | None: ...

class _SetActive(_Modifier):
    def run(self) -> None: ...

class GetActiveTriangleSelection(_GetActive):
    __swig_destroy__: ClassVar[Callable[[Any], None]]
    def run(self) -> TriangleSelection: ...

class SetActiveTriangleSelection(_SetActive):
    __swig_destroy__: ClassVar[Callable[[Any], None]]

class GetActiveEdgeSelection(_GetActive):
    __swig_destroy__: ClassVar[Callable[[Any], None]]
    def run(self) -> EdgeSelection: ...

class SetActiveEdgeSelection(_SetActive):
    __swig_destroy__: ClassVar[Callable[[Any], None]]

class GetActiveVertexSelection(_GetActive):
    __swig_destroy__: ClassVar[Callable[[Any], None]]
    def run(self) -> VertexSelection: ...

class SetActiveVertexSelection(_SetActive):
    __swig_destroy__: ClassVar[Callable[[Any], None]]

class GetActivePointSelection(_GetActive):
    __swig_destroy__: ClassVar[Callable[[Any], None]]
    def run(self) -> PointSelection: ...

class SetActivePointSelection(_SetActive):
    __swig_destroy__: ClassVar[Callable[[Any], None]]

class GetActiveQuadSelection(_GetActive):
    __swig_destroy__: ClassVar[Callable[[Any], None]]
    def run(self) -> QuadSelection: ...

class SetActiveQuadSelection(_SetActive):
    __swig_destroy__: ClassVar[Callable[[Any], None]]

class GetActiveCadFaceSelection(_GetActive):
    __swig_destroy__: ClassVar[Callable[[Any], None]]
    def run(self) -> CADFaceSelection: ...

class SetActiveCadFaceSelection(_SetActive):
    __swig_destroy__: ClassVar[Callable[[Any], None]]

class GetActiveCurveSelection(_GetActive):
    __swig_destroy__: ClassVar[Callable[[Any], None]]
    def run(self) -> CurveSelection: ...

class SetActiveCurveSelection(_SetActive):
    __swig_destroy__: ClassVar[Callable[[Any], None]]
