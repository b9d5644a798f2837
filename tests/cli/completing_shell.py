# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Interactive shells in which command lines are completed, as an operator has them.

QUORCTL_COMPLETION names the directory with the completions; it comes from the build.
"""
import fcntl
import os
import pty
import select
import struct
import subprocess
import termios
import time

from quorctl_case import QUORCTL, TIMEOUT

COMPLETION = os.environ["QUORCTL_COMPLETION"]

_TAB = "\t"
_TAKE = "\x18\x04"  # control-X control-D: writes the command line to a file, and empties it

_BASH_SETUP = """
PS1='ready> '
unset HISTFILE
source "$COMPLETION/quorctl.bash"
bind 'set completion-query-items 0' 'set page-completions off'
bind 'set enable-bracketed-paste off' 'set bell-style none'
take() { printf %s "$READLINE_LINE" >"$TAKEN.new"; mv "$TAKEN.new" "$TAKEN"; READLINE_LINE=; }
bind -x '"\\C-x\\C-d": take'
"""

# Every match goes through compadd; some of its calls only ask what matches.
_ZSH_SETUP = """
PS1='ready> '
setopt no_beep
fpath=($COMPLETION $fpath)
autoload -Uz compinit
compinit -u -D
compadd() {
  local -a matches
  if [[ "${@[1,(i)(-|--)]}" != *-(O|A|D)\\ * ]]; then
    builtin compadd -A matches "$@"
    (( ! $#matches )) || print -rN -- $matches >>$OFFERED
  fi
  builtin compadd "$@"
}
bindkey '^I' complete-word  # the usual key expands first, and so runs what is typed itself
take() { print -rn -- "$BUFFER" >$TAKEN.new; mv $TAKEN.new $TAKEN; BUFFER= }
zle -N take
bindkey '^X^D' take
"""

# Calls the completion as bash does, for the list of what is offered.
_BASH_OFFER = """
source "$COMPLETION/quorctl.bash"
COMP_LINE=$1 COMP_POINT=${#1}
_quorctl
((! ${#COMPREPLY[@]})) || printf '%s\\0' "${COMPREPLY[@]}"
"""


def _words_of(raw):
    return raw.decode().split("\0")[:-1]


class CompletingShell:
    """One shell in a pseudo-terminal, in a directory of its own."""

    name = ""
    setup = ""

    def __init__(self, case):
        self.case = case
        self.directory = os.path.join(case.directory, self.name)
        os.makedirs(os.path.join(self.directory, "bin"))
        os.symlink(QUORCTL, os.path.join(self.directory, "bin", "quorctl"))
        self.taken = os.path.join(self.directory, "taken")
        self.offered_file = os.path.join(self.directory, "offered")
        setup_file = os.path.join(self.directory, ".zshrc")
        with open(setup_file, "w", encoding="utf-8") as file:
            file.write(self.setup)
        self.environment = case.environment(
            PATH=os.path.join(self.directory, "bin") + ":" + os.environ["PATH"],
            COMPLETION=COMPLETION, TAKEN=self.taken, OFFERED=self.offered_file, TERM="dumb",
            LC_ALL="C.UTF-8", ZDOTDIR=self.directory, HOME=self.directory)
        self.work = os.path.join(self.directory, "work")
        os.mkdir(self.work)
        self.shown = b""
        self._start(self.command(setup_file))

    def command(self, setup_file):
        raise NotImplementedError

    def _start(self, command):
        self.master, slave = pty.openpty()
        self.case.addCleanup(os.close, self.master)
        # Wide and high, so that no list is asked about and no line is cut.
        fcntl.ioctl(slave, termios.TIOCSWINSZ, struct.pack("HHHH", 500, 500, 0, 0))
        self.process = subprocess.Popen(command, stdin=slave, stdout=slave, stderr=slave,
                                        env=self.environment, cwd=self.work,
                                        start_new_session=True)
        os.close(slave)
        self.case.addCleanup(self._end)
        self._wait(lambda: b"ready> " in self.shown)

    def _end(self):
        self.process.kill()
        self.process.wait()

    def _wait(self, reached):
        deadline = time.monotonic() + TIMEOUT
        while not reached():
            if time.monotonic() > deadline:
                raise AssertionError(f"{self.name} shows only {self.shown!r}")
            ready, _, _ = select.select([self.master], [], [], 0.01)
            if ready:
                self.shown += os.read(self.master, 65536)

    def completed(self, line):
        """The command line after a press of the tabulator key."""
        self.shown = b""
        if os.path.exists(self.offered_file):
            os.remove(self.offered_file)
        os.write(self.master, (line + _TAB + _TAKE).encode())
        self._wait(lambda: os.path.exists(self.taken))
        with open(self.taken, encoding="utf-8") as file:
            text = file.read()
        os.remove(self.taken)
        return text

    def wait_for(self, text):
        """Until the terminal shows it."""
        self._wait(lambda: text.encode() in self.shown)

    def words(self, line):
        """The words that quorctl would get from the command line."""
        script = 'quorctl() { printf "%s\\0" "$@"; }; eval "$1"'
        done = subprocess.run([self.name, "-c", script, self.name, line], check=True,
                              env=self.environment, cwd=self.work, stdout=subprocess.PIPE)
        return _words_of(done.stdout)

    def offered(self, line):
        """What can stand at the end of the command line."""
        raise NotImplementedError


class Bash(CompletingShell):
    name = "bash"
    setup = _BASH_SETUP

    def command(self, setup_file):
        return ["bash", "--noprofile", "--rcfile", setup_file, "-i"]

    def offered(self, line):
        done = subprocess.run(["bash", "-c", _BASH_OFFER, "bash", line], check=True, cwd=self.work,
                              env=self.environment, stdout=subprocess.PIPE)
        return _words_of(done.stdout)


class Zsh(CompletingShell):
    name = "zsh"
    setup = _ZSH_SETUP

    def command(self, setup_file):
        return ["zsh", "-d", "-i"]

    def offered(self, line):
        self.completed(line)
        if not os.path.exists(self.offered_file):
            return []
        with open(self.offered_file, "rb") as file:
            return list(dict.fromkeys(_words_of(file.read())))
