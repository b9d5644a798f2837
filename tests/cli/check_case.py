# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""A host whose stores get faults, for the tests of quorctl check."""
import json
import os
import subprocess

from quorctl_case import DONE, NO, QuorctlCase, blob, datastore, document, policy

ODD_RECORDS = os.environ["ODD_RECORDS"]


class CheckCase(QuorctlCase):
    def setUp(self):
        super().setUp()
        self.content = document(
            [policy("Gold"), policy("B", blobs=[blob(text="find me in the file")])],
            [datastore("ds:///find/")])
        self.apply(self.content)
        self.store = os.path.join(self.host, "config-store.cdb")
        self.file = os.path.join(self.host, "host-config.json")

    def findings(self, *options, status=NO):
        result = self.run_quorctl("check", "-o", "json", *options)
        self.assertEqual((result.status, result.errors), (status, ""), result.text)
        return json.loads(result.text)

    def expect(self, severity, subject, problem, count=1):
        """That the check finds just this, and says what to do."""
        found = self.findings()
        self.assertEqual(len(found), count, found)
        for finding in found:
            self.assertEqual(list(finding), ["severity", "subject", "problem", "advice"])
            self.assertNotEqual(finding["advice"], "")
        matching = [f for f in found if problem in f["problem"]]
        self.assertEqual([(f["severity"], f["subject"]) for f in matching], [(severity, subject)],
                         found)

    def expect_nothing(self):
        self.assertEqual(self.findings(status=DONE), [])

    def replace(self, path, old, new):
        with open(path, "rb") as file:
            content = file.read()
        self.assertIn(old, content)
        with open(path, "wb") as file:
            file.write(content.replace(old, new))

    def odd(self, what):
        subprocess.run([ODD_RECORDS, what], check=True, env=self.environment())

    def change(self, change):
        """Edits the configuration file as a person might."""
        with open(self.file, encoding="utf-8") as file:
            tree = json.load(file)
        change(tree["Quor"])
        with open(self.file, "w", encoding="utf-8") as file:
            json.dump(tree, file)

    def change_policy(self, **values):
        def change(tree):
            record = tree["Policy-Info"]["policy"][1]
            for key, value in values.items():
                record[key.replace("_", "-")] = value
                if value is None:
                    del record[key.replace("_", "-")]
        self.change(change)
