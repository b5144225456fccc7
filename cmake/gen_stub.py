"""Writes a .pyi stub for each Python module of the qorapi package, from the module's own
source: functions and classes with their signatures, class-level names and properties.

Usage: gen_stub.py OUTPUT_DIR SOURCE.py [SOURCE.py ...]
"""
import ast
import os
import sys


def signature(fn):
    return f"def {fn.name}({ast.unparse(fn.args)}): ..."


def public(name):
    return not name.startswith("_") or (name.startswith("__") and name.endswith("__"))


def class_stub(cls):
    bases = ", ".join(ast.unparse(b) for b in cls.bases)
    lines = [f"class {cls.name}({bases}):" if bases else f"class {cls.name}:"]
    body = []
    for node in cls.body:
        if isinstance(node, (ast.FunctionDef, ast.AsyncFunctionDef)) and public(node.name):
            for d in node.decorator_list:
                body.append(f"@{ast.unparse(d)}")
            body.append(signature(node))
        elif isinstance(node, ast.Assign):
            for target in node.targets:
                if isinstance(target, ast.Name) and public(target.id) and target.id != "__slots__":
                    body.append(f"{target.id}: Any")
    lines += ["    " + b for b in body] or ["    ..."]
    return lines


def module_stub(source):
    tree = ast.parse(source)
    out = ["# Generated from the module's source at build time.", "from typing import Any", ""]
    for node in tree.body:
        if isinstance(node, (ast.FunctionDef, ast.AsyncFunctionDef)) and public(node.name):
            out.append(signature(node))
        elif isinstance(node, ast.ClassDef):
            # Private classes too: public ones may name them as bases.
            out += class_stub(node) + [""]
        elif isinstance(node, ast.Assign):
            for target in node.targets:
                if isinstance(target, ast.Name) and public(target.id):
                    out.append(f"{target.id}: Any")
        elif isinstance(node, ast.ImportFrom) and node.level == 1:
            names = ", ".join(f"{a.name} as {a.asname or a.name}" for a in node.names
                              if public(a.asname or a.name))
            if names:
                out.append(f"from .{node.module or ''} import {names}".replace("from . import",
                                                                                 "from . import"))
    return "\n".join(out) + "\n"


def main(argv):
    out_dir, sources = argv[1], argv[2:]
    os.makedirs(out_dir, exist_ok=True)
    for src in sources:
        name = os.path.splitext(os.path.basename(src))[0]
        with open(src, encoding="utf-8") as f:
            stub = module_stub(f.read())
        target = os.path.join(out_dir, name + ".pyi")
        old = open(target, encoding="utf-8").read() if os.path.exists(target) else None
        if old != stub:
            with open(target, "w", encoding="utf-8") as f:
                f.write(stub)


if __name__ == "__main__":
    main(sys.argv)
