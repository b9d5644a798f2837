# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""What is different when standard output is a terminal, and that nothing else is."""
import re
import unittest

from quorctl_case import (DONE, NO, QuorctlCase, base64_of, blob, datastore, document, policy)
from terminal import Terminal

ESCAPE = re.compile(rb"\x1b\[[0-9;]*m")  # the marks of colours
BYTES = b"\x1b[31m" + bytes(range(20)) + b"plain ASCII\x7f"


def without_colour(raw):
    return ESCAPE.sub(b"", raw)


class OnTerminal(QuorctlCase):
    def setUp(self):
        super().setUp()
        self.apply(document(
            [policy("Gold", id="g", blobs=[blob("RILK", base64=base64_of(BYTES))]),
             policy("\u6c4e\u7528", id="wide", blobs=[blob("RILK", text="text")])],
            [datastore("a\x1b[31m\nb,\"c\"", namespace="RILK")]))

    def run_it(self, *words, status=DONE, size=None, **environment):
        """What the terminal is given, with the line feeds that the program wrote."""
        terminal = Terminal(self, *words, output_too=True, size=size,
                            environment={"TERM": "xterm", "NO_COLOR": "", **environment})
        self.assertEqual(terminal.finish().status, status)
        self.assertNotIn(b"quorctl: ", terminal.shown)  # an error message
        return terminal.shown.replace(b"\r\n", b"\n")


class Colours(OnTerminal):
    def test_HeadingsAreBold(self):
        first = self.run_it("list", "policies").split(b"\n")[0]
        self.assertTrue(first.startswith(b"\x1b[1mNAME\x1b[0m "), first)

    def test_ChangesHaveTheirColours(self):
        wanted = self.write("wanted.json", '{"format": "quor-catalogue/1", "policies": [{"id": "g",'
                            '"name": "Gold", "description": "other", "generation": 1, "blobs": []},'
                            '{"id": "n", "name": "New", "description": "", "generation": 1,'
                            '"blobs": []}], "datastores": []}')
        lines = self.run_it("diff", wanted, status=NO).split(b"\n")
        self.assertIn(b"\x1b[31mdeleted\x1b[0m  policy", lines[1])
        self.assertIn(b"\x1b[32madded\x1b[0m    policy", lines[3])
        self.assertIn(b"\x1b[33mchanged\x1b[0m  policy", lines[4])

    def test_ColumnsStandAsTheyDoWithoutColours(self):
        for form in ("table", "wide"):
            for kind in ("policies", "datastores"):
                shown = self.run_it("list", kind, "-o", form)
                piped = self.ask("list", kind, "-o", form).raw
                self.assertNotEqual(shown, without_colour(shown))
                self.assertEqual(without_colour(shown), piped)

    def test_NoColourWhereItIsNotWanted(self):
        for options in ({"NO_COLOR": "1"}, {"NO_COLOR": "0"}, {"TERM": "dumb"}, {"TERM": ""}):
            for kind in ("policies", "datastores"):
                raw = self.run_it("list", kind, **options)
                self.assertIsNone(ESCAPE.search(raw), options)
                self.assertEqual(raw, self.ask("list", kind).raw)

    def test_EmptyNoColorAsksForNothing(self):
        self.assertIsNotNone(ESCAPE.search(self.run_it("list", "policies", NO_COLOR="")))

    def test_NoColourOnAPipeWhateverTheEnvironment(self):
        for environment in ({"TERM": "xterm"}, {"TERM": "xterm", "COLORTERM": "truecolor"}):
            for form in ("table", "wide", "json", "jsonl", "csv"):
                raw = self.ask("list", "policies", "-o", form, environment=environment).raw
                self.assertNotIn(b"\x1b", raw)

    def test_DataHasNoColour(self):
        for form in ("json", "jsonl", "csv"):
            self.assertNotIn(b"\x1b", self.run_it("list", "policies", "-o", form))


class Width(OnTerminal):
    def lines(self, *words, columns, **options):
        shown = self.run_it(*words, size=(100, columns), NO_COLOR="1", **options)
        return shown.decode().splitlines()

    def test_LinesAreCutToTheTerminalAndNumbersAreNot(self):
        self.apply(document(
            [policy("N" * 60, id="i" * 50, description="\u6c4e" * 70, generation=2**62)],
            [datastore("ds:///" + "u" * 90, defaultPolicy="i" * 50)]))
        for kind in ("policies", "datastores"):
            for form in ("table", "wide"):
                for columns in (400, 80, 60):
                    lines = self.lines("list", kind, "-o", form, columns=columns)
                    for line in lines:
                        width = len(line) + line.count("\u6c4e")
                        self.assertLessEqual(width, columns, line)
                    self.assertEqual("\u2026" in lines[1], columns < 400, lines)
        self.assertIn(str(2**62), self.lines("list", "policies", columns=60)[1])
        self.assertEqual(self.lines("list", "policies", "-o", "name", columns=20)[0], "i" * 50)

    def test_WhatTellsRecordsApartIsCutLast(self):
        url = "ds:///" + "u" * 50
        self.apply(document([policy("Gold")], [datastore(url, defaultPolicy="d" * 60)]))
        line = self.lines("list", "datastores", columns=80)[1]
        self.assertRegex(line, f"^{url}  RILK  +d+\u2026$")

    def test_WhatFitsAndWhatIsNoTableStaysAsItIs(self):
        for words in (("list", "policies"), ("list", "policies", "-o", "csv"), ("list", "policies", "-o", "json")):
            piped = self.ask(*words).text
            self.assertNotIn("\u2026", piped)
            columns = max(map(len, piped.splitlines())) + 2 if len(words) == 2 else 20
            if "csv" not in words:
                self.assertEqual(self.lines(*words, columns=columns), piped.splitlines())

    def test_SentencesAreNotCut(self):
        self.apply(document([policy("Gold")], [datastore("ds:///x/", defaultPolicy="gone")]))
        self.assertIn("\n".join(self.lines("check", columns=30, status=NO)),
                      self.run_quorctl("check").text)


class Pager(OnTerminal):
    def setUp(self):
        super().setUp()
        self.apply(document([policy(f"P{i}") for i in range(30)]))
        self.listing = self.ask("list", "policies").text

    def test_WhatIsLongerThanTheTerminalIsShownByIt(self):
        for name in ("QUORCTL_PAGER", "PAGER"):
            shown = self.run_it("list", "policies", size=(20, 0), NO_COLOR="1",
                                **{name: "sed s/^/paged:/"}).decode()
            self.assertEqual(shown, "".join(f"paged:{line}\n" for line in self.listing.splitlines()))

    def test_OneThatEndsEarlyIsNoError(self):
        big = document([policy(f"P{i}", description="d" * 1000) for i in range(300)])
        self.apply(big)
        shown = self.run_it("list", "policies", "-o", "wide", size=(20, 0), NO_COLOR="1", PAGER="head -n 1").decode()
        self.assertEqual(shown.count("\n"), 1)

    def test_NoneWhereItIsNotWantedOrNotNeeded(self):
        sign = "sed s/^/paged:/"
        for size, environment in (((20, 0), {"QUORCTL_PAGER": "cat", "PAGER": sign}),
                                  ((20, 0), {"PAGER": ""}), ((0, 0), {"PAGER": sign}),
                                  ((32, 0), {"PAGER": sign}), ((20, 0), {"PAGER": "exit 127"}),
                                  ((20, 0), {"PAGER": sign, "SUDO_UID": "1000", "PATH": "/nonexistent"})):
            shown = self.run_it("list", "policies", size=size, NO_COLOR="1", **environment).decode()
            self.assertEqual(shown, self.listing, environment)


class HostileText(OnTerminal):
    def test_NothingActsOnATerminalInAnyFormat(self):
        for form in ("table", "wide", "json", "jsonl", "csv"):
            raw = without_colour(self.run_it("list", "datastores", "-o", form))
            self.assertEqual([byte for byte in raw if byte < 32 and byte not in b"\r\n"], [], form)
            self.assertNotIn(b"\nb,", raw, form)

    def test_CsvIsExactOnAPipe(self):
        self.assertIn(b'"a\x1b[31m\nb,""c"""', self.ask("list", "datastores", "-o", "csv").raw)
        self.assertIn(b'"a\\x1b[31m\\x0ab,""c"""',
                      self.run_it("list", "datastores", "-o", "csv"))


class Blob(OnTerminal):
    def shown_lines(self, name):
        return self.run_it("blob", "--policy-name", name).decode().splitlines()

    def test_BytesAreShownInHexadecimal(self):
        lines = self.shown_lines("Gold")
        self.assertEqual(lines[0], "00000000  1b 5b 33 31 6d 00 01 02  03 04 05 06 07 08 09 0a  "
                                   "|.[31m...........|")
        self.assertEqual(lines[-1], "00000020  53 43 49 49 7f" + " " * 36 + "|SCII.|")

    def test_ViewHoldsEveryByte(self):
        for content in (b"\0", bytes(15), bytes(16), bytes(17), bytes(range(256)) * 5):
            self.apply(document([policy("B", blobs=[blob("RILK", base64=base64_of(content))])]))
            lines = self.shown_lines("B")
            shown = b"".join(bytes.fromhex(line[10:59]) for line in lines)
            self.assertEqual(shown, content)
            self.assertEqual([int(line[:8], 16) for line in lines],
                             list(range(0, len(content), 16)))

    def test_PlainTextIsShownAsText(self):
        for text, shown in (("copies = 2\n\tPr\u00fcfung\n", "copies = 2\n\tPr\u00fcfung\n"),
                            ("no line feed", "no line feed\n")):
            self.apply(document([policy("T", blobs=[blob(text=text)])]))
            self.assertEqual(self.run_it("blob", "--policy-name", "T").decode(), shown)
            self.assertEqual(self.ask("blob", "--policy-name", "T").text, text)
        for text in ("a\rb", "turned \u202e", "\x1b[2J"):
            self.apply(document([policy("T", blobs=[blob(text=text)])]))
            self.assertIn(b"00000000  ", self.run_it("blob", "--policy-name", "T"))

    def test_RawBytesOnRequest(self):
        self.assertEqual(self.run_it("blob", "--policy-name", "Gold", "--raw"), BYTES)

    def test_FileGetsTheBytesAlsoFromATerminal(self):
        path = f"{self.directory}/out"
        self.assertEqual(self.run_it("blob", "--policy-name", "Gold", "--out", path), b"")
        with open(path, "rb") as file:
            self.assertEqual(file.read(), BYTES)

    def test_RawBytesOnAPipe(self):
        self.assertEqual(self.ask("blob", "--policy-name", "Gold").raw, BYTES)
        self.assertEqual(self.ask("blob", "--policy-name", "Gold", "--raw").raw, BYTES)


if __name__ == "__main__":
    unittest.main()
