# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The digests, against an implementation of their own in Python."""
import base64
import hashlib
import json
import os
import random
import subprocess
import unittest

from quorctl_case import DONE, NO, TIMEOUT, USAGE, QuorctlCase, datastore, document, policy

PUT_CATALOGUE = os.environ["QUOR_PUT_CATALOGUE"]
CATALOGUES = int(os.environ.get("QUOR_TEST_CATALOGUES", "160"))  # for each of the two stores
SEED = int(os.environ.get("QUOR_TEST_SEED", "20260101"))


def md5(data):
    return hashlib.md5(data).hexdigest().encode() if data else b""


def until_zero(data):
    return data.split(b"\0", 1)[0]


def policies_digest(policies):
    """Each a dictionary of bytes, with blobs as (namespace, blob)."""
    digests = b""
    for entry in sorted(policies, key=lambda entry: entry["id"]):
        text = until_zero(entry["name"]) + until_zero(entry["id"])
        text += until_zero(entry["description"]) + str(entry["generation"]).encode()
        for namespace, content in sorted(entry["blobs"], key=lambda pair: pair[0]):
            text += namespace + content
        digests += md5(text)
    return md5(digests).decode()


def datastores_digest(datastores):
    ordered = sorted(datastores, key=lambda entry: entry["url"])
    return md5(b"".join(md5(entry["url"] + entry["namespace"] + entry["defaultPolicy"])
                        for entry in ordered)).decode()


def as_text(data):
    try:
        return data.decode("utf-8")
    except UnicodeDecodeError:
        return {"base64": base64.b64encode(data).decode()}


def as_document(policies, datastores):
    return document(
        [{"id": as_text(entry["id"]), "name": as_text(entry["name"]),
          "description": as_text(entry["description"]), "generation": entry["generation"],
          "blobs": [{"namespace": as_text(namespace), "base64": base64.b64encode(content).decode()}
                    for namespace, content in entry["blobs"]]} for entry in policies],
        [{key: as_text(value) for key, value in entry.items()} for entry in datastores])


def as_records(policies, datastores):
    """For put_catalogue."""
    def word(data):
        return "x" + data.hex()

    lines = []
    for entry in policies:
        words = ["policy", word(entry["id"]), word(entry["name"]), word(entry["description"]),
                 str(entry["generation"])]
        words += [word(part) for pair in entry["blobs"] for part in pair]
        lines.append(" ".join(words))
    for entry in datastores:
        lines.append(" ".join(["datastore", word(entry["url"]), word(entry["namespace"]),
                               word(entry["defaultPolicy"])]))
    return "".join(line + "\n" for line in lines).encode()


class Generator:
    """Catalogues with hostile bytes, whose keys do not repeat."""

    def __init__(self, seed):
        self.random = random.Random(seed)
        self.used = set()

    def bytes(self, longest=12):
        kind = self.random.randrange(4)
        size = self.random.randrange(longest + 1)
        if kind == 0:
            return b""
        if kind == 1:
            return self.random.randbytes(size)
        if kind == 2:
            return bytes(self.random.choice(b"\0AaZz\x7f\x80\xff") for _ in range(size))
        return "".join(self.random.choice("abcB9 \u00e4\u20ac") for _ in range(size)).encode()

    def key(self, kind):
        while True:
            key = self.bytes()
            if (kind, key) not in self.used:
                self.used.add((kind, key))
                return key

    def policy(self):
        namespaces = {self.bytes() or b"n" for _ in range(self.random.randrange(4))}
        generation = self.random.choice([0, 1, -1, 2**31 - 1, -2**31,
                                         self.random.randrange(-2**31, 2**31)])
        return {"id": self.key("id"), "name": self.key("name"), "description": self.bytes(),
                "generation": generation,
                "blobs": [(namespace, self.bytes(300)) for namespace in namespaces]}

    def datastore(self):
        return {"url": self.key("url"), "namespace": self.bytes(), "defaultPolicy": self.bytes()}

    def catalogue(self):
        self.used.clear()
        return ([self.policy() for _ in range(self.random.randrange(6))],
                [self.datastore() for _ in range(self.random.randrange(6))])


class DigestCase(QuorctlCase):
    def digests(self):
        answer = json.loads(self.ask("digest", "-o", "json").text)
        self.assertEqual(list(answer), ["policies", "datastores"])
        return answer["policies"], answer["datastores"]

    def check(self, policies, datastores):
        self.apply(as_document(policies, datastores))
        self.assertEqual(self.digests(),
                         (policies_digest(policies), datastores_digest(datastores)),
                         f"seed {SEED}: {policies!r} {datastores!r}")

    def check_records(self, policies, datastores, kept=None):
        """The same for records that apply refuses; `kept` are those that the store keeps."""
        subprocess.run([PUT_CATALOGUE], input=as_records(policies, datastores), timeout=TIMEOUT,
                       env=self.environment(), check=True)
        policies, datastores = kept or (policies, datastores)
        self.assertEqual(self.counts(), (len(policies), len(datastores)))
        self.assertEqual(self.digests(),
                         (policies_digest(policies), datastores_digest(datastores)),
                         f"seed {SEED}: {policies!r} {datastores!r}")

    def counts(self):
        return len(self.listed("policies")), len(self.listed("datastores"))


class Digest(DigestCase):
    def test_GeneratedCataloguesAgreeOnBothStores(self):
        for store in ("store", "file"):
            self.ask("switch", "--yes", store)
            generator = Generator(SEED)
            for _ in range(CATALOGUES):
                self.check(*generator.catalogue())

    def test_OrderOfRecordsAndBlobsDoesNotCount(self):
        source = random.Random(SEED)
        for store in ("store", "file"):
            self.ask("switch", "--yes", store)
            generator = Generator(SEED)
            for _ in range(10):
                policies, datastores = generator.catalogue()
                self.check(policies, datastores)
                before = self.digests()
                for entry in policies:
                    source.shuffle(entry["blobs"])
                source.shuffle(policies)
                source.shuffle(datastores)
                self.ask("reset", "--yes")
                self.check(policies, datastores)
                self.assertEqual(self.digests(), before)

    def test_ExtremeGenerationNumbersAgreeInTheStore(self):
        for generation in (2**63 - 1, -2**63, 2**31, -2**31 - 1):
            self.check([{"id": b"i", "name": b"n", "description": b"", "generation": generation,
                         "blobs": []}], [])

    def test_EmptyCatalogueHasEmptyDigests(self):
        self.assertEqual(self.digests(), ("", ""))
        self.assertEqual(self.ask("digest").text, "policies:    \ndatastores:  \n")

    def test_EverySingleFieldCounts(self):
        base = document([policy("Gold")], [datastore()])
        self.apply(base)
        first = self.digests()
        for key, value in (("id", "other"), ("name", "other"), ("description", "other"),
                           ("generation", 99), ("blobs", [])):
            changed = json.loads(json.dumps(base))
            changed["policies"][0][key] = value
            self.apply(changed)
            self.assertNotEqual(self.digests()[0], first[0], key)
            self.assertEqual(self.digests()[1], first[1], key)
        for key in ("url", "namespace", "defaultPolicy"):
            changed = json.loads(json.dumps(base))
            changed["datastores"][0][key] = "other"
            self.apply(changed)
            self.assertEqual(self.digests()[0], first[0], key)
            self.assertNotEqual(self.digests()[1], first[1], key)

    def test_ExpectTellsByItsExitStatus(self):
        self.apply(document([policy("Gold")], [datastore()]))
        joined = ":".join(self.digests())
        self.assertEqual(self.ask("digest", "--expect", joined).text, "")
        result = self.run_quorctl("digest", "--expect", "x" + joined)
        self.assertEqual((result.status, result.text, result.errors), (NO, "", ""))
        self.refuse(USAGE, "digest", "--expect", "nonsense", message="with a colon")
        self.refuse(USAGE, "digest", "-o", "xml", message='unknown format "xml"')


def plain_policy(number, **changes):
    return {"id": b"id-%d" % number, "name": b"name %d" % number, "description": b"d",
            "generation": number, "blobs": [(b"RILK", b"blob %d" % number)], **changes}


def plain_datastore(number, **changes):
    return {"url": b"ds:///%d/" % number, "namespace": b"RILK", "defaultPolicy": b"id-1", **changes}


class Unnoticed(DigestCase):
    """What a digest does not tell: the changes that the help and the manual name."""

    def test_BytesThatMoveToTheNextField(self):
        self.apply(document([policy("ab", id="c")], [datastore("u", namespace="vN")]))
        digests = self.digests()
        self.apply(document([policy("a", id="bc")], [datastore("uv", namespace="N")]))
        self.assertEqual(self.digests(), digests)

    def test_WhatStandsBehindANulByte(self):
        self.apply(document([policy("a\0b", id="i\0", description="\0d")]))
        digests = self.digests()
        self.apply(document([policy("a", id="i\0j", description="")]))
        self.assertEqual(self.digests(), digests)

    def test_DatastoreOfWhichEveryFieldIsEmpty(self):
        self.apply(document([], [datastore()]))
        digests = self.digests()
        self.apply(document([], [datastore(), datastore("", namespace="", defaultPolicy="")]))
        self.assertEqual(self.digests(), digests)

    def test_RecordsThatCannotBeReadAreWarnedOf(self):
        self.apply(document([policy("A"), policy("lost")], [datastore("u"), datastore("lose")]))
        digests = self.digests()
        path = self.snapshot_path()
        with open(path, "rb") as file:
            content = file.read()
        with open(path, "wb") as file:
            file.write(content.replace(b"lost", b"LOST").replace(b"lose", b"LOSE"))
        for options, status in (([], DONE), (["-o", "json"], DONE),
                                (["--expect", ":".join(digests)], NO)):
            result = self.run_quorctl("digest", *options)
            self.assertEqual(result.status, status)
            policies, datastores = result.errors.splitlines()
            for line, records in ((policies, "policies"), (datastores, "datastores")):
                self.assertTrue(line.startswith(f"quorctl: warning: {path}: damaged: 1 of 2 "
                                                f"{records} cannot be read"), line)


class Duplicates(DigestCase):
    """Records that are equal in every field."""

    def test_FileKeepsAndDigestsEachOfThem(self):
        self.ask("switch", "--yes", "file")
        for times in (2, 3, 20):  # from seventeen elements on the sort is another one
            self.check_records([plain_policy(1)] * times, [])
            self.check_records([], [plain_datastore(1)] * times)
            self.check_records([plain_policy(2), *[plain_policy(1)] * times, plain_policy(0)],
                               [plain_datastore(2), *[plain_datastore(1)] * times])

    def test_StoreKeepsOneOfThem(self):
        for times in (2, 3, 20):
            self.check_records([plain_policy(2), *[plain_policy(1)] * times],
                               [*[plain_datastore(1)] * times, plain_datastore(2)],
                               kept=([plain_policy(2), plain_policy(1)],
                                     [plain_datastore(1), plain_datastore(2)]))

    def test_OneMoreOfThemChangesTheDigestOfTheFile(self):
        self.ask("switch", "--yes", "file")
        seen = set()
        for times in (1, 2, 3):
            self.check_records([plain_policy(1)] * times, [plain_datastore(1)] * times)
            seen.update(self.digests())
        self.assertEqual(len(seen), 6)

    def test_BlobsEqualInEveryFieldAgreeInBothStores(self):
        twice = plain_policy(1, blobs=[(b"RILK", b"same")] * 2)
        once = plain_policy(1, blobs=[(b"RILK", b"same")])
        self.check_records([twice], [], kept=([once], []))
        self.ask("switch", "--yes", "file")
        self.check_records([twice], [])

    def test_GeneratedCataloguesWithDuplicatesAgreeInTheFile(self):
        self.ask("switch", "--yes", "file")
        source = random.Random(SEED)
        generator = Generator(SEED)
        for _ in range(20):
            policies, datastores = generator.catalogue()
            policies += source.choices(policies, k=3) if policies else []
            datastores += source.choices(datastores, k=3) if datastores else []
            source.shuffle(policies)
            source.shuffle(datastores)
            self.check_records(policies, datastores)

    def test_RecordsThatAreEmptyInEveryFieldAgree(self):
        empty_policy = plain_policy(0, id=b"", name=b"", description=b"", blobs=[])
        empty_datastore = plain_datastore(0, url=b"", namespace=b"", defaultPolicy=b"")
        for times in (1, 3):
            self.ask("switch", "--yes", "store")
            self.check_records([empty_policy] * times, [empty_datastore] * times,
                               kept=([empty_policy], [empty_datastore]))
            self.ask("switch", "--yes", "file")
            self.check_records([empty_policy] * times, [empty_datastore] * times)
            self.assertEqual(self.digests()[1], "")


if __name__ == "__main__":
    unittest.main()
