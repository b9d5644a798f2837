// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "sqlite_statement.h"

#include <stdexcept>

namespace Bench {
namespace {

void Check(int result, sqlite3* database) {
  if (result != SQLITE_OK) {
    throw std::runtime_error(std::string("SQLite: ") + sqlite3_errmsg(database));
  }
}

}  // namespace

SqliteConnection OpenSqlite(const std::string& path) {
  sqlite3* database = nullptr;
  const int result =
      sqlite3_open_v2(path.c_str(), &database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
  SqliteConnection connection(database);  // also a failed one is to be closed
  Check(result, database);
  sqlite3_busy_timeout(database, 30000);               // writers take turns, as the library's do
  Execute(database, "PRAGMA mmap_size = 1073741824");  // pages are read without a system call
  return connection;
}

void Execute(sqlite3* database, const char* sql) {
  Check(sqlite3_exec(database, sql, nullptr, nullptr, nullptr), database);
}

sqlite3_stmt* SqliteStatement::Prepared() {
  if (!statement_) {
    sqlite3_stmt* statement = nullptr;
    Check(sqlite3_prepare_v3(database_, sql_, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr),
          database_);
    statement_.reset(statement);
  }
  return statement_.get();
}

SqliteStatement& SqliteStatement::Bind(int parameter, const std::string& bytes) {
  Check(sqlite3_bind_blob64(Prepared(), parameter, bytes.data(), bytes.size(), SQLITE_STATIC),
        database_);
  return *this;
}

SqliteStatement& SqliteStatement::Bind(int parameter, sqlite3_int64 integer) {
  Check(sqlite3_bind_int64(Prepared(), parameter, integer), database_);
  return *this;
}

bool SqliteStatement::Step() {
  const int result = sqlite3_step(Prepared());
  if (result == SQLITE_ROW) return true;
  if (result != SQLITE_DONE) Check(result, database_);
  return false;
}

void SqliteStatement::Run() {
  Step();
  Reset();
}

void SqliteStatement::Reset() {
  sqlite3_reset(statement_.get());
}

std::string_view SqliteStatement::Bytes(int column) const {
  const void* const bytes = sqlite3_column_blob(statement_.get(), column);
  const int size = sqlite3_column_bytes(statement_.get(), column);
  return {static_cast<const char*>(bytes), static_cast<std::size_t>(size)};
}

sqlite3_int64 SqliteStatement::Integer(int column) const {
  return sqlite3_column_int64(statement_.get(), column);
}

}  // namespace Bench
