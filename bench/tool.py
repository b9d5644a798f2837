# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Measures quorctl with 100,000 policies, against work of its own that bounds it, all in one run.

    tool.py QUORCTL     the built program

Times are of the processor, the medians of three rounds; memory is the peak that the kernel tells of the
process. Prints a table with the bars, and ends with 1 when one is missed.
"""
import base64
import json
import os
import random
import statistics
import subprocess
import sys
import tempfile
import time
from dataclasses import dataclass

POLICIES = 100_000
ROUNDS = 3
BEGINNING_S = 5  # of watch, which reads the catalogue first
WATCHED_S = 20
MIB = 1 << 20


@dataclass(frozen=True)
class Bar:
    title: str
    limit: float
    unit: str
    value: float


@dataclass(frozen=True)
class Usage:
    cpu_s: float
    peak_bytes: int


def write_catalogue(path, changed=False):
    """A document of the size that a large manager would push: three blobs of 256 bytes each."""
    source = random.Random(1)
    with open(path, "w", encoding="ascii") as file:
        file.write('{"format": "quor-catalogue/1", "policies": [')
        for i in range(POLICIES):
            blobs = [{"namespace": name, "base64": base64.b64encode(source.randbytes(256)).decode()}
                     for name in ("RILK", "VOLB", "NETQ")]
            json.dump({"id": f"policy-{i:06}", "name": f"Policy {i}", "description": "of the benchmark",
                       "generation": 2 if changed and i == POLICIES // 2 else 1, "blobs": blobs}, file)
            file.write("," if i + 1 < POLICIES else "")
        file.write('], "datastores": [{"url": "ds:///one/", "namespace": "VOLB", "defaultPolicy": "policy-000001"}]}')


def write_large_blob(path, size):
    with open(path, "w", encoding="ascii") as file:
        file.write('{"format": "quor-catalogue/1", "policies": [{"id": "a", "name": "A", '
                   '"description": "", "generation": 1, "blobs": [{"namespace": "RILK", "base64": "')
        for _ in range(size // MIB * 4 // 3):
            file.write("QUJD" * (MIB // 4))
        file.write('"}]}], "datastores": []}')


def cpu_of(process):
    with open(f"/proc/{process}/stat", encoding="ascii") as file:
        fields = file.read().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


class Tool:
    def __init__(self, program, host):
        self.program = program
        self.environment = {**os.environ, "QUOR_HOST_DIR": host}

    def run(self, *words):
        """What a command took."""
        with self.start(*words) as process:
            errors = process.stderr.read().decode()
            _, status, usage = os.wait4(process.pid, 0)
            process.returncode = os.waitstatus_to_exitcode(status)
        if process.returncode != 0:
            raise RuntimeError(f"quorctl {' '.join(words)}: {errors}")
        return Usage(usage.ru_utime + usage.ru_stime, usage.ru_maxrss * 1024)

    def start(self, *words):
        return subprocess.Popen([self.program, *words], env=self.environment, stdin=subprocess.DEVNULL,
                                stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)

    def cpu_while_watching(self, seconds):
        """Once it has read the catalogue and waits."""
        with self.start("watch") as process:
            time.sleep(BEGINNING_S)
            before = cpu_of(process.pid)
            time.sleep(seconds)
            after = cpu_of(process.pid)
            process.terminate()
        return after - before


def measure(tool, directory):
    same, changed, large = (os.path.join(directory, name) for name in ("same", "changed", "large"))
    # In a process of its own: what this one takes at its peak counts for its children.
    for writer in (f"write_catalogue({same!r})", f"write_catalogue({changed!r}, True)",
                   f"write_large_blob({large!r}, 100 * MIB)"):
        subprocess.run([sys.executable, "-B", "-c", f"from tool import *; {writer}"], check=True,
                       cwd=os.path.dirname(os.path.abspath(__file__)))
    size = os.path.getsize(same)
    tool.run("apply", "--create", "--yes", same)
    taken = {}
    for _ in range(ROUNDS):
        for name, words in (("export", ("export",)), ("nothing", ("apply", "--yes", same)),
                            ("change", ("apply", "--yes", changed)), ("back", ("apply", "--yes", same)),
                            ("ids", ("list", "policies", "--fields", "id")), ("digest", ("digest",)),
                            ("completion", ("__complete", "--", "get", "policy", "policy-00001"))):
            taken.setdefault(name, []).append(tool.run(*words))
    cpu = {name: statistics.median(usage.cpu_s for usage in usages) for name, usages in taken.items()}
    peak = {name: statistics.median(usage.peak_bytes for usage in usages) for name, usages in taken.items()}
    watched = tool.cpu_while_watching(WATCHED_S)
    blob = Tool(tool.program, os.path.join(directory, "other")).run("apply", "--create", "--yes", large)
    return [
        Bar("apply with one policy changed, to export and apply of nothing: processor", 1.5, "times",
            cpu["change"] / (cpu["export"] + cpu["nothing"])),
        Bar("apply with one policy changed: memory, to the document", 4, "times", peak["change"] / size),
        Bar("list policies --fields id: memory, to that of digest", 1.3, "times",
            peak["ids"] / peak["digest"]),
        Bar("completing an identifier: processor", 0.15, "s", cpu["completion"]),
        Bar(f"watch while nothing changes, {WATCHED_S} s: processor", 0.02, "s", watched),
        Bar("apply of one blob of 100 MiB: memory, to the document", 3, "times",
            blob.peak_bytes / os.path.getsize(large)),
    ], {**{f"{name}, s": value for name, value in cpu.items()},
        **{f"{name}, MiB": value / MIB for name, value in peak.items()},
        "document, MiB": size / MIB, "large document, MiB": os.path.getsize(large) / MIB,
        "apply of the large document, MiB": blob.peak_bytes / MIB}


def main():
    with tempfile.TemporaryDirectory(prefix="quor-tool-") as directory:
        bars, figures = measure(Tool(os.path.abspath(sys.argv[1]), os.path.join(directory, "host")), directory)
    print("| work, 100,000 policies | bar | measured | |\n|---|--:|--:|---|")
    for bar in bars:
        print(f"| {bar.title} | at most {bar.limit:g} {bar.unit} | {bar.value:.3g} {bar.unit} | "
              f"{'met' if bar.value <= bar.limit else '**missed**'} |")
    print("\n| figure | median |\n|---|--:|")
    for name, value in figures.items():
        print(f"| {name} | {value:.3g} |")
    return 0 if all(bar.value <= bar.limit for bar in bars) else 1


if __name__ == "__main__":
    sys.exit(main())
