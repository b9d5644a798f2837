// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "lmdb_catalogue.h"

#include <cstdint>
#include <cstring>
#include <utility>

namespace Bench {
namespace {

using Number = std::uint32_t;

void Append(std::string_view bytes, std::string* record) {
  const Number size = static_cast<Number>(bytes.size());
  record->append(reinterpret_cast<const char*>(&size), sizeof size);
  record->append(bytes);
}

template <typename Integer>
std::string_view BytesOf(const Integer& integer) {
  return {reinterpret_cast<const char*>(&integer), sizeof integer};
}

// Takes the fields of a record one after the other.
class Fields {
 public:
  explicit Fields(std::string_view record) : left_(record) {}

  bool AtEnd() const { return left_.empty(); }
  std::string_view Take() {
    Number size = 0;
    std::memcpy(&size, left_.data(), sizeof size);
    const std::string_view field = left_.substr(sizeof size, size);
    left_.remove_prefix(sizeof size + size);
    return field;
  }
  template <typename Integer>
  Integer TakeInteger() {
    Integer integer = 0;
    std::memcpy(&integer, Take().data(), sizeof integer);
    return integer;
  }

 private:
  std::string_view left_;
};

std::string BlobKey(std::string_view name, std::string_view blobNamespace) {
  std::string key;
  key.reserve(sizeof(Number) + name.size() + blobNamespace.size());
  Append(name, &key);
  key.append(blobNamespace);
  return key;
}

std::string PolicyRecord(const TavQuor::QuorPolicyInfo& policy) {
  std::string record;
  Append(policy.policyId, &record);
  Append(policy.description, &record);
  Append(BytesOf(policy.generationNumber), &record);
  for (const auto& [blob, blobNamespace] : policy.blobs)
    Append(blobNamespace, &record);
  return record;
}

std::string DatastoreRecord(const TavQuor::QuorDatastoreInfo& datastore) {
  std::string record;
  Append(datastore.datastoreNamespace, &record);
  Append(datastore.defaultPolicyId, &record);
  return record;
}

}  // namespace

LmdbCatalogue::LmdbCatalogue(const std::string& directory)
    : LmdbCatalogue(std::make_shared<LmdbEnvironment>(directory)) {}

LmdbCatalogue::LmdbCatalogue(std::shared_ptr<LmdbEnvironment> environment)
    : environment_(std::move(environment)), reader_(environment_->get(), MDB_RDONLY) {
  mdb_txn_reset(reader_.get());
}

std::unique_ptr<Catalogue> LmdbCatalogue::ForThread() {
  return std::make_unique<LmdbCatalogue>(environment_);
}

void LmdbCatalogue::ClearPolicies(LmdbTransaction* transaction) {
  transaction->Clear(environment_->policies);
  transaction->Clear(environment_->policyOrder);
  transaction->Clear(environment_->policyIds);
  transaction->Clear(environment_->blobs);
}

void LmdbCatalogue::ClearDatastores(LmdbTransaction* transaction) {
  transaction->Clear(environment_->datastores);
  transaction->Clear(environment_->datastoreOrder);
}

void LmdbCatalogue::ReplacePolicies(const Policies& policies) {
  LmdbTransaction transaction(environment_->get(), 0);
  ClearPolicies(&transaction);
  Number number = 0;
  for (const auto& policy : policies) {
    transaction.Put(environment_->policies, policy.name, PolicyRecord(policy));
    transaction.Put(environment_->policyOrder, BytesOf(number), policy.name, MDB_APPEND);
    transaction.Put(environment_->policyIds, policy.policyId, policy.name);
    for (const auto& [blob, blobNamespace] : policy.blobs)
      transaction.Put(environment_->blobs, BlobKey(policy.name, blobNamespace), blob);
    ++number;
  }
  transaction.Commit();
}

void LmdbCatalogue::ReplaceDatastores(const Datastores& datastores) {
  LmdbTransaction transaction(environment_->get(), 0);
  ClearDatastores(&transaction);
  Number number = 0;
  for (const auto& datastore : datastores) {
    transaction.Put(environment_->datastores, datastore.url, DatastoreRecord(datastore));
    transaction.Put(environment_->datastoreOrder, BytesOf(number), datastore.url, MDB_APPEND);
    ++number;
  }
  transaction.Commit();
}

void LmdbCatalogue::Reset() {
  LmdbTransaction transaction(environment_->get(), 0);
  ClearPolicies(&transaction);
  ClearDatastores(&transaction);
  transaction.Commit();
}

Policies LmdbCatalogue::ListPolicies() {
  const LmdbReading reading(reader_);
  LmdbCursor order(reader_, environment_->policyOrder);
  Policies policies;
  for (std::string_view name; order.Next(&name);) {
    Fields fields(reading->Get(environment_->policies, name));
    auto& policy = policies.emplace_back();
    policy.name = name;
    policy.policyId = fields.Take();
    policy.description = fields.Take();
    policy.generationNumber = fields.TakeInteger<std::int64_t>();
    while (!fields.AtEnd()) {
      const std::string_view blobNamespace = fields.Take();
      policy.blobs.emplace_back(reading->Get(environment_->blobs, BlobKey(name, blobNamespace)),
                                blobNamespace);
    }
  }
  return policies;
}

Datastores LmdbCatalogue::ListDatastores() {
  const LmdbReading reading(reader_);
  LmdbCursor order(reader_, environment_->datastoreOrder);
  Datastores datastores;
  for (std::string_view url; order.Next(&url);) {
    Fields fields(reading->Get(environment_->datastores, url));
    auto& datastore = datastores.emplace_back();
    datastore.url = url;
    datastore.datastoreNamespace = fields.Take();
    datastore.defaultPolicyId = fields.Take();
  }
  return datastores;
}

// Within a reading.
std::string LmdbCatalogue::BlobOf(std::string_view name, std::string_view blobNamespace) const {
  return std::string(reader_.Get(environment_->blobs, BlobKey(name, blobNamespace)));
}

std::string LmdbCatalogue::BlobByName(const std::string& name) {
  const LmdbReading reading(reader_);
  return BlobOf(name, kLookupNamespace);
}

std::string LmdbCatalogue::BlobById(const std::string& id) {
  const LmdbReading reading(reader_);
  const std::string_view name = reading->Get(environment_->policyIds, id);
  return name.data() ? BlobOf(name, kLookupNamespace) : std::string();
}

std::string LmdbCatalogue::BlobByIdScanning(const std::string& id) {
  const LmdbReading reading(reader_);
  LmdbCursor order(reader_, environment_->policyOrder);
  for (std::string_view name; order.Next(&name);) {
    if (Fields(reading->Get(environment_->policies, name)).Take() == id) {
      return BlobOf(name, kLookupNamespace);
    }
  }
  return std::string();
}

std::string LmdbCatalogue::DefaultBlob(const std::string& url) {
  const LmdbReading reading(reader_);
  const std::string_view record = reading->Get(environment_->datastores, url);
  if (!record.data()) return std::string();
  Fields fields(record);
  const std::string_view blobNamespace = fields.Take();
  const std::string_view name = reading->Get(environment_->policyIds, fields.Take());
  return name.data() ? BlobOf(name, blobNamespace) : std::string();
}

std::string LmdbCatalogue::BlobOnDatastore(const std::string& id, const std::string& url) {
  const LmdbReading reading(reader_);
  const std::string_view record = reading->Get(environment_->datastores, url);
  const std::string_view name = reading->Get(environment_->policyIds, id);
  if (!record.data() || !name.data()) return std::string();
  return BlobOf(name, Fields(record).Take());
}

}  // namespace Bench
