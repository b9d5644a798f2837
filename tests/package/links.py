# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Links between the texts."""
import os
import re

_LINK = re.compile(r"\[([^]]+)\]\(([^)\s]+)\)")


def in_texts(root):
    """Pairs of a text below the directory, relative to it, and where one of its links leads."""
    found = []
    for directory, _, names in os.walk(root):
        for name in sorted(names):
            if name.endswith(".md"):
                path = os.path.join(directory, name)
                with open(path, encoding="utf-8") as file:
                    found += [(os.path.relpath(path, root), target) for target in of(file.read())]
    return found


def of(text):
    return [target for _, target in _LINK.findall(text)]


def leads_somewhere(root, link):
    """Whether such a pair leads to a file or directory, or out of the texts."""
    text, target = link
    if "://" in target or target.startswith("#"):
        return True
    target = os.path.join(os.path.dirname(text), target.split("#")[0])
    return os.path.exists(os.path.join(root, target))


def without_links(text):
    return _LINK.sub(r"\1", text)
