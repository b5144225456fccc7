/* The native levers of qorapi.curveset: the Curves class of the module over a host curve
   set. Indices are script indices (from 0); end keys go both ways as the raw number of a
   DirIndex, (index + 1) * 2 + direction. A class error of the system becomes RuntimeError
   with its whole text. */
#pragma once
#include <Python.h>

/* A new empty Curves (no set), as a reference for a script wrapper to bind. */
PyObject* curveset_make();
/* startPoint (which 0) or endPoint (which 1) of curve `index` as (x, y, z). */
PyObject* curveset_point(PyObject* curves, int which, int index);
/* The set's connectivity at `tolerance` (negative: the default), now or at the next query. */
PyObject* curveset_rebuild(PyObject* curves, double tolerance, bool now);
/* nextEnd (which 0) or previousEnd (which 1) of the end `key`, as a raw key (0: none). */
PyObject* curveset_step(PyObject* curves, int which, int key);
/* testEnd(key) when `second` is 0, else testPair(key, second). */
PyObject* curveset_test(PyObject* curves, int key, int second);
/* curve(index) as a script curve. */
PyObject* curveset_curve(PyObject* curves, int index);
/* addCurve(curve) (None passes null): the new index. */
PyObject* curveset_add(PyObject* curves, PyObject* curve);
/* setCurve(index, curve) (None passes null). */
PyObject* curveset_set(PyObject* curves, int index, PyObject* curve);
/* removeCurve(index). */
PyObject* curveset_remove(PyObject* curves, int index);
/* The filled script indices in rising order, as a list: one walk of the module's own
   iterator (rewind, then advance until it answers false). */
PyObject* curveset_indices(PyObject* curves);
/* A new Curves over a clone of the set. */
PyObject* curveset_clone(PyObject* curves);
/* Whether the Curves holds a set. */
PyObject* curveset_has_set(PyObject* curves);
