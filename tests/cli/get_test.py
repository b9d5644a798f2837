# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""quorctl get: which record is meant, and what happens when there is none."""
import json
import unittest

from quorctl_case import (ABSENT, STORE, USAGE, QuorctlCase, base64_of, blob, datastore, document,
                          policy)


class Get(QuorctlCase):
    def setUp(self):
        super().setUp()
        self.policies = [policy("Gold", id="gold-01"), policy("Silver", id="silver-01"),
                         policy("gold-01", id="Gold"), policy("-n", id="-x"), policy("", id="")]
        self.datastores = [datastore("ds:///1/"), datastore("ds:///2/", namespace="VOLB"),
                           datastore("-u")]
        self.apply(document(self.policies, self.datastores))

    def got(self, *words):
        return json.loads(self.ask("get", *words, "-o", "json").text)

    def test_PolicyByIdentifier(self):
        self.assertEqual(self.got("policy", "gold-01"), [self.policies[0]])
        self.assertEqual(self.got("policy", "Gold"), [self.policies[2]])

    def test_PolicyByName(self):
        self.assertEqual(self.got("policy", "--name", "Gold"), [self.policies[0]])
        self.assertEqual(self.got("policy", "--name=gold-01"), [self.policies[2]])

    def test_DatastoreByUrl(self):
        self.assertEqual(self.got("datastore", "ds:///2/"), [self.datastores[1]])

    def test_KeysThatBeginWithADashOrAreEmpty(self):
        for words, expected in ((["policy", "-o", "json", "--", "-x"], self.policies[3]),
                                (["policy", "-o", "json", "--name", "-n"], self.policies[3]),
                                (["datastore", "-o", "json", "--", "-u"], self.datastores[2]),
                                (["policy", "-o", "json", ""], self.policies[4]),
                                (["policy", "-o", "json", "--name="], self.policies[4])):
            self.assertEqual(json.loads(self.ask("get", *words).text), [expected])

    def test_TableIsThatOfTheListing(self):
        heading, first, *_ = self.ask("list", "policies").text.splitlines()
        self.assertEqual([line.split() for line in
                          self.ask("get", "policy", "gold-01").text.splitlines()],
                         [heading.split(), first.split()])

    def test_BytesThatAreNoUtf8NameARecord(self):
        odd = policy({"base64": base64_of(b"\xff")}, id={"base64": base64_of(b"\xfe")})
        self.apply(document([odd]))
        self.assertEqual(self.got("policy", b"\xfe"), [odd])
        self.assertEqual(self.got("policy", "--name", b"\xff"), [odd])

    def test_AbsentRecordIsNamed(self):
        for words, message in (
                (["policy", "nobody"], 'there is no policy with the identifier or name "nobody"'),
                (["policy", "--name", "nobody"], 'there is no policy named "nobody"'),
                (["datastore", "ds:///9/"], 'there is no datastore "ds:///9/"')):
            self.assertEqual(self.refuse(ABSENT, "get", *words).errors, f"quorctl: {message}\n")

    def test_KeysAreComparedByteForByte(self):
        for words in (["policy", "gold-01 "], ["policy", "GOLD-01"], ["policy", "gold"],
                      ["datastore", "ds:///1"], ["policy", "--name", "gold"]):
            self.refuse(ABSENT, "get", *words)

    def test_PolicyByNameWhereNoIdentifierIsThat(self):
        self.assertEqual(self.got("policy", "Silver"), [self.policies[1]])

    def test_SeveralAreShownInTheOrderAskedForAndOnce(self):
        self.assertEqual(self.got("policies", "Silver", "gold-01", "silver-01", "gold*"),
                         [self.policies[1], self.policies[0], self.policies[2]])
        self.assertEqual(json.loads(self.ask("get", "datastores", "-o", "json", "--", "-u",
                                             "ds:///1/").text),
                         [self.datastores[2], self.datastores[0]])

    def test_WithoutAKeyAllAreShown(self):
        self.assertEqual(self.got("policies"), self.policies)
        self.assertEqual(self.got("datastores"), self.datastores)
        self.assertEqual(json.loads(self.ask("list", "policies", "Silver", "-o", "json").text),
                         [self.policies[1]])

    def test_PatternsAreOfIdentifiersAndNames(self):
        self.assertEqual(self.got("policy", "?old"), [self.policies[0], self.policies[2]])
        self.assertEqual(self.got("policy", "[s]*-01"), [self.policies[1]])
        self.assertEqual(self.got("datastore", "ds:*"), self.datastores[:2])
        self.refuse(ABSENT, "get", "policy", "x*", message='identifier or name "x*"')

    def test_WhatIsThereIsShownBesideWhatIsNot(self):
        result = self.run_quorctl("get", "policy", "gold-01", "a", "b", "-o", "json")
        self.assertEqual((result.status, json.loads(result.text)), (ABSENT, [self.policies[0]]))
        self.assertEqual(result.errors, 'quorctl: there is no policy with the identifier or name "a"; '
                                        'there is no policy with the identifier or name "b"\n')

    def test_ConditionsChooseRecords(self):
        self.assertEqual(self.got("policies", "--where", "name=G*"), [self.policies[0]])
        self.assertEqual(self.got("policies", "--where=blobs=RILK:*", "--where", "id=*-01"),
                         self.policies[:2])
        self.assertEqual(self.got("datastores", "--where", "namespace=VOLB", "--fields", "url"),
                         [{"url": "ds:///2/"}])
        self.assertEqual(self.got("datastores", "--where", "defaultPolicyName=G*"), [])

    def test_WordsThatMakeNoQuestionAreRefused(self):
        for words, message in (
                ([], "get what? policies or datastores (see: quorctl help get)"),
                (["polices"], 'unknown kind "polices"; choose policies or datastores; did you mean '
                              '"policies"?'),
                (["policy"], 'get policy needs a KEY; "quorctl get policies" shows all'),
                (["policy", "a", "--name", "b"], "a KEY and --name exclude each other"),
                (["datastore"], 'get datastore needs a KEY; "quorctl get datastores" shows all'),
                (["datastore", "u", "--name", "n"], "--name goes with policies only"),
                (["datastore", "--name", "n"], "--name goes with policies only"),
                (["policies", "--where", "id"], '"id": give --where FIELD=PATTERN'),
                (["policies", "--where", "iid=x"], 'unknown field "iid"; choose among id, name,'),
                (["policy", "a", "-o", "xml"], 'unknown output format "xml"')):
            self.refuse(USAGE, "get", *words, message=message)

    def test_DamagedRecordMayBeTheOneThatIsMissed(self):
        self.apply(document([policy("A"), policy("B", blobs=[blob(text="find me in the file")])]))
        path = self.snapshot_path()
        with open(path, "rb") as file:
            content = file.read()
        with open(path, "wb") as file:
            file.write(content.replace(b"find me in the file", b"FIND ME IN THE FILE"))
        self.assertEqual([p["name"] for p in self.got("policy", "id-A")], ["A"])
        self.refuse(STORE, "get", "policy", "id-B", message="1 of 2 policies cannot be read")


if __name__ == "__main__":
    unittest.main()
