"""Waits for what programs write into their files and for their ends, without asking again and again. For one thread."""

import ctypes
import os
import pathlib
import selectors
import subprocess
import time

_MODIFIED = 0x2  # inotify(7)

_system = ctypes.CDLL(None, use_errno=True)
_files = _system.inotify_init1(os.O_NONBLOCK | os.O_CLOEXEC)
_events = selectors.DefaultSelector()
_events.register(_files, selectors.EVENT_READ)


def listen_to(file: pathlib.Path) -> None:
    if _system.inotify_add_watch(_files, os.fsencode(file), _MODIFIED) < 0:
        raise OSError(ctypes.get_errno(), f"no watch on {file}")


def watch_end_of(process: subprocess.Popen) -> None:
    _events.register(os.pidfd_open(process.pid), selectors.EVENT_READ)


def wait_until(condition, within: float):
    """What `condition` returned once it was true; its last answer when the time is up. It is asked again whenever a
    program has written something or has ended."""
    deadline = time.monotonic() + within
    while not (answer := condition()) and (left := deadline - time.monotonic()) > 0:
        for key, _ in _events.select(left):
            if key.fd == _files:
                os.read(_files, 65536)
            else:
                _events.unregister(key.fd)
                os.close(key.fd)
    return answer
