"""Bad peers on the phone's port, and bad visitors at a phone; a good pair works beside them and after them."""

import random
import threading

from kit.program import wait_until
from kit.result import Result
from stories import _garbage, _sockets as sockets
from stories._host import SMALL, TARGETS as HOST_TARGETS, Host, Resources, phone, settled

TITLE = "10,000 bad peers and scans: nothing is left of them, and the next good connection works"
SHORT = True
PACKAGES = ("test",)
TARGETS = HOST_TARGETS

GOOD = "127.0.1.1"
BAD = [f"127.0.2.{number}" for number in range(1, 9)]
MOST_MB = 6  # more than before, in either process; a thousand connections kept would show


class Port:
    """An address where somebody bad listens, who counts the conversations that are over."""

    def __init__(self, namespace, address: str, peer: _garbage.BadPeer, first: int) -> None:
        self.listener = sockets.listen(namespace, address)
        self.peer = peer
        self.first = first
        self.played = 0
        threading.Thread(target=self._serve, daemon=True).start()

    def _serve(self) -> None:
        while True:
            try:
                connection, _ = self.listener.accept()
            except OSError:
                return
            self.peer.play(connection, self.first + self.played)
            connection.close()
            self.played += 1


def run(context) -> Result:
    result = Result()
    each = 200 if context.short else 5000
    inside = context.namespace("all")
    good = phone(context, "phone", inside, GOOD, *SMALL)
    host = Host(context, inside)
    host.obey(f"add {GOOD}")
    if not host.first_picture(GOOD):
        result.fails("no picture from the good phone at the beginning")
        return result

    ports = [Port(inside, address, _garbage.BadPeer(1), index * 1_000_000) for index, address in enumerate(BAD)]
    peers = _rounds(host, ports, each, lambda: _mark(host.program, good))
    marks = peers.pop()
    scans = _scans(inside, each)

    result.figure("badPeers", sum(peers))
    result.figure("scans", scans)
    result.equals("goodOneLives", host.wait_for_pictures(GOOD, 30), True)
    host.obey(f"remove {GOOD}")
    host.obey(f"add {GOOD}")
    result.equals("nextGoodOneWorks", host.first_picture(GOOD), True)
    for name, program, before in (("host", host.program, marks[0]), ("phone", good, marks[1])):
        after = settled(program, before)
        context.note(f"{name}: {before} before, {after} after")
        result.at_most(f"{name}MemoryMb", (after.resident_kb - before.resident_kb) / 1024, MOST_MB)
        result.at_most(f"{name}ThreadsMore", after.threads - before.threads, 0)
        result.at_most(f"{name}DescriptorsMore", after.descriptors - before.descriptors, 0)
    for port in ports:
        port.listener.close()
    return result


def _mark(*programs) -> list[Resources]:
    return [Resources(program) for program in programs]


def _rounds(host, ports, count: int, mark) -> list:
    """Sends the host to every bad address until so many conversations are over; with what was held before most of them."""
    marks = None
    while (total := sum(port.played for port in ports)) < count:
        if marks is None and total >= count / 10:
            wait_until(lambda: False, 1)
            marks = mark()
        before = [port.played for port in ports]
        for address in BAD:
            host.obey(f"add {address}")
        wait_until(lambda: all(port.played > old for port, old in zip(ports, before)), within=10, every=0.002)
        for address in BAD:
            host.obey(f"remove {address}")
    return [port.played for port in ports] + [marks or mark()]


def _scans(inside, count: int) -> int:
    dice = random.Random(2)
    refused = 0
    for _ in range(count):
        try:
            connection = sockets.connect(inside, GOOD, within=5)
        except OSError:
            refused += 1
            continue
        _garbage.scan(connection, GOOD, dice)
        connection.close()
    return count - refused
