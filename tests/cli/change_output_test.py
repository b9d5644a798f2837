# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""What a change tells a script: -o json, --check and --quiet of every changing command."""
import json
import shutil
import unittest

from quorctl_case import (DONE, NO, NOT_CONFIRMED, USAGE, QuorctlCase, datastore, document,
                          entries_of, policy, without_lock_files)

OLD = document([policy("Gold"), policy("Silver")], [datastore()])
NEW = document([policy("Gold", generation=2), policy("New")], [datastore()])
NONE = {"deleted": 0, "added": 0, "changed": 0}


class ChangeOutput(QuorctlCase):
    def setUp(self):
        super().setUp()
        self.new = self.write("new.json", json.dumps(NEW))

    def changes(self):
        """Every way to change OLD, with the counts of policies and datastores."""
        return [(["apply", self.new], {"deleted": 1, "added": 1, "changed": 1}, NONE),
                (["restore", "2"], {"deleted": 1, "added": 0, "changed": 0}, NONE),
                (["migrate", "--to", "file"], {**NONE, "added": 2}, {**NONE, "added": 1}),
                (["set", "policy", "Gold", "generation=+1"], {**NONE, "changed": 1}, NONE),
                (["add", "policy", "x", "X"], {**NONE, "added": 1}, NONE),
                (["delete", "datastore", "ds:///a/"], NONE, {**NONE, "deleted": 1}),
                (["rename", "policy", "Gold", "id=x"], {**NONE, "changed": 1}, NONE),
                (["reset"], {**NONE, "deleted": 2}, {**NONE, "deleted": 1})]

    def start_anew(self):
        """The host holds OLD, and number 2 of its history one policy of it."""
        shutil.rmtree(self.host, ignore_errors=True)
        self.apply(document(OLD["policies"][:1], OLD["datastores"]))
        self.apply(OLD)

    def told(self, *words, status=DONE):
        result = self.run_quorctl(*words, "--yes", "-o", "json")
        self.assertEqual((result.status, result.errors), (status, ""), words)
        self.assertEqual(result.text.count("\n"), 1)
        return json.loads(result.text)

    def test_JsonTellsWhatWasDone(self):
        for words, policies, datastores in self.changes():
            self.start_anew()
            told = self.told(*words)
            digests = told.pop("digests")
            store = "file" if words[0] == "migrate" else "store"
            note = ("the switch selects the configuration store: programs do not see this one\n"
                    if store == "file" else "")
            self.assertEqual(told, {"policies": policies, "datastores": datastores, "changed": True,
                                    "differs": True, "store": store, "note": note}, words)
            self.assertEqual(json.loads(self.ask("digest", "-o", "json").text), digests)

    def test_JsonTellsThatNothingDiffers(self):
        self.apply(NEW)
        for words in (["apply", self.new], ["set", "policy", "Gold", "generation=2"]):
            told = self.told(*words)
            self.assertEqual((told["changed"], told["differs"], told["policies"]), (False, False, NONE))

    def test_CheckWritesNothingAndTellsByTheStatus(self):
        self.start_anew()
        for words, policies, _ in self.changes():
            before = without_lock_files(entries_of(self.host))
            result = self.run_quorctl(*words, "--check")
            self.assertEqual((result.status, result.errors), (NO, ""), words)
            self.assertRegex(result.text.splitlines()[-1 if words[0] != "migrate" else -2], "^would ")
            told = self.told(*words, "--check", status=NO)
            self.assertEqual((told["changed"], told["differs"], told["policies"]),
                             (False, True, policies))
            self.assertEqual(without_lock_files(entries_of(self.host)), before, words)

    def test_CheckOfWhatIsSoAlready(self):
        self.apply(NEW)
        self.ask("apply", "--check", self.new)
        self.ask("set", "policy", "Gold", "--check", "generation=2")
        self.ask("reset", "--yes")
        self.assertIn("nothing is stored in", self.ask("reset", "--check").text)

    def test_QuietPrintsNothing(self):
        self.apply(OLD)
        self.assertEqual(self.run_quorctl("apply", "--check", "-q", self.new).raw, b"")
        result = self.refuse(NOT_CONFIRMED, "apply", "--quiet", self.new)
        self.assertIn("confirm with --yes", result.errors)
        self.assertEqual(self.ask("apply", "--quiet", "--yes", self.new).raw, b"")
        self.assertEqual(self.listed_document(), NEW)

    def test_ADamagedFileThatWasPutAsideIsNoted(self):
        self.apply(OLD)
        with open(self.snapshot_path(), "wb") as file:
            file.write(b"damaged")
        self.assertIn(".damaged-", self.told("apply", "--replace-damaged", self.new)["note"])

    def test_WhatMakesNoSenseIsRefused(self):
        self.refuse(USAGE, "apply", "-o", "csv", self.new, message="choose table or json")
        self.refuse(USAGE, "apply", "-o", "json", "-q", self.new, message="exclude each other")


class Names(QuorctlCase):
    def test_NamesAlone(self):
        self.apply(NEW)
        for command in ("get", "list"):
            self.assertEqual(self.ask(command, "policies", "-o", "name").text, "id-Gold\nid-New\n")
            self.assertEqual(self.ask(command, "datastores", "-o", "name").text, "ds:///a/\n")
        self.assertEqual(self.ask("get", "policies", "-o", "name", "--where", "generation=2").text,
                         "id-Gold\n")
        self.refuse(USAGE, "get", "policies", "-o", "name", "--fields", "id",
                    message="exclude each other")
        self.refuse(USAGE, "get", "policies", "-o", "x", message="json, jsonl, yaml, name, csv or csv-raw")
        self.refuse(USAGE, "check", "-o", "name", message="unknown output format")


if __name__ == "__main__":
    unittest.main()
