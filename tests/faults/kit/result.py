"""What a story found: its figures, and which of them are not as promised."""


class Result:
    def __init__(self) -> None:
        self.holds = True
        self.figures: dict[str, object] = {}
        self.limits: dict[str, str] = {}  # of the figures that are not held

    def figure(self, name: str, value: object) -> None:
        """A figure that is only told."""
        self.figures[name] = value

    def at_least(self, name: str, value: float | None, limit: float) -> None:
        self._held(name, value, value is not None and value >= limit, f"at least {limit:g}")

    def at_most(self, name: str, value: float | None, limit: float) -> None:
        self._held(name, value, value is not None and value <= limit, f"at most {limit:g}")

    def equals(self, name: str, value: object, wanted: object) -> None:
        self._held(name, value, value == wanted, f"must be {wanted}")

    def fails(self, why: str) -> None:
        """The story could not be played to its end, or what it showed has no figure."""
        self.holds = False
        self.figures["because"] = why.replace("\n", " ")

    def _held(self, name: str, value: object, held: bool, limit: str) -> None:
        self.figures[name] = value
        if not held:
            self.holds = False
            self.limits[name] = limit

    def line(self, story: str) -> str:
        words = [f"{story:<10} {'holds' if self.holds else 'FAILS'} "]
        for name, value in self.figures.items():
            limit = f" ({self.limits[name]})" if name in self.limits else ""
            words.append(f"{name}={_text(value)}{limit}")
        return " ".join(words)


def _text(value: object) -> str:
    if value is None:
        return "none"
    if isinstance(value, bool):
        return "yes" if value else "no"
    if isinstance(value, float):
        return f"{value:.2f}".rstrip("0").rstrip(".")
    text = str(value)
    return f'"{text}"' if " " in text else text
