#include "python/qorapi/ortrilevers.h"

#include <cstdint>
#include <exception>
#include <initializer_list>
#include <utility>

#include "core/iptr.h"
#include "core/platformexception.h"
#include "datamodel/orientedtriangle.h"
#include "module/pyedge.h"

namespace {

/* An instance of a base or an iterator class: the native object, holding one reference,
   and for an iterator the Python object whose storage it walks, kept alive with it. */
struct Held {
  PyObject_HEAD Primitive* object;
  PyObject* owner;
};

PyTypeObject* gTriangleBase = nullptr;
PyTypeObject* gStackBase = nullptr;
PyTypeObject* gListBase = nullptr;
PyTypeObject* gTriangleIter = nullptr;
PyTypeObject* gStackIter = nullptr;
/* The Python classes whose instances the operations make (the bases until registered). */
PyTypeObject* gTriangleClass = nullptr;
PyTypeObject* gStackClass = nullptr;

Held* held(PyObject* self) {
  return reinterpret_cast<Held*>(self);
}
OrientedTriangle* tri(PyObject* self) {
  return static_cast<OrientedTriangle*>(held(self)->object);
}
OrientedTriangleStack* stk(PyObject* self) {
  return static_cast<OrientedTriangleStack*>(held(self)->object);
}
OrientedTriangleStackList* lst(PyObject* self) {
  return static_cast<OrientedTriangleStackList*>(held(self)->object);
}

/* Runs `body`; an exception of the system becomes the script's. */
template <class F>
PyObject* guarded(F&& body) {
  return qor::guardedCall("qorapi.mesh", std::forward<F>(body));
}

/* A 32-bit signed int; false with TypeError or OverflowError naming `what` and the value. */
bool intArg(PyObject* o, const char* what, int32_t* out) {
  if (!PyLong_Check(o)) {
    PyErr_Format(PyExc_TypeError, "%s must be an int, not %.100s", what, Py_TYPE(o)->tp_name);
    return false;
  }
  int overflow = 0;
  const long long v = PyLong_AsLongLongAndOverflow(o, &overflow);
  if (overflow || v < INT32_MIN || v > INT32_MAX) {
    PyErr_Format(PyExc_OverflowError, "%s %R is outside the 32-bit signed range", what, o);
    return false;
  }
  *out = static_cast<int32_t>(v);
  return true;
}

/* An index for the lenient operations: an int beyond 32 bits is out of range, never an
   error. */
bool lenientIndex(PyObject* o, int32_t* out) {
  if (!PyLong_Check(o)) return intArg(o, "index", out);
  int overflow = 0;
  const long long v = PyLong_AsLongLongAndOverflow(o, &overflow);
  *out = overflow || v < INT32_MIN || v > INT32_MAX ? -1 : static_cast<int32_t>(v);
  return true;
}

/* An OrientedTriangle argument; None is the null triangle, which the stack refuses. */
bool triangleArg(PyObject* o, const OrientedTriangle** out) {
  if (o == Py_None) {
    *out = nullptr;
    return true;
  }
  if (!PyObject_TypeCheck(o, gTriangleBase)) {
    PyErr_Format(PyExc_TypeError, "expected an OrientedTriangle, not %.100s", Py_TYPE(o)->tp_name);
    return false;
  }
  *out = tri(o);
  return true;
}

/* An OrientedTriangleStack argument; None is a null entry, which a list accepts. */
bool stackArg(PyObject* o, OrientedTriangleStack** out) {
  if (o == Py_None) {
    *out = nullptr;
    return true;
  }
  if (!PyObject_TypeCheck(o, gStackBase)) {
    PyErr_Format(PyExc_TypeError, "expected an OrientedTriangleStack or None, not %.100s",
                 Py_TYPE(o)->tp_name);
    return false;
  }
  *out = stk(o);
  return true;
}

/* A new instance of `cls` holding `object`; a count-0 object is freed when that fails. */
PyObject* hold(PyTypeObject* cls, Primitive* object, PyObject* owner = nullptr) {
  if (!object) Py_RETURN_NONE;
  object->addRef();
  PyObject* self = cls->tp_alloc(cls, 0);
  if (!self) {
    object->release();
    return nullptr;
  }
  held(self)->object = object;
  held(self)->owner = Py_XNewRef(owner);
  return self;
}
PyObject* newTriangle(OrientedTriangle* t) {
  return hold(gTriangleClass, t);
}

bool checkArgs(const char* name, Py_ssize_t n, Py_ssize_t want) {
  if (n == want) return true;
  PyErr_Format(PyExc_TypeError, "%s() takes %zd arguments, got %zd", name, want, n);
  return false;
}

void heldDealloc(PyObject* self) {
  PyTypeObject* type = Py_TYPE(self);
  Primitive* object = held(self)->object;
  held(self)->object = nullptr;
  if (object) object->release();
  Py_CLEAR(held(self)->owner);
  type->tp_free(self);
  Py_DECREF(type);
}

template <class Native>
PyObject* baseNew(PyTypeObject* type, PyObject*, PyObject*) {
  return hold(type, new Native());
}

/* ---- OrientedTriangle ---- */

PyObject* tRaw(PyObject* self, PyObject*) {
  return PyLong_FromUnsignedLong(tri(self)->rawValue());
}
PyObject* tIndex(PyObject* self, PyObject*) {
  return PyLong_FromLong(tri(self)->index());
}
PyObject* tVersion(PyObject* self, PyObject*) {
  return PyLong_FromLong(tri(self)->version());
}
PyObject* tIsOdd(PyObject* self, PyObject*) {
  return PyLong_FromLong(tri(self)->isOdd());
}
PyObject* tSet(PyObject* self, PyObject* const* args, Py_ssize_t n) {
  int32_t index = 0, version = 0;
  if (!checkArgs("set", n, 2) || !intArg(args[0], "index", &index) ||
      !intArg(args[1], "version", &version))
    return nullptr;
  return guarded([&] {
    tri(self)->set(index, version);
    Py_RETURN_NONE;
  });
}
/* A number of 32 bits; false with OverflowError or TypeError naming the value. */
bool rawArg(PyObject* o, uint32_t* out) {
  if (!PyLong_Check(o)) {
    PyErr_Format(PyExc_TypeError, "a raw value must be an int, not %.100s", Py_TYPE(o)->tp_name);
    return false;
  }
  int overflow = 0;
  const long long v = PyLong_AsLongLongAndOverflow(o, &overflow);
  if (overflow || v < 0 || v > UINT32_MAX) {
    PyErr_Format(PyExc_OverflowError, "raw value %R is outside 0..4294967295", o);
    return false;
  }
  *out = static_cast<uint32_t>(v);
  return true;
}
PyObject* tSetRaw(PyObject* self, PyObject* raw) {
  uint32_t v = 0;
  if (!rawArg(raw, &v)) return nullptr;
  tri(self)->setRawValue(v);
  Py_RETURN_NONE;
}
/* Replaces the object by one holding the number as it stands. */
PyObject* tLoad(PyObject* self, PyObject* raw) {
  uint32_t v = 0;
  if (!rawArg(raw, &v)) return nullptr;
  auto* t = new OrientedTriangle(v);
  t->addRef();
  held(self)->object->release();
  held(self)->object = t;
  Py_RETURN_NONE;
}
PyObject* tFlipped(PyObject* self, PyObject*) {
  return newTriangle(tri(self)->flipped());
}
PyObject* tRotated(PyObject* self, PyObject*) {
  return newTriangle(tri(self)->rotated());
}
PyObject* tRotatedBack(PyObject* self, PyObject*) {
  return newTriangle(tri(self)->rotatedBack());
}
PyObject* tFlip(PyObject* self, PyObject*) {
  tri(self)->flip();
  Py_RETURN_NONE;
}
PyObject* tRotate(PyObject* self, PyObject*) {
  tri(self)->rotate();
  Py_RETURN_NONE;
}
PyObject* tRotateBack(PyObject* self, PyObject*) {
  tri(self)->rotateBack();
  Py_RETURN_NONE;
}

/* A method entry; a fast call's function goes through the generic function type. */
#define NOARGS(name, fn, doc) \
  { name, fn, METH_NOARGS, doc }
#define ONEARG(name, fn, doc) \
  { name, fn, METH_O, doc }
#define FAST(name, fn, doc) \
  { name, reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(fn)), METH_FASTCALL, doc }

PyMethodDef triangleMethods[] = {
    NOARGS("rawValue", tRaw, "rawValue($self, /)\n--\n\nThe 32-bit number."),
    NOARGS("index", tIndex,
           "index($self, /)\n--\n\nThe triangle's zero-based index; -1 for no triangle."),
    NOARGS("version", tVersion, "version($self, /)\n--\n\nThe version, the number's low 3 bits."),
    NOARGS("isOdd", tIsOdd,
           "isOdd($self, /)\n--\n\n1 for an odd version (the other sense), else 0."),
    FAST("set", tSet,
         "set($self, index, version, /)\n--\n\nSets the triangle and version. RuntimeError for a "
         "version outside 0..5, and the object stays as it was; an index below -1 is taken as "
         "no triangle."),
    ONEARG("setRawValue", tSetRaw,
           "setRawValue($self, raw, /)\n--\n\nSets the number; a version of 6 or 7 becomes 5."),
    ONEARG("_load", tLoad, "_load($self, raw, /)\n--\n\nTakes the number as it stands."),
    NOARGS("flipped", tFlipped,
           "flipped($self, /)\n--\n\nA new OrientedTriangle: the same side in the other sense."),
    NOARGS("rotated", tRotated,
           "rotated($self, /)\n--\n\nA new OrientedTriangle: the next side in the same sense."),
    NOARGS("rotatedBack", tRotatedBack,
           "rotatedBack($self, /)\n--\n\nA new OrientedTriangle: the side before, the same sense."),
    NOARGS("flip", tFlip, "flip($self, /)\n--\n\nFlips this object in place."),
    NOARGS("rotate", tRotate, "rotate($self, /)\n--\n\nRotates this object in place."),
    NOARGS("rotateBack", tRotateBack, "rotateBack($self, /)\n--\n\nRotates this object back."),
    {nullptr, nullptr, 0, nullptr}};

/* ---- OrientedTriangleStack ---- */

PyObject* sSize(PyObject* self, PyObject*) {
  return PyLong_FromLong(stk(self)->size());
}
PyObject* sNext(PyObject* self, PyObject*) {
  return PyBool_FromLong(stk(self)->next());
}
PyObject* sCurrent(PyObject* self, PyObject*) {
  return newTriangle(stk(self)->current());
}
PyObject* sReset(PyObject* self, PyObject*) {
  stk(self)->reset();
  Py_RETURN_NONE;
}
PyObject* sAt(PyObject* self, PyObject* index) {
  int32_t i = 0;
  if (!intArg(index, "index", &i)) return nullptr;
  return guarded([&] { return newTriangle(stk(self)->at(i)); });
}
PyObject* sSet(PyObject* self, PyObject* const* args, Py_ssize_t n) {
  int32_t i = 0;
  const OrientedTriangle* t = nullptr;
  if (!checkArgs("set", n, 2) || !intArg(args[0], "index", &i) || !triangleArg(args[1], &t))
    return nullptr;
  return guarded([&] {
    stk(self)->set(i, t);
    Py_RETURN_NONE;
  });
}
PyObject* sAppend(PyObject* self, PyObject* value) {
  const OrientedTriangle* t = nullptr;
  if (!triangleArg(value, &t)) return nullptr;
  return guarded([&] { return PyLong_FromLong(stk(self)->append(t)); });
}
PyObject* sAppendChecked(PyObject* self, PyObject* value) {
  const OrientedTriangle* t = nullptr;
  if (!triangleArg(value, &t)) return nullptr;
  return guarded([&] { return PyBool_FromLong(stk(self)->appendChecked(t)); });
}
PyObject* sPop(PyObject* self, PyObject*) {
  return guarded([&] { return newTriangle(stk(self)->pop()); });
}
PyObject* sInsertAt(PyObject* self, PyObject* const* args, Py_ssize_t n) {
  int32_t i = 0;
  const OrientedTriangle* t = nullptr;
  if (!checkArgs("insertAt", n, 2) || !intArg(args[0], "index", &i) || !triangleArg(args[1], &t))
    return nullptr;
  return guarded([&] {
    stk(self)->insertAt(i, t);
    Py_RETURN_NONE;
  });
}
PyObject* sRemoveAt(PyObject* self, PyObject* index) {
  int32_t i = 0;
  if (!intArg(index, "index", &i)) return nullptr;
  return guarded([&] {
    stk(self)->removeAt(i);
    Py_RETURN_NONE;
  });
}
PyObject* sIndexOf(PyObject* self, PyObject* value) {
  const OrientedTriangle* t = nullptr;
  if (!triangleArg(value, &t)) return nullptr;
  return PyLong_FromLong(stk(self)->indexOf(t));
}
PyObject* sClear(PyObject* self, PyObject*) {
  return guarded([&] {
    stk(self)->clear();
    Py_RETURN_NONE;
  });
}
PyObject* sGetOrInvalid(PyObject* self, PyObject* index) {
  int32_t i = 0;
  if (!lenientIndex(index, &i)) return nullptr;
  return newTriangle(stk(self)->getOrInvalid(i));
}
PyObject* sSetIfValid(PyObject* self, PyObject* const* args, Py_ssize_t n) {
  int32_t i = 0;
  const OrientedTriangle* t = nullptr;
  if (!checkArgs("setIfValid", n, 2) || !lenientIndex(args[0], &i) || !triangleArg(args[1], &t))
    return nullptr;
  return PyBool_FromLong(stk(self)->setIfValid(i, t));
}
PyObject* sFirst(PyObject* self, PyObject*) {
  return newTriangle(stk(self)->first());
}
PyObject* sLast(PyObject* self, PyObject*) {
  return newTriangle(stk(self)->last());
}
PyObject* sNewIterator(PyObject* self, PyObject*) {
  return hold(gTriangleIter, stk(self)->newIterator(), self);
}
/* The numbers, as a list of ints. */
PyObject* sValues(PyObject* self, PyObject*) {
  const ClassifiedEdgeStack& s = stk(self)->stack();
  PyObject* list = PyList_New(s.count());
  for (int32_t i = 0; list && i < s.count(); ++i) {
    PyObject* v = PyLong_FromUnsignedLong(s.get(i + 1));
    if (!v) {
      Py_CLEAR(list);
      break;
    }
    PyList_SET_ITEM(list, i, v);
  }
  return list;
}

PyMethodDef stackMethods[] = {
    NOARGS("size", sSize, "size($self, /)\n--\n\nThe number of entries."),
    NOARGS("count", sSize, "count($self, /)\n--\n\nThe number of entries."),
    NOARGS("next", sNext,
           "next($self, /)\n--\n\nMoves the built-in cursor on; True while it is below the count. "
           "The cursor is zero-based: after reset, current() is the first entry."),
    NOARGS("current", sCurrent,
           "current($self, /)\n--\n\nA new OrientedTriangle at the cursor, or the invalid one "
           "(index -1, version 0) past the end."),
    NOARGS("reset", sReset, "reset($self, /)\n--\n\nPuts the cursor on the first entry."),
    ONEARG("at", sAt,
           "at($self, index, /)\n--\n\nA new OrientedTriangle with the entry at `index` (from 0); "
           "RuntimeError \"Invalid index\" outside the stack."),
    FAST("set", sSet,
         "set($self, index, triangle, /)\n--\n\nStores the triangle's number at `index`."),
    ONEARG("append", sAppend,
           "append($self, triangle, /)\n--\n\nStores the triangle's number behind the last entry "
           "and returns its index, counted from 0."),
    ONEARG("appendChecked", sAppendChecked,
           "appendChecked($self, triangle, /)\n--\n\nAs append; returns True."),
    NOARGS("pop", sPop,
           "pop($self, /)\n--\n\nRemoves the last entry and returns it as a new OrientedTriangle; "
           "RuntimeError \"Invalid index\" when empty."),
    FAST("insertAt", sInsertAt,
         "insertAt($self, index, triangle, /)\n--\n\nInserts before `index` (0 to size; size "
         "appends)."),
    ONEARG("removeAt", sRemoveAt, "removeAt($self, index, /)\n--\n\nRemoves the entry at `index`."),
    ONEARG("indexOf", sIndexOf,
           "indexOf($self, triangle, /)\n--\n\nThe index of the last entry with the triangle's "
           "number, or -1."),
    NOARGS("clear", sClear, "clear($self, /)\n--\n\nRemoves every entry; the cursor stays."),
    ONEARG("getOrInvalid", sGetOrInvalid,
           "getOrInvalid($self, index, /)\n--\n\nThe entry at `index`, or the invalid "
           "OrientedTriangle (index -1, version 0) outside the stack; never raises."),
    FAST("setIfValid", sSetIfValid,
         "setIfValid($self, index, triangle, /)\n--\n\nStores the number and answers True; False "
         "outside the stack or for None, and nothing changes."),
    NOARGS("first", sFirst,
           "first($self, /)\n--\n\nThe first entry, or the invalid OrientedTriangle when empty."),
    NOARGS("last", sLast,
           "last($self, /)\n--\n\nThe last entry, or the invalid OrientedTriangle when empty."),
    NOARGS("newIterator", sNewIterator,
           "newIterator($self, /)\n--\n\nA live OrientedTriangleIter over this stack."),
    NOARGS("_values", sValues, "_values($self, /)\n--\n\nThe numbers, as a list of ints."),
    {nullptr, nullptr, 0, nullptr}};

/* ---- OrientedTriangleStackList ---- */

PyObject* newStack(OrientedTriangleStack* s) {
  return hold(gStackClass, s);
}
PyObject* lSize(PyObject* self, PyObject*) {
  return PyLong_FromLong(lst(self)->size());
}
PyObject* lNext(PyObject* self, PyObject*) {
  return PyBool_FromLong(lst(self)->next());
}
PyObject* lCurrent(PyObject* self, PyObject*) {
  return newStack(lst(self)->current());
}
PyObject* lReset(PyObject* self, PyObject*) {
  lst(self)->reset();
  Py_RETURN_NONE;
}
PyObject* lAt(PyObject* self, PyObject* index) {
  int32_t i = 0;
  if (!intArg(index, "index", &i)) return nullptr;
  return guarded([&] { return newStack(lst(self)->at(i)); });
}
PyObject* lSet(PyObject* self, PyObject* const* args, Py_ssize_t n) {
  int32_t i = 0;
  OrientedTriangleStack* s = nullptr;
  if (!checkArgs("set", n, 2) || !intArg(args[0], "index", &i) || !stackArg(args[1], &s))
    return nullptr;
  return guarded([&] {
    lst(self)->set(i, s);
    Py_RETURN_NONE;
  });
}
PyObject* lAppend(PyObject* self, PyObject* value) {
  OrientedTriangleStack* s = nullptr;
  if (!stackArg(value, &s)) return nullptr;
  return guarded([&] {
    lst(self)->append(s);
    Py_RETURN_NONE;
  });
}
PyObject* lPop(PyObject* self, PyObject*) {
  OrientedTriangleStackList* l = lst(self);
  return guarded([&]() -> PyObject* {
    // The list releases its reference before pop returns: take one first.
    IPtr<OrientedTriangleStack> last(l->size() > 0 ? l->at(l->size() - 1) : nullptr);
    l->pop();
    return newStack(last.get());
  });
}
PyObject* lInsertAt(PyObject* self, PyObject* const* args, Py_ssize_t n) {
  int32_t i = 0;
  OrientedTriangleStack* s = nullptr;
  if (!checkArgs("insertAt", n, 2) || !intArg(args[0], "index", &i) || !stackArg(args[1], &s))
    return nullptr;
  return guarded([&] {
    lst(self)->insertAt(i, s);
    Py_RETURN_NONE;
  });
}
PyObject* lRemoveAt(PyObject* self, PyObject* index) {
  int32_t i = 0;
  if (!intArg(index, "index", &i)) return nullptr;
  return guarded([&] {
    lst(self)->removeAt(i);
    Py_RETURN_NONE;
  });
}
PyObject* lIndexOf(PyObject* self, PyObject* value) {
  OrientedTriangleStack* s = nullptr;
  if (!stackArg(value, &s)) return nullptr;
  return PyLong_FromLong(lst(self)->indexOf(s));
}
PyObject* lClear(PyObject* self, PyObject*) {
  return guarded([&] {
    lst(self)->clear();
    Py_RETURN_NONE;
  });
}
PyObject* lNewIterator(PyObject* self, PyObject*) {
  IQorOrientedTriangleStackIter* it = lst(self)->newIterator();
  return hold(gStackIter, static_cast<OrientedTriangleStackIter*>(it), self);
}

PyMethodDef listMethods[] = {
    NOARGS("size", lSize, "size($self, /)\n--\n\nThe number of entries."),
    NOARGS("next", lNext,
           "next($self, /)\n--\n\nMoves the built-in cursor on; True while it is at most the size. "
           "The cursor is one-based: the first next() moves onto the first entry."),
    NOARGS("current", lCurrent,
           "current($self, /)\n--\n\nThe stack at the cursor; None before the first next()."),
    NOARGS("reset", lReset, "reset($self, /)\n--\n\nPuts the cursor before the first entry."),
    ONEARG("at", lAt,
           "at($self, index, /)\n--\n\nThe stack at `index` (from 0), or None for a null entry; "
           "RuntimeError \"Invalid index\" outside the list."),
    FAST("set", lSet,
         "set($self, index, stack, /)\n--\n\nReplaces the entry at `index`; the list holds the "
         "new stack and lets go of the old one."),
    ONEARG("append", lAppend,
           "append($self, stack, /)\n--\n\nAdds a stack (or None) behind the last entry."),
    NOARGS("pop", lPop,
           "pop($self, /)\n--\n\nRemoves the last entry and returns it; RuntimeError \"Invalid "
           "index\" when empty."),
    FAST("insertAt", lInsertAt,
         "insertAt($self, index, stack, /)\n--\n\nInserts before `index` (0 to size; size "
         "appends)."),
    ONEARG("removeAt", lRemoveAt, "removeAt($self, index, /)\n--\n\nRemoves the entry at `index`."),
    ONEARG("indexOf", lIndexOf,
           "indexOf($self, stack, /)\n--\n\nThe index of the last entry holding this very stack "
           "(or None), or -1."),
    NOARGS("clear", lClear, "clear($self, /)\n--\n\nRemoves every entry, the last first."),
    NOARGS("newIterator", lNewIterator,
           "newIterator($self, /)\n--\n\nA live OrientedTriangleStackIter over this list."),
    {nullptr, nullptr, 0, nullptr}};

/* ---- the iterators ---- */

PyObject* iSize(PyObject* self, PyObject*) {
  return PyLong_FromLong(static_cast<OrientedTriangleIter*>(held(self)->object)->size());
}
PyObject* iNext(PyObject* self, PyObject*) {
  return PyBool_FromLong(static_cast<OrientedTriangleIter*>(held(self)->object)->next());
}
PyObject* iCurrent(PyObject* self, PyObject*) {
  return newTriangle(static_cast<OrientedTriangleIter*>(held(self)->object)->current());
}
PyObject* iReset(PyObject* self, PyObject*) {
  static_cast<OrientedTriangleIter*>(held(self)->object)->reset();
  Py_RETURN_NONE;
}
PyObject* jSize(PyObject* self, PyObject*) {
  return PyLong_FromLong(static_cast<OrientedTriangleStackIter*>(held(self)->object)->size());
}
PyObject* jNext(PyObject* self, PyObject*) {
  return PyBool_FromLong(static_cast<OrientedTriangleStackIter*>(held(self)->object)->next());
}
PyObject* jCurrent(PyObject* self, PyObject*) {
  return newStack(static_cast<OrientedTriangleStackIter*>(held(self)->object)->current());
}
PyObject* jReset(PyObject* self, PyObject*) {
  static_cast<OrientedTriangleStackIter*>(held(self)->object)->reset();
  Py_RETURN_NONE;
}

PyMethodDef triangleIterMethods[] = {
    NOARGS("size", iSize, "size($self, /)\n--\n\nThe stack's count now."),
    NOARGS("next", iNext, "next($self, /)\n--\n\nMoves on; True while on an entry."),
    NOARGS("current", iCurrent,
           "current($self, /)\n--\n\nA new OrientedTriangle at the position; the invalid one "
           "off the entries."),
    NOARGS("reset", iReset, "reset($self, /)\n--\n\nBack before the first entry."),
    {nullptr, nullptr, 0, nullptr}};
PyMethodDef stackIterMethods[] = {
    NOARGS("size", jSize, "size($self, /)\n--\n\nThe list's size now."),
    NOARGS("next", jNext, "next($self, /)\n--\n\nMoves on; True while on an entry."),
    NOARGS("current", jCurrent,
           "current($self, /)\n--\n\nThe stack at the position; None off the entries."),
    NOARGS("reset", jReset, "reset($self, /)\n--\n\nBack before the first entry."),
    {nullptr, nullptr, 0, nullptr}};

#undef NOARGS
#undef ONEARG
#undef FAST

PyTypeObject* makeType(const char* name, const char* doc, PyMethodDef* methods, newfunc make) {
  PyType_Slot slots[] = {{Py_tp_dealloc, reinterpret_cast<void*>(heldDealloc)},
                         {Py_tp_methods, methods},
                         {Py_tp_doc, const_cast<char*>(doc)},
                         {Py_tp_new, reinterpret_cast<void*>(make)},
                         {0, nullptr}};
  if (!make) slots[3] = {0, nullptr};
  const unsigned flags =
      Py_TPFLAGS_DEFAULT | (make ? Py_TPFLAGS_BASETYPE : Py_TPFLAGS_DISALLOW_INSTANTIATION);
  PyType_Spec shape = {name, static_cast<int>(sizeof(Held)), 0, flags, slots};
  return reinterpret_cast<PyTypeObject*>(PyType_FromSpec(&shape));
}

}  // namespace

PyObject* mesh_types() {
  if (!gTriangleBase) {
    gTriangleBase =
        makeType("qorapi.mesh._OrientedTriangleBase", "The native part of OrientedTriangle.",
                 triangleMethods, baseNew<OrientedTriangle>);
    gStackBase = makeType("qorapi.mesh._OrientedTriangleStackBase",
                          "The native part of OrientedTriangleStack.", stackMethods,
                          baseNew<OrientedTriangleStack>);
    gListBase = makeType("qorapi.mesh._OrientedTriangleStackListBase",
                         "The native part of OrientedTriangleStackList.", listMethods,
                         baseNew<OrientedTriangleStackList>);
    gTriangleIter = makeType("qorapi.mesh.OrientedTriangleIter",
                             "A live iterator over an OrientedTriangleStack, one-based: next() "
                             "moves onto the first entry. The stack stays alive with it.",
                             triangleIterMethods, nullptr);
    gStackIter = makeType("qorapi.mesh.OrientedTriangleStackIter",
                          "A live iterator over an OrientedTriangleStackList, one-based: next() "
                          "moves onto the first entry. The list stays alive with it.",
                          stackIterMethods, nullptr);
    if (!gTriangleBase || !gStackBase || !gListBase || !gTriangleIter || !gStackIter) {
      for (PyTypeObject** t :
           {&gTriangleBase, &gStackBase, &gListBase, &gTriangleIter, &gStackIter})
        Py_CLEAR(*t);
      return nullptr;
    }
    gTriangleClass = gTriangleBase;
    gStackClass = gStackBase;
  }
  return Py_BuildValue("(OOOOO)", gTriangleBase, gStackBase, gListBase, gTriangleIter, gStackIter);
}

PyObject* mesh_register(PyObject* triangle, PyObject* stack, PyObject* list) {
  PyObject* types = mesh_types();
  if (!types) return nullptr;
  Py_DECREF(types);
  const std::pair<PyObject*, PyTypeObject*> pairs[] = {
      {triangle, gTriangleBase}, {stack, gStackBase}, {list, gListBase}};
  for (const auto& [cls, base] : pairs)
    if (!PyType_Check(cls) || !PyType_IsSubtype(reinterpret_cast<PyTypeObject*>(cls), base)) {
      PyErr_Format(PyExc_TypeError, "mesh_register takes subclasses of %s, not %R", base->tp_name,
                   cls);
      return nullptr;
    }
  Py_INCREF(triangle), Py_INCREF(stack);  // kept to process end
  gTriangleClass = reinterpret_cast<PyTypeObject*>(triangle);
  gStackClass = reinterpret_cast<PyTypeObject*>(stack);
  Py_RETURN_NONE;
}

PyObject* mesh_query(PyObject* object, const char* name) {
  PyTypeObject* all[] = {gTriangleBase, gStackBase, gListBase, gTriangleIter, gStackIter};
  for (PyTypeObject* t : all)
    if (t && PyObject_TypeCheck(object, t)) {
      Primitive* o = held(object)->object;
      return Py_BuildValue("(Os)", qorQuery<void>(o, name ? name : "") ? Py_True : Py_False,
                           o->className());
    }
  PyErr_Format(PyExc_TypeError, "mesh_query takes an object of qorapi.mesh, not %.100s",
               Py_TYPE(object)->tp_name);
  return nullptr;
}
