# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""quorctl explain: the steps of a lookup, and the one that ends it."""
import json
import os
import unittest

from quorctl_case import (ABSENT, DONE, STORE, USAGE, QuorctlCase, blob, datastore, document,
                          policy)

CONTENT = document(
    [policy("Gold", id="gold-01", blobs=[blob(text="for the volume"), blob("EMPT", text="")]),
     policy("Silver", id="silver-01", blobs=[])],
    [datastore("ds:///full/", defaultPolicy="gold-01"),
     datastore("ds:///empty/", namespace="EMPT", defaultPolicy="gold-01"),
     datastore("ds:///other/", namespace="OTHR", defaultPolicy="gold-01"),
     datastore("ds:///none/", defaultPolicy=""),
     datastore("ds:///dangling/", defaultPolicy="none"),
     datastore("ds:///named/", defaultPolicy="Gold"),
     datastore("ds:///nowhere/", namespace="", defaultPolicy="gold-01"),
     datastore("ds:///silver/", defaultPolicy="silver-01")])
URLS = [each["url"] for each in CONTENT["datastores"]] + ["ds:///unknown/"]


class Explain(QuorctlCase):
    def on_each_store(self):
        for store in ("store", "file"):
            self.ask("switch", "--yes", store)
            self.apply(CONTENT)
            yield store

    def steps(self, url, *words):
        """What is told below the datastore, with the exit status behind it."""
        result = self.run_quorctl("explain", url, *words)
        self.assertEqual(result.errors, "")
        lines = result.text.splitlines()
        self.assertRegex(lines[0], r"^datastore: +" + url)
        return [" ".join(line.split()) for line in lines[1:]] + [result.status]

    def edit_file(self, change):
        """Changes what stands in the configuration file, as an editor would."""
        path = os.path.join(self.host, "host-config.json")
        with open(path, encoding="utf-8") as file:
            tree = json.load(file)
        change(tree)
        with open(path, "w", encoding="utf-8") as file:
            json.dump(tree, file)

    def test_EveryStepIsTold(self):
        for _ in self.on_each_store():
            self.assertEqual(self.steps("ds:///full/"), [
                "namespace: RILK", "default policy: gold-01", "policy: Gold", "blob: 14 bytes",
                "answer: 14 bytes", DONE])

    def test_TheStepThatEndsTheLookupIsNamed(self):
        for _ in self.on_each_store():
            for url, reason in (
                    ("ds:///unknown/", "there is no such datastore"),
                    ("ds:///none/", "the datastore has no default policy"),
                    ("ds:///dangling/", 'there is no policy with the identifier "none"'),
                    ("ds:///named/", 'there is no policy with the identifier "Gold"; the policy of '
                                     'that name has the identifier "gold-01"'),
                    ("ds:///other/", "the policy has no blob for the namespace"),
                    ("ds:///empty/", "the blob is empty")):
                self.assertEqual(self.steps(url)[-2:], ["answer: empty: " + reason, ABSENT])

    def test_APolicyThatIsAskedForTakesThePlaceOfTheDefault(self):
        for _ in self.on_each_store():
            self.assertEqual(self.steps("ds:///none/", "--policy-id", "gold-01"), [
                "namespace: RILK", "policy asked for: gold-01", "policy: Gold", "blob: 14 bytes",
                "answer: 14 bytes", DONE])
            self.assertEqual(self.steps("ds:///full/", "--policy-id", "silver-01")[-2:],
                             ["answer: empty: the policy has no blob for the namespace", ABSENT])

    def test_TheAnswerIsThatOfTheLibrary(self):
        for _ in self.on_each_store():
            for url in URLS:
                for words, question in (([], ["--default-of", url]), *(
                        (["--policy-id", name], ["--policy-id", name, "--datastore", url])
                        for name in ("gold-01", "silver-01", "Gold", ""))):
                    found = self.run_quorctl("blob", *question)
                    self.assertIn(found.status, (DONE, ABSENT))
                    steps = self.steps(url, *words)
                    self.assertEqual(steps[-1], found.status, (url, words))
                    if found.status == DONE:
                        self.assertEqual(steps[-2], f"answer: {len(found.raw)} bytes")
                    else:
                        self.assertRegex(steps[-2], "^answer: empty: the", (url, words))

    def test_ASecondPolicyOfTheIdentifierIsHidden(self):
        content = document([policy("A", id="same", blobs=[]), policy("B", id="same")],
                           [datastore(defaultPolicy="same")])
        for store in ("store", "file"):
            self.ask("switch", "--yes", store)
            self.apply(content)
            self.assertEqual(self.steps("ds:///a/"), [
                "namespace: RILK", "default policy: same",
                "policy: A (the first of 2 with this identifier)",
                'answer: empty: the policy has no blob for the namespace; "B", which has one, is hidden '
                "behind it", ABSENT])

    def test_ASecondDatastoreOfTheUrlIsHidden(self):
        self.ask("switch", "--yes", "file")
        self.apply(CONTENT)
        self.edit_file(lambda tree: tree["Quor"]["Datastore-Info"]["Datastore"].append(
            {**tree["Quor"]["Datastore-Info"]["Datastore"][0], "default-policy-id": "none"}))
        self.assertEqual(self.steps("ds:///full/")[0], "namespace: RILK (the first of 2 with this URL)")
        self.assertEqual(self.steps("ds:///full/")[-1], DONE)

    def test_ABlobThatDoesNotDecodeIsSaid(self):
        self.ask("switch", "--yes", "file")
        self.apply(CONTENT)

        def break_blob(tree):
            [first] = [each for each in tree["Quor"]["Policy-Info"]["policy"] if each["name"] == "Gold"]
            first["blobs"][0]["blob"] = "no base64!"
        self.edit_file(break_blob)
        steps = self.steps("ds:///full/")
        self.assertEqual(steps[-1], ABSENT)
        self.assertIn("answer: an exception: Unable to Decode string", steps[-2])
        # Listings leave the policy out; lookups of its other blobs do not.
        steps = self.steps("ds:///empty/")
        self.assertEqual(steps[-2:], ['answer: empty: there is no policy with the identifier "gold-01" '
                                      'among those that can be read; "quorctl check" names the others',
                                      ABSENT])

    def test_WhatAListingLeavesOutIsFoundAllTheSame(self):
        self.ask("switch", "--yes", "file")
        self.apply(document([policy("Gold", id="gold-01", blobs=[blob(), blob("VOLB")])],
                            [datastore(defaultPolicy="gold-01")]))

        def break_other(tree):
            tree["Quor"]["Policy-Info"]["policy"][0]["blobs"][1]["blob"] = "no base64!"
        self.edit_file(break_other)
        steps = self.steps("ds:///a/")
        self.assertEqual(steps[-1], DONE)
        self.assertRegex(steps[-2], "^answer: 1 byte, although there is no policy .* that can be read")

    def test_AnUnreadableStoreIsAFailure(self):
        self.apply(CONTENT)
        with open(self.snapshot_path(), "wb") as file:
            file.write(b"damaged")
        self.refuse(STORE, "explain", "ds:///full/", message="config-store.cdb")

    def test_ADatastoreIsNeeded(self):
        self.refuse(USAGE, "explain", message="explain needs a datastore's URL")
        self.refuse(USAGE, "explain", "", message="explain needs a datastore's URL")


if __name__ == "__main__":
    unittest.main()
