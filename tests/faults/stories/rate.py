from kit import ear
from kit.halyard import Measured
from kit.result import Result
from stories import _gone

TITLE = "the link gives 1 Mbit/s for a while, less than half of what the phone sends"
SHORT = False
TARGETS = _gone.TARGETS
# The simulated phone goes on sending what the link cannot carry, as no real one would, and crowds out the signalling
# too: what is promised is that everything is as before soon after it ended.
BACK_WITHIN_S = 5
WHOLE_SECOND_US = 1_000_000


def is_back(context, halyard) -> bool:
    now_us = context.now_us()
    return len(halyard.pictures(now_us - WHOLE_SECOND_US, now_us)) >= 28


def run(context):
    result = Result()
    scene = _gone.Scene(context)
    before_us = context.now_us()
    context.spend(3)
    narrow_us = context.now_us()
    scene.link.set("rate 1000")
    context.spend(context.length(20, 6))
    wide_us = context.now_us()
    scene.link.set("rate 0")
    context.spend(1)
    back = ear.ask_until(lambda: is_back(context, scene.halyard), BACK_WITHIN_S + 15, every=0.1)
    settled_us = context.now_us()
    context.spend(5)
    ended_us = context.now_us()

    pictures = scene.halyard.pictures
    before = Measured(pictures(before_us, narrow_us), before_us, narrow_us)
    narrow = Measured(pictures(narrow_us, wide_us), narrow_us, wide_us)
    after = Measured(pictures(settled_us, ended_us), settled_us, ended_us)
    result.at_least("perSecondBefore", before.per_second, 29)
    result.figure("perSecondNarrow", narrow.per_second)
    result.at_most("backAfterS", (settled_us - wide_us) / 1e6 if back else None, BACK_WITHIN_S)
    result.at_least("perSecondAfter", after.per_second, 29)
    result.at_most("latencyP50GrownMs", after.p50 - before.p50 if before.p50 and after.p50 else None, 20)
    result.equals("lastPictureKept", not scene.halyard.moments("colour", narrow_us), True)
    counts = scene.link.counts()
    result.figure("overflow", counts["b.overflow"])
    return result
