# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Shows a header of this project to Doxygen: its plain comments as documentation.

    filter.py HEADER

A comment at the start of the file is the file's. A comment above a function is also for those right
below it that have the same name: overloads, constructors and destructor, an accessor and its setter.
One behind a declaration is for that one alone. Deleted and defaulted members need no words.
"""
import re
import sys

_COMMENT = re.compile(r"^\s*//( ?)(.*)$")
_BEHIND = re.compile(r"^(?P<code>.*\S)\s+// (?P<text>.*)$")
_NO_DOCUMENTATION = re.compile(
    r"^\s*(#(?!define)|}|extern \"C\"|(public|protected|private):|namespace|using|friend)")
_NOT_FOR_READERS = re.compile(r"^NOLINT")
_GENERATED = re.compile(r"= (delete|default);")
_NAME = re.compile(r"\b(?:set_|Use)?(\w+)(?:\(| = .*;$|;$)")
_EXAMPLE = re.compile(r"^   +\S")


def documentation(text):
    """A comment's line as Doxygen wants it; lines that are set in are examples."""
    text = re.sub(r"([<>@\\#&])", r"\\\1", text) if not _EXAMPLE.match(" " + text) else "   " + text
    return "/// " + text if text else "///"


def declared_name(code):
    """What the first line of a declaration declares; None where that is no function or field."""
    name = _NAME.search(code)
    return name.group(1) if name else None


class Filter:
    def __init__(self):
        self.lines = []
        self.block = []  # the documentation that is in force
        self.name = None  # of what the block is for
        self.inside = False  # a declaration has begun and not ended
        self.documented = False  # the block is right above
        self.directive = False  # a directive of the preprocessor goes on in this line

    def header(self, lines):
        start = 0
        if lines and _COMMENT.match(lines[0]):
            self.lines.append("/// \\file")
            while start < len(lines) and (comment := _COMMENT.match(lines[start])):
                self.lines.append(documentation(comment.group(2)))
                start += 1
            self.lines.append("")
        for line in lines[start:]:
            self.line(line)
        return self.lines

    def line(self, line):
        comment = _COMMENT.match(line)
        directive, self.directive = self.directive, line.endswith("\\")
        if directive or not line.strip() or _NO_DOCUMENTATION.match(line):
            self.block = []
            self.documented = False
            self.lines.append(line)
        elif _GENERATED.search(line):
            self.lines.append("")
        elif comment and not self.inside:
            if not self.documented:
                self.block = []
            self.block.append(documentation(comment.group(2)))
            self.documented = True
            self.lines.append(self.block[-1])
        else:
            self.code(line)

    def code(self, line):
        behind = _BEHIND.match(line)
        if behind and _NOT_FOR_READERS.match(behind.group("text")):
            line, behind = behind.group("code"), None
        if not self.inside and self.documented:
            self.name = declared_name(line)
        elif not self.inside and not behind and declared_name(line) == self.name:
            self.lines += self.block
        code = behind.group("code") if behind else line
        words = "  ///<" + documentation(behind.group("text"))[3:] if behind else ""
        self.lines.append(code + words)
        ended = (";", "{", "}", ",")
        self.inside = not code.startswith("#") and not code.rstrip().endswith(ended)
        if behind or code.rstrip().endswith("{"):
            self.block = []
        self.documented = False


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        text = file.read()
    if sys.argv[1].endswith(".h"):
        text = "\n".join(Filter().header(text.split("\n")))
    sys.stdout.write(text)


if __name__ == "__main__":
    main()
