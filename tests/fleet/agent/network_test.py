# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""quor-agent over a network that is slow, cut, or cut in one direction only.

Centre and agent are in network namespaces of their own. A daemon asks for the blob of every datastore
all the while and is never without an answer. QUOR_CUTS: how many of the three kinds of cuts are tried; the
first one alone without a document on its way.
"""
import contextlib
import os
import subprocess
import time
import unittest

from agent_case import blob, datastore, document, generation, policy
from centre_test import HOST, CentreCase
from postgres import Cluster
from wire import Wire

POLL_DEFAULTS = os.environ["QUOR_POLL_DEFAULTS"]
PERIOD = 1.0  # seconds, of the agent
NOTICED = 8  # seconds after the cut: the period, five for the answer, and what a busy machine takes
EQUAL = PERIOD + 10  # seconds after the mend
CUTS = ({"towards_far": True, "towards_near": True}, {"towards_far": True},
        {"towards_near": True})[:int(os.environ.get("QUOR_CUTS", "1"))]


def large(letter):
    """The datastores of generation(), and a document that takes a slow network a while."""
    noise = [policy(f"{letter}-noise-{i}", blobs=[blob(base64=os.urandom(3000).hex())]) for i in range(300)]
    return document([policy(f"{letter}{i}") for i in range(5)] + noise,
                    [datastore(f"ds:///{i}/", defaultPolicy=f"id-{letter}{i}") for i in range(5)])


class Network(CentreCase):
    @classmethod
    def setUpClass(cls):
        try:
            cls.wire = Wire()
        except (OSError, subprocess.CalledProcessError) as failure:
            print(f"\nleft out: {cls.__name__}: needs a network of its own", flush=True)
            raise unittest.SkipTest(str(failure)) from failure
        cls.addClassCleanup(cls.wire.close)
        cls.cluster = Cluster((Wire.NEAR, "127.0.0.1"))
        cls.addClassCleanup(cls.cluster.close)
        cls.server = cls.cluster.start_primary()

    def setUp(self):
        super().setUp()
        self.wire.mend()
        self.wire.delay = 0

    def words(self, *arguments):
        return [*self.wire.there(), *super().words(*arguments)]

    @contextlib.contextmanager
    def asking_daemon(self):
        """Asks for blobs until the block ends; each of the answers is to be there."""
        with subprocess.Popen([POLL_DEFAULTS, *(f"ds:///{i}/" for i in range(5))], env=self.environment(),
                              stdin=subprocess.PIPE, stdout=subprocess.PIPE) as process:
            yield
            asked, none = map(int, process.communicate()[0].split())
        self.assertGreater(asked, 1000)
        self.assertEqual(none, 0, f"of {asked}")

    def equal_within(self, seconds):
        began = time.monotonic()
        self.wait_for(lambda: self.status() == (self.newest, "applied", ""), seconds=seconds)
        return time.monotonic() - began

    def test_CutIsNoticedAndHeals(self):
        self.publish(generation("A"))
        for kept in ((), ("--keep-connection",)):
            with self.daemon("--period", str(PERIOD), *kept):
                self.equal_within(EQUAL)
                with self.asking_daemon():
                    for cut in CUTS:
                        self.cut_and_mend(cut, kept)

    def cut_and_mend(self, cut, kept):
        def publish_meanwhile():
            self.publish(generation("AB"[self.newest % 2]), may_shrink=True)
            time.sleep(1)
            self.assertNotEqual(self.status()[0], self.newest)

        took, again = self.cut_until_noticed(cut, publish_meanwhile)
        print(f"cut {sorted(cut)} {' '.join(kept)}: noticed after {took:.1f} s, equal {again:.1f} s after the mend")

    def cut_until_noticed(self, cut, then, wait=0.5):
        """Seconds from the cut until it was noticed, and from the mend until the host was equal."""
        noticed = self.log().count("the host stays as it is")
        time.sleep(wait)  # what is on its way arrives
        self.wire.cut(**cut)
        began = time.monotonic()
        self.wait_for_log("the host stays as it is", noticed + 1)
        took = time.monotonic() - began
        self.assertLess(took, NOTICED)
        then()
        self.wire.mend()
        return took, self.equal_within(EQUAL)

    @unittest.skipIf(len(CUTS) == 1, "in the long form")
    def test_CutWhileADocumentIsFetchedIsNoticedAndHeals(self):
        self.publish(generation("A"))
        self.wire.delay = 0.1
        with self.daemon("--period", str(PERIOD)):
            self.equal_within(EQUAL)
            with self.asking_daemon():
                for cut in CUTS:
                    self.cut_in_a_document(cut)

    def cut_in_a_document(self, cut):
        self.publish(large("AB"[self.newest % 2]), may_shrink=True)
        self.server.wait_until(f"select 1 from pg_stat_activity where usename = '{HOST}' "
                               "and query like '%quor.document%'")
        took, again = self.cut_until_noticed(cut, lambda: None, wait=0)
        print(f"cut {sorted(cut)} in a document: noticed after {took:.1f} s, equal {again:.1f} s after the mend")

    def test_SlowNetworkIsGoodEnough(self):
        self.wire.delay = 0.15  # 300 ms there and back
        self.publish(generation("A"))
        with self.daemon("--period", str(PERIOD)):
            self.equal_within(EQUAL)
            with self.asking_daemon():
                for letter in "BAB"[:len(CUTS)]:
                    self.publish(large(letter), may_shrink=True)
                    print(f"300 ms there and back: equal after {self.equal_within(EQUAL):.1f} s")
            self.assertNotIn("the host stays as it is", self.log())


if __name__ == "__main__":
    unittest.main()
