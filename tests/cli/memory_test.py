# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Memory that runs out is an internal error with a message, and changes nothing."""
import json
import resource
import unittest

from quorctl_case import DONE, INTERNAL, QuorctlCase, blob, datastore, document, policy


class Memory(QuorctlCase):
    def test_DocumentLargerThanMemoryChangesNothing(self):
        content = document([policy()], [datastore()])
        self.apply(content)
        larger = document([policy("Large", blobs=[blob(text="x" * 100_000_000)])])

        def limit_memory():
            resource.setrlimit(resource.RLIMIT_AS, (90_000_000, 90_000_000))

        result = self.refuse(INTERNAL, "apply", "-", given=json.dumps(larger).encode(),
                             preexec_fn=limit_memory)
        self.assertEqual(result.errors, "quorctl: out of memory\n")
        self.assertEqual(self.listed_document(), content)

    def test_ShortMemoryIsToldWhereverItRunsOut(self):
        self.apply(document([policy()]))
        larger = json.dumps(document([policy(f"P{i}", description="d" * 100)
                                      for i in range(40_000)])).encode()
        statuses = set()
        for megabytes in range(40, 160, 8):
            def limit_memory(limit=megabytes << 20):
                resource.setrlimit(resource.RLIMIT_AS, (limit, limit))

            result = self.run_quorctl("apply", "--dry-run", "-", given=larger,
                                      preexec_fn=limit_memory)
            self.assertIn(result.status, (DONE, INTERNAL), (megabytes, result.errors))
            if result.status == INTERNAL:
                self.assertRegex(result.errors, r"\Aquorctl: out of memory[^\n]*\n\Z")
            statuses.add(result.status)
        self.assertIn(INTERNAL, statuses)


if __name__ == "__main__":
    unittest.main()
