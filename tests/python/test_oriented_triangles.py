"""Oriented triangles in scripts: the number's rules and turns against a corner model, the
stack's and list's checks, cursors and references, and random programs run on a stack and
on a Python list of numbers."""
import copy
import pickle
import random

import pytest

from qorapi import _qorapi, mesh

T, S, L = mesh.OrientedTriangle, mesh.OrientedTriangleStack, mesh.OrientedTriangleStackList
INVALID = ("RuntimeError", "Error in class Collection: Invalid index.")
VERSION = ("RuntimeError", "Error in class OrientedTriangle: version must have a value >= 0 and <= 5.")
NULL = ("RuntimeError", "Error in class OrientedTriangleStack: An oriented triangle is required, not null.")
# A version is the directed side from one corner to another.
SIDES = [(0, 1), (1, 0), (1, 2), (2, 1), (2, 0), (0, 2)]


def outcome(f):
    try:
        return f()
    except Exception as e:  # noqa: BLE001  (the outcome is what the case compares)
        return (type(e).__name__, str(e))


def raws(ts):
    return [t.rawValue() for t in ts]


def walk(c, first_next):
    """What a loop over the built-in cursor sees: next, current, ... or current, next, ..."""
    c.reset()
    seen = []
    while not first_next or c.next():
        cur = c.current()
        seen.append(cur.rawValue() if isinstance(cur, T) else cur and cur.size())
        if not first_next and not c.next():
            break
    return seen


def turn(v, which):
    a, b = SIDES[v]
    c = 3 - a - b
    return SIDES.index({"rotated": (b, c), "rotatedBack": (c, a), "flipped": (b, a)}[which])


CASES = {
    "(-1, 0) has value 0": (lambda: (T(-1, 0).rawValue(), T(-1, 0).index()), (0, -1)),
    "(-5, 3) keeps the version": (lambda: (T(-5, 3).version(), T(-5, 3).index()), (3, -1)),
    "a number with the top bit set has a positive index": (lambda: T(2**29 - 2, 1).index(), 2**29 - 2),
    "set(4, 6) raises and keeps": (
        lambda t=T(1, 1): (outcome(lambda: t.set(4, 6)), t.rawValue(), t.set(4, 5), t.rawValue()),
        (VERSION, 17, None, 45)),
    "a negative version raises": (lambda: outcome(lambda: T(1, -1)), VERSION),
    "turns match the corner model": (
        lambda: [[getattr(T(7, v), w)().version() for w in ("rotated", "rotatedBack", "flipped")]
                 for v in range(6)],
        [[turn(v, w) for w in ("rotated", "rotatedBack", "flipped")] for v in range(6)]),
    "three turns, two flips and a turn back are the identity": (
        lambda: [(t.rotated().rotated().rotated(), t.rotatedBack().rotatedBack().rotatedBack(),
                  t.rotated().rotatedBack(), t.flipped().flipped()) for t in map(lambda v: T(3, v), range(6))],
        [(T(3, v),) * 4 for v in range(6)]),
    "in-place turns keep the triangle": (
        lambda t=T(9, 0): [(f(), t.index(), t.version())[1:] for f in (t.rotate, t.flip, t.rotateBack)],
        [(9, 2), (9, 3), (9, 5)]),
    "setRawValue takes a version of 7 as 5": (lambda t=T(): (t.setRawValue(0x57), t.rawValue())[1], 0x55),
    "from_raw keeps 7": (lambda: (T.from_raw(0x57).version(), repr(T.from_raw(0x57))),
                         (7, "OrientedTriangle.from_raw(87)")),
    "a raw value beyond 32 bits": (lambda: outcome(lambda: T.from_raw(2**32))[0], "OverflowError"),
    "default has version 0 and no triangle": (lambda: (T().version(), T().index(), T() == T(-3, 0)), (0, -1, True)),
    "empty stack: lenient reads, at(0) raises": (
        lambda s=S(): (raws([s.getOrInvalid(0), s.first(), s.last(), s.current()]), outcome(lambda: s.at(0)),
                       outcome(s.pop), s.getOrInvalid(2**40).index()),
        ([0, 0, 0, 0], INVALID, INVALID, -1)),
    "setIfValid past the end leaves the stack": (
        lambda s=S([T(1, 1)]): (s.setIfValid(1, T(2, 2)), s.setIfValid(0, None), s.setIfValid(0, T(2, 2)), s),
        (False, False, True, S([T(2, 2)]))),
    "a null triangle is refused": (
        lambda s=S([T(1, 1)]): [outcome(f) for f in (lambda: s.append(None), lambda: s.set(0, None),
                                                     lambda: s.insertAt(0, None))] + [s.indexOf(None), len(s)],
        [NULL, NULL, NULL, -1, 1]),
    "wrong argument types": (
        lambda: [outcome(f) for f in (lambda: S().append(5), lambda: S().at(2**40), lambda: L().append(T()))],
        [("TypeError", "expected an OrientedTriangle, not int"),
         ("OverflowError", "index 1099511627776 is outside the 32-bit signed range"),
         ("TypeError", "expected an OrientedTriangleStack or None, not OrientedTriangle")]),
    "append answers the zero-based place": (
        lambda s=S(): [s.append(T(i, 0)) for i in range(3)] + [s.appendChecked(T()), s.count()], [0, 1, 2, True, 4]),
    "insertAt the size appends, one more raises": (
        lambda s=S([T(1, 1)]): (s.insertAt(1, T(2, 2)), outcome(lambda: s.insertAt(3, T())), len(s)),
        (None, INVALID, 2)),
    "indexOf finds the last duplicate": (lambda: S([T(1, 1), T(2, 2), T(1, 1)]).indexOf(T(1, 1)), 2),
    "Python indexing": (
        lambda s=S([T(1, 1), T(2, 2)]): (s[-1], s[0:1], T(2, 2) in s, 3 in s, outcome(lambda: s[2]),
                                          (s.__setitem__(0, T(3, 3)), s.__delitem__(-1), s)[2]),
        (T(2, 2), [T(1, 1)], True, False,
         ("IndexError", "Error in class Collection: Invalid index. Index 2 is out of range for 2 entries."),
         S([T(3, 3)]))),
    "the stack's cursor is zero-based": (lambda: walk(S([T(1, 1), T(2, 2)]), False), [17, 26]),
    "the list's cursor is one-based": (
        lambda l=L([S([T(1, 1)]), None]): (l.current(), walk(l, True)), (None, [1, None])),
    "a stack iterator is one-based and live": (
        lambda s=S([T(1, 1)]): (lambda it: (it.current().index(), it.next(), s.append(T(2, 2)), it.next(),
                                            it.current(), it.next(), it.size()))(s.newIterator()),
        (-1, True, 1, True, T(2, 2), False, 2)),
    "a list iterator keeps its list": (
        lambda: (lambda it: (it.next(), it.current(), it.next(), it.reset(), it.next(), it.size()))(
            L([S([T(4, 4)])]).newIterator()),
        (True, S([T(4, 4)]), False, None, True, 1)),
    "list pop hands out a live stack": (lambda: (L([S([T(5, 5)])]).pop(), outcome(L().pop)), (S([T(5, 5)]), INVALID)),
    "a list holds the stacks themselves": (
        lambda s=S(), l=L(): (l.append(s), l[0].append(T(6, 0)), s.size(), l.indexOf(s), l.indexOf(S([T(6, 0)])),
                              S([T(6, 0)]) in l),
        (None, 0, 1, 0, -1, True)),
    "list edits": (
        lambda l=L(), a=S([T(1, 1)]): (
            l.append(a), l.insertAt(0, S()), l.set(1, None), l.__setitem__(-1, a), l.removeAt(0),
            outcome(lambda: l.removeAt(5)), repr(l), l.__delitem__(0), len(l), outcome(lambda: l.set(0, a))),
        (None, None, None, None, None, INVALID,
         "OrientedTriangleStackList([OrientedTriangleStack([OrientedTriangle(1, 1)])])", None, 0, INVALID)),
    "copies and pickles": (
        lambda l=L([S([T(1, 1)]), None]): (copy.copy(T(2, 3)), pickle.loads(pickle.dumps(T.from_raw(7))).rawValue(),
                                           copy.deepcopy(l), copy.copy(l).indexOf(l[0]), copy.deepcopy(l).indexOf(l[0])),
        (T(2, 3), 7, L([S([T(1, 1)]), None]), 0, -1)),
    "the native classes behind": (
        lambda: [_qorapi.mesh_query(o, "IQorPrimitive") for o in (T(), S(), L(), S().newIterator(),
                                                                  L().newIterator())],
        [(True, n) for n in ("OrientedTriangle", "OrientedTriangleStack", "OrientedTriangleStackList",
                             "OrientedTriangleIter", "OrientedTriangleStackIter")]),
}


@pytest.mark.parametrize("name", CASES)
def test_edge_cases(name):
    run, expected = CASES[name]
    assert run() == expected


@pytest.mark.parametrize("seed", range(6))
def test_stack_against_a_list(seed):
    rng = random.Random(seed)
    s, model = S(), []

    def checked(i, hi, f):
        return f() if 0 <= i <= hi else INVALID

    def tri():
        return T(rng.randrange(-1, 5), rng.randrange(6))

    for _ in range(300):
        n, i, t = len(model), rng.randrange(-1, len(model) + 2), tri()
        op = rng.choice(["append", "insertAt", "removeAt", "set", "pop", "at", "indexOf", "getOrInvalid",
                         "setIfValid", "clear" if rng.random() < 0.05 else "append"])
        r = t.rawValue()
        expected = {
            "append": lambda: (model.append(r), n)[1],
            "insertAt": lambda: checked(i, n, lambda: model.insert(i, r)),
            "removeAt": lambda: checked(i, n - 1, lambda: (model.pop(i), None)[1]),
            "set": lambda: checked(i, n - 1, lambda: model.__setitem__(i, r)),
            "pop": lambda: checked(0, n - 1, lambda: T.from_raw(model.pop())),
            "at": lambda: checked(i, n - 1, lambda: T.from_raw(model[i])),
            "indexOf": lambda: max((k for k, v in enumerate(model) if v == r), default=-1),
            "getOrInvalid": lambda: T.from_raw(model[i] if 0 <= i < n else 0),
            "setIfValid": lambda: 0 <= i < n and (model.__setitem__(i, r) or True),
            "clear": lambda: model.clear(),
        }[op]()
        args = {"append": (t,), "pop": (), "clear": (), "indexOf": (t,), "at": (i,), "getOrInvalid": (i,),
                "removeAt": (i,)}.get(op, (i, t))
        assert outcome(lambda: getattr(s, op)(*args)) == expected, (op, args)
        assert s._values() == model
