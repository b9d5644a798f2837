# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""A manual page in the mdoc language: its parts, and what a terminal shows of it."""
import os
import re
import subprocess

# As the page must write them, so that they are shown as they are typed.
_ESCAPES = {r"\-": "-", r"\(aq": "'", r"\(ha": "^", r"\(ti": "~", r"\(ga": "`", r"\e": "\\"}
_WIDTH = "200n"  # so that no word is divided


class ManualPage:
    def __init__(self, path):
        self.path = path
        with open(path, encoding="utf-8") as file:
            self.source = file.read()

    def _format(self, *options):
        return subprocess.run(["groff", "-ww", "-mdoc", "-Tutf8", "-P-cbou", f"-rLL={_WIDTH}",
                               *options, self.path], check=True, capture_output=True,
                              env={**os.environ, "LC_ALL": "C.UTF-8"})

    def complaints(self):
        return self._format("-z").stderr.decode()

    def shown(self):
        return self._format().stdout.decode()

    def section(self, heading):
        return self._parts(self.source, "Sh")[heading]

    def subsections(self, heading):
        """The texts below the second headings of a section, by these, in their order."""
        return self._parts(self.section(heading), "Ss")

    @staticmethod
    def _parts(text, macro):
        parts = re.split(rf"^\.{macro} (.*)\n", text, flags=re.MULTILINE)[1:]
        return dict(zip(parts[::2], parts[1::2]))

    @staticmethod
    def options(text):
        """For every spelling of an option that the text explains, the name of its value or
        nothing."""
        options = {}
        for item in re.findall(r"^\.It (Fl .*)$", text, re.MULTILINE):
            names, _, value = item.partition(" Ar ")
            for name in re.findall(r"Fl (\S+)", names):
                options["-" + name] = value
        return options

    def literal(self):
        """The displays that are to be typed or read by a program, as they are shown."""
        displays = re.findall(r"^\.Bd -literal.*\n((?:.*\n)*?)\.Ed$", self.source, re.MULTILINE)
        pattern = "|".join(re.escape(escape) for escape in _ESCAPES)
        return [re.sub(pattern, lambda found: _ESCAPES[found.group()], display)
                for display in displays]
