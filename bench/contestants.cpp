// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "contestants.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <tuple>
#include <typeinfo>

#include "digest/catalogue_digest.h"
#include "json_catalogue.h"
#include "library_catalogue.h"

namespace Bench {

using TavQuor::QuorDatastoreInfo;
using TavQuor::QuorPolicyInfo;

namespace {

std::unique_ptr<Catalogue> OpenSqliteIn(const std::string& directory) {
  const std::string path = directory + "/catalogue.sqlite";
  if (!std::filesystem::exists(path)) {
    std::filesystem::create_directories(directory);
    SqliteCatalogue::Create(path);
  }
  return std::make_unique<SqliteCatalogue>(path);
}

bool SamePolicy(const QuorPolicyInfo& a, const QuorPolicyInfo& b) {
  return std::tie(a.blobs, a.name, a.policyId, a.description, a.generationNumber) ==
         std::tie(b.blobs, b.name, b.policyId, b.description, b.generationNumber);
}

bool SameDatastore(const QuorDatastoreInfo& a, const QuorDatastoreInfo& b) {
  return std::tie(a.url, a.datastoreNamespace, a.defaultPolicyId) ==
         std::tie(b.url, b.datastoreNamespace, b.defaultPolicyId);
}

bool SamePolicies(const Policies& a, const Policies& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), SamePolicy);
}

bool SameDatastores(const Datastores& a, const Datastores& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), SameDatastore);
}

void Require(bool agreed, const char* question) {
  if (!agreed) throw std::runtime_error(std::string("a wrong answer: ") + question);
}

void CheckLookups(Catalogue* catalogue, const QuorPolicyInfo& policy) {
  const std::string& blob = policy.blobs.front().first;
  Require(catalogue->BlobByName(policy.name) == blob, "blob by name");
  Require(catalogue->BlobById(policy.policyId) == blob, "blob by id");
  if (auto* sqlite = dynamic_cast<SqliteCatalogue*>(catalogue)) {
    Require(sqlite->BlobByIdUnindexed(policy.policyId) == blob, "blob by id, unindexed");
    Require(sqlite->BlobByIdScanning(policy.policyId) == blob, "blob by id, scanning");
  }
  if (auto* lmdb = dynamic_cast<LmdbCatalogue*>(catalogue)) {
    Require(lmdb->BlobByIdScanning(policy.policyId) == blob, "blob by id, scanning");
  }
}

std::string ExpectedBlob(const QuorDatastoreInfo& datastore, const Workload& workload) {
  for (const auto& policy : workload.policies) {
    if (policy.policyId != datastore.defaultPolicyId) continue;
    for (const auto& [blob, blobNamespace] : policy.blobs) {
      if (blobNamespace == datastore.datastoreNamespace) return blob;
    }
  }
  throw std::runtime_error("a datastore without a default policy");
}

void CheckLookups(Catalogue* catalogue, const QuorDatastoreInfo& datastore,
                  const Workload& workload) {
  const std::string blob = ExpectedBlob(datastore, workload);
  Require(catalogue->DefaultBlob(datastore.url) == blob, "default blob");
  Require(catalogue->BlobOnDatastore(datastore.defaultPolicyId, datastore.url) == blob,
          "blob on a datastore");
}

}  // namespace

std::vector<std::string> ContestantsFor(const WorkloadSize& size) {
  std::vector<std::string> contestants = {kStore, kFile, kSqlite, kLmdb};
  if (size.policies < kTooManyForJson) contestants.emplace_back(kJson);
  return contestants;
}

std::string HostIn(const std::string& directory) {
  return directory + "/host";
}

std::string StoredIn(const std::string& directory, const std::string& contestant) {
  if (contestant == kStore) return HostIn(directory) + "/config-store.cdb";
  if (contestant == kFile) return HostIn(directory) + "/host-config.json";
  return directory + "/" + contestant;
}

std::unique_ptr<Catalogue> OpenCatalogue(const std::string& contestant,
                                         const std::string& directory) {
  if (contestant == kStore || contestant == kFile) {
    auto catalogue =
        std::make_unique<LibraryCatalogue>(HostIn(directory), /*inStore=*/contestant == kStore);
    catalogue->Use();
    return catalogue;
  }
  const std::string own = StoredIn(directory, contestant);
  if (contestant == kSqlite) return OpenSqliteIn(own);
  if (contestant == kLmdb) return std::make_unique<LmdbCatalogue>(own);
  if (contestant == kJson) return std::make_unique<JsonCatalogue>(own);
  throw std::runtime_error("no such contestant: " + contestant);
}

void Load(Catalogue* catalogue, const Workload& workload) {
  catalogue->Use();
  catalogue->ReplacePolicies(workload.policies);
  catalogue->ReplaceDatastores(workload.datastores);
  if (auto* sqlite = dynamic_cast<SqliteCatalogue*>(catalogue)) sqlite->Checkpoint();
}

void RequireSameAnswers(Catalogue* catalogue, const Workload& workload) {
  catalogue->Use();
  Require(SamePolicies(catalogue->ListPolicies(), workload.policies), "policies");
  Require(SameDatastores(catalogue->ListDatastores(), workload.datastores), "datastores");
  // Some are enough, spread over all: every one of them costs scans, or a parse.
  const std::size_t checked = workload.policies.size() > 1000 ? 1 : 5;
  for (std::size_t i = 0; i < checked; ++i) {
    CheckLookups(catalogue, workload.policies[workload.policyOrder[i]]);
    CheckLookups(catalogue, workload.datastores[workload.datastoreOrder[i]], workload);
  }
  CheckLookups(catalogue, workload.policies.back());
}

std::pair<std::string, std::string> DigestsOf(Catalogue* catalogue) {
  const Catalogue& asked = *catalogue;
  if (typeid(asked) == typeid(LibraryCatalogue)) return TavQuor::QuorLib::GetDbHash();
  return {TavQuor::Digest::PolicyDbHash(catalogue->ListPolicies()),
          TavQuor::Digest::DatastoreDbHash(catalogue->ListDatastores())};
}

void LoadAll(const std::vector<std::string>& contestants, const std::string& directory,
             const Workload& workload) {
  for (const std::string& contestant : contestants) {
    const auto catalogue = OpenCatalogue(contestant, directory);
    Load(catalogue.get(), workload);
    RequireSameAnswers(catalogue.get(), workload);
  }
}

}  // namespace Bench
