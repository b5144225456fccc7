"""Filling and reading an OrientedTriangleStack of 10^6 entries from a script, against a
Python list of ints, same run.

Ours: append(t) of 10^6 OrientedTriangle objects (one object reused, as only its number is
kept), then at(i) of every entry in a loop, each a new OrientedTriangle dropped at once, through
qorapi.mesh. The peer appends the same 10^6 numbers to a Python list and reads each back by
index. Both hold the
same numbers afterwards (checked). Prints ms per round and the ratio ours / peer (lower is
better); there is no goal."""
import time

from qorapi import mesh

N = 1_000_000


def best(fn, repeat=5):
    """The fastest of `repeat` calls of fn, in ms, and its last result."""
    times = []
    for _ in range(repeat):
        t0 = time.perf_counter()
        result = fn()
        times.append(time.perf_counter() - t0)
    return min(times) * 1e3, result


def main():
    t = mesh.OrientedTriangle(0, 0)
    numbers = [(i + 1) * 8 + i % 6 for i in range(N)]

    def ours_append():
        s = mesh.OrientedTriangleStack()
        append = s.append
        for i in range(N):
            t.set(i, i % 6)
            append(t)
        return s

    def peer_append():
        out = []
        append = out.append
        for i in range(N):
            v = (i + 1) * 8 + i % 6
            append(v)
        return out

    t_ours_append, stack = best(ours_append)
    t_peer_append, peer = best(peer_append)
    assert stack._values() == peer == numbers, "the stacks differ"

    def ours_at():
        at = stack.at
        for i in range(N):
            at(i)

    def peer_at():
        for i in range(N):
            peer[i]

    t_ours_at, _ = best(ours_at)
    t_peer_at, _ = best(peer_at)
    assert [stack.at(i).rawValue() for i in range(0, N, 997)] == numbers[::997]
    print("bench_ortri_script: 10^6 oriented triangles through qorapi.mesh")
    print(f"  append: ours (set + append)        {t_ours_append:8.1f} ms")
    print(f"          Python list of ints        {t_peer_append:8.1f} ms")
    print(f"          ratio {t_ours_append / t_peer_append:6.2f}")
    print(f"  at:     ours (a new object each)   {t_ours_at:8.1f} ms")
    print(f"          Python list indexing       {t_peer_at:8.1f} ms")
    print(f"          ratio {t_ours_at / t_peer_at:6.2f}")


if __name__ == "__main__":
    main()
