# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Several quorctl at once on one host."""
import contextlib
import fcntl
import json
import os
import struct
import time
import unittest

from quorctl_case import STORE, QuorctlCase, blob, datastore, document, policy


def catalogue(letter):
    """One of several catalogues of the same keys, every field of which tells which one it is."""
    return document(
        [policy(f"P{i}", id=letter, description=letter, blobs=[blob("RILK", text=letter * 500)])
         for i in range(40)],
        [datastore(f"ds:///{i}/", namespace=letter, defaultPolicy=letter) for i in range(40)])


class Processes(QuorctlCase):
    def finish(self, process):
        output, errors = process.communicate()
        self.assertEqual((process.returncode, errors), (0, b""))
        return output

    def test_WritersAtOnceLeaveOneOfTheirCatalogues(self):
        contents = [catalogue(letter) for letter in "abcd"]
        for _ in range(5):
            paths = [self.write(f"{i}.json", json.dumps(c)) for i, c in enumerate(contents)]
            for process in [self.start("apply", "--yes", path, stdin=None) for path in paths]:
                self.finish(process)
            self.assertIn(self.listed("policies"), [c["policies"] for c in contents])
            self.assertIn(self.listed("datastores"), [c["datastores"] for c in contents])

    def test_ReadersBesideAWriterSeeWholeCatalogues(self):
        contents = [catalogue(letter) for letter in "ab"]
        paths = [self.write(f"{i}.json", json.dumps(c)) for i, c in enumerate(contents)]
        self.ask("apply", paths[0])
        seen = set()
        for turn in range(20):
            writer = self.start("apply", "--yes", paths[turn % 2], stdin=None)
            while writer.poll() is None:
                policies = self.listed("policies")
                self.assertIn(policies, [c["policies"] for c in contents])
                seen.add(policies[0]["id"])
            self.finish(writer)
        self.assertEqual(seen, {"a", "b"})


class HeldLock(QuorctlCase):
    def setUp(self):
        super().setUp()
        self.content = document([policy()], [datastore()])
        self.apply(self.content)

    @contextlib.contextmanager
    def lock_held(self):
        [path] = [os.path.join(self.host, name) for name in os.listdir(self.host)
                  if name.endswith(".lock")]
        with open(path, "r+b") as file:
            whole_file = struct.pack("hhqqi4x", fcntl.F_WRLCK, os.SEEK_SET, 0, 0, 0)
            fcntl.fcntl(file, fcntl.F_OFD_SETLK, whole_file)
            yield

    def test_WriterGivesUpAtTheDeadline(self):
        with self.lock_held():
            for words in (["apply", "--yes", "-"], ["reset", "--yes"]):
                start = time.monotonic()
                result = self.run_quorctl(*words, given=json.dumps(document()).encode(),
                                          environment={"QUOR_LOCK_TIMEOUT_MS": "300"})
                self.assertEqual(result.status, STORE)
                self.assertIn(f"{self.host}/config-store.lock: still locked after 300 ms",
                              result.errors)
                self.assertGreaterEqual(time.monotonic() - start, 0.3)
        self.assertEqual(self.listed_document(), self.content)

    def test_ReadersDoNotWait(self):
        with self.lock_held():
            for words in (["list", "policies"], ["status"], ["switch"],
                          ["blob", "--policy-name", "Gold"]):
                self.ask(*words, environment={"QUOR_LOCK_TIMEOUT_MS": "0"})

    def test_WriterGoesOnWhenTheLockIsFree(self):
        with self.lock_held():
            process = self.start("reset", "--yes")
            with self.assertRaises(Exception) as caught:
                process.wait(timeout=0.5)
            self.assertEqual(type(caught.exception).__name__, "TimeoutExpired")
        output, errors = process.communicate()
        self.assertEqual((process.returncode, errors), (0, b""))
        self.assertEqual(self.listed_document(), document())


if __name__ == "__main__":
    unittest.main()
