/* The native lever of a model's arrays: read-only views of the host's geometry that hold
   the storage they show. */
#pragma once
#include <Python.h>

/* A read-only buffer of shape (n, 3) over one array of a model data object's geometry,
   without a copy: "positions" (float64), "normals" (float32), "colors" (float32, red, green
   and blue from 0 to 1) or "triangles" (int32, zero-based vertex numbers). The buffer holds
   a strong reference to the geometry, so the memory stays valid after the model, its data
   object and the document are gone. None when the data hold no such array (no
   normals, no colours, or no geometry at all). */
PyObject* model_array_view(PyObject* data, const char* which);
