# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""A change that is based on another catalogue than the present one is refused, so that of two
operators none undoes the other's work unseen."""
import json
import os
import unittest

from quorctl_case import (BAD_INPUT, DONE, MOVED, TIMEOUT, USAGE, QuorctlCase, blob, datastore,
                          document, policy)


class Basis(QuorctlCase):
    def setUp(self):
        super().setUp()
        self.before = document([policy("A"), policy("B")], [datastore(defaultPolicy="id-A")])
        self.apply(self.before)

    def digests(self):
        digests = json.loads(self.ask("digest", "-o", "json").text)
        return f"{digests['policies']}:{digests['datastores']}"

    def exported(self):
        return json.loads(self.ask("export").text)

    def test_ExportTellsItsDigests(self):
        self.assertEqual(self.exported()["basis"], self.digests())

    def test_ChangeByAnotherMeanwhileIsNotUndone(self):
        for store in ("store", "file"):
            self.ask("switch", "--yes", store)
            self.apply(self.before)
            mine = self.exported()
            mine["policies"][0]["description"] = "mine"
            others = self.exported()
            others["policies"][1]["description"] = "of another"
            others["datastores"].append(datastore("ds:///new/"))
            self.apply(others)
            present = self.listed_document()
            given = json.dumps(mine).encode()
            self.refuse(MOVED, "apply", "--yes", "-", given=given,
                        message='changed since: datastore "ds:///new/" added, policy "B" changed; '
                                "nothing was changed; export it and change it anew, or apply with "
                                "--force")
            self.refuse(MOVED, "apply", "--dry-run", "-", given=given)
            self.assertEqual(self.listed_document(), present)
            self.ask("apply", "--yes", "--force", "-", given=given)
            del mine["basis"]
            self.assertEqual(self.listed_document(), mine)

    def test_KindsAreNamedWhereTheHistoryDoesNotHaveTheBasis(self):
        mine = self.exported()
        mine["policies"][0]["generation"] += 1
        for name in os.listdir(os.path.join(self.host, "history")):
            if name.endswith(".json"):
                os.remove(os.path.join(self.host, "history", name))
        self.ask("apply", "--no-history", "-", given=json.dumps(document(
            [*self.before["policies"], policy("C")], self.before["datastores"])).encode())
        self.refuse(MOVED, "apply", "--yes", "-", given=json.dumps(mine).encode(),
                    message="changed since: policies; nothing was changed")

    def test_LoopsOfExportAndApplyLoseNothing(self):
        add = self.write("add.py", """import json, sys
catalogue = json.load(sys.stdin)
catalogue["policies"].append({"id": sys.argv[1], "name": sys.argv[1], "description": "",
                              "generation": 1, "blobs": []})
json.dump(catalogue, sys.stdout)
""")
        loops = [self.start_shell(f"""
            for turn in 1 2 3 4; do
              status={MOVED}
              while [ $status = {MOVED} ]; do
                "$Q" export | python3 {add} {name}$turn | "$Q" apply --yes - >/dev/null 2>&1
                status=$?
              done
              [ $status = 0 ] || exit $status
            done""") for name in "abc"]
        for process in loops:
            self.assertEqual(process.wait(TIMEOUT), DONE)
        self.assertEqual({p["name"] for p in self.listed("policies")},
                         {"A", "B", *(name + turn for name in "abc" for turn in "1234")})

    def test_WhatIsThereAlreadyIsNoConflict(self):
        mine = self.exported()
        mine["policies"][0]["generation"] += 1
        given = json.dumps(mine).encode()
        self.ask("apply", "-", given=given)
        self.assertIn("nothing differs", self.ask("apply", "-", given=given).text)

    def test_EmptyHostTakesEveryExport(self):
        mine = self.exported()
        self.ask("reset", "--yes")
        self.ask("apply", "-", given=json.dumps(mine).encode())

    def test_ExpectedDigestsAreThoseOfScripts(self):
        given = json.dumps(document([policy("A"), policy("B"), policy("C")],
                                    self.before["datastores"])).encode()
        other = "0" * 32 + ":" + "1" * 32
        for words in (["apply", "-"], ["reset", "--yes"], ["restore", "--yes", "1"]):
            self.refuse(MOVED, *words, "--expect", other, given=given,
                        message="changed since: policies and datastores; nothing was changed")
        self.assertEqual(self.listed_document(), self.before)
        self.ask("apply", "--expect", self.digests(), "-", given=given)
        self.refuse(USAGE, "apply", "--expect", "x", "-", given=given,
                    message="two digests with a colon")

    def test_BasisThatIsNoneIsRefused(self):
        for basis in ("", "x", 7, None):
            self.refuse(BAD_INPUT, "apply", "-", message="basis: expected ",
                        given=json.dumps({**self.before, "basis": basis}).encode())

    def test_HistoryCanBeAppliedAtAnyTime(self):
        self.apply(document([policy("C", blobs=[blob("N")])]))
        [kept] = [e["path"] for e in json.loads(self.ask("history", "-o", "json").text)
                  if e["number"] == 2]
        self.ask("apply", "--yes", kept)
        self.assertEqual(self.listed_document(), self.before)


if __name__ == "__main__":
    unittest.main()
