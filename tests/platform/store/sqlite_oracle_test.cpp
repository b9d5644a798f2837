// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Random transactions on the store and on an SQLite table, which must hold the same afterwards.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/host_test.h"
#include "support/model.h"

namespace PlatformTest {
namespace {

// A table that behaves as the store should: replacing a row keeps its sequence number.
class Oracle {
 public:
  Oracle() {
    sqlite3* database = nullptr;
    const int result = sqlite3_open(":memory:", &database);
    database_.reset(database);
    Check(result == SQLITE_OK);
    Run("CREATE TABLE objects (sequence INTEGER PRIMARY KEY AUTOINCREMENT, kind BLOB,"
        " instance BLOB, contents BLOB, UNIQUE (kind, instance))");
  }

  // One statement with blobs for its parameters; the blobs in the rows of its answer.
  Texts Run(const std::string& sql, const Texts& parameters = {}) {
    sqlite3_stmt* statement = nullptr;
    Check(sqlite3_prepare_v2(database_.get(), sql.c_str(), -1, &statement, nullptr) == SQLITE_OK);
    const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> finalizer(statement,
                                                                          &sqlite3_finalize);
    for (int i = 0; i < static_cast<int>(parameters.size()); ++i) {
      const std::string& bytes = parameters[static_cast<std::size_t>(i)];
      Check(sqlite3_bind_blob(statement, i + 1, bytes.data(), static_cast<int>(bytes.size()),
                              SQLITE_TRANSIENT) == SQLITE_OK);
    }
    Texts rows;
    int result;
    while ((result = sqlite3_step(statement)) == SQLITE_ROW) {
      const auto* const bytes = static_cast<const char*>(sqlite3_column_blob(statement, 0));
      rows.emplace_back(bytes == nullptr ? "" : bytes,
                        static_cast<std::size_t>(sqlite3_column_bytes(statement, 0)));
    }
    Check(result == SQLITE_DONE);
    return rows;
  }

 private:
  void Check(bool succeeded) const {
    if (!succeeded) throw std::runtime_error(sqlite3_errmsg(database_.get()));
  }

  std::unique_ptr<sqlite3, int (*)(sqlite3*)> database_{nullptr, &sqlite3_close};
};

class SqliteOracle : public HostTest {
 protected:
  void Run(std::uint64_t seed, int transactions) {
    Random random(seed);
    for (int i = 0; i < transactions && !HasFailure(); ++i) {
      SCOPED_TRACE("transaction " + std::to_string(i));
      RunTransaction(&random);
      if (random.OneIn(4)) StartAfresh();
      for (const std::string& kind : Kinds()) {
        EXPECT_EQ(
            DescribeAll(OpenStore()->GetObjects(All(kind))),
            oracle_.Run("SELECT contents FROM objects WHERE kind = ? ORDER BY sequence", {kind}));
      }
    }
  }

 private:
  void RunTransaction(Random* random) {
    const Store store = OpenStore();
    store->BeginTransaction();
    oracle_.Run("BEGIN");
    for (std::size_t changes = random->Below(20); changes != 0; --changes) {
      Change(random, store, random->Of(Kinds()), random->Of(Instances()));
    }
    if (random->OneIn(3)) {
      store->RollbackTransaction();
      oracle_.Run("ROLLBACK");
    } else {
      store->CommitTransaction();
      oracle_.Run("COMMIT");
    }
  }

  void Change(Random* random, const Store& store, const std::string& kind,
              const std::string& instance) {
    if (random->OneIn(30)) {
      store->DeleteObjects(All(kind));
      oracle_.Run("DELETE FROM objects WHERE kind = ?", {kind});
    } else if (random->OneIn(3) && !instance.empty()) {
      store->DeleteObjects(One(instance, kind));
      oracle_.Run("DELETE FROM objects WHERE kind = ? AND instance = ?", {kind, instance});
    } else {
      const Contents contents = RandomContents(random);
      store->SetObject(ToObject(kind, instance, contents), 0);
      oracle_.Run(
          "INSERT INTO objects (kind, instance, contents) VALUES (?, ?, ?)"
          " ON CONFLICT (kind, instance) DO UPDATE SET contents = excluded.contents",
          {kind, instance, Describe(contents)});
    }
    const Texts stored = oracle_.Run("SELECT contents FROM objects WHERE kind = ? AND instance = ?",
                                     {kind, instance});
    EXPECT_EQ(Describe(store->GetObject(IdOf(instance, kind))),
              stored.empty() ? kAbsent : stored.front());
  }

  Oracle oracle_;
};

using LongSqliteOracle = SqliteOracle;

TEST_F(SqliteOracle, HoldsTheSameAfterRandomTransactions) {
  Run(SeedOfThisRun(), 300);
}

TEST_F(LongSqliteOracle, HoldsTheSameAfterRandomTransactions) {
  Run(SeedOfThisRun(), 5000);
}

}  // namespace
}  // namespace PlatformTest
