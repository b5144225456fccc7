"""The rules of the flat layer, on a module built by the same pipeline as _brindle."""
import pytest

import qorapi  # noqa: F401  (boots the host; the probe shares its type registry)
import _bindprobe as bp


# Proxy classes for the probe's types, so that owned objects are destroyed.
PROXIES = {name: type(name, (), {"__swig_destroy__": getattr(bp, "delete_" + name)})
           for name in ("Probe", "QorString")}
for name, cls in PROXIES.items():
    getattr(bp, name + "_swigregister")(cls)


@pytest.fixture
def probe():
    return bp.new_Probe()


OVERLOAD_ADD = (
    "Wrong number or type of arguments for overloaded function 'Probe_add'.\n"
    "  Possible C/C++ prototypes are:\n"
    "    Probe::add(char const *,QorString const &)\n"
    "    Probe::add(char const *,int)\n"
    "    Probe::add(char const *,double)\n")


def test_failed_overload_is_not_implemented_with_the_exact_text(probe):
    for args in ((None,), (1, 2)):
        with pytest.raises(NotImplementedError) as e:
            bp.Probe_add(probe, "k", *args)
        assert str(e.value) == OVERLOAD_ADD
    with pytest.raises(NotImplementedError, match="Probe::redraw\\(bool\\)\n    Probe::redraw\\(\\)\n$"):
        bp.Probe_redraw(probe, 1)


def test_overload_order_int_then_double_then_string(probe):
    assert [bp.Probe_add(probe, "a", v) for v in (1, True, 1.5, "x", b"x")] == [
        "a=int:1", "a=int:1", "a=double:1.500000", "a=str:x", "a=str:x"]
    assert bp.Probe_redraw(probe) == "redraw(full)"
    assert bp.Probe_redraw(probe, False) == "redraw(quick)"


def test_none_for_an_overloaded_reference_is_a_null_reference(probe):
    with pytest.raises(ValueError) as e:
        bp.Probe_run(probe, None)
    assert str(e.value) == ("invalid null reference in method 'Probe_run', "
                            "argument 2 of type 'QorString &'")
    s = bp.makeString("héllo")
    assert bp.Probe_run(probe, s) == "run(héllo)"
    assert bp.Probe_run(probe) == "run()"
    with pytest.raises(NotImplementedError):
        bp.Probe_run(probe, "a str is not a QorString object")


# (function, arguments after the probe (None for self: no probe), error, exact text)
WRONG_ARGUMENTS = [
    *((bp.Probe_flag, (bad,), TypeError, "in method 'Probe_flag', argument 2 of type 'bool'")
      for bad in (1, 0, None, "x", 1.0)),
    *((bp.Probe_byId, (big,), OverflowError, "in method 'Probe_byId', argument 2 of type 'int'")
      for big in (2**31, 2**40)),
    (bp.Probe_byId, (1.5,), TypeError, "in method 'Probe_byId', argument 2 of type 'int'"),
    (bp.Probe_byId, None, TypeError, "in method 'Probe_byId', argument 1 of type 'Probe *'"),
]


@pytest.mark.parametrize("function, args, error, text", WRONG_ARGUMENTS)
def test_wrong_arguments_name_the_function_the_argument_and_its_type(probe, function, args,
                                                                     error, text):
    with pytest.raises(error) as e:
        function(*((None, 1) if args is None else (probe, *args)))
    assert str(e.value) == text


def test_accepted_arguments_and_wrong_selves(probe):
    assert bp.Probe_flag(probe, True) is True
    assert bp.Probe_byId(probe, True) == 1 and bp.Probe_byId(probe, -2**31) == -2**31
    assert bp.Probe_real(probe, 3) == 3.0
    with pytest.raises(TypeError, match="argument 1 of type 'Probe \\*'"):
        bp.Probe_byId(bp.makeString("x"), 1)
    assert isinstance(bp.makeString("x"), PROXIES["QorString"]), "results come as their proxy"
    with pytest.raises(TypeError):
        bp.Probe_byId(probe)  # too few arguments


def test_string_arguments_and_results(probe):
    for text in ("", "plain", "é", "a\U0001F600b", "\uffff", "\u07ff\u0800"):
        assert bp.Probe_echo(probe, text) == text
    assert bp.Probe_echo(probe, "a\x00b") == "a", "texts end at their first NUL"
    assert bp.Probe_units(probe, "a\U0001F600") == 3, "astral characters are surrogate pairs"
    assert bp.Probe_units(probe, "\ud800") == 1, "a lone surrogate passes as one unit"
    assert bp.Probe_echo(probe, "\ud800x") == "\ud800x"
    for bad in (None, 5, ["x"]):
        with pytest.raises(TypeError) as e:
            bp.Probe_echo(probe, bad)
        assert str(e.value) == "in method 'Probe_echo', argument 2 of type 'QorString const &'"


def test_calls_inside_a_call_and_failed_calls_give_their_string_slots_back(probe):
    inner = lambda: [bp.Probe_echo(probe, text) for text in ("first", "second")]  # noqa: E731
    assert bp.Probe_around(probe, "outer", inner) == "outer"

    def boom():
        raise ValueError("in the callback")

    for _ in range(30):
        with pytest.raises(RuntimeError, match="it failed"):
            bp.Probe_around(probe, "x", boom)
    assert bp.Probe_pooled(probe) == 0


def test_platform_exceptions_map_by_code(probe):
    for code, error in [(1, AttributeError), (2, AttributeError), (3, AttributeError),
                        (4, AttributeError), (5, RuntimeError), (6, RuntimeError)]:
        with pytest.raises(error, match=r"^Error in class Probe: it failed.$"):
            bp.Probe_fail(probe, code)
    with pytest.raises(RuntimeError, match="internal error in Probe_failOther: boom"):
        bp.Probe_failOther(probe)
    assert bp.Probe_byId(probe, 3) == 3, "the module works on after an error"


def test_pointer_objects(probe):
    assert probe.own() is True or probe.own() == 1
    assert repr(probe).startswith("<Swig Object of type 'Probe *' at 0x")
    assert int(probe) != 0
    other = bp.new_Probe()
    assert probe != other and probe == probe
    with pytest.raises(TypeError):
        probe < other  # noqa: B015
    bp.delete_Probe(other)
    assert other.own() in (0, False), "delete clears ownership first"
