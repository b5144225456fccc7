"""A model's routed property read from Python against a stored property read, same run.

``model.name`` of a Model goes through the attribute layer to a routed property, whose
getter asks the model's routing (and, once bound, the host object); the peer reads the
stored string property "label" of a plain qorapi.DataObject through the same layer. Both are net of the
timing loop itself (an empty ``pass`` body). Prints ns per read and the ratio ours / peer
(lower is better). The model is bound to a host object of the reference host's document
(an imported point cloud), so each read asks the host."""
import os
import tempfile
import timeit

import qorapi


def best(stmt, env, number, repeat=7):
    """The fastest of `repeat` runs of `number` loops, in ns per loop."""
    return min(timeit.repeat(stmt, globals=env, number=number, repeat=repeat)) / number * 1e9


def main():
    n = 200_000
    app = qorapi.Application.instance()
    with tempfile.TemporaryDirectory() as tmp:
        path = os.path.join(tmp, "scan part.xyz")
        with open(path, "w") as f:
            f.write("0 0 0\n1 2 3\n")
        assert app.importFile(path)
    model = app.getModelByName("scan part")
    env = {"model": model, "plain": qorapi.DataObject("plain", label="scan part")}
    loop = best("pass", env, n)
    rows = [
        ("routed model.name", max(best("model.name", env, n) - loop, 0.0),
         "stored DataObject.label", max(best("plain.label", env, n) - loop, 0.0), 1.5),
        ("routed model.id (int)", max(best("model.id", env, n) - loop, 0.0),
         "stored DataObject.label", max(best("plain.label", env, n) - loop, 0.0), None),
    ]
    print("bench_model: a Model's routed properties from Python vs a stored property")
    print(f"  every figure is net of the timing loop itself ({loop:.1f} ns per empty iteration)")
    for name, ours, peer_name, peer, goal in rows:
        ratio = ours / peer if peer > 0 else float("inf")
        aim = f" (goal <= {goal})" if goal else ""
        print(f"  {name:26s} {ours:8.1f} ns   {peer_name:24s} {peer:7.1f} ns   ratio {ratio:6.2f}{aim}")


if __name__ == "__main__":
    main()
