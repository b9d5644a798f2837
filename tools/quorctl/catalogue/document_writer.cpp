// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "catalogue/document_writer.h"

#include <string_view>
#include <utility>

#include "catalogue/document_reader.h"
#include "text/base64_text.h"
#include "text/json_text.h"
#include "text/utf8.h"

namespace Quorctl {

using nlohmann::ordered_json;

namespace {

// Text that a person can read and an editor leaves as it is.
bool IsPlainText(std::string_view bytes) {
  for (std::size_t position = 0; position < bytes.size();) {
    const DecodedCharacter character = DecodeCharacter(bytes, position);
    const char32_t codePoint = character.codePoint;
    const bool layout = codePoint == '\n' || codePoint == '\t' || codePoint == '\r';
    if (!character.valid || (IsControlCharacter(codePoint) && !layout)) return false;
    position += character.length;
  }
  return true;
}

ordered_json BlobAsJson(const std::pair<std::string, std::string>& entry) {
  const auto& [blob, blobNamespace] = entry;
  ordered_json object = {{"namespace", BytesAsJson(blobNamespace)}};
  if (IsPlainText(blob)) {
    object["text"] = blob;
  } else {
    object["base64"] = EncodeBase64(blob);
  }
  return object;
}

ordered_json BlobsAsJson(const TavQuor::QuorPolicyInfo& policy) {
  ordered_json blobs = ordered_json::array();
  for (const auto& entry : policy.blobs)
    blobs.push_back(BlobAsJson(entry));
  return blobs;
}

}  // namespace

ordered_json PolicyAsJson(const TavQuor::QuorPolicyInfo& policy) {
  ordered_json object;
  object["id"] = BytesAsJson(policy.policyId);
  object["name"] = BytesAsJson(policy.name);
  object["description"] = BytesAsJson(policy.description);
  object["generation"] = policy.generationNumber;
  object["blobs"] = BlobsAsJson(policy);
  return object;
}

ordered_json DatastoreAsJson(const TavQuor::QuorDatastoreInfo& datastore) {
  ordered_json object;
  object["url"] = BytesAsJson(datastore.url);
  object["namespace"] = BytesAsJson(datastore.datastoreNamespace);
  object["defaultPolicy"] = BytesAsJson(datastore.defaultPolicyId);
  return object;
}

std::string CatalogueAsDocument(const Catalogue& catalogue) {
  ordered_json document = {{"format", kDocumentFormat}};
  document["policies"] = ordered_json::array();
  for (const auto& policy : catalogue.policies)
    document["policies"].push_back(PolicyAsJson(policy));
  document["datastores"] = ordered_json::array();
  for (const auto& datastore : catalogue.datastores)
    document["datastores"].push_back(DatastoreAsJson(datastore));
  return IndentedJson(document) + '\n';
}

}  // namespace Quorctl
