#include "python/qorapi/sweptlevers.h"

#include <string>
#include <utility>

#include "core/iptr.h"
#include "core/platformexception.h"
#include "module/pyedge.h"
#include "python/qorapi/scriptvalues.h"
#include "surfacing/curveshell.h"
#include "surfacing/sweptsurface.h"

namespace {

template <class F>
PyObject* guarded(const char* where, F&& body) {
  return qor::guardedCall(where, std::forward<F>(body));
}

/* The host curve of a script curve argument of SweepSurface.build; TypeError naming `what`
   for anything else. */
::IQorCurve* curveArgument(PyObject* value, const char* what) {
  DataObject* o = value == Py_None ? nullptr : dataObjectOf(value);
  if (value != Py_None && !o) return nullptr;
  ::IQorCurve* curve = o ? surfacing::hostCurveOf(o) : nullptr;
  if (!curve)
    PyErr_Format(PyExc_TypeError,
                 "SweepSurface.build: the %s must be a NurbCurve, CompositeCurve, LineFeature, "
                 "ArcCurve or PolylineCurve, not %s",
                 what, o ? o->className() : "None");
  return curve;
}

}  // namespace

PyObject* swept_make(const char* class_name) {
  const std::string c = class_name ? class_name : "";
  return guarded("make", [&]() -> PyObject* {
    IPtr<DataObject> made;
    if (c == "ExtrudedSurface")
      made = new surfacing::ExtrudedSurface();
    else if (c == "DraftedSurface")
      made = new surfacing::DraftedSurface();
    else if (c == "RotationalSurface")
      made = new surfacing::RotationalSurface();
    else if (c == "SweepSurface")
      made = new surfacing::SweepSurface();
    else
      return PyErr_Format(PyExc_ValueError, "no swept surface class named '%s'", c.c_str());
    return objectRef(made.get());
  });
}

PyObject* swept_evaluate(PyObject* surface, int which, double u, double v) {
  DataObject* o = dataObjectOf(surface);
  if (!o) return nullptr;
  auto* ops = dynamic_cast<surfacing::ISweptOperations*>(o);
  if (!ops)
    return PyErr_Format(PyExc_TypeError, "expected a swept surface, not a %s", o->className());
  return guarded("evaluate", [&]() -> PyObject* {
    return tupleOf(which == 0 ? ops->evaluatePoint(u, v) : ops->evaluateNormal(u, v));
  });
}

PyObject* sweep_iso_curve(PyObject* surface, int direction, double t) {
  auto* s = dataObjectAs<surfacing::SweepSurface>(surface, "SweepSurface");
  if (!s) return nullptr;
  return guarded("isoCurve", [&]() -> PyObject* {
    IPtr<DataObject> curve(direction == 0 ? s->isoCurveU(t) : s->isoCurveV(t));
    return scriptObjectOf(curve.get());
  });
}

PyObject* sweep_build(PyObject* sketch, PyObject* spine, PyObject* ruler) {
  ::IQorCurve* profile = curveArgument(sketch, "sketch");
  ::IQorCurve* path = profile ? curveArgument(spine, "spine") : nullptr;
  ::IQorCurve* guide = path ? curveArgument(ruler, "ruler") : nullptr;
  if (!guide) return nullptr;
  return guarded("build", [&]() -> PyObject* {
    IPtr<surfacing::SweepSurface> made(new surfacing::SweepSurface());
    ::IQorSweep* host = made->typedHost();
    if (!host) return PyErr_Format(PyExc_RuntimeError, "the host has no service 'IQorSweep'");
    host->setSpine(path);
    host->setRuler(guide);
    QorMatrix frame, inverse;
    made->swept()->frame(frame);
    frame.inverse(inverse);
    IPtr<::IQorCurve> local = surfacing::cloneOf(profile, "IQorCurve");
    if (local) local->transform(inverse);
    host->setSketch(local.get());
    return scriptObjectOf(made.get());
  });
}

PyObject* sweep_copy(PyObject* surface) {
  auto* s = dataObjectAs<surfacing::SweepSurface>(surface, "SweepSurface");
  if (!s) return nullptr;
  return guarded("clone", [&]() -> PyObject* {
    IPtr<surfacing::SweepSurface> made(new surfacing::SweepSurface());
    made->setHost(surfacing::cloneOf(s->typedHost(), "IQorSweep").get());
    return scriptObjectOf(made.get());
  });
}
