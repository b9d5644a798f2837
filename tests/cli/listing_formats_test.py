# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Every command that lists, in every format, with none, one and many records: what it writes is
read by another parser and holds what was stored."""
import csv
import io
import json
import unittest

from quorctl_case import (ABSENT, DONE, NO, QuorctlCase, base64_of, blob, datastore, document,
                          policy)
from list_json_test import HOSTILE, as_blob, as_string

MANY = 25
POLICY_FIELDS = ["id", "name", "description", "generation", "blobs"]
DATASTORE_FIELDS = ["url", "namespace", "defaultPolicy"]
DIFFERENCE_FIELDS = ["change", "kind", "name", "id", "fields", "values"]


def some_policies(count):
    return [policy(f"P{i}", generation=(-1) ** i * 2 ** (2 * i), description=f"no. {i}, \"quoted\"",
                   blobs=[blob("RILK", text=f"line {i}\r\nnext"),
                          blob(f"N{i}", base64=base64_of(bytes([255, i])))]) for i in range(count)]


def some_datastores(count):
    return [datastore(f"ds:///{i}/,", namespace=f"N{i}", defaultPolicy=f"id-P{i}")
            for i in range(count)]


def in_csv(value):
    """How a value of the JSON listing stands in CSV."""
    if value is None:
        return ""
    if isinstance(value, str):
        return value
    return json.dumps(value, separators=(",", ":"), ensure_ascii=False)


class Formats(QuorctlCase):
    def parse_json(self, raw):
        return json.loads(raw.decode("utf-8", "strict"))

    def parse_json_lines(self, raw):
        lines = raw.decode("utf-8", "strict").split("\n")
        self.assertEqual(lines.pop(), "")
        return [json.loads(line) for line in lines]

    def parse_csv(self, raw, fields):
        rows = list(csv.reader(io.StringIO(raw.decode("utf-8", "strict"), newline=""),
                               strict=True))
        self.assertEqual(rows[0], fields)
        return rows[1:]

    def check(self, words, fields, expected, status=DONE, headings_when_empty=True):
        """Runs the command in every format and compares with the list of dictionaries."""
        def output(form):
            result = self.run_quorctl(*words, "-o", form)
            self.assertEqual((result.status, result.errors), (status, ""))
            return result.raw

        self.assertEqual(self.parse_json(output("json")), expected)
        self.assertEqual(self.parse_json_lines(output("jsonl")), expected)
        for record in self.parse_json(output("json")):
            self.assertEqual(list(record), fields)
        rows = self.parse_csv(output("csv-raw"), fields)
        self.assertEqual(len(rows), len(expected))
        for row, record in zip(rows, expected):
            for cell, field in zip(row, fields, strict=True):
                if isinstance(record[field], (str, int, type(None))):
                    self.assertEqual(cell, in_csv(record[field]))
                else:
                    self.assertEqual(json.loads(cell), record[field])
        for form in ("table", "wide"):
            lines = output(form).decode().splitlines()
            heading = 1 if expected or headings_when_empty else 0
            self.assertEqual(len(lines), len(expected) + heading, form)

    def test_ListOfPolicies(self):
        for count in (0, 1, MANY):
            policies = some_policies(count)
            self.apply(document(policies))
            self.check(["list", "policies"], POLICY_FIELDS, policies)

    def test_ListOfDatastores(self):
        for count in (0, 1, MANY):
            datastores = some_datastores(count)
            self.apply(document([], datastores))
            self.check(["list", "datastores"], DATASTORE_FIELDS, datastores)

    def test_OnePolicy(self):
        policies = some_policies(MANY)
        self.apply(document(policies))
        self.check(["get", "policy", "id-P7"], POLICY_FIELDS, [policies[7]])
        self.check(["get", "policy", "--name", "P8"], POLICY_FIELDS, [policies[8]])

    def test_PoliciesOfOneIdentifier(self):
        policies = [policy(f"P{i}", id="same") for i in range(MANY)]
        self.apply(document([*policies, policy("other")]))
        self.check(["get", "policy", "same"], POLICY_FIELDS, policies)

    def test_OneDatastore(self):
        datastores = some_datastores(MANY)
        self.apply(document([], datastores))
        self.check(["get", "datastore", "ds:///3/,"], DATASTORE_FIELDS, [datastores[3]])

    def test_WhatIsAbsentIsWrittenInNoFormat(self):
        for form in ("table", "wide", "json", "jsonl", "csv", "csv-raw"):
            for words in (["policy", "x"], ["policy", "--name", "x"], ["datastore", "x"]):
                self.refuse(ABSENT, "get", *words, "-o", form, message="there is no ")

    def test_Differences(self):
        for count in (0, 1, MANY):
            path = self.write("wanted.json",
                              json.dumps(document(some_policies(count), some_datastores(count))))
            self.apply(document())
            expected = [{"change": "added", "kind": "policy", "name": f"P{i}", "id": f"id-P{i}",
                         "fields": [], "values": []} for i in range(count)]
            expected += [{"change": "added", "kind": "datastore", "name": f"ds:///{i}/,",
                          "id": None, "fields": [], "values": []} for i in range(count)]
            self.check(["diff", path], DIFFERENCE_FIELDS, expected, NO if count else DONE,
                       headings_when_empty=False)

    def test_GenerationNumbersAreNumbersOfFullPrecision(self):
        numbers = [2**63 - 1, -2**63, 2**53 + 1, 0, -1]
        self.apply(document([policy(str(n), generation=n) for n in numbers]))
        for words in (["-o", "json"], ["-o", "jsonl"], ["-o", "csv", "--no-headings"]):
            text = self.ask("list", "policies", "--fields", "generation", *words).text
            for number in numbers:
                self.assertIn(str(number), text)
            self.assertNotIn(f'"{numbers[0]}"', text)

    def test_HostileBytesInEveryField(self):
        policies = [policy(as_string(raw), id=as_string(b"i" + raw), description=as_string(raw),
                           blobs=[as_blob(b"n" + raw, raw)]) for raw in HOSTILE]
        datastores = [datastore(as_string(raw), namespace=as_string(raw),
                                defaultPolicy=as_string(b"i" + raw)) for raw in HOSTILE]
        self.apply(document(policies, datastores))
        csv.field_size_limit(10**7)
        self.check(["list", "policies"], POLICY_FIELDS, policies)
        self.check(["list", "datastores"], DATASTORE_FIELDS, datastores)
        for raw, record in zip(HOSTILE, policies):
            if b"\0" not in raw:  # no argument of a process can hold it
                self.check(["get", "policy", b"i" + raw], POLICY_FIELDS, [record])

    def test_HostileBytesInDifferences(self):
        wanted = document([policy(as_string(raw), id=as_string(b"i" + raw)) for raw in HOSTILE])
        path = self.write("wanted.json", json.dumps(wanted))
        self.check(["diff", path], DIFFERENCE_FIELDS,
                   [{"change": "added", "kind": "policy", "name": as_string(raw),
                     "id": as_string(b"i" + raw), "fields": [], "values": []} for raw in HOSTILE], NO)

    def test_LinesOfCsvEndAsTheyMust(self):
        self.apply(document([], some_datastores(3)))
        raw = self.ask("list", "datastores", "-o", "csv").raw
        self.assertEqual(raw.count(b"\r\n"), 4)
        self.assertEqual(raw.count(b"\n"), 4)
        self.assertTrue(raw.startswith(b"url,namespace,defaultPolicy\r\n"
                                       b'"ds:///0/,",N0,id-P0\r\n'), raw)

    def test_EmptyFieldAloneIsARecordOfCsv(self):
        self.apply(document([], [datastore("a", namespace=""), datastore("b", namespace="")]))
        raw = self.ask("list", "datastores", "-o", "csv", "--fields", "namespace").raw
        self.assertEqual(self.parse_csv(raw, ["namespace"]), [[""], [""]])

    def test_JsonLinesAreOneLineForEachRecord(self):
        self.apply(document([policy("a\nb", blobs=[blob(text="c\nd")])]))
        self.assertEqual(self.ask("list", "policies", "-o", "jsonl").raw.count(b"\n"), 1)

    def test_WhatASpreadsheetWouldCalculateIsGuarded(self):
        texts = ["=cmd()", "+1", "-1", "@SUM(A1)", "\tx", "\rx"]
        plain = ["x=1", "'=1", "", " =1", "a-b"]
        self.apply(document([policy(f"P{i}", description=text, generation=-i)
                             for i, text in enumerate([*texts, *plain])]))
        fields = ["description", "generation"]
        words = ["list", "policies", "--fields", ",".join(fields), "-o"]
        numbers = [str(-i) for i in range(len(texts) + len(plain))]
        guarded = self.parse_csv(self.ask(*words, "csv").raw, fields)
        self.assertEqual(guarded, [[text, number] for text, number in
                                   zip(["'" + text for text in texts] + plain, numbers)])
        raw = self.parse_csv(self.ask(*words, "csv-raw").raw, fields)
        self.assertEqual(raw, [[text, number] for text, number in zip([*texts, *plain], numbers)])


if __name__ == "__main__":
    unittest.main()
