"""Place features on a real scan: a plane at the bunny's base, a sphere around it and an arc
along its rim; attach them to the model, print their bounds, save and reopen the document.

Run it from the repository with ./brindle run examples/features.py [MODELS_DIR]
(MODELS_DIR defaults to ../shared/data/models). The bunny's up axis is y.
"""
import os
import sys
import tempfile

import qorapi
from qorapi import Vector2D, Vector3D


def show(feature: qorapi.Feature) -> str:
    """One line about a feature: its class, its name and its box."""
    box = feature.boundingBox
    lo = ", ".join(f"{v:.4g}" for v in box.minimum)
    hi = ", ".join(f"{v:.4g}" for v in box.maximum)
    return f"{type(feature).__name__} {feature.name!r}: box ({lo}) .. ({hi})"


def main(models_dir: str) -> int:
    app = qorapi.Application.instance()
    assert app is not None, "the host offers no application"
    if not app.importFile(os.path.join(models_dir, "stanford-bunny.obj")):
        print("could not import the bunny: see the log", file=sys.stderr)
        return 1
    bunny = app.getModelByName("stanford-bunny")
    assert bunny is not None
    box = bunny.boundingBox
    lo, hi = box.minimum, box.maximum
    base_centre = Vector3D((lo.x + hi.x) / 2, lo.y, (lo.z + hi.z) / 2)
    middle = (lo + hi) * 0.5
    up, across = Vector3D(0, 1, 0), Vector3D(1, 0, 0)

    half_x, half_z = (hi.x - lo.x) / 2, (hi.z - lo.z) / 2
    base = qorapi.PlaneSurface("base")  # the rectangle under the scan's footprint
    base.initialize(base_centre, up, across, Vector2D(-half_x, half_x), Vector2D(-half_z, half_z))
    ball = qorapi.SphereSurface("around")
    ball.initialize(middle, (hi - lo).length() / 2)
    rim = qorapi.ArcCurve()
    rim.name = "rim"
    rim.initialize(base_centre, max(half_x, half_z), up, across)
    print("the arc at a quarter turn:", rim.evaluatePoint(0.25))

    manager = qorapi.ModelManager.instance()
    for feature in (base, ball, rim):
        assert manager.addFeature(bunny, feature) == 1
        print(show(feature))
    print("features in the document:", manager.getNumFeatures())

    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "features.wex")
        app.saveAs(path)
        app.newFile()
        print("after newFile:", manager.getNumFeatures(), "features")
        app.open(path)
        print("reopened:", manager.getNumFeatures(), "features on",
              [m.name for m in app.getModels()])
    return 0


if __name__ == "__main__":
    here = os.path.dirname(os.path.abspath(__file__))
    default = os.path.join(here, "..", "..", "shared", "data", "models")
    sys.exit(main(sys.argv[1] if len(sys.argv) > 1 else default))
