"""Marking and reading back a selection of 10^6 triangles, against numpy, same run.

Ours: the host marks the triangles of a 10^6-triangle mesh model whose three corners lie
in a box (qorapi.host.mark_triangles_in_box), a GetActiveTriangleSelection command reads
the marked set into a script selection, and its bits come back as a numpy bool mask of
the triangles. The peer does the same work on numpy alone, the fast way: the in-box test
of every vertex, then of the three corners of every triangle into a bool array, and a
copy of that array as the result.
Both give the same mask (checked). Prints ms per round and the ratio ours / peer (lower
is better)."""
import time

import numpy as np

import qorapi

N = 1_000_000


def best(fn, repeat=7):
    """The fastest of `repeat` calls of fn, in ms."""
    times = []
    for _ in range(repeat):
        t0 = time.perf_counter()
        fn()
        times.append(time.perf_counter() - t0)
    return min(times) * 1e3


def main():
    rng = np.random.default_rng(7)
    vertices = rng.random((N // 2 + 2, 3))
    triangles = rng.integers(0, len(vertices), size=(N, 3), dtype=np.int32)
    app = qorapi.Application.instance()
    app.newFile()
    mesh = qorapi.make_mesh(vertices, triangles, "bench mesh")
    assert qorapi.AddModel(model=mesh).run() == 1
    model = app.getModels()[-1]
    lo, hi = (0.1, 0.1, 0.1), (0.9, 0.9, 0.9)

    def ours():
        qorapi.host.mark_triangles_in_box(model, lo, hi)
        selection = qorapi.GetActiveTriangleSelection(mesh=mesh).run()
        return selection.markedBits.mask(N)

    def peer():
        inside_vertex = ((vertices >= lo) & (vertices <= hi)).all(axis=1)
        return inside_vertex[triangles].all(axis=1).copy()

    assert np.array_equal(ours(), peer()), "the two masks differ"
    t_ours, t_peer = best(ours), best(peer)
    print("bench_selection: mark 10^6 triangles in a box and read the selection back")
    print(f"  selected {int(peer().sum())} of {N} triangles")
    print(f"  ours (host mark + GetActiveTriangleSelection + mask) {t_ours:8.2f} ms")
    print(f"  numpy bool array (in-box test + copy)               {t_peer:8.2f} ms")
    print(f"  ratio {t_ours / t_peer:6.2f} (goal <= 2.0)")


if __name__ == "__main__":
    main()
