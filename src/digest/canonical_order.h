// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Sort keys of the digest, which make it independent of the order of listings.
//
// Each order has one key, compared as unsigned bytes. The sort is unstable, so the order of records
// with equal keys is unspecified.
#ifndef SRC_DIGEST_CANONICAL_ORDER_H_
#define SRC_DIGEST_CANONICAL_ORDER_H_

#include <string>
#include <utility>

#include "quor/quor_lib.h"

namespace TavQuor::Digest {

inline const std::string& KeyOf(const QuorPolicyInfo& policy) {
  return policy.policyId;
}

// The namespace of a (blob, namespace) pair.
inline const std::string& KeyOf(const std::pair<std::string, std::string>& pair) {
  return pair.second;
}

inline const std::string& KeyOf(const QuorDatastoreInfo& datastore) {
  return datastore.url;
}

template <typename Record>
bool ComesBefore(const Record& a, const Record& b) {
  return KeyOf(a) < KeyOf(b);
}

}  // namespace TavQuor::Digest

#endif  // SRC_DIGEST_CANONICAL_ORDER_H_
