# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Completion in zsh."""
import os
import re
import unittest

from completing_shell import COMPLETION, Zsh
from completion_case import CompletionCase
from program_options import commands_of
from quorctl_case import QuorctlCase


class ZshCompletion(CompletionCase, QuorctlCase):
    shell_class = Zsh

    def test_SummariesAreThoseOfTheProgram(self):
        with open(os.path.join(COMPLETION, "_quorctl"), encoding="utf-8") as file:
            shown = re.findall(r"""^    (['"])(\w+):(.*)\1$""", file.read(), re.MULTILINE)
        self.assertEqual({verb: summary for _, verb, summary in shown}, commands_of(self))


if __name__ == "__main__":
    unittest.main()
