# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Many agents and one centre that is restarted, while a release is published every second.

QUOR_HOSTS, QUOR_SECONDS: how many and how long. From 50 hosts on they connect through a pooler with a
bound over all roles, since the server has 100 places.
"""
import os
import shutil
import subprocess
import time
import unittest

from agent_case import AGENT, TIMEOUT, generation
from centre_test import CentreCase
from postgres import free_port

HOSTS = int(os.environ.get("QUOR_HOSTS", "20"))
SECONDS = int(os.environ.get("QUOR_SECONDS", "8"))
IS_LARGE = HOSTS >= 50
PERIOD, SPLAY = (30, 10) if IS_LARGE else (2, 1)  # seconds; the first ones are the agent's own
PLACES = 20  # connections of the pooler to the server
GONE = 5  # seconds for which the server is down
PGBOUNCER = shutil.which("pgbouncer") or shutil.which("pgbouncer", path="/usr/sbin")


class Herd(CentreCase):
    def setUp(self):
        super().setUp()
        self.server.configure(track_functions="all")
        self.server.reload()
        self.server.sql(f"select quor.add_host('n' || i, 'prod', 'n' || i) from generate_series(1, {HOSTS}) i",
                        user="ann")
        self.server.sql("select pg_stat_reset()")
        self.agents = []
        self.addCleanup(self.stop_agents)
        self.port = self.start_pooler() if IS_LARGE else self.server.port

    def start_pooler(self):
        if not PGBOUNCER:
            print(f"\nleft out: {self.id()}: needs pgbouncer", flush=True)
            self.skipTest("there is no pooler")
        port = free_port()
        users = self.write("users", "".join(f'"n{i}" ""\n' for i in range(1, HOSTS + 1)))
        settings = self.write("pooler.ini", f"""[databases]
postgres = host=127.0.0.1 port={self.server.port}
[pgbouncer]
listen_addr = 127.0.0.1
listen_port = {port}
unix_socket_dir =
auth_type = trust
auth_file = {users}
pool_mode = transaction
default_pool_size = 2
max_client_conn = 2000
max_db_connections = {PLACES}
server_idle_timeout = 2
""")
        os.chmod(self.directory, 0o755)
        pooler = self.cluster.popen(PGBOUNCER, "-q", settings, stdin=subprocess.DEVNULL,
                                    stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.addCleanup(pooler.wait)
        self.addCleanup(pooler.kill)
        return port

    def start_agents(self):
        with open(os.path.join(self.directory, "log"), "wb") as log:
            for number in range(1, HOSTS + 1):
                place = os.path.join(self.directory, f"n{number}")
                os.mkdir(place)
                self.agents.append(subprocess.Popen(
                    [AGENT, "--config", os.devnull, "--state", os.path.join(place, "state"), "--connection",
                     f"host=127.0.0.1 port={self.port} user=n{number} dbname=postgres", "--period", str(PERIOD),
                     "--splay", str(SPLAY)],
                    env=self.environment(QUOR_HOST_DIR=os.path.join(place, "host")),
                    stdin=subprocess.DEVNULL, stdout=log, stderr=log))

    def stop_agents(self):
        for agent in self.agents:
            agent.terminate()
        for agent in self.agents:
            agent.wait(TIMEOUT)

    def calls(self, name):
        return sum(int(row[0]) for row in self.server.sql(
            f"select calls from pg_stat_user_functions where funcname = '{name}'"))

    def publish_for(self, seconds, rates):
        """A release each second; the questions of each second are added to `rates`."""
        end, asked = time.monotonic() + seconds, self.calls("head")
        while time.monotonic() < end:
            began = time.monotonic()
            self.publish(generation("AB"[self.newest % 2]), may_shrink=True)
            self.most = max(self.most, self.connections())
            time.sleep(max(0, began + 1 - time.monotonic()))
            now = self.calls("head")
            rates.append((now - asked) / (time.monotonic() - began))
            asked = now

    def connections(self):
        return int(self.server.sql("select count(*) from pg_stat_activity where usename like 'n%'")[0][0])

    def have_newest(self):
        return int(self.server.sql("select count(*) from quor.host_status where state = 'applied' and "
                                   f"release = {self.newest}")[0][0])

    def test_AllEndEqualAndNoneIsHurried(self):
        self.most = 0
        before, after = [], []
        self.start_agents()
        self.publish_for(SECONDS / 2, before)
        self.server.stop()
        time.sleep(GONE)
        self.server.start()
        self.publish_for(SECONDS / 2, after)
        published = time.monotonic()
        self.wait_for(lambda: self.have_newest() == HOSTS, "all have the newest release",
                      1.2 * PERIOD + SPLAY + 30)
        took = time.monotonic() - published
        fetched = self.calls("document")
        print(f"{HOSTS} hosts, {self.newest} releases: {fetched} documents fetched, all equal {took:.1f} s after "
              f"the last one; at most {self.most} connections; questions in a second at most {max(before):.0f} "
              f"before the restart, {max(after[:30]):.0f} in the 30 s after it, {max(after[30:] or [0]):.0f} later")
        # The pooler gives a place away before the server's process of the one before has ended.
        self.assertLess(self.most, 1.5 * PLACES if IS_LARGE else HOSTS + 1)
        # A host fetches what is newest when it asks, not what it missed.
        cycles = (SECONDS + GONE + took) / (0.8 * PERIOD) + 2
        self.assertLess(fetched, HOSTS * cycles)
        if IS_LARGE:
            self.assertLess(max(after), HOSTS / 4)
        # The hosts themselves, not only what they said.
        for number in (1, HOSTS):
            self.host = os.path.join(self.directory, f"n{number}", "host")
            self.expect_host(generation("AB"[(self.newest - 1) % 2]))


if __name__ == "__main__":
    unittest.main()
