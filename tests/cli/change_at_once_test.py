# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""A change that other processes, signals and stopped terminals come in between."""
import fcntl
import glob
import json
import os
import signal
import struct
import subprocess
import termios
import time
import unittest

from quorctl_case import (DONE, NOT_CONFIRMED, STORE, TIMEOUT, QuorctlCase, datastore, document,
                          policy)
from terminal import Terminal

PUT_CATALOGUE = os.environ["QUOR_PUT_CATALOGUE"]

# So many that to write them takes long after the policies are there.
MANY = [datastore(f"ds:///{i}/") for i in range(20_000)]


class ChangeCase(QuorctlCase):
    def lock_bytes(self, file, command, start, count):
        """Of a lock file: a waiter holds the first byte, the holder the second. No count: all."""
        fcntl.fcntl(file, command,
                    struct.pack("hhqqi4x", fcntl.F_WRLCK, os.SEEK_SET, start, count, 0))

    def lock_of(self, path, start=0, count=0):
        """Keeps others waiting until the file is closed."""
        file = open(path, "r+b")
        self.addCleanup(file.close)
        self.lock_bytes(file, fcntl.F_OFD_SETLK, start, count)
        return file

    def lock_store(self, **part):
        return self.lock_of(os.path.join(self.host, "config-store.lock"), **part)

    def lock_history(self):
        return self.lock_of(os.path.join(self.host, "history", ".lock"))

    def wait_until(self, condition):
        deadline = time.monotonic() + TIMEOUT
        while not condition():
            self.assertLess(time.monotonic(), deadline)

    def is_locked(self, path, byte):
        with open(path, "r+b") as file:
            try:
                self.lock_bytes(file, fcntl.F_OFD_SETLK, byte, 1)
            except BlockingIOError:
                return True
        return False

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
        terminal.wait_for("waiting for another quorctl ... 1 s")
        subprocess.run([PUT_CATALOGUE], env=self.environment(), timeout=TIMEOUT, check=True,
                       input=b"policy x69642d4f74686572 x4f74686572 x 1 x52494c4b x78\n")
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


class Turns(ChangeCase):
    def setUp(self):
        super().setUp()
        self.before = document([policy("Old")])
        self.apply(self.before)
        self.after = document([policy("New")])
        self.path = self.write("after.json", json.dumps(self.after))
        self.turn = open(os.path.join(self.host, "history", ".lock"), "rb")
        self.addCleanup(self.turn.close)
        fcntl.flock(self.turn, fcntl.LOCK_EX)

    def test_ChangeWaitsForAnotherQuorctl(self):
        process = self.start("apply", "--yes", self.path)
        time.sleep(0.5)
        self.assertIsNone(process.poll())
        self.assertEqual(self.listed_document(), self.before)
        self.turn.close()
        self.assertEqual(self.end_of(process)[0], DONE)
        self.assertEqual(self.listed_document(), self.after)

    def test_ChangeThatIsNotGivenItsTurnSaysSoAndLeavesNoTrace(self):
        kept = self.kept_documents()
        result = self.run_quorctl("apply", "--yes", self.path,
                                  environment={"QUOR_LOCK_TIMEOUT_MS": "100"})
        self.assertEqual(result.status, STORE)
        self.assertIn("still locked after 100 ms by another quorctl that changes the catalogue; "
                      "nothing was changed", result.errors)
        self.assertEqual(self.listed_document(), self.before)
        self.assertEqual(self.kept_documents(), kept)


class HalfMade(ChangeCase):
    """Changes that fail when a part of them is made."""

    def test_PoliciesThatAnotherHasReplacedSinceAreNotPutBack(self):
        self.apply(document([policy("Old")], [datastore()]))
        other = os.path.join(self.directory, "other")
        self.ask("apply", "--create", "--root", other, "-",
                 given=json.dumps(document([policy("Other")])).encode())
        snapshot = self.snapshot_path()
        first = os.stat(snapshot).st_ino
        lock = self.lock_store(start=1, count=1)
        terminal = Terminal(self, "apply", "--yes", self.write("after.json", json.dumps(
            document([policy("New")], [datastore(namespace="N")]))),
                            environment={"QUOR_LOCK_TIMEOUT_MS": "3000"})
        self.wait_until(lambda: self.is_locked(lock.name, 0))
        # It waits for the lock of its first replacement; that of the second it does not get.
        next_turn = open(lock.name, "r+b")
        self.addCleanup(next_turn.close)
        lock.close()
        self.lock_bytes(next_turn, fcntl.F_OFD_SETLKW, 0, 1)
        terminal.wait_for("replacing 1 datastore ... ")
        self.assertNotEqual(os.stat(snapshot).st_ino, first)
        os.rename(os.path.join(other, os.path.basename(snapshot)), snapshot)
        result = terminal.finish()
        self.assertEqual(result.status, STORE)
        self.assertIn("another process has changed the policies since, so the old ones were not "
                      "put back; the old catalogue is number 2 of the history", result.errors)
        next_turn.close()
        self.assertEqual(self.listed_document(), document([policy("Other")]))
        self.ask("restore", "--yes", "2")
        self.assertEqual(self.listed_document(), document([policy("Old")], [datastore()]))

    def test_CatalogueIsKeptWhenNobodyCanTellWhetherItIsStillThere(self):
        # Another program's, so that it is in the history by this change alone.
        self.apply(document([policy("First")]))
        subprocess.run([PUT_CATALOGUE], env=self.environment(), timeout=TIMEOUT, check=True,
                       input=b"policy x69642d4f6c64 x4f6c64 x 1 x52494c4b x78\n")
        before = self.listed_document()
        snapshot = self.snapshot_path()
        lock = self.lock_store()
        terminal = Terminal(self, "apply", "--yes",
                            self.write("after.json", json.dumps(document([policy("New")]))))
        terminal.wait_for("waiting for another process ... ")
        with open(snapshot + ".new", "wb") as file:
            file.write(b"no snapshot")
        os.rename(snapshot + ".new", snapshot)
        lock.close()
        self.assertEqual(terminal.finish().status, STORE)
        os.remove(snapshot)
        self.ask("restore", "--yes", "3")
        self.assertEqual(self.listed_document(), before)

    def test_MigrationWhoseSourceChangesMeanwhileIsNoCopy(self):
        self.ask("switch", "file")
        self.apply(document([policy("Old")]))
        lock = self.lock_store()
        terminal = Terminal(self, "migrate", "--to", "store")
        terminal.wait_for("waiting for another process ... ")
        subprocess.run([PUT_CATALOGUE], env=self.environment(), timeout=TIMEOUT, check=True,
                       input=b"policy x41 x42 x 1\n")
        lock.close()
        result = terminal.finish()
        self.assertEqual(result.status, STORE)
        self.assertIn("the digests of the two stores differ: another process changed one of them "
                      "meanwhile; run migrate again", result.errors)
        self.assertIn("copied 1 policy", self.ask("migrate", "--yes", "--to", "store").text)


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
            status, output, _ = self.end_of(process)
            self.assertEqual(status, -number)
            self.assertIn("applied 1 policy (1 blob) and 20000 datastores to ", output)
            self.assertTrue(self.listed_document() == self.after, number)

    def end_by_signal(self, number, shown, *words):
        """Sends the signal when the terminal has shown something; what it shows at the end."""
        kept = self.kept_documents()
        terminal = Terminal(self, *words)
        terminal.wait_for(shown)
        terminal.process.send_signal(number)
        result = terminal.finish()
        self.assertEqual(result.status, -number)
        self.assertEqual(self.kept_documents(), kept)
        return result.errors

    def test_SignalEndsTheWaitForALockWithNothingChanged(self):
        lock = self.lock_store()  # until the end: who does not give up waits for 30 s
        for number in (signal.SIGINT, signal.SIGTERM):
            for words in (["apply", "--yes", self.path], ["reset", "--yes"]):
                shown = self.end_by_signal(number, "waiting for ", *words)
                self.assertIn("quorctl: interrupted while waiting for another process, which holds "
                              f"{lock.name}; nothing was changed", shown)
                self.assertEqual(self.listed_document(), self.before)

    def test_SignalEndsTheWaitForTheHistoryWithNothingChanged(self):
        self.lock_history()
        shown = self.end_by_signal(signal.SIGINT, "waiting for ", "reset", "--yes")
        self.assertIn("interrupted while waiting for another quorctl", shown)
        self.assertEqual(self.listed_document(), self.before)

    def test_SignalBeforeTheChangeTellsThatNothingWasChanged(self):
        shown = self.end_by_signal(signal.SIGINT, "[y/N] ", "reset")
        self.assertIn("quorctl: interrupted; nothing was changed", shown)
        self.assertEqual(self.listed_document(), self.before)
        self.ask("switch", "--yes", "file")
        self.apply(self.before)
        lock = self.lock_of(os.path.join(self.host, "host-config.lock"))
        shown = self.end_by_signal(signal.SIGTERM, "catalogue ... 1 s", "apply", "--yes", self.path)
        self.assertIn("quorctl: interrupted; nothing was changed", shown)
        lock.close()
        self.assertEqual(self.listed_document(), self.before)

    def test_WaitNamesTheHolderUnlessItIsGone(self):
        lock = self.lock_store()
        process = f"process {os.getpid()} (the holder)"
        for written, told in ((process, process), ("process 4194305 (gone)", "another process")):
            lock.seek(0)
            lock.truncate()
            lock.write(written.encode() + b"\n")
            lock.flush()
            self.end_by_signal(signal.SIGINT, f"waiting for {told} ... 1 s", "reset", "--yes")


class Terminals(ChangeCase):
    def setUp(self):
        super().setUp()
        self.apply(document([policy("Old")], [datastore("ds:///old/")]))
        self.after = document([policy("New")], [datastore("ds:///new/")])
        self.path = self.write("after.json", json.dumps(self.after))

    def test_StoppedTerminalDoesNotHoldTheChange(self):
        lock = self.lock_store()
        terminal = Terminal(self, "apply", "--yes", self.path)
        terminal.wait_for("waiting for another process ... 1 s")
        termios.tcflow(terminal.master, termios.TCOOFF)
        time.sleep(1)  # several times as long as between two writes of the line
        lock.close()
        self.wait_until(lambda: self.listed_document() == self.after)
        termios.tcflow(terminal.master, termios.TCOON)
        self.assertEqual(terminal.finish().status, DONE)

    def test_SwitchThatIsChangedDuringTheQuestionIsTold(self):
        for words in (["apply", self.path], ["reset"]):
            self.ask("switch", "--yes", "store")
            self.apply(document([policy("Old")], [datastore("ds:///old/")]))
            terminal = Terminal(self, *words)
            terminal.wait_for("[y/N] ")
            self.ask("switch", "--yes", "file")
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
        self.assertIn("still locked after 100 ms by another quorctl; nothing was changed",
                      result.errors)
        self.assertNotIn("--no-history", result.errors)

    def test_UnreadableSwitchRefusesEveryChange(self):
        self.apply(document([policy("A")]))
        self.ask("switch", "--yes", "file")
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
