# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""What quor-agent costs a host, over a real PostgreSQL: prints a table.

    measure.py [TEST...]

The catalogue has 1,000 policies of two blobs and 1,000 datastores (2.3 MB). Idle for QUOR_SECONDS (300) with the
default settings: processor time, memory, files of the host that changed. Then what one change costs, beside
"quorctl apply" of the same documents. Then the lookups of a daemon: without an agent, beside one that is idle, and
beside one that makes a change every 2 s. Nothing here passes or fails.
"""
import base64
import json
import os
import random
import resource
import subprocess
import time
import unittest

from agent_case import AGENT, QUORCTL, blob, datastore, document, policy
from centre_test import CentreCase

SECONDS = float(os.environ.get("QUOR_SECONDS", "300"))
CHANGES = 20
LOOKUP_SECONDS = 30
LOOKUP_TIMES = os.path.join(os.path.dirname(AGENT), "fleet_lookup_times")
RECORDS = int(os.environ.get("QUOR_RECORDS", "1000"))


def large(letter):
    bits = random.Random(letter)
    return document(
        [policy(f"{letter}{i}", blobs=[
            blob(namespace, base64=base64.b64encode(bits.randbytes(700)).decode())
            for namespace in ("RILK", "NEXT")]) for i in range(RECORDS)],
        [datastore(f"ds:///{i}/", defaultPolicy=f"id-{letter}{i}") for i in range(RECORDS)])


def used(usage):
    return usage.ru_utime + usage.ru_stime


class Measure(CentreCase):
    def cost_of(self, *words, environment=None):
        """Processor seconds of a program that runs to its end, by what this process waited for."""
        before = used(resource.getrusage(resource.RUSAGE_CHILDREN))
        began = time.monotonic()
        subprocess.run(words, check=True, env=self.environment(), stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL)
        return used(resource.getrusage(resource.RUSAGE_CHILDREN)) - before, time.monotonic() - began

    def test_Cost(self):
        self.publish(large("A"), may_shrink=True)
        with subprocess.Popen([AGENT, "--config", os.devnull, "--state", self.state, "--connection",
                               self.connection], env=self.environment(),
                              stderr=subprocess.PIPE) as process:
            self.assertIn(b"the host holds release 1", process.stderr.readline())
            time.sleep(2)
            files = self.host_files()
            first = self.processor_time(process.pid)
            began = time.monotonic()
            time.sleep(SECONDS)
            share = (self.processor_time(process.pid) - first) / (time.monotonic() - began)
            pss, private = self.memory(process.pid)
            unchanged = files == self.host_files()
            process.terminate()
        print(f"\nidle for {SECONDS:.0f} s: {share * 100:.4f} % of a core, PSS {pss} KiB, of which "
              f"private {private} KiB, files of the host unchanged: {unchanged}")
        agent, apply = [], []
        paths = {letter: self.write(letter, json.dumps(large(letter))) for letter in "AB"}
        for turn in range(CHANGES):
            letter = "BA"[turn % 2]
            self.publish(large(letter), may_shrink=True)
            agent.append(self.cost_of(*self.words("--once")))
        for turn in range(CHANGES):
            apply.append(self.cost_of(QUORCTL, "apply", "--yes", paths["BA"[turn % 2]]))
        for name, costs in (("quor-agent --once", agent), ("quorctl apply", apply)):
            processor, clock = (sorted(values)[CHANGES // 2] * 1000 for values in zip(*costs))
            print(f"{name}: {processor:.1f} ms of processor time, {clock:.1f} ms by the clock "
                  f"(median of {CHANGES})")

    def test_Lookups(self):
        self.publish(large("A"), may_shrink=True)
        self.once()
        for name, changes in (("no agent", None), ("an idle agent", False), ("a change every 2 s", True),
                              ("no agent", None)):
            with subprocess.Popen([LOOKUP_TIMES, *(f"ds:///{i}/" for i in range(100))], env=self.environment(),
                                  stdin=subprocess.PIPE, stdout=subprocess.PIPE) as process:
                if changes is None:
                    time.sleep(LOOKUP_SECONDS)
                else:
                    with self.daemon(*(() if changes else ("--period", "30", "--check-period", "60"))):
                        end = time.monotonic() + LOOKUP_SECONDS
                        while time.monotonic() < end:
                            if changes:
                                self.publish(large("AB"[self.newest % 2]), may_shrink=True)
                            time.sleep(2)
                asked, none, *times = map(int, process.communicate()[0].split())
            print(f"lookups beside {name}: {asked}, {none} without an answer; median, 99 % and 99.9 % "
                  + ", ".join(f"{ns / 1000:.1f}" for ns in times) + " us")

    def host_files(self):
        return {name: os.stat(os.path.join(self.host, name)).st_mtime_ns
                for name in os.listdir(self.host)}

    @staticmethod
    def processor_time(pid):
        with open(f"/proc/{pid}/schedstat", encoding="utf-8") as file:
            return int(file.read().split()[0]) / 1e9

    @staticmethod
    def memory(pid):
        with open(f"/proc/{pid}/smaps_rollup", encoding="utf-8") as file:
            fields = {line.split()[0]: int(line.split()[1]) for line in file.readlines()[1:]}
        return fields["Pss:"], fields["Private_Clean:"] + fields["Private_Dirty:"]


if __name__ == "__main__":
    unittest.main()
