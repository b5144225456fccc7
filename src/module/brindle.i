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
