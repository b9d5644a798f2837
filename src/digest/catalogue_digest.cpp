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
void Sort(const std::vector<Record>& records, bool (*comesBefore)(const Record&, const Record&),
          std::vector<const Record*>* sorted) {
  sorted->clear();
  sorted->reserve(records.size());
  for (const Record& record : records)
    sorted->push_back(&record);
  std::sort(sorted->begin(), sorted->end(),
            [=](const Record* a, const Record* b) { return comesBefore(*a, *b); });
}

// The text of one policy after the other, in the same memory.
class PolicyText {
 public:
  const std::string& Of(const QuorPolicyInfo& policy) {
    text_.clear();
    text_ += PolicyHead(policy);
    Sort(policy.blobs, BlobComesBefore, &blobs_);
    for (const auto* pair : blobs_) {
      text_ += pair->second;
      text_ += pair->first;
    }
    return text_;
  }

 private:
  std::string text_;
  std::vector<const std::pair<std::string, std::string>*> blobs_;
};

}  // namespace

std::string PolicyDbHash(const std::vector<QuorPolicyInfo>& policies) {
  std::vector<const QuorPolicyInfo*> sorted;
  Sort(policies, PolicyComesBefore, &sorted);
  std::string digests;
  digests.reserve(kDigestSize * sorted.size());
  PolicyText text;
  for (const QuorPolicyInfo* policy : sorted)
    digests += Md5Hex(text.Of(*policy));
  return Md5Hex(digests);
}

std::string DatastoreDbHash(const std::vector<QuorDatastoreInfo>& datastores) {
  std::vector<const QuorDatastoreInfo*> sorted;
  Sort(datastores, DatastoreComesBefore, &sorted);
  std::string digests;
  digests.reserve(kDigestSize * sorted.size());
  for (const QuorDatastoreInfo* datastore : sorted)
    digests += Md5Hex(DatastoreText(*datastore));
  return Md5Hex(digests);
}

}  // namespace TavQuor::Digest
