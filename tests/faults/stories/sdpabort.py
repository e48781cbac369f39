"""Mutated answers, and some offers, into live peer connections of the wrapper, each batch in a child process."""

import json

from kit.result import Result

TITLE = "10,000 mutated answers into a live wrapper in child processes: none aborts"
SHORT = False
PACKAGES = ("test",)
TARGETS = ("faults_sdpabort",)


def run(context) -> Result:
    result = Result()
    count = 300 if context.short else 10_000
    program = context.start("answers", [context.bin / "faults_sdpabort", "--count", count, "--keep", context.directory],
                            context.namespace("answers"))
    code = program.wait(within=240 if context.short else 3600)
    if code != 0:
        result.fails(f"the program ended with {code}")
        return result
    report = json.loads(program.said())
    context.note(program.complained()[-2000:])
    result.figure("answers", report["answers"])
    result.equals("aborts", report["aborts"], 0)
    # Neither side of the rules may be idle: good answers are set, and bad ones refused.
    result.at_least("taken", report["taken"], count / 10)
    result.at_least("refused", report["refused"], count / 10)
    result.equals("goodOnesRefused", report["goodOnesRefused"], 0)
    result.equals("notSet", report["notSet"], 0)
    result.equals("unanswered", report["unanswered"], 0)
    result.at_least("withPictures", report["withPictures"], count / 400)
    result.equals("criticals", report["criticals"], 0)
    return result
