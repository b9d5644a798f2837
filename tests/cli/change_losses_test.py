# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""What a change takes away is confirmed, whatever it is; and what it changes is shown."""
import json
import unittest

from quorctl_case import DONE, NO, NOT_CONFIRMED, QuorctlCase, blob, datastore, document, policy
from terminal import Terminal


class Losses(QuorctlCase):
    def setUp(self):
        super().setUp()
        self.before = document([policy("A"), policy("B", blobs=[blob(), blob("VOLB")])],
                               [datastore("ds:///a/", defaultPolicy="id-A"),
                                datastore("ds:///b/", defaultPolicy="id-B", namespace="VOLB")])
        self.apply(self.before)

    def changed(self, kind, index, **changes):
        content = json.loads(json.dumps(self.before))
        content[kind][index].update(changes)
        return content

    def expect_loss(self, content, loss):
        for store in ("store", "file"):
            self.ask("switch", "--yes", store)
            self.apply(self.before)
            given = json.dumps(content).encode()
            result = self.run_quorctl("apply", "-", given=given)
            self.assertEqual(result.status, NOT_CONFIRMED, result.text)
            self.assertIn(f"quorctl: apply would delete {loss} from the ", result.errors)
            self.assertEqual(self.listed_document(), self.before)
            self.ask("apply", "--yes", "-", given=given)
            self.assertEqual(self.listed_document(), content)

    def test_RemovedBlob(self):
        self.expect_loss(self.changed("policies", 0, blobs=[]),
                         "1 blob, 1 default of a datastore")

    def test_EmptiedBlobs(self):
        self.expect_loss(self.changed("policies", 1, blobs=[blob(text=""), blob("VOLB", text="")]),
                         "2 blobs, 1 default of a datastore")

    def test_IdentifierThatDatastoresName(self):
        self.expect_loss(self.changed("policies", 0, id="other"),
                         "1 identifier, 1 default of a datastore")

    def test_Name(self):
        self.expect_loss(self.changed("policies", 0, name="other"), "1 name")

    def test_ClearedDefault(self):
        self.expect_loss(self.changed("datastores", 0, defaultPolicy=""), "1 default of a datastore")

    def test_NamespaceThatTheDefaultPolicyHasNoBlobFor(self):
        self.expect_loss(self.changed("datastores", 0, namespace="OBJS"),
                         "1 default of a datastore")

    def test_RecordsAreCountedFirst(self):
        content = self.changed("datastores", 0, defaultPolicy="id-B")
        content["policies"].pop(0)
        self.expect_loss(content, "1 policy and 0 datastores")

    def test_WhatTakesNothingAwayIsNotAskedFor(self):
        for changes in ({"generation": 2}, {"description": "d"}, {"blobs": [blob(text="other")]},
                        {"blobs": [blob(), blob("N")]}):
            content = self.changed("policies", 0, **changes)
            self.ask("apply", "-", given=json.dumps(content).encode())
            self.apply(self.before)

    def test_EmptyBlobIsNoLoss(self):
        self.apply(document([policy("A", blobs=[blob(text="")])]))
        self.ask("apply", "-", given=json.dumps(document([policy("A", blobs=[])])).encode())


class Shown(QuorctlCase):
    def setUp(self):
        super().setUp()
        self.apply(document([policy("A", blobs=[blob(text="12345"), blob("VOLB"), blob("SAME")])]))
        self.path = self.write("after.json", json.dumps(document([policy(
            "A", generation=7, description="new",
            blobs=[blob(text="123"), blob("OBJS"), blob("SAME", text="y")])])))

    def test_OldAndNewValuesAreShown(self):
        result = self.run_quorctl("diff", self.path)
        self.assertEqual(result.status, NO)
        self.assertIn('description "" -> new; generation 1 -> 7; blobs OBJS added, 1 bytes; '
                      "blobs RILK 5 bytes -> 3 bytes; blobs SAME other content, 1 bytes; "
                      "blobs VOLB removed\n", result.text)

    def test_ProgramsGetNamesAndValues(self):
        [found] = json.loads(self.run_quorctl("diff", self.path, "-o", "json").text)
        self.assertEqual(found["fields"], ["description", "generation", "blobs OBJS", "blobs RILK",
                                           "blobs SAME", "blobs VOLB"])
        self.assertEqual(found["values"][1], {"field": "generation", "before": "1", "after": "7"})
        self.assertEqual(found["values"][5],
                         {"field": "blobs VOLB", "before": "1 bytes", "after": None})

    def test_CountsComeFirst(self):
        lines = self.ask("apply", "--yes", self.path).text.splitlines()
        self.assertEqual(lines[0], "0 policies and 0 datastores to delete, 0 policies and 0 "
                                   "datastores to add, 1 policy and 0 datastores to change")
        self.assertTrue(lines[1].startswith("CHANGE "))

    def test_TerminalIsNotFlooded(self):
        self.apply(document([policy(f"P{i}") for i in range(100)]))
        empty = self.write("empty.json", json.dumps(document()))
        terminal = Terminal(self, "apply", empty, output_too=True, size=(24, 80))
        terminal.wait_for("[y/N] ")
        shown = terminal.shown.decode().splitlines()
        self.assertLessEqual(len(shown), 24)
        self.assertIn("... and 81 more; with --dry-run and into a pager all are shown", shown)
        terminal.type("n\n")
        self.assertEqual(terminal.finish().status, NOT_CONFIRMED)
        self.assertEqual(self.ask("apply", "--dry-run", empty).text.count("deleted "), 100)


if __name__ == "__main__":
    unittest.main()
