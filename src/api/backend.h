// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Interface of the two backends, and the selection of one for each call.
//
// The entry points use these operations only. An operation that finds nothing returns an empty
// string or an empty vector.
#ifndef SRC_API_BACKEND_H_
#define SRC_API_BACKEND_H_

#include <string>
#include <vector>

#include "quor/quor_lib.h"

namespace TavQuor {

struct Backend {
  void (*Init)();
  void (*Reset)();
  void (*AddPolicyInfo)(const std::vector<QuorPolicyInfo>& policies);
  void (*AddDatastoreInfo)(const std::vector<QuorDatastoreInfo>& datastores);
  std::vector<QuorPolicyInfo> (*ListPolicyInfo)();
  std::vector<QuorDatastoreInfo> (*ListDatastoreInfo)();
  std::string (*GetPolicyBlob)(const std::string& policyId, const std::string& blobNamespace);
  std::string (*GetPolicyBlobByName)(const std::string& policyName,
                                     const std::string& blobNamespace);
  std::string (*GetDatastoreNamespace)(const std::string& url);
  std::string (*GetDatastoreDefaultPolicyId)(const std::string& url);
  std::string (*ComputePolicyDbHash)();
  std::string (*ComputeDatastoreDbHash)();
};

// The backend selected by the host's feature switch, which is read once per call: non-zero selects
// the configuration store, zero the configuration file.
const Backend& SelectBackend();

}  // namespace TavQuor

#endif  // SRC_API_BACKEND_H_
