"""A model's arrays as numpy views: the host's own values (checked against the host's
region selections too), zero-copy and read-only, and intact once the model and its document
are gone."""
import gc

import numpy as np
import pytest

import qorapi
from qorapi import host

RNG = np.random.default_rng(5)


def outlive(model, data, views, expected):
    """Every view stays read-only, and exact after the model, its data and the document go."""
    for a in views:
        with pytest.raises(ValueError):
            a[0, 0] = 1
        with pytest.raises(ValueError):
            a.flags.writeable = True
    del model, data
    qorapi.Application.instance().newFile()
    gc.collect()
    for a, b in zip(views, expected):
        assert np.array_equal(a, b)


def test_mesh_vertices_and_triangles():
    app = qorapi.Application.instance()
    app.newFile()
    verts, tris = RNG.normal(size=(500, 3)) * 1e6, RNG.integers(0, 500, size=(300, 3))
    qorapi.AddModel(model=qorapi.make_mesh(verts, tris, "m")).run()
    model, = app.getModels()
    data = model.getData()
    v, t = data.vertices(), data.triangles()
    assert type(data) is qorapi.Mesh and data.normals() is None and data.colors() is None
    assert (v.dtype, v.shape, t.dtype, t.shape) == (np.float64, (500, 3), np.int32, (300, 3))
    assert np.array_equal(v, verts) and np.array_equal(t, tris)
    assert np.shares_memory(v, data.vertices()) and not v.flags.owndata
    inside = np.all(np.abs(v[t]) <= 1.5e6, axis=(1, 2))
    host.mark_triangles_in_box(model, (-1.5e6,) * 3, (1.5e6,) * 3)
    assert host.marked_triangles(model).indices().tolist() == (np.flatnonzero(inside) + 1).tolist()
    outlive(model, data, (v, t), (verts, tris))


def test_imported_points_normals_and_colours(tmp_path):
    n = 400
    pts = RNG.normal(size=(n, 3)) * 1e3
    nrm = RNG.normal(size=(n, 3))
    nrm = (nrm / np.linalg.norm(nrm, axis=1, keepdims=True)).astype(np.float32)
    rgb = RNG.integers(0, 256, size=(n, 3))
    rgb[0] = 255
    rows = (" ".join(repr(float(x)) for x in (*p, *q)) + " %d %d %d\n" % tuple(c)
            for p, q, c in zip(pts, nrm, rgb))
    (tmp_path / "cloud.xyz").write_text("".join(rows))
    app = qorapi.Application.instance()
    app.newFile()
    assert app.importFile(str(tmp_path / "cloud.xyz"))
    model, = app.getModels()
    data = model.getData()
    p, q, c = data.points(), data.normals(), data.colors()
    assert type(data) is qorapi.Points and (p.dtype, q.dtype, c.dtype) == (np.float64, np.float32, np.float32)
    colours = rgb.astype(np.float32) / np.float32(255)
    assert np.array_equal(p, pts) and np.array_equal(q, nrm) and np.array_equal(c, colours)
    host.mark_points_in_box(model, (-500,) * 3, (500,) * 3)
    inside = np.all(np.abs(p) <= 500, axis=1)
    assert host.active_points(model).indices().tolist() == (np.flatnonzero(inside) + 1).tolist()
    outlive(model, data, (p, q, c), (pts, nrm, colours))
