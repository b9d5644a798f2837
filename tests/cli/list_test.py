# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""quorctl list: the tables."""
import unicodedata
import unittest

from quorctl_case import USAGE, QuorctlCase, base64_of, blob, datastore, document, policy


def width(text):
    """Terminal columns, from the character database of Python."""
    wide = sum(unicodedata.east_asian_width(c) in "WF" for c in text)
    marks = sum(unicodedata.category(c) in ("Mn", "Me") for c in text)
    return len(text) + wide - marks


def column_start(line, word):
    return width(line[:line.index(word)])


class Tables(QuorctlCase):
    def table(self, kind, *options):
        return self.ask("list", kind, *options).text.splitlines()

    def test_NoRecordsGiveHeadingsOnly(self):
        self.assertEqual(self.table("policies"), ["NAME  ID  GENERATION  BLOBS  DESCRIPTION"])
        self.assertEqual(self.table("datastores"), ["URL  NAMESPACE  DEFAULT POLICY"])

    def test_PoliciesAreShownWithSizesOfTheirBlobs(self):
        self.apply(document([
            policy("Gold", id="gold-01", generation=41, description="Three copies",
                   blobs=[blob("RILK", text="12345"), blob("VOLB", base64=base64_of(bytes(1200)))]),
            policy("Silver plus", id="s", generation=-7, blobs=[])]))
        self.assertEqual(self.table("policies"), [
            "NAME         ID       GENERATION  BLOBS             DESCRIPTION",
            "Gold         gold-01          41  RILK:5 VOLB:1200  Three copies",
            "Silver plus  s                -7  -                 -"])

    def test_DatastoresAreShown(self):
        self.apply(document([], [
            datastore("ds:///volumes/a1/", namespace="VOLB", defaultPolicy="g"),
            datastore("ds:///b/", namespace="", defaultPolicy="")]))
        self.assertEqual(self.table("datastores"), [
            "URL                NAMESPACE  DEFAULT POLICY",
            "ds:///volumes/a1/  VOLB       g",
            "ds:///b/           -          -"])

    def test_TableIsTheFormatWithoutOption(self):
        self.apply(document([policy()]))
        self.assertEqual(self.table("policies"), self.table("policies", "-o", "table"))
        self.assertEqual(self.table("policies"), self.table("policies", "--output=table"))

    def test_OrderOfStorageIsTheOrderOfTheRows(self):
        names = ["z", "a", "m"]
        self.apply(document([policy(n) for n in names], [datastore(n) for n in names]))
        for kind in ("policies", "datastores"):
            self.assertEqual([line[0] for line in self.table(kind)[1:]], names)

    def test_ColumnsStandBelowEachOtherInEveryScript(self):
        names = ["plain", "Prüfstände", "e\u0301cole", "汎用ポリシー", "정책", "สำรอง", "💾 disk",
                 "नीति", "\u0645\u062d\u0641\u0648\u0638"]
        self.apply(document([policy(name, id="ID-OF-IT") for name in names]))
        heading, *rows = self.table("policies")
        self.assertEqual(len(rows), len(names))
        for row in rows:
            self.assertEqual(column_start(row, "ID-OF-IT"), column_start(heading, "ID"), row)

    def test_ControlCharactersAreShownEscaped(self):
        self.apply(document([policy("a\x1b[2Jb\rc\nd\te\x7ff\u009bg\x00h", id="x")]))
        self.assertEqual(self.table("policies")[1].split()[0],
                         "a\\x1b[2Jb\\x0dc\\x0ad\\x09e\\x7ff\\x9bg\\x00h")

    def test_CharactersThatMisleadAreShownEscaped(self):
        self.apply(document([policy("\u202eevil\u2066\u200b\u2028\ufeff\u00ad\U000e0041", id="x")]))
        self.assertEqual(self.table("policies")[1].split()[0],
                         "\\u202eevil\\u2066\\u200b\\u2028\\ufeff\\xad\\ue0041")

    def test_BytesThatAreNoUtf8AreShownEscaped(self):
        self.apply(document(
            [policy({"base64": base64_of(b"\xffA\xc3(\xed\xa0\x80\xe2\x82")}, id="x")]))
        self.assertEqual(self.table("policies")[1].split()[0],
                         "\\xffA\\xc3(\\xed\\xa0\\x80\\xe2\\x82")

    def test_BackslashIsDoubledSoThatEscapesAreUnambiguous(self):
        self.apply(document([], [datastore("\\x1b"), datastore("\x1b")]))
        self.assertEqual([line.split()[0] for line in self.table("datastores")[1:]],
                         ["\\\\x1b", "\\x1b"])

    def test_EveryColumnEscapes(self):
        bad = "\x1b[31m"
        self.apply(document([policy(bad, id=bad, description=bad, blobs=[blob(bad, text=bad)])],
                            [datastore(bad, namespace=bad, defaultPolicy=bad)]))
        for kind in ("policies", "datastores"):
            raw = self.ask("list", kind).raw
            self.assertEqual([byte for byte in raw if byte < 32 and byte != 10], [])
            self.assertEqual(raw.count(b"\n"), 2)
        self.assertEqual(self.ask("list", "policies").text.count("\\x1b[31m"), 4)
        self.assertEqual(self.ask("list", "datastores").text.count("\\x1b[31m"), 3)

    def test_OneOverlongCellDoesNotWidenTheOthers(self):
        self.apply(document([policy("x" * 70000, id="long"), policy("short", id="sh")]))
        rows = self.table("policies")
        self.assertIn("x" * 70000 + "  long", rows[1])
        self.assertLess(len(rows[2]), 200)

    def test_LinesEndWithoutSpaces(self):
        self.apply(document([policy("a", description="long description"), policy("b")],
                            [datastore("u", defaultPolicy="long"), datastore("v")]))
        for kind in ("policies", "datastores"):
            for line in self.table(kind):
                self.assertEqual(line, line.rstrip())

    def test_LocaleChangesNothing(self):
        self.apply(document([policy("Prüfstand", generation=1234567)]))
        expected = self.ask("list", "policies").raw
        for name in ("C", "POSIX", "C.UTF-8", "de_DE.UTF-8", "no_SUCH"):
            result = self.ask("list", "policies", environment={"LC_ALL": name, "LANG": name})
            self.assertEqual(result.raw, expected)


class WrongWords(QuorctlCase):
    def test_KindIsRequired(self):
        self.refuse(USAGE, "list", message="list what? policies or datastores")

    def test_UnknownKindIsRefused(self):
        self.refuse(USAGE, "list", "blobs", message='unknown kind "blobs"; choose policies or')

    def test_UnknownFormatIsRefused(self):
        for kind in ("policies", "datastores"):
            self.refuse(USAGE, "list", kind, "-o", "toml", message='unknown output format "toml"')
            self.refuse(USAGE, "list", kind, "--output=", message='unknown output format ""')


if __name__ == "__main__":
    unittest.main()
