/* The native levers of point and vector arrays: an array lives in a capsule that owns it,
   and points cross in bulk through any writable or readable C-contiguous buffer of
   doubles, one block copy per page of the array. */
#pragma once
#include <Python.h>

/* A new empty point array, as a capsule that deletes it with its last reference. */
PyObject* point_array_new();
/* The number of points. */
PyObject* point_array_size(PyObject* array);
/* Copies all points into `out`, a writable C-contiguous buffer of 3 * size doubles. */
PyObject* point_array_copy_out(PyObject* array, PyObject* out);
/* Replaces all points by those of `points`, a C-contiguous buffer of doubles, 3 per point. */
PyObject* point_array_copy_in(PyObject* array, PyObject* points);
/* Sorts by x, y, z, keeping the first of equal points when `unique`. Two bytes objects of
   32-bit integers: the sorted places that survived (from 1), and for each sorted place the
   index (from 1) the point had before. */
PyObject* point_array_sort(PyObject* array, bool unique);
/* The bounds: ((xmin, ymin, zmin), (xmax, ymax, zmax)). */
PyObject* point_array_bounds(PyObject* array);
/* The stream form, as bytes. */
PyObject* point_array_stream(PyObject* array);
