#include "python/qorapi/surfacelevers.h"

#include <cstring>
#include <string>
#include <vector>

#include "core/platformexception.h"
#include "datamodel/dataobject.h"
#include "features/conesurface.h"
#include "features/cylindersurface.h"
#include "features/planesurface.h"
#include "features/spheresurface.h"
#include "features/torussurface.h"
#include "module/pyedge.h"
#include "python/qorapi/scriptvalues.h"

namespace {

PyObject* fail(PyObject* type, const std::string& text) {
  PyErr_SetString(type, text.c_str());
  return nullptr;
}

/* Runs `body`; a class error of a shell becomes the script's RuntimeError with its text. */
template <class F>
PyObject* guarded(F&& body) {
  try {
    return body();
  } catch (PlatformException* e) {
    PyObject* text = qor::qorStringToPy(e->message);
    if (text) {
      PyErr_SetObject(e->code > 4 ? PyExc_RuntimeError : PyExc_AttributeError, text);
      Py_DECREF(text);
    }
    delete e;
  }
  return nullptr;
}

/* The shell interface T (named `name`) of a script feature, with a TypeError naming
   `what` when it has none. */
template <class T>
T* shellOf(PyObject* feature, const char* name, const char* what) {
  DataObject* o = dataObjectOf(feature);
  if (!o) return nullptr;
  auto* s = qorQuery<T>(o, name);
  if (!s) PyErr_Format(PyExc_TypeError, "%s is not a %s", o->className(), what);
  return s;
}

template <class S>
PyObject* made(const char* service) {
  IPtr<S> shell(new S());
  shell->createHost();
  if (!shell->host()) {
    shell.reset();  // its destructor logs: no Python error may be pending then
    return fail(PyExc_LookupError, std::string("the host has no service ") + service);
  }
  return objectRef(shell.get());
}

/* Reads numbers off a flat list, in order. */
struct Numbers {
  std::vector<double> v;
  size_t at = 0;
  double num() { return v[at++]; }
  QorVector vec() {
    QorVector r(v[at], v[at + 1], v[at + 2]);
    at += 3;
    return r;
  }
  Vector2D pair() {
    Vector2D r(v[at], v[at + 1]);
    at += 2;
    return r;
  }
};

bool formIs(const char* form, const char* name) {
  return std::strcmp(form, name) == 0;
}

PyObject* done() {
  Py_RETURN_NONE;
}

PyObject* vectorToPy(const QorVector& v) {
  return Py_BuildValue("(ddd)", v.x, v.y, v.z);
}

}  // namespace

PyObject* make_surface(const char* class_name) {
  return guarded([&]() -> PyObject* {
    if (formIs(class_name, "ConeSurface")) return made<features::ConeSurface>("IQorCone");
    if (formIs(class_name, "CylinderSurface"))
      return made<features::CylinderSurface>("IQorCylinder");
    if (formIs(class_name, "PlaneSurface")) return made<features::PlaneSurface>("IQorPlane");
    if (formIs(class_name, "SphereSurface")) return made<features::SphereSurface>("IQorSphere");
    if (formIs(class_name, "TorusSurface")) return made<features::TorusSurface>("IQorTorus");
    return fail(PyExc_LookupError, std::string("no surface class ") + class_name);
  });
}

PyObject* surface_initialize(PyObject* feature, const char* form, PyObject* numbers) {
  DataObject* o = dataObjectOf(feature);
  if (!o) return nullptr;
  Numbers n;
  {
    PyObject* seq = PySequence_Fast(numbers, "the numbers must be a sequence");
    if (!seq) return nullptr;
    const Py_ssize_t count = PySequence_Fast_GET_SIZE(seq);
    for (Py_ssize_t i = 0; i < count; ++i) {
      n.v.push_back(PyFloat_AsDouble(PySequence_Fast_GET_ITEM(seq, i)));
      if (PyErr_Occurred()) break;
    }
    Py_DECREF(seq);
    if (PyErr_Occurred()) return nullptr;
  }
  // How many numbers each form takes.
  static const std::pair<const char*, size_t> kSizes[] = {
      {"circles", 8}, {"circles_dir", 11}, {"apex", 7},   {"apex_range", 9}, {"apex_range_dir", 12},
      {"ends", 7},    {"ends_dir", 10},    {"axis", 8},   {"axis_dir", 11},  {"center", 4},
      {"frame", 8},   {"dir", 11},         {"normal", 6}, {"udir", 9},       {"ranges", 13}};
  return guarded([&]() -> PyObject* {
    if (auto* c = qorQuery<features::IQorCone>(o, "features::IQorCone")) {
      if (formIs(form, "circles") && n.v.size() == 8) {
        QorVector a = n.vec(), b = n.vec();
        double r0 = n.num(), r1 = n.num();
        return c->initialize(a, b, r0, r1), done();
      }
      if (formIs(form, "circles_dir") && n.v.size() == 11) {
        QorVector a = n.vec(), b = n.vec();
        double r0 = n.num(), r1 = n.num();
        return c->initialize(a, b, r0, r1, n.vec()), done();
      }
      if (formIs(form, "apex") && n.v.size() == 7) {
        QorVector a = n.vec(), b = n.vec();
        return c->initialize(a, b, n.num()), done();
      }
      if (formIs(form, "apex_range") && n.v.size() == 9) {
        QorVector a = n.vec(), b = n.vec();
        double h = n.num(), f = n.num(), t = n.num();
        return c->initialize(a, b, h, f, t), done();
      }
      if (formIs(form, "apex_range_dir") && n.v.size() == 12) {
        QorVector a = n.vec(), b = n.vec();
        double h = n.num(), f = n.num(), t = n.num();
        return c->initialize(a, b, h, f, t, n.vec()), done();
      }
    } else if (auto* y = qorQuery<features::IQorCylinder>(o, "features::IQorCylinder")) {
      QorVector a = n.v.size() >= 6 ? n.vec() : QorVector(), b = n.v.size() >= 6 ? n.vec() : a;
      if (formIs(form, "ends") && n.v.size() == 7) return y->initialize(a, b, n.num()), done();
      if (formIs(form, "ends_dir") && n.v.size() == 10) {
        double r = n.num();
        return y->initialize(a, b, r, n.vec()), done();
      }
      if (formIs(form, "axis") && n.v.size() == 8) {
        double h = n.num(), r = n.num();
        return y->initialize(a, b, h, r), done();
      }
      if (formIs(form, "axis_dir") && n.v.size() == 11) {
        double h = n.num(), r = n.num();
        return y->initialize(a, b, h, r, n.vec()), done();
      }
    } else if (auto* s = qorQuery<features::IQorSphere>(o, "features::IQorSphere")) {
      if (formIs(form, "center") && n.v.size() == 4) {
        QorVector c0 = n.vec();
        return s->initialize(c0, n.num()), done();
      }
      if (formIs(form, "axis") && n.v.size() == 7) {
        QorVector c0 = n.vec();
        double r = n.num();
        return s->initialize(c0, r, n.vec()), done();
      }
      if (formIs(form, "axis_dir") && n.v.size() == 10) {
        QorVector c0 = n.vec();
        double r = n.num();
        QorVector a = n.vec();
        return s->initialize(c0, r, a, n.vec()), done();
      }
    } else if (auto* t = qorQuery<features::IQorTorus>(o, "features::IQorTorus")) {
      QorVector c0 = n.v.size() >= 8 ? n.vec() : QorVector(), a = n.v.size() >= 8 ? n.vec() : c0;
      if (formIs(form, "frame") && n.v.size() == 8) {
        double r0 = n.num(), r1 = n.num();
        return t->initialize(c0, a, r0, r1), done();
      }
      if (formIs(form, "dir") && n.v.size() == 11) {
        double r0 = n.num(), r1 = n.num();
        return t->initialize(c0, a, r0, r1, n.vec()), done();
      }
    } else if (auto* p = qorQuery<features::IQorPlane>(o, "features::IQorPlane")) {
      QorVector org = n.v.size() >= 6 ? n.vec() : QorVector(),
                nrm = n.v.size() >= 6 ? n.vec() : org;
      if (formIs(form, "normal") && n.v.size() == 6) return p->initialize(org, nrm), done();
      if (formIs(form, "udir") && n.v.size() == 9) return p->initialize(org, nrm, n.vec()), done();
      if (formIs(form, "ranges") && n.v.size() == 13) {
        QorVector u = n.vec();
        Vector2D ur = n.pair();
        return p->initialize(org, nrm, u, ur, n.pair()), done();
      }
    } else {
      return fail(PyExc_TypeError, std::string(o->className()) + " is not a surface feature");
    }
    for (const auto& [name, size] : kSizes)
      if (formIs(form, name))
        return fail(PyExc_ValueError, std::string("the form ") + form + " of " + o->className() +
                                          " takes " + std::to_string(size) + " numbers, not " +
                                          std::to_string(n.v.size()));
    return fail(PyExc_ValueError, std::string(o->className()) + " has no initialize form " + form);
  });
}

PyObject* plane_distance(PyObject* plane, double x, double y, double z) {
  auto* p = shellOf<features::IQorPlane>(plane, "features::IQorPlane", "plane feature");
  if (!p) return nullptr;
  return PyFloat_FromDouble(p->distance(QorVector(x, y, z)));
}

PyObject* plane_project(PyObject* plane, double x, double y, double z) {
  auto* p = shellOf<features::IQorPlane>(plane, "features::IQorPlane", "plane feature");
  if (!p) return nullptr;
  QorVector out;
  return vectorToPy(p->project(out, QorVector(x, y, z)));
}

PyObject* plane_intersect_line(PyObject* plane, double px, double py, double pz, double dx,
                               double dy, double dz) {
  auto* p = shellOf<features::IQorPlane>(plane, "features::IQorPlane", "plane feature");
  if (!p) return nullptr;
  QorVector out;
  if (!p->intersectLine(QorVector(px, py, pz), QorVector(dx, dy, dz), out)) Py_RETURN_NONE;
  return vectorToPy(out);
}

PyObject* plane_intersect_plane(PyObject* plane, PyObject* other) {
  auto* p = shellOf<features::IQorPlane>(plane, "features::IQorPlane", "plane feature");
  if (!p) return nullptr;
  auto* q = shellOf<features::IQorPlane>(other, "features::IQorPlane", "plane feature");
  if (!q) return nullptr;
  QorVector point, direction;
  if (!p->intersectPlane(q, point, direction)) Py_RETURN_NONE;
  return Py_BuildValue("((ddd)(ddd))", point.x, point.y, point.z, direction.x, direction.y,
                       direction.z);
}
