"""The host's file import against independent readers of the same files."""
import math
import os
import pathlib
import struct

import pytest

import qorapi
from qorapi import host

HERE = pathlib.Path(__file__).resolve()
MODELS = next((p / "shared" / "data" / "models" for p in HERE.parents
               if (p / "shared" / "data" / "models").is_dir()), None)
PLY_TYPES = {"char": "b", "int8": "b", "uchar": "B", "uint8": "B", "short": "h", "int16": "h",
             "ushort": "H", "uint16": "H", "int": "i", "int32": "i", "uint": "I", "uint32": "I",
             "float": "f", "float32": "f", "double": "d", "float64": "d"}


def read_binary_ply(path):
    """(x, y, z) per vertex and the triangle count: faces fanned, strips unrolled with -1
    starting a new strip and repeated corners left out."""
    data = pathlib.Path(path).read_bytes()
    head, body = data.split(b"end_header\n", 1)
    lines = [line.split() for line in head.decode().splitlines()]
    order = "<" if lines[1][1] == "binary_little_endian" else ">"
    elements = []
    for w in lines:
        if w[0] == "element":
            elements.append((w[1], int(w[2]), []))
        elif w[0] == "property":
            elements[-1][2].append(w[1:])
    at, points, triangles = 0, [], 0
    for name, count, props in elements:
        if all(p[0] != "list" for p in props):
            fmt = order + "".join(PLY_TYPES[p[0]] for p in props)
            rows = list(struct.iter_unpack(fmt, body[at:at + count * struct.calcsize(fmt)]))
            at += count * struct.calcsize(fmt)
            names = [p[-1] for p in props]
            if name == "vertex":
                points = [(r[names.index("x")], r[names.index("y")], r[names.index("z")]) for r in rows]
            continue
        (_, ctype, itype, _), = props
        for _ in range(count):
            n, = struct.unpack_from(order + PLY_TYPES[ctype], body, at)
            at += struct.calcsize(PLY_TYPES[ctype])
            idx = struct.unpack_from(order + PLY_TYPES[itype] * n, body, at)
            at += n * struct.calcsize(PLY_TYPES[itype])
            if name == "face":
                triangles += max(n - 2, 0)
                continue
            run = []
            for i in list(idx) + [-1]:
                if i >= 0:
                    run.append(i)
                    continue
                triangles += sum(len({run[k], run[k + 1], run[k + 2]}) == 3 for k in range(len(run) - 2))
                run = []
    return points, triangles


def read_obj(path):
    """(x, y, z) of every `v` line and the count of triangles of the `f` lines, fanned."""
    points, triangles = [], 0
    for line in open(path, encoding="ascii"):
        w = line.split()
        if w and w[0] == "v":
            points.append(tuple(float(x) for x in w[1:4]))
        elif w and w[0] == "f":
            triangles += len(w) - 3
    return points, triangles


def box(points):
    return tuple(min(p[k] for p in points) for k in range(3)) + tuple(max(p[k] for p in points) for k in range(3))


@pytest.mark.skipif(MODELS is None, reason="the shared models are not on this machine")
@pytest.mark.parametrize("name", sorted(n for n in os.listdir(MODELS) if n.endswith((".ply", ".obj")))
                         if MODELS else [])
def test_every_shared_model_keeps_its_vertices_and_faces(name):
    path = str(MODELS / name)
    points, triangles = (read_obj if name.endswith(".obj") else read_binary_ply)(path)
    got = imported(path)
    assert (got["kind"], got["vertices"], got["triangles"]) == ("mesh", len(points), triangles)
    for a, b in zip(got["bounds"], box(points)):
        assert math.isclose(a, b, rel_tol=1e-6, abs_tol=1e-12), (got["bounds"], box(points))


def imported(path):
    """What the application made of a file: its model's kind, sizes and box."""
    app = qorapi.Application.instance()
    app.newFile()
    if not app.importFile(path):
        raise OSError(host.log_lines()[-1][1])
    model, = app.getModels()
    assert model.name == os.path.splitext(os.path.basename(path))[0]
    data, b = model.getData(), model.boundingBox
    assert data.name == model.name, "the data object is named as its model"
    kind = {qorapi.Model_Points: "points", qorapi.Model_Mesh: "mesh"}[model.type]
    return {"kind": kind, "vertices": data.get("numPoints" if kind == "points" else "numVertices"),
            "triangles": data.numTriangles if kind == "mesh" else 0, "colors": data.hasColors,
            "bounds": tuple(b.minimum) + tuple(b.maximum)}


def test_made_files_import_as_their_kinds(tmp_path):
    pts = [(i * 0.5, -i * 0.25, (i % 7) - 3.0) for i in range(1000)]
    body = b"".join(struct.pack(">fffBBB", *p, i % 256, 7, 255) for i, p in enumerate(pts))
    ply = tmp_path / "cloud.ply"
    ply.write_bytes(b"ply\nformat binary_big_endian 1.0\nelement vertex 1000\nproperty float x\n"
                    b"property float y\nproperty float z\nproperty uchar red\nproperty uchar green\n"
                    b"property uchar blue\nend_header\n" + body)
    xyz = tmp_path / "cloud.xyz"
    xyz.write_text("".join(f"{x} {y} {z}\n" for x, y, z in pts))
    stl = tmp_path / "two.stl"
    corners = [[(0, 0, 0), (2, 0, 0), (2, 3, 0)], [(0, 0, 0), (2, 3, 0), (0, 3, -1)]]
    stl.write_text("solid two\n" + "".join(
        "facet normal 0 0 1\nouter loop\n" + "".join(f"vertex {x} {y} {z}\n" for x, y, z in f)
        + "endloop\nendfacet\n" for f in corners) + "endsolid two\n")
    for path, kind, n, tris, colours in [(ply, "points", 1000, 0, True), (xyz, "points", 1000, 0, False),
                                         (stl, "mesh", 4, 2, False)]:
        got = imported(str(path))
        assert (got["kind"], got["vertices"], got["triangles"], got["colors"]) == (kind, n, tris, colours)
    assert imported(str(xyz))["bounds"] == box(pts)
    assert imported(str(stl))["bounds"] == (0, 0, -1, 2, 3, 0)
    (tmp_path / "bad.xyz").write_text("1 2 3\n1 2\n")
    with pytest.raises(OSError, match=r"bad\.xyz.*line 2"):
        imported(str(tmp_path / "bad.xyz"))


def test_obj_lines_import_as_a_curve_model_beside_the_mesh(tmp_path):
    W, X = -0.0006915667978756639, 0.00015783674424408778
    app = qorapi.Application.instance()
    app.newFile()
    for name, text in [("part", "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nvt 0 0\nf 1 2 3\n"
                                "l 1 2 3 4/1 1\n l -1 -3\n"),
                       ("outline", f"v {W} 0 0\nv {X} 0 0\nv {X} 4 0\nl 1 2\nl 2 3\n")]:
        (tmp_path / f"{name}.obj").write_text(text)
        assert app.importFile(str(tmp_path / f"{name}.obj"))
    part, wires, outline = app.getModels()
    assert [(m.name, m.type) for m in (part, wires, outline)] == [
        ("part", qorapi.Model_Mesh), ("part curves", qorapi.Model_Curves), ("outline", qorapi.Model_Curves)]
    s, t, V = wires.getData(), outline.getData(), qorapi.Vector3D
    square = s.curve(0)
    assert (s.name, s.numPolylines, s.length, list(square.knots), s.startPoint(1), s.endPoint(1)) == (
        "part curves", 2, 4 + 2 ** 0.5, [0, 1, 2, 3, 4], V(0, 1, 0), V(1, 0, 0))
    # The square closes on itself; the diagonal's ends touch no end of it.
    assert (s.numComponents, s.isClosed, square.isClosed) == (2, False, True)
    t.rebuild(0.0)  # the shared point, where W + (X - W) is not X, still joins the two
    assert (t.numCurves, t.numComponents, t.isClosed, t.length) == (2, 1, False, (X - W) + 4)
