# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""quorctl diff: what apply would delete, add and change."""
import json
import os
import subprocess
import unittest

from digest_test import PUT_CATALOGUE, as_records, plain_datastore, plain_policy
from quorctl_case import (ABSENT, BAD_INPUT, DONE, NO, NO_HOST, TIMEOUT, USAGE, QuorctlCase, base64_of, blob,
                          datastore, document, entries_of, policy)


class Diff(QuorctlCase):
    def differences(self, wanted):
        """The differences as tuples (change, kind, name, fields)."""
        result = self.run_quorctl("diff", "-", "-o", "json", given=json.dumps(wanted).encode())
        self.assertEqual(result.errors, "")
        found = json.loads(result.text)
        self.assertEqual(result.status, NO if found else DONE)
        return [(d["change"], d["kind"], d["name"], d["fields"]) for d in found]

    def test_SameCatalogueHasNoDifferences(self):
        content = document([policy("A"), policy("B")], [datastore("1"), datastore("2")])
        self.apply(content)
        path = self.write("same.json", json.dumps(content))
        for words in ([], ["-o", "wide"]):
            self.assertEqual(self.ask("diff", path, *words).text, "")
        self.assertEqual(self.ask("diff", path, "-o", "json").text, "[]\n")

    def names_in(self, *words, status=NO):
        result = self.run_quorctl("diff", *words, "-o", "json")
        self.assertEqual((result.status, result.errors), (status, ""))
        return [(found["change"], found["name"]) for found in json.loads(result.text)]

    def test_TwoDocumentsOrNumbersOfTheHistory(self):
        contents = [document([policy(name) for name in names]) for names in ("A", "AB", "B")]
        for content in contents:
            self.apply(content)
        paths = [self.write(f"{i}.json", json.dumps(content))
                 for i, content in enumerate(contents)]
        for old, new in ((paths[0], paths[1]), ("2", "3"), ("2", paths[1]), (paths[0], "3")):
            self.assertEqual(self.names_in(old, new), [("added", "B")])
        self.assertEqual(self.names_in("4", "2"), [("deleted", "B"), ("added", "A")])
        self.assertEqual(self.names_in("2", paths[0], status=DONE), [])
        self.assertEqual(self.names_in("3"), [("added", "A")])
        self.refuse(ABSENT, "diff", "77", "2")

    def test_AnotherHostDirectory(self):
        self.apply(document([policy("A")]))
        other = os.path.join(self.directory, "other")
        self.ask("--root", other, "apply", "--create", "-",
                 given=json.dumps(document([policy("A"), policy("B")])).encode())
        self.ask("--root", other, "migrate", "--to", "file")
        self.ask("--root", other, "switch", "file")
        self.assertEqual(self.names_in("--other-root", other), [("added", "B")])
        self.assertEqual(self.names_in("--other-root", self.host, status=DONE), [])
        self.refuse(NO_HOST, "diff", "--other-root", os.path.join(self.directory, "none"))
        self.refuse(USAGE, "diff", "--other-root", other, "x.json")

    def test_OrderIsNoDifference(self):
        self.apply(document([policy("A", blobs=[blob("R"), blob("V")]), policy("B")],
                            [datastore("1"), datastore("2")]))
        self.assertEqual(self.differences(document(
            [policy("B"), policy("A", blobs=[blob("V"), blob("R")])],
            [datastore("2"), datastore("1")])), [])

    def test_DeletionsComeFirstThenAdditionsThenChanges(self):
        self.apply(document([policy("A"), policy("B"), policy("C")],
                            [datastore("1"), datastore("2"), datastore("3")]))
        wanted = document([policy("New"), policy("C", generation=2), policy("A")],
                          [datastore("9"), datastore("3", namespace="X"), datastore("1")])
        self.assertEqual(self.differences(wanted), [
            ("deleted", "policy", "B", []), ("deleted", "datastore", "2", []),
            ("added", "policy", "New", []), ("added", "datastore", "9", []),
            ("changed", "policy", "C", ["generation"]),
            ("changed", "datastore", "3", ["namespace"])])

    def test_TableOfDifferences(self):
        self.apply(document([policy("Old"), policy("Gold", id="g")], [datastore("u")]))
        path = self.write("wanted.json", json.dumps(document(
            [policy("Gold", id="g", description="d", blobs=[blob("RILK", text="y"), blob("VOLB")])],
            [datastore("u", defaultPolicy="g")])))
        result = self.run_quorctl("diff", path)
        self.assertEqual((result.status, result.errors), (NO, ""))
        self.assertEqual(result.text,
                         "CHANGE   KIND       NAME  ID      FIELDS\n"
                         "deleted  policy     Old   id-Old  -\n"
                         "changed  policy     Gold  g       description \"\" -> d; "
                         "blobs RILK other content, 1 bytes; blobs VOLB added, 1 bytes\n"
                         "changed  datastore  u     -       defaultPolicy id-Gold -> g\n")

    def test_EveryChangedFieldIsNamed(self):
        base = policy("Gold", id="g", description="d", generation=1,
                      blobs=[blob("R", text="1"), blob("V", text="2")])
        for changes, fields in (({"id": "x"}, ["id"]), ({"name": "x"}, ["name"]),
                                ({"description": ""}, ["description"]),
                                ({"generation": -1}, ["generation"]),
                                ({"blobs": []}, ["blobs R", "blobs V"]),
                                ({"blobs": [blob("R", text="1")]}, ["blobs V"]),
                                ({"blobs": [blob("R", text="9"), blob("V", text="2")]},
                                 ["blobs R"]),
                                ({"blobs": [*base["blobs"], blob("N", text="")]}, ["blobs N"]),
                                ({"name": "x", "generation": 2}, ["name", "generation"])):
            self.apply(document([base]))
            changed = {**base, **changes}
            self.assertEqual(self.differences(document([changed])),
                             [("changed", "policy", changed["name"], fields)])
        for changes, fields in (({"namespace": "x"}, ["namespace"]),
                                ({"defaultPolicy": ""}, ["defaultPolicy"]),
                                ({"namespace": "", "defaultPolicy": "y"},
                                 ["namespace", "defaultPolicy"])):
            self.apply(document([], [datastore("u")]))
            self.assertEqual(self.differences(document([], [datastore("u", **changes)])),
                             [("changed", "datastore", "u", fields)])

    def test_RenamedPolicyIsChangedAndMovedDatastoreIsAnother(self):
        self.apply(document([policy("Old name", id="same")], [datastore("old")]))
        self.assertEqual(self.differences(document([policy("New name", id="same")],
                                                   [datastore("new")])),
                         [("deleted", "datastore", "old", []), ("added", "datastore", "new", []),
                          ("changed", "policy", "New name", ["name"])])

    def test_NameDecidesBeforeTheIdentifier(self):
        self.apply(document([policy("A", id="1"), policy("B", id="2")]))
        self.assertEqual(self.differences(document([policy("A", id="2"), policy("B", id="1")])),
                         [("changed", "policy", "A", ["id"]), ("changed", "policy", "B", ["id"])])

    def test_DifferenceInOneByteIsFound(self):
        raw = bytes(range(256))
        self.apply(document([policy(blobs=[blob("R", base64=base64_of(raw))])]))
        self.assertEqual(self.differences(document(
            [policy(blobs=[blob("R", base64=base64_of(raw[:-1] + b"\x00"))])])),
            [("changed", "policy", "Gold", ["blobs R"])])

    def test_RepeatedRecordsOfTheFileAreComparedOneByOne(self):
        self.ask("switch", "--yes", "file")
        one, other = plain_policy(1), plain_policy(1, generation=9)
        subprocess.run([PUT_CATALOGUE], env=self.environment(), timeout=TIMEOUT, check=True,
                       input=as_records([one, one, other], [plain_datastore(1)] * 2))
        exported = json.loads(self.ask("export").text)
        self.assertEqual(self.differences(exported), [])
        exported["policies"].pop(0)
        exported["datastores"].pop()
        self.assertEqual(self.differences(exported), [("deleted", "policy", "name 1", []),
                                                      ("deleted", "datastore", "ds:///1/", [])])
        exported["policies"][0]["generation"] = 5
        self.assertEqual(self.differences(exported)[-1],
                         ("changed", "policy", "name 1", ["generation"]))

    def test_EmptyCatalogueAndEmptyDocument(self):
        self.assertEqual(self.differences(document()), [])
        self.assertEqual(self.differences(document([policy("A")])), [("added", "policy", "A", [])])
        self.apply(document([policy("A")]))
        self.assertEqual(self.differences(document()), [("deleted", "policy", "A", [])])

    def test_NothingDiffersAfterApplying(self):
        first = document([policy(f"P{i}", id=str(i % 3)) for i in range(30)], [datastore("1")])
        second = document([policy(f"P{i}", id=str(i % 5)) for i in range(10, 40)],
                          [datastore("2")])
        self.apply(first)
        self.assertNotEqual(self.differences(second), [])
        self.apply(second)
        self.assertEqual(self.differences(second), [])

    def test_NothingIsWritten(self):
        self.apply(document([policy("A")]))
        before = entries_of(self.host)
        self.differences(document([policy("B")]))
        self.assertEqual(entries_of(self.host), before)

    def test_WrongDocumentIsRefused(self):
        self.refuse(BAD_INPUT, "diff", "-", given=b"{}", message="standard input: ")
        path = f"{self.directory}/absent.json"
        self.refuse(BAD_INPUT, "diff", path, message=f"cannot read {path}: No such file")

    def test_FileIsRequired(self):
        self.refuse(USAGE, "diff", message="diff needs a document, - for standard input, a number or --other-root")
        self.refuse(USAGE, "diff", "a", "b", "c", message='unexpected argument "c"')


if __name__ == "__main__":
    unittest.main()
