"""Selection commands: store a script selection on its model and read it back, and read and
set what is marked on a model right now (its active selection).

Each command is a property map: keyword arguments set its properties, its outputs are
read as attributes, and ``run()`` does the work::

    sel = qorapi.GetActiveTriangleSelection(mesh=model.getData()).run()
    qorapi.SetActiveTriangleSelection(mesh=model.getData(), inputTriangleSelection=sel).run()

Failures raise RuntimeError with the command's class error ("Error in class ...").
"""
import _brindle

from . import _qorapi
from .document import _Modifier
from .wrapped import make_QorString

__all__ = [
    "AddSelectionSubObject", "GetSelectionSubObject",
    "GetActiveTriangleSelection", "SetActiveTriangleSelection",
    "GetActiveEdgeSelection", "SetActiveEdgeSelection",
    "GetActiveVertexSelection", "SetActiveVertexSelection",
    "GetActivePointSelection", "SetActivePointSelection",
    "GetActiveQuadSelection", "SetActiveQuadSelection",
    "GetActiveCadFaceSelection", "SetActiveCadFaceSelection",
    "GetActiveCurveSelection", "SetActiveCurveSelection",
]


class AddSelectionSubObject(_Modifier):
    """Add a new selection as a subobject of the specified model.

    Properties: ``object`` (the Model) and ``selection`` (a TriangleSelection or
    CADFaceSelection on a mesh or CAD model, a PointSelection on a point cloud, a
    QuadSelection on gridded points). The stored selection takes the selection's name.
    """

    __slots__ = ()
    __swig_destroy__ = _brindle.delete_AddSelectionSubObject
    _new = staticmethod(_brindle.new_AddSelectionSubObject)

    def name(self):
        """The command's class name, "AddSelectionSubObject"."""
        return _brindle.AddSelectionSubObject_name(self)

    def run(self, *args):
        """Stores the selection on the model: ``run()`` with the properties, or
        ``run(model, selection)``, which leaves the properties alone."""
        _brindle.AddSelectionSubObject_run(self, *args)


class GetSelectionSubObject(_Modifier):
    """Get the selection child object of the specfieid model.

    Properties: ``object`` (the Model), ``selectionName`` (str, "None") and ``selection``
    (read-only: a new TriangleSelection, PointSelection or QuadSelection after a run, or
    None when the model stores no selection of that name).
    """

    __slots__ = ()
    __swig_destroy__ = _brindle.delete_GetSelectionSubObject
    _new = staticmethod(_brindle.new_GetSelectionSubObject)

    def name(self):
        """The command's class name, "GetSelectionSubObject"."""
        return _brindle.GetSelectionSubObject_name(self)

    def run(self, *args):
        """Reads the stored selection into ``selection`` and returns it (None when there is
        none): ``run()`` with the properties, or ``run(model, name)`` (a str or a wrapped
        QorString), which leaves the inputs alone."""
        if len(args) == 2 and isinstance(args[1], str):
            args = (args[0], make_QorString(args[1]))
        _brindle.GetSelectionSubObject_run(self, *args)
        return _qorapi.map_get(self.this, "selection")


class _GetActive(_Modifier):
    """A command that reads a model's active selection into a new selection object."""

    __slots__ = ()

    def run(self):
        """Reads the model's active selection into the output property and returns it."""
        self._run()
        return _qorapi.map_get(self.this, self._output)


class _SetActive(_Modifier):
    """A command that makes a selection object the model's active selection."""

    __slots__ = ()

    def run(self):
        """Makes the input selection the model's active selection."""
        self._run()


_brindle.AddSelectionSubObject_swigregister(AddSelectionSubObject)
_brindle.GetSelectionSubObject_swigregister(GetSelectionSubObject)


class GetActiveTriangleSelection(_GetActive):
    """Get the active triangle selection of the specified mesh.

    Properties: ``mesh`` and ``outputTriangleSelection`` (read-only: the new selection after
    a run, which run() also returns).
    """

    __slots__ = ()
    __swig_destroy__ = _brindle.delete_GetActiveTriangleSelection
    _new = staticmethod(_brindle.new_GetActiveTriangleSelection)
    _output = "outputTriangleSelection"

    def _run(self):
        _brindle.GetActiveTriangleSelection_run(self)


_brindle.GetActiveTriangleSelection_swigregister(GetActiveTriangleSelection)


class SetActiveTriangleSelection(_SetActive):
    """Set the active triangle selection of the specified mesh.

    Properties: ``mesh`` and ``inputTriangleSelection``.
    """

    __slots__ = ()
    __swig_destroy__ = _brindle.delete_SetActiveTriangleSelection
    _new = staticmethod(_brindle.new_SetActiveTriangleSelection)

    def _run(self):
        _brindle.SetActiveTriangleSelection_run(self)


_brindle.SetActiveTriangleSelection_swigregister(SetActiveTriangleSelection)


class GetActiveEdgeSelection(_GetActive):
    """Get the active edge selection of the specified mesh model.

    Properties: ``mesh`` and ``outputEdgeSelection`` (read-only: the new selection after
    a run, which run() also returns).
    """

    __slots__ = ()
    __swig_destroy__ = _brindle.delete_GetActiveEdgeSelection
    _new = staticmethod(_brindle.new_GetActiveEdgeSelection)
    _output = "outputEdgeSelection"

    def _run(self):
        _brindle.GetActiveEdgeSelection_run(self)


_brindle.GetActiveEdgeSelection_swigregister(GetActiveEdgeSelection)


class SetActiveEdgeSelection(_SetActive):
    """Set the active edge selection of the specified mesh model.

    Properties: ``mesh`` and ``inputEdgeSelection``.
    """

    __slots__ = ()
    __swig_destroy__ = _brindle.delete_SetActiveEdgeSelection
    _new = staticmethod(_brindle.new_SetActiveEdgeSelection)

    def _run(self):
        _brindle.SetActiveEdgeSelection_run(self)


_brindle.SetActiveEdgeSelection_swigregister(SetActiveEdgeSelection)


class GetActiveVertexSelection(_GetActive):
    """Get the active vertex selection of the specified mesh model.

    Properties: ``mesh`` and ``outputVertexSelection`` (read-only: the new selection after
    a run, which run() also returns).
    """

    __slots__ = ()
    __swig_destroy__ = _brindle.delete_GetActiveVertexSelection
    _new = staticmethod(_brindle.new_GetActiveVertexSelection)
    _output = "outputVertexSelection"

    def _run(self):
        _brindle.GetActiveVertexSelection_run(self)


_brindle.GetActiveVertexSelection_swigregister(GetActiveVertexSelection)


class SetActiveVertexSelection(_SetActive):
    """Set the active vertex selection of the specified mesh model.

    Properties: ``mesh`` and ``inputVertexSelection``.
    """

    __slots__ = ()
    __swig_destroy__ = _brindle.delete_SetActiveVertexSelection
    _new = staticmethod(_brindle.new_SetActiveVertexSelection)

    def _run(self):
        _brindle.SetActiveVertexSelection_run(self)


_brindle.SetActiveVertexSelection_swigregister(SetActiveVertexSelection)


class GetActivePointSelection(_GetActive):
    """Get the active unordered points selection of the specified unordered points model.

    Properties: ``points`` and ``outputPointSelection`` (read-only: the new selection after
    a run, which run() also returns).
    """

    __slots__ = ()
    __swig_destroy__ = _brindle.delete_GetActivePointSelection
    _new = staticmethod(_brindle.new_GetActivePointSelection)
    _output = "outputPointSelection"

    def _run(self):
        _brindle.GetActivePointSelection_run(self)


_brindle.GetActivePointSelection_swigregister(GetActivePointSelection)


class SetActivePointSelection(_SetActive):
    """Set the active unordered points selection of the specified unordered points model.

    Properties: ``points`` and ``inputPointSelection``.
    """

    __slots__ = ()
    __swig_destroy__ = _brindle.delete_SetActivePointSelection
    _new = staticmethod(_brindle.new_SetActivePointSelection)

    def _run(self):
        _brindle.SetActivePointSelection_run(self)


_brindle.SetActivePointSelection_swigregister(SetActivePointSelection)


class GetActiveQuadSelection(_GetActive):
    """Get the active quad selection of the specified ordered points model.

    Properties: ``griddedPointsModel`` and ``outputQuadSelection`` (read-only: the new selection after
    a run, which run() also returns).
    """

    __slots__ = ()
    __swig_destroy__ = _brindle.delete_GetActiveQuadSelection
    _new = staticmethod(_brindle.new_GetActiveQuadSelection)
    _output = "outputQuadSelection"

    def _run(self):
        _brindle.GetActiveQuadSelection_run(self)


_brindle.GetActiveQuadSelection_swigregister(GetActiveQuadSelection)


class SetActiveQuadSelection(_SetActive):
    """Set the active quad selection of the specified ordered points model.

    Properties: ``pointModel`` and ``inputQuadSelection``.
    """

    __slots__ = ()
    __swig_destroy__ = _brindle.delete_SetActiveQuadSelection
    _new = staticmethod(_brindle.new_SetActiveQuadSelection)

    def _run(self):
        _brindle.SetActiveQuadSelection_run(self)


_brindle.SetActiveQuadSelection_swigregister(SetActiveQuadSelection)


class GetActiveCadFaceSelection(_GetActive):
    """Get the active face selection of the specified cad model.

    Properties: ``cad`` and ``outputCadFaceSelection`` (read-only: the new selection after
    a run, which run() also returns).
    """

    __slots__ = ()
    __swig_destroy__ = _brindle.delete_GetActiveCadFaceSelection
    _new = staticmethod(_brindle.new_GetActiveCadFaceSelection)
    _output = "outputCadFaceSelection"

    def _run(self):
        _brindle.GetActiveCadFaceSelection_run(self)


_brindle.GetActiveCadFaceSelection_swigregister(GetActiveCadFaceSelection)


class SetActiveCadFaceSelection(_SetActive):
    """Set the active face selection of the specified cad model.

    Properties: ``cad`` and ``inputCadFaceSelection``.
    """

    __slots__ = ()
    __swig_destroy__ = _brindle.delete_SetActiveCadFaceSelection
    _new = staticmethod(_brindle.new_SetActiveCadFaceSelection)

    def _run(self):
        _brindle.SetActiveCadFaceSelection_run(self)


_brindle.SetActiveCadFaceSelection_swigregister(SetActiveCadFaceSelection)


class GetActiveCurveSelection(_GetActive):
    """Get the active curve selection of the specified curve set.

    Properties: ``curveSet`` and ``outputCurveSelection`` (read-only: the new selection after
    a run, which run() also returns).
    """

    __slots__ = ()
    __swig_destroy__ = _brindle.delete_GetActiveCurveSelection
    _new = staticmethod(_brindle.new_GetActiveCurveSelection)
    _output = "outputCurveSelection"

    def _run(self):
        _brindle.GetActiveCurveSelection_run(self)


_brindle.GetActiveCurveSelection_swigregister(GetActiveCurveSelection)


class SetActiveCurveSelection(_SetActive):
    """Set the active curve selection of the specified curve set.

    Properties: ``curveSet`` and ``inputCurveSelection``.
    """

    __slots__ = ()
    __swig_destroy__ = _brindle.delete_SetActiveCurveSelection
    _new = staticmethod(_brindle.new_SetActiveCurveSelection)

    def _run(self):
        _brindle.SetActiveCurveSelection_run(self)


_brindle.SetActiveCurveSelection_swigregister(SetActiveCurveSelection)
