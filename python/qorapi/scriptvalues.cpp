#include "python/qorapi/scriptvalues.h"

#include <structmember.h>

#include <cmath>
#include <cstring>
#include <exception>
#include <filesystem>
#include <map>
#include <string>
#include <typeinfo>
#include <vector>

#include "core/iptr.h"
#include "core/platformexception.h"
#include "core/translate.h"
#include "datamodel/boolproperty.h"
#include "datamodel/dataobject.h"
#include "datamodel/dataobjectarray.h"
#include "datamodel/dataobjectarrayproperty.h"
#include "datamodel/doubleproperty.h"
#include "datamodel/intproperty.h"
#include "datamodel/objectproperty.h"
#include "datamodel/qorboundsproperty.h"
#include "datamodel/qorcolorproperty.h"
#include "datamodel/qormaterialproperty.h"
#include "datamodel/qorquaternionproperty.h"
#include "datamodel/qorrectproperty.h"
#include "datamodel/stringproperty.h"
#include "datamodel/transform3dproperty.h"
#include "datamodel/vector2dproperty.h"
#include "datamodel/vector2fproperty.h"
#include "datamodel/vector3dproperty.h"
#include "module/pyedge.h"
#include "persistence/qorfile.h"
#include "python/qorapi/sequencelevers.h"
#include "refhost/persistence.h"

namespace {

const char* const kCapsule = "qorapi.ref";
const char* const kSubscription = "qorapi.subscription";

/* What a capsule holds: one counted reference and the kind of object. */
struct Ref {
  IPtr<IQorUnknown> object;
  bool isArray = false;
};

/* An owned reference to a Python object, released at scope end. */
struct PyRef {
  PyObject* p = nullptr;
  PyRef() = default;
  explicit PyRef(PyObject* o) : p(o) {}
  PyRef(const PyRef&) = delete;
  PyRef& operator=(const PyRef&) = delete;
  ~PyRef() { Py_XDECREF(p); }
  PyObject* release() {
    PyObject* r = p;
    p = nullptr;
    return r;
  }
  explicit operator bool() const { return p != nullptr; }
};

/* A str made once and kept for the life of the process. */
PyObject* interned(const char* text) {
  PyObject* s = PyUnicode_InternFromString(text);
  if (!s) Py_FatalError("qorapi: cannot make an interned str");
  return s;
}

/* ---- failures of the system, as the script sees them ---- */

/* A PlatformException becomes AttributeError (codes 1 to 4) or RuntimeError, with the
   error's whole text; the exception object is freed. */
void raisePlatform(PlatformException* e) {
  PyObject* text = qor::qorStringToPy(e->message);
  if (text) {
    PyErr_SetObject(e->code > 4 ? PyExc_RuntimeError : PyExc_AttributeError, text);
    Py_DECREF(text);
  }
  delete e;
}

/* Runs `body` and turns an exception of the system into the script's exception, named
   after `where`; `failed` is what the caller returns then. */
template <class R, class F>
R guarded(const char* where, R failed, F&& body) {
  try {
    return body();
  } catch (PlatformException* e) {
    raisePlatform(e);
  } catch (std::exception& e) {
    PyErr_Format(PyExc_RuntimeError, "internal error in %s: %s", where, e.what());
  } catch (...) {
    PyErr_Format(PyExc_RuntimeError, "internal error in %s", where);
  }
  return failed;
}

/* ---- the Python side, registered by set_value_types ---- */

std::map<std::string, PyObject*>& types() {
  static auto* t = new std::map<std::string, PyObject*>();  // lives to process end
  return *t;
}

PyObject* type(const char* name) {
  auto it = types().find(name);
  if (it != types().end()) return it->second;
  PyErr_Format(PyExc_RuntimeError, "qorapi has not registered its value class %s", name);
  return nullptr;
}

void dropRef(PyObject* capsule) {
  delete static_cast<Ref*>(PyCapsule_GetPointer(capsule, kCapsule));
}

PyObject* capsuleFor(IQorUnknown* object, bool isArray) {
  auto* r = new Ref{IPtr<IQorUnknown>(object), isArray};
  PyObject* c = PyCapsule_New(r, kCapsule, dropRef);
  if (!c) delete r;
  return c;
}

/* The script wrapper of `object` (None for null), made by the Python side. */
PyObject* wrap(IQorUnknown* object, bool isArray) {
  if (!object) Py_RETURN_NONE;
  PyObject* fn = type("wrap");
  if (!fn) return nullptr;
  PyRef cap(capsuleFor(object, isArray));
  if (!cap) return nullptr;
  static PyObject* const kArray = interned("array");
  static PyObject* const kObject = interned("object");
  static PyObject* const kModel = interned("model");
  static PyObject* const kSelection = interned("selection");
  static PyObject* const kFeature = interned("feature");
  static PyObject* const kModelData = interned("modeldata");
  static PyObject* const kCurve = interned("curve");
  static PyObject* const kCurveSet = interned("curveset");
  PyObject* kind = isArray                                            ? kArray
                   : qorQuery<void>(object, "Model")                  ? kModel
                   : qorQuery<void>(object, "Selection")              ? kSelection
                   : qorQuery<void>(object, "features::IQorFeature")  ? kFeature
                   : qorQuery<void>(object, "ModelDataObject")        ? kModelData
                   : qorQuery<void>(object, "surfacing::ICurveShell") ? kCurve
                   : qorQuery<void>(object, "curves::IQorCurves")     ? kCurveSet
                                                                      : kObject;
  PyObject* argv[] = {cap.p, kind};
  return PyObject_Vectorcall(fn, argv, 2, nullptr);
}

Ref* refOf(PyObject* capsule, bool wantArray) {
  auto* r = static_cast<Ref*>(PyCapsule_GetPointer(capsule, kCapsule));
  if (!r) return nullptr;
  if (r->isArray != wantArray) {
    PyErr_SetString(PyExc_TypeError,
                    wantArray ? "expected a DataObjectArray" : "expected a DataObject");
    return nullptr;
  }
  return r;
}

DataObject* objectOf(PyObject* capsule) {
  Ref* r = refOf(capsule, false);
  if (!r) return nullptr;
  DataObject* o = qorQuery<DataObject>(r->object.get(), "DataObject");
  if (!o) PyErr_SetString(PyExc_TypeError, "the reference does not hold a data object");
  return o;
}

DataObjectArray* arrayOf(PyObject* capsule) {
  Ref* r = refOf(capsule, true);
  if (!r) return nullptr;
  return qorQuery<DataObjectArray>(r->object.get(), "DataObjectArray");
}

/* ---- the script type of data objects ---- */

/* The instance layout of qorapi.DataObject: the capsule that holds the native object, the
   object itself (borrowed from the capsule, which keeps it alive) and the weak references.
   Attribute reads and writes of names that don't start with '_' go to the property map in
   C, so reading a property raises and catches nothing. */
struct ScriptObject {
  PyObject_HEAD PyObject* ref;
  DataObject* object;
  PyObject* weakrefs;
};

PyTypeObject* gObjectType = nullptr;

bool isScriptObject(PyObject* o) {
  return gObjectType && PyObject_TypeCheck(o, gObjectType);
}

/* The capsule inside a script wrapper (its _ref), as a new reference, or null without an
   error. The reference is held while the caller reads it, whatever _ref is. */
PyObject* wrappedCapsule(PyObject* value) {
  if (PyCapsule_CheckExact(value)) return Py_NewRef(value);
  if (isScriptObject(value)) return Py_XNewRef(reinterpret_cast<ScriptObject*>(value)->ref);
  PyObject* ref = PyObject_GetAttrString(value, "_ref");
  if (!ref) {
    PyErr_Clear();
    return nullptr;
  }
  if (PyCapsule_CheckExact(ref)) return ref;
  Py_DECREF(ref);
  return nullptr;
}

/* A property name as the map's narrow name, borrowed from the str. Names are ASCII: the
   map's narrow keys widen each byte on its own, so other text could never find its
   property. */
const char* nameOf(PyObject* name) {
  if (!PyUnicode_Check(name)) {
    PyErr_Format(PyExc_TypeError, "a property name must be str, not %s", Py_TYPE(name)->tp_name);
    return nullptr;
  }
  if (PyUnicode_IS_COMPACT_ASCII(name)) {
    const char* text = static_cast<const char*>(PyUnicode_DATA(name));
    if (std::strlen(text) == static_cast<size_t>(PyUnicode_GET_LENGTH(name))) return text;
  }
  PyErr_Format(PyExc_AttributeError, "property names are plain ASCII: %R", name);
  return nullptr;
}

/* ---- property kinds ---- */

/* What scripts can read and write, by property class. */
enum class Kind : uint8_t {
  kBool,
  kInt,
  kDouble,
  kString,
  kVector3D,
  kVector2D,
  kVector2F,
  kTransform3D,
  kBounds,
  kColor,
  kMaterial,
  kQuaternion,
  kRect,
  kObject,
  kArray,
  kOther
};

/* The class and interface names of each kind, in the order a property is asked. */
struct KindNames {
  Kind kind;
  const char* className;
  const char* interfaceName;
};
constexpr KindNames kKindNames[] = {
    {Kind::kBool, BoolProperty::kClassName, BoolProperty::kInterfaceName},
    {Kind::kInt, IntProperty::kClassName, IntProperty::kInterfaceName},
    {Kind::kDouble, DoubleProperty::kClassName, DoubleProperty::kInterfaceName},
    {Kind::kString, StringProperty::kClassName, StringProperty::kInterfaceName},
    {Kind::kVector3D, Vector3DProperty::kClassName, Vector3DProperty::kInterfaceName},
    {Kind::kVector2D, Vector2DProperty::kClassName, Vector2DProperty::kInterfaceName},
    {Kind::kVector2F, Vector2FProperty::kClassName, Vector2FProperty::kInterfaceName},
    {Kind::kTransform3D, Transform3DProperty::kClassName, Transform3DProperty::kInterfaceName},
    {Kind::kBounds, QorBoundsProperty::kClassName, QorBoundsProperty::kInterfaceName},
    {Kind::kColor, QorColorProperty::kClassName, QorColorProperty::kInterfaceName},
    {Kind::kMaterial, QorMaterialProperty::kClassName, QorMaterialProperty::kInterfaceName},
    {Kind::kQuaternion, QorQuaternionProperty::kClassName, QorQuaternionProperty::kInterfaceName},
    {Kind::kRect, QorRectProperty::kClassName, QorRectProperty::kInterfaceName},
    {Kind::kObject, ObjectProperty::kClassName, "IQorObjectProperty"},
    {Kind::kArray, DataObjectArrayProperty::kClassName, "IQorDataObjectArrayProperty"},
};

/* The kind of a property class and where its typed interface sits, seen from the
   IQorProperty view. Every object of one class answers the same names with views at the
   same places, so the answer is asked once per class and kept. */
struct ClassKind {
  const std::type_info* type;
  Kind kind;
  ptrdiff_t offset;
};

ClassKind askKind(IQorProperty* p, const std::type_info* type) {
  for (const KindNames& k : kKindNames) {
    if (!qorQuery<void>(p, k.className)) continue;
    void* view = qorQuery<void>(p, k.interfaceName);
    if (!view) break;
    return {type, k.kind, static_cast<char*>(view) - reinterpret_cast<char*>(p)};
  }
  return {type, Kind::kOther, 0};
}

const ClassKind& kindOf(IQorProperty* p) {
  static ClassKind known[48];
  static int count = 0;
  static int last = 0;  // the class met last, asked first
  static ClassKind spare;
  const std::type_info* type = &typeid(*p);
  if (known[last].type == type) return known[last];
  for (int i = 0; i < count; ++i)
    if (known[i].type == type) return known[last = i];
  ClassKind found = askKind(p, type);
  if (count == static_cast<int>(std::size(known))) return spare = found;
  return known[last = count++] = found;
}

/* The typed interface of a property of a known kind. */
template <class I>
I* typed(IQorProperty* p, const ClassKind& k) {
  return reinterpret_cast<I*>(reinterpret_cast<char*>(p) + k.offset);
}

/* ---- values: C++ to Python ---- */

PyObject* make(const char* cls, std::initializer_list<double> values) {
  PyObject* t = type(cls);
  if (!t) return nullptr;
  PyRef tuple(PyTuple_New(static_cast<Py_ssize_t>(values.size())));
  if (!tuple) return nullptr;
  Py_ssize_t i = 0;
  for (double v : values) PyTuple_SET_ITEM(tuple.p, i++, PyFloat_FromDouble(v));
  static PyObject* const kMake = interned("_make");
  return PyObject_CallMethodOneArg(t, kMake, tuple.p);
}

void colorValues(const QorColor& c, PyObject* tuple, Py_ssize_t at) {
  for (float f : {c.red, c.green, c.blue, c.alpha})
    PyTuple_SET_ITEM(tuple, at++, PyFloat_FromDouble(f));
}

PyObject* matrixToPy(const QorMatrix& m) {
  PyObject* t = type("Transform3D");
  if (!t) return nullptr;
  PyRef tuple(PyTuple_New(16));
  if (!tuple) return nullptr;
  for (int i = 0; i < 16; ++i) PyTuple_SET_ITEM(tuple.p, i, PyFloat_FromDouble(m[i]));
  return PyObject_CallMethod(t, "_make", "(O)", tuple.p);
}

PyObject* materialToPy(const QorMaterial& m) {
  PyObject* t = type("QorMaterial");
  if (!t) return nullptr;
  PyRef tuple(PyTuple_New(19));
  if (!tuple) return nullptr;
  colorValues(m.ambient, tuple.p, 0);
  colorValues(m.diffuse, tuple.p, 4);
  colorValues(m.specular, tuple.p, 8);
  colorValues(m.emission, tuple.p, 12);
  PyTuple_SET_ITEM(tuple.p, 16, PyFloat_FromDouble(m.transmission));
  PyTuple_SET_ITEM(tuple.p, 17, PyFloat_FromDouble(m.shininess));
  PyTuple_SET_ITEM(tuple.p, 18, PyFloat_FromDouble(m.face));
  return PyObject_CallMethod(t, "_make", "(O)", tuple.p);
}

/* The value of property `p` (named `name`) of class kind `k`, read through its class's typed
   interface: what the map's getter of that class gives. */
PyObject* propertyToPy(IQorProperty* p, const ClassKind& k, const char* name) {
  switch (k.kind) {
    case Kind::kBool:
      return PyBool_FromLong(typed<IQorBoolProperty>(p, k)->getValue());
    case Kind::kInt:
      return PyLong_FromLong(typed<IQorIntProperty>(p, k)->getValue());
    case Kind::kDouble:
      return PyFloat_FromDouble(typed<IQorDoubleProperty>(p, k)->getValue());
    case Kind::kString: {
      QorString s;
      typed<IQorStringProperty>(p, k)->getValue(s);
      return qor::qorStringToPy(s);
    }
    case Kind::kVector3D: {
      QorVector v;
      typed<IQorVectorProperty>(p, k)->getValue(v);
      return make("Vector3D", {v.x, v.y, v.z});
    }
    case Kind::kVector2D: {
      Vector2D v;
      typed<IQorVector2DProperty>(p, k)->getValue(v);
      return make("Vector2D", {v.x, v.y});
    }
    case Kind::kVector2F: {
      Vector2F v;
      typed<IQorVector2FProperty>(p, k)->getValue(v);
      return make("Vector2F", {v.x, v.y});
    }
    case Kind::kTransform3D: {
      QorMatrix m;
      typed<IQorMatrixProperty>(p, k)->getValue(m);
      return matrixToPy(m);
    }
    case Kind::kBounds: {
      QorBounds b;
      typed<IQorBoundsProperty>(p, k)->getValue(b);
      return make("QorBounds", {b.minX, b.minY, b.minZ, b.maxX, b.maxY, b.maxZ});
    }
    case Kind::kColor: {
      QorColor c;
      typed<IQorColorProperty>(p, k)->getValue(c);
      return make("QorColor", {c.red, c.green, c.blue, c.alpha});
    }
    case Kind::kMaterial: {
      QorMaterial m;
      typed<IQorMaterialProperty>(p, k)->getValue(m);
      return materialToPy(m);
    }
    case Kind::kQuaternion: {
      QorQuaternion q;
      typed<IQorQuaternionProperty>(p, k)->getValue(q);
      return make("QorQuaternion", {q.w, q.x, q.y, q.z});
    }
    case Kind::kRect: {
      QorRect r;
      typed<IQorRectProperty>(p, k)->getValue(r);
      return make("QorRect", {r.xMin, r.yMin, r.xMax, r.yMax});
    }
    case Kind::kObject:
      return wrap(typed<IQorObjectProperty>(p, k)->getValue(), false);
    case Kind::kArray:
      return wrap(typed<IQorDataObjectArrayProperty>(p, k)->getValue(), true);
    case Kind::kOther:
      break;
  }
  if (PyObject * held; heldPropertyToPy(p, &held)) return held;
  PyErr_Format(PyExc_TypeError, "property '%s' is a %s, which scripts cannot read yet", name,
               p->className());
  return nullptr;
}

PyObject* propertyToPy(IQorProperty* p, const char* name) {
  return propertyToPy(p, kindOf(p), name);
}

/* The value of property `name` of `map`; AttributeError when there is none. */
PyObject* valueToPy(IQorPropertyMap* map, const char* name) {
  IQorProperty* p = map->getProperty(name);
  if (!p) {
    QorString message;
    tr(message, "Property '%1' does not exist.", QorString(name));
    PyRef text(qor::qorStringToPy(message));
    PyErr_SetObject(PyExc_AttributeError, text.p);
    return nullptr;
  }
  return propertyToPy(p, name);
}

/* ---- values: Python to C++ ---- */

/* The numbers of a value object (its _v), exactly `n` of them. */
bool numbersOf(PyObject* value, double* out, Py_ssize_t n) {
  PyRef v(PyObject_GetAttrString(value, "_v"));
  if (!v) return false;
  PyRef seq(PySequence_Fast(v.p, "_v must be a sequence"));
  if (!seq) return false;
  if (PySequence_Fast_GET_SIZE(seq.p) != n) {
    PyErr_Format(PyExc_ValueError, "%s holds %zd numbers, not %zd", Py_TYPE(value)->tp_name,
                 PySequence_Fast_GET_SIZE(seq.p), n);
    return false;
  }
  for (Py_ssize_t i = 0; i < n; ++i) {
    out[i] = PyFloat_AsDouble(PySequence_Fast_GET_ITEM(seq.p, i));
    if (out[i] == -1.0 && PyErr_Occurred()) return false;
  }
  return true;
}

bool isValue(PyObject* value, const char* cls) {
  auto it = types().find(cls);
  return it != types().end() && PyObject_IsInstance(value, it->second) == 1;
}

QorColor colorAt(const double* d) {
  return QorColor(static_cast<float>(d[0]), static_cast<float>(d[1]), static_cast<float>(d[2]),
                  static_cast<float>(d[3]));
}

/* Stores `value` straight through the typed interface when the map's setter would do
   exactly that: an existing, writable property of kind `kind` whose typeName is `typeName`.
   False leaves everything to the map's setter (new names, guards and their errors). */
template <class I, class V>
bool storeDirect(IQorProperty* p, Kind kind, const char* typeName, const V& value) {
  if (!p) return false;
  const ClassKind& k = kindOf(p);
  if (k.kind != kind || p->isReadOnly()) return false;
  const char* has = p->typeName();
  if (!has || std::strcmp(has, typeName) != 0) return false;
  typed<I>(p, k)->setValue(value);
  return true;
}

/* The map's setter for `value`, after the direct store where it applies. */
template <class I, class V>
void store(PropertyMap* map, const char* name, IQorProperty* p, Kind kind, const char* typeName,
           const V& value) {
  if (!storeDirect<I>(p, kind, typeName, value)) map->set(name, value);
}

/* Sets `name` on `map` by the Python type of `value`: bool before int; an int on an existing
   double property goes through the double setter. Returns false with a Python error set. */
bool setFromPy(PropertyMap* map, const char* name, PyObject* value) {
  if (PyBool_Check(value)) {
    bool b = value == Py_True;
    IQorProperty* p = map->getProperty(name);
    // The map stores a bool into an int property as 1 or 0.
    if (!storeDirect<IQorBoolProperty>(p, Kind::kBool, BoolProperty::kTypeName, b) &&
        !storeDirect<IQorIntProperty>(p, Kind::kInt, IntProperty::kTypeName, int32_t{b}))
      map->set(name, b);
    return true;
  }
  if (PyLong_Check(value)) {
    IQorProperty* p = map->getProperty(name);
    if (p && kindOf(p).kind == Kind::kDouble) {
      double d = PyLong_AsDouble(value);
      if (d == -1.0 && PyErr_Occurred()) return false;
      store<IQorDoubleProperty>(map, name, p, Kind::kDouble, DoubleProperty::kTypeName, d);
      return true;
    }
    int overflow = 0;
    long long v = PyLong_AsLongLongAndOverflow(value, &overflow);
    if (overflow || v < INT32_MIN || v > INT32_MAX) {
      PyErr_Format(PyExc_OverflowError,
                   "%R does not fit the 32-bit integer of property '%s'; assign a float to store "
                   "it as a double",
                   value, name);
      return false;
    }
    auto i = static_cast<int32_t>(v);
    // The map stores an int into a bool property as whether it is non-zero.
    if (!storeDirect<IQorIntProperty>(p, Kind::kInt, IntProperty::kTypeName, i) &&
        !storeDirect<IQorBoolProperty>(p, Kind::kBool, BoolProperty::kTypeName, i != 0))
      map->set(name, i);
    return true;
  }
  if (PyFloat_Check(value)) {
    store<IQorDoubleProperty>(map, name, map->getProperty(name), Kind::kDouble,
                              DoubleProperty::kTypeName, PyFloat_AS_DOUBLE(value));
    return true;
  }
  if (PyUnicode_Check(value)) {
    QorString text;
    if (!qor::pyStrToQorString(value, &text)) return false;
    store<IQorStringProperty>(map, name, map->getProperty(name), Kind::kString,
                              StringProperty::kTypeName, text);
    return true;
  }
  if (value == Py_None) {
    IQorProperty* p = map->getProperty(name);
    Kind kind = p ? kindOf(p).kind : Kind::kOther;
    if (kind == Kind::kArray) {
      map->set(name, static_cast<DataObjectArray*>(nullptr));
      return true;
    }
    if (kind == Kind::kObject) {
      map->set(name, static_cast<DataObject*>(nullptr));
      return true;
    }
    if (p && heldPropertyClear(map, name, p)) return true;
    PyErr_Format(PyExc_TypeError,
                 "cannot set property '%s' to None: only object and array properties can be empty",
                 name);
    return false;
  }
  if (isScriptObject(value) && reinterpret_cast<ScriptObject*>(value)->object) {
    map->set(name, reinterpret_cast<ScriptObject*>(value)->object);
    return true;
  }
  double d[19];
  if (isValue(value, "Vector3D")) {
    if (!numbersOf(value, d, 3)) return false;
    store<IQorVectorProperty>(map, name, map->getProperty(name), Kind::kVector3D,
                              Vector3DProperty::kTypeName, QorVector(d[0], d[1], d[2]));
    return true;
  }
  if (isValue(value, "Vector2D")) {
    if (!numbersOf(value, d, 2)) return false;
    store<IQorVector2DProperty>(map, name, map->getProperty(name), Kind::kVector2D,
                                Vector2DProperty::kTypeName, Vector2D(d[0], d[1]));
    return true;
  }
  if (isValue(value, "Vector2F")) {
    if (!numbersOf(value, d, 2)) return false;
    store<IQorVector2FProperty>(map, name, map->getProperty(name), Kind::kVector2F,
                                Vector2FProperty::kTypeName,
                                Vector2F(static_cast<float>(d[0]), static_cast<float>(d[1])));
    return true;
  }
  if (isValue(value, "Transform3D")) {
    if (!numbersOf(value, d, 16)) return false;
    QorMatrix m;
    for (int i = 0; i < 16; ++i) m[i] = d[i];
    store<IQorMatrixProperty>(map, name, map->getProperty(name), Kind::kTransform3D,
                              Transform3DProperty::kTypeName, m);
    return true;
  }
  if (isValue(value, "QorBounds")) {
    if (!numbersOf(value, d, 6)) return false;
    QorBounds b;
    b.minX = d[0], b.minY = d[1], b.minZ = d[2], b.maxX = d[3], b.maxY = d[4], b.maxZ = d[5];
    store<IQorBoundsProperty>(map, name, map->getProperty(name), Kind::kBounds,
                              QorBoundsProperty::kTypeName, b);
    return true;
  }
  if (isValue(value, "QorColor")) {
    if (!numbersOf(value, d, 4)) return false;
    store<IQorColorProperty>(map, name, map->getProperty(name), Kind::kColor,
                             QorColorProperty::kTypeName, colorAt(d));
    return true;
  }
  if (isValue(value, "QorMaterial")) {
    if (!numbersOf(value, d, 19)) return false;
    QorMaterial m(colorAt(d), colorAt(d + 4), colorAt(d + 8), colorAt(d + 12),
                  static_cast<float>(d[16]), static_cast<float>(d[17]),
                  static_cast<int32_t>(d[18]));
    store<IQorMaterialProperty>(map, name, map->getProperty(name), Kind::kMaterial,
                                QorMaterialProperty::kTypeName, m);
    return true;
  }
  if (isValue(value, "QorQuaternion")) {
    if (!numbersOf(value, d, 4)) return false;
    QorQuaternion q;
    q.w = d[0], q.x = d[1], q.y = d[2], q.z = d[3];
    store<IQorQuaternionProperty>(map, name, map->getProperty(name), Kind::kQuaternion,
                                  QorQuaternionProperty::kTypeName, q);
    return true;
  }
  if (isValue(value, "QorRect")) {
    if (!numbersOf(value, d, 4)) return false;
    QorRect r;
    r.xMin = d[0], r.yMin = d[1], r.xMax = d[2], r.yMax = d[3];
    store<IQorRectProperty>(map, name, map->getProperty(name), Kind::kRect,
                            QorRectProperty::kTypeName, r);
    return true;
  }
  if (PyErr_Occurred()) return false;  // an isinstance check that raised
  if (const int held = heldPropertySet(map, name, value)) return held > 0;
  if (PyRef cap{wrappedCapsule(value)}) {
    auto* r = static_cast<Ref*>(PyCapsule_GetPointer(cap.p, kCapsule));
    if (!r) return false;
    if (r->isArray)
      map->set(name, qorQuery<DataObjectArray>(r->object.get(), "DataObjectArray"));
    else
      map->set(name, qorQuery<DataObject>(r->object.get(), "DataObject"));
    return true;
  }
  PyErr_Format(PyExc_TypeError, "cannot set property '%s' to a value of type %s", name,
               Py_TYPE(value)->tp_name);
  return false;
}

/* The data object in a script value (a wrapper, a capsule or None), or false with an error. */
bool objectFromPy(PyObject* value, DataObject** out) {
  *out = nullptr;
  if (value == Py_None) return true;
  PyRef cap(wrappedCapsule(value));
  DataObject* o = cap ? objectOf(cap.p) : nullptr;
  if (!o) {
    if (!PyErr_Occurred())
      PyErr_Format(PyExc_TypeError, "expected a DataObject or None, not %s",
                   Py_TYPE(value)->tp_name);
    return false;
  }
  *out = o;
  return true;
}

/* Removes property `name`; whether there was one. */
PyObject* removeProperty(DataObject* o, const char* name) {
  if (std::strcmp(name, "name") == 0) {
    PyErr_SetString(PyExc_AttributeError, "the property 'name' of a data object cannot be removed");
    return nullptr;
  }
  QorString key(name);
  if (o->hasProperty(key)) o->detachProperty(name);
  return PyBool_FromLong(o->removeProperty(key));
}

/* ---- the attribute slots ---- */

DataObject* boundObject(PyObject* self) {
  DataObject* o = reinterpret_cast<ScriptObject*>(self)->object;
  if (!o)
    PyErr_Format(PyExc_TypeError, "this %s holds no data object: it was made without __init__",
                 Py_TYPE(self)->tp_name);
  return o;
}

bool startsWithUnderscore(PyObject* name) {
  if (PyUnicode_IS_COMPACT_ASCII(name))
    return static_cast<const char*>(PyUnicode_DATA(name))[0] == '_';
  return PyUnicode_GET_LENGTH(name) > 0 && PyUnicode_READ_CHAR(name, 0) == '_';
}

/* Attributes of the class (methods first), then those of a subclass instance's own dict,
   then the properties. A name starting with '_' is never a property. */
PyObject* scriptGetAttr(PyObject* self, PyObject* name) {
  if (!PyUnicode_Check(name) || startsWithUnderscore(name)) {
    PyObject* found = PyObject_GenericGetAttr(self, name);
    if (!found && PyErr_ExceptionMatches(PyExc_AttributeError)) {
      PyErr_Clear();
      PyErr_SetObject(PyExc_AttributeError, name);
    }
    return found;
  }
  if (_PyType_Lookup(Py_TYPE(self), name)) return PyObject_GenericGetAttr(self, name);
  if (Py_TYPE(self)->tp_dictoffset) {
    PyObject** dict = _PyObject_GetDictPtr(self);
    if (dict && *dict)
      if (PyObject* own = PyDict_GetItemWithError(*dict, name)) return Py_NewRef(own);
    if (PyErr_Occurred()) return nullptr;
  }
  DataObject* o = boundObject(self);
  const char* n = o ? nameOf(name) : nullptr;
  if (!n) return nullptr;
  return guarded("object_get", static_cast<PyObject*>(nullptr), [&] { return valueToPy(o, n); });
}

/* Every assignment of a name not starting with '_' sets a property; del removes one. */
int scriptSetAttr(PyObject* self, PyObject* name, PyObject* value) {
  if (!PyUnicode_Check(name)) {
    PyErr_Format(PyExc_TypeError, "attribute name must be string, not '%s'",
                 Py_TYPE(name)->tp_name);
    return -1;
  }
  /* A data descriptor of the class (a model's `this`) takes the assignment itself. */
  if (PyObject* descr = _PyType_Lookup(Py_TYPE(self), name); descr && Py_TYPE(descr)->tp_descr_set)
    return PyObject_GenericSetAttr(self, name, value);
  if (value && startsWithUnderscore(name)) {
    PyErr_Format(PyExc_AttributeError, "'%U': names starting with '_' are not properties", name);
    return -1;
  }
  DataObject* o = boundObject(self);
  const char* n = o ? nameOf(name) : nullptr;
  if (!n) return -1;
  if (value) return guarded("object_set", -1, [&] { return setFromPy(o, n, value) ? 0 : -1; });
  PyRef removed(guarded("object_remove", static_cast<PyObject*>(nullptr),
                        [&] { return removeProperty(o, n); }));
  if (!removed) return -1;
  if (removed.p == Py_True) return 0;
  PyErr_Format(PyExc_AttributeError, "Property '%s' does not exist.", n);
  return -1;
}

PyObject* scriptRef(PyObject* self, void*) {
  PyObject* ref = reinterpret_cast<ScriptObject*>(self)->ref;
  if (!ref) {
    PyErr_SetString(PyExc_AttributeError, "_ref");
    return nullptr;
  }
  return Py_NewRef(ref);
}

void scriptDealloc(PyObject* self) {
  PyTypeObject* type = Py_TYPE(self);
  auto* s = reinterpret_cast<ScriptObject*>(self);
  if (s->weakrefs) PyObject_ClearWeakRefs(self);
  s->object = nullptr;
  Py_CLEAR(s->ref);
  type->tp_free(self);
  Py_DECREF(type);
}

PyGetSetDef kScriptGetSet[] = {
    {"_ref", scriptRef, nullptr, "The capsule that holds the native object.", nullptr},
    {nullptr, nullptr, nullptr, nullptr, nullptr},
};

PyMemberDef kScriptMembers[] = {
    {"__weaklistoffset__", T_PYSSIZET, offsetof(ScriptObject, weakrefs), READONLY, nullptr},
    {nullptr, 0, 0, 0, nullptr},
};

PyType_Slot kScriptSlots[] = {
    {Py_tp_getattro, reinterpret_cast<void*>(scriptGetAttr)},
    {Py_tp_setattro, reinterpret_cast<void*>(scriptSetAttr)},
    {Py_tp_dealloc, reinterpret_cast<void*>(scriptDealloc)},
    {Py_tp_getset, kScriptGetSet},
    {Py_tp_members, kScriptMembers},
    {Py_tp_new, reinterpret_cast<void*>(PyType_GenericNew)},
    {Py_tp_doc, const_cast<char*>("The native part of qorapi.DataObject: attribute access to the "
                                  "property map.")},
    {0, nullptr},
};

PyType_Spec kScriptSpec = {"qorapi._qorapi.DataObjectBase", sizeof(ScriptObject), 0,
                           Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE, kScriptSlots};

/* ---- subscriptions ---- */

/* Holds the GIL for a scope, from any thread. */
struct GilGuard {
  PyGILState_STATE state = PyGILState_Ensure();
  GilGuard() = default;
  GilGuard(const GilGuard&) = delete;
  GilGuard& operator=(const GilGuard&) = delete;
  ~GilGuard() { PyGILState_Release(state); }
};

/* Whether the units of `a` (terminated) are those of `b`. */
bool sameUnits(const char16_t* a, const std::u16string& b) {
  size_t i = 0;
  for (; i < b.size(); ++i)
    if (a[i] != b[i]) return false;
  return a[i] == 0;
}

/* A text of a firing's arguments as a str. The texts seen first (the argument keys, the
   names of the properties that change) are kept, so that each firing reuses their str;
   others are made each time. */
PyObject* argumentText(const QorString& text) {
  struct Known {
    std::u16string units;
    PyObject* str;
  };
  static auto* known = new std::vector<Known>();  // lives to process end
  // The texts of a firing come in the order of the last one: the one after the text met
  // last is tried first.
  static size_t next = 0;
  const char16_t* units = text.text();
  const size_t n = known->size();
  if (next < n && sameUnits(units, (*known)[next].units)) return Py_NewRef((*known)[next++].str);
  for (size_t i = 0; i < n; ++i)
    if (sameUnits(units, (*known)[i].units)) {
      next = i + 1;
      return Py_NewRef((*known)[i].str);
    }
  PyObject* str = qor::qorStringToPy(text);
  if (str && known->size() < 64) {
    PyUnicode_InternInPlace(&str);
    known->push_back({std::u16string(units), Py_NewRef(str)});
  }
  return str;
}

/* One entry of a firing's arguments into `dict`. */
bool addArgument(PyObject* dict, const QorString& key, IQorProperty* property) {
  PyRef pyKey(argumentText(key));
  if (!pyKey) return false;
  PyRef value;
  const ClassKind& k = kindOf(property);
  if (k.kind == Kind::kString) {
    QorString text;
    typed<IQorStringProperty>(property, k)->getValue(text);
    value.p = argumentText(text);
  } else {
    value.p = propertyToPy(property, k, "");
  }
  if (!value) {
    // A value scripts cannot read stands as its printed form.
    PyErr_Clear();
    QorString printed;
    property->printValue(key, printed);
    value.p = qor::qorStringToPy(printed);
  }
  return value && PyDict_SetItem(dict, pyKey.p, value.p) == 0;
}

/* The arguments of a firing as a dict, name to value. */
PyObject* argsToPy(IQorDataEventArgs* args) {
  PyRef dict(PyDict_New());
  if (!dict || !args) return dict.release();
  PropertyMap* own = qor::EventArgs::heldOwn(args);
  if (!own) own = qorQuery<PropertyMap>(args, "PropertyMap");
  if (auto* map = own) {
    if (map->storage())
      for (const auto& [key, property] : *map->storage())
        if (property && !addArgument(dict.p, key, property.get())) return nullptr;
    return dict.release();
  }
  auto* map = qorQuery<IQorPropertyMap>(args, "IQorPropertyMap");
  if (!map) return dict.release();
  IQorPropertyMapIter* it = map->newIterator();
  bool ok = true;
  for (; ok && !it->isDone(); it->next())
    ok = addArgument(dict.p, it->currentName(), it->currentProperty());
  delete it;
  return ok ? dict.release() : nullptr;
}

/* A subscription: calls a Python callable for each firing. An exception the callable
   raises, or a failure of the system while its arguments are read, is reported through
   sys.unraisablehook and goes no further, so the delivery goes on to the next subscriber.

   It stays subscribed until it is unsubscribed or the object dies, whether or not the
   script keeps its handle. It is owned through its count: the handle holds one reference
   and the subscription, while it lasts, another. It holds its object raw and hears its
   death as a lifetime listener, so a subscription never keeps its object alive. */
class PySubscriber : public IQorEventSubscriber, public IQorLifetimeListener {
 public:
  PySubscriber(DataObject* target, const QorCString& event, PyObject* callback)
      : target_(target), event_(event), callback_(Py_NewRef(callback)) {
    eventStr_ = PyUnicode_InternFromString(event.c_str());
  }

  void queryInterface(const char* name, void** out, uintptr_t) override {
    if (!out || !name) return;
    *out = nullptr;
    if (qorNameIs(name, "IQorEventSubscriber"))
      *out = static_cast<IQorEventSubscriber*>(this);
    else if (qorNameIs(name, "IQorLifetimeListener"))
      *out = static_cast<IQorLifetimeListener*>(this);
    else if (qorNameIs(name, "IQorUnknown"))
      *out = static_cast<IQorUnknown*>(static_cast<IQorEventSubscriber*>(this));
  }
  const char* className() override { return "PySubscriber"; }

  bool handleEvent(IQorDataEventSource*, const QorCString& eventName,
                   IQorDataEventArgs* args) override {
    if (!active_) return false;
    GilGuard gil;
    // The callback may end this subscription: nothing of it is touched after the call.
    PyRef callback(Py_NewRef(callback_));
    PyRef event(eventStr_ && eventName == event_ ? Py_NewRef(eventStr_)
                                                 : PyUnicode_FromString(eventName.c_str()));
    PyRef dict;
    try {
      if (event) dict.p = argsToPy(args);
    } catch (PlatformException* e) {
      raisePlatform(e);
    } catch (std::exception& e) {
      PyErr_Format(PyExc_RuntimeError, "internal error in a delivery of %s: %s", eventName.c_str(),
                   e.what());
    } catch (...) {
      PyErr_Format(PyExc_RuntimeError, "internal error in a delivery of %s", eventName.c_str());
    }
    PyObject* argv[] = {event.p, dict.p};
    PyRef result(dict ? PyObject_Vectorcall(callback.p, argv, 2, nullptr) : nullptr);
    if (!result) PyErr_WriteUnraisable(callback.p);
    return false;
  }

  /* The object dies: its events are gone already. */
  void subjectDeleted(IQorLifetimeSubject*) override {
    if (!active_) return;
    active_ = false;
    target_ = nullptr;
    release();
  }

  /* Subscribes in priority position; false when the object has no such event. */
  bool start(int32_t priority) {
    if (!target_->subscribeWithPriority(event_, this, priority)) return false;
    target_->addListener(this);
    active_ = true;
    addRef();  // the subscription's
    return true;
  }
  /* Unsubscribes; false when it was not subscribed any more. */
  bool cancel() {
    if (!active_) return false;
    active_ = false;
    target_->unsubscribe(event_, this);
    target_->removeListener(this);
    target_ = nullptr;
    release();
    return true;
  }
  bool active() const { return active_; }

 private:
  ~PySubscriber() override {
    GilGuard gil;
    Py_XDECREF(callback_);
    Py_XDECREF(eventStr_);
  }

  DataObject* target_;
  QorCString event_;
  PyObject* callback_;
  PyObject* eventStr_ = nullptr;
  bool active_ = false;
};

void dropSubscription(PyObject* capsule) {
  auto* s = static_cast<PySubscriber*>(PyCapsule_GetPointer(capsule, kSubscription));
  if (s) s->release();  // the handle's
}

}  // namespace

PyObject* mapGet(PropertyMap* map, const char* name) {
  return valueToPy(map, name);
}

bool mapSet(PropertyMap* map, const char* name, PyObject* value) {
  return setFromPy(map, name, value);
}

PyObject* set_value_types(PyObject* dict) {
  if (!PyDict_Check(dict)) {
    PyErr_SetString(PyExc_TypeError, "set_value_types takes a dict");
    return nullptr;
  }
  PyObject *key, *value;
  Py_ssize_t pos = 0;
  while (PyDict_Next(dict, &pos, &key, &value)) {
    const char* k = PyUnicode_AsUTF8(key);
    if (!k) return nullptr;
    Py_INCREF(value);
    PyObject*& slot = types()[k];
    Py_XDECREF(slot);
    slot = value;
  }
  Py_RETURN_NONE;
}

PyObject* data_object_type() {
  if (!gObjectType) {
    gObjectType = reinterpret_cast<PyTypeObject*>(PyType_FromSpec(&kScriptSpec));
    if (!gObjectType) return nullptr;
  }
  return Py_NewRef(reinterpret_cast<PyObject*>(gObjectType));
}

PyObject* bind_object(PyObject* wrapper, PyObject* ref) {
  if (!isScriptObject(wrapper)) {
    PyErr_Format(PyExc_TypeError, "bind_object takes a DataObject, not %s",
                 Py_TYPE(wrapper)->tp_name);
    return nullptr;
  }
  DataObject* o = objectOf(ref);
  if (!o) return nullptr;
  auto* s = reinterpret_cast<ScriptObject*>(wrapper);
  if (s->ref) {
    PyErr_SetString(PyExc_RuntimeError, "this DataObject holds a data object already");
    return nullptr;
  }
  s->ref = Py_NewRef(ref);
  s->object = o;
  Py_RETURN_NONE;
}

PyObject* scriptObjectOf(DataObject* object) {
  if (!object) Py_RETURN_NONE;
  IQorDataObject* view = object;
  return wrap(view, false);
}

DataObject* dataObjectOf(PyObject* value) {
  PyRef cap(wrappedCapsule(value));
  if (!cap) {
    PyErr_Format(PyExc_TypeError, "expected a DataObject, not %s", Py_TYPE(value)->tp_name);
    return nullptr;
  }
  return objectOf(cap.p);
}

/* The interface view of a data object, or null. Through a reference: the conversion to a
   virtual base needs no null test (which g++ at -O0 with sanitizers takes for an
   uninitialised read). */
IQorDataObject* interfaceOf(DataObject* object) {
  if (!object) return nullptr;
  IQorDataObject& view = *object;
  return &view;
}

PyObject* objectRef(DataObject* object) {
  return capsuleFor(interfaceOf(object), false);
}

bool matrixOf(PyObject* matrix, QorMatrix& out) {
  PyObject* seq = PySequence_Fast(matrix, "transform takes a Transform3D or 16 numbers");
  if (!seq) return false;
  double m[16];
  const bool sized = PySequence_Fast_GET_SIZE(seq) == 16;
  for (int i = 0; sized && i < 16; ++i) m[i] = PyFloat_AsDouble(PySequence_Fast_GET_ITEM(seq, i));
  Py_DECREF(seq);
  if (!sized || PyErr_Occurred()) {
    PyErr_Clear();
    PyErr_Format(PyExc_TypeError, "transform takes a Transform3D or 16 numbers, not %R", matrix);
    return false;
  }
  out = QorMatrix(m);
  return true;
}

PyObject* new_data_object() {
  return capsuleFor(interfaceOf(new DataObject()), false);
}

PyObject* object_get(PyObject* ref, PyObject* name) {
  DataObject* o = objectOf(ref);
  const char* n = o ? nameOf(name) : nullptr;
  if (!n) return nullptr;
  return valueToPy(o, n);
}

PyObject* object_set(PyObject* ref, PyObject* name, PyObject* value) {
  DataObject* o = objectOf(ref);
  const char* n = o ? nameOf(name) : nullptr;
  if (!n || !setFromPy(o, n, value)) return nullptr;
  Py_RETURN_NONE;
}

PyObject* object_has(PyObject* ref, PyObject* name) {
  DataObject* o = objectOf(ref);
  const char* n = o ? nameOf(name) : nullptr;
  if (!n) return nullptr;
  return PyBool_FromLong(o->hasProperty(n));
}

PyObject* object_remove(PyObject* ref, PyObject* name) {
  DataObject* o = objectOf(ref);
  const char* n = o ? nameOf(name) : nullptr;
  if (!n) return nullptr;
  return removeProperty(o, n);
}

PyObject* object_names(PyObject* ref) {
  DataObject* o = objectOf(ref);
  if (!o) return nullptr;
  PyRef list(PyList_New(0));
  if (!list) return nullptr;
  if (o->storage())
    for (const auto& [key, property] : *o->storage()) {
      if (!property) continue;
      PyRef k(qor::qorStringToPy(key));
      if (!k || PyList_Append(list.p, k.p) < 0) return nullptr;
    }
  return list.release();
}

PyObject* object_info(PyObject* ref) {
  DataObject* o = objectOf(ref);
  if (!o) return nullptr;
  return Py_BuildValue("(Kss)", static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(o)),
                       o->className(), o->typeString());
}

PyObject* object_property_type(PyObject* ref, PyObject* name) {
  DataObject* o = objectOf(ref);
  const char* n = o ? nameOf(name) : nullptr;
  if (!n) return nullptr;
  IQorProperty* p = o->getProperty(n);
  if (!p) {
    PyErr_Format(PyExc_AttributeError, "Property '%s' does not exist.", n);
    return nullptr;
  }
  return PyUnicode_FromString(p->typeName());
}

PyObject* object_documentation(PyObject* ref) {
  DataObject* o = objectOf(ref);
  if (!o) return nullptr;
  return qor::qorStringToPy(o->documentation());
}

PyObject* object_subscribe(PyObject* ref, PyObject* event, PyObject* callback, int priority) {
  DataObject* o = objectOf(ref);
  const char* e = o ? nameOf(event) : nullptr;
  if (!e) return nullptr;
  if (!PyCallable_Check(callback)) {
    PyErr_Format(PyExc_TypeError, "the callback must be callable, not %s",
                 Py_TYPE(callback)->tp_name);
    return nullptr;
  }
  IPtr<PySubscriber> s(new PySubscriber(o, QorCString(e), callback));
  if (!s->start(priority)) {
    PyErr_Format(PyExc_ValueError, "the object has no event '%s'; its events are: %s", e,
                 o->eventNames());
    return nullptr;
  }
  PyObject* cap = PyCapsule_New(s.get(), kSubscription, dropSubscription);
  if (!cap) {
    s->cancel();
    return nullptr;
  }
  s->addRef();  // the handle's
  return cap;
}

PyObject* unsubscribe(PyObject* handle) {
  auto* s = static_cast<PySubscriber*>(PyCapsule_GetPointer(handle, kSubscription));
  if (!s) return nullptr;
  return PyBool_FromLong(s->cancel());
}

PyObject* subscription_active(PyObject* handle) {
  auto* s = static_cast<PySubscriber*>(PyCapsule_GetPointer(handle, kSubscription));
  if (!s) return nullptr;
  return PyBool_FromLong(s->active());
}

PyObject* ref_address(PyObject* ref) {
  auto* r = static_cast<Ref*>(PyCapsule_GetPointer(ref, kCapsule));
  if (!r) return nullptr;
  return PyLong_FromUnsignedLongLong(reinterpret_cast<uintptr_t>(r->object.get()));
}

PyObject* new_array() {
  return capsuleFor(static_cast<IQorDataObjectArray*>(new DataObjectArray()), true);
}

PyObject* array_len(PyObject* ref) {
  DataObjectArray* a = arrayOf(ref);
  return a ? PyLong_FromLong(a->size()) : nullptr;
}

PyObject* array_get(PyObject* ref, int index) {
  DataObjectArray* a = arrayOf(ref);
  return a ? wrap(a->at(index), false) : nullptr;
}

PyObject* array_set(PyObject* ref, int index, PyObject* value) {
  DataObjectArray* a = arrayOf(ref);
  DataObject* o = nullptr;
  if (!a || !objectFromPy(value, &o)) return nullptr;
  a->set(index, o);
  Py_RETURN_NONE;
}

PyObject* array_append(PyObject* ref, PyObject* value) {
  DataObjectArray* a = arrayOf(ref);
  DataObject* o = nullptr;
  if (!a || !objectFromPy(value, &o)) return nullptr;
  a->append(o);
  Py_RETURN_NONE;
}

PyObject* array_insert(PyObject* ref, int index, PyObject* value) {
  DataObjectArray* a = arrayOf(ref);
  DataObject* o = nullptr;
  if (!a || !objectFromPy(value, &o)) return nullptr;
  a->insertAt(index, o);
  Py_RETURN_NONE;
}

PyObject* array_pop(PyObject* ref) {
  DataObjectArray* a = arrayOf(ref);
  return a ? wrap(a->pop(), false) : nullptr;
}

PyObject* array_remove_at(PyObject* ref, int index) {
  DataObjectArray* a = arrayOf(ref);
  if (!a) return nullptr;
  a->removeAt(index);
  Py_RETURN_NONE;
}

PyObject* array_index(PyObject* ref, PyObject* value) {
  DataObjectArray* a = arrayOf(ref);
  DataObject* o = nullptr;
  if (!a || !objectFromPy(value, &o)) return nullptr;
  return PyLong_FromLong(a->indexOf(o));
}

PyObject* array_clear(PyObject* ref) {
  DataObjectArray* a = arrayOf(ref);
  if (!a) return nullptr;
  a->clear();
  Py_RETURN_NONE;
}

namespace {

/* A file path as the system's text; str or os.PathLike. */
bool pathOf(PyObject* path, QorString* out, std::string* utf8) {
  PyRef fs(PyOS_FSPath(path));
  if (!fs) return false;
  if (!PyUnicode_Check(fs.p)) {
    PyErr_SetString(PyExc_TypeError, "the path must be text");
    return false;
  }
  const char* s = PyUnicode_AsUTF8(fs.p);
  if (!s) return false;
  *utf8 = s;
  *out = QorString::fromUtf8(s);
  return true;
}

/* The numbering of one file, cleared before and after. */
struct FileNumbering {
  FileNumbering() { clear(); }
  ~FileNumbering() { clear(); }
  static void clear() {
    if (IQorPersistentRefMap* m = qor::persistentRefMap()) m->clear();
  }
};

/* A file reader that notes where it stood when it first failed: the start of the operation
   that found the file short or out of shape. */
class NotingRead : public QorFileRead {
  int64_t stopped_ = -1;

  // Runs one operation of the reader; the first that leaves it failed gives its start.
  template <class F>
  decltype(auto) note(F&& operation) {
    int64_t at = stopped_ < 0 && stream() ? stream()->tell() : -1;
    decltype(auto) result = operation();
    if (stopped_ < 0 && !good()) stopped_ = at;
    return result;
  }

 public:
  using QorFileRead::read;
  /* The byte where reading stopped, or -1 while every operation succeeded. */
  int64_t stoppedAt() const { return stopped_; }

  bool read(IQorBinaryIO* o) override {
    return note([&] { return QorFileRead::read(o); });
  }
  bool read(IQorPersistable* o) override {
    return note([&] { return QorFileRead::read(o); });
  }
  bool read(QorID& v) override {
    return note([&] { return QorFileRead::read(v); });
  }
  bool read(Vector2F& v) override {
    return note([&] { return QorFileRead::read(v); });
  }
  bool read(Vector2D& v) override {
    return note([&] { return QorFileRead::read(v); });
  }
  bool read(Transform3D& v) override {
    return note([&] { return QorFileRead::read(v); });
  }
  bool read(QorVector& v) override {
    return note([&] { return QorFileRead::read(v); });
  }
  bool read(QorString& v) override {
    return note([&] { return QorFileRead::read(v); });
  }
  bool read(QorCString& v) override {
    return note([&] { return QorFileRead::read(v); });
  }
  bool read(double& v) override {
    return note([&] { return QorFileRead::read(v); });
  }
  bool read(float& v) override {
    return note([&] { return QorFileRead::read(v); });
  }
  bool read(uint32_t& v) override {
    return note([&] { return QorFileRead::read(v); });
  }
  bool read(int32_t& v) override {
    return note([&] { return QorFileRead::read(v); });
  }
  bool read(int8_t& v) override {
    return note([&] { return QorFileRead::read(v); });
  }
  bool read(uint8_t& v) override {
    return note([&] { return QorFileRead::read(v); });
  }
  const QorID& peekObjectId() override {
    return note([&]() -> const QorID& { return QorFileRead::peekObjectId(); });
  }
  bool beginObject(IQorWriteable* o, int32_t* version) override {
    return note([&] { return QorFileRead::beginObject(o, version); });
  }
  bool endObject() override {
    return note([&] { return QorFileRead::endObject(); });
  }
  bool readObjectName(const QorString& name, QorID* id) override {
    return note([&] { return QorFileRead::readObjectName(name, id); });
  }
  bool endObjectName(const QorString& name) override {
    return note([&] { return QorFileRead::endObjectName(name); });
  }
  bool beginChunk() override {
    return note([&] { return QorFileRead::beginChunk(); });
  }
  bool endChunk() override {
    return note([&] { return QorFileRead::endChunk(); });
  }
};

}  // namespace

PyObject* save_document(PyObject* path, PyObject* ref) {
  DataObject* o = objectOf(ref);
  QorString p;
  std::string u;
  if (!o || !pathOf(path, &p, &u)) return nullptr;
  FileNumbering numbering;
  QorFileWrite w;
  if (!w.open(p)) {
    PyErr_Format(PyExc_OSError, "cannot write the data-model file '%s'", u.c_str());
    return nullptr;
  }
  o->writeDocument(&w);
  bool good = w.good();
  if (!w.close() || !good) {
    PyErr_Format(PyExc_OSError, "writing the data-model file '%s' failed", u.c_str());
    return nullptr;
  }
  Py_RETURN_NONE;
}

PyObject* load_document(PyObject* path) {
  QorString p;
  std::string u;
  if (!pathOf(path, &p, &u)) return nullptr;
  std::error_code ec;
  if (!std::filesystem::is_regular_file(u, ec)) {
    PyErr_Format(PyExc_FileNotFoundError, "no data-model file at '%s'", u.c_str());
    return nullptr;
  }
  FileNumbering numbering;
  NotingRead r;
  if (!r.open(p) || !r.good()) {
    PyErr_Format(PyExc_ValueError, "'%s' is not a data-model file", u.c_str());
    return nullptr;
  }
  if (r.peekTag() != qor::tag::kObject) {
    PyErr_Format(PyExc_ValueError, "'%s' holds no document: its first chunk is no object",
                 u.c_str());
    return nullptr;
  }
  QorID id = r.peekObjectId();
  void* out = nullptr;
  if (!r.good() || createInstance(&id, QorCString(kBorrow, "DataObject"), &out) != 1) {
    PyErr_Format(PyExc_ValueError, "'%s' holds no document this host can read (class %s)",
                 u.c_str(), id.toString().c_str());
    return nullptr;
  }
  IPtr<DataObject> root(static_cast<DataObject*>(out));
  // A reader that fails reads nothing more: the graph would hold only what came before.
  bool whole = root->readDocument(&r) && r.good();
  r.close();
  if (!whole) {
    PyErr_Format(PyExc_ValueError, "'%s' is damaged: reading stopped at byte %lld", u.c_str(),
                 static_cast<long long>(r.stoppedAt()));
    return nullptr;
  }
  return wrap(static_cast<IQorDataObject*>(root.get()), false);
}
