"""The digests, against an implementation of their own in Python."""
import base64
import hashlib
import json
import os
import random
import unittest

from quorctl_case import NO, USAGE, QuorctlCase, datastore, document, policy

CATALOGUES = 40
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


class Digest(QuorctlCase):
    def digests(self):
        answer = json.loads(self.ask("digest", "-o", "json").text)
        self.assertEqual(list(answer), ["policies", "datastores"])
        return answer["policies"], answer["datastores"]

    def check(self, policies, datastores):
        self.apply(as_document(policies, datastores))
        self.assertEqual(self.digests(),
                         (policies_digest(policies), datastores_digest(datastores)),
                         f"seed {SEED}: {policies!r} {datastores!r}")

    def test_GeneratedCataloguesAgreeOnBothStores(self):
        for store in ("store", "file"):
            self.ask("switch", store)
            generator = Generator(SEED)
            for _ in range(CATALOGUES):
                self.check(*generator.catalogue())

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


if __name__ == "__main__":
    unittest.main()
