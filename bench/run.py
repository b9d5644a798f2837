# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Runs the benchmark over all workloads and writes the results into one file.

    run.py PROGRAM OUTPUT [--quick]

Each part of each workload is a process of its own. Within it, the library and its peers take turns.
"""
from __future__ import annotations

import argparse
import json
import os
import platform
import subprocess
import sys
import tempfile
import time
from dataclasses import dataclass
from typing import Any

from results import MAIN, Size, Unusable, check


@dataclass(frozen=True)
class Effort:
    """How often, for a workload. What takes long is done less often."""
    repetitions: int
    seconds: float  # of the calls of one repetition
    commits: int
    starts: int
    parallel: int = 0


PLAN = {
    Size(10, 512): Effort(5, 0.02, 60, 20),
    Size(100, 512): Effort(5, 0.02, 60, 20),
    MAIN: Effort(9, 0.05, 120, 100, parallel=3),
    Size(10_000, 512): Effort(3, 0.02, 5, 8),
    Size(100_000, 512): Effort(2, 0.01, 2, 3),
    Size(100, 65536): Effort(5, 0.02, 20, 20),
}
QUICK = {MAIN: Effort(5, 0.03, 100, 60, parallel=1)}
NANOSECONDS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


def run_part(program: str, part: str, size: Size, options: list[str]) -> None:
    started = time.monotonic()
    directory = os.path.dirname(os.path.dirname(os.path.abspath(program)))
    finished = subprocess.run(
        [program, part, f"--policies={size.policies}", f"--blob-size={size.blob_size}",
         f"--directory={directory}", *options],
        check=False, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
    if finished.returncode != 0:
        raise Unusable(f"the part {part} failed:\n{finished.stderr.strip()}")
    print(f"  {part}: {time.monotonic() - started:.0f} s", file=sys.stderr)


def run_warm(program: str, size: Size, effort: Effort, output: str) -> dict[str, Any]:
    run_part(program, "warm", size, [
        f"--benchmark_repetitions={effort.repetitions}", f"--benchmark_min_time={effort.seconds}",
        "--benchmark_enable_random_interleaving=true", f"--benchmark_out={output}",
        "--benchmark_out_format=json"])
    with open(output, encoding="utf-8") as file:
        document = json.load(file)
    rows: dict[tuple[str, str], list[float]] = {}
    for run in document["benchmarks"]:
        if run["run_type"] == "iteration":
            case, contestant = run["name"].split("/")[:2]
            rows.setdefault((case, contestant), []).append(
                run["cpu_time"] * NANOSECONDS[run["time_unit"]])
    return {"part": "warm", "context": document["context"],
            "rows": [{"case": case, "contestant": contestant, "values": values}
                     for (case, contestant), values in rows.items()]}


def run_rounds(program: str, part: str, size: Size, rounds: int, output: str) -> dict[str, Any]:
    run_part(program, part, size, [f"--rounds={rounds}", f"--output={output}"])
    with open(output, encoding="utf-8") as file:
        document = json.load(file)
    return {"part": part, "context": document["context"], "rows": document["samples"]}


def run_all(program: str, plan: dict[Size, Effort], directory: str) -> list[dict[str, Any]]:
    runs = []
    for size, effort in plan.items():
        print(f"{size.policies} policies, blobs of {size.blob_size} bytes", file=sys.stderr)
        output = os.path.join(directory, "part.json")
        runs.append(run_warm(program, size, effort, output))
        check(program, runs[0]["context"])
        for part, rounds in (("commits", effort.commits), ("processes", effort.starts),
                             ("parallel", effort.parallel)):
            if rounds:
                runs.append(run_rounds(program, part, size, rounds, output))
    return runs


def first_line(path: str, start: str) -> str:
    with open(path, encoding="utf-8") as file:
        for line in file:
            if line.startswith(start):
                return line.partition("=" if "=" in line else ":")[2].strip().strip('"')
    return "unknown"


def describe_machine(directory: str) -> dict[str, str]:
    mount = subprocess.run(["findmnt", "-n", "-o", "FSTYPE,OPTIONS", "-T", directory], check=False,
                           capture_output=True, text=True).stdout.split()
    return {
        "processor": first_line("/proc/cpuinfo", "model name"),
        "processors": str(os.cpu_count()),
        "memory": f"{os.sysconf('SC_PHYS_PAGES') * os.sysconf('SC_PAGE_SIZE') / 2**30:.0f} GiB",
        "kernel": f"{platform.system()} {platform.release()}",
        "system": first_line("/etc/os-release", "PRETTY_NAME"),
        "file system": " ".join(mount) or "unknown",
        "load at the start": f"{os.getloadavg()[0]:.2f}",
        "date": time.strftime("%Y-%m-%d", time.gmtime()),
    }


def main() -> int:
    parser = argparse.ArgumentParser()
    parser.add_argument("program")
    parser.add_argument("output")
    parser.add_argument("--quick", action="store_true")
    arguments = parser.parse_args()
    machine = describe_machine(os.path.dirname(arguments.program))
    try:
        with tempfile.TemporaryDirectory() as directory:
            runs = run_all(arguments.program, QUICK if arguments.quick else PLAN, directory)
    except Unusable as error:
        print(f"run.py: {error}", file=sys.stderr)
        return 1
    with open(arguments.output, "w", encoding="utf-8") as file:
        json.dump({"machine": machine, "runs": runs}, file, indent=1)
        file.write("\n")
    return 0


if __name__ == "__main__":
    sys.exit(main())
