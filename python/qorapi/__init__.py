"""qorapi: the script layer of brindle.

Importing this package boots the reference host in the order a real host uses: the
component manager with its services, the module's EntryPoint, the component's
initialize, and only then ``import _brindle``. After that the proxy classes below wrap
the module's flat functions.

The host profile comes from the environment variable BRINDLE_HOST_PROFILE ("full" when
unset); see qorapi.host for what each profile provides.
"""
import importlib.util as _ilu
import logging as _logging
import os as _os

from . import _qorapi

_log = _logging.getLogger("brindle")


def _log_sink(level, text):
    _log.log(_logging.ERROR if level == 1 else _logging.INFO, text)


def _boot():
    profile = _os.environ.get("BRINDLE_HOST_PROFILE", "full")
    _qorapi.boot_host(profile)
    _qorapi.set_log_sink(_log_sink)
    found = _ilu.find_spec("_brindle")
    if found is None or not found.origin:
        raise ImportError("qorapi cannot find the _brindle extension module on sys.path")
    _qorapi.load_component(found.origin)


_boot()

import _brindle  # noqa: E402  (must come after the host is up)

from ._proxies import (  # noqa: E402,F401
    CStringAppState,
    FloatAppState,
    IntAppState,
    QorCString,
    StringAppState,
)
from . import host  # noqa: E402,F401
from . import progress  # noqa: E402,F401
from .datamodel import (  # noqa: E402,F401
    DataObject,
    DataObjectArray,
    QorBounds,
    QorColor,
    QorMaterial,
    QorQuaternion,
    QorRect,
    Subscription,
    Transform3D,
    Vector2D,
    Vector2F,
    Vector3D,
    load,
    save,
)
from . import wrapped  # noqa: E402,F401  (binds the wrapped value types)
from .document import (  # noqa: E402,F401
    Application,
    Model,
    ModelManager,
    ModelRouting,
    NameChangerAction,
    AddModel,
    find_,
    make_mesh,
    make_points,
)
from .document import AppendAutomationNode, RunScript  # noqa: E402,F401
from . import selection  # noqa: E402,F401
from . import commands  # noqa: E402,F401
from .commands import *  # noqa: E402,F401,F403  (the selection commands)
from .selection import (  # noqa: E402,F401
    BitSet,
    CADFaceSelection,
    CurveSelection,
    EdgeSelection,
    PointSelection,
    QuadSelection,
    TriangleSelection,
    VertexSelection,
)
from .propertydump import AddPropertyDump  # noqa: E402,F401
from . import features  # noqa: E402,F401
from .features import ArcCurve, Feature, FeatureUndoInfo, LineFeature  # noqa: E402,F401
from . import surfaces  # noqa: E402,F401
from .surfaces import (  # noqa: E402,F401
    ConeSurface,
    CylinderSurface,
    PlaneSurface,
    SphereSurface,
    TorusSurface,
)
from . import arrays  # noqa: E402,F401
from .arrays import PointArray, VectorArray  # noqa: E402,F401
from . import mesh  # noqa: E402,F401
from .mesh import (  # noqa: E402,F401
    OrientedTriangle,
    OrientedTriangleStack,
    OrientedTriangleStackList,
)
from . import modeldata  # noqa: E402,F401
from .modeldata import CADModel, GriddedPoints, Mesh, Points  # noqa: E402,F401
from . import image  # noqa: E402,F401
from .image import QorImage  # noqa: E402,F401
from . import sequences  # noqa: E402,F401
from .sequences import (  # noqa: E402,F401
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
from . import surfacing  # noqa: E402,F401
from .surfacing import (  # noqa: E402,F401
    CompositeCurve,
    NurbCurve,
    NurbSurface,
    PolylineCurve,
)
from . import curveset  # noqa: E402,F401
from .curveset import Curves  # noqa: E402,F401

#: The module's constants, as the module publishes them.
Model_Unknown = _brindle.Model_Unknown
Model_World = _brindle.Model_World
Model_Points = _brindle.Model_Points
Model_GriddedPoints = _brindle.Model_GriddedPoints
Model_Mesh = _brindle.Model_Mesh
Model_Curves = _brindle.Model_Curves
Model_CADModel = _brindle.Model_CADModel
Model_Feature = _brindle.Model_Feature
Model_LastModel = _brindle.Model_LastModel
AppendAutomationNode_JavaScript = _brindle.AppendAutomationNode_JavaScript
AppendAutomationNode_Python = _brindle.AppendAutomationNode_Python
AppendAutomationNode_Python3 = _brindle.AppendAutomationNode_Python3
AppendAutomationNode_V8 = _brindle.AppendAutomationNode_V8
AppendAutomationNode_JScript = _brindle.AppendAutomationNode_JScript
AppendAutomationNode_VBScript = _brindle.AppendAutomationNode_VBScript


def component_version():
    """The version string of the loaded brindle component, e.g. "5.3.21.373382"."""
    return _qorapi.component_info()["version"]


def constants():
    """The module's integer constants as a dict, name to value, in the module's order."""
    return {k: v for k, v in vars(_brindle).items() if isinstance(v, int) and not k.startswith("_")}
