"""A phone with media names more and more candidates."""

import json
import time

from kit.result import Result
from stories import _proxy
from stories._host import SMALL, TARGETS as HOST_TARGETS, Host, Resources, phone, settled

TITLE = "100,000 candidates into a connection with media: memory and time bounded, and the media live on"
SHORT = True
PACKAGES = ("test",)
TARGETS = HOST_TARGETS

PHONE = "127.0.1.1"
FLOODED = "127.0.1.2"
MOST_MB = 16


def run(context) -> Result:
    result = Result()
    count = 10_000 if context.short else 100_000
    inside = context.namespace("all")
    phone(context, "phone", inside, PHONE, *SMALL)
    proxy = _proxy.Proxy(inside, FLOODED, PHONE)
    host = Host(context, inside)
    host.obey(f"add {FLOODED}")
    if not host.first_picture(FLOODED) or not host.wait_for_pictures(FLOODED, 60):
        result.fails("no pictures before the flood")
        return result
    before = Resources(host.program)
    most_kb = before.resident_kb
    slowest = 0.0
    pictures = host.pictures(FLOODED)
    begin = time.monotonic()
    for number in range(count):
        proxy.inject(_candidate(number, proxy.peer))
        if number % 500 == 499:
            asked = time.monotonic()
            host.obey(f"show {FLOODED}")
            slowest = max(slowest, time.monotonic() - asked)
            most_kb = max(most_kb, host.program.resident_kb())
    flood = time.monotonic() - begin
    during = host.pictures(FLOODED) - pictures
    result.figure("candidates", count)
    result.figure("seconds", flood)
    result.figure("picturesPerSecondDuring", during / flood)
    result.at_most("slowestAnswerMs", slowest * 1000, 500)
    result.equals("mediaAfter", host.wait_for_pictures(FLOODED, 60, within=15), True)
    most_kb = max(most_kb, host.program.resident_kb())
    result.at_most("memoryMb", (most_kb - before.resident_kb) / 1024, MOST_MB)

    host.obey(f"remove {FLOODED}")
    context.spend(1)
    host.obey(f"add {FLOODED}")
    result.equals("nextGoodOneWorks", host.first_picture(FLOODED), True)
    host.wait_for_pictures(FLOODED, 30)
    after = settled(host.program, before)
    context.note(f"{before} before, {after} after")
    result.at_most("threadsMore", after.threads - before.threads, 0)
    result.at_most("descriptorsMore", after.descriptors - before.descriptors, 0)
    return result


def _candidate(number: int, peer: str) -> bytes:
    """A place of its own for every number, on either section."""
    address = f"127.{1 + number // 60_000}.{number // 250 % 240}.{1 + number % 250}"
    line = f"candidate:{number} 1 udp {2_000_000_000 - number} {address} {1024 + number % 60_000} typ host"
    return json.dumps({"action": "ice", "peersIdentifier": peer, "sdp": line, "sdpMid": "video0" if number % 2 else "audio1",
                       "sdpMLineIndex": number % 2}).encode()
