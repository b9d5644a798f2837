#include "digest/catalogue_digest.h"

#include <algorithm>

#include "brisk/format.h"
#include "digest/canonical_order.h"
#include "digest/md5_hex.h"

namespace TavQuor::Digest {
namespace {

// noexcept: the formatters are relied upon; nothing could be cleaned up around them.
std::string PolicyHead(const QuorPolicyInfo& policy) noexcept {
  return Brisk::Misc::StrPrintf("%s%s%s%ld", policy.name.c_str(), policy.policyId.c_str(),
                                policy.description.c_str(),
                                static_cast<long>(policy.generationNumber));
}

std::string DatastoreText(const QuorDatastoreInfo& datastore) noexcept {
  return Brisk::Misc::StrCat(datastore.url, datastore.datastoreNamespace,
                             datastore.defaultPolicyId);
}

std::string PolicyText(QuorPolicyInfo& policy) {
  std::string text = PolicyHead(policy);
  std::sort(policy.blobs.begin(), policy.blobs.end(), BlobComesBefore);
  for (const auto& [blob, blobNamespace] : policy.blobs) {
    text += blobNamespace;
    text += blob;
  }
  return text;
}

}  // namespace

std::string PolicyDbHash(std::vector<QuorPolicyInfo> policies) {
  std::sort(policies.begin(), policies.end(), PolicyComesBefore);
  std::string digests;
  for (QuorPolicyInfo& policy : policies)
    digests += Md5Hex(PolicyText(policy));
  return Md5Hex(digests);
}

std::string DatastoreDbHash(std::vector<QuorDatastoreInfo> datastores) {
  std::sort(datastores.begin(), datastores.end(), DatastoreComesBefore);
  std::string digests;
  for (const QuorDatastoreInfo& datastore : datastores)
    digests += Md5Hex(DatastoreText(datastore));
  return Md5Hex(digests);
}

}  // namespace TavQuor::Digest
