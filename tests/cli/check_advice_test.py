# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""What quorctl check advises: that it heals, when it is followed to the letter."""
import json
import os
import re
import unittest

from check_case import CheckCase
from quorctl_case import base64_of, blob, datastore, document, entries_of, policy


class AdviceCase(CheckCase):
    def setUp(self):
        super().setUp()
        self.master = self.write("master.json", json.dumps(self.content))

    def advice(self):
        """What is said of the records of the two stores; the same of all."""
        found = [f for f in self.findings() if f["subject"] in (self.store, self.file)]
        self.assertEqual(len({f["advice"] for f in found}), 1, found)
        return found[0]["advice"]

    def follow(self, advice, path):
        """Does the last of the things that are advised, with that document."""
        step = advice.rsplit(", or ", maxsplit=1)[-1]
        if step.startswith("move it away and "):
            os.rename(self.store, os.path.join(self.directory, "away"))
            step = re.fullmatch("move it away and (.*); records of other programs are lost then",
                                step).group(1)
        applied = re.fullmatch("apply the whole catalogue(?: with (--no-history))?", step)
        copied = re.fullmatch("replace its catalogue by the one in use: (migrate .*)", step)
        self.assertTrue(applied or copied, step)
        if applied:
            self.ask("apply", "--yes", *filter(None, applied.groups()), path)
        else:
            self.ask(*copied.group(1).split(), "--yes")

    def expect_to_heal(self, advice, path=None):
        self.assertEqual(self.advice(), advice)
        self.follow(advice, path or self.master)
        self.expect_nothing()
        if path is None:
            self.assertEqual(self.listed_document(), self.content)


class Store(AdviceCase):
    REPLACE = "restore the file from a backup, or apply the whole catalogue with --no-history"
    MOVE_AWAY = ("restore the file from a backup, or move it away and apply the whole catalogue; "
                 "records of other programs are lost then")

    def damage_policy(self):
        self.replace(self.store, b"find me in the file", b"FIND me in the file")

    def damage_datastore(self):
        self.replace(self.store, b"ds:///find/", b"ds:///FIND/")

    def test_DamagedPolicy(self):
        self.damage_policy()
        self.expect_to_heal(self.REPLACE)

    def test_DamagedDatastore(self):
        self.damage_datastore()
        self.expect_to_heal(self.REPLACE)

    def test_BothDamaged(self):
        self.damage_policy()
        self.damage_datastore()
        self.expect_to_heal(self.REPLACE)

    def test_BackupOfTheFile(self):
        with open(self.store, "rb") as file:
            backup = file.read()
        self.damage_policy()
        self.assertTrue(self.advice().startswith("restore the file from a backup, or "))
        with open(self.store, "wb") as file:
            file.write(backup)
        self.expect_nothing()

    def test_ValueOfAnotherType(self):
        self.odd("typed")
        self.expect_to_heal("apply the whole catalogue with --no-history")

    def test_MissingValue(self):
        for path in (self.master, None):
            self.odd("partial")
            path = path or self.write("export.json", self.ask("export").raw)
            self.expect_to_heal("apply the whole catalogue", path)

    def test_RecordUnderAnotherKey(self):
        for path in (self.master, None):
            self.odd("moved")
            path = path or self.write("export.json", self.ask("export").raw)
            self.expect_to_heal("apply the whole catalogue", path)

    def test_OneRecordThatCannotBeReadForbidsToKeepTheOthers(self):
        self.odd("moved")
        self.odd("typed")
        self.expect_to_heal("apply the whole catalogue with --no-history")

    def test_UnusableFile(self):
        for size in (0, 100, os.path.getsize(self.store) - 1):
            os.truncate(self.store, size)
            [found] = [f for f in self.findings() if f["subject"] == self.store]
            self.assertEqual(found["advice"], self.MOVE_AWAY)
            self.follow(found["advice"], self.master)
            self.expect_nothing()

    def test_DamagedRecordOfAnotherProgram(self):
        self.odd("foreign")
        self.replace(self.store, b"find me at the other program", b"FIND me at the other program")
        self.damage_policy()
        self.expect_to_heal(self.MOVE_AWAY)

    def test_StoreThatIsNotInUse(self):
        for fault, options in (("moved", ""), ("typed", " --no-history")):
            self.odd(fault)
            self.ask("switch", "--yes", "file")
            self.apply(self.content)
            self.expect_to_heal("replace its catalogue by the one in use: migrate --to store" +
                                options)
            self.ask("switch", "--yes", "store")


class File(AdviceCase):
    REPLACE = "correct the file by hand, or apply the whole catalogue with --no-history"

    def setUp(self):
        super().setUp()
        self.ask("switch", "--yes", "file")
        self.apply(self.content)

    def damage(self):
        self.replace(self.file, base64_of(b"find me in the file").encode(), b"no base64!")

    def test_RecordThatCannotBeRead(self):
        for values in ({"name": None}, {"generation_number": None}, {"generation_number": "seven"},
                       {"name": {"a": "b"}}, {"blobs": "text"}):
            self.change_policy(**values)
            self.expect_to_heal(self.REPLACE)
        self.damage()
        self.expect_to_heal(self.REPLACE)
        self.change(lambda tree: tree["Datastore-Info"]["Datastore"][0].pop("default-policy-id"))
        self.expect_to_heal(self.REPLACE)

    def test_CorrectionByHand(self):
        self.damage()
        self.assertTrue(self.advice().startswith("correct the file by hand, or "))
        self.replace(self.file, b"no base64!", base64_of(b"find me in the file").encode())
        self.expect_nothing()

    def test_BlobWithoutNamespaceOrContent(self):
        self.apply(document([policy("A"), policy("B", blobs=[])]))
        for path in (self.write("empty.json", json.dumps(document())), None):
            self.apply(document([policy("A"), policy("B", blobs=[])]))
            self.change_policy(blobs=[{"blob": ""}, {"datastore-namespace": "N"}])
            path = path or self.write("export.json", self.ask("export").raw)
            self.expect_to_heal("correct the file by hand, or apply the whole catalogue", path)

    def test_ArrayThatIsNoneIsToBeCorrectedByHand(self):
        with open(self.file, "rb") as file:
            backup = file.read()
        self.change_policy(name=None)
        self.change(lambda tree: tree.update({"Datastore-Info": {"Datastore": "text"}}))
        self.assertEqual(self.advice(), "correct the file by hand, or restore it from a backup")
        with open(self.file, "wb") as file:
            file.write(backup)
        self.expect_nothing()

    def test_FileThatIsNotInUse(self):
        self.damage()
        self.ask("switch", "--yes", "store")
        self.expect_to_heal("correct the file by hand, or replace its catalogue by the one in use: "
                            "migrate --to file --no-history")

    def test_RepeatedKeysAreToBeMadeUnique(self):
        def repeat(tree):
            policies = tree["Policy-Info"]["policy"]
            policies.append(dict(policies[0], name="C"))
            policies.append(dict(policies[1], **{"policy-id": "other"}))
            policies[1]["blobs"].append(dict(policies[1]["blobs"][0]))
            tree["Datastore-Info"]["Datastore"] *= 2
        self.change(repeat)
        self.assertEqual({f["advice"] for f in self.findings()}, {
            "give each policy an identifier of its own and apply again",
            "give each policy a name of its own and apply again",
            "leave one blob for each namespace and apply again",
            "leave one datastore for each URL and apply again"})
        exported = json.loads(self.ask("export").text)
        for index, entry in enumerate(exported["policies"]):
            entry.update(id=f"{entry['id']}-{index}", name=str(index), blobs=entry["blobs"][:1])
        exported["datastores"] = [datastore("ds:///find/",
                                            defaultPolicy=exported["policies"][0]["id"])]
        self.apply(exported)
        self.expect_nothing()


class WrittenAnew(AdviceCase):
    """An apply that changes no record heals what check finds."""

    def setUp(self):
        super().setUp()
        self.odd("moved")
        self.exported = self.write("export.json", self.ask("export").raw)
        self.why = ('all records are to be written anew: policy "odd": is stored under another '
                    "key, so that lookups do not find it\n")

    def test_TheReasonIsTold(self):
        text = self.ask("apply", self.exported).text
        self.assertEqual(text, self.why + "applied 3 policies (2 blobs) and 2 datastores to the "
                         f"configuration store in {self.host}\n")
        self.assertIn("nothing differs", self.ask("apply", self.exported).text)

    def test_DryRunWritesNothing(self):
        before = entries_of(self.host)
        text = self.ask("apply", "--dry-run", self.exported).text
        self.assertTrue(text.startswith(self.why + "would apply 3 policies"), text)
        self.assertEqual(entries_of(self.host), before)

    def test_ApplyOfOneKindIsLeftAsItIs(self):
        for option in ("--policies-only", "--datastores-only"):
            self.assertIn("nothing differs", self.ask("apply", option, self.exported).text)

    def test_WhatDiffersInOneKindDoesNotKeepTheOtherFromBeingHealed(self):
        changed = json.loads(self.ask("export").text)
        changed["policies"][0]["generation"] += 1
        text = self.apply(changed).text
        self.assertIn("generation 1 -> 2\nall records are to be written anew: ", text)
        self.expect_nothing()

    def test_RestoreHealsToo(self):
        self.ask("apply", self.exported)
        self.odd("moved")
        self.ask("restore", "--yes", "2")
        self.expect_nothing()


if __name__ == "__main__":
    unittest.main()
