#!/usr/bin/env python3
"""Which failed tests may run once more, alone: those whose expectations did not hold, which may be the machine's doing.
A crash, a hang or a report of a sanitizer is never forgiven, nor are many failures at once.

Takes the JUnit file of a ctest run. Prints what ctest -R takes, or nothing."""

import re
import sys
import xml.etree.ElementTree as ElementTree

MOST_FAILURES = 5
REPORT = re.compile(r"ERROR: \w*Sanitizer|WARNING: \w*Sanitizer|runtime error:")
# The last line of a program of GoogleTest's that came to its end.
EXPECTATION = re.compile(r"^ *\d+ FAILED TESTS?$", re.MULTILINE)


def may_run_again(case: ElementTree.Element) -> bool:
    output = case.findtext("system-out") or ""
    return EXPECTATION.search(output) is not None and REPORT.search(output) is None


def pattern(root: ElementTree.Element) -> str:
    failed = [case for case in root.iter("testcase") if case.get("status") != "run"]
    if len(failed) > MOST_FAILURES:
        return ""
    names = [re.sub(r"[^\w/-]", ".", case.get("name", "")) for case in failed if may_run_again(case)]
    return f"^({'|'.join(names)})$" if names else ""


if __name__ == "__main__":
    print(pattern(ElementTree.parse(sys.argv[1]).getroot()))
