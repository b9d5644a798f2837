// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "support/reference_digest.h"

#include <md5.h>

#include <map>

namespace QuorTest {

std::string ReferenceMd5Hex(const std::string& text) {
  if (text.empty()) return "";
  char hex[MD5_DIGEST_STRING_LENGTH];
  MD5Data(reinterpret_cast<const unsigned char*>(text.data()), text.size(), hex);
  return hex;
}

std::string ReferencePolicyDigest(const Policies& policies) {
  std::map<std::string, std::string> texts;  // ordered by policy identifier
  for (const TavQuor::QuorPolicyInfo& policy : policies) {
    std::map<std::string, std::string> blobs;  // ordered by namespace
    for (const auto& [blob, blobNamespace] : policy.blobs)
      blobs[blobNamespace] = blob;
    std::string& text = texts[policy.policyId];
    text = policy.name + policy.policyId + policy.description;
    text += std::to_string(policy.generationNumber);
    for (const auto& [blobNamespace, blob] : blobs)
      text += blobNamespace + blob;
  }
  std::string digests;
  for (const auto& [id, text] : texts)
    digests += ReferenceMd5Hex(text);
  return ReferenceMd5Hex(digests);
}

std::string ReferenceDatastoreDigest(const Datastores& datastores) {
  std::map<std::string, std::string> texts;  // ordered by URL
  for (const TavQuor::QuorDatastoreInfo& datastore : datastores) {
    texts[datastore.url] = datastore.url + datastore.datastoreNamespace + datastore.defaultPolicyId;
  }
  std::string digests;
  for (const auto& [url, text] : texts)
    digests += ReferenceMd5Hex(text);
  return ReferenceMd5Hex(digests);
}

}  // namespace QuorTest
