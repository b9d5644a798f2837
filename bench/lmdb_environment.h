// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// An LMDB environment, and one transaction in it. Failures are std::runtime_error.
#ifndef BENCH_LMDB_ENVIRONMENT_H_
#define BENCH_LMDB_ENVIRONMENT_H_

#include <lmdb.h>

#include <memory>
#include <string>
#include <string_view>

namespace Bench {

void CheckLmdb(int result);

inline MDB_val LmdbValue(std::string_view bytes) {
  return {bytes.size(), const_cast<char*>(bytes.data())};
}
inline std::string_view LmdbBytes(const MDB_val& value) {
  return {static_cast<const char*>(value.mv_data), value.mv_size};
}

// The databases of a catalogue. Once per file and process, as LMDB wants it.
class LmdbEnvironment {
 public:
  // Made in `directory` when it is not there.
  explicit LmdbEnvironment(const std::string& directory);

  MDB_env* get() const { return environment_.get(); }

  MDB_dbi policies = 0;        // name: identifier, description, generation, namespaces
  MDB_dbi policyOrder = 0;     // number: name
  MDB_dbi policyIds = 0;       // identifier: name
  MDB_dbi blobs = 0;           // name and namespace: blob
  MDB_dbi datastores = 0;      // URL: namespace, default policy
  MDB_dbi datastoreOrder = 0;  // number: URL

 private:
  struct Closer {
    void operator()(MDB_env* environment) const { mdb_env_close(environment); }
  };
  std::unique_ptr<MDB_env, Closer> environment_;
};

// Aborted at its end unless it was committed.
class LmdbTransaction {
 public:
  LmdbTransaction(MDB_env* environment, unsigned flags);
  LmdbTransaction(const LmdbTransaction&) = delete;
  LmdbTransaction& operator=(const LmdbTransaction&) = delete;
  ~LmdbTransaction() { mdb_txn_abort(transaction_); }

  MDB_txn* get() const { return transaction_; }
  void Commit();

  // Null data when there is no such key; valid until the transaction ends.
  std::string_view Get(MDB_dbi database, std::string_view key) const;
  void Put(MDB_dbi database, std::string_view key, std::string_view value, unsigned flags = 0);
  void Clear(MDB_dbi database);

 private:
  MDB_txn* transaction_ = nullptr;
};

// A reader's transaction that is kept, and put aside between two questions: no slot of the lock
// file has to be looked for each time.
class LmdbReading {
 public:
  explicit LmdbReading(const LmdbTransaction& kept) : kept_(kept) {
    CheckLmdb(mdb_txn_renew(kept.get()));
  }
  LmdbReading(const LmdbReading&) = delete;
  LmdbReading& operator=(const LmdbReading&) = delete;
  ~LmdbReading() { mdb_txn_reset(kept_.get()); }

  const LmdbTransaction* operator->() const { return &kept_; }

 private:
  const LmdbTransaction& kept_;
};

// All entries of a database, in the order of its keys.
class LmdbCursor {
 public:
  LmdbCursor(const LmdbTransaction& transaction, MDB_dbi database);
  LmdbCursor(const LmdbCursor&) = delete;
  LmdbCursor& operator=(const LmdbCursor&) = delete;
  ~LmdbCursor() { mdb_cursor_close(cursor_); }

  // False at the end.
  bool Next(std::string_view* value);

 private:
  MDB_cursor* cursor_ = nullptr;
};

}  // namespace Bench

#endif  // BENCH_LMDB_ENVIRONMENT_H_
