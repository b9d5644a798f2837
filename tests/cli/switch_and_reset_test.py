# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""quorctl switch and quorctl reset."""
import json
import os
import unittest

from quorctl_case import (DONE, NOT_CONFIRMED, USAGE, QuorctlCase, blob, datastore, document,
                          entries_of, policy)
from terminal import Terminal


class Switch(QuorctlCase):
    def selected(self):
        return self.ask("switch").text

    def test_StoreIsSelectedByDefault(self):
        self.assertEqual(self.selected(), "store\n")
        self.assertFalse(os.path.exists(self.host))

    def last_line(self, *words):
        return self.ask(*words).text.splitlines()[-1]

    def test_ChoiceHoldsForLaterCommands(self):
        self.assertEqual(self.last_line("switch", "file"),
                         f"selected the configuration file in {self.host}")
        self.assertEqual(self.selected(), "file\n")
        self.assertEqual(self.last_line("switch", "store"),
                         f"selected the configuration store in {self.host}")
        self.assertEqual(self.selected(), "store\n")

    def test_ChoosingTwiceIsChoosingOnce(self):
        for choice in ("file", "file", "store", "store"):
            self.ask("switch", "--yes", choice)
            self.assertEqual(self.selected(), choice + "\n")

    def test_EachChoiceHasACatalogueOfItsOwn(self):
        in_store = document([policy("Of the store")], [datastore()])
        in_file = document([policy("Of the file")], [datastore(url="ds:///file/")])
        self.apply(in_store)
        self.ask("switch", "--yes", "file")
        self.assertEqual(self.listed_document(), document([], []))
        self.apply(in_file)
        self.assertEqual(self.listed_document(), in_file)
        self.ask("switch", "--yes", "store")
        self.assertEqual(self.listed_document(), in_store)
        self.ask("switch", "--yes", "file")
        self.ask("reset", "--yes")
        self.assertEqual(self.listed_document(), document([], []))
        self.ask("switch", "--yes", "store")
        self.assertEqual(self.listed_document(), in_store)

    def refused(self, message, shown):
        result = self.run_quorctl("switch", "file")
        self.assertEqual(result.status, NOT_CONFIRMED, result.errors)
        self.assertIn(message, result.errors)
        self.assertIn('nothing was changed; "quorctl migrate --to file" copies the catalogue first',
                      result.errors)
        self.assertIn(shown, result.text)
        self.assertEqual(self.selected(), "store\n")

    def test_StoreWithOtherAnswersHasToBeConfirmed(self):
        self.apply(document([policy()], [datastore()]))
        digests = ":".join(json.loads(self.ask("digest", "-o", "json").text).values())
        self.refused("the configuration file holds another catalogue",
                     f"configuration store:  1 policy and 1 datastore, digests {digests}\n"
                     "configuration file:   0 policies and 0 datastores\n")
        self.ask("migrate", "--to", "file")
        self.assertEqual(self.last_line("switch", "file"),
                         f"selected the configuration file in {self.host}")
        self.ask("switch", "store")
        self.apply(document([policy(generation=2)], [datastore()]))
        self.refused("the configuration file holds another catalogue", "1 policy and 1 datastore")
        with open(os.path.join(self.host, "host-config.json"), "w", encoding="utf-8") as file:
            file.write("{")
        self.refused("the configuration file cannot be read", "configuration file:   cannot be read")
        self.ask("switch", "--yes", "file")
        self.assertEqual(self.selected(), "file\n")

    def test_TerminalIsAskedBeforeOtherAnswersAreSelected(self):
        self.apply(document([policy()]))
        for answer, status, selected in (("n", NOT_CONFIRMED, "store\n"), ("y", DONE, "file\n")):
            terminal = Terminal(self, "switch", "file")
            terminal.wait_for("Select it? [y/N] ")
            terminal.type(answer + "\n")
            self.assertEqual(terminal.finish().status, status)
            self.assertEqual(self.selected(), selected)

    def test_DocumentIsReadBeforeTheStoreIsAsked(self):
        self.ask("switch", "--yes", "file")
        self.refuse(4, "apply", "-", given=b"[]")

    def test_FileKeepsABlobWithoutNamespace(self):
        self.ask("switch", "--yes", "file")
        content = document([policy(blobs=[blob(namespace="")])])
        self.apply(content)
        self.assertEqual(self.listed("policies"), content["policies"])

    def test_UnknownChoiceIsRefused(self):
        for word in ("files", "STORE", "", "1"):
            self.refuse(USAGE, "switch", word,
                        message=f'unknown choice "{word}"; choose store or file')
        self.refuse(USAGE, "switch", "--yes", "store", "file", message='unexpected argument "file"')
        self.assertFalse(os.path.exists(self.host))


class Reset(QuorctlCase):
    def test_NothingHappensWithoutConfirmation(self):
        self.apply(document([policy()], [datastore()]))
        before = entries_of(self.host)
        result = self.refuse(NOT_CONFIRMED, "reset")
        self.assertEqual(
            result.errors,
            f"quorctl: reset would delete all policies and datastores from the configuration store "
            f"in {self.host}; nothing was changed; confirm with --yes\n")
        self.assertEqual(entries_of(self.host), before)

    def test_NothingIsCreatedWithoutConfirmation(self):
        self.refuse(NOT_CONFIRMED, "reset")
        self.assertFalse(os.path.exists(self.host))

    def test_EverythingIsDeletedWithConfirmation(self):
        self.apply(document([policy("A"), policy("B")], [datastore()]))
        self.assertEqual(
            self.ask("reset", "--yes").text,
            f"deleted all policies and datastores from the configuration store in {self.host}\n")
        self.assertEqual(self.listed_document(), document())

    def test_HostWhereNothingWasStoredCanBeReset(self):
        self.ask("reset", "--yes")
        self.assertEqual(self.listed_document(), document())

    def test_WhereNothingIsStoredNothingIsWritten(self):
        self.assertEqual(
            self.ask("reset", "--yes").text,
            f"nothing is stored in the configuration store in {self.host}; nothing was written\n")
        self.assertFalse(os.path.exists(self.host))

    def test_TerminalIsAsked(self):
        content = document([policy("A")], [datastore()])
        self.apply(content)
        for answer, status, left in (("n\n", NOT_CONFIRMED, content), ("y\n", DONE, document())):
            terminal = Terminal(self, "reset")
            terminal.wait_for("Delete all policies and datastores from the configuration store in "
                              f"{self.host}? [y/N] ")
            terminal.type(answer)
            self.assertEqual(terminal.finish().status, status)
            self.assertEqual(self.listed_document(), left)

    def test_WhatIsDeletedIsKeptAndCanBeRestored(self):
        for choice in ("store", "file"):
            self.ask("switch", "--yes", choice)
            content = document([policy("B"), policy("A")], [datastore()])
            self.apply(content)
            self.ask("reset", "--yes")
            number = self.ask("history", "--fields", "number", "--no-headings").text.split()[1]
            self.ask("restore", number)
            self.assertEqual(self.listed_document(), content)

    def test_DryRunWritesNothing(self):
        self.apply(document([policy("A")], [datastore()]))
        before = entries_of(self.host)
        self.assertEqual(self.ask("reset", "--dry-run").text,
                         "1 policy and 1 datastore to delete\nwould delete all policies and "
                         f"datastores from the configuration store in {self.host}; nothing was "
                         "written\n")
        self.assertEqual(entries_of(self.host), before)

    def test_OtherConfirmationsAreRefused(self):
        self.apply(document([policy()]))
        for words in (["yes"], ["--yes=no"], ["--yes=false"], ["--yes", "really"]):
            self.refuse(USAGE, "reset", *words)
        self.assertEqual(len(self.listed("policies")), 1)


if __name__ == "__main__":
    unittest.main()
