# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Counts the instructions of the library's main calls by callgrind, and compares them with those
that are kept.

    instructions.py PROGRAM [--check | --write] [--kept FILE]

Prints the counts; with --check fails when one is more than 5 % above what is kept; with --write
keeps the new ones. Counts hardly depend on what else the machine does, so they are a gate where
times would be none.

Two counts a call: `own` are the instructions in the library and its platform alone, `all` those of
the other libraries too: a copy too many shows there only. What would make them differ from machine
to machine is taken out: the C library is told to use none of the instructions that a newer
processor has; valgrind's processor is its own; the store's clock
stands still (standing_clock.cpp), and a block of memory always costs the same (steady_memory.cpp).
System calls count nothing but what enters them.
"""
from __future__ import annotations

import argparse
import glob
import json
import os
import re
import subprocess
import sys
import tempfile
from typing import Optional

KEPT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "instructions.json")
TOLERANCE = 0.05
OWN = re.compile(r"/libquor(-platform)?\.so")
KINDS = ("own", "all")

# Of the C library: no variant for a newer processor, and the limits above which a copy goes another
# way, which it otherwise takes from the sizes of the caches.
TUNABLES = ":".join([
    "glibc.cpu.hwcaps=" + ",".join(f"-{name}" for name in (
        "AVX", "AVX2", "AVX_Fast_Unaligned_Load", "AVX512F", "AVX512VL", "AVX512BW", "ERMS", "FSRM",
        "BMI1", "BMI2", "LZCNT", "MOVBE", "RTM", "SSE4_1", "SSE4_2", "SSSE3")),
    "glibc.cpu.x86_data_cache_size=0x8000", "glibc.cpu.x86_shared_cache_size=0x100000",
    "glibc.cpu.x86_non_temporal_threshold=0xc0000", "glibc.cpu.x86_rep_movsb_threshold=0x800",
    "glibc.cpu.x86_rep_stosb_threshold=0x800"])
ENVIRONMENT = {"GLIBC_TUNABLES": TUNABLES, "LC_ALL": "C"}

Counts = dict[str, dict[str, int]]


def repeatable(program: str) -> str:
    """The library beside the program; without it each run would count other looks at the files."""
    path = os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(program))), "lib",
                        "librepeatable.so")
    if not os.path.exists(path):
        sys.exit(f"instructions.py: there is no {path}; build the benchmark anew")
    return path


def profiles(program: str) -> list[str]:
    """The text of a profile of each call. On one processor: what is kept for another one would have
    to be fetched again."""
    os.sched_setaffinity(0, {min(os.sched_getaffinity(0))})
    with tempfile.TemporaryDirectory() as directory:
        output = os.path.join(directory, "calls")
        finished = subprocess.run(
            ["valgrind", "--tool=callgrind", "--instr-atstart=no", "--collect-atstart=no",
             "--compress-strings=no", "--compress-pos=no", f"--callgrind-out-file={output}",
             program, "calls", f"--directory={directory}"],
            capture_output=True, text=True, errors="replace", check=False,
            env={"PATH": os.environ["PATH"], "LD_PRELOAD": repeatable(program), **ENVIRONMENT})
        if finished.returncode != 0:
            sys.exit(f"instructions.py: the run failed:\n{finished.stderr}")
        texts = []
        for path in glob.glob(f"{output}.*"):
            with open(path, encoding="utf-8", errors="replace") as file:
                texts.append(file.read())
        return texts


def count(profile: str) -> tuple[str, dict[str, int]]:
    """The call that a profile is of, and its instructions."""
    named = re.search(r"^desc: Trigger: Client Request: (\S+)$", profile, re.MULTILINE)
    if named is None:
        sys.exit("instructions.py: a profile of no call")
    own, everything, in_own, is_call = 0, 0, False, False
    for line in profile.splitlines():
        if line.startswith("ob="):
            in_own = bool(OWN.search(line))
        elif line.startswith("calls="):
            is_call = True  # the next line is what the called function costs, counted there
        elif cost := re.match(r"(?:[+*-]?\d+|\*) (\d+)$", line):
            if not is_call:
                everything += int(cost.group(1))
                own += int(cost.group(1)) if in_own else 0
            is_call = False
    return named.group(1), {"own": own, "all": everything}


def version_of(tool: str, *options: str) -> str:
    output = subprocess.run([tool, *options], capture_output=True, text=True, check=False).stdout
    return output.splitlines()[0].strip() if output else "unknown"


def tools(program: str) -> dict[str, str]:
    """What the counts depend on besides the sources."""
    with open(program, "rb") as file:
        built_by = re.search(rb"GCC: \([^)]*\) [0-9.]+|Debian clang version [0-9.]+", file.read())
    return {"compiler": built_by.group().decode() if built_by else "unknown",
            "valgrind": version_of("valgrind", "--version"),
            "C library": version_of("getconf", "GNU_LIBC_VERSION")}


def difference(kept: Optional[int], now: int) -> Optional[float]:
    return (now - kept) / kept if kept else None


def too_many(kept: Counts, now: Counts) -> list[str]:
    """What is wrong, in words: counts that grew, and calls that one of the two does not know."""
    found = [f"{call}: kept, and not counted any more" for call in sorted(kept.keys() - now.keys())]
    for call, counts in now.items():
        for kind in KINDS:
            grown = difference(kept.get(call, {}).get(kind), counts[kind])
            if grown is None:
                found.append(f"{call}: no {kind} count of it is kept")
            elif grown > TOLERANCE:
                found.append(f"{call}: {grown:+.1%} instructions ({kind})")
    return found


def print_table(kept: Counts, now: Counts) -> None:
    print(f"{'call':26}" + "".join(f"{kind:>14}{'kept':>14}{'':>9}" for kind in KINDS))
    for call, counts in now.items():
        line = f"{call:26}"
        for kind in KINDS:
            before = kept.get(call, {}).get(kind)
            change = difference(before, counts[kind])
            line += f"{counts[kind]:14,}{'-' if before is None else format(before, ','):>14}"
            line += f"{'-' if change is None else format(change, '+.1%'):>9}"
        print(line)


def report(kept: Counts, now: Counts) -> int:
    found = too_many(kept, now)
    fewer = [call for call, counts in now.items()
             for kind in KINDS
             if (difference(kept.get(call, {}).get(kind), counts[kind]) or 0) < -TOLERANCE]
    if fewer:
        print("\nfewer instructions than are kept: " + ", ".join(dict.fromkeys(fewer)) +
              "; keep the new counts by  scripts/bench --instructions --write")
    if found:
        print("\ntoo many instructions:\n  " + "\n  ".join(found))
        print("mend it, or give the reason in the change that keeps the new counts, by  "
              "scripts/bench --instructions --write")
        return 1
    print(f"\nno count is more than {TOLERANCE:.0%} above what is kept")
    return 0


def main() -> int:
    parser = argparse.ArgumentParser()
    parser.add_argument("program")
    parser.add_argument("--kept", default=KEPT)
    action = parser.add_mutually_exclusive_group()
    action.add_argument("--check", action="store_true")
    action.add_argument("--write", action="store_true")
    arguments = parser.parse_args()
    now = dict(sorted(count(profile) for profile in profiles(arguments.program)))
    document = {"made with": tools(arguments.program), "policies": 1000, "calls": now}
    before = {"made with": document["made with"], "calls": {}}
    if os.path.exists(arguments.kept):
        with open(arguments.kept, encoding="utf-8") as file:
            before = json.load(file)
    print_table(before["calls"], now)
    if before["made with"] != document["made with"]:
        print(f"\nnote: kept are counts of {before['made with']}, these are of "
              f"{document['made with']}")
    if arguments.write:
        with open(arguments.kept, "w", encoding="utf-8") as file:
            json.dump(document, file, indent=1)
            file.write("\n")
    return report(before["calls"], now) if arguments.check else 0


if __name__ == "__main__":
    sys.exit(main())
