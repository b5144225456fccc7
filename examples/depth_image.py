"""Render a depth image of the bunny, halve it and save it as PNG, TIFF and BMP.

The depth image is an orthographic z-buffer of the scan's vertices, looking down the z
axis, done in numpy: each pixel keeps the nearest vertex, from 255 (near) down to 1 (far),
and 0 where no vertex falls. Run it from the repository with
./brindle run examples/depth_image.py [MODELS_DIR [OUT_DIR]] (MODELS_DIR defaults to
../shared/data/models, OUT_DIR to a new temporary directory).
"""
import os
import sys
import tempfile

import numpy as np
import numpy.typing as npt

import qorapi

SIZE = 512


def load_vertices(path: str) -> npt.NDArray[np.float64]:
    """The vertices of an OBJ file: its "v x y z" lines."""
    with open(path) as f:
        rows = [line.split()[1:4] for line in f if line.startswith("v ")]
    return np.array(rows, dtype=np.float64)


def depth_image(v: npt.NDArray[np.float64], size: int) -> npt.NDArray[np.uint8]:
    """A size x size z-buffer of the points, the x-y box scaled to fit, rows going down."""
    lo, hi = v.min(axis=0), v.max(axis=0)
    scale = (size - 1) / float(max(hi[0] - lo[0], hi[1] - lo[1]))
    x = ((v[:, 0] - lo[0]) * scale).astype(np.int64)
    y = ((hi[1] - v[:, 1]) * scale).astype(np.int64)
    z = 1 + (v[:, 2] - lo[2]) / (hi[2] - lo[2]) * 254
    buffer = np.zeros(size * size)
    np.maximum.at(buffer, y * size + x, z)
    return buffer.reshape(size, size).astype(np.uint8)


def main(models_dir: str, out_dir: str) -> int:
    vertices = load_vertices(os.path.join(models_dir, "stanford-bunny.obj"))
    image = qorapi.QorImage.from_numpy(depth_image(vertices, SIZE))
    half = image.half_size()
    print(f"{len(vertices)} vertices, depth image {image.size}, halved {half.size}")
    os.makedirs(out_dir, exist_ok=True)
    base = os.path.join(out_dir, "bunny-depth")
    if not half.save(base + ".png", "PNG"):
        print("PNG: the host has no PNG writer", file=sys.stderr)
    if not (half.write_tiff(base + ".tif") and half.write_bmp(base + ".bmp")):
        print(f"could not write into {out_dir}", file=sys.stderr)
        return 1
    print("wrote", ", ".join(sorted(f for f in os.listdir(out_dir) if f.startswith("bunny"))))
    return 0


if __name__ == "__main__":
    here = os.path.dirname(os.path.abspath(__file__))
    models = sys.argv[1] if len(sys.argv) > 1 else os.path.join(here, "..", "..", "shared",
                                                                 "data", "models")
    sys.exit(main(models, sys.argv[2] if len(sys.argv) > 2 else tempfile.mkdtemp()))
