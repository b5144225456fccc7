/* The native levers of selections: the script selection classes made by their host
   services, their bits moved as whole 32-bit words, and the host's own selection state of
   a model (marked triangles, active points, vertices and edges, stored selections, CAD
   faces). Bit sets cross as bytes holding the vector's words in machine order. */
#pragma once
#include <Python.h>

/* A new selection of class `class_name` ("TriangleSelection", ...) from its host service,
   as a reference for a script wrapper to bind. LookupError when the service is missing. */
PyObject* make_selection(const char* class_name);
/* The words of a selection's bit set, as bytes. */
PyObject* selection_words(PyObject* selection);
/* Replaces a selection's bit set by the words of a buffer (4 bytes each). */
PyObject* selection_set_words(PyObject* selection, PyObject* words);

/* Replaces the marked triangles of a model's mesh (a mesh or CAD model) by those whose
   three corners lie inside the region, in the object's placed coordinates: the box
   (a, b, c) .. (d, e, f) when `sphere` is false, else the ball about (a, b, c) of radius d
   (both closed). The count marked. */
PyObject* mark_triangles_in(PyObject* model, bool sphere, double a, double b, double c, double d,
                            double e, double f);
/* The same for the active points of a point cloud or gridded points. */
PyObject* mark_points_in(PyObject* model, bool sphere, double a, double b, double c, double d,
                         double e, double f);
/* The words of one of a model's host bit sets: "triangles" (marked), "points" (active),
   "vertices" or "edges" (the active set; empty when there is none). */
PyObject* host_words(PyObject* model, const char* which);
/* The names of the selections stored on a model's host object, in order. */
PyObject* selection_names(PyObject* model);
/* The words of the stored selection of that name, or None. */
PyObject* stored_selection_words(PyObject* model, const char* name);
/* The script features attached to a model's host object, in the order they were added. */
PyObject* model_features(PyObject* model);
/* The CAD face of each triangle of a CAD model, as bytes of 32-bit integers. */
PyObject* cad_face_map(PyObject* model);
/* Adds a CAD model object to the host's document holding the geometry of a script Mesh
   (as make_mesh gives), named as the mesh; its Model. */
PyObject* add_cad_model(PyObject* mesh);
/* How often the status bar was refreshed. */
int status_bar_refreshes();
