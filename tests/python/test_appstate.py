"""Live handles on the host's settings store."""
import pytest

import qorapi
import _brindle


# (handle class, value written, value read back, what a missing key reads)
KINDS = [(qorapi.IntAppState, -7, -7, 0), (qorapi.FloatAppState, 3, 3.0, 0.0),
         (qorapi.StringAppState, "naïve \U0001F600", "naïve \U0001F600", ""),
         (qorapi.CStringAppState, "plain", "plain", "")]


@pytest.mark.parametrize("cls, value, back, missing", KINDS)
def test_round_trips_and_missing_keys_of_every_kind(cls, value, back, missing):
    handle = cls("Test/" + cls.__name__)
    handle.setValue(value)
    read, empty = handle.getValue(), cls("Missing/" + cls.__name__).getValue()
    if cls is qorapi.CStringAppState:  # narrow texts come back as owned QorCString objects
        assert isinstance(read, qorapi.QorCString) and read.thisown and empty.isEmpty()
        read, empty = str(read), str(empty)
    assert (read, type(read), empty) == (back, type(back), missing)


def test_subscription_is_decided_at_construction():
    h = qorapi.host
    assert not h.settings_has_key("Sub/Later")
    early = qorapi.IntAppState("Sub/Later")
    assert h.settings_receiver_count("Sub/Later") == 0
    early.setValue(3)  # still writes
    assert h.settings_has_key("Sub/Later") and early.getValue() == 3
    late = qorapi.IntAppState("Sub/Later")
    assert h.settings_receiver_count("Sub/Later") == 1
    h.settings_set_int("Sub/Later", 9)  # the host changes it: the handle reads it live
    assert late.getValue() == 9 and early.getValue() == 9
    del late
    assert h.settings_receiver_count("Sub/Later") == 0
    late = qorapi.IntAppState("Sub/Later")
    h.settings_remove_key("Sub/Later")  # deleting a handle on a removed key is harmless
    assert not h.settings_has_key("Sub/Later")
    del late, early
    h.settings_set_int("Sub/Later", 2)  # no receiver is called any more
    assert h.settings_receiver_count("Sub/Later") == 0


def test_wrong_arguments_name_function_and_type():
    h = qorapi.IntAppState("Args/Int")
    with pytest.raises(TypeError, match="in method 'IntAppState_setValue', argument 2 of type 'int'"):
        h.setValue("3")
    with pytest.raises(TypeError, match="argument 1 of type 'Platform::IntAppState \\*'"):
        _brindle.IntAppState_getValue(qorapi.FloatAppState("Args/Float"))
    with pytest.raises(TypeError, match="argument 2 of type 'QorCString const &'"):
        qorapi.CStringAppState("Args/C").setValue(b"bytes")
    # A null key is a key like any other for the store: nothing breaks.
    assert qorapi.IntAppState(None).getValue() == 0
