"""A model's arrays as numpy views: the host's values, read-only, outliving the document."""
import gc

import numpy as np
import pytest

import qorapi
from qorapi import host

RNG = np.random.default_rng(5)
APP = qorapi.Application.instance()


def check_and_close(views, expected):
    """Exact (dtype too), not owning, read-only, and still exact after the document is closed."""
    assert [(a.dtype, a.shape) for a in views] == [(b.dtype, b.shape) for b in expected]
    for a, b in zip(views, expected):
        assert np.array_equal(a, b) and not a.flags.owndata
        with pytest.raises(ValueError):
            a[0, 0] = 1
        with pytest.raises(ValueError):
            a.flags.writeable = True
    APP.newFile()
    gc.collect()
    assert all(np.array_equal(a, b) for a, b in zip(views, expected))


def test_mesh_vertices_and_triangles():
    APP.newFile()
    verts, tris = RNG.normal(size=(500, 3)) * 1e6, RNG.integers(0, 500, (300, 3), np.int32)
    qorapi.AddModel(model=qorapi.make_mesh(verts, tris, "m")).run()
    data = (model := APP.getModels()[-1]).getData()
    v, t = data.vertices(), data.triangles()
    assert type(data) is qorapi.Mesh and np.shares_memory(v, data.vertices())
    assert data.normals() is None and data.colors() is None
    host.mark_triangles_in_box(model, (-1.5e6,) * 3, (1.5e6,) * 3)
    inside = np.flatnonzero(np.all(np.abs(v[t]) <= 1.5e6, axis=(1, 2))) + 1
    assert host.marked_triangles(model).indices().tolist() == inside.tolist()
    del model, data
    check_and_close([v, t], [verts, tris])


def test_imported_points_normals_and_colours(tmp_path):
    pts, nrm = RNG.normal(size=(400, 3)) * 1e3, RNG.normal(size=(400, 3))
    nrm = (nrm / np.linalg.norm(nrm, axis=1, keepdims=True)).astype(np.float32)
    rgb = RNG.integers(0, 256, (400, 3))
    rows = np.hstack([pts, nrm.astype(np.float64), rgb]).tolist()
    (tmp_path / "cloud.xyz").write_text("".join(" ".join(map(repr, r)) + "\n" for r in rows))
    APP.newFile()
    assert APP.importFile(str(tmp_path / "cloud.xyz"))
    data = (model := APP.getModels()[-1]).getData()
    views = [data.points(), data.normals(), data.colors()]
    assert type(data) is qorapi.Points and np.shares_memory(views[2], data.colors())
    host.mark_points_in_box(model, (-500,) * 3, (500,) * 3)
    inside = np.flatnonzero(np.all(np.abs(views[0]) <= 500, axis=1)) + 1
    assert host.active_points(model).indices().tolist() == inside.tolist()
    del model, data
    check_and_close(views, [pts, nrm, rgb.astype(np.float32) / np.float32(255)])
