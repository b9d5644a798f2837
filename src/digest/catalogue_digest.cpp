// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "digest/catalogue_digest.h"

#include <algorithm>
#include <cinttypes>
#include <cstdint>
#include <utility>

#include "brisk/format.h"
#include "digest/canonical_order.h"
#include "digest/md5_hex.h"

namespace TavQuor::Digest {
namespace {

// noexcept: a failure of the formatters ends the process.
std::string PolicyHead(const QuorPolicyInfo& policy) noexcept {
  return Brisk::Misc::StrPrintf("%s%s%s%" PRId64, policy.name.c_str(), policy.policyId.c_str(),
                                policy.description.c_str(), policy.generationNumber);
}

std::string DatastoreText(const QuorDatastoreInfo& datastore) noexcept {
  return Brisk::Misc::StrCat(datastore.url, datastore.datastoreNamespace,
                             datastore.defaultPolicyId);
}

// A record's index and the prefix of its sort key, as an integer with the order of the bytes.
template <typename Record>
struct Place {
  std::uint64_t start;
  const Record* record;
};

std::uint64_t StartOf(const std::string& key) {
  std::uint64_t start = 0;
  for (std::size_t i = 0; i < sizeof start; ++i)
    start = start << 8 | (i < key.size() ? static_cast<unsigned char>(key[i]) : 0U);
  return start;
}

// Sorts indexes by key prefix instead of moving records. The comparisons and exchanges are those of
// a sort of the records themselves, so that equal keys end up in the same order.
template <typename Record>
void Sort(const std::vector<Record>& records, std::vector<Place<Record>>* sorted) {
  sorted->clear();
  sorted->reserve(records.size());
  for (const Record& record : records)
    sorted->push_back({StartOf(KeyOf(record)), &record});
  std::sort(sorted->begin(), sorted->end(), [](const auto& a, const auto& b) {
    return a.start != b.start ? a.start < b.start : ComesBefore(*a.record, *b.record);
  });
}

// Builds the text of each policy in a reused buffer.
class PolicyText {
 public:
  const std::string& Of(const QuorPolicyInfo& policy) {
    text_.clear();
    text_ += PolicyHead(policy);
    Sort(policy.blobs, &blobs_);
    for (const auto& place : blobs_) {
      const auto& [blob, blobNamespace] = *place.record;
      text_ += blobNamespace;
      text_ += blob;
    }
    return text_;
  }

 private:
  std::string text_;
  std::vector<Place<std::pair<std::string, std::string>>> blobs_;
};

}  // namespace

std::string PolicyDbHash(const std::vector<QuorPolicyInfo>& policies) {
  std::vector<Place<QuorPolicyInfo>> sorted;
  Sort(policies, &sorted);
  Md5HexList digests(sorted.size());
  PolicyText text;
  for (const auto& place : sorted)
    digests.Add(text.Of(*place.record));
  return Md5Hex(digests.Finish());
}

std::string DatastoreDbHash(const std::vector<QuorDatastoreInfo>& datastores) {
  std::vector<Place<QuorDatastoreInfo>> sorted;
  Sort(datastores, &sorted);
  Md5HexList digests(sorted.size());
  for (const auto& place : sorted)
    digests.Add(DatastoreText(*place.record));
  return Md5Hex(digests.Finish());
}

}  // namespace TavQuor::Digest
