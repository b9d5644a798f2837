// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Digests of the catalogue, which detect changes.
//
// With H for Md5Hex() and records in canonical order:
//   policies    H( H(name policyId description generationNumber ns1 blob1 ns2 blob2 ...) ... )
//   datastores  H( H(url datastoreNamespace defaultPolicyId) ... )
// The outer text is the concatenation of the per-record digests in hexadecimal.
//
// Two asymmetries are part of the digest: a policy's name, identifier and description end at their
// first zero byte, all other fields are digested whole; a datastore with only empty fields adds
// nothing, whereas every policy adds a digest.
#ifndef SRC_DIGEST_CATALOGUE_DIGEST_H_
#define SRC_DIGEST_CATALOGUE_DIGEST_H_

#include <string>
#include <vector>

#include "quor/quor_lib.h"

namespace TavQuor::Digest {

// The digest of the records; empty if there are none. Ends the process if memory runs out for the
// formatted text of a record.
std::string PolicyDbHash(const std::vector<QuorPolicyInfo>& policies);
std::string DatastoreDbHash(const std::vector<QuorDatastoreInfo>& datastores);

}  // namespace TavQuor::Digest

#endif  // SRC_DIGEST_CATALOGUE_DIGEST_H_
