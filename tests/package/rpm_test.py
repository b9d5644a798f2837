# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The description of the RPM packages: rpm and rpmlint read it, and its packages share out what is installed.

    rpm_test.py BUILD CMAKE ROOT VERSION [TEST...]

It is not built here: that takes a system with RPM packages.
"""
import fnmatch
import os
import re
import sys
import unittest

import installed_tree
from installed_tree import run

BUILD = CMAKE = ROOT = VERSION = ""

PACKAGES = ["libquor", "libquor-c", "libquor-c-devel", "libquor-devel", "libquor-doc", "libquor-platform-devel", "python3-quor", "quor-agent", "quor-common",
            "quor-publish", "quorctl"]
# Directories that a system with RPM packages defines.
DIRECTORIES = {"python3_sitearch": "/usr/lib/python3/dist-packages",
               "_sysusersdir": "/usr/lib/sysusers.d", "_unitdir": "/usr/lib/systemd/system", "_tmpfilesdir": "/usr/lib/tmpfiles.d"}


def description():
    return os.path.join(ROOT, "packaging", "rpm", "libquor.spec")


class Rpm(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.directory = installed_tree.temporary_directory(cls)
        cls.root = os.path.join(cls.directory, "root")
        run(CMAKE, "--install", BUILD, "--prefix", "/usr", environment={"DESTDIR": cls.root})
        library = installed_tree.library_directory(cls.root).removeprefix(cls.root)
        defines = {**DIRECTORIES, "_libdir": library, "_topdir": cls.directory}
        cls.defines = [part for name, value in defines.items()
                       for part in ("--define", f"{name} {value}")]

    def rpmspec(self, *arguments):
        return run("rpmspec", *self.defines, *arguments, description())

    def test_rpmlint_finds_nothing(self):
        said = run("rpmlint", "--config", os.path.join(ROOT, "packaging", "rpm", "rpmlint.toml"),
                   description())
        self.assertIn("1 specfiles checked; 0 errors, 0 warnings", said)

    def test_the_packages_are_those_of_debian_and_of_this_version(self):
        names = self.rpmspec("--query", "--queryformat", "%{NAME} %{VERSION}\n").splitlines()
        self.assertEqual(sorted(names), [f"{name} {VERSION}" for name in PACKAGES])

    def test_every_installed_file_is_in_one_package(self):
        owners = {}
        for package, patterns in self.file_lists().items():
            for pattern in patterns:
                found = [file for file in self.installed() if self.matches(file, pattern)]
                self.assertNotEqual(found, [], f"{package} holds nothing like {pattern}")
                for file in found:
                    owners.setdefault(file, set()).add(package)
        shared = {file: names for file, names in owners.items() if len(names) > 1}
        self.assertEqual(shared, {})
        self.assertEqual(sorted(set(self.installed()) - set(owners)), [])

    def file_lists(self):
        """The patterns of each package's files, without licences and mere directories."""
        lists = {}
        text = self.rpmspec("--parse")
        for name, body in re.findall(r"^%files *(.*)\n((?:(?!%(?:files|changelog)).*\n)*)", text,
                                     re.MULTILINE):
            package = name.removeprefix("-n ") if name.startswith("-n ") else "-".join(
                filter(None, ("libquor", name)))
            lists[package] = [line for line in body.splitlines() if line.startswith("/")]
        self.assertEqual(sorted(lists), PACKAGES)
        return lists

    def installed(self):
        for directory, _, names in os.walk(self.root):
            for name in names:
                yield os.path.join(directory, name).removeprefix(self.root)

    @staticmethod
    def matches(file, pattern):
        if pattern.endswith("/"):
            return file.startswith(pattern)
        return fnmatch.fnmatchcase(file, pattern)


if __name__ == "__main__":
    BUILD, CMAKE, ROOT, VERSION = sys.argv[1:5]
    del sys.argv[1:5]
    unittest.main(verbosity=2)
