"""The document layer through the flat table and the qorapi classes, without a document."""
import re

import pytest

import _brindle
import qorapi
from qorapi import _testing, host

FLT_MAX = 3.4028234663852886e38
ROWS = {
    "ModelManager": "instance addObject removeObject addFeature removeFeature "
                    "removeCoordinateSystem getNumObjects getNumFeatures",
    "Application": "instance redraw refresh updateGfx rebuildGfx updateGUI displayUnits "
                   "activeObjects clearNamedReference setVisible isVisible setSelected isSelected "
                   "getModels open save importFile newFile saveAs createReport compareFeatures "
                   "enableSensitivityChecks activeObject setActiveObject addActiveObject "
                   "getModelByName getModelById newGroup namedReferenceObject "
                   "setNamedReferenceObject isNamedReferenceObject getDefaultCorrespondence "
                   "getCADPolyCorrespondence",
    "ModelRouting": "getVisible setVisible getName setName getId getBoundingBox "
                    "getMinBoundingBox getMaxBoundingBox isGroup isInGroup getPhase groupModels "
                    "groupParent",
    "Model": "getPrimVisible setPrimVisible typeString transform addToGroup removeFromGroup",
    "NameChangerAction": "handleEvent",
}


def test_the_table_holds_exactly_the_document_rows():
    names = {n for n in dir(_brindle) if callable(getattr(_brindle, n))
             and re.match(r"(new_|delete_)?(%s)(_|$)" % "|".join(ROWS), n)}
    expected = {f"{c}_{op}" for c, ops in ROWS.items() for op in ops.split()}
    expected |= {f"{p}{c}" for c in ROWS for p in ("new_", "delete_")}
    expected |= {f"{c}_swigregister" for c in ROWS}
    assert names == expected
    assert _brindle.find_(None) is None


def test_argument_rules_and_texts():
    app, m = qorapi.Application(), qorapi.Model()
    by_bool = _brindle.Application_getModelById(app, True)  # a bool is an int
    assert by_bool.this == _brindle.Application_getModelById(app, 1).this
    cases = [
        (lambda: _brindle.Application_setVisible(app, m, 1), TypeError,
         "in method 'Application_setVisible', argument 3 of type 'bool'"),
        (lambda: _brindle.Application_getModelByName(m, "a"), TypeError,
         "in method 'Application_getModelByName', argument 1 of type 'Application *'"),
        (lambda: _brindle.Model_transform(m, None), ValueError,
         "invalid null reference in method 'Model_transform', argument 2 of type 'QorMatrix const &'"),
        (lambda: _brindle.Application_redraw(app, 1), NotImplementedError,
         "Wrong number or type of arguments for overloaded function 'Application_redraw'.\n"
         "  Possible C/C++ prototypes are:\n    Application::redraw(bool)\n"
         "    Application::redraw()\n"),
    ]
    for call, error, text in cases:
        with pytest.raises(error) as e:
            call()
        assert str(e.value) == text
    for label, call in [("isVisible", app.isSelected), ("setVisible", lambda o: app.setSelected(o, True)),
                        ("isVisible", app.isVisible), ("refresh", app.refresh)]:
        with pytest.raises(RuntimeError) as e:
            call(m if label != "refresh" else qorapi.DataObject())
        assert str(e.value) == f"Error in class {label}: object not found or not supported.."


def test_an_unbound_model_reads_neutral_values():
    m = qorapi.Model()
    assert isinstance(m, qorapi.DataObject) and m.type_string() == "qorapp.brindle.Model"
    assert (m.id, m.name, m.visible, m.type, m.isGroup, m.isInGroup) == (-1, "", 0, 0, False, False)
    assert m.groupModels is None and m.groupParent is None
    assert tuple(m.minBoundingBox) == (FLT_MAX,) * 3 and tuple(m.maxBoundingBox) == (-FLT_MAX,) * 3
    assert tuple(m.boundingBox) == (FLT_MAX,) * 3 + (-FLT_MAX,) * 3
    m.name = "x"
    m.visible = 1
    assert (m.name, m.visible) == ("", 0), "without a host nothing keeps the value"
    assert m.typeString() == "qorapp.brindle.Model" and not m.getPrimVisible("PrimEdges")
    assert not m.transform(qorapi.wrapped.make_QorMatrix()) and not m.removeFromGroup()
    assert not m.addToGroup(qorapi.Model()) and _brindle.find_(m) is None
    assert "PrimSplineNonG1VertVectors." in qorapi.Model.__doc__
    assert m.this.own() and _brindle.Model_typeString(m.this) == "qorapp.brindle.Model"
    r = qorapi.ModelRouting()
    assert (r.getId(), r.getName(), r.getPhase(), r.groupModels(), r.groupParent()) == (-1, "", 0, None, None)
    assert tuple(r.getBoundingBox().value()) == tuple(m.boundingBox)
    assert tuple(r.getMaxBoundingBox().value()) == (-FLT_MAX,) * 3


def test_name_changer_action_copies_a_name_to_exactly_one_object():
    action, a, b = qorapi.NameChangerAction(), qorapi.DataObject("a"), qorapi.DataObject("b")
    args = _testing.event_args_named("new")
    for objects in ([a, b], [None], []):
        action.handleEvent(None, "any", args, objects)
    assert (a.name, b.name) == ("a", "b")
    action.handleEvent(None, "any", args, [a, 5])  # what doesn't convert is left out
    assert a.name == "new"


def test_application_and_manager_on_an_empty_document():
    app = qorapi.Application.instance()
    assert app is not None and qorapi.Application.instance().this == app.this
    assert app.getModels() == [] and app.activeObjects() == [] and app.activeObject() is None
    assert app.getModelByName("a") is None
    assert app.displayUnits() == 4 and app.compareFeatures(1, 2, 3) is True
    for enable, stored in ((False, 1), (True, 0)):
        app.enableSensitivityChecks(enable)
        assert host.settings_get("GUI/DisableInCommandSensitivity") == stored
    mm = qorapi.ModelManager.instance()
    assert (mm.numObjects, mm.numFeatures, mm.addObject(qorapi.DataObject(), True)) == (0, 0, 0)
    assert mm.this == qorapi.ModelManager.instance().this
    assert qorapi.ModelManager().getNumObjects() == 0


def test_models_have_one_script_object_and_die_with_their_last_holder():
    m = qorapi.Model()
    assert qorapi.DataObject(part=m).part is m, "a model read back is its one script object"
    objects, actions = _testing.database_counts()
    for _ in range(200):
        n = qorapi.Model()
        _brindle.delete_Model(n.this)
        del n
        qorapi.NameChangerAction()
    assert _testing.database_counts() == (objects, actions)
