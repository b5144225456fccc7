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
%brindle_cast(RunScript, DataObject)
%brindle_cast(RunScript, PropertyMap)
%brindle_cast(RunScript, DataEventSource)
%brindle_cast(RunScript, IQorDataEventSource)
%brindle_cast(RunScript, Primitive)

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
