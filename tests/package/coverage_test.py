# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""tests/coverage/branch_coverage.py, on reports made here, and the list of exceptions.

    coverage_test.py ROOT
"""
import contextlib
import io
import os
import sys
import tempfile
import unittest

ROOT = ""

SOURCE = "int f(int a) {\n  if (a > 0) return 1;\n  if (a < 0) return 2;\n  if (a > 0) return 1;\n}\n"


def branch(count, throw=False, fallthrough=False):
    return {"count": count, "throw": throw, "fallthrough": fallthrough}


def line(number, *taken):
    return {"line_number": number, "count": 1,
            "branches": [one if isinstance(one, dict) else branch(one) for one in taken]}


class Coverage(unittest.TestCase):
    def setUp(self):
        import branch_coverage  # its place is known only once the arguments are read
        self.program = branch_coverage
        directory = tempfile.TemporaryDirectory(prefix="quor-coverage-")
        self.addCleanup(directory.cleanup)
        self.root = directory.name
        os.mkdir(os.path.join(self.root, "src"))
        with open(os.path.join(self.root, "src", "f.cpp"), "w", encoding="utf-8") as file:
            file.write(SOURCE)

    def run_on(self, lines, exceptions="", least=50.0, strict=False):
        """The exit status and what was printed."""
        listed = os.path.join(self.root, "exceptions.txt")
        reports = [{"files": [{"file": "./src/f.cpp", "lines": lines},
                              {"file": "/usr/include/f.h", "lines": [line(1, 0)]}]}]
        with open(listed, "w", encoding="utf-8") as file:
            file.write(exceptions)
        self.program._EXCEPTIONS = listed
        output = io.StringIO()
        with contextlib.redirect_stdout(output):
            status = self.program.main(self.root, reports, least, strict)
        return status, output.getvalue()

    def test_lines_and_branches_are_counted(self):
        status, output = self.run_on([line(1), line(2, 5, 0), line(3, 1, 1)])
        self.assertEqual(status, 0)
        self.assertRegex(output, r"total +3 of +3 +100\.00 % +3 of +4 +75\.00 %")

    def test_the_ways_out_of_a_call_that_may_throw_are_no_branches(self):
        call = [branch(0, fallthrough=True), branch(0, throw=True)]
        _, output = self.run_on([line(2, 5, *call, 0), line(3, *call), line(5, 0, 0)])
        self.assertRegex(output, r"total +3 of +3 +100\.00 % +1 of +2 +50\.00 %")

    def test_branches_of_several_objects_are_joined(self):
        _, output = self.run_on([line(2, 5, 0), line(2, 0, 5)])
        self.assertRegex(output, r"total +1 of +1 +100\.00 % +2 of +2 +100\.00 %")

    def test_too_few_branches_fail(self):
        for least, expected in ((50.0, 0), (50.1, 1)):
            self.assertEqual(self.run_on([line(2, 5, 0)], least=least)[0], expected)
        self.assertEqual(self.run_on([])[0], 1)

    def test_what_is_not_listed_is_told_and_fails_when_it_is_to(self):
        lines = [line(2, 5, 0), line(3, 1, 1)]
        status, output = self.run_on(lines)
        self.assertEqual(status, 0)
        self.assertIn("not listed: src/f.cpp:2: if (a > 0) return 1;  (1)\n", output)
        self.assertEqual(self.run_on(lines, strict=True)[0], 1)
        status, output = self.run_on(lines, "# why\nsrc/f.cpp:   if (a > 0)  return 1;\n", strict=True)
        self.assertEqual((status, "not listed" in output), (0, False))

    def test_branches_that_are_listed_as_the_compilers_own_are_not_asked_for(self):
        listed = "# Made by the compiler: why\nsrc/f.cpp: if (a > 0) return 1;\n"
        status, output = self.run_on([line(2, 5, 0), line(3, 1, 1)], listed, least=100.0)
        self.assertEqual(status, 0)
        self.assertRegex(output, r"without 1 made by the compiler .* 3 of +3 +100\.00 %")
        self.assertEqual(self.run_on([line(2, 5, 0)], listed.replace("Made", "M"), 100.0)[0], 1)

    def test_a_line_that_is_there_twice_is_listed_twice(self):
        lines = [line(2, 5, 0), line(4, 5, 0)]
        once = "src/f.cpp: if (a > 0) return 1;\n"
        self.assertIn("not listed: src/f.cpp:4:", self.run_on(lines, once)[1])
        self.assertNotIn("not listed", self.run_on(lines, once + once)[1])

    def test_what_is_listed_and_was_reached_is_told(self):
        output = self.run_on([line(3, 1, 1)], "src/f.cpp: if (a < 0) return 2;\n")[1]
        self.assertIn("listed, and reached this time: src/f.cpp: if (a < 0) return 2;\n", output)

    def test_every_exception_has_a_reason_and_is_of_a_file_that_is_there(self):
        with open(os.path.join(ROOT, "tests", "coverage", "exceptions.txt"),
                  encoding="utf-8") as file:
            text = file.read()
        listed = self.program.exceptions(text)
        for name, code in listed:
            self.assertTrue(os.path.isfile(os.path.join(ROOT, name)), name)
            self.assertNotEqual(code, "")
        for paragraph in text.strip().split("\n\n"):
            self.assertTrue(paragraph.startswith("# "), f"no reason: {paragraph}")


if __name__ == "__main__":
    ROOT = os.path.abspath(sys.argv.pop(1))
    sys.path.insert(0, os.path.join(ROOT, "tests", "coverage"))
    unittest.main(verbosity=2)
