"""The attribute layer: data objects as Python objects, their values, subscriptions, and
documents saved in one process and loaded whole in another, with the file's structure
checked by an independent reader written here."""
import json
import os
import sys
import uuid

import pytest
from conftest import run_python
from wexreader import EXTRA, OBJECT, ROOT, WexReader

import qorapi
from qorapi import _testing
from qorapi import (DataObject, DataObjectArray, QorBounds, QorColor, QorMaterial,
                    Transform3D, Vector2F, Vector3D)

OBJECT_ID = uuid.UUID("96a7ad15-470c-4a54-94fd-25964678cdf0")
ARRAY_ID = uuid.UUID("ebdae88c-5739-466c-ae45-b12a17cf5b44")
# How a stored property's value is read, by its class (int, double, bool, string, object,
# array); other classes read as ("class", id).
VALUES = {uuid.UUID(k): f for k, f in [
    ("088fe0ea-a8b3-48ab-bca7-7fcb948ac380", lambda r, end: r.bare(">i")),
    ("e81c94c1-0860-4244-9491-40e93b2246bb", lambda r, end: r.bare(">d")),
    ("bb34609a-22fd-4eb0-909c-7e7bc819515c", lambda r, end: bool(r.bare(">b"))),
    ("fa1d9222-ba5e-4ce3-a8bf-7743692b3077", lambda r, end: r.string(end))]}
VALUES[OBJECT_ID] = lambda r, end: ("ref", r.bare(">I"))
VALUES[ARRAY_ID] = lambda r, end: ("refs", [r.bare(">I") for _ in range(r.bare(">i"))])


class DocReader(WexReader):
    """Reads a document from the format alone: the object layout over the shared chunk reader."""

    def object_header(self, limit, version=None):
        """An object chunk's header and class id: (version, class, end offset)."""
        tag, found, end = self.header(limit)
        assert tag == OBJECT and version in (None, found), (hex(tag), found)
        self.pos += 16
        return found, uuid.UUID(bytes=self.data[self.pos - 16:self.pos]), end

    def document(self):
        """The objects of the document, in file order: refId -> (name, {key: value})."""
        tag, _, end = self.header()
        assert tag == ROOT and end == len(self.data)
        doc_end, objects, more = self.object_header(end, 5)[2], {}, 1
        while more:
            ref, obj = self.object(doc_end)
            assert more == 1 and ref not in objects, "each object stands in the file once"
            objects[ref], more = obj, self.bare(">b")
        assert self.pos == doc_end == end
        return objects

    def object(self, limit):
        """One object: its name, an empty extra chunk, its refId and its properties."""
        end = self.object_header(limit, 5)[2]
        name = self.string(end)
        assert self.header(end) == (EXTRA, 2, self.pos)  # the header ends where it is read
        ref_end = self.object_header(end, 0)[2]
        ref = self.bare(">I")
        assert self.pos == ref_end and ref != 0
        props = {}
        for _ in range(self.bare(">i")):
            key = self.string(end)
            version, cls, stop = self.object_header(end)
            assert cls != OBJECT_ID or version == 1
            props[key] = VALUES.get(cls, lambda r, e: ("class", str(cls)))(self, stop)
            self.pos = stop
        assert self.pos == end, "the count matches the properties stored"
        return ref, (name, props)


BUILD_GRAPH = """
import qorapi
from qorapi import *
root = DataObject("root", count=-7, ratio=0.25, flag=True, text="h\\u00e9llo \\U0001F600",
                  where=Vector3D(1, 2.5, -3), plane=Vector2D(4, 5), flat=Vector2F(0.5, 1.5),
                  move=Transform3D.translation(1, 2, 3), box=QorBounds((0, 0, 0), (1, 2, 3)),
                  tint=QorColor(1, 0, 0, 1),
                  look=QorMaterial(QorColor(0.2, 0.2, 0.2, 1), QorColor(0.8, 0.8, 0.8, 1),
                                   shininess=2.0, face=2))
child = DataObject("child", depth=1)
leaf = DataObject("leaf")
root.first = child
root.second = child
child.parent = root
root.items = DataObjectArray([leaf, child, leaf, None])
root.nothing = DataObjectArray()
qorapi.save(PATH, root)
child.parent = None  # end the cycle, so that everything dies
"""

DESCRIBE = """
import json, qorapi
def describe(o, seen):
    if o is None:
        return None
    if isinstance(o, qorapi.DataObjectArray):
        return [describe(x, seen) for x in o]
    if isinstance(o, qorapi.DataObject):
        if id(o) in seen:
            return "@" + o.name
        seen[id(o)] = o  # kept alive, so that no other wrapper takes its id
        return {k: describe(o.get(k), seen) for k in o.property_names()}
    return repr(o)
root = qorapi.load(PATH)
print(json.dumps(describe(root, {}), sort_keys=True))
print(root.first is root.second, root.first.parent is root, root.items[0] is root.items[2],
      root.items[1] is root.first)
root.first.parent = None  # end the cycle, so that everything dies
"""


def test_graph_saved_in_one_process_loads_whole_in_another(tmp_path):
    path = str(tmp_path / "graph.wex")
    made = run_python(f"PATH = {path!r}\n" + BUILD_GRAPH + DESCRIBE)
    assert made.returncode == 0, made
    back = run_python(f"PATH = {path!r}\n" + DESCRIBE)
    assert back.returncode == 0, back
    assert back.stdout == made.stdout, "the graph read back in a fresh process is the same"
    tree = json.loads(back.stdout.splitlines()[0])
    assert tree["count"] == "-7" and tree["ratio"] == "0.25" and tree["flag"] == "True"
    assert tree["text"] == repr("h\u00e9llo \U0001F600")
    assert tree["where"] == "Vector3D(1, 2.5, -3)" and tree["flat"] == "Vector2F(0.5, 1.5)"
    assert tree["look"].startswith("QorMaterial(QorColor(0.2") and tree["box"] == (
        "QorBounds(Vector3D(0, 0, 0), Vector3D(1, 2, 3))")
    assert tree["first"]["parent"] == "@root"
    assert tree["items"][0] == {"name": "'leaf'"} and tree["items"][3] is None
    assert tree["nothing"] == []
    assert back.stdout.splitlines()[1] == "True True True True"

    objects = DocReader(open(path, "rb").read()).document()
    by_name = {name: props for name, props in objects.values()}
    assert sorted(by_name) == ["child", "leaf", "root"]
    ref_of = {name: ref for ref, (name, _) in objects.items()}
    root = by_name["root"]
    assert root["count"] == -7 and root["ratio"] == 0.25 and root["flag"] is True
    assert root["text"] == "h\u00e9llo \U0001F600"
    assert root["first"] == root["second"] == ("ref", ref_of["child"])
    assert by_name["child"]["parent"] == ("ref", ref_of["root"])
    assert root["items"] == ("refs", [ref_of["leaf"], ref_of["child"], ref_of["leaf"], 0])
    assert "name" not in root, "the routed name is stored as the object's name, not a property"


# (value held before, value assigned, value read back, the property's type afterwards)
SETS = [(None, True, True, "bool"), (None, 3, 3, "int"), (None, 2.0, 2.0, "double"),
        (2.0, 5, 5.0, "double"), (True, 0, False, "bool"), (3, True, 1, "int"),
        ("a", "x", "x", "string"), (Vector3D(), Vector3D(1, 2, 3), Vector3D(1, 2, 3),
                                   "qorapi.math.Vector3D")]
# (value held before, value assigned, the error and its text)
WRONG_SETS = [
    (3, 1.5, AttributeError, r"^Wrong type \(double\) for attribute 'v'. Should be int$"),
    (Vector3D(), QorColor(), AttributeError, r"^Wrong type \(qorapi.datamodel.QorColor\) for"),
    (None, 2 ** 31, OverflowError, "does not fit the 32-bit integer of property 'v'"),
    ("a", None, TypeError, "cannot set property 'v' to None"),
    (None, {}, TypeError, "cannot set property 'v' to a value of type dict")]


def test_attribute_assignment_chooses_the_setter_by_python_type():
    for before, value, back, kind in SETS:
        o = DataObject(**({} if before is None else {"v": before}))
        o.v = value
        assert (o.v, type(o.v), o.property_type("v")) == (back, type(back), kind), (before, value)
    for before, value, error, text in WRONG_SETS:
        o = DataObject(**({} if before is None else {"v": before}))
        with pytest.raises(error, match=text):
            o.v = value
        assert o.has("v") == (before is not None)
    with pytest.raises(AttributeError, match=r"^Property 'missing' does not exist.$"):
        o.missing
    with pytest.raises(AttributeError, match="'_x': names starting with '_' are not properties"):
        o._x = 1
    o.get = 1  # a property may take a method's name; reads reach it through get()
    assert callable(o.get) and o.get("get") == 1 and "get" in dir(o)
    del o.get
    with pytest.raises(AttributeError, match=r"^Property 'get' does not exist.$"):
        del o.get


def test_object_and_array_values_keep_identity_and_check_their_indices():
    a, b = DataObject("a"), DataObject("b")
    a.link = b
    assert a.link is b and a.link == b
    a.link = None
    assert a.link is None
    a.link = ComputedRef()
    assert a.link.name == "made", "the capsule is held while it is read"
    arr = DataObjectArray([a, None, b])
    assert len(arr) == 3 and arr[-1] is b and arr[1] is None and b in arr
    arr[1] = a
    assert arr.index_of(a) == 1 and arr.index_of(DataObject()) == -1
    del arr[0]
    assert list(arr) == [a, b]
    for index, at in [(-1, 1), (-9, 0), (9, 2), (2, 2)]:  # as list.insert places
        arr.insert(index, a)
        assert arr[at] is a and len(arr) == 3
        del arr[at]
    assert arr.pop() is b and len(arr) == 1
    with pytest.raises(IndexError):
        arr[1]
    with pytest.raises(TypeError):
        arr.append("not an object")
    arr.clear()
    assert len(arr) == 0


def test_subscriptions_deliver_by_priority_survive_a_raising_callback_and_end(monkeypatch):
    reported = []
    monkeypatch.setattr(sys, "unraisablehook", lambda u: reported.append(u.exc_type))
    o = DataObject("watched", size=1)
    heard = []
    late = o.subscribe("property_modified", lambda e, args: heard.append(("late", args["newValue"])), priority=5)

    def boom(event, args):
        heard.append(("boom", args["newValue"]))
        raise ValueError("a script error")

    o.subscribe("property_modified", boom, priority=-3)
    early = o.subscribe("property_modified",
                        lambda e, args: heard.append(("early", e, sorted(args), args["name"])), priority=-4)
    o.size = 2
    assert heard == [("early", "property_modified", ["name", "newValue", "oldValue", "size"], "size"),
                     ("boom", 2), ("late", 2)]
    heard.clear()
    assert late.unsubscribe() and not late.active and not late.unsubscribe()
    with early:
        o.size = 3
    o.size = 4
    assert heard == [("early", "property_modified", ["name", "newValue", "oldValue", "size"], "size"),
                     ("boom", 3), ("boom", 4)], "the handle-less subscription lasts"
    assert reported == [ValueError] * 3, "each raise is reported, none escapes the delivery"
    with pytest.raises(ValueError, match="no event 'nope'"):
        o.subscribe("nope", print)
    for tag, priority in (("five", 5), ("zero", 0)):  # 5 met no greater one: listed as -1
        o.subscribe("property_modified", lambda e, args, tag=tag: heard.append(tag), priority)
    o.size = 5
    assert heard[-3:] == [("boom", 5), "five", "zero"]


def test_value_classes_round_floats_and_refuse_foreign_operands():
    # The arithmetic itself is the native classes'; here: the operators and texts Python sees.
    assert Transform3D.translation(1, 2, 3) @ Vector3D(1, 1, 1) == Vector3D(2, 3, 4)
    assert hash(QorColor(1, 0, 0)) == hash(QorColor(1, 0, 0)) and repr(QorBounds()) == "QorBounds()"
    o = DataObject(box=QorBounds())
    assert o.box.is_empty() and o.box == QorBounds()
    for name, value in [("tint", QorColor(0.1, 0.2, 0.3, 1)), ("flat", Vector2F(0.1, 1 / 3)),
                        ("look", QorMaterial(QorColor(0.1, 0.7, 0.3, 1), shininess=0.7))]:
        o.set(name, value)
        assert o.get(name) == value and repr(o.get(name)) == repr(value), name
    assert repr(o.tint) == "QorColor(0.1, 0.2, 0.3, 1)" and repr(o.look).endswith(", 0, 0.7, 0)")
    assert 2 * Vector3D(1, 2, 3) == Vector3D(1, 2, 3) * 2.0 == Vector3D(2, 4, 6)
    for bad in (lambda: Vector3D() + 1, lambda: 1 - Vector3D(), lambda: Vector3D() * "x",
                lambda: Transform3D(1, 2, 3)):
        with pytest.raises((TypeError, ValueError)):
            bad()


def test_wrapped_value_factories_make_owned_objects_of_the_system_types():
    # In a fresh process: another SWIG module of the suite binds its own class to the same
    # native type, and the last binding wins.
    ran = run_python("""
        import pytest
        from qorapi import Vector3D, Transform3D, QorBounds, wrapped
        v = wrapped.make_QorVector(Vector3D(1, 2, 3))
        assert isinstance(v, wrapped.QorVector) and v.thisown and v.value() == Vector3D(1, 2, 3)
        assert "QorVector *" in repr(v)
        assert str(wrapped.make_QorString("h\U0001F600")) == "h\U0001F600"
        m, b = wrapped.make_QorMatrix, wrapped.make_QorBounds
        move, box = Transform3D.translation(1, 2, 3), QorBounds((0, 0, 0), (1, 2, 3))
        assert m(move).value() == move and m().value() == Transform3D()
        assert b(box).value() == box and b().value().is_empty()
        with pytest.raises(ValueError, match="16 numbers, not 2"):
            wrapped.make_QorMatrix([1, 2])
        del v
        print("ok")
    """)
    assert ran.returncode == 0 and ran.stdout == "ok\n", ran
    assert "memory leak" not in ran.stderr, ran


@pytest.mark.parametrize("how, text", [
    ("empty", "is not a data-model file$"),
    ("missing", "^no data-model file at '.*five.wex'$"),
    ("sample", "holds no document: its first chunk is no object$"),
    ("cut while writing", "five.wex' is damaged: reading stopped at byte 12$"),
    ("array count flipped", r"five.wex' is damaged: reading stopped at byte \d+$"),
])
def test_load_refuses_what_it_cannot_read_whole(tmp_path, how, text):
    path = tmp_path / "five.wex"
    qorapi.save(path, DataObject("root", items=DataObjectArray([DataObject() for _ in range(5)])))
    data = bytearray(path.read_bytes())
    at = data.index(ARRAY_ID.bytes) + 19
    data[at] ^= 0xFF if how == "array count flipped" else 0
    # A crash while writing leaves the root length 0 and a short end.
    data = {"empty": b"", "cut while writing": data[:4] + bytes(8) + data[12:-10]}.get(how, data)
    if how == "missing":
        path.unlink()
    elif how == "sample":
        assert _testing.write_sample_document(str(path), 0)
    else:
        path.write_bytes(data)
    with pytest.raises(FileNotFoundError if how == "missing" else ValueError, match=text) as e:
        qorapi.load(path)
    if how == "array count flipped":  # it read on past the array
        assert at < int(str(e.value).split()[-1]) <= len(data)


def test_save_says_what_is_wrong(tmp_path):
    with pytest.raises(OSError, match="cannot write the data-model file '.*dir.wex'"):
        qorapi.save(tmp_path / "no" / "dir.wex", DataObject())
    with pytest.raises(TypeError, match="stores a DataObject, not int"):
        qorapi.save(tmp_path / "x.wex", 5)


def test_model_converters_hand_out_the_model_borrowed():
    probe = _testing.model_probe()
    holder = DataObject("holder", part=probe, plain=DataObject())
    address, count = qorapi._qorapi.object_info(probe._ref)[0], _testing.ref_count(probe)
    for model in (_testing.to_script_object(probe), _testing.convert_property(holder, "part")):
        assert isinstance(model, qorapi.Model), model
        assert "'Model *'" in repr(model.this) and int(model.this) == address
        assert not model.this.own()
    del model  # the script object holds a count while it lives
    assert _testing.ref_count(probe) == count, "a conversion takes no count"
    assert _testing.convert_property(holder, "plain") is None, "a plain object is no model"


class ComputedRef:  # a wrapper whose _ref is made on each read: only the reader holds it
    _ref = property(lambda self: DataObject("made")._ref)


def test_a_subscription_ends_with_its_object_and_may_end_itself():
    o, calls = DataObject("short-lived", n=0), []
    handle = o.subscribe("property_modified",
                         lambda e, args: (calls.append(args["newValue"]), handle.unsubscribe()))
    o.n = 1
    o.n = 2
    assert calls == [1] and not handle.active
    kept = o.subscribe("property_modified", lambda e, a: None)
    del o, handle  # the ended subscription's handle goes too
    assert not kept.active and not kept.unsubscribe(), "the object's death ended it"


def test_a_chain_of_a_million_objects_is_dropped_and_loaded_without_deep_recursion(tmp_path):
    n = 10 ** (5 if "libasan" in os.environ.get("LD_PRELOAD", "") else 6)  # sanitizers: slower
    ran = run_python(f"""
        import qorapi
        head = tail = qorapi.DataObject()
        for _ in range({n} - 1):
            tail.next = tail = qorapi.DataObject()  # each holds the next
        del tail
        qorapi.save({str(tmp_path / "chain.wex")!r}, head)
        del head
        print("dropped", flush=True)
        qorapi.load({str(tmp_path / "chain.wex")!r})  # and dropped at once
        print("loaded and dropped")
    """, timeout=600)
    assert ran.returncode == 0 and ran.stdout == "dropped\nloaded and dropped\n", ran
