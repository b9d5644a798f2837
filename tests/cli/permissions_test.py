"""A process without permission is told so, and changes nothing."""
import json
import os
import re
import shutil
import subprocess
import unittest

from quorctl_case import (PERMISSION, QUORCTL, STRANGER, QuorctlCase, datastore, document,
                          entries_of, policy)


class Stranger(QuorctlCase):
    """Runs quorctl as a user who may neither read nor write the host directory. A test run that
    cannot become another user takes the permission from itself instead."""

    def setUp(self):
        super().setUp()
        self.search_path = {}
        self.content = document([policy("Gold")], [datastore()])
        self.apply(self.content)
        self.mode = os.stat(self.host).st_mode
        self.before = entries_of(self.host)

    def lose_permission(self):
        if os.geteuid() != 0:
            os.chmod(self.host, 0)
            self.addCleanup(os.chmod, self.host, self.mode)
            return
        # A copy of the program: the build directory may be closed to others.
        os.chmod(self.directory, 0o755)
        folder = os.path.join(self.directory, "program")
        os.mkdir(folder, 0o755)
        loaded = subprocess.run(["ldd", QUORCTL], stdout=subprocess.PIPE, check=True).stdout
        for path in [QUORCTL, *re.findall(r"=> (/\S*libquor\S*)", loaded.decode())]:
            shutil.copy(path, folder)
        self.program = os.path.join(folder, os.path.basename(QUORCTL))
        self.search_path = {"LD_LIBRARY_PATH": folder}
        self.process_options = {"user": STRANGER, "group": STRANGER, "extra_groups": [], "cwd": "/"}

    def environment(self, **changes):
        return super().environment(**self.search_path, **changes)

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
        for words in (["apply", "-"], ["reset", "--yes"], ["switch", "file"], ["switch", "store"]):
            self.refuse(PERMISSION, *words, given=given, message=self.host)
        self.expect_unchanged()

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
        self.refuse(PERMISSION, "--root", inside, "switch", "file", message=inside)
        self.expect_unchanged()

    def test_InputWithoutPermissionIsAnInputThatCannotBeRead(self):
        path = self.write("secret.json", json.dumps(document()))
        os.chmod(path, 0)
        self.lose_permission()
        self.refuse(4, "apply", path, message=f"cannot read {path}: Permission denied")
        self.expect_unchanged()


class OpenDirectory(QuorctlCase):
    def test_DirectoryThatEverybodyMayWriteToIsRefused(self):
        os.mkdir(self.host)
        os.chmod(self.host, 0o777)
        self.refuse(PERMISSION, "apply", "-", given=json.dumps(document()).encode(),
                    message="chmod o-w")
        self.assertEqual(os.listdir(self.host), [])


if __name__ == "__main__":
    unittest.main()
