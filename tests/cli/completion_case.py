# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""What is to hold of the completions, whatever the shell. The test of each shell names it."""
import json
import os
import re

from program_options import commands_of, options_of
from quorctl_case import EXAMPLE, base64_of, datastore, document, policy

# Names that a shell would act on. The first four characters of each complete to it alone.
ACTIVE = [
    "n01 $(touch broken)", "n02 `touch broken`", "n03; touch broken", "n04 'single' quotes",
    'n05 "double" quotes', "n06 \\ back\\\\slash\\", "n07 *?[a-z]{1,2}", "n08 $HOME ${HOME} ~",
    "n09 & | < > ( )", "n10 !! wow", "n11 # no comment", "n12  two  spaces ", "n13:with=breaks:@x",
    "n14 Pr\u00fcfst\u00e4nde \u2713", "n15 %s %n", "n16\\n no line feed", "n17,a, b",
]
# Never put on the command line or shown in a list.
HARMFUL = ["x1\x1b[2J", "x2\nline", "x3\u202e", "x4\x07", "x5\u0085", {"base64": base64_of(b"x6\xff")}]


class CompletionCase:
    """Mixed into the test case of a shell, which sets `shell_class`."""

    shell_class = None

    def setUp(self):
        super().setUp()
        self.shell = self.shell_class(self)

    def expect_offer(self, line, expected):
        self.assertEqual(sorted(self.shell.offered(line)), sorted(expected), line)

    def apply_names(self, names):
        self.apply(document([policy(name, id=f"i{number:02}") for number, name in
                             enumerate(names)]))

    def last_word(self, line):
        return self.shell.words(self.shell.completed(line))[-1]

    def test_CommandsAreThoseOfTheProgram(self):
        self.expect_offer("quorctl ", commands_of(self))
        self.expect_offer("quorctl help ", commands_of(self))

    def test_OptionsAreThoseOfTheProgram(self):
        everywhere = options_of(self)
        self.expect_offer("quorctl -", everywhere)
        for command in commands_of(self):
            self.expect_offer(f"quorctl {command} -", {**everywhere, **options_of(self, command)})

    def test_OptionsWithAValueAreFollowedByIt(self):
        for command in commands_of(self):
            for option, value in options_of(self, command).items():
                offered = self.shell.offered(f"quorctl {command} {option} --")
                self.assertEqual("--root" in offered, value == "", (command, option))
        self.expect_offer("quorctl --root --", [])

    def test_FieldsAreThoseOfTheProgram(self):
        for words in ("list policies", "list datastores", "get policy x", "get datastore x",
                      "check", "history", f"diff {EXAMPLE}"):
            failure = self.run_quorctl(*words.split(), "--fields", "?").errors
            fields = re.search(r"choose among (.*) \(see", failure).group(1).split(", ")
            self.expect_offer(f"quorctl {words} --fields ", fields)
            for line in (f"quorctl {words} --fields {fields[0]},{fields[1]}",
                         f"quorctl {words} --sort={fields[0]},-{fields[1]}"):
                self.assertEqual(self.shell.words(self.shell.completed(line[:-2]))[-1],
                                 line.rsplit(" ", maxsplit=1)[-1])

    def test_ChoicesAreThoseOfTheProgram(self):
        formats = ["table", "wide", "json", "jsonl", "yaml", "csv", "csv-raw"]
        self.expect_offer("quorctl list policies -o ", ["name", *formats])
        self.expect_offer("quorctl history -o ", formats)
        for command in ("digest", "apply", "delete"):
            self.expect_offer(f"quorctl {command} --output ", ["table", "json"])
        self.expect_offer("quorctl list ", ["policies", "datastores"])
        self.expect_offer("quorctl get ", ["policies", "datastores", "policy", "datastore"])
        for command in ("set", "add", "delete", "rename"):
            self.expect_offer(f"quorctl {command} ", ["policy", "datastore"])
        self.expect_offer("quorctl check --severity ", ["error", "warning"])
        self.expect_offer("quorctl switch ", ["store", "file"])
        self.expect_offer("quorctl migrate --to ", ["store", "file"])
        for line in ("quorctl switch file x ", "quorctl status ", "quorctl switch file "):
            offered = self.shell.offered(line)  # options, at the most
            self.assertEqual([word for word in offered if not word.startswith("-")], [], line)

    def test_TheProgramAnswersWithoutAShell(self):
        self.ask("apply", EXAMPLE)
        for words, answer in (
                (["check", "--severity=e"], "\n--severity=\nerror\t\n"),
                (["list", "policies", "--sort", "id,-na"], "no-space\nid,-\nname\t\n"),
                (["get", "policy", "gold-0"], "\n\ngold-01\tGold\n"),
                (["apply", "x"], "files\n\n"), (["--root", "x"], "directories\n\n"),
                (["frobnicate", ""], "\n\n"), (["get", "frobs", ""], "\n\n")):
            self.assertEqual(self.ask("__complete", *words).text, answer)

    def test_RecordsComeFromTheCatalogueAsItIsNow(self):
        for line in ("quorctl get policy ", "quorctl get datastore ", "quorctl restore "):
            self.expect_offer(line, [])
        self.ask("apply", EXAMPLE)
        with open(EXAMPLE, encoding="utf-8") as file:
            example = json.load(file)
        for line in ("quorctl get policy ", "quorctl list policies ", "quorctl get policies x ",
                     "quorctl blob --policy-id ", "quorctl set policy ", "quorctl delete policy ",
                     "quorctl rename policy "):
            self.expect_offer(line, [record["id"] for record in example["policies"]])
        for line in ("quorctl get datastore ", "quorctl blob --default-of ",
                     "quorctl explain ", "quorctl delete datastore ", "quorctl rename datastore ",
                     "quorctl blob --policy-id gold-01 --datastore "):
            self.expect_offer(line, [record["url"] for record in example["datastores"]])
        self.assertEqual(len(self.shell.offered("quorctl blob --policy-name ")), 16)
        self.expect_offer("quorctl restore ", ["1", "2"])

    def test_IdentifiersThatWouldBeTakenForOptionsAreNotOffered(self):
        self.apply(document([policy("a", id="-dash"), policy("b", id="plain")]))
        self.assertEqual(self.last_word("quorctl get policy "), "plain")
        self.expect_offer("quorctl blob --policy-id ", ["-dash", "plain"])

    def test_NamesWithSpacesAreQuoted(self):
        self.ask("apply", EXAMPLE)
        for line in ("quorctl get policy --name Arch", "quorctl get policy --name 'Arch",
                     'quorctl get policy --name "Arch', "quorctl get policy --name Archive,\\ s",
                     "quorctl blob --policy-name Archive', 'sev"):
            self.assertEqual(self.last_word(line), "Archive, seven years", line)
        self.assertEqual(self.last_word("quorctl get policy --name=Arch"),
                         "--name=Archive, seven years")
        self.assertEqual(self.last_word("quorctl get policy --name Mess"),
                         "Messdaten Pr\u00fcfst\u00e4nde")

    def test_UrlsAreCompletedAcrossTheirColons(self):
        self.ask("apply", EXAMPLE)
        url = "ds:///shares/mail/"
        for typed in ("ds:///shares/m", "ds\\:///shares/m", "'ds:///shares/m", '"ds:///shares/m',
                      "'ds:'///shares/m"):
            self.assertEqual(self.last_word("quorctl get datastore " + typed), url, typed)
        self.assertEqual(self.last_word("quorctl get datastore d"), "ds:///")
        self.assertEqual(self.last_word("quorctl blob --default-of=ds:///shares/m"),
                         "--default-of=" + url)

    def test_NamesThatAShellWouldActOnComeBackAsTheyAre(self):
        self.apply_names(ACTIVE)
        self.assertEqual(self.last_word("quorctl get policy --name n"), "n")
        for name in ACTIVE:
            for quote in ("", "'", '"'):
                completed = self.shell.completed(f"quorctl get policy --name {quote}{name[:3]}")
                if quote == '"' and "!" in name:
                    continue  # a shell with a history offers no such name there, or escapes it
                self.assertEqual(self.shell.words(completed), ["get", "policy", "--name", name])
        self.assertEqual(os.listdir(self.shell.work), [])

    def test_ATypedCommandIsNotCarriedOut(self):
        self.ask("apply", EXAMPLE)
        for line in ("get policy --name $(touch broken)", "get policy `touch broken`",
                     "--root $(touch broken) get policy ", 'get policy "$(touch broken)" -'):
            self.shell.completed("quorctl " + line)
        self.assertEqual(os.listdir(self.shell.work), [])

    def test_NamesThatCouldHarmATerminalAreNotOffered(self):
        self.apply_names([*HARMFUL, "x7 harmless"])
        self.assertEqual(self.last_word("quorctl get policy --name x"), "x7 harmless")

    def test_TheTypedHostDirectoryIsAsked(self):
        other = os.path.join(self.directory, "other host")
        self.apply_names(["here"])
        self.ask("--root", other, "apply", "--create", "--yes", "-",
                 given=json.dumps(document([policy("there")], [datastore()])).encode())
        self.assertEqual(self.last_word("quorctl get policy --name "), "here")
        for line in (f"quorctl --root '{other}' get policy --name ",
                     f"quorctl get policy --root='{other}' --name "):
            self.assertEqual(self.last_word(line), "there")

    def test_FilesAreCompletedWhereOneIsNamed(self):
        with open(os.path.join(self.shell.work, "the file.json"), "w", encoding="utf-8"):
            pass
        for words in ("apply", "diff", "apply --yes", "blob --policy-id x --out"):
            self.assertEqual(self.last_word(f"quorctl {words} the"), "the file.json")
        for words in ("status", "reset", "get policy", "list policies"):
            self.assertEqual(self.last_word(f"quorctl {words} the"), "the")
        self.assertIn(">the\\ file.json", self.shell.completed("quorctl export >the"))

    def test_ADamagedStoreIsNoMatterOfTheCommandLine(self):
        self.ask("apply", EXAMPLE)
        with open(self.snapshot_path(), "wb") as file:
            file.write(b"damaged")
        self.assertEqual(self.shell.completed("quorctl get policy go"), "quorctl get policy go")
        self.assertNotIn(b"damaged", self.shell.shown)
        self.assertNotIn(b"quorctl:", self.shell.shown)
