// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "sqlite_catalogue.h"

#include <stdexcept>
#include <utility>

namespace Bench {
namespace {

// What is bound is not copied, so it must not end with the call.
const std::string kNamespace = kLookupNamespace;

constexpr char kSchema[] = R"(
CREATE TABLE policies(
  name        BLOB PRIMARY KEY NOT NULL,
  id          BLOB NOT NULL,
  description BLOB NOT NULL,
  generation  INTEGER NOT NULL);
CREATE INDEX policies_by_id ON policies(id, name);
CREATE TABLE blobs(
  policy    BLOB NOT NULL,
  namespace BLOB NOT NULL,
  blob      BLOB NOT NULL,
  PRIMARY KEY(policy, namespace));
CREATE TABLE datastores(
  url            BLOB PRIMARY KEY NOT NULL,
  namespace      BLOB NOT NULL,
  default_policy BLOB NOT NULL);
)";

constexpr char kBlobById[] = R"(
SELECT b.blob FROM policies p JOIN blobs b ON b.policy = p.name
WHERE p.id = ?1 AND b.namespace = ?2 ORDER BY p.rowid LIMIT 1)";

// The plus sign keeps the index out.
constexpr char kBlobByIdUnindexed[] = R"(
SELECT b.blob FROM policies p JOIN blobs b ON b.policy = p.name
WHERE +p.id = ?1 AND b.namespace = ?2 ORDER BY p.rowid LIMIT 1)";

constexpr char kBlobByIdScanning[] = R"(
SELECT b.blob FROM policies p NOT INDEXED CROSS JOIN blobs b ON b.policy = p.name
WHERE p.id = ?1 AND b.namespace = ?2 ORDER BY p.rowid LIMIT 1)";

constexpr char kBlobOnDatastore[] = R"(
SELECT b.blob FROM datastores d JOIN policies p
JOIN blobs b ON b.policy = p.name AND b.namespace = d.namespace
WHERE p.id = ?1 AND d.url = ?2 ORDER BY p.rowid LIMIT 1)";

constexpr char kDefaultBlob[] = R"(
SELECT b.blob FROM datastores d JOIN policies p ON p.id = d.default_policy
JOIN blobs b ON b.policy = p.name AND b.namespace = d.namespace
WHERE d.url = ?1 ORDER BY p.rowid LIMIT 1)";

}  // namespace

void SqliteCatalogue::Create(const std::string& path) {
  const SqliteConnection database = OpenSqlite(path);
  SqliteStatement mode(database.get(), "PRAGMA journal_mode = WAL");
  if (!mode.Step() || mode.Bytes(0) != "wal") {
    throw std::runtime_error("SQLite: no write-ahead log for " + path);
  }
  mode.Reset();
  Execute(database.get(), kSchema);
}

SqliteCatalogue::SqliteCatalogue(const std::string& path)
    : path_(path),
      database_(OpenSqlite(path)),
      begin_(database_.get(), "BEGIN IMMEDIATE"),
      commit_(database_.get(), "COMMIT"),
      rollback_(database_.get(), "ROLLBACK"),
      deletePolicies_(database_.get(), "DELETE FROM policies"),
      deleteBlobs_(database_.get(), "DELETE FROM blobs"),
      deleteDatastores_(database_.get(), "DELETE FROM datastores"),
      insertPolicy_(database_.get(), "INSERT INTO policies VALUES(?1, ?2, ?3, ?4)"),
      insertBlob_(database_.get(), "INSERT INTO blobs VALUES(?1, ?2, ?3)"),
      insertDatastore_(database_.get(), "INSERT INTO datastores VALUES(?1, ?2, ?3)"),
      listPolicies_(database_.get(),
                    "SELECT name, id, description, generation FROM policies ORDER BY rowid"),
      listBlobs_(database_.get(), "SELECT policy, namespace, blob FROM blobs ORDER BY rowid"),
      listBlobsOfPolicy_(database_.get(),
                         "SELECT namespace, blob FROM blobs WHERE policy = ?1 ORDER BY rowid"),
      listDatastores_(database_.get(),
                      "SELECT url, namespace, default_policy FROM datastores ORDER BY rowid"),
      blobByName_(database_.get(), "SELECT blob FROM blobs WHERE policy = ?1 AND namespace = ?2"),
      blobById_(database_.get(), kBlobById),
      blobByIdUnindexed_(database_.get(), kBlobByIdUnindexed),
      blobByIdScanning_(database_.get(), kBlobByIdScanning),
      blobOnDatastore_(database_.get(), kBlobOnDatastore),
      defaultBlob_(database_.get(), kDefaultBlob) {}

std::unique_ptr<Catalogue> SqliteCatalogue::ForThread() {
  return std::make_unique<SqliteCatalogue>(path_);
}

template <typename Change>
void SqliteCatalogue::InTransaction(Change change) {
  // Said each time: it belongs to the connection, and a commit that is not flushed is no peer.
  Execute(database_.get(), "PRAGMA synchronous = FULL");
  begin_.Run();
  try {
    change();
    commit_.Run();
  } catch (...) {
    rollback_.Run();
    throw;
  }
}

void SqliteCatalogue::ReplacePolicies(const Policies& policies) {
  InTransaction([&] {
    deleteBlobs_.Run();
    deletePolicies_.Run();
    for (const auto& policy : policies) {
      insertPolicy_.Bind(1, policy.name)
          .Bind(2, policy.policyId)
          .Bind(3, policy.description)
          .Bind(4, sqlite3_int64{policy.generationNumber})
          .Run();
      for (const auto& [blob, blobNamespace] : policy.blobs) {
        insertBlob_.Bind(1, policy.name).Bind(2, blobNamespace).Bind(3, blob).Run();
      }
    }
  });
}

void SqliteCatalogue::ReplaceDatastores(const Datastores& datastores) {
  InTransaction([&] {
    deleteDatastores_.Run();
    for (const auto& datastore : datastores) {
      insertDatastore_.Bind(1, datastore.url)
          .Bind(2, datastore.datastoreNamespace)
          .Bind(3, datastore.defaultPolicyId)
          .Run();
    }
  });
}

void SqliteCatalogue::Reset() {
  InTransaction([&] {
    deleteBlobs_.Run();
    deletePolicies_.Run();
    deleteDatastores_.Run();
  });
}

TavQuor::QuorPolicyInfo SqliteCatalogue::ListedPolicy() const {
  TavQuor::QuorPolicyInfo policy;
  policy.name = listPolicies_.String(0);
  policy.policyId = listPolicies_.String(1);
  policy.description = listPolicies_.String(2);
  policy.generationNumber = listPolicies_.Integer(3);
  return policy;
}

// Policies and blobs were written in the same order, so one pass over each puts them together.
Policies SqliteCatalogue::ListPolicies() {
  Policies policies;
  bool blobLeft = listBlobs_.Step();
  while (listPolicies_.Step()) {
    auto& policy = policies.emplace_back(ListedPolicy());
    for (; blobLeft && listBlobs_.Bytes(0) == policy.name; blobLeft = listBlobs_.Step()) {
      policy.blobs.emplace_back(listBlobs_.String(2), listBlobs_.String(1));
    }
  }
  listPolicies_.Reset();
  listBlobs_.Reset();
  return policies;
}

Policies SqliteCatalogue::ListPoliciesOneByOne() {
  Policies policies;
  while (listPolicies_.Step()) {
    auto& policy = policies.emplace_back(ListedPolicy());
    listBlobsOfPolicy_.Bind(1, policy.name);
    while (listBlobsOfPolicy_.Step()) {
      policy.blobs.emplace_back(listBlobsOfPolicy_.String(1), listBlobsOfPolicy_.String(0));
    }
    listBlobsOfPolicy_.Reset();
  }
  listPolicies_.Reset();
  return policies;
}

Datastores SqliteCatalogue::ListDatastores() {
  Datastores datastores;
  while (listDatastores_.Step()) {
    datastores.push_back(
        {listDatastores_.String(0), listDatastores_.String(1), listDatastores_.String(2)});
  }
  listDatastores_.Reset();
  return datastores;
}

std::string SqliteCatalogue::FirstBlob(SqliteStatement& question) {
  std::string blob;
  if (question.Step()) blob = question.Bytes(0);
  question.Reset();
  return blob;
}

std::string SqliteCatalogue::BlobByName(const std::string& name) {
  return FirstBlob(blobByName_.Bind(1, name).Bind(2, kNamespace));
}

std::string SqliteCatalogue::BlobById(const std::string& id) {
  return FirstBlob(blobById_.Bind(1, id).Bind(2, kNamespace));
}

std::string SqliteCatalogue::BlobByIdUnindexed(const std::string& id) {
  return FirstBlob(blobByIdUnindexed_.Bind(1, id).Bind(2, kNamespace));
}

std::string SqliteCatalogue::BlobByIdScanning(const std::string& id) {
  return FirstBlob(blobByIdScanning_.Bind(1, id).Bind(2, kNamespace));
}

std::string SqliteCatalogue::BlobOnDatastore(const std::string& id, const std::string& url) {
  return FirstBlob(blobOnDatastore_.Bind(1, id).Bind(2, url));
}

std::string SqliteCatalogue::DefaultBlob(const std::string& url) {
  return FirstBlob(defaultBlob_.Bind(1, url));
}

void SqliteCatalogue::Checkpoint() {
  Execute(database_.get(), "PRAGMA wal_checkpoint(TRUNCATE)");
}

}  // namespace Bench
