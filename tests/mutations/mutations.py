# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The list of mutations, and where each stands in the sources.

The mutations of src/api/backend.cpp are in tests/mutations/src/api/backend.cpp.toml, and so on:

    tests = ["quor_unit_tests"]      # commands that must notice each mutation of the file
    targets = ["put_catalogue"]      # what else has to be built for them

    [[mutation]]
    name = "the switch is read the other way round"
    original = '!= 0'
    replacement = '== 0'
    occurrence = "2 of 3"            # when the original text stands there more than once
    equivalent = "why no caller can notice it"
    separate = true                  # built alone: no statements and no expression
    tests = ["platform_tests --gtest_filter=Lock.*", "ctest -R ^cli.apply$"]

A command is a program of the build, or ctest. White space in the original text stands for any other.
"""
import dataclasses
import os
import re
import tomllib


class Mistake(Exception):
    """The list and the sources do not fit; the message names every place."""


@dataclasses.dataclass
class Mutation:
    """One small change of one source file."""
    name: str
    file: str           # relative to the root
    original: str
    replacement: str
    tests: list
    targets: list
    occurrence: str = "1 of 1"
    equivalent: str = ""
    separate: bool = False
    number: int = 0     # by which the programs know it
    start: int = 0      # where the original text is in the file
    end: int = 0

    def __str__(self):
        return f"{self.file}: {self.name}"

    def problem(self):
        """Why it cannot be applied; empty when it can."""
        if not self.tests:
            return "no tests"
        if not self.original.strip():
            return "no original text"
        if re.sub(r"\s+", "", self.original) == re.sub(r"\s+", "", self.replacement):
            return "changes nothing"
        if not re.fullmatch(r"[1-9]\d* of [1-9]\d*", self.occurrence):
            return f'occurrence = "{self.occurrence}" is not of the form "2 of 3"'
        return ""

    def locate(self, text):
        """Finds the original text; returns why it is not there, or nothing."""
        which, expected = map(int, self.occurrence.split(" of "))
        pattern = r"\s+".join(re.escape(word) for word in self.original.split())
        found = list(re.finditer(pattern, text))
        if len(found) != expected or which > expected:
            return (f"its original text stands there {len(found)} times, "
                    f"where occurrence = \"{self.occurrence}\"")
        self.start, self.end = found[which - 1].span()
        return ""


def read(root, folder="tests/mutations"):
    """All mutations in the order of files and entries, numbered from 1. Raises Mistake."""
    mutations, problems = [], []
    for directory, subdirectories, names in os.walk(os.path.join(root, folder)):
        subdirectories.sort()
        for name in sorted(names):
            if name.endswith(".toml"):
                path = os.path.relpath(os.path.join(directory, name), root)
                file = os.path.relpath(path[:-len(".toml")], folder)
                try:
                    mutations += _of_file(root, path, file, problems)
                except (TypeError, tomllib.TOMLDecodeError) as error:
                    problems.append(f"{path}: {error}")
    if not mutations:
        problems.append(f"no mutations below {folder}")
    if problems:
        raise Mistake("\n".join(problems))
    for number, mutation in enumerate(mutations, start=1):
        mutation.number = number
    return mutations


def _of_file(root, path, file, problems):
    with open(os.path.join(root, path), "rb") as data:
        table = tomllib.load(data)
    tests, targets = table.pop("tests", []), table.pop("targets", [])
    mutations = [Mutation(file=file, **{"tests": tests, "targets": targets, **entry})
                 for entry in table.pop("mutation", [])]
    problems += [f"{path}: {key} is not known" for key in table]
    try:
        with open(os.path.join(root, file), encoding="utf-8") as source:
            text = source.read()
    except FileNotFoundError:
        problems.append(f"{path}: there is no {file}")
        return mutations
    names = set()
    for mutation in mutations:
        problem = mutation.problem() or mutation.locate(text)
        if mutation.name in names:
            problem = "its name is taken"
        names.add(mutation.name)
        if problem:
            problems.append(f'{path}: "{mutation.name}": {problem}')
    return mutations
