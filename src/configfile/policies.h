// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Policy records in the configuration file.
#ifndef SRC_CONFIGFILE_POLICIES_H_
#define SRC_CONFIGFILE_POLICIES_H_

#include <string>
#include <vector>

#include "quor/quor_lib.h"

namespace TavQuor::ConfigFileBackend {

// Empties the policies and leaves an empty array of them.
void ClearPolicies();

void AddPolicyInfo(const std::vector<QuorPolicyInfo>& policies);
std::vector<QuorPolicyInfo> ListPolicyInfo();

// The file is locked and scanned whatever the arguments: an empty one matches what is stored empty.
// Only the first policy that matches is searched for the namespace.
std::string GetPolicyBlob(const std::string& policyId, const std::string& blobNamespace);
std::string GetPolicyBlobByName(const std::string& policyName, const std::string& blobNamespace);

}  // namespace TavQuor::ConfigFileBackend

#endif  // SRC_CONFIGFILE_POLICIES_H_
