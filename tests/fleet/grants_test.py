# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The tables of the centre, asked by psql as each role: what it may do, and what it may not."""
import hashlib
import unittest
import zlib

from postgres import SUPERUSER, Cluster, SqlError

TABLES = ("release", "channel", "host", "host_status", "event", "schema_version")
DENIED = "permission denied"


def insert(number, parent, text=b"document", user_columns=""):
    digest = hashlib.sha256(text).hexdigest()
    document = zlib.compress(text).hex()
    return (f"insert into quor.release (id, sha256, document, document_bytes, policies, datastores, parent, reason"
            f"{user_columns and ', author'}) values ({number}, '{digest}', '\\x{document}', {len(text)}, 1, 1, "
            f"{parent}, 'a reason'{user_columns})")


class Grants(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.cluster = Cluster()
        cls.addClassCleanup(cls.cluster.close)
        cls.server = cls.cluster.start_primary()

    def setUp(self):
        self.server.make_centre()
        self.server.add_host("h1")
        self.server.add_host("h2", "canary")

    def refuse(self, user, statement, message=DENIED):
        with self.assertRaisesRegex(SqlError, message):
            self.server.sql(statement, user=user)

    def publish(self, number, text=b"document"):
        self.server.sql(insert(number, number - 1 or "null", text), user="ann")

    def promote(self, number, channel="prod"):
        self.server.sql(f"update quor.channel set release = {number} where name = '{channel}'", user="ann")

    def test_HostSeesNoTable(self):
        for table in TABLES:
            for statement in (f"select * from quor.{table}", f"delete from quor.{table}",
                              f"truncate quor.{table}"):
                self.refuse("h1", statement)
        self.refuse("h1", "update quor.host_status set state = 'applied' where host = 'h2'")
        self.refuse("h1", insert(1, "null"))
        self.refuse("h1", "update quor.host set role = 'h1'")

    def test_HostMayNotPublishMoveOrAdd(self):
        for call in ("quor.next_release(0)", "quor.retain(1)", "quor.add_host('x', 'prod', 'x')",
                     "quor.move_host('h2', 'prod')", "quor.remove_host('h2')", "quor.synchronous_standbys()"):
            for user in ("h1", "vic"):
                if user == "vic" and "standbys" in call:
                    continue
                self.refuse(user, f"select {call}")

    def test_HostGetsItsOwnHeadAlone(self):
        self.publish(1)
        self.publish(2)
        self.promote(1)
        self.promote(2, "canary")
        ask = "select host, channel, release, paused from quor.head()"
        self.assertEqual(self.server.sql(ask, user="h1"), [["h1", "prod", "1", "f"]])
        self.assertEqual(self.server.sql(ask, user="h2"), [["h2", "canary", "2", "f"]])
        self.server.sql("create role stray login in role quor_host")
        self.assertEqual(self.server.sql(ask, user="stray"), [])

    def test_HeadIsThereBeforeTheFirstRelease(self):
        self.assertEqual(self.server.sql("select host, release, sha256, bytes from quor.head()", user="h1"),
                         [["h1", "", "", "0"]])

    def test_HostGetsTheDocumentByNumber(self):
        self.publish(1, b"the text")
        self.promote(1)
        rows = self.server.sql("select encode(document, 'hex'), sha256, signature from quor.document(1)", user="h1")
        self.assertEqual(zlib.decompress(bytes.fromhex(rows[0][0])), b"the text")
        self.assertEqual(rows[0][1:], [hashlib.sha256(b"the text").hexdigest(), ""])
        self.assertEqual(self.server.sql("select sha256 from quor.document(2)", user="h1"), [])

    def documents_of(self, role):
        return [number for number in range(1, 5) if
                self.server.sql(f"select sha256 from quor.document({number})", user=role)]

    def test_HostGetsNoDocumentBeyondTheOneThatItIsOffered(self):
        for number in range(1, 5):
            self.publish(number, b"document %d" % number)
        self.assertEqual(self.documents_of("h1"), [])
        self.promote(2)
        self.promote(3, "canary")
        self.assertEqual(self.documents_of("h1"), [1, 2])
        self.assertEqual(self.documents_of("h2"), [1, 2, 3])
        self.server.sql("create role stray login in role quor_host")
        self.assertEqual(self.documents_of("stray"), [])
        # The share of a roll-out: those hosts alone that it has reached.
        place = int(self.server.sql("select quor.place('h1', 4)")[0][0])
        self.server.sql(f"update quor.channel set next_release = 4, next_below = {place} where name = 'prod'", user="ann")
        self.assertEqual(self.documents_of("h1"), [1, 2])
        self.server.sql(f"update quor.channel set next_below = {place + 1} where name = 'prod'", user="ann")
        self.assertEqual(self.documents_of("h1"), [1, 2, 3, 4])

    def test_ReportWritesTheCallersRowAlone(self):
        report = "select quor.report({}, 'aa', 'p', 'd', '{}', 'why', '1.0')"
        self.server.sql(report.format(3, "applied"), user="h1")
        self.server.sql(report.format("null", "refused"), user="h2")
        rows = "select host, coalesce(release, -1), state, reason from quor.host_status order by host"
        self.assertEqual(self.server.sql(rows), [["h1", "3", "applied", "why"], ["h2", "-1", "refused", "why"]])
        self.server.sql(report.format(4, "held"), user="h1")
        self.assertEqual(self.server.sql(rows), [["h1", "4", "held", "why"], ["h2", "-1", "refused", "why"]])
        self.refuse("h1", report.format(4, "splendid"), "host_status_state_check")
        self.refuse(SUPERUSER, report.format(4, "applied"), "belongs to no host(.|\n)*host add")
        self.refuse("vic", report.format(4, "applied"))
        self.refuse("ann", report.format(4, "applied"))

    def test_LongReportIsCut(self):
        self.server.sql("select quor.report(1, 'a', 'b', 'c', 'failed', repeat('x', 100000), repeat('y', 1000))",
                        user="h1")
        self.assertEqual(self.server.sql("select length(reason), length(agent_version) from quor.host_status"),
                         [["1000", "64"]])

    def test_RoleThatIsSetIsNotBelieved(self):
        # A host that could act as another role would still be itself: the session counts.
        self.server.sql("grant h2 to h1")
        self.assertEqual(self.server.sql("set role h2; select host from quor.head()", user="h1"), [["h1"]])

    def test_ViewerSeesAllAndChangesNothing(self):
        self.publish(1)
        for table in TABLES:
            self.server.sql(f"select * from quor.{table}", user="vic")
            self.refuse("vic", f"delete from quor.{table}")
        self.refuse("vic", insert(2, 1))
        self.refuse("vic", "update quor.channel set paused = true")

    def test_PublisherMayNotRewriteHistory(self):
        self.publish(1)
        for statement in ("update quor.release set reason = 'x'", "delete from quor.release",
                          "truncate quor.release cascade", "delete from quor.channel", "delete from quor.event",
                          "update quor.event set author = 'x'", "update quor.channel set name = 'x'",
                          "insert into quor.event (action) values ('x')", "delete from quor.host",
                          "update quor.host_status set state = 'applied'",
                          "insert into quor.host (name, channel, role) values ('x', 'prod', 'x')",
                          "insert into quor.schema_version values (9)", "drop schema quor cascade"):
            self.refuse("ann", statement, "permission denied|must be owner")
        self.refuse("ann", insert(2, 1, user_columns=", 'bob'"))

    def test_OwnerToMayNotRewriteReleases(self):
        self.publish(1)
        for statement in ("update quor.release set reason = 'x'", "delete from quor.release",
                          "truncate quor.release cascade"):
            self.refuse(SUPERUSER, statement, "never changed")
        self.assertEqual(self.server.sql("select id, author, reason from quor.release"), [["1", "ann", "a reason"]])

    def test_NumbersRiseAndParentsAreCompared(self):
        self.publish(1)
        self.refuse("ann", insert(1, 1), "the next number is 2")
        self.refuse("ann", insert(5, 1), "the next number is 2")
        self.refuse("ann", insert(2, "null"), "the newest release is 1, not 0")
        self.refuse("ann", insert(2, 7), "the newest release is 1, not 7")
        self.publish(2)

    def test_NumberThatAHostHasSeenIsNotGivenAgain(self):
        self.publish(1)
        self.server.sql("select quor.report(34, 'aa', 'p', 'd', 'held', 'why', '1.0')", user="h1")
        self.assertEqual(self.server.sql("select quor.next_release(1)", user="ann"), [["35"]])
        self.server.sql(insert(35, 1), user="ann")

    def test_HostThatLiesDoesNotUseUpTheNumbers(self):
        self.publish(1)
        self.server.sql(f"select quor.report({2 ** 63 - 1}, 'aa', 'p', 'd', 'held', 'why', '1.0')", user="h1")
        self.publish(2)

    def test_ChannelsGoForwardAlone(self):
        for number in (1, 2, 3):
            self.publish(number)
        self.promote(2)
        for user in ("ann", SUPERUSER):
            self.refuse(user, "update quor.channel set release = 1 where name = 'prod'", "release 2 is there already")
            self.refuse(user, "update quor.channel set release = null where name = 'prod'", "would go back")
        self.refuse("ann", "update quor.channel set release = 9 where name = 'prod'", "violates foreign key")
        self.server.sql("update quor.channel set next_release = 3, next_below = 5000 where name = 'prod'", user="ann")
        for change in ("next_release = null, next_below = 0", "next_release = 2"):
            self.refuse("ann", f"update quor.channel set {change} where name = 'prod'", "would go back|needs a release")
        self.server.sql("update quor.channel set release = 3, next_release = null, next_below = 0", user="ann")

    def test_ShareOfARollOutIsTakenByPlace(self):
        for number in (1, 2):
            self.publish(number)
        self.promote(1)
        hosts = [f"share{number}" for number in range(16)]
        self.server.sql("".join(f"select quor.add_host('{host}', 'prod', '{host}');" for host in hosts), user="ann")
        self.server.sql("update quor.channel set next_release = 2, next_below = 5000 where name = 'prod'", user="ann")
        below = int(self.server.sql("select count(*) from quor.host where channel = 'prod' "
                                    "and quor.place(name, 2) < 5000")[0][0])
        heads = [self.server.sql("select release from quor.head()", user=host)[0][0] for host in hosts]
        heads += self.server.sql("select release from quor.head()", user="h1")[0]
        self.assertEqual(heads.count("2"), below)
        self.assertEqual(heads.count("1"), 17 - below)
        self.assertTrue(2 < below < 15, below)

    def test_RetentionKeepsWhatSomebodyHas(self):
        for number in range(1, 8):
            self.publish(number)
        self.promote(2)
        self.server.sql("select quor.report(4, 'aa', 'p', 'd', 'applied', '', '1.0')", user="h1")
        self.assertEqual(self.server.sql("select quor.retain(2)", user="ann"), [["3"]])
        self.assertEqual(self.server.sql("select id from quor.release order by 1"), [["2"], ["4"], ["6"], ["7"]])
        self.refuse("ann", "select quor.retain(0)", "at least the newest")
        self.refuse(SUPERUSER, "delete from quor.release", "never changed")

    def test_EverythingIsInTheLog(self):
        self.publish(1)
        self.promote(1)
        self.server.sql("update quor.channel set paused = true where name = 'prod'", user="ann")
        self.server.sql("select quor.move_host('h1', 'canary')", user="ann")
        self.server.sql("select quor.remove_host('h2')", user="ann")
        self.assertEqual(self.server.sql("select author, action from quor.event order by id")[-7:],
                         [["ann", "host add"], ["ann", "host add"], ["ann", "publish"], ["ann", "promote"],
                          ["ann", "pause"], ["ann", "host move"], ["ann", "host remove"]])
        self.assertEqual(self.server.sql("select rolname from pg_roles where rolname = 'h2'"), [])

    def test_RoleOfSomebodyElseBecomesNoHost(self):
        for role in (SUPERUSER, "ann"):
            self.refuse("ann", f"select quor.add_host('x', 'prod', '{role}')", "is not a member of quor_host")
        self.refuse("ann", "select quor.add_host('x', 'nowhere', 'x')", "foreign key")
        self.assertEqual(self.server.sql("select 1 from pg_roles where rolname = 'x'"), [])
        self.refuse("ann", "select quor.add_host('a b', 'prod', 'x')", "check constraint")


if __name__ == "__main__":
    unittest.main()
