"""The property dump: values a script adds through AddPropertyDump, and the host's XML."""
import re
import shutil
import subprocess
import xml.etree.ElementTree as ET
from pathlib import Path

import pytest

import qorapi
from qorapi import AddPropertyDump, QorBounds, Transform3D, Vector3D, _testing, host
from conftest import run_python

HERE = Path(__file__).resolve()
MODELS = next((p / "shared" / "data" / "models" for p in HERE.parents
               if (p / "shared" / "data" / "models").is_dir()), None)


def branch(name, root=None):
    """The one <item> of the branch `name` under the provider "Custom"."""
    root = ET.fromstring(host.property_dump_xml()) if root is None else root
    (provider,) = [e for e in root if e.get("name") == "Custom"]
    (found,) = [e for e in provider if e.get("name") == name]
    return found


def rows(elem):
    return [(c.tag, c.get("name"), c.get("value"), c.get("type")) for c in elem]


def printed(x):
    return ("%e" if abs(x) > 1e10 else "%f") % x


def test_values_their_texts_types_and_nesting():
    d = AddPropertyDump("values")
    assert (d.typeString(), d.basename, AddPropertyDump().basename) == (
        "qorapi.datamodel.AddPropertyDump", "values", "Custom")
    assert d.pop() is False
    assert d.push("x") and d.add("y", 1) and d.pop() and d.push("t", "kind") and d.pop()
    cases = [("i", -7, "-7", "int"), ("b", True, "1", "int"), ("d", 1.5, "1.500000", "double"),
             ("e", 1e10, "10000000000.000000", "double"), ("big", 2.5e11, "2.500000e+11", "double"),
             ("neg", -3e-7, "-0.000000", "double"), ("huge", -1e300, "-1.000000e+300", "double"),
             ("s", "a", "a", "string"), ("empty", "", "", "string")]
    assert all(d.add(name, value) for name, value, _, _ in cases)
    b = branch("values")
    assert rows(b) == [("item", "x", "", ""), ("item", "t", "", "kind")] + [
        ("item", n, text, t) for n, _, text, t in cases]
    assert rows(b[0]) == [("item", "y", "1", "int")]
    assert all(printed(v) == text for _, v, text, t in cases if t == "double")


def test_points_directions_matrices_and_boxes():
    d = AddPropertyDump("geometry")
    m = Transform3D(1, 0, 0, 5, 0, 1, 0, 6, 0, 0, 1, 7, 0, 0, 0, 1)
    assert d.addPoint("p", Vector3D(1, 2.5, -3))
    assert d.addDirection("v", qorapi.wrapped.make_QorVector(0, 0, 1))
    assert d.addMatrix("m", m) and d.addBounds("b", QorBounds((0, -1, -2), (1, 2, 3e11)))
    p, v, mm, bb = branch("geometry")
    assert rows(p) == [("item", n, t, "") for n, t in zip("XYZ", ("1.000000", "2.500000", "-3.000000"))]
    assert [c.get("name") for c in v] == ["XDir", "YDir", "ZDir"] and v.get("type") == "vector"
    assert rows(mm) == [("attribute", f"M{i}", printed(x), "") for i, x in enumerate(m)]
    assert [mm[i].get("value") for i in (3, 7, 11)] == ["5.000000", "6.000000", "7.000000"]
    assert rows(bb) == [("attribute", n, printed(x), "") for n, x in zip(
        ("XMin", "XMax", "YMin", "YMax", "ZMin", "ZMax"), (0, 1, -1, 2, -2, 3e11))]
    assert (p.get("type"), mm.get("type"), bb.get("type")) == ("point", "matrix", "boundbox")


def test_objects_with_one_basename_share_a_branch_and_reset_empties_it():
    a, b, other = AddPropertyDump("shared"), AddPropertyDump("shared"), AddPropertyDump("other")
    assert a.add("from_a", 1) and b.push("open") and b.add("from_b", 2) and other.add("keep", 3)
    a.basename = "moved"  # read once, when the branch was first needed
    assert a.add("still", 4) and a.push("left open")
    assert [c.get("name") for c in branch("shared")] == ["from_a", "open", "still", "left open"]
    assert a.reset() is True and a.pop() is False
    assert list(branch("shared")) == [] and [c.get("name") for c in branch("other")] == ["keep"]
    assert b.add("into the cleared child", 5) and b.pop() and b.add("after", 6)
    assert [c.get("name") for c in branch("shared")] == ["after"]
    assert _testing.dump_provider_count() == 1


def test_features_cad_models_and_a_host_without_the_utility():
    d = AddPropertyDump("host data")
    mesh = qorapi.make_mesh([(0, 0, 0), (1, 0, 0), (0, 1, 0), (1, 1, 0)], [(0, 1, 2), (1, 3, 2)])
    cad = _testing.cad_probe(mesh)
    assert d.addFeature("f", _testing.feature_probe()) is True
    assert [d.addFeature("x", qorapi.DataObject("plain")), d.addFeature("x", None),
            d.addCADModel("x", mesh), d.addCADModel("x", None)] == [False] * 4
    assert d.addCADModel("c", cad) is True
    _testing.set_service_mode("IQorPropertyDumpUtil", "absent")
    try:
        late = AddPropertyDump("host data")
        assert (late.addCADModel("c2", cad), late.addFeature("f2", _testing.feature_probe())) == (
            False, False)
    finally:
        _testing.set_service_mode("IQorPropertyDumpUtil", "normal")
    b = branch("host data")
    assert rows(b) == [("item", "f", "", "feature"), ("item", "c", "", "cadModel"),
                       ("item", "c2", "", "cadModel")]
    assert rows(b[0]) == [("item", "class", "RefDumpFeature", "string")]
    assert rows(b[1]) == [("item", "triangles", "2", "int"), ("item", "vertices", "4", "int")]
    assert list(b[2]) == []


def test_a_host_that_refuses_children():
    d = AddPropertyDump("refused")
    cad = _testing.cad_probe(qorapi.make_mesh([(0, 0, 0), (1, 0, 0), (0, 1, 0)], [(0, 1, 2)]))
    assert d.add("before", 1)
    _testing.set_dump_refuses_children(True)
    try:
        got = [d.push("x"), d.add("i", 1), d.add("f", 1.0), d.add("s", "t"),
               d.addPoint("p", (1, 2, 3)), d.addDirection("v", (0, 0, 1)),
               d.addMatrix("m", Transform3D()), d.addBounds("b", QorBounds((0, 0, 0), (1, 1, 1))),
               d.addFeature("f", _testing.feature_probe()), d.addCADModel("c", cad), d.pop(),
               AddPropertyDump("never made").add("a", 1)]
    finally:
        _testing.set_dump_refuses_children(False)
    assert got == [False] * 4 + [True, True, False, True] + [False] * 4
    assert rows(branch("refused")) == [("item", "before", "1", "int")]


GOLDEN = """True 0
True True True True True 1
<?xml version="1.0" encoding="UTF-8"?>
<propertyDump>
  <item name="Custom" value="" type="">
    <item name="Custom" value="" type="">
      <item name="a" value="1" type="int"/>
    </item>
    <item name="b &lt;&amp;&quot;" value="" type="">
      <item name="q" value="" type="open">
        <item name="s" value="x&#10;&lt;&gt;&amp;&quot;'&#9;ü" type="string"/>
      </item>
      <item name="m" value="" type="matrix">
""" + "".join(f'        <attribute name="M{i}" value="{float(i % 5 == 0):f}" type=""/>\n'
              for i in range(16)) + """      </item>
    </item>
  </item>
</propertyDump>

"""


def test_a_fresh_process_reset_makes_no_provider_and_the_xml_text():
    out = run_python("""
        import qorapi
        from qorapi import _testing, host
        d = qorapi.AddPropertyDump()
        print(d.reset(), _testing.dump_provider_count())
        b = qorapi.AddPropertyDump('b <&"')
        print(d.add("a", 1), b.push("q", "open"), b.add("s", "x\\n<>&\\"'\\tü"), b.pop(),
              b.addMatrix("m", qorapi.Transform3D()), _testing.dump_provider_count())
        print(host.property_dump_xml())
    """)
    assert out.returncode == 0, out
    assert out.stdout == GOLDEN
    absent = run_python("""
        import qorapi
        from qorapi import _testing
        for service in ("IQorPropertyDump", "IQorPropDumpXmlElement"):
            _testing.set_service_mode(service, "absent")
        d = qorapi.AddPropertyDump()
        print(d.add("a", 1), d.push("x"), d.pop(), d.reset(), d.addPoint("p", (0, 0, 0)),
              d.addMatrix("m", qorapi.Transform3D()), _testing.dump_provider_count())
    """)
    assert absent.stdout == "False False False True False False 0\n", absent


@pytest.mark.skipif(MODELS is None, reason="the shared models are not on this machine")
def test_a_model_dump_is_valid_xml_that_reads_back_exactly(tmp_path):
    app = qorapi.Application.instance()
    assert app.importFile(str(MODELS / "stanford-bunny.obj"))
    model = app.getModelByName("stanford-bunny")
    texts = ["a<b & c>d", "quote \" and ' apostrophe", "ünïcødé ✓ 😀",
             "tab\tnew\nline\rcr ]]>", ""]
    d = AddPropertyDump("bunny <&\"' ü 😀")
    assert d.push("model \"<&>\" ß", "mesh") and d.add("name", model.name)
    assert d.addBounds("box", model.boundingBox) and d.addMatrix("m", Transform3D(*range(16)))
    assert all(d.add(f"text {i} <&>'\"ü", t) for i, t in enumerate(texts)) and d.pop()
    path = tmp_path / "dump.xml"
    assert host.write_property_dump(path) is None
    (top,) = branch("bunny <&\"' ü 😀", ET.parse(path).getroot())
    box = model.boundingBox
    assert rows(top)[:2] == [("item", "name", "stanford-bunny", "string"), ("item", "box", "", "boundbox")]
    assert [a.get("value") for a in top[1]] == [printed(x) for pair in zip(box.minimum, box.maximum)
                                                 for x in pair]
    assert [a.get("value") for a in top[2]] == [printed(x) for x in range(16)]
    assert rows(top)[3:] == [("item", f"text {i} <&>'\"ü", t, "string") for i, t in enumerate(texts)]
    with pytest.raises(OSError, match=re.escape(str(tmp_path / "no" / "dump.xml"))):
        host.write_property_dump(tmp_path / "no" / "dump.xml")
    if not shutil.which("xmllint"):
        pytest.skip("xmllint is not installed")
    lint = subprocess.run(["xmllint", "--noout", str(path)], capture_output=True, text=True)
    assert lint.returncode == 0 and lint.stderr == "", lint
