/* Wrapped values: some of the module's functions take a QorString, QorVector, QorMatrix or
   QorBounds by pointer and none returns one. These factories make them; each object
   belongs to its Python wrapper and dies with it. */
%{
#include "math/qorbounds.h"
#include "math/qormatrix.h"
#include "math/qorvector.h"
%}

%nodefaultctor QorString;
%nodefaultctor QorVector;
%nodefaultctor QorMatrix;
%nodefaultctor QorBounds;
%feature("docstring") QorString "A text of the system, made by make_QorString for functions that take one.";
class QorString {
 public:
  ~QorString();
};
%feature("docstring") QorVector "A 3D vector of the system, made by make_QorVector.";
class QorVector {
 public:
  ~QorVector();
};
%feature("docstring") QorMatrix "A 4x4 transform of the system, made by make_QorMatrix.";
class QorMatrix {
 public:
  ~QorMatrix();
};
%feature("docstring") QorBounds "A box of the system, made by make_QorBounds.";
class QorBounds {
 public:
  ~QorBounds();
};

%newobject make_QorString;
%newobject make_QorVector;
%newobject make_QorBounds;

%inline %{
/* A QorString holding `text`. */
QorString *make_QorString(const QorString &text) { return new QorString(text); }
/* A QorVector (x, y, z). */
QorVector *make_QorVector(double x, double y, double z) { return new QorVector(x, y, z); }
/* A QorMatrix of 16 numbers, row by row. */
PyObject *make_QorMatrix(PyObject *values) {
  PyObject *seq = PySequence_Fast(values, "make_QorMatrix takes a sequence of 16 numbers");
  if (!seq) return nullptr;
  if (PySequence_Fast_GET_SIZE(seq) != 16) {
    PyErr_Format(PyExc_ValueError, "make_QorMatrix takes 16 numbers, not %zd",
                 PySequence_Fast_GET_SIZE(seq));
    Py_DECREF(seq);
    return nullptr;
  }
  QorMatrix m;
  for (int i = 0; i < 16; ++i) {
    m[i] = PyFloat_AsDouble(PySequence_Fast_GET_ITEM(seq, i));
    if (PyErr_Occurred()) {
      Py_DECREF(seq);
      return nullptr;
    }
  }
  Py_DECREF(seq);
  return SWIG_NewPointerObj(SWIG_as_voidptr(new QorMatrix(m)), SWIGTYPE_p_QorMatrix, SWIG_POINTER_OWN);
}
/* A QorBounds with the corners (x0, y0, z0) and (x1, y1, z1), taken as given. */
QorBounds *make_QorBounds(double x0, double y0, double z0, double x1, double y1, double z1) {
  return new QorBounds(x0, y0, z0, x1, y1, z1);
}
/* The contents of a wrapped value: str for a QorString, a tuple of numbers otherwise. */
PyObject *wrapped_string_text(QorString *s) { return qor::qorStringToPy(*s); }
PyObject *wrapped_vector_values(QorVector *v) { return Py_BuildValue("(ddd)", v->x, v->y, v->z); }
PyObject *wrapped_matrix_values(QorMatrix *m) {
  PyObject *t = PyTuple_New(16);
  for (int i = 0; t && i < 16; ++i) PyTuple_SET_ITEM(t, i, PyFloat_FromDouble((*m)[i]));
  return t;
}
PyObject *wrapped_bounds_values(QorBounds *b) {
  return Py_BuildValue("(dddddd)", b->minX, b->minY, b->minZ, b->maxX, b->maxY, b->maxZ);
}
%}
