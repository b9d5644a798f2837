# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""quor-agent with a centre: a real PostgreSQL, to which releases are brought by psql."""
import hashlib
import json
import os
import re
import shutil
import socket
import subprocess
import time
import unittest
import zlib

from agent_case import (DONE, NO_CENTRE, REFUSED, TIMEOUT, WOULD_CHANGE, AgentCase, blob, datastore, document,
                        generation, in_order, policy)
from postgres import Cluster
from private_mounts import need_private_mounts, with_private_mounts, within_mounts_of

HOST = "h1"


def text_of(content):
    return (json.dumps(content) if isinstance(content, dict) else content).encode()


def insert_release(number, parent, content, signature=None, sha256=None, compressed=None, **flags):
    """The statement that publishes a document."""
    text = text_of(content)
    compressed = zlib.compress(text) if compressed is None else compressed
    sha256 = sha256 or hashlib.sha256(text).hexdigest()
    columns = "".join(f", {name}" for name in flags)
    values = "".join(f", {value}" for value in flags.values())
    signed = f"'\\x{signature.hex()}'" if signature else "null"
    return ("insert into quor.release (id, sha256, document, document_bytes, policies, datastores, "
            f"parent, reason, signature{columns}) values ({number}, '{sha256}', "
            f"'\\x{compressed.hex()}', {len(text)}, 1, 1, {parent or 'null'}, 'a reason', {signed}{values})")


class MuteCentre(AgentCase):
    """What takes the connection and never says a word, as a network that was cut."""

    def test_SignalEndsTheWait(self):
        with socket.create_server(("127.0.0.1", 0)) as mute:
            self.connection = f"host=127.0.0.1 port={mute.getsockname()[1]} dbname=postgres"
            with self.daemon("--timeout", "60") as agent, mute.accept()[0] as taken:
                taken.recv(1)
                began = time.monotonic()
                agent.terminate()
                agent.wait(TIMEOUT)
                self.assertLess(time.monotonic() - began, 3)  # 5 for a server, 60 for all
        self.assertIn("ended by a signal", self.log())


class CentreCase(AgentCase):
    @classmethod
    def setUpClass(cls):
        cls.cluster = Cluster()
        cls.addClassCleanup(cls.cluster.close)
        cls.server = cls.cluster.start_primary()

    def setUp(self):
        super().setUp()
        self.server.sql("drop schema if exists quor cascade")
        for role in (HOST, "ann", "vic"):
            self.server.sql(f"drop role if exists {role}")
        self.server.make_centre()
        self.server.add_host(HOST)
        self.connection = self.server.connection(HOST)
        self.newest = 0

    def publish(self, content, promote=True, **options):
        """The next release of channel prod."""
        self.newest += 1
        self.server.sql(insert_release(self.newest, self.newest - 1, content, **options), user="ann")
        if promote:
            self.promote(self.newest)
        return self.newest

    def promote(self, release):
        self.server.sql(f"update quor.channel set release = {release} where name = 'prod'",
                        user="ann")

    def overwrite(self, statement):
        """As nobody is allowed to: past the triggers."""
        self.server.sql(f"set session_replication_role = replica; {statement}")

    def status(self):
        """Release, state and reason, as the centre was told."""
        rows = self.server.sql("select coalesce(release, 0), state, reason from quor.host_status "
                               f"where host = '{HOST}'")
        return (int(rows[0][0]), *rows[0][1:]) if rows else None

    def once(self, status=DONE, *words, message=""):
        return self.expect(status, "--once", *words, message=message)


class Releases(CentreCase):
    def test_ReleasesAreTakenAndReported(self):
        self.once(message="")
        self.assertEqual(self.status(), None)
        for store in ("store", "file"):
            self.ask("switch", "--yes", store)
            for letter in "AB":
                self.publish(generation(letter), may_shrink=True)
                self.once(message=f"the host holds release {self.newest}")
                self.expect_host(generation(letter))
                self.assertEqual(self.status(), (self.newest, "applied", ""))
        digests = self.ask("digest").text.split()
        row = self.server.sql("select sha256, policies_digest, datastores_digest, agent_version "
                              "from quor.host_status")[0]
        self.assertEqual(row[0], hashlib.sha256(text_of(generation("B"))).hexdigest())
        self.assertIn(row[1], " ".join(digests))
        self.assertIn(row[2], " ".join(digests))

    def test_DaemonFollowsTheChannel(self):
        with self.daemon("--report-period", "1"):
            for letter in "ABAB":
                self.publish(generation(letter), may_shrink=True)
                self.wait_for(lambda: self.status() == (self.newest, "applied", ""))
                self.expect_host(generation(letter))
            told = self.server.sql("select at from quor.host_status")
            self.wait_for(lambda: self.server.sql("select at from quor.host_status") != told)
        self.assertEqual(self.log().count("the host holds"), 4)

    def test_OnlyTheNewestIsFetched(self):
        self.publish(generation("A"))
        self.once()
        for letter in "BCDE":
            self.publish(generation(letter), may_shrink=True)
        self.once()
        self.expect_host(generation("E"))
        for _ in range(8):  # the random wait may end before all are published
            self.publish(generation("F"), may_shrink=True)
            with self.daemon("--splay", "6"):
                for letter in "GH":
                    self.publish(generation(letter), may_shrink=True)
                self.wait_for(lambda: self.holds(generation("H")))
            if self.replacements() == 3:
                return
        self.fail(self.log())

    def test_PausedChannelIsNotFollowed(self):
        self.publish(generation("A"))
        self.once()
        self.publish(generation("B"), may_shrink=True)
        self.server.sql("update quor.channel set paused = true where name = 'prod'", user="ann")
        self.once()
        self.expect_host(generation("A"))
        self.server.sql("update quor.channel set paused = false where name = 'prod'", user="ann")
        self.once()
        self.expect_host(generation("B"))

    def test_DryRunShowsTheDifference(self):
        self.publish(generation("A", 1))
        shown = self.expect(WOULD_CHANGE, "--dry-run")
        self.assertEqual(shown.text, 'add policy "A0" (id-A0)\nadd datastore "ds:///0/"\n')
        self.assertFalse(os.path.exists(self.state) or os.path.exists(self.host))
        self.once()
        self.assertEqual(self.expect(DONE, "--dry-run").text, "nothing would be changed\n")
        self.publish(document())
        self.expect(REFUSED, "--dry-run", message="--may-empty")
        self.assertEqual(self.status(), (1, "applied", ""))

    def test_KeptFileDamagedMeanwhileIsFetchedAgain(self):
        self.publish(generation("A"))
        with self.daemon():
            self.wait_for(lambda: self.status() == (1, "applied", ""))
            path = os.path.join(self.state, "wanted")
            os.truncate(path, os.path.getsize(path) - 3)
            self.disturb(generation("B"))
            self.wait_for(lambda: self.holds(generation("A")))
            self.assertEqual(self.kept("wanted"), 1)
        self.assertIn("wanted is not the file that the agent wrote", self.log())

    def test_HostThatIsNotKnown(self):
        self.server.sql(f"delete from quor.host where name = '{HOST}'")
        self.once(message="quor-publish host add NAME")

    def test_DocumentFromAFileGivesWayToTheCentre(self):
        self.publish(generation("A"))
        self.once()
        self.take(generation("A", generation=7), message="at release 1")
        self.expect_host(generation("A", generation=7))
        self.once()
        self.expect_host(generation("A"))


class Refusals(CentreCase):
    """The host stays as it is, and the centre hears why."""

    def setUp(self):
        super().setUp()
        self.publish(generation("A"))
        self.once()
        path = self.snapshot_path()
        self.before = os.stat(path).st_ino, path

    def refused(self, reason, *words, state="refused"):
        self.once(REFUSED, *words, message=reason)
        self.expect_host(generation("A"))
        self.assertEqual(os.stat(self.before[1]).st_ino, self.before[0])
        release, told, why = self.status()
        self.assertEqual((release, told), (1, state))
        self.assertIn(reason, why)
        self.assertIn(HOST, why)

    def test_LowerRelease(self):
        self.publish(generation("B"), may_shrink=True)
        self.overwrite("update quor.channel set release = 1; delete from quor.release where id = 2")
        self.once()  # it has the first one
        self.overwrite("update quor.channel set release = null")
        self.refused("h1 has release 1 and never goes back, channel prod has no release",
                     state="held")

    def test_LowerReleaseAfterAHigherOne(self):
        self.publish(generation("B"), may_shrink=True)
        self.publish(generation("A"), may_shrink=True)
        self.once()
        self.before = os.stat(self.before[1]).st_ino, self.before[1]
        self.overwrite("update quor.channel set release = 2")
        self.once(REFUSED, message="h1 has release 3 and never goes back, channel prod has release 2")
        self.expect_host(generation("A"))
        self.assertEqual(self.status()[:2], (3, "held"))

    def test_TableTruncatedOrDropped(self):
        self.overwrite("truncate quor.release cascade")
        self.once(message="the centre does not know the role")
        self.server.sql("drop table quor.release cascade")
        self.expect(NO_CENTRE, "--once", message="quor-publish init")
        self.server.sql("drop schema quor cascade")
        self.expect(NO_CENTRE, "--once", message="quor-publish init")
        self.expect_host(generation("A"))

    def test_WrongHash(self):
        self.publish(generation("B"), may_shrink=True, sha256="0" * 64)
        self.refused("promised was 000000000000")

    def test_HalfADocument(self):
        whole = zlib.compress(text_of(generation("B")))
        self.publish(generation("B"), may_shrink=True, compressed=whole[:-20])
        self.refused("the document at the centre is damaged")
        self.publish(json.dumps(generation("B"))[:200], may_shrink=True)
        self.refused("the document: line 1")

    def test_EmptyRelease(self):
        self.publish(document())
        self.refused("publish it with --may-empty")
        self.publish(document(), may_empty=True)
        self.once()
        self.expect_host(document())

    def test_MoreThanAFifthDeleted(self):
        self.publish(generation("A", 3))
        self.refused("it deletes 2 of 5 policies")
        self.publish(generation("A", 4))
        self.once()
        self.expect_host(generation("A", 4))

    def test_BrokenRules(self):
        self.publish(document([policy(), policy()], [datastore()]), may_shrink=True)
        self.refused("policies[1].name")

    def test_ReusedId(self):
        sha256 = hashlib.sha256(text_of(generation("B"))).hexdigest()
        self.overwrite("update quor.release set document = "
                       f"'\\x{zlib.compress(text_of(generation('B'))).hex()}', sha256 = '{sha256}'")
        self.refused("another document than the one of this number")

    def test_Signature(self):
        private, public = (os.path.join(self.directory, name) for name in ("key", "public"))
        subprocess.run(["openssl", "genpkey", "-algorithm", "ed25519", "-out", private], check=True)
        subprocess.run(["openssl", "pkey", "-in", private, "-pubout", "-out", public], check=True)

        def sign(release, content):
            sha256 = hashlib.sha256(text_of(content)).hexdigest()
            message = self.write("message", f"quor-release\n{release}\n{sha256}\n")
            return subprocess.run(["openssl", "pkeyutl", "-sign", "-inkey", private, "-rawin", "-in",
                                   message], check=True, capture_output=True).stdout

        content = generation("B")
        self.publish(content, may_shrink=True)
        self.refused("it is not signed", "--key", public)
        self.publish(content, may_shrink=True, signature=sign(2, content))
        self.refused("no known key signed it", "--key", public)  # of another number
        self.publish(content, may_shrink=True, signature=sign(4, generation("C")))
        self.refused("no known key signed it", "--key", public)
        self.publish(content, may_shrink=True, signature=sign(5, content))
        self.once(DONE, "--key", public)
        self.expect_host(content)

    def test_RefusedOneIsNotFetchedAgainAndTheNextIsTaken(self):
        self.publish(document())
        metrics = os.path.join(self.directory, "metrics")
        with self.daemon("--metrics", metrics):
            self.wait_for(lambda: self.status()[1] == "refused")
            self.server.sql("select pg_stat_reset()")
            contact = self.contact(metrics)
            self.wait_for(lambda: self.contact(metrics) > contact)
            with open(metrics, encoding="utf-8") as file:
                self.assertIn('quor_agent_refusals_total{reason="empty"} 1\n', file.read())
            self.publish(generation("B"), may_shrink=True)
            self.wait_for(lambda: self.status() == (3, "applied", ""))
        self.assertEqual(self.log().count("refuses release 2"), 1)

    @staticmethod
    def contact(metrics):
        with open(metrics, encoding="utf-8") as file:
            return int(re.search(r"last_contact_timestamp_seconds (\d+)", file.read()).group(1))


class Failures(CentreCase):
    def test_CentreGoneAndBack(self):
        self.publish(generation("A"))
        with self.daemon("--timeout", "2"):
            self.wait_for(lambda: self.holds(generation("A")))
            self.server.stop()
            self.wait_for_log("no connection")
            self.disturb(generation("B"))
            self.wait_for(lambda: self.holds(generation("A")))  # drift needs no centre
            self.server.start()
            self.wait_for_log("the centre answers again")
            self.server.freeze()
            try:
                self.wait_for_log("no answer before the deadline")
            finally:
                self.thaw()
            self.wait_for_log("the centre answers again", 2)
            self.publish(generation("B"), may_shrink=True)
            self.wait_for(lambda: self.holds(generation("B")))

    def thaw(self):
        while True:
            try:
                return self.server.thaw()
            except ProcessLookupError:  # one of its processes has just ended
                continue

    def test_KeptConnectionThatWasLostIsMadeAnew(self):
        self.publish(generation("A"))
        with self.daemon("--keep-connection"):
            self.wait_for(lambda: self.status() == (1, "applied", ""))
            sessions = f"from pg_stat_activity where usename = '{HOST}'"
            self.wait_for(lambda: self.server.sql(f"select 1 {sessions} and state = 'idle'"))
            self.server.sql(f"select pg_terminate_backend(pid) {sessions}")
            self.publish(generation("B"), may_shrink=True)
            self.wait_for(lambda: self.holds(generation("B")))
        self.assertNotIn("the host stays as it is", self.log())

    def test_StandbyServesAndTakesNoReport(self):
        self.publish(generation("A"))
        standby = self.cluster.start_standby(self.server, synchronous=False)
        self.addCleanup(standby.kill)
        standby.wait_until("select 1 from quor.channel where release = 1")
        self.connection = standby.connection(HOST)
        self.once(message="not reported")
        self.expect_host(generation("A"))

    def test_AsynchronousStandbyThatIsBehindRevertsNobody(self):
        self.publish(generation("A"))
        standby = self.cluster.start_standby(self.server, synchronous=False)
        self.addCleanup(standby.kill)
        standby.wait_until("select 1 from quor.channel where release = 1")
        standby.stop()
        self.publish(generation("B"), may_shrink=True)
        self.once()
        self.expect_host(generation("B"))
        self.server.kill()
        try:
            standby.start()
            standby.promote()
            self.connection = standby.connection(HOST)
            self.once(REFUSED, message="h1 has release 2 and never goes back")
            self.expect_host(generation("B"))
            rows = standby.sql("select release, state from quor.host_status")
            self.assertEqual(rows, [["2", "held"]])
        finally:
            standby.kill()
            self.server.start()

    def test_ReadOnlyStateHealsAlone(self):
        self.publish(generation("A"))
        self.once()
        self.publish(generation("B"), may_shrink=True)
        # root writes whatever the mode says: a directory in the place of the file stops it too
        obstacle = os.path.join(self.state, ".wanted.new")
        os.mkdir(obstacle)
        with self.daemon():
            self.wait_for(lambda: self.status()[1] == "failed")
            self.expect_host(generation("A"))
            self.assertIn("cannot keep release 2", self.status()[2])
            os.rmdir(obstacle)
            self.wait_for(lambda: self.status() == (2, "applied", ""))
            self.expect_host(generation("B"))


class Disk(CentreCase):
    """State and host on a small disk of their own, in the agent's mount namespace."""

    SMALL = ('mount -t tmpfs -o size=$SIZE none "$DISK" && cp -a "$DISK.old/." "$DISK" && '
             'exec "$@"')

    def setUp(self):
        super().setUp()
        self.disk = os.path.join(self.directory, "disk")
        os.mkdir(self.disk)
        self.host = os.path.join(self.disk, "host")
        self.state = os.path.join(self.disk, "state")
        need_private_mounts(self, self.disk)
        self.publish(generation("A"))
        self.once()
        shutil.copytree(self.disk, self.disk + ".old")

    def on_small_disk(self):
        words = super().words
        self.words = lambda *arguments: with_private_mounts(
            self.disk, "sh", "-c", self.SMALL, "sh", *words(*arguments))
        return self.daemon("--report-period", "1", environment={"DISK": self.disk, "SIZE": "256k"})

    def inside(self, process, command):
        return subprocess.run(within_mounts_of(process, "sh", "-c", command),
                              check=True, capture_output=True, text=True,
                              env=self.environment(DISK=self.disk, Q=self.program)).stdout

    def heals(self, harm, remedy, reason):
        told = self.server.sql("select at from quor.host_status")
        with self.on_small_disk() as process:
            self.wait_for(lambda: self.server.sql("select at from quor.host_status") != told)
            self.inside(process, harm)
            self.publish(generation("B", blobs=[blob(text="x" * 999)]), may_shrink=True)
            self.wait_for(lambda: self.status()[1] == "failed")
            self.assertIn(reason, self.status()[2])
            listed = json.loads(self.inside(process, "$Q export"))
            self.assertEqual(in_order(listed), in_order(generation("A")))
            self.inside(process, remedy)
            self.wait_for(lambda: self.status() == (2, "applied", ""))
            listed = json.loads(self.inside(process, "$Q export"))
            self.assertEqual(in_order(listed),
                             in_order(generation("B", blobs=[blob(text="x" * 999)])))

    def test_FullDiskHealsAlone(self):
        self.heals('dd if=/dev/zero of="$DISK/fill" bs=64k count=8 2>/dev/null || true', 'rm "$DISK/fill"',
                   "No space left on device")

    def test_ReadOnlyDiskHealsAlone(self):
        self.heals('mount -o remount,bind,ro "$DISK"', 'mount -o remount,bind,rw "$DISK"',
                   "Read-only file system")


if __name__ == "__main__":
    unittest.main()
