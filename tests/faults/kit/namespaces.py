"""Network namespaces without names: each lives as long as the process that holds it."""

from kit.program import Program


class Namespace:
    """Loopback is up; everything else is for the story to add."""

    def __init__(self, holder: Program) -> None:
        self.holder = holder
        self.path = f"/proc/{holder.pid}/ns/net"

    def inside(self, command: list[str]) -> list[str]:
        return ["nsenter", f"--net={self.path}", "--", *command]


HOLD = ["unshare", "--net", "--", "sh", "-c", "ip link set lo up && echo ready && exec sleep infinity"]


def hold(start, name: str) -> Namespace:
    """`start` starts a program by name and command."""
    holder = start(f"namespace_{name}", HOLD)
    if holder.next_line(within=10) != "ready":
        raise RuntimeError(f"no network namespace can be made: {holder.complained().strip()}")
    return Namespace(holder)
