// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Keys that should be unique in a catalogue and are not.
#ifndef TOOLS_CATALOGUE_DUPLICATES_H_
#define TOOLS_CATALOGUE_DUPLICATES_H_

#include <cstddef>
#include <string>
#include <vector>

#include "catalogue/catalogue.h"

namespace Quorctl {

enum class KeyKind { kPolicyId, kPolicyName, kBlobNamespace, kDatastoreUrl };

struct Duplicate {
  KeyKind kind = KeyKind::kPolicyId;
  std::string key;
  std::size_t count = 0;
  std::string policy;  // of a namespace: the name of the policy that has several blobs for it
};

// Each key once, in the order of the first record that has it; identifiers, names, namespaces,
// URLs.
std::vector<Duplicate> FindDuplicates(const Catalogue& catalogue);

}  // namespace Quorctl

#endif  // TOOLS_CATALOGUE_DUPLICATES_H_
