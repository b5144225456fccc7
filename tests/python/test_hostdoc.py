"""The reference host's document levers: sections, the builder switch, the unit answer,
correspondences and the call log that records them."""
import pytest

import qorapi
from qorapi import _testing, host


def test_levers_reach_the_host_document_and_its_log():
    _testing.clear_document()
    host.clear_call_log()
    first = _testing.add_section("cut")
    assert _testing.add_section("cut2") == first + 1
    _testing.add_correspondence(first, "DefaultCorrespondence 1")
    with pytest.raises(LookupError, match="no object with id 999"):
        _testing.add_correspondence(999, "x")
    _testing.set_builder_fails(False)
    _testing.set_unit_answer(7)
    assert host.call_log() == ["sub1.setName DefaultCorrespondence 1"]
    _testing.clear_document()
    assert host.call_log()[-1] == "doc.clear"
    assert qorapi is not None
