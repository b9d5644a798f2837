// The peer: the same catalogue in an SQLite database, asked the same questions.
//
// Set up as a careful author would: write-ahead log, every commit flushed, normalised tables with
// an index for each question, statements prepared once and kept. Everything else is as Debian's
// SQLite comes.
#ifndef BENCH_SQLITE_CATALOGUE_H_
#define BENCH_SQLITE_CATALOGUE_H_

#include <string>

#include "sqlite_statement.h"
#include "workload.h"

namespace Bench {

class SqliteCatalogue {
 public:
  // Makes an empty database.
  static void Create(const std::string& path);

  explicit SqliteCatalogue(const std::string& path);

  // In one transaction each, like the library's replacements.
  void ReplacePolicies(const Policies& policies);
  void ReplaceDatastores(const Datastores& datastores);

  // Records come in the order in which they were written.
  Policies ListPolicies();
  Datastores ListDatastores();
  // As it is written first, with a question for the blobs of each policy; ListPolicies() goes
  // through both tables side by side.
  Policies ListPoliciesOneByOne();

  // An empty string when there is no such blob.
  std::string BlobByName(const std::string& name, const std::string& blobNamespace);
  std::string BlobById(const std::string& id, const std::string& blobNamespace);
  // Without the index, as where identifiers are found by a scan only: with the plan that SQLite
  // chooses then, which goes through the blobs, and with the one that goes through the policies.
  std::string BlobByIdUnindexed(const std::string& id, const std::string& blobNamespace);
  std::string BlobByIdScanning(const std::string& id, const std::string& blobNamespace);
  std::string BlobOnDatastore(const std::string& id, const std::string& url);
  std::string DefaultBlob(const std::string& url);

  // Moves all that is in the log to the database.
  void Checkpoint();

 private:
  TavQuor::QuorPolicyInfo ListedPolicy() const;
  std::string FirstBlob(SqliteStatement& question);
  template <typename Change>
  void InTransaction(Change change);

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
