"""A NURB surface over the bunny's back: sample the scan, build a bicubic surface on the
samples, evaluate it densely, find where it bends most, and save it with the scan.

What it does, plainly: the bunny's up axis is y and it looks towards -x, its ears rising
over the front half. Over its back (x from 60 % to 95 % of its x extent, the central half
of its z extent) a 12 x 12 grid of cells is laid; in each cell the highest scan vertex is
the sample (a cell without vertices takes the vertex nearest to its
centre). The samples become the control points of a bicubic NurbSurface as they stand: no
fitting, so the surface follows the back smoothly inside the net's hull without passing
through every sample. The surface is then evaluated on a 200 x 200 parameter grid with one
evaluate_many call, and its principal curvatures with evaluateCurvature on a coarser
25 x 25 grid (a call per point), whose largest magnitude is reported. The surface is
attached to the bunny and the document saved and opened again.

Run it from the repository with ./brindle run examples/nurbs.py [MODELS_DIR [OUTPUT.wex]]
(MODELS_DIR defaults to ../shared/data/models; without OUTPUT a temporary file is used).
"""
import os
import sys
import tempfile

import numpy as np
import numpy.typing as npt

import qorapi
from qorapi import Vector3D

NET = 12  # control points in each direction
DENSE = 200  # evaluation grid of evaluate_many
COARSE = 25  # curvature grid


def back_samples(vertices: npt.NDArray[np.float64]) -> npt.NDArray[np.float64]:
    """The NET x NET samples (x, highest y, z) over the back."""
    lo, hi = vertices.min(axis=0), vertices.max(axis=0)
    xs = np.linspace(lo[0] + (hi[0] - lo[0]) * 0.6, lo[0] + (hi[0] - lo[0]) * 0.95, NET)
    zs = np.linspace(lo[2] + (hi[2] - lo[2]) / 4, hi[2] - (hi[2] - lo[2]) / 4, NET)
    half_x, half_z = (xs[1] - xs[0]) / 2, (zs[1] - zs[0]) / 2
    samples = np.empty((NET, NET, 3))
    for i, x in enumerate(xs):
        for j, z in enumerate(zs):
            inside = (np.abs(vertices[:, 0] - x) <= half_x) & (np.abs(vertices[:, 2] - z) <= half_z)
            if inside.any():
                y = vertices[inside, 1].max()
            else:
                y = vertices[np.argmin((vertices[:, 0] - x) ** 2 + (vertices[:, 2] - z) ** 2), 1]
            samples[i, j] = (x, y, z)
    return samples


def main(models_dir: str, output: str | None) -> int:
    app = qorapi.Application.instance()
    assert app is not None, "the host offers no application"
    if not app.importFile(os.path.join(models_dir, "stanford-bunny.obj")):
        print("could not import the bunny: see the log", file=sys.stderr)
        return 1
    bunny = app.getModelByName("stanford-bunny")
    assert bunny is not None
    mesh = bunny.getData()
    assert isinstance(mesh, qorapi.Mesh)
    samples = back_samples(mesh.vertices())

    back = qorapi.NurbSurface("back")
    back.initialize(3, 3, NET, NET)
    for i in range(NET):
        for j in range(NET):
            back.controlPoints.set(i, j, Vector3D(*samples[i, j]))
    print(f"control net: {NET} x {NET}, knots in u: {[round(k, 4) for k in back.knotsU]}")

    grid = np.linspace(0.0, 1.0, DENSE)
    u, v = np.repeat(grid, DENSE), np.tile(grid, DENSE)
    points = back.evaluate_many(u, v)
    top = points[np.argmax(points[:, 1])]
    print(f"evaluated {len(points)} points; the back peaks at y = {top[1]:.5f} "
          f"(samples peak at {samples[:, :, 1].max():.5f})")

    coarse = np.linspace(0.0, 1.0, COARSE)
    bend = [(max(abs(k) for k in back.evaluateCurvature(a, b)), a, b) for a in coarse for b in coarse]
    k, a, b = max(bend)
    where = back.evaluatePoint(a, b)
    print(f"largest principal curvature on a {COARSE} x {COARSE} grid: {k:.3f} per unit "
          f"(radius {1 / k:.4f}) at u = {a:.3f}, v = {b:.3f}, {where}")

    manager = qorapi.ModelManager.instance()
    assert manager.addFeature(bunny, back) == 1
    with tempfile.TemporaryDirectory() as folder:
        path = output or os.path.join(folder, "nurbs.wex")
        if not app.saveAs(path):
            print("could not save the document: see the log", file=sys.stderr)
            return 1
        app.newFile()
        app.open(path)
        kept = manager.getNumFeatures()
        print(f"reopened: {kept} feature(s) on {[m.name for m in app.getModels()]}")
    return 0 if kept == 1 else 1


if __name__ == "__main__":
    here = os.path.dirname(os.path.abspath(__file__))
    default = os.path.join(here, "..", "..", "shared", "data", "models")
    sys.exit(main(sys.argv[1] if len(sys.argv) > 1 else default,
                  sys.argv[2] if len(sys.argv) > 2 else None))
