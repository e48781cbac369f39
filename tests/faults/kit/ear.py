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
_ends = selectors.DefaultSelector()
_events = selectors.DefaultSelector()
_events.register(_files, selectors.EVENT_READ)
_events.register(_ends.fileno(), selectors.EVENT_READ)


def listen_to(file: pathlib.Path) -> None:
    if _system.inotify_add_watch(_files, os.fsencode(file), _MODIFIED) < 0:
        raise OSError(ctypes.get_errno(), f"no watch on {file}")


def watch_end_of(process: subprocess.Popen) -> None:
    _ends.register(os.pidfd_open(process.pid), selectors.EVENT_READ)


def wait_until(condition, within: float):
    """What `condition` returned once it was true; its last answer when the time is up. It is asked again whenever a
    program has written something or has ended."""
    deadline = time.monotonic() + within
    while not (answer := condition()) and (left := deadline - time.monotonic()) > 0:
        for key, _ in _events.select(left):
            if key.fd == _files:
                os.read(_files, 65536)
            else:
                _hear_ends(0)
    return answer


def ask_until(condition, within: float, every: float = 0.02):
    """The same for what nobody tells of, such as the kernel's counts: asked again every so many seconds, and at once
    when a program has ended."""
    deadline = time.monotonic() + within
    while not (answer := condition()) and (left := deadline - time.monotonic()) > 0:
        _hear_ends(min(every, left))
    return answer


def _hear_ends(within: float) -> None:
    for key, _ in _ends.select(within):
        _ends.unregister(key.fd)
        os.close(key.fd)
