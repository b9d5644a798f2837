# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""scripts/quickstart and scripts/test, with stand-ins for what builds, tests and acts as others.

    two_commands_test.py ROOT
"""
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

from commands import shown_on_a_terminal

ROOT = ""

_BASH = "#!/bin/bash\n"
_LOG = _BASH + 'echo "$(basename "$0") $*" >>"$LOG"\n'
# $LEFT_OUT: lines of the tests' output; $USER_ID: what `id -u` says.
STAND_INS = {
    "dpkg-query": _BASH + "echo installed\n",
    "apt-get": _LOG,
    "id": _BASH + 'echo "$USER_ID"\n',
    "nproc": _BASH + "echo ${PROCESSORS-2}\n",
    "cmake": _LOG + """
if [[ $1 == --preset ]]; then
  echo configuring
  for word; do
    [[ $word != -DQUOR_TESTS=* ]] || echo "QUOR_TESTS:BOOL=${word#*=}" >build/release/CMakeCache.txt
  done
  exit "${CONFIGURATION_STATUS:-0}"
fi
echo "[7/9] compiling"
exit "${BUILD_STATUS:-0}"
""",
    "ctest": _LOG + """
mkdir -p build/release/Testing/Temporary
printf '%s' "${LEFT_OUT-}" >build/release/Testing/Temporary/LastTest.log
exit "${CTEST_STATUS:-0}"
""",
    "unshare": _LOG + """
[[ ${NAMESPACES-} ]] || exit 1
while [[ $1 == --* ]]; do shift; done
exec "$@"
""",
}
LEFT_OUT = "".join(f"[ RUN      ] {name}\nleft out: {name}: needs {need}\n"
                   for name, need in (("A.One", "root"), ("B.Two", "mounts"), ("A.Two", "root")))


class CommandCase(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory(prefix="quor-commands-")
        self.addCleanup(directory.cleanup)
        self.tree = os.path.join(directory.name, "tree")
        shutil.copytree(os.path.join(ROOT, "scripts"), os.path.join(self.tree, "scripts"))
        self.bin = os.path.join(directory.name, "bin")
        os.mkdir(self.bin)
        for name, content in STAND_INS.items():
            path = os.path.join(self.bin, name)
            with open(path, "w", encoding="utf-8") as file:
                file.write(content)
            os.chmod(path, 0o755)
        self.log = os.path.join(directory.name, "log")

    def run_command(self, *words, output=subprocess.PIPE, **environment):
        """Runs one of scripts; returns the process and the calls of the stand-ins."""
        result = subprocess.run(
            [os.path.join(self.tree, "scripts", words[0]), *words[1:]], check=False, text=True,
            stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.STDOUT,
            env={"PATH": self.bin + ":" + os.environ["PATH"], "LOG": self.log, "USER_ID": "0",
                 **environment})
        calls = []
        if os.path.exists(self.log):
            with open(self.log, encoding="utf-8") as file:
                calls = file.read().splitlines()
            os.remove(self.log)
        return result, calls

    def run_on_a_terminal(self, *words, **environment):
        """What the terminal gets, and the calls."""
        (_, calls), shown = shown_on_a_terminal(
            lambda terminal: self.run_command(*words, output=terminal, **environment))
        return shown, calls


class Test(CommandCase):
    def test_builds_everything_and_runs_the_quick_tests_with_all_processors(self):
        result, calls = self.run_command("test", "-R", "some", PROCESSORS="1")
        self.assertEqual(result.returncode, 0, result.stdout)
        self.assertEqual(calls, [
            "cmake --preset release -DQUOR_TESTS=ON",
            "cmake --build build/release -j 1 --target all",
            "ctest --preset release -j 3 -LE ^long$ -R some"])
        self.assertNotIn("Left out", result.stdout)

    def test_many_processors_do_not_take_more_memory_than_there_is(self):
        _, calls = self.run_command("test", PROCESSORS="100000")
        jobs = int(calls[1].split(" -j ")[1].split()[0])
        with open("/proc/meminfo", encoding="utf-8") as file:
            self.assertEqual(jobs, max(1, int(file.readline().split()[1]) // (1 << 20)))

    def test_left_out_tests_are_counted_by_reason_and_do_no_harm(self):
        result, _ = self.run_command("test", LEFT_OUT=LEFT_OUT)
        self.assertEqual(result.returncode, 0, result.stdout)
        self.assertRegex(result.stdout,
                         r"Tests left out:\n +1 needs mounts\n +2 needs root\n\Z")

    def test_left_out_tests_fail_a_run_that_is_to_be_complete(self):
        result, _ = self.run_command("test", "--complete", LEFT_OUT=LEFT_OUT)
        self.assertEqual(result.returncode, 1, result.stdout)
        self.assertIn("2 needs root\n", result.stdout)
        result, calls = self.run_command("test", "--complete")
        self.assertEqual(result.returncode, 0, result.stdout)
        self.assertFalse(any("--complete" in call for call in calls), calls)

    def test_what_ctest_says_of_failures_holds(self):
        for words in ([], ["--complete"]):
            result, _ = self.run_command("test", *words, CTEST_STATUS="8", LEFT_OUT=LEFT_OUT)
            self.assertEqual(result.returncode, 8)

    def test_left_out_tests_of_an_earlier_run_are_not_counted(self):
        self.run_command("test", LEFT_OUT=LEFT_OUT)
        os.remove(os.path.join(self.bin, "ctest"))
        os.symlink("/bin/true", os.path.join(self.bin, "ctest"))
        result, _ = self.run_command("test", "--complete")
        self.assertEqual(result.returncode, 0, result.stdout)

    def test_an_ordinary_users_tests_run_as_root_of_a_user_namespace(self):
        _, calls = self.run_command("test", USER_ID="1000", NAMESPACES="1")
        namespace = "unshare --user --map-root-user --map-auto --mount"
        self.assertEqual([call for call in calls if "ctest" in call], [
            f"{namespace} ctest --preset release -j 4 -LE ^long$",
            "ctest --preset release -j 4 -LE ^long$"])

    def test_without_user_namespaces_they_run_as_the_user(self):
        result, calls = self.run_command("test", USER_ID="1000")
        self.assertEqual(result.returncode, 0, result.stdout)
        self.assertEqual(calls[-1], "ctest --preset release -j 4 -LE ^long$")

    def test_a_failed_build_shows_its_messages_and_runs_no_test(self):
        result, calls = self.run_command("test", BUILD_STATUS="1")
        self.assertEqual(result.returncode, 1)
        self.assertIn("[7/9] compiling\n", result.stdout)
        self.assertIn("The build failed", result.stdout)
        self.assertFalse(any(call.startswith("ctest") for call in calls))

    def test_a_terminal_shows_the_steps_of_the_build_and_the_tests(self):
        shown, calls = self.run_on_a_terminal("test")
        self.assertIn("[7/9] compiling", shown)
        self.assertNotIn("configuring", shown)
        self.assertIn("--progress", calls[-1])
        result, _ = self.run_command("test")
        self.assertNotIn("compiling", result.stdout)

    def test_a_failed_configuration_is_shown_on_a_terminal_too(self):
        shown, calls = self.run_on_a_terminal("test", CONFIGURATION_STATUS="1")
        self.assertIn("configuring", shown)
        self.assertEqual(len(calls), 1)


class Quickstart(CommandCase):
    def calls(self, **environment):
        """Up to its first call of quorctl, which is not there."""
        result, calls = self.run_command("quickstart", **environment)
        self.assertIn("this command failed", result.stdout)
        return calls

    def test_builds_the_library_and_the_tool_where_the_tests_go_on(self):
        self.assertEqual(self.calls(), [
            "cmake --preset release -DQUOR_TESTS=OFF",
            "cmake --build build/release -j 2 --target quor quorctl"])

    def test_leaves_the_tests_that_were_configured(self):
        self.run_command("test")
        self.assertIn("cmake --preset release -DQUOR_TESTS=ON", self.calls())


if __name__ == "__main__":
    ROOT = sys.argv.pop(1)
    unittest.main(verbosity=2)
