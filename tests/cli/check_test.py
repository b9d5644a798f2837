# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""quorctl check: each finding in a host directory that has that fault."""
import csv
import fcntl
import io
import json
import os
import struct
import subprocess
import unittest

from check_case import CheckCase
from quorctl_case import (DONE, NO, PERMISSION, STRANGER, USAGE, base64_of, blob, datastore, document,
                          entries_of, policy, without_lock_files)
from private_mounts import need_private_mounts, with_private_mounts
from stranger import become_stranger, need_root


class ReadOnlyFileSystem(CheckCase):
    def test_ItIsFound(self):
        need_private_mounts(self, self.host)
        script = "mount --bind $H $H && mount -o remount,bind,ro $H && exec $Q check -o json"
        done = subprocess.run(with_private_mounts(self.host, "sh", "-c", script),
                              env=self.environment(H=self.host, Q=self.program), stdout=subprocess.PIPE)
        self.assertEqual(done.returncode, NO)
        self.assertEqual([(f["severity"], f["subject"], f["problem"])
                          for f in json.loads(done.stdout)],
                         [("warning", self.host,
                           "its file system is mounted read-only, so no change can be made")])
        self.expect_nothing()


class Severity(CheckCase):
    def test_ErrorsAloneAreToldAndCounted(self):
        self.apply(document([policy("Gold")], [datastore(defaultPolicy="none")]))
        self.assertEqual(len(self.findings("--severity", "warning")), 1)
        self.assertEqual(self.findings("--severity", "error", status=DONE), [])
        with open(self.store, "wb") as file:
            file.write(b"damaged")
        found = self.findings("--severity", "error")
        self.assertEqual({finding["severity"] for finding in found}, {"error"})
        self.assertEqual(self.findings("--where", "severity=info"), [])
        self.refuse(USAGE, "check", "--severity", "worst",
                    message='unknown severity "worst"; choose error or warning')


class Sound(CheckCase):
    def test_SoundHostHasNoFindings(self):
        self.expect_nothing()
        self.assertEqual(self.ask("check").raw, b"")

    def test_HostWhereNothingWasStoredHasNoFindings(self):
        other = os.path.join(self.directory, "other")
        os.mkdir(other)
        os.chmod(other, 0o2750)
        self.assertEqual(self.findings("--root", other, status=DONE), [])
        self.assertEqual(os.listdir(other), [])

    def test_BothStoresAndTheHistoryMayBeThere(self):
        self.ask("migrate", "--to", "file")
        for choice in ("file", "store"):
            self.ask("switch", "--yes", choice)
            self.expect_nothing()

    def test_NothingIsWritten(self):
        self.ask("migrate", "--to", "file")
        before = without_lock_files(entries_of(self.directory))
        self.ask("check")
        self.assertEqual(without_lock_files(entries_of(self.directory)), before)

    def test_VerboseTellsHowManyRecordsWereVerified(self):
        self.ask("migrate", "--to", "file")
        found = self.findings("--verbose", status=DONE)
        self.assertEqual({f["severity"] for f in found}, {"info"})
        self.assertEqual(
            sorted((f["subject"], f["problem"]) for f in found),
            [(self.store, "3 records were verified"), (self.file, "3 records were verified")])


class DamagedStore(CheckCase):
    def test_EachDamagedRecordIsALine(self):
        self.replace(self.store, b"find me in the file", b"FIND me in the file")
        self.expect("error", self.store, "the checksum of the record at byte")
        self.replace(self.store, b"ds:///find/", b"ds:///FIND/")
        found = self.findings()
        self.assertEqual([f["severity"] for f in found], ["error", "error"])
        self.assertEqual(len({f["problem"] for f in found}), 2)

    def test_DamageIsFoundInTheStoreThatIsNotInUse(self):
        self.ask("migrate", "--to", "file")
        self.ask("switch", "--yes", "file")
        self.replace(self.store, b"find me in the file", b"FIND me in the file")
        self.expect("error", self.store, "the checksum of the record at byte")

    def test_UnusableStoreIsALine(self):
        for size in (0, 100, os.path.getsize(self.store) - 1):
            with open(self.store, "r+b") as file:
                file.truncate(size)
            found = self.findings()
            self.assertEqual({f["severity"] for f in found}, {"error"})
            self.assertIn(self.store, [f["subject"] for f in found])

    def test_ValueOfAnotherTypeHidesTheRecord(self):
        self.odd("typed")
        self.expect("error", self.store, 'policy "": its value "name" is of another type, so that '
                                         "listings leave the whole record out", count=2)

    def test_MissingValuesAreTold(self):
        self.odd("partial")
        self.expect("error", self.store, 'policy "odd": its value "generation_number" is missing',
                    count=2)
        self.expect("warning", self.store,
                    'datastore "ds:///odd/": its value "datastore_namespace" is missing', count=2)

    def test_RecordUnderAnotherKeyIsNotFoundByLookups(self):
        self.odd("moved")
        for who in ('policy "odd"', 'datastore "ds:///odd/"'):
            self.expect("error", self.store, who + ": is stored under another key", count=2)

    def test_RepeatedPolicyNames(self):
        self.odd("twins")
        self.expect("warning", 'policy name "twin"', "2 policies have it, and only the first")


class DamagedFile(CheckCase):
    def setUp(self):
        super().setUp()
        self.ask("switch", "--yes", "file")
        self.apply(self.content)

    def test_TextThatIsNoJson(self):
        with open(self.file, "a", encoding="utf-8") as file:
            file.write("}")
        found = self.findings()
        self.assertEqual({f["severity"] for f in found}, {"error"})
        self.assertIn(self.file, [f["subject"] for f in found])
        self.assertIn("host-config.json:", found[0]["problem"])

    def test_BlobThatDoesNotDecode(self):
        self.replace(self.file, base64_of(b"find me in the file").encode(), b"no base64!")
        self.expect("error", self.file, 'blob 0 of /Quor/Policy-Info/policy[1] ("B"): does not '
                                        "decode as Base64, so that listings leave the record out")

    def test_BlobWithoutNamespaceOrContent(self):
        self.change_policy(blobs=[{"blob": ""}, {"datastore-namespace": "N"}])
        self.expect("error", self.file, "blob 0 of ", count=2)
        self.expect("error", self.file, "blob 1 of ", count=2)

    def test_PolicyWithoutAValueIsLeftOut(self):
        for key in ("name", "policy_id", "description"):
            self.apply(self.content)
            self.change_policy(**{key: None})
            self.expect("error", self.file,
                        f'has no "{key.replace("_", "-")}", so that listings leave the record out')
            self.ask("reset", "--yes", "--no-history")

    def test_GenerationNumberThatIsNone(self):
        self.change_policy(generation_number="seven")
        self.expect("error", self.file, 'its "generation-number" is no whole number: "seven", so '
                                        "that listings leave the record out")
        self.change_policy(generation_number=None)
        self.expect("error", self.file, 'its "generation-number" is missing')

    def test_DatastoreWithoutAValueIsLeftOut(self):
        self.change(lambda tree: tree["Datastore-Info"]["Datastore"][0].pop("default-policy-id"))
        self.expect("error", self.file, 'Datastore[0] ("ds:///find/"): has no "default-policy-id"')

    def test_ValueThatIsABranch(self):
        self.change_policy(name={"a": "b"})
        self.expect("error", self.file, "so that listings leave the record out")

    def test_ArrayThatIsNone(self):
        self.change(lambda tree: tree.update({"Policy-Info": {"policy": "text"}}))
        found = self.findings()
        self.assertEqual({f["severity"] for f in found}, {"error"})
        self.assertIn(self.file, [f["subject"] for f in found])

    def test_RepeatedKeys(self):
        def repeat(tree):
            policies = tree["Policy-Info"]["policy"]
            policies.append(dict(policies[0], name="C"))
            policies.append(dict(policies[1], **{"policy-id": "other"}))
            policies[1]["blobs"].append(dict(policies[1]["blobs"][0]))
            stores = tree["Datastore-Info"]["Datastore"]
            stores.append(dict(stores[0]))
        self.change(repeat)
        digest = "the digest depends on the order of the records"
        found = {f["subject"]: f["problem"] for f in self.findings()}
        self.assertEqual(len(found), 4)
        self.assertIn("2 policies have it", found['policy identifier "id-Gold"'])
        self.assertIn(digest, found['policy identifier "id-Gold"'])
        self.assertIn("2 policies have it", found['policy name "B"'])
        self.assertIn('2 blobs are for the namespace "RILK"', found['policy "B"'])
        self.assertIn(digest, found['policy "B"'])
        self.assertIn("2 datastores have it", found['datastore URL "ds:///find/"'])
        self.assertIn(digest, found['datastore URL "ds:///find/"'])


class Catalogue(CheckCase):
    def test_RepeatedIdentifier(self):
        self.apply(document([policy("A", id="x"), policy("B", id="x"), policy("C", id="x")]))
        self.expect("warning", 'policy identifier "x"', "3 policies have it, and only the first is "
                    "found by it; the digest depends on the order of the records")

    def test_DefaultPolicyThatDoesNotExist(self):
        self.apply(document([policy("A")], [datastore(defaultPolicy="none")]))
        self.expect("warning", 'datastore "ds:///a/"', 'its default policy "none" does not exist')

    def test_DefaultPolicyThatMayBeOneThatCannotBeRead(self):
        self.apply(document([policy("B", blobs=[blob(text="find me in the file")])],
                            [datastore(defaultPolicy="id-B")]))
        self.replace(self.store, b"find me in the file", b"FIND me in the file")
        self.expect("warning", 'datastore "ds:///a/"',
                    'its default policy "id-B" does not exist or cannot be read', count=2)

    def test_DefaultPolicyWithoutABlobForTheNamespace(self):
        self.apply(document([policy("Gold")], [datastore(namespace="N")]))
        self.expect("warning", 'datastore "ds:///a/"',
                    "its default policy \"id-Gold\" has no blob for the datastore's namespace \"N\"")

    def test_DatastoreWithoutADefaultPolicyIsNoFinding(self):
        self.apply(document([], [datastore(defaultPolicy="")]))
        self.expect_nothing()

    def test_CatalogueOfTheStoreThatIsNotInUseIsNotJudged(self):
        self.ask("switch", "--yes", "file")
        self.apply(document([], [datastore(defaultPolicy="none")]))
        self.ask("switch", "--yes", "store")
        self.expect_nothing()


class Files(CheckCase):
    def expect_mode(self, name, mode, severity, problem):
        path = os.path.normpath(os.path.join(self.host, name))
        before = os.stat(path).st_mode
        os.chmod(path, mode)
        self.expect(severity, path, problem)
        os.chmod(path, before)
        self.expect_nothing()

    def test_ModesOfDirectories(self):
        for name in (".", "history"):
            self.expect_mode(name, 0o2757, "error", "everybody may write to it")
            self.expect_mode(name, 0o2755, "warning", "everybody may look into it (mode 2755)")
            self.expect_mode(name, 0o2770, "warning", "its group may replace files in it")
            self.expect_mode(name, 0o750, "warning", "new files in it do not get its group")

    def test_ModesOfFiles(self):
        self.ask("migrate", "--to", "file")
        self.ask("switch", "--yes", "store")
        kept = os.path.join("history", sorted(os.listdir(os.path.join(self.host, "history")))[-1])
        for name in ("config-store.cdb", "host-config.json", "features", kept):
            self.expect_mode(name, 0o666, "error", "others than its owner may change it")
            self.expect_mode(name, 0o660, "error", "others than its owner may change it")
            self.expect_mode(name, 0o644, "warning", "everybody may read it (mode 0644)")
            self.expect_mode(name, 0o600, "warning",
                             "the host directory's group cannot read it (mode 0600)")
        for name in ("config-store.lock", "host-config.lock"):
            self.expect_mode(name, 0o640, "warning", "others than its owner may open it")

    def test_LockFileWithASecondName(self):
        os.link(os.path.join(self.host, "config-store.lock"), os.path.join(self.directory, "two"))
        self.expect("error", os.path.join(self.host, "config-store.lock"), "is no plain file")

    def test_Owners(self):
        need_root(self)
        for name in ("config-store.cdb", "config-store.lock", "history"):
            path = os.path.join(self.host, name)
            os.chown(path, STRANGER, -1)
            self.expect("error", path, f"it belongs to user {STRANGER}, who is neither")
            os.chown(path, 0, -1)
        os.chown(self.store, -1, STRANGER)
        self.expect("warning", self.store, "it belongs to another group than the host directory")

    def test_UnusableFeaturesFile(self):
        path = os.path.join(self.host, "features")
        with open(path, "wb") as file:
            file.write(b"short")
        os.chmod(path, 0o640)
        self.expect("error", path, "cannot be used, so every call that reaches a store is refused")

    def test_HeldLockIsToldWithItsHolder(self):
        for name in ("config-store.lock", "host-config.lock"):
            self.ask("migrate", "--to", "file")
            path = os.path.join(self.host, name)
            with open(path, "r+b") as file:
                file.truncate(0)
                file.write(f"process {os.getpid()} (backup)\n".encode())
                file.flush()
                both = struct.pack("hhqqi4x", fcntl.F_WRLCK, os.SEEK_SET, 1, 1, 0)
                fcntl.fcntl(file, fcntl.F_OFD_SETLK, both)
                found = self.findings()
            self.assertIn(("warning", path), [(f["severity"], f["subject"]) for f in found])
            self.assertIn(f"has been held for a second by process {os.getpid()} (backup), and writers "
                          "wait for it", [f["problem"] for f in found])
            self.expect_nothing()

    def test_LockThatIsHeldForAMomentIsNoFinding(self):
        process = self.start("check", "-o", "json")
        for turn in range(10):
            self.apply(document([policy("Gold", generation=turn)]))
        output, errors = process.communicate()
        self.assertEqual((process.returncode, errors), (DONE, b""), output)

    def test_DiskWithoutRoomForTheNextChange(self):
        system = os.statvfs(self.host)
        size = system.f_frsize * system.f_bfree  # twice that is asked for
        with open(self.store, "r+b") as file:
            file.truncate(size)  # sparse: it takes no room itself
        found = self.findings()
        self.assertIn(("warning", self.host), [(f["severity"], f["subject"]) for f in found])
        self.assertIn("bytes are free on its disk; a change may need",
                      " ".join(f["problem"] for f in found))

    def test_KeptCatalogueThatCannotBeRestored(self):
        folder = os.path.join(self.host, "history")
        name = min(n for n in os.listdir(folder) if n.endswith(".json"))
        path = os.path.join(folder, name)
        with open(path, "w") as file:
            file.write("{")
        self.expect("warning", path, "cannot be restored: ")


class Output(CheckCase):
    def setUp(self):
        super().setUp()
        self.apply(document([policy("A")], [datastore("\x1b[31m", defaultPolicy="none"),
                                            datastore("b,\"c\n", defaultPolicy="none")]))

    def test_OneLineForEachFinding(self):
        result = self.run_quorctl("check")
        self.assertEqual((result.status, result.errors), (NO, ""))
        heading, first, second = result.text.splitlines()
        self.assertRegex(heading, r"\ASEVERITY +SUBJECT +PROBLEM +WHAT TO DO\Z")
        for line in (first, second):
            self.assertRegex(line, r"\Awarning +datastore .+does not exist +add the policy or")
        self.assertNotIn("\x1b", result.text)

    def test_EveryFormatHasThem(self):
        found = self.findings()
        self.assertEqual(len(found), 2)
        lines = self.run_quorctl("check", "-o", "jsonl").text.splitlines()
        self.assertEqual([json.loads(line) for line in lines], found)
        rows = list(csv.reader(io.StringIO(self.run_quorctl("check", "-o", "csv").text)))
        self.assertEqual(rows[1:], [list(f.values()) for f in found])

    def test_WorstComesFirst(self):
        os.chmod(self.store, 0o666)
        self.assertEqual([f["severity"] for f in self.findings()], ["error", "warning", "warning"])


class WithoutPermission(CheckCase):
    def test_WhatCannotBeReadIsAMatterOfPermission(self):
        if os.geteuid() == 0:
            become_stranger(self)
        else:
            os.chmod(self.host, 0)
            self.addCleanup(os.chmod, self.host, 0o2750)
        self.refuse(PERMISSION, "check", message=self.host)


if __name__ == "__main__":
    unittest.main()
