"""Point and vector arrays through numpy: exact round trips, the stream form, shape and dtype
errors, and sort/unique against numpy and a port of the array's quicksort."""
import os
import struct

import numpy as np
import pytest

import qorapi


def cmp(pts, a, b):
    pa, pb = pts[a], pts[b]
    return int(pa > pb) - int(pa < pb)


def insertion(a, lo, hi, c):
    for k in range(lo + 1, hi + 1):
        v, m = a[k], k - 1
        while m >= lo and c(a[m], v) > 0:
            a[m + 1] = a[m]
            m -= 1
        a[m + 1] = v


def quicksort(pts, n):
    """The array's quicksort over the indices 1..n; the order of equal points is its result."""
    a = list(range(n + 1))
    c = lambda x, y: cmp(pts, x, y)  # noqa: E731
    stack = [(1, n)]
    while stack:
        left, right = stack.pop()
        if right - left + 1 < 5:
            insertion(a, left, right, c)
            continue
        mid = left + (right - left) // 2
        if c(a[left], a[right]) > 0:
            a[left], a[right] = a[right], a[left]
        lifted, m = a[left + 1], a[mid]
        if c(m, a[left]) < 0:
            a[left + 1], a[left] = a[left], m
        elif c(m, a[right]) > 0:
            a[left + 1], a[right] = a[right], m
        else:
            a[left + 1] = m
        a[mid] = lifted
        pivot, i, j = a[left + 1], left + 1, right
        while True:
            i += 1
            while c(a[i], pivot) < 0:
                i += 1
            j -= 1
            while c(a[j], pivot) > 0:
                j -= 1
            if j < i:
                break
            a[i], a[j] = a[j], a[i]
        if j != left + 1:
            a[left + 1], a[j] = a[j], pivot
        for lo, hi in ((left, j - 1), (j + 1, right)):
            if hi - lo > 4:
                stack.append((lo, hi))
            elif hi - lo >= 1:
                insertion(a, lo, hi, c)
    return a[1:]


def cloud(n, seed):
    rng = np.random.default_rng(seed)
    pts = rng.integers(0, 6, size=(n, 3)).astype(np.float64)
    dup = rng.random(n) < 0.5
    pts[dup] = pts[rng.integers(0, max(n, 1), size=dup.sum())]
    return np.ascontiguousarray(pts)


@pytest.mark.parametrize("n,seed", [(0, 1), (7, 2), (300, 3), (3000, 4)])
def test_sort_and_unique_match_numpy_and_the_quicksort(n, seed):
    src = cloud(n, seed)
    a = qorapi.PointArray(src)
    a.sort()
    order = np.lexsort((src[:, 2], src[:, 1], src[:, 0]))
    assert np.array_equal(a.to_numpy(), src[order])
    u = qorapi.PointArray(src)
    kept, order = u.sort(unique=True)
    assert np.array_equal(u.to_numpy(), np.unique(src, axis=0))
    # Which duplicate survives: the port's order of equal points, first of each run kept.
    pts = [None] + [tuple(map(float, p)) for p in src]
    assert order.tolist() == (perm := quicksort(pts, n))
    firsts = [1 + i for i in range(n) if i == 0 or pts[perm[i]] != pts[perm[i - 1]]]
    assert kept.tolist() == firsts


def test_round_trips_stream_and_bounds():
    rng = np.random.default_rng(9)
    src = rng.normal(size=(2500, 3)) * 1e5
    src[7] = [np.inf, -0.0, np.nan]
    a = qorapi.VectorArray(src)
    back = a.to_numpy()
    assert back.dtype == np.float64 and back.shape == (2500, 3) and back.tobytes() == src.tobytes()
    data = a.to_bytes()
    assert struct.unpack(">Ii", data[:8]) == (0x0B916B00, 2500)
    assert data[8:] == src.astype(">f8").tobytes()
    p = qorapi.PointArray(np.array([[1.0, -5, 2], [-3, 4, 0]]))
    assert p.bounds() == ((-3, -5, 0), (1, 4, 2))


@pytest.mark.parametrize("bad,error", [
    (np.zeros((4, 3), dtype=np.float32), TypeError),
    ([[1.0, 2.0, 3.0]], TypeError),
    (np.zeros((4, 2)), ValueError),
    (np.zeros(3), ValueError),
    (np.zeros((4, 6))[:, ::2], ValueError),
])
def test_from_numpy_names_the_expected_shape_and_dtype(bad, error):
    with pytest.raises(error, match=r"\(n, 3\).*float64|float64.*\(n, 3\)"):
        qorapi.VectorArray().from_numpy(bad)


@pytest.mark.skipif("libasan" in os.environ.get("LD_PRELOAD", ""),
                    reason="10^7 points (720 MB in flight): the plain build only")
def test_ten_million_points_round_trip_exactly():
    src = np.random.default_rng(11).random((10 ** 7, 3)) * 2e6 - 1e6
    for cls in (qorapi.VectorArray, qorapi.PointArray):
        assert np.array_equal(cls(src).to_numpy(), src)
