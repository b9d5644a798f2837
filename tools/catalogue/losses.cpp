// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "catalogue/losses.h"

#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace Quorctl {

using TavQuor::QuorDatastoreInfo;
using TavQuor::QuorPolicyInfo;

namespace {

// Lookups take the first of several policies with one key.
class PolicyIndex {
 public:
  explicit PolicyIndex(const Catalogue& catalogue) {
    for (const QuorPolicyInfo& policy : catalogue.policies) {
      byId_.emplace(policy.policyId, &policy);
      names_.insert(policy.name);
    }
  }

  bool HasId(const std::string& id) const { return byId_.count(id) > 0; }
  bool HasName(const std::string& name) const { return names_.count(name) > 0; }

  bool GivesDefault(const QuorDatastoreInfo& datastore) const {
    const auto found = byId_.find(datastore.defaultPolicyId);
    return !datastore.defaultPolicyId.empty() && found != byId_.end() &&
           HasBlob(*found->second, datastore.datastoreNamespace);
  }

  static bool HasBlob(const QuorPolicyInfo& policy, const std::string& wanted) {
    const std::string* const blob = FindBlob(policy, wanted);
    return blob && !blob->empty();
  }

 private:
  std::unordered_map<std::string_view, const QuorPolicyInfo*> byId_;
  std::unordered_set<std::string_view> names_;
};

std::size_t LostBlobs(const QuorPolicyInfo& before, const QuorPolicyInfo& after) {
  std::size_t lost = 0;
  for (const auto& entry : before.blobs)
    lost += !entry.first.empty() && !PolicyIndex::HasBlob(after, entry.second);
  return lost;
}

}  // namespace

std::string Counted(std::size_t count, const std::string& singular, const std::string& plural) {
  return std::to_string(count) + ' ' + (count == 1 ? singular : plural);
}

std::string Losses::InWords() const {
  std::string words;
  if (policies + datastores > 0) {
    words = Counted(policies, "policy", "policies") + " and " +
            Counted(datastores, "datastore", "datastores");
  }
  const auto add = [&words](std::size_t count, const char* singular, const char* plural) {
    if (count > 0) words += (words.empty() ? "" : ", ") + Counted(count, singular, plural);
  };
  add(blobs, "blob", "blobs");
  add(identifiers, "identifier", "identifiers");
  add(names, "name", "names");
  add(defaults, "default of a datastore", "defaults of datastores");
  return words;
}

Losses FindLosses(const Catalogue& before, const Catalogue& after,
                  const std::vector<Difference>& differences) {
  Losses losses;
  if (differences.empty()) return losses;
  const PolicyIndex old(before);
  const PolicyIndex next(after);
  for (const Difference& difference : differences) {
    const bool isPolicy = difference.kind == RecordKind::kPolicy;
    if (difference.change == Change::kDeleted) ++(isPolicy ? losses.policies : losses.datastores);
    if (difference.change != Change::kChanged || !isPolicy) continue;
    const QuorPolicyInfo& was = before.policies[difference.indexBefore];
    losses.blobs += LostBlobs(was, after.policies[difference.indexAfter]);
    losses.identifiers += !was.policyId.empty() && !next.HasId(was.policyId);
    losses.names += !was.name.empty() && !next.HasName(was.name);
  }
  std::unordered_map<std::string_view, const QuorDatastoreInfo*> stays;
  for (const QuorDatastoreInfo& datastore : after.datastores)
    stays.emplace(datastore.url, &datastore);
  for (const QuorDatastoreInfo& datastore : before.datastores) {
    const auto found = stays.find(datastore.url);
    losses.defaults +=
        found != stays.end() && old.GivesDefault(datastore) && !next.GivesDefault(*found->second);
  }
  return losses;
}

}  // namespace Quorctl
