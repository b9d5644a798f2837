"""Completion in bash."""
import unittest

from completing_shell import Bash
from completion_case import CompletionCase
from quorctl_case import QuorctlCase


class BashCompletion(CompletionCase, QuorctlCase):
    shell_class = Bash


if __name__ == "__main__":
    unittest.main()
