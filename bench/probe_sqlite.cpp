// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "probe.h"
#include "sqlite_catalogue.h"

namespace Bench {

std::string ProbedBlob(const std::string& place, const std::string& policyName) {
  return SqliteCatalogue(place).BlobByName(policyName);
}

Policies ProbedListing(const std::string& place) {
  return SqliteCatalogue(place).ListPolicies();
}

}  // namespace Bench
