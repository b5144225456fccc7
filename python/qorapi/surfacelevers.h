/* The native levers of the surface features: shells made with a new host, their initialize
   forms and the plane's own measures. Vectors cross as three floats, ranges as two. */
#pragma once
#include <Python.h>

/* A new surface shell of class `class_name` ("ConeSurface", "CylinderSurface",
   "PlaneSurface", "SphereSurface", "TorusSurface") holding a new host of its kind, as a
   reference for a script wrapper to bind. LookupError when the class is unknown or the host
   has no such service. */
PyObject* make_surface(const char* class_name);
/* Runs one initialize form of a surface shell with a flat sequence of numbers (each vector
   three of them, each range two). The forms: cone "circles", "circles_dir", "apex",
   "apex_range", "apex_range_dir"; cylinder "ends", "ends_dir", "axis", "axis_dir"; sphere
   "center", "axis", "axis_dir"; torus "frame", "dir"; plane "normal", "udir", "ranges".
   The shell's class error becomes a RuntimeError. */
PyObject* surface_initialize(PyObject* feature, const char* form, PyObject* numbers);
/* n . p - d of a plane feature. */
PyObject* plane_distance(PyObject* plane, double x, double y, double z);
/* The foot of p on a plane feature, as (x, y, z). */
PyObject* plane_project(PyObject* plane, double x, double y, double z);
/* Where the line through p along d meets the plane, as (x, y, z); None when it runs along
   the plane. */
PyObject* plane_intersect_line(PyObject* plane, double px, double py, double pz, double dx,
                               double dy, double dz);
/* The line where two plane features meet, as ((point), (direction)); None when they are
   parallel. */
PyObject* plane_intersect_plane(PyObject* plane, PyObject* other);
