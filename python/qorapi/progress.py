"""Progress of long work, for scripts.

Long operations of the system (reading and writing documents, imports) report how far they
have come to the host's progress display. A script can follow those reports, and stop the
work, with a callback that takes the fraction done (a float from 0.0 to 1.0)::

    def show(fraction):
        print(f"{fraction:.0%}")
        return not user_pressed_escape()   # exactly False stops the work

    with qorapi.progress.reporting(show):
        qorapi.load("big.wex")

The callback runs on the thread doing the work, under the interpreter lock. Returning
exactly ``False`` asks the work to stop: the display answers "stop" to that report and
says it is cancelled until the next run starts (a report of 0.0) or the display is reset.
Any other result, ``None`` included, lets the work go on. An exception raised by the
callback goes to ``sys.unraisablehook`` and counts as a stop. The display shows at most
one report per thousandth, so a callback is called at most about a thousand times a run.
"""
import contextlib

from . import _qorapi


def set_callback(fn):
    """Installs `fn(fraction)` as the progress callback, replacing any other, and returns
    the one it replaces (or None). ``set_callback(None)`` removes the callback. TypeError
    when `fn` is neither callable nor None."""
    return _qorapi.set_progress_callback(fn)


def get_callback():
    """The progress callback in place, or None."""
    return _qorapi.progress_callback()


@contextlib.contextmanager
def reporting(fn):
    """Installs `fn` as the progress callback for the body of a ``with`` block and puts
    back the callback that was in place before, however the block ends."""
    previous = set_callback(fn)
    try:
        yield fn
    finally:
        set_callback(previous)
