// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The host directory is told to the library by the environment.
#include "probe.h"

namespace Bench {

std::string ProbedBlob(const std::string&, const std::string& policyName) {
  return TavQuor::QuorLib::GetRilkPolicyBlobByName(policyName);
}

Policies ProbedListing(const std::string&) {
  return TavQuor::QuorLib::ListPolicyInfo();
}

}  // namespace Bench
