# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""What quor-agent costs a host, over a real PostgreSQL: prints a table.

    measure.py [SECONDS]

The catalogue has 1,000 policies of two blobs and 1,000 datastores (2.3 MB). Idle for SECONDS (300)
with the default settings: processor time, memory, files of the host that changed. Then what one
change costs, beside "quorctl apply" of the same documents. Nothing here passes or fails.
"""
import base64
import hashlib
import json
import os
import random
import resource
import subprocess
import sys
import time
import unittest
import zlib

from agent_case import AGENT, QUORCTL, blob, datastore, document, policy
from centre_test import CentreCase

SECONDS = float(sys.argv.pop() if len(sys.argv) > 1 else 300)
CHANGES = 20
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
    def publish_large(self, content):
        text = json.dumps(content).encode()
        self.newest += 1
        path = self.write("publish.sql", (
            "insert into quor.release (id, sha256, document, document_bytes, policies, datastores, "
            f"parent, reason, may_shrink) values ({self.newest}, '{hashlib.sha256(text).hexdigest()}', "
            f"'\\x{zlib.compress(text).hex()}', {len(text)}, 1, 1, {self.newest - 1 or 'null'}, "
            "'a reason', true)"))
        os.chmod(self.directory, 0o755)
        self.cluster.run("psql", "-Xq", "-d", self.server.connection("ann"), "-f", path)
        self.promote(self.newest)

    def cost_of(self, *words, environment=None):
        """Processor seconds of a program that runs to its end, by what this process waited for."""
        before = used(resource.getrusage(resource.RUSAGE_CHILDREN))
        began = time.monotonic()
        subprocess.run(words, check=True, env=self.environment(), stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL)
        return used(resource.getrusage(resource.RUSAGE_CHILDREN)) - before, time.monotonic() - began

    def test_Cost(self):
        self.publish_large(large("A"))
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
            self.publish_large(large(letter))
            agent.append(self.cost_of(*self.words("--once")))
        for turn in range(CHANGES):
            apply.append(self.cost_of(QUORCTL, "apply", "--yes", paths["BA"[turn % 2]]))
        for name, costs in (("quor-agent --once", agent), ("quorctl apply", apply)):
            processor, clock = (sorted(values)[CHANGES // 2] * 1000 for values in zip(*costs))
            print(f"{name}: {processor:.1f} ms of processor time, {clock:.1f} ms by the clock "
                  f"(median of {CHANGES})")

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
