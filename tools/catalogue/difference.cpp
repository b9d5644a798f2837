// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "catalogue/difference.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "catalogue/record_fields.h"

namespace Quorctl {

using TavQuor::QuorDatastoreInfo;
using TavQuor::QuorPolicyInfo;

namespace {

constexpr std::size_t kNone = static_cast<std::size_t>(-1);

using BlobViews = std::vector<std::string_view>;

// The blobs of each namespace, sorted; a catalogue of the configuration file can have more than
// one.
std::map<std::string_view, BlobViews> ByNamespace(const Blobs& blobs) {
  std::map<std::string_view, BlobViews> result;
  for (const auto& [blob, blobNamespace] : blobs)
    result[blobNamespace].push_back(blob);
  for (auto& entry : result)
    std::sort(entry.second.begin(), entry.second.end());
  return result;
}

// True if the records are equal member by member, ignoring the order of blobs.
bool AreSame(const QuorDatastoreInfo& a, const QuorDatastoreInfo& b) {
  return Members(a) == Members(b);
}
bool AreSame(const QuorPolicyInfo& a, const QuorPolicyInfo& b) {
  if (Members(a) == Members(b)) return true;
  if (a.blobs.size() != b.blobs.size()) return false;
  QuorPolicyInfo sortedA = a;
  QuorPolicyInfo sortedB = b;
  std::sort(sortedA.blobs.begin(), sortedA.blobs.end());
  std::sort(sortedB.blobs.begin(), sortedB.blobs.end());
  return Members(sortedA) == Members(sortedB);
}

// "512 bytes"; of several blobs "512 + 96 bytes".
std::optional<std::string> SizeOf(const BlobViews& blobs) {
  if (blobs.empty()) return std::nullopt;
  std::string sizes;
  for (const std::string_view blob : blobs)
    sizes += (sizes.empty() ? "" : " + ") + std::to_string(blob.size());
  return sizes + " bytes";
}

class FieldChanges {
 public:
  template <typename Record>
  static std::vector<FieldChange> Between(const Record& before, const Record& after) {
    FieldChanges changes;
    for (const Field<Record>& field : kFields<Record>) {
      field.Visit([&](const auto& a, const auto& b) { changes.Add(field.key, a, b); }, before,
                  after);
    }
    return std::move(changes.changes_);
  }

 private:
  void Add(const std::string& key, const std::string& before, const std::string& after) {
    if (before != after) changes_.push_back({key, before, after});
  }
  void Add(const std::string& key, std::int64_t before, std::int64_t after) {
    if (before != after) changes_.push_back({key, std::to_string(before), std::to_string(after)});
  }
  void Add(const std::string& key, const Blobs& before, const Blobs& after) {
    std::map<std::string_view, std::pair<BlobViews, BlobViews>> namespaces;
    for (auto& [name, blobs] : ByNamespace(before))
      namespaces[name].first = std::move(blobs);
    for (auto& [name, blobs] : ByNamespace(after))
      namespaces[name].second = std::move(blobs);
    for (const auto& [name, blobs] : namespaces) {
      if (blobs.first == blobs.second) continue;
      changes_.push_back({name.empty() ? key : key + ' ' + std::string(name), SizeOf(blobs.first),
                          SizeOf(blobs.second)});
    }
  }

  std::vector<FieldChange> changes_;
};

Difference Describe(const QuorPolicyInfo& policy, Change change, std::size_t old, std::size_t now) {
  return {change, RecordKind::kPolicy, policy.name, policy.policyId, {}, old, now};
}

Difference Describe(const QuorDatastoreInfo& datastore, Change change, std::size_t old,
                    std::size_t now) {
  return {change, RecordKind::kDatastore, datastore.url, "", {}, old, now};
}

// Finds which records of two lists belong together, one key after the other.
template <typename Record>
class Pairing {
 public:
  using Key = std::string Record::*;

  Pairing(const std::vector<Record>& before, const std::vector<Record>& after)
      : before_(before),
        after_(after),
        partnerOfOld_(before.size(), kNone),
        partnerOfNew_(after.size(), kNone) {}

  // Pairs those that are still alone and have the same key, in the order of the lists. With
  // `onlyEqual` those only that are the same.
  void Match(Key key, bool onlyEqual) {
    std::unordered_map<std::string_view, std::vector<std::size_t>> alone;
    for (std::size_t i = 0; i < before_.size(); ++i) {
      if (partnerOfOld_[i] == kNone) alone[before_[i].*key].push_back(i);
    }
    for (std::size_t i = 0; i < after_.size(); ++i) {
      const auto found = partnerOfNew_[i] == kNone ? alone.find(after_[i].*key) : alone.end();
      if (found == alone.end()) continue;
      auto& candidates = found->second;
      const auto fits = [&](std::size_t old) {
        return !onlyEqual || AreSame(before_[old], after_[i]);
      };
      const auto partner = std::find_if(candidates.begin(), candidates.end(), fits);
      if (partner == candidates.end()) continue;
      partnerOfOld_[*partner] = i;
      partnerOfNew_[i] = *partner;
      candidates.erase(partner);
    }
  }

  void AddDifferences(Change change, std::vector<Difference>* differences) const {
    if (change == Change::kDeleted) {
      for (std::size_t i = 0; i < before_.size(); ++i) {
        if (partnerOfOld_[i] == kNone)
          differences->push_back(Describe(before_[i], change, i, kNone));
      }
      return;
    }
    for (std::size_t i = 0; i < after_.size(); ++i) {
      const bool isNew = partnerOfNew_[i] == kNone;
      if (isNew != (change == Change::kAdded)) continue;
      if (!isNew && AreSame(before_[partnerOfNew_[i]], after_[i])) continue;
      differences->push_back(Describe(after_[i], change, partnerOfNew_[i], i));
      if (isNew) continue;
      differences->back().fields = FieldChanges::Between(before_[partnerOfNew_[i]], after_[i]);
    }
  }

 private:
  const std::vector<Record>& before_;
  const std::vector<Record>& after_;
  std::vector<std::size_t> partnerOfOld_;
  std::vector<std::size_t> partnerOfNew_;
};

}  // namespace

std::vector<Difference> CompareCatalogues(const Catalogue& before, const Catalogue& after) {
  Pairing<QuorPolicyInfo> policies(before.policies, after.policies);
  policies.Match(&QuorPolicyInfo::name, /*onlyEqual=*/true);
  policies.Match(&QuorPolicyInfo::name, /*onlyEqual=*/false);
  policies.Match(&QuorPolicyInfo::policyId, /*onlyEqual=*/false);
  Pairing<QuorDatastoreInfo> datastores(before.datastores, after.datastores);
  datastores.Match(&QuorDatastoreInfo::url, /*onlyEqual=*/true);
  datastores.Match(&QuorDatastoreInfo::url, /*onlyEqual=*/false);

  std::vector<Difference> differences;
  for (const Change change : {Change::kDeleted, Change::kAdded, Change::kChanged}) {
    policies.AddDifferences(change, &differences);
    datastores.AddDifferences(change, &differences);
  }
  return differences;
}

bool AreSameRecords(const Catalogue& a, const Catalogue& b) {
  const auto same = [](const auto& one, const auto& other) {
    return Members(one) == Members(other);
  };
  const bool inOrder = std::equal(a.policies.begin(), a.policies.end(), b.policies.begin(),
                                  b.policies.end(), same) &&
                       std::equal(a.datastores.begin(), a.datastores.end(), b.datastores.begin(),
                                  b.datastores.end(), same);
  return inOrder || CompareCatalogues(a, b).empty();
}

std::size_t CountOf(const std::vector<Difference>& differences, Change change, RecordKind kind) {
  return static_cast<std::size_t>(
      std::count_if(differences.begin(), differences.end(), [&](const Difference& difference) {
        return difference.change == change && difference.kind == kind;
      }));
}

}  // namespace Quorctl
