// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "record_layouts.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>
#include <utility>

#include "catalogue/catalogue.h"
#include "catalogue/document_writer.h"
#include "stored_records.h"

namespace Quorctl {

using TavQuor::QuorDatastoreInfo;
using TavQuor::QuorLib;
using TavQuor::QuorPolicyInfo;

namespace {

// "RILK:512 VOLB:96": each namespace with the size of its blob.
std::string ForTable(const Blobs& blobs) {
  std::string sizes;
  for (const auto& [blob, blobNamespace] : blobs) {
    if (!sizes.empty()) sizes += ' ';
    sizes += blobNamespace + ':' + std::to_string(blob.size());
  }
  return sizes;
}

std::string ForTable(const std::string& text) {
  return text;
}

std::string ForTable(std::int64_t number) {
  return std::to_string(number);
}

template <typename Record>
std::vector<RecordField> FieldsOf() {
  std::vector<RecordField> fields;
  fields.reserve(std::size(kFields<Record>));
  for (const Field<Record>& field : kFields<Record>) {
    const bool isNumber = std::holds_alternative<std::int64_t Record::*>(field.member);
    fields.push_back(
        {field.key, field.heading, isNumber ? Table::Align::kRight : Table::Align::kLeft});
  }
  return fields;
}

template <typename Record>
std::vector<FieldValue> ValuesOf(const Record& record) {
  std::vector<FieldValue> values;
  values.reserve(std::size(kFields<Record>));
  for (const Field<Record>& field : kFields<Record>) {
    values.push_back(field.Visit(
        [](const auto& value) {
          return FieldValue{ForTable(value), ValueAsJson(value)};
        },
        record));
  }
  return values;
}

// The document's keys: the fields that JSON, YAML and CSV output have by default.
template <typename Record>
std::vector<std::string> KeysOf() {
  std::vector<std::string> keys;
  keys.reserve(std::size(kFields<Record>));
  for (const Field<Record>& field : kFields<Record>)
    keys.emplace_back(field.key);
  return keys;
}

std::vector<RecordField> With(std::vector<RecordField> fields,
                              const std::vector<RecordField>& computed) {
  fields.insert(fields.end(), computed.begin(), computed.end());
  return fields;
}

std::int64_t BlobBytes(const QuorPolicyInfo& policy) {
  std::size_t bytes = 0;
  for (const auto& entry : policy.blobs)
    bytes += entry.first.size();
  return static_cast<std::int64_t>(bytes);
}

}  // namespace

const RecordLayout& PolicyLayout() {
  static const RecordLayout layout = {
      With(FieldsOf<QuorPolicyInfo>(), {{"blobBytes", "BYTES", Table::Align::kRight}}),
      {"name", "id", "generation", "blobs", "description"},
      {"name", "id", "generation", "blobs", "blobBytes", "description"},
      KeysOf<QuorPolicyInfo>(),
      /*headingsWhenEmpty=*/true,
      /*hasSentences=*/false,
      /*names=*/{"name", "id"},
  };
  return layout;
}

void AddPolicy(const QuorPolicyInfo& policy, RecordWriter* writer) {
  std::vector<FieldValue> values = ValuesOf(policy);
  values.push_back(NumberValue(BlobBytes(policy)));
  writer->Add(std::move(values));
}

const RecordLayout& DatastoreLayout() {
  static const RecordLayout layout = {
      With(FieldsOf<QuorDatastoreInfo>(), {{"defaultPolicyName", "NAME OF IT"},
                                           {"defaultBlobBytes", "ITS BLOB", Table::Align::kRight}}),
      {"url", "namespace", "defaultPolicy"},
      {"url", "namespace", "defaultPolicy", "defaultPolicyName", "defaultBlobBytes"},
      KeysOf<QuorDatastoreInfo>(),
      /*headingsWhenEmpty=*/true,
      /*hasSentences=*/false,
      /*names=*/{"url"},
  };
  return layout;
}

DatastoreRows::DatastoreRows(RecordWriter* writer) : writer_(writer) {
  if (!writer->Uses("defaultPolicyName") && !writer->Uses("defaultBlobBytes")) return;
  const StoredRecords stored;
  policies_ = QuorLib::ListPolicyInfo();
  stored.WarnOfPolicies(policies_.size());
  // Among policies with equal identifiers the library uses the one that is stored first.
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
  const QuorPolicyInfo* const policy = DefaultPolicyOf(datastore);
  std::vector<FieldValue> values = ValuesOf(datastore);
  values.push_back(policy ? TextValue(policy->name) : NoValue());
  const auto* const blob = policy ? FindBlob(*policy, datastore.datastoreNamespace) : nullptr;
  values.push_back(blob ? NumberValue(static_cast<std::int64_t>(blob->size())) : NoValue());
  writer_->Add(std::move(values));
}

}  // namespace Quorctl
