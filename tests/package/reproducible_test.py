# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Made again from a copy of the tree, in another directory: the same bytes.

    reproducible_test.py BUILD CMAKE ROOT [TEST...]

BUILD is the build that is compared with, up to date with the tree; its settings are taken over.
"""
import os
import re
import shutil
import sys
import unittest

import installed_tree
import source_tree
from installed_tree import run

BUILD = CMAKE = ROOT = ""

SETTINGS = ("CMAKE_BUILD_TYPE", "CMAKE_CXX_COMPILER", "CMAKE_CXX_FLAGS", "CMAKE_INSTALL_LIBDIR",
            "CMAKE_INSTALL_PREFIX")


def settings():
    """Options for cmake with the values that the build was configured with."""
    with open(os.path.join(BUILD, "CMakeCache.txt"), encoding="utf-8") as file:
        cache = dict(re.findall(r"^(\w+):\w+=(.*)$", file.read(), re.MULTILINE))
    return [f"-D{name}={cache[name]}" for name in SETTINGS]


def copy_tree(target):
    for path in source_tree.files(ROOT):
        copy = os.path.join(target, path)
        os.makedirs(os.path.dirname(copy), exist_ok=True)
        shutil.copy2(os.path.join(ROOT, path), copy)


def files_below(prefix):
    return sorted(os.path.relpath(os.path.join(directory, name), prefix)
                  for directory, _, names in os.walk(prefix) for name in names)


def content(*path):
    with open(os.path.join(*path), "rb") as file:
        return file.read()


class Reproducible(unittest.TestCase):
    def test_what_is_installed_is_the_same_wherever_it_is_built(self):
        directory = installed_tree.temporary_directory(type(self))
        source = os.path.join(directory, "a directory of another length", "source")
        build = os.path.join(directory, "b")
        copy_tree(source)
        run(CMAKE, "-S", source, "-B", build, "-G", "Ninja", "-DQUOR_TESTS=OFF", *settings())
        # Without the compiler cache, which would hand out what was compiled for the first build.
        run(CMAKE, "--build", build, timeout=3000, environment={"CCACHE_DISABLE": "1"})

        first, second = os.path.join(directory, "first"), os.path.join(directory, "second")
        installed_tree.install(CMAKE, BUILD, first)
        installed_tree.install(CMAKE, build, second)
        files = files_below(first)
        self.assertEqual(files, files_below(second))
        self.assertIn("bin/quorctl", files)
        self.check_same_content(files, first, second)

    def test_the_source_package_holds_the_tree_and_is_the_same_of_every_checkout(self):
        directory = installed_tree.temporary_directory(type(self))
        checkouts = [os.path.join(directory, "one"), os.path.join(directory, "another")]
        copy_tree(checkouts[0])
        shutil.copytree(*checkouts, copy_function=shutil.copy)
        for path in source_tree.files(checkouts[1]):
            os.utime(os.path.join(checkouts[1], path), (1000000000, 1000000000))
        outputs = [checkout + "-packages" for checkout in checkouts]
        for checkout, output, others, mask in zip(checkouts, outputs, ("u-w", ""), ("022", "077")):
            run("chmod", "-R", "go=" + others, checkout)
            run("sh", "-c", 'umask "$0" && exec "$@"', mask,
                os.path.join(checkout, "scripts", "package"), "--source",
                environment={"QUOR_PACKAGES_DIRECTORY": output})
        files = [file for file in files_below(outputs[0])
                 if file.endswith((".dsc", ".tar.gz", ".tar.xz"))]
        self.assertEqual(len(files), 3, files)
        self.check_same_content(files, *outputs)

        [dsc] = [file for file in files if file.endswith(".dsc")]
        unpacked = os.path.join(directory, "unpacked")
        run("dpkg-source", "--no-check", "-x", os.path.join(outputs[0], dsc), unpacked)
        shutil.rmtree(os.path.join(unpacked, ".pc"))  # where dpkg-source keeps notes
        self.assertEqual(files_below(unpacked), files_below(checkouts[0]))
        self.check_same_content(files_below(unpacked), unpacked, checkouts[0])

    def check_same_content(self, files, first, second):
        different = [file for file in files if content(first, file) != content(second, file)]
        self.assertEqual(different, [])


if __name__ == "__main__":
    BUILD, CMAKE, ROOT = sys.argv[1:4]
    del sys.argv[1:4]
    unittest.main(verbosity=2)
