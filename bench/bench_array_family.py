"""The typed arrays from a script, against Python and numpy doing the same work, same run.

- IntArray.removeAll: 10^6 entries, 10^4 values to remove; peer: a set comprehension over
  a Python list. Goal: ratio <= 0.2.
- IntArray.removeDuplicates: 10^6 entries, about half of them repeats; peer:
  list(dict.fromkeys(...)). Goal: ratio <= 0.2.
- DoubleArray.to_numpy and DoubleArray.from_numpy of 10^7 doubles; peer: ndarray.copy() of
  the same 80 MB, numpy's block copy into a new array. Goal: ratio <= 2. Both numpy and the
  arrays' allocator ask the kernel for huge pages on blocks this large (faulting in 80 MB of
  4 KiB pages costs more than the copy itself), so both sides pay the same page faults.

Each side runs on a fresh copy of the same input, and the results are checked equal. Prints
ms per round (the fastest of five) and the ratio ours / peer (lower is better)."""
import time

import numpy as np

from qorapi import DoubleArray, IntArray

N, M, BIG = 1_000_000, 10_000, 10_000_000


def best(fn, prepare=lambda: None, repeat=5):
    """The fastest of `repeat` calls of fn(prepare()), in ms, and its last result."""
    times, result = [], None
    for _ in range(repeat):
        arg = prepare()
        t0 = time.perf_counter()
        result = fn(arg)
        times.append(time.perf_counter() - t0)
    return min(times) * 1e3, result


def report(name, ours, peer, goal):
    print(f"  {name:48s} ours {ours:8.2f} ms   peer {peer:8.2f} ms   ratio {ours / peer:6.3f}"
          f"   (goal <= {goal})")


def main():
    rng = np.random.default_rng(7)
    values = rng.integers(-2 * N, 2 * N, N, dtype=np.int32)
    other = rng.integers(-2 * N, 2 * N, M, dtype=np.int32)
    other_array = IntArray.from_numpy(other)
    listed, other_listed = values.tolist(), other.tolist()
    print("bench_array_family: qorapi.sequences against Python and numpy")

    def ours_remove_all(a):
        a.removeAll(other_array)
        return a

    def peer_remove_all(data):
        gone = set(other_listed)
        return [x for x in data if x not in gone]

    t_ours, kept = best(ours_remove_all, lambda: IntArray.from_numpy(values))
    t_peer, peer_kept = best(peer_remove_all, lambda: list(listed))
    assert kept.to_numpy().tolist() == peer_kept, "removeAll differs"
    report(f"IntArray.removeAll ({N:.0e}, {M:.0e})", t_ours, t_peer, 0.2)

    repeats = rng.integers(0, N // 2, N, dtype=np.int32)
    repeats_listed = repeats.tolist()

    def ours_dedupe(a):
        a.removeDuplicates()
        return a

    t_ours, unique = best(ours_dedupe, lambda: IntArray.from_numpy(repeats))
    t_peer, peer_unique = best(lambda data: list(dict.fromkeys(data)), lambda: list(repeats_listed))
    assert unique.to_numpy().tolist() == peer_unique, "removeDuplicates differs"
    report(f"IntArray.removeDuplicates ({N:.0e})", t_ours, t_peer, 0.2)

    doubles = rng.normal(size=BIG)
    array = DoubleArray.from_numpy(doubles)
    t_ours_out, out = best(lambda _: array.to_numpy())
    t_ours_in, back = best(lambda _: DoubleArray.from_numpy(doubles))
    assert np.array_equal(out, doubles) and np.array_equal(back.to_numpy(), doubles), "copies differ"
    t_peer, copied = best(lambda _: doubles.copy())
    assert np.array_equal(copied, doubles)
    report(f"DoubleArray.to_numpy ({BIG:.0e})", t_ours_out, t_peer, 2)
    report(f"DoubleArray.from_numpy ({BIG:.0e})", t_ours_in, t_peer, 2)


if __name__ == "__main__":
    main()
