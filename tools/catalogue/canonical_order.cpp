// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "catalogue/canonical_order.h"

#include <algorithm>
#include <string>
#include <utility>

namespace Quorctl {

using TavQuor::QuorDatastoreInfo;
using TavQuor::QuorPolicyInfo;

namespace {

using Blob = std::pair<std::string, std::string>;

template <typename Record>
void SortUnlessKeysRepeat(std::vector<Record>* records, std::string Record::*key) {
  std::vector<Record> sorted = *records;
  std::sort(sorted.begin(), sorted.end(),
            [key](const Record& a, const Record& b) { return a.*key < b.*key; });
  const auto sameKey = [key](const Record& a, const Record& b) { return a.*key == b.*key; };
  const bool repeats = std::adjacent_find(sorted.begin(), sorted.end(), sameKey) != sorted.end();
  if (!repeats) *records = std::move(sorted);
}

}  // namespace

void PutInCanonicalOrder(Catalogue* catalogue) {
  SortUnlessKeysRepeat(&catalogue->policies, &QuorPolicyInfo::policyId);
  for (QuorPolicyInfo& policy : catalogue->policies)
    SortUnlessKeysRepeat(&policy.blobs, &Blob::second);
  SortUnlessKeysRepeat(&catalogue->datastores, &QuorDatastoreInfo::url);
}

}  // namespace Quorctl
