#include "python/qorapi/scriptvalues.h"

#include <cmath>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "core/iptr.h"
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
#include "refhost/persistence.h"

namespace {

const char* const kCapsule = "qorapi.ref";
const char* const kSubscription = "qorapi.subscription";

/* What a capsule holds: one counted reference and the kind of object. */
struct Ref {
  IPtr<IQorUnknown> object;
  bool isArray = false;
};

/* A borrowed owning reference to a Python object, released at scope end. */
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

/* The Python side, registered by set_value_types. */
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
  return PyObject_CallFunction(fn, "Os", cap.p, isArray ? "array" : "object");
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

/* The capsule inside a script wrapper (its _ref), or null without an error. */
PyObject* wrappedCapsule(PyObject* value) {
  if (PyCapsule_CheckExact(value)) return value;
  PyObject* ref = PyObject_GetAttrString(value, "_ref");
  if (!ref) {
    PyErr_Clear();
    return nullptr;
  }
  Py_DECREF(ref);  // the wrapper keeps it alive
  return PyCapsule_CheckExact(ref) ? ref : nullptr;
}

/* A property name as the map's narrow name. Names are ASCII: the map's narrow keys widen
   each byte on its own, so other text could never find its property. */
bool nameOf(PyObject* name, std::string* out) {
  if (!PyUnicode_Check(name)) {
    PyErr_Format(PyExc_TypeError, "a property name must be str, not %s", Py_TYPE(name)->tp_name);
    return false;
  }
  Py_ssize_t n = 0;
  const char* utf8 = PyUnicode_AsUTF8AndSize(name, &n);
  if (!utf8) return false;
  for (Py_ssize_t i = 0; i < n; ++i)
    if (static_cast<unsigned char>(utf8[i]) >= 0x80 || utf8[i] == 0) {
      PyErr_Format(PyExc_AttributeError, "property names are plain ASCII: %R", name);
      return false;
    }
  out->assign(utf8, static_cast<size_t>(n));
  return true;
}

/* ---- values: C++ to Python ---- */

PyObject* make(const char* cls, std::initializer_list<double> values) {
  PyObject* t = type(cls);
  if (!t) return nullptr;
  PyRef tuple(PyTuple_New(static_cast<Py_ssize_t>(values.size())));
  if (!tuple) return nullptr;
  Py_ssize_t i = 0;
  for (double v : values) PyTuple_SET_ITEM(tuple.p, i++, PyFloat_FromDouble(v));
  return PyObject_CallMethod(t, "_make", "(O)", tuple.p);
}

PyObject* colorValues(const QorColor& c, PyObject* tuple, Py_ssize_t at) {
  for (float f : {c.red, c.green, c.blue, c.alpha})
    PyTuple_SET_ITEM(tuple, at++, PyFloat_FromDouble(f));
  return tuple;
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

/* The value of property `name` of `map`, through the getter of the property's class. */
PyObject* valueToPy(IQorPropertyMap* map, const char* name) {
  IQorProperty* p = map->getProperty(name);
  if (!p) {
    QorString message;
    tr(message, "Property '%1' does not exist.", QorString(name));
    PyRef text(qor::qorStringToPy(message));
    PyErr_SetObject(PyExc_AttributeError, text.p);
    return nullptr;
  }
  auto is = [p](const char* cls) { return qorQuery<IQorUnknown>(p, cls) != nullptr; };
  if (is("BoolProperty")) return PyBool_FromLong(map->getBool(name));
  if (is("IntProperty")) return PyLong_FromLong(map->getInt(name));
  if (is("DoubleProperty")) return PyFloat_FromDouble(map->getDouble(name));
  if (is("StringProperty")) return qor::qorStringToPy(map->getString(name));
  if (is("Vector3DProperty")) {
    QorVector v = map->getVector(name);
    return make("Vector3D", {v.x, v.y, v.z});
  }
  if (is("Vector2DProperty")) {
    Vector2D v = map->getVector2D(name);
    return make("Vector2D", {v.x, v.y});
  }
  if (is("Vector2FProperty")) {
    Vector2F v = map->getVector2F(name);
    return make("Vector2F", {v.x, v.y});
  }
  if (is("Transform3DProperty")) return matrixToPy(map->getTransform3D(name));
  if (is("QorBoundsProperty")) {
    QorBounds b = map->getBounds(name);
    return make("QorBounds", {b.minX, b.minY, b.minZ, b.maxX, b.maxY, b.maxZ});
  }
  if (is("QorColorProperty")) {
    QorColor c = map->getColor(name);
    return make("QorColor", {c.red, c.green, c.blue, c.alpha});
  }
  if (is("QorMaterialProperty")) return materialToPy(map->getMaterial(name));
  if (is("QorQuaternionProperty")) {
    QorQuaternion q = map->getQuaternion(name);
    return make("QorQuaternion", {q.w, q.x, q.y, q.z});
  }
  if (is("QorRectProperty")) {
    QorRect r = map->getRect(name);
    return make("QorRect", {r.xMin, r.yMin, r.xMax, r.yMax});
  }
  if (is("ObjectProperty")) return wrap(map->getObject(name), false);
  if (is("DataObjectArrayProperty")) return wrap(map->getDataObjectArray(name), true);
  PyErr_Format(PyExc_TypeError, "property '%s' is a %s, which scripts cannot read yet", name,
               p->className());
  return nullptr;
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

/* Sets `name` on `map` by the Python type of `value`: bool before int; an int on an existing
   double property goes through the double setter. Returns false with a Python error set. */
bool setFromPy(PropertyMap* map, const char* name, PyObject* value) {
  if (PyBool_Check(value)) {
    map->set(name, value == Py_True);
    return true;
  }
  if (PyLong_Check(value)) {
    IQorProperty* p = map->getProperty(name);
    if (p && qorQuery<IQorUnknown>(p, "DoubleProperty")) {
      double d = PyLong_AsDouble(value);
      if (d == -1.0 && PyErr_Occurred()) return false;
      map->set(name, d);
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
    map->set(name, static_cast<int32_t>(v));
    return true;
  }
  if (PyFloat_Check(value)) {
    map->set(name, PyFloat_AS_DOUBLE(value));
    return true;
  }
  if (PyUnicode_Check(value)) {
    QorString text;
    if (!qor::pyStrToQorString(value, &text)) return false;
    map->set(name, text);
    return true;
  }
  if (value == Py_None) {
    IQorProperty* p = map->getProperty(name);
    if (p && qorQuery<IQorUnknown>(p, "DataObjectArrayProperty")) {
      map->set(name, static_cast<DataObjectArray*>(nullptr));
      return true;
    }
    if (p && qorQuery<IQorUnknown>(p, "ObjectProperty")) {
      map->set(name, static_cast<DataObject*>(nullptr));
      return true;
    }
    PyErr_Format(PyExc_TypeError,
                 "cannot set property '%s' to None: only object and array properties can be empty",
                 name);
    return false;
  }
  double d[19];
  if (isValue(value, "Vector3D")) {
    if (!numbersOf(value, d, 3)) return false;
    map->set(name, QorVector(d[0], d[1], d[2]));
    return true;
  }
  if (isValue(value, "Vector2D")) {
    if (!numbersOf(value, d, 2)) return false;
    map->set(name, Vector2D(d[0], d[1]));
    return true;
  }
  if (isValue(value, "Vector2F")) {
    if (!numbersOf(value, d, 2)) return false;
    map->set(name, Vector2F(static_cast<float>(d[0]), static_cast<float>(d[1])));
    return true;
  }
  if (isValue(value, "Transform3D")) {
    if (!numbersOf(value, d, 16)) return false;
    QorMatrix m;
    for (int i = 0; i < 16; ++i) m[i] = d[i];
    map->set(name, m);
    return true;
  }
  if (isValue(value, "QorBounds")) {
    if (!numbersOf(value, d, 6)) return false;
    QorBounds b;
    b.minX = d[0], b.minY = d[1], b.minZ = d[2], b.maxX = d[3], b.maxY = d[4], b.maxZ = d[5];
    map->set(name, b);
    return true;
  }
  if (isValue(value, "QorColor")) {
    if (!numbersOf(value, d, 4)) return false;
    map->set(name, colorAt(d));
    return true;
  }
  if (isValue(value, "QorMaterial")) {
    if (!numbersOf(value, d, 19)) return false;
    map->set(name, QorMaterial(colorAt(d), colorAt(d + 4), colorAt(d + 8), colorAt(d + 12),
                               static_cast<float>(d[16]), static_cast<float>(d[17]),
                               static_cast<int32_t>(d[18])));
    return true;
  }
  if (isValue(value, "QorQuaternion")) {
    if (!numbersOf(value, d, 4)) return false;
    QorQuaternion q;
    q.w = d[0], q.x = d[1], q.y = d[2], q.z = d[3];
    map->set(name, q);
    return true;
  }
  if (isValue(value, "QorRect")) {
    if (!numbersOf(value, d, 4)) return false;
    QorRect r;
    r.xMin = d[0], r.yMin = d[1], r.xMax = d[2], r.yMax = d[3];
    map->set(name, r);
    return true;
  }
  if (PyObject* cap = wrappedCapsule(value)) {
    auto* r = static_cast<Ref*>(PyCapsule_GetPointer(cap, kCapsule));
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
  PyObject* cap = wrappedCapsule(value);
  DataObject* o = cap ? objectOf(cap) : nullptr;
  if (!o) {
    if (!PyErr_Occurred())
      PyErr_Format(PyExc_TypeError, "expected a DataObject or None, not %s",
                   Py_TYPE(value)->tp_name);
    return false;
  }
  *out = o;
  return true;
}

/* The arguments of a firing as a dict, name to value. */
PyObject* argsToPy(IQorDataEventArgs* args) {
  PyRef dict(PyDict_New());
  if (!dict) return nullptr;
  auto* map = qorQuery<IQorPropertyMap>(args, "IQorPropertyMap");
  if (!map) return dict.release();
  IQorPropertyMapIter* it = map->newIterator();
  for (; !it->isDone(); it->next()) {
    QorString key = it->currentName();
    PyRef pyKey(qor::qorStringToPy(key));
    PyRef value(valueToPy(map, key.narrow()));
    if (!value) {
      // A value scripts cannot read stands as its printed form.
      PyErr_Clear();
      QorString printed;
      it->currentProperty()->printValue(key, printed);
      value.p = qor::qorStringToPy(printed);
    }
    if (!pyKey || !value || PyDict_SetItem(dict.p, pyKey.p, value.p) < 0) {
      delete it;
      return nullptr;
    }
  }
  delete it;
  return dict.release();
}

/* A subscription: calls a Python callable for each firing. An exception the callable
   raises is reported through sys.unraisablehook and goes no further, so the delivery goes
   on to the next subscriber.

   It stays subscribed until it is unsubscribed or the object dies, whether or not the
   script keeps its handle: it lives while it is subscribed or a handle points at it. It
   holds its object raw and hears its death as a lifetime listener, so a subscription never
   keeps its object alive. */
class PySubscriber : public IQorEventSubscriber, public IQorLifetimeListener {
 public:
  PySubscriber(DataObject* target, const QorCString& event, PyObject* callback)
      : target_(target), event_(event), callback_(callback) {
    Py_INCREF(callback_);
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
    PyGILState_STATE st = PyGILState_Ensure();
    PyObject* dict = argsToPy(args);
    PyObject* result =
        dict ? PyObject_CallFunction(callback_, "sO", eventName.c_str(), dict) : nullptr;
    if (!result) PyErr_WriteUnraisable(callback_);
    Py_XDECREF(result);
    Py_XDECREF(dict);
    PyGILState_Release(st);
    return false;
  }

  /* The object dies: its events are gone already. */
  void subjectDeleted(IQorLifetimeSubject*) override {
    if (!active_) return;
    active_ = false;
    target_ = nullptr;
    drop();
  }

  /* Subscribes in priority position; false when the object has no such event. */
  bool start(int32_t priority) {
    if (!target_->subscribeWithPriority(event_, this, priority)) return false;
    target_->addListener(this);
    active_ = true;
    ++holders_;
    return true;
  }
  /* Unsubscribes; false when it was not subscribed any more. */
  bool cancel() {
    if (!active_) return false;
    active_ = false;
    target_->unsubscribe(event_, this);
    target_->removeListener(this);
    target_ = nullptr;
    drop();
    return true;
  }
  void hold() { ++holders_; }
  /* Unsubscribes and deletes at once, whoever holds it: for a handle that could not be
     made. */
  void abandon() {
    if (active_) {
      target_->unsubscribe(event_, this);
      target_->removeListener(this);
    }
    delete this;
  }
  /* One holder fewer; the last one deletes. */
  void drop() {
    if (--holders_ == 0) delete this;
  }
  bool active() const { return active_; }

 private:
  ~PySubscriber() override {
    PyGILState_STATE st = PyGILState_Ensure();
    Py_XDECREF(callback_);
    PyGILState_Release(st);
  }

  DataObject* target_;
  QorCString event_;
  PyObject* callback_;
  bool active_ = false;
  int holders_ = 0;
};

void dropSubscription(PyObject* capsule) {
  auto* s = static_cast<PySubscriber*>(PyCapsule_GetPointer(capsule, kSubscription));
  if (s) s->drop();
}

}  // namespace

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

PyObject* new_data_object() {
  return capsuleFor(static_cast<IQorDataObject*>(new DataObject()), false);
}

PyObject* object_get(PyObject* ref, PyObject* name) {
  DataObject* o = objectOf(ref);
  std::string n;
  if (!o || !nameOf(name, &n)) return nullptr;
  return valueToPy(o, n.c_str());
}

PyObject* object_set(PyObject* ref, PyObject* name, PyObject* value) {
  DataObject* o = objectOf(ref);
  std::string n;
  if (!o || !nameOf(name, &n)) return nullptr;
  if (!setFromPy(o, n.c_str(), value)) return nullptr;
  Py_RETURN_NONE;
}

PyObject* object_has(PyObject* ref, PyObject* name) {
  DataObject* o = objectOf(ref);
  std::string n;
  if (!o || !nameOf(name, &n)) return nullptr;
  return PyBool_FromLong(o->hasProperty(n.c_str()));
}

PyObject* object_remove(PyObject* ref, PyObject* name) {
  DataObject* o = objectOf(ref);
  std::string n;
  if (!o || !nameOf(name, &n)) return nullptr;
  if (n == "name") {
    PyErr_SetString(PyExc_AttributeError, "the property 'name' of a data object cannot be removed");
    return nullptr;
  }
  QorString key(n.c_str());
  if (o->hasProperty(key)) o->detachProperty(n.c_str());
  return PyBool_FromLong(o->removeProperty(key));
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
  std::string n;
  if (!o || !nameOf(name, &n)) return nullptr;
  IQorProperty* p = o->getProperty(n.c_str());
  if (!p) {
    PyErr_Format(PyExc_AttributeError, "Property '%s' does not exist.", n.c_str());
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
  std::string e;
  if (!o || !nameOf(event, &e)) return nullptr;
  if (!PyCallable_Check(callback)) {
    PyErr_Format(PyExc_TypeError, "the callback must be callable, not %s",
                 Py_TYPE(callback)->tp_name);
    return nullptr;
  }
  QorCString name(e.c_str());
  auto* s = new PySubscriber(o, name, callback);
  s->hold();  // the handle's
  if (!s->start(priority)) {
    s->drop();
    PyErr_Format(PyExc_ValueError, "the object has no event '%s'; its events are: %s", e.c_str(),
                 o->eventNames());
    return nullptr;
  }
  PyObject* cap = PyCapsule_New(s, kSubscription, dropSubscription);
  if (!cap) s->abandon();
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
  QorFileRead r;
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
  root->readDocument(&r);
  r.close();
  return wrap(static_cast<IQorDataObject*>(root.get()), false);
}
