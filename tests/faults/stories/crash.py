"""The host program is killed at random moments: while it stores what the operator does, and while it records."""

import json
import pathlib
import random
import subprocess
import time

from kit import ear
from kit.result import Result
from stories._host import phone

TITLE = "200 kills of the host at random moments: the state folder always loads, and recordings can be played"
SHORT = False
PACKAGES = ("test",)
TARGETS = ("halyard", "petrel", "kestrel", "faults_recording")

PHONE = "127.0.1.1"
ADDRESSES = [f"127.0.4.{number}" for number in range(1, 4)]  # nobody listens there


def run(context) -> Result:
    result = Result()
    stores, recordings = (12, 3) if context.short else (160, 40)
    inside = context.namespace("all")
    dice = random.Random(3)
    result.figure("kills", stores + recordings)
    _Stores(context, inside, dice, result).play(stores)
    phone(context, "phone", inside, PHONE, "--size", "640x360")
    _Recordings(context, inside, dice, result).play(recordings)
    return result


class _Stores:
    """The operator types addresses as fast as can be; what was stored last is what is there after a kill."""

    def __init__(self, context, inside, dice, result) -> None:
        self.context, self.inside, self.dice, self.result = context, inside, dice, result
        self.state = context.directory / "state"

    def play(self, kills: int) -> None:
        loaded = changed = 0
        first = self._host("begin", "--source", ADDRESSES[0], "--source", ADDRESSES[1], "--source", ADDRESSES[2])
        ear.ask_until(lambda: len(self._stored()) == 3, within=20)
        first.end(within=20)
        before = self._stored()
        if len(before) != 3:
            self.result.fails(f"the sources were not stored: {first.complained()[-300:]}")
            return
        for kill in range(kills):
            host = self._host("host")
            # Some are killed while they start, most while they store.
            moment = self.dice.uniform(0.02, 0.6)
            begin = time.monotonic()
            number = 0
            while time.monotonic() - begin < moment and host.running():
                number += 1
                try:
                    host.tell(f"source {1 + number % 3}")
                    host.tell(f"address 127.0.{5 + number % 200}.{1 + kill % 250}")
                    host.tell("connect")
                except OSError:
                    break
            if not host.running():
                self.result.fails(f"the host ended by itself: {host.complained()[-300:]}")
                return
            host.kill()
            after = self._stored()
            loaded += len(after) == 3
            changed += after != before
            before = after
        last = self._host("last")
        listed = ear.wait_until(lambda: last.said().count("Source ") or last.complained().count("ource"), within=20)
        last.end(within=20)
        self.result.equals("stateLoads", loaded, kills)
        self.result.at_least("killsAfterAChange", changed, kills / 4)
        damaged = list(self.state.glob("*.damaged*"))
        self.result.equals("filesSetAside", len(damaged), 0)
        self.result.equals("sourcesAtTheEnd", len(self._stored()) if listed else None, 3)

    def _host(self, name: str, *more: str):
        return self.context.start(name, [self.context.bin / "halyard", "--state", self.state, "--panel", *more], self.inside)

    def _stored(self) -> list[str]:
        """The addresses in the state folder, as any reader of JSON has them; nothing when it is damaged."""
        try:
            document = json.loads((self.state / "sources.json").read_text(encoding="utf-8"))
            return sorted(json.dumps(source["settings"], sort_keys=True) for source in document["sources"])
        except (OSError, ValueError, KeyError):
            return []


class _Recordings:
    """Killed at any moment of a recording; what was recorded until a second before can be played."""

    def __init__(self, context, inside, dice, result) -> None:
        self.context, self.inside, self.dice, self.result = context, inside, dice, result

    def play(self, kills: int) -> None:
        due = playable = 0
        missing = []
        for kill in range(kills):
            takes = self.context.directory / f"takes-{kill}"
            host = self.context.start("recorder", [
                self.context.bin / "halyard", "--state", self.context.directory / "recording-state", "--source", PHONE,
                "--record", takes, "--quiet"], self.inside)
            file = takes / f"{PHONE}.mkv"
            ear.ask_until(lambda: file.exists() or not host.running(), within=20, every=0.005)
            begin = time.monotonic()
            ear.wait_until(lambda: not host.running(), within=self.dice.uniform(0.05, 5.0))
            recorded = time.monotonic() - begin
            if not host.running():
                self.result.fails(f"the host ended by itself: {host.complained()[-300:]}")
                return
            host.kill()
            if recorded >= 1:
                due += 1
                found = _decoded(self.context.bin / "faults_recording", file)
                length = min(found.get("pictureSeconds", 0), found.get("soundSeconds", 0))
                if found["problem"] == "" and length > 0:
                    playable += 1
                else:
                    self.context.note(f"{recorded:.2f} s, {file.stat().st_size} bytes: {found}")
                missing.append(recorded - length)
            file.unlink(missing_ok=True)
        self.result.figure("recordingsOverOneSecond", due)
        self.result.equals("playable", playable, due)
        self.result.figure("mostSecondsMissing", max(missing, default=None))


def _decoded(program: pathlib.Path, file: pathlib.Path) -> dict:
    done = subprocess.run([program, file], capture_output=True, text=True, check=False, timeout=90)
    return json.loads(done.stdout) if done.returncode == 0 else {"problem": f"the decoder ended with {done.returncode}"}
