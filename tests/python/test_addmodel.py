"""Script commands: AddModel."""
import pytest

import qorapi


def test_failures_and_feature_model():
    cmd = qorapi.AddModel()
    assert cmd.object is None
    with pytest.raises(RuntimeError, match=r"^Error in class AddModel::run: No model is set\.$"):
        cmd.run()
    with pytest.raises(RuntimeError, match=r"^Error in class : Value for property .type. is out of bounds .8."):
        cmd.type = 8
    with pytest.raises(RuntimeError, match="No mesh, points, curves or features is set"):
        cmd.run(qorapi.DataObject("plain"), 0)
    assert cmd.object is None
    cmd.type = 7
    cmd.name = "feat"
    assert cmd.run() == 1
    made = cmd.object
    assert made is not None and made.name == "feat"
    with pytest.raises(RuntimeError):
        cmd.run(None, 0)
    assert cmd.object is made


def test_a_scripts_own_mesh_and_points_become_models():
    app = qorapi.Application.instance()
    app.newFile()
    verts = [(0, 0, 0), (4, 0, 0), (4, 3, 0), (0, 3, 2)]
    mesh = qorapi.make_mesh(verts, [(0, 1, 2), (0, 2, 3)], "plate")
    assert (mesh.numVertices, mesh.numTriangles) == (4, 2)
    assert qorapi.AddModel(model=mesh, type=4).run() == 1
    with pytest.raises(RuntimeError, match="mesh object already exists in model"):
        qorapi.AddModel(model=mesh).run()
    cloud = qorapi.make_points([(1, -1, 5), (2, 2, 2)], "dots")
    assert qorapi.AddModel(model=cloud, active=0).run() == 1
    plate, dots = app.getModels()
    assert (plate.type, dots.type, plate.getData().numTriangles) == (qorapi.Model_Mesh, qorapi.Model_Points, 2)
    assert list(plate.boundingBox.minimum) + list(plate.boundingBox.maximum) == [0, 0, 0, 4, 3, 2]
    assert list(dots.boundingBox.minimum) + list(dots.boundingBox.maximum) == [1, -1, 2, 2, 2, 5]
    with pytest.raises(ValueError, match="triangle 0 names vertex 9, but there are 4 vertices"):
        qorapi.make_mesh(verts, [(0, 1, 9)])
    app.newFile()
