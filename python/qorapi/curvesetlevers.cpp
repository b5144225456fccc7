#include "python/qorapi/curvesetlevers.h"

#include <utility>

#include "core/iptr.h"
#include "core/platformexception.h"
#include "module/pyedge.h"
#include "python/qorapi/scriptvalues.h"
#include "surfacing/curves.h"

namespace {

template <class F>
PyObject* guarded(const char* where, F&& body) {
  return qor::guardedCall(where, std::forward<F>(body));
}

curves::Curves* curvesOf(PyObject* value) {
  return dataObjectAs<curves::Curves>(value, "Curves");
}

/* The native curve of a script value: null for None; false with TypeError for something that
   is no data object. */
bool curveArg(PyObject* value, DataObject** out) {
  *out = nullptr;
  if (value == Py_None) return true;
  *out = dataObjectOf(value);
  return *out != nullptr;
}

}  // namespace

PyObject* curveset_make() {
  return guarded("make", [&]() -> PyObject* {
    IPtr<DataObject> made(new curves::Curves());
    return objectRef(made.get());
  });
}

PyObject* curveset_point(PyObject* curves, int which, int index) {
  auto* c = curvesOf(curves);
  if (!c) return nullptr;
  return guarded(which == 0 ? "startPoint" : "endPoint", [&]() -> PyObject* {
    return tupleOf(which == 0 ? c->startPoint(index) : c->endPoint(index));
  });
}

PyObject* curveset_rebuild(PyObject* curves, double tolerance, bool now) {
  auto* c = curvesOf(curves);
  if (!c) return nullptr;
  return guarded("rebuild", [&]() -> PyObject* {
    c->rebuild(tolerance, now);
    Py_RETURN_NONE;
  });
}

PyObject* curveset_step(PyObject* curves, int which, int key) {
  auto* c = curvesOf(curves);
  if (!c) return nullptr;
  return guarded(which == 0 ? "nextEnd" : "previousEnd", [&]() -> PyObject* {
    const DirIndex end(key);
    IPtr<DirIndex> next(which == 0 ? c->nextEnd(end) : c->previousEnd(end));
    return PyLong_FromLong(next ? next->rawValue() : 0);
  });
}

PyObject* curveset_test(PyObject* curves, int key, int second) {
  auto* c = curvesOf(curves);
  if (!c) return nullptr;
  return guarded(second ? "testPair" : "testEnd", [&]() -> PyObject* {
    const bool yes =
        second ? c->testPair(DirIndex(key), DirIndex(second)) : c->testEnd(DirIndex(key));
    return PyBool_FromLong(yes);
  });
}

PyObject* curveset_curve(PyObject* curves, int index) {
  auto* c = curvesOf(curves);
  if (!c) return nullptr;
  return guarded("curve", [&]() -> PyObject* {
    IPtr<DataObject> made(c->curve(index));
    return scriptObjectOf(made.get());
  });
}

PyObject* curveset_add(PyObject* curves, PyObject* curve) {
  auto* c = curvesOf(curves);
  DataObject* object = nullptr;
  if (!c || !curveArg(curve, &object)) return nullptr;
  return guarded("addCurve", [&]() -> PyObject* { return PyLong_FromLong(c->addCurve(object)); });
}

PyObject* curveset_set(PyObject* curves, int index, PyObject* curve) {
  auto* c = curvesOf(curves);
  DataObject* object = nullptr;
  if (!c || !curveArg(curve, &object)) return nullptr;
  return guarded("setCurve", [&]() -> PyObject* {
    c->setCurve(index, object);
    Py_RETURN_NONE;
  });
}

PyObject* curveset_remove(PyObject* curves, int index) {
  auto* c = curvesOf(curves);
  if (!c) return nullptr;
  return guarded("removeCurve", [&]() -> PyObject* {
    c->removeCurve(index);
    Py_RETURN_NONE;
  });
}

PyObject* curveset_indices(PyObject* curves) {
  auto* c = curvesOf(curves);
  if (!c) return nullptr;
  return guarded("indices", [&]() -> PyObject* {
    IPtr<curves::CurvesIter> it(c->iterator());
    PyObject* list = PyList_New(0);
    if (!list) return nullptr;
    for (it->rewind(); it->advance();) {
      PyObject* i = PyLong_FromLong(it->index());
      if (!i || PyList_Append(list, i) < 0) {
        Py_XDECREF(i);
        Py_DECREF(list);
        return nullptr;
      }
      Py_DECREF(i);
    }
    return list;
  });
}

PyObject* curveset_clone(PyObject* curves) {
  auto* c = curvesOf(curves);
  if (!c) return nullptr;
  return guarded("clone", [&]() -> PyObject* {
    IPtr<DataObject> copy(dynamic_cast<curves::Curves*>(c->clone()));
    return scriptObjectOf(copy.get());
  });
}

PyObject* curveset_has_set(PyObject* curves) {
  auto* c = curvesOf(curves);
  if (!c) return nullptr;
  return PyBool_FromLong(c->curveSet() != nullptr);
}
