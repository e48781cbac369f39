from stories import _loss

TITLE = "1 % of all packets are lost both ways, beside headless Chromium"
SHORT = False
TARGETS = _loss.TARGETS
PACKAGES = _loss.PACKAGES
BROWSER = True


def run(context):
    return _loss.play(context, ["loss 1"], per_second=29.9, latency_p99_ms=50, of_chromium=0.95)
