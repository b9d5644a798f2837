# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""A root directory with nothing in it but a small Debian system and what some packages need.

Made by debootstrap where that works. Where it does not (no network, no mounts in this container, no
debootstrap), plain unpacked packages of this machine take its place. Needs root.
"""
import os
import shutil
import subprocess

import debootstrapped_root
from commands import Failed, run
from unpacked_root import UnpackedPackages

_WAYS = ("debootstrap", "unpacked")


class CleanRoot:
    def __init__(self, path, dependencies, way=None):
        """`dependencies`: lists of alternatives that what is to be installed needs. `way` is one of
        "debootstrap" and "unpacked" where only that will do. `how` says what was done and why."""
        if way not in (None, *_WAYS):
            raise ValueError(f"no way to make a root: {way}; there are {', '.join(_WAYS)}")
        self.path = path
        self.how = "plain unpacked packages of this machine, as was asked for"
        if way != "unpacked":
            try:
                self.how = debootstrapped_root.make(path, [names[0] for names in dependencies])
                return
            except Failed as failure:
                if way == "debootstrap":
                    raise
                shutil.rmtree(path)
                os.mkdir(path)
                self.how = f"plain unpacked packages of this machine, not debootstrap: {failure}"
        chosen = UnpackedPackages(path, dependencies).chosen
        self.how = f"{len(chosen)} {self.how}"

    def install(self, packages):
        """By dpkg, with the packages' own scripts run inside of the root."""
        run("dpkg", "--root=" + self.path, "--install", *packages,
            env={**os.environ, "DEBIAN_FRONTEND": "noninteractive", "LC_ALL": "C"})

    def run(self, *command, user=0, groups=(0,)):
        """Runs a command inside as that user; returns the finished process."""
        def enter():
            os.chroot(self.path)
            os.chdir("/")
            os.setgroups(groups)
            os.setgid(groups[0])
            os.setuid(user)

        return subprocess.run(command, check=False, capture_output=True, text=True, timeout=120,
                              stdin=subprocess.DEVNULL, preexec_fn=enter,
                              env={"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL": "C.UTF-8"})

    def group(self, name):
        """Number of a group of the root; None when there is no such group."""
        with open(os.path.join(self.path, "etc/group"), encoding="utf-8") as file:
            numbers = {line.split(":")[0]: int(line.split(":")[2]) for line in file}
        return numbers.get(name)
