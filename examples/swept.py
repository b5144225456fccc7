"""A vase with a handle, made of swept surfaces: turn a profile, carry a circle along a
path, close the top with a drafted rim, measure the pieces, store them and read them back.

What it does, plainly: the vase's wall is a NURB profile in the xz plane turned once about
the z axis (a RotationalSurface). The handle is a circle of radius 0.3 carried along a
bent NURB path at the vase's side (a SweepSurface, its circle drawn where the path starts;
a straight ruler beside the path keeps the circle from twisting). The rim is the circle at
the top of the wall drafted outwards by 30 degrees (a DraftedSurface, its sections offset in
the circle's plane: a cone's band). Each piece is evaluated on a 120 x 120 grid with one
evaluate_many call, and its area summed from the grid's quads. The three are saved in a
data-model file and read back, and their grids compared.

Run it from the repository with ./brindle run examples/swept.py [OUTPUT.qdm] (without
OUTPUT a temporary file is used).
"""
import math
import os
import sys
import tempfile

import numpy as np
import numpy.typing as npt

import qorapi
from qorapi import Vector3D

GRID = 120
Swept = qorapi.RotationalSurface | qorapi.SweepSurface | qorapi.DraftedSurface


def nurb(points: list[tuple[float, float, float]]) -> qorapi.NurbCurve:
    """A cubic NurbCurve with these control points and clamped uniform knots."""
    curve = qorapi.NurbCurve()
    curve.initialize(3, len(points))
    for i, p in enumerate(points):
        curve.controlPoints.set(i, Vector3D(*p))
    return curve


def circle(radius: float, centre: Vector3D, normal: Vector3D,
           across: Vector3D) -> qorapi.ArcCurve:
    """A full circle."""
    arc = qorapi.ArcCurve()
    arc.initialize(centre, radius, normal, across)
    return arc


def grid(surface: Swept, first: str, second: str) -> npt.NDArray[np.float64]:
    """The points on a GRID x GRID grid over the windows `first` and `second`, shape
    (GRID, GRID, 3)."""
    u0, u1 = surface.get(first)
    v0, v1 = surface.get(second)
    u, v = np.meshgrid(np.linspace(u0, u1, GRID), np.linspace(v0, v1, GRID), indexing="ij")
    points: npt.NDArray[np.float64] = surface.evaluate_many(u.ravel(), v.ravel())
    return points.reshape(GRID, GRID, 3)


def area(points: npt.NDArray[np.float64]) -> float:
    """The summed area of the grid's quads, each as two triangles."""
    a, b = points[1:, 1:] - points[:-1, :-1], points[1:, :-1] - points[:-1, 1:]
    return float(np.linalg.norm(np.cross(a, b), axis=2).sum() / 2)


def main(path: str) -> None:
    wall = qorapi.RotationalSurface("wall", angleTo=2 * math.pi)
    wall.sketch = nurb([(1.0, 0, 0), (1.6, 0, 0.8), (0.6, 0, 1.6), (0.7, 0, 2.4), (0.9, 0, 3.0)])
    path_ = nurb([(0.75, 0, 2.6), (1.6, 0, 2.6), (1.8, 0, 1.4), (1.3, 0, 0.9)])
    ruler = nurb([(0.75, 1, 2.6), (1.6, 1, 2.6), (1.8, 1, 1.4), (1.3, 1, 0.9)])
    start, tangent = path_.evaluatePoint(0.0), path_.evaluateTangent(0.0)
    ring = qorapi.CompositeCurve()
    ring.addCurve(circle(0.3, start, tangent * (1 / tangent.length()), Vector3D(0, 1, 0)))
    handle = qorapi.SweepSurface.build(ring, path_, ruler, name="handle")
    rim = qorapi.DraftedSurface("rim", draftAngle=math.radians(30), heightTo=0.3)
    rim.sketch = circle(0.9, Vector3D(0, 0, 3), Vector3D(0, 0, 1), Vector3D(1, 0, 0))
    pieces: list[tuple[Swept, str, str]] = [(wall, "sweepParamRange", "curveParamRange"),
                                            (handle, "uRange", "vRange"),
                                            (rim, "curveParamRange", "sweepParamRange")]
    grids = [grid(s, a, b) for s, a, b in pieces]
    for (s, _, _), g in zip(pieces, grids):
        print(f"{s.name}: area {area(g):.4f}, box {s.boundingBox}")
    stored = qorapi.DataObjectArray([s for s, _, _ in pieces])
    qorapi.save(path, qorapi.DataObject("vase", pieces=stored))
    back = list(qorapi.load(path).pieces)
    same = all(np.array_equal(grid(s, a, b), g) for s, (_, a, b), g in zip(back, pieces, grids))
    print(f"read back from {os.path.basename(path)}: {'equal' if same else 'DIFFERENT'}")


if __name__ == "__main__":
    if len(sys.argv) > 1:
        main(sys.argv[1])
    else:
        with tempfile.TemporaryDirectory() as d:
            main(os.path.join(d, "vase.qdm"))
