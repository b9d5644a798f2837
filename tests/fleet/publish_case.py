# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Runs quor-publish on servers of a test's own."""
import json
import os
import re
import shutil
import subprocess
import tempfile
import unittest

from postgres import Cluster

PUBLISH = os.path.join(os.environ["QUOR_BIN"], "quor-publish")
EXAMPLE = os.environ["QUOR_EXAMPLE"]

DONE, STOPPED, USAGE, ABSENT, BAD_INPUT, CENTRE = range(6)
PERMISSION, NOT_CONFIRMED, MOVED = 7, 8, 9
TIMEOUT = 120  # seconds; only a hang comes near it


def document(policies=10, datastores=10, generation=1):
    """A catalogue document as bytes."""
    return json.dumps({
        "format": "quor-catalogue/1",
        "policies": [{"id": f"id-{n}", "name": f"Policy {n}", "description": "", "generation": generation,
                      "blobs": [{"namespace": "RILK", "text": f"copies = {n}"}]} for n in range(policies)],
        "datastores": [{"url": f"ds:///{n}/", "namespace": "RILK", "defaultPolicy": f"id-{n}"}
                       for n in range(datastores)]}).encode()


class Result:
    def __init__(self, status, output, errors):
        self.status = status
        self.text = output.decode()
        self.errors = errors.decode()


class PublishCase(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.cluster = Cluster()
        cls.addClassCleanup(cls.cluster.close)
        cls.server = cls.cluster.start_primary()
        cls.options = ("--no-standby",)

    def setUp(self):
        self.directory = tempfile.mkdtemp(prefix="quor-publish-test-")
        self.addCleanup(shutil.rmtree, self.directory)
        self.server.make_centre()

    def start(self, *words, user="ann", server=None, options=None):
        kept = {name: value for name, value in os.environ.items()
                if not name.startswith(("PG", "QUOR_")) or name == "QUOR_MUTATION"}
        centre = (server or self.server).connection(user)
        return subprocess.Popen([PUBLISH, *words, *(self.options if options is None else options)],
                                env={**kept, "QUOR_CENTRE": centre}, stdin=subprocess.PIPE,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE)

    def run_publish(self, *words, given=b"", **options):
        with self.start(*words, **options) as process:
            try:
                output, errors = process.communicate(given, timeout=TIMEOUT)
            except subprocess.TimeoutExpired:
                process.kill()
                raise
        return Result(process.returncode, output, errors)

    def ask(self, *words, **options):
        """Runs a command that is to succeed and to complain of nothing."""
        result = self.run_publish(*words, **options)
        self.assertEqual((result.status, result.errors), (DONE, ""), result.text)
        return result.text

    def refuse(self, status, message, *words, **options):
        """Runs a command that is to fail with one line, in which `message`, a pattern, is found."""
        result = self.run_publish(*words, **options)
        self.assertEqual(result.status, status, result.errors + result.text)
        self.assertRegex(result.errors, r"\Aquor-publish: [^\n]+\n\Z")
        self.assertRegex(result.errors, message)
        return result

    def publish(self, parent, content=None, *words, reason="a reason"):
        """The number of the release that is made."""
        content = document(generation=parent + 1) if content is None else content
        text = self.ask("publish", "-", "--parent", str(parent), "--reason", reason, *words, given=content)
        return int(re.search(r"published release (\d+)", text).group(1))

    def channels(self):
        return {name: int(release) if release else None
                for name, release in self.server.sql("select name, release from quor.channel")}

    def report(self, host, release, state="applied", reason=""):
        self.server.sql(f"select quor.report({release}, 'sha', 'p', 'd', '{state}', '{reason}', '1.0')", user=host)

    def status(self):
        return json.loads(self.ask("status", "-o", "json", user="vic", options=()))
