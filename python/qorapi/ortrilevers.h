/* The native levers of oriented triangles: the base classes of qorapi.mesh, whose
   instances hold one counted reference each to an OrientedTriangle, OrientedTriangleStack
   or OrientedTriangleStackList, and the two live iterator classes. The collection
   operations are methods of these bases, called without a Python frame; a class error of
   the system becomes RuntimeError with its whole text. */
#pragma once
#include <Python.h>

/* The native classes, in a tuple: the bases of OrientedTriangle, OrientedTriangleStack and
   OrientedTriangleStackList, then OrientedTriangleIter and OrientedTriangleStackIter. */
PyObject* mesh_types();
/* Names the Python classes built on the three bases, whose instances the operations make:
   a new triangle is an instance of `triangle`, a stack taken from a list one of `stack`. */
PyObject* mesh_register(PyObject* triangle, PyObject* stack, PyObject* list);
/* Whether the native object behind an instance of a base answers a query for `name`, and
   its class name: (answers, className). */
PyObject* mesh_query(PyObject* object, const char* name);
