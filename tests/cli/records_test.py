# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""quorctl add, delete and rename: one record comes, goes or is called otherwise."""
import json
import os
import unittest

from quorctl_case import (ABSENT, BAD_INPUT, NOT_CONFIRMED, USAGE, QuorctlCase, base64_of, blob,
                          datastore, document, policy, without_lock_files, entries_of)
from terminal import Terminal

GOLD = policy("Gold", id="gold-01", blobs=[blob(), blob("VOLB")])
SILVER = policy("Silver", id="silver-01")
A = datastore(defaultPolicy="gold-01")
B = datastore("ds:///b/", defaultPolicy="silver-01")
CONTENT = document([GOLD, SILVER], [A, B])


class RecordCase(QuorctlCase):
    def on_each_store(self):
        for store in ("store", "file"):
            self.ask("switch", "--yes", store)
            self.apply(CONTENT)
            yield store

    def expect(self, words, policies=CONTENT["policies"], datastores=CONTENT["datastores"]):
        """That the words lead from the catalogue to these records; the text."""
        for _ in self.on_each_store():
            before = without_lock_files(entries_of(self.host))
            self.assertIn("would " + words[0], self.ask(*words, "--dry-run").text)
            self.assertEqual(without_lock_files(entries_of(self.host)), before)
            text = self.ask(*words).text
            self.assertEqual(self.listed_document(), document(policies, datastores), words)
            entry = json.loads(self.ask("history", "-o", "json").text)[0]
            self.assertEqual(entry["reason"], words[0])
        return text

    def expect_refusals(self, command, *refusals):
        for _ in self.on_each_store():
            for status, words, message in refusals:
                self.refuse(status, command, *words, message=message)
            self.assertEqual(self.listed_document(), CONTENT)


class Damage(RecordCase):
    def test_OfAStoreIsNotReplacedByOneRecord(self):
        for words in (["add", "policy", "new-01", "New"], ["set", "policy", "gold-01", "name=Au"],
                      ["delete", "policy", "gold-01"], ["rename", "policy", "gold-01", "id=g"]):
            self.expect_refusals(words[0], (USAGE, [*words[1:], "--replace-damaged", "--yes"],
                                            "--replace-damaged goes with whole catalogues only"))


class Add(RecordCase):
    def test_APolicy(self):
        text = self.expect(["add", "policy", "new-01", "New"],
                           [GOLD, SILVER, policy("New", id="new-01", generation=0, blobs=[])])
        self.assertRegex(text, r"(?m)^added +policy +New +new-01 ")
        self.assertTrue(text.endswith(f'added policy "new-01" to the configuration file in {self.host}\n'))

    def test_APolicyWithFieldsAndBlobs(self):
        path = self.write("blob", b"\xff\x00")
        self.expect(["add", "policy", "new-01", "New=", "description=d", "generation=+7",
                     "--blob", "RILK=text", "--blob", "VOLB=@" + path],
                    [GOLD, SILVER,
                     policy("New=", id="new-01", description="d", generation=7,
                            blobs=[blob(text="text"), blob("VOLB", base64=base64_of(b"\xff\x00"))])])

    def test_ADatastore(self):
        self.expect(["add", "datastore", "ds:///c/"],
                    datastores=[A, B, datastore("ds:///c/", namespace="", defaultPolicy="")])
        self.expect(["add", "datastore", "ds:///c/", "namespace=VOLB", "defaultPolicy=gold-01"],
                    datastores=[A, B, datastore("ds:///c/", namespace="VOLB", defaultPolicy="gold-01")])

    def test_OnAHostWithoutACatalogue(self):
        self.ask("add", "policy", "gold-01", "Gold", "--blob", "RILK=x")
        self.assertEqual(self.ask("blob", "--policy-id", "gold-01").raw, b"x")

    def test_ADefaultThatIsNotThereIsSaid(self):
        self.apply(CONTENT)
        self.assertIn('warning: datastore "ds:///c/": its default policy "none" does not exist\n',
                      self.ask("add", "datastore", "ds:///c/", "defaultPolicy=none").text)

    def test_WhatCannotBeIsRefused(self):
        self.expect_refusals(
            "add",
            (BAD_INPUT, ["policy", "gold-01", "New"],
             'another record has the id "gold-01" already; nothing was changed'),
            (BAD_INPUT, ["policy", "new", "Gold"],
             'another record has the name "Gold" already; nothing was changed'),
            (BAD_INPUT, ["datastore", "ds:///a/"],
             'another record has the url "ds:///a/" already; nothing was changed'),
            (USAGE, [], "add what?"), (USAGE, ["policy"], "add what?"),
            (USAGE, ["policy", "new"], "policy ID NAME"), (USAGE, ["policy", "new", ""], "policy ID NAME"),
            (USAGE, ["policy", "new", "description=x"], "policy ID NAME"),
            (USAGE, ["policy", "", "New"], "is empty"), (USAGE, ["datastore", ""], "is empty"),
            (USAGE, ["policy", "new", "New", "nmae=x"], 'did you mean "name"?'),
            (USAGE, ["datastore", "ds:///c/", "--blob", "X=y"], "only policies have blobs"))

    def test_WhatTheFileCannotKeepIsRefused(self):
        self.ask("switch", "--yes", "file")
        self.refuse(BAD_INPUT, "add", "policy", "x", "X", f"generation={2**31}",
                    message="does not fit 32 bits; nothing was changed")
        self.assertFalse(os.path.exists(os.path.join(self.host, "host-config.json")))


class Delete(RecordCase):
    def test_APolicy(self):
        for key in ("silver-01", "Silver"):
            text = self.expect(["delete", "policy", key, "--yes"], [GOLD])
            self.assertIn('warning: datastore "ds:///b/": its default policy "silver-01" does not exist\n'
                          '"quorctl set datastore URL defaultPolicy=ID" gives one another default\n', text)

    def test_ADatastore(self):
        text = self.expect(["delete", "datastore", "ds:///a/", "--yes"], datastores=[B])
        self.assertNotIn("another default", text)

    def test_ItIsAskedFor(self):
        for _ in self.on_each_store():
            for words, loss in ((["policy", "Gold"], "1 policy and 0 datastores, 1 default of a datastore"),
                                (["datastore", "ds:///a/"], "0 policies and 1 datastore")):
                result = self.run_quorctl("delete", *words)
                self.assertEqual(result.status, NOT_CONFIRMED)
                self.assertIn(f"delete would delete {loss} from", result.errors)
                self.assertEqual(self.listed_document(), CONTENT)
        terminal = Terminal(self, "delete", "datastore", "ds:///b/")
        terminal.wait_for("Delete 0 policies and 1 datastore from")
        terminal.type("y\n")
        self.assertEqual(terminal.finish().status, 0)
        self.assertEqual(self.listed_document(), document([GOLD, SILVER], [A]))

    def test_WhatCannotBeIsRefused(self):
        self.expect_refusals(
            "delete", (ABSENT, ["policy", "G*", "--yes"], 'identifier or name "G*"'),
            (ABSENT, ["datastore", "ds:///c/", "--yes"], 'no datastore "ds:///c/"'),
            (USAGE, ["policy"], "delete what?"), (USAGE, ["policies*", "x"], "unknown kind"),
            (USAGE, ["policy", "Gold", "Silver", "--yes"], 'unexpected argument "Silver"'))

    def test_NameOfSeveralIsSaid(self):
        content = document([policy("A", id="same"), policy("B", id="same")])
        self.apply(content)
        self.refuse(USAGE, "delete", "policy", "same", "--yes", message='2 records are named "same"')
        self.ask("delete", "policy", "B", "--yes")
        self.assertEqual(self.listed("policies"), content["policies"][:1])


class Rename(RecordCase):
    def test_Names(self):
        text = self.expect(["rename", "policy", "gold-01", "name=New", "--yes"],
                           [{**GOLD, "name": "New"}, SILVER])
        self.assertNotIn("--defaults", text)
        self.expect(["rename", "datastore", "ds:///a/", "url=ds:///z/", "--yes"],
                    datastores=[{**A, "url": "ds:///z/"}, B])

    def test_DefaultsStayUnlessTheyAreToFollow(self):
        renamed = [{**GOLD, "id": "new"}, SILVER]
        words = ["rename", "policy", "Gold", "id=new", "--yes"]
        self.assertIn('warning: datastore "ds:///a/": its default policy "gold-01" does not exist\n'
                      "--defaults gives the datastores the new identifier\n",
                      self.expect(words, renamed))
        text = self.expect([*words, "--defaults"], renamed, [{**A, "defaultPolicy": "new"}, B])
        self.assertNotIn("warning", text)
        self.expect([*words, "--defaults", "name=New"], [{**GOLD, "id": "new", "name": "New"}, SILVER],
                    [{**A, "defaultPolicy": "new"}, B])

    def test_DatastoresWithoutADefaultGetNone(self):
        self.apply(document([policy("Gold", id="")], [datastore(defaultPolicy="")]))
        self.ask("rename", "policy", "Gold", "id=new", "--defaults")
        self.assertEqual(self.listed("datastores"), [datastore(defaultPolicy="")])

    def test_ItIsAskedFor(self):
        for _ in self.on_each_store():
            for words in (["policy", "Gold", "id=x"], ["policy", "Gold", "id=x", "--defaults"],
                          ["policy", "Gold", "name=x"], ["datastore", "ds:///a/", "url=x"]):
                result = self.run_quorctl("rename", *words)
                self.assertEqual(result.status, NOT_CONFIRMED, words)
                self.assertEqual(self.listed_document(), CONTENT)

    def test_WhatCannotBeIsRefused(self):
        self.expect_refusals(
            "rename",
            (BAD_INPUT, ["policy", "Gold", "id=silver-01", "--yes"], 'has the id "silver-01" already'),
            (BAD_INPUT, ["policy", "Gold", "name=Silver", "--yes"], 'has the name "Silver" already'),
            (BAD_INPUT, ["datastore", "ds:///a/", "url=ds:///b/", "--yes"], "nothing was changed"),
            (ABSENT, ["policy", "none", "id=x"], 'identifier or name "none"'),
            (USAGE, ["policy", "Gold"], "give id=NEW or name=NEW"),
            (USAGE, ["policy", "Gold", "New"], '"New": give id=NEW or name=NEW'),
            (USAGE, ["policy", "Gold", "description=x"], 'takes no "description"'),
            (USAGE, ["datastore", "ds:///a/", "id=x"], "give url=NEW"),
            (USAGE, ["datastore", "ds:///a/", "url=x", "--defaults"], "goes with policies only"))


class Words(QuorctlCase):
    def test_ThoseOfOtherProgramsLeadToThem(self):
        for word, command in (("rm", "delete"), ("remove", "delete"), ("create", "add"), ("new", "add"),
                              ("mv", "rename"), ("undo", "restore"), ("show", "get"), ("ls", "list"),
                              ("describe", "get"), ("log", "history")):
            self.refuse(USAGE, word, message=f'unknown command "{word}"; did you mean "{command}"?')


if __name__ == "__main__":
    unittest.main()
