"""A change that other processes, signals and stopped terminals come in between."""
import fcntl
import glob
import json
import os
import signal
import struct
import termios
import time
import unittest

from quorctl_case import (DONE, NOT_CONFIRMED, STORE, TIMEOUT, QuorctlCase, datastore, document,
                          policy)
from terminal import Terminal

# So many that to write them takes long after the policies are there.
MANY = [datastore(f"ds:///{i}/") for i in range(20_000)]


class ChangeCase(QuorctlCase):
    def lock_of(self, path):
        """Keeps others waiting until the file is closed."""
        file = open(path, "r+b")
        self.addCleanup(file.close)
        fcntl.fcntl(file, fcntl.F_OFD_SETLK,
                    struct.pack("hhqqi4x", fcntl.F_WRLCK, os.SEEK_SET, 0, 0, 0))
        return file

    def lock_store(self):
        return self.lock_of(os.path.join(self.host, "config-store.lock"))

    def lock_history(self):
        return self.lock_of(os.path.join(self.host, "history", ".lock"))

    def wait_until(self, condition):
        deadline = time.monotonic() + TIMEOUT
        while not condition():
            self.assertLess(time.monotonic(), deadline)

    def kept_documents(self):
        documents = []
        for path in glob.glob(os.path.join(self.host, "history", "*.json")):
            with open(path, encoding="utf-8") as file:
                documents.append(json.load(file))
        return documents

    def end_of(self, process):
        output, errors = process.communicate(timeout=TIMEOUT)
        return process.returncode, output.decode(), errors.decode()


class Writers(ChangeCase):
    def test_ChangeWhileTheOldCatalogueIsKeptIsSeen(self):
        mine, other = document([policy("Mine")]), document([policy("Other")])
        self.apply(document([policy("First")]))
        lock = self.lock_history()
        terminal = Terminal(self, "apply", "--yes", self.write("mine.json", json.dumps(mine)))
        terminal.wait_for("keeping the present catalogue ... 1 s")
        self.ask("apply", "--yes", "--no-history", "-", given=json.dumps(other).encode())
        lock.close()
        self.assertEqual(terminal.finish().status, DONE)
        self.assertEqual(self.listed_document(), mine)
        self.assertIn(other, self.kept_documents())

    def test_WhatASuccessfulWriterAppliedIsLiveOrInTheHistory(self):
        self.apply(document([policy("First")]))
        for turn in range(10):
            contents = [document([policy(f"{letter}{turn}-{i}") for i in range(300)])
                        for letter in "ab"]
            processes = [self.start("apply", "--yes", self.write(f"{i}.json", json.dumps(content)))
                         for i, content in enumerate(contents)]
            ends = [self.end_of(process) for process in processes]
            self.assertEqual([end[0] for end in ends], [DONE, DONE], ends)
            present = [self.listed_document(), *self.kept_documents()]
            for content in contents:
                self.assertTrue(content in present, turn)


class Signals(ChangeCase):
    def setUp(self):
        super().setUp()
        self.before = document([policy("Old")], [datastore("ds:///old/")])
        self.apply(self.before)
        self.after = document([policy("New")], MANY)
        self.path = self.write("after.json", json.dumps(self.after))

    def store(self):
        return os.stat(self.snapshot).st_ino

    def test_SignalBetweenTheReplacementsWaitsForTheSecond(self):
        self.snapshot = self.snapshot_path()
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGQUIT):
            self.apply(self.before)
            first = self.store()
            process = self.start("apply", "--yes", self.path)
            self.wait_until(lambda: self.store() != first)
            process.send_signal(number)
            status, _, _ = self.end_of(process)
            self.assertEqual(status, -number)
            self.assertTrue(self.listed_document() == self.after, number)

    def test_SignalOfATerminalIsNotTakenByTheProgressLine(self):
        lock = self.lock_store()
        terminal = Terminal(self, "apply", "--yes", self.path)
        terminal.wait_for("replacing 1 policy ... 1 s")
        terminal.process.send_signal(signal.SIGTERM)
        terminal.wait_for(" ... 2 s")
        lock.close()
        self.assertEqual(terminal.finish().status, -signal.SIGTERM)
        self.assertTrue(self.listed_document() == self.after)


class Terminals(ChangeCase):
    def setUp(self):
        super().setUp()
        self.apply(document([policy("Old")], [datastore("ds:///old/")]))
        self.after = document([policy("New")], [datastore("ds:///new/")])
        self.path = self.write("after.json", json.dumps(self.after))

    def test_StoppedTerminalDoesNotHoldTheChange(self):
        lock = self.lock_store()
        terminal = Terminal(self, "apply", "--yes", self.path)
        terminal.wait_for("replacing 1 policy ... 1 s")
        termios.tcflow(terminal.master, termios.TCOOFF)
        time.sleep(1)  # several times as long as between two writes of the line
        lock.close()
        self.wait_until(lambda: self.listed_document() == self.after)
        termios.tcflow(terminal.master, termios.TCOON)
        self.assertEqual(terminal.finish().status, DONE)

    def test_SwitchThatIsChangedDuringTheQuestionIsTold(self):
        for words in (["apply", self.path], ["reset"]):
            self.ask("switch", "store")
            self.apply(document([policy("Old")], [datastore("ds:///old/")]))
            terminal = Terminal(self, *words)
            terminal.wait_for("[y/N] ")
            self.ask("switch", "file")
            terminal.type("y\n")
            result = terminal.finish()
            self.assertEqual(result.status, DONE)
            self.assertIn("\nthe switch selects the configuration file: programs do not see this "
                          "one\n", result.text)


class Advice(ChangeCase):
    def test_HeldHistoryIsNoReasonToKeepNothing(self):
        self.apply(document([policy("A")]))
        self.lock_history()
        result = self.run_quorctl("reset", "--yes", environment={"QUOR_LOCK_TIMEOUT_MS": "100"})
        self.assertEqual(result.status, STORE)
        self.assertIn("nothing was changed: ", result.errors)
        self.assertIn("still locked", result.errors)
        self.assertNotIn("--no-history", result.errors)

    def test_UnreadableSwitchRefusesEveryChange(self):
        self.apply(document([policy("A")]))
        self.ask("switch", "file")
        with open(os.path.join(self.host, "features"), "wb") as file:
            file.write(b"short")
        given = json.dumps(document([policy("B")])).encode()
        for words in (["apply", "--yes", "-"], ["reset", "--yes"], ["restore", "--yes", "1"],
                      ["migrate", "--yes", "--to", "file"]):
            self.refuse(STORE, *words, given=given, message="features: not a file of")

    def test_ResetCountsWhatCannotBeRead(self):
        self.apply(document([policy("A")], [datastore("ds:///find/")]))
        path = self.snapshot_path()
        with open(path, "rb") as file:
            content = file.read()
        with open(path, "wb") as file:
            file.write(content.replace(b"ds:///find/", b"ds:///FIND/"))
        self.assertIn("1 policy and 0 datastores and 1 record that cannot be read to delete\n",
                      self.ask("reset", "--dry-run", "--no-history").text)
        self.refuse(NOT_CONFIRMED, "reset", "--no-history",
                    message="all policies and datastores and 1 record that cannot be read from")


if __name__ == "__main__":
    unittest.main()
