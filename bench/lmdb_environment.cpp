// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "lmdb_environment.h"

#include <filesystem>
#include <stdexcept>

namespace Bench {
namespace {

// Of addresses only: the file grows with what is written.
constexpr std::size_t kMapSize = std::size_t{4} << 30;
constexpr unsigned kDatabases = 6;

}  // namespace

void CheckLmdb(int result) {
  if (result != MDB_SUCCESS) throw std::runtime_error(std::string("LMDB: ") + mdb_strerror(result));
}

LmdbEnvironment::LmdbEnvironment(const std::string& directory) {
  std::filesystem::create_directories(directory);
  MDB_env* environment = nullptr;
  CheckLmdb(mdb_env_create(&environment));
  environment_.reset(environment);
  CheckLmdb(mdb_env_set_maxdbs(environment, kDatabases));
  CheckLmdb(mdb_env_set_mapsize(environment, kMapSize));
  // Without thread-local slots: kept transactions belong to objects, not to threads.
  CheckLmdb(mdb_env_open(environment, directory.c_str(), MDB_NOTLS, 0600));

  LmdbTransaction transaction(environment, 0);
  const auto open = [&](const char* name, unsigned flags, MDB_dbi* database) {
    CheckLmdb(mdb_dbi_open(transaction.get(), name, flags | MDB_CREATE, database));
  };
  open("policies", 0, &policies);
  open("policy_order", MDB_INTEGERKEY, &policyOrder);
  open("policy_ids", 0, &policyIds);
  open("blobs", 0, &blobs);
  open("datastores", 0, &datastores);
  open("datastore_order", MDB_INTEGERKEY, &datastoreOrder);
  transaction.Commit();
}

LmdbTransaction::LmdbTransaction(MDB_env* environment, unsigned flags) {
  CheckLmdb(mdb_txn_begin(environment, nullptr, flags, &transaction_));
}

void LmdbTransaction::Commit() {
  MDB_txn* const transaction = transaction_;
  transaction_ = nullptr;  // gone, whatever the result
  CheckLmdb(mdb_txn_commit(transaction));
}

std::string_view LmdbTransaction::Get(MDB_dbi database, std::string_view key) const {
  MDB_val sought = LmdbValue(key);
  MDB_val found;
  const int result = mdb_get(transaction_, database, &sought, &found);
  if (result == MDB_NOTFOUND) return {};
  CheckLmdb(result);
  return LmdbBytes(found);
}

void LmdbTransaction::Put(MDB_dbi database, std::string_view key, std::string_view value,
                          unsigned flags) {
  MDB_val where = LmdbValue(key);
  MDB_val what = LmdbValue(value);
  CheckLmdb(mdb_put(transaction_, database, &where, &what, flags));
}

void LmdbTransaction::Clear(MDB_dbi database) {
  CheckLmdb(mdb_drop(transaction_, database, 0));
}

LmdbCursor::LmdbCursor(const LmdbTransaction& transaction, MDB_dbi database) {
  CheckLmdb(mdb_cursor_open(transaction.get(), database, &cursor_));
}

bool LmdbCursor::Next(std::string_view* value) {
  MDB_val key;
  MDB_val found;
  const int result = mdb_cursor_get(cursor_, &key, &found, MDB_NEXT);
  if (result == MDB_NOTFOUND) return false;
  CheckLmdb(result);
  *value = LmdbBytes(found);
  return true;
}

}  // namespace Bench
