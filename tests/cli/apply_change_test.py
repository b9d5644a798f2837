# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""quorctl apply: what it shows, what it asks, and what it leaves alone."""
import fcntl
import json
import os
import re
import struct
import unittest

from quorctl_case import (DONE, NOT_CONFIRMED, USAGE, QuorctlCase, blob, datastore, document,
                          entries_of, policy)
from terminal import Terminal


class ApplyChange(QuorctlCase):
    def apply_text(self, content, *options):
        return self.ask("apply", *options, "-", given=json.dumps(content).encode()).text

    def changes(self, text):
        """The lines of the table as (change, kind, name)."""
        return re.findall(r"(?m)^(deleted|added|changed) +(policy|datastore) +(\S+)", text)


class Shown(ApplyChange):
    def setUp(self):
        super().setUp()
        self.before = document([policy("Stays"), policy("Goes"), policy("Turns")],
                               [datastore("ds:///goes/"), datastore("ds:///stays/")])
        self.after = document([policy("Comes"), policy("Stays"),
                               policy("Turns", generation=2, blobs=[blob(text="y")])],
                              [datastore("ds:///stays/")])
        self.apply(self.before)

    def test_DeletionsComeFirstThenAdditionsThenChanges(self):
        text = self.apply_text(self.after, "--yes")
        self.assertEqual(self.changes(text), [
            ("deleted", "policy", "Goes"), ("deleted", "datastore", "ds:///goes/"),
            ("added", "policy", "Comes"), ("changed", "policy", "Turns")])

    def test_ChangedFieldsAreNamed(self):
        text = self.apply_text(self.after, "--yes")
        self.assertRegex(text, r"(?m)^changed +policy +Turns +id-Turns +generation 1 -> 2; "
                               r"blobs RILK other content, 1 bytes$")

    def test_CountsAreShown(self):
        self.assertIn("1 policy and 1 datastore to delete, 1 policy and 0 datastores to add, "
                      "1 policy and 0 datastores to change\n",
                      self.apply_text(self.after, "--yes"))

    def test_DryRunShowsTheSameAndWritesNothing(self):
        before = entries_of(self.host)
        dry = self.apply_text(self.after, "--dry-run").splitlines()
        self.assertEqual(entries_of(self.host), before)
        self.assertEqual(dry[-1], "would apply 3 policies (3 blobs) and 1 datastore to the "
                                  f"configuration store in {self.host}; nothing was written")
        done = self.apply_text(self.after, "--yes").splitlines()
        self.assertEqual(dry[:-1], done[:-1])

    def test_DryRunOnAnEmptyHostCreatesNothing(self):
        other = os.path.join(self.directory, "other")
        self.apply_text(self.after, "--dry-run", "--create", "--root", other)
        self.assertFalse(os.path.exists(other))

    def test_DryRunRefusesWhatApplyWould(self):
        wrong = document([policy("A"), policy("A")])
        self.refuse(4, "apply", "--dry-run", "-", given=json.dumps(wrong).encode())

    def test_WhereNothingDiffersNothingIsWritten(self):
        before = entries_of(self.host)
        self.assertEqual(self.apply_text(self.before),
                         f"nothing differs from the configuration store in {self.host}; nothing "
                         "was written\n")
        self.assertEqual(entries_of(self.host), before)

    def test_OrderAloneIsNoDifference(self):
        turned = document(self.before["policies"][::-1], self.before["datastores"][::-1])
        before = entries_of(self.host)
        self.assertIn("nothing differs", self.apply_text(turned))
        self.assertEqual(entries_of(self.host), before)

    def test_OrderOfRepeatedIdentifiersIsADifference(self):
        twins = [policy("A", id="same"), policy("B", id="same")]
        self.apply(document(twins))
        self.apply(document(twins[::-1]))
        self.assertEqual(self.listed("policies"), twins[::-1])

    def test_PoliciesOnlyLeavesTheDatastores(self):
        text = self.apply_text(self.after, "--policies-only", "--yes")
        self.assertNotIn("ds:///goes/", text)
        self.assertIn("\napplied 3 policies (3 blobs) to the configuration store", text)
        self.assertEqual(self.listed_document(),
                         document(self.after["policies"], self.before["datastores"]))

    def test_DatastoresOnlyLeavesThePolicies(self):
        text = self.apply_text(self.after, "--datastores-only", "--yes")
        self.assertEqual(self.changes(text), [("deleted", "datastore", "ds:///goes/")])
        self.assertIn("\napplied 1 datastore to the configuration store", text)
        self.assertEqual(self.listed_document(),
                         document(self.before["policies"], self.after["datastores"]))

    def test_BothOnlyOptionsExcludeEachOther(self):
        self.refuse(USAGE, "apply", "--policies-only", "--datastores-only", "-",
                    message="exclude each other")

    def test_HostileNameIsShownEscaped(self):
        text = self.apply_text(document([policy("a\x1b[2Jb")], []), "--yes")
        self.assertIn("a\\x1b[2Jb", text)
        self.assertNotIn("\x1b", text)

    def test_GenerationNumberThatTheFileWouldNotKeepIsRefused(self):
        self.ask("switch", "--yes", "file")
        for number in (2**31, -2**31 - 1):
            self.refuse(4, "apply", "-", message=f"generation number {number} does not fit 32 bits",
                        given=json.dumps(document([policy(generation=number)])).encode())
        self.assertEqual(self.listed("policies"), [])


class Confirmation(ApplyChange):
    def setUp(self):
        super().setUp()
        self.before = document([policy("A"), policy("B")], [datastore()])
        self.apply(self.before)
        self.smaller = self.write("smaller.json", json.dumps(document([policy("A")])))

    def test_DeletionIsRefusedWhereNobodyCanBeAsked(self):
        before = entries_of(self.host)
        result = self.run_quorctl("apply", self.smaller)
        self.assertEqual(result.status, NOT_CONFIRMED)
        self.assertEqual(result.errors,
                         "quorctl: apply would delete 1 policy and 1 datastore from the "
                         f"configuration store in {self.host}; nothing was changed; confirm with "
                         "--yes\n")
        self.assertEqual(len(self.changes(result.text)), 2)
        self.assertEqual(entries_of(self.host), before)

    def test_AdditionsAndChangesNeedNoConfirmation(self):
        larger = document([policy("A", generation=9), policy("B"), policy("C")], [datastore()])
        self.apply_text(larger)
        self.assertEqual(self.listed_document(), larger)

    def answer(self, text, *options):
        terminal = Terminal(self, "apply", *options, self.smaller)
        terminal.wait_for("[y/N] ")
        self.question = terminal.shown.decode()
        terminal.type(text)
        return terminal.finish()

    def test_TerminalIsAskedWithCounts(self):
        self.answer("n\n")
        self.assertEqual(self.question, "Delete 1 policy and 1 datastore from the configuration "
                                        f"store in {self.host}? [y/N] ")

    def test_YesCarriesTheChangeOut(self):
        for word in ("y\n", "YES\n"):
            self.apply(self.before)
            result = self.answer(word)
            self.assertEqual(result.status, DONE, result.errors)
            self.assertEqual(len(self.changes(result.text)), 2)
            self.assertIn("applied 1 policy (1 blob) and 0 datastores", result.text)
            self.assertEqual([p["name"] for p in self.listed("policies")], ["A"])

    def test_AnythingElseChangesNothing(self):
        before = entries_of(self.host)
        for word in ("n\n", "\n", "yess\n", "\x04"):
            result = self.answer(word)
            self.assertEqual(result.status, NOT_CONFIRMED, word)
            self.assertIn("quorctl: not confirmed; nothing was changed", result.errors)
            self.assertEqual(entries_of(self.host), before)

    def test_TerminalIsNotAskedWithYes(self):
        result = Terminal(self, "apply", "--yes", self.smaller).finish()
        self.assertEqual(result.status, DONE)
        self.assertNotIn("[y/N]", result.errors)

    def test_DifferencesAreOnTheTerminalBeforeTheQuestion(self):
        terminal = Terminal(self, "apply", self.smaller, output_too=True)
        terminal.wait_for("[y/N] ")
        shown = terminal.shown.decode()
        self.assertLess(shown.index("deleted"), shown.index("Delete 1 policy"))
        self.assertEqual(shown.count("ds:///a/"), 1)
        terminal.type("n\n")
        self.assertEqual(terminal.finish().status, NOT_CONFIRMED)

    def test_ChangeByAnotherProcessDuringTheQuestionIsShownAndAskedAnew(self):
        terminal = Terminal(self, "apply", self.smaller)
        terminal.wait_for("Delete 1 policy and 1 datastore from")
        self.apply(document([policy("A"), policy("B"), policy("C"), policy("D")], [datastore()]))
        terminal.type("y\n")
        terminal.wait_for("Delete 3 policies and 1 datastore from")
        self.assertEqual(len(self.listed("policies")), 4)
        terminal.type("n\n")
        self.assertEqual(terminal.finish().status, NOT_CONFIRMED)
        self.assertEqual(len(self.listed("policies")), 4)

    def test_DocumentFromAPipeIsConfirmedAtTheTerminal(self):
        for answer, status in (("n\n", NOT_CONFIRMED), ("y\n", DONE)):
            terminal = Terminal(self, "apply", "-", given=json.dumps(document()).encode())
            terminal.wait_for("[y/N] ")
            terminal.type(answer)
            self.assertEqual(terminal.finish().status, status)
        self.assertEqual(self.listed_document(), document())

    def test_DocumentThatIsTypedCannotBeConfirmedByTyping(self):
        terminal = Terminal(self, "apply", "-")
        terminal.type(json.dumps(document()) + "\n\x04")
        result = terminal.finish()
        self.assertEqual(result.status, NOT_CONFIRMED)
        self.assertIn("confirm with --yes", result.errors)
        self.assertEqual(self.listed_document(), self.before)


class Progress(ApplyChange):
    def setUp(self):
        super().setUp()
        self.apply(document([policy("A")]))
        self.larger = self.write("larger.json", json.dumps(document([policy("A"), policy("B")])))

    def lock(self):
        """Keeps writers waiting until the file is closed."""
        file = open(os.path.join(self.host, "config-store.lock"), "r+b")
        self.addCleanup(file.close)
        whole = struct.pack("hhqqi4x", fcntl.F_WRLCK, os.SEEK_SET, 0, 0, 0)
        fcntl.fcntl(file, fcntl.F_OFD_SETLK, whole)
        return file

    def test_LongReplacementIsShownOnATerminalAndErased(self):
        lock = self.lock()
        terminal = Terminal(self, "apply", self.larger)
        terminal.wait_for("waiting for another process ... 1 s")
        terminal.wait_for("waiting for another process ... 2 s")
        lock.close()
        result = terminal.finish()
        self.assertEqual(result.status, DONE, result.errors)
        self.assertTrue(terminal.shown.endswith(b" \r"), terminal.shown)
        self.assertIn("applied 2 policies", result.text)

    def test_ShortReplacementShowsNoLine(self):
        terminal = Terminal(self, "apply", self.larger)
        self.assertEqual(terminal.finish().status, DONE)
        self.assertEqual(terminal.shown, b"")

    def test_NoLineIsShownWhereThereIsNoTerminal(self):
        lock = self.lock()
        process = self.start("apply", self.larger)
        try:
            process.wait(1.6)
            self.fail("the lock did not stop it")
        except Exception as waiting:
            self.assertEqual(type(waiting).__name__, "TimeoutExpired")
        lock.close()
        output, errors = process.communicate()
        self.assertEqual((process.returncode, errors), (DONE, b""))
        self.assertIn(b"applied 2 policies", output)


if __name__ == "__main__":
    unittest.main()
