#!/usr/bin/env python3
"""Writes the typed .pyi stub of a SWIG extension module from SWIG's own parse tree.

Usage: gen_stub.py MODULE.xml OUTPUT.pyi [--proxy PACKAGE.MODULE=SOURCE.py ...]

MODULE.xml is what `swig -python -xmlout` writes for the module's interface: every
wrapped declaration with its flat name and its C++ parameter and result types. Each type
goes through the table below; a class type becomes the Python proxy class of that name,
found in the --proxy modules. A type the table doesn't know fails the run with the
function's name, so a new declaration can't reach scripts untyped.
"""
import argparse
import ast
import keyword
import re
import sys
import xml.etree.ElementTree as ET

# C++ types the modules convert to Python values, by SWIG's type string. Arguments and
# results differ where a typemap converts one way only (a QorCString result stays wrapped).
NUMBERS = {t: "int" for t in ("int", "unsigned int", "long", "unsigned long", "long long",
                              "unsigned long long", "short", "unsigned short")}
NUMBERS.update({t: "int" for t in ("signed char", "unsigned char", "size_t", "ptrdiff_t")})
NUMBERS.update({"bool": "bool", "double": "float", "float": "float", "char": "str"})
TEXT = {"p.q(const).char": "str", "p.char": "str", "std::string": "str",
        "r.q(const).std::string": "str", "r.q(const).QorString": "str"}
# Host pointers and event parts travel as bare pointer objects; a stack of data objects
# comes from any sequence and goes back as a list.
OPAQUE = {"p.IQorObject": "_SwigPointer | None", "p.IQorDataEventSource": "_SwigPointer | None",
          "p.IQorDataEventArgs": "_SwigPointer | None"}
ARGUMENTS = {**NUMBERS, **TEXT, **OPAQUE, "r.q(const).QorCString": "str", "p.PyObject": "Any",
             "r.q(const).IterStack<(p.DataObject)>": "Any"}
# Types scripts pass as another proxy class: a selection is any data object that answers
# "Selection".
ALIASES = {"p.Selection": "p.DataObject"}
# A model or correspondence result (IQorUnknown, converted by name), and an array of models
# as a bare pointer object.
RESULTS = {**NUMBERS, **TEXT, **OPAQUE, "void": "None", "QorString": "str", "p.PyObject": "Any",
           "IterStack<(p.DataObject)>": "list[Any]", "p.IQorUnknown": "Any",
           "p.DataObjectArray": "_SwigPointer | None"}

HEADER = '''\
# Generated from SWIG's parse tree of {source} by gen_stub.py: edit the interface, not this.
from typing import Any, Callable, overload

{imports}

class _SwigPointer:
    """The pointer object a constructor returns; a proxy keeps it as `this`."""

    def own(self, value: bool = ..., /) -> bool: ...
    def disown(self) -> None: ...
    def acquire(self) -> None: ...

def SWIG_PyInstanceMethod_New(func: Callable[..., Any], /) -> Any: ...
'''


def attributes(node):
    """The attribute list of a parse-tree node as a dict."""
    return {a.get("name"): a.get("value") for a in node.findall("attributelist/attribute")}


def parameters(node):
    """(name, SWIG type) of each parameter a script passes, in order."""
    out = []
    for i, parm in enumerate(node.findall("attributelist/parmlist/parm")):
        a = attributes(parm)
        if a.get("tmap_in_numinputs") == "0":
            continue
        name = a.get("name") or f"arg{i + 1}"
        out.append((name + "_" if keyword.iskeyword(name) else name, a["type"]))
    return out


def result_type(a):
    """The SWIG type of a function's result: the declarator after f(...) plus the base type."""
    decl, depth = a.get("decl", ""), 0
    start = decl.index("f(")
    for i in range(start + 1, len(decl)):
        depth += {"(": 1, ")": -1}.get(decl[i], 0)
        if depth == 0:
            return decl[i + 2:] + a["type"]
    raise ValueError(f"unbalanced declarator {decl!r}")


def readable(swig_type):
    """A SWIG type string as C++ writes it: p.q(const).char -> char const *."""
    prefix, suffix = swig_type, ""
    while True:
        m = re.match(r"(p\.|r\.|q\(const\)\.)", prefix)
        if not m:
            break
        suffix = {"p.": " *", "r.": " &", "q(const).": " const"}[m.group(1)] + suffix
        prefix = prefix[m.end():]
    return prefix + suffix


class Stub:
    """The stub of one module, filled from its parse tree."""

    def __init__(self, root, proxies):
        self.proxies = proxies  # proxy class name -> module
        self.classes = {}       # C++ qualified name -> Python name
        for node in root.iter("class"):
            a = attributes(node)
            if a.get("sym_name"):
                self.classes[a["name"]] = a["sym_name"]
        self.used, self.errors, self.lines = set(), [], []

    def python_type(self, swig_type, table, what):
        """The annotation of a C++ type, or None after recording why there is none."""
        base = re.sub(r"^q\(const\)\.", "", swig_type)
        base = ALIASES.get(base, base)
        if base in table:
            return table[base]
        m = re.fullmatch(r"(p\.|r\.|r\.q\(const\)\.|p\.q\(const\)\.)?([\w:]+)", base)
        name = m and self.classes.get(m.group(2), m.group(2).split("::")[-1])
        if name in self.proxies:
            self.used.add(name)
            return f"{name} | None" if m.group(1) in ("p.", "p.q(const).") and table is RESULTS \
                else name
        self.errors.append(f"{what} '{readable(swig_type)}', a type the stub table doesn't know")
        return None

    def receiver(self, flat, owner):
        """The `self` parameter of a method of class `owner`."""
        if owner not in self.proxies:
            self.errors.append(f"{flat} takes a {owner}, a class no proxy module defines")
        self.used.add(owner)
        return f"self: {owner}"

    def function(self, flat, node, owner):
        """One def line for a wrapped function, method, constructor or destructor."""
        a = attributes(node)
        typed = []
        if owner and node.tag != "constructor" and a.get("view") != "staticmemberfunctionHandler":
            typed.append(self.receiver(flat, owner))
        for name, swig_type in parameters(node):
            annotation = self.python_type(swig_type, ARGUMENTS, f"{flat} takes ({name})")
            typed.append(f"{name}: {annotation}")
        if node.tag == "constructor":
            result = "_SwigPointer"
        elif node.tag == "destructor":
            result = "None"
        else:
            result = self.python_type(result_type(a), RESULTS, f"{flat} returns")
        return f"def {flat}({', '.join(typed + ['/']) if typed else ''}) -> {result}: ..."

    def variable(self, flat, a, owner):
        """The get and set functions of a member variable."""
        what = f"{flat[:-4]} holds"
        typed = [self.receiver(flat, owner)]
        value = self.python_type(a["type"], RESULTS, what)
        self.lines.append(f"def {flat}({', '.join(typed + ['/'])}) -> {value}: ...")
        if not a.get("feature_immutable"):
            value = self.python_type(a["type"], ARGUMENTS, what)
            args = ", ".join(typed + [f"value: {value}", "/"])
            self.lines.append(f"def {flat[:-4]}_set({args}) -> None: ...")

    def build(self, root):
        """Every wrapped declaration in parse order, overloads together, then the classes'
        registration, constants and global variables."""
        defs, owners, registered, values, variables = {}, {}, [], [], []
        for cls in root.iter("class"):
            a = attributes(cls)
            if a.get("python_proxy"):
                registered.append(a["sym_name"])
            for node in cls.iter():
                owners[node] = a.get("sym_name")
        for node in root.iter():
            a, owner = attributes(node), owners.get(node)
            if node.tag == "constant" and a.get("sym_name"):
                name = a["sym_name"]
                values.append(f"{name}: {self.python_type(a['type'], RESULTS, name)}")
            elif node.tag == "enumitem" and a.get("sym_name"):
                values.append(f"{owner + '_' if owner else ''}{a['sym_name']}: int")
            wrapped = node.tag in ("cdecl", "constructor", "destructor")
            wrap = a.get("wrap_name") if wrapped else None
            if not wrap:
                continue
            if a.get("kind") == "variable" and wrap.startswith("Swig_var_"):
                variables.append(f"    {a['sym_name']}: "
                                 f"{self.python_type(a['type'], RESULTS, a['sym_name'])}")
            elif a.get("kind") == "variable":
                self.variable(wrap[len("_wrap_"):], a, owner)
            else:
                flat = re.sub(r"__SWIG_\d+$", "", wrap[len("_wrap_"):])
                defs.setdefault(flat, []).append(self.function(flat, node, owner))
        for flat, forms in defs.items():
            for form in forms:
                self.lines += (["@overload"] if len(forms) > 1 else []) + [form]
        for name in registered:
            if name in self.proxies:
                self.lines.append(f"def {name}_swigregister(cls: type[{name}], /) -> None: ...")
        # The module's own table of integer constants, set in its init code.
        for node in root.iter("insert"):
            if attributes(node).get("section") == "init":
                for table in re.findall(r"constants\[\]\s*=\s*\{(.*?)\};",
                                        attributes(node).get("code", ""), re.S):
                    values += [f"{n}: int" for n in re.findall(r'\{"(\w+)",\s*-?\d+\}', table)]
        self.lines += values
        if variables:
            self.lines += ["", "class _Variables:"] + variables + ["", "cvar: _Variables"]

    def text(self, source):
        """The whole stub file."""
        by_module = {}
        for name in sorted(self.used):
            by_module.setdefault(self.proxies[name], []).append(name)
        imports = "\n".join(f"from {m} import {', '.join(n)}" for m, n in sorted(by_module.items()))
        return HEADER.format(source=source, imports=imports) + "\n".join(self.lines) + "\n"


def proxy_classes(entries):
    """Class name -> module for every top-level class of the given "module=path" entries,
    whether a class statement or a name bound to a class factory's call (`X = make("X", ...)`,
    the call's first argument naming the class)."""
    out = {}
    for entry in entries:
        module, _, path = entry.partition("=")
        with open(path, encoding="utf-8") as f:
            for node in ast.parse(f.read()).body:
                if isinstance(node, ast.ClassDef):
                    out[node.name] = module
                elif (isinstance(node, ast.Assign) and len(node.targets) == 1
                      and isinstance(node.targets[0], ast.Name) and isinstance(node.value, ast.Call)
                      and node.value.args and isinstance(node.value.args[0], ast.Constant)
                      and node.value.args[0].value == node.targets[0].id):
                    out[node.targets[0].id] = module
    return out


def main(argv):
    """Writes the stub; exits 1 naming every declaration whose type the table lacks."""
    ap = argparse.ArgumentParser()
    ap.add_argument("xml")
    ap.add_argument("output")
    ap.add_argument("--proxy", action="append", default=[], metavar="MODULE=SOURCE.py")
    args = ap.parse_args(argv)
    root = ET.parse(args.xml).getroot()
    stub = Stub(root, proxy_classes(args.proxy))
    stub.build(root)
    source = attributes(root).get("infile", args.xml).rsplit("/", 1)[-1]
    if stub.errors:
        for e in dict.fromkeys(stub.errors):
            sys.stderr.write(f"gen_stub: {source}: {e}\n")
        return 1
    text = stub.text(source)
    try:
        with open(args.output, encoding="utf-8") as f:
            if f.read() == text:
                return 0
    except OSError:
        pass
    with open(args.output, "w", encoding="utf-8") as f:
        f.write(text)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
