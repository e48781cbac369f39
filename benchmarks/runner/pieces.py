"""The pieces: rounds of the Google Benchmark program, and their ratios."""

import json
import pathlib
import statistics

import figures
from processes import Child

SIZES = {"720p": 720, "1080p": 1080, "2160p": 2160}

# Figure, what is measured, what it is divided by. {} is a picture's height.
SIZED_RATIOS = [
    ("conversion", "FrameIntoHostBuffer/{}", "CopyIntoHostBuffer/{}"),
    ("conversionVsSwscale", "FrameIntoHostBuffer/{}", "SwscaleIntoHostBuffer/{}"),
    ("conversionVsVideoconvert", "FrameIntoHostBuffer/{}", "VideoconvertIntoHostBuffer/{}"),
    ("conversionAndRead", "FrameIntoHostBufferAndRead/{}", "CopyIntoHostBufferAndRead/{}"),
]
RATIOS = [(f"{key}.{name}", above.format(height), below.format(height))
          for key, above, below in SIZED_RATIOS for name, height in SIZES.items()] + [
    ("pooledVsMapped", "FrameIntoPooledBuffer", "FrameIntoMappedBuffer"),
    ("pooledBufferAloneVsMapped", "PooledBufferAlone", "MappedBufferAlone"),
    ("pullMutexPairs", "PullOfAHeldPicture", "MutexPair"),
    ("ringReadVsMemcpy", "RingReadOf1600Frames", "CopyOf6400Bytes"),
]
NANOSECONDS_PER = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
PAGE_FAULTS = [f"PageFaultsOfAFrame/{height}/iterations:500" for height in SIZES.values()]
NEEDED = sorted({name for _, above, below in RATIOS for name in (above, below)} | {"OfferMessage"})


def run_round(program: pathlib.Path, seconds: float) -> dict[str, float]:
    """One interleaved round: nanoseconds of CPU of each piece, page faults of those that count them."""
    child = Child([program, "--benchmark_format=json", "--benchmark_repetitions=5",
                   f"--benchmark_min_time={seconds}", "--benchmark_enable_random_interleaving=true"])
    written = json.loads(child.output_at_end(limit=600))
    times: dict[str, list[float]] = {}
    for entry in written["benchmarks"]:
        if entry["run_type"] != "iteration":
            continue
        if entry.get("error_occurred"):
            raise RuntimeError(f"{entry['run_name']}: {entry.get('error_message')}")
        value = entry.get("pageFaultsPerFrame", entry["cpu_time"] * NANOSECONDS_PER[entry["time_unit"]])
        times.setdefault(entry["run_name"], []).append(value)
    return {name: statistics.median(values) for name, values in times.items()}


def figures_of(rounds: list[dict[str, float]]) -> dict[str, float]:
    values = {key: figures.median_ratio([one[above] for one in rounds], [one[below] for one in rounds])
              for key, above, below in RATIOS}
    values["offerMessageUs"] = statistics.median(one["OfferMessage"] for one in rounds) / 1000
    if all(name in one for one in rounds for name in PAGE_FAULTS):
        values["pageFaultsPerFrame"] = max(statistics.median(one[name] for one in rounds) for name in PAGE_FAULTS)
    return values
