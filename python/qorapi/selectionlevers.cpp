#include "python/qorapi/selectionlevers.h"

#include <cstring>
#include <string>
#include <vector>

#include "base/bitvector.h"
#include "core/iptr.h"
#include "datamodel/dataobject.h"
#include "document/imodel.h"
#include "features/feature.h"
#include "hostapi/iqordoc.h"
#include "python/qorapi/scriptvalues.h"
#include "refhost/datamodels.h"
#include "refhost/document.h"
#include "refhost/host.h"
#include "refhost/proxies.h"
#include "refhost/selections.h"

namespace {

PyObject* fail(PyObject* type, const std::string& text) {
  PyErr_SetString(type, text.c_str());
  return nullptr;
}

/* The reference (a capsule) of a new object made by a selection service's view of interface T. */
template <class T>
PyObject* fromService(const char* service) {
  void* view = nullptr;
  refhost::manager().getService(QorCString(service), &view);
  if (!view) return fail(PyExc_LookupError, std::string("the host has no service ") + service);
  IPtr<T> held(static_cast<T*>(view));
  DataObject* o = qorQuery<DataObject>(held.get(), "DataObject");
  if (!o)
    return fail(PyExc_TypeError, std::string("the service ") + service +
                                     " made something that is not a data object");
  return objectRef(o);
}

ISelectionBits* selectionOf(PyObject* selection) {
  DataObject* o = dataObjectOf(selection);
  if (!o) return nullptr;
  auto* s = qorQuery<ISelectionBits>(o, "ISelectionBits");
  if (!s) PyErr_Format(PyExc_TypeError, "%s is not a selection", o->className());
  return s;
}

PyObject* wordsOf(const BitVector& bits) {
  const int32_t n = bits.wordCount();
  PyObject* out = PyBytes_FromStringAndSize(nullptr, static_cast<Py_ssize_t>(n) * 4);
  if (!out) return nullptr;
  auto* w = reinterpret_cast<uint32_t*>(PyBytes_AS_STRING(out));
  for (int32_t i = 0; i < n; ++i) w[i] = bits.word(i);
  return out;
}

/* The host object behind a script Model, with a Python error when there is none. */
refhost::RefObject* hostObjectOf(PyObject* model) {
  DataObject* o = dataObjectOf(model);
  if (!o) return nullptr;
  auto* m = qorQuery<IModel>(o, "IModel");
  if (!m) {
    PyErr_Format(PyExc_TypeError, "expected a qorapi.Model, not a %s", o->className());
    return nullptr;
  }
  refhost::RefObject* r = refhost::document().find(m->hostObject());
  if (!r) {
    QorString name;
    o->getName(name);
    PyErr_Format(PyExc_ValueError, "the model '%s' is not in the host's document",
                 refhost::logText(name).c_str());
  }
  return r;
}

template <class Data>
Data* dataOf(refhost::RefObject* object, const char* what) {
  auto* d = dynamic_cast<Data*>(object->data());
  if (!d)
    PyErr_Format(PyExc_ValueError, "the model '%s' (phase %s) has no %s",
                 refhost::logText(object->name()).c_str(), object->phaseName().c_str(), what);
  return d;
}

/* Tests placed positions against a box or a ball. */
struct Region {
  bool sphere;
  double v[6];
  QorMatrix matrix;
  bool inside(const double* p) const {
    double q[3];
    matrix.transformPoint(p, q);
    if (sphere) {
      const double dx = q[0] - v[0], dy = q[1] - v[1], dz = q[2] - v[2];
      return dx * dx + dy * dy + dz * dz <= v[3] * v[3];
    }
    return q[0] >= v[0] && q[1] >= v[1] && q[2] >= v[2] && q[0] <= v[3] && q[1] <= v[4] &&
           q[2] <= v[5];
  }
};

/* One flag per vertex of `g`: inside the region. */
std::vector<char> insideFlags(const refhost::Geometry& g, const Region& r) {
  const size_t n = static_cast<size_t>(g.vertexCount());
  std::vector<char> in(n);
  for (size_t i = 0; i < n; ++i) in[i] = r.inside(&g.positions[i * 3]);
  return in;
}

}  // namespace

PyObject* make_selection(const char* class_name) {
  const std::string c = class_name ? class_name : "";
  const char* service = refhost::selectionService(c.c_str());
  if (!service) return fail(PyExc_ValueError, "no selection class named '" + c + "'");
  if (c == "TriangleSelection") return fromService<mesh::TriangleSelection>(service);
  if (c == "EdgeSelection") return fromService<mesh::EdgeSelection>(service);
  if (c == "VertexSelection") return fromService<mesh::VertexSelection>(service);
  if (c == "PointSelection") return fromService<points::PointSelection>(service);
  if (c == "QuadSelection") return fromService<griddedpoints::QuadSelection>(service);
  if (c == "CADFaceSelection") return fromService<cad::CADFaceSelection>(service);
  return fromService<curves::IQorCurveSelection>(service);
}

PyObject* selection_words(PyObject* selection) {
  ISelectionBits* s = selectionOf(selection);
  return s ? wordsOf(s->selectionBits()) : nullptr;
}

PyObject* selection_set_words(PyObject* selection, PyObject* words) {
  ISelectionBits* s = selectionOf(selection);
  if (!s) return nullptr;
  Py_buffer view;
  if (PyObject_GetBuffer(words, &view, PyBUF_C_CONTIGUOUS) != 0) return nullptr;
  const Py_ssize_t n = view.len / 4;
  if (view.len % 4 || n > (INT32_MAX >> 5)) {
    PyBuffer_Release(&view);
    return fail(PyExc_ValueError,
                "the words of a bit set take a multiple of 4 bytes below 2^28, not " +
                    std::to_string(view.len));
  }
  std::vector<uint32_t> w(static_cast<size_t>(n));
  if (n) std::memcpy(w.data(), view.buf, static_cast<size_t>(n) * 4);
  PyBuffer_Release(&view);
  BitVector& bits = s->selectionBits();
  bits.clearAll();
  if (n && bits.maxBit() < n * 32 - 1) bits.resize(static_cast<int32_t>(n * 32 - 1));
  for (Py_ssize_t i = 0; i < n; ++i)
    if (w[i]) bits.setWord(static_cast<int32_t>(i), w[i]);
  Py_RETURN_NONE;
}

PyObject* mark_triangles_in(PyObject* model, bool sphere, double a, double b, double c, double d,
                            double e, double f) {
  refhost::RefObject* o = hostObjectOf(model);
  auto* mesh = o ? dataOf<refhost::RefMeshData>(o, "mesh") : nullptr;
  if (!mesh) return nullptr;
  const refhost::Geometry& g = *mesh->geometry;
  const std::vector<char> in =
      insideFlags(g, Region{sphere, {a, b, c, d, e, f}, o->transformMatrix()});
  const int64_t nt = g.triangleCount();
  BitVector& marked = mesh->marked().bits();
  marked.clearAll();
  if (marked.maxBit() < nt) marked.resize(static_cast<int32_t>(nt));
  for (int64_t t = 0; t < nt; ++t) {
    const int32_t* v = &g.triangles[static_cast<size_t>(t) * 3];
    if (in[v[0]] && in[v[1]] && in[v[2]]) marked.set(static_cast<int32_t>(t + 1));
  }
  return PyLong_FromLong(marked.count());
}

PyObject* mark_points_in(PyObject* model, bool sphere, double a, double b, double c, double d,
                         double e, double f) {
  refhost::RefObject* o = hostObjectOf(model);
  if (!o) return nullptr;
  BitVector* active = nullptr;
  if (auto* points = dynamic_cast<refhost::RefPointsData*>(o->data()))
    active = &points->activeBits();
  else if (auto* scan = dynamic_cast<refhost::RefScanData*>(o->data()))
    active = &scan->bits();
  else
    return PyErr_Format(PyExc_ValueError, "the model '%s' (phase %s) has no points",
                        refhost::logText(o->name()).c_str(), o->phaseName().c_str());
  const refhost::Geometry& g = *dynamic_cast<refhost::RefHostData*>(o->data())->geometry;
  const std::vector<char> in =
      insideFlags(g, Region{sphere, {a, b, c, d, e, f}, o->transformMatrix()});
  active->clearAll();
  if (active->maxBit() < static_cast<int32_t>(in.size()))
    active->resize(static_cast<int32_t>(in.size()));
  for (size_t i = 0; i < in.size(); ++i)
    if (in[i]) active->set(static_cast<int32_t>(i + 1));
  return PyLong_FromLong(active->count());
}

PyObject* host_words(PyObject* model, const char* which) {
  refhost::RefObject* o = hostObjectOf(model);
  if (!o) return nullptr;
  const std::string w = which ? which : "";
  if (w == "points") {
    if (auto* p = dynamic_cast<refhost::RefPointsData*>(o->data())) return wordsOf(p->activeBits());
    auto* s = dataOf<refhost::RefScanData>(o, "points");
    return s ? wordsOf(s->activeBits()) : nullptr;
  }
  auto* mesh = dataOf<refhost::RefMeshData>(o, "mesh");
  if (!mesh) return nullptr;
  if (w == "triangles") return wordsOf(mesh->marked().bits());
  IQorMeshElementData* data = w == "vertices" ? mesh->vertexData()
                              : w == "edges"  ? mesh->edgeData()
                                              : nullptr;
  if (!data) return fail(PyExc_ValueError, "no host bit set named '" + w + "'");
  IQorElementSet* set = data->activeSet()->current();
  return wordsOf(set ? set->bits() : BitVector::empty());
}

PyObject* selection_names(PyObject* model) {
  refhost::RefObject* o = hostObjectOf(model);
  if (!o) return nullptr;
  PyObject* list = PyList_New(0);
  refhost::RefSubObjectMgr* m = o->manager(refhost::RefSubObject::Kind::Selection);
  for (const auto& s : m ? m->subObjects() : std::vector<IPtr<refhost::RefSubObject>>()) {
    PyObject* name = PyUnicode_FromString(s->nameUtf8().c_str());
    if (!name || PyList_Append(list, name) != 0) {
      Py_XDECREF(name);
      Py_DECREF(list);
      return nullptr;
    }
    Py_DECREF(name);
  }
  return list;
}

PyObject* stored_selection_words(PyObject* model, const char* name) {
  refhost::RefObject* o = hostObjectOf(model);
  if (!o) return nullptr;
  refhost::RefSubObjectMgr* m = o->manager(refhost::RefSubObject::Kind::Selection);
  refhost::RefSubObject* s = m ? m->named(name ? name : "") : nullptr;
  if (!s) Py_RETURN_NONE;
  return wordsOf(s->bits());
}

PyObject* cad_face_map(PyObject* model) {
  refhost::RefObject* o = hostObjectOf(model);
  auto* mesh = o ? dataOf<refhost::RefMeshData>(o, "mesh") : nullptr;
  if (!mesh) return nullptr;
  auto* faces = dynamic_cast<refhost::RefParamComplex*>(mesh->paramComplex());
  if (!faces)
    return fail(PyExc_ValueError,
                "the model '" + refhost::logText(o->name()) + "' is not a CAD model");
  const std::vector<int32_t>& f = faces->faceOf();
  return PyBytes_FromStringAndSize(reinterpret_cast<const char*>(f.data()),
                                   static_cast<Py_ssize_t>(f.size() * 4));
}

PyObject* add_cad_model(PyObject* mesh) {
  DataObject* o = dataObjectOf(mesh);
  if (!o) return nullptr;
  auto* m = dynamic_cast<refhost::Mesh*>(o);
  if (!m || !m->geometry())
    return PyErr_Format(PyExc_TypeError, "a CAD model is made from a Mesh, not a %s",
                        o->className());
  const QorString& name = o->nameValue();
  std::u16string text(name.text(), static_cast<size_t>(name.length()));
  IQorObject* added = refhost::document().addModelObject(text, m->geometry(), false, true);
  auto* model = qorQuery<DataObject>(
      refhost::proxyManager().table("IQorObject")->scriptObject(added), "DataObject");
  if (!model) return fail(PyExc_RuntimeError, "the host made no Model for the CAD object");
  return scriptObjectOf(model);
}

int status_bar_refreshes() {
  return refhost::statusBar().refreshes();
}

PyObject* model_features(PyObject* model) {
  refhost::RefObject* o = hostObjectOf(model);
  if (!o) return nullptr;
  PyObject* list = PyList_New(0);
  refhost::RefSubObjectMgr* m = o->manager(refhost::RefSubObject::Kind::Feature);
  if (!m) return list;
  for (const auto& sub : m->subObjects()) {
    auto* host = qorQuery<::IQorFeature>(sub->feature(), "IQorFeature");
    features::IQorFeature* shell = features::findProxy(host);
    if (!shell) shell = features::createProxy(host);
    IPtr<IQorUnknown> keep(shell);  // a new shell lives as long as something holds it
    auto* object = qorQuery<DataObject>(shell, "DataObject");
    if (!object) continue;
    PyObject* wrapped = scriptObjectOf(object);
    if (!wrapped || PyList_Append(list, wrapped) != 0) {
      Py_XDECREF(wrapped);
      Py_DECREF(list);
      return nullptr;
    }
    Py_DECREF(wrapped);
  }
  return list;
}
