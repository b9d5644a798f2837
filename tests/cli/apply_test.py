# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""quorctl apply: what it replaces, what it tells, and that a refused document changes nothing."""
import json
import os
import resource
import signal
import unittest

from quorctl_case import (BAD_INPUT, DONE, STORE, QuorctlCase, blob, datastore, document,
                          entries_of, policy)


class Apply(QuorctlCase):
    def test_TellsWhatWasAppliedAndWhere(self):
        path = self.write("two.json", json.dumps(document(
            [policy("A", blobs=[blob("RILK"), blob("VOLB"), blob("SHRF")]), policy("B")],
            [datastore("ds:///1/"), datastore("ds:///2/"), datastore("ds:///3/")])))
        self.assertEqual(
            self.ask("apply", path).text.splitlines()[-1],
            f"applied 2 policies (4 blobs) and 3 datastores to the configuration store in "
            f"{self.host}")

    def test_CountsOfOneAreInTheSingular(self):
        self.assertIn("applied 1 policy (1 blob) and 1 datastore to",
                      self.apply(document([policy()], [datastore()])).text)

    def test_CountsOfNoneAreInThePlural(self):
        self.apply(document([policy()], [datastore()]))
        self.assertIn("applied 0 policies (0 blobs) and 0 datastores to",
                      self.apply(document()).text)

    def test_ReadsStandardInput(self):
        given = document([policy("From input")], [datastore("ds:///input/")])
        self.ask("apply", "-", given=json.dumps(given).encode())
        self.assertEqual(self.listed_document(), given)

    def test_FileWhoseNameBeginsWithADashIsAppliedAfterTwoDashes(self):
        self.write("-x.json", json.dumps(document([policy("Dash")])))
        self.ask("apply", "--", "-x.json", cwd=self.directory)
        self.assertEqual([p["name"] for p in self.listed("policies")], ["Dash"])

    def test_FileNamedLikeACommandIsAFile(self):
        self.write("list", json.dumps(document([policy("L")])))
        self.ask("apply", "list", cwd=self.directory)
        self.assertEqual([p["name"] for p in self.listed("policies")], ["L"])

    def test_WhatIsNotInTheDocumentIsDeleted(self):
        self.apply(document([policy("A"), policy("B")], [datastore("ds:///1/")]))
        then = document([policy("C")], [datastore("ds:///2/"), datastore("ds:///3/")])
        self.apply(then)
        self.assertEqual(self.listed_document(), then)

    def test_EmptyDocumentDeletesEverything(self):
        self.apply(document([policy("A")], [datastore("ds:///1/")]))
        self.apply(document())
        self.assertEqual(self.listed_document(), document())

    def test_OrderOfTheDocumentIsKept(self):
        names = ["m", "a", "z", "b", "\u00e9", "A"]
        given = document([policy(name) for name in names],
                         [datastore(f"ds:///{name}/") for name in reversed(names)])
        self.apply(given)
        self.assertEqual(self.listed_document(), given)

    def test_ApplyingTwiceIsApplyingOnce(self):
        given = document([policy("A"), policy("B")], [datastore("ds:///1/")])
        self.apply(given)
        self.apply(given)
        self.assertEqual(self.listed_document(), given)

    def test_ThousandPoliciesArriveWhole(self):
        given = document(
            [policy(f"P{i}", generation=i, blobs=[blob("RILK", text=f"blob {i}\n" * 20)])
             for i in range(1000)], [datastore(f"ds:///{i}/") for i in range(1000)])
        self.apply(given)
        self.assertEqual(self.listed_document(), given)

    def test_LargeBlobArrivesWhole(self):
        given = document([policy(blobs=[blob("RILK", text="0123456789abcdef" * 65536)])])
        self.apply(given)
        self.assertEqual(self.listed_document(), given)

    def test_PoliciesWithEqualIdentifiersAreAllowed(self):
        given = document([policy("A", id="same"), policy("B", id="same")])
        self.apply(given)
        self.assertEqual(self.listed_document(), given)

    def test_DefaultPolicyNeedsNotExist(self):
        given = document([], [datastore(defaultPolicy="nobody"), datastore("u", defaultPolicy="")])
        self.apply(given)
        self.assertEqual(self.listed_document(), given)


class RefusedApply(QuorctlCase):
    def test_RefusedDocumentChangesNothing(self):
        self.apply(document([policy("A")], [datastore("ds:///1/")]))
        before = entries_of(self.host)
        wrong = document([policy("B"), policy("C")], [datastore("ds:///2/", namespace=7)])
        self.refuse(BAD_INPUT, "apply", "-", given=json.dumps(wrong).encode())
        self.assertEqual(entries_of(self.host), before)

    def test_RefusedDocumentOnAnEmptyHostCreatesNothing(self):
        self.refuse(BAD_INPUT, "apply", "-", given=b"{}")
        self.assertFalse(os.path.exists(self.host))

    def test_AbsentFileIsAnInputThatCannotBeRead(self):
        path = os.path.join(self.directory, "absent.json")
        self.refuse(BAD_INPUT, "apply", path,
                    message=f"cannot read {path}: No such file or directory")

    def test_DirectoryIsAnInputThatCannotBeRead(self):
        self.refuse(BAD_INPUT, "apply", self.directory,
                    message=f"cannot read {self.directory}: Is a directory")

    def test_ClosedStandardInputIsAnInputThatCannotBeRead(self):
        result = self.refuse(BAD_INPUT, "apply", "-", given=None, stdin=None,
                             preexec_fn=lambda: os.close(0))
        self.assertIn("cannot read standard input: ", result.errors)

    def apply_with_room(self, content, room, *options, message):
        """A replacement during which no file can become larger than `room`."""
        def limit_file_size():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)  # the write fails instead
            resource.setrlimit(resource.RLIMIT_FSIZE, (room, room))

        result = self.run_quorctl("apply", "--yes", *options, "-",
                                  given=json.dumps(content).encode(),
                                  preexec_fn=limit_file_size, restore_signals=False)
        self.assertEqual(result.status, STORE, result.errors)
        self.assertRegex(result.errors, r"\Aquorctl: [^\n]+\n\Z")
        self.assertIn(message, result.errors)
        return result

    def test_PoliciesArePutBackWhenTheDatastoresCannotBeReplaced(self):
        for choice in ("store", "file"):
            self.ask("switch", "--yes", choice)
            before = document([policy("A"), policy("C")], [datastore("ds:///kept/")])
            self.apply(before)
            digest = self.ask("digest").text
            room = os.path.getsize(self.snapshot_path()) + 4000
            larger = document([policy("B")], [datastore(f"ds:///{i}/") for i in range(1000)])
            result = self.apply_with_room(larger, room, "--no-history",
                                          message="the datastores could not be replaced: ")
            self.assertIn("were put back: the catalogue is as it was before", result.errors)
            self.assertEqual(self.listed_document(), before)
            self.assertEqual(self.ask("digest").text, digest)

    def test_PoliciesThatCannotBePutBackAreTold(self):
        self.apply(document([policy("A", blobs=[blob(text="x" * 100_000)])], []))
        larger = document([policy("B")], [datastore(f"ds:///{i}/") for i in range(1000)])
        result = self.apply_with_room(
            larger, 50_000, "--no-history",
            message="the policies were replaced but the datastores were not: ")
        self.assertIn("the old policies could not be put back either: ", result.errors)
        self.assertEqual(self.listed_document(), document([policy("B")], []))

    def test_CatalogueOfPoliciesThatCannotBePutBackStaysInTheHistory(self):
        self.ask("switch", "file")
        before = document([policy("A", blobs=[blob(text="x" * 100_000)])], [])
        self.apply(before)
        larger = document([policy("B")], [datastore(f"ds:///{i}/") for i in range(1000)])
        room = os.path.getsize(os.path.join(self.host, "host-config.json")) - 1000
        result = self.apply_with_room(larger, room,
                                      message="the old policies could not be put back either: ")
        self.assertIn("; the old catalogue is number 2 of the history (\"quorctl restore 2\")",
                      result.errors)
        self.ask("restore", "--yes", "2")
        self.assertEqual(self.listed_document(), before)

    def test_DeletionOfDamagedRecordsThatNothingCouldFollowIsTold(self):
        self.apply(document([policy("A")], [datastore("ds:///find/")]))
        path = self.snapshot_path()
        with open(path, "rb") as file:
            content = file.read()
        with open(path, "wb") as file:
            file.write(content.replace(b"ds:///find/", b"ds:///FIND/"))
        larger = document([policy(f"B{i}") for i in range(1000)], [datastore()])
        self.apply_with_room(larger, 16384, "--no-history",
                             message="what was stored is deleted, because of the records that "
                                     "cannot be read, but not all could be written anew: ")
        self.assertEqual(self.listed_document(), document())
        self.ask("apply", "--no-history", "-", given=json.dumps(larger).encode())
        self.assertEqual(self.listed_document(), larger)

    def test_ReplacementThatDidNotHappenLeavesNoTraceInTheHistory(self):
        self.ask("switch", "--yes", "file")
        self.apply(document([policy("A")], []))
        path = self.snapshot_path()
        with open(path, encoding="utf-8") as file:
            tree = json.load(file)
        tree["Other"] = "x" * 200_000  # of another program: the store is larger than what is kept
        with open(path, "w", encoding="utf-8") as file:
            json.dump(tree, file)
        kept = self.ask("history", "-o", "json").text
        larger = document([policy("B")], [datastore(f"ds:///{i}/") for i in range(1000)])
        self.apply_with_room(larger, os.path.getsize(path) + 4000, message="were put back")
        self.assertEqual(self.ask("history", "-o", "json").text, kept)

    def test_FullDiskIsAReasonToKeepNothing(self):
        self.apply(document([policy("A")], []))
        self.apply_with_room(document([policy("B")], []), 100,
                             message="; --no-history changes it without")

    def test_FailureOfTheFirstReplacementChangesNothing(self):
        given = document([policy("A")], [datastore()])
        self.apply(given)
        larger = document([policy(f"B{i}") for i in range(1000)], [])

        self.apply_with_room(larger, 16384, "--no-history", message="config-store.cdb")
        self.assertEqual(self.run_quorctl("status").status, DONE)
        self.assertEqual(self.listed_document(), given)


if __name__ == "__main__":
    unittest.main()
