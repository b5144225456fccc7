// Text at the Python edge: str <-> 16-bit units, and the system's errors as the script's.
// Characters above U+FFFF become surrogate pairs on the way in and the same character on the way
// out; lone surrogates pass as units.
#pragma once
#include <Python.h>

#include <bit>
#include <exception>
#include <vector>

#include "base/qorstring.h"
#include "core/platformexception.h"

namespace qor {

// Fills `out` with the units of a str. False with a Python error set on failure.
inline bool pyStrToQorString(PyObject* obj, QorString* out) {
  if (PyUnicode_READY(obj) < 0) return false;
  Py_ssize_t n = PyUnicode_GET_LENGTH(obj);
  int kind = PyUnicode_KIND(obj);
  const void* data = PyUnicode_DATA(obj);
  std::vector<char16_t> units;
  units.reserve(static_cast<size_t>(n) + 1);
  for (Py_ssize_t i = 0; i < n; ++i) {
    Py_UCS4 c = PyUnicode_READ(kind, data, i);
    if (c >= 0x10000) {
      c -= 0x10000;
      units.push_back(static_cast<char16_t>(0xD800 | (c >> 10)));
      units.push_back(static_cast<char16_t>(0xDC00 | (c & 0x3FF)));
    } else {
      units.push_back(static_cast<char16_t>(c));
    }
  }
  *out = QorString(units.data(), static_cast<int32_t>(units.size()));
  return true;
}

// A new str from a QorString; a null string gives "".
inline PyObject* qorStringToPy(const QorString& s) {
  const char16_t* w = s.wide();
  if (!w) return PyUnicode_FromStringAndSize("", 0);
  // The units are in the machine's order; every Linux target of this build is little-endian
  // (checked below), and a fixed order keeps a leading U+FEFF a character, not a mark.
  static_assert(std::endian::native == std::endian::little,
                "16-bit text is decoded as little-endian");
  int byteorder = -1;
  return PyUnicode_DecodeUTF16(reinterpret_cast<const char*>(w), s.length() * 2, "surrogatepass",
                               &byteorder);
}

// Runs `body` and answers its result. An exception of the system becomes the script's error
// (RuntimeError for codes above 4, AttributeError for the others) and is freed; any other
// exception is a RuntimeError naming `where`. Null after an error.
template <class F>
PyObject* guardedCall(const char* where, F&& body) {
  try {
    return body();
  } catch (PlatformException* e) {
    PyObject* text = qorStringToPy(e->message);
    if (text) {
      PyErr_SetObject(e->code > 4 ? PyExc_RuntimeError : PyExc_AttributeError, text);
      Py_DECREF(text);
    }
    delete e;
  } catch (std::exception& e) {
    PyErr_Format(PyExc_RuntimeError, "internal error in %s: %s", where, e.what());
  }
  return nullptr;
}

}  // namespace qor
