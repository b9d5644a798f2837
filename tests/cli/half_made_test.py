# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""A change of policies and datastores: what readers find while it goes on, and what is found of one
that was killed."""
import json
import os
import signal
import subprocess
import time
import unittest

from quorctl_case import (ABSENT, DONE, NO, TIMEOUT, USAGE, QuorctlCase, datastore, document,
                          policy)

POLL_DEFAULTS = os.environ["QUOR_POLL_DEFAULTS"]
APPLIES = int(os.environ.get("QUOR_APPLIES", "20"))
URLS = [f"ds:///{i}/" for i in range(5)]


def generation(letter):
    """The same datastores, with other default policies."""
    return document([policy(f"{letter}{i}") for i in range(5)],
                    [datastore(url, defaultPolicy=f"id-{letter}{i}") for i, url in enumerate(URLS)])


class Readers(QuorctlCase):
    def test_DefaultPolicyIsThereAtEveryMoment(self):
        for store in ("store", "file"):
            self.ask("switch", "--yes", store)
            paths = [self.write(f"{letter}.json", json.dumps(generation(letter)))
                     for letter in "AB"]
            self.ask("apply", "--yes", paths[1])
            with subprocess.Popen([POLL_DEFAULTS, *URLS], env=self.environment(), text=True,
                                  stdin=subprocess.PIPE, stdout=subprocess.PIPE) as poller:
                for turn in range(APPLIES):
                    self.ask("apply", "--yes", paths[turn % 2])
                asked, none = poller.communicate("", timeout=TIMEOUT)[0].split()
            self.assertGreater(int(asked), APPLIES)
            self.assertEqual(int(none), 0, f"of {asked} in the {store}")
            self.assertEqual(self.listed_document(), generation("AB"[(APPLIES - 1) % 2]))


class Killed(QuorctlCase):
    def setUp(self):
        super().setUp()
        self.before = generation("A")
        self.many = [datastore(f"ds:///many/{i}/", defaultPolicy="id-B1") for i in range(20_000)]
        self.after = document(generation("B")["policies"], self.many)
        self.path = self.write("after.json", json.dumps(self.after))

    def kill_half_way(self):
        self.apply(self.before)
        store = self.snapshot_path()
        first = os.stat(store).st_ino
        with self.start("apply", "--yes", self.path, stdout=subprocess.DEVNULL) as process:
            deadline = time.monotonic() + TIMEOUT
            while os.stat(store).st_ino == first:
                self.assertLess(time.monotonic(), deadline)
            process.send_signal(signal.SIGKILL)
        self.assertEqual(process.returncode, -signal.SIGKILL)
        self.assertNotEqual(self.listed_document(), self.before)
        self.assertNotEqual(self.listed_document(), self.after)

    def on_each_store(self):
        for store in ("store", "file"):
            self.ask("switch", "--yes", store)
            self.kill_half_way()
            yield {"store": "configuration store", "file": "configuration file"}[store]

    def test_StatusAndCheckSaySo(self):
        for store in self.on_each_store():
            status = self.ask("status").text
            self.assertRegex(status, rf"(?m)^interrupted: +apply of \S+Z to the {store} was "
                                     r"interrupted; a part of it may be in place$")
            self.assertIn('"quorctl apply --resume" ends it', status)
            result = self.run_quorctl("check", "-o", "json")
            self.assertEqual(result.status, NO)
            [found] = [f for f in json.loads(result.text) if "interrupted" in f["problem"]]
            self.assertEqual(found["severity"], "error")
            self.assertIn("apply --resume", found["advice"])
            self.ask("restore", "--last", "--yes")

    def expect_ended(self, content):
        self.assertTrue(self.listed_document() == content)
        self.assertNotIn("interrupted", self.ask("status").text)
        self.assertEqual([n for n in os.listdir(os.path.join(self.host, "history"))
                          if n.endswith(".pending")], [])
        self.refuse(ABSENT, "apply", "--resume", message="no change was interrupted")

    def test_ResumeEndsIt(self):
        for _ in self.on_each_store():
            self.ask("apply", "--resume", "--yes")
            self.expect_ended(self.after)

    def test_RestoreGoesBack(self):
        for _ in self.on_each_store():
            self.ask("restore", "--last", "--yes")
            self.expect_ended(self.before)

    def test_NextChangeEndsItToo(self):
        for _ in self.on_each_store():
            content = document([policy("Other")])
            self.apply(content)
            self.expect_ended(content)

    def test_ResumeTakesNoDocument(self):
        self.refuse(USAGE, "apply", "--resume", "-", message="--resume goes without a FILE")


if __name__ == "__main__":
    unittest.main()
