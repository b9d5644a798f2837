# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The servers that the other tests of the fleet stand on do what these ask of them."""
import unittest

from postgres import Cluster, SqlError


class Postgres(unittest.TestCase):
    def test_SynchronousStandbyHasWhatThePrimaryAcknowledged(self):
        with Cluster() as cluster:
            primary = cluster.start_primary()
            standby = cluster.start_standby(primary, synchronous=True)
            primary.sql("set synchronous_commit = remote_apply; create table t (n int); insert into t values (7)")
            self.assertEqual(standby.sql("select n from t"), [["7"]])
            with self.assertRaisesRegex(SqlError, "read-only"):
                standby.sql("insert into t values (8)")
            primary.kill()
            self.assertFalse(primary.is_up())
            standby.promote()
            standby.sql("insert into t values (8)")
            self.assertEqual(standby.sql("select n from t order by n"), [["7"], ["8"]])


if __name__ == "__main__":
    unittest.main()
