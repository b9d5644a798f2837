// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "lmdb_catalogue.h"
#include "probe.h"

namespace Bench {

std::string ProbedBlob(const std::string& place, const std::string& policyName) {
  return LmdbCatalogue(place).BlobByName(policyName);
}

Policies ProbedListing(const std::string& place) {
  return LmdbCatalogue(place).ListPolicies();
}

}  // namespace Bench
