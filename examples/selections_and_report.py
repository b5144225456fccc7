"""Select the top tenth of a scan's triangles by height and write an XML report about it.

Imports a real scan, marks the 10% of its triangles that stand highest (along the scan's
up axis) through the host, reads the selection back with GetActiveTriangleSelection,
stores it as a named selection of the model, and writes a property dump with the model's
bounds, the selection count and a matrix to an XML file.

Run it from the repository with
    ./brindle run examples/selections_and_report.py [SCAN] [REPORT.xml] [--up x|y|z]
SCAN defaults to ../shared/data/models/stanford-bunny.obj (whose up axis is y),
REPORT.xml to report.xml in the current directory.
"""
import argparse
import os
import sys

import qorapi


def select_top(model: qorapi.Model, fraction: float, up: int) -> int:
    """Marks the triangles that lie wholly above the height leaving `fraction` of all
    triangles on top, found by bisection over the height; returns the count marked."""
    box = model.boundingBox
    lo, hi = list(box.minimum), list(box.maximum)
    mesh = model.getData()
    assert mesh is not None, f"{model.name!r} holds no data"
    total = mesh.numTriangles
    bottom, top = lo[up], hi[up]
    for _ in range(40):  # bisection: the count above a height falls as the height rises
        middle = (bottom + top) / 2
        corner = list(lo)
        corner[up] = middle
        if qorapi.host.mark_triangles_in_box(model, corner, hi) > fraction * total:
            bottom = middle
        else:
            top = middle
    corner = list(lo)
    corner[up] = bottom
    return qorapi.host.mark_triangles_in_box(model, corner, hi)


def main() -> int:
    here = os.path.dirname(os.path.abspath(__file__))
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("scan", nargs="?",
                        default=os.path.join(here, "..", "..", "shared", "data", "models",
                                             "stanford-bunny.obj"))
    parser.add_argument("report", nargs="?", default="report.xml")
    parser.add_argument("--up", choices="xyz", default="y")
    args = parser.parse_args()

    app = qorapi.Application.instance()
    assert app is not None, "the host offers no application"
    if not app.importFile(args.scan):
        print(f"could not import {args.scan}: see the log", file=sys.stderr)
        return 1
    model = app.getModels()[-1]
    mesh = model.getData()
    assert mesh is not None, f"{model.name!r} holds no mesh"
    marked = select_top(model, 0.10, "xyz".index(args.up))

    selection = qorapi.GetActiveTriangleSelection(mesh=mesh).run()
    count = selection.markedBits.count()
    assert count == marked, (count, marked)
    print(f"{model.name!r}: {count} of {mesh.numTriangles} triangles in the top tenth")
    selection.name = "top tenth"
    qorapi.AddSelectionSubObject(object=model, selection=selection).run()

    dump = qorapi.AddPropertyDump("report")
    dump.push("scan")
    dump.add("name", model.name)
    dump.add("triangles", mesh.numTriangles)
    dump.addBounds("bbox", model.boundingBox)
    dump.push("selection")
    dump.add("name", "top tenth")
    dump.add("count", count)
    dump.add("fraction", count / mesh.numTriangles)
    dump.pop()
    dump.addMatrix("placement", qorapi.Transform3D())
    dump.pop()
    qorapi.host.write_property_dump(args.report)
    print(f"wrote {os.path.getsize(args.report)} bytes to {args.report}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
