# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Commands that must succeed, and what a terminal shows."""
import contextlib
import os
import pty
import subprocess


class Failed(Exception):
    """A command that failed, with what it printed."""


def run(*command, **options):
    """What the command writes to its standard output."""
    result = subprocess.run(command, check=False, capture_output=True, **options)
    if result.returncode != 0:
        raise Failed(f"{command[0]}: exit status {result.returncode}\n{result.stderr[:4000]}")
    return result.stdout


def shown_on_a_terminal(work):
    """Calls `work` with the descriptor of a terminal; returns its result and what the terminal shows."""
    ours, theirs = pty.openpty()
    result = work(theirs)
    os.close(theirs)
    shown = b""
    with open(ours, "rb", buffering=0) as terminal, contextlib.suppress(OSError):  # raised at the end
        while chunk := terminal.read(65536):
            shown += chunk
    return result, shown.decode()
