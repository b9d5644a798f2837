"""Memory that runs out is an internal error with a message, and changes nothing."""
import json
import resource
import unittest

from quorctl_case import INTERNAL, QuorctlCase, blob, datastore, document, policy


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


if __name__ == "__main__":
    unittest.main()
