# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""A host's build with a platform of its own and this project as a part, as docs/platform.md shows it.

    platform_in_hosts_build_test.py CMAKE ROOT [TEST...]

The platform is that of examples/platform.
"""
import os
import re
import sys
import unittest

import installed_tree
from installed_tree import run

CMAKE = ROOT = ""

PARENT = """
cmake_minimum_required(VERSION 3.25)
project(host LANGUAGES CXX)
set(example ${CMAKE_CURRENT_SOURCE_DIR}/libquor/examples/platform)
add_executable(my_program ${example}/demo.cpp)
%s
target_compile_features(my_platform PRIVATE cxx_std_17)
target_link_libraries(my_platform PRIVATE md)
"""
# What stands in the place of the three dots: sources, then headers.
SOURCES = " ".join("${example}/" + name + ".cpp" for name in (
    "brisk", "config_file", "objects", "store", "switches", "utility"))
HEADERS = "${CMAKE_CURRENT_SOURCE_DIR}/libquor/platform/include"


def documented_snippet():
    with open(os.path.join(ROOT, "docs", "platform.md"), encoding="utf-8") as file:
        page = file.read()
    snippets = [text for text in re.findall(r"^```cmake\n(.*?)^```$", page, re.MULTILINE | re.DOTALL)
                if "QUOR_PLATFORM_TARGET" in text]
    if len(snippets) != 1 or snippets[0].count("...") != 2:
        raise ValueError("docs/platform.md: not one snippet with two places to fill")
    return snippets[0].replace("...", SOURCES, 1).replace("...", HEADERS, 1)


class PlatformInHostsBuild(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.directory = installed_tree.temporary_directory(cls)
        parent = os.path.join(cls.directory, "host")
        os.mkdir(parent)
        os.symlink(ROOT, os.path.join(parent, "libquor"))
        with open(os.path.join(parent, "CMakeLists.txt"), "w", encoding="utf-8") as file:
            file.write(PARENT % documented_snippet())
        cls.build = os.path.join(cls.directory, "build")
        # Debug and joined sources: what is asked for is that it builds, and with what.
        run(CMAKE, "-S", parent, "-B", cls.build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
            "-DCMAKE_UNITY_BUILD=ON")
        run(CMAKE, "--build", cls.build, "-j", "2", timeout=1800)
        cls.program = os.path.join(cls.build, "my_program")

    def test_libquor_answers_from_the_hosts_platform_and_writes_no_file(self):
        host = os.path.join(self.directory, "none")
        printed = run(self.program, environment={"QUOR_HOST_DIR": host})
        self.assertIn("by datastore: three copies\nbytes: as they were\n", printed)
        self.assertFalse(os.path.exists(host))

    def test_the_stand_alone_platform_is_neither_built_nor_loaded(self):
        built = {name for _, _, names in os.walk(self.build) for name in names}
        self.assertIn("libmy_platform.so", built)
        self.assertEqual([name for name in built if name.startswith("libquor-platform")], [])
        loaded = run("ldd", self.program)
        self.assertIn("libmy_platform.so", loaded)
        self.assertNotIn("libquor-platform", loaded)


if __name__ == "__main__":
    CMAKE, ROOT = sys.argv[1:3]
    del sys.argv[1:3]
    unittest.main(verbosity=2)
