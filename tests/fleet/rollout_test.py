# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""quor-publish rollout: stage after stage, and where it stops by itself."""
import json
import threading
import time
import unittest

from publish_case import ABSENT, DONE, MOVED, STOPPED, USAGE, PublishCase, document

HOSTS = [f"p{n}" for n in range(8)]
CANARIES = ["c0", "c1"]


class Rollout(PublishCase):
    def setUp(self):
        super().setUp()
        self.server.sql("".join(f"select quor.add_host('{h}', 'prod', '{h}');" for h in HOSTS) +
                        "".join(f"select quor.add_host('{h}', 'canary', '{h}');" for h in CANARIES), user="ann")
        self.publish(0)
        for channel in ("canary", "prod"):
            self.ask("promote", "1", channel)
        self.publish(1)
        self.refusing, self.silent = set(), set()
        self.seen = []  # (host, release), in the order in which hosts were offered another one

    def obey(self, host, offered, has):
        """What a host does that is offered another release."""
        if host in self.silent:
            return has
        self.seen.append((host, offered))
        if host in self.refusing:
            self.report(host, has, "refused", f"release {offered}: host {host} does not take it")
            return has
        self.report(host, offered)
        return offered

    def run_hosts(self, ended):
        """Plays all hosts: each asks for its head and tells what it did."""
        has = {host: 1 for host in HOSTS + CANARIES}
        while not ended.is_set():
            rows = self.server.sql("select h.name, case when quor.place(h.name, c.next_release) < c.next_below "
                                   "then c.next_release else c.release end from quor.host h "
                                   "join quor.channel c on c.name = h.channel")
            for host, offered in rows:
                if int(offered) != has[host]:
                    has[host] = self.obey(host, int(offered), has[host])
            time.sleep(0.05)

    def roll_out(self, *words, release="2"):
        ended = threading.Event()
        hosts = threading.Thread(target=self.run_hosts, args=(ended,))
        hosts.start()
        try:
            return self.run_publish("rollout", release, "--period", "50", "--share", "25,50", *words)
        finally:
            ended.set()
            hosts.join()

    def test_StagesFollowEachOther(self):
        result = self.roll_out("--patience", "60")
        self.assertEqual((result.status, result.errors), (DONE, ""), result.text)
        self.assertIn("release 2, channel canary: 2 of 2 hosts have it, 0 refuse, 0 to come\n", result.text)
        self.assertIn("release 2, 25 % of channel prod: 2 of 2 hosts have it", result.text)
        self.assertIn("release 2, 50 % of channel prod: 4 of 4 hosts have it", result.text)
        self.assertIn("release 2, all of channel prod: 8 of 8 hosts have it", result.text)
        self.assertEqual({host for host, _ in self.seen[:2]}, set(CANARIES))
        self.assertEqual({host for host, _ in self.seen}, set(HOSTS + CANARIES))
        self.assertEqual(self.channels(), {"prod": 2, "canary": 2})
        self.assertEqual(self.server.sql("select next_release, next_below from quor.channel where name = 'prod'"),
                         [["", "0"]])

    def test_CanaryThatRefusesStopsIt(self):
        self.refusing = {"c1"}
        result = self.roll_out("--patience", "60")
        self.assertEqual(result.status, STOPPED, result.text + result.errors)
        self.assertIn("stopped at channel canary: 1 of 2 hosts refuse it, 0 may (--most-refusing): "
                      "c1: release 2: host c1 does not take it", result.text)
        self.assertIn("channel prod stays at release 1\n", result.text)
        self.assertEqual(self.channels(), {"prod": 1, "canary": 2})
        self.assertEqual({host for host, _ in self.seen} - set(CANARIES), set())
        action, detail = self.server.sql("select action, detail from quor.event order by id desc limit 1")[0]
        self.assertEqual(action, "rollout stop")
        self.assertIn("c1: release 2", detail)

    def test_SilentHostsStopItWhenTheyAreTooMany(self):
        self.silent = set(HOSTS)
        result = self.roll_out("--patience", "2", "--most-silent", "40")
        self.assertEqual(result.status, STOPPED, result.text + result.errors)
        self.assertRegex(result.text, r"stopped at 25 % of channel prod: 2 of 2 hosts neither have it nor refuse it "
                         r"after 2 s, 40 % may \(--most-silent\)")
        self.assertIn("channel prod stays at release 1, a share of it at release 2", result.text)
        self.assertEqual(self.channels(), {"prod": 1, "canary": 2})
        # It goes on from there when the hosts are back.
        self.silent = set()
        result = self.roll_out("--patience", "60")
        self.assertEqual(result.status, DONE, result.text + result.errors)
        self.assertEqual(self.channels(), {"prod": 2, "canary": 2})

    def test_FewSilentAndRefusingHostsAreBorne(self):
        self.silent, self.refusing = {"p0"}, {"p1"}
        result = self.roll_out("--patience", "2", "--most-refusing", "1", "--most-silent", "50")
        self.assertEqual((result.status, result.errors), (DONE, ""), result.text)
        self.assertIn("6 of 8 hosts have it, 1 refuse, 1 to come", result.text)

    def test_PauseStopsIt(self):
        self.silent = set(CANARIES)
        timer = threading.Timer(1, lambda: self.server.sql("update quor.channel set paused = true", user="ann"))
        timer.start()
        self.addCleanup(timer.join)
        result = self.roll_out("--patience", "60")
        self.assertEqual(result.status, STOPPED)
        self.assertIn("channel canary was paused or moved by somebody else", result.text)
        self.refuse(MOVED, "channel canary is paused; nothing was changed", "rollout", "2")

    def test_WhatCannotBeginIsRefused(self):
        self.refuse(ABSENT, "release 9 is not at the centre", "rollout", "9")
        self.ask("promote", "2", "prod")
        self.refuse(MOVED, "channel prod has release 2: release 1 would take its hosts back", "rollout", "1",
                    "--no-canary")
        self.refuse(USAGE, "the same", "rollout", "2", "--canary", "prod")
        self.refuse(USAGE, "have to rise", "rollout", "2", "--share", "50,10")
        self.ask("channel", "add", "early")
        self.refuse(ABSENT, "channel early has no hosts", "rollout", "2", "--canary", "early")

    def test_StatusShowsTheShare(self):
        place = self.server.sql("select quor.place(name, 2) from quor.host where channel = 'prod' order by 1")[3][0]
        self.server.sql(f"update quor.channel set next_release = 2, next_below = {int(place) + 1} "
                        "where name = 'prod'", user="ann")
        for host in HOSTS:
            offered = int(self.server.sql("select release from quor.head()", user=host)[0][0])
            self.report(host, offered)
        self.report("p0", 1, "failed", "disk full\x1b[2J")
        status = json.loads(self.ask("status", "-o", "json", options=()))
        prod = [channel for channel in status["channels"] if channel["name"] == "prod"][0]
        self.assertEqual((prod["release"], prod["next"]), (1, 2))
        self.assertEqual(prod["hosts"], {"refusing": 1, "silent": 0, "drift": 0, "behind": 0, "current": 7})
        self.assertEqual([host["offered"] for host in status["hosts"] if host["channel"] == "prod"].count(2), 4)
        text = self.ask("status", options=())
        self.assertRegex(text, r"prod +1  release 2 to \d+ % +8 +7 +0 +0 +0 +1\n")
        self.assertRegex(text, r"canary +1  - +2 +0 +0 +0 +2 +0\n")
        self.assertRegex(text, r"\np0 +prod +refusing +1 +[12] +\d+ s +disk full\\x1b\[2J\n")
        self.assertRegex(text, r"\nc0 +canary +silent +- +1 +never +-\n")


if __name__ == "__main__":
    unittest.main()
