# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The short programs in README.md do what is said of them.

    readme_programs_test.py ROOT LIBQUORC QUORCTL [TEST...]
"""
import os
import re
import select
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = LIBQUORC = QUORCTL = ""

BLOB = "the blob of the volume"
CATALOGUE = """{"format": "quor-catalogue/1",
 "policies": [{"id": "gold-01", "name": "Gold", "description": "", "generation": 1,
               "blobs": [{"namespace": "VOLB", "text": "%s"}]}],
 "datastores": [{"url": "ds:///volumes/a1/", "namespace": "VOLB", "defaultPolicy": "gold-01"}]}
""" % BLOB


def lines_of(language):
    """The one block of that language in README.md."""
    with open(os.path.join(ROOT, "README.md"), encoding="utf-8") as file:
        [block] = re.findall(rf"^```{language}\n(.*?)^```$", file.read(), re.MULTILINE | re.DOTALL)
    return block


class Programs(unittest.TestCase):
    def setUp(self):
        self.directory = tempfile.mkdtemp(prefix="quor-readme-programs-")
        self.addCleanup(shutil.rmtree, self.directory)
        self.environment = {**os.environ, "QUOR_HOST_DIR": os.path.join(self.directory, "host"),
                            "LD_LIBRARY_PATH": os.path.dirname(LIBQUORC)}
        self.run_program(QUORCTL, "apply", "-", given=CATALOGUE)

    def run_program(self, *command, given=""):
        done = subprocess.run(command, input=given, check=False, capture_output=True, text=True,
                              env=self.environment)
        self.assertEqual((done.returncode, done.stderr), (0, ""), command)
        return done.stdout

    def test_the_five_lines_of_c_print_the_blob(self):
        lines = lines_of("c")
        self.assertEqual(len(lines.splitlines()), 5)
        program = os.path.join(self.directory, "program")
        with open(program + ".c", "w", encoding="utf-8") as file:
            file.write("#include <quor/quor.h>\n#include <stdio.h>\nint main(void) {\n" + lines +
                       "return 0;\n}\n")
        self.run_program("gcc", "-std=c89", "-pedantic", "-Wall", "-Wextra", "-Werror",
                         "-I", os.path.join(ROOT, "include"), "-o", program, program + ".c", LIBQUORC)
        self.assertEqual(self.run_program(program), BLOB + "\n")


    def test_the_five_lines_of_python_print_the_blob_and_a_change(self):
        lines = lines_of("python")
        self.assertEqual(len(lines.splitlines()), 5)
        environment = {**self.environment, "PYTHONPATH": os.path.join(
            os.path.dirname(os.path.dirname(LIBQUORC)), "python")}
        with subprocess.Popen(["/usr/bin/python3", "-u", "-c", lines], stdout=subprocess.PIPE,
                              text=True, env=environment) as program:
            self.assertEqual(program.stdout.readline(), BLOB + "\n")
            # Until it watches there is nothing to be noticed: the change is made again and again.
            for number in range(100):
                changed = CATALOGUE.replace('"generation": 1', f'"generation": {number + 2}')
                self.run_program(QUORCTL, "apply", "-", given=changed)
                if select.select([program.stdout], [], [], 0.2)[0]:
                    break
            self.assertEqual(program.stdout.readline(), "True False\n")
            program.kill()


if __name__ == "__main__":
    ROOT, LIBQUORC, QUORCTL = sys.argv[1:4]
    del sys.argv[1:4]
    unittest.main(verbosity=2)
