# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Fills a root directory by debootstrap, from where this machine's apt gets its packages.

Nothing about mirrors is known here: the repository of the running release and the proxy on the way
are apt's, asked for by its own programs.
"""
import os
import re
import shlex
import shutil
import signal
import subprocess
import time
from urllib.parse import urlsplit

from commands import Failed, run

TIMEOUT = 600  # seconds; a root of 60 packages takes one or two minutes


def release():
    """The code name of the Debian release that runs here."""
    with open("/etc/os-release", encoding="utf-8") as file:
        values = dict(line.rstrip("\n").split("=", 1) for line in file if "=" in line)
    name = values.get("VERSION_CODENAME", "").strip('"')
    if not name:
        raise Failed("/etc/os-release names no release")
    return name


def repository(suite):
    """The address that apt gets that release from."""
    lines = run("apt-get", "indextargets", "--format", "$(CODENAME)|$(COMPONENT)|$(REPO_URI)",
                "Identifier: Packages", text=True)
    for line in lines.splitlines():
        if line.startswith(f"{suite}|main|"):
            return line.split("|")[2]
    raise Failed(f"apt has no repository of {suite}")


def proxy_environment(uri):
    """The variables that lead debootstrap's wget through apt's proxy for that address, if any."""
    address = urlsplit(uri)
    names = [f"Acquire::{address.scheme}::Proxy::{address.hostname}",
             f"Acquire::{address.scheme}::Proxy"]
    output = run("apt-config", "shell", "own", names[0], "common", names[1], text=True)
    values = dict(word.split("=", 1) for word in shlex.split(output))
    proxy = values.get("own") or values.get("common")
    if proxy == "DIRECT":
        return {"no_proxy": address.hostname}
    return {f"{address.scheme}_proxy": proxy} if proxy else {}


def _run_bounded(command, environment, log):
    """Runs in mounts and processes of its own, which end with it, and in no more than the time."""
    with open(log, "w", encoding="utf-8") as file, \
            subprocess.Popen(["unshare", "--mount", "--pid", "--fork", "--kill-child", *command],
                             stdin=subprocess.DEVNULL, stdout=file, stderr=subprocess.STDOUT,
                             env=environment, start_new_session=True) as process:
        try:
            status = process.wait(TIMEOUT)
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            raise Failed(f"debootstrap was not done after {TIMEOUT} s") from None
    if status != 0:
        with open(log, encoding="utf-8", errors="replace") as file:
            lines = [line.strip() for line in file if not re.match("I: (Retrieving|Validating)", line)]
        raise Failed(f"debootstrap: exit status {status}: {' / '.join(lines[-3:])}")


def make(path, packages):
    """Makes the root with these packages, signatures checked by Debian's keys; returns words on what
    was done. Raises `Failed`."""
    if not shutil.which("debootstrap"):
        raise Failed("there is no program debootstrap")
    suite = release()
    address = repository(suite)
    started = time.monotonic()
    _run_bounded(["debootstrap", "--variant=minbase", "--include=" + ",".join(sorted(set(packages))),
                  suite, path, address],
                 {**os.environ, **proxy_environment(address), "LC_ALL": "C"},
                 path + ".log")
    os.chmod(path, 0o755)
    return (f"debootstrap of {suite}, from this machine's apt repository, "
            f"in {time.monotonic() - started:.0f} s")
