# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""README.md shows what quorctl does now.

    readme_test.py ROOT QUORCTL [TEST...]
"""
import os
import subprocess
import sys
import tempfile
import unittest

ROOT = QUORCTL = ""


class Readme(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory(prefix="quor-readme-test-")
        self.addCleanup(directory.cleanup)
        self.copy = os.path.join(directory.name, "README.md")
        with open(os.path.join(ROOT, "README.md"), encoding="utf-8") as file:
            self.readme = file.read()

    def record(self, *options, environment=None):
        return subprocess.run(
            [sys.executable, "-B", os.path.join(ROOT, "scripts", "readme-session"), *options,
             QUORCTL], check=False, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
            env={**os.environ, **(environment or {})})

    def write(self, text):
        with open(self.copy, "w", encoding="utf-8") as file:
            file.write(text)

    def test_its_session_is_what_the_program_shows(self):
        result = self.record("--check")
        self.assertEqual((result.returncode, result.stdout), (0, ""))

    def test_it_is_the_same_wherever_it_is_recorded(self):
        strange = {"TZ": "Asia/Tokyo", "LC_ALL": "C", "COLUMNS": "40", "QUOR_HOST_DIR": "/nowhere",
                   "QUOR_LOCK_TIMEOUT_MS": "7", "TMPDIR": os.path.dirname(self.copy)}
        result = self.record("--check", environment=strange)
        self.assertEqual((result.returncode, result.stdout), (0, ""))

    def test_another_output_is_noticed_and_mended(self):
        changed = self.readme.replace("exit status 8\n", "exit status 9\n")
        self.assertNotEqual(changed, self.readme)
        self.write(changed)
        result = self.record("--check", "--readme", self.copy)
        self.assertEqual(result.returncode, 1)
        self.assertIn("\n-exit status 9\n+exit status 8\n", result.stdout)
        self.assertEqual(self.record("--readme", self.copy).returncode, 0)
        with open(self.copy, encoding="utf-8") as file:
            self.assertEqual(file.read(), self.readme)

    def test_marks_that_are_missing_are_an_error(self):
        self.write("no session here\n")
        result = self.record("--check", "--readme", self.copy)
        self.assertNotEqual(result.returncode, 0)
        self.assertIn("<!-- session: scripts/readme-session -->", result.stdout)

    def test_the_main_commands_are_shown(self):
        for verb in ("status", "apply", "list", "get", "blob", "diff", "check", "history",
                     "restore", "digest"):
            self.assertIn(f"\n$ quorctl {verb}", self.readme)


if __name__ == "__main__":
    ROOT, QUORCTL = sys.argv[1:3]
    del sys.argv[1:3]
    unittest.main(verbosity=2)
