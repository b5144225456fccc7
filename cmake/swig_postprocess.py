#!/usr/bin/env python3
"""Checked edits of a SWIG 4.1 wrapper, so that the flat layer shows scripts what it must.

- The method table loses the `<Class>_swiginit` entries and `SWIG_PyStaticMethod_New`.
- A failed overload dispatch raises NotImplementedError instead of TypeError.
- With --guard-init, the module's init refuses to run without an installed locator.
- With --table, the resulting method table must hold exactly the listed names.

Every edit must find what it edits; anything unexpected fails the build.
"""
import argparse
import re
import sys

GUARD = r'''
#ifdef __cplusplus
extern "C" {
#endif
SWIGEXPORT PyObject *%(init)s(void) {
  if (!qor::locator()) {
    PyErr_SetString(PyExc_ImportError,
                    "%(module)s needs a host, and none is installed in this process. "
                    "Import qorapi, which boots the reference host, instead of importing "
                    "%(module)s directly.");
    return NULL;
  }
  return brindleSwigInit();
}
#ifdef __cplusplus
}
#endif
'''


def fail(msg):
    sys.stderr.write("swig_postprocess: %s\n" % msg)
    sys.exit(1)


def edit_tables(text):
    dropped = 0
    pattern = re.compile(r'^\s*\{ "([A-Za-z0-9_]+)", [^\n]*\},\n', re.M)
    def drop(m):
        nonlocal dropped
        name = m.group(1)
        if name.endswith("_swiginit") or name == "SWIG_PyStaticMethod_New":
            dropped += 1
            return ""
        return m.group(0)
    out = []
    for table in ("SwigMethods", "SwigMethods_proxydocs"):
        start = text.find("static PyMethodDef %s[] = {" % table)
        if start < 0:
            fail("no %s table" % table)
        end = text.find("};", start)
        body = pattern.sub(drop, text[start:end])
        text = text[:start] + body + text[end:]
    names = re.findall(r'^\s*\{ "([A-Za-z0-9_]+)", ',
                       text[text.find("static PyMethodDef SwigMethods[] = {"):
                            text.find("};", text.find("static PyMethodDef SwigMethods[] = {"))],
                       re.M)
    return text, names


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("input")
    ap.add_argument("output")
    ap.add_argument("--module", required=True)
    ap.add_argument("--table")
    ap.add_argument("--guard-init", action="store_true")
    a = ap.parse_args()
    text = open(a.input, encoding="utf-8").read()

    text, names = edit_tables(text)
    if "SWIG_PyStaticMethod_New\"" in text or re.search(r'"\w+_swiginit"', text):
        fail("table entries left behind")

    call = "SWIG_Python_RaiseOrModifyTypeError(\"Wrong number or type of arguments"
    n = text.count(call)
    # Every overload dispatcher names itself in its failure text; each must be rewritten, so
    # a SWIG release that spells the call differently fails here instead of staying TypeError.
    dispatchers = text.count("for overloaded function '")
    if n != dispatchers:
        fail("%d overload dispatchers, but %d failure calls to rewrite" % (dispatchers, n))
    text = text.replace(call, "PyErr_SetString(PyExc_NotImplementedError, \"Wrong number or type of arguments")
    if "SWIG_Python_RaiseOrModifyTypeError(\"" in text:
        fail("an overload failure still raises TypeError")

    if a.guard_init:
        init = "PyInit_" + a.module
        define = "#  define SWIG_init    %s\n" % init
        if text.count(define) != 1:
            fail("module init definition not found")
        text = text.replace(define, "#  define SWIG_init    brindleSwigInit\n")
        text += GUARD % {"init": init, "module": a.module}

    if a.table:
        want = [l.strip() for l in open(a.table, encoding="utf-8")
                if l.strip() and not l.startswith("#")]
        if sorted(want) != sorted(names) or len(set(names)) != len(names):
            missing = sorted(set(want) - set(names))
            extra = sorted(set(names) - set(want))
            fail("method table differs from %s: missing %s, unexpected %s"
                 % (a.table, missing, extra))

    with open(a.output, "w", encoding="utf-8") as f:
        f.write("/* Post-processed: %d overload dispatchers raise NotImplementedError. */\n" % n)
        f.write(text)


if __name__ == "__main__":
    main()
