# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The check of the project's texts finds what it is there to find.

    check_text_test.py ROOT
"""
import os
import sys
import tempfile
import unittest

import check_text

ROOT = ""

# Joined from pieces, since the check reads this file too.
BAD = [
    "see sp" "ec.md for more",
    "the sp" "ec says so",
    "// following the\n// sp" "ec in this",
    "in the Sp" "ecification",
    "behaves as sp" "ecified",
    "see Pa" "rt 2.1",
    "of Pa" "rts 2.1 to 2.3",
    "docs/des" "ign.md",
    "field-fail" "ures",
    "fixes is" "sue 12",
    "found in this ses" "sion",
    "cd /wo" "rk/main",
    "from deb.deb" "ian.example",
    "// TO" "DO: later",
    "# FIX" "ME",
    "XX" "X look here",
    "GTEST_SK" "IP() << 1;",
    "TEST(A, DIS" "ABLED_B)",
    "blank at the end ",
]
GOOD = [
    "a special case of the species",
    "mkdtemp(\"quor.XXXXXX\")",
    "part 2 of 3",
    "an issue with two parts",
    "FilterSpecObject",
    "to do this",
]


class TextCheck(unittest.TestCase):
    def _found(self, content, name="file.txt"):
        with tempfile.TemporaryDirectory(prefix="quor-text-") as root:
            with open(os.path.join(root, name), "w", encoding="utf-8", newline="") as file:
                file.write(content)
            return check_text.violations(root)

    def test_the_tree_itself_breaks_no_rule(self):
        self.assertEqual(check_text.violations(ROOT), [])

    def test_every_bad_text_is_found_at_its_line(self):
        for text in BAD:
            with self.subTest(text=text):
                found = self._found("first line\n" + text + "\n")
                self.assertEqual(len(found), 1, found)
                self.assertIn("file.txt:2: ", found[0])

    def test_harmless_text_passes(self):
        for text in GOOD:
            with self.subTest(text=text):
                self.assertEqual(self._found(text + "\n"), [])

    def test_a_bad_file_name_is_found(self):
        self.assertEqual(len(self._found("text\n", name="sp" "ec.md")), 1)

    def test_the_file_git_of_a_second_work_tree_is_no_source(self):
        with tempfile.TemporaryDirectory(prefix="quor-text-") as root:
            for name, text in ((".git", "gitdir: /ho" "me/someone/repository\n"), ("a", "a\n")):
                with open(os.path.join(root, name), "w", encoding="utf-8") as file:
                    file.write(text)
            self.assertEqual(check_text.violations(root), [])

    def test_a_missing_line_feed_and_carriage_returns_are_found(self):
        self.assertEqual(len(self._found("text")), 1)
        self.assertEqual(len(self._found("text\r\n")), 1)


if __name__ == "__main__":
    ROOT = sys.argv.pop(1)
    unittest.main(verbosity=2)
