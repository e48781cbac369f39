"""Bad peers on the phone's port, and bad visitors at a phone; a good pair works beside them and after them."""

import random
import threading

from kit import ear
from kit.result import Result
from stories import _garbage, _sockets as sockets
from stories._host import SMALL, TARGETS as HOST_TARGETS, Host, Resources, phone, settled

TITLE = "10,000 bad peers and scans: nothing is left of them, and the next good connection works"
SHORT = True
PACKAGES = ("test",)
TARGETS = HOST_TARGETS

GOOD = "127.0.1.1"
BAD = [f"127.0.2.{number}" for number in range(1, 9)]
# Until what a bad peer leaves for a while is gone: each keep-alive of the host waits a minute for its turn, even when
# its connection is over, and the phone keeps what it sent to the good host for half a minute or so.
REST_SECONDS = 65
# More after the second half than after the first, in either process: 420 bytes kept of every bad peer would show.
MOST_MB = 1


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
    # Without the rest, what the phone keeps for the good host still grows.
    each, rest, most_mb = (100, 1, 6) if context.short else (2500, REST_SECONDS, MOST_MB)
    inside = context.namespace("all")
    good = phone(context, "phone", inside, GOOD, *SMALL)
    host = Host(context, inside)
    host.obey(f"add {GOOD}")
    if not host.first_picture(GOOD):
        result.fails("no picture from the good phone at the beginning")
        return result

    ports = [Port(inside, address, _garbage.BadPeer(1), index * 1_000_000) for index, address in enumerate(BAD)]
    dice = random.Random(2)
    scans = 0
    marks = []
    for half in (1, 2):
        _visit(host, ports, half * each)
        scans += _scans(inside, each, dice)
        context.spend(rest)
        marks.append(_mark(host, good))
        context.note(f"after half {half}: host {marks[-1][0]}, phone {marks[-1][1]}")

    result.figure("badPeers", sum(port.played for port in ports))
    result.figure("scans", scans)
    result.equals("goodOneLives", host.wait_for_pictures(GOOD, 30), True)
    host.obey(f"remove {GOOD}")
    host.obey(f"add {GOOD}")
    result.equals("nextGoodOneWorks", host.first_picture(GOOD), True)
    for index, (name, program) in enumerate((("host", host.program), ("phone", good))):
        before, after = marks[0][index], marks[1][index]
        result.at_most(f"{name}MemoryMb", (after.resident_kb - before.resident_kb) / 1024, most_mb)
        last = settled(program, before)
        result.at_most(f"{name}ThreadsMore", last.threads - before.threads, 0)
        result.at_most(f"{name}DescriptorsMore", last.descriptors - before.descriptors, 0)
    for port in ports:
        port.listener.close()
    return result


def _mark(host, good) -> tuple[Resources, Resources]:
    host.obey("trim")
    return Resources(host.program), Resources(good)


def _visit(host, ports, count: int) -> None:
    """Sends the host to every bad address until so many conversations are over, those of before included."""
    while sum(port.played for port in ports) < count:
        before = [port.played for port in ports]
        for address in BAD:
            host.obey(f"add {address}")
        ear.ask_until(lambda: all(port.played > old for port, old in zip(ports, before)), within=10, every=0.002)
        for address in BAD:
            host.obey(f"remove {address}")


def _scans(inside, count: int, dice: random.Random) -> int:
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
