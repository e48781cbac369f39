"""The host under test, with the moments of its pictures."""

import json
import math

from kit import ear

# Eight times as often as the phone takes pictures: two that come close together after a repair are both seen, and what
# a pull adds to the latency is at most 4 ms.
PULLS_PER_SECOND = 240


class Halyard:
    def __init__(self, context, namespace, source: str, options: tuple = ()) -> None:
        self.context = context
        self.timeline = context.directory / "timeline"
        self.begun_us = context.now_us()
        self.program = context.start("halyard", [
            context.bin / "halyard", "--source", source, "--probe", "--quiet", "--fps", PULLS_PER_SECOND,
            "--report", "-", "--timeline", self.timeline, "--state", context.directory / "state", *options], namespace)

    def events(self) -> list[list[str]]:
        """Lines of the timeline in words: moment, source, what, ..."""
        if not self.timeline.exists():
            return []
        whole = self.timeline.read_text(encoding="utf-8", errors="replace").rpartition("\n")[0]
        return [line.split() for line in whole.split("\n") if line]

    def pictures(self, from_us: int = 0, to_us: int | None = None) -> list["Picture"]:
        """The new pictures that were pulled in that time."""
        found = [Picture(words) for words in self.events() if words[2] == "picture"]
        return [one for one in found if one.at_us >= from_us and (to_us is None or one.at_us < to_us)]

    def moments(self, what: str, from_us: int = 0) -> list[int]:
        """When "colour", "sound" or "silence" began."""
        return [int(words[0]) for words in self.events() if words[2] == what and int(words[0]) >= from_us]

    def first_picture_after(self, from_us: int, within: float) -> int | None:
        """The moment of it, or None when there was none in time."""
        ear.ask_until(lambda: self.pictures(from_us) or not self.program.running(), within)
        pictures = self.pictures(from_us)
        return pictures[0].at_us if pictures else None

    def report(self) -> dict:
        """Ends the host and reads what it reported of its source."""
        code = self.program.end(within=20)
        if code is None or code not in (0, 1):
            raise RuntimeError(f"halyard ended with {code}: {self.program.complained()[-500:]}")
        return json.loads(self.program.said())["sources"][0]


class Picture:
    def __init__(self, words: list[str]) -> None:
        self.at_us = int(words[0])
        self.size = words[3]
        self.latency_ms = None if words[4] == "-" else float(words[4])


class Measured:
    """Pictures of a stretch of time in figures."""

    def __init__(self, pictures: list[Picture], from_us: int, to_us: int) -> None:
        self.count = len(pictures)
        self.per_second = len(pictures) * 1e6 / (to_us - from_us)
        self.p50 = percentile([one.latency_ms for one in pictures], 50)
        self.p99 = percentile([one.latency_ms for one in pictures], 99)
        edges = [from_us, *(one.at_us for one in pictures), to_us]
        self.longest_stall_ms = max(after - before for before, after in zip(edges, edges[1:])) / 1000


def percentile(values: list, percent: float) -> float | None:
    known = sorted(value for value in values if value is not None)
    if not known:
        return None
    return known[min(len(known), max(1, math.ceil(len(known) * percent / 100))) - 1]
