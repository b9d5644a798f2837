# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""find_package(quor) with and without its component, and why when it is not found.

    find_package_test.py BUILD CMAKE ROOT [TEST...]
"""
import os
import sys
import unittest

import installed_tree
from installed_tree import run

BUILD = CMAKE = ROOT = ""

# The project asks for an older standard than the headers need.
PROJECT = """
cmake_minimum_required(VERSION 3.16)
project(user LANGUAGES CXX)
set(CMAKE_CXX_STANDARD 98)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
find_package(quor 1 CONFIG ${WANTED})
if(quor_FOUND)
  add_executable(user user.cpp)
  target_link_libraries(user PRIVATE ${LIBRARY})
endif()
"""
CATALOGUE = "#include <quor/quor_lib.h>\nint main() { TavQuor::QuorLib::Init(); }\n"
FOR_C = "#include <quor/quor.h>\nint main() { quor_error_free(0); }\n"
ADMINISTRATION = ("#include <platform/admin.h>\n"
                  "int main() { return HostPlatform::HostDirectory().empty() ? 1 : 0; }\n")


class FindPackage(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.directory = installed_tree.temporary_directory(cls)
        cls.prefix = os.path.join(cls.directory, "without")
        for component in ("runtime", "development"):
            installed_tree.install(CMAKE, BUILD, cls.prefix, component)
        cls.whole = os.path.join(cls.directory, "with")
        installed_tree.install(CMAKE, BUILD, cls.whole)

    def configure(self, prefix, wanted, library="quor::quor", program=CATALOGUE):
        """Where a project is configured that asks for the package so."""
        folder = os.path.join(self.directory, self.id())
        os.mkdir(folder)
        for name, text in (("CMakeLists.txt", PROJECT), ("user.cpp", program)):
            with open(os.path.join(folder, name), "w", encoding="utf-8") as file:
                file.write(text)
        run(CMAKE, "-S", folder, "-B", folder, "-G", "Ninja", f"-DCMAKE_PREFIX_PATH={prefix}",
            f"-DWANTED={wanted}", f"-DLIBRARY={library}")
        return folder

    def assert_built_as(self, standard, folder):
        self.assertIn(f"-std=c++{standard} ",
                      run("ninja", "-C", folder, "-t", "commands", "user") + " ")
        run(CMAKE, "--build", folder)
        run(os.path.join(folder, "user"))

    def assert_missing(self, reason, *arguments):
        with self.assertRaises(installed_tree.Failed) as caught:
            self.configure(*arguments)
        self.assertIn(reason, " ".join(str(caught.exception).split()))

    def test_the_library_alone_is_found_and_its_users_are_compiled_as_cxx11(self):
        self.assert_built_as(11, self.configure(self.prefix, "REQUIRED"))

    def test_the_platform_is_found_and_its_users_are_compiled_as_cxx17(self):
        self.assert_built_as(17, self.configure(self.whole, "REQUIRED;COMPONENTS;platform",
                                                "quor::platform", ADMINISTRATION))

    def test_the_library_for_c_is_found(self):
        folder = self.configure(self.whole, "REQUIRED;COMPONENTS;c", "quor::quorc", FOR_C)
        run(CMAKE, "--build", folder)
        run(os.path.join(folder, "user"))

    def test_a_missing_library_for_c_is_told_with_what_to_install(self):
        self.assert_missing("the library for C is not installed: install the component "
                            "c-development, or the Debian package libquorc-dev",
                            self.prefix, "REQUIRED;COMPONENTS;c")

    def test_a_missing_platform_is_told_with_what_to_install(self):
        self.assert_missing("the platform's headers are not installed: install the component "
                            "platform-development, or the Debian package libquor-platform-dev",
                            self.prefix, "REQUIRED;COMPONENTS;platform")

    def test_an_unknown_component_is_told(self):
        self.assert_missing("there is no component planted, only c and platform",
                            self.whole, "REQUIRED;COMPONENTS;platform;planted")

    def test_components_that_are_missing_and_optional_are_no_failure(self):
        self.configure(self.prefix, "REQUIRED;OPTIONAL_COMPONENTS;platform;planted")


if __name__ == "__main__":
    BUILD, CMAKE, ROOT = sys.argv[1:4]
    del sys.argv[1:4]
    unittest.main(verbosity=2)
