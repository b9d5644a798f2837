// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The digests by which a caller tells whether the catalogue has changed.
//
// With H for Md5Hex() and records in canonical order:
//   policies    H( H(name policyId description generationNumber ns1 blob1 ns2 blob2 ...) ... )
//   datastores  H( H(url datastoreNamespace defaultPolicyId) ... )
// The outer text is the per-record digests one after the other, as hexadecimal text.
//
// Two asymmetries are part of the digest's value: a policy's name, identifier and description end
// at their first zero byte, everything else enters whole; and a datastore whose fields are all
// empty adds nothing, while every policy adds a digest.
#ifndef SRC_DIGEST_CATALOGUE_DIGEST_H_
#define SRC_DIGEST_CATALOGUE_DIGEST_H_

#include <string>
#include <vector>

#include "quor/quor_lib.h"

namespace TavQuor::Digest {

// The digest of the listed records; empty when there are none. Memory that runs out while a
// record's text is formatted ends the process.
std::string PolicyDbHash(const std::vector<QuorPolicyInfo>& policies);
std::string DatastoreDbHash(const std::vector<QuorDatastoreInfo>& datastores);

}  // namespace TavQuor::Digest

#endif  // SRC_DIGEST_CATALOGUE_DIGEST_H_
