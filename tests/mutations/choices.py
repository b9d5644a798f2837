# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Sources in which a program chooses one of many mutations when it starts.

Statements become `if (chosen) { replacement } else { original }`, expressions `(chosen ? replacement
: original)`. Original text that ends with a semicolon or a brace is statements, other text is an
expression.
"""
import re

_STATEMENT = re.compile(r"[;}]\s*\Z")


class _Place:
    """A piece of the text, the mutations of it, and the pieces within that have some of their own."""

    def __init__(self, start, end):
        self.start, self.end = start, end
        self.mutations, self.inner = [], []

    def rendered(self, text):
        """The piece with its choices."""
        parts, at = [], self.start
        for place in self.inner:
            parts += [text[at:place.start], place.rendered(text)]
            at = place.end
        original = "".join(parts) + text[at:self.end]
        if not self.mutations:
            return original
        if _STATEMENT.search(text[self.start:self.end]):
            choices = "".join(f"if ({_chosen(m)}) {{ {m.replacement} }} else "
                              for m in self.mutations)
            return f"{{ {choices}{{ {original} }} }}"
        choices = "".join(f"{_chosen(m)} ? ({m.replacement}) : " for m in self.mutations)
        return f"({choices}({original}))"


def _chosen(mutation):
    name = mutation.name.replace("*/", "* /")
    return f"/* {name} */ ::QuorMutation::Chosen({mutation.number})"


def with_choices(text, mutations, header):
    """The file's text with a choice for each mutation; `header` declares Chosen(). Those that overlap
    others without being part of them are marked as separate, as are those that say so they are left
    out."""
    outer = _Place(0, len(text))
    open_places = [outer]
    for mutation in sorted(mutations, key=lambda m: (m.start, -m.end)):
        if mutation.separate:
            continue
        while open_places[-1].end <= mutation.start:
            open_places.pop()
        place = open_places[-1]
        if mutation.end > place.end:
            mutation.separate = True
            continue
        if place is outer or (place.start, place.end) != (mutation.start, mutation.end):
            inner = _Place(mutation.start, mutation.end)
            place.inner.append(inner)
            open_places.append(inner)
            place = inner
        place.mutations.append(mutation)
    return f'#include "{header}"\n{outer.rendered(text)}'


def with_one(text, mutation):
    """The file's text with that mutation in place."""
    return text[:mutation.start] + mutation.replacement + text[mutation.end:]
