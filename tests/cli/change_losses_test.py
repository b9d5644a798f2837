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
        self.assertIn('... and 81 more; add "--dry-run | less" to see them all', shown)
        terminal.type("n\n")
        self.assertEqual(terminal.finish().status, NOT_CONFIRMED)
        self.assertEqual(self.ask("apply", "--dry-run", empty).text.count("deleted "), 100)


class NewProblems(QuorctlCase):
    """What "check" would find afterwards is told with the change that makes it."""

    def warnings(self, content, *options):
        text = self.ask("apply", "--yes", *options, "-", given=json.dumps(content).encode()).text
        return [line for line in text.splitlines() if line.startswith("warning: ")]

    def test_DefaultsThatLeadNowhereAndRepeatedIdentifiers(self):
        sound = document([policy("A"), policy("B")], [datastore("ds:///a/", defaultPolicy="id-A"),
                                                      datastore("ds:///b/", defaultPolicy="id-A")])
        broken = document([policy("A", id="same"), policy("B", id="same", blobs=[])],
                          [datastore("ds:///a/", defaultPolicy="none"),
                           datastore("ds:///b/", defaultPolicy="same", namespace="VOLB")])
        expected = [
            'warning: policy identifier "same": 2 policies have it, and only the first is found by '
            "it; the digest depends on the order of the records",
            'warning: datastore "ds:///a/": its default policy "none" does not exist',
            'warning: datastore "ds:///b/": its default policy "same" has no blob for the '
            'datastore\'s namespace "VOLB"']
        for store in ("store", "file"):
            self.ask("switch", "--yes", store)
            self.assertEqual(self.warnings(sound), [])
            self.assertEqual(self.warnings(broken, "--dry-run"), expected)
            self.assertEqual(self.warnings(broken), expected)
            found = json.loads(self.run_quorctl("check", "-o", "json").text)
            self.assertEqual([f"warning: {f['subject']}: {f['problem']}" for f in found], expected)
            again = document([*broken["policies"], policy("C")], broken["datastores"])
            self.assertEqual(self.warnings(again), [])  # told before

    def test_PoliciesAloneCanLeaveDefaultsBehind(self):
        self.apply(document([policy("A")], [datastore("ds:///a/", defaultPolicy="id-A")]))
        self.assertEqual(self.warnings(document(), "--policies-only"),
                         ['warning: datastore "ds:///a/": its default policy "id-A" does not exist'])

    def test_ManyAreCounted(self):
        found = self.warnings(document([], [datastore(f"ds:///{i}/") for i in range(9)]))
        self.assertEqual(len(found), 6)
        self.assertEqual(found[5], 'warning: and 4 more problems, which "quorctl check" will name')


if __name__ == "__main__":
    unittest.main()
