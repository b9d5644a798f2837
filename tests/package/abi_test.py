# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The libraries' binary interfaces are those of the committed dumps.

    abi_test.py LIBQUOR LIBQUOR_PLATFORM ROOT [TEST...]
    abi_test.py --write LIBQUOR LIBQUOR_PLATFORM ROOT

A dump holds every exported symbol and the layout of every record that can be reached from one. Any
change fails, also one that old programs would not notice: an addition is written down by the
release that makes it, with --write. The libraries need their debug information.
"""
import os
import re
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree

LIBQUOR = PLATFORM = ROOT = ""
DUMPS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "abi")

# What other headers define is the system's; of it the names stay.
_DUMP = ["abidw", "--exported-interfaces-only", "--drop-private-types", "--no-corpus-path",
         "--no-comp-dir-path", "--no-show-locs"]
_COMPARE = ["abidiff", "--harmless", "--no-show-locs"]


def libraries():
    return {os.path.join(DUMPS, "libquor.abi"): LIBQUOR,
            os.path.join(DUMPS, "libquorc.abi"): os.path.join(os.path.dirname(LIBQUOR),
                                                               "libquorc.so.1"),
            os.path.join(DUMPS, "libquor-platform.abi"): PLATFORM}


def write_dump(library, path):
    headers = [option for folder in ("include", "platform/include")
               for option in ("--headers-dir", os.path.join(ROOT, folder))]
    subprocess.run([*_DUMP, *headers, "--out-file", path, library], check=True)


def differences(before, after):
    """What abidiff says of two dumps; empty when they are of one interface."""
    result = subprocess.run([*_COMPARE, before, after], check=False, capture_output=True, text=True)
    if result.returncode & 3:
        raise RuntimeError(f"abidiff could not compare: {result.stdout}{result.stderr}")
    return result.stdout if result.returncode else ""


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


class Abi(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory(prefix="quor-abi-")
        self.addCleanup(directory.cleanup)
        self.path = os.path.join(directory.name, "dump.abi")

    def test_the_libraries_are_as_the_committed_dumps_say(self):
        for dump, library in libraries().items():
            write_dump(library, self.path)
            found = differences(dump, self.path)
            self.assertEqual(found, "", f"\n{library}: not the interface of {dump}\n{found}")

    def test_the_dumps_hold_symbols_and_layouts(self):
        for dump, record, member in (("libquor.abi", "QuorPolicyInfo", "generationNumber"),
                                     ("libquorc.abi", "quor_bytes", "reserved"),
                                     ("libquor-platform.abi", "StoredFile", "modified")):
            tree = xml.etree.ElementTree.parse(os.path.join(DUMPS, dump))
            self.assertGreaterEqual(len(tree.findall(".//elf-symbol")), 11)
            places = tree.findall(f".//class-decl[@name='{record}']/data-member/"
                                  f"var-decl[@name='{member}']")
            self.assertEqual(len(places), 1, record)

    def plant(self, dump, pattern, replacement):
        """Differences between a committed dump and the same with one thing changed."""
        path = os.path.join(DUMPS, dump)
        text, count = re.subn(pattern, replacement, read(path), count=1)
        self.assertEqual(count, 1, pattern)
        xml.etree.ElementTree.fromstring(text)  # what is compared is still a dump
        with open(self.path, "w", encoding="utf-8") as file:
            file.write(text)
        return differences(path, self.path)

    def test_a_symbol_that_disappears_is_found(self):
        found = self.plant("libquor.abi",
                           r"\s*<elf-symbol name='_ZN7TavQuor7QuorLib4InitEv'.*/>", "")
        self.assertIn("QuorLib::Init", found)

    def test_a_symbol_of_another_version_is_found(self):
        found = self.plant("libquor.abi", r"(QuorLib5ResetEv' version=')QUOR_1\.0'", r"\1QUOR_2.0'")
        self.assertIn("Reset", found)

    def test_a_field_at_another_place_is_found(self):
        found = self.plant("libquor.abi",
                           r"(layout-offset-in-bits=')448('>\s*<var-decl name='policyId')",
                           r"\g<1>704\2")
        self.assertIn("'std::string policyId' offset changed", found)

    def test_a_larger_record_is_found(self):
        found = self.plant("libquor.abi", r"(name='QuorDatastoreInfo' size-in-bits=')768'",
                           r"\g<1>832'")
        self.assertIn("type size changed from 768 to 832", found)

    def test_another_number_of_an_error_code_is_found(self):
        found = self.plant("libquor-platform.abi",
                           r"(<enumerator name='kCorrupt' value=')2'", r"\g<1>12'")
        self.assertIn("kCorrupt", found)


if __name__ == "__main__":
    writes = sys.argv[1] == "--write"
    if writes:
        sys.argv.pop(1)
    LIBQUOR, PLATFORM, ROOT = sys.argv[1:4]
    del sys.argv[1:4]
    if writes:
        os.makedirs(DUMPS, exist_ok=True)
        for dump_path, built in libraries().items():
            write_dump(built, dump_path)
    else:
        unittest.main(verbosity=2)
