"""Headless Chromium as another receiver of the same phone; see tests/faults/browser."""

import json

from kit import ear, link


class Chromium:
    def __init__(self, context, namespace, address: str = link.PHONE) -> None:
        script = context.root / "tests/faults/browser/receiver.js"
        self.program = context.start("chromium", ["node", script, f"ws://{address}:9001/"], namespace)
        self._wait_for_answer(30)

    def counts(self) -> dict:
        """What its own statistics say, among it framesDecoded, at the moment atUs."""
        self.program.tell("counts")
        return self._wait_for_answer(10)

    def wait_for_pictures(self, within: float) -> bool:
        return bool(ear.ask_until(lambda: self.counts()["framesDecoded"] > 0, within, every=0.2))

    def _wait_for_answer(self, within: float) -> dict:
        answer = self.program.next_line(within)
        if answer is None:
            raise RuntimeError(f"Chromium does not answer: {self.program.complained().strip()[-500:]}")
        return json.loads(answer)


def per_second(before: dict, after: dict) -> float:
    return (after["framesDecoded"] - before["framesDecoded"]) * 1e6 / (after["atUs"] - before["atUs"])
