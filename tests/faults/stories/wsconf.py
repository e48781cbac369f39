"""The WebSocket client against a list of what RFC 6455 asks of it, on raw sockets."""

import re

from kit.result import Result

TITLE = "a conformance list after RFC 6455 for the WebSocket client, over ws and wss"
SHORT = True
PACKAGES = ("test",)
TARGETS = ("web_socket_conformance",)

_LINE = re.compile(r"^conformance: (\w+) over (wss?): (\d+) of (\d+)$", re.MULTILINE)


def run(context) -> Result:
    result = Result()
    program = context.start("conformance", [context.build / "tests/web_socket_conformance"],
                            context.namespace("rows"))
    code = program.wait(within=120)
    rows = {"ws": [0, 0], "wss": [0, 0]}
    for subject, scheme, held, count in _LINE.findall(program.said()):
        rows[scheme][0] += int(held)
        rows[scheme][1] += int(count)
        if held != count:
            context.note(f"{subject} over {scheme}: {held} of {count}")
    for scheme, (held, count) in rows.items():
        result.figure(f"{scheme}Rows", count)
        result.equals(f"{scheme}Held", held, count)
    if code != 0 or not all(count for _, count in rows.values()):
        result.fails(f"the program ended with {code}")
    return result
