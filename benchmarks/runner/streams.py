"""Whole processes: a phone that sends 1080p30, and receivers that are watched one after the other."""

import contextlib
import dataclasses
import enum
import os
import pathlib
import statistics
import tempfile
import time

import figures
from processes import Child, Failed, Usage, descendants, proportional_mb, resident_mb, threads

ROOT = pathlib.Path(__file__).resolve().parents[2]
RATE = 30
PROGRAMME_RATE = 60  # twice the phone's, so that no picture is missed for the phase of the pulls
SIZE = "1920x1080"
SETTLE_SECONDS = 2.0  # after the first pictures: key frames are through, pools are filled
START_LIMIT = 60.0
SENDER_NICENESS = -10
LONGEST_IDLE_SECONDS = 10.0
FRESH_PROCESSES = 5
WARM_ACTIVATIONS = 5


@dataclasses.dataclass
class Programs:
    """Where the built programs lie."""

    build: pathlib.Path = ROOT / "build" / "release"

    def program(self, name: str) -> pathlib.Path:
        return self.build / "bin" / name

    def benchmark(self, name: str) -> pathlib.Path:
        return self.build / "benchmarks" / name

    @property
    def plugin(self) -> pathlib.Path:
        return self.build / "lib" / "kestrel.so"


def own_addresses(count: int, process: int = os.getpid()) -> list[str]:
    """Loopback addresses that no other run uses: every phone listens on the same port. At most 14."""
    first = (process & 0x0F) * 16 + 1
    network = f"127.{192 + ((process >> 12) & 0x1F)}.{(process >> 4) & 0xFF}"
    return [f"{network}.{first + number}" for number in range(count)]


@contextlib.contextmanager
def running(*command, **environment):
    child = Child([*command], **environment)
    try:
        yield child
    finally:
        child.end()


class Encoding(enum.Enum):
    """Phones have encoders of their own: what is to be compared gets pictures that were encoded beforehand."""

    ONCE = ("--encode-once",)
    LIVE = ()


@contextlib.contextmanager
def phones(programs: Programs, addresses: list[str], encoding: Encoding):
    """One process for all of its phones. It stands for phones, which have processors of their own: where it may, it
    goes before whoever receives, whose load would else become the sender's lost pictures."""
    with running(programs.program("petrel"), "simulate", "--listen", addresses[0], "--phones", len(addresses),
                 "--size", SIZE, "--fps", RATE, "--codec", "h264", *encoding.value,
                 niceness=SENDER_NICENESS) as sender:
        for address in addresses:
            sender.wait_for_line(lambda line, name=address: f"{name}: listening" in line, START_LIMIT)
        yield sender


def _per_second(streams: list[dict], key: str) -> float:
    return min(stream[key] / stream["seconds"] for stream in streams)


def _watched(receiver: Child, seconds: float, command: str) -> dict:
    receiver.say(command)
    time.sleep(seconds)
    receiver.say("end")
    return receiver.wait_for_event("result", START_LIMIT)


class Round:
    """One receiver after the other on the same stream; each gives a dictionary of plain values."""

    def __init__(self, programs: Programs, addresses: list[str], sender: Child, seconds: float,
                 host_seconds: float) -> None:
        self.programs = programs
        self.addresses = addresses
        self.sender = sender
        self.seconds = seconds
        self.host_seconds = host_seconds

    def host(self) -> dict[str, float]:
        """halyard with the plug-in, as a user runs it: what it costs, and what it costs the sender."""
        sources = [word for address in self.addresses for word in ("--source", address)]
        with tempfile.TemporaryDirectory() as state, \
                running(self.programs.program("halyard"), "--state", state, "--fps", PROGRAMME_RATE, *sources) as host:
            for address in self.addresses:
                host.wait_for_line(lambda line, name=address: f"{name} " in line and " live " in line, START_LIMIT)
            time.sleep(SETTLE_SECONDS)
            said_before = len(host.output)
            used, sent = Usage([host.pid]), Usage([self.sender.pid])
            time.sleep(self.host_seconds)
            cpu, sender_cpu, faults = used.cpu_percent(), sent.cpu_percent(), used.faults()
            rates = figures.progress_rates(host.output[said_before:])
            if len(rates) != len(self.addresses):
                raise Failed("not every stream was told")
            return {"cpu": cpu, "senderCpu": sender_cpu, "perPicture": cpu / sum(rates), "distinct": min(rates),
                    "memory": resident_mb(host.pid), "senderMemory": resident_mb(self.sender.pid),
                    "threads": threads(host.pid), "faults": faults / (sum(rates) * self.host_seconds)}

    def look(self) -> dict[str, float]:
        """The same plug-in in a host that pulls every millisecond."""
        with running(self.programs.benchmark("watch_host"), "--plugin", self.programs.plugin,
                     *self.addresses) as receiver:
            receiver.wait_for_event("ready", START_LIMIT)
            time.sleep(SETTLE_SECONDS)
            sent = Usage([self.sender.pid])
            result = _watched(receiver, self.seconds, "begin stamps")
            sender_cpu = sent.cpu_percent()
        if result["latencyMs"] is None or result["programmeLatencyMs"] is None:
            raise Failed("no stamp could be read")
        return {"p50": result["latencyMs"]["p50"], "p99": result["latencyMs"]["p99"],
                "pulledP50": result["programmeLatencyMs"]["p50"], "pulledP99": result["programmeLatencyMs"]["p99"],
                "senderCpu": sender_cpu}

    def bare(self) -> dict[str, float]:
        with running(self.programs.benchmark("bare_receiver"), *self.addresses) as receiver:
            receiver.wait_for_event("ready", START_LIMIT)
            return self._other(receiver, [receiver.pid], resident_mb(receiver.pid))

    def decoder(self) -> dict[str, float]:
        """The bare receiver without any conversion: the least that the engine and its decoders cost."""
        with running(self.programs.benchmark("bare_receiver"), "--only-decode", *self.addresses) as receiver:
            receiver.wait_for_event("ready", START_LIMIT)
            return self._counted(receiver, [receiver.pid])

    def chromium(self) -> dict[str, float]:
        script = ROOT / "benchmarks" / "streams" / "chromium_receiver.js"
        with running("node", script, "--modules", ROOT / "tests" / "e2e" / "browser", *self.addresses) as receiver:
            receiver.wait_for_event("ready", START_LIMIT)
            browser = descendants(receiver.pid)  # without the program that drives it
            return self._other(receiver, browser, None)

    def _counted(self, receiver: Child, pids: list[int]) -> dict[str, float]:
        """CPU and rate while nobody reads stamps."""
        time.sleep(SETTLE_SECONDS)
        used = Usage(pids)
        counted = _watched(receiver, self.seconds, "begin")
        cpu = used.cpu_percent()
        rate = sum(stream["pictures"] / stream["seconds"] for stream in counted["streams"])
        if rate <= 0:
            raise Failed(f"{receiver.name}: no picture came while it was watched")
        return {"cpu": cpu, "perPicture": cpu / rate, "distinct": _per_second(counted["streams"], "pictures")}

    def _other(self, receiver: Child, pids: list[int], memory: float | None) -> dict[str, float]:
        """CPU and rate, and latency afterwards."""
        values = self._counted(receiver, pids)
        values["memory"] = proportional_mb(pids) if memory is None else resident_mb(pids[0])
        latency = _watched(receiver, self.seconds / 2, "begin stamps")["latencyMs"]
        if latency is None:
            raise Failed(f"{receiver.name}: no stamp could be read")
        return values | {"p50": latency["p50"], "p99": latency["p99"]}


def measure(programs: Programs, count: int, rounds: int, seconds: float, host_seconds: float, tell) -> dict[str, float]:
    """Rounds of all receivers, each round beginning with another one."""
    receivers = ["host", "look", "bare", "decoder", "chromium"]
    results: dict[str, list[dict[str, float]]] = {name: [] for name in receivers}
    addresses = own_addresses(count)
    with phones(programs, addresses, Encoding.ONCE) as sender:
        for number in range(rounds):
            one = Round(programs, addresses, sender, seconds, host_seconds)
            first = number % len(receivers)
            for name in receivers[first:] + receivers[:first]:
                tell(f"{count} x {SIZE}, round {number + 1} of {rounds}: {name}")
                results[name].append(_once_more(getattr(one, name), tell))
    return _figures(results, "At8" if count == 8 else "")


def live_encoder(programs: Programs, rounds: int, seconds: float, tell) -> dict[str, float]:
    """One stream whose sender encodes every picture when it is due, on the same processors."""
    addresses = own_addresses(1)
    looks = []
    with phones(programs, addresses, Encoding.LIVE) as sender:
        one = Round(programs, addresses, sender, seconds, seconds)
        for number in range(rounds):
            tell(f"1 x {SIZE}, encoded live, round {number + 1} of {rounds}")
            looks.append(_once_more(one.look, tell))
    return {"stream.liveLatencyP50Ms": statistics.median(look["p50"] for look in looks),
            "stream.liveLatencyP99Ms": statistics.median(look["p99"] for look in looks),
            "stream.liveSenderCpuPercent": statistics.median(look["senderCpu"] for look in looks)}


def encode_time(programs: Programs, rounds: int) -> float:
    """Milliseconds that a picture's encoding takes at the sender, with nothing else running."""
    def one_round() -> float:
        with running(programs.benchmark("encode_time")) as encoder:
            result = encoder.wait_for_event("result", START_LIMIT)["encodeMs"]
        if result is None:
            raise Failed("nothing was encoded")
        return result["p50"]

    return statistics.median(one_round() for _ in range(rounds))


def _figures(results: dict[str, list[dict[str, float]]], suffix: str) -> dict[str, float]:
    def column(name: str, value: str) -> list[float]:
        return [one[value] for one in results[name]]

    def median(name: str, value: str) -> float:
        return statistics.median(column(name, value))

    values = {
        "cpuVsBare": figures.median_ratio(column("host", "perPicture"), column("bare", "perPicture")),
        "cpuVsChromium": figures.median_ratio(column("host", "perPicture"), column("chromium", "perPicture")),
        "decodingVsChromium": figures.median_ratio(column("decoder", "perPicture"), column("chromium", "perPicture")),
        "cpuPercent": median("host", "cpu"),
        "bareCpuPercent": median("bare", "cpu"),
        "decodingCpuPercent": median("decoder", "cpu"),
        "chromiumCpuPercent": median("chromium", "cpu"),
        "senderCpuPercent": median("host", "senderCpu"),
        "latencyP50Ms": median("look", "p50"),
        "latencyP99Ms": median("look", "p99"),
        "pulledP50Ms": median("look", "pulledP50"),
        "pulledP99Ms": median("look", "pulledP99"),
        "bareLatencyP50Ms": median("bare", "p50"),
        "bareLatencyP99Ms": median("bare", "p99"),
        "chromiumLatencyP50Ms": median("chromium", "p50"),
        "chromiumLatencyP99Ms": median("chromium", "p99"),
        "distinctPerSecond": median("host", "distinct"),
        "bareDistinctPerSecond": median("bare", "distinct"),
        "chromiumDistinctPerSecond": median("chromium", "distinct"),
        "pageFaultsPerFrame": median("host", "faults"),
        "memoryMb": median("host", "memory"),
        "bareMemoryMb": median("bare", "memory"),
        "chromiumMemoryMb": median("chromium", "memory"),
        "senderMemoryMb": median("host", "senderMemory"),
        "threads": median("host", "threads"),
    }
    return {f"stream.{key}{suffix}": value for key, value in values.items()}


def _once_more(run, tell) -> dict[str, float]:
    """A receiver that did not come up gets a second chance; what it measured is never thrown away."""
    try:
        return run()
    except (Failed, ValueError) as failed:
        tell(f"again, since {failed}")
        return run()


def first_pictures(programs: Programs, tell) -> dict[str, float]:
    """From the activation of a source to its first picture, in fresh processes and in a warm one."""
    def activate(times: int) -> list[float]:
        with running(programs.benchmark("watch_host"), "--plugin", programs.plugin, "--activations", times,
                     addresses[0]) as host:
            return host.wait_for_event("result", START_LIMIT + 10 * times)["firstPictureMs"]

    addresses = own_addresses(1)
    with phones(programs, addresses, Encoding.LIVE):
        tell("first picture: fresh processes")
        fresh = [activate(1)[0] for _ in range(FRESH_PROCESSES)]
        tell("first picture: a warm process")
        warm = activate(1 + WARM_ACTIVATIONS)[1:]
    return {"stream.firstPictureMs": statistics.median(fresh), "stream.firstPictureWarmMs": statistics.median(warm)}


def idle(programs: Programs, rounds: int, seconds: float, tell) -> dict[str, float]:
    """halyard with one source that has nothing to show."""
    connected, switched_off = own_addresses(2)

    def cpu_percent(address: str, phone: Child | None) -> float:
        with tempfile.TemporaryDirectory() as state, \
                running(programs.program("halyard"), "--state", state, "--fps", RATE, "--quiet", "--source",
                        address) as host:
            if phone is not None:
                phone.wait_for_event("opened", START_LIMIT)
            time.sleep(SETTLE_SECONDS)
            used = Usage([host.pid])
            time.sleep(min(seconds, LONGEST_IDLE_SECONDS))
            return used.cpu_percent()

    percents: dict[str, list[float]] = {"idleCpuPercent": [], "idlePhoneOffCpuPercent": []}
    with running(programs.benchmark("silent_phone"), connected) as phone:
        phone.wait_for_event("ready", START_LIMIT)
        for number in range(rounds):
            tell(f"idle session, round {number + 1} of {rounds}")
            percents["idleCpuPercent"].append(cpu_percent(connected, phone))
            percents["idlePhoneOffCpuPercent"].append(cpu_percent(switched_off, None))
    return {key: statistics.median(values) for key, values in percents.items()}
