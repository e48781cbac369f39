"""A program that a story started, with what it said in files."""

import os
import pathlib
import signal
import subprocess

from kit import confinement, ear


class Program:
    def __init__(self, name: str, command: list[str], directory: pathlib.Path, environment: dict[str, str]) -> None:
        self.name = name
        self.output = directory / f"{name}.out"
        self.errors = directory / f"{name}.err"
        with open(self.output, "wb") as out, open(self.errors, "wb") as err:
            self.process = subprocess.Popen(
                command, stdin=subprocess.PIPE, stdout=out, stderr=err, env=environment,
                start_new_session=True, preexec_fn=confinement.end_with_parent)
        self.bytes_read = 0
        ear.listen_to(self.output)
        ear.listen_to(self.errors)
        ear.watch_end_of(self.process)

    @property
    def pid(self) -> int:
        return self.process.pid

    def running(self) -> bool:
        return self.process.poll() is None

    def said(self) -> str:
        return self.output.read_text(encoding="utf-8", errors="replace")

    def complained(self) -> str:
        return self.errors.read_text(encoding="utf-8", errors="replace")

    def tell(self, line: str) -> None:
        """One line to its standard input."""
        self.process.stdin.write((line + "\n").encode())
        self.process.stdin.flush()

    def next_line(self, within: float) -> str | None:
        """The next one on its standard output; None when there is none in time, or when it has ended."""
        ear.wait_until(lambda: self._line().endswith(b"\n") or not self.running(), within)
        line = self._line()
        if not line.endswith(b"\n"):
            return None
        self.bytes_read += len(line)
        return line.decode(errors="replace").removesuffix("\n")

    def _line(self) -> bytes:
        with open(self.output, "rb") as file:
            file.seek(self.bytes_read)
            return file.readline()

    def kill(self) -> None:
        """At once, together with everything it started; the kernel closes its sockets with a FIN or RST."""
        self._signal(signal.SIGKILL)
        self.process.wait()

    def freeze(self) -> None:
        self._signal(signal.SIGSTOP)

    def end(self, number: int = signal.SIGTERM, within: float = 15.0) -> int | None:
        """Asks it to end; its exit code, or None when it had to be killed."""
        if self.running():
            self._signal(number, whole_group=False)
        try:
            return self.wait(within)
        finally:
            self._signal(signal.SIGKILL)

    def wait(self, within: float) -> int | None:
        ear.wait_until(lambda: not self.running(), within)
        return self.process.poll()

    def _signal(self, number: int, whole_group: bool = True) -> None:
        try:
            if whole_group:
                os.killpg(self.process.pid, number)
            else:
                os.kill(self.process.pid, number)
        except (ProcessLookupError, PermissionError):
            pass

    # What the kernel counts for it.

    def resident_kb(self) -> int:
        return self._status("RssAnon") + self._status("RssShmem")

    def threads(self) -> int:
        return self._status("Threads")

    def descriptors(self) -> int:
        return len(os.listdir(f"/proc/{self.pid}/fd"))

    def _status(self, key: str) -> int:
        with open(f"/proc/{self.pid}/status", encoding="ascii", errors="replace") as file:
            for line in file:
                if line.startswith(key + ":"):
                    return int(line.split()[1])
        return 0
