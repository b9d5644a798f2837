# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The manual page, the settings file and the unit say what the program does."""
import os
import re
import shutil
import subprocess
import unittest

from agent_case import USAGE, AgentCase
from manual_page import ManualPage

SOURCE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "..")
UNIT = os.path.join(SOURCE, "packaging/systemd/quor-agent.service.in")


class Manual(AgentCase):
    def setUp(self):
        super().setUp()
        self.page = ManualPage(os.path.join(SOURCE, "docs/man/quor-agent.8"))
        self.help = self.agent("--help").text

    def test_PageIsWellFormed(self):
        self.assertEqual(self.page.complaints(), "")

    def test_PageAndHelpHaveTheSameOptions(self):
        explained = set(self.page.options(self.page.section("OPTIONS")))
        shown = set(re.findall(r"^ +(?:-h,)?(--[a-z-]+)", self.help, re.MULTILINE)) | {"-h"}
        self.assertGreater(len(shown), 15)
        self.assertEqual(explained, shown)

    def test_PageHasTheDefaults(self):
        text = re.sub(r"\s+", " ", self.page.section("OPTIONS"))
        defaults = re.findall(r"--([a-z-]+) SECONDS\S* in \[[^]]*\]=(\d+)", self.help)
        self.assertEqual(len(defaults), 6, self.help)
        for option, value in defaults:
            self.assertRegex(text, rf"Fl -{option} Ar SECONDS [^.]*(\. A[^;]*)?; {value}[,.]")

    def test_PageHasTheExitStatuses(self):
        listed = re.findall(r"^\.It (\d+)$", self.page.section("EXIT STATUS"), re.MULTILINE)
        footer = self.help[self.help.index("Exit statuses"):]
        self.assertEqual(listed, re.findall(r"[:;]\s(\d+)\s", footer))

    def test_SettingsFileIsRead(self):
        path = os.path.join(SOURCE, "packaging/quor-agent.conf")
        with open(path, encoding="utf-8") as file:
            text = file.read()
        chosen = re.sub(r"^#(?=[a-z-]+ = )", "", text, flags=re.MULTILINE)
        self.assertGreater(chosen.count("\n"), text.count("\n#"))
        self.config = self.write("all.conf", chosen)
        result = self.agent("--once", "--key", "")
        self.assertNotEqual(result.status, USAGE, result.errors)

    @unittest.skipUnless(shutil.which("systemd-analyze"), "there is no systemd-analyze")
    def test_UnitIsUnderstoodAndSandboxed(self):
        with open(UNIT, encoding="utf-8") as file:
            text = file.read()
        # The pages of this system are not those of the one where the unit is installed.
        unit = self.write("quor-agent.service",
                          re.sub(r"^Documentation=.*\n", "", text, flags=re.MULTILINE)
                          .replace("@QUOR_AGENT_PATH@", self.words()[0]))
        result = subprocess.run(["systemd-analyze", "verify", unit], check=False,
                                capture_output=True, text=True)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        result = subprocess.run(["systemd-analyze", "security", "--offline=true",
                                 "--threshold=30", unit], check=False, capture_output=True,
                                text=True)
        self.assertEqual(result.returncode, 0, result.stdout)


if __name__ == "__main__":
    unittest.main()
