# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The public header and the platform's headers compile alone, without a warning.

    headers_test.py ROOT [TEST...]
"""
import glob
import os
import re
import subprocess
import sys
import unittest

import source_tree

ROOT = ""

CXX_COMPILERS = ["g++", "clang++"]
WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Wconversion", "-Wsign-conversion", "-Wshadow",
            "-Wold-style-cast", "-Wnon-virtual-dtor", "-Werror"]
C_WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Wconversion", "-Wshadow", "-Wstrict-prototypes",
              "-Werror"]


def compile_header(compiler, language, header, *options):
    """Compiles a file that includes the header twice; returns the finished process."""
    text = f'#include "{header}"\n#include "{header}"\n'
    return subprocess.run(
        [compiler, "-fsyntax-only", "-x", language, *options, "-"],
        input=text, capture_output=True, text=True, env={**os.environ, "LC_ALL": "C"}, check=False)


class HeadersTest(unittest.TestCase):
    def assert_compiles(self, compiler, language, header, *options):
        with self.subTest(compiler=compiler, header=header, options=options[0]):
            result = compile_header(compiler, language, header, *options)
            self.assertEqual((result.returncode, result.stderr), (0, ""))


class PublicHeader(HeadersTest):
    HEADER = "quor/quor_lib.h"

    def setUp(self):
        self.include = "-I" + os.path.join(ROOT, "include")

    def test_compiles_alone_from_cxx11_to_cxx20(self):
        for compiler in CXX_COMPILERS:
            for standard in ("11", "14", "17", "20"):
                self.assert_compiles(compiler, "c++", self.HEADER, f"-std=c++{standard}",
                                     *WARNINGS, self.include)

    def assert_refuses(self, compiler, option, message):
        with self.subTest(compiler=compiler):
            result = compile_header(compiler, "c++", self.HEADER, "-std=c++11", option,
                                    self.include)
            self.assertNotEqual(result.returncode, 0)
            self.assertRegex(result.stderr, 'error: (#error )?"' + re.escape(message))

    def test_refuses_the_old_string_abi_with_a_reason(self):
        for compiler in CXX_COMPILERS:
            self.assert_refuses(compiler, "-D_GLIBCXX_USE_CXX11_ABI=0",
                                "libquor passes std::string across its interface in the C++11 ABI; "
                                "build this program without -D_GLIBCXX_USE_CXX11_ABI=0")

    def test_refuses_debug_mode_with_a_reason(self):
        for compiler in CXX_COMPILERS:
            self.assert_refuses(compiler, "-D_GLIBCXX_DEBUG",
                                "libquor passes std::vector across its interface as it is without "
                                "debug mode; build this program without -D_GLIBCXX_DEBUG")

    def test_refuses_another_standard_library_with_a_reason(self):
        self.assert_refuses("clang++", "-stdlib=libc++",
                            "libquor passes strings and vectors of the GNU C++ library; build this "
                            "program with libstdc++")

    def test_takes_the_checks_that_change_no_layout(self):
        for compiler in CXX_COMPILERS:
            self.assert_compiles(compiler, "c++", self.HEADER, "-D_GLIBCXX_ASSERTIONS",
                                 self.include)


class HeaderForC(HeadersTest):
    HEADER = "quor/quor.h"

    def setUp(self):
        self.include = "-I" + os.path.join(ROOT, "include")

    def test_compiles_alone_as_each_c_and_each_cxx(self):
        for c, cxx in (("gcc", "g++"), ("clang", "clang++")):
            for standard in ("c89", "c99", "c11", "c17"):
                self.assert_compiles(c, "c", self.HEADER, f"-std={standard}", *C_WARNINGS,
                                     self.include)
            for standard in ("11", "20"):
                self.assert_compiles(cxx, "c++", self.HEADER, f"-std=c++{standard}", *WARNINGS,
                                     self.include)

    def test_needs_no_cxx_library(self):
        self.assert_compiles("clang++", "c++", self.HEADER, "-stdlib=libc++", *WARNINGS,
                             self.include)


class PlatformHeaders(HeadersTest):
    def setUp(self):
        folder = os.path.join(ROOT, "platform", "include")
        self.include = "-I" + folder
        self.headers = sorted(os.path.relpath(path, folder) for path in
                              glob.glob(os.path.join(folder, "**", "*.h"), recursive=True))
        self.assertNotEqual(self.headers, [])

    def test_compile_alone_as_cxx17_and_cxx20(self):
        for compiler, standard in zip(CXX_COMPILERS, ("17", "20")):
            for header in self.headers:
                self.assert_compiles(compiler, "c++", header, f"-std=c++{standard}",
                                     *WARNINGS, self.include)

    def test_those_with_c_linkage_compile_as_c11(self):
        c_headers = [header for header in self.headers if self._has_c_linkage(header)]
        for name in ("feature_list.h", "base64.h", "crypto_hash.h", "str.h"):
            self.assertIn("platform/" + name, c_headers)
        for header in c_headers:
            self.assert_compiles("gcc", "c", header, "-std=c11", *C_WARNINGS, self.include)

    def test_no_type_depends_on_the_width_of_long_or_on_macros_for_large_files(self):
        for header in self.headers + [
                "../../include/" + header for header in (PublicHeader.HEADER, HeaderForC.HEADER)]:
            with open(os.path.join(self.include[len("-I"):], header), encoding="utf-8") as file:
                code = re.sub(r"//[^\n]*|/\*.*?\*/", "", file.read(), flags=re.DOTALL)
            found = re.findall(r"\b(?:(?<!long )long(?! long)|off_t|time_t|ino_t|timespec|"
                               r"struct stat)\b", code)
            self.assertEqual(found, [], header)

    def test_the_page_for_hosts_tells_how_many_the_library_uses(self):
        includes = set()
        for path in source_tree.files(ROOT, "src", "platform/include"):
            with open(os.path.join(ROOT, path), encoding="utf-8") as file:
                includes |= set(re.findall(r'^#include "(\S+)"', file.read(), re.MULTILINE))
        used = includes & set(self.headers)
        self.assertEqual(set(self.headers) - used, {"platform/admin.h"})
        with open(os.path.join(ROOT, "docs", "platform.md"), encoding="utf-8") as file:
            told = re.findall(r"\b(\d+) headers\b", file.read())
        self.assertEqual(told, [str(len(used))] * 2)

    def _has_c_linkage(self, header):
        with open(os.path.join(self.include[len("-I"):], header), encoding="utf-8") as file:
            return 'extern "C"' in file.read()


if __name__ == "__main__":
    ROOT = sys.argv.pop(1)
    unittest.main(verbosity=2)
