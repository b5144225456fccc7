"""File import against peers measured in the same run, on generated files in a temporary
directory: a binary PLY mesh of 10^6 triangles against Open3D's read_triangle_mesh, and a
text file of 10^6 points (x y z a line) against numpy.loadtxt and Open3D's read_point_cloud.
Each figure is the best of a few runs; prints seconds and the ratio ours / peer (lower is
better). Open3D is a benchmark-only peer: without it its rows say so."""
import tempfile
import time
from pathlib import Path

import numpy as np

import qorapi

try:
    import open3d
except ImportError:
    open3d = None


def best(fn, repeat=3):
    """The fastest of `repeat` calls of fn, in seconds."""
    times = []
    for _ in range(repeat):
        start = time.perf_counter()
        fn()
        times.append(time.perf_counter() - start)
    return min(times)


def best_import(path, repeat=3):
    """The fastest of `repeat` imports of `path` through the application, each into an
    empty document, in seconds; checks the model's sizes."""
    app = qorapi.Application.instance()
    times = []
    for _ in range(repeat):
        app.newFile()
        start = time.perf_counter()
        assert app.importFile(str(path)), path
        times.append(time.perf_counter() - start)
    data = app.getModels()[0].getData()
    sizes = (data.numVertices, data.numTriangles) if data.has("numTriangles") else (data.numPoints, 0)
    app.newFile()
    return min(times), sizes


def write_grid_ply(path, rows=501, columns=1001):
    """A binary little-endian PLY of a wavy grid: (rows-1)*(columns-1)*2 triangles."""
    ys, xs = np.mgrid[0:rows, 0:columns].astype(np.float32)
    v = np.stack([xs.ravel(), ys.ravel(), np.sin(xs.ravel() * 0.1)], 1).astype("<f4")
    i = np.arange(rows * columns).reshape(rows, columns)
    a, b, c, d = i[:-1, :-1].ravel(), i[:-1, 1:].ravel(), i[1:, :-1].ravel(), i[1:, 1:].ravel()
    t = np.concatenate([np.stack([a, b, c], 1), np.stack([b, d, c], 1)])
    faces = np.zeros(len(t), dtype=[("n", "u1"), ("i", "<i4", 3)])
    faces["n"], faces["i"] = 3, t
    head = (f"ply\nformat binary_little_endian 1.0\nelement vertex {len(v)}\nproperty float x\n"
            f"property float y\nproperty float z\nelement face {len(t)}\n"
            "property list uchar int vertex_indices\nend_header\n")
    path.write_bytes(head.encode() + v.tobytes() + faces.tobytes())
    return len(v), len(t)


def main():
    print("bench_import: file import vs Open3D and numpy")
    if open3d is None:
        print("  the peer Open3D is missing (python3-open3d; `./brindle bench` installs it)")
    with tempfile.TemporaryDirectory() as tmp:
        ply, xyz = Path(tmp) / "grid.ply", Path(tmp) / "cloud.xyz"
        nv, nt = write_grid_ply(ply)
        rng = np.random.default_rng(7)
        np.savetxt(xyz, rng.uniform(-1000, 1000, (1_000_000, 3)), fmt="%.6f")
        ours_ply, sizes = best_import(ply)
        assert sizes == (nv, nt), sizes
        ours_xyz, sizes = best_import(xyz)
        assert sizes == (1_000_000, 0), sizes
        rows = [(f"binary PLY, {nt} triangles", ours_ply, "open3d.io.read_triangle_mesh",
                 (lambda: open3d.io.read_triangle_mesh(str(ply))) if open3d else None, 1.2),
                ("text points, 10^6 lines", ours_xyz, "numpy.loadtxt",
                 lambda: np.loadtxt(xyz), 0.2),
                ("text points, 10^6 lines", ours_xyz, "open3d.io.read_point_cloud",
                 (lambda: open3d.io.read_point_cloud(str(xyz), format="xyz")) if open3d else None, None)]
        for name, ours, peer_name, peer_fn, goal in rows:
            aim = f" (goal <= {goal})" if goal else ""
            if peer_fn is None:
                print(f"  {name:30s} {ours:7.3f} s   {peer_name:30s}  peer missing")
                continue
            peer = best(peer_fn, 2 if peer_name == "numpy.loadtxt" else 3)
            print(f"  {name:30s} {ours:7.3f} s   {peer_name:30s} {peer:7.3f} s"
                  f"   ratio {ours / peer:6.2f}{aim}")


if __name__ == "__main__":
    main()
