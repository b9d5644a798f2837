# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""quor-publish: releases, channels and hosts, and what it refuses."""
import json
import os
import subprocess
import unittest
import zlib

from publish_case import (ABSENT, BAD_INPUT, CENTRE, EXAMPLE, MOVED, NOT_CONFIRMED, PERMISSION, USAGE, PublishCase,
                          document)
from postgres import SUPERUSER


class Publishing(PublishCase):
    def test_ReleaseHoldsTheCanonicalDocument(self):
        with open(EXAMPLE, "rb") as file:
            example = file.read()
        text = self.ask("publish", EXAMPLE, "--parent", "0", "--reason", "the first one")
        self.assertIn("published release 1, 16 policies and 20 datastores, sha256 ", text)
        self.assertIn("no host is offered it yet", text)
        rows = self.server.sql("select encode(document, 'hex'), sha256, document_bytes, author, reason, parent "
                               "from quor.release")
        canonical = zlib.decompress(bytes.fromhex(rows[0][0]))
        self.assertEqual(rows[0][1:], [text.split("sha256 ")[1].split()[0], str(len(canonical)), "ann",
                                       "the first one", ""])
        self.assertEqual(self.ask("export", "1", options=()).encode(), canonical)
        names = {policy["name"] for policy in json.loads(canonical)["policies"]}
        self.assertEqual(names, {policy["name"] for policy in json.loads(example)["policies"]})

    def test_DocumentMayBeYaml(self):
        text = self.ask("publish", "-", "--parent", "0", "--reason", "by hand", given=(
            b"format: quor-catalogue/1\npolicies:\n"
            b"  - {id: a, name: A, description: '', generation: 1, blobs: []}\ndatastores: []\n"))
        self.assertIn("published release 1, 1 policy and 0 datastores", text)
        self.assertEqual(json.loads(self.ask("export", "1", options=()))["policies"][0]["name"], "A")

    def test_SameRecordsInAnotherOrderAreTheSameRelease(self):
        self.publish(0, document())
        mixed = json.loads(document())
        mixed["policies"].reverse()
        text = self.ask("publish", "-", "--parent", "1", "--reason", "x", given=json.dumps(mixed).encode())
        self.assertIn("release 1 holds this document already; nothing was published", text)
        self.assertEqual(self.publish(1, document(), "--again"), 2)

    def test_DifferenceIsShown(self):
        self.publish(0, document())
        text = self.ask("publish", "-", "--parent", "1", "--reason", "x", "--dry-run",
                        given=document(policies=11, generation=2))
        self.assertIn("0 policies and 0 datastores to delete, 1 policy and 0 datastores to add, "
                      "10 policies and 0 datastores to change\n", text)
        self.assertRegex(text, r"\nadded +policy +Policy 10 +id-10 +-\n")
        self.assertRegex(text, r"\nchanged +policy +Policy 1 +id-1 +generation 1 -> 2\n")
        self.assertEqual(self.server.sql("select count(*) from quor.release"), [["1"]])

    def test_StaleParentIsRefused(self):
        self.publish(0)
        self.publish(1, reason="of somebody else")
        self.refuse(MOVED, r"the newest release is not 1: release 2 of ann, .* \"of somebody else\"; nothing was "
                    r"published; look at it with \"quor-publish export 2\".*--parent 2",
                    "publish", "-", "--parent", "1", "--reason", "x", given=document(generation=9))
        self.refuse(MOVED, "this very document: it was published",
                    "publish", "-", "--parent", "1", "--reason", "x", given=document(generation=2))
        self.refuse(USAGE, r"--parent N.*release 2 of ann", "publish", "-", "--reason", "x", given=document())
        self.assertEqual(self.server.sql("select count(*) from quor.release"), [["2"]])

    def test_TwoAtOnceMakeOneRelease(self):
        self.publish(0)
        running = [self.start("publish", "-", "--parent", "1", "--reason", f"of {n}") for n in range(6)]
        for number, process in enumerate(running):
            process.stdin.write(document(generation=100 + number))
            process.stdin.close()
        statuses = []
        for process in running:
            errors = process.stderr.read()
            process.stdout.close()
            process.stderr.close()
            statuses.append(process.wait())
            self.assertEqual(b"the newest release is" in errors, statuses[-1] == MOVED, errors)
        self.assertEqual(sorted(statuses), [0] + [MOVED] * 5)
        self.assertEqual(self.server.sql("select count(*) from quor.release"), [["2"]])

    def test_DeletionsAreConfirmed(self):
        self.publish(0)
        words = ("publish", "-", "--parent", "1", "--reason", "x")
        result = self.refuse(NOT_CONFIRMED, r"would delete 1 policy and 0 datastores.* from release 1; nothing was "
                             "published; confirm with --yes", *words, given=document(9))
        self.assertIn("deleted  policy", result.text)
        self.assertIn("published release 2", self.ask(*words, "--yes", given=document(9)))

    def test_DeletingNinetyPercentIsRefusedWhateverWasConfirmed(self):
        self.publish(0)
        words = ("publish", "-", "--parent", "1", "--reason", "x", "--yes")
        self.refuse(NOT_CONFIRMED, "every host would refuse this: it deletes 9 of 10 policies and 9 of 10 datastores, "
                    "more than a fifth; publish it with --may-shrink", *words, given=document(1, 1))
        self.refuse(NOT_CONFIRMED, "the document is empty; publish it with --may-empty", *words, "--may-shrink",
                    given=document(0, 0))
        self.assertEqual(self.publish(1, document(1, 1), "--yes", "--may-shrink"), 2)
        self.assertEqual(self.publish(2, document(0, 0), "--yes", "--may-empty"), 3)
        self.assertEqual(self.server.sql("select may_shrink, may_empty from quor.release order by id"),
                         [["f", "f"], ["t", "f"], ["f", "t"]])

    def test_WrongDocumentsAreRefused(self):
        twice = json.loads(document(2))
        twice["policies"][1]["name"] = twice["policies"][0]["name"]
        nameless = json.loads(document(1))
        nameless["policies"][0]["blobs"][0]["namespace"] = ""
        for content, message in ((b"{", "standard input: line 1"), (json.dumps(twice).encode(), "stands at"),
                                 (json.dumps(nameless).encode(), "namespace: is empty")):
            self.refuse(BAD_INPUT, message, "publish", "-", "--parent", "0", "--reason", "x", given=content)
        self.refuse(BAD_INPUT, "cannot read /nowhere: No such file", "publish", "/nowhere", "--parent", "0",
                    "--reason", "x")
        self.refuse(USAGE, "--reason TEXT", "publish", "-", "--parent", "0", given=document())

    def test_SignatureIsOfNumberAndHash(self):
        key, public = (os.path.join(self.directory, name) for name in ("key.pem", "public.pem"))
        subprocess.run(["openssl", "genpkey", "-algorithm", "ed25519", "-out", key], check=True)
        subprocess.run(["openssl", "pkey", "-in", key, "-pubout", "-out", public], check=True)
        self.publish(0, document(), "--key", key)
        signature, digest = self.server.sql("select encode(signature, 'hex'), sha256 from quor.release")[0]
        signed, made = (os.path.join(self.directory, name) for name in ("signed", "made"))
        with open(signed, "w", encoding="ascii") as file:
            file.write(f"quor-release\n1\n{digest}\n")
        with open(made, "wb") as file:
            file.write(bytes.fromhex(signature))
        subprocess.run(["openssl", "pkeyutl", "-verify", "-pubin", "-inkey", public, "-rawin", "-in", signed,
                        "-sigfile", made], check=True, stdout=subprocess.DEVNULL)
        self.refuse(USAGE, "public.pem: is no private Ed25519 key", "publish", "-", "--parent", "1", "--reason", "x",
                    "--key", public, given=document(generation=2))
        self.assertEqual(self.server.sql("select count(*) from quor.release"), [["1"]])

    def test_RollbackIsANewRelease(self):
        self.publish(0, document(10))
        self.publish(1, document(12))
        self.refuse(NOT_CONFIRMED, "would delete 2 policies", "rollback", "1")
        text = self.ask("rollback", "1", "--yes")
        self.assertIn("published release 3, 10 policies", text)
        rows = self.server.sql("select sha256, reason, parent from quor.release order by id")
        self.assertEqual(rows[2], [rows[0][0], "back to the document of release 1", "2"])
        self.refuse(ABSENT, "release 9 is not at the centre; the newest is 3", "rollback", "9")

    def test_DamagedReleaseIsNamed(self):
        self.publish(0)
        self.server.sql("alter table quor.release disable trigger all; update quor.release set document = "
                        "substring(document for 50); alter table quor.release enable trigger all")
        self.refuse(BAD_INPUT, "release 1: the document at the centre is damaged", "export", "1")
        result = self.refuse(NOT_CONFIRMED, "confirm with --yes", "publish", "-", "--parent", "1", "--reason", "x",
                             given=document(generation=2))
        self.assertIn("what differs cannot be told: release 1", result.text)
        self.assertEqual(self.publish(1, document(), "--again", "--yes"), 2)


class Channels(PublishCase):
    def test_ChannelsGoForwardAlone(self):
        for parent in range(3):
            self.publish(parent)
        self.assertIn("release none -> 2, offered to 0 hosts", self.ask("promote", "2", "prod"))
        self.assertIn("has release 2 already", self.ask("promote", "2", "prod"))
        self.refuse(MOVED, "channel prod has release 2: release 1 would take its hosts back; nothing was changed; .*"
                    "rollback 1", "promote", "1", "prod")
        self.ask("promote", "3", "prod")
        self.assertEqual(self.channels(), {"prod": 3, "canary": None})
        self.refuse(ABSENT, "release 7 is not at the centre", "promote", "7", "prod")
        self.refuse(ABSENT, "no channel \"prd\"; there are: canary, prod", "promote", "3", "prd")

    def test_StepThatHostsWouldRefuseIsRefused(self):
        # None of the releases deletes much; together they do.
        for parent, policies in enumerate((20, 17, 14)):
            self.publish(parent, document(policies, 10), "--yes")
        self.ask("promote", "1", "prod")
        self.refuse(NOT_CONFIRMED, "hosts of channel prod, which have release 1, would refuse this: release 3: it "
                    "deletes 6 of 20", "promote", "3", "prod")
        self.ask("promote", "2", "prod")
        self.ask("promote", "3", "prod")

    def test_PauseAndResume(self):
        self.publish(0)
        self.server.add_host("h1")
        self.assertIn("channel prod is paused", self.ask("pause", "prod"))
        self.assertEqual(self.server.sql("select paused from quor.head()", user="h1"), [["t"]])
        self.assertIn("when the channel is resumed", self.ask("promote", "1", "prod"))
        self.assertIn("channel prod is not paused", self.ask("resume", "prod"))
        self.assertEqual(self.server.sql("select paused, release from quor.head()", user="h1"), [["f", "1"]])

    def test_ChannelsAreMade(self):
        self.ask("channel", "add", "early")
        self.refuse(MOVED, "channel \"early\" already", "channel", "add", "early")
        self.refuse(USAGE, "a name has letters", "channel", "add", "a b")


class Hosts(PublishCase):
    def test_HostsComeMoveAndGo(self):
        self.publish(0)
        self.ask("promote", "1", "prod")
        self.assertIn("looks at channel prod as the role h1, which was made", self.ask("host", "add", "h1"))
        self.assertEqual(self.server.sql("select channel, release from quor.head()", user="h1"), [["prod", "1"]])
        self.report("h1", 1)
        self.publish(1)
        self.ask("promote", "2", "canary")
        self.ask("host", "move", "h1", "canary")
        self.report("h1", 2)
        self.assertIn("it has release 2 and stays with it until the channel, at 1, is beyond",
                      self.ask("host", "move", "h1", "prod"))
        self.ask("host", "remove", "h1")
        self.assertEqual(self.server.sql("select rolname from pg_roles where rolname = 'h1'"), [])
        self.refuse(ABSENT, "no host \"h1\"", "host", "move", "h1", "prod")
        self.refuse(ABSENT, "no host \"h1\"", "host", "remove", "h1")

    def test_TakenNamesAndRolesAreRefused(self):
        self.ask("host", "add", "h1")
        self.refuse(MOVED, "is there already", "host", "add", "h1")
        self.refuse(MOVED, "is there already", "host", "add", "h2", "--role", "h1")
        self.refuse(CENTRE, "role vic is not a member of quor_host; grant quor_host to vic", "host", "add", "h3",
                    "--role", "vic")
        self.refuse(ABSENT, "no channel \"x\"", "host", "add", "h3", "--channel", "x")
        self.refuse(USAGE, "a name has letters", "host", "add", "h 3")


class Operators(PublishCase):
    def test_ViewerAndHostChangeNothing(self):
        self.publish(0)
        self.server.add_host("h1")
        for user in ("vic", "h1"):
            for words in (("publish", "-", "--parent", "1", "--reason", "x"), ("promote", "1", "prod"),
                          ("pause", "prod"), ("host", "add", "x"), ("host", "remove", "h1"), ("retain", "--keep", "1")):
                self.refuse(PERMISSION, "permission denied.*grant the role quor_publisher", *words, user=user,
                            given=document(generation=2))
        self.refuse(PERMISSION, "permission denied", "status", user="h1", options=())
        self.ask("status", user="vic", options=())

    def test_UnknownRoleIsTold(self):
        self.refuse(CENTRE, 'no connection to the centre: 127.0.0.1:.*role "nobody" does not exist', "status",
                    user="nobody")

    def test_WithoutTablesTheWayIsTold(self):
        self.server.sql("drop schema quor cascade")
        self.refuse(CENTRE, 'quor-publish init', "status", user=SUPERUSER)
        self.assertIn("the tables of the centre have version 2", self.ask("init", user=SUPERUSER))
        self.assertIn("version 2 already", self.ask("migrate", user=SUPERUSER))
        self.server.sql("insert into quor.schema_version values (99)")
        self.refuse(CENTRE, "have version 99, this program knows 2; nothing was changed", "migrate", user=SUPERUSER)

    def test_TablesOfAnEarlierVersionAreBroughtUpToDate(self):
        self.server.make_centre(version=1)
        self.server.add_host("h1")
        for parent in range(2):
            self.publish(parent)
        self.ask("promote", "1", "prod")
        self.report("h1", 1)
        tables = ("release", "channel", "host", "host_status", "event")
        before = [self.server.sql(f"select * from quor.{table}") for table in tables]
        second = "select sha256 from quor.document(2)"
        self.assertEqual(len(self.server.sql(second, user="h1")), 1)
        self.refuse(CENTRE, "quor.offered.* does not exist; .*quor-publish init", "status")

        self.refuse(PERMISSION, "permission denied|must be owner", "migrate", user="ann")
        self.assertIn("the tables of the centre have version 2 in", self.ask("migrate", user=SUPERUSER))
        self.assertEqual([self.server.sql(f"select * from quor.{table}") for table in tables], before)
        self.assertEqual(self.server.sql(second, user="h1"), [])
        self.assertRegex(self.ask("status", "--hosts"), r"h1 +prod +current +1 +1 ")

    def test_TableThatIsMissingIsNamed(self):
        self.server.sql("drop table quor.host_status cascade")
        self.refuse(CENTRE, 'quor.host_status" does not exist', "status")
        self.refuse(CENTRE, "its tables have version 2, and quor.host_status is missing; restore the database",
                    "init", user=SUPERUSER)

    def problems(self):
        """Of status, as JSON; the text and the page say the same."""
        found = self.status()["problems"]
        text = self.ask("status", options=())
        self.assertEqual([line[len("problem: "):] for line in text.splitlines() if line.startswith("problem: ")],
                         found)
        return found

    def test_WhatTheCentreHasLostIsNamed(self):
        self.assertEqual(self.problems(), [])
        for parent in range(2):
            self.publish(parent)
        self.ask("promote", "2", "prod")
        self.assertEqual(self.problems(), [])
        advice = "; hosts keep what they have; restore the database from a backup"
        as_nobody_may = "set session_replication_role = replica; "
        self.server.sql(as_nobody_may + "delete from quor.release where id = 2")
        self.assertEqual(self.problems(), [
            "channel prod offers release 2, which is not there" + advice,
            "release 2 was published, the newest one here is 1" + advice])
        self.server.sql(as_nobody_may + "truncate quor.release cascade")
        self.assertEqual(self.problems(), [
            "the table of channels is empty" + advice,
            "release 2 was published, the newest one here is none" + advice])

    def test_LogTellsWhoDidWhat(self):
        self.publish(0, reason="because\x1b[31m")
        self.ask("promote", "1", "prod")
        entries = json.loads(self.ask("log", "-o", "json", user="vic", options=()))
        self.assertEqual([(e["author"], e["action"], e["release"], e["channel"], e["detail"]) for e in entries[:2]],
                         [("ann", "promote", 1, "prod", "from nothing"), ("ann", "publish", 1, None, "because\x1b[31m")])
        self.assertNotIn("\x1b", self.ask("log", options=()))

    def test_RetentionKeepsWhatIsUsed(self):
        for parent in range(5):
            self.publish(parent)
        self.ask("promote", "2", "prod")
        self.assertEqual(self.ask("retain", "--keep", "1"), "deleted 3 releases, 2 are left\n")
        self.refuse(USAGE, "at least the newest", "retain", "--keep", "0")

    def test_WordsThatMakeNoCommandAreRefused(self):
        for words in ((), ("publsh",), ("publish",), ("promote", "x", "prod"), ("status", "-o", "xml"),
                      ("rollout", "1", "--share", "100"), ("--timeout", "0", "status")):
            self.refuse(USAGE, "see: quor-publish --help", *words, options=())
        self.assertIn("rollout", self.ask("--help", options=()))
        self.assertRegex(self.ask("--version", options=()), r"\Aquor-publish \d+\.\d+\.\d+\n\Z")


if __name__ == "__main__":
    unittest.main()
