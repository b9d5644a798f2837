// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "catalogue/duplicates.h"

#include <string_view>
#include <unordered_map>

namespace Quorctl {
namespace {

class KeyCounter {
 public:
  void Add(std::string_view key) {
    if (++counts_[key] == 2) repeated_.push_back(key);
  }

  void AppendTo(KeyKind kind, const std::string& policy, std::vector<Duplicate>* duplicates) const {
    for (const std::string_view key : repeated_)
      duplicates->push_back({kind, std::string(key), counts_.at(key), policy});
  }

 private:
  std::unordered_map<std::string_view, std::size_t> counts_;
  std::vector<std::string_view> repeated_;
};

}  // namespace

std::vector<Duplicate> FindDuplicates(const Catalogue& catalogue) {
  std::vector<Duplicate> duplicates;
  KeyCounter ids;
  KeyCounter names;
  for (const auto& policy : catalogue.policies) {
    ids.Add(policy.policyId);
    names.Add(policy.name);
  }
  ids.AppendTo(KeyKind::kPolicyId, "", &duplicates);
  names.AppendTo(KeyKind::kPolicyName, "", &duplicates);
  for (const auto& policy : catalogue.policies) {
    KeyCounter namespaces;
    for (const auto& [blob, blobNamespace] : policy.blobs)
      namespaces.Add(blobNamespace);
    namespaces.AppendTo(KeyKind::kBlobNamespace, policy.name, &duplicates);
  }
  KeyCounter urls;
  for (const auto& datastore : catalogue.datastores)
    urls.Add(datastore.url);
  urls.AppendTo(KeyKind::kDatastoreUrl, "", &duplicates);
  return duplicates;
}

}  // namespace Quorctl
