#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Writes character_widths.h, the table of characters that do not take one terminal column, from
the character database that comes with Python:  ./make_character_widths.py > character_widths.h
"""
import sys
import unicodedata

HEAD = """\
// Made by make_character_widths.py from version {version} of the Unicode character database; change
// that script instead of this file.
#ifndef TOOLS_QUORCTL_TEXT_CHARACTER_WIDTHS_H_
#define TOOLS_QUORCTL_TEXT_CHARACTER_WIDTHS_H_

namespace Quorctl {{

struct CharacterRange {{
  char32_t first;
  char32_t last;
}};

// clang-format off
"""

TAIL = """\
// clang-format on

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_TEXT_CHARACTER_WIDTHS_H_
"""


def is_zero_width(character):
    """Marks that stand on the character before, and the joiners."""
    joiner = character in "\u200c\u200d"
    return joiner or unicodedata.category(character) in ("Mn", "Me")


def is_double_width(character):
    return unicodedata.east_asian_width(character) in ("W", "F") and not is_zero_width(character)


def ranges_of(predicate):
    """Unassigned code points do not end a range: what is added there later is of the same kind."""
    ranges = []
    continues = False
    for code in range(0x300, 0x110000):
        character = chr(code)
        if unicodedata.category(character) == "Cn":
            continue
        if predicate(character):
            if not continues:
                ranges.append([code, code])
            ranges[-1][1] = code
        continues = predicate(character)
    return ranges


def print_ranges(name, ranges, out):
    out.write(f"inline constexpr CharacterRange {name}[] = {{\n")
    for start in range(0, len(ranges), 4):
        row = (f"{{0x{first:04X}, 0x{last:04X}}}" for first, last in ranges[start:start + 4])
        out.write("    " + ", ".join(row) + ",\n")
    out.write("};\n")


def main(out):
    out.write(HEAD.format(version=unicodedata.unidata_version))
    print_ranges("kZeroWidthRanges", ranges_of(is_zero_width), out)
    print_ranges("kDoubleWidthRanges", ranges_of(is_double_width), out)
    out.write(TAIL)


if __name__ == "__main__":
    main(sys.stdout)
