# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Completion in bash."""
import unittest

from completing_shell import Bash
from completion_case import CompletionCase
from quorctl_case import QuorctlCase, document, policy


class BashCompletion(CompletionCase, QuorctlCase):
    shell_class = Bash

    def test_IdentifiersWithADashAreOfferedWhereNoOptionCanFollow(self):
        self.apply(document([policy("a", id="-dash"), policy("b", id="plain")]))
        self.expect_offer("quorctl get policy -- ", ["-dash", "plain"])


if __name__ == "__main__":
    unittest.main()
