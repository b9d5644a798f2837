# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""quorctl migrate: the catalogue of one host store in the other."""
import os
import unittest

from quorctl_case import (NO, NOT_CONFIRMED, USAGE, QuorctlCase, blob, datastore, document,
                          entries_of, policy, without_lock_files)


class Migrate(QuorctlCase):
    def losses(self, *words):
        """What a migration names that it cannot carry."""
        result = self.run_quorctl("migrate", *words)
        self.assertEqual(result.status, NO)
        self.assertIn("nothing was written", result.errors)
        return result.text

    def test_CatalogueIsCopiedAndTheSwitchStays(self):
        content = document([policy("Gold"), policy("Silver", generation=-7)],
                           [datastore(), datastore(url="ds:///b/")])
        self.apply(content)
        digest = self.ask("digest").text
        copied = self.ask("migrate", "--to", "file").text
        self.assertEqual(copied.splitlines()[-2:],
                         [f"copied 2 policies and 2 datastores to the configuration file in {self.host}",
                          "the switch selects the configuration store: programs do not see this one"])
        self.assertEqual(self.ask("switch").text, "store\n")
        self.ask("switch", "--yes", "file")
        self.assertEqual(self.listed_document(), content)
        self.assertEqual(self.ask("digest").text, digest)

    def test_WayBackGivesTheSameCatalogue(self):
        self.ask("switch", "--yes", "file")
        content = document([policy("Gold")], [datastore()])
        self.apply(content)
        self.ask("migrate", "--to", "store")
        self.ask("switch", "--yes", "store")
        self.assertEqual(self.listed_document(), content)

    def test_WhatTheTargetHeldIsReplaced(self):
        self.ask("switch", "--yes", "file")
        self.apply(document([policy("Old")], [datastore()]))
        self.ask("switch", "--yes", "store")
        content = document([policy("New")])
        self.apply(content)
        self.ask("migrate", "--to", "file", "--yes")
        self.ask("switch", "--yes", "file")
        self.assertEqual(self.listed_document(), content)
        self.assertEqual(self.ask("history", "--fields", "reason,store,policies",
                                  "--no-headings").text.split()[:3], ["migrate", "file", "1"])

    def test_DeletionsNeedAConfirmation(self):
        self.ask("switch", "--yes", "file")
        self.apply(document([policy("Old")], [datastore()]))
        self.ask("switch", "--yes", "store")
        self.apply(document([policy("New")]))
        before = without_lock_files(entries_of(self.host))
        result = self.run_quorctl("migrate", "--to", "file")
        self.assertEqual(result.status, NOT_CONFIRMED)
        self.assertIn("migrate would delete 1 policy and 1 datastore from the configuration file "
                      f"in {self.host}; nothing was changed; confirm with --yes", result.errors)
        self.assertEqual(without_lock_files(entries_of(self.host)), before)

    def test_DryRunShowsTheDifferencesAndWritesNothing(self):
        self.apply(document([policy("New")]))
        before = without_lock_files(entries_of(self.host))
        text = self.ask("migrate", "--to", "file", "--dry-run").text
        self.assertRegex(text, r"(?m)^added +policy +New ")
        self.assertIn("would copy 1 policy and 0 datastores to the configuration file", text)
        self.assertEqual(without_lock_files(entries_of(self.host)), before)

    def test_SameCatalogueIsNotWrittenAgain(self):
        self.apply(document([policy("New")]))
        self.ask("migrate", "--to", "file")
        before = without_lock_files(entries_of(self.host))
        self.assertIn("nothing differs from the configuration file",
                      self.ask("migrate", "--to", "file").text)
        self.assertEqual(without_lock_files(entries_of(self.host)), before)

    def test_GenerationNumberTooLargeForTheFileIsNamedBeforeAnythingIsWritten(self):
        self.apply(document([policy("Small", generation=2**31 - 1),
                             policy("Large", generation=2**31),
                             policy("Low", generation=-2**31 - 1)]))
        before = entries_of(self.host)
        self.assertEqual(self.losses("--to", "file"),
                         'policy "Large": generation number 2147483648 does not fit 32 bits\n'
                         'policy "Low": generation number -2147483649 does not fit 32 bits\n')
        self.assertEqual(entries_of(self.host), before)

    def test_BlobWithoutNamespaceIsNamedBeforeAnythingIsWritten(self):
        self.ask("switch", "--yes", "file")
        self.apply(document([policy("Gold", blobs=[blob(namespace="")])]))
        self.assertEqual(self.losses("--to", "store"), 'policy "Gold": a blob has no namespace\n')
        self.assertFalse(os.path.exists(os.path.join(self.host, "config-store.cdb")))

    def test_TargetIsNeeded(self):
        self.refuse(USAGE, "migrate", message="migrate needs --to store or --to file")
        self.refuse(USAGE, "migrate", "--to", "tape", message='unknown choice "tape"')
        self.assertFalse(os.path.exists(self.host))


if __name__ == "__main__":
    unittest.main()
