from stories import _loss

TITLE = "10 % of all packets are lost both ways, beside headless Chromium"
SHORT = False
TARGETS = _loss.TARGETS
PACKAGES = _loss.PACKAGES
BROWSER = True


def run(context):
    return _loss.play(context, ["loss 10"], per_second=25, latency_p99_ms=300, of_chromium=0.95)
