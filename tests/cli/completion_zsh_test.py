# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Completion in zsh."""
import unittest

from completing_shell import Zsh
from completion_case import CompletionCase
from program_options import commands_of
from quorctl_case import QuorctlCase


class ZshCompletion(CompletionCase, QuorctlCase):
    shell_class = Zsh

    def test_CommandsAreShownWithTheirSummaries(self):
        self.shell.completed("quorctl ")
        for command, summary in commands_of(self).items():
            self.shell.wait_for(f"{command}  -- {summary}")


if __name__ == "__main__":
    unittest.main()
