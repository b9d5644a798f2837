# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""docs/reliability.md: the suites of tests that it names are there.

    reliability_test.py ROOT

A suite is named as ctest knows its tests: `SUITES.SUITE` where it is in C++ (without what a parameter
adds), `FOLDER.NAME` for a file of Python, `stress.PROGRAM_STORE` for a stress program.
"""
import glob
import os
import re
import sys
import unittest

ROOT = ""

_HEADING = "## How stores like this one failed elsewhere"
_ROWS = 36
# Prefixes of ctest, and the folder in which the tests of each are.
_FOLDERS = {"platform": "platform", "configfile": "configfile", "package": "package", "cli": "cli"}
_NAME = re.compile(r"`((?:platform|configfile|package|cli|stress)\.[\w.]+)`")


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


class Known:
    """All suites of a source tree, as far as they are registered."""

    def __init__(self, root):
        self.names = set()
        for prefix, folder in _FOLDERS.items():
            path = os.path.join(root, "tests", folder)
            registered = "".join(read(file) for file in
                                 glob.glob(os.path.join(path, "*.cmake")) +
                                 [os.path.join(path, "CMakeLists.txt")])
            self._add_cpp(prefix, path, registered)
            self._add_python(prefix, path, registered)
        text = read(os.path.join(root, "tests", "stress", "CMakeLists.txt"))
        for program in re.findall(r"quor_add_stress_test\((\w+) ", text):
            self.names.update(f"stress.{program}_{store}" for store in ("store", "file"))

    def _add_cpp(self, prefix, path, registered):
        for file in glob.glob(os.path.join(path, "**", "*.cpp"), recursive=True):
            if os.path.relpath(file, path) in registered:
                for suite in re.findall(r"^TEST(?:_F|_P)?\((\w+),", read(file), re.MULTILINE):
                    self.names.add(f"{prefix}.{suite}")

    def _add_python(self, prefix, path, registered):
        for file in glob.glob(os.path.join(path, "*_test.py")):
            name = os.path.basename(file)[:-len("_test.py")]
            if re.search(rf"[\s(]{name}(_test\.py)?[\s)]", registered):
                self.names.add(f"{prefix}.{name}")


def rows(text):
    """The number, the failure and the answer of each row of the table."""
    section = text.split(_HEADING + "\n", 1)[1].split("\n## ", 1)[0]
    found = [[cell.strip() for cell in line.strip("|").split("|")]
             for line in section.splitlines() if re.match(r"\| *\d+ *\|", line)]
    return [(int(number), failure, answer) for number, failure, answer in found]


class Reliability(unittest.TestCase):
    def setUp(self):
        self.text = read(os.path.join(ROOT, "docs", "reliability.md"))
        self.known = Known(ROOT).names

    def test_every_suite_that_it_names_is_there(self):
        named = _NAME.findall(self.text)
        self.assertGreater(len(named), 60)
        self.assertEqual(sorted(set(named) - self.known), [])

    def test_every_way_to_fail_has_a_suite_or_a_reason(self):
        table = rows(self.text)
        self.assertEqual([number for number, _, _ in table], list(range(1, _ROWS + 1)))
        for number, failure, answer in table:
            self.assertGreater(len(failure), 20, number)
            self.assertTrue(_NAME.search(answer) or answer.startswith("Cannot happen: "),
                            f"row {number} names no suite and no reason")

    def test_a_suite_that_is_not_there_is_noticed(self):
        for name in ("platform.LockFiles", "platform.Locks", "configfile.LockFile", "cli.quorctl_case",
                     "stress.kill_loop"):
            self.assertEqual(_NAME.findall(f"`{name}`"), [name])
            self.assertNotIn(name, self.known)


if __name__ == "__main__":
    ROOT = sys.argv.pop(1)
    unittest.main(verbosity=2)
