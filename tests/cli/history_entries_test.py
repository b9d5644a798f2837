# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Entries of the history that are not what quorctl wrote, and those that a user may not read."""
import hashlib
import json
import os
import re
import unittest

from quorctl_case import (BAD_INPUT, DONE, NO, PERMISSION, QuorctlCase, blob, datastore,
                          document, policy)
from stranger import become_stranger

DIGEST = "0123456789abcdef" * 2


class Entries(QuorctlCase):
    def setUp(self):
        super().setUp()
        self.content = document([policy("A")], [datastore(defaultPolicy="id-A")])
        self.apply(self.content)
        self.apply(document([policy("B")], [datastore(defaultPolicy="id-B")]))
        self.folder = os.path.join(self.host, "history")

    def numbers(self):
        return [e["number"] for e in json.loads(self.ask("history", "-o", "json").text)]

    def path_of(self, number, digests="-.-", policies=0):
        return os.path.join(
            self.folder, f"{number}.20261120T000000Z.apply.store.{policies}.0.{digests}.json")

    def path_kept(self, number):
        [name] = [n for n in os.listdir(self.folder) if n.startswith(f"{number}.")]
        return os.path.join(self.folder, name)

    def add(self, path, content):
        with open(path, "w", encoding="utf-8") as file:
            json.dump(content, file)
        os.chmod(path, 0o640)
        return path

    def findings(self, status=NO):
        result = self.run_quorctl("check", "-o", "json")
        self.assertEqual((result.status, result.errors), (status, ""), result.text)
        return json.loads(result.text)

    def test_PipeIsNotWaitedFor(self):
        os.mkfifo(self.path_of(5))
        self.assertEqual(self.numbers(), [3, 2, 1])
        self.findings(status=DONE)
        self.apply(self.content)

    def test_DirectoryAndLinkArePassedOver(self):
        os.mkdir(self.path_of(5))
        os.symlink(self.path_kept(2), self.path_of(6))
        self.assertEqual(self.numbers(), [3, 2, 1])
        for generation in range(21):  # until the oldest are removed
            self.apply(document([policy(generation=generation)]))
        self.findings(status=DONE)

    def test_NumbersThatCannotBeGoneOnFromArePassedOver(self):
        for number in (2**64 - 1, 2**63, 2**63 - 1):
            self.add(self.path_of(number), document())
        self.assertEqual(self.numbers(), [3, 2, 1])
        self.add(self.path_of(2**63 - 2), document())
        self.assertEqual(self.numbers(), [2**63 - 2, 3, 2, 1])

    def test_DigestsThatNoCatalogueHasAreFoundBeforeAnythingIsReplaced(self):
        before = self.ask("export").text
        for digests, policies in (("abc.-", 1), (f"{DIGEST.upper()}.-", 1), (f"{DIGEST}g.-", 1),
                                  ("-.-", 1), (f"{DIGEST}.-", 0), (f"-.{DIGEST}", 0),
                                  ("-.def", 0)):
            path = self.add(self.path_of(9, digests, policies),
                            document([policy(str(i)) for i in range(policies)]))
            self.refuse(BAD_INPUT, "restore", "9", "--yes", message="the digests in its name")
            self.assertEqual(self.ask("export").text, before)
            [found] = self.findings()
            self.assertEqual(found["subject"], path)
            os.remove(path)

    def test_CatalogueThatItsStoreWouldNotKeepIsRefusedBeforeAnythingIsReplaced(self):
        before = self.ask("export").text
        own = hashlib.md5(b"Aid-A1x").hexdigest().encode()  # name, identifier, generation, blob
        path = self.add(self.path_of(9, hashlib.md5(own).hexdigest() + ".-", 1),
                        document([policy("A", blobs=[blob(namespace="")])]))
        self.refuse(BAD_INPUT, "restore", "9", "--yes",
                    message=f'{path}: policy "A": a blob has no namespace; the configuration store '
                            "would not keep it")
        self.assertEqual(self.ask("export").text, before)

    def test_DatastoresWithoutADigestAreRestored(self):
        content = document([], [datastore("", namespace="", defaultPolicy="")])
        self.apply(content)
        self.apply(document())
        self.assertTrue(self.path_kept(4).endswith(".0.1.-.-.json"))
        self.ask("restore", "--yes", "4")
        self.assertEqual(self.listed("datastores"), content["datastores"])

    def test_ChangedDocumentIsFoundBeforeAnythingIsReplaced(self):
        before = self.ask("export").text
        path = self.path_kept(2)
        for changed in (document([policy("A", generation=2)], self.content["datastores"]),
                        document(self.content["policies"], [datastore(defaultPolicy="other")])):
            self.add(path, changed)
            for words in (["--dry-run"], ["--yes"]):
                self.refuse(BAD_INPUT, "restore", "2", *words,
                            message=f"{path}: its records do not have the digests in its name")
                self.assertEqual(self.ask("export").text, before)
            [found] = self.findings()
            self.assertEqual((found["subject"], found["advice"]), (path, "move it away"))

    def test_DamagedEntryIsAdvisedToBeMovedAway(self):
        path = self.path_kept(2)
        self.add(path, [])
        [found] = self.findings()
        self.assertEqual((found["subject"], found["advice"]), (path, "move it away"))
        os.rename(path, os.path.join(self.directory, "away"))
        self.findings(status=DONE)

    def test_ReaderWithoutPermissionIsNotToldToRemoveIt(self):
        path = self.path_kept(2)
        os.chmod(path, 0o600)
        os.chmod(self.host, 0o2755)
        for folder, _, files in os.walk(self.host):
            os.chmod(folder, 0o2755)
            for name in files:
                if os.path.join(folder, name) != path:
                    os.chmod(os.path.join(folder, name), 0o644)
        become_stranger(self)
        result = self.run_quorctl("check")
        self.assertEqual(result.status, PERMISSION, result.text + result.errors)
        self.assertIn(f"cannot read {path}: Permission denied", result.errors)
        self.assertFalse(re.search("cannot be restored|remove it|move it away", result.text))
        result = self.run_quorctl("restore", "2", "--yes")
        self.assertEqual(result.status, PERMISSION, result.errors)


if __name__ == "__main__":
    unittest.main()
