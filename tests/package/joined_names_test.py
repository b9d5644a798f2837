# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Functions of unnamed namespaces have names that no other source of their program has there.

    joined_names_test.py ROOT [TEST...]

Most builds compile several sources as one. Two functions of one name with other parameters are then
overloads, and a call may mean the other source's function without a word from the compiler.
"""
import collections
import os
import re
import sys
import unittest

import source_tree

ROOT = ""
# Folders whose sources may be compiled as one.
PROGRAMS = ["c/src", "platform/src", "src", "tools/catalogue", "tools/fleet", "tools/quor-agent",
            "tools/quor-publish", "tools/quorctl"]
NAMED = re.compile(r"^namespace (\S+) \{$(.*?)^\}  // namespace \1$", re.M | re.S)
UNNAMED = re.compile(r"^namespace \{$(.*?)^\}  // namespace$", re.M | re.S)
FUNCTION = re.compile(r"^(?!using |namespace |//)[a-zA-Z\[][\w:<>&*,\[\] ]*[ &*](\w+)\(", re.M)


def unnamed_functions(text):
    """(namespace, function) for each function that is defined in an unnamed namespace."""
    for around, within in [*NAMED.findall(text), ("", NAMED.sub("", text))]:
        for body in UNNAMED.findall(within):
            yield from ((around, function) for function in FUNCTION.findall(body))


def repeated(sources):
    """One line for each name that several sources of a program have; `sources` are texts by paths."""
    found = collections.defaultdict(set)
    for path, text in sources.items():
        for program in PROGRAMS:
            if path.startswith(program + "/"):
                for namespace, function in unnamed_functions(text):
                    found[program, namespace, function].add(path)
    return [f"{function}: " + ", ".join(sorted(paths))
            for (_, _, function), paths in sorted(found.items()) if len(paths) > 1]


class JoinedNames(unittest.TestCase):
    def test_the_tree_repeats_none(self):
        sources = {}
        for path in source_tree.files(ROOT, "c", "platform", "src", "tools"):
            if path.endswith(".cpp"):
                with open(os.path.join(ROOT, path), encoding="utf-8") as file:
                    sources[path] = file.read()
        self.assertGreater(sum(len(list(unnamed_functions(text))) for text in sources.values()), 400)
        self.assertEqual(repeated(sources), [])

    def test_a_repeated_name_is_found_and_nothing_else(self):
        def source(namespace, function):
            return (f"namespace {namespace} {{\nnamespace {{\n\nint {function}(int number) {{\n"
                    f"  return Other(number);\n}}\n\n}}  // namespace\n}}  // namespace {namespace}\n")
        one, other = "tools/quorctl/one.cpp", "tools/quorctl/commands/other.cpp"
        self.assertEqual(repeated({one: source("A", "Same"), other: source("A", "Same")}),
                         [f"Same: {other}, {one}"])
        for text in (source("A", "Differs"), source("B", "Same"), "int Same() {\n  return 1;\n}\n"):
            self.assertEqual(repeated({one: source("A", "Same"), other: text}), [])
        self.assertEqual(repeated({one: source("A", "Same"), "src/other.cpp": source("A", "Same")}), [])


if __name__ == "__main__":
    ROOT = sys.argv.pop(1)
    unittest.main()
