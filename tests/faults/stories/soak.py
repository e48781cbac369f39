"""Eight phones for half an hour, or for the time that is given: memory stays where it is, and no picture is late."""

import json
import time

from kit import ear
from kit.result import Result

TITLE = "8 phones for 30 minutes, or --seconds N: memory rises 0.5 MB per 10 minutes at most, no stall over 200 ms"
SHORT = False
TARGETS = ("halyard", "petrel", "kestrel")

PHONES = 8
FIRST = "127.0.1.1"
MOST_STALL_MS = 200
MOST_SLOPE_MB = 0.5  # per 10 minutes
WARM_UP_SECONDS = 120
SHORTEST_FOR_A_SLOPE = 600


def run(context) -> Result:
    result = Result()
    seconds = context.length(30 * 60, 60)
    inside = context.namespace("all")
    phones = context.start("phones", [context.bin / "petrel", "simulate", "--listen", FIRST, "--phones", PHONES,
                                      "--size", "640x360", "--encode-once", "--no-announce", "--quiet"], inside)
    words = [context.bin / "halyard", "--probe", "--quiet", "--report", "-", "--timeline", context.directory / "timeline",
             "--state", context.directory / "state"]
    for number in range(PHONES):
        words += ["--source", f"127.0.1.{1 + number}"]
    host = context.start("halyard", words, inside)
    watch = _Timeline(context.directory / "timeline")
    if not ear.ask_until(lambda: watch.read() >= PHONES or not host.running(), within=60) or not host.running():
        result.fails(f"only {watch.read()} of {PHONES} phones show a picture: {host.complained()[-300:]}")
        return result
    warm_up = min(WARM_UP_SECONDS, seconds / 4)
    begin = time.monotonic()
    watch.begin(context.now_us() + 2_000_000)  # the others were still connecting
    samples = []
    while (now := time.monotonic() - begin) < seconds and host.running() and phones.running():
        watch.read()
        if now >= warm_up:
            samples.append((now, host.resident_kb() / 1024))
        context.spend(1)
    end_us = context.now_us()
    lasted = time.monotonic() - begin
    code = host.end(within=30)
    watch.read()
    context.note(f"memory from {samples[0][1]:.1f} to {samples[-1][1]:.1f} MB")
    result.figure("seconds", lasted)
    result.equals("exitCode", code, 0)
    slope = _slope(samples) * 600
    if lasted >= SHORTEST_FOR_A_SLOPE:
        result.at_most("slopeMbPer10Min", slope, MOST_SLOPE_MB)
    else:
        result.figure("slopeMbPer10MinTooShortToJudge", slope)
    result.figure("memoryMb", samples[-1][1])
    result.at_most("longestStallMs", watch.longest_ms(end_us), MOST_STALL_MS)
    report = json.loads(host.said())["sources"]
    result.figure("leastPerSecond", min(source["distinctPictures"] for source in report) / lasted)
    result.figure("worstP99Ms", max(source["latencyMs"]["p99"] or 0 for source in report))
    return result


class _Timeline:
    """The longest time between two pictures of any source, read while the file grows."""

    def __init__(self, path) -> None:
        self.path = path
        self.file = None
        self.rest = ""
        self.from_us = None
        self.last: dict[str, int] = {}
        self.longest_us = 0

    def begin(self, from_us: int) -> None:
        self.from_us = from_us

    def read(self) -> int:
        """How many sources have shown a picture."""
        if self.file is None:
            if not self.path.exists():
                return 0
            self.file = open(self.path, encoding="utf-8")
        text = self.rest + self.file.read()
        whole, _, self.rest = text.rpartition("\n")
        for line in whole.split("\n"):
            words = line.split()
            if len(words) < 3 or words[2] != "picture":
                continue
            at_us, source = int(words[0]), words[1]
            if self.from_us is not None and at_us >= self.from_us and source in self.last:
                self.longest_us = max(self.longest_us, at_us - max(self.last[source], self.from_us))
            self.last[source] = at_us
        return len(self.last)

    def longest_ms(self, end_us: int) -> float:
        """A source that has fallen still for good has stalled up to the end."""
        longest = max([self.longest_us, *(end_us - at_us for at_us in self.last.values())])
        return longest / 1000


def _slope(samples: list[tuple[float, float]]) -> float:
    """Of the straight line that fits best."""
    count = len(samples)
    mean_x = sum(x for x, _ in samples) / count
    mean_y = sum(y for _, y in samples) / count
    spread = sum((x - mean_x) ** 2 for x, _ in samples)
    return sum((x - mean_x) * (y - mean_y) for x, y in samples) / spread if spread else 0.0
