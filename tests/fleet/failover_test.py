# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The primary is killed while releases are published, and a standby is promoted.

QUOR_ROUNDS says how often. What was acknowledged is there afterwards where the standby is synchronous,
whenever the kill came; where it is not, numbers that hosts have seen are not given to other documents.
"""
import os
import random
import re
import time
import unittest

from postgres import Cluster
from publish_case import CENTRE, DONE, MOVED, PublishCase, document

ROUNDS = int(os.environ.get("QUOR_ROUNDS", "1"))


class Failover(PublishCase):
    @classmethod
    def setUpClass(cls):
        cls.options = ()

    def setUp(self):
        self.directory = None
        self.cluster = Cluster()
        self.addCleanup(self.cluster.close)
        self.server = self.cluster.start_primary()
        self.server.make_centre()

    def publish_until_it_fails(self, kill_after):
        """Publishes one after the other and kills the primary after so many seconds. The numbers that were
        acknowledged, and the messages of what failed."""
        acknowledged, problems = [], []
        newest = self.newest()
        deadline = time.monotonic() + kill_after
        while not problems:
            with self.start("publish", "-", "--parent", str(newest), "--reason", "round", "--timeout", "10") as process:
                process.stdin.write(document(generation=newest + 1000))
                process.stdin.close()
                while process.poll() is None:
                    if time.monotonic() >= deadline and self.server.is_up():
                        self.server.kill()
                    time.sleep(0.002)
                output, errors = process.stdout.read().decode(), process.stderr.read().decode()
            if process.returncode == DONE:
                newest = int(re.search(r"published release (\d+)", output).group(1))
                acknowledged.append(newest)
                if time.monotonic() >= deadline and self.server.is_up():
                    self.server.kill()
            else:
                self.assertEqual(process.returncode, CENTRE, errors)
                problems.append(errors)
        return acknowledged, problems[0]

    def newest(self, server=None):
        return int((server or self.server).sql("select coalesce(max(id), 0) from quor.release")[0][0])

    def test_NoAcknowledgedReleaseIsLostWithASynchronousStandby(self):
        seed = int(os.environ.get("QUOR_SEED", random.randrange(2**32)))
        print(f"QUOR_SEED={seed}, {ROUNDS} rounds", flush=True)
        moments = random.Random(seed)
        total, unknown = 0, 0
        for _ in range(ROUNDS):
            standby = self.cluster.start_standby(self.server, synchronous=True)
            acknowledged, problem = self.publish_until_it_fails(moments.uniform(0.5, 1.5))
            self.refuse(CENTRE, f"no connection to the centre: 127.0.0.1:{self.server.port}: .*Connection refused",
                        "status")
            standby.promote()
            kept = {int(row[0]) for row in standby.sql("select id from quor.release")}
            self.assertEqual(set(acknowledged) - kept, set(), problem)
            # What was not acknowledged may be there: then the message said that this is not known.
            extra = kept - set(acknowledged)
            if extra and max(extra) > max(acknowledged, default=0) and "not known" in problem:
                unknown += 1
            total += len(acknowledged)
            self.server.remove()
            self.server = standby
            head = self.newest()
            self.refuse(CENTRE, "no synchronous standby is streaming; nothing was changed; .*--no-standby",
                        "publish", "-", "--parent", str(head), "--reason", "x", given=document(generation=5000 + head))
        print(f"{total} releases acknowledged and kept, {unknown} more were there of which it was not known")
        self.assertGreater(total, 0)

    def test_NumbersThatAnAsynchronousStandbyLostAreNotGivenAgain(self):
        standby = self.cluster.start_standby(self.server, synchronous=False)
        self.server.add_host("h1")
        self.refuse(CENTRE, "no synchronous standby", "publish", "-", "--parent", "0", "--reason", "x", given=document())
        for parent in range(2):
            self.publish(parent, None, "--no-standby")
            self.ask("promote", str(parent + 1), "prod", "--no-standby")
        standby.wait_until("select 1 from quor.channel where release = 2")
        # From here on it is behind.
        standby.configure(primary_conninfo="")
        standby.reload()
        self.server.wait_until("select 1 where not exists (select from pg_stat_replication)")
        self.publish(2, None, "--no-standby")
        self.ask("promote", "3", "prod", "--no-standby")
        self.report("h1", 3)
        self.server.kill()
        standby.promote()
        self.server = standby
        self.assertEqual(self.channels()["prod"], 2)
        # The host stays with 3 and says so; the next release is beyond it.
        self.report("h1", 3, "held", "the centre offers release 2")
        text = self.ask("status")
        self.assertRegex(text, r"h1 +prod +refusing +3 +2 +\d+ s +the centre offers release 2")
        self.assertEqual(self.publish(2, document(generation=77), "--no-standby"), 4)
        self.ask("promote", "4", "prod", "--no-standby")
        self.assertEqual(self.server.sql("select release from quor.head()", user="h1"), [["4"]])


class Standby(PublishCase):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.standby = cls.cluster.start_standby(cls.server, synchronous=True)
        cls.options = ()

    def test_FrozenServerIsNoticedAndTheNextOneTried(self):
        self.server.freeze()
        self.addCleanup(self.server.thaw)
        both = f"host=127.0.0.1,127.0.0.1 port={self.server.port},{self.standby.port} user=vic dbname=postgres"
        started = time.monotonic()
        text = self.ask("status", "--centre", both)
        self.assertIn(f"centre 127.0.0.1:{self.standby.port}", text)
        self.assertLess(time.monotonic() - started, 8)

    def test_StandbyIsNotPublishedTo(self):
        self.refuse(CENTRE, "session is read-only|read-only", "publish", "-", "--parent", "0", "--reason", "x",
                    server=self.standby, given=document())
        both = f"host=127.0.0.1,127.0.0.1 port={self.standby.port},{self.server.port} user=ann dbname=postgres"
        self.ask("publish", "-", "--parent", "0", "--reason", "x", "--centre", both, given=document())

    def test_StandbyThatIsGoneWhileItIsWaitedForIsTold(self):
        self.standby.freeze()
        self.addCleanup(self.standby.thaw)
        self.refuse(CENTRE, "no answer before the deadline; .*it is not known whether the new release is there",
                    "publish", "-", "--parent", "0", "--reason", "x", "--timeout", "3", given=document())
        self.standby.thaw()
        self.server.wait_until("select 1 from quor.release")
        # The same command again tells what became of it.
        self.refuse(MOVED, "this very document: it was published", "publish", "-", "--parent", "0", "--reason", "x",
                    given=document())

    def test_WaitThatSomebodyCancelsIsNoAcknowledgement(self):
        self.standby.freeze()
        self.addCleanup(self.standby.thaw)
        process = self.start("publish", "-", "--parent", "0", "--reason", "x")
        process.stdin.write(document())
        process.stdin.close()
        self.server.wait_until("select 1 from pg_stat_activity where wait_event = 'SyncRep'")
        self.server.sql("select pg_cancel_backend(pid) from pg_stat_activity where wait_event = 'SyncRep'")
        errors = process.stderr.read().decode()
        process.stdout.close()
        process.stderr.close()
        self.assertEqual(process.wait(), CENTRE)
        self.assertRegex(errors, "canceling wait for synchronous replication.*no standby has confirmed it")


if __name__ == "__main__":
    unittest.main()
