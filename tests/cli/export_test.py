# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""quorctl export: canonical, exact, and the same after it was applied."""
import json
import os
import random
import unittest

from digest_test import Generator, as_document
from quorctl_case import (EXAMPLE, STORE, USAGE, QuorctlCase, blob, datastore, document, policy)

SEED = int(os.environ.get("QUOR_TEST_SEED", "20260101"))
CATALOGUES = 15  # for each of the two stores


class Export(QuorctlCase):
    def export(self):
        return self.ask("export").raw

    def digests(self):
        return json.loads(self.ask("digest", "-o", "json").text)

    def apply_export(self, raw):
        self.ask("apply", "--yes", self.write("export.json", raw))

    def expect_round_trip(self, message=""):
        first, digests = self.export(), self.digests()
        self.ask("reset", "--yes")
        self.apply_export(first)
        self.assertEqual(self.export(), first, message)
        self.assertEqual(self.digests(), digests, message)
        return first

    def test_GeneratedCataloguesComeBackFromBothStores(self):
        for store in ("store", "file"):
            self.ask("switch", "--yes", store)
            generator = Generator(SEED)
            for i in range(CATALOGUES):
                self.apply(as_document(*generator.catalogue()))
                self.expect_round_trip(f"seed {SEED}, catalogue {i} in the {store}")

    def test_OneStoreTakesWhatTheOtherExports(self):
        for first, second in (("store", "file"), ("file", "store")):
            self.ask("switch", "--yes", first)
            self.apply(as_document(*Generator(SEED).catalogue()))
            exported, digests = self.export(), self.digests()
            self.ask("switch", "--yes", second)
            self.apply_export(exported)
            self.assertEqual((self.export(), self.digests()), (exported, digests))

    def test_EmptyCatalogueIsADocumentToo(self):
        self.assertEqual(self.export(), b'{\n  "format": "quor-catalogue/1",\n  "basis": ":",\n'
                                        b'  "policies": [],\n  "datastores": []\n}\n')
        self.expect_round_trip()

    def test_LayoutOfTheDocument(self):
        self.apply(document([policy("Gold", id="g", blobs=[blob("R", text="x")])],
                            [datastore("u", namespace="R", defaultPolicy="g")]))
        digests = self.digests()
        basis = f"{digests['policies']}:{digests['datastores']}"
        self.assertEqual(self.export().decode(), """\
{
  "format": "quor-catalogue/1",
  "basis": "BASIS",
  "policies": [
    {
      "id": "g",
      "name": "Gold",
      "description": "",
      "generation": 1,
      "blobs": [
        {
          "namespace": "R",
          "text": "x"
        }
      ]
    }
  ],
  "datastores": [
    {
      "url": "u",
      "namespace": "R",
      "defaultPolicy": "g"
    }
  ]
}
""".replace("BASIS", basis))

    def test_OrderOfStorageDoesNotShow(self):
        source = random.Random(SEED)
        policies = [policy(f"P{i}", id=f"{i * 7 % 40:02}",
                           blobs=[blob(n) for n in source.sample("ABCDEFGH", 5)])
                    for i in range(40)]
        datastores = [datastore(f"ds:///{i * 7 % 40:02}/") for i in range(40)]
        exports = set()
        for _ in range(5):
            for entry in policies:
                source.shuffle(entry["blobs"])
            source.shuffle(policies)
            source.shuffle(datastores)
            self.ask("reset", "--yes")
            self.apply(document(policies, datastores))
            exports.add(self.export())
        self.assertEqual(len(exports), 1)
        exported = json.loads(exports.pop())
        self.assertEqual([p["id"] for p in exported["policies"]],
                         sorted(p["id"] for p in policies))
        self.assertEqual([d["url"] for d in exported["datastores"]],
                         sorted(d["url"] for d in datastores))
        for entry in exported["policies"]:
            namespaces = [b["namespace"] for b in entry["blobs"]]
            self.assertEqual(namespaces, sorted(namespaces))

    def test_RepeatedIdentifiersKeepTheOrderOnWhichTheDigestDepends(self):
        source = random.Random(SEED)
        for count in (2, 3, 40):  # from seventeen elements on the sort of the digest is unstable
            policies = [policy(f"P{i}", id=f"id-{source.randrange(2)}", generation=i)
                        for i in range(count)]
            source.shuffle(policies)
            self.apply(document(policies))
            exported = json.loads(self.expect_round_trip())
            self.assertEqual(exported["policies"], self.listed("policies"))

    def test_ExampleComesBack(self):
        self.ask("apply", "--yes", EXAMPLE)
        self.expect_round_trip()

    def test_NothingIsWrittenWhenARecordCannotBeRead(self):
        self.apply(document([policy("A"), policy("B", blobs=[blob(text="find me in the file")])]))
        path = self.snapshot_path()
        with open(path, "rb") as file:
            content = file.read()
        with open(path, "wb") as file:
            file.write(content.replace(b"find me in the file", b"FIND ME IN THE FILE"))
        self.refuse(STORE, "export", message="1 of 2 policies cannot be read")

    def test_DiffWithTheExportFindsNothing(self):
        self.apply(as_document(*Generator(SEED + 1).catalogue()))
        self.ask("diff", self.write("export.json", self.export()))

    def test_StrayArgumentIsRefused(self):
        self.refuse(USAGE, "export", "policies", message='unexpected argument "policies"')


if __name__ == "__main__":
    unittest.main()
