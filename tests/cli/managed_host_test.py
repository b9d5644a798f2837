# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""A host that quor-agent keeps equal to a release: who changes it is warned."""
import json
import os
import unittest

from quorctl_case import DONE, QuorctlCase, document, policy
from stranger import become_stranger

WARNING = ("quorctl: warning: quor-agent keeps this host equal to a release of its centre (state in {}) "
           "and will undo the change; to change all hosts use quor-publish, to change this one alone stop "
           "the agent first\n")


class ManagedHost(QuorctlCase):
    def setUp(self):
        super().setUp()
        self.apply(document([policy("Gold")]))
        self.state = os.path.join(self.directory, "agent")
        os.mkdir(self.state)
        self.managed = {"QUOR_AGENT_STATE": self.state}

    def take_release(self):
        with open(os.path.join(self.state, "applied"), "w", encoding="ascii"):
            pass

    def change(self, *words):
        """A change, asked for with what names the agent's state. What it complains of."""
        result = self.run_quorctl("set", "policy", "Gold", "generation=+1", *words,
                                  environment=self.managed)
        self.assertEqual(result.status, DONE, result.errors)
        return result.errors

    def test_ChangeIsWarnedOfOnceTheAgentHasPutAReleaseInPlace(self):
        self.assertEqual(self.change(), "")
        self.take_release()
        self.assertEqual(self.change(), WARNING.format(self.state))
        self.assertEqual(self.change("--dry-run"), WARNING.format(self.state))
        self.assertEqual(self.change("-o", "json"), WARNING.format(self.state))
        self.assertEqual(self.change("--quiet"), "")

    def test_WhatChangesNothingIsNotWarnedOf(self):
        self.take_release()
        for words in (["set", "policy", "Gold", "generation=1"], ["list", "policies"], ["check"]):
            self.assertEqual(self.run_quorctl(*words, environment=self.managed).errors, "", words)

    def test_OtherHostDirectoriesAreNotTheUsualAgents(self):
        self.assertEqual(self.run_quorctl("delete", "policy", "Gold", "--yes").errors, "")

    def test_StatusTellsOfTheAgent(self):
        self.assertNotIn("agent", self.run_quorctl("status", environment=self.managed).text)
        self.take_release()
        text = self.run_quorctl("status", environment=self.managed).text
        self.assertRegex(text, f"(?m)^kept equal by: +quor-agent, state in {self.state}$")
        told = json.loads(self.run_quorctl("status", "-o", "json", environment=self.managed).text)
        self.assertEqual(told["agentState"], self.state)

    def test_StateThatMayNotBeLookedIntoCountsAsOne(self):
        self.take_release()
        os.chmod(self.state, 0o700)
        become_stranger(self)
        os.chmod(self.host, 0o755)
        self.assertIn("kept equal by:", self.run_quorctl("status", environment=self.managed).text)


if __name__ == "__main__":
    unittest.main(verbosity=2)
