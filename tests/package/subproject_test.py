"""This project as a part of a larger one: it plans its libraries and nothing else.

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

# Only tests and quorctl need them.
UNNEEDED = ("GTest", "Python3", "CLI11", "SQLite3", "Threads")


def write_parent(directory):
    os.mkdir(directory)
    os.symlink(ROOT, os.path.join(directory, "libquor"))
    for name, text in SOURCES.items():
        with open(os.path.join(directory, name), "w", encoding="utf-8") as file:
            file.write(text)


class Subproject(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        directory = installed_tree.temporary_directory(cls)
        cls.parent = os.path.join(directory, "parent")
        cls.build = os.path.join(directory, "build")
        write_parent(cls.parent)
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
                  for path in source_tree.files(ROOT, "src", "platform/src")
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


if __name__ == "__main__":
    CMAKE, ROOT = sys.argv[1:3]
    del sys.argv[1:3]
    unittest.main(verbosity=2)
