/* The native levers of features: the script feature classes made with their own host, the
   feature's transform and undo record, and the curve operations of arcs and lines.
   Vectors cross as sequences of three numbers and come back as (x, y, z) tuples; a class
   error of the system becomes RuntimeError with its whole text. */
#pragma once
#include <Python.h>

/* A new feature of class `class_name` ("ArcCurve", "LineFeature") with its own host, as a
   reference for a script wrapper to bind. ValueError for another name. */
PyObject* make_feature(const char* class_name);
/* Moves a feature's host by a transform given as 16 numbers, row by row. */
PyObject* feature_transform(PyObject* feature, PyObject* matrix);
/* The feature's undo record, holding a clone of its host, as an opaque handle. */
PyObject* feature_create_undo(PyObject* feature);
/* The operations of an undo record: "captureAfter", "undo" or "redo" (None), "undoSize"
   (an int). */
PyObject* undo_call(PyObject* record, const char* operation);
/* ArcCurve.initialize: `rad_dir` None takes the host's. */
PyObject* arc_initialize(PyObject* arc, PyObject* center, double radius, PyObject* normal,
                         PyObject* rad_dir);
/* LineFeature.initialize: with `length` None, `second` is the end point; else the
   direction. */
PyObject* line_initialize(PyObject* line, PyObject* start, PyObject* second, PyObject* length);
/* The point (0), tangent (1) or curvature vector (2) of an arc or line at `t`. */
PyObject* curve_evaluate(PyObject* curve, int which, double t);
/* The host curve's preparation step before evaluations. */
PyObject* curve_prepare(PyObject* curve);
