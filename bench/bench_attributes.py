"""Property access from Python against plain attributes of a Python object, measured in
the same run. Prints each figure per operation and the ratio ours / peer."""
import timeit

import qorapi


class Plain:
    pass


def per_op(stmt, env, number):
    best = min(timeit.repeat(stmt, globals=env, number=number, repeat=5))
    return best / number * 1e9


def main():
    n = 200_000
    plain = Plain()
    plain.x = 0
    quiet = qorapi.DataObject("quiet", x=0)
    heard = qorapi.DataObject("heard", x=0)
    heard.subscribe("property_modified", lambda event, args: None)
    env = {"plain": plain, "quiet": quiet, "heard": heard}
    peer_set = per_op("plain.x = 1; plain.x = 2", env, n) / 2
    peer_get = per_op("plain.x", env, n)
    rows = [
        ("set int property, events on, no subscriber", per_op("quiet.x = 1; quiet.x = 2", env, n) / 2, peer_set),
        ("set int property, one Python subscriber", per_op("heard.x = 1; heard.x = 2", env, n // 10) / 2, peer_set),
        ("get int property", per_op("quiet.x", env, n), peer_get),
    ]
    print("bench_attributes: property access from Python vs a plain Python attribute")
    for name, ours, peer in rows:
        print(f"  {name:45s} {ours:9.1f} ns  peer {peer:6.1f} ns  ratio {ours / peer:8.1f}")


if __name__ == "__main__":
    main()
