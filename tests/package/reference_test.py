# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The reference of the headers is made without a warning: every public member is documented.

    reference_test.py ROOT VERSION [TEST...]
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = VERSION = ""

INPUTS = ("docs/reference", "include", "platform/include")
HEADER = "include/quor/quor_lib.h"


def make_reference(root, directory):
    """Runs Doxygen as scripts/reference does; returns the finished process."""
    return subprocess.run(
        ["doxygen", "docs/reference/Doxyfile"], cwd=root, check=False, capture_output=True,
        text=True, env={**os.environ, "LC_ALL": "C", "QUOR_VERSION": VERSION,
             "QUOR_REFERENCE_DIRECTORY": directory})


class Reference(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory(prefix="quor-reference-")
        self.addCleanup(directory.cleanup)
        self.output = os.path.join(directory.name, "reference")
        os.mkdir(self.output)
        self.copy = os.path.join(directory.name, "copy")

    def test_is_made_without_a_warning_and_holds_what_the_headers_say(self):
        result = make_reference(ROOT, self.output)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        for page, words in (("classTavQuor_1_1QuorLib", "an empty vector deletes them all"),
                            ("structTavQuor_1_1QuorDatastoreInfo", "empty when it has none"),
                            ("quor__lib_8h", "A lookup that finds nothing answers the empty string"),
                            ("classTavConfigStore_1_1ConfigStore", "Opens a transaction"),
                            ("namespaceHostPlatform", "how long a writer waits")):
            with open(os.path.join(self.output, "html", page + ".html"), encoding="utf-8") as file:
                text = re.sub(r"\s+", " ", re.sub(r"<[^>]*>", "", file.read()))
            self.assertIn(words.lower(), text.lower(), page)

    def plant(self, pattern, replacement):
        """What Doxygen says of a copy of the headers with one thing changed."""
        for path in INPUTS:
            shutil.copytree(os.path.join(ROOT, path), os.path.join(self.copy, path))
        path = os.path.join(self.copy, HEADER)
        with open(path, encoding="utf-8") as file:
            text, count = re.subn(pattern, replacement, file.read(), count=1)
        self.assertEqual(count, 1)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
        return make_reference(self.copy, self.output)

    def test_a_member_without_words_is_found(self):
        result = self.plant(r"(  static void Reset\(\);\n)", r"\1\n  static void Planted();\n")
        self.assertNotEqual(result.returncode, 0)
        self.assertRegex(result.stderr, r"Member Planted\(\).* is not documented")

    def test_a_member_right_below_a_documented_one_is_found(self):
        result = self.plant(r"(  static void Reset\(\);\n)", r"\1  static void Planted();\n")
        self.assertNotEqual(result.returncode, 0)
        self.assertRegex(result.stderr, r"Member Planted\(\).* is not documented")

    def test_a_field_right_below_a_documented_one_is_found(self):
        result = self.plant(r"(  std::int64_t generationNumber = 0;\n)", r"\1  int planted;\n")
        self.assertNotEqual(result.returncode, 0)
        self.assertRegex(result.stderr, r"Member planted .* is not documented")

    def test_a_function_right_below_a_documented_field_is_found(self):
        result = self.plant(r"(  std::int64_t generationNumber = 0;\n)", r"\1  int Planted();\n")
        self.assertNotEqual(result.returncode, 0)
        self.assertRegex(result.stderr, r"Member Planted\(\).* is not documented")

    def test_an_overload_right_below_has_the_words_of_the_first(self):
        result = self.plant(r"(  static void Reset\(\);\n)", r"\1  static void Reset(int);\n")
        self.assertEqual((result.returncode, result.stderr), (0, ""))

    def test_a_field_without_words_is_found(self):
        result = self.plant(r"  // identifier\n", "\n")
        self.assertNotEqual(result.returncode, 0)
        self.assertRegex(result.stderr, r"Member policyId .* is not documented")


if __name__ == "__main__":
    ROOT, VERSION = sys.argv[1:3]
    del sys.argv[1:3]
    unittest.main(verbosity=2)
