"""The simulated link between two network namespaces; see tests/faults/link."""

import re

HOST = "10.77.0.1"
PHONE = "10.77.0.2"

# Without a way to the rest of the world a public STUN server fails at once, as on a network without a gateway.


class Link:
    """Between the receiver's namespace and the phone's, each with a device wlan0."""

    def __init__(self, context, seed: int = 1) -> None:
        self.host = context.namespace("host")
        self.phone = context.namespace("phone")
        self.program = context.start("link", [context.build / "tests/faults_link", self.host.path, HOST,
                                              self.phone.path, PHONE, seed])
        if self.program.next_line(within=10) is None:
            raise RuntimeError(f"no link: {self.program.complained().strip()}")

    def set(self, *commands: str) -> None:
        """Such as "loss 5", "down"; behind "a" for what the host sends only, behind "b" for what the phone sends."""
        for command in commands:
            answer = self._ask(command)
            if answer != "ok":
                raise RuntimeError(f"the link does not understand: {answer}")

    def counts(self) -> dict[str, int]:
        """Keys such as "a.lost": packets that the host sent and that were lost."""
        counts: dict[str, int] = {}
        end = ""
        for word in self._ask("counts").split():
            if match := re.fullmatch(r"(\w+)=(\d+)", word):
                counts[end + match[1] if match[1] != "refused" else "refused"] = int(match[2])
            else:
                end = word + "."
        return counts

    def _ask(self, command: str) -> str:
        self.program.tell(command)
        answer = self.program.next_line(within=10)
        if answer is None:
            raise RuntimeError("the link does not answer")
        return answer
