"""The application's document for scripts: the application, its model manager and the
models in it.

A :class:`Model` is a :class:`qorapi.DataObject` whose properties ask the host on every
read and write (``m.name``, ``m.visible``, ``m.boundingBox``, ``m.type``, ...). The same
native model always comes back as the same Python object.
"""
import _brindle

from . import _qorapi
from ._proxies import _Proxy
from .datamodel import DataObject, _kinds, _live, _swig_slot
from .wrapped import make_QorString

__all__ = [
    "Application", "ModelManager", "Model", "ModelRouting", "NameChangerAction",
    "AddModel", "make_mesh", "make_points", "AppendAutomationNode", "RunScript",
]

PRIM_STRINGS = (
    "PrimEdges", "PrimBoundaryEdges", "PrimNonManifoldEdges", "PrimTriangles",
    "PrimColorBackfacingTriangles", "PrimMarkedEdges", "PrimMarkedVertices",
    "PrimViewCurvatureMap", "PrimWireFrame", "PrimTriWireFrame", "PrimHalfDiscs",
    "PrimVertexMap", "PrimWireFrameCorners", "PrimPatchBoundaries", "PrimCharacterLines",
    "PrimMarkedEdgeLines", "PrimBoundaryLines", "PrimExtendedLines", "PrimPoorPatchAngles",
    "PrimLowDegreeCorners", "PrimHighDegreeCorners", "PrimShadedPatches", "PrimGrids",
    "PrimShadedGrids", "PrimFlowLines", "PrimSpecifiedSharpLines", "PrimFlatSurfaces",
    "PrimSpaceGrids", "PrimSpaceGridTestMesh", "PrimControlPointTestMesh", "PrimControlPoints",
    "PrimNurbsIsoParms", "PrimSplinePatches", "PrimSplineBoundaries", "PrimSplineTestCurves",
    "PrimSplineTestCurveCPs", "PrimSplineTestSurfaces", "PrimSplineTestSurfaceCPs",
    "PrimSplineNormals", "PrimSplineCurveFitNormals", "PrimSplinePrinCurv1",
    "PrimSplinePrinCurv2", "PrimSplineCurvature", "PrimSplineNonG1Verts",
    "PrimSplineNonG1VertVectors",
)


def _one(model):
    """The one script object of a native model: an earlier live wrapper wins."""
    if model is None:
        return None
    return _live.get((Model, _qorapi.ref_address(model._ref)), model)


class Model(DataObject):
    __slots__ = ()
    __swig_destroy__ = _brindle.delete_Model

    def __init__(self):
        self.this = _brindle.new_Model()

    @property
    def this(self):
        """The module's pointer object of this model."""
        return DataObject.this.fget(self)

    @this.setter
    def this(self, pointer):
        _swig_slot.__set__(self, pointer)
        ref = _qorapi.pointer_ref(pointer)
        _qorapi.bind_object(self, ref)
        _live.setdefault((Model, _qorapi.ref_address(ref)), self)

    @property
    def thisown(self):
        """Whether this script object owns (and will free) the native model."""
        return self.this.own()

    def getPrimVisible(self, prim):
        """Whether the display primitive `prim` (see PRIM_STRINGS) of the host object shows;
        False without a host object."""
        return _brindle.Model_getPrimVisible(self, prim)

    def setPrimVisible(self, prim, visible):
        """Shows or hides the display primitive `prim` (see PRIM_STRINGS)."""
        _brindle.Model_setPrimVisible(self, prim, visible)

    def typeString(self):
        """The script type of a model: "qorapp.brindle.Model"."""
        return _brindle.Model_typeString(self)

    def transform(self, matrix):
        """Transforms the host object by a qorapi.wrapped.QorMatrix; False without a host."""
        return _brindle.Model_transform(self, matrix)

    def addToGroup(self, group):
        """Puts this model into the group model `group`; False when that is not possible."""
        return _brindle.Model_addToGroup(self, group)

    def removeFromGroup(self):
        """Takes this model out of its group; False when it is in none."""
        return _brindle.Model_removeFromGroup(self)

    def getData(self):
        """The data object the application keeps for this model: a Mesh, Points,
        GriddedPoints, CADModel or Curves object with its sizes as properties
        (``numVertices``, ``numTriangles``, ``numPoints``, ...), or None for a model without
        data (a group, or a model with no host object)."""
        return _qorapi.model_data(self)

    def __repr__(self):
        return f"<qorapi.Model {self.name!r}>"


Model.__doc__ = (
    "This is an object that appears in the ModelManager in the application. Generally this "
    "will have a Points, GriddedPoints, or Mesh object as a child and may have features as "
    "well. When Meshes, Points, and GriddedPoints objects get added to the application a "
    "Model object is created to hold them.\n\nThe following prim strings are supported for "
    "get and set prim visible: " + ", ".join(PRIM_STRINGS) + ".")
_kinds["model"] = Model
_brindle.Model_swigregister(Model)


class ModelManager(_Proxy):
    """The application display that shows all of the models and their respective children"""

    __slots__ = ()
    __swig_destroy__ = _brindle.delete_ModelManager

    def __init__(self):
        self.this = _brindle.new_ModelManager()

    @staticmethod
    def instance():
        """The process's model manager."""
        return _brindle.ModelManager_instance()

    def addObject(self, obj, makeActive):
        """Adds a Mesh, Points or GriddedPoints object to the document; 1 on success."""
        return _brindle.ModelManager_addObject(self, obj, makeActive)

    def removeObject(self, obj):
        """Removes the object's model from the document; 1 on success."""
        return _brindle.ModelManager_removeObject(self, obj)

    def addFeature(self, model, feature):
        """Adds a feature to a model; 1 on success."""
        return _brindle.ModelManager_addFeature(self, model, feature)

    def removeFeature(self, feature):
        """Removes a feature from whichever model holds it; 1 on success."""
        return _brindle.ModelManager_removeFeature(self, feature)

    def removeCoordinateSystem(self, csys):
        """Removes a coordinate system from whichever model holds it; 1 on success."""
        return _brindle.ModelManager_removeCoordinateSystem(self, csys)

    def getNumObjects(self):
        """The number of top-level models."""
        return _brindle.ModelManager_getNumObjects(self)

    def getNumFeatures(self):
        """The number of features over all top-level models."""
        return _brindle.ModelManager_getNumFeatures(self)

    numObjects = property(getNumObjects, doc="The number of top-level models.")
    numFeatures = property(getNumFeatures, doc="The number of features of all models.")


_brindle.ModelManager_swigregister(ModelManager)


class Application(_Proxy):
    """The application provides a central access point for application level getters and setters."""

    __slots__ = ()
    __swig_destroy__ = _brindle.delete_Application

    def __init__(self):
        self.this = _brindle.new_Application()

    @staticmethod
    def instance():
        """The host's application, or None when the host offers none."""
        return _brindle.Application_instance()

    def redraw(self, rebuildAll=False):
        """Draws the display again, rebuilding every graphics object first when asked."""
        _brindle.Application_redraw(self, rebuildAll)

    def refresh(self, obj):
        """Refreshes the display of a feature, a model or a model's data."""
        _brindle.Application_refresh(self, obj)

    def updateGfx(self):
        """Lets the display process its pending events."""
        _brindle.Application_updateGfx(self)

    def rebuildGfx(self):
        """Rebuilds the graphics of every object."""
        _brindle.Application_rebuildGfx(self)

    def updateGUI(self):
        """Updates the graphics of every object."""
        _brindle.Application_updateGUI(self)

    def displayUnits(self):
        """The display units; 4 when the host has none set."""
        return _brindle.Application_displayUnits(self)

    def activeObjects(self):
        """The active models, as a list."""
        return [_one(m) for m in _brindle.Application_activeObjects(self)]

    def clearNamedReference(self, ref):
        """Forgets the named reference `ref`."""
        _brindle.Application_clearNamedReference(self, ref)

    def setVisible(self, obj, visible):
        """Shows or hides a feature or coordinate system of a model."""
        return _brindle.Application_setVisible(self, obj, visible)

    def isVisible(self, obj):
        """Whether a feature or coordinate system of a model shows."""
        return _brindle.Application_isVisible(self, obj)

    def setSelected(self, obj, selected):
        """Selects or deselects a feature or coordinate system of a model."""
        return _brindle.Application_setSelected(self, obj, selected)

    def isSelected(self, obj):
        """Whether a feature or coordinate system of a model is selected."""
        return _brindle.Application_isSelected(self, obj)

    def getModels(self):
        """Every model of the document, as a list."""
        return [_one(m) for m in _brindle.Application_getModels(self)]

    def open(self, filename):
        """Opens a document; whether that worked."""
        return _brindle.Application_open(self, filename)

    def save(self):
        """Saves the document; whether that worked."""
        return _brindle.Application_save(self)

    def importFile(self, filename):
        """Imports a file into the document; whether that worked."""
        return _brindle.Application_importFile(self, filename)

    def newFile(self):
        """Starts a new document; whether that worked."""
        return _brindle.Application_newFile(self)

    def saveAs(self, filename):
        """Saves the document under a new name; whether that worked."""
        return _brindle.Application_saveAs(self, filename)

    def createReport(self):
        """Creates the host's report."""
        _brindle.Application_createReport(self)

    def compareFeatures(self, viewType, maxFeaturesPerView, decimalPlaces):
        """Runs the host's feature comparison; always True."""
        return _brindle.Application_compareFeatures(self, viewType, maxFeaturesPerView,
                                                    decimalPlaces)

    def enableSensitivityChecks(self, enable):
        """Turns the in-command sensitivity checks on or off."""
        _brindle.Application_enableSensitivityChecks(self, enable)

    def activeObject(self):
        """The active model, or None."""
        return _one(_brindle.Application_activeObject(self))

    def setActiveObject(self, model):
        """Makes `model` the only active model."""
        _brindle.Application_setActiveObject(self, model)

    def addActiveObject(self, model):
        """Adds `model` to the active models."""
        _brindle.Application_addActiveObject(self, model)

    def getModelByName(self, name):
        """The model of that name, or None."""
        return _one(_brindle.Application_getModelByName(self, name))

    def getModelById(self, id):
        """The model of that id, or None."""
        return _one(_brindle.Application_getModelById(self, id))

    def newGroup(self, name):
        """A new group model of that name."""
        return _one(_brindle.Application_newGroup(self, name))

    def namedReferenceObject(self, ref):
        """The model bound to the named reference `ref`, or None."""
        return _one(_brindle.Application_namedReferenceObject(self, ref))

    def setNamedReferenceObject(self, ref, model):
        """Binds the named reference `ref` to `model`."""
        _brindle.Application_setNamedReferenceObject(self, ref, model)

    def isNamedReferenceObject(self, ref, model):
        """Whether the named reference `ref` is bound to `model`."""
        return _brindle.Application_isNamedReferenceObject(self, ref, model)

    def getDefaultCorrespondence(self, test, reference):
        """The default correspondence between two models, or None."""
        return _brindle.Application_getDefaultCorrespondence(self, test, reference)

    def getCADPolyCorrespondence(self, test, reference):
        """The CAD-to-polygon correspondence between two models, or None."""
        return _brindle.Application_getCADPolyCorrespondence(self, test, reference)


_brindle.Application_swigregister(Application)


class ModelRouting(_Proxy):
    """What a model's properties ask: the host object behind a model. A routing made by a
    script with a null host object answers neutral values."""

    __slots__ = ()
    __swig_destroy__ = _brindle.delete_ModelRouting

    def __init__(self, host=None):
        self.this = _brindle.new_ModelRouting(host)

    def getVisible(self):
        """The host object's visibility, 0 without one."""
        return _brindle.ModelRouting_getVisible(self)

    def setVisible(self, visible):
        """Shows (non-zero) or hides the host object."""
        _brindle.ModelRouting_setVisible(self, visible)

    def getName(self):
        """The host object's name, "" without one."""
        return _brindle.ModelRouting_getName(self)

    def setName(self, name):
        """Renames the host object."""
        _brindle.ModelRouting_setName(self, name)

    def getId(self):
        """The host object's id, -1 without one."""
        return _brindle.ModelRouting_getId(self)

    def getBoundingBox(self):
        """The host object's box as a qorapi.wrapped.QorBounds; empty without one."""
        return _brindle.ModelRouting_getBoundingBox(self)

    def getMinBoundingBox(self):
        """The minimum corner of the box as a qorapi.wrapped.QorVector."""
        return _brindle.ModelRouting_getMinBoundingBox(self)

    def getMaxBoundingBox(self):
        """The maximum corner of the box as a qorapi.wrapped.QorVector."""
        return _brindle.ModelRouting_getMaxBoundingBox(self)

    def isGroup(self):
        """Whether the host object is a group."""
        return _brindle.ModelRouting_isGroup(self)

    def isInGroup(self):
        """Whether the host object is in a group."""
        return _brindle.ModelRouting_isInGroup(self)

    def getPhase(self):
        """The model kind (qorapi.Model_World ... Model_Feature), Model_Unknown otherwise."""
        return _brindle.ModelRouting_getPhase(self)

    def groupModels(self):
        """The pointer object of the array of a group's member models, or None."""
        return _brindle.ModelRouting_groupModels(self)

    def groupParent(self):
        """The model of the group the host object is in, or None."""
        return _one(_brindle.ModelRouting_groupParent(self))


_brindle.ModelRouting_swigregister(ModelRouting)


class NameChangerAction(_Proxy):
    """Copies the name an event carries to the one object it is told to modify."""

    __slots__ = ()
    __swig_destroy__ = _brindle.delete_NameChangerAction

    def __init__(self):
        self.this = _brindle.new_NameChangerAction()

    def handleEvent(self, sender, eventName, args, objects):
        """Sets the "name" of `args` on the one data object in `objects`; with any other
        number of objects, or a None among them, nothing happens."""
        _brindle.NameChangerAction_handleEvent(self, sender, eventName, args, objects)


_brindle.NameChangerAction_swigregister(NameChangerAction)


def find_(obj):
    """The host object behind a data object, as a pointer object, or None."""
    return _brindle.find_(obj)


class _Modifier(_Proxy):
    """A command of the module: its properties are its inputs and outputs, reached as
    attributes; keyword arguments of the constructor set them."""

    __slots__ = ()
    _new = None

    def __init__(self, **properties):
        object.__setattr__(self, "this", type(self)._new())
        for key, value in properties.items():
            setattr(self, key, value)

    def __getattr__(self, name):
        if name.startswith("_"):
            raise AttributeError(name)
        return _qorapi.map_get(self.this, name)

    def __setattr__(self, name, value):
        if name in ("this", "thisown") or name.startswith("_"):
            object.__setattr__(self, name, value)
        else:
            _qorapi.map_set(self.this, name, value)


class AddModel(_Modifier):
    """Add a new mesh, points, curves or feature object to the model manager.

    Keyword arguments set properties: ``AddModel(model=mesh, type=4).run()``. Inputs are
    ``model``, ``type`` (0 to 7; 7 makes a feature model with no data), ``name`` and
    ``active`` (0 or 1); after a run the new model is in ``object``.
    """

    __slots__ = ()
    __swig_destroy__ = _brindle.delete_AddModel
    _new = _brindle.new_AddModel

    def run(self, *args):
        """Adds the model: ``run()`` with the properties, or ``run(model, type)`` with the
        inputs given (the properties model and type stay as they are); 1 on success."""
        return _brindle.AddModel_run(self, *args)


_brindle.AddModel_swigregister(AddModel)


def make_mesh(vertices, triangles, name="Mesh"):
    """A new Mesh data object from a script's own data: `vertices` is a sequence of
    (x, y, z), `triangles` a sequence of (i, j, k) vertex numbers counted from 0. Add it to
    the document with ``AddModel(model=mesh).run()`` or ``ModelManager.addObject``.
    An (n, 3) float64 numpy array of vertices and an (m, 3) int32 or int64 array of
    triangles go in one copy each.
    ValueError names a triangle that names a vertex that doesn't exist."""
    return _qorapi.make_model_data(vertices, triangles, name)


def make_points(points, name="Points"):
    """A new Points data object (a point cloud) from a sequence of (x, y, z), or from an
    (n, 3) float64 numpy array in one copy."""
    return _qorapi.make_model_data(points, None, name)


# ---- Script commands: automation ----

class _Command(DataObject):
    """A command object of the module: a data object whose properties are its inputs."""

    __slots__ = ()

    @property
    def this(self):
        """The module's pointer object of this command."""
        return DataObject.this.fget(self)

    @this.setter
    def this(self, pointer):
        _swig_slot.__set__(self, pointer)
        _qorapi.bind_object(self, _qorapi.pointer_ref(pointer))

    @property
    def thisown(self):
        """Whether this script object owns (and will free) the native command."""
        return self.this.own()


class AppendAutomationNode(_Command):
    """Insert the activity into the current automation workflow.

    Properties: ``ignore`` (bool, False), ``notes`` (str, ""), ``language`` (int, 1: an
    index into JavaScript, Python, Python3, V8, JScript, VBScript; see the
    ``AppendAutomationNode_*`` constants) and ``text`` (str, "": the script text).
    Keyword arguments set properties.
    """

    __slots__ = ()
    __swig_destroy__ = _brindle.delete_AppendAutomationNode

    def __init__(self, **properties):
        self.this = _brindle.new_AppendAutomationNode()
        for key, value in properties.items():
            self.set(key, value)

    def run(self):
        """Adds one macro activity with this object's properties to the host's current
        workflow. RuntimeError for an empty text, a language outside 0 to 5, or when the
        host has no workflow manager, no open workflow or makes no activity."""
        _brindle.AppendAutomationNode_run(self)


_brindle.AppendAutomationNode_swigregister(AppendAutomationNode)


class RunScript(_Modifier):
    """Run a script with the specified file path.

    Property: ``scriptName`` (str, ""), the script's file path. Keyword arguments set
    properties.
    """

    __slots__ = ()
    __swig_destroy__ = _brindle.delete_RunScript
    _new = _brindle.new_RunScript

    def name(self):
        """The command's class name, "RunScript"."""
        return _brindle.RunScript_name(self)

    def run(self, scriptName=None):
        """Hands a script to the host's script engine: `scriptName` (a str or a wrapped
        QorString) when given, which leaves the property alone, else the property
        ``scriptName``. RuntimeError for an empty name, no engine, or a script that
        fails (its traceback goes to the host's log)."""
        if scriptName is None:
            _brindle.RunScript_run(self)
        else:
            if isinstance(scriptName, str):
                scriptName = make_QorString(scriptName)
            _brindle.RunScript_run(self, scriptName)


_brindle.RunScript_swigregister(RunScript)
