"""Swept surfaces from a slice of the bunny: cut the scan at one height, join the cut's
points into a closed polyline, and extrude, draft and revolve it; evaluate each surface on
a grid, keep the slice as a curve-set model, and save the document.

What it does, plainly: the bunny's up axis is y. The scan vertices within a thin band at 30 %
of its height are the cut. Around the cut's centre the plane is divided into 48 equal
angles, and in each the vertex farthest from the centre is kept, so the profile is the
outline of the cut, taken in angle order and closed by repeating its first point. That
PolylineCurve is the sketch of

- an ExtrudedSurface straight up by a fifth of the bunny's height,
- a DraftedSurface over the same height, its sections drawn inwards by 10 degrees (conic:
  scaled about the centre of the slice's box),
- a RotationalSurface that turns the profile half a turn about a horizontal axis (along x)
  a quarter of the bunny's height below it,

each evaluated on a 60 x 60 parameter grid with one evaluate_many call (points and unit
normals). The profile also goes into a Curves set added to the document as a curve model,
the surfaces are attached to the bunny, and the document is saved and opened again.

Run it from the repository with ./brindle run examples/surfaces.py [MODELS_DIR [OUTPUT.wex]]
(MODELS_DIR defaults to ../shared/data/models; without OUTPUT a temporary file is used).
"""
import math
import os
import sys
import tempfile

import numpy as np
import numpy.typing as npt

import qorapi
from qorapi import Vector3D

SECTORS = 48  # angles around the cut's centre, one profile point each
GRID = 60  # evaluation grid of evaluate_many, in each direction


def slice_profile(vertices: npt.NDArray[np.float64]) -> list[tuple[float, float, float]]:
    """The closed outline of the scan at 30 % of its height, in angle order."""
    lo, hi = vertices.min(axis=0), vertices.max(axis=0)
    height = lo[1] + 0.3 * (hi[1] - lo[1])
    cut = vertices[np.abs(vertices[:, 1] - height) < 0.01 * (hi[1] - lo[1])]
    centre = cut.mean(axis=0)
    angle = np.arctan2(cut[:, 2] - centre[2], cut[:, 0] - centre[0])
    edges = np.linspace(-math.pi, math.pi, SECTORS + 1)
    points = []
    for a, b in zip(edges[:-1], edges[1:]):
        inside = cut[(angle >= a) & (angle < b)]
        if len(inside):
            far = inside[np.argmax(np.hypot(inside[:, 0] - centre[0], inside[:, 2] - centre[2]))]
            points.append((float(far[0]), float(height), float(far[2])))
    return points + points[:1]


def grid_of(surface: qorapi.Feature, first: str, second: str) -> npt.NDArray[np.float64]:
    """Points and unit normals of `surface` on a GRID x GRID grid over its two windows."""
    (a0, a1), (b0, b1) = surface.get(first), surface.get(second)
    a, b = np.linspace(float(a0), float(a1), GRID), np.linspace(float(b0), float(b1), GRID)
    u, v = np.repeat(a, GRID), np.tile(b, GRID)
    points, normals = surface.evaluate_many(u, v, normals=True)
    many: npt.NDArray[np.float64] = np.hstack([points, normals])
    return many


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
    vertices = mesh.vertices()
    span = float(vertices[:, 1].max() - vertices[:, 1].min())

    points = slice_profile(vertices)
    profile = qorapi.PolylineCurve("bunny slice")
    profile.initialize(points, range(len(points)))  # one knot per point
    print(f"slice: {len(points) - 1} points at y = {points[0][1]:.5f}, "
          f"closed {profile.isClosed}")

    whole = profile.range  # the knot domain, (0, 48): the surfaces run over all of it
    up = Vector3D(0, 1, 0)
    extruded = qorapi.ExtrudedSurface("extruded", extrudeDir=up, sketch=profile,
                                      heightFrom=0.0, heightTo=span / 5, curveParamRange=whole)
    drafted = qorapi.DraftedSurface("drafted", extrudeDir=up, draftAngle=-math.radians(10),
                                    isConic=True, sketch=profile, heightFrom=0.0,
                                    heightTo=span / 5, curveParamRange=whole)
    below = Vector3D(0.0, points[0][1] - span / 4, 0.0)
    revolved = qorapi.RotationalSurface("revolved", originPt=below,
                                        axisDirection=Vector3D(1, 0, 0),
                                        sketch=profile, angleFrom=0.0, angleTo=math.pi,
                                        curveParamRange=whole)
    for surface, first, second in ((extruded, "curveParamRange", "sweepParamRange"),
                                   (drafted, "curveParamRange", "sweepParamRange"),
                                   (revolved, "sweepParamRange", "curveParamRange")):
        many = grid_of(surface, first, second)
        lo, hi = many[:, :3].min(axis=0), many[:, :3].max(axis=0)
        unit = np.abs(np.linalg.norm(many[:, 3:], axis=1) - 1).max()
        # The section at the end of the sweep window: the last point of every grid row.
        end = many[GRID - 1::GRID, :3] if first == "curveParamRange" else many[-GRID:, :3]
        width = float(end[:, 0].max() - end[:, 0].min())
        print(f"{surface.name}: {len(many)} points in ({lo[0]:.4f}, {lo[1]:.4f}, {lo[2]:.4f}) .. "
              f"({hi[0]:.4f}, {hi[1]:.4f}, {hi[2]:.4f}); last section {width:.4f} wide in x; "
              f"normals unit within {unit:.1e}")

    outline = qorapi.Curves()
    outline.addCurve(profile)
    print(f"curve set: {len(outline)} curve(s), closed {outline.isClosed}, "
          f"{outline.numComponents} component(s), length {outline.length:.5f}")
    manager = qorapi.ModelManager.instance()
    if qorapi.AddModel(model=outline, name="bunny slice").run() != 1:
        print("could not add the curve model: see the log", file=sys.stderr)
        return 1
    for surface in (extruded, drafted, revolved):
        assert manager.addFeature(bunny, surface) == 1
    with tempfile.TemporaryDirectory() as folder:
        path = output or os.path.join(folder, "surfaces.wex")
        if not app.saveAs(path):
            print("could not save the document: see the log", file=sys.stderr)
            return 1
        app.newFile()
        app.open(path)
        kept = manager.getNumFeatures()
        print(f"reopened: {kept} feature(s) on {[m.name for m in app.getModels()]}")
    return 0 if kept == 3 else 1


if __name__ == "__main__":
    here = os.path.dirname(os.path.abspath(__file__))
    default = os.path.join(here, "..", "..", "shared", "data", "models")
    sys.exit(main(sys.argv[1] if len(sys.argv) > 1 else default,
                  sys.argv[2] if len(sys.argv) > 2 else None))
