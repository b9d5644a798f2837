# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Measures the library for C and the Python package beside libquor, all in one run.

    reach.py BUILD     the build directory of preset release

Times are of the processor. Each figure is the median of rounds that go through all of the contestants
in turn, so that most of what a busy machine adds to one is added to the others. Prints a table with
the bars, and ends with 1 when one is missed.

1,000 descriptors need a higher fs.inotify.max_user_instances than 128, which many machines have: those
beyond it wait by a timer, which wakes them each second. Run by root, this raises it meanwhile.
"""
import contextlib
import os
import statistics
import subprocess
import sys
import tempfile

from reach_bars import BARS, table

ROUNDS = 15


INSTANCES = "/proc/sys/fs/inotify/max_user_instances"
NEEDED_INSTANCES = 2048


@contextlib.contextmanager
def enough_instances():
    with open(INSTANCES, encoding="ascii") as file:
        before = file.read()
    if int(before) >= NEEDED_INSTANCES or os.geteuid() != 0:
        yield
        return
    with open(INSTANCES, "w", encoding="ascii") as file:
        file.write(str(NEEDED_INSTANCES))
    try:
        yield
    finally:
        with open(INSTANCES, "w", encoding="ascii") as file:
            file.write(before)


def main():
    build = os.path.abspath(sys.argv[1])
    here = os.path.dirname(os.path.abspath(__file__))
    with tempfile.TemporaryDirectory(prefix="quor-reach-") as directory:
        environment = {**os.environ, "QUOR_HOST_DIR": os.path.join(directory, "host"),
                       "PYTHONPATH": os.path.join(build, "python")}
        native = os.path.join(build, "bin", "reach_benchmark")
        subprocess.run([native, "fill"], check=True, env=environment)
        rounds = {}
        for _ in range(ROUNDS):
            for command in ([native, "calls"],
                            ["/usr/bin/python3", "-B", os.path.join(here, "reach_calls.py")]):
                output = subprocess.run(command, check=True, env=environment, text=True,
                                        capture_output=True).stdout
                for line in output.splitlines():
                    name, value = line.split()
                    rounds.setdefault(name, []).append(float(value))
        with enough_instances():
            output = subprocess.run([native, "waiting"], check=True, env=environment, text=True,
                                    capture_output=True).stdout
        rounds.update((name, [float(value)]) for name, value in map(str.split, output.splitlines()))
    medians = {name: statistics.median(values) for name, values in rounds.items()}
    print(table(medians))
    return 0 if all(bar.is_met(medians) for bar in BARS) else 1


if __name__ == "__main__":
    sys.exit(main())
