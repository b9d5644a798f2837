# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The manual pages: that they are well formed, and say what the program and the library do.

QUOR_MANUAL is the directory of the pages and QUOR_HEADER the public header; both come from the build.
"""
import json
import os
import re
import subprocess
import unittest

from manual_page import ManualPage
from program_options import commands_of, options_of, statuses_of
from quorctl_case import DONE, EXAMPLE, QUORCTL, QuorctlCase

MANUAL = os.environ["QUOR_MANUAL"]
HEADER = os.environ["QUOR_HEADER"]

PAGES = ["libquor.3", "libquorc.3", "quor-catalogue.5", "quorctl-examples.7", "quorctl.8"]
# Of programs that stand on quorctl's documents; their own tests know their options.
OF_THE_FLEET = [name for name in ("quor-agent.8", "quor-publish.8")
                if name in os.listdir(MANUAL)]
FOREIGN = {"epoll.7", "fork.2", "inotify.7", "less.1", "poll.2", "sh.1", "sudo.8"}  # pages of others that ours refer to

# A watch that ends.
QUORCTL_IN_EXAMPLES = """#!/bin/sh
test "$1" != watch || exec timeout --preserve-status -s INT 0.3 "$QUORCTL" "$@"
exec "$QUORCTL" "$@"
"""


def page(name):
    return ManualPage(os.path.join(MANUAL, name))


class Pages(QuorctlCase):
    """What holds of each page."""

    def test_AllAreLookedAt(self):
        self.assertEqual(sorted(os.listdir(MANUAL)), sorted(PAGES + OF_THE_FLEET))

    def test_TheFormatterHasNothingToComplainOf(self):
        for name in PAGES + OF_THE_FLEET:
            self.assertEqual(page(name).complaints(), "", name)

    def test_TheFormatterComplainsOfAMistake(self):
        path = self.write("broken.1", ".Dd November 20, 2026\n.Dt BROKEN 1\n.Os\n.Sh NAME\n"
                                      ".Nm broken\n.Nd page\n.Bl -tag\n.It \\*[nothing]\n")
        self.assertNotEqual(ManualPage(path).complaints(), "")

    def test_TheirHeadingsAreTheirNames(self):
        for name in PAGES + OF_THE_FLEET:
            title, section = name.rsplit(".", maxsplit=1)
            self.assertIn(f".Dt {title.upper()} {section}\n", page(name).source)

    def test_TheyReferToPagesThatExist(self):
        for name in PAGES + OF_THE_FLEET:
            references = {f"{title}.{section}" for title, section in
                          re.findall(r"(?:^\.|\b)Xr (\S+) (\d)", page(name).source, re.MULTILINE)}
            self.assertGreaterEqual(len(references), 2)
            self.assertLessEqual(references, {*PAGES, "quor-agent.8", "quor-publish.8", *FOREIGN}, name)

    def test_ExamplesCanBePastedFromATerminal(self):
        for name in PAGES:
            shown = page(name).shown()
            examples = page(name).literal()
            self.assertGreater(len(examples), 0)
            for line in "".join(examples).splitlines():
                self.assertIn(line, shown, name)

    def test_NoOptionIsNamedThatDoesNotExist(self):
        known = set(options_of(self))
        for command in commands_of(self):
            known.update(options_of(self, command))
        for name in PAGES:
            named = set(re.findall(r"(?<![\w-])--[a-z][a-z-]*", page(name).shown()))
            self.assertLessEqual(named, known, name)


class Quorctl(QuorctlCase):
    def setUp(self):
        super().setUp()
        self.page = page("quorctl.8")

    def options_in(self, text):
        """Like options_of(), with the options that the text refers to."""
        options = ManualPage.options(text)
        for section in re.findall(r"^\.Sx (.* OPTIONS)\b", text, re.MULTILINE):
            options.update(ManualPage.options(self.page.section(section)))
        return options

    def test_CommandsAreThoseOfTheProgram(self):
        self.assertEqual(list(self.page.subsections("COMMANDS")), list(commands_of(self)))

    def test_OptionsAreThoseOfTheProgram(self):
        self.assertEqual(ManualPage.options(self.page.section("DESCRIPTION")), options_of(self))
        for command, text in self.page.subsections("COMMANDS").items():
            self.assertEqual(self.options_in(text), options_of(self, command), command)

    def test_AnOptionThatIsLeftOutIsNoticed(self):
        text = self.page.subsections("COMMANDS")["blob"].replace(".It Fl -raw\n", "")
        self.assertNotEqual(self.options_in(text), options_of(self, "blob"))

    def test_BracketsOfEachSynopsisArePairs(self):
        shown = re.findall(r"^ +quorctl .*$", self.page.shown(), re.MULTILINE)
        self.assertGreater(len(shown), 12)
        for line in shown:
            without = re.sub(r"\[[^\[\]]*\]", "", line)
            self.assertNotRegex(without, r"[\[\]]", line)

    def test_SynopsisOfApplyIsThatOfTheProgram(self):
        usage = self.ask("help", "apply").text.splitlines()[0]
        self.assertIn(usage.removeprefix("Usage: ").removesuffix("|-"), self.page.shown())

    def test_ExitStatusesAreThoseOfTheProgram(self):
        documented = re.findall(r"^\.It (\d+)$", self.page.section("EXIT STATUS"), re.MULTILINE)
        self.assertEqual(documented, statuses_of(self))

    def test_LengthOfTheHistoryIsThatOfTheProgram(self):
        for text in (self.ask("help", "history").text, self.page.subsections("COMMANDS")["history"]):
            self.assertIn("newest 20", text)


class Catalogue(QuorctlCase):
    def test_ItsExampleIsWhatTheProgramReadsAndWrites(self):
        example, in_yaml = page("quor-catalogue.5").literal()
        self.ask("apply", "-", given=example.encode())
        self.assertEqual(self.ask("export").text, example)
        self.ask("apply", "--yes", "-", given=in_yaml.encode())
        self.assertEqual(re.sub("basis.*\n", "", self.ask("export", "-o", "yaml").text), in_yaml)

    def test_MembersAreThoseOfTheExample(self):
        the_page = page("quor-catalogue.5")
        example, _ = the_page.literal()
        members = set(re.findall(r'"(\w+)":', example))
        self.assertEqual(set(re.findall(r"^\.It Li (\w+)$", the_page.source, re.MULTILINE)), members)

    def test_EveryMemberIsRequired(self):
        example, _ = page("quor-catalogue.5").literal()
        for member in set(re.findall(r'"(\w+)":', example)):
            wrong = json.loads(example.replace(f'"{member}":', f'"x{member}":'))
            result = self.run_quorctl("apply", "-", given=json.dumps(wrong).encode())
            self.assertIn(member, result.errors)
            self.assertEqual(result.status, 4)


class Examples(QuorctlCase):
    def test_TheyRunOneAfterTheOther(self):
        commands = "".join(page("quorctl-examples.7").literal())
        self.assertGreater(commands.count("quorctl "), 25)
        with open(EXAMPLE, encoding="utf-8") as file:
            self.write("catalogue.json", file.read())
        os.mkdir(os.path.join(self.directory, "bin"))
        program = self.write("bin/quorctl", QUORCTL_IN_EXAMPLES)
        os.chmod(program, 0o755)
        environment = self.environment(
            QUORCTL=QUORCTL, PATH=os.path.dirname(program) + ":" + os.environ["PATH"])
        done = subprocess.run(["sh", "-ex"], input=commands, text=True, check=False,
                              capture_output=True, cwd=self.directory, env=environment)
        self.assertEqual(done.returncode, DONE, done.stderr)
        for shown in ("differences: 1", "unchanged", "to be looked at", "would lose something: 1",
                      "no blob: 3", "as it should be"):
            self.assertIn(shown, done.stdout.splitlines())


class Library(QuorctlCase):
    def setUp(self):
        super().setUp()
        self.page = page("libquor.3")
        with open(HEADER, encoding="utf-8") as file:
            self.header = re.sub(r"//.*", "", file.read())

    def declarations(self, text):
        return {re.sub(r"\s+", " ", found) for found in
                re.findall(r"static [^;{]*\([^;]*\);", text)}

    def test_DeclarationsAreThoseOfTheHeader(self):
        self.assertEqual(len(self.declarations(self.header)), 11)
        self.assertEqual(self.declarations(self.page.literal()[0]), self.declarations(self.header))

    def test_MembersAreThoseOfTheHeader(self):
        def members(text):
            return re.findall(r"^  (std::[^;(]*?)(?: = 0)?;", text, re.MULTILINE)
        self.assertEqual(len(members(self.header)), 8)
        self.assertEqual(members(self.page.literal()[0]), members(self.header))

    def test_EveryFunctionIsExplained(self):
        names = re.findall(r"static .* (\w+)\(", self.header)
        explained = re.findall(r"^\.It Fn (\w+)", self.page.source, re.MULTILINE)
        self.assertEqual(sorted(explained), sorted(names))

    def test_TheExampleIsAProgram(self):
        example = self.write("example.cpp", self.page.literal()[-1])
        include = os.path.dirname(os.path.dirname(HEADER))
        done = subprocess.run(["g++", "-std=c++11", "-fsyntax-only", "-Wall", "-Wextra", "-Werror",
                               "-I", include, example], check=False, capture_output=True, text=True)
        self.assertEqual((done.returncode, done.stderr), (0, ""))


class LibraryForC(QuorctlCase):
    def setUp(self):
        super().setUp()
        self.page = page("libquorc.3")
        self.include = os.path.dirname(os.path.dirname(HEADER))
        with open(os.path.join(self.include, "quor", "quor.h"), encoding="utf-8") as file:
            self.header = re.sub(r"/\*.*?\*/", "", file.read(), flags=re.DOTALL)

    def test_EveryFunctionIsExplained(self):
        names = re.findall(r"^QUOR_C_API [^;]*?\b(quor_\w+)\(", self.header, re.MULTILINE)
        self.assertGreater(len(names), 40)
        items = "\n".join(re.findall(r"^\.It (Fn .*)", self.page.source, re.MULTILINE))
        self.assertEqual(sorted(re.findall(r"Fn (\w+)", items)), sorted(names))

    def test_EveryStatusIsExplained(self):
        names = re.findall(r"(QUOR_[A-Z_]+)(?: = \d| +\d+U)", self.header)
        self.assertEqual(len(names), 17)
        self.assertLessEqual(set(names), set(re.findall(r"Dv (QUOR_\w+)", self.page.source)))

    def test_TheExampleIsAProgram(self):
        example = self.write("example.c", self.page.literal()[-1])
        done = subprocess.run(["gcc", "-std=c89", "-pedantic", "-fsyntax-only", "-Wall", "-Wextra",
                               "-Werror", "-I", self.include, example],
                              check=False, capture_output=True, text=True)
        self.assertEqual((done.returncode, done.stderr), (0, ""))


if __name__ == "__main__":
    unittest.main()
