# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The example catalogue: what it shows, and that its generator makes it."""
import base64
import json
import os
import subprocess
import sys
import unittest

from quorctl_case import ABSENT, EXAMPLE, QuorctlCase

GENERATOR = os.path.join(os.path.dirname(EXAMPLE), "make_catalogue.py")


def content_of(entry):
    return entry["text"].encode() if "text" in entry else base64.b64decode(entry["base64"])


class Example(QuorctlCase):
    @classmethod
    def setUpClass(cls):
        with open(EXAMPLE, encoding="utf-8") as file:
            cls.example = json.load(file)
        cls.blobs = {(policy["id"], entry["namespace"]): content_of(entry)
                     for policy in cls.example["policies"] for entry in policy["blobs"]}

    def test_GeneratorMakesTheFile(self):
        made = subprocess.run([sys.executable, "-B", GENERATOR], stdout=subprocess.PIPE, check=True,
                              env={**os.environ, "PYTHONIOENCODING": "utf-8"}).stdout
        with open(EXAMPLE, "rb") as file:
            self.assertEqual(file.read(), made)

    def test_SizeAndVariety(self):
        policies, datastores = self.example["policies"], self.example["datastores"]
        self.assertGreaterEqual(len(policies), 14)
        self.assertEqual(len(datastores), 20)
        for policy in policies:
            self.assertTrue(2 <= len(policy["blobs"]) <= 4, policy["name"])
            self.assertIn((policy["id"], "RILK"), self.blobs)
        texts = ["text" in entry for policy in policies for entry in policy["blobs"]]
        self.assertGreater(min(texts.count(True), texts.count(False)), 10)
        for content in self.blobs.values():
            self.assertTrue(50 <= len(content) <= 1500, len(content))

    def test_AppliesAndListsAsItIs(self):
        self.assertIn("applied 16 policies (46 blobs) and 20 datastores",
                      self.ask("apply", EXAMPLE).text)
        self.assertEqual(self.listed_document(), self.example)

    def test_EveryBlobIsAnswered(self):
        self.ask("apply", EXAMPLE)
        names = {policy["id"]: policy["name"] for policy in self.example["policies"]}
        for policy_id, name in names.items():
            rilk = self.blobs[policy_id, "RILK"]
            self.assertEqual(self.ask("blob", "--policy-id", policy_id).raw, rilk)
            self.assertEqual(self.ask("blob", "--policy-name", name).raw, rilk)
        for datastore in self.example["datastores"]:
            for policy_id in ("gold-01", "arch-07"):
                expected = self.blobs.get((policy_id, datastore["namespace"]))
                self.expect(expected, "--policy-id", policy_id, "--datastore", datastore["url"])

    def test_MostDatastoresHaveADefaultBlob(self):
        self.ask("apply", EXAMPLE)
        answered = 0
        ids = {policy["id"] for policy in self.example["policies"]}
        for datastore in self.example["datastores"]:
            self.assertIn(datastore["defaultPolicy"], ids)
            expected = self.blobs.get((datastore["defaultPolicy"], datastore["namespace"]))
            self.expect(expected, "--default-of", datastore["url"])
            answered += expected is not None
        self.assertEqual(answered, 18)

    def expect(self, content, *question):
        if content is None:
            self.refuse(ABSENT, "blob", *question)
        else:
            self.assertEqual(self.ask("blob", *question).raw, content)


if __name__ == "__main__":
    unittest.main()
