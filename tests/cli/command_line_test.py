# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The words before the work: verbs, options of every command, and what is refused."""
import json
import os
import unittest

from quorctl_case import STORE, USAGE, QuorctlCase, document, policy


class Root(QuorctlCase):
    def setUp(self):
        super().setUp()
        self.other = os.path.join(self.directory, "other")
        self.apply(document([policy("Of the environment")]))
        self.ask("apply", "-", "--create", "--root", self.other,
                 given=json.dumps(document([policy("Of the option")])).encode())

    def names(self, *words, **options):
        result = self.ask(*words, "-o", "json", **options)
        return [p["name"] for p in json.loads(result.text)]

    def test_EnvironmentNamesTheHostDirectory(self):
        self.assertEqual(self.names("list", "policies"), ["Of the environment"])

    def test_OptionGoesBeforeTheEnvironment(self):
        for words in (["--root", self.other, "list", "policies"],
                      ["--root=" + self.other, "list", "policies"],
                      ["list", "--root", self.other, "policies"],
                      ["list", "policies", "--root", self.other],
                      ["list", "policies", "--root=" + self.other]):
            self.assertEqual(self.names(*words), ["Of the option"])

    def test_EveryCommandTakesItBeforeAndAfterTheVerb(self):
        for verb in (["status"], ["switch"], ["list", "datastores"],
                     ["blob", "--policy-name", "Of the option"]):
            before = self.ask("--root", self.other, *verb)
            after = self.ask(*verb, "--root", self.other)
            self.assertEqual(before.raw, after.raw)
        self.ask("--root", self.other, "reset", "--yes")
        self.assertEqual(self.names("list", "policies", "--root", self.other), [])
        self.assertEqual(self.names("list", "policies"), ["Of the environment"])

    def test_RelativeDirectoryIsOfTheWorkingDirectory(self):
        self.assertEqual(self.names("--root", "other", "list", "policies", cwd=self.directory),
                         ["Of the option"])

    def test_SwitchIsThatOfTheOption(self):
        self.ask("switch", "--yes", "file", "--root", self.other)
        self.assertEqual(self.ask("switch", "--root", self.other).text, "file\n")
        self.assertEqual(self.ask("switch").text, "store\n")
        self.assertEqual(self.names("list", "policies", "--root", self.other), [])
        self.assertEqual(self.names("list", "policies"), ["Of the environment"])

    def test_NameWithADashIsTaken(self):
        self.ask("apply", "-", "--create", "--root=-d", given=json.dumps(document([policy("Dash")])).encode(),
                 cwd=self.directory)
        self.assertTrue(os.path.isdir(os.path.join(self.directory, "-d")))

    def test_EmptyNameIsRefused(self):
        for words in (["--root=", "status"], ["--root", "", "status"], ["status", "--root="]):
            self.refuse(USAGE, *words, message="--root: the name of the directory is empty")

    def test_GivenTwiceIsRefused(self):
        self.refuse(USAGE, "--root", self.other, "status", "--root", self.other,
                    message="--root is given more than once")

    def test_WithoutAValueIsRefused(self):
        self.refuse(USAGE, "status", "--root", message="--root needs a value")


class Words(QuorctlCase):
    def test_NoCommandIsRefused(self):
        self.refuse(USAGE, message="no command is given (see: quorctl help)")
        self.refuse(USAGE, "--root", self.host, message="no command is given")

    def test_UnknownCommandIsNamed(self):
        for words in (["frobnicate"], ["frobnicate", "policies"], ["LIST", "policies"], [""],
                      ["lists"], ["--root", "/x", "frobnicate"]):
            name = words[-1] if words[0] == "--root" else words[0]
            self.refuse(USAGE, *words, message=f'unknown command "{name}"')

    def test_NearMissesAreNamed(self):
        for words, message in (
                (["lists", "x"], 'unknown command "lists"; did you mean "list"? (see: quorctl help)'),
                (["hist"], 'unknown command "hist"; did you mean "history"?'),
                (["help", "exprot"], 'unknown command "exprot"; did you mean "export"? (see: quorctl help help)'),
                (["show", "policies"], 'unknown command "show"; did you mean "get"?'),
                (["version"], 'unknown command "version"; did you mean "--version"?'),
                (["undo"], 'unknown command "undo"; did you mean "restore"?'),
                (["frobnicate"], 'unknown command "frobnicate" (see: quorctl help)'),
                (["apply", "--dryrun", "x"], 'unknown option "--dryrun"; did you mean "--dry-run"? '
                                             "(see: quorctl help apply)"),
                (["--rot=/x", "status"], 'unknown option "--rot=/x"; did you mean "--root"?'),
                (["list", "datastores", "--fields", "ulr"], '; did you mean "url"? (see: quorctl help list)')):
            self.refuse(USAGE, *words, message=message)

    def test_UnknownOptionIsNamed(self):
        for words in (["--frob"], ["status", "--frob"], ["--frob", "status"], ["list", "--frob=1"],
                      ["reset", "-f"], ["list", "policies", "--yes"], ["export", "--force"]):
            option = next(word for word in words if word.startswith("-"))
            self.refuse(USAGE, *words, message=f'unknown option "{option}"')

    def test_AbbreviatedOptionIsUnknown(self):
        self.refuse(USAGE, "blob", "--policy", "x", message='unknown option "--policy"')

    def test_MissingFileIsRefused(self):
        self.refuse(USAGE, "apply", message="apply needs a FILE, or - for standard input")

    def test_SecondFileIsRefused(self):
        self.refuse(USAGE, "apply", "a", "b", message='unexpected argument "b"')

    def test_SecondCommandIsRefused(self):
        self.refuse(USAGE, "status", "list", message='unexpected argument "list"')

    def test_HostileWordIsShownEscapedAndCut(self):
        result = self.refuse(USAGE, b"\x1b[2J\xff" + b"y" * 1000)
        self.assertIn('unknown command "\\x1b[2J\\xffyyy', result.errors)
        self.assertLess(len(result.errors), 300)

    def test_WordsBehindTwoDashesAreNoOptions(self):
        self.assertEqual(self.ask("list", "--", "policies").raw, self.ask("list", "policies").raw)
        self.refuse(USAGE, "list", "--", "-x", message='unknown kind "-x"')
        self.refuse(USAGE, "switch", "--", "file", "extra",
                    message='unexpected argument "extra"')

    def test_FlagsTakeNoValue(self):
        for flag in ("--help", "--version", "--yes"):
            self.refuse(USAGE, "reset", flag + "=true", message=f"{flag} takes no value")

    def test_TwoPlusSignsMeanNothing(self):
        self.refuse(USAGE, "switch", "++", message='unexpected argument "++"')

    def test_RefusedWordsCreateNothing(self):
        self.refuse(USAGE, "reset", "--yes", "--frob")
        self.assertFalse(os.path.exists(self.host))


if __name__ == "__main__":
    unittest.main()
