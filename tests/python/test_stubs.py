"""The .pyi stubs made at build time describe the package as it really is: every public
name the modules define stands in its stub, and every function and method in a stub has
the parameters of the real one."""
import ast
import importlib
import inspect
import os

import pytest

import qorapi

PACKAGE_DIR = os.path.dirname(qorapi.__file__)
MODULES = sorted(f[:-4] for f in os.listdir(PACKAGE_DIR) if f.endswith(".pyi"))


def stub_of(name):
    with open(os.path.join(PACKAGE_DIR, name + ".pyi"), encoding="utf-8") as f:
        return ast.parse(f.read())


def parameters(fn_node):
    a = fn_node.args
    names = [x.arg for x in a.posonlyargs + a.args]
    if a.vararg:
        names.append("*" + a.vararg.arg)
    names += [x.arg for x in a.kwonlyargs]
    if a.kwarg:
        names.append("**" + a.kwarg.arg)
    return names


def real_parameters(obj):
    out = []
    for p in inspect.signature(obj).parameters.values():
        prefix = {p.VAR_POSITIONAL: "*", p.VAR_KEYWORD: "**"}.get(p.kind, "")
        out.append(prefix + p.name)
    return out


def test_every_module_has_a_stub():
    assert {"__init__", "datamodel"} <= set(MODULES)


@pytest.mark.parametrize("stub", MODULES)
def test_stub_matches_the_module(stub):
    module = qorapi if stub == "__init__" else importlib.import_module("qorapi." + stub)
    tree = stub_of(stub)
    names = set()
    for node in tree.body:
        if isinstance(node, (ast.FunctionDef, ast.ClassDef)):
            names.add(node.name)
        elif isinstance(node, ast.AnnAssign):
            names.add(node.target.id)
        elif isinstance(node, ast.ImportFrom):
            names.update(a.asname or a.name for a in node.names)
    defined = {n for n, v in vars(module).items()
               if not n.startswith("_") and getattr(v, "__module__", module.__name__) == module.__name__
               and not inspect.ismodule(v)}
    assert defined <= names, f"missing from the stub: {sorted(defined - names)}"
    for node in tree.body:
        if isinstance(node, ast.FunctionDef):
            assert parameters(node) == real_parameters(getattr(module, node.name)), node.name
        if isinstance(node, ast.ClassDef) and hasattr(module, node.name):
            cls = getattr(module, node.name)
            for item in node.body:
                if isinstance(item, ast.FunctionDef):
                    real = inspect.getattr_static(cls, item.name)
                    if isinstance(real, (classmethod, staticmethod)):
                        real = real.__func__
                    elif isinstance(real, property):
                        setter = any(ast.unparse(d).endswith(".setter") for d in item.decorator_list)
                        real = real.fset if setter else real.fget
                    assert parameters(item) == real_parameters(real), f"{node.name}.{item.name}"
