#include "python/qorapi/sequencelevers.h"

#include <cstring>
#include <exception>
#include <map>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "bulk/qorimage.h"
#include "bulk/qorvectorarray.h"
#include "core/platformexception.h"
#include "datamodel/arrayproperties.h"
#include "datamodel/arrays.h"
#include "datamodel/dirindex.h"
#include "datamodel/imageproperty.h"
#include "datamodel/propertymap.h"
#include "module/pyedge.h"
#include "persistence/memstream.h"

namespace {

/* An instance of a base: the native object, holding one reference. */
struct HeldObject {
  PyObject_HEAD Primitive* object;
};
/* An instance of an iterator class: also the iterator's interface, and the script array
   whose storage it walks, kept alive with it. */
struct IterObject {
  HeldObject base;
  void* view;
  PyObject* owner;
};

HeldObject* held(PyObject* self) {
  return reinterpret_cast<HeldObject*>(self);
}

/* An owned reference, released at scope end. */
struct PyRef {
  PyObject* p;
  explicit PyRef(PyObject* o) : p(o) {}
  PyRef(const PyRef&) = delete;
  PyRef& operator=(const PyRef&) = delete;
  ~PyRef() { Py_XDECREF(p); }
};

/* The native bases by name, and the Python classes the operations make (the bases until
   registered); both live to process end. */
std::map<std::string, PyTypeObject*>& bases() {
  static auto* m = new std::map<std::string, PyTypeObject*>();
  return *m;
}
std::map<std::string, PyObject*>& classes() {
  static auto* m = new std::map<std::string, PyObject*>();
  return *m;
}
PyObject* classNamed(const char* name) {
  auto it = classes().find(name);
  if (it != classes().end()) return it->second;
  PyErr_Format(PyExc_RuntimeError, "qorapi has not registered its class %s", name);
  return nullptr;
}

/* Runs `body`; an exception of the system becomes the script's. */
template <class F>
PyObject* guarded(F&& body) {
  return qor::guardedCall("qorapi.sequences", std::forward<F>(body));
}

/* A 32-bit signed int from anything with __index__; TypeError or OverflowError naming
   `what` and the value. */
bool int32Arg(PyObject* o, const char* what, int32_t* out) {
  if (!PyIndex_Check(o)) {
    PyErr_Format(PyExc_TypeError, "%s must be an int, not %.100s", what, Py_TYPE(o)->tp_name);
    return false;
  }
  PyRef i(PyNumber_Index(o));
  if (!i.p) return false;
  int overflow = 0;
  const long long v = PyLong_AsLongLongAndOverflow(i.p, &overflow);
  if (overflow || v < INT32_MIN || v > INT32_MAX) {
    PyErr_Format(PyExc_OverflowError, "%s %R is outside the 32-bit signed range", what, o);
    return false;
  }
  *out = static_cast<int32_t>(v);
  return true;
}

/* The numbers of a value (its _v when it is one of the value classes, else the sequence
   itself), exactly `n`; TypeError or ValueError naming the class `cls`. */
bool numbersOf(PyObject* o, double* out, Py_ssize_t n, const char* cls) {
  PyRef v(PyObject_GetAttrString(o, "_v"));
  if (!v.p) {
    if (!PyErr_ExceptionMatches(PyExc_AttributeError)) return false;
    PyErr_Clear();
  }
  PyObject* source = v.p ? v.p : o;
  if (PyUnicode_Check(source) || PyBytes_Check(source) || !PySequence_Check(source)) {
    PyErr_Format(PyExc_TypeError, "expected a %s or %zd numbers, not %.100s", cls, n,
                 Py_TYPE(o)->tp_name);
    return false;
  }
  PyRef seq(PySequence_Fast(source, "expected a sequence of numbers"));
  if (!seq.p) return false;
  if (PySequence_Fast_GET_SIZE(seq.p) != n) {
    PyErr_Format(PyExc_ValueError, "a %s has %zd numbers, not %zd", cls, n,
                 PySequence_Fast_GET_SIZE(seq.p));
    return false;
  }
  for (Py_ssize_t i = 0; i < n; ++i) {
    out[i] = PyFloat_AsDouble(PySequence_Fast_GET_ITEM(seq.p, i));
    if (out[i] == -1.0 && PyErr_Occurred()) return false;
  }
  return true;
}

/* A new instance of the registered value class `cls` holding `values`. */
PyObject* makeValue(const char* cls, std::initializer_list<double> values) {
  PyObject* t = classNamed(cls);
  if (!t) return nullptr;
  PyRef tuple(PyTuple_New(static_cast<Py_ssize_t>(values.size())));
  if (!tuple.p) return nullptr;
  Py_ssize_t i = 0;
  for (double v : values) {
    PyObject* f = PyFloat_FromDouble(v);
    if (!f) return nullptr;
    PyTuple_SET_ITEM(tuple.p, i++, f);
  }
  return PyObject_CallMethod(t, "_make", "(O)", tuple.p);
}

/* ---- elements: how each type crosses ---- */

template <class T>
struct Codec;

template <>
struct Codec<double> {
  static PyObject* toPy(double v) { return PyFloat_FromDouble(v); }
  static bool fromPy(PyObject* o, double* out) {
    *out = PyFloat_AsDouble(o);
    if (*out != -1.0 || !PyErr_Occurred()) return true;
    if (PyErr_ExceptionMatches(PyExc_TypeError)) {
      PyErr_Clear();
      PyErr_Format(PyExc_TypeError, "expected a float, not %.100s", Py_TYPE(o)->tp_name);
    }
    return false;
  }
};

template <>
struct Codec<int32_t> {
  static PyObject* toPy(int32_t v) { return PyLong_FromLong(v); }
  static bool fromPy(PyObject* o, int32_t* out) { return int32Arg(o, "value", out); }
};

template <>
struct Codec<uint8_t> {
  static PyObject* toPy(uint8_t v) { return PyLong_FromLong(v); }
  static bool fromPy(PyObject* o, uint8_t* out) {
    int32_t v = 0;
    if (!int32Arg(o, "value", &v)) return false;
    if (v < 0 || v > 255) {
      PyErr_Format(PyExc_ValueError, "a byte is 0 to 255, not %d", v);
      return false;
    }
    *out = static_cast<uint8_t>(v);
    return true;
  }
};

template <>
struct Codec<QorString> {
  static PyObject* toPy(const QorString& v) { return qor::qorStringToPy(v); }
  static bool fromPy(PyObject* o, QorString* out) {
    if (PyUnicode_Check(o)) return qor::pyStrToQorString(o, out);
    PyErr_Format(PyExc_TypeError, "expected a str, not %.100s", Py_TYPE(o)->tp_name);
    return false;
  }
};

template <>
struct Codec<QorColor> {
  static PyObject* toPy(const QorColor& c) {
    return makeValue("QorColor", {c.red, c.green, c.blue, c.alpha});
  }
  static bool fromPy(PyObject* o, QorColor* out) {
    double d[4];
    if (!numbersOf(o, d, 4, "QorColor")) return false;
    *out = QorColor(static_cast<float>(d[0]), static_cast<float>(d[1]), static_cast<float>(d[2]),
                    static_cast<float>(d[3]));
    return true;
  }
};

template <>
struct Codec<Vector2D> {
  static PyObject* toPy(const Vector2D& v) { return makeValue("Vector2D", {v.x, v.y}); }
  static bool fromPy(PyObject* o, Vector2D* out) {
    double d[2];
    if (!numbersOf(o, d, 2, "Vector2D")) return false;
    *out = Vector2D(d[0], d[1]);
    return true;
  }
};

template <>
struct Codec<Vector2F> {
  static PyObject* toPy(const Vector2F& v) { return makeValue("Vector2F", {v.x, v.y}); }
  static bool fromPy(PyObject* o, Vector2F* out) {
    double d[2];
    if (!numbersOf(o, d, 2, "Vector2F")) return false;
    *out = Vector2F(static_cast<float>(d[0]), static_cast<float>(d[1]));
    return true;
  }
};

template <>
struct Codec<QorVector> {
  static PyObject* toPy(const QorVector& v) { return makeValue("Vector3D", {v.x, v.y, v.z}); }
  static bool fromPy(PyObject* o, QorVector* out) {
    double d[3];
    if (!numbersOf(o, d, 3, "Vector3D")) return false;
    *out = QorVector(d[0], d[1], d[2]);
    return true;
  }
};

template <>
struct Codec<QorMatrix> {
  static PyObject* toPy(const QorMatrix& m) {
    PyObject* t = classNamed("Transform3D");
    if (!t) return nullptr;
    PyRef tuple(PyTuple_New(16));
    if (!tuple.p) return nullptr;
    for (int i = 0; i < 16; ++i) PyTuple_SET_ITEM(tuple.p, i, PyFloat_FromDouble(m[i]));
    return PyObject_CallMethod(t, "_make", "(O)", tuple.p);
  }
  static bool fromPy(PyObject* o, QorMatrix* out) {
    double d[16];
    if (!numbersOf(o, d, 16, "Transform3D")) return false;
    *out = QorMatrix(d);
    return true;
  }
};

/* Images cross as qorapi.QorImage objects, whose capsule then holds one counted reference:
   a capsule that owned its image outright is turned into such a holder when the image first
   enters an array, so that the array and the script share it. */
constexpr const char* kImageCapsule = "qorapi.QorImage";

void releaseImage(PyObject* capsule) {
  if (auto* image = static_cast<QorImage*>(PyCapsule_GetPointer(capsule, kImageCapsule)))
    image->release();
}

template <>
struct Codec<QorImage*> {
  static PyObject* toPy(QorImage* image) {
    if (!image) Py_RETURN_NONE;
    PyObject* cls = classNamed("QorImage");
    if (!cls) return nullptr;
    image->addRef();
    PyRef capsule(PyCapsule_New(image, kImageCapsule, releaseImage));
    if (!capsule.p) {
      image->release();
      return nullptr;
    }
    return PyObject_CallMethod(cls, "_wrap", "(O)", capsule.p);
  }
  static bool fromPy(PyObject* o, QorImage** out) {
    *out = nullptr;
    if (o == Py_None) return true;
    PyObject* cls = classNamed("QorImage");
    if (!cls) return false;
    const int is = PyObject_IsInstance(o, cls);
    if (is <= 0) {
      if (is == 0)
        PyErr_Format(PyExc_TypeError, "expected a QorImage or None, not %.100s",
                     Py_TYPE(o)->tp_name);
      return false;
    }
    PyRef capsule(PyObject_GetAttrString(o, "_ref"));
    if (!capsule.p) return false;
    auto* image = static_cast<QorImage*>(PyCapsule_GetPointer(capsule.p, kImageCapsule));
    if (!image) return false;
    if (PyCapsule_GetDestructor(capsule.p) != releaseImage) {
      image->addRef();
      if (PyCapsule_SetDestructor(capsule.p, releaseImage) != 0) {
        image->releaseNoDelete();
        return false;
      }
    }
    *out = image;
    return true;
  }
};

/* ---- the arrays ---- */

/* Each script class: the native class its operations are called on, and its element. */
template <class A>
struct ArrayTraits;
#define ARRAY_TRAITS(A, Elem, Iter)             \
  template <>                                   \
  struct ArrayTraits<A> {                       \
    using T = Elem;                             \
    static constexpr const char* kIter = #Iter; \
  };
ARRAY_TRAITS(DoubleArray, double, DoubleIter)
ARRAY_TRAITS(IntArray, int32_t, IntIter)
ARRAY_TRAITS(ByteArray, uint8_t, ByteIter)
ARRAY_TRAITS(StringArray, QorString, StringIter)
ARRAY_TRAITS(ColorArray, QorColor, ColorIter)
ARRAY_TRAITS(Vector2DArray, Vector2D, Vector2DIter)
ARRAY_TRAITS(Vector2FArray, Vector2F, Vector2FIter)
ARRAY_TRAITS(Vector3DArray, QorVector, Vector3DIter)
ARRAY_TRAITS(Transform3DArray, QorMatrix, Transform3DIter)
ARRAY_TRAITS(ImageArray, QorImage*, ImageIter)
#undef ARRAY_TRAITS

template <class A>
using ElemOf = typename ArrayTraits<A>::T;
/* Whether the values come back through an out parameter. */
template <class A>
constexpr bool kOut = std::is_base_of_v<IQorArrayByOut<ElemOf<A>>, A>;

template <class A>
A* arr(PyObject* self) {
  return static_cast<A*>(held(self)->object);
}

template <class A>
ElemOf<A> getAt(A* a, int32_t i) {
  if constexpr (kOut<A>) {
    ElemOf<A> v;
    a->at(v, i);
    return v;
  } else {
    return a->at(i);
  }
}

template <class A>
PyObject* oSize(PyObject* self, PyObject*) {
  return guarded([&] { return PyLong_FromLong(arr<A>(self)->size()); });
}
template <class A>
PyObject* oNext(PyObject* self, PyObject*) {
  return guarded([&] { return PyBool_FromLong(arr<A>(self)->next()); });
}
template <class A>
PyObject* oReset(PyObject* self, PyObject*) {
  arr<A>(self)->reset();
  Py_RETURN_NONE;
}
template <class A>
PyObject* oCurrent(PyObject* self, PyObject*) {
  return guarded([&] {
    if constexpr (kOut<A>) {
      ElemOf<A> v;
      arr<A>(self)->current(v);
      return Codec<ElemOf<A>>::toPy(v);
    } else {
      return Codec<ElemOf<A>>::toPy(arr<A>(self)->current());
    }
  });
}
template <class A>
PyObject* oAt(PyObject* self, PyObject* index) {
  int32_t i = 0;
  if (!int32Arg(index, "index", &i)) return nullptr;
  return guarded([&] { return Codec<ElemOf<A>>::toPy(getAt(arr<A>(self), i)); });
}
template <class A>
PyObject* oPop(PyObject* self, PyObject*) {
  return guarded([&] {
    if constexpr (kOut<A>) {
      ElemOf<A> v;
      arr<A>(self)->pop(v);
      return Codec<ElemOf<A>>::toPy(v);
    } else {
      return Codec<ElemOf<A>>::toPy(arr<A>(self)->pop());
    }
  });
}

bool checkArgs(const char* name, Py_ssize_t n, Py_ssize_t want) {
  if (n == want) return true;
  PyErr_Format(PyExc_TypeError, "%s() takes %zd arguments, got %zd", name, want, n);
  return false;
}

template <class A>
PyObject* oSet(PyObject* self, PyObject* const* args, Py_ssize_t n) {
  int32_t i = 0;
  ElemOf<A> v{};
  if (!checkArgs("set", n, 2) || !int32Arg(args[0], "index", &i) ||
      !Codec<ElemOf<A>>::fromPy(args[1], &v))
    return nullptr;
  return guarded([&] {
    arr<A>(self)->set(i, v);
    Py_RETURN_NONE;
  });
}
template <class A>
PyObject* oInsertAt(PyObject* self, PyObject* const* args, Py_ssize_t n) {
  int32_t i = 0;
  ElemOf<A> v{};
  if (!checkArgs("insertAt", n, 2) || !int32Arg(args[0], "index", &i) ||
      !Codec<ElemOf<A>>::fromPy(args[1], &v))
    return nullptr;
  return guarded([&] {
    arr<A>(self)->insertAt(i, v);
    Py_RETURN_NONE;
  });
}
template <class A>
PyObject* oAppend(PyObject* self, PyObject* value) {
  ElemOf<A> v{};
  if (!Codec<ElemOf<A>>::fromPy(value, &v)) return nullptr;
  return guarded([&] {
    arr<A>(self)->append(v);
    Py_RETURN_NONE;
  });
}
template <class A>
PyObject* oRemoveAt(PyObject* self, PyObject* index) {
  int32_t i = 0;
  if (!int32Arg(index, "index", &i)) return nullptr;
  return guarded([&] {
    arr<A>(self)->removeAt(i);
    Py_RETURN_NONE;
  });
}
template <class A>
PyObject* oIndexOf(PyObject* self, PyObject* value) {
  ElemOf<A> v{};
  if (!Codec<ElemOf<A>>::fromPy(value, &v)) return nullptr;
  return guarded([&] { return PyLong_FromLong(arr<A>(self)->indexOf(v)); });
}
template <class A>
PyObject* oClear(PyObject* self, PyObject*) {
  return guarded([&] {
    arr<A>(self)->clear();
    Py_RETURN_NONE;
  });
}
/* Appends every value of an iterable, one append each; stops at the first failure. */
template <class A>
PyObject* oValues(PyObject* self, PyObject*);
template <class A>
PyObject* oExtend(PyObject* self, PyObject* values) {
  // An array extended by itself takes the values it had, as a list does.
  PyRef snapshot(values == self ? oValues<A>(self, nullptr) : Py_NewRef(values));
  if (!snapshot.p) return nullptr;
  PyRef it(PyObject_GetIter(snapshot.p));
  if (!it.p) return nullptr;
  return guarded([&]() -> PyObject* {
    while (PyObject* item = PyIter_Next(it.p)) {
      ElemOf<A> v{};
      const bool ok = Codec<ElemOf<A>>::fromPy(item, &v);
      Py_DECREF(item);
      if (!ok) return nullptr;
      arr<A>(self)->append(v);
    }
    if (PyErr_Occurred()) return nullptr;
    Py_RETURN_NONE;
  });
}
/* The values now, as a list. */
template <class A>
PyObject* oValues(PyObject* self, PyObject*) {
  return guarded([&]() -> PyObject* {
    A* a = arr<A>(self);
    const int32_t n = a->size();
    PyObject* list = PyList_New(n);
    for (int32_t i = 0; list && i < n; ++i) {
      PyObject* v = Codec<ElemOf<A>>::toPy(getAt(a, i));
      if (!v) {
        Py_CLEAR(list);
        break;
      }
      PyList_SET_ITEM(list, i, v);
    }
    return list;
  });
}

/* ---- additions by family ---- */

template <class A>
PyObject* oReserve(PyObject* self, PyObject* n) {
  int32_t v = 0;
  if (!int32Arg(n, "n", &v)) return nullptr;
  return guarded([&] { return PyBool_FromLong(arr<A>(self)->reserve(v)); });
}
template <class A>
PyObject* oCapacity(PyObject* self, PyObject*) {
  return PyLong_FromLong(arr<A>(self)->capacity());
}
template <class A>
PyObject* oResize(PyObject* self, PyObject* n) {
  int32_t v = 0;
  if (!int32Arg(n, "n", &v)) return nullptr;
  return guarded([&] { return PyBool_FromLong(arr<A>(self)->resize(v)); });
}

/* An IntArray argument; None is null. */
bool intArrayArg(PyObject* o, IntArray** out) {
  *out = nullptr;
  if (o == Py_None) return true;
  if (!PyObject_TypeCheck(o, bases()["IntArray"])) {
    PyErr_Format(PyExc_TypeError, "expected an IntArray or None, not %.100s", Py_TYPE(o)->tp_name);
    return false;
  }
  *out = arr<IntArray>(o);
  return true;
}
PyObject* iAppendAll(PyObject* self, PyObject* other) {
  IntArray* o = nullptr;
  if (!intArrayArg(other, &o)) return nullptr;
  return guarded([&] {
    arr<IntArray>(self)->appendAll(o);
    Py_RETURN_NONE;
  });
}
PyObject* iRemoveAll(PyObject* self, PyObject* other) {
  IntArray* o = nullptr;
  if (!intArrayArg(other, &o)) return nullptr;
  return guarded([&] {
    arr<IntArray>(self)->removeAll(o);
    Py_RETURN_NONE;
  });
}
PyObject* iRemoveDuplicates(PyObject* self, PyObject*) {
  return guarded([&] {
    arr<IntArray>(self)->removeDuplicates();
    Py_RETURN_NONE;
  });
}

PyObject* bWrite(PyObject* self, PyObject*) {
  return guarded([&]() -> PyObject* {
    BinOutputMemory out;
    if (!arr<ByteArray>(self)->write(out) || !out.flush()) {
      PyErr_SetString(PyExc_OSError, "the ByteArray could not be written to memory");
      return nullptr;
    }
    return PyBytes_FromStringAndSize(reinterpret_cast<const char*>(out.data()),
                                     static_cast<Py_ssize_t>(out.size()));
  });
}
PyObject* bRead(PyObject* self, PyObject* data) {
  Py_buffer view;
  if (PyObject_GetBuffer(data, &view, PyBUF_C_CONTIGUOUS) != 0) return nullptr;
  PyObject* r = guarded([&] {
    BinInputMemory in(view.buf, static_cast<uint64_t>(view.len));
    return PyBool_FromLong(arr<ByteArray>(self)->read(in));
  });
  PyBuffer_Release(&view);
  return r;
}

/* ---- bulk copies for numpy ---- */

/* The stack of a stack array, or null for a store that is not one plain stack. */
template <class A>
IterStack<ElemOf<A>>* plainStackOf(A* a) {
  if constexpr (std::is_same_v<A, IntArray>)
    return a->plainStack();
  else
    return &a->items();
}

/* A C-contiguous buffer of a whole number of elements; false with an error set. */
bool bufferOf(PyObject* obj, Py_buffer* view, bool writable, Py_ssize_t element) {
  if (PyObject_GetBuffer(obj, view, PyBUF_C_CONTIGUOUS | (writable ? PyBUF_WRITABLE : 0)) != 0)
    return false;
  if (view->len % element != 0 || view->len / element > INT32_MAX - 1) {
    PyErr_Format(PyExc_ValueError, "expected a whole number of %zd-byte values, got %zd bytes",
                 element, view->len);
    PyBuffer_Release(view);
    return false;
  }
  return true;
}

template <class A>
PyObject* oCopyOut(PyObject* self, PyObject* out) {
  using T = ElemOf<A>;
  Py_buffer view;
  if (!bufferOf(out, &view, true, sizeof(T))) return nullptr;
  A* a = arr<A>(self);
  const int32_t n = a->size();
  if (view.len != static_cast<Py_ssize_t>(n) * Py_ssize_t(sizeof(T))) {
    PyErr_Format(PyExc_ValueError, "expected room for %d values, got %zd bytes", n, view.len);
    PyBuffer_Release(&view);
    return nullptr;
  }
  PyObject* r = guarded([&] {
    auto* dst = static_cast<T*>(view.buf);
    IRealPArray* points = nullptr;
    if constexpr (std::is_same_v<A, Vector3DArray>)
      if (auto* a3 = dynamic_cast<Array3D*>(a)) points = a3->realArray();
    if (points) {
      if (auto* paged = dynamic_cast<QorVectorArray*>(points))
        paged->copyOut(1, n, reinterpret_cast<double*>(dst));
      else
        for (int32_t i = 0; i < n; ++i) points->get(i + 1, reinterpret_cast<double*>(dst + i));
    } else if (IterStack<T>* s = plainStackOf(a); s && s->count() == n) {
      // (a view whose values live elsewhere has an empty stack and goes value by value)
      if (n > 0) std::memcpy(static_cast<void*>(dst), s->items() + 1, sizeof(T) * size_t(n));
    } else {
      for (int32_t i = 0; i < n; ++i) dst[i] = getAt(a, i);
    }
    Py_RETURN_NONE;
  });
  PyBuffer_Release(&view);
  return r;
}

/* Replaces the values of a new, empty array by the buffer's. */
template <class A>
PyObject* oCopyIn(PyObject* self, PyObject* values) {
  using T = ElemOf<A>;
  Py_buffer view;
  if (!bufferOf(values, &view, false, sizeof(T))) return nullptr;
  A* a = arr<A>(self);
  const auto n = static_cast<int32_t>(view.len / Py_ssize_t(sizeof(T)));
  PyObject* r = guarded([&] {
    const auto* src = static_cast<const T*>(view.buf);
    IRealPArray* points = nullptr;
    if constexpr (std::is_same_v<A, Vector3DArray>)
      if (auto* a3 = dynamic_cast<Array3D*>(a)) points = a3->realArray();
    if (points) {
      auto* paged = dynamic_cast<QorVectorArray*>(points);
      if (paged && paged->size() == 0) {
        paged->reserve(n + 1);
        paged->setSize(n);
        paged->copyIn(1, n, reinterpret_cast<const double*>(src));
      } else {
        for (int32_t i = 0; i < n; ++i) a->append(src[i]);
      }
    } else if (IterStack<T>* s = plainStackOf(a); s && s->count() == 0) {
      s->setCount(n);
      if (n > 0) std::memcpy(static_cast<void*>(s->items() + 1), src, sizeof(T) * size_t(n));
    } else {
      for (int32_t i = 0; i < n; ++i) a->append(src[i]);
    }
    Py_RETURN_NONE;
  });
  PyBuffer_Release(&view);
  return r;
}

/* ---- DirIndex and the 2D shells ---- */

DirIndex* dir(PyObject* self) {
  return static_cast<DirIndex*>(held(self)->object);
}
PyObject* dIndex(PyObject* self, PyObject*) {
  return PyLong_FromLong(dir(self)->index());
}
PyObject* dVersion(PyObject* self, PyObject*) {
  return PyLong_FromLong(dir(self)->version());
}
PyObject* dRaw(PyObject* self, PyObject*) {
  return PyLong_FromLong(dir(self)->rawValue());
}
PyObject* dSetIndex(PyObject* self, PyObject* index) {
  int32_t i = 0;
  if (!int32Arg(index, "index", &i)) return nullptr;
  return guarded([&] {
    dir(self)->setIndex(i);
    Py_RETURN_NONE;
  });
}
PyObject* dSetVersion(PyObject* self, PyObject* version) {
  int32_t v = 0;
  if (!int32Arg(version, "version", &v)) return nullptr;
  return guarded([&] {
    dir(self)->setVersion(v);
    Py_RETURN_NONE;
  });
}
PyObject* dFlip(PyObject* self, PyObject*) {
  dir(self)->flip();
  Py_RETURN_NONE;
}
PyObject* hold(PyTypeObject* cls, Primitive* object);
PyObject* dFlipped(PyObject* self, PyObject*) {
  PyObject* cls = classNamed("DirIndex");
  if (!cls) return nullptr;
  return guarded([&] {
    IQorDirIndex* f = static_cast<const DirIndex*>(dir(self))->flipped();
    return hold(reinterpret_cast<PyTypeObject*>(cls), static_cast<DirIndex*>(f));
  });
}
/* Replaces the object by DirIndex(index, version), or by the raw number with one argument. */
PyObject* dLoad(PyObject* self, PyObject* const* args, Py_ssize_t n) {
  int32_t a = 0, b = 0;
  if (n < 1 || n > 2) {
    checkArgs("_load", n, 2);
    return nullptr;
  }
  if (!int32Arg(args[0], n == 1 ? "raw value" : "index", &a) ||
      (n == 2 && !int32Arg(args[1], "version", &b)))
    return nullptr;
  return guarded([&] {
    auto* d = n == 1 ? new DirIndex(a) : new DirIndex(a, b);
    d->addRef();
    held(self)->object->release();
    held(self)->object = d;
    Py_RETURN_NONE;
  });
}

PyObject* eRows(PyObject* self, PyObject*) {
  return PyLong_FromLong(static_cast<DoubleArray2D*>(held(self)->object)->rowCount());
}
PyObject* eColumns(PyObject* self, PyObject*) {
  return PyLong_FromLong(static_cast<DoubleArray2D*>(held(self)->object)->columnCount());
}
PyObject* eAt(PyObject* self, PyObject* const* args, Py_ssize_t n) {
  int32_t r = 0, c = 0;
  if (!checkArgs("at", n, 2) || !int32Arg(args[0], "row", &r) || !int32Arg(args[1], "column", &c))
    return nullptr;
  return guarded([&] {
    return PyFloat_FromDouble(static_cast<DoubleArray2D*>(held(self)->object)->at(r, c));
  });
}
PyObject* eSet(PyObject* self, PyObject* const* args, Py_ssize_t n) {
  int32_t r = 0, c = 0;
  double v = 0;
  if (!checkArgs("set", n, 3) || !int32Arg(args[0], "row", &r) ||
      !int32Arg(args[1], "column", &c) || !Codec<double>::fromPy(args[2], &v))
    return nullptr;
  return guarded([&] {
    static_cast<DoubleArray2D*>(held(self)->object)->set(r, c, v);
    Py_RETURN_NONE;
  });
}
PyObject* wRows(PyObject* self, PyObject*) {
  return PyLong_FromLong(static_cast<Vector3DArray2D*>(held(self)->object)->rowCount());
}
PyObject* wColumns(PyObject* self, PyObject*) {
  return PyLong_FromLong(static_cast<Vector3DArray2D*>(held(self)->object)->columnCount());
}
PyObject* wAt(PyObject* self, PyObject* const* args, Py_ssize_t n) {
  int32_t r = 0, c = 0;
  if (!checkArgs("at", n, 2) || !int32Arg(args[0], "row", &r) || !int32Arg(args[1], "column", &c))
    return nullptr;
  return guarded([&] {
    QorVector v;
    static_cast<Vector3DArray2D*>(held(self)->object)->at(v, r, c);
    return Codec<QorVector>::toPy(v);
  });
}
PyObject* wSet(PyObject* self, PyObject* const* args, Py_ssize_t n) {
  int32_t r = 0, c = 0;
  QorVector v;
  if (!checkArgs("set", n, 3) || !int32Arg(args[0], "row", &r) ||
      !int32Arg(args[1], "column", &c) || !Codec<QorVector>::fromPy(args[2], &v))
    return nullptr;
  return guarded([&] {
    static_cast<Vector3DArray2D*>(held(self)->object)->set(r, c, v);
    Py_RETURN_NONE;
  });
}

/* ---- the types ---- */

PyObject* hold(PyTypeObject* cls, Primitive* object) {
  if (!object) Py_RETURN_NONE;
  object->addRef();
  PyObject* self = cls->tp_alloc(cls, 0);
  if (!self) {
    object->release();
    return nullptr;
  }
  held(self)->object = object;
  return self;
}

void heldDealloc(PyObject* self) {
  PyTypeObject* type = Py_TYPE(self);
  Primitive* object = held(self)->object;
  held(self)->object = nullptr;
  if (object) object->release();
  Py_CLEAR(reinterpret_cast<IterObject*>(self)->owner);
  type->tp_free(self);
  Py_DECREF(type);
}

template <class Native>
PyObject* baseNew(PyTypeObject* type, PyObject*, PyObject*) {
  return guarded([&] { return hold(type, new Native()); });
}

#define NOARGS(name, fn, doc)  \
  PyMethodDef {                \
    name, fn, METH_NOARGS, doc \
  }
#define ONEARG(name, fn, doc) \
  PyMethodDef {               \
    name, fn, METH_O, doc     \
  }
#define FAST(name, fn, doc)                                                                   \
  PyMethodDef {                                                                               \
    name, reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(fn)), METH_FASTCALL, doc \
  }

/* The twelve, with extend and _values, for native class A. */
template <class A>
std::vector<PyMethodDef> twelve() {
  return {
      NOARGS("size", oSize<A>, "size($self, /)\n--\n\nThe number of entries."),
      NOARGS("next", oNext<A>,
             "next($self, /)\n--\n\nMoves the built-in cursor on; True while it is at most the "
             "size. The cursor is one-based: the first next() moves onto the first entry."),
      NOARGS("current", oCurrent<A>,
             "current($self, /)\n--\n\nThe value at the cursor, unchecked: before the first "
             "next() the unused slot 0."),
      ONEARG("at", oAt<A>,
             "at($self, index, /)\n--\n\nThe value at `index` (from 0); RuntimeError outside "
             "the array."),
      FAST("set", oSet<A>,
           "set($self, index, value, /)\n--\n\nStores `value` at `index`; a fixed size does not "
           "stop it."),
      ONEARG("append", oAppend<A>, "append($self, value, /)\n--\n\nAdds `value` at the end."),
      NOARGS("pop", oPop<A>,
             "pop($self, /)\n--\n\nRemoves the last entry and returns it; RuntimeError when "
             "empty."),
      NOARGS("reset", oReset<A>, "reset($self, /)\n--\n\nPuts the cursor before the first entry."),
      FAST("insertAt", oInsertAt<A>,
           "insertAt($self, index, value, /)\n--\n\nInserts before `index` (0 to size; size "
           "appends)."),
      ONEARG("removeAt", oRemoveAt<A>,
             "removeAt($self, index, /)\n--\n\nRemoves the entry at `index`, shifting the tail "
             "down."),
      ONEARG("indexOf", oIndexOf<A>,
             "indexOf($self, value, /)\n--\n\nThe index of the last entry equal to `value`, or "
             "-1; a NaN is never found."),
      NOARGS("clear", oClear<A>,
             "clear($self, /)\n--\n\nRemoves every entry; the memory and the cursor stay."),
      ONEARG("extend", oExtend<A>,
             "extend($self, values, /)\n--\n\nAppends each of `values` in turn."),
      NOARGS("_values", oValues<A>, "_values($self, /)\n--\n\nThe values now, as a list."),
  };
}

template <class A>
std::vector<PyMethodDef> capacityMethods() {
  return {
      ONEARG("reserve", oReserve<A>,
             "reserve($self, n, /)\n--\n\nGrows to exactly n + 1 slots when n exceeds the "
             "capacity; True, or False when memory ran out. RuntimeError when n + 1 overflows."),
      NOARGS("capacity", oCapacity<A>,
             "capacity($self, /)\n--\n\nThe storage's capacity in slots, the unused slot 0 "
             "counted: 21 for a new array."),
  };
}

template <class A>
std::vector<PyMethodDef> copyMethods() {
  return {
      ONEARG("_copy_out", oCopyOut<A>,
             "_copy_out($self, out, /)\n--\n\nCopies every value into `out`, a writable "
             "C-contiguous buffer of exactly that many values."),
      ONEARG("_copy_in", oCopyIn<A>,
             "_copy_in($self, values, /)\n--\n\nAppends the values of a C-contiguous buffer; an "
             "empty array takes them in one block copy."),
  };
}

/* A method table that lives to process end. */
PyMethodDef* table(std::vector<std::vector<PyMethodDef>> parts) {
  auto* all = new std::vector<PyMethodDef>();
  for (auto& p : parts) all->insert(all->end(), p.begin(), p.end());
  all->push_back({nullptr, nullptr, 0, nullptr});
  return all->data();
}

PyTypeObject* makeType(const char* name, const char* doc, PyMethodDef* methods, newfunc make,
                       PyTypeObject* base = nullptr) {
  PyType_Slot slots[] = {{Py_tp_dealloc, reinterpret_cast<void*>(heldDealloc)},
                         {Py_tp_methods, methods},
                         {Py_tp_doc, const_cast<char*>(doc)},
                         {Py_tp_new, reinterpret_cast<void*>(make)},
                         {0, nullptr}};
  if (!make) slots[3] = {0, nullptr};
  const unsigned flags =
      Py_TPFLAGS_DEFAULT | (make ? Py_TPFLAGS_BASETYPE : Py_TPFLAGS_DISALLOW_INSTANTIATION);
  PyType_Spec shape = {name, static_cast<int>(sizeof(IterObject)), 0, flags, slots};
  PyObject* type = base ? PyType_FromSpecWithBases(&shape, reinterpret_cast<PyObject*>(base))
                        : PyType_FromSpec(&shape);
  return reinterpret_cast<PyTypeObject*>(type);
}

bool addType(const char* name, PyMethodDef* methods, newfunc make, PyTypeObject* base = nullptr) {
  const std::string full = std::string("qorapi.sequences._") + name + "Base";
  const std::string doc = std::string("The native part of ") + name + ".";
  // The type keeps pointing at its name: both texts live to process end.
  PyTypeObject* t = makeType((new std::string(full))->c_str(), (new std::string(doc))->c_str(),
                             methods, make, base);
  if (!t) return false;
  bases()[name] = t;
  classes()[name] = reinterpret_cast<PyObject*>(t);
  return true;
}

/* ---- iterators ---- */

/* The iterator classes by name; they live to process end. */
std::map<std::string, PyTypeObject*>& iters() {
  static auto* m = new std::map<std::string, PyTypeObject*>();
  return *m;
}

template <class It, class T>
struct IterOps {
  static It* it(PyObject* self) {
    return static_cast<It*>(reinterpret_cast<IterObject*>(self)->view);
  }
  static PyObject* size(PyObject* self, PyObject*) { return PyLong_FromLong(it(self)->size()); }
  static PyObject* next(PyObject* self, PyObject*) { return PyBool_FromLong(it(self)->next()); }
  static PyObject* reset(PyObject* self, PyObject*) {
    it(self)->reset();
    Py_RETURN_NONE;
  }
  static PyObject* current(PyObject* self, PyObject*) {
    return guarded([&] {
      if constexpr (std::is_same_v<It, IQorStringIter>) {
        QorString v;
        return Codec<QorString>::toPy(it(self)->current(v));
      } else {
        return Codec<T>::toPy(it(self)->current());
      }
    });
  }
  static PyObject* at(PyObject* self, PyObject* index) {
    int32_t i = 0;
    if (!int32Arg(index, "index", &i)) return nullptr;
    QorString v;
    return Codec<QorString>::toPy(it(self)->at(v, i));
  }
};

/* The array's newIterator, holding the array's script object. */
template <class A, class It>
PyObject* oNewIterator(PyObject* self, PyObject*) {
  static const char* const name = ArrayTraits<A>::kIter;
  return guarded([&]() -> PyObject* {
    It* raw = arr<A>(self)->newIterator();
    auto* object = dynamic_cast<Primitive*>(raw);
    PyObject* made = hold(iters()[name], object);
    if (made && made != Py_None) {
      reinterpret_cast<IterObject*>(made)->view = raw;
      reinterpret_cast<IterObject*>(made)->owner = Py_NewRef(self);
    }
    return made;
  });
}

template <class It, class T>
bool addIter(const char* name, const char* of) {
  using O = IterOps<It, T>;
  std::vector<PyMethodDef> m = {
      {"size", O::size, METH_NOARGS, "size($self, /)\n--\n\nThe number of entries it walks."},
      {"next", O::next, METH_NOARGS, "next($self, /)\n--\n\nMoves on; True while on an entry."},
      {"current", O::current, METH_NOARGS,
       "current($self, /)\n--\n\nThe entry at the position; the zero value off the entries."},
      {"reset", O::reset, METH_NOARGS, "reset($self, /)\n--\n\nBack before the first entry."}};
  if constexpr (std::is_same_v<It, IQorStringIter>)
    m.push_back({"at", O::at, METH_O,
                 "at($self, index, /)\n--\n\nThe string at `index` (from 0); empty outside, never "
                 "raises."});
  const std::string full = std::string("qorapi.sequences.") + name;
  const std::string doc = std::string("An iterator over ") + of +
                          ", one-based: next() moves onto the first entry. It keeps the array "
                          "alive; " +
                          (std::is_same_v<It, IQorStringIter> ? "it walks the strings as they "
                                                                "were when it was made."
                                                              : "it sees every change.");
  PyTypeObject* t = makeType((new std::string(full))->c_str(), (new std::string(doc))->c_str(),
                             table({m}), nullptr);
  if (!t) return false;
  iters()[name] = t;
  return true;
}

bool makeIters() {
  return addIter<DoubleIter, double>("DoubleIter", "a DoubleArray") &&
         addIter<IQorIntIter, int32_t>("IntIter", "an IntArray") &&
         addIter<ByteIter, uint8_t>("ByteIter", "a ByteArray") &&
         addIter<IQorStringIter, QorString>("StringIter", "a StringArray") &&
         addIter<ColorIter, QorColor>("ColorIter", "a ColorArray") &&
         addIter<Vector2DIter, Vector2D>("Vector2DIter", "a Vector2DArray") &&
         addIter<Vector2FIter, Vector2F>("Vector2FIter", "a Vector2FArray") &&
         addIter<Vector3DIter, QorVector>("Vector3DIter",
                                          "a Vector3DArray or the points of an Array3D") &&
         addIter<Transform3DIter, QorMatrix>("Transform3DIter", "a Transform3DArray") &&
         addIter<ImageIter, QorImage*>("ImageIter", "an ImageArray");
}

template <class A, class It>
std::vector<PyMethodDef> iterMethod() {
  return {{"newIterator", oNewIterator<A, It>, METH_NOARGS,
           "newIterator($self, /)\n--\n\nA new iterator over this array."}};
}

bool makeAll() {
  if (!makeIters()) return false;
  const PyMethodDef intExtras[] = {
      ONEARG("appendAll", iAppendAll,
             "appendAll($self, other, /)\n--\n\nAppends every entry of the IntArray `other` "
             "(None does nothing)."),
      ONEARG("removeAll", iRemoveAll,
             "removeAll($self, other, /)\n--\n\nRemoves every entry whose value stands in the "
             "IntArray `other`; the survivors keep their order."),
      NOARGS("removeDuplicates", iRemoveDuplicates,
             "removeDuplicates($self, /)\n--\n\nKeeps the first occurrence of each value, in "
             "order."),
  };
  const PyMethodDef byteExtras[] = {
      ONEARG("read", bRead,
             "read($self, data, /)\n--\n\nClears the array, then reads a 32-bit count and that "
             "many bytes from the bytes-like `data`; True."),
      NOARGS("write", bWrite,
             "write($self, /)\n--\n\nThe stream form: the size as a 32-bit value, then each "
             "byte."),
  };
  const PyMethodDef resize[] = {
      ONEARG("resize", oResize<Vector3DArray>,
             "resize($self, n, /)\n--\n\nreserve(n), then on success the size n: a smaller n "
             "keeps the first n entries, new entries hold whatever the memory held."),
  };
  const PyMethodDef resizeT[] = {
      ONEARG("resize", oResize<Transform3DArray>,
             "resize($self, n, /)\n--\n\nreserve(n), then on success the size n: a smaller n "
             "keeps the first n entries, new entries hold whatever the memory held."),
  };
  using V = std::vector<PyMethodDef>;
  auto v = [](const auto& a) { return V(std::begin(a), std::end(a)); };
  bool ok =
      addType("DoubleArray",
              table({twelve<DoubleArray>(), iterMethod<DoubleArray, DoubleIter>(),
                     copyMethods<DoubleArray>()}),
              baseNew<DoubleArray>) &&
      addType("IntArray",
              table({twelve<IntArray>(), iterMethod<IntArray, IQorIntIter>(), v(intExtras),
                     copyMethods<IntArray>()}),
              baseNew<IntArray>) &&
      addType("ByteArray",
              table({twelve<ByteArray>(), iterMethod<ByteArray, ByteIter>(), v(byteExtras),
                     copyMethods<ByteArray>()}),
              baseNew<ByteArray>) &&
      addType("StringArray",
              table({twelve<StringArray>(), iterMethod<StringArray, IQorStringIter>()}),
              baseNew<StringArray>) &&
      addType("ColorArray",
              table({capacityMethods<ColorArray>(), twelve<ColorArray>(),
                     iterMethod<ColorArray, ColorIter>(), copyMethods<ColorArray>()}),
              baseNew<ColorArray>) &&
      addType("Vector2DArray",
              table({capacityMethods<Vector2DArray>(), twelve<Vector2DArray>(),
                     iterMethod<Vector2DArray, Vector2DIter>()}),
              baseNew<Vector2DArray>) &&
      addType("Vector2FArray",
              table({capacityMethods<Vector2FArray>(), twelve<Vector2FArray>(),
                     iterMethod<Vector2FArray, Vector2FIter>()}),
              baseNew<Vector2FArray>) &&
      addType("Vector3DArray",
              table({capacityMethods<Vector3DArray>(), twelve<Vector3DArray>(),
                     iterMethod<Vector3DArray, Vector3DIter>(), v(resize),
                     copyMethods<Vector3DArray>()}),
              baseNew<Vector3DArray>) &&
      addType("Transform3DArray",
              table({capacityMethods<Transform3DArray>(), twelve<Transform3DArray>(),
                     iterMethod<Transform3DArray, Transform3DIter>(), v(resizeT)}),
              baseNew<Transform3DArray>) &&
      addType("ImageArray", table({twelve<ImageArray>(), iterMethod<ImageArray, ImageIter>()}),
              baseNew<ImageArray>);
  if (!ok) return false;
  const PyMethodDef array3d[] = {
      FAST("insertAt", oInsertAt<Vector3DArray>,
           "insertAt($self, index, value, /)\n--\n\nChecks `index` against 0 to size - 1 "
           "(RuntimeError outside), then adds `value` at the end."),
      ONEARG("removeAt", oRemoveAt<Vector3DArray>,
             "removeAt($self, index, /)\n--\n\nChecks `index` against 0 to size - 1 "
             "(RuntimeError outside), then removes the last point."),
      ONEARG("indexOf", oIndexOf<Vector3DArray>,
             "indexOf($self, value, /)\n--\n\nLooks at the points from the first to the one "
             "before the last and answers the position counted from 1 of the first equal one; -1 "
             "when none is, and below two points."),
  };
  const PyMethodDef dirIndex[] = {
      NOARGS("index", dIndex, "index($self, /)\n--\n\nThe index: (raw value >> 1) - 1."),
      NOARGS("version", dVersion, "version($self, /)\n--\n\nThe version: raw value & 1."),
      ONEARG("setIndex", dSetIndex,
             "setIndex($self, index, /)\n--\n\nSets the index, keeping the "
             "version."),
      ONEARG("setVersion", dSetVersion,
             "setVersion($self, version, /)\n--\n\nSets the version; RuntimeError for anything "
             "but 0 or 1, and the value stays."),
      NOARGS("flip", dFlip, "flip($self, /)\n--\n\nToggles the version in place."),
      NOARGS("flipped", dFlipped,
             "flipped($self, /)\n--\n\nA new DirIndex with this index and the other version."),
      NOARGS("rawValue", dRaw, "rawValue($self, /)\n--\n\nThe number (index + 1) * 2 + version."),
      FAST("_load", dLoad,
           "_load($self, index, version, /)\n--\n\nBecomes DirIndex(index, version), or with one "
           "argument the raw number as it stands."),
  };
  const PyMethodDef double2d[] = {
      NOARGS("rowCount", eRows, "rowCount($self, /)\n--\n\nThe rows: 0 for the shell itself."),
      NOARGS("columnCount", eColumns,
             "columnCount($self, /)\n--\n\nThe columns: 0 for the shell itself."),
      FAST("at", eAt, "at($self, row, column, /)\n--\n\nThe value there: 0.0 for the shell."),
      FAST("set", eSet,
           "set($self, row, column, value, /)\n--\n\nStores the value; the shell keeps nothing."),
  };
  const PyMethodDef vector2d[] = {
      NOARGS("rowCount", wRows, "rowCount($self, /)\n--\n\nThe rows: 0 for the shell itself."),
      NOARGS("columnCount", wColumns,
             "columnCount($self, /)\n--\n\nThe columns: 0 for the shell itself."),
      FAST("at", wAt,
           "at($self, row, column, /)\n--\n\nThe vector there: the zero vector for the shell."),
      FAST("set", wSet,
           "set($self, row, column, value, /)\n--\n\nStores the vector; the shell keeps nothing."),
  };
  return addType("Array3D", table({v(array3d)}), baseNew<Array3D>, bases()["Vector3DArray"]) &&
         addType("DirIndex", table({v(dirIndex)}), baseNew<DirIndex>) &&
         addType("DoubleArray2D", table({v(double2d)}), baseNew<DoubleArray2D>) &&
         addType("Vector3DArray2D", table({v(vector2d)}), baseNew<Vector3DArray2D>);
}

#undef NOARGS
#undef ONEARG
#undef FAST

/* ---- properties holding these objects ---- */

/* What a property of class P holds, or false for another class. */
template <class P>
bool readHeld(IQorProperty* p, PyObject** out) {
  P* typed = qorQuery<P>(p, P::kClassName);
  if (!typed) return false;
  if constexpr (std::is_same_v<typename P::Value, QorImage>)
    *out = Codec<QorImage*>::toPy(typed->getValue());
  else
    *out = sequenceToPy(typed->getValue());
  return true;
}
/* Sets the map's property of class P to `native` when it is of P's value class. */
template <class P>
bool storeHeld(PropertyMap* map, const char* name, IQorUnknown* native) {
  auto* value = dynamic_cast<typename P::Value*>(native);
  if (!value) return false;
  map->set(name, value);
  return true;
}
template <class P>
bool clearHeld(PropertyMap* map, const char* name, IQorProperty* p) {
  if (!qorQuery<P>(p, P::kClassName)) return false;
  map->set(name, static_cast<typename P::Value*>(nullptr));
  return true;
}

/* The property classes, each tried in turn: an Array3D is also a Vector3DArray, so its
   class comes first. */
template <class... P>
struct HeldKinds {
  static bool read(IQorProperty* p, PyObject** out) { return (readHeld<P>(p, out) || ...); }
  static bool store(PropertyMap* m, const char* name, IQorUnknown* v) {
    return (storeHeld<P>(m, name, v) || ...);
  }
  static bool clear(PropertyMap* m, const char* name, IQorProperty* p) {
    return (clearHeld<P>(m, name, p) || ...);
  }
};
using Held =
    HeldKinds<DoubleArrayProperty, IntArrayProperty, ByteArrayProperty, StringArrayProperty,
              ColorArrayProperty, Vector2DArrayProperty, Vector2FArrayProperty, Array3DProperty,
              Vector3DArrayProperty, Transform3DArrayProperty, ImageArrayProperty,
              DoubleArray2DProperty, Vector3DArray2DProperty, DirIndexProperty, ImageProperty>;

/* The base of a script object's type, by walking its bases; null for none of ours. */
const char* baseName(PyObject* o) {
  for (const auto& [name, t] : bases())
    if (PyObject_TypeCheck(o, t)) return name.c_str();  // "Array3D" sorts first
  return nullptr;
}

}  // namespace

PyObject* sequence_types() {
  if (bases().empty() && !makeAll()) return nullptr;
  PyObject* d = PyDict_New();
  for (const auto* types : {&bases(), &iters()})
    for (const auto& [name, t] : *types)
      if (!d || PyDict_SetItemString(d, name.c_str(), reinterpret_cast<PyObject*>(t)) != 0) {
        Py_XDECREF(d);
        return nullptr;
      }
  return d;
}

PyObject* sequence_register(PyObject* given) {
  if (!PyDict_Check(given)) {
    PyErr_Format(PyExc_TypeError, "sequence_register takes a dict, not %.100s",
                 Py_TYPE(given)->tp_name);
    return nullptr;
  }
  if (bases().empty() && !makeAll()) return nullptr;
  PyObject *key = nullptr, *value = nullptr;
  Py_ssize_t pos = 0;
  while (PyDict_Next(given, &pos, &key, &value)) {
    const char* name = PyUnicode_AsUTF8(key);
    if (!name) return nullptr;
    auto base = bases().find(name);
    if (base != bases().end() &&
        (!PyType_Check(value) ||
         !PyType_IsSubtype(reinterpret_cast<PyTypeObject*>(value), base->second))) {
      PyErr_Format(PyExc_TypeError, "sequence_register: %s must subclass %s, not %R", name,
                   base->second->tp_name, value);
      return nullptr;
    }
    classes()[name] = Py_NewRef(value);  // kept to process end
  }
  Py_RETURN_NONE;
}

PyObject* sequence_query(PyObject* object, const char* name) {
  if (!baseName(object)) {
    PyErr_Format(PyExc_TypeError, "sequence_query takes an object of qorapi.sequences, not %.100s",
                 Py_TYPE(object)->tp_name);
    return nullptr;
  }
  Primitive* o = held(object)->object;
  return Py_BuildValue("(Os)", qorQuery<void>(o, name ? name : "") ? Py_True : Py_False,
                       o->className());
}

PyObject* sequenceToPy(IQorUnknown* array) {
  if (!array) Py_RETURN_NONE;
  if (bases().empty() && !makeAll()) return nullptr;
  // The most derived names first: an Array3D also answers as a Vector3DArray.
  static const char* const kOrder[] = {
      "Array3D",    "DoubleArray",   "IntArray",      "ByteArray",      "StringArray",
      "ColorArray", "Vector2DArray", "Vector2FArray", "Vector3DArray",  "Transform3DArray",
      "ImageArray", "DirIndex",      "DoubleArray2D", "Vector3DArray2D"};
  for (const char* name : kOrder) {
    void* view = qorQuery<void>(array, name);
    if (!view) continue;
    PyObject* cls = classNamed(name);
    if (!cls) return nullptr;
    auto* prim = dynamic_cast<Primitive*>(array);
    if (!prim) break;
    return hold(reinterpret_cast<PyTypeObject*>(cls), prim);
  }
  PyErr_Format(PyExc_TypeError, "a %s is no array scripts know", array->className());
  return nullptr;
}

IQorUnknown* sequenceOf(PyObject* value) {
  return baseName(value) ? held(value)->object : nullptr;
}

bool heldPropertyToPy(IQorProperty* property, PyObject** out) {
  if (bases().empty() && !makeAll()) {
    *out = nullptr;
    return true;
  }
  return Held::read(property, out);
}

int heldPropertySet(PropertyMap* map, const char* name, PyObject* value) {
  if (IQorUnknown* native = sequenceOf(value)) {
    if (Held::store(map, name, native)) return 1;
    PyErr_Format(PyExc_TypeError, "cannot set property '%s' to a %.100s", name,
                 Py_TYPE(value)->tp_name);
    return -1;
  }
  auto image = classes().find("QorImage");
  if (image == classes().end()) return 0;
  const int is = PyObject_IsInstance(value, image->second);
  if (is <= 0) return is;
  QorImage* native = nullptr;
  if (!Codec<QorImage*>::fromPy(value, &native)) return -1;
  map->set(name, native);
  return 1;
}

bool heldPropertyClear(PropertyMap* map, const char* name, IQorProperty* property) {
  return Held::clear(map, name, property);
}
