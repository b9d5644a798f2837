# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""--fields, --sort and --no-headings, and what -o wide adds."""
import json
import re
import unittest

from quorctl_case import (DONE, USAGE, QuorctlCase, base64_of, blob, datastore, document,
                          policy)

LISTINGS = [["list", "policies"], ["list", "datastores"], ["get", "policy", "g"],
            ["get", "datastore", "u"]]


class Options(QuorctlCase):
    def names(self, *options, kind="policies"):
        field = "name" if kind == "policies" else "url"
        text = self.ask("list", kind, "-o", "jsonl", "--fields", field, *options).text
        return [json.loads(line)[field] for line in text.splitlines()]


class Fields(Options):
    def setUp(self):
        super().setUp()
        self.apply(document([policy("Gold", id="g", generation=4, description="d")],
                            [datastore("u", namespace="RILK", defaultPolicy="g")]))

    def test_NamedFieldsAreWrittenInTheOrderGiven(self):
        for form, expected in (
                ("table", "GENERATION  NAME\n         4  Gold\n"),
                ("wide", "GENERATION  NAME\n         4  Gold\n"),
                ("json", '[\n  {\n    "generation": 4,\n    "name": "Gold"\n  }\n]\n'),
                ("jsonl", '{"generation":4,"name":"Gold"}\n'),
                ("csv", "generation,name\r\n4,Gold\r\n")):
            self.assertEqual(
                self.ask("list", "policies", "-o", form, "--fields", "generation,name").text,
                expected)
            self.assertEqual(
                self.ask("get", "policy", "g", "-o", form, "--fields=generation,name").text,
                expected)

    def test_ComputedFieldsAreWrittenOnRequest(self):
        self.assertEqual(self.ask("list", "policies", "-o", "jsonl", "--fields", "blobBytes").text,
                         '{"blobBytes":1}\n')
        self.assertEqual(
            self.ask("list", "datastores", "-o", "jsonl", "--fields",
                     "defaultPolicyName,defaultBlobBytes").text,
            '{"defaultPolicyName":"Gold","defaultBlobBytes":1}\n')

    def test_UnknownFieldIsRefused(self):
        for words in LISTINGS:
            for option in ("--fields", "--sort"):
                for field in ("frob", "NAME", "url ", "-", "--"):
                    self.refuse(USAGE, *words, f"{option}={field}", message="unknown field ")
        self.refuse(USAGE, "list", "policies", "--fields", "name,frob",
                    message='unknown field "frob"; choose among id, name, description, generation, '
                            'blobs, blobBytes')
        self.refuse(USAGE, "list", "datastores", "--sort", "name",
                    message='unknown field "name"; choose among url, namespace, defaultPolicy, '
                            'defaultPolicyName, defaultBlobBytes')

    def test_EmptyNameOfAFieldIsRefused(self):
        for option in ("--fields", "--sort"):
            for value in ("", ",", "name,", ",name", "name,,id"):
                self.refuse(USAGE, "list", "policies", f"{option}={value}",
                            message=f"{option}: the name of a field is empty")

    def test_FieldGivenTwiceIsRefused(self):
        for option in ("--fields", "--sort"):
            self.refuse(USAGE, "list", "policies", option, "id,name,id",
                        message=f'{option}: "id" is given twice')

    def test_WrongOptionIsRefusedBeforeTheStoreIsRead(self):
        with open(self.snapshot_path(), "wb") as file:
            file.write(b"damaged")
        self.refuse(USAGE, "list", "policies", "--fields", "frob", message="unknown field")


class Sort(Options):
    def test_TextIsSortedByBytes(self):
        names = ["b", "a", "B", "\u00e9", "", "ab"]
        self.apply(document([policy(name) for name in names]))
        in_order = sorted(names, key=str.encode)
        self.assertEqual(self.names("--sort", "name"), in_order)
        self.assertEqual(self.names("--sort", "-name"), in_order[::-1])
        self.assertEqual(self.names("--sort=-name"), in_order[::-1])

    def test_NumbersAreSortedByValue(self):
        numbers = [10, 9, -1, -10, 0, 2**63 - 1, -2**63]
        self.apply(document([policy(str(n), generation=n) for n in numbers]))
        self.assertEqual(self.names("--sort", "generation"), [str(n) for n in sorted(numbers)])
        self.assertEqual(self.names("--sort=-generation"),
                         [str(n) for n in sorted(numbers, reverse=True)])

    def test_LaterFieldsDecideTies(self):
        self.apply(document([], [datastore(url, namespace=space) for url, space in
                                 (("a", "2"), ("b", "1"), ("c", "2"), ("d", "1"))]))
        self.assertEqual(self.names("--sort", "namespace,-url", kind="datastores"),
                         ["d", "b", "c", "a"])

    def test_TiesStayInTheOrderOfStorage(self):
        names = ["z", "a", "m", "b"]
        self.apply(document([policy(name, description="same") for name in names]))
        self.assertEqual(self.names("--sort", "description"), names)
        self.assertEqual(self.names("--sort=-description"), names)

    def test_FieldThatIsNotWrittenSortsToo(self):
        self.apply(document([policy("a", generation=2), policy("b", generation=1)]))
        for form in ("table", "csv"):
            text = self.ask("list", "policies", "-o", form, "--fields", "name", "--no-headings",
                            "--sort", "generation").text
            self.assertEqual(text.split(), ["b", "a"])

    def test_MissingValuesComeFirst(self):
        self.apply(document([policy("A", id="a", blobs=[blob("RILK", text="12345678901")]),
                             policy("B", id="b", blobs=[blob("RILK", text="12")])],
                            [datastore("1", defaultPolicy="a"), datastore("2", defaultPolicy=""),
                             datastore("3", defaultPolicy="b")]))
        self.assertEqual(self.names("--sort", "defaultBlobBytes", kind="datastores"),
                         ["2", "3", "1"])


class NoHeadings(Options):
    def test_HeadingsAreLeftOut(self):
        self.apply(document([policy("Gold", id="g", blobs=[])], [datastore("u", namespace="")]))
        for form, expected in (("table", "Gold  g  1  -  -\n"), ("wide", "Gold  g  1  -  0  -\n"),
                               ("csv", "g,Gold,,1,[]\r\n")):
            for words in (["list", "policies"], ["get", "policy", "g"]):
                self.assertEqual(self.ask(*words, "-o", form, "--no-headings").text, expected)

    def test_NothingIsLeftOfAnEmptyListing(self):
        for kind in ("policies", "datastores"):
            for form in ("table", "wide", "csv"):
                self.assertEqual(self.ask("list", kind, "-o", form, "--no-headings").text, "")

    def test_JsonHasNoHeadingsToLeaveOut(self):
        for form in ("json", "jsonl"):
            self.refuse(USAGE, "list", "policies", "-o", form, "--no-headings",
                        message="--no-headings: JSON and YAML have no headings")


class Wide(Options):
    def test_PoliciesHaveTheBytesOfTheirBlobs(self):
        self.apply(document([policy("Gold", id="g", blobs=[
            blob("R", text="12"), blob("V", base64=base64_of(bytes(40)))])]))
        self.assertEqual(self.ask("list", "policies", "-o", "wide").text,
                         "NAME  ID  GENERATION  BLOBS     BYTES  DESCRIPTION\n"
                         "Gold  g            1  R:2 V:40     42  -\n")

    def test_DefaultPoliciesThatCannotBeReadAreWarnedOf(self):
        self.apply(document([policy("A"), policy("B", blobs=[blob(text="find me in the file")])],
                            [datastore("u", defaultPolicy="id-B")]))
        path = self.snapshot_path()
        with open(path, "rb") as file:
            content = file.read()
        with open(path, "wb") as file:
            file.write(content.replace(b"find me in the file", b"FIND me in the file"))
        for words in (["list", "datastores", "-o", "wide"], ["get", "datastore", "u", "-o", "wide"],
                      ["list", "datastores", "--sort", "defaultBlobBytes", "-o", "wide"]):
            result = self.run_quorctl(*words, "--no-headings")
            self.assertEqual((result.status, result.text), (DONE, "u  RILK  id-B  -  -\n"))
            self.assertRegex(result.errors, rf"\Aquorctl: warning: {re.escape(path)}: damaged: 1 of "
                                            r"2 policies cannot be read [^\n]+\n\Z")
        self.ask("list", "datastores")

    def test_DatastoresHaveTheirDefaultPolicyAndItsBlob(self):
        self.apply(document(
            [policy("Gold", id="g", blobs=[blob("RILK", text="123")]),
             policy("Second of that identifier", id="g", blobs=[])],
            [datastore("1", namespace="RILK", defaultPolicy="g"),
             datastore("2", namespace="VOLB", defaultPolicy="g"),
             datastore("3", namespace="RILK", defaultPolicy="nobody"),
             datastore("4", namespace="RILK", defaultPolicy="")]))
        self.assertEqual([line.split() for line in
                          self.ask("list", "datastores", "-o", "wide", "--no-headings")
                          .text.splitlines()],
                         [["1", "RILK", "g", "Gold", "3"], ["2", "VOLB", "g", "Gold", "-"],
                          ["3", "RILK", "nobody", "-", "-"], ["4", "RILK", "-", "-", "-"]])


if __name__ == "__main__":
    unittest.main()
