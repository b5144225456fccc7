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
