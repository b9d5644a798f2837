# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Fills a root directory without a network: with packages as they are unpacked on this machine.

The files of the packages that this machine has installed are copied, with their entries in dpkg's
database, so that dpkg refuses a package whose dependencies are not there. Needs root.
"""
import os
import re
import stat

from commands import Failed, run

_STATUS = "/var/lib/dpkg/status"
_INFO = "/var/lib/dpkg/info"
_MERGED = ("bin", "sbin", "lib", "lib32", "lib64", "libx32")
_NOT_NEEDED = re.compile(r"^/usr/share/(doc|man|locale|info)/")


def _stanzas():
    """The installed packages of this machine: their names and entries."""
    with open(_STATUS, encoding="utf-8") as file:
        for text in file.read().split("\n\n"):
            name = re.search(r"^Package: (.*)$", text, re.MULTILINE)
            if name and re.search(r"^Status: .* installed$", text, re.MULTILINE):
                yield name.group(1), text


def _names(text, *fields):
    """Lists of alternatives, one for each dependency in the fields of an entry."""
    for field in fields:
        value = re.search(rf"^{field}: (.*)$", text, re.MULTILINE)
        for dependency in value.group(1).split(",") if value else ():
            yield [re.split(r"[ (:]", part.strip())[0] for part in dependency.split("|")]


class UnpackedPackages:
    def __init__(self, path, dependencies):
        """Fills `path` with Debian's essential packages and with `dependencies`, lists of alternatives
        each; `chosen` are the names of what is there."""
        self.path = path
        self.installed = dict(_stanzas())
        self.providers = {}
        for name, text in self.installed.items():
            for provided in _names(text, "Provides"):
                self.providers.setdefault(provided[0], name)
        self.chosen = []
        for name, text in self.installed.items():
            if "\nEssential: yes" in text:
                self._choose([name])
        for alternatives in dependencies:
            self._choose(alternatives)
        self._copy_files()
        self._make_database()
        self._make_accounts()

    def _choose(self, alternatives):
        names = [name if name in self.installed else self.providers.get(name)
                 for name in alternatives]
        names = [name for name in names if name]
        if not names:
            raise Failed(f"this machine has none of {alternatives} installed")
        if names[0] in self.chosen:
            return
        self.chosen.append(names[0])
        for dependency in _names(self.installed[names[0]], "Pre-Depends", "Depends"):
            self._choose(dependency)

    def _copy_files(self):
        for name in _MERGED:
            if os.path.islink("/" + name):
                target = os.readlink("/" + name)
                os.makedirs(os.path.join(self.path, target))
                os.symlink(target, os.path.join(self.path, name))
        listed = set(run("dpkg-query", "-L", *self.chosen, text=True).split("\n"))
        files = sorted(file for file in listed if file.startswith("/") and file != "/." and
                       not _NOT_NEEDED.match(file) and os.path.lexists(file))
        archive = run("tar", "-c", "-C", "/", "--no-recursion", "--null", "-T", "-",
                       input="\0".join("." + file for file in files).encode())
        run("tar", "-x", "-C", self.path, "--keep-directory-symlink", input=archive)
        for name in ("proc", "dev", "tmp", "run", "etc", "var/lib"):
            os.makedirs(os.path.join(self.path, name), exist_ok=True)
        os.chmod(os.path.join(self.path, "tmp"), 0o1777)
        os.chmod(self.path, 0o755)
        try:
            os.mknod(os.path.join(self.path, "dev/null"), 0o666 | stat.S_IFCHR, os.makedev(1, 3))
            os.chmod(os.path.join(self.path, "dev/null"), 0o666)
        except PermissionError:
            pass  # in some containers; a plain file takes its place

    def _make_database(self):
        info = os.path.join(self.path, "var/lib/dpkg/info")
        for name in (info, os.path.join(self.path, "var/lib/dpkg/updates"),
                     os.path.join(self.path, "var/lib/dpkg/triggers")):
            os.makedirs(name, exist_ok=True)
        with open(os.path.join(self.path, "var/lib/dpkg/status"), "w", encoding="utf-8") as file:
            for name in self.chosen:
                file.write(self.installed[name] + "\n\n")
        chosen = set(self.chosen)
        for entry in os.listdir(_INFO):
            if entry.rsplit(".", 1)[0].split(":")[0] in chosen:
                run("cp", "-p", os.path.join(_INFO, entry), info)
        run("cp", "-p", os.path.join(_INFO, "format"), info)

    def _make_accounts(self):
        for name in ("passwd", "group"):
            master = os.path.join(self.path, "usr/share/base-passwd", name + ".master")
            run("cp", master, os.path.join(self.path, "etc", name))
