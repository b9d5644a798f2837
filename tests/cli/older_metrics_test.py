# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""quorctl metrics, read by promtool as the older format."""
import os
import subprocess
import unittest

from quorctl_case import QuorctlCase, datastore, document, policy


class OlderMetrics(QuorctlCase):
    def test_PromtoolTakesThem(self):
        self.apply(document([policy("Gold")], [datastore("ds:///b/", defaultPolicy="id-none")]))
        done = subprocess.run([os.environ["PROMTOOL"], "check", "metrics"], check=False, text=True,
                              input=self.run_quorctl("metrics").text, capture_output=True)
        self.assertEqual((done.returncode, done.stdout + done.stderr), (0, ""))


if __name__ == "__main__":
    unittest.main()
