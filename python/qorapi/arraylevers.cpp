#include "python/qorapi/arraylevers.h"

#include <string>
#include <vector>

#include "base/bitvector.h"
#include "bulk/qorvectorarray.h"
#include "persistence/memstream.h"

namespace {

constexpr const char* kCapsule = "qorapi.QorVectorArray";

void destroy(PyObject* capsule) {
  delete static_cast<QorVectorArray*>(PyCapsule_GetPointer(capsule, kCapsule));
}

QorVectorArray* arrayOf(PyObject* capsule) {
  return static_cast<QorVectorArray*>(PyCapsule_GetPointer(capsule, kCapsule));
}

// A C-contiguous buffer of doubles from obj, writable when asked; false with an error set.
bool doubles(PyObject* obj, Py_buffer* view, bool writable) {
  const int flags = PyBUF_C_CONTIGUOUS | PyBUF_FORMAT | (writable ? PyBUF_WRITABLE : 0);
  if (PyObject_GetBuffer(obj, view, flags) != 0) return false;
  if (view->itemsize != sizeof(double) || !view->format || std::string(view->format) != "d") {
    PyErr_Format(PyExc_TypeError, "expected a buffer of float64, got format '%s'",
                 view->format ? view->format : "B");
    PyBuffer_Release(view);
    return false;
  }
  return true;
}

}  // namespace

PyObject* point_array_new() {
  return PyCapsule_New(new QorVectorArray(0), kCapsule, destroy);
}

PyObject* point_array_size(PyObject* array) {
  QorVectorArray* a = arrayOf(array);
  return a ? PyLong_FromLong(a->size()) : nullptr;
}

PyObject* point_array_copy_out(PyObject* array, PyObject* out) {
  QorVectorArray* a = arrayOf(array);
  Py_buffer view;
  if (!a || !doubles(out, &view, true)) return nullptr;
  const Py_ssize_t want = Py_ssize_t(3) * a->size();
  if (view.len / Py_ssize_t(sizeof(double)) != want) {
    PyErr_Format(PyExc_ValueError, "expected room for %zd doubles, got %zd", want,
                 view.len / Py_ssize_t(sizeof(double)));
    PyBuffer_Release(&view);
    return nullptr;
  }
  Py_BEGIN_ALLOW_THREADS a->copyOut(1, a->size(), static_cast<double*>(view.buf));
  Py_END_ALLOW_THREADS PyBuffer_Release(&view);
  Py_RETURN_NONE;
}

PyObject* point_array_copy_in(PyObject* array, PyObject* points) {
  QorVectorArray* a = arrayOf(array);
  Py_buffer view;
  if (!a || !doubles(points, &view, false)) return nullptr;
  const Py_ssize_t values = view.len / Py_ssize_t(sizeof(double));
  if (values % 3 != 0 || values / 3 > QorVectorArray::kMaxCount) {
    PyErr_Format(PyExc_ValueError, "expected 3 doubles per point, got %zd doubles", values);
    PyBuffer_Release(&view);
    return nullptr;
  }
  const int32_t n = static_cast<int32_t>(values / 3);
  a->clearAll();
  a->reserve(n + 1);
  a->setSize(n);
  a->copyIn(1, n, static_cast<const double*>(view.buf));
  PyBuffer_Release(&view);
  Py_RETURN_NONE;
}

PyObject* point_array_sort(PyObject* array, bool unique) {
  QorVectorArray* a = arrayOf(array);
  if (!a) return nullptr;
  const int32_t n = a->size();
  BitVector kept(n + 1);
  QorMM::Array<int> indices(0);
  a->sort(unique, &indices, &kept);
  std::vector<int32_t> places, order;
  for (int32_t i = kept.nextSet(0); i >= 0; i = kept.nextSet(i)) places.push_back(i);
  for (int32_t i = 1; i <= n; ++i) order.push_back(indices.get(i));
  auto bytes = [](const std::vector<int32_t>& v) {
    return PyBytes_FromStringAndSize(reinterpret_cast<const char*>(v.data()),
                                     Py_ssize_t(v.size() * sizeof(int32_t)));
  };
  return Py_BuildValue("(NN)", bytes(places), bytes(order));
}

PyObject* point_array_bounds(PyObject* array) {
  QorVectorArray* a = arrayOf(array);
  if (!a) return nullptr;
  QorVector lo, hi;
  a->bounds(&lo, &hi);
  return Py_BuildValue("((ddd)(ddd))", lo.x, lo.y, lo.z, hi.x, hi.y, hi.z);
}

PyObject* point_array_stream(PyObject* array) {
  QorVectorArray* a = arrayOf(array);
  if (!a) return nullptr;
  BinOutputMemory out;
  if (!a->write(out) || !out.flush()) {
    PyErr_SetString(PyExc_OSError, "the point array could not be written to memory");
    return nullptr;
  }
  return PyBytes_FromStringAndSize(reinterpret_cast<const char*>(out.data()),
                                   Py_ssize_t(out.size()));
}
