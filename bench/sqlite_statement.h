// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Owners of an SQLite connection and of its prepared statements. Failures are std::runtime_error.
#ifndef BENCH_SQLITE_STATEMENT_H_
#define BENCH_SQLITE_STATEMENT_H_

#include <sqlite3.h>

#include <memory>
#include <string>
#include <string_view>

namespace Bench {

struct SqliteCloser {
  void operator()(sqlite3* database) const { sqlite3_close(database); }
};
using SqliteConnection = std::unique_ptr<sqlite3, SqliteCloser>;

SqliteConnection OpenSqlite(const std::string& path);

void Execute(sqlite3* database, const char* sql);

// Prepared at its first use and kept, so that a short-lived connection pays for what it asks only.
class SqliteStatement {
 public:
  // `sql` outlives the statement, the connection too.
  SqliteStatement(sqlite3* database, const char* sql) : database_(database), sql_(sql) {}

  // Parameters count from 1. The bytes are not copied: they outlive the next Reset().
  SqliteStatement& Bind(int parameter, const std::string& bytes);
  SqliteStatement& Bind(int parameter, sqlite3_int64 integer);

  // True on a row, false at the end.
  bool Step();
  // For a statement that yields no rows.
  void Run();
  // To be called after use: a statement in the middle of its rows keeps a read transaction open.
  void Reset();

  // Columns count from 0; valid until the next Step() or Reset().
  std::string_view Bytes(int column) const;
  std::string String(int column) const { return std::string(Bytes(column)); }
  sqlite3_int64 Integer(int column) const;

 private:
  struct Finalizer {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };
  sqlite3_stmt* Prepared();

  sqlite3* database_;
  const char* sql_;
  std::unique_ptr<sqlite3_stmt, Finalizer> statement_;
};

}  // namespace Bench

#endif  // BENCH_SQLITE_STATEMENT_H_
