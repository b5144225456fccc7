"""NURB curves and surfaces from a script, same run.

1. evaluate_many: 10^6 random parameters on a cubic rational NurbCurve of 1000 poles, from
   Python (parameter conversion, the range check of every parameter, the numpy result),
   against the peer: the same host calls in a plain native loop over the same parameters
   into a preallocated array (qorapi._testing.native_point_loop, timed inside C++). The two
   run in turn, best of 7 each; both fill the same numbers (checked). Prints ms and the
   ratio ours / peer (goal <= 1.3).
2. Growth: NurbCurve.initialize(3, n) for n = 10^4, 10^5, 10^6 and
   NurbSurface.initialize(3, 3, m, m) for m * m = 10^4, 10^5, 10^6 (m = 100, 316, 1000).
   Prints ms and ms per 10^6 poles; linear growth keeps the last column flat.
"""
import time

import numpy as np

import qorapi
from qorapi import _testing

N = 1_000_000


def best(fn, repeat=5):
    """The fastest of `repeat` calls of fn, in ms, and its last result."""
    times, result = [], None
    for _ in range(repeat):
        t0 = time.perf_counter()
        result = fn()
        times.append(time.perf_counter() - t0)
    return min(times) * 1e3, result


def main():
    rng = np.random.default_rng(1)
    curve = qorapi.NurbCurve()
    curve.initialize(3, 1000)
    poles, weights = curve.controlPoints, curve.weights
    for i, p in enumerate(rng.normal(size=(1000, 3))):
        poles.set(i, qorapi.Vector3D(*p))
        weights.set(i, float(rng.uniform(0.5, 2.0)))
    t = rng.uniform(0.0, 1.0, N)
    out = np.empty((N, 3))
    ours = peer = float("inf")
    for _ in range(7):  # interleaved, so that both sides see the same load
        took, points = best(lambda: curve.evaluate_many(t), repeat=1)
        ours = min(ours, took)
        peer = min(peer, _testing.native_point_loop(curve, t, out) * 1e3)
    assert np.array_equal(points, out), "both sides must fill the same numbers"
    print("bench_nurbs_script: NURB curves and surfaces from a script")
    print(f"  evaluate_many, 10^6 t, cubic 1000 poles  {ours:8.1f} ms   native loop {peer:8.1f} ms"
          f"   ratio {ours / peer:5.2f} (goal <= 1.3)")
    for what, make, sizes in (
            ("NurbCurve.initialize(3, n)", lambda n: (qorapi.NurbCurve(), (3, n)),
             (10**4, 10**5, 10**6)),
            ("NurbSurface.initialize(3, 3, m, m)", lambda n: (qorapi.NurbSurface(), (3, 3, n, n)),
             (100, 316, 1000))):
        for n in sizes:
            shape, args = make(n)
            ms, _ = best(lambda: shape.initialize(*args), repeat=3)
            count = n if len(args) == 2 else n * n
            print(f"  {what:36s} {count:>9d} poles {ms:9.3f} ms   {ms / count * 1e6:8.1f} ms per 10^6")


if __name__ == "__main__":
    main()
