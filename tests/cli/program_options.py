# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The commands and options that quorctl has, as its help tells them."""
import re


def commands_of(case):
    """Names and summaries, in the order of the help."""
    section = _section(case.ask("help").text, "Commands")
    return dict(re.findall(r"^  (\S+) +(.+)$", section, re.MULTILINE))


def options_of(case, command=None):
    """For every spelling of an option of the command, the name of its value or nothing; of every
    command without one."""
    if command is None:
        section = _section(case.ask("help").text, "Options of every command")
    else:
        section = _section(case.ask("help", command).text, "Arguments and options")
    options = {}
    for names, value in re.findall(r"^  (-[\w-]+(?:, -[\w-]+)*)(?: (\S+))?(?:  .*)?$", section,
                                   re.MULTILINE):
        for name in names.split(", "):
            options[name] = value
    return options


def statuses_of(case):
    section = _section(case.ask("help").text, "Exit statuses")
    return re.findall(r"^  (\d+) ", section, re.MULTILINE)


def _section(text, heading):
    found = re.search(rf"^{heading}.*:\n((?:  .*\n)+)", text, re.MULTILINE)
    return found.group(1) if found else ""
