# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""What the built libraries export, need and promise the loader.

    built_libraries_test.py LIBQUOR LIBQUOR_PLATFORM CONSUMER [TEST...]
    built_libraries_test.py --write LIBQUOR LIBQUOR_PLATFORM CONSUMER

CONSUMER is a program that uses every entry point of libquor. With --write the committed lists of
exported symbols are made anew from the libraries: to be done when a release adds a symbol. What a
release had in its version nodes is never written anew.
"""
import os
import re
import subprocess
import sys
import unittest

LIBQUOR = PLATFORM = CONSUMER = ""
HERE = os.path.dirname(os.path.abspath(__file__))
RELEASED = {"QUOR_1.0", "QUOR_PLATFORM_1.0"}  # version nodes; a release adds its own
QUOR_LIST = os.path.join(HERE, "libquor.symbols")
PLATFORM_LIST = os.path.join(HERE, "libquor-platform.symbols")
C_LIST = os.path.join(HERE, "libquorc.symbols")

# What an exported C++ symbol is a part of, once demangled, and the platform's C functions and data.
QUOR_NAMES = r"TavQuor::QuorLib::\w+(\[abi:cxx11\])?\("
PLATFORM_NAMES = (
    r"((typeinfo|typeinfo name|vtable) for )?"
    r"(Brisk::(Lib|Misc)|TavConfigStore|ZynCtl::Config|HostPlatform)::"
    r"|(Base64_EasyEncode|Base64_EasyDecode|CryptoHash_ComputeMD5(OfEach)?|Str_Sprintf|FeatureList)$")

C_NAMES = r"quor_\w+$"

RUNTIME = {"libstdc++.so.6", "libgcc_s.so.1", "libc.so.6"}
QUOR_MAY_NEED = RUNTIME | {"libquor-platform.so.1"}
C_MAY_NEED = RUNTIME | {"libquor.so.1"}
PLATFORM_MAY_NEED = RUNTIME | {"libmd.so.0"}


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True,
                          env={**os.environ, "LC_ALL": "C"}).stdout


def exported(library):
    """Names with their version of all symbols that the library defines, sorted."""
    lines = output_of("nm", "-D", "--defined-only", library).splitlines()
    kinds_and_names = (line.split()[-2:] for line in lines)
    # An absolute symbol names the version node itself.
    return sorted(name for kind, name in kinds_and_names if kind != "A")


def beside(libquor):
    """The library for C, which is built into the same directory."""
    return os.path.join(os.path.dirname(libquor), "libquorc.so.1")


def committed(path):
    with open(path, encoding="utf-8") as file:
        return [line.strip() for line in file if line.strip()]


def demangled(name):
    return output_of("c++filt", name.split("@")[0]).strip()


class BuiltLibrary:
    """The tests of one library; a class below says which."""

    library = symbols = names = version = soname = ""
    may_need = set()

    def test_exports_exactly_the_committed_symbols(self):
        listed = committed(self.symbols)
        self.assertNotEqual(listed, [])
        self.assertEqual(exported(self.library), listed)

    def test_every_exported_name_is_of_this_project(self):
        for name in exported(self.library):
            self.assertRegex(demangled(name), "^(" + self.names + ")")
            self.assertTrue(name.endswith("@@" + self.version), name)

    def test_no_symbol_keeps_the_library_loaded(self):
        # A symbol that is unique in the process makes dlclose() do nothing.
        unique = [line for line in output_of("nm", "-D", self.library).splitlines()
                  if re.search(r" u ", line)]
        self.assertEqual(unique, [])

    def test_needs_only_the_agreed_libraries(self):
        needed = set(re.findall(r"\(NEEDED\).*\[(.*)\]", self._dynamic_section()))
        self.assertIn("libc.so.6", needed)
        self.assertLessEqual(needed, self.may_need)

    def test_has_its_soname(self):
        self.assertRegex(self._dynamic_section(), rf"\(SONAME\).*\[{re.escape(self.soname)}\]")

    def test_has_no_undefined_symbol(self):
        result = subprocess.run(["ldd", "-r", self.library], check=True, text=True,
                                capture_output=True, env={**os.environ, "LC_ALL": "C"})
        self.assertNotIn("undefined", result.stdout + result.stderr)
        self.assertNotIn("not found", result.stdout + result.stderr)

    def test_is_bound_and_made_read_only_at_load(self):
        self.assertRegex(self._dynamic_section(), r"\(FLAGS\).*BIND_NOW|\(FLAGS_1\).*NOW")
        self.assertRegex(self._segments(), r"GNU_RELRO")

    def test_needs_no_executable_stack_and_no_relocation_in_its_code(self):
        stack = re.search(r"GNU_STACK\s+(?:0x\w+\s+){5}([RWE ]{3})", self._segments())
        self.assertIsNotNone(stack)
        self.assertEqual(stack.group(1).strip(), "RW")
        self.assertNotIn("TEXTREL", self._dynamic_section())

    def _dynamic_section(self):
        return output_of("readelf", "-dW", self.library)

    def _segments(self):
        return output_of("readelf", "-lW", self.library)


class LibQuor(BuiltLibrary, unittest.TestCase):
    symbols, names, version, soname = QUOR_LIST, QUOR_NAMES, "QUOR_1.0", "libquor.so.1"
    may_need = QUOR_MAY_NEED

    def setUp(self):
        self.library = LIBQUOR

    def test_destroys_nothing_at_the_end_of_the_program(self):
        # Exit handlers, and threads that still run, call after the library's destructors.
        imported = output_of("nm", "-D", "--undefined-only", self.library)
        self.assertIn("__cxa_throw", imported)
        self.assertNotIn("__cxa_atexit", imported)

    def test_every_exported_symbol_is_used_by_the_consumer(self):
        lines = output_of("nm", "-D", "--undefined-only", CONSUMER).splitlines()
        used = sorted(line.split()[-1].replace("@", "@@") for line in lines if "7QuorLib" in line)
        self.assertEqual(used, exported(LIBQUOR))


class LibQuorPlatform(BuiltLibrary, unittest.TestCase):
    symbols, names = PLATFORM_LIST, PLATFORM_NAMES
    version, soname = "QUOR_PLATFORM_1.0", "libquor-platform.so.1"
    may_need = PLATFORM_MAY_NEED

    def setUp(self):
        self.library = PLATFORM


class LibQuorC(BuiltLibrary, unittest.TestCase):
    symbols, names, version, soname = C_LIST, C_NAMES, "QUORC_1.0", "libquorc.so.1"
    may_need = C_MAY_NEED

    def setUp(self):
        self.library = beside(LIBQUOR)

    def test_destroys_nothing_at_the_end_of_the_program(self):
        self.assertNotIn("__cxa_atexit", output_of("nm", "-D", "--undefined-only", self.library))


class ReleasedNodes(unittest.TestCase):
    def setUp(self):
        self.before = committed(PLATFORM_LIST)
        self.assertEqual(changed_releases(self.before, self.before), [])

    def test_a_new_symbol_in_one_is_not_written(self):
        planted = "_ZN12HostPlatform7PlantedEv@@QUOR_PLATFORM_1.0"
        self.assertEqual(changed_releases(self.before, self.before + [planted]), [planted])

    def test_a_symbol_that_one_lost_is_not_written(self):
        self.assertEqual(changed_releases(self.before, self.before[1:]), self.before[:1])

    def test_a_new_symbol_in_a_new_one_is_written(self):
        after = self.before + ["_ZN12HostPlatform7PlantedEv@@QUOR_PLATFORM_1.1"]
        self.assertEqual(changed_releases(self.before, after), [])


def changed_releases(before, after):
    """Symbols that came into a released node or went out of it."""
    return sorted(name for name in set(before) ^ set(after) if name.split("@@")[1] in RELEASED)


def write_lists():
    lists = {path: exported(library)
             for library, path in ((LIBQUOR, QUOR_LIST), (PLATFORM, PLATFORM_LIST),
                                   (beside(LIBQUOR), C_LIST))}
    for path, names in lists.items():
        changed = changed_releases(committed(path), names)
        if changed:
            sys.exit(f"{path} is left as it is. Not the symbols of the release, give new ones a node "
                     "of their own:\n" + "\n".join(changed))
    for path, names in lists.items():
        with open(path, "w", encoding="utf-8") as file:
            file.writelines(name + "\n" for name in names)


if __name__ == "__main__":
    writes = sys.argv[1] == "--write"
    if writes:
        sys.argv.pop(1)
    LIBQUOR, PLATFORM, CONSUMER = sys.argv[1:4]
    del sys.argv[1:4]
    if writes:
        write_lists()
    else:
        unittest.main(verbosity=2)
