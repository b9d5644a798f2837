// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "catalogue/comparison.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

namespace Quorctl {

using TavQuor::QuorDatastoreInfo;
using TavQuor::QuorPolicyInfo;

namespace {

using Blobs = std::vector<std::pair<std::string, std::string>>;

constexpr std::size_t kNone = static_cast<std::size_t>(-1);

// The blobs of each namespace; a catalogue of the configuration file can have more than one.
std::map<std::string, std::multiset<std::string>> ByNamespace(const Blobs& blobs) {
  std::map<std::string, std::multiset<std::string>> result;
  for (const auto& [blob, blobNamespace] : blobs)
    result[blobNamespace].insert(blob);
  return result;
}

std::vector<std::string> BlobChanges(const Blobs& before, const Blobs& after) {
  const auto old = ByNamespace(before);
  const auto now = ByNamespace(after);
  std::set<std::string> namespaces;
  for (const auto& entry : old)
    namespaces.insert(entry.first);
  for (const auto& entry : now)
    namespaces.insert(entry.first);
  std::vector<std::string> changes;
  for (const std::string& one : namespaces) {
    const bool same = old.count(one) && now.count(one) && old.at(one) == now.at(one);
    if (!same) changes.push_back(one.empty() ? "blobs" : "blobs " + one);
  }
  return changes;
}

std::vector<std::string> FieldChanges(const QuorPolicyInfo& a, const QuorPolicyInfo& b) {
  std::vector<std::string> fields;
  if (a.policyId != b.policyId) fields.emplace_back("id");
  if (a.name != b.name) fields.emplace_back("name");
  if (a.description != b.description) fields.emplace_back("description");
  if (a.generationNumber != b.generationNumber) fields.emplace_back("generation");
  for (std::string& change : BlobChanges(a.blobs, b.blobs))
    fields.push_back(std::move(change));
  return fields;
}

std::vector<std::string> FieldChanges(const QuorDatastoreInfo& a, const QuorDatastoreInfo& b) {
  std::vector<std::string> fields;
  if (a.url != b.url) fields.emplace_back("url");
  if (a.datastoreNamespace != b.datastoreNamespace) fields.emplace_back("namespace");
  if (a.defaultPolicyId != b.defaultPolicyId) fields.emplace_back("defaultPolicy");
  return fields;
}

Difference Describe(const QuorPolicyInfo& policy, Change change) {
  return {change, RecordKind::kPolicy, policy.name, policy.policyId, {}};
}

Difference Describe(const QuorDatastoreInfo& datastore, Change change) {
  return {change, RecordKind::kDatastore, datastore.url, "", {}};
}

// Finds which records of two lists belong together, one key after the other.
template <typename Record>
class Pairing {
 public:
  using Key = std::string (*)(const Record&);

  Pairing(const std::vector<Record>& before, const std::vector<Record>& after)
      : before_(before),
        after_(after),
        partnerOfOld_(before.size(), kNone),
        partnerOfNew_(after.size(), kNone) {}

  // Pairs those that are still alone and have the same key, in the order of the lists. With
  // `onlyEqual` those only whose fields are the same.
  void Match(Key key, bool onlyEqual) {
    std::map<std::string, std::vector<std::size_t>> alone;
    for (std::size_t i = 0; i < before_.size(); ++i) {
      if (partnerOfOld_[i] == kNone) alone[key(before_[i])].push_back(i);
    }
    for (std::size_t i = 0; i < after_.size(); ++i) {
      const auto found = partnerOfNew_[i] == kNone ? alone.find(key(after_[i])) : alone.end();
      if (found == alone.end()) continue;
      auto& candidates = found->second;
      const auto fits = [&](std::size_t old) {
        return !onlyEqual || FieldChanges(before_[old], after_[i]).empty();
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
        if (partnerOfOld_[i] == kNone) differences->push_back(Describe(before_[i], change));
      }
      return;
    }
    for (std::size_t i = 0; i < after_.size(); ++i) {
      const bool isNew = partnerOfNew_[i] == kNone;
      if (isNew != (change == Change::kAdded)) continue;
      Difference difference = Describe(after_[i], change);
      if (!isNew) difference.fields = FieldChanges(before_[partnerOfNew_[i]], after_[i]);
      if (isNew || !difference.fields.empty()) differences->push_back(std::move(difference));
    }
  }

 private:
  const std::vector<Record>& before_;
  const std::vector<Record>& after_;
  std::vector<std::size_t> partnerOfOld_;
  std::vector<std::size_t> partnerOfNew_;
};

FieldValue ChangeValue(Change change) {
  switch (change) {
    case Change::kDeleted:
      return TextValue("deleted", Colour::kRed);
    case Change::kAdded:
      return TextValue("added", Colour::kGreen);
    case Change::kChanged:
      break;
  }
  return TextValue("changed", Colour::kYellow);
}

}  // namespace

std::vector<Difference> CompareCatalogues(const Catalogue& before, const Catalogue& after) {
  const auto nameOf = [](const QuorPolicyInfo& policy) { return policy.name; };
  const auto idOf = [](const QuorPolicyInfo& policy) { return policy.policyId; };
  const auto urlOf = [](const QuorDatastoreInfo& datastore) { return datastore.url; };
  Pairing<QuorPolicyInfo> policies(before.policies, after.policies);
  policies.Match(nameOf, /*onlyEqual=*/true);
  policies.Match(nameOf, /*onlyEqual=*/false);
  policies.Match(idOf, /*onlyEqual=*/false);
  Pairing<QuorDatastoreInfo> datastores(before.datastores, after.datastores);
  datastores.Match(urlOf, /*onlyEqual=*/true);
  datastores.Match(urlOf, /*onlyEqual=*/false);

  std::vector<Difference> differences;
  for (const Change change : {Change::kDeleted, Change::kAdded, Change::kChanged}) {
    policies.AddDifferences(change, &differences);
    datastores.AddDifferences(change, &differences);
  }
  return differences;
}

std::size_t CountOf(const std::vector<Difference>& differences, Change change, RecordKind kind) {
  return static_cast<std::size_t>(
      std::count_if(differences.begin(), differences.end(), [&](const Difference& difference) {
        return difference.change == change && difference.kind == kind;
      }));
}

const RecordLayout& DifferenceLayout() {
  static const RecordLayout layout = {{{"change", "CHANGE"},
                                       {"kind", "KIND"},
                                       {"name", "NAME"},
                                       {"id", "ID"},
                                       {"fields", "FIELDS"}},
                                      {"change", "kind", "name", "id", "fields"},
                                      {"change", "kind", "name", "id", "fields"},
                                      {"change", "kind", "name", "id", "fields"},
                                      /*headingsWhenEmpty=*/false};
  return layout;
}

void AddDifferences(const std::vector<Difference>& differences, RecordWriter* writer) {
  for (const Difference& difference : differences) {
    const bool isPolicy = difference.kind == RecordKind::kPolicy;
    writer->Add({ChangeValue(difference.change), TextValue(isPolicy ? "policy" : "datastore"),
                 TextValue(difference.name), isPolicy ? TextValue(difference.id) : NoValue(),
                 TextListValue(difference.fields)});
  }
}

}  // namespace Quorctl
