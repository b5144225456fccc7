#include "python/qorapi/featurelevers.h"

#include <exception>
#include <string>

#include "core/iptr.h"
#include "core/platformexception.h"
#include "features/arccurve.h"
#include "features/linefeature.h"
#include "module/pyedge.h"
#include "python/qorapi/scriptvalues.h"

namespace {

constexpr const char* kUndoCapsule = "qorapi.FeatureUndoInfo";

PyObject* fail(PyObject* type, const std::string& text) {
  PyErr_SetString(type, text.c_str());
  return nullptr;
}

/* Runs `body`; an exception of the system becomes the script's. */
template <class F>
PyObject* guarded(const char* where, F&& body) {
  try {
    return body();
  } catch (PlatformException* e) {
    PyObject* text = qor::qorStringToPy(e->message);
    if (text) {
      PyErr_SetObject(e->code > 4 ? PyExc_RuntimeError : PyExc_AttributeError, text);
      Py_DECREF(text);
    }
    delete e;
  } catch (std::exception& e) {
    PyErr_Format(PyExc_RuntimeError, "internal error in %s: %s", where, e.what());
  }
  return nullptr;
}

/* Three numbers from a sequence; false with TypeError naming `what`. */
bool vectorOf(PyObject* value, const char* what, QorVector& out) {
  PyObject* seq = PySequence_Fast(value, "");
  if (!seq || PySequence_Fast_GET_SIZE(seq) != 3) {
    Py_XDECREF(seq);
    PyErr_Clear();
    PyErr_Format(PyExc_TypeError, "%s must be a Vector3D or three numbers, not %R", what, value);
    return false;
  }
  for (int i = 0; i < 3; ++i) {
    out[i] = PyFloat_AsDouble(PySequence_Fast_GET_ITEM(seq, i));
    if (out[i] == -1.0 && PyErr_Occurred()) {
      Py_DECREF(seq);
      PyErr_Clear();
      PyErr_Format(PyExc_TypeError, "%s must be a Vector3D or three numbers, not %R", what, value);
      return false;
    }
  }
  Py_DECREF(seq);
  return true;
}

void dropUndo(PyObject* capsule) {
  auto* u = static_cast<IQorUndoInfo*>(PyCapsule_GetPointer(capsule, kUndoCapsule));
  if (u) u->release();
}

}  // namespace

PyObject* make_feature(const char* class_name) {
  const std::string c = class_name ? class_name : "";
  return guarded("make_feature", [&]() -> PyObject* {
    DataObject* made = nullptr;
    if (c == "ArcCurve")
      made = new features::ArcCurve();
    else if (c == "LineFeature")
      made = new features::LineFeature();
    else
      return fail(PyExc_ValueError, "no feature class named '" + c + "'");
    IPtr<DataObject> held(made);
    return objectRef(made);
  });
}

PyObject* feature_transform(PyObject* feature, PyObject* matrix) {
  auto* f = dataObjectAs<features::Feature>(feature, "Feature");
  if (!f) return nullptr;
  QorMatrix m;
  if (!matrixOf(matrix, m)) return nullptr;
  return guarded("transform", [&]() -> PyObject* {
    f->transform(m);
    Py_RETURN_NONE;
  });
}

PyObject* feature_create_undo(PyObject* feature) {
  auto* f = dataObjectAs<features::Feature>(feature, "Feature");
  if (!f) return nullptr;
  return guarded("createUndoInfo", [&]() -> PyObject* {
    IQorUndoInfo* u = f->createUndoInfo();
    if (!u) Py_RETURN_NONE;
    u->addRef();
    PyObject* c = PyCapsule_New(u, kUndoCapsule, dropUndo);
    if (!c) u->release();
    return c;
  });
}

PyObject* undo_call(PyObject* record, const char* operation) {
  auto* u = static_cast<IQorUndoInfo*>(PyCapsule_GetPointer(record, kUndoCapsule));
  if (!u) return nullptr;
  const std::string op = operation ? operation : "";
  return guarded(op.c_str(), [&]() -> PyObject* {
    if (op == "undoSize") return PyLong_FromLongLong(u->undoSize());
    if (op == "captureAfter")
      u->captureAfter();
    else if (op == "undo")
      u->undo();
    else if (op == "redo")
      u->redo();
    else
      return fail(PyExc_ValueError, "no undo operation named '" + op + "'");
    Py_RETURN_NONE;
  });
}

PyObject* arc_initialize(PyObject* arc, PyObject* center, double radius, PyObject* normal,
                         PyObject* rad_dir) {
  auto* a = dataObjectAs<features::ArcCurve>(arc, "ArcCurve");
  QorVector c, n, r;
  if (!a || !vectorOf(center, "center", c) || !vectorOf(normal, "normal", n)) return nullptr;
  const bool withDir = rad_dir && rad_dir != Py_None;
  if (withDir && !vectorOf(rad_dir, "radDir", r)) return nullptr;
  return guarded("initialize", [&]() -> PyObject* {
    if (withDir)
      a->initialize(c, radius, n, r);
    else
      a->initialize(c, radius, n);
    Py_RETURN_NONE;
  });
}

PyObject* line_initialize(PyObject* line, PyObject* start, PyObject* second, PyObject* length) {
  auto* l = dataObjectAs<features::LineFeature>(line, "LineFeature");
  QorVector s, v;
  const bool byLength = length && length != Py_None;
  if (!l || !vectorOf(start, "start", s) || !vectorOf(second, byLength ? "direction" : "end", v))
    return nullptr;
  double len = 0.0;
  if (byLength) {
    len = PyFloat_AsDouble(length);
    if (len == -1.0 && PyErr_Occurred()) return nullptr;
  }
  return guarded("initialize", [&]() -> PyObject* {
    if (byLength)
      l->initialize(s, v, len);
    else
      l->initialize(s, v);
    Py_RETURN_NONE;
  });
}

PyObject* curve_evaluate(PyObject* curve, int which, double t) {
  DataObject* o = dataObjectOf(curve);
  if (!o) return nullptr;
  auto* arc = dynamic_cast<features::ArcCurve*>(o);
  auto* line = dynamic_cast<features::LineFeature*>(o);
  if (!arc && !line)
    return fail(PyExc_TypeError,
                std::string("expected an ArcCurve or LineFeature, not a ") + o->className());
  return guarded("evaluate", [&]() -> PyObject* {
    QorVector v;
    if (which == 0)
      v = arc ? arc->evaluatePoint(t) : line->evaluatePoint(t);
    else if (which == 1)
      v = arc ? arc->evaluateTangent(t) : line->evaluateTangent(t);
    else
      v = arc ? arc->evaluateCurvature(t) : line->evaluateCurvature(t);
    return tupleOf(v);
  });
}

PyObject* curve_prepare(PyObject* curve) {
  DataObject* o = dataObjectOf(curve);
  if (!o) return nullptr;
  if (auto* arc = dynamic_cast<features::ArcCurve*>(o))
    arc->prepare();
  else if (auto* line = dynamic_cast<features::LineFeature*>(o))
    line->prepare();
  else
    return fail(PyExc_TypeError,
                std::string("expected an ArcCurve or LineFeature, not a ") + o->className());
  Py_RETURN_NONE;
}
