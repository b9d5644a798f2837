// The orders in which the digest walks records, whatever order a store lists them in.
//
// Each compares one key only, as unsigned bytes, a shorter key before a longer one that starts with
// it. Records that tie on the key stay in the order that the unstable sort leaves them in.
#ifndef SRC_DIGEST_CANONICAL_ORDER_H_
#define SRC_DIGEST_CANONICAL_ORDER_H_

#include <string>
#include <utility>

#include "quor/quor_lib.h"

namespace TavQuor::Digest {

inline bool PolicyComesBefore(const QuorPolicyInfo& a, const QuorPolicyInfo& b) {
  return a.policyId < b.policyId;
}

// Of two (blob, namespace) pairs, by the namespace.
inline bool BlobComesBefore(const std::pair<std::string, std::string>& a,
                            const std::pair<std::string, std::string>& b) {
  return a.second < b.second;
}

inline bool DatastoreComesBefore(const QuorDatastoreInfo& a, const QuorDatastoreInfo& b) {
  return a.url < b.url;
}

}  // namespace TavQuor::Digest

#endif  // SRC_DIGEST_CANONICAL_ORDER_H_
