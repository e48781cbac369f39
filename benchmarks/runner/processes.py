"""Programs that are started, watched and measured. None outlives this one."""

import contextlib
import ctypes
import functools
import json
import os
import pathlib
import queue
import signal
import subprocess
import threading
import time

_PR_SET_PDEATHSIG = 1
_libc = ctypes.CDLL(None, use_errno=True)
_running: list["Child"] = []


class Failed(Exception):
    """A program did not do what it was started for."""


def _begin(niceness: int) -> None:
    _libc.prctl(_PR_SET_PDEATHSIG, signal.SIGKILL)  # with its parent
    with contextlib.suppress(PermissionError):
        os.nice(niceness)


class Child:
    """A program in a process group of its own, spoken to in lines. It has a niceness below zero where it may."""

    def __init__(self, command: list, niceness: int = 0, **environment: str) -> None:
        self.name = pathlib.Path(str(command[0])).name
        self.process = subprocess.Popen([str(word) for word in command], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=subprocess.PIPE, text=True, start_new_session=True,
                                        preexec_fn=functools.partial(_begin, niceness), env=os.environ | environment)
        _running.append(self)
        self.pid = self.process.pid
        self.lines: queue.Queue = queue.Queue()  # None at the end of each of its two streams
        self.ended_streams = 0
        self.output: list[str] = []
        self.errors: list[str] = []
        self.readers = [threading.Thread(target=self._read, args=(stream,), daemon=True)
                        for stream in (self.process.stdout, self.process.stderr)]
        for reader in self.readers:
            reader.start()

    def _read(self, stream) -> None:
        for line in stream:
            (self.errors if stream is self.process.stderr else self.output).append(line)
            self.lines.put(line)
        self.lines.put(None)

    def wait_for_line(self, fits, limit: float) -> str:
        """The next line, of either stream, that fits."""
        deadline = time.monotonic() + limit
        while True:
            try:
                line = self.lines.get(timeout=max(0.01, deadline - time.monotonic()))
            except queue.Empty:
                raise Failed(f"{self.name} did not answer in {limit:.0f} s: {self.last_words()}") from None
            if line is None:
                self.ended_streams += 1
                if self.ended_streams == len(self.readers):
                    raise Failed(f"{self.name} ended with {self.process.wait(5)}: {self.last_words()}")
            elif fits(line):
                return line

    def wait_for_event(self, event: str, limit: float) -> dict:
        def fits(line: str) -> bool:
            try:
                return json.loads(line).get("event") == event
            except (ValueError, AttributeError):
                return False
        return json.loads(self.wait_for_line(fits, limit))

    def say(self, line: str) -> None:
        try:
            self.process.stdin.write(line + "\n")
            self.process.stdin.flush()
        except OSError:
            raise Failed(f"{self.name} ended: {self.last_words()}") from None

    def output_at_end(self, limit: float) -> str:
        """All of its standard output, when it ends by itself and well."""
        try:
            status = self.process.wait(limit)
        except subprocess.TimeoutExpired:
            raise Failed(f"{self.name} did not end in {limit:.0f} s") from None
        for reader in self.readers:
            reader.join()
        _running.remove(self)
        if status != 0:
            raise Failed(f"{self.name} ended with {status}: {self.last_words()}")
        return "".join(self.output)

    def last_words(self) -> str:
        return " ".join("".join(self.errors[-3:]).split()) or "it said nothing"

    def end(self) -> None:
        """Ends it and what it started: kindly at first."""
        if self not in _running:
            return
        _running.remove(self)
        try:
            self.process.stdin.close()
        except OSError:
            pass
        for number, patience in ((signal.SIGTERM, 5.0), (signal.SIGKILL, 5.0)):
            try:
                os.killpg(self.pid, number)
            except ProcessLookupError:
                break
            try:
                self.process.wait(patience)
                break
            except subprocess.TimeoutExpired:
                continue
        try:
            os.killpg(self.pid, signal.SIGKILL)  # what it left behind
        except ProcessLookupError:
            pass
        self.process.wait()


def end_all() -> None:
    for child in list(_running):
        child.end()


def descendants(pid: int) -> list[int]:
    children: dict[int, list[int]] = {}
    for entry in pathlib.Path("/proc").iterdir():
        if entry.name.isdigit():
            try:
                parent = int((entry / "stat").read_text().rpartition(")")[2].split()[1])
            except (OSError, IndexError):
                continue
            children.setdefault(parent, []).append(int(entry.name))
    found = []
    waiting = [pid]
    while waiting:
        below = children.get(waiting.pop(), [])
        found += below
        waiting += below
    return found


class Usage:
    """What a set of processes uses between two moments."""

    def __init__(self, pids: list[int]) -> None:
        self.pids = pids
        self.before = {pid: _cpu_seconds(pid) for pid in pids}
        self.faults_before = sum(_faults(pid) for pid in pids)
        self.begun = time.monotonic()

    def cpu_percent(self) -> float:
        """Of one core."""
        used = sum(max(0.0, _cpu_seconds(pid) - before) for pid, before in self.before.items())
        return 100 * used / (time.monotonic() - self.begun)

    def faults(self) -> int:
        return sum(_faults(pid) for pid in self.pids) - self.faults_before


def _cpu_seconds(pid: int) -> float:
    """Of all its threads, ended ones too; of one that is gone, nothing more is known."""
    try:
        return time.clock_gettime((~pid << 3) | 2)  # CPUCLOCK_SCHED of clock_getcpuclockid(3)
    except OSError:
        return 0.0


def _faults(pid: int) -> int:
    try:
        fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
    except OSError:
        return 0
    return int(fields[7]) + int(fields[9])


def resident_mb(pid: int) -> float:
    return _status(pid, "VmRSS") / 1024


def threads(pid: int) -> int:
    return _status(pid, "Threads")


def _status(pid: int, name: str) -> int:
    for line in pathlib.Path(f"/proc/{pid}/status").read_text().splitlines():
        if line.startswith(name + ":"):
            return int(line.split()[1])
    raise Failed(f"process {pid} tells no {name}")


def proportional_mb(pids: list[int]) -> float:
    """The memory of several processes, what they share counted once."""
    kib = 0
    for pid in pids:
        try:
            rollup = pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text()
        except OSError:
            continue
        kib += sum(int(line.split()[1]) for line in rollup.splitlines() if line.startswith("Pss:"))
    return kib / 1024
