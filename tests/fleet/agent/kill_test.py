# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""quor-agent killed, and the host's switch flipped, before the system calls of a change.

QUOR_CALLS_BETWEEN: how many calls are left out between two that are tried; 0 tries all.
"""
import json
import os
import re
import shutil
import subprocess
import time
import unittest

from agent_case import (DONE, NO_CENTRE, TIMEOUT, AgentCase, blob, datastore, generation,
                        in_order, policy)
from centre_test import CentreCase
from postgres import binaries

AT_CALL = os.environ["QUOR_AT_CALL"]
STEP = 1 + int(os.environ.get("QUOR_CALLS_BETWEEN", "52"))
HEALS = 2  # seconds
SWITCH = 62
NOT_ALLOWED = 77


def pair():
    """Two catalogues whose datastores, names and namespaces need an expanded one between them."""
    old = generation("A")
    new = generation("B")
    old["policies"] += [policy("Same", id="old"), policy("Moves", blobs=[blob("ONE")])]
    new["policies"] += [policy("Same", id="new"), policy("Moves", blobs=[blob("TWO")])]
    for content, identifier, namespace in ((old, "old", "ONE"), (new, "new", "TWO")):
        content["datastores"] += [
            datastore("ds:///same/", defaultPolicy=identifier),
            datastore("ds:///moves/", defaultPolicy="id-Moves", namespace=namespace)]
    return old, new


def expanded(old, new):
    policies = [record for record in new["policies"] if record["name"] != "Moves"]
    policies += [record for record in old["policies"] if record["name"] not in ("Same", "Moves")]
    policies += [policy("Same (old)", id="old"), policy("Moves", blobs=[blob("TWO"), blob("ONE")])]
    return policies


def sorted_policies(policies):
    return sorted(({**record, "blobs": sorted(record["blobs"], key=lambda b: b["namespace"])}
                   for record in policies), key=lambda record: record["name"])


class AtCalls:
    """What the cases below share."""

    def setUp(self):
        super().setUp()
        self.old, self.new = pair()

    def templates(self, store):
        """A host and a state with the old catalogue as release 1, to be copied for each call."""
        self.ask("switch", "--yes", store)
        shutil.rmtree(self.state, ignore_errors=True)
        self.take(self.old, "--may-shrink", "--release", "1")
        for path in (self.host, self.state):
            shutil.rmtree(path + ".old", ignore_errors=True)
            shutil.copytree(path, path + ".old")

    def begin_anew(self):
        for path in (self.host, self.state):
            shutil.rmtree(path)
            shutil.copytree(path + ".old", path)

    def run_at(self, call, command, *words):
        result = subprocess.run([AT_CALL, str(call), self.state, command, *words], check=False,
                                capture_output=True, timeout=TIMEOUT, env=self.environment())
        if result.returncode == NOT_ALLOWED:
            print(f"\nleft out: {self.id()}: needs to halt a process", flush=True)
            self.skipTest("the system does not let one process halt another one")
        self.assertEqual(result.returncode, 0, result.stderr)
        return int(result.stdout.split()[0]), result.stderr.decode()

    def expect_old_expanded_or_new(self, call):
        listed = self.listed_document()
        policies = sorted_policies(listed["policies"])
        stages = {"old": self.old["policies"], "expanded": expanded(self.old, self.new),
                  "new": self.new["policies"]}
        found = [name for name, records in stages.items() if policies == sorted_policies(records)]
        self.assertEqual(len(found), 1, f"call {call}: {policies}")
        datastores = in_order(listed)["datastores"]
        allowed = {"old": [self.old], "new": [self.new], "expanded": [self.old, self.new]}[found[0]]
        self.assertIn(datastores, [in_order(content)["datastores"] for content in allowed])
        blobs = {(record["id"], entry["namespace"]) for record in policies
                 for entry in record["blobs"]}
        for record in datastores:
            self.assertIn((record["defaultPolicy"], record["namespace"]), blobs, f"call {call}")
        return found[0]

    def heal(self, status):
        """Starts the agent again; the host is to hold what is kept as wanted."""
        began = time.monotonic()
        self.expect(status, "--once")
        self.assertLess(time.monotonic() - began, HEALS)
        self.expect_host({1: self.old, 2: self.new}[self.kept("wanted")])
        self.assertEqual(self.kept("applied"), self.kept("wanted"))

    def kill_everywhere(self, status, words):
        calls, errors = self.run_at(0, "", *words)
        self.assertGreater(calls, 50, errors)
        self.expect_host(self.new)
        seen = set()
        for call in sorted({*range(1, calls + 1, STEP), calls}):
            self.begin_anew()
            self.run_at(call, "", *words)
            seen.add(self.expect_old_expanded_or_new(call))
            self.heal(status)
        self.assertLessEqual({"old", "new"}, seen)
        return calls


class WithoutACentre(AtCalls, AgentCase):
    def test_KilledWithTheCentreGone(self):
        for store in ("store", "file"):
            self.templates(store)
            self.kill_everywhere(NO_CENTRE, self.words_for_new())

    def words_for_new(self):
        path = self.write("new.json", json.dumps(self.new))
        return self.words("--from", path, "--may-shrink", "--release", "2")

    def test_SwitchFlippedInTheMiddle(self):
        for store, other in (("store", "file"), ("file", "store")):
            self.templates(store)
            words = self.words_for_new()
            # In place, as quorctl does it; that one would wait for the writer that is halted here.
            flip = (f"printf '\\{int(other == 'store')}' | dd of={self.host}/features bs=1 "
                    f"seek={SWITCH} conv=notrunc status=none")
            calls, _ = self.run_at(0, "", *words)
            for call in range(1, calls + 1, STEP):
                self.begin_anew()
                _, errors = self.run_at(call, flip, *words)
                self.heal_after_flip(call, errors)

    def heal_after_flip(self, call, errors):
        """What the other store was given besides: at most its policies and its datastores, once."""
        healed = self.expect(NO_CENTRE, "--once").errors
        self.expect_host(self.new)
        counts = [int(n) for n in re.findall(r"; (\d+) replacements", errors + healed)]
        self.assertLessEqual(sum(counts), 3 + 2, f"call {call}: {errors + healed}")
        again = self.agent("--once").errors
        self.assertNotIn("the host holds", again, f"call {call}")


@unittest.skipUnless(binaries(), "there is no PostgreSQL server")
class WithACentre(AtCalls, CentreCase):
    def test_KilledBetweenTheFirstQuestionAndTheReport(self):
        self.publish(self.old)
        self.publish(self.new, may_shrink=True)
        for store in ("store", "file"):
            self.templates(store)
            calls = self.kill_everywhere(DONE, self.words("--once"))
            self.assertEqual(self.status(), (2, "applied", ""), calls)


if __name__ == "__main__":
    unittest.main()
