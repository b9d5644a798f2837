# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The help and the version."""
import re
import unittest

from quorctl_case import USAGE, QuorctlCase

VERBS = ["status", "list", "get", "blob", "explain", "digest", "watch", "export", "diff", "check", "metrics",
         "apply", "edit", "set", "add", "delete", "rename", "reset", "history", "restore", "switch", "migrate", "help"]
OUTPUT_OPTIONS = ["-o, --output FORMAT", "--fields NAMES", "--sort NAMES",
                  "--where FIELD=PATTERN", "--no-headings"]
CHANGE_OPTIONS = ["-y, --yes", "--dry-run", "--check", "-q, --quiet", "-o, --output FORMAT", "--no-history", "--replace-damaged",
                  "--expect DIGESTS"]
OPTIONS = {"status": ["-o, --output FORMAT"], "metrics": [], "list": ["KIND", "KEY", *OUTPUT_OPTIONS],
           "get": ["KIND", "KEY", "--name NAME", *OUTPUT_OPTIONS],
           "blob": ["--policy-id ID", "--policy-name NAME", "--datastore URL",
                    "--default-of URL", "--out FILE", "--raw"],
           "explain": ["URL", "--policy-id ID"],
           "digest": ["-o, --output FORMAT", "--expect POLICIES:DATASTORES"],
           "watch": ["--period SECONDS", "--exec CMD", "-o, --output FORMAT",
                     "--from DIGESTS", "--first"], "export": ["-o, --output FORMAT"],
           "diff": ["OLD", "NEW", "--other-root DIR", *OUTPUT_OPTIONS], "check": ["--severity LEAST", "--verbose", *OUTPUT_OPTIONS],
           "apply": ["FILE", "--policies-only", "--datastores-only", "--force", "--create",
                     "--resume",
                     *CHANGE_OPTIONS],
           "edit": [*CHANGE_OPTIONS, "--yaml"],
           "set": ["KIND", "KEY", "FIELD=VALUE", "--blob NAMESPACE=@FILE", "--no-blob NAMESPACE",
                   *CHANGE_OPTIONS],
           "add": ["KIND", "KEY", "FIELD=VALUE", "--blob NAMESPACE=@FILE", *CHANGE_OPTIONS],
           "delete": ["KIND", "KEY", *CHANGE_OPTIONS],
           "rename": ["KIND", "KEY", "FIELD=NEW", "--defaults", *CHANGE_OPTIONS],
           "reset": CHANGE_OPTIONS, "history": ["ACTION", "NUMBER", *OUTPUT_OPTIONS],
           "restore": ["NUMBER", "--last", *CHANGE_OPTIONS], "switch": ["CHOICE", "--yes"],
           "migrate": ["--to CHOICE", *CHANGE_OPTIONS], "help": ["COMMAND"]}
GLOBAL_OPTIONS = ["--root DIR", "-h, --help", "--version"]
STATUSES = ["0", "1", "2", "3", "4", "5", "6", "7", "8", "9", "70"]


class Help(QuorctlCase):
    def section(self, text, heading):
        """The first word group of each line below the heading."""
        found = re.search(rf"^{re.escape(heading)}.*:\n((?:  .*\n)+)", text, re.MULTILINE)
        self.assertIsNotNone(found, heading)
        return [line.strip().split("  ")[0] for line in found.group(1).splitlines()
                if re.match(r"  \S", line)]

    def test_GeneralHelpNamesCommandsOptionsAndStatuses(self):
        text = self.ask("help").text
        self.assertEqual(self.section(text, "Commands"), VERBS)
        self.assertEqual(self.section(text, "Options of every command"), GLOBAL_OPTIONS)
        self.assertEqual(self.section(text, "Exit statuses"), STATUSES)

    def test_OptionsAskForTheSameHelp(self):
        text = self.ask("help").raw
        for words in (["--help"], ["-h"], ["--root", "/x", "--help"]):
            self.assertEqual(self.ask(*words).raw, text)

    def test_EveryCommandHasItsHelp(self):
        for verb in VERBS:
            text = self.ask("help", verb).text
            self.assertTrue(text.startswith(f"Usage: quorctl {verb}"), text)
            if OPTIONS[verb]:
                self.assertEqual(self.section(text, "Arguments and options"), OPTIONS[verb])
            else:
                self.assertNotIn("Arguments and options", text)
            self.assertIn('"quorctl help" lists the options of every command and the exit statuses',
                          text)

    def test_OptionBehindACommandAsksForItsHelp(self):
        for verb in VERBS:
            text = self.ask("help", verb).raw
            for words in ([verb, "--help"], [verb, "-h"], ["--help", verb]):
                self.assertEqual(self.ask(*words).raw, text)

    def test_HelpIsGivenWhateverElseIsMissing(self):
        self.assertEqual(self.ask("apply", "--help").raw, self.ask("help", "apply").raw)
        self.assertEqual(self.ask("list", "nonsense", "--help").raw, self.ask("help", "list").raw)

    def test_HelpFitsATerminal(self):
        for words in ([], *([verb] for verb in VERBS)):
            for line in self.ask("help", *words).text.splitlines():
                self.assertLessEqual(len(line), 88)
                self.assertEqual(line, line.rstrip())

    def test_UnknownCommandHasNoHelp(self):
        self.refuse(USAGE, "help", "frob", message='unknown command "frob"')
        self.refuse(USAGE, "help", "list", "blob", message='unexpected argument "blob"')

    def test_VersionIsPrinted(self):
        for words in (["--version"], ["list", "--version"]):
            self.assertRegex(self.ask(*words).text, r"\Aquorctl \d+\.\d+\.\d+\n\Z")


if __name__ == "__main__":
    unittest.main()
