# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The manual page of quor-publish says what the program does."""
import os
import re
import subprocess
import sys
import unittest

SOURCE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
sys.path.insert(0, os.path.join(SOURCE, "tests/cli"))
from manual_page import ManualPage  # noqa: E402 pylint: disable=wrong-import-position

PUBLISH = os.path.join(os.environ["QUOR_BIN"], "quor-publish")


def help_of(*words):
    return subprocess.run([PUBLISH, *words, "--help"], check=True, capture_output=True, text=True).stdout


def commands(*words):
    """All commands that do something, as lists of words."""
    names = re.findall(r"^  ([a-z]+) ", help_of(*words).partition("Subcommands:")[2], re.MULTILINE)
    if not names:
        return [words]
    return [command for name in names for command in commands(*words, name)]


def options(text):
    return set(re.findall(r"(?<![\w-])--[a-z][a-z-]*", text.partition("Options:")[2].partition("\nSubcommands")[0]))


class Manual(unittest.TestCase):
    def setUp(self):
        self.page = ManualPage(os.path.join(SOURCE, "docs/man/quor-publish.8"))

    def test_PageIsWellFormed(self):
        self.assertEqual(self.page.complaints(), "")

    def test_EveryCommandAndOptionIsExplainedAndNoOther(self):
        shown = re.sub(r"-\n\s*", "-", self.page.shown())
        known = options(help_of())
        listing = {"--output", "--fields", "--sort", "--where", "--no-headings"}  # explained in quorctl(8)
        self.assertGreater(len(commands()), 15)
        for command in commands():
            self.assertIn(" ".join(command), shown)
            known |= options(help_of(*command))
        named = set(re.findall(r"(?<![\w-])--[a-z][a-z-]*", shown))
        self.assertEqual(named, known - listing - {"--most"})

    def test_PageHasTheExitStatuses(self):
        listed = re.findall(r"^\.It (\d+)$", self.page.section("EXIT STATUS"), re.MULTILINE)
        footer = help_of()
        self.assertEqual(listed, re.findall(r"(?:[:,]\s)(\d+) ", footer[footer.index("Exit statuses"):]))


if __name__ == "__main__":
    unittest.main()
