# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The built files are hardened as the distributions ask.

    hardening_test.py LIBQUOR LIBQUOR_PLATFORM QUORCTL [TEST...]

Also what the tests of the libraries' symbols do not say of the tool.
"""
import json
import os
import re
import subprocess
import sys
import tempfile
import unittest

FILES = []
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.realpath(__file__))))


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True,
                          env={**os.environ, "LC_ALL": "C"}).stdout


class Hardening(unittest.TestCase):
    def test_all_are_independent_of_their_position(self):
        for path in FILES:
            self.assertRegex(output_of("readelf", "-hW", path), r"Type:\s+DYN", path)
        self.assertRegex(output_of("readelf", "-dW", FILES[-1]), r"FLAGS_1.*PIE")

    def test_all_are_bound_and_made_read_only_at_load(self):
        for path in FILES:
            self.assertRegex(output_of("readelf", "-dW", path), r"FLAGS_1\).*NOW")
            self.assertRegex(output_of("readelf", "-lW", path), "GNU_RELRO")

    def test_nothing_is_writable_and_executable(self):
        for path in FILES:
            segments = output_of("readelf", "-lW", path)
            flags = re.findall(r"^\s+(?:LOAD|GNU_STACK)\s+(?:0x\w+\s+){5}([R ][W ][E ])", segments,
                               re.MULTILINE)
            self.assertGreaterEqual(len(flags), 4, path)
            self.assertNotIn("RWE", flags, path)
            self.assertNotIn("TEXTREL", output_of("readelf", "-dW", path))

    def test_stacks_are_protected(self):
        for path in FILES:
            self.assertIn("__stack_chk_fail", output_of("nm", "-D", "--undefined-only", path))

    def test_the_c_librarys_checked_calls_are_used(self):
        checked = re.compile(r"\b__(v?snprintf|mem\w+|str\w+|read|p?read(64)?)_chk\b")
        # In the platform and the tool, where buffers and formats are.
        for path in FILES[1:]:
            self.assertRegex(output_of("nm", "-D", "--undefined-only", path), checked, path)

    def test_nothing_is_undefined_or_missing(self):
        for path in FILES:
            result = subprocess.run(["ldd", "-r", path], check=True, text=True, capture_output=True,
                                    env={**os.environ, "LC_ALL": "C"})
            self.assertNotRegex(result.stdout + result.stderr, "undefined|not found")

    def test_the_tool_needs_no_other_libraries(self):
        needed = re.findall(r"\(NEEDED\).*\[(.*)\]", output_of("readelf", "-dW", FILES[-1]))
        self.assertLessEqual(set(needed), {
            "libquor.so.1", "libquorc.so.1", "libquor-platform.so.1",
            "libstdc++.so.6", "libgcc_s.so.1", "libc.so.6", "libm.so.6",
            "libyaml-cpp.so.0.7"})

    def test_no_path_of_the_build_is_in_them(self):
        build = os.path.dirname(os.path.dirname(os.path.realpath(FILES[0]))).encode()
        for path in FILES:
            with open(path, "rb") as file:
                self.assertNotIn(build, file.read())


class CheckedCalls(unittest.TestCase):
    """Which level of the C library's checked calls a configured build asks for."""

    def levels(self, build_type, flags):
        with tempfile.TemporaryDirectory(prefix="quor-hardening-") as build:
            output_of("cmake", "-S", ROOT, "-B", build, "-G", "Ninja", "-DQUOR_TESTS=OFF",
                      "-DQUOR_TOOLS=OFF", f"-DCMAKE_BUILD_TYPE={build_type}",
                      f"-DCMAKE_CXX_FLAGS={flags}")
            with open(os.path.join(build, "compile_commands.json"), encoding="utf-8") as file:
                commands = [entry["command"] for entry in json.load(file)
                            if entry["file"].endswith(".cpp")]
        self.assertGreater(len(commands), 10)
        return {" ".join(re.findall(r"-[UD]_FORTIFY_SOURCE\S*", command)) for command in commands}

    def test_they_are_asked_for_where_the_compiler_optimises(self):
        self.assertEqual(self.levels("RelWithDebInfo", ""), {"-D_FORTIFY_SOURCE=2"})
        self.assertEqual(self.levels("None", "-O1"), {"-D_FORTIFY_SOURCE=2"})

    def test_they_are_not_asked_for_where_it_does_not(self):
        self.assertEqual(self.levels("Debug", ""), {""})
        self.assertEqual(self.levels("None", ""), {""})

    def test_the_level_of_a_distribution_is_left_as_it_is(self):
        self.assertEqual(self.levels("None", "-O2 -D_FORTIFY_SOURCE=3"), {"-D_FORTIFY_SOURCE=3"})


if __name__ == "__main__":
    FILES = sys.argv[1:5]
    del sys.argv[1:5]
    unittest.main(verbosity=2)
