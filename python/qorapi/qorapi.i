/* _qorapi: the script layer's native part. It boots the reference host, implements the
   host's scripting services, and gives tests a window on what the host recorded. */
%module(package="qorapi") qorapi

%include "module/binding.swg"

%{
#include <string>
#include <tuple>
#include <vector>

#include "core/appstate.h"
#include "core/component.h"
#include "core/listing.h"
#include "core/iptr.h"
#include "hostapi/iqorpythontypeconversionservice.h"
#include "persistence/qorfile.h"
#include "refhost/host.h"
#include "refhost/persistence.h"
#include "core/translate.h"
#include "datamodel/dataobject.h"
#include "datamodel/iqordataobject.h"
#include "refhost/settingsfile.h"
#include "refhost/progress.h"
#include "datamodel/progress.h"

namespace {

/* The host's registry of converters, kept per (tag, type name), with the order in which
   they were registered. */
class ScriptConversionService : public IQorPythonTypeConversionService {
 public:
  struct Registration {
    std::string kind, tag, typeName;
    QorScriptConverter converter;
  };
  void queryInterface(const char *name, void **out, uintptr_t) override {
    if (!out || !name) return;
    *out = nullptr;
    if (qorNameIs(name, "ScriptConversionService")) *out = this;
    else if (qorNameIs(name, "IQorUnknown")) *out = static_cast<IQorUnknown *>(this);
    else if (qorNameIs(name, "IQorPythonTypeConversionService"))
      *out = static_cast<IQorPythonTypeConversionService *>(this);
  }
  const char *className() override { return "ScriptConversionService"; }
  void registerObjectConverter(const char *tag, const char *typeName,
                               QorScriptConverter converter) override {
    add("object", tag, typeName, converter);
  }
  void registerPropertyConverter(const char *tag, const char *typeName,
                                 QorScriptConverter converter) override {
    add("property", tag, typeName, converter);
  }
  /* Until data objects name their script type, a model goes through the model converter
     of the tag and anything else gives None. */
  PyObject *toScriptObject(const char *tag, IQorDataObject *object) override {
    if (object) {
      if (QorScriptConverter f = find("object", tag, "qorapp.brindle.Model"))
        return f(object);
    }
    Py_RETURN_NONE;
  }

  QorScriptConverter find(const std::string &kind, const std::string &tag,
                          const std::string &typeName) {
    QorScriptConverter found = nullptr;  /* a later registration replaces an earlier one */
    for (auto &r : registrations)
      if (r.kind == kind && r.tag == tag && r.typeName == typeName) found = r.converter;
    return found;
  }
  std::vector<Registration> registrations;

 private:
  void add(const char *kind, const char *tag, const char *typeName, QorScriptConverter f) {
    registrations.push_back({kind, tag ? tag : "", typeName ? typeName : "", f});
  }
};

ScriptConversionService &conversionService() {
  static auto *s = new ScriptConversionService();  /* lives to process end */
  return *s;
}

PyObject *gLogSink = nullptr;

void logSinkTrampoline(int level, const char *text) {
  if (!gLogSink || !Py_IsInitialized()) return;
  PyGILState_STATE st = PyGILState_Ensure();
  PyObject *r = PyObject_CallFunction(gLogSink, "is", level, text);
  if (r) Py_DECREF(r);
  else PyErr_WriteUnraisable(gLogSink);
  PyGILState_Release(st);
}

/* The script's progress callback: called with each fraction the display is told. Exactly
   False asks for a stop; an exception goes to sys.unraisablehook and asks for one too. */
PyObject *gProgressCallback = nullptr;

bool progressTrampoline(float fraction, void *) {
  if (!Py_IsInitialized()) return true;
  PyGILState_STATE st = PyGILState_Ensure();
  bool goOn = true;
  PyObject *fn = gProgressCallback;
  if (fn) {
    Py_INCREF(fn);
    PyObject *type, *value, *trace;
    PyErr_Fetch(&type, &value, &trace);  /* a caller's pending error stays its own */
    PyObject *r = PyObject_CallFunction(fn, "d", static_cast<double>(fraction));
    if (!r) {
      PyErr_WriteUnraisable(fn);
      goOn = false;
    } else {
      goOn = r != Py_False;
      Py_DECREF(r);
    }
    PyErr_Restore(type, value, trace);
    Py_DECREF(fn);
  }
  PyGILState_Release(st);
  return goOn;
}

PyObject *hostError(PyObject *type, const std::string &text) {
  PyErr_SetString(type, text.c_str());
  return NULL;
}

IQorCompInternal *componentInternal() {
  IQorComponent *c = refhost::component();
  return c ? qorQuery<IQorCompInternal>(c, "IQorCompInternal") : nullptr;
}

/* A data object that answers "Model" as a model does, for tests of the model converters. */
class ModelProbe : public DataObject {
 public:
  void queryInterface(const char *name, void **out, uintptr_t reserved) override {
    if (name && out && qorNameIs(name, "Model")) *out = static_cast<DataObject *>(this);
    else DataObject::queryInterface(name, out, reserved);
  }
  const char *className() override { return "ModelProbe"; }
};

}  // namespace
%}

/* ---- The attribute layer: data objects, arrays, subscriptions, documents ---- */
%{
#include "python/qorapi/scriptvalues.h"
%}
%include "python/qorapi/scriptvalues.h"
%{
#include "python/qorapi/selectionlevers.h"
%}
%include "python/qorapi/selectionlevers.h"
%{
#include "python/qorapi/featurelevers.h"
%}
%include "python/qorapi/featurelevers.h"
%{
#include "python/qorapi/surfacelevers.h"
%}
%include "python/qorapi/surfacelevers.h"
%{
#include "python/qorapi/arraylevers.h"
%}
%include "python/qorapi/arraylevers.h"
%{
#include "python/qorapi/ortrilevers.h"
%}
%include "python/qorapi/ortrilevers.h"
%{
#include "python/qorapi/modellevers.h"
%}
%include "python/qorapi/modellevers.h"
%{
#include "python/qorapi/imagelevers.h"
%}
%include "python/qorapi/imagelevers.h"
%{
#include "python/qorapi/sequencelevers.h"
%}
%include "python/qorapi/sequencelevers.h"
%{
#include "python/qorapi/curvelevers.h"
%}
%include "python/qorapi/curvelevers.h"
%{
#include "python/qorapi/curvesetlevers.h"
%}
%include "python/qorapi/curvesetlevers.h"
%include "python/qorapi/wrapped.i"

/* ---- Shared value types scripts receive from _brindle ---- */
%feature("docstring") QorCString "A narrow text of the system, as some functions return it. str() gives its text.";
class QorCString {
 public:
  QorCString(char const *text);
  ~QorCString();
  char const *c_str() const;
  bool isEmpty() const;
  int length() const;
};

namespace Platform { class IntAppState; }

%newobject make_int_app_state;

%inline %{
/* Writes a small data-model file with the system's writer, for tests that walk it with
   their own code: generation 0 gives 8-byte lengths, 1 to 9 give 4-byte ones. Nested
   chunks, an object chunk, and one chunk larger than the stream's buffer. */
bool write_sample_document(const char *path, int generation) {
  QorFileWrite w;
  w.setVersion(generation);
  if (!w.open(QorString::fromUtf8(path))) return false;
  const QorID id(0x6b29fc40, 0xca47, 0x1067, {0xb3, 0x1d, 0x00, 0xdd, 0x01, 0x06, 0x62, 0xda});
  w.write(QorString(u"sample"));
  w.beginObjectChunk(id, 5);
  w.write(int32_t(3));
  for (int i = 0; i < 3; ++i) {
    w.writeObjectName(QorString(u"key"));
    w.beginChunk(0xB00BBE, 2);
    w.write(QorCString("value"));
    w.write(id);
    w.endChunk();
  }
  std::vector<double> bulk(400, 0.5);
  w.writeValueChunk(0x0A5004, bulk.data(), bulk.size());
  w.endChunk();
  w.write(int8_t(0));
  return w.close();
}

/* Boots the host under a named profile and registers the script layer's own services. */
PyObject *boot_host(const char *profile) {
  std::string p = profile ? profile : "";
  if (!refhost::isProfile(p))
    return hostError(PyExc_ValueError, "unknown host profile '" + p +
                                           "'; known profiles: full, bare, no-conversion, proxy, strsupport, pool, translator");
  if (!refhost::bootedProfile().empty() && refhost::bootedProfile() != p)
    return hostError(PyExc_RuntimeError, "the host already runs profile '" +
                                             refhost::bootedProfile() + "', not '" + p + "'");
  bool first = refhost::bootedProfile().empty();
  refhost::boot(p);
  if (first && refhost::profileHas("IQorPythonTypeConversionService"))
    refhost::manager().registerService("IQorPythonTypeConversionService", &conversionService());
  if (first) refhost::log().setSink(&logSinkTrampoline);
  Py_RETURN_NONE;
}

/* The profile the host runs, or "" before boot. */
const char *host_profile() { return refhost::bootedProfile().c_str(); }

/* Loads the module file as the host's component: EntryPoint, then initialize. */
PyObject *load_component(const char *path) {
  std::string error;
  uint32_t v = refhost::loadComponent(path ? path : "", &error);
  if (!v) return hostError(PyExc_ImportError, error);
  return PyLong_FromUnsignedLong(v);
}

/* What the component says of itself: version, module name, GUID, classes, proxy name. */
PyObject *component_info() {
  IQorComponent *c = refhost::component();
  IQorCompInternal *ci = componentInternal();
  if (!c || !ci) Py_RETURN_NONE;
  GUID g;
  bool first = ci->firstClass(&g);
  const char *ver = c->version();
  return Py_BuildValue("{s:s,s:s,s:s,s:i,s:O,s:s,s:i}", "version", ver ? ver : "",
                       "moduleName", ci->moduleName(), "guid",
                       Platform::guidToString(*ci->componentGuid()).c_str(), "classCount",
                       (int)ci->classCount(), "firstClass", first ? Py_True : Py_False,
                       "proxyName", ci->getProxyName().c_str(), "breakEnabled",
                       (int)ci->getBreakEnabled());
}

/* Runs the component's self tests, with or without a test service. */
void run_self_tests(bool with_service) {
  struct NullTests : IQorSelfTestService {
    void queryInterface(const char *, void **out, uintptr_t) override { if (out) *out = nullptr; }
    const char *className() override { return "NullTests"; }
    void runTest(void *) override {}
  } svc;
  if (IQorCompInternal *ci = componentInternal()) ci->runSelfTests(with_service ? &svc : nullptr);
}

void set_proxy_name(QorCString const &name) {
  if (IQorCompInternal *ci = componentInternal()) ci->setProxyName(name);
}

/* Reports the host's error service received: (message, level, where). */
PyObject *error_reports() {
  auto reports = refhost::errorService().reports();
  PyObject *list = PyList_New(0);
  for (auto &r : reports) {
    PyObject *t = Py_BuildValue("(sis)", r.message.c_str(), (int)r.level, r.where.c_str());
    PyList_Append(list, t);
    Py_DECREF(t);
  }
  return list;
}

/* Lines written to the host's log: ("info" | "error", text). */
PyObject *log_lines() {
  auto lines = refhost::log().lines();
  PyObject *list = PyList_New(0);
  for (auto &l : lines) {
    PyObject *t = Py_BuildValue("(ss)", l.level == refhost::RecordingLog::kError ? "error" : "info",
                                l.text.c_str());
    PyList_Append(list, t);
    Py_DECREF(t);
  }
  return list;
}

void clear_records() {
  refhost::errorService().clear();
  refhost::log().clear();
}

/* A callable(level, text) that receives every log line; None removes it. */
void set_log_sink(PyObject *sink) {
  PyObject *old = gLogSink;
  gLogSink = sink == Py_None ? nullptr : sink;
  Py_XINCREF(gLogSink);
  Py_XDECREF(old);
}

/* Converter registrations in order: (kind, tag, typeName). */
PyObject *converter_registrations() {
  PyObject *list = PyList_New(0);
  for (auto &r : conversionService().registrations) {
    PyObject *t = Py_BuildValue("(sss)", r.kind.c_str(), r.tag.c_str(), r.typeName.c_str());
    PyList_Append(list, t);
    Py_DECREF(t);
  }
  return list;
}

/* Calls a registered converter on a host object: "component" or "null". */
PyObject *convert_with(const char *kind, const char *tag, const char *type_name,
                       const char *target) {
  QorScriptConverter f = conversionService().find(kind, tag, type_name);
  if (!f) return hostError(PyExc_LookupError, std::string("no ") + kind + " converter for (" +
                                                   tag + ", " + type_name + ")");
  std::string t = target ? target : "";
  IQorUnknown *obj = nullptr;
  if (t == "component") obj = refhost::component();
  else if (t != "null") return hostError(PyExc_ValueError, "unknown target '" + t + "'");
  return f(obj);
}

/* A new ModelProbe as a qorapi.DataObject. */
PyObject *model_probe() {
  IPtr<DataObject> probe(new ModelProbe());
  return scriptObjectOf(probe.get());
}

/* The host's conversion of a data object for scripts (toScriptObject under "V3"). */
PyObject *to_script_object(PyObject *object) {
  DataObject *o = dataObjectOf(object);
  return o ? conversionService().toScriptObject("V3", o) : NULL;
}

/* The registered model property converter on property `name` of a data object. */
PyObject *convert_property(PyObject *object, const char *name) {
  QorScriptConverter f = conversionService().find("property", "V3", "qorapp.brindle.Model");
  if (!f) return hostError(PyExc_LookupError, "no model property converter is registered");
  DataObject *o = dataObjectOf(object);
  if (!o) return NULL;
  IQorProperty *p = o->getProperty(name ? name : "");
  if (!p) return hostError(PyExc_AttributeError, std::string("no property '") + name + "'");
  return f(p);
}

/* The count of references on the native object of a data object. */
PyObject *ref_count(PyObject *object) {
  DataObject *o = dataObjectOf(object);
  return o ? PyLong_FromUnsignedLong(o->refCount()) : NULL;
}

/* Switches a service: "normal", "absent" or "failing". */
PyObject *set_service_mode(const char *name, const char *mode) {
  std::string m = mode ? mode : "";
  refhost::ServiceMode sm;
  if (m == "normal") sm = refhost::ServiceMode::Normal;
  else if (m == "absent") sm = refhost::ServiceMode::Absent;
  else if (m == "failing") sm = refhost::ServiceMode::Failing;
  else return hostError(PyExc_ValueError, "unknown service mode '" + m + "'");
  refhost::manager().setMode(name ? name : "", sm);
  Py_RETURN_NONE;
}

int service_lookups(const char *name) { return refhost::manager().lookups(name ? name : ""); }
%}

%{
#include "document/imodel.h"
#include "hostapi/iqordoc.h"
#include "refhost/appservices.h"
#include "refhost/datamodels.h"
#include "refhost/document.h"
%}
%inline %{
%}
%{
/* Owns one reference for a scope. */
struct OwnedRef {
  PyObject *p;
  explicit OwnedRef(PyObject *o) : p(o) {}
  OwnedRef(const OwnedRef &) = delete;
  OwnedRef &operator=(const OwnedRef &) = delete;
  ~OwnedRef() { Py_XDECREF(p); }
  explicit operator bool() const { return p != nullptr; }
};

%}
%{
/* An (n, 3) C-contiguous buffer of float64 (coordinates) or of a 32/64-bit integer type
   (vertex numbers), taken in one copy; false (no error set) for anything else, which then
   goes the element-by-element way. */
template <class T>
bool copyRows(PyObject *o, bool integral, std::vector<T> &out) {
  if (!PyObject_CheckBuffer(o)) return false;
  Py_buffer view;
  if (PyObject_GetBuffer(o, &view, PyBUF_C_CONTIGUOUS | PyBUF_FORMAT) != 0) {
    PyErr_Clear();
    return false;
  }
  struct Release {
    Py_buffer *v;
    ~Release() { PyBuffer_Release(v); }
  } release{&view};
  const std::string f = view.format ? view.format : "B";
  const char code = f.empty() ? 'B' : f.back();
  const bool native = f.size() == 1 || f[0] == '<' || f[0] == '=' || f[0] == '@';
  if (view.ndim != 2 || view.shape[1] != 3 || !native) return false;
  const size_t n = static_cast<size_t>(view.shape[0]) * 3;
  if (!integral && code == 'd' && view.itemsize == 8) {
    const double *p = static_cast<const double *>(view.buf);
    out.assign(p, p + n);
    return true;
  }
  if (integral && view.itemsize == 4 && (code == 'i' || code == 'l')) {
    const int32_t *p = static_cast<const int32_t *>(view.buf);
    out.assign(p, p + n);
    return true;
  }
  if (integral && view.itemsize == 8 && (code == 'q' || code == 'l')) {
    const int64_t *p = static_cast<const int64_t *>(view.buf);
    out.resize(n);
    for (size_t i = 0; i < n; ++i) {
      if (p[i] < INT32_MIN || p[i] > INT32_MAX) return false;
      out[i] = static_cast<T>(p[i]);
    }
    return true;
  }
  return false;
}
%}
%inline %{
/* A new Mesh (triangles given) or Points (triangles None) data object of the host from a
   script's own vertices ((x, y, z) each) and triangles ((i, j, k) vertex numbers each). */
PyObject *make_model_data(PyObject *vertices, PyObject *triangles, QorString const &name) {
  auto g = std::make_shared<refhost::Geometry>();
  std::vector<double> rows;
  const bool bulk = copyRows(vertices, false, rows);
  OwnedRef vs(bulk ? nullptr : PySequence_Fast(vertices, "vertices must be a sequence of (x, y, z)"));
  if (!bulk && !vs) return NULL;
  const Py_ssize_t nv = bulk ? static_cast<Py_ssize_t>(rows.size() / 3) : PySequence_Fast_GET_SIZE(vs.p);
  if (nv > INT32_MAX) return hostError(PyExc_ValueError, "too many vertices");
  g->positions.resize(static_cast<size_t>(nv) * 3);
  if (bulk) std::copy(rows.begin(), rows.end(), g->positions.begin());
  for (Py_ssize_t i = 0; !bulk && i < nv; ++i) {
    OwnedRef v(PySequence_Fast(PySequence_Fast_GET_ITEM(vs.p, i), "a vertex must be (x, y, z)"));
    if (!v) return NULL;
    if (PySequence_Fast_GET_SIZE(v.p) != 3)
      return hostError(PyExc_ValueError, "vertex " + std::to_string(i) + " has " +
                                              std::to_string(PySequence_Fast_GET_SIZE(v.p)) +
                                              " coordinates, not 3");
    for (int k = 0; k < 3; ++k) {
      double x = PyFloat_AsDouble(PySequence_Fast_GET_ITEM(v.p, k));
      if (x == -1.0 && PyErr_Occurred()) return NULL;
      g->positions[static_cast<size_t>(i) * 3 + k] = x;
    }
  }
  DataObject *made = nullptr;
  if (triangles == Py_None) {
    g->kind = refhost::Geometry::Kind::Points;
    made = new refhost::Points(g);
  } else {
    std::vector<int32_t> corners;
    const bool bulkT = copyRows(triangles, true, corners);
    OwnedRef ts(bulkT ? nullptr : PySequence_Fast(triangles, "triangles must be a sequence of (i, j, k)"));
    if (!bulkT && !ts) return NULL;
    const Py_ssize_t nt = bulkT ? static_cast<Py_ssize_t>(corners.size() / 3) : PySequence_Fast_GET_SIZE(ts.p);
    g->kind = refhost::Geometry::Kind::Mesh;
    g->triangles.resize(static_cast<size_t>(nt) * 3);
    for (size_t c = 0; bulkT && c < corners.size(); ++c) {
      if (corners[c] < 0 || corners[c] >= nv)
        return hostError(PyExc_ValueError, "triangle " + std::to_string(c / 3) + " names vertex " +
                                                std::to_string(corners[c]) + ", but there are " +
                                                std::to_string(nv) + " vertices");
      g->triangles[c] = corners[c];
    }
    for (Py_ssize_t i = 0; !bulkT && i < nt; ++i) {
      OwnedRef t(PySequence_Fast(PySequence_Fast_GET_ITEM(ts.p, i), "a triangle must be (i, j, k)"));
      if (!t) return NULL;
      if (PySequence_Fast_GET_SIZE(t.p) != 3)
        return hostError(PyExc_ValueError, "triangle " + std::to_string(i) + " has " +
                                                std::to_string(PySequence_Fast_GET_SIZE(t.p)) +
                                                " corners, not 3");
      for (int k = 0; k < 3; ++k) {
        long x = PyLong_AsLong(PySequence_Fast_GET_ITEM(t.p, k));
        if (x == -1 && PyErr_Occurred()) return NULL;
        if (x < 0 || x >= nv)
          return hostError(PyExc_ValueError, "triangle " + std::to_string(i) + " names vertex " +
                                                  std::to_string(x) + ", but there are " +
                                                  std::to_string(nv) + " vertices");
        g->triangles[static_cast<size_t>(i) * 3 + k] = static_cast<int32_t>(x);
      }
    }
    made = new refhost::Mesh(g);
  }
  IPtr<DataObject> keep(made);
  made->setName(name);
  return scriptObjectOf(made);
}

/* The data object the host keeps for a model (Mesh, Points, GriddedPoints, CADModel or
   Curves), or None for a model without a host object or without data (a group). */
PyObject *model_data(PyObject *model) {
  DataObject *o = dataObjectOf(model);
  if (!o) return NULL;
  IModel *m = qorQuery<IModel>(o, "IModel");
  IQorObject *host = m ? m->hostObject() : nullptr;
  if (!host) Py_RETURN_NONE;
  for (const char *name : {"GenModel", "PointModel", "ScanModel", "CurveModel"}) {
    IQorModel *model_ = host->model(QorCString(name));
    IQorUnknown *data = model_ ? model_->data() : nullptr;
    if (!data) continue;
    DataObject *script = qorQuery<DataObject>(refhost::scriptObjectForData(data), "DataObject");
    if (script) return scriptObjectOf(script);
  }
  Py_RETURN_NONE;
}

/* The host's call log of its document and application services, oldest first. */
PyObject *call_log() {
  PyObject *list = PyList_New(0);
  for (auto &l : refhost::callLog().lines()) {
    PyObject *s = PyUnicode_FromString(l.c_str());
    PyList_Append(list, s);
    Py_DECREF(s);
  }
  return list;
}
void clear_call_log() { refhost::callLog().clear(); }
/* Empties the host's document (only the World stays). */
void clear_document() { refhost::document().clear(); }
/* Appends an object of a phase ("Section", "CAD", "Feature", ...) with no data; its id. */
int add_object(const char *phase, QorString const &name) {
  return refhost::document().append(phase ? phase : "", name)->id();
}
void set_builder_fails(bool fails) { refhost::objectBuilder().setFails(fails); }
/* What the unit service answers (7: not set). */
void set_unit_answer(int units) { refhost::unitService().setAnswer(units); }
/* Hangs a correspondence sub-object named `name` on the object of that id. */
PyObject *add_correspondence(int object_id, const char *name) {
  refhost::RefObject *o = nullptr;
  for (auto &x : refhost::document().objects())
    if (x->id() == object_id) o = x.get();
  if (!o) return hostError(PyExc_LookupError, "no object with id " + std::to_string(object_id));
  o->addCorrespondence(name ? name : "");
  Py_RETURN_NONE;
}

/* The settings store, as the host itself changes it (no sender). */
void settings_set_int(const char *key, int value) { refhost::dataStore().setInt(nullptr, key, value); }
void settings_set_double(const char *key, double value) {
  refhost::dataStore().setDouble(nullptr, key, value);
}
void settings_set_string(const char *key, QorString const &value) {
  refhost::dataStore().setString(nullptr, key, value);
}
bool settings_has_key(const char *key) { return refhost::dataStore().hasKey(key) != 0; }
void settings_remove_key(const char *key) { refhost::dataStore().removeKey(key); }
int settings_receiver_count(const char *key) { return refhost::dataStore().receiverCount(key); }

/* Raise the system's errors, as any part of the system does, so that a script can see
   what reaches it. */
void raise_class_error(const char *label, const char *text) { qor::classError(label, text); }
void raise_internal_error(const char *label, const char *text) {
  qor::internalClassError(label, text);
}
void raise_property_error(int code, QorString const &message) { qor::raise(code, message); }

/* The translator in use on `key`, with up to six arguments (a list of str), or with the
   sequential replacement of the array form when `sequential` is true. */
PyObject *translate(const char *key, PyObject *args, bool sequential) {
  if (!PySequence_Check(args)) return hostError(PyExc_TypeError, "args must be a sequence of str");
  Py_ssize_t n = PySequence_Size(args);
  if (!sequential && n > 6) return hostError(PyExc_ValueError, "at most six arguments");
  std::vector<QorString> a(static_cast<size_t>(n));
  for (Py_ssize_t i = 0; i < n; ++i) {
    PyObject *item = PySequence_GetItem(args, i);
    bool ok = item && PyUnicode_Check(item) && qor::pyStrToQorString(item, &a[size_t(i)]);
    Py_XDECREF(item);
    if (!ok) {
      if (!PyErr_Occurred()) PyErr_SetString(PyExc_TypeError, "args must be str");
      return NULL;
    }
  }
  QorString out;
  if (sequential) tr(out, key, int64_t(n), a.data());
  else switch (n) {
    case 0: tr(out, key); break;
    case 1: tr(out, key, a[0]); break;
    case 2: tr(out, key, a[0], a[1]); break;
    case 3: tr(out, key, a[0], a[1], a[2]); break;
    case 4: tr(out, key, a[0], a[1], a[2], a[3]); break;
    case 5: tr(out, key, a[0], a[1], a[2], a[3], a[4]); break;
    default: tr(out, key, a[0], a[1], a[2], a[3], a[4], a[5]); break;
  }
  return qor::qorStringToPy(out);
}

/* The class name of the translator in use. */
const char *translator_name() { return qor::translator()->className(); }

/* The settings file: where it is, reading one, writing the store to one. */
const char *settings_path() {
  static std::string p;
  p = refhost::settingsPath();
  return p.c_str();
}
PyObject *load_settings(const char *path) {
  std::vector<std::string> problems;
  if (!refhost::loadSettings(refhost::dataStore(), path ? path : "", &problems))
    return hostError(PyExc_OSError, std::string("cannot read settings file ") + (path ? path : ""));
  PyObject *list = PyList_New(0);
  for (auto &p : problems) {
    PyObject *s = PyUnicode_FromString(p.c_str());
    PyList_Append(list, s);
    Py_DECREF(s);
  }
  return list;
}
PyObject *save_settings(const char *path) {
  std::string error;
  if (!refhost::saveSettings(refhost::dataStore(), path ? path : "", &error))
    return hostError(PyExc_OSError, error);
  Py_RETURN_NONE;
}
/* A key's value as the store holds it: int, float, str, or None when missing. */
PyObject *settings_get(const char *key) {
  auto &s = refhost::dataStore();
  switch (s.kindOf(key ? key : "")) {
    case refhost::MemoryDataStore::Kind::Int: return PyLong_FromLong(s.getInt(key, 0));
    case refhost::MemoryDataStore::Kind::Real: return PyFloat_FromDouble(s.getDouble(key, 0));
    case refhost::MemoryDataStore::Kind::Text: return qor::qorStringToPy(s.getString(key, 0));
    default: Py_RETURN_NONE;
  }
}

/* An IntAppState made on the host side: the type is shared with _brindle by name. */
Platform::IntAppState *make_int_app_state(const char *key) { return new Platform::IntAppState(key); }

/* Installs the script's progress callback (None removes it); returns the one before. */
PyObject *set_progress_callback(PyObject *fn) {
  if (fn != Py_None && !PyCallable_Check(fn))
    return hostError(PyExc_TypeError, std::string("a progress callback must be callable or None, not ") +
                                          Py_TYPE(fn)->tp_name);
  PyObject *old = gProgressCallback;
  gProgressCallback = fn == Py_None ? nullptr : fn;
  Py_XINCREF(gProgressCallback);
  refhost::progress().setScriptHook(gProgressCallback ? &progressTrampoline : nullptr, nullptr);
  if (!old) Py_RETURN_NONE;
  return old;  /* the reference the host held goes to the caller */
}

/* The script's progress callback, or None. */
PyObject *progress_callback() {
  PyObject *fn = gProgressCallback ? gProgressCallback : Py_None;
  Py_INCREF(fn);
  return fn;
}

/* Long work in miniature: a reporter made on the host's display runs `steps` steps
   (begin, update(i, steps) for each, end) and stops at the first answer to stop. Returns (updates that
   answered go-on, whether the reporter was cancelled). */
PyObject *run_progress(int steps, bool cancellable) {
  IPtr<ProgressCallbackObject> reporter(new ProgressCallbackObject());
  reporter->setCancellable(cancellable);
  int done = 0;
  bool goOn = reporter->begin();
  for (int i = 1; goOn && i <= steps; ++i)
    if ((goOn = reporter->update(i, steps))) ++done;
  if (goOn) reporter->end();
  return Py_BuildValue("(iO)", done, reporter->wasCancelled() ? Py_True : Py_False);
}

/* The fractions the host's display was told since its last reset, and forgetting them. */
PyObject *progress_reports() {
  PyObject *list = PyList_New(0);
  for (float f : refhost::progress().reports()) {
    PyObject *x = PyFloat_FromDouble(f);
    PyList_Append(list, x);
    Py_DECREF(x);
  }
  return list;
}
void clear_progress_reports() { refhost::progress().reset(); }

/* How many resets the callback object of "IQorProgressCallback" received: the first step
   of every class error resets the running display through it. */
int progress_resets() {
  int n = 0;
  for (auto &c : refhost::progressCallback().calls()) n += c.slot == 4;
  return n;
}
%}

/* ---- Module pointers of data objects ---- */
class DataObject;
%types(DataObject *);
%inline %{
/* The capsule of the data object behind a module pointer object (a model's, or any data
   object's), holding one counted reference. */
PyObject *pointer_ref(PyObject *pointer) {
  void *p = 0;
  if (!SWIG_IsOK(SWIG_ConvertPtr(pointer, &p, SWIGTYPE_p_DataObject, 0)) || !p) {
    PyErr_Format(PyExc_TypeError, "expected the module's pointer object of a data object, not %s",
                 Py_TYPE(pointer)->tp_name);
    return NULL;
  }
  return objectRef(static_cast<DataObject *>(p));
}

/* A module pointer object of the data object a capsule holds, not owning it: typed as a
   Model when the object is one, as a DataObject otherwise. */
PyObject *pointer_of(PyObject *ref) {
  DataObject *o = dataObjectOf(ref);
  if (!o) return NULL;
  void *model = 0;
  o->queryInterface("Model", &model, 0);
  swig_type_info *modelType = SWIG_TypeQuery("Model *");
  if (model && modelType) return SWIG_NewPointerObj(model, modelType, SWIG_POINTER_NOSHADOW);
  void *selection = 0;
  o->queryInterface("Selection", &selection, 0);
  swig_type_info *selectionType = SWIG_TypeQuery("Selection *");
  if (selection && selectionType)
    return SWIG_NewPointerObj(selection, selectionType, SWIG_POINTER_NOSHADOW);
  return SWIG_NewPointerObj(o, SWIGTYPE_p_DataObject, SWIG_POINTER_NOSHADOW);
}
%}

%inline %{
/* (live data objects, live actions) in the host's database. */
PyObject *database_counts() {
  return Py_BuildValue("(ii)", (int)refhost::database().count(), (int)refhost::database().actionCount());
}
%}

class IQorDataEventArgs;
%types(IQorDataEventArgs *);
%inline %{
/* The host's argument object of a data event holding the text "name", as the module's
   pointer object; it lives until the next call. */
PyObject *event_args_named(QorString const &name) {
  static IPtr<IQorDataEventArgs> last;
  SPtr<IQorDataEventArgs> args("IQorDataEventArgs");
  auto *map = qorQuery<IQorPropertyMap>(args.get(), "IQorPropertyMap");
  if (!map) return hostError(PyExc_RuntimeError, "the host has no IQorDataEventArgs");
  map->set("name", name);
  last = args.get();
  return SWIG_NewPointerObj(args.get(), SWIGTYPE_p_IQorDataEventArgs, 0);
}
%}


/* ---- Property maps of commands ---- */
class PropertyMap;
%types(PropertyMap *);
%inline %{
/* Property `name` of the property map behind a module pointer object (a command). */
PyObject *map_get(PyObject *pointer, PyObject *name) {
  void *p = 0;
  if (!SWIG_IsOK(SWIG_ConvertPtr(pointer, &p, SWIGTYPE_p_PropertyMap, 0)) || !p)
    return hostError(PyExc_TypeError, "expected the module's pointer object of a property map");
  if (!PyUnicode_Check(name)) return hostError(PyExc_TypeError, "a property name must be a str");
  return mapGet(static_cast<PropertyMap *>(p), PyUnicode_AsUTF8(name));
}
/* Sets property `name` of that map as an attribute assignment would. */
PyObject *map_set(PyObject *pointer, PyObject *name, PyObject *value) {
  void *p = 0;
  if (!SWIG_IsOK(SWIG_ConvertPtr(pointer, &p, SWIGTYPE_p_PropertyMap, 0)) || !p)
    return hostError(PyExc_TypeError, "expected the module's pointer object of a property map");
  if (!PyUnicode_Check(name)) return hostError(PyExc_TypeError, "a property name must be a str");
  if (!mapSet(static_cast<PropertyMap *>(p), PyUnicode_AsUTF8(name), value)) return NULL;
  Py_RETURN_NONE;
}
/* The names a command's native object describes itself with, in walk order, each once. */
PyObject *interface_names(PyObject *pointer) {
  void *p = 0;
  if (!SWIG_IsOK(SWIG_ConvertPtr(pointer, &p, SWIGTYPE_p_PropertyMap, 0)) || !p)
    return hostError(PyExc_TypeError, "expected the module's pointer object of a property map");
  IterStack<QueryEntry> list;
  listInterfaces(static_cast<IQorUnknown *>(static_cast<PropertyMap *>(p)), list);
  PyObject *out = PyList_New(0);
  for (int32_t i = 0; i < list.count(); ++i) {
    if (!*list.items()[i].name.c_str()) continue;
    PyObject *name = PyUnicode_FromString(list.items()[i].name.c_str());
    int known = PySequence_Contains(out, name);
    if (!known) PyList_Append(out, name);
    Py_DECREF(name);
  }
  return out;
}
/* Whether that object answers a query for `name`. */
PyObject *answers(PyObject *pointer, const char *name) {
  void *p = 0;
  if (!SWIG_IsOK(SWIG_ConvertPtr(pointer, &p, SWIGTYPE_p_PropertyMap, 0)) || !p)
    return hostError(PyExc_TypeError, "expected the module's pointer object of a property map");
  return PyBool_FromLong(qorQuery<void>(static_cast<PropertyMap *>(p), name) != nullptr);
}
%}

/* ---- Automation: the workflow's activities and the script engine's runner ---- */
%{
#include "refhost/automation.h"
#include "refhost/strsupport.h"

namespace {
/* Runs a script file in this interpreter with fresh globals (runpy.run_path). A script
   that raises writes its traceback to the host's log and gives "Type: text" back. */
bool scriptRunner(const std::string &path, const std::string &, std::string *error) {
  if (!Py_IsInitialized()) {
    *error = "no interpreter";
    return false;
  }
  PyGILState_STATE st = PyGILState_Ensure();
  PyObject *type, *value, *trace;
  PyErr_Fetch(&type, &value, &trace); /* a caller's pending error stays its own */
  PyObject *runpy = PyImport_ImportModule("runpy");
  PyObject *r = runpy ? PyObject_CallMethod(runpy, "run_path", "s", path.c_str()) : nullptr;
  Py_XDECREF(runpy);
  const bool ok = r != nullptr;
  Py_XDECREF(r);
  if (!ok) {
    PyObject *et, *ev, *etb;
    PyErr_Fetch(&et, &ev, &etb);
    PyErr_NormalizeException(&et, &ev, &etb);
    if (etb) PyException_SetTraceback(ev, etb);
    PyObject *tb = PyImport_ImportModule("traceback");
    PyObject *lines = tb ? PyObject_CallMethod(tb, "format_exception", "O", ev) : nullptr;
    PyObject *empty = PyUnicode_FromString("");
    PyObject *text = lines ? PyUnicode_Join(empty, lines) : nullptr;
    if (text) refhost::log().logError(refhost::utf8ToWide(PyUnicode_AsUTF8(text)));
    PyObject *shown = PyObject_Str(ev);
    *error = std::string(et ? reinterpret_cast<PyTypeObject *>(et)->tp_name : "error") + ": " +
             (shown ? PyUnicode_AsUTF8(shown) : "");
    Py_XDECREF(shown);
    Py_XDECREF(text);
    Py_XDECREF(empty);
    Py_XDECREF(lines);
    Py_XDECREF(tb);
    Py_XDECREF(et);
    Py_XDECREF(ev);
    Py_XDECREF(etb);
    PyErr_Clear();
  }
  PyErr_Restore(type, value, trace);
  PyGILState_Release(st);
  return ok;
}
}  // namespace
%}
%init %{
  refhost::scriptEngine().setRunner(&scriptRunner);
%}
%inline %{
/* The current workflow's activities in order: dicts of ignore, notes, language, text. */
PyObject *workflow_activities() {
  PyObject *list = PyList_New(0);
  for (auto &a : refhost::workflowManager().workflow().activities) {
    PyObject *d = Py_BuildValue("{s:O,s:s,s:s,s:s}", "ignore", a->ignore ? Py_True : Py_False,
                                "notes", a->notes.c_str(), "language", a->language.c_str(),
                                "text", a->text.c_str());
    if (!d) {
      Py_DECREF(list);
      return NULL;
    }
    PyList_Append(list, d);
    Py_DECREF(d);
  }
  return list;
}
/* Opens or closes the current workflow, and makes new activities fail or succeed. */
void set_workflow_state(bool open, bool creation_fails) {
  refhost::workflowManager().open = open;
  refhost::workflowManager().workflow().failCreation = creation_fails;
}
void clear_workflow() { refhost::workflowManager().workflow().activities.clear(); }
bool script_active() { return refhost::scriptEngine().isActive(); }
%}

/* ---- The property dump: its XML, its file, and the switches of tests ---- */
%{
#include "features/feature.h"
#include "refhost/datamodels.h"
#include "refhost/propertydump.h"

namespace {
/* A script feature whose host feature is a plain host object answering "IQorFeature". */
class FeatureProbe : public DataObject, public features::IQorFeature {
 public:
  FeatureProbe() : host_(new refhost::RefDumpFeature()) {}
  void queryInterface(const char *name, void **out, uintptr_t reserved) override {
    if (name && out && qorNameIs(name, "features::IQorFeature"))
      *out = static_cast<features::IQorFeature *>(this);
    else DataObject::queryInterface(name, out, reserved);
  }
  const char *className() override { return "FeatureProbe"; }
  void connect(::IQorFeature *) override {}
  void mirrorParameters() override {}
  void reserved2() override {}
  ::IQorFeature *host() override { return host_.get(); }

 private:
  IPtr<::IQorFeature> host_;
};
}  // namespace
%}
%inline %{
/* The host's property dump as XML text. */
PyObject *property_dump_xml() {
  const std::string text = refhost::propertyDump().xml();
  return PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "strict");
}
/* Writes the dump to `path` (a temporary file renamed over it); OSError naming the path. */
PyObject *write_property_dump(const char *path) {
  int error = 0;
  std::string why;
  if (!refhost::propertyDump().write(path ? path : "", &error, &why)) {
    PyObject *args = Py_BuildValue("(iss)", error,
                                   ("cannot write the property dump: " + why).c_str(), path);
    if (args) {
      PyErr_SetObject(PyExc_OSError, args);
      Py_DECREF(args);
    }
    return NULL;
  }
  Py_RETURN_NONE;
}
void clear_property_dump() { refhost::propertyDump().clear(); }
void set_dump_refuses_children(bool refuse) { refhost::setDumpRefusesChildren(refuse); }
int dump_provider_count() { return refhost::propertyDump().providerCount(); }
/* A new CADModel data object over the geometry of a Mesh data object. */
PyObject *cad_probe(PyObject *mesh) {
  DataObject *o = dataObjectOf(mesh);
  if (!o) return NULL;
  auto *m = dynamic_cast<refhost::Mesh *>(o);
  if (!m) return hostError(PyExc_TypeError, std::string("cad_probe takes a Mesh, not a ") +
                                                o->className());
  IPtr<DataObject> made(new refhost::CADModel(m->geometry()));
  return scriptObjectOf(made.get());
}
/* A new script feature (a DataObject) with a host feature behind it. */
PyObject *feature_probe() {
  IPtr<DataObject> probe(new FeatureProbe());
  return scriptObjectOf(probe.get());
}
%}
