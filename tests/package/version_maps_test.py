# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The version maps of the libraries name every exported symbol, each in the node of its release.

    version_maps_test.py ROOT [TEST...]

A pattern in a map would take a new symbol into a node that was released. A program that uses the
symbol would then be thought to run with the first library that has the node, and fail to start.
"""
import os
import re
import sys
import unittest

ROOT = ""
HERE = os.path.dirname(os.path.abspath(__file__))
LIBRARIES = {"libquor": "src/quor.map", "libquorc": "c/quorc.map",
             "libquor-platform": "platform/platform.map"}
PACKAGE_SYMBOLS = {"libquorc": "debian/libquorc1.symbols"}  # others are in libquor1


def read(*path):
    with open(os.path.join(*path), encoding="utf-8") as file:
        return file.read()


def nodes_of(text):
    """The names of each node that others see, by the node's name."""
    text = re.sub(r"/\*.*?\*/|#[^\n]*", "", text, flags=re.DOTALL)
    nodes = {}
    node = r"([\w.]+)\s*\{\s*global:(.*?)(?:local:\s*\*;\s*)?\}\s*[\w.]*\s*;"
    for name, names in re.findall(node, text, flags=re.DOTALL):
        nodes[name] = [part.strip() for part in names.split(";") if part.strip()]
    rest = re.sub(node, "", text, flags=re.DOTALL).strip()
    if rest:
        raise ValueError(f"not a node with a list of names: {rest[:60]}")
    return nodes


def listed_nodes(text):
    """The same from a committed list of exported symbols."""
    nodes = {}
    for name, node in (line.split("@@") for line in text.split()):
        nodes.setdefault(node, []).append(name)
    return nodes


def faults(map_text, list_text):
    """What is wrong with a map, as sentences."""
    nodes, listed = nodes_of(map_text), listed_nodes(list_text)
    found = [f"{name} is not the name of one symbol" for names in nodes.values() for name in names
             if not re.fullmatch(r"\w+", name)]
    for node in sorted(nodes.keys() | listed.keys()):
        mapped, wanted = set(nodes.get(node, [])), set(listed.get(node, []))
        found += [f"{name} is not listed for {node}" for name in sorted(mapped - wanted)]
        found += [f"{name} is missing in {node}" for name in sorted(wanted - mapped)]
    return found


class VersionMaps(unittest.TestCase):
    def setUp(self):
        self.maps = {library: read(ROOT, path) for library, path in LIBRARIES.items()}
        self.lists = {library: read(HERE, library + ".symbols") for library in LIBRARIES}

    def test_each_node_names_the_symbols_that_are_listed_for_it_and_no_others(self):
        for library, text in self.maps.items():
            self.assertEqual(faults(text, self.lists[library]), [], library)
            self.assertGreater(sum(map(len, nodes_of(text).values())), 10, library)

    def test_each_node_has_its_release_in_the_symbols_of_the_package(self):
        for library, map_text in self.maps.items():
            text = read(ROOT, PACKAGE_SYMBOLS.get(library, "debian/libquor1.symbols"))
            section = re.search(rf"^{library}\.so\.\d+ .*\n((?:[ *].*\n)+)", text, re.MULTILINE)
            self.assertEqual(re.findall(r"\(symver\)([\w.]+) [\d.]+$", section.group(1), re.MULTILINE),
                             list(nodes_of(map_text)), library)

    def assert_found(self, pattern, replacement, fault):
        """A change of the platform's map is noticed."""
        text, count = re.subn(pattern, replacement, self.maps["libquor-platform"], count=1,
                              flags=re.DOTALL)
        self.assertEqual(count, 1)
        self.assertIn(fault, faults(text, self.lists["libquor-platform"]))

    def test_a_pattern_in_a_released_node_is_found(self):
        self.assert_found(r"    Base64_\w+;", "    Base64_*;",
                          "Base64_* is not the name of one symbol")

    def test_a_pattern_of_cxx_names_in_a_released_node_is_found(self):
        with self.assertRaisesRegex(ValueError, "not a node with a list of names"):
            faults('NODE_1.0 {\n global:\n extern "C++" { HostPlatform::*; };\n local: *;\n};', "")

    def test_a_new_symbol_in_a_released_node_is_found(self):
        self.assert_found(r"    Str_Sprintf;", "    Str_Sprintf;\n    Str_Planted;",
                          "Str_Planted is not listed for QUOR_PLATFORM_1.0")

    def test_a_symbol_that_went_to_another_node_is_found(self):
        self.assert_found(r"    FeatureList;(.*\};\n)",
                          r"\1QUOR_PLATFORM_1.1 { global: FeatureList; } QUOR_PLATFORM_1.0;\n",
                          "FeatureList is missing in QUOR_PLATFORM_1.0")

    def test_a_new_symbol_in_a_node_of_its_own_is_right(self):
        text = self.maps["libquor-platform"] + (
            "QUOR_PLATFORM_1.1 {\n  global:\n    Str_Planted;\n} QUOR_PLATFORM_1.0;\n")
        listed = self.lists["libquor-platform"] + "Str_Planted@@QUOR_PLATFORM_1.1\n"
        self.assertEqual(faults(text, listed), [])


if __name__ == "__main__":
    ROOT = sys.argv.pop(1)
    unittest.main(verbosity=2)
