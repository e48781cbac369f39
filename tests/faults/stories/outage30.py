from kit.result import Result
from stories import _gone

TITLE = "the link is down for 30 seconds"
SHORT = False
TARGETS = _gone.TARGETS


def run(context):
    result = Result()
    scene = _gone.Scene(context)
    before = scene.opened()
    down_us = context.now_us()
    scene.link.set("down")
    context.spend(context.length(30, 30))
    up_us = context.now_us()
    scene.link.set("up")
    _gone.check_nothing_shown_but_the_last(result, scene, down_us, up_us)
    # A lost socket is tried again every few seconds.
    _gone.check_back(result, scene, up_us, up_us, link_limit_s=15, opening_limit_ms=2000, before=before)
    return result
