/* The attribute layer's native part: data objects and their arrays held for scripts,
   attribute reads and writes through the typed getters and setters of the property map,
   subscriptions that call Python, and whole documents saved and loaded.

   Objects reach Python as capsules ("qorapi.ref") that hold one counted reference; the
   Python classes in qorapi.datamodel wrap them. Values of the math and colour classes are
   made and read through the Python classes registered with set_value_types: each has a
   class method _make(tuple) and an attribute _v, the tuple of its numbers. */
#pragma once
#include <Python.h>

#include "datamodel/dataobject.h"
#include "math/qormatrix.h"
#include "math/qorvector.h"

/* Registers the Python side: a dict with the value classes by name ("Vector3D", ...) and
   "wrap", a function (capsule, kind) -> wrapper, kind "object" or "array". */
PyObject* set_value_types(PyObject* types);

/* The native base class of qorapi.DataObject: attribute reads and writes of names that don't
   start with '_' reach the property map without a Python frame. */
PyObject* data_object_type();
/* Makes `wrapper`, an instance of that class, the script object of the data object that the
   capsule `ref` holds. Once only. */
PyObject* bind_object(PyObject* wrapper, PyObject* ref);

/* A new DataObject, as a capsule. */
PyObject* new_data_object();
/* The value of property `name`, read through the getter of the property's class. */
PyObject* object_get(PyObject* ref, PyObject* name);
/* Sets property `name` through the setter chosen by the value's Python type. */
PyObject* object_set(PyObject* ref, PyObject* name, PyObject* value);
/* Whether the object has a property `name`. */
PyObject* object_has(PyObject* ref, PyObject* name);
/* Removes property `name`; whether there was one. */
PyObject* object_remove(PyObject* ref, PyObject* name);
/* The property names in key order. */
PyObject* object_names(PyObject* ref);
/* (address, class name, script type name) of the object. */
PyObject* object_info(PyObject* ref);
/* The typeName of property `name`. */
PyObject* object_property_type(PyObject* ref, PyObject* name);
/* The map's documentation listing. */
PyObject* object_documentation(PyObject* ref);
/* Subscribes `callback(event, args)` to the object's event in priority position. The
   subscription lasts until unsubscribe or the object's death; the capsule is its handle. */
PyObject* object_subscribe(PyObject* ref, PyObject* event, PyObject* callback, int priority);
/* Unsubscribes; false when it was not subscribed any more. */
PyObject* unsubscribe(PyObject* handle);
/* Whether the subscription still delivers. */
PyObject* subscription_active(PyObject* handle);
/* The address of the object a capsule holds, the same for every capsule of one object. */
PyObject* ref_address(PyObject* ref);

/* A new DataObjectArray, as a capsule. */
PyObject* new_array();
PyObject* array_len(PyObject* ref);
PyObject* array_get(PyObject* ref, int index);
PyObject* array_set(PyObject* ref, int index, PyObject* value);
PyObject* array_append(PyObject* ref, PyObject* value);
PyObject* array_insert(PyObject* ref, int index, PyObject* value);
PyObject* array_pop(PyObject* ref);
PyObject* array_remove_at(PyObject* ref, int index);
PyObject* array_index(PyObject* ref, PyObject* value);
PyObject* array_clear(PyObject* ref);

/* Writes the graph of data objects reachable from `ref` as a data-model file. */
PyObject* save_document(PyObject* path, PyObject* ref);
/* Reads a data-model file written by save_document; the root object. */
PyObject* load_document(PyObject* path);

#ifndef SWIG
class DataObject;
/* The script object of a native data object: the one wrapper of that object. */
PyObject* scriptObjectOf(DataObject* object);
/* The native object of a script data object (a wrapper or its capsule), borrowed; null
   with a Python error for anything else. */
DataObject* dataObjectOf(PyObject* value);
/* A new capsule holding one counted reference to `object`. */
PyObject* objectRef(DataObject* object);
/* The native object of a script data object as class T; TypeError "expected a <what>, not
   a <class>" for another class. */
template <class T>
T* dataObjectAs(PyObject* value, const char* what);
/* A 16-number matrix, row by row; false with TypeError naming the value otherwise. */
bool matrixOf(PyObject* matrix, QorMatrix& out);
/* (x, y, z) as a new tuple. */
inline PyObject* tupleOf(const QorVector& v) {
  return Py_BuildValue("(ddd)", v.x, v.y, v.z);
}
class PropertyMap;
/* Property `name` of `map` as a script value; AttributeError when there is none. */
PyObject* mapGet(PropertyMap* map, const char* name);
/* Sets property `name` of `map` from a script value; false with a Python error set. */
bool mapSet(PropertyMap* map, const char* name, PyObject* value);

template <class T>
T* dataObjectAs(PyObject* value, const char* what) {
  DataObject* o = dataObjectOf(value);
  if (!o) return nullptr;
  auto* t = dynamic_cast<T*>(o);
  if (!t) PyErr_Format(PyExc_TypeError, "expected a %s, not a %s", what, o->className());
  return t;
}
#endif
