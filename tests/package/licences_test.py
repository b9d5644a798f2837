# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Every file says its copyright and licence; the check of that finds those that do not, and mends them.

    licences_test.py ROOT
"""
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

import source_tree

ROOT = ""


def copy(paths, target):
    for path in paths:
        os.makedirs(os.path.dirname(os.path.join(target, path)), exist_ok=True)
        shutil.copy(os.path.join(ROOT, path), os.path.join(target, path))


class Licences(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory(prefix="quor-licences-")
        self.addCleanup(directory.cleanup)
        self.root = directory.name

    def check(self, *arguments):
        """In a copy, since the files of a build are no sources."""
        return subprocess.run([os.path.join(self.root, "scripts", "check-licences"), *arguments],
                              check=False, capture_output=True, text=True)

    def write(self, name, text):
        with open(os.path.join(self.root, name), "w", encoding="utf-8") as file:
            file.write(text)

    def read(self, name):
        with open(os.path.join(self.root, name), encoding="utf-8") as file:
            return file.read()

    def test_every_file_of_the_tree_has_them(self):
        copy(source_tree.files(ROOT), self.root)
        result = self.check()
        self.assertEqual((result.returncode, result.stderr), (0, ""))

    def test_files_without_them_are_found_and_mended(self):
        copy([".reuse/dep5", "LICENSES/Apache-2.0.txt", "scripts/check-licences"], self.root)
        bare = {"a.cpp": "// Words.\n", "b.py": '"""Words."""\n', "script": "#!/bin/sh\n# Words.\n"}
        for name, text in bare.items():
            self.write(name, text)
        result = self.check()
        self.assertNotEqual(result.returncode, 0)
        for name in bare:
            self.assertIn(f"/{name}\n", result.stderr)

        self.assertEqual(self.check("--fix").returncode, 0)
        lines = ["SPDX-" "FileCopyrightText: 2026 libquor developers",
                 "SPDX-" "License-Identifier: Apache-2.0"]
        slashes, signs = ("".join(f"{mark} {line}\n" for line in lines) for mark in ("//", "#"))
        self.assertEqual(self.read("a.cpp"), slashes + "\n// Words.\n")
        self.assertEqual(self.read("b.py"), signs + '"""Words."""\n')
        self.assertEqual(self.read("script"), f"#!/bin/sh\n{signs}#\n# Words.\n")

    def test_a_file_without_a_form_of_comments_is_left_and_told(self):
        copy([".reuse/dep5", "LICENSES/Apache-2.0.txt", "scripts/check-licences"], self.root)
        self.write("data", "1 2 3\n")
        result = self.check("--fix")
        self.assertNotEqual(result.returncode, 0)
        self.assertIn("/data\n", result.stderr)
        self.assertEqual(self.read("data"), "1 2 3\n")


if __name__ == "__main__":
    ROOT = os.path.abspath(sys.argv.pop(1))
    unittest.main(verbosity=2)
