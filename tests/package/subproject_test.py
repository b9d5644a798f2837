# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""This project as a part of a larger one: it plans its libraries and nothing else, and the larger one
can export them.

    subproject_test.py CMAKE ROOT [TEST...]
"""
import json
import os
import sys
import unittest

import installed_tree
import source_tree
from installed_tree import run

CMAKE = ROOT = ""

PARENT = """
cmake_minimum_required(VERSION 3.25)
project(parent LANGUAGES CXX)
set(CMAKE_CXX_EXTENSIONS OFF)
foreach(name forks latency quorctl)  # common words; a project may have them
  add_custom_target(${name})
endforeach()
add_subdirectory(libquor)
add_executable(program program.cpp)
set_target_properties(program PROPERTIES CXX_STANDARD 98)
target_link_libraries(program PRIVATE quor::quor)
add_executable(administration administration.cpp)
set_target_properties(administration PROPERTIES CXX_STANDARD 98)
target_link_libraries(administration PRIVATE quor::platform)
"""
SOURCES = {"CMakeLists.txt": PARENT, "program.cpp": "", "administration.cpp": ""}

EXPORTING_PARENT = """
cmake_minimum_required(VERSION 3.25)
project(parent LANGUAGES CXX)
add_subdirectory(libquor)
add_library(parent_library SHARED library.cpp)
target_link_libraries(parent_library PUBLIC quor::quor)
install(TARGETS parent_library ${OTHERS} EXPORT parent-targets)
install(EXPORT parent-targets NAMESPACE parent:: DESTINATION lib/cmake/parent)
"""
EXPORTING_SOURCES = {"CMakeLists.txt": EXPORTING_PARENT, "library.cpp": ""}

# Only tests and quorctl need them.
UNNEEDED = ("GTest", "Python3", "CLI11", "SQLite3", "Threads")


def write_parent(directory, sources):
    os.mkdir(directory)
    os.symlink(ROOT, os.path.join(directory, "libquor"))
    for name, text in sources.items():
        with open(os.path.join(directory, name), "w", encoding="utf-8") as file:
            file.write(text)


class Subproject(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        directory = installed_tree.temporary_directory(cls)
        cls.parent = os.path.join(directory, "parent")
        cls.build = os.path.join(directory, "build")
        write_parent(cls.parent, SOURCES)
        run(CMAKE, "-S", cls.parent, "-B", cls.build, "-G", "Ninja",
            "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON",
            *(f"-DCMAKE_DISABLE_FIND_PACKAGE_{name}=ON" for name in UNNEEDED))
        with open(os.path.join(cls.build, "compile_commands.json"), encoding="utf-8") as file:
            commands = json.load(file)
        cls.number_of_commands = len(commands)
        cls.commands = {os.path.relpath(command["file"], cls.parent): command["command"]
                        for command in commands}

    def test_the_sources_of_the_libraries_and_no_others_are_compiled_once(self):
        wanted = [os.path.join("libquor", path)
                  for path in source_tree.files(ROOT, "c", "src", "platform/src")
                  if path.endswith(".cpp")]
        self.assertGreater(len(wanted), 40)
        self.assertEqual(sorted(set(self.commands) - set(SOURCES)), sorted(wanted))
        self.assertEqual(self.number_of_commands, len(wanted) + 2)

    def test_no_test_is_added_to_those_of_the_parent(self):
        self.assertFalse(os.path.exists(os.path.join(self.build, "libquor", "tests")))

    def test_nothing_is_installed(self):
        prefix = os.path.join(self.build, "prefix")
        installed_tree.install(CMAKE, self.build, prefix)
        self.assertFalse(os.path.exists(prefix))

    def test_the_standards_that_the_headers_need_are_told(self):
        self.assertRegex(self.commands["program.cpp"], r"-std=c\+\+11 ")
        self.assertRegex(self.commands["administration.cpp"], r"-std=c\+\+17 ")


class Exported(unittest.TestCase):
    """The parent installs a library that needs quor::quor."""

    @classmethod
    def setUpClass(cls):
        cls.directory = installed_tree.temporary_directory(cls)
        cls.parent = os.path.join(cls.directory, "parent")
        write_parent(cls.parent, EXPORTING_SOURCES)

    def configure(self, *settings):
        """The parent's export files, as they are installed."""
        build = os.path.join(self.directory, self.id())
        run(CMAKE, "-S", self.parent, "-B", build, "-G", "Ninja",
            *(f"-D{setting}" for setting in settings))
        texts = []
        for directory, _, names in os.walk(os.path.join(build, "CMakeFiles", "Export")):
            for name in names:
                if name.startswith("parent-targets"):
                    with open(os.path.join(directory, name), encoding="utf-8") as file:
                        texts.append(file.read())
        return "\n".join(texts)

    def test_with_the_libraries_as_targets_of_the_parents_own(self):
        text = self.configure("OTHERS=quor;quor_platform")
        for name in ("parent_library", "quor", "platform"):
            self.assertIn(f"add_library(parent::{name} SHARED IMPORTED)", text)
        self.assertIn('INTERFACE_LINK_LIBRARIES "parent::quor"', text)
        self.assertIn('INTERFACE_INCLUDE_DIRECTORIES "${_IMPORT_PREFIX}/include"', text)
        for path in (self.directory, ROOT):
            self.assertNotIn(path, text)

    def test_beside_the_package_of_this_project(self):
        text = self.configure("OTHERS=", "QUOR_INSTALL=ON")
        self.assertIn('INTERFACE_LINK_LIBRARIES "quor::quor"', text)
        self.assertNotIn("add_library(parent::quor ", text)

    def test_static_libraries_are_refused_with_the_reason_and_what_to_do(self):
        with self.assertRaises(installed_tree.Failed) as caught:
            self.configure("OTHERS=quor;quor_platform", "BUILD_SHARED_LIBS=OFF")
        reason = " ".join(str(caught.exception).split())
        self.assertIn("libquor is a shared library only; BUILD_SHARED_LIBS is OFF", reason)
        self.assertIn("set(BUILD_SHARED_LIBS ON) before add_subdirectory(libquor)", reason)


if __name__ == "__main__":
    CMAKE, ROOT = sys.argv[1:3]
    del sys.argv[1:3]
    unittest.main(verbosity=2)
