// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The primitives that every backend offers, and the choice of the backend for one call.
//
// Whatever store holds the records, the entry points are built from these operations only. What
// each answers when nothing is found: an empty string or an empty vector.
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

// The backend that the host's feature switch selects now. Reads the switch once, on every call:
// non-zero is the configuration store, zero the configuration file.
const Backend& SelectBackend();

}  // namespace TavQuor

#endif  // SRC_API_BACKEND_H_
