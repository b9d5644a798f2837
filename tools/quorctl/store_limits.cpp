// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "store_limits.h"

#include <cstdint>
#include <limits>

#include "catalogue/duplicates.h"
#include "catalogue/text/terminal_text.h"

namespace Quorctl {
namespace {

std::vector<std::string> LostInStore(const Catalogue& catalogue) {
  std::vector<std::string> losses;
  for (const auto& policy : catalogue.policies) {
    for (const auto& [blob, blobNamespace] : policy.blobs) {
      if (!blobNamespace.empty()) continue;
      losses.push_back("policy " + Quoted(policy.name) + ": a blob has no namespace");
    }
  }
  for (const Duplicate& duplicate : FindDuplicates(catalogue)) {
    const std::string count = std::to_string(duplicate.count);
    if (duplicate.kind == KeyKind::kPolicyName) {
      losses.push_back("policy " + Quoted(duplicate.key) + ": there are " + count +
                       " of that name");
    } else if (duplicate.kind == KeyKind::kBlobNamespace) {
      losses.push_back("policy " + Quoted(duplicate.policy) + ": " + count +
                       " blobs for the namespace " + Quoted(duplicate.key));
    } else if (duplicate.kind == KeyKind::kDatastoreUrl) {
      losses.push_back("datastore " + Quoted(duplicate.key) + ": there are " + count +
                       " of that URL");
    }
  }
  return losses;
}

std::vector<std::string> LostInFile(const Catalogue& catalogue) {
  std::vector<std::string> losses;
  for (const auto& policy : catalogue.policies) {
    const std::int64_t number = policy.generationNumber;
    if (number < std::numeric_limits<std::int32_t>::min() ||
        number > std::numeric_limits<std::int32_t>::max()) {
      losses.push_back("policy " + Quoted(policy.name) + ": generation number " +
                       std::to_string(number) + " does not fit 32 bits");
    }
  }
  return losses;
}

}  // namespace

std::vector<std::string> LostIn(bool inStore, const Catalogue& catalogue) {
  return inStore ? LostInStore(catalogue) : LostInFile(catalogue);
}

}  // namespace Quorctl
