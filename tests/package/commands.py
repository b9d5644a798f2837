# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Commands that must succeed."""
import subprocess


class Failed(Exception):
    """A command that failed, with what it printed."""


def run(*command, **options):
    """What the command writes to its standard output."""
    result = subprocess.run(command, check=False, capture_output=True, **options)
    if result.returncode != 0:
        raise Failed(f"{command[0]}: exit status {result.returncode}\n{result.stderr[:4000]}")
    return result.stdout
