#include "digest/catalogue_digest.h"

#include <algorithm>

#include "brisk/format.h"
#include "digest/canonical_order.h"
#include "digest/md5_hex.h"

namespace TavQuor::Digest {
namespace {

constexpr std::size_t kDigestSize = 32;

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

// The records in order, without moving them: the sort compares and exchanges the pointers just as
// it would the records, so that those which tie come out as if they had been sorted themselves.
template <typename Record>
std::vector<Record*> Sorted(std::vector<Record>* records,
                            bool (*comesBefore)(const Record&, const Record&)) {
  std::vector<Record*> sorted;
  sorted.reserve(records->size());
  for (Record& record : *records)
    sorted.push_back(&record);
  std::sort(sorted.begin(), sorted.end(),
            [=](const Record* a, const Record* b) { return comesBefore(*a, *b); });
  return sorted;
}

// Puts the text in place of what `text` holds, for its memory.
void MakePolicyText(QuorPolicyInfo& policy, std::string* text) {
  text->clear();
  *text += PolicyHead(policy);
  std::sort(policy.blobs.begin(), policy.blobs.end(), BlobComesBefore);
  for (const auto& [blob, blobNamespace] : policy.blobs) {
    *text += blobNamespace;
    *text += blob;
  }
}

}  // namespace

std::string PolicyDbHash(std::vector<QuorPolicyInfo> policies) {
  const auto sorted = Sorted(&policies, PolicyComesBefore);
  std::string digests;
  digests.reserve(kDigestSize * policies.size());
  std::string text;
  for (QuorPolicyInfo* policy : sorted) {
    MakePolicyText(*policy, &text);
    digests += Md5Hex(text);
  }
  return Md5Hex(digests);
}

std::string DatastoreDbHash(std::vector<QuorDatastoreInfo> datastores) {
  const auto sorted = Sorted(&datastores, DatastoreComesBefore);
  std::string digests;
  digests.reserve(kDigestSize * datastores.size());
  for (const QuorDatastoreInfo* datastore : sorted)
    digests += Md5Hex(DatastoreText(*datastore));
  return Md5Hex(digests);
}

}  // namespace TavQuor::Digest
