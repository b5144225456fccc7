"""Headless script runner: ``python3 -m qorapi.run SCRIPT.py [ARGS...]``.

Boots the reference host, runs the script as __main__ with sys.argv set to the script and
its arguments, and exits 0 on success. On failure the Python traceback goes to standard
error and the exit status is 1 (or the script's own SystemExit code); an interrupt
(Ctrl-C) exits 130, as a shell reports a process that SIGINT ended.
"""
import os
import runpy
import sys
import traceback


def main(argv=None):
    """Runs one script; returns the process exit status."""
    argv = list(sys.argv[1:] if argv is None else argv)
    if not argv:
        sys.stderr.write("usage: python3 -m qorapi.run SCRIPT.py [ARGS...]\n")
        return 2
    script = argv[0]
    if not os.path.isfile(script):
        sys.stderr.write("qorapi.run: no such script: %s\n" % script)
        return 2
    import qorapi  # noqa: F401  (boots the host before the script runs)

    sys.argv = argv
    sys.path.insert(0, os.path.dirname(os.path.abspath(script)))
    try:
        runpy.run_path(script, run_name="__main__")
    except SystemExit as e:
        code = e.code
        if code is None:
            return 0
        if isinstance(code, int):
            return code
        sys.stderr.write("%s\n" % code)
        return 1
    except KeyboardInterrupt:
        traceback.print_exc()
        return 130
    except BaseException:  # noqa: B902  (report anything the script raised)
        traceback.print_exc()
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
