"""The typed arrays in scripts: their checks and texts, the Python forms, random programs run
on an array and on a Python list model, and the numpy exchange."""
import math
import pickle
import random
import struct

import numpy as np
import pytest

from qorapi import _qorapi, datamodel
from qorapi import QorImage
from qorapi.datamodel import QorColor, Vector2F, Vector3D
from qorapi.sequences import (Array3D, ByteArray, ColorArray, DirIndex, DoubleArray, DoubleArray2D,
                              ImageArray, IntArray, StringArray, Transform3DArray, Vector3DArray,
                              Vector3DArray2D)

INVALID = ("RuntimeError", "Error in class Collection: Invalid index.")
RANGE = ("RuntimeError", "Error in class Array3D: Index is out of range..")
EMPTY = ("RuntimeError", "Error in class Array3D: Collection is empty..")
VERSION = ("RuntimeError", "Error in class DirIndex: version must have a value of 0 or 1..")
INT_MIN, INT_MAX = -2**31, 2**31 - 1


def outcome(f):
    try:
        return f()
    except Exception as e:  # noqa: BLE001  (the outcome is what the case compares)
        return (type(e).__name__, str(e))


def then(*steps):
    """Runs the steps (callables), giving each one's outcome."""
    return [outcome(s) for s in steps]


P = [Vector3D(1, 2, 3), Vector3D(4, 5, 6), Vector3D(7, 8, 9)]

CASES = {
    "pop on empty": (lambda: then(DoubleArray().pop, Array3D().pop, IntArray().pop), [INVALID, EMPTY, INVALID]),
    "insertAt the size appends, Array3D refuses": (
        lambda d=DoubleArray([1]), a=Array3D(): then(lambda: d.insertAt(1, 2), lambda: d.insertAt(3, 0),
                                                     d._values, lambda: a.insertAt(0, P[0])),
        [None, INVALID, [1.0, 2.0], RANGE]),
    "Array3D insertAt(0) adds at the end, removeAt(0) takes the last": (
        lambda a=Array3D(P[:2]): then(lambda: a.insertAt(0, P[2]), a._values, lambda: a.removeAt(0),
                                      lambda: a.removeAt(0), a._values, lambda: a.at(1)),
        [None, P, None, None, P[:1], RANGE]),
    "Array3D indexOf is one-based and skips the last point": (
        lambda: [Array3D(P).indexOf(p) for p in P] + [Array3D(P[:1]).indexOf(P[0])], [1, 2, -1, -1]),
    "removeAll at 23 and 24 entries, survivors in order": (
        lambda: [(lambda a: (a.removeAll(IntArray(list(range(-3, m - 3)))), a._values())[1])(
            IntArray([30, -1, 5, 1, -4, 0, 19, 1])) for m in (23, 24)],
        [[30, -4], [30, -4]]),
    "removeAll keeps 1 and -1, 0 and INT_MIN apart": (
        lambda a=IntArray([1, -1, 0, INT_MIN, INT_MAX, 2]): (
            a.removeAll(IntArray([-1, INT_MIN] + [99] * 30)), a._values(), a.removeAll(None), len(a)),
        (None, [1, 0, INT_MAX, 2], None, 4)),
    "removeDuplicates and appendAll": (
        lambda a=IntArray([3, 1, 3, 2, 1]): (a.removeDuplicates(), a.appendAll(IntArray([INT_MIN, 3])),
                                             a.appendAll(None), a.removeDuplicates(), a._values()),
        (None, None, None, None, [3, 1, 2, INT_MIN])),
    "resize keeps the first n, reserve below the capacity does nothing": (
        lambda v=Vector3DArray(P): (v.resize(1), v._values(), v.capacity(), v.reserve(5), v.capacity(),
                                    v.reserve(40), v.capacity(), ColorArray().capacity()),
        (True, P[:1], 21, True, 21, True, 41, 21)),
    "a reserve that overflows raises": (lambda: outcome(lambda: ColorArray().reserve(INT_MAX))[0], "RuntimeError"),
    "DirIndex": (
        lambda d=DirIndex(5, 1): (d.index(), d.version(), d.rawValue(), d.flipped(), repr(d), d.flip(), d.version(),
                                  DirIndex().index(), DirIndex().version(), outcome(lambda: d.setVersion(2)),
                                  outcome(lambda: d.setVersion(-1)), d.rawValue(), outcome(lambda: DirIndex(5, 2)),
                                  DirIndex(3, -1), DirIndex.from_raw(13), d.setIndex(9), repr(d)),
        (5, 1, 13, DirIndex(5, 0), "DirIndex(5, 1)", None, 0, -1, 0, VERSION, VERSION, 12, VERSION,
         DirIndex(2, 1), DirIndex(5, 1), None, "DirIndex(9, 0)")),
    "indexOf: last duplicate, NaN never, colours by component": (
        lambda: (DoubleArray([1, 2, 1]).indexOf(1), DoubleArray([math.nan]).indexOf(math.nan), math.nan in
                 DoubleArray([math.nan]), ColorArray([(1, 0, 0, 1), (1, 0, 0, 0.5)]).indexOf(QorColor(1, 0, 0, 0.5)),
                 StringArray(["a", "b", "a"]).indexOf("a"), DoubleArray().indexOf(3)),
        (2, -1, False, 1, 2, -1)),
    "the cursor: slot 0 first, clear keeps it": (
        lambda a=DoubleArray([5, 6]): (a.current(), a.next(), a.current(), a.clear(), a.extend([7, 9]), a.current(),
                                       a.next(), a.next(), a.next(), a.reset(), a.next(), a.current()),
        (0.0, True, 5.0, None, None, 7.0, True, False, False, None, True, 7.0)),
    "ByteArray stream form": (
        lambda b=ByteArray([1, 200]): (b.write(), b.read(struct.pack(">i", 3) + b"xyz"), b._values(),
                                       ByteArray().write()),
        (struct.pack(">i", 2) + bytes([1, 200]), True, list(b"xyz"), b"\0\0\0\0")),
    "2D shells keep nothing": (
        lambda d=DoubleArray2D(), v=Vector3DArray2D(): (d.rowCount(), d.columnCount(), d.set(0, 0, 5), d.at(0, 0),
                                                         v.set(1, 1, P[0]), v.at(1, 1), v.rowCount(), repr(d)),
        (0, 0, None, 0.0, None, Vector3D(), 0, "<DoubleArray2D 0 x 0>")),
    "Python forms": (
        lambda a=DoubleArray([1, 2, 3]): (len(a), a[np.int64(-1)], a[::2], 2 in a, "x" in a, list(a), repr(a),
                                          a == DoubleArray([1, 2, 3]), a == [1.0, 2.0, 3.0],
                                          (a.__setitem__(-1, 9), a.__delitem__(0), a._values())[2],
                                          outcome(lambda: a[2]), outcome(lambda: Array3D(P)[-4]),
                                          pickle.loads(pickle.dumps(Array3D(P))), outcome(lambda: hash(a))[0],
                                          (a.extend(a), a._values())[1]),
        (3, 3.0, [1.0, 3.0], True, False, [1.0, 2.0, 3.0], "DoubleArray([1.0, 2.0, 3.0])", True, False,
         [2.0, 9.0],
         ("IndexError", "Error in class Collection: Invalid index. Index 2 is out of range for 2 entries."),
         ("IndexError", "Error in class Array3D: Index is out of range.. Index -4 is out of range for 3 entries."),
         Array3D(P), "TypeError", [2.0, 9.0, 2.0, 9.0])),
    "wrong values": (
        lambda: then(lambda: DoubleArray(["x"]), lambda: IntArray([2**40]), lambda: ByteArray([256]),
                     lambda: ColorArray([(1, 2)]), lambda: StringArray([3]), lambda: ImageArray([3]),
                     lambda: IntArray().removeAll([1]), lambda: Vector3DArray([5])),
        [("TypeError", "expected a float, not str"),
         ("OverflowError", "value 1099511627776 is outside the 32-bit signed range"),
         ("ValueError", "a byte is 0 to 255, not 256"), ("ValueError", "a QorColor has 4 numbers, not 2"),
         ("TypeError", "expected a str, not int"), ("TypeError", "expected a QorImage or None, not int"),
         ("TypeError", "expected an IntArray or None, not list"),
         ("TypeError", "expected a Vector3D or 3 numbers, not int")]),
    "values keep their precision and text": (
        lambda: (StringArray(["a\U0001F600b"])[0], Transform3DArray([range(16)])[0][3, 3], ColorArray([(0.1,) * 4])[0],
                 datamodel.Vector2FArray([(0.1, 2)])[0]),
        ("a\U0001F600b", 15.0, QorColor(0.1, 0.1, 0.1, 0.1), Vector2F(0.1, 2))),
    "an image array shares its images": (
        lambda img=QorImage(2, 1, 1): (lambda a: (a[1].fill((1, 1, 1)), img.get_bytes(0, 0), a.indexOf(img),
                                                  img in a, QorImage(2, 1, 1) in a, a.pop() == img, a.pop(), len(a)))(
            ImageArray([None, img])),
        (None, b"\xff", 1, True, False, True, None, 0)),
    "iterators: live, a string snapshot, Array3D's points, the array kept alive": (
        lambda d=DoubleArray([1]), s=StringArray(["a"]): (lambda di, si, ai: (
            d.append(2), s.append("b"), di.size(), si.size(), [di.next(), di.current(), di.next(), di.current()],
            [si.next(), si.current(), si.at(1), si.next(), si.current()], [ai.next(), ai.current(), ai.size()],
            ImageArray([None]).newIterator().current()))(d.newIterator(), s.newIterator(), Array3D(P).newIterator()),
        (None, None, 2, 1, [True, 1.0, True, 2.0], [True, "a", "", False, ""], [True, P[0], 3], None)),
    "the native classes behind": (
        lambda: [_qorapi.sequence_query(o, q) for o, q in ((Array3D(), "IQorVector3DArray"), (IntArray(), "IQorIntArray"),
                                                           (DirIndex(), "IQorDirIndex"), (ImageArray(), "Primitive"))],
        [(True, "Array3D"), (True, "IntArray"), (True, "DirIndex"), (True, "ImageArray")]),
}


@pytest.mark.parametrize("name", CASES)
def test_edge_cases(name):
    run, expected = CASES[name]
    assert run() == expected


def program(cls, value, model_ops, seed, steps=400):
    """Runs random operations on a new `cls` and on a list model; each op gives what the array
    answered and what the model says it should have; both and the contents must agree."""
    rng = random.Random(seed)
    a, model = cls(), []
    for _ in range(steps):
        op = rng.choice(sorted(model_ops))
        got, want = model_ops[op](a, model, rng.randrange(-1, len(model) + 2), value(rng), rng)
        assert (op, got, a._values()) == (op, want, model), f"seed {seed}"


def ops(at_end=False):
    """The operations every array has. Array3D (`at_end`) checks indices against 0..size-1 and
    then works at the end; its indexOf is one-based and skips the last point."""
    err = RANGE if at_end else INVALID

    def guard(ok, f):
        return f() if ok else err

    return {
        "append": lambda a, m, i, v, r: (a.append(v), m.append(v)),
        "insertAt": lambda a, m, i, v, r: (outcome(lambda: a.insertAt(i, v)), guard(
            0 <= i < len(m) + (not at_end), lambda: m.append(v) if at_end else m.insert(i, v))),
        "removeAt": lambda a, m, i, v, r: (outcome(lambda: a.removeAt(i)), guard(
            0 <= i < len(m), lambda: (m.pop() if at_end else m.pop(i), None)[1])),
        "pop": lambda a, m, i, v, r: (outcome(a.pop), m.pop() if m else EMPTY if at_end else INVALID),
        "set": lambda a, m, i, v, r: (outcome(lambda: a.set(i, v)),
                                      guard(0 <= i < len(m), lambda: m.__setitem__(i, v))),
        "indexOf": lambda a, m, i, v, r: (a.indexOf(v), next((j + 1 for j in range(len(m) - 1) if m[j] == v), -1)
                                          if at_end else max((j for j in range(len(m)) if m[j] == v), default=-1)),
        "clear": lambda a, m, i, v, r: (a.clear(), m.clear()),
    }


def remove_all(a, m, i, v, r):
    other = [r.randrange(-8, 8) for _ in range(r.randrange(0, 40))]  # both sides of 24
    m[:] = [x for x in m if x not in set(other)]
    return a.removeAll(IntArray(other)), None


def remove_duplicates(a, m, i, v, r):
    m[:] = list(dict.fromkeys(m))
    return a.removeDuplicates(), None


def reserve(a, m, i, v, r):
    n, before = r.randrange(0, 60), a.capacity()
    return (a.reserve(n), a.capacity()), (True, n + 1 if n > before else before)


def resize(a, m, i, v, r):
    n = r.randrange(0, len(m) + 1)
    del m[n:]
    return a.resize(n), True


@pytest.mark.parametrize("seed", range(4))
@pytest.mark.parametrize("kind", ["DoubleArray", "IntArray", "Array3D", "Vector3DArray"])
def test_random_programs(kind, seed):
    double = lambda r: r.choice([0.0, -0.0, 1.5, -2.25, 1e300, 7.0])  # noqa: E731
    point = lambda r: Vector3D(r.randrange(3), r.randrange(2), 0.5)  # noqa: E731
    if kind == "DoubleArray":
        program(DoubleArray, double, ops(), seed)
    elif kind == "IntArray":
        program(IntArray, lambda r: r.choice([r.randrange(-8, 8), INT_MIN, INT_MAX]),
                dict(ops(), removeAll=remove_all, removeDuplicates=remove_duplicates), seed)
    elif kind == "Array3D":
        program(Array3D, point, dict(ops(at_end=True), reserve=reserve), seed)
    else:
        program(Vector3DArray, point, dict(ops(), reserve=reserve, resize=resize), seed)


NUMERIC = [
    (DoubleArray, np.array([0.5, -1e300, math.inf, 3])),
    (IntArray, np.array([INT_MIN, -1, 0, INT_MAX], dtype=np.int32)),
    (ByteArray, np.arange(256, dtype=np.uint8)),
    (Vector3DArray, np.arange(30.0).reshape(10, 3)),
    (Array3D, np.random.default_rng(1).normal(size=(2500, 3))),  # three pages
    (ColorArray, np.linspace(0, 1, 40, dtype=np.float32).reshape(10, 4)),
]


@pytest.mark.parametrize("cls, a", NUMERIC, ids=[c.__name__ for c, _ in NUMERIC])
def test_numpy_round_trips(cls, a):
    arr = cls.from_numpy(a)
    assert type(arr) is cls and len(arr) == len(a)
    assert np.array_equal(arr.to_numpy(), a) and arr.to_numpy().dtype == a.dtype
    assert np.array_equal(np.asarray(arr), a) and np.asarray(arr, dtype=np.float64).dtype == np.float64
    assert np.array_equal(np.asarray(cls.from_numpy(a[::-1])), a[::-1])  # a strided view
    assert np.array_equal(cls(list(arr)).to_numpy(), a)  # element by element agrees
    assert cls.from_numpy(a[:0]).to_numpy().shape == (0,) + a.shape[1:]
    shape = "(n,)" if a.ndim == 1 else f"(n, {a.shape[1]})"
    want = f"{cls.__name__}.from_numpy takes a numpy array of shape {shape} and dtype {a.dtype}"
    for bad, exc, text in ((np.zeros_like(a, dtype=np.int64), TypeError, "not dtype"),
                           (a.reshape(1, -1) if a.ndim == 1 else a[:, :2], ValueError, "not shape"),
                           (a.tolist(), TypeError, "not list")):
        with pytest.raises(exc) as e:
            cls.from_numpy(bad)
        assert str(e.value).startswith(want + ", " + text)


def test_attributes_hold_arrays(tmp_path):
    """An array assigned to an attribute becomes a property of its own class, holding the very
    array; each reads back equal after a save and a load."""
    values = {"DoubleArray": DoubleArray([1.5]), "IntArray": IntArray([INT_MIN]), "ByteArray": ByteArray([9]),
              "StringArray": StringArray(["s"]), "ColorArray": ColorArray([(1, 0, 0, 1)]),
              "Vector2DArray": datamodel.Vector2DArray([(1, 2)]), "Vector2FArray": datamodel.Vector2FArray([(3, 4)]),
              "Vector3DArray": Vector3DArray(P), "Array3D": Array3D(P), "Transform3DArray": Transform3DArray([range(16)]),
              "ImageArray": ImageArray([QorImage(2, 2, 3), QorImage(1, 1, 4)]), "DoubleArray2D": DoubleArray2D(),
              "Vector3DArray2D": Vector3DArray2D()}
    obj = datamodel.DataObject("holder", **values, index=DirIndex(5, 1))
    assert [obj.property_type(n) for n in values] == [f"qorapi.datamodel.{n}" for n in values]
    assert obj.property_type("index") == "qorapi.mesh.DirIndex"
    obj.DoubleArray.append(2)  # the property holds the array itself
    assert values["DoubleArray"] == DoubleArray([1.5, 2])
    datamodel.save(tmp_path / "arrays.qdm", obj)
    back = datamodel.load(tmp_path / "arrays.qdm")
    for name, value in values.items():
        got = getattr(back, name)
        assert type(got) is type(value) and (got == value if hasattr(value, "_values") else got.rowCount() == 0)
    assert back.index == DirIndex(5, 1)
    obj.Array3D = None
    assert obj.Array3D is None and outcome(lambda: setattr(obj, "IntArray", DoubleArray())) == (
        "AttributeError", "Wrong type (qorapi.datamodel.DoubleArray) for attribute 'IntArray'. "
        "Should be qorapi.datamodel.IntArray")
