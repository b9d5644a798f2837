# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Three agents beside a primary that is killed again and again, its standby taking its place.

QUOR_ROUNDS says how often.
"""
import contextlib
import os
import random
import re
import subprocess
import threading
import unittest

from agent_case import AGENT, QUICK, TIMEOUT, AgentCase, generation
from centre_test import insert_release
from postgres import Cluster, SqlError, free_port

ROUNDS = int(os.environ.get("QUOR_ROUNDS", "2"))
HOSTS = ("n1", "n2", "n3")


class Promotion(AgentCase):
    def setUp(self):
        super().setUp()
        self.cluster = Cluster()
        self.addCleanup(self.cluster.close)
        self.server = self.cluster.start_primary()
        self.ports = [self.server.port, free_port()]
        self.server.make_centre()
        for host in HOSTS:
            self.server.add_host(host)

    def other_port(self):
        return self.ports[1 - self.ports.index(self.server.port)]

    def take_over(self, standby):
        standby.promote()
        self.server.remove()
        self.server = standby

    def place(self, host, name):
        return os.path.join(self.directory, host, name)

    @contextlib.contextmanager
    def agents(self):
        ports = ",".join(map(str, self.ports))
        with contextlib.ExitStack() as running:
            log = running.enter_context(open(os.path.join(self.directory, "log"), "wb"))
            for host in HOSTS:
                os.mkdir(os.path.join(self.directory, host))
                agent = running.enter_context(subprocess.Popen(
                    [AGENT, "--config", os.devnull, "--state", self.place(host, "state"), "--connection",
                     f"host=127.0.0.1,127.0.0.1 port={ports} user={host} dbname=postgres "
                     "target_session_attrs=read-write", "--timeout", "5",
                     *(word for pair in QUICK.items() for word in pair)],
                    env=self.environment(QUOR_HOST_DIR=self.place(host, "host")), stdin=subprocess.DEVNULL,
                    stdout=log, stderr=log))
                running.callback(agent.wait, TIMEOUT)
                running.callback(agent.terminate)
            yield

    def publish(self, commit="remote_apply"):
        """The number of a new release of both channels, acknowledged."""
        newest = int(self.server.sql("select coalesce(max(id), 0) from quor.release")[0][0])
        number = int(self.server.sql(f"select quor.next_release({newest})", user="ann")[0][0])
        self.server.sql(f"set local synchronous_commit = {commit}; "
                        + insert_release(number, newest, generation("AB"[number % 2]), may_shrink=True)
                        + f"; update quor.channel set release = {number} where name = 'prod'", user="ann")
        return number

    def releases(self):
        """What each host holds, by its own files."""
        found = {}
        for host in HOSTS:
            with contextlib.suppress(FileNotFoundError), \
                    open(self.place(host, "state/applied"), encoding="utf-8", errors="replace") as file:
                found[host] = int(re.search(r"^release (\d+)$", file.read(), re.MULTILINE).group(1))
        return found

    def reported(self):
        return {host: (int(release), state) for host, release, state in
                self.server.sql("select host, coalesce(release, 0), state from quor.host_status")}

    def wait_for_all(self, release, state="applied"):
        self.wait_for(lambda: self.reported() == {host: (release, state) for host in HOSTS},
                      f"all report release {release} {state}", 60)

    def expect_hosts(self, content):
        for host in HOSTS:
            self.host = self.place(host, "host")
            self.expect_host(content)

    def test_NoHostGoesBackWithASynchronousStandby(self):
        seed = int(os.environ.get("QUOR_SEED", random.randrange(2**32)))
        print(f"QUOR_SEED={seed}, {ROUNDS} rounds", flush=True)
        moments = random.Random(seed)
        acknowledged, before = [], {}
        with self.agents():
            for _ in range(ROUNDS):
                standby = self.cluster.start_standby(self.server, synchronous=True, port=self.other_port())
                acknowledged.append(self.publish())
                killer = threading.Timer(moments.uniform(0.1, 1.5), self.server.kill)
                killer.start()
                with contextlib.suppress(SqlError):
                    while True:
                        acknowledged.append(self.publish())
                killer.join()
                self.take_over(standby)
                kept = {int(row[0]) for row in self.server.sql("select id from quor.release")}
                self.assertEqual(set(acknowledged) - kept, set())
                now = self.releases()
                self.assertEqual([host for host in before if now[host] < before[host]], [])
                before = now
            newest = self.publish("local")
            self.wait_for_all(newest)
        self.expect_hosts(generation("AB"[newest % 2]))
        self.assertNotIn("never goes back", self.log())
        print(f"{len(acknowledged)} releases acknowledged and kept; all hosts have the newest")

    def test_AsynchronousStandbyThatIsBehindRevertsNobody(self):
        standby = self.cluster.start_standby(self.server, synchronous=False, port=self.other_port())
        with self.agents():
            self.publish("local")
            self.wait_for_all(1)
            standby.wait_until("select 1 from quor.host_status where release = 1 having count(*) = 3")
            standby.configure(primary_conninfo="")  # from here on it is behind
            standby.reload()
            self.server.wait_until("select 1 where not exists (select from pg_stat_replication)")
            self.publish("local")
            self.wait_for_all(2)
            self.server.kill()
            self.take_over(standby)
            self.assertEqual(self.server.sql("select max(id) from quor.release"), [["1"]])
            self.wait_for_all(2, "held")
            self.expect_hosts(generation("A"))
            self.assertEqual(self.publish("local"), 3)  # above all that hosts have seen
            self.wait_for_all(3)
        self.expect_hosts(generation("B"))


if __name__ == "__main__":
    unittest.main()
