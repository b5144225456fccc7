/* _brindle: the module entry and the flat script table. */
%module brindle

%include "module/binding.swg"

%{
#include "core/appstate.h"
#include "core/iptr.h"
#include "core/locator.h"
#include "hostapi/iqorpythontypeconversionservice.h"
#include "datamodel/objectvalue.h"
%}

/* Types the converters hand to scripts. */
class Model;
%types(Model *);

/* ---- Application state values ---- */
namespace Platform {

%feature("docstring") IntAppState "A live handle on an integer value of the application's settings store.";
%feature("docstring") FloatAppState "A live handle on a real value of the application's settings store.";
%feature("docstring") StringAppState "A live handle on a text value of the application's settings store.";
%feature("docstring") CStringAppState "A live handle on a narrow text value of the application's settings store.";

class IntAppState {
 public:
  IntAppState(char const *refName);
  ~IntAppState();
  int getValue();
  void setValue(int value);
};
class FloatAppState {
 public:
  FloatAppState(char const *refName);
  ~FloatAppState();
  double getValue();
  void setValue(double value);
};
class StringAppState {
 public:
  StringAppState(char const *refName);
  ~StringAppState();
  QorString getValue();
  void setValue(QorString const &value);
};
class CStringAppState {
 public:
  CStringAppState(char const *refName);
  ~CStringAppState();
  QorCString getValue();
  void setValue(QorCString const &value);
};

}  // namespace Platform

/* QorCString results travel as wrapped, owned pointers. */
class QorCString;

%{
/* Registered with the host's conversion service under ("V3", "qorapp.brindle.Model").
   Both hand the model out borrowed, as every Model * result: the property that holds it,
   or the host that passes it in, keeps it alive, and the script object takes no count. */
static PyObject *modelPropertyConverter(IQorUnknown *property) {
  IQorUnknown *value = qor::objectPropertyValue(property);
  void *model = 0;
  if (value) value->queryInterface("Model", &model, 0);
  return SWIG_NewPointerObj(model, SWIGTYPE_p_Model, 0);
}

static PyObject *modelObjectConverter(IQorUnknown *object) {
  void *model = 0;
  if (object) object->queryInterface("Model", &model, 0);
  return SWIG_NewPointerObj(model, SWIGTYPE_p_Model, 0);
}
%}

%init %{
  /* The conversion service is needed now; without a host there is none. */
  {
    SPtr<IQorPythonTypeConversionService> conv("IQorPythonTypeConversionService");
    if (!conv) {
      PyErr_SetString(PyExc_ImportError,
                      "_brindle found no IQorPythonTypeConversionService: the host did not "
                      "provide one. Import qorapi, which boots the reference host, instead "
                      "of importing _brindle directly.");
      Py_DECREF(m);
      return NULL;
    }
    conv->registerPropertyConverter("V3", "qorapp.brindle.Model", &modelPropertyConverter);
    conv->registerObjectConverter("V3", "qorapp.brindle.Model", &modelObjectConverter);
  }
  {
    static const struct { const char *name; long value; } constants[] = {
      {"Model_Unknown", 0}, {"Model_World", 1}, {"Model_Points", 2},
      {"Model_GriddedPoints", 3}, {"Model_Mesh", 4}, {"Model_Curves", 5},
      {"Model_CADModel", 6}, {"Model_Feature", 7}, {"Model_LastModel", 8},
      {"AppendAutomationNode_JavaScript", 0}, {"AppendAutomationNode_Python", 1},
      {"AppendAutomationNode_Python3", 2}, {"AppendAutomationNode_V8", 3},
      {"AppendAutomationNode_JScript", 4}, {"AppendAutomationNode_VBScript", 5},
    };
    for (const auto &c : constants) {
      PyObject *v = PyLong_FromLong(c.value);
      PyDict_SetItemString(d, c.name, v);
      Py_DECREF(v);
    }
  }
%}

/* ---- The document layer ---- */
%{
#include "document/application.h"
#include "document/model.h"
#include "document/modelmanager.h"
#include "document/proxyfor.h"
#include "datamodel/dataobjectarray.h"
#include "math/qormatrix.h"

/* What a correspondence result answers to; opaque here. */
class Correspondence;
%}

class DataObject;
class PropertyMap;
class DataEventSource;
class IQorDataEventSource;
class Primitive;
class IQorObject;
class IQorDataEventArgs;
class DataObjectArray;
class Correspondence;
class QorMatrix;
class QorBounds;
class QorVector;
%types(DataObject *, PropertyMap *, DataEventSource *, IQorDataEventSource *, Primitive *,
       IQorObject *, IQorDataEventArgs *, DataObjectArray *, Correspondence *);

/* Which pointer can stand for which base: each cast adjusts the pointer to the base. */
%define %brindle_cast(DERIVED, BASE)
%types(DERIVED = BASE) %{ return (void *)static_cast<BASE *>((DERIVED *)$from); %}
%enddef
%brindle_cast(Model, DataObject)
%brindle_cast(Model, PropertyMap)
%brindle_cast(Model, DataEventSource)
%brindle_cast(Model, IQorDataEventSource)
%brindle_cast(Model, Primitive)
%brindle_cast(DataObject, PropertyMap)
%brindle_cast(DataObject, DataEventSource)
%brindle_cast(DataObject, IQorDataEventSource)
%brindle_cast(DataObject, Primitive)
%brindle_cast(ModelManager, PropertyMap)
%brindle_cast(ModelManager, DataEventSource)
%brindle_cast(ModelManager, IQorDataEventSource)
%brindle_cast(ModelManager, Primitive)
%brindle_cast(PropertyMap, DataEventSource)
%brindle_cast(PropertyMap, IQorDataEventSource)
%brindle_cast(PropertyMap, Primitive)
%brindle_cast(DataEventSource, IQorDataEventSource)
%brindle_cast(DataEventSource, Primitive)

/* A stack of data objects becomes a new list: each element through the host's conversion
   of data objects for scripts. */
%typemap(out) IterStack< DataObject * > {
  static SPtr<IQorPythonTypeConversionService> conv("IQorPythonTypeConversionService");
  const int32_t n = (&$1)->count();
  $result = PyList_New(n);
  if (!$result) SWIG_fail;
  for (int32_t i = 1; i <= n; ++i) {
    DataObject *element = (&$1)->get(i);
    PyObject *item = conv ? conv->toScriptObject("V3", element) : 0;
    if (!item) {
      if (PyErr_Occurred()) {
        Py_DECREF($result);
        $result = 0;
        SWIG_fail;
      }
      item = Py_NewRef(Py_None);
    }
    PyList_SET_ITEM($result, i - 1, item);
  }
}

/* Any sequence gives a stack of data objects: items that don't convert are left out, None
   gives a null element. */
%typemap(in) const IterStack< DataObject * > & (IterStack< DataObject * > stack) {
  stack.reserve(21);
  PyObject *seq = PySequence_Fast($input, "");
  if (!seq) {
    PyErr_Clear();
    %argument_fail(SWIG_TypeError, "$type", $symname, $argnum);
  }
  for (Py_ssize_t i = 0; i < PySequence_Fast_GET_SIZE(seq); ++i) {
    void *p = 0;
    if (SWIG_IsOK(SWIG_ConvertPtr(PySequence_Fast_GET_ITEM(seq, i), &p, SWIGTYPE_p_DataObject, 0)))
      stack.push(static_cast<DataObject *>(p));
  }
  Py_DECREF(seq);
  $1 = &stack;
}
%typemap(typecheck) const IterStack< DataObject * > & { $1 = PySequence_Check($input); }

/* Results that stand for a host object's model: the model, or None. */
%typemap(out) IQorUnknown *activeObject, IQorUnknown *namedReferenceObject,
              IQorUnknown *getModelByName, IQorUnknown *getModelById, IQorUnknown *newGroup {
  $result = SWIG_NewPointerObj(qorQuery<Model>($1, "Model"), SWIGTYPE_p_Model, 0);
}
/* A correspondence result: what it answers to as "Correspondence", not owned. */
%typemap(out) IQorUnknown *getDefaultCorrespondence, IQorUnknown *getCADPolyCorrespondence {
  $result = SWIG_NewPointerObj(qorQuery<void>($1, "Correspondence"), SWIGTYPE_p_Correspondence, 0);
}

%feature("docstring") ModelManager "The application display that shows all of the models and their respective children";
%feature("ref") ModelManager "$this->addRef();";
%feature("unref") ModelManager "$this->release();";
class ModelManager {
 public:
  ModelManager();
  ~ModelManager();
  static ModelManager *instance();
  int addObject(DataObject *object, bool makeActive);
  int removeObject(DataObject *object);
  int addFeature(DataObject *model, DataObject *feature);
  int removeFeature(DataObject *feature);
  int removeCoordinateSystem(DataObject *csys);
  int getNumObjects();
  int getNumFeatures();
};

%feature("docstring") Application "The application provides a central access point for application level getters and setters.";
class Application {
 public:
  Application();
  ~Application();
  static Application *instance();
  void redraw(bool rebuildAll);
  void redraw();
  void refresh(DataObject *object);
  void updateGfx();
  void rebuildGfx();
  void updateGUI();
  int displayUnits();
  IterStack< DataObject * > activeObjects();
  void clearNamedReference(char const *ref);
  bool setVisible(DataObject *object, bool visible);
  bool isVisible(DataObject *object);
  bool setSelected(DataObject *object, bool selected);
  bool isSelected(DataObject *object);
  IterStack< DataObject * > getModels();
  bool open(QorString const &filename);
  bool save();
  bool importFile(QorString const &filename);
  bool newFile();
  bool saveAs(QorString const &filename);
  void createReport();
  bool compareFeatures(int viewType, int maxFeaturesPerView, int decimalPlaces);
  void enableSensitivityChecks(bool enable);
  IQorUnknown *activeObject();
  void setActiveObject(Model *model);
  void addActiveObject(Model *model);
  IQorUnknown *getModelByName(QorString const &name);
  IQorUnknown *getModelById(int id);
  IQorUnknown *newGroup(QorString const &name);
  IQorUnknown *namedReferenceObject(char const *ref);
  void setNamedReferenceObject(char const *ref, Model *model);
  bool isNamedReferenceObject(char const *ref, Model *model);
  IQorUnknown *getDefaultCorrespondence(Model *test, Model *reference);
  IQorUnknown *getCADPolyCorrespondence(Model *test, Model *reference);
};

%feature("docstring") ModelRouting "What a model's properties ask: the host object behind the model.";
class ModelRouting {
 public:
  ModelRouting(IQorObject *object);
  ~ModelRouting();
  int getVisible();
  void setVisible(int visible);
  QorString getName();
  void setName(QorString const &value);
  int getId();
  QorBounds getBoundingBox();
  QorVector getMinBoundingBox();
  QorVector getMaxBoundingBox();
  bool isGroup();
  bool isInGroup();
  int getPhase();
  DataObjectArray *groupModels();
  Model *groupParent();
};

%feature("docstring") Model "This is an object that appears in the ModelManager in the application. Generally this will have a Points, GriddedPoints, or Mesh object as a child and may have features as well. When Meshes, Points, and GriddedPoints objects get added to the application a Model object is created to hold them.";
%feature("ref") Model "$this->addRef();";
%feature("unref") Model "$this->release();";
class Model {
 public:
  Model();
  ~Model();
  bool getPrimVisible(QorCString const &prim);
  void setPrimVisible(QorCString const &prim, bool visible);
  char const *typeString();
  bool transform(QorMatrix const &matrix);
  bool addToGroup(Model *group);
  bool removeFromGroup();
};

%feature("docstring") NameChangerAction "Copies the name an event carries to the one object it is told to modify.";
class NameChangerAction {
 public:
  NameChangerAction();
  ~NameChangerAction();
  void handleEvent(IQorDataEventSource *sender, QorCString const &eventName,
                   IQorDataEventArgs *args, IterStack< DataObject * > const &objects);
};

IQorObject *find_(DataObject *object);

/* ---- Commands ---- */
%{
#include "commands/addmodel.h"
%}
%brindle_cast(AddModel, PropertyMap)

%feature("docstring") AddModel "Add a new mesh, points, curves or feature object to the model manager";
%feature("ref") AddModel "$this->addRef();";
%feature("unref") AddModel "$this->release();";
class AddModel {
 public:
  AddModel();
  ~AddModel();
  int run();
  int run(DataObject *model, int type);
};

/* ---- Script commands: selections ---- */
%{
#include "commands/activeselection.h"
#include "commands/selectionsubobject.h"
#include "hostapi/iqorselection.h"
%}
class Modifier;
class Selection;
%types(Modifier *, Selection *);
%brindle_cast(Modifier, PropertyMap)
%brindle_cast(Modifier, DataEventSource)
%brindle_cast(Modifier, IQorDataEventSource)
%brindle_cast(Modifier, Primitive)
%brindle_cast(AddModel, Modifier)
%brindle_cast(Selection, DataObject)
%brindle_cast(Selection, PropertyMap)
%brindle_cast(Selection, DataEventSource)
%brindle_cast(Selection, IQorDataEventSource)
%brindle_cast(Selection, Primitive)

/* A selection argument: a Selection pointer, or any data object that answers "Selection"
   (the script selection classes come to scripts as data objects). None gives null; any
   other object fails with the standard TypeError. */
%typemap(in) Selection * {
  void *argp = 0;
  if (!SWIG_IsOK(SWIG_ConvertPtr($input, &argp, $descriptor, 0))) {
    void *object = 0;
    if (SWIG_IsOK(SWIG_ConvertPtr($input, &object, SWIGTYPE_p_DataObject, 0)))
      argp = qorQuery<Selection>(static_cast<DataObject *>(object), "Selection");
    if (!argp) %argument_fail(SWIG_TypeError, "$type", $symname, $argnum);
  }
  $1 = static_cast<Selection *>(argp);
}
%typemap(typecheck, precedence=SWIG_TYPECHECK_POINTER) Selection * {
  void *p = 0;
  $1 = SWIG_IsOK(SWIG_ConvertPtr($input, &p, $descriptor, 0)) ||
       SWIG_IsOK(SWIG_ConvertPtr($input, &p, SWIGTYPE_p_DataObject, 0));
}

%brindle_cast(SetActiveTriangleSelection, Modifier)
%brindle_cast(SetActiveTriangleSelection, PropertyMap)
%brindle_cast(SetActiveTriangleSelection, DataEventSource)
%brindle_cast(SetActiveTriangleSelection, IQorDataEventSource)
%brindle_cast(SetActiveTriangleSelection, Primitive)
%brindle_cast(GetActiveTriangleSelection, Modifier)
%brindle_cast(GetActiveTriangleSelection, PropertyMap)
%brindle_cast(GetActiveTriangleSelection, DataEventSource)
%brindle_cast(GetActiveTriangleSelection, IQorDataEventSource)
%brindle_cast(GetActiveTriangleSelection, Primitive)
%brindle_cast(SetActiveEdgeSelection, Modifier)
%brindle_cast(SetActiveEdgeSelection, PropertyMap)
%brindle_cast(SetActiveEdgeSelection, DataEventSource)
%brindle_cast(SetActiveEdgeSelection, IQorDataEventSource)
%brindle_cast(SetActiveEdgeSelection, Primitive)
%brindle_cast(GetActiveEdgeSelection, Modifier)
%brindle_cast(GetActiveEdgeSelection, PropertyMap)
%brindle_cast(GetActiveEdgeSelection, DataEventSource)
%brindle_cast(GetActiveEdgeSelection, IQorDataEventSource)
%brindle_cast(GetActiveEdgeSelection, Primitive)
%brindle_cast(SetActiveVertexSelection, Modifier)
%brindle_cast(SetActiveVertexSelection, PropertyMap)
%brindle_cast(SetActiveVertexSelection, DataEventSource)
%brindle_cast(SetActiveVertexSelection, IQorDataEventSource)
%brindle_cast(SetActiveVertexSelection, Primitive)
%brindle_cast(GetActiveVertexSelection, Modifier)
%brindle_cast(GetActiveVertexSelection, PropertyMap)
%brindle_cast(GetActiveVertexSelection, DataEventSource)
%brindle_cast(GetActiveVertexSelection, IQorDataEventSource)
%brindle_cast(GetActiveVertexSelection, Primitive)
%brindle_cast(SetActivePointSelection, Modifier)
%brindle_cast(SetActivePointSelection, PropertyMap)
%brindle_cast(SetActivePointSelection, DataEventSource)
%brindle_cast(SetActivePointSelection, IQorDataEventSource)
%brindle_cast(SetActivePointSelection, Primitive)
%brindle_cast(GetActivePointSelection, Modifier)
%brindle_cast(GetActivePointSelection, PropertyMap)
%brindle_cast(GetActivePointSelection, DataEventSource)
%brindle_cast(GetActivePointSelection, IQorDataEventSource)
%brindle_cast(GetActivePointSelection, Primitive)
%brindle_cast(SetActiveQuadSelection, Modifier)
%brindle_cast(SetActiveQuadSelection, PropertyMap)
%brindle_cast(SetActiveQuadSelection, DataEventSource)
%brindle_cast(SetActiveQuadSelection, IQorDataEventSource)
%brindle_cast(SetActiveQuadSelection, Primitive)
%brindle_cast(GetActiveQuadSelection, Modifier)
%brindle_cast(GetActiveQuadSelection, PropertyMap)
%brindle_cast(GetActiveQuadSelection, DataEventSource)
%brindle_cast(GetActiveQuadSelection, IQorDataEventSource)
%brindle_cast(GetActiveQuadSelection, Primitive)
%brindle_cast(SetActiveCadFaceSelection, Modifier)
%brindle_cast(SetActiveCadFaceSelection, PropertyMap)
%brindle_cast(SetActiveCadFaceSelection, DataEventSource)
%brindle_cast(SetActiveCadFaceSelection, IQorDataEventSource)
%brindle_cast(SetActiveCadFaceSelection, Primitive)
%brindle_cast(GetActiveCadFaceSelection, Modifier)
%brindle_cast(GetActiveCadFaceSelection, PropertyMap)
%brindle_cast(GetActiveCadFaceSelection, DataEventSource)
%brindle_cast(GetActiveCadFaceSelection, IQorDataEventSource)
%brindle_cast(GetActiveCadFaceSelection, Primitive)
%brindle_cast(SetActiveCurveSelection, Modifier)
%brindle_cast(SetActiveCurveSelection, PropertyMap)
%brindle_cast(SetActiveCurveSelection, DataEventSource)
%brindle_cast(SetActiveCurveSelection, IQorDataEventSource)
%brindle_cast(SetActiveCurveSelection, Primitive)
%brindle_cast(GetActiveCurveSelection, Modifier)
%brindle_cast(GetActiveCurveSelection, PropertyMap)
%brindle_cast(GetActiveCurveSelection, DataEventSource)
%brindle_cast(GetActiveCurveSelection, IQorDataEventSource)
%brindle_cast(GetActiveCurveSelection, Primitive)
%brindle_cast(AddSelectionSubObject, Modifier)
%brindle_cast(AddSelectionSubObject, PropertyMap)
%brindle_cast(AddSelectionSubObject, DataEventSource)
%brindle_cast(AddSelectionSubObject, IQorDataEventSource)
%brindle_cast(AddSelectionSubObject, Primitive)
%brindle_cast(GetSelectionSubObject, Modifier)
%brindle_cast(GetSelectionSubObject, PropertyMap)
%brindle_cast(GetSelectionSubObject, DataEventSource)
%brindle_cast(GetSelectionSubObject, IQorDataEventSource)
%brindle_cast(GetSelectionSubObject, Primitive)

%feature("docstring") AddSelectionSubObject "Add a new selection as a subobject of the specified model";
%feature("ref") AddSelectionSubObject "$this->addRef();";
%feature("unref") AddSelectionSubObject "$this->release();";
class AddSelectionSubObject {
 public:
  AddSelectionSubObject();
  ~AddSelectionSubObject();
  QorString const &name();
  int run();
  int run(Model *dataObject, Selection *selection);
};

%feature("docstring") GetSelectionSubObject "Get the selection child object of the specfieid model";
%feature("ref") GetSelectionSubObject "$this->addRef();";
%feature("unref") GetSelectionSubObject "$this->release();";
class GetSelectionSubObject {
 public:
  GetSelectionSubObject();
  ~GetSelectionSubObject();
  QorString const &name();
  int run();
  int run(Model *dataObject, QorString &selectionName);
};

%feature("docstring") SetActiveTriangleSelection "Set the active triangle selection of the specified mesh";
%feature("ref") SetActiveTriangleSelection "$this->addRef();";
%feature("unref") SetActiveTriangleSelection "$this->release();";
class SetActiveTriangleSelection {
 public:
  SetActiveTriangleSelection();
  ~SetActiveTriangleSelection();
  int run();
};

%feature("docstring") GetActiveTriangleSelection "Get the active triangle selection of the specified mesh";
%feature("ref") GetActiveTriangleSelection "$this->addRef();";
%feature("unref") GetActiveTriangleSelection "$this->release();";
class GetActiveTriangleSelection {
 public:
  GetActiveTriangleSelection();
  ~GetActiveTriangleSelection();
  int run();
};

%feature("docstring") SetActiveEdgeSelection "Set the active edge selection of the specified mesh model";
%feature("ref") SetActiveEdgeSelection "$this->addRef();";
%feature("unref") SetActiveEdgeSelection "$this->release();";
class SetActiveEdgeSelection {
 public:
  SetActiveEdgeSelection();
  ~SetActiveEdgeSelection();
  int run();
};

%feature("docstring") GetActiveEdgeSelection "Get the active edge selection of the specified mesh model";
%feature("ref") GetActiveEdgeSelection "$this->addRef();";
%feature("unref") GetActiveEdgeSelection "$this->release();";
class GetActiveEdgeSelection {
 public:
  GetActiveEdgeSelection();
  ~GetActiveEdgeSelection();
  int run();
};

%feature("docstring") SetActiveVertexSelection "Set the active vertex selection of the specified mesh model";
%feature("ref") SetActiveVertexSelection "$this->addRef();";
%feature("unref") SetActiveVertexSelection "$this->release();";
class SetActiveVertexSelection {
 public:
  SetActiveVertexSelection();
  ~SetActiveVertexSelection();
  int run();
};

%feature("docstring") GetActiveVertexSelection "Get the active vertex selection of the specified mesh model";
%feature("ref") GetActiveVertexSelection "$this->addRef();";
%feature("unref") GetActiveVertexSelection "$this->release();";
class GetActiveVertexSelection {
 public:
  GetActiveVertexSelection();
  ~GetActiveVertexSelection();
  int run();
};

%feature("docstring") SetActivePointSelection "Set the active unordered points selection of the specified unordered points model";
%feature("ref") SetActivePointSelection "$this->addRef();";
%feature("unref") SetActivePointSelection "$this->release();";
class SetActivePointSelection {
 public:
  SetActivePointSelection();
  ~SetActivePointSelection();
  int run();
};

%feature("docstring") GetActivePointSelection "Get the active unordered points selection of the specified unordered points model";
%feature("ref") GetActivePointSelection "$this->addRef();";
%feature("unref") GetActivePointSelection "$this->release();";
class GetActivePointSelection {
 public:
  GetActivePointSelection();
  ~GetActivePointSelection();
  int run();
};

%feature("docstring") SetActiveQuadSelection "Set the active quad selection of the specified ordered points model";
%feature("ref") SetActiveQuadSelection "$this->addRef();";
%feature("unref") SetActiveQuadSelection "$this->release();";
class SetActiveQuadSelection {
 public:
  SetActiveQuadSelection();
  ~SetActiveQuadSelection();
  int run();
};

%feature("docstring") GetActiveQuadSelection "Get the active quad selection of the specified ordered points model";
%feature("ref") GetActiveQuadSelection "$this->addRef();";
%feature("unref") GetActiveQuadSelection "$this->release();";
class GetActiveQuadSelection {
 public:
  GetActiveQuadSelection();
  ~GetActiveQuadSelection();
  int run();
};

%feature("docstring") SetActiveCadFaceSelection "Set the active face selection of the specified cad model";
%feature("ref") SetActiveCadFaceSelection "$this->addRef();";
%feature("unref") SetActiveCadFaceSelection "$this->release();";
class SetActiveCadFaceSelection {
 public:
  SetActiveCadFaceSelection();
  ~SetActiveCadFaceSelection();
  int run();
};

%feature("docstring") GetActiveCadFaceSelection "Get the active face selection of the specified cad model";
%feature("ref") GetActiveCadFaceSelection "$this->addRef();";
%feature("unref") GetActiveCadFaceSelection "$this->release();";
class GetActiveCadFaceSelection {
 public:
  GetActiveCadFaceSelection();
  ~GetActiveCadFaceSelection();
  int run();
};

%feature("docstring") SetActiveCurveSelection "Set the active curve selection of the specified curve set";
%feature("ref") SetActiveCurveSelection "$this->addRef();";
%feature("unref") SetActiveCurveSelection "$this->release();";
class SetActiveCurveSelection {
 public:
  SetActiveCurveSelection();
  ~SetActiveCurveSelection();
  int run();
};

%feature("docstring") GetActiveCurveSelection "Get the active curve selection of the specified curve set";
%feature("ref") GetActiveCurveSelection "$this->addRef();";
%feature("unref") GetActiveCurveSelection "$this->release();";
class GetActiveCurveSelection {
 public:
  GetActiveCurveSelection();
  ~GetActiveCurveSelection();
  int run();
};

/* ---- Script commands: automation ---- */
%{
#include "commands/appendautomationnode.h"
#include "commands/runscript.h"
%}
%brindle_cast(AppendAutomationNode, DataObject)
%brindle_cast(AppendAutomationNode, PropertyMap)
%brindle_cast(AppendAutomationNode, DataEventSource)
%brindle_cast(AppendAutomationNode, IQorDataEventSource)
%brindle_cast(AppendAutomationNode, Primitive)
%brindle_cast(RunScript, PropertyMap)

%feature("docstring") AppendAutomationNode "Insert the activity into the current automation workflow";
%feature("ref") AppendAutomationNode "$this->addRef();";
%feature("unref") AppendAutomationNode "$this->release();";
class AppendAutomationNode {
 public:
  AppendAutomationNode();
  ~AppendAutomationNode();
  void run();
};

%feature("docstring") RunScript "Run a script with the specified file path";
%feature("ref") RunScript "$this->addRef();";
%feature("unref") RunScript "$this->release();";
class RunScript {
 public:
  RunScript();
  ~RunScript();
  QorString const &name();
  void run();
  void run(QorString &scriptName);
};

/* ---- Script commands: the property dump ---- */
%{
#include "commands/addpropertydump.h"
#include "math/qorbounds.h"
#include "math/qorvector.h"
%}
%brindle_cast(AddPropertyDump, DataObject)
%brindle_cast(AddPropertyDump, PropertyMap)
%brindle_cast(AddPropertyDump, DataEventSource)
%brindle_cast(AddPropertyDump, IQorDataEventSource)
%brindle_cast(AddPropertyDump, Primitive)

%feature("docstring") AddPropertyDump "Add a property name value pair to the xml property dump";
%feature("ref") AddPropertyDump "$this->addRef();";
%feature("unref") AddPropertyDump "$this->release();";
class AddPropertyDump {
 public:
  AddPropertyDump();
  AddPropertyDump(char const *basename);
  ~AddPropertyDump();
  bool push(char const *propname);
  bool push(char const *propname, QorString const &stringVal);
  bool pop();
  bool reset();
  bool add(char const *propname, int intVal);
  bool add(char const *propname, double doubleVal);
  bool add(char const *propname, QorString const &stringVal);
  bool addPoint(char const *propname, QorVector const &vec);
  bool addDirection(char const *propname, QorVector const &vec);
  bool addMatrix(char const *propname, QorMatrix const &mat);
  bool addBounds(char const *propname, QorBounds const &bnds);
  bool addFeature(char const *propName, DataObject *dobj);
  bool addCADModel(char const *propName, DataObject *dobj);
  char const *typeString();
};
