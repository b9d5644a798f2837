# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""quorctl status: on an empty host, a stored catalogue, and a damaged one."""
import json
import os
import re
import time
import unittest

from quorctl_case import DONE, STORE, QuorctlCase, blob, datastore, document, policy


class StatusCase(QuorctlCase):
    def lines(self, status=DONE, **options):
        """What status shows, by label, and what it complains of."""
        result = self.run_quorctl("status", **options)
        self.assertEqual(result.status, status, result.errors)
        shown = [re.fullmatch(r" *([a-z ]+): +(.+)", line).groups()
                 for line in result.text.splitlines()]
        self.assertEqual(len(dict(shown)), len(shown))
        return dict(shown), result.errors


class Status(StatusCase):
    def test_HostWhereNothingWasStored(self):
        shown, errors = self.lines()
        self.assertEqual(errors, "")
        self.assertEqual(shown["host directory"], self.host)
        self.assertEqual(shown["backend"], "configuration store")
        self.assertEqual(shown["chosen by"],
                         f"feature switch 62 is on by default, there is no {self.host}/features")
        self.assertRegex(shown["stored in"], rf"\A{self.host}/\S+ \(nothing stored yet\)\Z")
        self.assertEqual((shown["policies"], shown["datastores"]), ("0", "0"))
        self.assertNotIn("size", shown)

    def test_StoredCatalogue(self):
        before = int(time.time())
        self.apply(document([policy("A"), policy("B")], [datastore()]))
        shown, errors = self.lines()
        self.assertEqual(errors, "")
        path = shown["stored in"]
        found = os.stat(path)
        self.assertEqual(os.path.dirname(path), self.host)
        self.assertEqual(shown["size"], f"{found.st_size} bytes")
        self.assertEqual(shown["mode"], f"{found.st_mode & 0o7777:04o}")
        self.assertRegex(shown["owner"], r"\A[^:]+:[^:]+\Z")
        self.assertEqual(shown["not in use"],
                         f"{self.host}/host-config.json (nothing stored)")
        self.ask("migrate", "--to", "file")
        size = os.stat(os.path.join(self.host, "host-config.json")).st_size
        self.assertIn(f"\nnot in use:      {self.host}/host-config.json ({size} bytes, 2 policies "
                      "and 1 datastore)\n", self.ask("status").text)
        self.assertEqual(shown["history"], f"2 catalogues in {self.host}/history")
        modified = time.strptime(shown["modified"], "%Y-%m-%d %H:%M:%S UTC")
        self.assertTrue(before <= time.mktime(modified) - time.timezone <= time.time() + 1)
        self.assertRegex(shown["policies"], r"\A2, digest [0-9a-f]{32}\Z")
        self.assertRegex(shown["datastores"], r"\A1, digest [0-9a-f]{32}\Z")

    def test_TheSameAsAnObject(self):
        self.apply(document([policy("A"), policy("B")], [datastore()]))
        shown, _ = self.lines()
        found = json.loads(self.ask("status", "-o", "json").text)
        file = found["file"]
        self.assertEqual((found["hostDirectory"], found["store"]), (self.host, "store"))
        self.assertEqual((file["path"], file["mode"], f"{file['size']} bytes"),
                         (shown["stored in"], shown["mode"], shown["size"]))
        self.assertEqual(f"{file['owner']}:{file['group']}", shown["owner"])
        self.assertEqual(file["modified"].replace("T", " ").replace("Z", " UTC"),
                         shown["modified"])
        self.assertEqual(found["otherFile"],
                         {"path": f"{self.host}/host-config.json", "exists": False})
        self.assertEqual((found["history"], found["interrupted"]), (2, []))
        self.assertEqual((f"{found['policies']}, digest {found['policyDigest']}",
                          f"{found['datastores']}, digest {found['datastoreDigest']}"),
                         (shown["policies"], shown["datastores"]))

    def test_AnObjectTellsOfADamagedStoreToo(self):
        self.apply(document([policy("A")], []))
        with open(self.snapshot_path(), "r+b") as file:
            file.truncate(10)
        result = self.run_quorctl("status", "-o", "json")
        self.assertEqual(result.status, STORE)
        found = json.loads(result.text)
        self.assertEqual(found["file"]["size"], 10)
        self.assertNotIn("policies", found)

    def test_DigestsTellChangeAndOnlyChange(self):
        self.apply(document([policy("A"), policy("B")], [datastore("1"), datastore("2")]))
        first, _ = self.lines()
        self.apply(document([policy("B"), policy("A")], [datastore("2"), datastore("1")]))
        reordered, _ = self.lines()
        self.assertEqual(first["policies"], reordered["policies"])
        self.assertEqual(first["datastores"], reordered["datastores"])
        self.apply(document([policy("B"), policy("A", blobs=[blob(text="y")])],
                            [datastore("2"), datastore("1")]))
        changed, _ = self.lines()
        self.assertNotEqual(first["policies"], changed["policies"])
        self.assertEqual(first["datastores"], changed["datastores"])

    def test_WhoMayReadFollowsFromTheModes(self):
        self.apply(document([policy()]))
        shown, _ = self.lines()
        user, group = shown["owner"].split(":")
        owner = "" if user == "root" else f", user {user}"
        path = shown["stored in"]
        for directory, file, expected in ((0o2750, 0o640, f"root{owner}, group {group}"),
                                          (0o2750, 0o600, f"root{owner}"),
                                          (0o2700, 0o640, f"root{owner}"),
                                          (0o2750, 0o644, f"root{owner}, group {group}"),
                                          (0o2755, 0o644, "everybody")):
            os.chmod(self.host, directory)
            os.chmod(path, file)
            self.assertEqual(self.lines()[0]["readable by"], expected)

    def test_StoreThatIsNotInUseIsShown(self):
        self.ask("switch", "--yes", "file")
        self.apply(document([policy()]))
        size = os.path.getsize(f"{self.host}/host-config.json")
        self.ask("switch", "--yes", "store")
        self.assertEqual(self.lines()[0]["not in use"],
                         f"{self.host}/host-config.json ({size} bytes, 1 policy and 0 "
                         "datastores)")

    def test_LockDeadline(self):
        self.assertEqual(self.lines()[0]["lock deadline"], "30000 ms")
        shown, _ = self.lines(environment={"QUOR_LOCK_TIMEOUT_MS": "250"})
        self.assertEqual(shown["lock deadline"], "250 ms")

    def test_SwitchInTheFeaturesFile(self):
        self.ask("switch", "--yes", "store")
        shown, errors = self.lines()
        self.assertEqual(errors, "")
        self.assertEqual(shown["chosen by"], f"feature switch 62 is on in {self.host}/features")

    def test_ConfigurationFileIsShownAsSelected(self):
        self.ask("switch", "--yes", "file")
        self.apply(document([policy()]))
        shown, errors = self.lines()
        self.assertEqual(errors, "")
        self.assertEqual(shown["backend"], "configuration file")
        self.assertEqual(shown["chosen by"], f"feature switch 62 is off in {self.host}/features")
        self.assertEqual(shown["stored in"], f"{self.host}/host-config.json")
        self.assertEqual(shown["mode"], "0640")
        self.assertTrue(shown["policies"].startswith("1, digest "))

    def test_ConfigurationFileThatDoesNotParseIsTold(self):
        self.ask("switch", "--yes", "file")
        with open(f"{self.host}/host-config.json", "w") as file:
            file.write('{\n  "Quor": {},\n}\n')
        shown, errors = self.lines(STORE)
        self.assertIn("host-config.json:3:1: ", shown["problem"])
        self.assertIn("host-config.json:3:1: ", errors)

    def test_HostDirectoryOfAnyNameIsShownEscaped(self):
        odd = os.path.join(self.directory, "a\x1b[31m\nb")
        os.mkdir(odd)
        result = self.ask("status", "--root", odd)
        self.assertIn("a\\x1b[31m\\x0ab", result.text)
        self.assertNotIn("\x1b", result.text)

    def test_StrayArgumentIsRefused(self):
        self.refuse(2, "status", "now", message='unexpected argument "now"')


class Damage(StatusCase):
    def setUp(self):
        super().setUp()
        self.content = document(
            [policy("A"), policy("B", blobs=[blob(text="find me in the file")])],
            [datastore("ds:///find/")])
        self.apply(self.content)
        self.path = self.snapshot_path()

    def change(self, change):
        with open(self.path, "rb") as file:
            content = file.read()
        changed = change(content)
        self.assertNotEqual(changed, content)
        with open(self.path, "wb") as file:
            file.write(changed)

    def expect_damage(self):
        shown, errors = self.lines(STORE)
        self.assertIn(self.path, errors)
        self.assertEqual(shown["stored in"], self.path)
        self.assertEqual(shown["size"], f"{os.path.getsize(self.path)} bytes")
        return shown, errors

    def test_EmptyFileIsShownAsTheProblem(self):
        self.change(lambda content: b"")
        shown, errors = self.expect_damage()
        self.assertIn("problem", shown)
        self.assertEqual(errors, f"quorctl: {shown['problem']}\n")

    def test_TruncatedFileIsShownAsTheProblem(self):
        self.change(lambda content: content[:len(content) // 2])
        shown, errors = self.expect_damage()
        self.assertEqual(errors, f"quorctl: {shown['problem']}\n")

    def test_ForeignFileIsShownAsTheProblem(self):
        self.change(lambda content: b"this is something else entirely\n" * 200)
        self.assertIn("problem", self.expect_damage()[0])

    def test_DamagedStoreIsRefusedByEveryCommandAndLeftAsItIs(self):
        self.change(lambda content: content[:100])
        with open(self.path, "rb") as file:
            damaged = file.read()
        for command in (["list", "policies"], ["list", "datastores", "-o", "json"],
                        ["blob", "--policy-name", "A"], ["blob", "--default-of", "x"],
                        ["apply", "-"], ["reset", "--yes"]):
            given = b'{"format":"quor-catalogue/1","policies":[],"datastores":[]}'
            self.refuse(STORE, *command, given=given, message=self.path)
        self.refuse(STORE, "reset", "--yes", "--no-history", message=self.path)
        with open(self.path, "rb") as file:
            self.assertEqual(file.read(), damaged)

    def damage_record(self, content):
        self.change(lambda bytes: bytes.replace(content, content.swapcase()))

    def test_DamagedPolicyIsCountedAndShownAsTheProblem(self):
        self.damage_record(b"find me in the file")
        shown, errors = self.expect_damage()
        self.assertRegex(shown["policies"], r"\A1, digest ")
        self.assertIn("damaged: 1 of 2 policies cannot be read and are left out", errors)

    def test_ListingWithoutADamagedRecordSaysSo(self):
        self.damage_record(b"find me in the file")
        for form in ("table", "json"):
            result = self.run_quorctl("list", "policies", "-o", form)
            self.assertEqual(result.status, STORE)
            self.assertEqual((b"id-A" in result.raw, b"id-B" in result.raw), (True, False))
            self.assertIn("1 of 2 policies cannot be read and are left out", result.errors)
        self.ask("list", "datastores")

    def test_DamagedDatastoreIsLeftOutAndReported(self):
        self.damage_record(b"ds:///find/")
        result = self.run_quorctl("list", "datastores")
        self.assertEqual(result.status, STORE)
        self.assertIn("1 of 1 datastores cannot be read and are left out", result.errors)
        self.assertIn("1 of 1 datastores", self.expect_damage()[1])
        self.ask("list", "policies")

    def test_ResettingAndApplyingReplacesDamagedRecords(self):
        self.damage_record(b"find me in the file")
        self.damage_record(b"ds:///find/")
        self.expect_damage()
        self.refuse(STORE, "reset", "--yes", message="1 of 2 policies cannot be read")
        self.ask("reset", "--yes", "--no-history")
        self.apply(self.content)
        self.assertEqual(self.listed_document(), self.content)
        self.ask("status")

    def test_BrokenFeaturesFileIsShownAsTheProblem(self):
        with open(os.path.join(self.host, "features"), "wb") as file:
            file.write(b"short")
        shown, errors = self.lines(STORE)
        self.assertIn(f"{self.host}/features is not in use", shown["chosen by"])
        self.assertEqual(errors, f"quorctl: {shown['problem']}\n")


if __name__ == "__main__":
    unittest.main()
