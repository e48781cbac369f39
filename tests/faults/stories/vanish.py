from kit import ear, phone
from kit.result import Result
from stories import _gone

TITLE = "the phone is gone without a FIN, and another one comes in its place"
SHORT = True
TARGETS = _gone.TARGETS
NOTICED_WITHIN_S = 12


def run(context):
    result = Result()
    scene = _gone.Scene(context)
    before = scene.opened()
    trace = len(scene.halyard.program.complained())
    gone_us = context.now_us()
    scene.link.set("down")
    scene.phone.kill()
    lost = ear.wait_until(lambda: "ClosedHandler" in scene.halyard.program.complained()[trace:], NOTICED_WITHIN_S + 5)
    noticed_us = context.now_us()
    result.at_most("noticedAfterS", (noticed_us - gone_us) / 1e6 if lost else None, NOTICED_WITHIN_S)
    _gone.check_nothing_shown_but_the_last(result, scene, gone_us, noticed_us)

    phone.start(context, scene.link.phone, name="next_phone")
    up_us = context.now_us()
    scene.link.set("up")
    _gone.check_back(result, scene, up_us, up_us, link_limit_s=15, opening_limit_ms=2000, before=before)
    return result
