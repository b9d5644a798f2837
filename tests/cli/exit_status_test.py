# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Each exit status, from a command that has it, on both host stores where it depends on them. The
one of an internal error is in memory_test.py, which needs a limit that sanitizers do not bear."""
import json
import os
import unittest

from quorctl_case import (ABSENT, BAD_INPUT, DONE, MOVED, NO, NO_HOST, NOT_CONFIRMED, PERMISSION, STORE, USAGE,
                          QuorctlCase, datastore, document, policy)


class ExitStatus(QuorctlCase):
    def setUp(self):
        super().setUp()
        self.path = self.write("catalogue.json", json.dumps(document([policy()], [datastore()])))
        self.empty = self.write("empty.json", json.dumps(document()))

    def on_each_store(self):
        for choice in ("store", "file"):
            self.ask("switch", "--yes", choice)
            self.ask("apply", "--yes", self.path)
            yield choice

    def status(self, *words, **options):
        return self.run_quorctl(*words, **options).status

    def test_Done(self):
        for _ in self.on_each_store():
            for words in (["status"], ["check"], ["history"], ["digest"],
                          ["apply", "--dry-run", self.empty], ["list", "policies"]):
                self.assertEqual(self.status(*words), DONE, words)

    def test_TheAnswerIsNo(self):
        for _ in self.on_each_store():
            self.assertEqual(self.status("digest", "--expect", "a:b"), NO)
            self.ask("apply", "--yes", self.write("dangling.json", json.dumps(
                document([policy()], [datastore(defaultPolicy="none")]))))
            self.assertEqual(self.status("check"), NO)

    def test_Usage(self):
        for words in ([], ["frobnicate"], ["status", "--frob"], ["status", "extra"], ["apply"],
                      ["migrate"], ["migrate", "--to"], ["restore"], ["restore", "one"],
                      ["--root"], ["history", "-o", "xml"], ["check", "--fields", "nothing"]):
            self.assertEqual(self.status(*words), USAGE, words)

    def test_Absent(self):
        for _ in self.on_each_store():
            self.assertEqual(self.status("blob", "--policy-name", "none"), ABSENT)
            self.assertEqual(self.status("restore", "99"), ABSENT)

    def test_BadInput(self):
        wrong = self.write("wrong.json", "[]")
        for _ in self.on_each_store():
            for path in (wrong, os.path.join(self.directory, "absent.json"), self.directory):
                self.assertEqual(self.status("apply", path), BAD_INPUT)

    def test_Store(self):
        for choice in self.on_each_store():
            name = {"store": "config-store.cdb", "file": "host-config.json"}[choice]
            with open(os.path.join(self.host, name), "r+b") as file:
                file.truncate(10)
            for words in (["list", "policies"], ["status"], ["apply", "--yes", self.empty],
                          ["reset", "--yes"]):
                self.assertEqual(self.status(*words), STORE, words)
            os.remove(os.path.join(self.host, name))

    def test_SwitchOnADamagedFileOfSwitches(self):
        self.ask("switch", "--yes", "file")
        path = os.path.join(self.host, "features")
        with open(path, "w", encoding="utf-8") as file:
            file.write("short")
        for words in (["switch", "--yes", "store"], ["switch", "--yes", "file"], ["switch"]):
            self.refuse(STORE, *words, message=path)
        with open(path, encoding="utf-8") as file:
            self.assertEqual(file.read(), "short")
        os.remove(path)
        self.ask("switch", "--yes", "file")

    def test_PermissionOfADirectoryThatEverybodyMayWriteTo(self):
        for _ in self.on_each_store():
            os.chmod(self.host, 0o777)
            for words in (["apply", "--yes", self.empty], ["reset", "--yes"],
                          ["reset", "--yes", "--no-history"]):
                self.assertEqual(self.status(*words), PERMISSION, words)
            os.chmod(self.host, 0o2750)

    def test_NoSuchHostDirectory(self):
        missing = os.path.join(self.directory, "mistyped")
        for words in (["status"], ["list", "policies"], ["check"], ["digest", "--expect", ":"],
                      ["watch"], ["export"], ["diff", self.path], ["history"], ["switch"],
                      ["switch", "--yes", "file"], ["reset", "--yes"], ["restore", "--yes", "1"],
                      ["apply", self.path], ["apply", "--dry-run", self.path]):
            self.refuse(NO_HOST, *words, "--root", missing,
                        message=f"{missing}: there is no such host directory; ")
        self.assertFalse(os.path.exists(missing))
        self.ask("apply", "--create", self.path, "--root", missing)
        self.assertEqual(self.status("digest", "--expect", ":", "--root", missing), NO)

    def test_LockDeadlineThatIsNoNumber(self):
        for text in ("", "30s", "-1", "1e3", "99999999999"):
            self.refuse(USAGE, "status", environment={"QUOR_LOCK_TIMEOUT_MS": text},
                        message="QUOR_LOCK_TIMEOUT_MS is ")

    def test_Moved(self):
        for _ in self.on_each_store():
            for words in (["apply", self.empty], ["reset"], ["restore", "1"]):
                self.assertEqual(self.status(*words, "--yes", "--expect", "a:b"), MOVED, words)

    def test_NotConfirmed(self):
        for choice in self.on_each_store():
            other = "file" if choice == "store" else "store"
            for words in (["reset"], ["apply", self.empty], ["restore", "1"]):
                self.assertEqual(self.status(*words), NOT_CONFIRMED, words)
            self.ask("switch", "--yes", other)
            self.ask("reset", "--yes")
            self.assertEqual(self.status("migrate", "--to", choice), NOT_CONFIRMED)


if __name__ == "__main__":
    unittest.main()
