# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""scripts/lib/packages.sh, with a system of stand-ins for dpkg, apt-get, sudo and id.

    packages_test.py ROOT
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

from commands import shown_on_a_terminal

ROOT = ""

# Each stand-in logs its call. $INSTALLED: names known as installed; $USER_ID: what `id -u` says.
_LOG = '#!/bin/bash\necho "$(basename "$0") $*" >>"$LOG"\n'
STAND_INS = {
    "dpkg-query": '#!/bin/bash\n[[ " $INSTALLED " == *" ${!#} "* ]] && echo installed\n',
    "apt-get": _LOG + 'echo "message of apt-get"\n'
                      '[[ "$*" != *APT::Status-Fd=1* ]] || printf "%s\\n" '
                      '"dlstatus:1:12.5:Retrieving file 1 of 9" '
                      '"pmstatus:cmake:80.25:Unpacking cmake (amd64)"\n'
                      'exit "${APT_STATUS:-0}"\n',
    "sudo": _LOG + '[[ ${SUDO_WORKS-} ]] || exit 1\n[[ $1 != -n ]] || shift\nexec "$@"\n',
    "id": '#!/bin/bash\necho "$USER_ID"\n',
}
GROUPS = ["build", "tests", "fleet", "reference", "packages", "lint", "fuzz", "bench", "wheel", "long", "compilers", "cross",
          *(f"cross-{arch}" for arch in ("arm64", "armhf", "i386", "ppc64el", "riscv64", "s390x"))]


class Packages(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory(prefix="quor-packages-")
        self.addCleanup(directory.cleanup)
        self.bin = os.path.join(directory.name, "bin")
        self.log = os.path.join(directory.name, "log")
        os.mkdir(self.bin)
        for name in STAND_INS:
            self.add(name)

    def add(self, name):
        path = os.path.join(self.bin, name)
        with open(path, "w", encoding="utf-8") as file:
            file.write(STAND_INS[name])
        os.chmod(path, 0o755)

    def run_bash(self, command, installed="", path=None, options=None, **environment):
        """Runs a command after sourcing the file; returns the process and the calls made. It has no
        terminal to ask on."""
        script = f"set -euo pipefail; source {ROOT}/scripts/lib/packages.sh; {command}"
        result = subprocess.run(
            ["/bin/bash", "-c", script], check=False, text=True, stdin=subprocess.DEVNULL,
            **(options or {"capture_output": True, "start_new_session": True}),
            env={"PATH": path or self.bin + ":" + os.environ["PATH"], "LOG": self.log,
                 "USER_ID": "0", "INSTALLED": installed, **environment})
        calls = []
        if os.path.exists(self.log):
            with open(self.log, encoding="utf-8") as file:
                calls = file.read().splitlines()
            os.remove(self.log)
        return result, calls

    def names(self, group):
        result, _ = self.run_bash("package_list")
        return [line.split()[1] for line in result.stdout.splitlines()
                if line.split()[0] == group]

    def test_every_package_has_a_group_and_a_reason(self):
        result, _ = self.run_bash("package_list")
        for line in result.stdout.splitlines():
            self.assertRegex(line, rf"^({'|'.join(GROUPS)}) +[a-z0-9+.-]+ +\S+.*")
        for group in GROUPS:
            self.assertNotEqual(self.names(group), [])

    def test_nothing_is_run_when_nothing_is_missing(self):
        result, calls = self.run_bash("ensure_packages build tests",
                                      installed=" ".join(self.names("build") + self.names("tests")))
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, "", ""))
        self.assertEqual(calls, [])

    def test_root_installs_what_is_missing_and_nothing_else(self):
        result, calls = self.run_bash("ensure_packages build",
                                      installed="g++ cmake libmd-dev "
                                                "libcli11-dev nlohmann-json3-dev "
                                                "libyaml-cpp-dev")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(calls, [
            "apt-get -q update",
            "apt-get install -y --no-install-recommends libxxhash-dev ninja-build "
            "-o APT::Status-Fd=1"])
        self.assertRegex(result.stderr, "libxxhash-dev +checksums of stored records")

    def test_no_server_of_the_system_is_started(self):
        settings = os.path.join(self.bin, "..", "settings")
        path = os.path.join(self.bin, "apt-get")
        with open(path, "w", encoding="utf-8") as file:
            file.write(_LOG + '[[ "$*" != *" postgresql-common"* ]] || { mkdir -p "$POSTGRESQL_SETTINGS" && '
                       'echo "#create_main_cluster = true" >"$POSTGRESQL_SETTINGS/createcluster.conf"; }\n'
                       '[[ "$*" != *" postgresql "* ]] || cp "$POSTGRESQL_SETTINGS/createcluster.conf" "$SEEN"\n')
        os.chmod(path, 0o755)
        seen = os.path.join(self.bin, "..", "seen")
        for again in (False, True):  # the second time it is an administrator's file, which stays
            result, calls = self.run_bash("ensure_packages fleet", POSTGRESQL_SETTINGS=settings, SEEN=seen)
            self.assertEqual(result.returncode, 0, result.stderr)
            with open(seen, encoding="utf-8") as file:
                self.assertEqual(file.read(), "create_main_cluster = false\n")
            first = [call for call in calls if call.endswith(" postgresql-common")]
            self.assertEqual(len(first), 0 if again else 1)

    def test_another_user_installs_by_sudo(self):
        result, calls = self.run_bash("ensure_packages build", USER_ID="1000", SUDO_WORKS="1")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertIn("sudo -n apt-get -q update", calls)
        self.assertTrue(any(re.match("apt-get install -y .*ninja-build", call) for call in calls))

    def test_a_password_that_cannot_be_asked_for_is_told_with_the_command_to_run_first(self):
        result, calls = self.run_bash("ensure_packages build; echo not reached", USER_ID="1000")
        self.assertNotEqual(result.returncode, 0)
        self.assertEqual(result.stdout, "")
        self.assertFalse(any(call.startswith("apt-get") for call in calls), calls)
        self.assertIn("no terminal", result.stderr)
        self.assertRegex(result.stderr,
                         r"Run this first:  sudo apt-get update && sudo apt-get install -y .*g\+\+")

    def test_without_sudo_root_is_told_the_command(self):
        os.remove(os.path.join(self.bin, "sudo"))
        for tool in ("awk", "bash", "cat", "env", "grep", "sort"):
            os.symlink(shutil.which(tool), os.path.join(self.bin, tool))
        result, calls = self.run_bash("ensure_packages build; echo not reached", USER_ID="1000",
                                      path=self.bin)
        self.assertNotEqual(result.returncode, 0)
        self.assertEqual((result.stdout, calls), ("", []))
        self.assertIn("there is no sudo", result.stderr)
        self.assertRegex(result.stderr, r"As root, run:  apt-get update && apt-get install -y .*g\+\+")

    def test_a_terminal_shows_the_progress_of_the_installation_on_one_line(self):
        (result, _), shown = shown_on_a_terminal(lambda terminal: self.run_bash(
            "ensure_packages build", options={"stdout": terminal, "stderr": terminal}))
        self.assertEqual(result.returncode, 0, shown)
        self.assertIn("\r\x1b[K 12 %  Retrieving file 1 of 9", shown)
        self.assertTrue(shown.endswith("\r\x1b[K 80 %  Unpacking cmake (amd64)\r\x1b[K"), shown)
        self.assertNotIn("message of apt-get", shown)

    def test_elsewhere_nothing_is_said_of_the_progress(self):
        result, _ = self.run_bash("ensure_packages build")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertTrue(result.stderr.endswith("Installing them ...\n"), result.stderr)

    def test_a_failed_installation_fails_and_names_the_command(self):
        result, _ = self.run_bash("ensure_packages build; echo not reached", APT_STATUS="100")
        self.assertNotEqual(result.returncode, 0)
        self.assertEqual(result.stdout, "")
        self.assertIn("message of apt-get\n", result.stderr)
        self.assertNotIn("status:", result.stderr)
        self.assertIn("As root, run:", result.stderr)

    def test_another_system_is_told_what_is_needed_and_goes_on(self):
        tools = os.path.join(self.bin, "..", "other")
        os.mkdir(tools)
        os.symlink("/bin/cat", os.path.join(tools, "cat"))
        result, calls = self.run_bash("ensure_packages build; echo reached", path=tools)
        self.assertEqual((result.returncode, result.stdout), (0, "reached\n"))
        self.assertEqual(calls, [])
        for name in self.names("build"):
            self.assertIn(name, result.stderr)


if __name__ == "__main__":
    ROOT = sys.argv.pop(1)
    unittest.main(verbosity=2)
