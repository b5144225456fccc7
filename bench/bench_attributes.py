"""Property access from Python against Python peers measured in the same run.

Each row times one statement in a timeit loop and subtracts the cost of the loop itself,
measured with an empty body (``pass``), so that the figures are what the statement costs.
Peers: an attribute of a ``__slots__`` class for plain reads and writes, and a pure-Python
property whose setter calls one callback with the same dict of arguments that a data
object's subscriber receives ("name", "oldValue", "newValue" and the property itself).
Prints ns per operation and the ratio ours / peer (lower is better)."""
import timeit

import qorapi


class Slots:
    __slots__ = ("x",)


class Heard:
    """A pure-Python object whose property x tells one callback of every change."""

    __slots__ = ("_x", "_callback")

    def __init__(self, callback):
        self._x = 0
        self._callback = callback

    @property
    def x(self):
        return self._x

    @x.setter
    def x(self, value):
        old = self._x
        self._x = value
        if value != old:
            self._callback("property_modified",
                           {"name": "x", "oldValue": old, "newValue": value, "x": value})


def best(stmt, env, number, repeat=7):
    """The fastest of `repeat` runs of `number` loops, in ns per loop."""
    return min(timeit.repeat(stmt, globals=env, number=number, repeat=repeat)) / number * 1e9


def main():
    n = 200_000
    listener = lambda event, args: None  # noqa: E731
    slots = Slots()
    slots.x = 0
    quiet = qorapi.DataObject("quiet", x=0)
    heard = qorapi.DataObject("heard", x=0)
    heard.subscribe("property_modified", listener)
    peer_heard = Heard(listener)
    env = {"slots": slots, "quiet": quiet, "heard": heard, "peer_heard": peer_heard}

    loop = best("pass", env, n)

    def per_op(stmt, number, ops=1):
        return max(best(stmt, env, number) - loop, 0.0) / ops

    rows = [
        ("set int property, no subscriber", per_op("quiet.x = 1; quiet.x = 2", n, 2),
         "__slots__ attribute set", per_op("slots.x = 1; slots.x = 2", n, 2), 3.0),
        ("set int property to the value it holds", per_op("quiet.x = 1", n),
         "__slots__ attribute set", per_op("slots.x = 1", n), None),
        ("get int property", per_op("quiet.x", n),
         "__slots__ attribute get", per_op("slots.x", n), 3.0),
        ("set int property, one Python subscriber", per_op("heard.x = 1; heard.x = 2", n // 10, 2),
         "Python property + callback(dict)", per_op("peer_heard.x = 1; peer_heard.x = 2", n, 2), 1.5),
    ]
    print("bench_attributes: data object properties from Python vs Python peers")
    print(f"  every figure is net of the timing loop itself ({loop:.1f} ns per empty iteration)")
    for name, ours, peer_name, peer, goal in rows:
        ratio = ours / peer if peer > 0 else float("inf")
        aim = f" (goal <= {goal})" if goal else " (nothing fires: the cost of the layers)"
        print(f"  {name:42s} {ours:9.1f} ns   {peer_name:34s} {peer:7.1f} ns"
              f"   ratio {ratio:7.2f}{aim}")


if __name__ == "__main__":
    main()
