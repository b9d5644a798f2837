# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Runs quorctl with a terminal for its standard streams, and answers its questions."""
import fcntl
import os
import pty
import select
import subprocess
import termios
import time

from quorctl_case import TIMEOUT, Result


class Terminal:
    """One command. Standard input and standard error are the terminal; standard output too, where
    that is asked for, otherwise a pipe."""

    def __init__(self, case, *words, output_too=False, environment=None,
                 size=None, given=None):
        """With `given` these bytes are standard input, and the terminal controls the process."""
        self.case = case
        self.master, slave = pty.openpty()
        if size:
            termios.tcsetwinsize(slave, size)
        case.addCleanup(os.close, self.master)
        options = {"stdin": slave}
        if given is not None:
            options = {"stdin": subprocess.PIPE, "start_new_session": True,
                       "preexec_fn": lambda: fcntl.ioctl(2, termios.TIOCSCTTY, 0)}
        self.process = case.start(*words, stderr=slave, environment=environment,
                                  stdout=slave if output_too else subprocess.PIPE, **options)
        if given is not None:
            self.process.stdin.write(given)
            self.process.stdin.close()
        case.addCleanup(self.end)
        os.close(slave)
        self.shown = b""

    def end(self):
        if self.process.poll() is None:
            self.process.kill()
        if self.process.stdout:
            self.process.stdout.close()
        self.process.wait()

    def read_some(self, deadline):
        """False when the other side is closed."""
        ready, _, _ = select.select([self.master], [], [], max(0, deadline - time.monotonic()))
        if not ready:
            raise AssertionError(f"the terminal shows only {self.shown!r}")
        try:
            got = os.read(self.master, 65536)
        except OSError:  # as a terminal says that nobody is there any more
            return False
        self.shown += got
        return bool(got)

    def wait_for(self, text):
        """Waits until the terminal has shown the text."""
        deadline = time.monotonic() + TIMEOUT
        while text.encode() not in self.shown:
            if not self.read_some(deadline):
                raise AssertionError(f"{text!r} is not in {self.shown!r}")

    def type(self, text):
        os.write(self.master, text.encode())

    def finish(self):
        """The exit status and standard output; everything else is in `shown`."""
        deadline = time.monotonic() + TIMEOUT
        output = b""
        if self.process.stdout:
            output = self.process.stdout.read()
        while self.read_some(deadline):
            pass
        self.process.wait(TIMEOUT)
        return Result(self.process.returncode, output, self.shown)
