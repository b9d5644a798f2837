// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "json_catalogue.h"
#include "probe.h"

namespace Bench {

std::string ProbedBlob(const std::string& place, const std::string& policyName) {
  return JsonCatalogue(place).BlobByName(policyName);
}

Policies ProbedListing(const std::string& place) {
  return JsonCatalogue(place).ListPolicies();
}

}  // namespace Bench
