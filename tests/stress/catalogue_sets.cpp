// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "catalogue_sets.h"

#include <algorithm>
#include <stdexcept>
#include <tuple>

namespace StressTest {
namespace {

using TavQuor::QuorDatastoreInfo;
using TavQuor::QuorLib;
using TavQuor::QuorPolicyInfo;

std::string Namespace(int blobNamespace) {
  return blobNamespace == kRilk ? "RILK" : "namespace-" + std::to_string(blobNamespace);
}

// Of each number another length, so that the files differ in theirs.
std::string Blob(int number) {
  return std::to_string(number) + ' ' + std::string(static_cast<std::size_t>(number) % 199, 'b');
}

auto Fields(const QuorPolicyInfo& policy) {
  return std::tie(policy.blobs, policy.name, policy.policyId, policy.description,
                  policy.generationNumber);
}

auto Fields(const QuorDatastoreInfo& datastore) {
  return std::tie(datastore.url, datastore.datastoreNamespace, datastore.defaultPolicyId);
}

template <typename Record>
bool Same(const std::vector<Record>& a, const std::vector<Record>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](const Record& x, const Record& y) { return Fields(x) == Fields(y); });
}

void RequireKnown(int set, const char* records) {
  if (set < 1 || set > kSets) {
    throw std::runtime_error(std::string(records) + " of no set, as of " + std::to_string(set));
  }
}

}  // namespace

std::string PolicyName(int policy) {
  return "Policy " + std::to_string(policy);
}

std::string PolicyId(int policy) {
  return "policy-" + std::to_string(policy);
}

std::string Url(int datastore) {
  return "ds:///volumes/" + std::to_string(datastore) + '/';
}

int DefaultPolicyIn(int set, int datastore) {
  return set == 0 ? kNoPolicy : (set / 2 + datastore) % (kPolicies + 1);
}

int NamespaceIn(int set, int datastore) {
  return set == 0 ? kNamespaces : 1 + (set + datastore) % (kNamespaces - 1);
}

int BlobIn(int set, int policy, int blobNamespace) {
  if (set == 0 || policy == kNoPolicy || blobNamespace == kNamespaces) return 0;
  if ((set + policy + blobNamespace) % 5 == 0) return 0;  // some are missing
  return 1 + (set * kPolicies + policy) * kNamespaces + blobNamespace;
}

int SetOfBlob(int blob) {
  return blob == 0 ? 0 : (blob - 1) / kNamespaces / kPolicies;
}

std::vector<QuorPolicyInfo> PoliciesOf(int set) {
  std::vector<QuorPolicyInfo> policies;
  for (int policy = 0; set != 0 && policy < kPolicies; ++policy) {
    QuorPolicyInfo info;
    for (int blobNamespace = 0; blobNamespace < kNamespaces; ++blobNamespace) {
      const int blob = BlobIn(set, policy, blobNamespace);
      if (blob != 0) info.blobs.emplace_back(Blob(blob), Namespace(blobNamespace));
    }
    info.name = PolicyName(policy);
    info.policyId = PolicyId(policy);
    info.description = "of set " + std::to_string(set);
    info.generationNumber = set;
    policies.push_back(info);
  }
  return policies;
}

std::vector<QuorDatastoreInfo> DatastoresOf(int set) {
  std::vector<QuorDatastoreInfo> datastores;
  for (int datastore = 0; set != 0 && datastore < kDatastores; ++datastore) {
    const int policy = DefaultPolicyIn(set, datastore);
    datastores.push_back({Url(datastore), Namespace(NamespaceIn(set, datastore)),
                          policy == kNoPolicy ? std::string() : PolicyId(policy)});
  }
  // Tells sets apart whose datastores are alike.
  if (set != 0) datastores.push_back({"ds:///sets/" + std::to_string(set) + '/', "none", ""});
  return datastores;
}

int NumberOf(const std::vector<QuorPolicyInfo>& policies) {
  if (policies.empty()) return 0;
  const auto set = static_cast<int>(policies.front().generationNumber);
  RequireKnown(set, "policies");
  if (!Same(policies, PoliciesOf(set))) throw std::runtime_error("policies of no whole set");
  return set;
}

int NumberOf(const std::vector<QuorDatastoreInfo>& datastores) {
  if (datastores.empty()) return 0;
  const std::string& url = datastores.back().url;
  const std::string start = "ds:///sets/";
  const int set =
      url.compare(0, start.size(), start) == 0 ? std::stoi(url.substr(start.size())) : 0;
  RequireKnown(set, "datastores");
  if (!Same(datastores, DatastoresOf(set))) throw std::runtime_error("datastores of no whole set");
  return set;
}

int NumberOfBlob(const std::string& blob) {
  if (blob.empty()) return 0;
  const int number = std::stoi(blob);
  if (blob != Blob(number)) throw std::runtime_error("no whole blob: " + blob.substr(0, 20));
  return number;
}

Digests::Digests() {
  for (int set = 0; set <= kSets; ++set) {
    QuorLib::AddPolicyInfo(PoliciesOf(set));
    QuorLib::AddDatastoreInfo(DatastoresOf(set));
    const auto index = static_cast<std::size_t>(set);
    std::tie(policies_.at(index), datastores_.at(index)) = QuorLib::GetDbHash();
    if (NumbersOf(QuorLib::GetDbHash()) != std::make_pair(set, set)) {
      throw std::runtime_error("two sets have one digest");
    }
  }
}

std::pair<int, int> Digests::NumbersOf(const std::pair<std::string, std::string>& digests) const {
  return {Find(policies_, digests.first), Find(datastores_, digests.second)};
}

int Digests::Find(const Texts& texts, const std::string& digest) {
  const auto found = std::find(texts.begin(), texts.end(), digest);
  if (found == texts.end()) throw std::runtime_error("a digest of no set: " + digest);
  return static_cast<int>(found - texts.begin());
}

}  // namespace StressTest
