"""A script's progress callback: it hears each fraction long work reports, exactly False
stops the work, and an exception is reported and stops it too."""
from conftest import run_python


def test_callback_hears_fractions_and_can_stop_the_work():
    out = run_python("""
        import sys, qorapi
        from qorapi import _testing as t, progress
        heard, unraisable = [], []
        sys.unraisablehook = lambda u: unraisable.append(repr(u.exc_value))
        with progress.reporting(heard.append) as fn:
            assert progress.get_callback() is fn
            print(t.run_progress(4, True), heard == t.progress_reports())
        print(progress.get_callback(), [round(f, 3) for f in heard])
        for fn in (lambda f: f < 0.45, lambda f: 0 if f > 0.45 else None):
            t.clear_progress_reports()
            with progress.reporting(fn):
                print(t.run_progress(10, True), t.run_progress(10, False))
        def boom(f):
            if f > 0.25:
                raise ValueError(f"too far: {f:.1f}")
        with progress.reporting(boom):
            print(t.run_progress(10, True), unraisable)
        try:
            progress.set_callback(3)
        except TypeError as e:
            print(e)
    """)
    assert out.returncode == 0, out.stderr
    assert out.stdout.splitlines() == [
        "(4, False) True",
        "None [0.0, 0.25, 0.5, 0.75, 1.0, 1.0]",
        # exactly False stops (marking only a cancellable reporter cancelled); 0 or None don't
        "(4, True) (4, False)",
        "(10, False) (10, False)",
        "(2, True) [\"ValueError('too far: 0.3')\"]",
        "a progress callback must be callable or None, not int",
    ]
