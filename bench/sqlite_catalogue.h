// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The peer: the same catalogue in an SQLite database, asked the same questions.
//
// Set up as a careful author would: write-ahead log, every commit flushed, normalised tables with
// an index for each question, statements prepared once and kept. Everything else is as Debian's
// SQLite comes.
#ifndef BENCH_SQLITE_CATALOGUE_H_
#define BENCH_SQLITE_CATALOGUE_H_

#include <memory>
#include <string>

#include "catalogue.h"
#include "sqlite_statement.h"

namespace Bench {

class SqliteCatalogue : public Catalogue {
 public:
  // Makes an empty database.
  static void Create(const std::string& path);

  explicit SqliteCatalogue(const std::string& path);

  // A connection of its own.
  std::unique_ptr<Catalogue> ForThread() override;
  // In one transaction each, like the library's replacements.
  void ReplacePolicies(const Policies& policies) override;
  void ReplaceDatastores(const Datastores& datastores) override;
  void Reset() override;

  Policies ListPolicies() override;
  Datastores ListDatastores() override;
  // As it is written first, with a question for the blobs of each policy; ListPolicies() goes
  // through both tables side by side.
  Policies ListPoliciesOneByOne();

  std::string BlobByName(const std::string& name) override;
  std::string BlobById(const std::string& id) override;
  // Without the index, as where identifiers are found by a scan only: with the plan that SQLite
  // chooses then, which goes through the blobs, and with the one that goes through the policies.
  std::string BlobByIdUnindexed(const std::string& id);
  std::string BlobByIdScanning(const std::string& id);
  std::string BlobOnDatastore(const std::string& id, const std::string& url) override;
  std::string DefaultBlob(const std::string& url) override;

  // Moves all that is in the log to the database.
  void Checkpoint();

 private:
  TavQuor::QuorPolicyInfo ListedPolicy() const;
  std::string FirstBlob(SqliteStatement& question);
  template <typename Change>
  void InTransaction(Change change);

  std::string path_;
  SqliteConnection database_;
  SqliteStatement begin_, commit_, rollback_;
  SqliteStatement deletePolicies_, deleteBlobs_, deleteDatastores_;
  SqliteStatement insertPolicy_, insertBlob_, insertDatastore_;
  SqliteStatement listPolicies_, listBlobs_, listBlobsOfPolicy_, listDatastores_;
  SqliteStatement blobByName_, blobById_, blobByIdUnindexed_, blobByIdScanning_;
  SqliteStatement blobOnDatastore_, defaultBlob_;
};

}  // namespace Bench

#endif  // BENCH_SQLITE_CATALOGUE_H_
