// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The whole catalogue, as an input document carries it.
#ifndef TOOLS_CATALOGUE_CATALOGUE_H_
#define TOOLS_CATALOGUE_CATALOGUE_H_

#include <string>
#include <vector>

#include "quor/quor_lib.h"

namespace Quorctl {

struct Catalogue {
  std::vector<TavQuor::QuorPolicyInfo> policies;
  std::vector<TavQuor::QuorDatastoreInfo> datastores;
  std::string basis;  // "POLICIES:DATASTORES", the digests of what the document was made from; may
                      // be empty
};

// The blob that a lookup finds: the policy's first one for the namespace; null where there is none.
template <typename Policy>
auto* FindBlob(Policy& policy, const std::string& wanted) {
  for (auto& [blob, blobNamespace] : policy.blobs) {
    if (blobNamespace == wanted) return &blob;
  }
  return static_cast<decltype(&policy.blobs.front().first)>(nullptr);
}

}  // namespace Quorctl

#endif  // TOOLS_CATALOGUE_CATALOGUE_H_
