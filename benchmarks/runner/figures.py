"""What is measured, which figures are to be held, and how results are written down."""

import dataclasses
import re
import statistics


@dataclasses.dataclass(frozen=True)
class Figure:
    """One row of the table. `key` is its place in the JSON file, dots nest; a figure to hold has `at_most` or
    `at_least`."""

    key: str
    what: str
    unit: str = ""
    at_most: float | None = None
    at_least: float | None = None
    digits: int = 2

    def is_held(self, value: float) -> bool:
        if self.at_most is not None and value > self.at_most:
            return False
        return self.at_least is None or value >= self.at_least

    def limit(self) -> str:
        if self.at_most is not None:
            return f"at most {self.at_most:g}"
        return f"at least {self.at_least:g}" if self.at_least is not None else ""


def _for_sizes(key: str, what: str, **limits: float) -> list[Figure]:
    return [Figure(f"{key}.{size}", what.format(size=size), **limits) for size in ("720p", "1080p", "2160p")]


# In the order of the table.
FIGURES = [
    *_for_sizes("conversion", "I420 to UYVY into a host buffer, {size} / memcpy of the same bytes", at_most=1.0),
    *_for_sizes("conversionVsSwscale", "the same, {size} / swscale"),
    *_for_sizes("conversionVsVideoconvert", "the same, {size} / videoconvert"),
    *_for_sizes("conversionAndRead", "conversion and the host's reading, {size} / two memcpy"),
    Figure("pooledVsMapped", "a 1080p frame into a pooled buffer / into a fresh mapping"),
    Figure("pooledBufferAloneVsMapped", "the buffer alone, without the picture / a fresh mapping", digits=4),
    Figure("pageFaultsPerFrame", "page faults per frame on the frame thread, warm", at_most=0.0),
    Figure("pullMutexPairs", "a pull of the newest picture / a mutex lock and unlock", at_most=6.0),
    Figure("ringReadVsMemcpy", "ring read of 1600 frames / memcpy of 6400 bytes", at_most=1.6),
    Figure("offerMessageUs", "building and parsing an offer message", "us", digits=1),
    Figure("stream.cpuVsBare", "CPU per picture of the receiver / bare webrtcbin receiver", at_most=1.0),
    Figure("stream.cpuVsChromium", "CPU per picture of the receiver / headless Chromium", at_most=0.6),
    Figure("stream.decodingVsChromium", "  the bare receiver without conversions / headless Chromium"),
    Figure("stream.cpuPercent", "CPU of the receiver, one stream", "% of a core", digits=1),
    Figure("stream.bareCpuPercent", "  the bare receiver", "% of a core", digits=1),
    Figure("stream.decodingCpuPercent", "  the bare receiver without conversions", "% of a core", digits=1),
    Figure("stream.chromiumCpuPercent", "  headless Chromium, all its processes", "% of a core", digits=1),
    Figure("stream.senderCpuPercent", "CPU of the sender, one stream, encoded beforehand", "% of a core", digits=1),
    Figure("stream.liveSenderCpuPercent", "  the same, encoded live", "% of a core", digits=1),
    Figure("stream.latencyP50Ms", "sender's coded frame to pullable, p50", "ms", at_most=5.0, digits=1),
    Figure("stream.latencyP99Ms", "sender's coded frame to pullable, p99", "ms", at_most=20.0, digits=1),
    Figure("stream.liveLatencyP50Ms", "  with software encoding before it on this machine, p50", "ms", digits=1),
    Figure("stream.liveLatencyP99Ms", "  with software encoding before it on this machine, p99", "ms", digits=1),
    Figure("stream.senderMs", "  that encoding alone, p50", "ms", digits=1),
    Figure("stream.pulledP50Ms", "sender's coded frame to a pull of 30 per second, p50", "ms", digits=1),
    Figure("stream.pulledP99Ms", "sender's coded frame to a pull of 30 per second, p99", "ms", digits=1),
    Figure("stream.bareLatencyP50Ms", "sender's coded frame to the bare receiver's picture, p50", "ms", digits=1),
    Figure("stream.bareLatencyP99Ms", "sender's coded frame to the bare receiver's picture, p99", "ms", digits=1),
    Figure("stream.chromiumLatencyP50Ms", "sender's coded frame to Chromium's picture, p50", "ms", digits=1),
    Figure("stream.chromiumLatencyP99Ms", "sender's coded frame to Chromium's picture, p99", "ms", digits=1),
    Figure("stream.distinctPerSecond", "distinct pictures per second, one stream", digits=2),
    Figure("stream.bareDistinctPerSecond", "  the bare receiver", digits=2),
    Figure("stream.chromiumDistinctPerSecond", "  headless Chromium", digits=2),
    Figure("stream.pageFaultsPerFrame", "page faults per picture, all of the receiver's threads"),
    Figure("stream.memoryMb", "memory of the receiver, one stream", "MB", digits=0),
    Figure("stream.bareMemoryMb", "  the bare receiver", "MB", digits=0),
    Figure("stream.chromiumMemoryMb", "  headless Chromium, all its processes", "MB", digits=0),
    Figure("stream.senderMemoryMb", "memory of the sender, one stream", "MB", digits=0),
    Figure("stream.threads", "threads of the receiver, one stream", digits=0),
    Figure("stream.distinctPerSecondAt8", "distinct pictures per second of the worst of 8 streams", at_least=29.9),
    Figure("stream.bareDistinctPerSecondAt8", "  the bare receiver"),
    Figure("stream.chromiumDistinctPerSecondAt8", "  headless Chromium"),
    Figure("stream.cpuVsBareAt8", "CPU per picture, 8 streams / bare webrtcbin receiver", at_most=1.0),
    Figure("stream.cpuVsChromiumAt8", "CPU per picture, 8 streams / headless Chromium", at_most=0.6),
    Figure("stream.decodingVsChromiumAt8", "  the bare receiver without conversions / headless Chromium"),
    Figure("stream.cpuPercentAt8", "CPU of the receiver, 8 streams", "% of a core", digits=1),
    Figure("stream.bareCpuPercentAt8", "  the bare receiver", "% of a core", digits=1),
    Figure("stream.decodingCpuPercentAt8", "  the bare receiver without conversions", "% of a core", digits=1),
    Figure("stream.chromiumCpuPercentAt8", "  headless Chromium, all its processes", "% of a core", digits=1),
    Figure("stream.senderCpuPercentAt8", "CPU of the sender, 8 streams, encoded beforehand", "% of a core", digits=1),
    Figure("stream.latencyP50MsAt8", "sender's coded frame to pullable, 8 streams, p50", "ms", digits=1),
    Figure("stream.latencyP99MsAt8", "sender's coded frame to pullable, 8 streams, p99", "ms", digits=1),
    Figure("stream.memoryMbAt8", "memory of the receiver, 8 streams", "MB", digits=0),
    Figure("stream.bareMemoryMbAt8", "  the bare receiver", "MB", digits=0),
    Figure("stream.chromiumMemoryMbAt8", "  headless Chromium, all its processes", "MB", digits=0),
    Figure("stream.senderMemoryMbAt8", "memory of the sender, 8 streams", "MB", digits=0),
    Figure("stream.threadsAt8", "threads of the receiver, 8 streams", digits=0),
    Figure("stream.firstPictureMs", "activation to the first picture, fresh process", "ms", at_most=600.0, digits=0),
    Figure("stream.firstPictureWarmMs", "activation to the first picture, warm process", "ms", at_most=600.0, digits=0),
    Figure("idleCpuPercent", "CPU of an idle session: connected, no media", "% of a core"),
    Figure("idlePhoneOffCpuPercent", "CPU of a session whose phone is off", "% of a core"),
]


GROUPS = ("pieces", "stream", "stream8", "first", "idle")


def group_of(key: str) -> str:
    """What has to run for a figure."""
    if key.startswith("idle"):
        return "idle"
    if not key.startswith("stream."):
        return "pieces"
    if "firstPicture" in key:
        return "first"
    return "stream8" if key.endswith("At8") else "stream"


def keys_named(name: str) -> set[str]:
    """The figures of a group, or those whose key is or begins with the name."""
    if name in GROUPS:
        return {figure.key for figure in FIGURES if group_of(figure.key) == name}
    return {figure.key for figure in FIGURES if figure.key == name or figure.key.startswith(name + ".")}


def median_ratio(numerators: list[float], denominators: list[float]) -> float:
    """The median of each round's ratio: what disturbs a round disturbs both of its sides."""
    if len(numerators) != len(denominators) or not numerators:
        raise ValueError("a ratio needs as many rounds on both sides, and at least one")
    return statistics.median(above / below for above, below in zip(numerators, denominators))


def progress_rates(lines: list[str]) -> list[float]:
    """New pictures per second of each stream, from what halyard says of it every second."""
    said: dict[str, list[float]] = {}
    for line in lines:
        found = re.search(r" s  (\S+) .* ([\d.]+) pictures/s", line)
        if found:
            said.setdefault(found.group(1), []).append(float(found.group(2)))
    rates = [statistics.mean(rates) for rates in said.values()]
    if sum(rates) == 0:
        raise ValueError("there was no picture")
    return rates


def nested(values: dict[str, float]) -> dict:
    """{"a.b": 1} as {"a": {"b": 1}}. Every figure has its key; what was not measured is null."""
    result: dict = {}
    for key in [figure.key for figure in FIGURES]:
        *parents, last = key.split(".")
        place = result
        for parent in parents:
            place = place.setdefault(parent, {})
        place[last] = values.get(key)
    return result


def flat(written: dict) -> dict[str, float]:
    """The figures of a JSON file that nested() made."""
    values: dict[str, float] = {}
    for figure in FIGURES:
        place = written
        for part in figure.key.split("."):
            place = place.get(part) if isinstance(place, dict) else None
        if isinstance(place, (int, float)):
            values[figure.key] = place
    return values


def text_of(figure: Figure, value: float) -> str:
    return f"{value:.{figure.digits}f}" + (f" {figure.unit}" if figure.unit else "")


def rows(values: dict[str, float]) -> list[tuple[str, str, str, str]]:
    """What, measured, to hold, verdict; only what was measured."""
    result = []
    for figure in FIGURES:
        value = values.get(figure.key)
        if value is None:
            continue
        limit = figure.limit()
        verdict = "" if not limit else "held" if figure.is_held(value) else "NOT HELD"
        result.append((figure.what, text_of(figure, value), limit, verdict))
    return result


def all_held(values: dict[str, float]) -> bool:
    return all(figure.is_held(values[figure.key]) for figure in FIGURES if values.get(figure.key) is not None)


def table(values: dict[str, float]) -> str:
    lines = rows(values)
    widths = [max((len(line[column]) for line in lines), default=0) for column in range(3)]
    return "\n".join(f"{what:<{widths[0]}}  {value:>{widths[1]}}  {limit:<{widths[2]}}  {verdict}".rstrip()
                     for what, value, limit, verdict in lines)


def markdown(values: dict[str, float]) -> str:
    lines = ["| What | Measured | To hold | |", "|---|---:|---|---|"]
    lines += [f"| {what.strip()} | {value} | {limit} | {verdict} |" for what, value, limit, verdict in rows(values)]
    return "\n".join(lines)
