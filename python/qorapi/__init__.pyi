from . import datamodel as datamodel, document as document, host as host, progress as progress
from . import propertydump as propertydump, wrapped as wrapped
from ._proxies import (
    CStringAppState as CStringAppState,
    FloatAppState as FloatAppState,
    IntAppState as IntAppState,
    QorCString as QorCString,
    StringAppState as StringAppState,
)
from .document import (
    Application as Application,
    Model as Model,
    ModelManager as ModelManager,
    AddModel as AddModel,
    ModelRouting as ModelRouting,
    NameChangerAction as NameChangerAction,
    find_ as find_,
    make_mesh as make_mesh,
    make_points as make_points,
)
from .document import AppendAutomationNode as AppendAutomationNode, RunScript as RunScript
from . import selection as selection
from . import commands as commands
from .commands import (
    AddSelectionSubObject as AddSelectionSubObject,
    GetSelectionSubObject as GetSelectionSubObject,
    GetActiveTriangleSelection as GetActiveTriangleSelection,
    SetActiveTriangleSelection as SetActiveTriangleSelection,
    GetActiveEdgeSelection as GetActiveEdgeSelection,
    SetActiveEdgeSelection as SetActiveEdgeSelection,
    GetActiveVertexSelection as GetActiveVertexSelection,
    SetActiveVertexSelection as SetActiveVertexSelection,
    GetActivePointSelection as GetActivePointSelection,
    SetActivePointSelection as SetActivePointSelection,
    GetActiveQuadSelection as GetActiveQuadSelection,
    SetActiveQuadSelection as SetActiveQuadSelection,
    GetActiveCadFaceSelection as GetActiveCadFaceSelection,
    SetActiveCadFaceSelection as SetActiveCadFaceSelection,
    GetActiveCurveSelection as GetActiveCurveSelection,
    SetActiveCurveSelection as SetActiveCurveSelection,
)
from .selection import (
    BitSet as BitSet,
    CADFaceSelection as CADFaceSelection,
    CurveSelection as CurveSelection,
    EdgeSelection as EdgeSelection,
    PointSelection as PointSelection,
    QuadSelection as QuadSelection,
    TriangleSelection as TriangleSelection,
    VertexSelection as VertexSelection,
)
from .propertydump import AddPropertyDump as AddPropertyDump
from . import features as features
from .features import (
    ArcCurve as ArcCurve,
    Feature as Feature,
    FeatureUndoInfo as FeatureUndoInfo,
    LineFeature as LineFeature,
)
from . import surfaces as surfaces
from .surfaces import (
    ConeSurface as ConeSurface,
    CylinderSurface as CylinderSurface,
    PlaneSurface as PlaneSurface,
    SphereSurface as SphereSurface,
    TorusSurface as TorusSurface,
)
from .datamodel import (
    DataObject as DataObject,
    DataObjectArray as DataObjectArray,
    QorBounds as QorBounds,
    QorColor as QorColor,
    QorMaterial as QorMaterial,
    QorQuaternion as QorQuaternion,
    QorRect as QorRect,
    Subscription as Subscription,
    Transform3D as Transform3D,
    Vector2D as Vector2D,
    Vector2F as Vector2F,
    Vector3D as Vector3D,
    load as load,
    save as save,
)

Model_Unknown: int
Model_World: int
Model_Points: int
Model_GriddedPoints: int
Model_Mesh: int
Model_Curves: int
Model_CADModel: int
Model_Feature: int
Model_LastModel: int
AppendAutomationNode_JavaScript: int
AppendAutomationNode_Python: int
AppendAutomationNode_Python3: int
AppendAutomationNode_V8: int
AppendAutomationNode_JScript: int
AppendAutomationNode_VBScript: int

def component_version() -> str: ...
def constants() -> dict[str, int]: ...

from . import arrays as arrays
from .arrays import PointArray as PointArray, VectorArray as VectorArray

from . import mesh as mesh
from .mesh import (
    OrientedTriangle as OrientedTriangle,
    OrientedTriangleStack as OrientedTriangleStack,
    OrientedTriangleStackList as OrientedTriangleStackList,
)
from . import modeldata as modeldata
from .modeldata import CADModel as CADModel, GriddedPoints as GriddedPoints, Mesh as Mesh, Points as Points
from . import image as image
from .image import QorImage as QorImage
from . import sequences as sequences
from .sequences import (
    Array3D as Array3D,
    ByteArray as ByteArray,
    ColorArray as ColorArray,
    DirIndex as DirIndex,
    DoubleArray as DoubleArray,
    DoubleArray2D as DoubleArray2D,
    ImageArray as ImageArray,
    IntArray as IntArray,
    StringArray as StringArray,
    Transform3DArray as Transform3DArray,
    Vector2DArray as Vector2DArray,
    Vector2FArray as Vector2FArray,
    Vector3DArray as Vector3DArray,
    Vector3DArray2D as Vector3DArray2D,
)
from . import surfacing as surfacing
from .surfacing import (
    CompositeCurve as CompositeCurve,
    NurbCurve as NurbCurve,
    NurbSurface as NurbSurface,
    PolylineCurve as PolylineCurve,
)
from . import curveset as curveset
from .curveset import Curves as Curves
