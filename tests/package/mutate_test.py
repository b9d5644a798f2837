# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""scripts/mutate: its list fits the sources, and it tells what survives.

    mutate_test.py ROOT
"""
import contextlib
import io
import os
import shutil
import sys
import tempfile
import unittest

ROOT = ""

PROJECT = """\
cmake_minimum_required(VERSION 3.25)
project(sign LANGUAGES CXX)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
add_executable(check sign.cpp check.cpp)
"""
SOURCE = "int Sign(int a) {\n  if (a < 0)\n    return -1;\n  return a > 0;\n}\n"
CHECK = "int Sign(int a);\nint main() { return Sign(5) == 1 && Sign(-5) == -1 ? 0 : 1; }\n"


def entry(name, original, replacement, *more):
    return "\n".join(["[[mutation]]", f"name = '{name}'", f"original = '{original}'",
                      f"replacement = '{replacement}'", *more, ""])


NOTICED = entry("nothing is negative", "if (a < 0) return -1;", ";")
INNER = entry("negative is positive", "a < 0", "a > 0")
SEPARATE = entry("the sign is turned", "int a) {", "int b) { int a = -b;", "separate = true")
SURVIVES = entry("zero is positive", "a > 0", "a >= 0")
OVERLAPPING = entry("half of the other", "return -1; return a > 0;", "return 0; return 0;")
EQUAL = entry("minus one is the first", "a < 0", "a <= -1", "equivalent = 'the same numbers'")
NOT_EQUAL = entry("minus two is the first", "a < 0", "a <= -9", "equivalent = 'a mistake'")


class Mutate(unittest.TestCase):
    def setUp(self):
        import mutate  # its place is known only once the arguments are read
        import mutations
        self.program, self.mutations = mutate, mutations
        directory = tempfile.TemporaryDirectory(prefix="quor-mutate-")
        self.addCleanup(directory.cleanup)
        self.root = os.path.join(directory.name, "root")
        self.build = os.path.join(directory.name, "build")
        for path, text in (("CMakeLists.txt", PROJECT), ("sign.cpp", SOURCE), ("check.cpp", CHECK)):
            self.write(path, text)
        header = os.path.join("tests", "mutations", "chosen.h")
        self.write(header, "")
        shutil.copy(os.path.join(ROOT, header), os.path.join(self.root, header))

    def write(self, path, text):
        path = os.path.join(self.root, path)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)

    def run_on(self, *entries, arguments=()):
        """The exit status and what was printed."""
        self.write("tests/mutations/sign.cpp.toml", 'tests = ["check"]\n' + "".join(entries))
        output = io.StringIO()
        with contextlib.redirect_stdout(output), contextlib.redirect_stderr(output):
            status = self.program.main([self.root, self.build, *arguments])
        return status, output.getvalue()

    def test_every_mutation_of_the_list_applies(self):
        found = self.mutations.read(ROOT)
        self.assertGreaterEqual(len([m for m in found if m.file.startswith("src/")]), 200)

    def test_those_that_are_noticed_and_the_equivalent_ones_pass(self):
        self.assertEqual(
            self.run_on(NOTICED, INNER, OVERLAPPING, SEPARATE, EQUAL),
            (0, "5 mutations: 4 noticed, 1 equivalent, 0 survived\n"))

    def test_survivors_are_told_and_fail(self):
        self.assertEqual(self.run_on(SURVIVES, NOTICED, NOT_EQUAL), (1, (
            "survived: sign.cpp: zero is positive\n  - a > 0\n  + a >= 0\n"
            "listed as equivalent, but noticed: sign.cpp: minus two is the first\n"
            "  - a < 0\n  + a <= -9\n"
            "3 mutations: 2 survived or were listed wrongly\n")))

    def test_a_text_that_is_not_in_the_source_is_told_and_nothing_is_built(self):
        gone = entry("gone", "a == 0", "a != 0")
        often = entry("often", "return", "throw")
        second = entry("second", "return", "return -", 'occurrence = "2 of 3"')
        status, output = self.run_on(NOTICED, gone, often, second)
        self.assertEqual(status, 2)
        for name, times in (("gone", 0), ("often", 2), ("second", 2)):
            self.assertRegex(output, rf'sign\.cpp\.toml: "{name}": .* stands there {times} times')
        self.assertNotIn("nothing is negative", output)
        self.assertFalse(os.path.exists(self.build))

    def test_tests_that_fail_without_a_mutation_are_told(self):
        self.write("check.cpp", CHECK.replace("-1", "0"))
        self.assertEqual(self.run_on(NOTICED), (2, "check fails without any mutation\n"))

    def test_they_are_selected_by_name_and_file(self):
        self.assertEqual(self.run_on(NOTICED, SURVIVES, arguments=["--list", "zero"]),
                         (0, "sign.cpp: zero is positive\n1 mutations\n"))
        self.assertEqual(self.run_on(NOTICED, SURVIVES, arguments=["--list", "--file", "^src"]),
                         (2, "no mutation is selected\n"))

    def test_mistakes_in_the_list_are_told(self):
        for mistake, message in (
                (NOTICED + NOTICED, "its name is taken"),
                (entry("same", "a > 0", "a>0"), "changes nothing"),
                (entry("unknown", "a > 0", "a", "colour = 1"), "colour"),
                ("[[", "TOML|Invalid|Expected")):
            status, output = self.run_on(mistake)
            self.assertEqual(status, 2)
            self.assertRegex(output, message)


if __name__ == "__main__":
    ROOT = os.path.abspath(sys.argv.pop(1))
    sys.path.insert(0, os.path.join(ROOT, "tests", "mutations"))
    unittest.main(verbosity=2)
