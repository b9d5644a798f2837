# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The example catalogue, put by the library's own calls, has the digests that it has everywhere.

    example_digest_test.py PUT_CATALOGUE PROGRAM [TEST...]

PROGRAM is golden_program. quorctl is not needed, so that it is quickly done on another architecture.
"""
import base64
import json
import os
import subprocess
import sys
import tempfile
import unittest

PUT_CATALOGUE = PROGRAM = ""
HERE = os.path.dirname(os.path.abspath(__file__))
EXAMPLE = os.path.join(HERE, "..", "..", "examples", "catalogue.json")
DIGESTS = os.path.join(HERE, "golden", "1.0.0", "catalogue.digests")
STORES = {"store": 1, "file": 0}
SWITCHES, SWITCH = 256, 62  # the switch chooses the configuration store
INT_MAX = 2**31 - 1


def word(value):
    return "x" + (value.encode() if isinstance(value, str) else value).hex()


def blob_of(entry):
    return entry["text"] if "text" in entry else base64.b64decode(entry["base64"])


def lines_of(catalogue):
    for policy in catalogue["policies"]:
        blobs = [word(part) for entry in policy["blobs"]
                 for part in (entry["namespace"], blob_of(entry))]
        yield " ".join(["policy", word(policy["id"]), word(policy["name"]),
                        word(policy["description"]), str(policy["generation"]), *blobs])
    for datastore in catalogue["datastores"]:
        yield " ".join(["datastore", word(datastore["url"]), word(datastore["namespace"]),
                        word(datastore["defaultPolicy"])])


def digests(store, catalogue):
    with tempfile.TemporaryDirectory(prefix="quor-digest-") as host:
        switches = bytearray(SWITCHES)
        switches[SWITCH] = STORES[store]
        with open(os.path.join(host, "features"), "wb") as file:
            file.write(switches)
        environment = {**os.environ, "QUOR_HOST_DIR": host}
        subprocess.run([PUT_CATALOGUE], input="\n".join(lines_of(catalogue)) + "\n", text=True,
                       check=True, env=environment)
        return subprocess.run([PROGRAM, "digests"], capture_output=True, text=True, check=True,
                              env=environment).stdout


class ExampleDigest(unittest.TestCase):
    def setUp(self):
        with open(EXAMPLE, encoding="utf-8") as file:
            self.catalogue = json.load(file)
        with open(DIGESTS, encoding="utf-8") as file:
            self.expected = file.read()

    def test_the_configuration_store_gives_it(self):
        self.assertTrue(any(policy["generation"] > INT_MAX for policy in self.catalogue["policies"]))
        self.assertEqual(digests("store", self.catalogue), self.expected)

    def test_the_configuration_file_gives_that_of_numbers_of_32_bits(self):
        kept = json.loads(json.dumps(self.catalogue))
        for policy in kept["policies"]:
            low = policy["generation"] % 2**32
            policy["generation"] = low if low <= INT_MAX else low - 2**32
        self.assertEqual(digests("file", self.catalogue), digests("store", kept))


if __name__ == "__main__":
    PUT_CATALOGUE, PROGRAM = sys.argv[1:3]
    del sys.argv[1:3]
    unittest.main(verbosity=2)
