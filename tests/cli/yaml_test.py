# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Catalogue documents in YAML: what is written is read back by quorctl and by another reader as the
same, and what is wrong is told with the line in which it stands."""
import json
import os
import sys
import unittest

from quorctl_case import (BAD_INPUT, DONE, EXAMPLE, USAGE, QuorctlCase, blob, datastore, document,
                          policy)

try:
    import yaml
except ImportError:  # another Python than the system's
    sys.path.append("/usr/lib/python3/dist-packages")
    import yaml

HAND_WRITTEN = """\
# The catalogue of one host.
format: quor-catalogue/1
policies:
  - id: gold-01
    name: 'Gold: fast'
    description: >-
      two copies,
      on flash
    generation: 007
    blobs:
      - namespace: RILK
        text: |
          copies = 2
            tier = "flash"
      - {namespace: VOLB, base64: "AAECAw=="}
datastores:
  - url: ds:///a/
    namespace: RILK
    defaultPolicy: gold-01
"""
TEXTS = ["", " ", "no", "NULL", "~", "123", "-5", "1.5", "2026-11-22", "0x1f", "a: b", "a #b", "- a", "a:",
         "ds:///a/", "*a", "&a", "!a", "%a", "@a", "{a}", "[a]", "a\tb", "a\nb", "a\nb\n", "a\n\nb\n\n", "\na",
         " a\nb", "a \nb ", "a\n b\n", "a\r\nb", 'a"b', "a\\b", "ü", "\x1b[31m", "\x85", "\u2028", "\ufeffa",
         "\u202eabc", "\U0001f600", "\U000e0001", "yes\n", "a\n# b", "a\n---\nb", "<<", "=", "'", "a'"]


class Yaml(QuorctlCase):
    def refuse_text(self, text, message, name="wrong.yaml"):
        path = self.write(name, text)
        self.refuse(BAD_INPUT, "apply", "--yes", path, message=message)

    def test_WhatAPersonWritesIsApplied(self):
        self.ask("apply", self.write("host.yaml", HAND_WRITTEN))
        self.assertEqual(self.listed_document(), document(
            [policy("Gold: fast", id="gold-01", description="two copies, on flash", generation=7,
                    blobs=[blob(text='copies = 2\n  tier = "flash"\n'),
                           blob("VOLB", base64="AAECAw==")])],
            [datastore(namespace="RILK", defaultPolicy="gold-01")]))

    def test_TheExampleComesBackAsItIs(self):
        self.ask("apply", EXAMPLE)
        text = self.ask("export", "-o", "yaml").text
        self.assertEqual(yaml.safe_load(text), json.loads(self.ask("export").text))
        self.assertEqual(self.run_quorctl("diff", "-", given=text.encode()).status, DONE)
        self.assertEqual(self.run_quorctl("diff", self.write("a.yml", text)).status, DONE)
        policies = self.ask("get", "policies", "-o", "yaml").text
        self.assertEqual(yaml.safe_load(policies), json.loads(self.ask("get", "policies", "-o", "json").text))
        self.assertEqual(self.ask("history", "show", "1", "-o", "yaml").text.splitlines()[0],
                         "format: quor-catalogue/1")

    def test_AnyTextComesBackAsItIs(self):
        self.apply(document([policy(f"P{i:02}", description=text, blobs=[blob(text=text)])
                             for i, text in enumerate(TEXTS)]))
        before = self.listed_document()
        text = self.ask("export", "-o", "yaml").text
        self.assertEqual(yaml.safe_load(text), json.loads(self.ask("export").text))
        self.assertNotIn("\x1b", text)
        self.assertNotIn("\u202e", text)
        self.ask("reset", "--yes")
        self.ask("apply", self.write("back.yaml", text))
        self.assertEqual(self.listed_document(), before)

    def test_EmptyCatalogueAndEmptyListing(self):
        self.apply(document())
        self.assertIn("policies: []\ndatastores: []\n", self.ask("export", "-o", "yaml").text)
        self.assertEqual(self.ask("get", "policies", "-o", "yaml").text, "[]\n")

    def test_NamesTellYamlFromJson(self):
        as_json = json.dumps(document([policy()]))
        self.ask("apply", self.write("json.yaml", as_json))  # JSON is YAML
        self.ask("apply", self.write("neither", HAND_WRITTEN), "--yes")
        self.refuse(BAD_INPUT, "apply", self.write("yaml.json", HAND_WRITTEN), message="line 1, column 1")

    def test_WhatIsWrongIsToldWithItsLine(self):
        def changed(old, new):
            self.assertEqual(HAND_WRITTEN.count(old), 1)
            return HAND_WRITTEN.replace(old, new)
        for text, message in (
                (changed("generation: 007", "generation: many"),
                 "wrong.yaml: line 9: policies[0].generation: expected an integer from"),
                (changed("id: gold-01\n", "id: 17\n"), "line 4: policies[0].id: expected a string or"),
                (changed("AAECAw==", "AAE"), 'line 15: policies[0].blobs[1].base64: not valid Base64'),
                (changed("  - url", "  - kind: 1\n    url"),
                 'line 17: datastores[0]: unknown key "kind"'),
                (changed("defaultPolicy: gold-01", "defaultPolicy: ~"),
                 "line 19: datastores[0].defaultPolicy: expected a string"),
                (changed("    namespace: RILK\n    d", "    url: x\n    namespace: RILK\n    d"),
                 'line 18: datastores[0]: the key "url" is given twice'),
                (changed("  - id", "\t- id"), "wrong.yaml: line 4, column"),
                (changed("'Gold: fast'", "Gold: fast"), "line 5, column 15: "),
                (changed("gold-01\n    name", "&id gold-01\n    name").replace(": gold-01", ": *id"),
                 "line 19, column 20: aliases (*name) are not taken; write out what it stands for"),
                (changed("id: gold-01", "id: !!binary AAAA"), "line 4, column 9: tags (!name) are not taken"),
                (HAND_WRITTEN + "---\nmore: 1\n", "line 20, column 1: a second document begins"),
                (changed("format:", "[a]: 1\nformat:"), "a key is to be text"),
                (changed("format:", "~: 1\nformat:"), "a key is to be text"),
                ("[" * 100_000, "wrong.yaml: "), ("# nothing\n", "wrong.yaml: "), ("", "wrong.yaml: "),
                (b"format: \xff\n", "wrong.yaml: ")):
            with self.subTest(message):
                self.refuse_text(text, message)

    def test_EditInYaml(self):
        self.ask("apply", self.write("host.yaml", HAND_WRITTEN))
        editor = self.write("editor", """#!/bin/sh
            if grep -q '^# ' "$1"; then cp "$1" seen; sed -i 's/: many/: 8/' "$1"
            else sed -i 's/generation: 7/generation: many/' "$1"; fi""")
        os.chmod(editor, 0o755)
        result = self.run_quorctl("edit", "--yaml", cwd=self.directory, environment=self.environment(
            EDITOR=editor, TMPDIR=self.directory))
        self.assertEqual((result.status, result.errors), (DONE, ""))
        with open(os.path.join(self.directory, "seen"), encoding="utf-8") as file:
            seen = file.read()
        self.assertRegex(seen, r"generation: many\n# line \d+: policies\[0\].generation: expected an integer")
        self.assertEqual(self.listed("policies")[0]["generation"], 8)

    def test_UnknownFormIsRefused(self):
        self.refuse(USAGE, "export", "-o", "toml", message='unknown form of a document "toml"; choose json or yaml')
        self.refuse(USAGE, "get", "policies", "-o", "yaml", "--no-headings", message="have no headings")


if __name__ == "__main__":
    unittest.main()
