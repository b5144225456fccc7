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


def _active_command(name, base, doc, output=None):
    """Makes one active-selection command class over its native functions."""
    run = getattr(_brindle, name + "_run")
    attrs = {
        "__doc__": doc,
        "__module__": __name__,
        "__slots__": (),
        "__swig_destroy__": getattr(_brindle, "delete_" + name),
        "_new": staticmethod(getattr(_brindle, "new_" + name)),
        "_run": lambda self: run(self),
    }
    if output:
        attrs["_output"] = output
    cls = type(name, (base,), attrs)
    getattr(_brindle, name + "_swigregister")(cls)
    return cls


GetActiveTriangleSelection = _active_command(
    "GetActiveTriangleSelection",
    _GetActive,
    """Get the active triangle selection of the specified mesh.

    Properties: ``mesh`` and ``outputTriangleSelection`` (read-only: the new selection after
    a run, which run() also returns).
    """,
    "outputTriangleSelection",
)
SetActiveTriangleSelection = _active_command(
    "SetActiveTriangleSelection",
    _SetActive,
    """Set the active triangle selection of the specified mesh.

    Properties: ``mesh`` and ``inputTriangleSelection``.
    """,
)
GetActiveEdgeSelection = _active_command(
    "GetActiveEdgeSelection",
    _GetActive,
    """Get the active edge selection of the specified mesh model.

    Properties: ``mesh`` and ``outputEdgeSelection`` (read-only: the new selection after
    a run, which run() also returns).
    """,
    "outputEdgeSelection",
)
SetActiveEdgeSelection = _active_command(
    "SetActiveEdgeSelection",
    _SetActive,
    """Set the active edge selection of the specified mesh model.

    Properties: ``mesh`` and ``inputEdgeSelection``.
    """,
)
GetActiveVertexSelection = _active_command(
    "GetActiveVertexSelection",
    _GetActive,
    """Get the active vertex selection of the specified mesh model.

    Properties: ``mesh`` and ``outputVertexSelection`` (read-only: the new selection after
    a run, which run() also returns).
    """,
    "outputVertexSelection",
)
SetActiveVertexSelection = _active_command(
    "SetActiveVertexSelection",
    _SetActive,
    """Set the active vertex selection of the specified mesh model.

    Properties: ``mesh`` and ``inputVertexSelection``.
    """,
)
GetActivePointSelection = _active_command(
    "GetActivePointSelection",
    _GetActive,
    """Get the active unordered points selection of the specified unordered points model.

    Properties: ``points`` and ``outputPointSelection`` (read-only: the new selection after
    a run, which run() also returns).
    """,
    "outputPointSelection",
)
SetActivePointSelection = _active_command(
    "SetActivePointSelection",
    _SetActive,
    """Set the active unordered points selection of the specified unordered points model.

    Properties: ``points`` and ``inputPointSelection``.
    """,
)
GetActiveQuadSelection = _active_command(
    "GetActiveQuadSelection",
    _GetActive,
    """Get the active quad selection of the specified ordered points model.

    Properties: ``griddedPointsModel`` and ``outputQuadSelection`` (read-only: the new selection after
    a run, which run() also returns).
    """,
    "outputQuadSelection",
)
SetActiveQuadSelection = _active_command(
    "SetActiveQuadSelection",
    _SetActive,
    """Set the active quad selection of the specified ordered points model.

    Properties: ``pointModel`` and ``inputQuadSelection``.
    """,
)
GetActiveCadFaceSelection = _active_command(
    "GetActiveCadFaceSelection",
    _GetActive,
    """Get the active face selection of the specified cad model.

    Properties: ``cad`` and ``outputCadFaceSelection`` (read-only: the new selection after
    a run, which run() also returns).
    """,
    "outputCadFaceSelection",
)
SetActiveCadFaceSelection = _active_command(
    "SetActiveCadFaceSelection",
    _SetActive,
    """Set the active face selection of the specified cad model.

    Properties: ``cad`` and ``inputCadFaceSelection``.
    """,
)
GetActiveCurveSelection = _active_command(
    "GetActiveCurveSelection",
    _GetActive,
    """Get the active curve selection of the specified curve set.

    Properties: ``curveSet`` and ``outputCurveSelection`` (read-only: the new selection after
    a run, which run() also returns).
    """,
    "outputCurveSelection",
)
SetActiveCurveSelection = _active_command(
    "SetActiveCurveSelection",
    _SetActive,
    """Set the active curve selection of the specified curve set.

    Properties: ``curveSet`` and ``inputCurveSelection``.
    """,
)
