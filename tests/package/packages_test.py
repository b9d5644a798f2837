"""scripts/lib/packages.sh, with a system of stand-ins for dpkg, apt-get, sudo and id.

    packages_test.py ROOT
"""
import os
import re
import subprocess
import sys
import tempfile
import unittest

ROOT = ""

# Each stand-in logs its call. $INSTALLED: names known as installed; $USER_ID: what `id -u` says.
_LOG = '#!/bin/bash\necho "$(basename "$0") $*" >>"$LOG"\n'
STAND_INS = {
    "dpkg-query": '#!/bin/bash\n[[ " $INSTALLED " == *" ${!#} "* ]] && echo installed\n',
    "apt-get": _LOG + 'exit "${APT_STATUS:-0}"\n',
    "sudo": _LOG + '[[ ${SUDO_WORKS-} ]] || exit 1\n[[ $1 != -n ]] || shift\nexec "$@"\n',
    "id": '#!/bin/bash\necho "$USER_ID"\n',
}
GROUPS = ["build", "tests", "reference", "packages", "lint", "fuzz", "bench"]


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

    def run_bash(self, command, installed="", path=None, **environment):
        """Runs a command after sourcing the file; returns the process and the calls made."""
        script = f"set -euo pipefail; source {ROOT}/scripts/lib/packages.sh; {command}"
        result = subprocess.run(
            ["/bin/bash", "-c", script], check=False, capture_output=True, text=True,
            stdin=subprocess.DEVNULL,
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
                                      installed="g++ cmake libmd-dev libsimdjson-dev "
                                                "libcli11-dev nlohmann-json3-dev")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(calls, [
            "apt-get -q update",
            "apt-get install -y --no-install-recommends libxxhash-dev ninja-build"])
        self.assertRegex(result.stderr, "libxxhash-dev +checksums of stored records")

    def test_another_user_installs_by_sudo(self):
        result, calls = self.run_bash("ensure_packages build", USER_ID="1000", SUDO_WORKS="1")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertIn("sudo -n apt-get -q update", calls)
        self.assertTrue(any(re.match("apt-get install -y .*ninja-build", call) for call in calls))

    def test_without_sudo_the_missing_packages_and_the_command_are_named(self):
        result, calls = self.run_bash("ensure_packages build; echo not reached", USER_ID="1000")
        self.assertNotEqual(result.returncode, 0)
        self.assertEqual(result.stdout, "")
        self.assertFalse(any(call.startswith("apt-get") for call in calls), calls)
        self.assertRegex(result.stderr, "As root, run:  apt-get update && apt-get install -y .*g\\+\\+")

    def test_a_failed_installation_fails_and_names_the_command(self):
        result, _ = self.run_bash("ensure_packages build; echo not reached", APT_STATUS="100")
        self.assertNotEqual(result.returncode, 0)
        self.assertEqual(result.stdout, "")
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
