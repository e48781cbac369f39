import subprocess

from kit.link import PHONE
from kit.result import Result
from stories import _gone

TITLE = "the phone has another address from one moment to the next; the host knows it by name"
SHORT = False
TARGETS = _gone.TARGETS
NAME = "phone.test"
NEXT_ADDRESS = "10.77.0.3"


def run(context):
    result = Result()
    hosts = context.directory / "hosts"
    hosts.write_text(f"127.0.0.1 localhost\n{PHONE} {NAME}\n", encoding="ascii")
    # Seen only by what this driver started.
    subprocess.run(["mount", "--bind", hosts, "/etc/hosts"], check=True)
    try:
        scene = _gone.Scene(context, source=NAME, listen="0.0.0.0")
        openings = scene.opened()
        # The first address takes its network along, so it goes first.
        for words in (["del", f"{PHONE}/24", "dev", "wlan0"], ["add", f"{NEXT_ADDRESS}/24", "dev", "wlan0"]):
            subprocess.run(scene.link.phone.inside(["ip", "address", *words]), check=True)
        changed_us = context.now_us()
        hosts.write_text(f"127.0.0.1 localhost\n{NEXT_ADDRESS} {NAME}\n", encoding="ascii")
        _gone.check_back(result, scene, changed_us + 500_000, changed_us, link_limit_s=25, opening_limit_ms=2000,
                         before=openings)
        pictures = scene.halyard.pictures(changed_us)
        stalls = [after.at_us - before.at_us for before, after in zip(pictures, pictures[1:])]
        result.figure("longestStallMs", max(stalls) / 1000 if stalls else None)
        result.equals("lastPictureKept", not scene.halyard.moments("colour", changed_us), True)
    finally:
        context.end()
        subprocess.run(["umount", "/etc/hosts"], check=False)
    return result
