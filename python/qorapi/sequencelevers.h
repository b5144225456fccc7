/* The native levers of the typed arrays (DoubleArray ... Array3D, the 2D shells) and of
   DirIndex: the bases of the classes of qorapi.sequences, whose instances hold one counted
   reference each to the native object. Every operation is a method of these bases, called
   without a Python frame; a class error of the system becomes RuntimeError with its whole
   text. The numeric arrays also copy their values to and from any C-contiguous buffer in
   one block copy (Array3D: one per page of its point array). */
#pragma once
#include <Python.h>

/* The native bases, by the name of the class built on each: a dict. */
PyObject* sequence_types();
/* Names the Python classes the operations make: a dict with the value classes ("Vector3D",
   "Vector2D", "Vector2F", "Transform3D", "QorColor", "QorImage") and the classes built on
   the bases, by name. */
PyObject* sequence_register(PyObject* classes);
/* Whether the native object behind an instance of a base answers a query for `name`, and
   its class name: (answers, className). */
PyObject* sequence_query(PyObject* object, const char* name);

#ifndef SWIG
class IQorUnknown;
/* The script object of a native array (a new instance of the registered class, holding one
   reference), or None for null; TypeError for an object of no array class. */
PyObject* sequenceToPy(IQorUnknown* array);
/* The native object behind a script array or DirIndex, borrowed; null (no error set) for
   anything else. */
IQorUnknown* sequenceOf(PyObject* value);

/* The properties that hold an array, a DirIndex or an image. */
class IQorProperty;
class PropertyMap;
/* When `property` is of such a class: true, and *out the script object of what it holds
   (None for nothing, null with an error set on failure). False for any other class. */
bool heldPropertyToPy(IQorProperty* property, PyObject** out);
/* When `value` is a script array, DirIndex or QorImage: sets property `name` of `map` to the
   very object (shared, not copied) and answers 1, or -1 with an error set. 0 for any other
   value. */
int heldPropertySet(PropertyMap* map, const char* name, PyObject* value);
/* When `property` (named `name`) is of such a class: empties it and answers true. */
bool heldPropertyClear(PropertyMap* map, const char* name, IQorProperty* property);
#endif
