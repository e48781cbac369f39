"""What a host shows while nothing comes, and when pictures are back."""

from kit import ear, phone
from kit.halyard import Halyard
from kit.link import PHONE, Link

TARGETS = ("halyard", "petrel", "kestrel", "faults_link")
SILENT_WITHIN_MS = 1000
RUNNING_SECONDS = 3
OPENED = "socket opened successfully"


class Scene:
    """A link with a phone and a host that has had its picture for some seconds."""

    def __init__(self, context, source: str = PHONE, listen: str = PHONE) -> None:
        self.context = context
        self.link = Link(context)
        self.link.set("delay 2")
        self.phone = phone.start(context, self.link.phone, listen)
        self.halyard = Halyard(context, self.link.host, source)
        if self.halyard.first_picture_after(0, within=20) is None:
            raise RuntimeError("no picture at first")
        context.spend(RUNNING_SECONDS)

    def opened(self) -> int:
        """How often the signalling was opened so far."""
        return self.halyard.program.complained().count(OPENED)

    def wait_for_opening(self, before: int, within: float) -> int | None:
        """The moment when the signalling was opened once more; None when it was not."""
        seen = ear.wait_until(lambda: self.opened() > before or not self.halyard.program.running(), within)
        return self.context.now_us() if seen and self.halyard.program.running() else None


def check_nothing_shown_but_the_last(result, scene: Scene, from_us: int, to_us: int) -> None:
    """Between these moments nothing came: the last picture stays, and the sound is silence soon."""
    halyard = scene.halyard
    result.figure("picturesWhileGone", len(halyard.pictures(from_us + 500_000, to_us)))
    result.equals("lastPictureKept", not [at for at in halyard.moments("colour", from_us) if at < to_us], True)
    silences = [at for at in halyard.moments("silence", from_us) if at < to_us]
    result.at_most("silentAfterMs", (silences[0] - from_us) / 1000 if silences else None, SILENT_WITHIN_MS)


def check_back(result, scene: Scene, back_us: int, link_us: int, link_limit_s: float, opening_limit_ms: float | None,
               before: int) -> None:
    """`link_us`: when there was a way to a phone again; `before`: openings until then."""
    opened_us = scene.wait_for_opening(before, within=link_limit_s + 10)
    picture_us = scene.halyard.first_picture_after(opened_us or back_us, within=link_limit_s + 10)
    result.at_most("pictureAfterS", (picture_us - link_us) / 1e6 if picture_us else None, link_limit_s)
    if opening_limit_ms is not None:
        after = (picture_us - opened_us) / 1000 if picture_us and opened_us else None
        result.at_most("pictureAfterSignallingMs", after, opening_limit_ms)
    sound = scene.halyard.moments("sound", back_us) or (
        ear.ask_until(lambda: scene.halyard.moments("sound", back_us), 5))
    result.equals("soundBack", bool(sound), True)
