# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Applies the mutations, runs the tests that must notice them, and prints those that survive.

    mutate.py ROOT BUILD [--list] [--file REGEX] [NAME REGEX...]

All are built at once in a copy of the sources in BUILD, and each run of a program chooses one. Those
that are neither statements nor an expression are built one after the other.
"""
import argparse
import concurrent.futures
import os
import re
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import time

sys.path[1:1] = [os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "package")]

import choices
import mutations as data
import source_tree

_HEADER = "tests/mutations/chosen.h"


class Build:
    """The copy of the sources and what is built of it."""

    def __init__(self, root, directory, mutations):
        self.root = root
        self.source = os.path.join(directory, "source")
        self.binary = os.path.join(directory, "build")
        self.log = os.path.join(directory, "build.log")
        self.mutations = mutations

    def synchronise(self):
        """Makes the copy what the sources are now, with the choices; what is the same is not
        touched, so that little is built again."""
        changed = {}
        for mutation in self.mutations:
            changed.setdefault(mutation.file, []).append(mutation)
        files = set(source_tree.files(self.root))
        for path in set(source_tree.files(self.source)) - files:
            os.remove(os.path.join(self.source, path))
        for path in files:
            content = _content(os.path.join(self.root, path))
            if path in changed:
                content = choices.with_choices(
                    content.decode(), changed[path], os.path.join(self.source, _HEADER)).encode()
            self.write(path, content)
            shutil.copymode(os.path.join(self.root, path), os.path.join(self.source, path))

    def write(self, path, content):
        """Changes one file of the copy, when it is another one."""
        target = os.path.join(self.source, path)
        if os.path.exists(target) and _content(target) == content:
            return
        os.makedirs(os.path.dirname(target), exist_ok=True)
        with open(target, "wb") as file:
            file.write(content)

    def configure(self):
        self._run("cmake", "-S", self.source, "-B", self.binary, "-G", "Ninja",
                  "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=-O0 -w")

    def make(self, mutations):
        """Builds what the tests of the mutations need."""
        targets = set()
        for mutation in mutations:
            targets.update(mutation.targets)
            targets.update(shlex.split(test)[0] for test in mutation.tests)
        self._run("cmake", "--build", self.binary, "--target", *sorted(targets - {"ctest"}))

    def apply_alone(self, mutation):
        text = _content(os.path.join(self.root, mutation.file)).decode()
        self.write(mutation.file, choices.with_one(text, mutation).encode())
        try:
            self.make([mutation])
        except data.Mistake as mistake:
            raise data.Mistake(f"{mistake}\n{mutation} cannot be built") from mistake

    def _run(self, *command):
        with open(self.log, "wb") as log:
            status = subprocess.run(command, stdout=log, stderr=log, check=False).returncode
        if status != 0:
            raise data.Mistake(_content(self.log).decode(errors="replace") +
                               f"{command[0]} failed. A mutation that cannot be compiled beside the "
                               "others needs `separate = true`.")


class Runs:
    """Runs of the tests."""

    def __init__(self, build):
        self._build = build
        self._times = {}

    def try_without(self, mutations):
        """All tests pass where no mutation is chosen; the time that each takes is kept."""
        for test in sorted({test for mutation in mutations for test in mutation.tests}):
            start = time.monotonic()
            if self._fails(test, 0, timeout=None):
                raise data.Mistake(f"{test} fails without any mutation")
            self._times[test] = time.monotonic() - start

    def notice(self, mutation):
        """Whether a test fails with the mutation. One that hangs does."""
        number = 0 if mutation.separate else mutation.number
        return any(self._fails(test, number, timeout=30 + 5 * self._times[test])
                   for test in mutation.tests)

    def _fails(self, test, number, timeout):
        command = shlex.split(test)
        if command[0] == "ctest":
            command[1:1] = ["--test-dir", self._build.binary, "--no-tests=error"]
        else:
            command[0] = os.path.join(self._build.binary, "bin", command[0])
        with tempfile.TemporaryDirectory(prefix="quor-mutate-", ignore_cleanup_errors=True) as folder:
            os.chmod(folder, 0o755)
            environment = dict(os.environ, TMPDIR=folder, GTEST_FAIL_FAST="1", GTEST_BRIEF="1",
                               QUOR_MUTATION=str(number))
            with subprocess.Popen(command, env=environment, cwd=folder, stdin=subprocess.DEVNULL,
                                  stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                  start_new_session=True) as process:
                try:
                    return process.wait(timeout) != 0
                except subprocess.TimeoutExpired:
                    os.killpg(process.pid, signal.SIGKILL)
                    return True


class Report:
    """What came of the mutations so far."""

    def __init__(self, total):
        self._total, self._done, self._equivalent, self._wrong = total, 0, 0, 0

    def add(self, mutation, noticed):
        """Counts one, and prints it when it is not as it should be."""
        self._done += 1
        self._equivalent += bool(mutation.equivalent)
        if noticed == bool(mutation.equivalent):
            self._wrong += 1
            print(f"{'listed as equivalent, but noticed' if noticed else 'survived'}: {mutation}\n"
                  f"  - {mutation.original}\n  + {mutation.replacement}", flush=True)
        if sys.stderr.isatty():
            print(f"\r{self._done} of {self._total}", end="", file=sys.stderr, flush=True)

    def status(self):
        """Prints the sum; the exit status."""
        if sys.stderr.isatty():
            print("\r", end="", file=sys.stderr)
        good = self._done - self._wrong - self._equivalent
        print(f"{self._done} mutations: {self._wrong} survived or were listed wrongly"
              if self._wrong else
              f"{self._done} mutations: {good} noticed, {self._equivalent} equivalent, 0 survived")
        return 1 if self._wrong else 0


def _content(path):
    with open(path, "rb") as file:
        return file.read()


def run(root, directory, mutations, selected):
    """Builds and tries the selected ones; the exit status."""
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    build = Build(root, directory, mutations)
    build.synchronise()
    build.configure()
    build.make(selected)
    runs = Runs(build)
    runs.try_without(selected)
    report = Report(len(selected))
    together = [mutation for mutation in selected if not mutation.separate]
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for mutation, noticed in zip(together, pool.map(runs.notice, together)):
            report.add(mutation, noticed)
    for mutation in (mutation for mutation in selected if mutation.separate):
        build.synchronise()
        build.apply_alone(mutation)
        report.add(mutation, runs.notice(mutation))
    build.synchronise()
    return report.status()


def main(arguments):
    parser = argparse.ArgumentParser(usage="scripts/mutate [--list] [--file REGEX] [NAME REGEX...]")
    parser.add_argument("root")
    parser.add_argument("build")
    parser.add_argument("--list", action="store_true")
    parser.add_argument("--file", default="")
    parser.add_argument("names", nargs="*")
    options = parser.parse_intermixed_args(arguments)
    try:
        mutations = data.read(options.root)
        selected = [m for m in mutations if re.search(options.file, m.file) and
                    all(re.search(name, m.name) for name in options.names)]
        if not selected:
            raise data.Mistake("no mutation is selected")
        if options.list:
            for mutation in selected:
                print(f"{mutation}{' (equivalent)' if mutation.equivalent else ''}")
            print(f"{len(selected)} mutations")
            return 0
        return run(os.path.abspath(options.root), os.path.abspath(options.build), mutations, selected)
    except data.Mistake as mistake:
        print(mistake, file=sys.stderr)
        return 2


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
