# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""A process without permission is told so, and changes nothing."""
import json
import os
import unittest

from quorctl_case import (PERMISSION, QuorctlCase, datastore, document, entries_of, policy,
                          without_lock_files)
from stranger import become_stranger, need_root


class Stranger(QuorctlCase):
    """Runs quorctl as a user who may neither read nor write the host directory. A test run that
    cannot become another user takes the permission from itself instead."""

    def setUp(self):
        super().setUp()
        self.content = document([policy("Gold")], [datastore()])
        self.apply(self.content)
        self.mode = os.stat(self.host).st_mode
        self.before = entries_of(self.host)

    def lose_permission(self):
        if os.geteuid() != 0:
            os.chmod(self.host, 0)
            self.addCleanup(os.chmod, self.host, self.mode)
            return
        become_stranger(self)

    def expect_unchanged(self):
        if os.geteuid() != 0:
            os.chmod(self.host, self.mode)
            # The change of the mode and back shows in the times of the directory itself.
            for entries in (self.before, found := entries_of(self.host)):
                entries.pop(".")
            self.assertEqual(found, self.before)
            return
        self.assertEqual(entries_of(self.host), self.before)

    def test_ReadingIsRefused(self):
        self.lose_permission()
        for words in (["list", "policies"], ["list", "datastores", "-o", "json"],
                      ["blob", "--policy-name", "Gold"], ["blob", "--policy-id", "id-Gold"],
                      ["blob", "--default-of", "ds:///a/"], ["switch"]):
            self.refuse(PERMISSION, *words, message=self.host)
        self.expect_unchanged()

    def test_ChangingIsRefused(self):
        self.lose_permission()
        given = json.dumps(document([policy("New")])).encode()
        for words in (["apply", "-"], ["reset", "--yes"], ["switch", "--yes", "file"], ["switch", "--yes", "store"],
                      ["migrate", "--to", "file"], ["restore", "1", "--yes"], ["history"]):
            self.refuse(PERMISSION, *words, given=given, message=self.host)
        self.expect_unchanged()

    def test_RefusalSaysWhoMayDoIt(self):
        need_root(self)
        os.chown(self.host, 0, 1)  # the group daemon
        self.lose_permission()
        for words in (["list", "policies"], ["reset", "--yes"]):
            self.refuse(PERMISSION, *words,
                        message="; root may change the catalogue, the group daemon may read it\n")
        os.chown(self.host, 1, 0)
        self.refuse(PERMISSION, "list", "policies", message="; root and daemon may change the "
                    "catalogue, the group quor may read it\n")

    def test_StatusShowsWhatItCan(self):
        self.lose_permission()
        result = self.run_quorctl("status")
        self.assertEqual(result.status, PERMISSION)
        self.assertRegex(result.errors, r"\Aquorctl: [^\n]+\n\Z")
        self.assertIn(f"host directory:  {self.host}\n", result.text)
        self.assertIn("  problem:", result.text)
        self.assertNotIn("nothing stored yet", result.text)
        self.assertNotRegex(result.text, "(?m)^policies:")
        self.expect_unchanged()

    def test_HostDirectoryThatCannotBeCreatedIsRefused(self):
        self.lose_permission()
        inside = os.path.join(self.host, "new")
        self.refuse(PERMISSION, "--root", inside, "reset", "--yes", message=inside)
        self.refuse(PERMISSION, "--root", inside, "switch", "--yes", "file", message=inside)
        self.expect_unchanged()

    def test_InputWithoutPermissionIsAnInputThatCannotBeRead(self):
        path = self.write("secret.json", json.dumps(document()))
        os.chmod(path, 0)
        self.lose_permission()
        self.refuse(4, "apply", path, message=f"cannot read {path}: Permission denied")
        self.expect_unchanged()


class StrangerAtTheFile(QuorctlCase):
    """Where the switch selects the configuration file: its failures carry no code of their own."""

    def setUp(self):
        super().setUp()
        self.ask("switch", "--yes", "file")
        self.apply(document([policy("Gold")], [datastore()]))
        self.mode = os.stat(self.host).st_mode
        self.file = os.path.join(self.host, "host-config.json")

    def become_reader(self):
        """May look at everything but change nothing."""
        for name in ("features", "host-config.json"):
            os.chmod(os.path.join(self.host, name), 0o644)
        if os.geteuid() == 0:
            os.chmod(self.host, 0o755)
            become_stranger(self)
            return
        for path in (os.path.join(self.host, "history"), self.host):
            os.chmod(path, 0o555)
            self.addCleanup(os.chmod, path, self.mode)

    def test_ReadingIsRefused(self):
        self.become_reader()
        os.chmod(self.file, 0)
        for words in (["list", "policies"], ["list", "datastores", "-o", "json"],
                      ["blob", "--policy-name", "Gold"], ["blob", "--default-of", "ds:///a/"]):
            self.refuse(PERMISSION, *words, message=f"{self.file}: cannot open")
        status = self.run_quorctl("status")
        self.assertEqual(status.status, PERMISSION, status.errors)

    def test_ChangingIsRefused(self):
        self.become_reader()
        self.ask("list", "policies")
        before = without_lock_files(entries_of(self.host))
        larger = json.dumps(document([policy("Gold"), policy("New")], [datastore()])).encode()
        for words in (["apply", "--no-history", "-"], ["reset", "--yes", "--no-history"]):
            result = self.run_quorctl(*words, given=larger)
            self.assertEqual(result.status, PERMISSION, result.errors)
            self.assertIn(self.host, result.errors)
        self.assertEqual(without_lock_files(entries_of(self.host)), before)

    def test_KeepingTheOldCatalogueIsRefused(self):
        self.become_reader()
        result = self.run_quorctl("reset", "--yes")
        self.assertEqual(result.status, PERMISSION, result.errors)
        self.assertIn("could not be kept in the history, so nothing was changed", result.errors)

    def test_DirectoryThatEverybodyMayWriteToIsRefused(self):
        os.chmod(self.host, 0o777)
        self.refuse(PERMISSION, "reset", "--yes", "--no-history", message="chmod o-w")


class OpenDirectory(QuorctlCase):
    def test_DirectoryThatEverybodyMayWriteToIsRefused(self):
        os.mkdir(self.host)
        os.chmod(self.host, 0o777)
        result = self.run_quorctl("apply", "-", given=json.dumps(document([policy()])).encode())
        self.assertEqual(result.status, PERMISSION)
        self.assertIn("chmod o-w", result.errors)
        self.assertEqual(os.listdir(self.host), [])


if __name__ == "__main__":
    unittest.main()
