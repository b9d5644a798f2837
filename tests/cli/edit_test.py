# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""quorctl edit, with programs for editors."""
import json
import os
import unittest

from quorctl_case import (BAD_INPUT, DONE, MOVED, NOT_CONFIRMED, QUORCTL, QuorctlCase, datastore,
                          document, policy)


OTHER_NUMBERS = """sed -i 's/"generation": 1/"generation": 2/' "$1"\n"""


class Edit(QuorctlCase):
    def setUp(self):
        super().setUp()
        self.apply(document([policy("Gold"), policy("Iron")], [datastore()]))
        self.typed = os.path.join(self.directory, "typed")
        os.mkdir(self.typed)

    def edit(self, script, *words):
        """Runs it with a shell script for an editor, which finds the file in $1."""
        editor = self.write("editor", "#!/bin/sh\n" + script)
        os.chmod(editor, 0o755)
        return self.run_quorctl("edit", *words,
                                environment=self.environment(EDITOR=editor, TMPDIR=self.typed))

    def generations(self):
        return [policy["generation"] for policy in self.listed("policies")]

    def left(self):
        return [os.path.join(self.typed, name) for name in os.listdir(self.typed)]

    def test_WhatWasEditedIsApplied(self):
        result = self.edit(OTHER_NUMBERS)
        self.assertEqual((result.status, result.errors), (DONE, ""))
        self.assertIn("changed  policy", result.text)
        self.assertIn("applied what was edited to the configuration store", result.text)
        self.assertEqual(self.generations(), [2, 2])
        self.assertEqual(json.loads(self.ask("history", "-o", "json").text)[0]["reason"], "edit")
        self.assertEqual(self.left(), [])

    def test_VisualComesBeforeEditorAndMayHaveWords(self):
        result = self.run_quorctl("edit", environment=self.environment(
            EDITOR="false", VISUAL='sed -i s/"generation":.1/"generation":2/', TMPDIR=self.typed))
        self.assertEqual((result.status, result.errors), (DONE, ""))
        self.assertEqual(self.generations(), [2, 2])

    def test_NothingEditedIsNothingDone(self):
        before = self.ask("history", "-o", "json").text
        result = self.edit("exit 0")
        self.assertEqual((result.status, result.text), (DONE, "nothing was changed\n"))
        self.assertEqual(self.ask("history", "-o", "json").text, before)
        self.assertEqual(self.left(), [])

    def test_ErrorsStandInTheirPlacesOnTheNextRound(self):
        seen = os.path.join(self.directory, "seen")
        result = self.edit(f"""
            if grep -q '^# ' "$1"; then cp "$1" {seen}; sed -i 's/"many"/7/' "$1"
            else sed -i '0,/"generation": [0-9]*/s//"generation": "many"/' "$1"; fi""")
        self.assertEqual((result.status, result.errors), (DONE, ""))
        with open(seen, encoding="utf-8") as file:
            lines = file.read().splitlines()
        marks = [i for i, line in enumerate(lines) if line.startswith("#")]
        self.assertEqual(len(marks), 1)
        self.assertIn('"generation": "many"', lines[marks[0] - 1])
        self.assertRegex(lines[marks[0]], r"\A# line \d+: policies\[0\]\.generation: expected an integer")
        self.assertEqual(self.listed("policies")[0]["generation"], 7)

    def test_ErrorThatStaysEndsItAndTheFileIsKept(self):
        result = self.edit('echo nonsense >"$1.new"; grep -q nonsense "$1" || mv "$1.new" "$1"')
        self.assertEqual(result.status, BAD_INPUT)
        path, = [path for path in self.left() if path.endswith(".json")]
        self.assertIn(f"nothing was changed; what was edited is in {path}\n", result.errors)
        with open(path, encoding="utf-8") as file:
            self.assertIn("nonsense\n", file.read())
        self.assertEqual(self.generations(), [1, 1])

    def test_EditorThatFailsChangesNothing(self):
        result = self.edit(OTHER_NUMBERS + "exit 1")
        self.assertEqual(result.status, NOT_CONFIRMED)
        self.assertEqual(result.errors, "quorctl: the editor failed; nothing was changed, what was "
                                        f"typed is in {self.left()[0]}\n")
        self.assertEqual(self.generations(), [1, 1])

    def test_DeletionNeedsConfirmationAndTheFileIsKept(self):
        script = """python3 - "$1" <<'END'
import json, sys
with open(sys.argv[1]) as file: content = json.load(file)
del content["policies"][1]
with open(sys.argv[1], "w") as file: json.dump(content, file)
END"""
        result = self.edit(script)
        self.assertEqual(result.status, NOT_CONFIRMED)
        self.assertIn(f"; what was edited is in {self.left()[0]}", result.errors)
        self.assertEqual(len(self.listed("policies")), 2)
        result = self.edit(script, "--yes")
        self.assertEqual((result.status, result.errors), (DONE, ""))
        self.assertEqual(len(self.listed("policies")), 1)

    def test_CatalogueThatMovedOnMeanwhileIsNotOverwritten(self):
        other = self.write("other.json", json.dumps(document([policy("Gold"), policy("Lead")],
                                                             [datastore()])))
        result = self.edit(f'{QUORCTL} apply --yes {other} >/dev/null\n' + OTHER_NUMBERS)
        self.assertEqual(result.status, MOVED)
        self.assertIn(f"; what was edited is in {self.left()[0]}", result.errors)
        self.assertEqual([p["name"] for p in self.listed("policies")], ["Gold", "Lead"])

    def test_DryRunKeepsWhatWasEdited(self):
        result = self.edit(OTHER_NUMBERS, "--dry-run")
        self.assertEqual((result.status, result.errors), (DONE, ""))
        self.assertIn(f"what was edited is in {self.left()[0]}\n", result.text)
        self.assertEqual(self.generations(), [1, 1])


if __name__ == "__main__":
    unittest.main()
