# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Checks what the project's text files must not say, and how they are laid out.

    check_text.py ROOT

Prints every place that breaks a rule and exits with 1 when there is one. The project explains
itself: its texts give reasons, not references to papers or people that a reader cannot see, and
carry no notes of unfinished work, which belong in the tracker.
"""
import os
import re
import sys

import source_tree

# The patterns are put together from pieces, so that this file does not match itself. A space stands
# for any run of white space and comment signs: a sentence may be wrapped between two words.
_DOCUMENT = "sp" + "ec"
_ANY_CASE = {
    "a document outside the project": [
        rf"\b{_DOCUMENT}\.md\b", rf"\bthe {_DOCUMENT}s?\b", rf"\b{_DOCUMENT}ification",
        rf"\bas {_DOCUMENT}ified\b", r"\bpa" r"rts? \d+\.\d+", r"\bdes" r"ign\.md\b",
        r"\bsty" r"le\.md\b", r"\bfield.fail" r"ures?\b"],
    "who or what worked on it": [
        r"\bis" r"sues? #?\d+", r"\bthe br" r"ief\b", r"\bthis ses" r"sion\b"],
    "a path of one machine": [r"/wo" r"rk/", r"/ho" r"me/\w", r"/ro" r"ot/\w"],
    "a host of a package registry": [
        r"\bdeb\.deb" r"ian\b", r"\bpypi\.o" r"rg\b", r"\bcrates\.i" r"o\b", r"\bnpm" r"js\b",
        r"\bproxy\.gol" r"ang\b"],
}
_AS_WRITTEN = {
    "a note of unfinished work": [
        r"\bTO" r"DO\b", r"\bFIX" r"ME\b", r"\bXX" r"X\b", r"\bHA" r"CK\b"],
    "a test that does not run": [r"\bGTEST_SK" r"IP\b", r"\bDIS" r"ABLED_\w"],
}


def _compiled(patterns, flags=0):
    return re.compile("|".join(patterns).replace(" ", r"[\s/#*]+"), flags)


_RULES = ([(reason, _compiled(patterns, re.IGNORECASE)) for reason, patterns in _ANY_CASE.items()] +
          [(reason, _compiled(patterns)) for reason, patterns in _AS_WRITTEN.items()])

_NOT_OURS = {"LICENSE", "LICENSES/Apache-2.0.txt"}


def violations(root):
    """One line of text for every place that breaks a rule."""
    found = []
    paths = [path for path in source_tree.files(root) if path not in _NOT_OURS]
    if not paths:
        return [f"no files below {root}"]
    for path in paths:
        text = _read(os.path.join(root, path))
        if text is None:
            continue
        found += [f"{path}: its name mentions {reason}" for reason, rule in _RULES
                  if rule.search(path)]
        found += [f"{path}:{number}: {reason}" for number, reason in _places(text)]
    return found


def _read(path):
    """The file's text; None when it is binary."""
    with open(path, "rb") as file:
        content = file.read()
    if b"\0" in content:
        return None
    try:
        return content.decode("utf-8")
    except UnicodeDecodeError:
        return None


def _places(text):
    """Pairs of a line number and the rule that is broken there."""
    for reason, rule in _RULES:
        for match in rule.finditer(text):
            yield text.count("\n", 0, match.start()) + 1, f"mentions {reason}: {match.group()!r}"
    for number, line in enumerate(text.split("\n"), start=1):
        if line != line.rstrip():
            yield number, "white space at the end of the line"
    if text and not text.endswith("\n"):
        yield text.count("\n") + 1, "no line feed at the end"


def main():
    found = violations(sys.argv[1])
    print("\n".join(found) if found else "nothing found")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
