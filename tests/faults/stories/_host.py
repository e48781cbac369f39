"""A host that does what a story tells it, line by line, and the phones it connects to."""

import json

from kit import ear

TARGETS = ("faults_host", "kestrel", "petrel")


class Host:
    def __init__(self, context, namespace, environment=None) -> None:
        self.program = context.start("host", [context.bin / "faults_host"], namespace, environment)
        self.obey("show nobody")

    def obey(self, line: str) -> dict:
        self.program.tell(line)
        answer = self.program.next_line(within=20)
        if answer is not None:
            return json.loads(answer)
        what = f"does not answer to '{line}' any more"
        if not self.program.running():
            what = f"has ended with {self.program.process.returncode}"
        raise RuntimeError(f"the host {what}: {self.program.complained()[-500:]}")

    def pictures(self, address: str) -> int:
        return self.obey(f"show {address}").get("stampedPictures", 0)

    def wait_for_pictures(self, address: str, count: int = 1, within: float = 20) -> bool:
        """So many more than there are now."""
        wanted = self.pictures(address) + count
        return bool(ear.ask_until(lambda: self.pictures(address) >= wanted, within))

    def first_picture(self, address: str, within: float = 20) -> bool:
        return bool(ear.ask_until(lambda: self.pictures(address) > 0, within))


def phone(context, name: str, namespace, address: str, *arguments: str):
    """A simulated phone that listens."""
    program = context.start(name, [context.bin / "petrel", "simulate", "--listen", address, "--no-announce",
                                   *arguments], namespace)
    if not ear.wait_until(lambda: "listening" in program.said() + program.complained() or not program.running(), 30) \
            or not program.running():
        raise RuntimeError(f"the phone does not listen: {program.complained()[-500:]}")
    return program


SMALL = ("--size", "320x180")


class Resources:
    """What a program holds of the system."""

    def __init__(self, program) -> None:
        self.threads = program.threads()
        self.descriptors = program.descriptors()
        self.resident_kb = program.resident_kb()

    def __str__(self) -> str:
        return f"{self.threads} threads, {self.descriptors} descriptors, {self.resident_kb} KiB"


def settled(program, limit: Resources, within: float = 30) -> Resources:
    """What the program holds once no more threads and descriptors are left than before, or the time is up."""
    def now():
        latest.append(Resources(program))
        return latest[-1].threads <= limit.threads and latest[-1].descriptors <= limit.descriptors
    latest: list[Resources] = []
    ear.ask_until(now, within, every=0.1)
    return latest[-1]
