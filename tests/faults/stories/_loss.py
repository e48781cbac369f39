"""The host and headless Chromium receive the same phone over the same bad link at the same time."""

from kit import chromium, phone
from kit.halyard import Halyard, Measured
from kit.link import PHONE, Link
from kit.result import Result

TARGETS = ("halyard", "petrel", "kestrel", "faults_link")
PACKAGES = ("test",)
ROUND_TRIP = "delay 2"  # 2 ms each way
SETTLING_SECONDS = 3


def play(context, commands: list[str], per_second: float, latency_p99_ms: float | None, of_chromium: float | None,
         usual: float = 60, short: float = 10) -> Result:
    result = Result()
    link = Link(context)
    link.set(ROUND_TRIP)
    phone.start(context, link.phone)
    halyard = Halyard(context, link.host, PHONE)
    browser = chromium.Chromium(context, link.host) if of_chromium is not None else None
    if halyard.first_picture_after(0, within=20) is None or (browser and not browser.wait_for_pictures(20)):
        result.fails("no picture before the link was bad")
        return result
    link.set(*commands)
    context.spend(SETTLING_SECONDS)

    before = browser.counts() if browser else None
    begun_us = context.now_us()
    context.spend(context.length(usual, short))
    ended_us = context.now_us()
    after = browser.counts() if browser else None

    measured = Measured(halyard.pictures(begun_us, ended_us), begun_us, ended_us)
    counts = link.counts()
    result.at_least("picturesPerSecond", measured.per_second, per_second)
    result.figure("latencyP50Ms", measured.p50)
    if latency_p99_ms is None:
        result.figure("latencyP99Ms", measured.p99)
    else:
        result.at_most("latencyP99Ms", measured.p99, latency_p99_ms)
    if browser:
        its = chromium.per_second(before, after)
        result.figure("chromiumPerSecond", its)
        result.at_least("ofChromium", measured.per_second / its if its > 0 else None, of_chromium)
    result.figure("longestStallMs", measured.longest_stall_ms)
    result.figure("lostPercent", 100 * counts["b.lost"] / max(1, counts["b.taken"]))
    result.figure("linkLateMs", max(counts["a.latestUs"], counts["b.latestUs"]) / 1000)
    return result
