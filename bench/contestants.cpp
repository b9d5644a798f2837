#include "contestants.h"

#include <algorithm>
#include <stdexcept>
#include <tuple>

#include "digest/catalogue_digest.h"
#include "platform/admin.h"

namespace Bench {

using TavQuor::QuorDatastoreInfo;
using TavQuor::QuorLib;
using TavQuor::QuorPolicyInfo;

namespace {

std::string EmptyDatabase(const std::string& path) {
  SqliteCatalogue::Create(path);
  return path;
}

void LoadHost(const std::string& path, const Workload& workload) {
  HostPlatform::UseHostDirectory(path);
  for (const bool intoStore : {false, true}) {
    HostPlatform::OverrideFeature(kStoreSwitch, intoStore);
    QuorLib::AddPolicyInfo(workload.policies);
    QuorLib::AddDatastoreInfo(workload.datastores);
  }
}

void LoadDatabase(SqliteCatalogue* database, const Workload& workload) {
  database->ReplacePolicies(workload.policies);
  database->ReplaceDatastores(workload.datastores);
  database->Checkpoint();
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
  if (!agreed) throw std::runtime_error(std::string("the answers differ: ") + question);
}

void CheckListings(SqliteCatalogue* database, const Workload& workload) {
  Require(SamePolicies(QuorLib::ListPolicyInfo(), workload.policies), "policies");
  Require(SamePolicies(database->ListPolicies(), workload.policies), "policies of the peer");
  Require(SamePolicies(database->ListPoliciesOneByOne(), workload.policies),
          "the same, one by one");
  Require(SameDatastores(QuorLib::ListDatastoreInfo(), workload.datastores), "datastores");
  Require(SameDatastores(database->ListDatastores(), workload.datastores),
          "datastores of the peer");
  Require(QuorLib::GetDbHash() == DbHashOf(workload.policies, workload.datastores), "digests");
}

void CheckLookupsOf(const QuorPolicyInfo& policy, SqliteCatalogue* database) {
  const auto& [blob, blobNamespace] = policy.blobs.front();
  Require(QuorLib::GetRilkPolicyBlobByName(policy.name) == blob, "blob by name");
  Require(database->BlobByName(policy.name, blobNamespace) == blob, "blob by name of the peer");
  const std::string& id = policy.policyId;
  Require(QuorLib::GetRilkPolicyBlobById(id) == blob, "blob by id");
  Require(database->BlobById(id, blobNamespace) == blob, "blob by id of the peer");
  Require(database->BlobByIdUnindexed(id, blobNamespace) == blob, "the same, unindexed");
  Require(database->BlobByIdScanning(id, blobNamespace) == blob, "the same, scanning");
}

void CheckLookupsOf(const QuorDatastoreInfo& datastore, SqliteCatalogue* database) {
  const std::string& id = datastore.defaultPolicyId;
  const std::string blob = QuorLib::GetDefaultPolicyBlob(datastore.url);
  Require(!blob.empty() && database->DefaultBlob(datastore.url) == blob, "default blob");
  Require(QuorLib::GetPolicyBlobById(id, datastore.url) == blob, "blob on a datastore");
  Require(database->BlobOnDatastore(id, datastore.url) == blob, "blob on a datastore of the peer");
}

// Some are enough, spread over all: every one of them costs scans.
void CheckLookups(SqliteCatalogue* database, const Workload& workload) {
  constexpr std::size_t kChecked = 20;
  for (std::size_t i = 0; i < std::min(kChecked, workload.policies.size()); ++i) {
    CheckLookupsOf(workload.policies[workload.policyOrder[i]], database);
    CheckLookupsOf(workload.datastores[workload.datastoreOrder[i]], database);
  }
  CheckLookupsOf(workload.policies.back(), database);
}

}  // namespace

Contestants::Contestants(Workload theWorkload, const std::string& directory)
    : workload(std::move(theWorkload)),
      host(directory + "/host"),
      hostCopy(directory + "/host-copy"),
      hostWritten(directory + "/host-written"),
      databasePath(EmptyDatabase(directory + "/read.sqlite")),
      database(databasePath),
      databaseWritten(EmptyDatabase(directory + "/written.sqlite")) {
  LoadDatabase(&database, workload);
  LoadDatabase(&databaseWritten, workload);
  LoadHost(hostWritten, workload);
  LoadHost(hostCopy, workload);
  LoadHost(host, workload);
  CheckListings(&database, workload);
  CheckLookups(&database, workload);
}

std::pair<std::string, std::string> DbHashOf(const Policies& policies,
                                             const Datastores& datastores) {
  return {TavQuor::Digest::PolicyDbHash(policies), TavQuor::Digest::DatastoreDbHash(datastores)};
}

}  // namespace Bench
