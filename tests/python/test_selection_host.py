"""Selections: BitSet, the script selection classes and the host's selection levers,
checked against numpy computations on the same geometry."""
import pathlib

import numpy as np
import pytest

import qorapi
from qorapi import host
from qorapi._testing import set_service_mode

HERE = pathlib.Path(__file__).resolve()
MODELS = next((p / "shared" / "data" / "models" for p in HERE.parents
               if (p / "shared" / "data" / "models").is_dir()), None)


def read_obj(path):
    """Vertices (n, 3) and fanned triangles (m, 3) of an OBJ file, zero-based."""
    verts, tris = [], []
    for line in open(path, encoding="ascii"):
        w = line.split()
        if w and w[0] == "v":
            verts.append([float(x) for x in w[1:4]])
        elif w and w[0] == "f":
            idx = [int(x.split("/")[0]) for x in w[1:]]
            idx = [i - 1 if i > 0 else len(verts) + i for i in idx]
            tris += [[idx[0], idx[k], idx[k + 1]] for k in range(1, len(idx) - 1)]
    return np.array(verts), np.array(tris, dtype=np.int64)


@pytest.mark.skipif(MODELS is None, reason="the shared models are not on this machine")
def test_triangles_in_a_box_and_a_sphere_on_the_bunny():
    verts, tris = read_obj(MODELS / "stanford-bunny.obj")
    app = qorapi.Application.instance()
    app.newFile()
    assert app.importFile(str(MODELS / "stanford-bunny.obj"))
    model, = app.getModels()
    lo, hi = verts.min(axis=0), verts.max(axis=0)
    box_lo, box_hi = lo + (hi - lo) * 0.2, lo + (hi - lo) * 0.7
    inside = np.all((verts >= box_lo) & (verts <= box_hi), axis=1)
    expected = np.flatnonzero(inside[tris].all(axis=1)) + 1
    assert 0 < expected.size < len(tris)
    assert host.mark_triangles_in_box(model, box_lo, box_hi) == expected.size
    got = host.marked_triangles(model)
    assert np.array_equal(got.indices(), expected) and len(got) == expected.size
    centre, radius = (lo + hi) / 2, float((hi - lo).max() / 3)
    inside = ((verts - centre) ** 2).sum(axis=1) <= radius * radius
    expected = np.flatnonzero(inside[tris].all(axis=1)) + 1
    assert host.mark_triangles_in_sphere(model, centre, radius) == expected.size
    assert np.array_equal(host.marked_triangles(model).indices(), expected)
    assert host.active_vertices(model).count() == host.active_edges(model).count() == 0
    assert host.selection_names(model) == [] and host.stored_selection(model, "x") is None
    with pytest.raises(ValueError, match="not a CAD model"):
        host.cad_faces(model)


def test_points_in_a_sphere_and_a_box():
    rng = np.random.default_rng(5)
    pts = rng.uniform(-1, 1, size=(5000, 3))
    app = qorapi.Application.instance()
    app.newFile()
    assert qorapi.AddModel(model=qorapi.make_points(pts.tolist(), "cloud")).run() == 1
    model, = app.getModels()
    expected = np.flatnonzero((pts ** 2).sum(axis=1) <= 0.25) + 1
    assert host.mark_points_in_sphere(model, (0, 0, 0), 0.5) == expected.size
    assert np.array_equal(host.active_points(model).indices(), expected)
    expected = np.flatnonzero(np.all(pts >= 0, axis=1)) + 1
    assert host.mark_points_in_box(model, (0, 0, 0), (1, 1, 1)) == expected.size
    assert host.active_points(model) == qorapi.BitSet.from_indices(expected)
    with pytest.raises(ValueError, match="has no mesh"):
        host.mark_triangles_in_box(model, (0, 0, 0), (1, 1, 1))
    with pytest.raises(ValueError, match="takes 3 coordinates"):
        host.mark_points_in_box(model, (0, 0), (1, 1, 1))


@pytest.mark.parametrize("words, members", [
    ([0b10110], [1, 2, 4]),
    ([0, 0x80000000], [63]),
    ([0xFFFFFFFE, 1], list(range(1, 33))),
    ([0, 0, 0], []),
])
def test_bitset_words_and_masks(words, members):
    s = qorapi.BitSet(words)
    assert s.indices().tolist() == members and s.count() == len(s) == len(members)
    assert all(m in s for m in members) and 0 not in s and 64 not in s
    assert s == qorapi.BitSet.from_indices(members) and hash(s) == hash(qorapi.BitSet.from_indices(members))
    mask = s.mask(70)
    assert np.flatnonzero(mask).tolist() == [m - 1 for m in members]
    assert qorapi.BitSet.from_mask(mask) == s
    assert qorapi.BitSet.from_mask(s.mask(3)).indices().tolist() == [m for m in members if m <= 3]


def test_bitset_rejects_numbers_below_one():
    with pytest.raises(ValueError, match="start at 1; got 0"):
        qorapi.BitSet.from_indices([3, 0])
    with pytest.raises(TypeError, match="bool array"):
        qorapi.BitSet.from_mask([1, 0])


def test_selection_classes_hold_their_bits_and_model():
    mesh = qorapi.make_mesh([(0, 0, 0), (1, 0, 0), (0, 1, 0)], [(0, 1, 2)], "tri")
    sel = qorapi.TriangleSelection("picked", mesh=mesh)
    assert (sel.name, sel.mesh, sel.type_string()) == ("picked", mesh, "qorapi.mesh.TriangleSelection")
    sel.markedBits = [2, 70]
    assert sel.markedBits.indices().tolist() == [2, 70]
    sel.markedBits = np.array([True, False, True])
    assert sel.markedBits == qorapi.BitSet.from_indices([1, 3])
    big = qorapi.BitSet.from_indices(np.arange(3, 1_000_000, 3))
    sel.markedBits = big
    assert sel.markedBits == big and sel.markedBits.count() == 333333
    holder = qorapi.DataObject("holder", pick=sel)
    assert type(holder.pick) is qorapi.TriangleSelection and holder.pick is sel
    with pytest.raises(AttributeError, match="Should be qorapi.points.Points"):
        qorapi.PointSelection(points=mesh)
    for cls, prop in [(qorapi.EdgeSelection, "mesh"), (qorapi.VertexSelection, "mesh"),
                      (qorapi.PointSelection, "points"), (qorapi.QuadSelection, "griddedPoints"),
                      (qorapi.CADFaceSelection, "cadModel"), (qorapi.CurveSelection, "curveSet")]:
        s = cls()
        assert s.get(prop) is None and s.markedBits.count() == 0, cls


def test_cad_faces_of_a_folded_strip_and_a_missing_factory():
    verts = [(0, 0, 0), (1, 0, 0), (1, 1, 0), (0, 1, 0), (0, 1, 1), (1, 1, 1)]
    strip = qorapi.make_mesh(verts, [(0, 1, 2), (0, 2, 3), (3, 2, 5), (3, 5, 4)], "strip")
    model = host.add_cad_model(strip)
    assert host.cad_faces(model).tolist() == [1, 1, 2, 2]
    assert host.mark_triangles_in_box(model, (0, 0.5, 0), (1, 1, 1)) == 2
    set_service_mode("mesh::IEdgeSelection", "absent")
    try:
        with pytest.raises(LookupError, match="no service mesh::IEdgeSelection"):
            qorapi.EdgeSelection()
    finally:
        set_service_mode("mesh::IEdgeSelection", "normal")
    assert qorapi.EdgeSelection().markedBits.count() == 0
