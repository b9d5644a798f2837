// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Policy records in the configuration file.
#ifndef SRC_CONFIGFILE_POLICIES_H_
#define SRC_CONFIGFILE_POLICIES_H_

#include <string>
#include <vector>

#include "quor/quor_lib.h"

namespace TavQuor::ConfigFileBackend {

// Removes all policies; leaves an empty array.
void ClearPolicies();

void AddPolicyInfo(const std::vector<QuorPolicyInfo>& policies);
std::vector<QuorPolicyInfo> ListPolicyInfo();

// Empty arguments are looked up like others and match empty stored values. Only the first matching
// policy is searched for the namespace.
std::string GetPolicyBlob(const std::string& policyId, const std::string& blobNamespace);
std::string GetPolicyBlobByName(const std::string& policyName, const std::string& blobNamespace);

}  // namespace TavQuor::ConfigFileBackend

#endif  // SRC_CONFIGFILE_POLICIES_H_
