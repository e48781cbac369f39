from stories import _loss

TITLE = "5 % of all packets are lost both ways, beside headless Chromium"
SHORT = False
TARGETS = _loss.TARGETS
PACKAGES = _loss.PACKAGES
BROWSER = True


def run(context):
    return _loss.play(context, ["loss 5"], per_second=29.5, latency_p99_ms=120, of_chromium=0.95)
