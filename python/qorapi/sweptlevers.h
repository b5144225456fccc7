/* The native levers of the swept surfaces of qorapi.surfacing: ExtrudedSurface,
   DraftedSurface, RotationalSurface and SweepSurface made with their own host, their
   evaluations, the sweep's iso curves, a sweep built from three script curves and a sweep's
   copy. A class error of the system becomes RuntimeError with its whole text. */
#pragma once
#include <Python.h>

/* A new shell of class `class_name` ("ExtrudedSurface", "DraftedSurface",
   "RotationalSurface", "SweepSurface") holding a new host, as a reference for a script
   wrapper to bind. ValueError for another name. */
PyObject* swept_make(const char* class_name);
/* The point (0) or the unit normal (1) of a swept surface at (u, v), as (x, y, z). */
PyObject* swept_evaluate(PyObject* surface, int which, double u, double v);
/* SweepSurface.isoCurveU (direction 0) or isoCurveV (1) at `t`: a new script curve or None. */
PyObject* sweep_iso_curve(PyObject* surface, int direction, double t);
/* A new SweepSurface whose host holds copies of the three script curves: the spine and the
   ruler as given, the sketch (given in world coordinates at the start of the spine) through
   the inverse of the host's frame. TypeError for an argument that is no curve. */
PyObject* sweep_build(PyObject* sketch, PyObject* spine, PyObject* ruler);
/* A new SweepSurface set, through setHost, on a copy of the surface's host. */
PyObject* sweep_copy(PyObject* surface);
