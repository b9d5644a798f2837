# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""quorctl set: one record is changed, and only that one."""
import json
import unittest

from quorctl_case import (ABSENT, BAD_INPUT, NOT_CONFIRMED, USAGE, QuorctlCase, base64_of, blob,
                          datastore, document, policy)
from terminal import Terminal


class Set(QuorctlCase):
    def setUp(self):
        super().setUp()
        self.policies = [policy("Gold", id="gold-01", generation=7, blobs=[blob(), blob("VOLB")]),
                         policy("Silver", id="silver-01")]
        self.datastores = [datastore(defaultPolicy="gold-01"), datastore("ds:///b/")]
        self.content = document(self.policies, self.datastores)

    def on_each_store(self):
        for store in ("store", "file"):
            self.ask("switch", "--yes", store)
            self.apply(self.content)
            yield store

    def expect(self, words, **changes):
        """That the words lead from the catalogue to one with these changes of the first record of
        a kind, which is the second word."""
        kind = "policies" if words[0] == "policy" else "datastores"
        for _ in self.on_each_store():
            result = self.ask("set", *words)
            expected = {**self.content, kind: [{**self.content[kind][0], **changes},
                                               *self.content[kind][1:]]}
            self.assertEqual(self.listed_document(), expected, words)
            self.assertIn("changed  " + words[0], result.text)
            self.assertIn("set " + words[0], result.text.splitlines()[-1])
            entry = json.loads(self.ask("history", "-o", "json").text)[0]
            self.assertEqual(entry["reason"], "set")

    def test_FieldsOfAPolicy(self):
        for key in ("gold-01", "Gold"):
            self.expect(["policy", key, "description=a=b", "generation=+2"], description="a=b",
                        generation=9)
        self.expect(["policy", "Gold", "generation=-5"], generation=-5)
        self.expect(["policy", "Gold", "generation=+-8"], generation=-1)
        self.expect(["policy", "Gold", "--yes", "id=other"], id="other")
        self.expect(["policy", "gold-01", "--yes", "name=New"], name="New")

    def test_FieldsOfADatastore(self):
        self.expect(["datastore", "ds:///a/", "defaultPolicy=silver-01"], defaultPolicy="silver-01")

    def test_Blobs(self):
        path = self.write("blob", b"\xff\x00")
        self.expect(["policy", "Gold", "--blob", "VOLB=@" + path],
                    blobs=[blob(), blob("VOLB", base64=base64_of(b"\xff\x00"))])
        self.expect(["policy", "Gold", "--blob=VOLB=text", "--blob", "X=y"],
                    blobs=[blob(), blob("VOLB", text="text"), blob("X", text="y")])
        self.expect(["policy", "Gold", "--yes", "--no-blob", "VOLB"], blobs=[blob()])
        self.apply(self.content)
        self.ask("set", "policy", "Gold", "--blob", "RILK=@-", given=b"from a pipe")
        self.assertEqual(self.listed("policies")[0]["blobs"][0], blob(text="from a pipe"))

    def test_NothingIsWrittenWhereNothingDiffers(self):
        self.apply(self.content)
        self.assertIn("nothing differs from the configuration store",
                      self.ask("set", "policy", "Gold", "generation=7").text)
        self.assertIn("would set policy", self.ask("set", "policy", "Gold", "generation=8",
                                                   "--dry-run").text)
        self.assertEqual(self.listed_document(), self.content)

    def test_LossesAreAskedFor(self):
        for _ in self.on_each_store():
            for words in (["policy", "Gold", "--no-blob", "VOLB"], ["policy", "Gold", "id=x"],
                          ["datastore", "ds:///a/", "defaultPolicy="]):
                result = self.run_quorctl("set", *words)
                self.assertEqual(result.status, NOT_CONFIRMED, words)
                self.assertEqual(self.listed_document(), self.content)
        terminal = Terminal(self, "set", "policy", "Gold", "--no-blob", "VOLB")
        terminal.wait_for("Delete 1 blob from")
        terminal.type("y\n")
        self.assertEqual(terminal.finish().status, 0)
        self.assertEqual(self.listed("policies")[0]["blobs"], [blob()])

    def test_WhatAnotherProcessChangesIsKept(self):
        self.apply(self.content)
        terminal = Terminal(self, "set", "policy", "Gold", "--no-blob", "VOLB")
        terminal.wait_for("[y/N] ")
        self.ask("set", "policy", "Silver", "description=meanwhile")
        terminal.type("y\n")
        terminal.wait_for("another process has changed the catalogue meanwhile")
        terminal.type("y\n")
        self.assertEqual(terminal.finish().status, 0)
        gold, silver = self.listed("policies")
        self.assertEqual((gold["blobs"], silver["description"]), ([blob()], "meanwhile"))

    def test_WhatCannotBeIsRefused(self):
        for _ in self.on_each_store():
            for status, words, message in (
                    (ABSENT, ["policy", "none", "name=x"], 'identifier or name "none"'),
                    (ABSENT, ["policy", "G*", "name=x"], 'identifier or name "G*"'),
                    (ABSENT, ["datastore", "none", "url=x"], 'no datastore "none"'),
                    (ABSENT, ["policy", "Gold", "--no-blob", "X"], 'there is no blob for "X"'),
                    (BAD_INPUT, ["policy", "Gold", "name=Silver", "--yes"],
                     'another record has the name "Silver" already; nothing was changed'),
                    (BAD_INPUT, ["policy", "Gold", "id=silver-01", "--yes"],
                     'another record has the id "silver-01" already; nothing was changed'),
                    (BAD_INPUT, ["datastore", "ds:///a/", "url=ds:///b/"],
                     'another record has the url "ds:///b/" already; nothing was changed'),
                    (BAD_INPUT, ["policy", "Gold", "--blob", "X=@/none"], "cannot read /none"),
                    (USAGE, ["policy", "Gold", "nmae=x"], 'unknown field "nmae"; did you mean "name"?'),
                    (USAGE, ["policy", "Gold", "generation=x"], "give an integer of 64 bits"),
                    (USAGE, ["policy", "Gold", f"generation=+{2**63 - 1}"], "give an integer"),
                    (USAGE, ["policy", "Gold", "blobs=x"], "--blob NAMESPACE=@FILE"),
                    (USAGE, ["policy", "Gold", "name"], '"name": give FIELD=VALUE'),
                    (USAGE, ["policy", "Gold"], "nothing is to be set"),
                    (USAGE, ["policy"], "set what?"),
                    (USAGE, ["datastore", "ds:///a/", "--no-blob", "X"], "only policies have blobs")):
                self.refuse(status, "set", *words, message=message)
            self.assertEqual(self.listed_document(), self.content)

    def test_NameOfSeveralIsSaid(self):
        self.apply(document([policy("A", id="same"), policy("B", id="same")]))
        self.refuse(USAGE, "set", "policy", "same", "description=x",
                    message='2 records are named "same"; nothing was changed')


if __name__ == "__main__":
    unittest.main()
