// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "fault_catalogue.h"

namespace StressTest {
namespace {

using TavQuor::QuorDatastoreInfo;
using TavQuor::QuorPolicyInfo;

constexpr std::size_t kMostRecords = 3;
constexpr std::size_t kLongestText = 40;
constexpr std::size_t kLongestBlob = 300;

void Append(const std::string& field, std::string* text) {
  text->append(std::to_string(field.size())).append(":").append(field);
}

std::string TextOf(const QuorPolicyInfo& policy) {
  std::string text;
  Append(policy.name, &text);
  Append(policy.policyId, &text);
  Append(policy.description, &text);
  Append(std::to_string(policy.generationNumber), &text);
  for (const auto& [blob, blobNamespace] : policy.blobs) {
    Append(blob, &text);
    Append(blobNamespace, &text);
  }
  return text;
}

QuorPolicyInfo MakePolicy(const std::string& mark, PlatformTest::Random* random) {
  QuorPolicyInfo policy;
  policy.name = "name " + mark;
  policy.policyId = "id-" + mark;
  policy.description = random->Bytes(kLongestText);
  policy.generationNumber = static_cast<std::int64_t>(random->Below(1000));
  policy.blobs = {{mark + random->Bytes(kLongestBlob), "RILK"},
                  {mark + random->Bytes(kLongestBlob), "volumes " + mark}};
  return policy;
}

}  // namespace

Catalogue MakeCatalogue(const std::string& mark, PlatformTest::Random* random) {
  Catalogue catalogue;
  for (std::size_t i = 0; i <= random->Below(kMostRecords); ++i)
    catalogue.policies.push_back(MakePolicy(mark + std::to_string(i), random));
  for (std::size_t i = 0; i <= random->Below(kMostRecords); ++i) {
    QuorDatastoreInfo datastore;
    datastore.url = "ds:///" + mark + std::to_string(i) + "/a datastore's address";
    datastore.datastoreNamespace = i == 0 ? "RILK" : "volumes " + mark;
    datastore.defaultPolicyId = catalogue.policies.front().policyId;
    catalogue.datastores.push_back(datastore);
  }
  return catalogue;
}

std::vector<std::string> TextsOf(const std::vector<QuorPolicyInfo>& policies) {
  std::vector<std::string> texts;
  texts.reserve(policies.size());
  for (const QuorPolicyInfo& policy : policies)
    texts.push_back(TextOf(policy));
  return texts;
}

std::string TextOf(const std::vector<QuorPolicyInfo>& policies) {
  std::string text;
  for (const std::string& policy : TextsOf(policies))
    Append(policy, &text);
  return text;
}

std::string TextOf(const std::vector<QuorDatastoreInfo>& datastores) {
  std::string text;
  for (const QuorDatastoreInfo& datastore : datastores) {
    Append(datastore.url, &text);
    Append(datastore.datastoreNamespace, &text);
    Append(datastore.defaultPolicyId, &text);
  }
  return text;
}

std::string StoredCatalogue() {
  return TextOf(TavQuor::QuorLib::ListPolicyInfo()) + '|' +
         TextOf(TavQuor::QuorLib::ListDatastoreInfo());
}

}  // namespace StressTest
