# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""quorctl list -o json: exact, valid for any bytes, and a part of a document that applies."""
import json
import random
import time
import unittest

from quorctl_case import QuorctlCase, base64_of, blob, datastore, document, policy

HOSTILE = [
    b"", b" ", b"\x00", b"\x00\x00", b"a\x00b", b"\n", b"\r\n", b"\t", b"\x1b[31m", b"\x7f", b'"',
    b"\\", b"\\u0000", b"</script>", b"\xff", b"\xc3", b"\xc3\x28", b"\xed\xa0\x80",
    b"\xf4\x90\x80\x80", b"\xc0\xaf",
    "é".encode(), "\u0080\u009f".encode(), "\u2028\u2029".encode(), "\u202e".encode(),
    "\ufeff".encode(), "\uffff".encode(), "\U0010ffff".encode(), "\U0001f4be".encode(),
    "\U000e0041".encode(), b"{}", b"[]", b"null", b"%s%n", bytes(range(256)), b"x" * 70000,
]


def is_utf8(raw):
    try:
        raw.decode("utf-8", "strict")
    except UnicodeDecodeError:
        return False
    return True


def as_string(raw):
    """How a byte string stands in a document."""
    return raw.decode() if is_utf8(raw) else {"base64": base64_of(raw)}


def as_blob(namespace, raw):
    plain = is_utf8(raw) and not any(ord(c) < 32 and c not in "\n\t\r" or 0x7f <= ord(c) <= 0x9f
                                     for c in raw.decode())
    content = {"text": raw.decode()} if plain else {"base64": base64_of(raw)}
    return {"namespace": as_string(namespace), **content}


class Listing(QuorctlCase):
    def test_NoRecordsGiveAnEmptyArray(self):
        self.assertEqual(self.ask("list", "policies", "-o", "json").text, "[]\n")
        self.assertEqual(self.ask("list", "datastores", "-o", "json").text, "[]\n")

    def test_LayoutIsThatOfADocument(self):
        self.apply(document([policy("Gold", id="g", description="d", generation=-3,
                                    blobs=[blob("R", text="a\nb"), blob("V", base64="/wA=")])],
                            [datastore("u", namespace="n", defaultPolicy="g")]))
        self.assertEqual(self.ask("list", "policies", "-o", "json").text, """\
[
  {
    "id": "g",
    "name": "Gold",
    "description": "d",
    "generation": -3,
    "blobs": [
      {
        "namespace": "R",
        "text": "a\\nb"
      },
      {
        "namespace": "V",
        "base64": "/wA="
      }
    ]
  }
]
""")
        self.assertEqual(self.ask("list", "datastores", "--output", "json").text, """\
[
  {
    "url": "u",
    "namespace": "n",
    "defaultPolicy": "g"
  }
]
""")

    def test_HostileBytesComeBackInEveryString(self):
        given = document(
            [policy(as_string(raw), id=as_string(raw), description=as_string(raw))
             for raw in HOSTILE],
            [datastore(as_string(raw), namespace=as_string(raw), defaultPolicy=as_string(raw))
             for raw in HOSTILE])
        self.apply(given)
        self.assertEqual(self.listed_document(), given)

    def test_HostileBytesComeBackInEveryBlob(self):
        blobs = [as_blob(b"n%d" % i, raw) for i, raw in enumerate(HOSTILE)]
        blobs += [as_blob(raw, b"x") for raw in HOSTILE if raw]
        given = document([policy(blobs=blobs)])
        self.apply(given)
        self.assertEqual(self.listed_document(), given)

    def test_BlobsOfPlainTextAreWrittenAsText(self):
        for raw, form in ((b"line\n\ttab\r\n", "text"), ("Grün 💾".encode(), "text"), (b"", "text"),
                          (b"a\x00", "base64"), (b"\x1b", "base64"), (b"\x7f", "base64"),
                          ("\u0085".encode(), "base64"), (b"\xff", "base64")):
            self.apply(document([policy(blobs=[blob("N", base64=base64_of(raw))])]))
            self.assertIn(form, self.listed("policies")[0]["blobs"][0], raw)

    def test_OutputActsOnNoTerminal(self):
        text = "\x1b\x7f\u0080\u009b\u00ad\u200b\u200e\u202e\u2028\u2066\ufeff\U000e0041"
        self.apply(document([policy(text, id=text)], [datastore(text)]))
        for kind in ("policies", "datastores"):
            shown = self.ask("list", kind, "-o", "json").text
            self.assertEqual([c for c in text if c in shown], [])
            self.assertIn(text, self.listed(kind)[0].values())

    def test_LineFeedInAStringIsNoLineOfTheOutput(self):
        self.apply(document([], [datastore("a\nb", namespace="", defaultPolicy="")]))
        self.assertEqual(self.ask("list", "datastores", "-o", "json").raw.count(b"\n"), 7)

    def test_RandomCataloguesSurviveListingAndApplying(self):
        seed = time.time_ns()
        print("seed", seed, flush=True)
        source = random.Random(seed)

        def some_bytes():
            alphabet = source.choice(
                [b"ab", bytes(range(256)), "aé💾\u202e".encode(), b"\x00\\\"\n"])
            return bytes(source.choice(alphabet) for _ in range(source.choice([0, 1, 3, 40])))

        for _ in range(15):
            names = list({some_bytes() for _ in range(source.randrange(8))})
            urls = list({some_bytes() for _ in range(source.randrange(8))})
            given = document([], [])
            for name in names:
                spaces = {some_bytes() for _ in range(source.randrange(4))} - {b""}
                given["policies"].append(policy(
                    as_string(name), id=as_string(some_bytes()),
                    description=as_string(some_bytes()),
                    generation=source.randrange(-2**63, 2**63),
                    blobs=[as_blob(space, some_bytes()) for space in spaces]))
            for url in urls:
                given["datastores"].append(datastore(
                    as_string(url), namespace=as_string(some_bytes()),
                    defaultPolicy=as_string(some_bytes())))
            self.apply(given)
            listed = self.listed_document()
            self.assertEqual(listed, given)
            digests = self.digests()
            self.ask("reset", "--yes")
            text = json.dumps(listed, ensure_ascii=source.random() < 0.5)
            self.ask("apply", "-", given=text.encode())
            self.assertEqual(self.listed_document(), given)
            self.assertEqual(self.digests(), digests)

    def digests(self):
        return [line for line in self.ask("status").text.splitlines() if "digest" in line]


if __name__ == "__main__":
    unittest.main()
