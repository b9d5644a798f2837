#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Prints which lines and branches of the libraries the tests reached, and which they did not.

    branch_coverage.py ROOT BUILD LEAST [--strict]

Reads what the tests have counted in the directory BUILD, by gcov. Fails when fewer than LEAST percent of
the branches were reached. What was not reached is compared with exceptions.txt beside this file: what is
not listed there is printed, and fails too with --strict; what is listed and was reached is printed as
stale.

Not counted are branches that the compiler makes for exceptions: the two ways out of a call that may
throw, those before a catch, and those of a line that is a closing bracket only. Where no rule can tell
such branches, exceptions.txt lists their lines below "# Made by the compiler"; what was not reached there
is told and not counted in the last total, which is the one that must be LEAST.
"""
import collections
import glob
import json
import os
import re
import subprocess
import sys

_COUNTED = re.compile(r"(platform/)?src/")
_COMPILERS_OWN = re.compile(r"[\s{}();,]*(//.*)?$|\s*\} catch \(")
_EXCEPTIONS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "exceptions.txt")


class Count:
    """Of lines or of branches: all, and those that were reached."""

    def __init__(self):
        self.all = 0
        self.reached = 0

    def add(self, reached):
        self.all += 1
        self.reached += 1 if reached else 0

    def percent(self):
        return 100.0 * self.reached / self.all if self.all else 100.0

    def __str__(self):
        return f"{self.reached:5} of {self.all:5}  {self.percent():6.2f} %"


def join(text):
    """A line without what its layout may change."""
    return " ".join(text.split())


def exceptions(text):
    """How often each (file, line) is listed. Lines that begin with # are the reasons."""
    listed = collections.Counter()
    for line in text.splitlines():
        if line.strip() and not line.startswith("#"):
            file, code = line.split(": ", 1)
            listed[(file, join(code))] += 1
    return listed


def gcov_reports(build):
    """What gcov says of every object file that has counts, read from its JSON."""
    for counts in sorted(glob.glob(os.path.join(build, "**", "*.gcda"), recursive=True)):
        result = subprocess.run(["gcov", "--json-format", "--stdout", "--branch-probabilities", counts],
                                check=True, capture_output=True, text=True, cwd=build)
        yield json.loads(result.stdout)


def decisions(branches):
    """Counts of a line's branches but for the two ways out of calls that may throw."""
    kept = []
    for branch in branches:
        if not branch["throw"]:
            kept.append(branch)
        elif kept and kept[-1]["fallthrough"]:
            kept.pop()
    return [branch["count"] for branch in kept]


def lines_of(reports):
    """For each file and line how often it and each of its branches was reached, by all objects."""
    files = {}
    for report in reports:
        for file in report["files"]:
            name = os.path.normpath(file["file"])
            if not _COUNTED.match(name):
                continue
            lines = files.setdefault(name, {})
            for line in file["lines"]:
                counts = lines.setdefault(line["line_number"], [0])
                counts[0] += line["count"]
                for i, count in enumerate(decisions(line["branches"]), 1):
                    if i == len(counts):
                        counts.append(0)
                    counts[i] += count
    return files


def compilers_own(text):
    """The paragraphs of the list that name branches which no source asks for."""
    return exceptions("\n\n".join(part for part in text.split("\n\n")
                                  if part.startswith("# Made by the compiler")))


def missed_lines(reports, sources):
    """Counts of each file, and the lines with a branch that was not reached: (file, number, text,
    how many of its branches were missed)."""
    files, missed = {}, []
    for name, counted in sorted(lines_of(reports).items()):
        lines, branches = Count(), Count()
        source = sources(name)
        for number, (times, *taken) in sorted(counted.items()):
            lines.add(times > 0)
            if _COMPILERS_OWN.match(source[number - 1]):
                continue
            for one in taken:
                branches.add(one > 0)
            if not all(one > 0 for one in taken):
                text = join(source[number - 1])
                missed.append((name, number, text, sum(one <= 0 for one in taken)))
        files[name] = (lines, branches)
    return files, missed


def compare(missed, listed):
    """What was missed and is not listed, and what is listed and was not missed."""
    left = collections.Counter(listed)
    unlisted = []
    for entry in missed:
        key = (entry[0], entry[2])
        if left[key] > 0:
            left[key] -= 1
        else:
            unlisted.append(entry)
    return unlisted, sorted(left.elements())


def total(counts):
    result = Count()
    for count in counts:
        result.all += count.all
        result.reached += count.reached
    return result


def main(root, reports, least, strict):
    def sources(name):
        with open(os.path.join(root, name), encoding="utf-8") as file:
            return file.read().splitlines()

    files, missed = missed_lines(reports, sources)
    with open(_EXCEPTIONS, encoding="utf-8") as file:
        listed = file.read()
    unlisted, stale = compare(missed, exceptions(listed))
    asked_for, _ = compare(missed, compilers_own(listed))

    print(f"{'file':45} {'lines':>24} {'branches':>26}")
    for name, (lines, branches) in sorted(files.items()):
        print(f"{name:45} {lines}  {branches}")
    lines = total(counts[0] for counts in files.values())
    branches = total(counts[1] for counts in files.values())
    print(f"{'total':45} {lines}  {branches}")
    made = sum(entry[3] for entry in missed) - sum(entry[3] for entry in asked_for)
    branches.all -= made
    print(f"{f'without {made} made by the compiler':45} {lines}  {branches}")

    print(f"{len(missed)} lines have branches that were not reached; "
          f"{len(missed) - len(unlisted)} of them are listed with a reason")
    for name, number, text, count in unlisted:
        print(f"not listed: {name}:{number}: {text}  ({count})")
    for name, text in stale:
        print(f"listed, and reached this time: {name}: {text}")
    if branches.percent() < least or not branches.all:
        print(f"less than {least:g} % of the branches were reached")
        return 1
    return 1 if strict and unlisted else 0


if __name__ == "__main__":
    arguments = [word for word in sys.argv[1:] if word != "--strict"]
    if len(arguments) != 3 or not re.fullmatch(r"\d+", arguments[2]):
        sys.exit(__doc__)
    sys.exit(main(arguments[0], gcov_reports(arguments[1]), float(arguments[2]), "--strict" in sys.argv))
