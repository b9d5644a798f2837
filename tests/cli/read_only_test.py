# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Commands that only look leave no trace, whatever they find."""
import json
import os
import unittest

from quorctl_case import EXAMPLE, QuorctlCase, blob, datastore, document, entries_of, policy

LOOKING = [["list", "policies"], ["list", "policies", "-o", "json"], ["list", "datastores"],
           ["list", "datastores", "-o", "json"], ["status"], ["switch"], ["help"], ["--version"],
           ["blob", "--policy-id", "id-Gold"], ["blob", "--policy-name", "Gold"],
           ["blob", "--default-of", "ds:///a/"], ["blob", "--policy-name", "nobody"],
           ["blob", "--policy-id", "id-Gold", "--datastore", "ds:///a/"], ["reset"],
           ["get", "policy", "id-Gold"], ["get", "datastore", "nowhere"], ["digest"], ["export"],
           ["list", "policies", "-o", "csv"], ["list", "datastores", "-o", "wide"],
           ["diff", EXAMPLE], ["apply", "/nonexistent"], ["list"], ["frobnicate"]]


class ReadOnly(QuorctlCase):
    def look_at_everything(self):
        for words in LOOKING:
            before = entries_of(self.directory)
            self.run_quorctl(*words)
            self.assertEqual(entries_of(self.directory), before, words)

    def test_StoredCatalogueStaysAsItIs(self):
        self.apply(document([policy("Gold"), policy("B", blobs=[blob("V")])], [datastore()]))
        self.look_at_everything()

    def test_CatalogueAndFeaturesFileStayAsTheyAre(self):
        self.apply(document([policy("Gold")], [datastore()]))
        for choice in ("file", "store"):
            self.ask("switch", "--yes", choice)
            self.look_at_everything()

    def test_EmptyDirectoryStaysEmpty(self):
        os.mkdir(self.host)
        self.look_at_everything()
        self.assertEqual(os.listdir(self.host), [])

    def test_DirectoryThatIsNotThereIsNotCreated(self):
        self.look_at_everything()
        self.assertEqual(os.listdir(self.directory), [])

    def test_DamagedSnapshotStaysAsItIs(self):
        self.apply(document([policy("Gold")], [datastore()]))
        with open(self.snapshot_path(), "r+b") as file:
            file.truncate(50)
        self.look_at_everything()

    def test_DirectoryWithoutWritePermissionIsEnough(self):
        content = document([policy("Gold")], [datastore()])
        self.apply(content)
        for folder, _, names in os.walk(self.host, topdown=False):
            for name in names:
                os.chmod(os.path.join(folder, name), 0o444)
            os.chmod(folder, 0o555)
            self.addCleanup(os.chmod, folder, 0o755)
        self.assertEqual(json.loads(self.ask("list", "policies", "-o", "json").text),
                         content["policies"])
        self.look_at_everything()


if __name__ == "__main__":
    unittest.main()
