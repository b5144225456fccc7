#include "python/qorapi/modellevers.h"

#include <memory>
#include <new>
#include <string>

#include "python/qorapi/scriptvalues.h"
#include "refhost/datamodels.h"

namespace {

// A read-only (n, 3) buffer exporter that owns one reference to the geometry it shows. The
// host's geometry is never changed once shared, so a view stays exact as well as valid.
struct GeometryView {
  PyObject ob_base;
  std::shared_ptr<const refhost::Geometry> owner;
  const void* data;
  Py_ssize_t shape[2];
  Py_ssize_t strides[2];
  Py_ssize_t itemsize;
  char format[2];
};

int viewGetBuffer(PyObject* self, Py_buffer* view, int flags) {
  auto* v = reinterpret_cast<GeometryView*>(self);
  if (flags & PyBUF_WRITABLE) {
    view->obj = nullptr;
    PyErr_SetString(PyExc_BufferError, "a model's arrays are read-only views of the host's data");
    return -1;
  }
  view->obj = Py_NewRef(self);
  view->buf = const_cast<void*>(v->data);
  view->len = v->shape[0] * v->shape[1] * v->itemsize;
  view->readonly = 1;
  view->itemsize = v->itemsize;
  view->format = (flags & PyBUF_FORMAT) ? v->format : nullptr;
  view->ndim = 2;
  view->shape = (flags & PyBUF_ND) == PyBUF_ND ? v->shape : nullptr;
  view->strides = (flags & PyBUF_STRIDES) == PyBUF_STRIDES ? v->strides : nullptr;
  view->suboffsets = nullptr;
  view->internal = nullptr;
  if (!view->shape) view->ndim = 1;  // a plain request sees the bytes in one row
  return 0;
}

void viewDealloc(PyObject* self) {
  auto* v = reinterpret_cast<GeometryView*>(self);
  PyTypeObject* type = Py_TYPE(self);
  v->owner.~shared_ptr();
  type->tp_free(self);
  Py_DECREF(type);
}

PyType_Slot kViewSlots[] = {
    {Py_tp_dealloc, reinterpret_cast<void*>(viewDealloc)},
    {Py_bf_getbuffer, reinterpret_cast<void*>(viewGetBuffer)},
    {Py_tp_doc, const_cast<char*>("A read-only (n, 3) buffer over a model's geometry.")},
    {0, nullptr}};
PyType_Spec kViewSpec = {"qorapi._qorapi.GeometryView", sizeof(GeometryView), 0, Py_TPFLAGS_DEFAULT,
                         kViewSlots};

PyTypeObject* viewType() {
  static PyObject* type = nullptr;  // lives to process end
  if (!type) type = PyType_FromSpec(&kViewSpec);
  return reinterpret_cast<PyTypeObject*>(type);
}

template <class T>
PyObject* newView(std::shared_ptr<const refhost::Geometry> g, const T& values, char format) {
  PyTypeObject* type = viewType();
  if (!type) return nullptr;
  auto* v = reinterpret_cast<GeometryView*>(type->tp_alloc(type, 0));
  if (!v) return nullptr;
  using Element = typename T::value_type;
  static const Element kEmpty[3] = {};  // an empty array still points somewhere
  new (&v->owner) std::shared_ptr<const refhost::Geometry>(std::move(g));
  v->data = values.empty() ? kEmpty : values.data();
  v->itemsize = sizeof(Element);
  v->shape[0] = static_cast<Py_ssize_t>(values.size() / 3);
  v->shape[1] = 3;
  v->strides[0] = 3 * v->itemsize;
  v->strides[1] = v->itemsize;
  v->format[0] = format;
  v->format[1] = '\0';
  return reinterpret_cast<PyObject*>(v);
}

}  // namespace

PyObject* model_array_view(PyObject* data, const char* which) {
  DataObject* o = dataObjectOf(data);
  if (!o) return nullptr;
  auto* m = qorQuery<refhost::ModelDataObject>(o, "ModelDataObject");
  if (!m) {
    PyErr_Format(PyExc_TypeError, "expected a model's data (Mesh, Points, ...), not %s",
                 o->className());
    return nullptr;
  }
  const std::string w = which ? which : "";
  std::shared_ptr<const refhost::Geometry> g = m->geometry();
  if (w == "positions" || w == "normals" || w == "colors" || w == "triangles") {
    if (!g) Py_RETURN_NONE;
    if (w == "positions") return newView(g, g->positions, 'd');
    if (w == "triangles") return newView(g, g->triangles, 'i');
    const refhost::Normals& f = w == "normals" ? g->normals : g->colors;
    if (f.empty()) Py_RETURN_NONE;
    return newView(g, f, 'f');
  }
  PyErr_Format(PyExc_ValueError,
               "no model array '%s': expected positions, normals, colors or triangles", w.c_str());
  return nullptr;
}
