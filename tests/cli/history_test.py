# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""quorctl history and quorctl restore: the catalogues that were replaced."""
import csv
import io
import json
import os
import re
import stat
import subprocess
import unittest

from quorctl_case import (ABSENT, BAD_INPUT, DONE, NO, NOT_CONFIRMED, STORE, TIMEOUT, USAGE,
                          QuorctlCase, base64_of, blob, datastore, document, entries_of, policy)
from terminal import Terminal

PUT_CATALOGUE = os.environ["QUOR_PUT_CATALOGUE"]
KEPT = 20


class HistoryCase(QuorctlCase):
    def entries(self):
        return json.loads(self.ask("history", "-o", "json").text)

    def document_of(self, entry):
        with open(entry["path"], encoding="utf-8") as file:
            return json.load(file)


class History(HistoryCase):
    def test_HostWhereNothingWasReplacedHasNone(self):
        self.assertEqual(self.entries(), [])
        self.assertFalse(os.path.exists(self.host))

    def test_EachChangeKeepsWhatWasThere(self):
        first = document([policy("A")], [datastore()])
        second = document([policy("B"), policy("C")], [])
        self.apply(first)
        digests = json.loads(self.ask("digest", "-o", "json").text)
        self.apply(second)
        self.ask("reset", "--yes")
        entries = self.entries()
        self.assertEqual([e["number"] for e in entries], [4, 3, 2, 1])
        self.assertEqual([e["reason"] for e in entries], ["reset", "apply", "apply", "found"])
        self.assertEqual([self.document_of(e) for e in entries],
                         [document(), second, first, document()])
        middle = entries[2]
        self.assertEqual((middle["policies"], middle["datastores"], middle["store"]),
                         (1, 1, "store"))
        if isinstance(digests, dict):
            digests = [digests]
        self.assertIn(middle["policyDigest"], json.dumps(digests))
        self.assertIn(middle["datastoreDigest"], json.dumps(digests))
        self.assertRegex(middle["time"], r"\A\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ\Z")

    def test_OneIsShown(self):
        content = document([policy("A")], [datastore()])
        self.apply(content)
        self.apply(document())
        self.assertEqual(json.loads(self.ask("history", "show", "2").text), content)
        self.refuse(ABSENT, "history", "show", "77")
        self.refuse(USAGE, "history", "show", "x", message='"x" is no number of the history')
        self.refuse(USAGE, "history", "show", message="history show needs a number")
        self.refuse(USAGE, "history", "drop", "2",
                    message='unknown action "drop"; choose show, keep, release or length')

    def numbers_after_changes(self, *generations):
        for generation in generations:
            self.apply(document([policy("A", generation=generation)]))
        return [entry["number"] for entry in self.entries()]

    def test_LengthIsThatOfTheHost(self):
        self.refuse(ABSENT, "history", "length", "3")
        self.apply(document([policy("A")]))
        self.ask("history", "length", "3")
        self.assertEqual(self.numbers_after_changes(2, 3, 4, 5), [6, 5, 4])
        for count in ("0", "10001"):
            self.refuse(USAGE, "history", "length", count,
                        message="history length: give a count from 1 to 10000")
        with open(os.path.join(self.host, "history", ".length"), "w", encoding="utf-8") as file:
            file.write("many")
        result = self.run_quorctl("apply", "--yes", "-", given=json.dumps(document()).encode())
        self.assertIn('.length: no number from 1 to 10000; set one by "quorctl history length '
                      'COUNT"', result.errors)
        self.assertEqual(self.listed("policies"), [])

    def test_OneThatIsKeptStaysWhateverComes(self):
        self.apply(document([policy("A")]))
        self.ask("history", "length", "2")
        self.ask("history", "keep", "2")
        self.ask("history", "keep", "2")
        self.assertEqual(self.numbers_after_changes(2, 3, 4), [5, 4, 2])
        self.assertEqual([entry["kept"] for entry in self.entries()], ["no", "no", "yes"])
        self.ask("restore", "--yes", "2")
        self.assertEqual(self.listed_document(), document([policy("A")]))
        self.ask("history", "release", "2")
        self.assertEqual(self.numbers_after_changes(5), [7, 6])

    def test_KeptDocumentIsOneThatApplyTakes(self):
        content = document([policy("\u00e9", description={"base64": base64_of(b"\xff\0")},
                                   blobs=[blob("N", base64=base64_of(b"\0\1\xfe"))])],
                           [datastore()])
        self.apply(content)
        self.ask("reset", "--yes")
        self.ask("apply", self.entries()[1]["path"])
        self.assertEqual(self.listed_document(), content)

    def test_OrderIsKeptAsItWasStored(self):
        content = document([policy(name) for name in "zab"], [datastore(u) for u in "caz"])
        self.apply(content)
        self.ask("reset", "--yes")
        self.assertEqual(self.document_of(self.entries()[1]), content)

    def test_ModesAreThoseOfTheHostsFiles(self):
        self.apply(document([policy()]))
        folder = os.path.join(self.host, "history")
        self.assertEqual(stat.S_IMODE(os.stat(folder).st_mode), 0o2750)
        self.assertEqual(stat.S_IMODE(os.stat(self.entries()[0]["path"]).st_mode), 0o640)
        self.assertEqual(os.stat(folder).st_uid, os.stat(self.host).st_uid)
        self.assertEqual(os.stat(folder).st_gid, os.stat(self.host).st_gid)

    def test_NewestTwentyAreKept(self):
        for i in range(KEPT + 5):
            self.apply(document([policy(generation=i)]))
        self.assertEqual([e["number"] for e in self.entries()], list(range(KEPT + 6, 6, -1)))
        files = [n for n in os.listdir(os.path.join(self.host, "history")) if n[0] != "."]
        self.assertEqual(len(files), KEPT)

    def test_LeftoversOfAKilledWriterAreRemovedByTheNext(self):
        self.apply(document([policy()]))
        leftover = os.path.join(self.host, "history", ".7.x.json.new-0123456789abcdef")
        with open(leftover, "w") as file:
            file.write("half")
        self.assertEqual(len(self.entries()), 2)
        self.apply(document([policy("B")]))
        self.assertFalse(os.path.exists(leftover))

    def test_ChangeByAnotherProgramIsKeptAsFound(self):
        self.apply(document([policy("A")]))
        subprocess.run([PUT_CATALOGUE], env=self.environment(), timeout=TIMEOUT, check=True,
                       input=b"policy x41 x42 x 1\n")
        found = self.listed_document()
        self.apply(document([policy("C")]))
        self.assertEqual([(e["number"], e["reason"]) for e in self.entries()],
                         [(4, "apply"), (3, "found"), (2, "apply"), (1, "found")])
        self.assertEqual(self.document_of(self.entries()[1]), found)

    def test_FilesOfOtherNamesArePassedOver(self):
        self.apply(document([policy()]))
        for name in ("notes.txt", "9.x.json", "x.y.z.store.1.1.-.-.json",
                     "9.20260101T000000Z.apply.tape.1.1.-.-.json"):
            with open(os.path.join(self.host, "history", name), "w"):
                pass
        self.assertEqual([e["number"] for e in self.entries()], [2, 1])

    def test_AllFormatsCarryTheSame(self):
        self.apply(document([policy()]))
        self.apply(document([policy("B")]))
        entries = self.entries()
        lines = self.ask("history", "-o", "jsonl").text.splitlines()
        self.assertEqual([json.loads(line) for line in lines], entries)
        rows = list(csv.reader(io.StringIO(self.ask("history", "-o", "csv").text)))
        self.assertEqual(rows[0], list(entries[0]))
        self.assertEqual(rows[1:], [[str(v) for v in e.values()] for e in entries])
        table = self.ask("history").text.splitlines()
        self.assertRegex(table[0], r"\ANUMBER +TIME +REASON +STORE +POLICIES +DATASTORES +"
                                   r"POLICY DIGEST +DATASTORE DIGEST\Z")
        self.assertRegex(table[1], rf"\A +3 +\S+ +apply +store +1 +0 +{entries[0]['policyDigest']}"
                                   r" +-\Z")
        self.assertIn(entries[0]["path"], self.ask("history", "-o", "wide").text)
        self.assertEqual(self.ask("history", "--fields", "number", "--sort", "number",
                                  "--no-headings").text.split(), ["1", "2", "3"])

    def test_ChangeStopsWhenTheCatalogueCannotBeKept(self):
        content = document([policy()], [datastore()])
        self.apply(content)
        folder = os.path.join(self.host, "history")
        for name in os.listdir(folder):
            os.remove(os.path.join(folder, name))
        os.rmdir(folder)
        with open(folder, "w"):
            pass
        for words in (["apply", "--yes", "-"], ["reset", "--yes"]):
            result = self.run_quorctl(*words, given=json.dumps(document()).encode())
            self.assertEqual(result.status, STORE, result.errors)
            self.assertIn("the present catalogue could not be kept in the history, so nothing was "
                          f"changed: {folder}: ", result.errors)
            self.assertNotIn("--no-history", result.errors)  # not what is in the way
            self.assertEqual(self.listed_document(), content)
        self.ask("apply", "--yes", "--no-history", "-", given=json.dumps(document()).encode())
        self.assertEqual(self.listed_document(), document())

    def test_NoHistoryKeepsNothing(self):
        self.apply(document([policy()]))
        self.ask("reset", "--yes", "--no-history")
        self.assertEqual(len(self.entries()), 2)

    def test_CatalogueWithDamagedRecordsIsNotKeptAsIfItWereWhole(self):
        self.ask("switch", "--yes", "file")
        self.apply(document([policy("A"), policy("B", blobs=[blob(text="find me")])]))
        path = os.path.join(self.host, "host-config.json")
        with open(path, "rb") as file:
            content = file.read()
        damaged = content.replace(base64_of(b"find me").encode(), b"no base64!")
        self.assertNotEqual(damaged, content)
        with open(path, "wb") as file:
            file.write(damaged)
        self.refuse(STORE, "reset", "--yes", message="1 of 2 policies cannot be read")
        self.assertEqual(len(self.entries()), 2)
        given = json.dumps(document([policy("A")])).encode()
        refused = self.run_quorctl("apply", "--no-history", "-", given=given)
        self.assertEqual(refused.status, NOT_CONFIRMED)
        self.assertIn("would delete 1 record that cannot be read from", refused.errors)
        self.ask("apply", "--no-history", "--yes", "-", given=given)
        self.ask("check")


class Restore(HistoryCase):
    def setUp(self):
        super().setUp()
        self.old = document([policy("z"), policy("a", generation=2**40)], [datastore("ds:///b/")])
        self.new = document([policy("a"), policy("c")], [datastore("ds:///b/", namespace="N")])
        self.apply(self.old)
        self.digest = self.ask("digest").text
        self.apply(self.new)

    def test_CatalogueIsPutBackAsItWas(self):
        text = self.ask("restore", "2", "--yes").text
        self.assertIn("restored number 2 (2 policies and 1 datastore, kept at ", text)
        self.assertEqual(self.listed_document(), self.old)
        self.assertEqual(self.ask("digest").text, self.digest)

    def test_RepeatedKeysArePutBackThoughApplyRefusesThem(self):
        self.ask("switch", "--yes", "file")
        self.apply(document([policy("a")], [datastore()]))
        path = os.path.join(self.host, "host-config.json")
        with open(path, encoding="utf-8") as file:
            tree = json.load(file)
        tree["Quor"]["Datastore-Info"]["Datastore"] *= 2
        with open(path, "w", encoding="utf-8") as file:
            json.dump(tree, file)
        twice = self.listed_document()
        self.ask("reset", "--yes")
        kept = self.entries()[1]
        self.refuse(BAD_INPUT, "apply", kept["path"], message="too; only the first of the two")
        self.assertEqual(self.run_quorctl("diff", kept["path"]).status, NO)
        self.ask("restore", str(kept["number"]))
        self.assertEqual(self.listed_document(), twice)
        self.ask("diff", kept["path"])

    def test_WhatItReplacesIsKept(self):
        self.ask("restore", "2", "--yes")
        newest, replaced = self.entries()[:2]
        self.assertEqual((newest["reason"], self.document_of(newest)), ("restore", self.old))
        self.assertEqual(self.document_of(replaced), self.new)
        self.ask("restore", "3", "--yes")
        self.assertEqual(self.listed_document(), self.new)

    def test_DeletionNeedsAConfirmation(self):
        before = entries_of(self.host)
        result = self.run_quorctl("restore", "2")
        self.assertEqual(result.status, NOT_CONFIRMED)
        self.assertIn("restore would delete 1 policy and 0 datastores from", result.errors)
        self.assertRegex(result.text, r"(?m)^deleted +policy +c ")
        self.assertEqual(entries_of(self.host), before)

    def test_TerminalIsAsked(self):
        terminal = Terminal(self, "restore", "2")
        terminal.wait_for("Delete 1 policy and 0 datastores from the configuration store")
        terminal.type("y\n")
        self.assertEqual(terminal.finish().status, DONE)
        self.assertEqual(self.listed_document(), self.old)

    def test_DryRunWritesNothing(self):
        before = entries_of(self.host)
        self.assertIn("would restore number 2 ", self.ask("restore", "2", "--dry-run").text)
        self.assertEqual(entries_of(self.host), before)

    def test_CatalogueGoesBackToTheStoreThatItIsFrom(self):
        self.ask("switch", "--yes", "file")
        text = self.ask("restore", "2", "--yes").text
        self.assertIn("the switch selects the configuration file: programs do not see this one",
                      text)
        self.assertEqual(self.listed_document(), document())
        self.ask("switch", "--yes", "store")
        self.assertEqual(self.listed_document(), self.old)

    def test_UnknownNumberIsAbsent(self):
        for number in ("9", "0", "18446744073709551615"):
            self.refuse(ABSENT, "restore", number,
                        message=f"no catalogue is kept under the number {number}")

    def test_WordsThatAreNoNumberAreRefused(self):
        for word in ("x", "-1", "1x", "", "18446744073709551616"):
            self.refuse(USAGE, "restore", "--", word, message="is no number of the history")
        self.refuse(USAGE, "restore", message="restore needs a NUMBER")

    def test_DamagedEntryIsRefused(self):
        path = self.entries()[1]["path"]
        before = self.listed_document()
        for content in (b"", b"{", json.dumps(document([policy("only one")])).encode()):
            with open(path, "wb") as file:
                file.write(content)
            self.refuse(BAD_INPUT, "restore", "2", "--yes", message=path)
        self.assertEqual(self.listed_document(), before)

    def test_EntryThatWasChangedIsToldByItsDigests(self):
        path = self.entries()[1]["path"]
        with open(path, encoding="utf-8") as file:
            text = file.read()
        with open(path, "w", encoding="utf-8") as file:
            file.write(re.sub(r'"description": ""', '"description": "edited"', text, count=1))
        self.refuse(BAD_INPUT, "restore", "2", "--yes",
                    message="its records do not have the digests in its name")


if __name__ == "__main__":
    unittest.main()
