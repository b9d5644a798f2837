// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The orders in which the digest walks records, whatever order a store lists them in.
//
// Each goes by one key only, compared as unsigned bytes, a shorter key before a longer one that
// starts with it. Records that tie on the key stay in the order that the unstable sort leaves them
// in.
#ifndef SRC_DIGEST_CANONICAL_ORDER_H_
#define SRC_DIGEST_CANONICAL_ORDER_H_

#include <string>
#include <utility>

#include "quor/quor_lib.h"

namespace TavQuor::Digest {

inline const std::string& KeyOf(const QuorPolicyInfo& policy) {
  return policy.policyId;
}

// Of a (blob, namespace) pair.
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
