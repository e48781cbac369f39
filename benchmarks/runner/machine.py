"""Where and with what figures were measured."""

import datetime
import os
import pathlib
import re
import subprocess


def _said_by(*command: str) -> str:
    try:
        done = subprocess.run(command, capture_output=True, text=True, timeout=30, check=True)
    except (OSError, subprocess.SubprocessError):
        return ""
    return done.stdout.strip()


def _version_of_package(name: str) -> str:
    return _said_by("dpkg-query", "-W", "-f", "${Version}", name) or "unknown"


def _number_in(text: str) -> str:
    found = re.search(r"\d+(\.\d+)+", text)
    return found.group(0) if found else "unknown"


def processor() -> str:
    for line in pathlib.Path("/proc/cpuinfo").read_text(encoding="utf-8").splitlines():
        if line.startswith("model name"):
            return line.partition(":")[2].strip()
    return "unknown processor"


def describe() -> dict[str, str]:
    return {
        "machine": f"{os.cpu_count()} cores, {processor()}, Linux {os.uname().release}",
        "GStreamer": _version_of_package("libgstreamer1.0-0"),
        "libyuv": _version_of_package("libyuv0"),
        "FFmpeg": _version_of_package("libavcodec59"),
        "compiler": "g++ " + _said_by("g++", "-dumpfullversion"),
        "Chromium": _number_in(_said_by("chromium", "--version")),
        "date": datetime.datetime.now(datetime.timezone.utc).strftime("%Y-%m-%d %H:%M UTC"),
    }


def load() -> float:
    """How many programs wanted a processor in the last minute."""
    return os.getloadavg()[0]
