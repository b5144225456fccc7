/* The native levers of qorapi.surfacing: NURB curves and surfaces, polylines and composite
   curves made with their own host, their initialize forms, evaluations, transforms, clones,
   undo records and members, and the evaluation of many parameters in one call. Vectors come
   back as (x, y, z) tuples; a class error of the system becomes RuntimeError with its whole
   text. */
#pragma once
#include <Python.h>

/* A new shell of class `class_name` ("NurbCurve", "PolylineCurve", "CompositeCurve",
   "NurbSurface") holding a new host, as a reference for a script wrapper to bind.
   ValueError for another name. */
PyObject* surfacing_make(const char* class_name);
/* NurbCurve.initialize(degree, numControlPoints). */
PyObject* surfacing_nurb_curve_initialize(PyObject* curve, int degree, int count);
/* NurbCurve.copyFrom(source): the source's host copied into the curve's own. */
PyObject* surfacing_nurb_curve_copy_from(PyObject* curve, PyObject* source);
/* NurbSurface.initialize(degreeInU, degreeInV, numControlPointsInU, numControlPointsInV). */
PyObject* surfacing_nurb_surface_initialize(PyObject* surface, int degree_u, int degree_v,
                                            int count_u, int count_v);
/* PolylineCurve.initialize(numPoints). */
PyObject* surfacing_polyline_initialize_count(PyObject* polyline, int count);
/* PolylineCurve.initialize(points, knots) with a script Vector3DArray and DoubleArray. */
PyObject* surfacing_polyline_initialize(PyObject* polyline, PyObject* points, PyObject* knots);
/* The point (0), tangent (1) or curvature vector (2) at `t` of a NurbCurve, PolylineCurve
   or CompositeCurve. */
PyObject* surfacing_curve_evaluate(PyObject* curve, int which, double t);
/* Moves a NurbCurve, PolylineCurve or CompositeCurve by 16 numbers, row by row. */
PyObject* surfacing_curve_transform(PyObject* curve, PyObject* matrix);
/* The host curve's preparation step. */
PyObject* surfacing_curve_prepare(PyObject* curve);
/* NurbSurface at (u, v): the point (0) as (x, y, z); the tangents (1) as (Su, Sv); the
   principal curvatures (2) as (k_min, k_max). */
PyObject* surfacing_surface_evaluate(PyObject* surface, int which, double u, double v);
/* The data object's clone (None when it has none). */
PyObject* surfacing_clone(PyObject* object);
/* The data object's undo record as the handle qorapi.FeatureUndoInfo wraps, or None. */
PyObject* surfacing_create_undo(PyObject* object);
/* CompositeCurve: addCurve (`curve` None passes null), setCurve, curve(index) as a new
   script curve or None, numCurves. */
PyObject* surfacing_composite_add(PyObject* composite, PyObject* curve);
PyObject* surfacing_composite_set(PyObject* composite, int index, PyObject* curve);
PyObject* surfacing_composite_curve(PyObject* composite, int index);
PyObject* surfacing_composite_count(PyObject* composite);
/* Fills `out` (C-contiguous float64, n x 3 for derivatives 0, else n x (derivatives + 1)
   x 3) from the host curve at the n parameters of `params` (C-contiguous float64), after
   checking every parameter against the curve's closed range: the first outside raises the
   curve's own error of its single evaluation. The loop runs without the GIL. Takes any
   curve shell and the arc and line features. */
PyObject* surfacing_curve_evaluate_many(PyObject* curve, PyObject* params, int derivatives,
                                        PyObject* out);
/* A NurbSurface or a swept surface at n (u, v) pairs (two C-contiguous float64 buffers of n): fills
   the buffers of `outputs` (a tuple of n x 3 float64): the points, then Su and Sv when
   `derivatives` is 1, then the unit normals when `normals`. A NurbSurface's parameters are checked
   first as its single evaluations check them (u before v, pair by pair); a swept surface's are not.
   The loop runs without the GIL. */
PyObject* surfacing_surface_evaluate_many(PyObject* surface, PyObject* u, PyObject* v,
                                          int derivatives, bool normals, PyObject* outputs);
/* For benchmarks: the seconds a plain native loop of the host curve's evaluatePoint takes
   over `params`, writing into `out` (as evaluate_many with derivatives 0, no checks). */
PyObject* surfacing_native_point_loop(PyObject* curve, PyObject* params, PyObject* out);
