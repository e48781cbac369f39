"""A peer that abuses the WebSocket: towards the host as a misbehaving phone, and towards a phone as a misbehaving host."""

import select
import threading
import time

from kit.result import Result
from stories import _sockets as sockets
from stories._host import SMALL, TARGETS as HOST_TARGETS, Host, Resources, phone, settled

TITLE = "100 MB messages, endless fragments, one byte per second: memory bounded, each noticed, the next good one works"
SHORT = False
PACKAGES = ("test",)
TARGETS = HOST_TARGETS

PHONE = "127.0.1.1"
MOST_MB = 24  # messages of the 1 MiB that is allowed, in flight, and what the phone's encoder needs to get going
MEGABYTE = 1_000_000
MASK = b"mask"


class Abuse:
    """One peer that goes on until it is thrown out. `mask` is None on the phone's side of the connection."""

    def __init__(self, name: str, play) -> None:
        self.name = name
        self.play = play  # what is sent, and for how many seconds nothing follows it
        self.seconds: float | None = None  # until it was thrown out
        self.sent = 0

    def run(self, connection, mask, most_mb: int) -> None:
        begin = time.monotonic()
        connection.settimeout(2)
        try:
            for piece, rest in self.play(mask, most_mb):
                connection.sendall(piece)
                self.sent += len(piece)
                if rest and self._is_ended(connection, rest):
                    break
            else:
                # All was said; a reset or an end comes now, if it has not come yet.
                connection.settimeout(60)
                while connection.recv(65536):
                    pass
        except TimeoutError:
            return  # still connected
        except OSError:
            pass
        self.seconds = time.monotonic() - begin

    @staticmethod
    def _is_ended(connection, within: float) -> bool:
        """Whether the other side ends the connection in this time; what it says meanwhile does not matter."""
        deadline = time.monotonic() + within
        while (left := deadline - time.monotonic()) > 0:
            if select.select([connection], [], [], left)[0] and not connection.recv(65536):
                return True
        return False


def _big_message(mask, most_mb):
    yield sockets.frame(sockets.TEXT, b"", mask=mask, promise=most_mb * MEGABYTE), 0
    for _ in range(most_mb):
        yield b"x" * MEGABYTE, 0


def _big_fragments(mask, most_mb):
    yield sockets.frame(sockets.TEXT, b"x" * 1000, False, mask), 0
    piece = sockets.frame(0, b"x" * 1000, False, mask) * 1000
    for _ in range(most_mb):
        yield piece, 0


def _empty_fragments(mask, most_mb):
    yield sockets.frame(sockets.TEXT, b"", False, mask), 0
    piece = sockets.frame(0, b"", False, mask) * 100
    while True:
        yield piece, 0.01


def _tiny_fragments(mask, most_mb):
    yield sockets.frame(sockets.TEXT, b"x", False, mask), 0
    piece = sockets.frame(0, b"x", False, mask)
    while True:
        yield piece, 0.05


def _byte_per_second(mask, most_mb):
    yield sockets.frame(sockets.TEXT, b"", mask=mask, promise=1000), 0
    while True:
        yield b"x", 1


HASTY = (("bigMessage", _big_message), ("bigFragments", _big_fragments))
PATIENT = (("tinyFragments", _tiny_fragments), ("bytePerSecond", _byte_per_second))
# The server of the phone side takes empty fragments for as long as they come; they cost it nothing but the reading.
OF_THE_HOST = (("emptyFragments", _empty_fragments),)


def run(context) -> Result:
    result = Result()
    most_mb = 20 if context.short else 100
    inside = context.namespace("all")
    good = phone(context, "phone", inside, PHONE, *SMALL)
    host = Host(context, inside)
    host.obey(f"add {PHONE}")
    if not host.first_picture(PHONE) or not host.wait_for_pictures(PHONE, 100):
        result.fails("no pictures from the good phone at the beginning")
        return result
    before = {program.name: Resources(program) for program in (host.program, good)}
    most_kb = {name: resources.resident_kb for name, resources in before.items()}
    patience = 30
    if context.short:
        patience = 3
        host.obey(f"limit {patience}")

    ended = threading.Event()
    watcher = threading.Thread(target=_watch, args=((host.program, good), most_kb, ended), daemon=True)
    watcher.start()
    abuses = [Abuse(name, play) for name, play in HASTY + PATIENT + OF_THE_HOST]
    _towards_the_host(inside, host, abuses, most_mb)
    visits = [Abuse(name, play) for name, play in HASTY + (() if context.short else PATIENT)]
    _towards_the_phone(inside, visits, most_mb)
    ended.set()
    watcher.join()

    for side, all_of_it in (("host", abuses), ("phone", visits)):
        for abuse in all_of_it:
            context.note(f"{side}: {abuse.name}: {abuse.sent / MEGABYTE:.1f} MB, thrown out after {abuse.seconds}")
        result.figure(f"abusesOf{side.capitalize()}", len(all_of_it))
        result.equals(f"noticedBy{side.capitalize()}", sum(abuse.seconds is not None for abuse in all_of_it), len(all_of_it))
        slowest = max((abuse.seconds for abuse in all_of_it if abuse.seconds is not None), default=None)
        result.at_most(f"slowest{side.capitalize()}S", slowest, 10 + (patience if side == "host" else 30) * 1.5)
        program = host.program if side == "host" else good
        result.at_most(f"{side}MemoryMb", (most_kb[program.name] - before[program.name].resident_kb) / 1024, MOST_MB)
    result.equals("goodOneLives", host.wait_for_pictures(PHONE, 30), True)
    host.obey(f"remove {PHONE}")
    host.obey(f"add {PHONE}")
    result.equals("nextGoodOneWorks", host.first_picture(PHONE), True)
    for program in (host.program, good):
        after = settled(program, before[program.name])
        result.at_most(f"{program.name}ThreadsMore", after.threads - before[program.name].threads, 0)
        result.at_most(f"{program.name}DescriptorsMore", after.descriptors - before[program.name].descriptors, 0)
    return result


def _watch(programs, most_kb, ended) -> None:
    while not ended.wait(0.05):
        for program in programs:
            most_kb[program.name] = max(most_kb[program.name], program.resident_kb())


def _towards_the_host(inside, host, abuses, most_mb: int) -> None:
    threads = []
    for number, abuse in enumerate(abuses):
        listener = sockets.listen(inside, f"127.0.5.{1 + number}")

        def serve(listener=listener, abuse=abuse) -> None:
            connection, _ = listener.accept()
            listener.close()  # the host's next attempts are refused
            connection.sendall(sockets.acceptance(sockets.read_head(connection)))
            abuse.run(connection, None, most_mb)
            connection.close()

        threads.append(threading.Thread(target=serve, daemon=True))
        threads[-1].start()
        host.obey(f"add 127.0.5.{1 + number}")
    for thread in threads:
        thread.join(timeout=120)
    for number in range(len(abuses)):
        host.obey(f"remove 127.0.5.{1 + number}")


def _towards_the_phone(inside, visits, most_mb: int) -> None:
    threads = []
    for visit in visits:
        connection = sockets.connect(inside, PHONE)
        connection.sendall(sockets.request(PHONE))
        sockets.read_head(connection)
        threads.append(threading.Thread(target=visit.run, args=(connection, MASK, most_mb), daemon=True))
        threads[-1].start()
    for thread in threads:
        thread.join(timeout=120)
