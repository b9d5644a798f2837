# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""How often a change asks the library for the whole catalogue."""
import json
import os
import unittest

from quorctl_case import QuorctlCase, datastore, document, policy

COUNT_CALLS = os.environ["QUOR_COUNT_CALLS"]


class ReadOnce(QuorctlCase):
    def test_ApplyOfBothKindsListsEachTwice(self):
        before, after = (document([policy(name)], [datastore("ds:///1/", defaultPolicy=f"id-{name}")])
                         for name in ("Before", "After"))
        for store in ("store", "file"):
            self.ask("switch", "--yes", store)
            self.apply(before)
            path = self.write("after.json", json.dumps(after))
            counts = os.path.join(self.directory, "counts")
            self.ask("apply", "--yes", path,
                     environment={"LD_PRELOAD": COUNT_CALLS, "QUOR_CALL_COUNTS": counts})
            with open(counts, encoding="utf-8") as file:
                listings, digests = map(int, file.read().split())
            self.assertEqual((listings, digests), (4, 0))
            self.assertEqual(self.listed_document(), after)


if __name__ == "__main__":
    unittest.main()
