# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Output that cannot be written is an error, and closed standard streams do no harm."""
import json
import os
import subprocess
import time
import unittest

from quorctl_case import (ABSENT, DONE, NO, QUORCTL, STORE, TIMEOUT, QuorctlCase, datastore,
                          document, policy)

PRINTING = [["list", "policies"], ["list", "policies", "-o", "json"], ["list", "datastores"],
            ["get", "policy", "id-Gold"], ["list", "policies", "-o", "csv"], ["digest"], ["export"],
            ["blob", "--policy-name", "Gold"], ["status"], ["switch"], ["help"], ["--help"],
            ["help", "list"], ["--version"]]


class Output(QuorctlCase):
    def setUp(self):
        super().setUp()
        self.apply(document([policy()], [datastore()]))

    def errors_with(self, words, **options):
        completed = subprocess.run([QUORCTL, *words], env=self.environment(), timeout=TIMEOUT,
                                   stderr=subprocess.PIPE, **options)
        return completed.returncode, completed.stderr.decode()

    def test_FullDeviceIsAnError(self):
        for words in PRINTING:
            with open("/dev/full", "wb") as full:
                self.assertEqual(
                    self.errors_with(words, stdout=full),
                    (STORE, "quorctl: cannot write to standard output: No space left on device\n"))

    def test_ClosedOutputIsAnError(self):
        for words in PRINTING:
            self.assertEqual(
                self.errors_with(words, preexec_fn=lambda: os.close(1)),
                (STORE, "quorctl: cannot write to standard output: Bad file descriptor\n"))

    def test_ReaderThatWentAwayIsAnErrorWhereTheSignalIsIgnored(self):
        reader, writer = os.pipe()
        os.close(reader)
        result = self.errors_with(["list", "policies"], stdout=writer, restore_signals=False)
        os.close(writer)
        self.assertEqual(
            result, (STORE, "quorctl: cannot write to standard output: Broken pipe\n"))

    def test_ChangeThatCouldNotBeToldIsSaidToBeMade(self):
        empty = self.write("empty.json",
                           '{"format": "quor-catalogue/1", "policies": [], "datastores": []}')
        for words in (["apply", "--yes", empty], ["reset", "--yes"], ["switch", "--yes", "store"]):
            self.apply(document([policy()], [datastore()]))
            with open("/dev/full", "wb") as full:
                self.assertEqual(
                    self.errors_with(words, stdout=full),
                    (STORE, "quorctl: cannot write to standard output: No space left on device; "
                            "the command itself was carried out\n"))
        self.ask("reset", "--yes")
        self.assertEqual(self.listed_document(), document())

    def test_FailureOfTheCommandDecidesTheStatus(self):
        status, errors = self.errors_with(["blob", "--policy-name", "none"],
                                          preexec_fn=lambda: os.close(1))
        self.assertEqual(status, ABSENT)
        self.assertIn("no blob: ", errors)

    def test_AnswerNoThatCannotBeToldIsAnError(self):
        other = self.write("other.json", json.dumps(document([policy()])))
        self.assertEqual(self.run_quorctl("diff", other).status, NO)
        os.chmod(self.host, 0o2770)
        self.assertEqual(self.run_quorctl("check").status, NO)
        for words in (["diff", other], ["check"]):
            with open("/dev/full", "wb") as full:
                self.assertEqual(
                    self.errors_with(words, stdout=full),
                    (STORE, "quorctl: cannot write to standard output: No space left on device\n"))

    def test_ClosedStreamsReachNoFileOfTheStore(self):
        def close_all():
            for descriptor in (0, 1, 2):
                os.close(descriptor)

        given = document([policy("New")], [datastore("new")])
        path = self.write("new.json", json.dumps(given))
        completed = subprocess.run([QUORCTL, "apply", "--yes", path], env=self.environment(),
                                   timeout=TIMEOUT, preexec_fn=close_all)
        self.assertEqual(completed.returncode, STORE)  # for the message that could not be written
        self.assertEqual(self.listed_document(), given)
        completed = subprocess.run([QUORCTL, "list", "frob"], env=self.environment(),
                                   timeout=TIMEOUT, preexec_fn=close_all)
        self.assertEqual(completed.returncode, 2)
        self.assertEqual(self.listed_document(), given)

    def test_LargeOutputArrivesWholeThroughASlowPipe(self):
        given = document([policy(f"P{i}", description="d" * 1000) for i in range(300)])
        self.apply(given)
        self.assertEqual(self.listed("policies"), given["policies"])

    def test_OutputArrivesWholeThroughAPipeThatDoesNotBlock(self):
        given = document([policy(f"P{i}", description="d" * 1000) for i in range(300)])
        self.apply(given)
        reader, writer = os.pipe()
        os.set_blocking(writer, False)
        with self.start("list", "policies", "-o", "json", stdout=writer) as process:
            os.close(writer)
            time.sleep(0.5)  # time to fill the pipe
            with os.fdopen(reader, "rb") as stream:
                listed = stream.read()
            _, errors = process.communicate(timeout=TIMEOUT)
        self.assertEqual((process.returncode, errors), (DONE, b""))
        self.assertEqual(json.loads(listed), given["policies"])

    def test_InputIsAwaitedFromAPipeThatDoesNotBlock(self):
        given = document([policy("Late")])
        reader, writer = os.pipe()
        os.set_blocking(reader, False)
        with self.start("apply", "--yes", "-", stdin=reader) as process:
            os.close(reader)
            time.sleep(0.5)  # time to find the pipe empty
            with os.fdopen(writer, "wb") as stream:
                stream.write(json.dumps(given).encode())
            _, errors = process.communicate(timeout=TIMEOUT)
        self.assertEqual((process.returncode, errors), (DONE, b""))
        self.assertEqual(self.listed_document(), given)

    def test_LineFeedInTheDirectorysNameIsEscapedInAPipe(self):
        odd = os.path.join(self.directory, "odd\nname\x1b[2J")
        shown = self.directory + "/odd\\x0aname\\x1b[2J"
        given = json.dumps(document([policy()])).encode()
        for words in (["apply", "--create", "-"], ["apply", "-"], ["restore", "--yes", "1"],
                      ["migrate", "--to", "file"], ["reset", "--yes"], ["switch", "store"]):
            result = self.ask("--root", odd, *words, given=given)
            self.assertIn(shown, result.text, words)
            self.assertNotIn("odd\n", result.text, words)
        self.assertIn(shown, self.run_quorctl("--root", odd + "/no", "status").errors)


if __name__ == "__main__":
    unittest.main()
