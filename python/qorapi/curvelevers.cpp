#include "python/qorapi/curvelevers.h"

#include <chrono>
#include <cstring>
#include <string>
#include <utility>

#include "core/iptr.h"
#include "core/platformexception.h"
#include "features/arccurve.h"
#include "features/linefeature.h"
#include "module/pyedge.h"
#include "python/qorapi/scriptvalues.h"
#include "python/qorapi/sequencelevers.h"
#include "surfacing/compositecurve.h"
#include "surfacing/curveshell.h"
#include "surfacing/nurbcurve.h"
#include "surfacing/nurbsurface.h"
#include "surfacing/polylinecurve.h"

namespace {

/* The name qorapi.FeatureUndoInfo knows its handles by. */
constexpr const char* kUndoCapsule = "qorapi.FeatureUndoInfo";

static_assert(sizeof(QorVector) == 3 * sizeof(double), "a vector is three packed doubles");

template <class F>
PyObject* guarded(const char* where, F&& body) {
  return qor::guardedCall(where, std::forward<F>(body));
}

PyObject* fail(PyObject* type, const std::string& text) {
  PyErr_SetString(type, text.c_str());
  return nullptr;
}

/* The three operations every curve shell of this module shares, found once per call. */
struct CurveShell {
  surfacing::NurbCurve* nurb = nullptr;
  surfacing::PolylineCurve* polyline = nullptr;
  surfacing::CompositeCurve* composite = nullptr;
  features::ArcCurve* arc = nullptr;
  features::LineFeature* line = nullptr;

  /* The curve's single evaluation: point (0), tangent (1) or curvature vector (2). */
  QorVector evaluate(int which, double t) const {
    if (nurb)
      return which == 0   ? nurb->evaluatePoint(t)
             : which == 1 ? nurb->evaluateTangent(t)
                          : nurb->evaluateCurvature(t);
    if (polyline)
      return which == 0   ? polyline->evaluatePoint(t)
             : which == 1 ? polyline->evaluateTangent(t)
                          : polyline->evaluateCurvature(t);
    if (composite)
      return which == 0   ? composite->evaluatePoint(t)
             : which == 1 ? composite->evaluateTangent(t)
                          : composite->evaluateCurvature(t);
    if (arc)
      return which == 0   ? arc->evaluatePoint(t)
             : which == 1 ? arc->evaluateTangent(t)
                          : arc->evaluateCurvature(t);
    return which == 0   ? line->evaluatePoint(t)
           : which == 1 ? line->evaluateTangent(t)
                        : line->evaluateCurvature(t);
  }
  /* The host as IQorCurve, borrowed; null without one. */
  ::IQorCurve* host() const {
    if (nurb) return nurb->hostCurve();
    if (polyline) return polyline->hostCurve();
    if (composite) return composite->hostCurve();
    features::Feature* f = arc ? static_cast<features::Feature*>(arc) : line;
    return qorQuery<::IQorCurve>(f->host(), "IQorCurve");
  }
};

/* The curve shell of a script object; with `features` the arc and line too. */
bool curveOf(PyObject* value, bool features, CurveShell& out) {
  DataObject* o = dataObjectOf(value);
  if (!o) return false;
  out.nurb = dynamic_cast<surfacing::NurbCurve*>(o);
  out.polyline = dynamic_cast<surfacing::PolylineCurve*>(o);
  out.composite = dynamic_cast<surfacing::CompositeCurve*>(o);
  if (features) {
    out.arc = dynamic_cast<features::ArcCurve*>(o);
    out.line = dynamic_cast<features::LineFeature*>(o);
  }
  if (out.nurb || out.polyline || out.composite || out.arc || out.line) return true;
  PyErr_Format(PyExc_TypeError, "expected a NurbCurve, PolylineCurve or CompositeCurve%s, not a %s",
               features ? ", ArcCurve or LineFeature" : "", o->className());
  return false;
}

/* A buffer of float64 held for a scope; `doubles` values, C-contiguous. */
struct Doubles {
  Py_buffer view{};
  bool held = false;
  Doubles() = default;
  Doubles(const Doubles&) = delete;
  Doubles& operator=(const Doubles&) = delete;
  ~Doubles() {
    if (held) PyBuffer_Release(&view);
  }
  /* False with TypeError or ValueError naming `what` unless `o` is a C-contiguous float64
     buffer of `count` values (any count when `count` is negative). */
  bool take(PyObject* o, const char* what, Py_ssize_t count, bool writable) {
    const int flags = PyBUF_C_CONTIGUOUS | PyBUF_FORMAT | (writable ? PyBUF_WRITABLE : 0);
    if (PyObject_GetBuffer(o, &view, flags) != 0) return false;
    held = true;
    if (view.itemsize != 8 || !view.format || std::strcmp(view.format, "d") != 0) {
      PyErr_Format(PyExc_TypeError, "%s must hold float64 values, not '%s'", what,
                   view.format ? view.format : "B");
      return false;
    }
    if (count >= 0 && view.len != count * 8) {
      PyErr_Format(PyExc_ValueError, "%s holds %zd values, not %zd", what, view.len / 8, count);
      return false;
    }
    return true;
  }
  Py_ssize_t size() const { return view.len / 8; }
  double* data() const { return static_cast<double*>(view.buf); }
};

/* Lets other threads run for a scope; takes the GIL back on every way out. */
struct WithoutGil {
  PyThreadState* state = PyEval_SaveThread();
  WithoutGil() = default;
  WithoutGil(const WithoutGil&) = delete;
  WithoutGil& operator=(const WithoutGil&) = delete;
  ~WithoutGil() { PyEval_RestoreThread(state); }
};

void dropUndo(PyObject* capsule) {
  auto* u = static_cast<IQorUndoInfo*>(PyCapsule_GetPointer(capsule, kUndoCapsule));
  if (u) u->release();
}

/* The IQorCurve of a script curve for a composite: null for None (the composite's own
   error then says what is wrong); TypeError for something that is no data object. */
bool memberOf(PyObject* value, IQorUnknown** out) {
  *out = nullptr;
  if (value == Py_None) return true;
  DataObject* o = dataObjectOf(value);
  if (!o) return false;
  *out = static_cast<IQorDataObject*>(o);
  return true;
}

}  // namespace

PyObject* surfacing_make(const char* class_name) {
  const std::string c = class_name ? class_name : "";
  return guarded("make", [&]() -> PyObject* {
    IPtr<DataObject> made;
    if (c == "NurbCurve")
      made = new surfacing::NurbCurve();
    else if (c == "PolylineCurve")
      made = new surfacing::PolylineCurve();
    else if (c == "CompositeCurve")
      made = new surfacing::CompositeCurve();
    else if (c == "NurbSurface")
      made = new surfacing::NurbSurface();
    else
      return fail(PyExc_ValueError, "no curve or surface class named '" + c + "'");
    return objectRef(made.get());
  });
}

PyObject* surfacing_nurb_curve_initialize(PyObject* curve, int degree, int count) {
  auto* c = dataObjectAs<surfacing::NurbCurve>(curve, "NurbCurve");
  if (!c) return nullptr;
  return guarded("initialize", [&]() -> PyObject* {
    c->initialize(degree, count);
    Py_RETURN_NONE;
  });
}

PyObject* surfacing_nurb_curve_copy_from(PyObject* curve, PyObject* source) {
  auto* c = dataObjectAs<surfacing::NurbCurve>(curve, "NurbCurve");
  auto* s = c ? dataObjectAs<surfacing::NurbCurve>(source, "NurbCurve") : nullptr;
  if (!s) return nullptr;
  return guarded("copyFrom", [&]() -> PyObject* {
    c->copyFrom(s->nurbCurve());
    Py_RETURN_NONE;
  });
}

PyObject* surfacing_nurb_surface_initialize(PyObject* surface, int degree_u, int degree_v,
                                            int count_u, int count_v) {
  auto* s = dataObjectAs<surfacing::NurbSurface>(surface, "NurbSurface");
  if (!s) return nullptr;
  return guarded("initialize", [&]() -> PyObject* {
    s->initialize(degree_u, degree_v, count_u, count_v);
    Py_RETURN_NONE;
  });
}

PyObject* surfacing_polyline_initialize_count(PyObject* polyline, int count) {
  auto* p = dataObjectAs<surfacing::PolylineCurve>(polyline, "PolylineCurve");
  if (!p) return nullptr;
  return guarded("initialize", [&]() -> PyObject* {
    p->initialize(static_cast<int32_t>(count));
    Py_RETURN_NONE;
  });
}

PyObject* surfacing_polyline_initialize(PyObject* polyline, PyObject* points, PyObject* knots) {
  auto* p = dataObjectAs<surfacing::PolylineCurve>(polyline, "PolylineCurve");
  if (!p) return nullptr;
  auto* pts = dynamic_cast<Vector3DArray*>(sequenceOf(points));
  auto* ks = dynamic_cast<DoubleArray*>(sequenceOf(knots));
  if (!pts || !ks)
    return fail(PyExc_TypeError, "initialize takes a Vector3DArray and a DoubleArray");
  return guarded("initialize", [&]() -> PyObject* {
    p->initialize(pts, ks);
    Py_RETURN_NONE;
  });
}

PyObject* surfacing_curve_evaluate(PyObject* curve, int which, double t) {
  CurveShell c;
  if (!curveOf(curve, false, c)) return nullptr;
  return guarded("evaluate", [&]() -> PyObject* { return tupleOf(c.evaluate(which, t)); });
}

PyObject* surfacing_curve_transform(PyObject* curve, PyObject* matrix) {
  CurveShell c;
  QorMatrix m;
  if (!curveOf(curve, false, c) || !matrixOf(matrix, m)) return nullptr;
  return guarded("transform", [&]() -> PyObject* {
    if (c.nurb)
      c.nurb->transform(m);
    else if (c.polyline)
      c.polyline->transform(m);
    else
      c.composite->transform(m);
    Py_RETURN_NONE;
  });
}

PyObject* surfacing_curve_prepare(PyObject* curve) {
  CurveShell c;
  if (!curveOf(curve, false, c)) return nullptr;
  return guarded("prepare", [&]() -> PyObject* {
    if (c.nurb)
      c.nurb->prepare();
    else if (c.polyline)
      c.polyline->prepare();
    else
      c.composite->prepare();
    Py_RETURN_NONE;
  });
}

PyObject* surfacing_surface_evaluate(PyObject* surface, int which, double u, double v) {
  auto* s = dataObjectAs<surfacing::NurbSurface>(surface, "NurbSurface");
  if (!s) return nullptr;
  return guarded("evaluate", [&]() -> PyObject* {
    if (which == 0) return tupleOf(s->evaluatePoint(u, v));
    if (which == 1) {
      QorVector su, sv;
      s->evaluateTangent(u, v, su, sv);
      return Py_BuildValue("((ddd)(ddd))", su.x, su.y, su.z, sv.x, sv.y, sv.z);
    }
    double kMin = 0.0, kMax = 0.0;
    s->evaluateCurvature(u, v, kMin, kMax);
    return Py_BuildValue("(dd)", kMin, kMax);
  });
}

PyObject* surfacing_clone(PyObject* object) {
  DataObject* o = dataObjectOf(object);
  if (!o) return nullptr;
  return guarded("clone", [&]() -> PyObject* {
    IPtr<IQorUnknown> made(o->clone());
    return scriptObjectOf(qorQuery<DataObject>(made.get(), "DataObject"));
  });
}

PyObject* surfacing_create_undo(PyObject* object) {
  DataObject* o = dataObjectOf(object);
  if (!o) return nullptr;
  return guarded("createUndoInfo", [&]() -> PyObject* {
    IQorUndoInfo* u = o->createUndoInfo();
    if (!u) Py_RETURN_NONE;
    u->addRef();
    PyObject* c = PyCapsule_New(u, kUndoCapsule, dropUndo);
    if (!c) u->release();
    return c;
  });
}

PyObject* surfacing_composite_add(PyObject* composite, PyObject* curve) {
  auto* c = dataObjectAs<surfacing::CompositeCurve>(composite, "CompositeCurve");
  IQorUnknown* member = nullptr;
  if (!c || !memberOf(curve, &member)) return nullptr;
  return guarded("addCurve", [&]() -> PyObject* {
    c->addCurve(member);
    Py_RETURN_NONE;
  });
}

PyObject* surfacing_composite_set(PyObject* composite, int index, PyObject* curve) {
  auto* c = dataObjectAs<surfacing::CompositeCurve>(composite, "CompositeCurve");
  IQorUnknown* member = nullptr;
  if (!c || !memberOf(curve, &member)) return nullptr;
  return guarded("setCurve", [&]() -> PyObject* {
    c->setCurve(index, member);
    Py_RETURN_NONE;
  });
}

PyObject* surfacing_composite_curve(PyObject* composite, int index) {
  auto* c = dataObjectAs<surfacing::CompositeCurve>(composite, "CompositeCurve");
  if (!c) return nullptr;
  return guarded("curve", [&]() -> PyObject* {
    IPtr<DataObject> member(c->curve(index));
    return scriptObjectOf(member.get());
  });
}

PyObject* surfacing_composite_count(PyObject* composite) {
  auto* c = dataObjectAs<surfacing::CompositeCurve>(composite, "CompositeCurve");
  if (!c) return nullptr;
  return guarded("numCurves", [&]() -> PyObject* { return PyLong_FromLong(c->numCurves()); });
}

PyObject* surfacing_curve_evaluate_many(PyObject* curve, PyObject* params, int derivatives,
                                        PyObject* out) {
  CurveShell c;
  if (!curveOf(curve, true, c)) return nullptr;
  if (derivatives < 0 || derivatives > 2)
    return fail(PyExc_ValueError,
                "derivatives must be 0, 1 or 2, not " + std::to_string(derivatives));
  Doubles t, o;
  if (!t.take(params, "the parameters", -1, false)) return nullptr;
  const Py_ssize_t n = t.size();
  if (!o.take(out, "the output", n * 3 * (derivatives + 1), true)) return nullptr;
  return guarded("evaluate_many", [&]() -> PyObject* {
    IPtr<::IQorCurve> host(c.host());
    if (!host) return fail(PyExc_RuntimeError, "the curve has no host to evaluate");
    const double* ts = t.data();
    // Every parameter first: the first one outside the closed range is evaluated alone, so
    // that the curve raises its own error (which names its class).
    const double lo = host->range(0), hi = host->range(1);
    for (Py_ssize_t i = 0; i < n; ++i)
      if (ts[i] < lo || ts[i] > hi) c.evaluate(derivatives == 0 ? 0 : 1, ts[i]);
    auto* rows = reinterpret_cast<QorVector*>(o.data());
    ::IQorCurve* h = host.get();
    {
      WithoutGil unlocked;  // taken back before None is counted
      if (derivatives == 0) {
        for (Py_ssize_t i = 0; i < n; ++i) h->evaluatePoint(rows[i], ts[i]);
      } else {
        const int32_t order = derivatives;
        for (Py_ssize_t i = 0; i < n; ++i) h->evaluate(ts[i], order, rows + i * (order + 1));
      }
    }
    Py_RETURN_NONE;
  });
}

PyObject* surfacing_surface_evaluate_many(PyObject* surface, PyObject* u, PyObject* v,
                                          int derivatives, bool normals, PyObject* outputs) {
  auto* f = dataObjectAs<features::SurfaceFeature>(surface, "surface");
  if (!f) return nullptr;
  // Only the NURB surface checks its parameters; the swept surfaces evaluate anywhere.
  auto* s = dynamic_cast<surfacing::NurbSurface*>(f);
  if (derivatives < 0 || derivatives > 1)
    return fail(PyExc_ValueError, "derivatives must be 0 or 1, not " + std::to_string(derivatives));
  Doubles us, vs;
  if (!us.take(u, "u", -1, false)) return nullptr;
  const Py_ssize_t n = us.size();
  if (!vs.take(v, "v", n, false)) return nullptr;
  const Py_ssize_t want = 1 + 2 * derivatives + (normals ? 1 : 0);
  if (!PyTuple_Check(outputs) || PyTuple_GET_SIZE(outputs) != want)
    return fail(PyExc_TypeError, "outputs must be a tuple of " + std::to_string(want) + " arrays");
  Doubles outs[4];
  for (Py_ssize_t k = 0; k < want; ++k)
    if (!outs[k].take(PyTuple_GET_ITEM(outputs, k), "an output", n * 3, true)) return nullptr;
  return guarded("evaluate_many", [&]() -> PyObject* {
    IPtr<::IQorSurface> host(qorQuery<::IQorSurface>(f->surfaceExtra(), "IQorSurface"));
    if (!host) return fail(PyExc_RuntimeError, "the surface has no host to evaluate");
    const double* pu = us.data();
    const double* pv = vs.data();
    Vector2D ur, vr;
    host->parameterRange(ur, vr);
    for (Py_ssize_t i = 0; s && i < n; ++i) {
      if (pu[i] < ur.x || pu[i] > ur.y || pv[i] < vr.x || pv[i] > vr.y) {
        QorVector a, b;
        if (derivatives == 0)
          s->evaluatePoint(pu[i], pv[i]);
        else
          s->evaluateTangent(pu[i], pv[i], a, b);
      }
    }
    auto* points = reinterpret_cast<QorVector*>(outs[0].data());
    QorVector* su = derivatives ? reinterpret_cast<QorVector*>(outs[1].data()) : nullptr;
    QorVector* sv = derivatives ? reinterpret_cast<QorVector*>(outs[2].data()) : nullptr;
    QorVector* nv = normals ? reinterpret_cast<QorVector*>(outs[want - 1].data()) : nullptr;
    ::IQorSurface* h = host.get();
    {
      WithoutGil unlocked;  // taken back before None is counted
      if (derivatives == 0) {
        for (Py_ssize_t i = 0; i < n; ++i)
          h->evaluatePoint(points[i], pu[i], pv[i], nv ? nv + i : nullptr);
      } else {
        SurfaceRows rows;
        for (Py_ssize_t i = 0; i < n; ++i) {
          h->evaluate(pu[i], pv[i], 1, rows);
          points[i] = rows[0][0];
          su[i] = rows[1][0];
          sv[i] = rows[1][1];
          // The host's unit normal, with its own rule where Su x Sv vanishes.
          if (nv) {
            QorVector p;
            h->evaluatePoint(p, pu[i], pv[i], nv + i);
          }
        }
      }
    }
    Py_RETURN_NONE;
  });
}

PyObject* surfacing_native_point_loop(PyObject* curve, PyObject* params, PyObject* out) {
  CurveShell c;
  if (!curveOf(curve, true, c)) return nullptr;
  Doubles t, o;
  if (!t.take(params, "the parameters", -1, false) ||
      !o.take(out, "the output", t.size() * 3, true))
    return nullptr;
  ::IQorCurve* h = c.host();
  if (!h) return fail(PyExc_RuntimeError, "the curve has no host to evaluate");
  const double* ts = t.data();
  auto* rows = reinterpret_cast<QorVector*>(o.data());
  const Py_ssize_t n = t.size();
  const auto start = std::chrono::steady_clock::now();
  for (Py_ssize_t i = 0; i < n; ++i) h->evaluatePoint(rows[i], ts[i]);
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  return PyFloat_FromDouble(took.count());
}
