# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Runs quor-agent on a host directory and a state directory of its own for each test."""
import contextlib
import json
import os
import re
import signal
import subprocess
import sys
import time

sys.path[:0] = [os.path.join(os.path.dirname(os.path.abspath(__file__)), *up)
                for up in (("..",), ("..", "..", "cli"))]

from quorctl_case import (QUORCTL, TIMEOUT, QuorctlCase, Result, blob,  # noqa: E402, pylint: disable=C0413
                          datastore, document, policy)

AGENT = os.environ["QUOR_AGENT"]

DONE = 0
WOULD_CHANGE = 1
USAGE = 2
NO_CENTRE = 3
REFUSED = 4
FAILED = 5
TAKEN = 75

QUICK = {"--period": "0.2", "--splay": "0", "--check-period": "0.2",  # of a daemon
         "--repair-period": "0.5"}
NOWHERE = "host=127.0.0.1 port=1 dbname=postgres"  # nothing listens there


def generation(letter, count=5, **changes):
    """The same datastores for every letter, with other default policies."""
    return document([policy(f"{letter}{i}", **changes) for i in range(count)],
                    [datastore(f"ds:///{i}/", defaultPolicy=f"id-{letter}{i}")
                     for i in range(count)])


def in_order(content):
    return {"policies": sorted(content["policies"], key=lambda record: record["name"]),
            "datastores": sorted(content["datastores"], key=lambda record: record["url"])}


class AgentCase(QuorctlCase):
    def setUp(self):
        super().setUp()
        self.state = os.path.join(self.directory, "state")
        self.connection = NOWHERE
        self.config = os.devnull

    def words(self, *arguments):
        return [AGENT, "--config", self.config, "--state", self.state, "--connection",
                self.connection, *arguments]

    def agent(self, *arguments, environment=None):
        result = subprocess.run(self.words(*arguments), check=False, capture_output=True,
                                timeout=TIMEOUT, stdin=subprocess.DEVNULL,
                                env=self.environment(**(environment or {})))
        return Result(result.returncode, result.stdout, result.stderr)

    def expect(self, status, *arguments, message="", **options):
        """Runs the agent; what it says is one line or more that each begin with its name."""
        result = self.agent(*arguments, **options)
        self.assertEqual(result.status, status, result.errors)
        self.assertRegex(result.errors, r"\A(quor-agent: [^\n]+\n)*\Z")
        self.assertIn(message, result.errors)
        return result

    def take(self, content, *options, status=DONE, message=""):
        """Has the host take a document without a centre."""
        path = self.write("given.json", json.dumps(content))
        return self.expect(status, "--from", path, *options, message=message)

    @contextlib.contextmanager
    def daemon(self, *arguments, environment=None):
        """An agent that runs until the block ends, by SIGTERM unless it has ended."""
        log = os.path.join(self.directory, "log")
        with open(log, "wb") as file, subprocess.Popen(
                self.words(*arguments, *(word for name, value in QUICK.items()
                                         if name not in arguments for word in (name, value))),
                stderr=file, stdout=file, stdin=subprocess.DEVNULL,
                env=self.environment(**(environment or {}))) as process:
            try:
                yield process
            finally:
                if process.poll() is None:
                    process.send_signal(signal.SIGTERM)
                    try:
                        process.wait(timeout=TIMEOUT)
                    except subprocess.TimeoutExpired:
                        process.kill()

    def log(self):
        with open(os.path.join(self.directory, "log"), encoding="utf-8") as file:
            return file.read()

    def wait_for(self, condition, what="what is waited for", seconds=30):
        deadline = time.monotonic() + seconds
        while not condition():
            self.assertLess(time.monotonic(), deadline, f"{what}; the log:\n{self.log()}")
            time.sleep(0.02)

    def wait_for_log(self, text, times=1):
        self.wait_for(lambda: self.log().count(text) >= times, text)

    def kept(self, name):
        """The release of a file of the state directory, 0 without one."""
        try:
            with open(os.path.join(self.state, name), encoding="utf-8", errors="replace") as file:
                return int(re.search(r"^release (\d+)$", file.read(), re.MULTILINE).group(1))
        except FileNotFoundError:
            return 0

    def holds(self, content):
        return in_order(self.listed_document()) == in_order(content)

    def expect_host(self, content):
        self.assertEqual(in_order(self.listed_document()), in_order(content))

    def disturb(self, content):
        """Another program's change; the agent may undo it before it has read its work back."""
        path = self.write("disturbing.json", json.dumps(content))
        self.run_quorctl("apply", "--yes", path)

    def replacements(self):
        """How many replacements the agent of the present log made."""
        return sum(int(count) for count in re.findall(r"; (\d+) replacements", self.log()))


__all__ = ["AGENT", "AgentCase", "DONE", "FAILED", "NOWHERE", "NO_CENTRE", "QUORCTL", "REFUSED", "TAKEN",
           "TIMEOUT", "USAGE", "WOULD_CHANGE", "blob", "datastore", "document", "generation",
           "in_order", "policy"]
