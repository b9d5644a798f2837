# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""quorctl metrics, read by the reference's own parser."""
import os
import shutil
import subprocess
import sys
import time
import unittest

from quorctl_case import DONE, QuorctlCase, datastore, document, policy

try:
    from prometheus_client.openmetrics.parser import text_string_to_metric_families
except ImportError:  # another Python than the system's
    sys.path.append("/usr/lib/python3/dist-packages")
    from prometheus_client.openmetrics.parser import text_string_to_metric_families


class Metrics(QuorctlCase):
    def metrics(self):
        """Values by name and labels, from the reference's own parser."""
        result = self.run_quorctl("metrics")
        self.assertEqual((result.status, result.errors), (DONE, ""))
        self.assertTrue(result.text.endswith("# EOF\n"))
        samples = {}
        for family in text_string_to_metric_families(result.text):
            self.assertTrue(family.documentation)
            for sample in family.samples:
                key = (sample.name, *sorted(sample.labels.items()))
                self.assertNotIn(key, samples)
                samples[key] = sample.value
        return samples

    def put(self):
        self.apply(document([policy("Gold"), policy("Silver")],
                            [datastore(), datastore("ds:///b/", defaultPolicy="id-none")]))

    def test_AnEmptyHostHasNothing(self):
        found = self.metrics()
        self.assertEqual(found[("quor_policies",)], 0)
        self.assertEqual(found[("quor_datastores",)], 0)
        self.assertEqual(found[("quor_up",)], 1)
        self.assertNotIn(("quor_last_commit_age_seconds",), found)

    def test_ACatalogueIsCountedAndDigested(self):
        self.put()
        found = self.metrics()
        self.assertEqual((found[("quor_policies",)], found[("quor_datastores",)]), (2, 2))
        digests = dict(line.replace(":", "").split() for line in
                       self.run_quorctl("digest").text.splitlines())
        self.assertEqual(found[("quor_catalogue_digests", ("datastores", digests["datastores"]),
                                ("policies", digests["policies"]), ("store", "store"))], 1)
        self.assertLess(abs(found[("quor_last_commit_timestamp_seconds",)] - time.time()), 60)
        self.assertLess(found[("quor_last_commit_age_seconds",)], 60)

    def test_FindingsAreThoseOfCheck(self):
        self.put()
        lines = self.run_quorctl("check", "--fields", "severity", "--no-headings").text.split()
        found = self.metrics()
        for severity in ("error", "warning"):
            self.assertEqual(found[("quor_findings", ("severity", severity))], lines.count(severity))
        self.assertGreater(lines.count("warning"), 0)

    def test_AnInterruptedChangeIsAFindingOfBoth(self):
        self.put()
        history = os.path.join(self.host, "history")
        [name] = [name for name in os.listdir(history) if ".apply." in name]
        parts = name.split(".")
        self.apply(document([policy("Gold")]))
        shutil.copy(os.path.join(history, name),
                    os.path.join(history, ".".join(["99", *parts[1:]]) + ".pending"))
        self.assertIn("was interrupted", self.run_quorctl("check").text)
        lines = self.run_quorctl("check", "--fields", "severity", "--no-headings").text.split()
        self.assertEqual(self.metrics()[("quor_findings", ("severity", "error"))],
                         lines.count("error"))

    def test_TheHolderOfALockIsNamed(self):
        self.put()
        path = os.path.join(self.host, "config-store.lock")
        hold = ("import fcntl, os, struct, sys\n"
                "file = open(sys.argv[1], 'r+b')\n"
                "file.write(b'process %d (a \"b\" \\\\ c)\\n' % os.getpid()); file.truncate(); file.flush()\n"
                "fcntl.fcntl(file, 37, struct.pack('hhqqi4x', fcntl.F_WRLCK, 0, 0, 0, 0))\n"
                "print('held', flush=True); sys.stdin.read()\n")
        with subprocess.Popen([sys.executable, "-c", hold, path], stdin=subprocess.PIPE,
                              stdout=subprocess.PIPE) as holder:
            self.assertEqual(holder.stdout.readline(), b"held\n")
            found = self.metrics()
            holder.stdin.close()
        self.assertEqual(found[("quor_lock_held", ("holder", f'process {holder.pid} (a "b" \\ c)'),
                                ("lock", "config-store.lock"))], 1)
        self.assertLess(abs(found[("quor_lock_holder_timestamp_seconds",
                                   ("lock", "config-store.lock"))] - time.time()), 60)
        self.assertEqual(self.metrics()[("quor_lock_held", ("lock", "config-store.lock"))], 0)

    def test_ACatalogueThatCannotBeReadIsToldAndIsNoFailure(self):
        self.put()
        os.truncate(os.path.join(self.host, "config-store.cdb"), 100)
        found = self.metrics()
        self.assertEqual(found[("quor_up",)], 0)
        self.assertGreater(found[("quor_findings", ("severity", "error"))], 0)
        self.assertNotIn(("quor_policies",), found)


if __name__ == "__main__":
    unittest.main()
