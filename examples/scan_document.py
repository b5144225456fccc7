"""Import two real scans, look at them, group them, save the document and open it again.

Run it from the repository with ./brindle run examples/scan_document.py [MODELS_DIR]
(MODELS_DIR defaults to ../shared/data/models).
"""
import os
import sys
import tempfile

import qorapi


def describe(model: qorapi.Model) -> str:
    """One line about a model: its kind, its counts and its box."""
    data = model.getData()
    box = model.boundingBox
    counts = ""
    if data is not None and data.has("numTriangles"):
        counts = f"{data.numVertices} vertices, {data.numTriangles} triangles"
    elif data is not None and data.has("numPoints"):
        counts = f"{data.numPoints} points"
    lo = ", ".join(f"{v:.4g}" for v in box.minimum)
    hi = ", ".join(f"{v:.4g}" for v in box.maximum)
    return f"{model.name!r}: type {model.type}, {counts}, box ({lo}) .. ({hi})"


def main(models_dir: str) -> int:
    app = qorapi.Application.instance()
    assert app is not None, "the host offers no application"
    for name in ("stanford-bunny.obj", "igea.ply"):
        path = os.path.join(models_dir, name)
        if not app.importFile(path):
            print(f"could not import {path}: see the log", file=sys.stderr)
            return 1
    for model in app.getModels():
        print(describe(model))

    group = app.newGroup("scans")
    assert group is not None
    for model in app.getModels():
        if model is not group:
            model.addToGroup(group)
    print(f"group {group.name!r} holds", [m.name for m in group.groupModels])

    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "scans.wex")
        app.saveAs(path)
        print(f"saved {os.path.getsize(path)} bytes to {path}")
        app.newFile()
        print("after newFile:", len(app.getModels()), "models")
        app.open(path)
        print("reopened:", [m.name for m in app.getModels()])
    return 0


if __name__ == "__main__":
    here = os.path.dirname(os.path.abspath(__file__))
    default = os.path.join(here, "..", "..", "shared", "data", "models")
    sys.exit(main(sys.argv[1] if len(sys.argv) > 1 else default))
