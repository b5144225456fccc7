/* A module built by the project's binding pipeline, with one of each kind of argument and
   overload, so that the binding rules can be tested before the classes that need them. */
%module bindprobe

%include "module/binding.swg"

%{
#include <string>
#include "base/qorcstring.h"
#include "base/qorstring.h"
#include "core/platformexception.h"
#include "core/scriptpools.h"
%}

%include <std_string.i>

%newobject makeString;
%inline %{
struct Probe {
  std::string run() { return "run()"; }
  std::string run(QorString &s) { return std::string("run(") + s.utf8() + ")"; }
  std::string add(char const *k, QorString const &v) { return std::string(k) + "=str:" + v.utf8(); }
  std::string add(char const *k, int v) { return std::string(k) + "=int:" + std::to_string(v); }
  std::string add(char const *k, double v) { return std::string(k) + "=double:" + std::to_string(v); }
  std::string redraw(bool full = true) { return full ? "redraw(full)" : "redraw(quick)"; }
  bool flag(bool b) { return b; }
  int byId(int id) { return id; }
  double real(double d) { return d; }
  QorString echo(QorString const &s) { return s; }
  int units(QorString const &s) { return s.length(); }
  // Calls back into Python, then answers its own argument; fails when the callback raises.
  QorString around(QorString const &s, PyObject *f) {
    PyObject *r = PyObject_CallNoArgs(f);
    if (!r) PyErr_Clear(), fail(6);
    Py_DECREF(r);
    return s;
  }
  int pooled() { return qor::scriptStringPool().count(); }
  void fail(int code) {
    throw new PlatformException{code, QorString("Error in class Probe: it failed.")};
  }
  void failOther() { throw std::runtime_error("boom"); }
};

QorString *makeString(char const *utf8) { return new QorString(QorString::fromUtf8(utf8)); }
%}

class QorString {
 public:
  ~QorString();
};
