# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The ways out of a store that cannot be read, and what the history has for them."""
import glob
import json
import os
import unittest

from quorctl_case import (ABSENT, NOT_CONFIRMED, STORE, USAGE, QuorctlCase, blob, datastore,
                          document, policy)

DAMAGES = (b"", b"{", b"no store at all" * 100)


class Damaged(QuorctlCase):
    def on_each_store(self):
        for choice in ("store", "file"):
            self.ask("switch", "--yes", choice)
            self.content = document([policy("A"), policy("B", blobs=[blob(text="find me")])],
                                    [datastore(defaultPolicy="id-A")])
            self.apply(document([policy("Older")]))
            self.apply(self.content)
            yield os.path.join(self.host, {"store": "config-store.cdb",
                                           "file": "host-config.json"}[choice])

    def damage(self, path, content):
        with open(path, "wb") as file:
            file.write(content)

    def aside(self, path):
        return sorted(glob.glob(path + ".damaged-*"))

    def test_LastCatalogueIsPutBackAndTheDamageIsKept(self):
        for path in self.on_each_store():
            for content in DAMAGES:
                self.damage(path, content)
                known = self.aside(path)
                self.assertEqual(self.run_quorctl("restore", "--last").status, NOT_CONFIRMED)
                text = self.ask("restore", "--last", "--yes").text
                [new] = set(self.aside(path)) - set(known)
                self.assertRegex(new, r"\.damaged-\d{8}T\d{6}Z(-\d+)?\Z")
                self.assertIn(f"the damaged file is now {new}\n", text)
                with open(new, "rb") as file:
                    self.assertEqual(file.read(), content)
                self.assertEqual(self.listed_document(), self.content)
                self.ask("check")

    def test_ApplyReplacesTheDamagedFileWhenAskedTo(self):
        after = json.dumps(document([policy("New")])).encode()
        for path in self.on_each_store():
            self.damage(path, b"{")
            for words in (["apply", "--yes", "-"], ["apply", "--yes", "--no-history", "-"],
                          ["reset", "--yes"]):
                self.assertEqual(self.run_quorctl(*words, given=after).status, STORE)
            refused = self.run_quorctl("apply", "--replace-damaged", "-", given=after)
            self.assertEqual(refused.status, NOT_CONFIRMED)
            self.assertIn(f"would delete the damaged file {path} from", refused.errors)
            self.ask("apply", "--replace-damaged", "--dry-run", "-", given=after)
            self.assertEqual(self.aside(path), [])
            self.ask("apply", "--replace-damaged", "--yes", "-", given=after)
            self.assertEqual(len(self.aside(path)), 1)
            self.assertEqual([p["name"] for p in self.listed("policies")], ["New"])

    def test_ResetReplacesTheDamagedFileWhenAskedTo(self):
        for path in self.on_each_store():
            self.damage(path, b"{")
            self.ask("reset", "--replace-damaged", "--yes")
            self.assertEqual(len(self.aside(path)), 1)
            self.assertEqual(self.listed("policies"), [])

    def test_SingleRecordsThatCannotBeRead(self):
        for path in self.on_each_store():
            with open(path, "rb") as file:
                content = file.read()
            damaged = content.replace(b"find me", b"FIND me").replace(b"ZmluZCBtZQ==", b"no base64!")
            self.assertNotEqual(damaged, content)
            self.damage(path, damaged)
            self.ask("restore", "--last", "--yes")
            self.assertEqual(len(self.aside(path)), 1)
            self.assertEqual(self.listed_document(), self.content)

    def test_WholeStoreIsNotPutAside(self):
        for path in self.on_each_store():
            self.ask("apply", "--replace-damaged", "--yes", "-",
                     given=json.dumps(document([policy("New")])).encode())
            self.assertEqual(self.aside(path), [])

    def test_LastIsWhatQuorctlPutThere(self):
        for _ in self.on_each_store():
            self.assertIn("nothing differs", self.ask("restore", "--last").text)
        other = os.path.join(self.directory, "other")
        os.mkdir(other)
        self.refuse(ABSENT, "restore", "--last", "--root", other,
                    message="the history holds no catalogue that quorctl put into the "
                            "configuration store")
        self.refuse(USAGE, "restore", "--last", "1", message="NUMBER of the history or --last")


if __name__ == "__main__":
    unittest.main()
