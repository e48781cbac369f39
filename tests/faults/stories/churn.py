"""A phone is connected, shows a picture and is disconnected, again and again, in one process of the host."""

from kit import ear
from kit.result import Result
from stories._host import SMALL, TARGETS as HOST_TARGETS, Host, Resources, phone, settled

TITLE = "1,000 connects with media: memory +2 MB at most after cycle 100, no thread and no descriptor more"
SHORT = True
PACKAGES = ("test",)
TARGETS = HOST_TARGETS

ADDRESS = "127.0.0.2"


def run(context) -> Result:
    result = Result()
    cycles, warm_up = (60, 15) if context.short else (1000, 100)
    most_mb = 2
    inside = context.namespace("all")
    phone(context, "phone", inside, ADDRESS, *SMALL)
    host = Host(context, inside)
    begin = None
    done = 0
    for cycle in range(1, cycles + 1):
        host.obey(f"add {ADDRESS}")
        if not host.first_picture(ADDRESS):
            result.fails(f"no picture in cycle {cycle}")
            break
        host.obey(f"remove {ADDRESS}")
        done = cycle
        if cycle == warm_up:
            begin = _resting(host)
            context.note(f"after {cycle} cycles: {begin}")
        elif cycle % 100 == 0:
            context.note(f"after {cycle} cycles: {Resources(host.program)}")
    result.figure("cycles", done)
    if begin is None:
        return result
    settled(host.program, begin)
    end = _resting(host)
    context.note(f"at the end: {end}")
    # What is held is told apart from what the allocator keeps of what was given back.
    result.at_most("memoryMb", (end.trimmed_kb - begin.trimmed_kb) / 1024, most_mb)
    result.figure("withAllocatorMb", (end.resident_kb - begin.resident_kb) / 1024)
    result.at_most("threadsMore", end.threads - begin.threads, 0)
    result.at_most("descriptorsMore", end.descriptors - begin.descriptors, 0)
    return result


def _resting(host) -> Resources:
    """Once what ends on threads of its own has ended: nothing changes any more for a second."""
    seen = []

    def still():
        now = Resources(host.program)
        seen.append((now.threads, now.descriptors))
        return len(seen) > 5 and len(set(seen[-6:])) == 1

    ear.ask_until(still, within=30, every=0.2)
    resources = Resources(host.program)
    host.obey("trim")
    resources.trimmed_kb = host.program.resident_kb()
    return resources
