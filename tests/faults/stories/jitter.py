from stories import _loss

TITLE = "packets are up to 20 ms early or late, pass each other and come twice"
SHORT = True
TARGETS = _loss.TARGETS
PACKAGES = _loss.PACKAGES


def run(context):
    return _loss.play(context, ["delay 22", "jitter 20", "reorder 2", "duplicate 1"], per_second=29,
                      latency_p99_ms=None, of_chromium=None)
