# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The page of quor-publish status --html: what is in the file, and what a browser makes of it.

Screenshots go to QUOR_SCREENSHOTS where that is set. Without Chromium the tests of a browser are left out.
"""
import json
import os
import re
import shutil
import subprocess
import time
import unittest

from publish_case import PublishCase, document

CHROMIUM = shutil.which("chromium") or shutil.which("chromium-browser")


class Page(PublishCase):
    def fill(self, hosts):
        """Releases, channels and hosts in every condition."""
        for parent, policies in enumerate((10, 12, 11, 14)):
            self.publish(parent, document(policies), "--yes", reason=f"change {parent} <script>alert(1)</script>")
        self.ask("promote", "3", "prod")
        self.ask("promote", "4", "canary")
        self.server.sql(
            "insert into quor.host (name, channel, role) select 'host-' || lpad(n::text, 5, '0'), "
            f"case when n % 10 = 0 then 'canary' else 'prod' end, 'r' || n from generate_series(1, {hosts}) n; "
            "insert into quor.host_status select name, case when substr(name, 6)::int % 7 = 0 then 2 when channel = "
            "'prod' then 3 else 4 end, 'sha', 'p', 'd', case substr(name, 6)::int % 17 when 5 then 'refused' when 6 "
            "then 'drift' else 'applied' end, case substr(name, 6)::int % 17 when 5 then 'release 3: no key signed it "
            "</script><b>' else '' end, '1.0', clock_timestamp() - case when substr(name, 6)::int % 19 = 3 then "
            "interval '3 h' else interval '9 s' end from quor.host")

    def write_page(self):
        path = os.path.join(self.directory, "fleet.html")
        started = time.monotonic()
        self.ask("status", "--html", path, user="vic", options=())
        print(f"page written in {time.monotonic() - started:.2f} s, {os.path.getsize(path)} bytes")
        with open(path, encoding="utf-8") as file:
            return path, file.read()

    def browse(self, path, *words):
        profile = os.path.join(self.directory, "profile")
        sandbox = ["--no-sandbox"] if os.geteuid() == 0 else []
        result = subprocess.run(
            [CHROMIUM, "--headless", "--disable-gpu", "--disable-dev-shm-usage", "--hide-scrollbars",
             "--host-resolver-rules=MAP * ~NOTFOUND", "--virtual-time-budget=5000",
             f"--user-data-dir={profile}", *sandbox, *words, "file://" + path],
            check=True, capture_output=True, text=True, timeout=120)
        return result.stdout

    def screenshot(self, path, name, width, height, *words):
        folder = os.environ.get("QUOR_SCREENSHOTS", self.directory)
        os.makedirs(folder, exist_ok=True)
        picture = os.path.join(folder, name + ".png")
        self.browse(path, f"--screenshot={picture}", f"--window-size={width},{height}", *words)
        with open(picture, "rb") as file:
            header = file.read(24)
        self.assertEqual(header[:8], b"\x89PNG\r\n\x1a\n")
        self.assertEqual(int.from_bytes(header[16:20], "big"), width)
        self.assertGreater(os.path.getsize(picture), 10000)  # a blank one is smaller

    def test_PageStandsAloneAndHoldsTheData(self):
        self.fill(10)
        _, text = self.write_page()
        self.assertEqual(re.findall(r"(?:src|href|url|import)\s*[=(]", text), [])
        self.assertEqual(set(re.findall(r"https?://[^\"' ]+", text)), {"http://www.w3.org/2000/svg"})
        self.assertIn("default-src 'none'", text)
        self.assertEqual(text.count("</script>"), 1)  # what hosts and authors wrote does not end it
        data = json.loads(re.search(r"const data = (.*);\n", text).group(1))
        self.assertEqual(data.keys(), self.status().keys())
        self.assertEqual(len(data["hosts"]), 10)

    def test_PageOfNothingIsReadable(self):
        path, _ = self.write_page()
        if not CHROMIUM:
            self.skipTest("left out: there is no Chromium")
        dom = self.browse(path, "--dump-dom")
        self.assertIn("There are no hosts.", dom)
        self.assertIn("No release was published yet.", dom)

    @unittest.skipUnless(CHROMIUM, "left out: there is no Chromium")
    def test_BrowserShowsTheFleet(self):
        for hosts in (10, 10000):
            with self.subTest(hosts=hosts):
                self.setUp()
                self.fill(hosts)
                path, _ = self.write_page()
                dom = self.browse(path, "--dump-dom")
                counts = dict.fromkeys(("current", "behind", "drift", "silent", "refusing"), 0)
                for host in self.status()["hosts"]:
                    counts[host["condition"]] += 1
                for condition, count in counts.items():
                    self.assertRegex(dom, f"<b>{count:,}</b>{condition}<")
                worst = sum(counts.values()) - counts["current"]
                hosts_table = dom[dom.index('id="hosts"'):dom.index('id="none"')]
                self.assertEqual(hosts_table.count("<tr>") - 1, min(worst, 200))
                self.assertIn("release 3: no key signed it &lt;/script&gt;&lt;b&gt;", dom)
                self.assertIn("change 3 &lt;script&gt;", dom)
                for scheme, words in (("light", ()), ("dark", ("--force-dark-mode",))):
                    self.screenshot(path, f"fleet-{hosts}-{scheme}", 1280, 1600, *words)
                self.screenshot(path, f"fleet-{hosts}-narrow", 500, 1800)


if __name__ == "__main__":
    unittest.main()
