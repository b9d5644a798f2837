# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Runs quorctl on a host directory of its own for each test.

QUORCTL names the program and QUOR_EXAMPLE the example catalogue; both come from the build.
"""
import base64
import json
import os
import re
import shutil
import stat
import subprocess
import tempfile
import unittest

QUORCTL = os.environ["QUORCTL"]
EXAMPLE = os.environ["QUOR_EXAMPLE"]

DONE = 0
NO = 1
USAGE = 2
ABSENT = 3
BAD_INPUT = 4
STORE = 5
NO_HOST = 6
PERMISSION = 7
NOT_CONFIRMED = 8
MOVED = 9
INTERNAL = 70

STRANGER = 65534  # a user who owns nothing here

TIMEOUT = 120  # seconds; only a hang comes near it


def base64_of(raw):
    return base64.b64encode(raw).decode()


def blob(namespace="RILK", **content):
    return {"namespace": namespace, **(content or {"text": "x"})}


def policy(name="Gold", **changes):
    return {"id": "id-" + str(name), "name": name, "description": "", "generation": 1,
            "blobs": [blob()], **changes}


def datastore(url="ds:///a/", **changes):
    return {"url": url, "namespace": "RILK", "defaultPolicy": "id-Gold", **changes}


def document(policies=(), datastores=()):
    return {"format": "quor-catalogue/1", "policies": list(policies),
            "datastores": list(datastores)}


def entries_of(path):
    """Everything that can be seen of a directory tree: names, kinds, owners, times and bytes."""
    entries = {}
    for folder, folders, files in os.walk(path):
        for name in [".", *folders, *files]:
            entry = os.path.join(folder, name)
            status = os.lstat(entry)
            content = None
            if stat.S_ISREG(status.st_mode):
                with open(entry, "rb") as file:
                    content = file.read()
            entries[os.path.relpath(entry, path)] = (
                status.st_ino, status.st_mode, status.st_uid, status.st_gid, status.st_nlink,
                status.st_size, status.st_mtime_ns, status.st_ctime_ns, content)
    return entries


def without_lock_files(entries):
    """All but the lock files, into which each holder writes its name."""
    return {name: entry for name, entry in entries.items() if not name.endswith(".lock")}


class Result:
    def __init__(self, status, output, errors):
        self.status = status
        self.raw = output
        self.errors = errors.decode()

    @property
    def text(self):
        return self.raw.decode()


class QuorctlCase(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.directory = tempfile.mkdtemp(prefix="quorctl-test-")
        self.addCleanup(shutil.rmtree, self.directory)
        self.host = os.path.join(self.directory, "host")  # created by the first change
        self.program = QUORCTL
        self.process_options = {}  # of every process that the test starts
        self.search_path = {}  # where such a process finds its libraries

    def environment(self, **changes):
        # scripts/mutate chooses a mistake by that one.
        kept = {name: value for name, value in os.environ.items()
                if not name.startswith("QUOR_") or name == "QUOR_MUTATION"}
        return {**kept, **self.search_path, "QUOR_HOST_DIR": self.host, **changes}

    def start(self, *arguments, environment=None, **options):
        """Starts a command without waiting for it."""
        pipes = {"stdin": subprocess.PIPE, "stdout": subprocess.PIPE, "stderr": subprocess.PIPE}
        return subprocess.Popen([self.program, *arguments],
                                env=self.environment(**(environment or {})),
                                **{**pipes, **self.process_options, **options})

    def start_shell(self, script):
        """Starts a script of sh that finds the program as $Q."""
        return subprocess.Popen(["sh", "-c", script], env=self.environment(Q=self.program))

    def run_quorctl(self, *arguments, given=b"", environment=None, **options):
        with self.start(*arguments, environment=environment, **options) as process:
            try:
                output, errors = process.communicate(given, timeout=TIMEOUT)
            except subprocess.TimeoutExpired:
                process.kill()
                raise
        return Result(process.returncode, output or b"", errors or b"")

    def ask(self, *arguments, **options):
        """Runs a command that is to succeed and to complain of nothing."""
        result = self.run_quorctl(*arguments, **options)
        self.assertEqual((result.status, result.errors), (DONE, ""))
        return result

    def refuse(self, status, *arguments, message=None, **options):
        """Runs a command that is to fail: with this status, one line of explanation that holds
        `message`, and nothing on standard output."""
        result = self.run_quorctl(*arguments, **options)
        self.assertEqual(result.status, status, result.errors)
        self.assertRegex(result.errors, r"\Aquorctl: [^\n]+\n\Z")
        self.assertEqual(result.raw, b"")
        if message is not None:
            self.assertIn(message, result.errors)
        return result

    def write(self, name, content):
        path = os.path.join(self.directory, name)
        with open(path, "wb") as file:
            file.write(content if isinstance(content, bytes) else content.encode())
        return path

    def apply(self, content):
        """Applies a document that is given as a value."""
        return self.ask("apply", "--yes", "-", given=json.dumps(content).encode())

    def listed(self, kind):
        return json.loads(self.ask("list", kind, "-o", "json").raw.decode("utf-8", "strict"))

    def listed_document(self):
        return document(self.listed("policies"), self.listed("datastores"))

    def snapshot_path(self):
        """The file of the configuration store, as status tells it."""
        found = re.search(r"^stored in: +(\S+)", self.run_quorctl("status").text, re.MULTILINE)
        return found.group(1)
