"""The command line of tools/faults, and the playing of one story after the other."""

import argparse
import importlib
import pathlib
import shutil
import subprocess
import sys
import tempfile
import traceback

from kit import confinement
from kit.context import Context
from kit.result import Result

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent.parent
STORIES = ROOT / "tests/faults/stories"


def load_all() -> dict[str, object]:
    names = sorted(file.stem for file in STORIES.glob("*.py") if not file.stem.startswith("_"))
    return {name: importlib.import_module(f"stories.{name}") for name in names}


def read_arguments(words: list[str], known: dict[str, object]) -> argparse.Namespace:
    parser = argparse.ArgumentParser(prog="tools/faults", description="Plays stories of bad links and of abuse.")
    parser.add_argument("stories", nargs="*", metavar="STORY", help="names of stories, or: short, all")
    parser.add_argument("--seconds", type=float, help="how long the main part of each story lasts")
    parser.add_argument("--short", action="store_true", help="the shortened form")
    parser.add_argument("--keep", action="store_true", help="keep what the programs wrote")
    parser.add_argument("--list", action="store_true", help="the stories there are")
    arguments = parser.parse_args(words)
    chosen: list[str] = []
    for name in arguments.stories:
        if name == "all":
            chosen += known
        elif name == "short":
            chosen += [story for story, module in known.items() if module.SHORT]
            arguments.short = True
        elif name in known:
            chosen.append(name)
        else:
            parser.error(f"there is no story '{name}' (tools/faults --list)")
    if not chosen and not arguments.list:
        parser.error("no story was named")
    if arguments.seconds is not None and arguments.seconds <= 0:
        parser.error("--seconds must be more than 0")
    arguments.stories = list(dict.fromkeys(chosen))
    return arguments


def prepare(modules: list) -> None:
    """Installs and builds what the stories need, before any of them is in namespaces."""
    def gathered(attribute: str) -> list[str]:
        return sorted({word for module in modules for word in getattr(module, attribute, ())})

    # What is built says so on standard output, which belongs to the stories.
    def quietly(*command: object) -> None:
        subprocess.run([str(word) for word in command], check=True, stdout=sys.stderr)

    quietly(ROOT / "tools/install_packages", "build", *gathered("PACKAGES"))
    if targets := gathered("TARGETS"):
        quietly(ROOT / "tools/build", "release", *targets)
    if any(getattr(module, "BROWSER", False) for module in modules):
        quietly(ROOT / "tests/e2e/browser/setup.sh")


def play(name: str, module, arguments: argparse.Namespace) -> bool:
    directory = pathlib.Path(tempfile.mkdtemp(prefix=f"faults-{name}-"))
    context = Context(ROOT, directory, arguments.seconds, arguments.short)
    result = Result()
    try:
        result = module.run(context)
    except Exception as problem:  # a story that breaks is a story that fails
        traceback.print_exc(file=sys.stderr)
        result.fails(f"{type(problem).__name__}: {problem}")
    finally:
        context.end()
        if arguments.keep:
            print(f"  kept: {directory}", file=sys.stderr)
        else:
            shutil.rmtree(directory, ignore_errors=True)
    print(result.line(name), flush=True)
    return result.holds


def main(words: list[str]) -> int:
    known = load_all()
    arguments = read_arguments(words, known)
    if arguments.list:
        for name, module in known.items():
            print(f"{name:<10} {'short' if module.SHORT else '     '}  {module.TITLE}")
        return 0
    modules = [known[name] for name in arguments.stories]
    try:
        prepare(modules)
    except (subprocess.CalledProcessError, OSError) as problem:
        print(f"faults: not ready: {problem}", file=sys.stderr)
        return 1

    def play_all() -> int:
        held = [play(name, known[name], arguments) for name in arguments.stories]
        return 0 if all(held) else 1

    try:
        return confinement.run(play_all)
    except confinement.NotPermitted as problem:
        for name in arguments.stories:
            result = Result()
            result.fails(str(problem))
            print(result.line(name), flush=True)
        return 1
