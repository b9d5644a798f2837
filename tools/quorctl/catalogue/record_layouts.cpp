// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "catalogue/record_layouts.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>

#include "catalogue/document_writer.h"
#include "stored_records.h"

namespace Quorctl {

using nlohmann::ordered_json;
using TavQuor::QuorDatastoreInfo;
using TavQuor::QuorLib;
using TavQuor::QuorPolicyInfo;

namespace {

// "RILK:512 VOLB:96": each namespace with the size of its blob.
std::string BlobSizes(const QuorPolicyInfo& policy) {
  std::string sizes;
  for (const auto& [blob, blobNamespace] : policy.blobs) {
    if (!sizes.empty()) sizes += ' ';
    sizes += blobNamespace + ':' + std::to_string(blob.size());
  }
  return sizes;
}

std::int64_t BlobBytes(const QuorPolicyInfo& policy) {
  std::size_t bytes = 0;
  for (const auto& entry : policy.blobs)
    bytes += entry.first.size();
  return static_cast<std::int64_t>(bytes);
}

FieldValue DefaultBlobBytes(const QuorPolicyInfo& policy, const QuorDatastoreInfo& datastore) {
  for (const auto& [blob, blobNamespace] : policy.blobs) {
    if (blobNamespace == datastore.datastoreNamespace) {
      return NumberValue(static_cast<std::int64_t>(blob.size()));
    }
  }
  return NoValue();
}

}  // namespace

const RecordLayout& PolicyLayout() {
  static const RecordLayout layout = {
      {{"id", "ID"},
       {"name", "NAME"},
       {"description", "DESCRIPTION"},
       {"generation", "GENERATION", Table::Align::kRight},
       {"blobs", "BLOBS"},
       {"blobBytes", "BYTES", Table::Align::kRight}},
      {"name", "id", "generation", "blobs", "description"},
      {"name", "id", "generation", "blobs", "blobBytes", "description"},
      {"id", "name", "description", "generation", "blobs"},
  };
  return layout;
}

void AddPolicy(const QuorPolicyInfo& policy, RecordWriter* writer) {
  ordered_json json = PolicyAsJson(policy);
  writer->Add({{policy.policyId, std::move(json["id"])},
               {policy.name, std::move(json["name"])},
               {policy.description, std::move(json["description"])},
               {std::to_string(policy.generationNumber), std::move(json["generation"])},
               {BlobSizes(policy), std::move(json["blobs"])},
               NumberValue(BlobBytes(policy))});
}

const RecordLayout& DatastoreLayout() {
  static const RecordLayout layout = {
      {{"url", "URL"},
       {"namespace", "NAMESPACE"},
       {"defaultPolicy", "DEFAULT POLICY"},
       {"defaultPolicyName", "NAME OF IT"},
       {"defaultBlobBytes", "ITS BLOB", Table::Align::kRight}},
      {"url", "namespace", "defaultPolicy"},
      {"url", "namespace", "defaultPolicy", "defaultPolicyName", "defaultBlobBytes"},
      {"url", "namespace", "defaultPolicy"},
  };
  return layout;
}

DatastoreRows::DatastoreRows(RecordWriter* writer) : writer_(writer) {
  if (!writer->Uses("defaultPolicyName") && !writer->Uses("defaultBlobBytes")) return;
  const StoredRecords stored;
  policies_ = QuorLib::ListPolicyInfo();
  stored.WarnOfPolicies(policies_.size());
  // Of equal identifiers the library takes the policy that is stored first.
  std::stable_sort(
      policies_.begin(), policies_.end(),
      [](const QuorPolicyInfo& a, const QuorPolicyInfo& b) { return a.policyId < b.policyId; });
}

const QuorPolicyInfo* DatastoreRows::DefaultPolicyOf(const QuorDatastoreInfo& datastore) const {
  const std::string& id = datastore.defaultPolicyId;
  const auto found = std::lower_bound(policies_.begin(), policies_.end(), id,
                                      [](const QuorPolicyInfo& policy, const std::string& wanted) {
                                        return policy.policyId < wanted;
                                      });
  const bool exists = !id.empty() && found != policies_.end() && found->policyId == id;
  return exists ? &*found : nullptr;
}

void DatastoreRows::Add(const QuorDatastoreInfo& datastore) {
  ordered_json json = DatastoreAsJson(datastore);
  const QuorPolicyInfo* const policy = DefaultPolicyOf(datastore);
  writer_->Add({{datastore.url, std::move(json["url"])},
                {datastore.datastoreNamespace, std::move(json["namespace"])},
                {datastore.defaultPolicyId, std::move(json["defaultPolicy"])},
                policy ? TextValue(policy->name) : NoValue(),
                policy ? DefaultBlobBytes(*policy, datastore) : NoValue()});
}

}  // namespace Quorctl
