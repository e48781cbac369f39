"""What a story is given: places, programs that end with it, namespaces, and how long it may take."""

import os
import pathlib
import sys
import time

from kit import ear, namespaces
from kit.program import Program


class Context:
    def __init__(self, root: pathlib.Path, directory: pathlib.Path, seconds: float | None, short: bool) -> None:
        self.root = root
        self.build = root / "build/release"
        self.bin = self.build / "bin"
        self.directory = directory  # of this story alone; empty at first, removed afterwards unless kept
        self.seconds = seconds      # as asked on the command line
        self.short = short
        self.programs: list[Program] = []

    def length(self, usual: float, short: float) -> float:
        """Seconds that the main part of the story lasts."""
        if self.seconds is not None:
            return self.seconds
        return short if self.short else usual

    def start(self, name: str, command: list, namespace: "namespaces.Namespace | None" = None,
              environment: dict[str, str] | None = None) -> Program:
        """Standard output and errors go to NAME.out and NAME.err in the story's directory."""
        words = [str(word) for word in command]
        if namespace is not None:
            words = namespace.inside(words)
        program = Program(name, words, self.directory, {**os.environ, **(environment or {})})
        self.programs.append(program)
        return program

    def namespace(self, name: str) -> namespaces.Namespace:
        return namespaces.hold(self.start, name)

    def note(self, text: str) -> None:
        """For whoever watches; not part of the result."""
        print(f"  {text}", file=sys.stderr, flush=True)

    def spend(self, seconds: float) -> None:
        """Lets the programs run for so long, because that is what is measured; the wait ends early when one dies."""
        watched = [program for program in self.programs if program.running()]
        ear.wait_until(lambda: any(not program.running() for program in watched), seconds)

    def end(self) -> None:
        for program in reversed(self.programs):
            program.end(within=5)
        self.programs.clear()

    @staticmethod
    def now_us() -> int:
        """The steady clock, as the programs have it."""
        return time.clock_gettime_ns(time.CLOCK_MONOTONIC) // 1000
