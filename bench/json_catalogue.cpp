// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "json_catalogue.h"

#include <cstdlib>
#include <filesystem>
#include <new>
#include <stdexcept>

#include "floor.h"
#include "platform/base64.h"

namespace Bench {

using nlohmann::json;

namespace {

constexpr char kFile[] = "catalogue.json";

struct Freer {
  void operator()(void* memory) const { std::free(memory); }
};

std::string Encoded(const std::string& bytes) {
  char* text = nullptr;
  if (!Base64_EasyEncode(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size(),
                         &text)) {
    throw std::bad_alloc();
  }
  const std::unique_ptr<char, Freer> owner(text);
  return text;
}

std::string Decoded(const std::string& text) {
  std::uint8_t* bytes = nullptr;
  std::size_t size = 0;
  if (!Base64_EasyDecode(text.c_str(), &bytes, &size)) throw std::runtime_error("no Base64 text");
  const std::unique_ptr<std::uint8_t, Freer> owner(bytes);
  return std::string(reinterpret_cast<const char*>(bytes), size);
}

json Encoded(const TavQuor::QuorPolicyInfo& policy) {
  json blobs = json::array();
  for (const auto& [blob, blobNamespace] : policy.blobs)
    blobs.push_back({{"namespace", blobNamespace}, {"blob", Encoded(blob)}});
  return {{"name", policy.name},
          {"id", policy.policyId},
          {"description", policy.description},
          {"generation", policy.generationNumber},
          {"blobs", std::move(blobs)}};
}

TavQuor::QuorPolicyInfo DecodedPolicy(const json& encoded) {
  TavQuor::QuorPolicyInfo policy;
  policy.name = encoded.at("name").get<std::string>();
  policy.policyId = encoded.at("id").get<std::string>();
  policy.description = encoded.at("description").get<std::string>();
  policy.generationNumber = encoded.at("generation").get<std::int64_t>();
  for (const json& blob : encoded.at("blobs")) {
    policy.blobs.emplace_back(Decoded(blob.at("blob").get_ref<const std::string&>()),
                              blob.at("namespace").get<std::string>());
  }
  return policy;
}

const std::string& Text(const json& record, const char* field) {
  return record.at(field).get_ref<const std::string&>();
}

// The first record with that value; null when there is none.
const json* Find(const json& records, const char* field, const std::string& value) {
  for (const json& record : records) {
    if (Text(record, field) == value) return &record;
  }
  return nullptr;
}

std::string BlobOf(const json* policy, const std::string& blobNamespace) {
  if (!policy) return std::string();
  const json* const blob = Find(policy->at("blobs"), "namespace", blobNamespace);
  return blob ? Decoded(Text(*blob, "blob")) : std::string();
}

json EmptyDocument() {
  return {{"policies", json::array()}, {"datastores", json::array()}};
}

}  // namespace

JsonCatalogue::JsonCatalogue(const std::string& directory) : directory_(directory) {
  if (std::filesystem::exists(directory + "/" + kFile)) return;
  std::filesystem::create_directories(directory);
  Write(EmptyDocument());
}

std::unique_ptr<Catalogue> JsonCatalogue::ForThread() {
  return std::make_unique<JsonCatalogue>(directory_);
}

json JsonCatalogue::Read() const {
  return json::parse(ReadFile(directory_ + "/" + kFile));
}

void JsonCatalogue::Write(const json& document) const {
  ReplaceFileDurably(directory_, kFile, document.dump());
}

void JsonCatalogue::ReplacePolicies(const Policies& policies) {
  json document = Read();
  json encoded = json::array();
  for (const auto& policy : policies)
    encoded.push_back(Encoded(policy));
  document["policies"] = std::move(encoded);
  Write(document);
}

void JsonCatalogue::ReplaceDatastores(const Datastores& datastores) {
  json document = Read();
  json encoded = json::array();
  for (const auto& datastore : datastores) {
    encoded.push_back({{"url", datastore.url},
                       {"namespace", datastore.datastoreNamespace},
                       {"defaultPolicy", datastore.defaultPolicyId}});
  }
  document["datastores"] = std::move(encoded);
  Write(document);
}

void JsonCatalogue::Reset() {
  Write(EmptyDocument());
}

Policies JsonCatalogue::ListPolicies() {
  Policies policies;
  const json document = Read();
  for (const json& policy : document.at("policies"))
    policies.push_back(DecodedPolicy(policy));
  return policies;
}

Datastores JsonCatalogue::ListDatastores() {
  Datastores datastores;
  const json document = Read();
  for (const json& datastore : document.at("datastores")) {
    datastores.push_back(
        {Text(datastore, "url"), Text(datastore, "namespace"), Text(datastore, "defaultPolicy")});
  }
  return datastores;
}

std::string JsonCatalogue::BlobByName(const std::string& name) {
  const json document = Read();
  return BlobOf(Find(document.at("policies"), "name", name), kLookupNamespace);
}

std::string JsonCatalogue::BlobById(const std::string& id) {
  const json document = Read();
  return BlobOf(Find(document.at("policies"), "id", id), kLookupNamespace);
}

std::string JsonCatalogue::DefaultBlob(const std::string& url) {
  const json document = Read();
  const json* const datastore = Find(document.at("datastores"), "url", url);
  if (!datastore) return std::string();
  return BlobOf(Find(document.at("policies"), "id", Text(*datastore, "defaultPolicy")),
                Text(*datastore, "namespace"));
}

std::string JsonCatalogue::BlobOnDatastore(const std::string& id, const std::string& url) {
  const json document = Read();
  const json* const datastore = Find(document.at("datastores"), "url", url);
  if (!datastore) return std::string();
  return BlobOf(Find(document.at("policies"), "id", id), Text(*datastore, "namespace"));
}

}  // namespace Bench
