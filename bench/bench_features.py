"""A feature's routed property read from Python against a stored property read, same run.

``arc.radius`` of an ArcCurve goes through the attribute layer to a routed property whose
getter asks the arc's host object (the reference host's arc) each time; the peer reads the
stored double property "radius" of a plain qorapi.DataObject through the same layer. Both
are net of the timing loop itself (an empty ``pass`` body). Prints ns per read and the
ratio ours / peer (lower is better)."""
import timeit

import qorapi


def best(stmt, env, number, repeat=7):
    """The fastest of `repeat` runs of `number` loops, in ns per loop."""
    return min(timeit.repeat(stmt, globals=env, number=number, repeat=repeat)) / number * 1e9


def main():
    n = 200_000
    arc = qorapi.ArcCurve()
    arc.initialize(qorapi.Vector3D(1, 2, 3), 5.0, qorapi.Vector3D(0, 0, 1), qorapi.Vector3D(1, 0, 0))
    env = {"arc": arc, "plain": qorapi.DataObject("plain", radius=5.0, center=qorapi.Vector3D(1, 2, 3))}
    assert arc.radius == env["plain"].radius == 5.0
    loop = best("pass", env, n)
    rows = [
        ("routed arc.radius (double)", best("arc.radius", env, n) - loop,
         "stored DataObject.radius", best("plain.radius", env, n) - loop, 1.5),
        ("routed arc.center (vector)", best("arc.center", env, n) - loop,
         "stored DataObject.center", best("plain.center", env, n) - loop, None),
    ]
    print("bench_features: a feature's routed properties from Python vs a stored property")
    print(f"  every figure is net of the timing loop itself ({loop:.1f} ns per empty iteration)")
    for name, ours, peer_name, peer, goal in rows:
        ours, peer = max(ours, 0.0), max(peer, 0.0)
        ratio = ours / peer if peer > 0 else float("inf")
        aim = f" (goal <= {goal})" if goal else ""
        print(f"  {name:28s} {ours:8.1f} ns   {peer_name:24s} {peer:7.1f} ns   ratio {ratio:6.2f}{aim}")


if __name__ == "__main__":
    main()
