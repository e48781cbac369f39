import json
import subprocess

from kit import ear, phone
from kit.halyard import Halyard, Measured
from kit.link import PHONE, Link
from kit.result import Result

TITLE = "the phone is turned again and again: width and height change places in mid-stream"
SHORT = True
TARGETS = ("halyard", "petrel", "kestrel", "faults_link", "faults_recording")
SECONDS_BETWEEN_TURNS = 3
UPRIGHT, TURNED = "1280x720", "720x1280"
# A key picture of the new size takes the place of a difference to the one before: the encoder is set up anew (some
# 20 ms), the picture is larger, the decoder and the pool of buffers begin anew. Three pictures' time, and the usual one.
LONGEST_CHANGE_MS = 150


def changes(pictures) -> list[tuple]:
    """Neighbours of different sizes."""
    return [(one, next_one) for one, next_one in zip(pictures, pictures[1:]) if one.size != next_one.size]


def decoded(program, file) -> dict:
    done = subprocess.run([program, file], capture_output=True, text=True, check=False, timeout=90)
    return json.loads(done.stdout) if done.returncode == 0 else {"problem": f"the decoder ended with {done.returncode}"}


def run(context):
    result = Result()
    link = Link(context)
    link.set("delay 2")
    phone.start(context, link.phone, options=("--rotate", SECONDS_BETWEEN_TURNS))
    takes = context.directory / "takes"
    halyard = Halyard(context, link.host, PHONE, options=("--record", takes))
    first_us = halyard.first_picture_after(0, within=20)
    if first_us is None:
        result.fails("no picture at first")
        return result
    wanted = max(2, round(context.length(30, 10) / SECONDS_BETWEEN_TURNS))
    ear.ask_until(lambda: len(changes(halyard.pictures())) >= wanted or not halyard.program.running(),
                  within=(wanted + 3) * SECONDS_BETWEEN_TURNS)
    context.spend(1)  # of the last size
    ended_us = context.now_us()
    pictures = halyard.pictures(first_us, ended_us)
    first_size = pictures[0].size
    found = changes(pictures)
    report = halyard.report()

    result.at_least("turns", len(found), wanted)
    result.equals("otherSizes", sorted({one.size for one in pictures} - {UPRIGHT, TURNED}), [])
    # A picture that were put together from both sizes would have no stamp that can be read.
    result.equals("withoutStamp", sum(1 for one in pictures if one.latency_ms is None), 0)
    # From the painting of the first picture of the new size to its arrival, and without any picture meanwhile.
    result.at_most("newSizeAfterMs", max((new.latency_ms or 0 for _, new in found), default=None), LONGEST_CHANGE_MS)
    result.at_most("longestStallAtTurnMs", max(((new.at_us - old.at_us) / 1000 for old, new in found), default=None),
                   LONGEST_CHANGE_MS)
    turns = {new.at_us for _, new in found}
    result.figure("longestStallElsewhereMs", max((new.at_us - old.at_us) / 1000 for old, new in
                                                 zip(pictures, pictures[1:]) if new.at_us not in turns))
    result.at_least("picturesPerSecond", Measured(pictures, first_us, ended_us).per_second, 29)
    result.figure("framesSkipped", report.get("skippedPictures"))
    recording = decoded(context.bin / "faults_recording", takes / f"{PHONE}.mkv")
    result.equals("recording", recording["problem"] or "complete", "complete")
    result.equals("recordedSizes", recording.get("sizes"), [first_size])
    return result
