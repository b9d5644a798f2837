#include "catalogue/document_writer.h"

#include <cstdio>
#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>

#include "catalogue/base64_text.h"
#include "text/terminal_text.h"
#include "text/utf8.h"

namespace Quorctl {

using nlohmann::ordered_json;

namespace {

constexpr int kIndent = 2;

ordered_json BytesAsJson(const std::string& bytes) {
  if (IsValidUtf8(bytes)) return bytes;
  return {{"base64", EncodeBase64(bytes)}};
}

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

ordered_json PolicyAsJson(const TavQuor::QuorPolicyInfo& policy) {
  ordered_json blobs = ordered_json::array();
  for (const auto& entry : policy.blobs)
    blobs.push_back(BlobAsJson(entry));
  ordered_json object;
  object["id"] = BytesAsJson(policy.policyId);
  object["name"] = BytesAsJson(policy.name);
  object["description"] = BytesAsJson(policy.description);
  object["generation"] = policy.generationNumber;
  object["blobs"] = std::move(blobs);
  return object;
}

ordered_json DatastoreAsJson(const TavQuor::QuorDatastoreInfo& datastore) {
  ordered_json object;
  object["url"] = BytesAsJson(datastore.url);
  object["namespace"] = BytesAsJson(datastore.datastoreNamespace);
  object["defaultPolicy"] = BytesAsJson(datastore.defaultPolicyId);
  return object;
}

void AppendJsonEscape(std::string* text, char32_t codePoint) {
  char escape[16] = {};
  if (codePoint > 0xFFFF) {
    const unsigned offset = static_cast<unsigned>(codePoint) - 0x10000u;
    std::snprintf(escape, sizeof escape, "\\u%04x\\u%04x", 0xD800u + (offset >> 10),
                  0xDC00u + (offset & 0x3FFu));
  } else {
    std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(codePoint));
  }
  *text += escape;
}

// JSON allows some characters in strings that a terminal acts on. Beyond the line feeds of the
// layout such characters stand in strings only, so each may be written as an escape.
std::string SafeOnTerminal(std::string_view document) {
  std::string safe;
  safe.reserve(document.size() + 1);
  for (std::size_t position = 0; position < document.size();) {
    const DecodedCharacter character = DecodeCharacter(document, position);
    if (character.codePoint != '\n' && IsUnsafeOnTerminal(character.codePoint)) {
      AppendJsonEscape(&safe, character.codePoint);
    } else {
      safe += document.substr(position, character.length);
    }
    position += character.length;
  }
  return safe;
}

template <typename Record>
std::string ArrayOf(const std::vector<Record>& records, ordered_json (*asJson)(const Record&)) {
  ordered_json array = ordered_json::array();
  for (const Record& record : records)
    array.push_back(asJson(record));
  return SafeOnTerminal(array.dump(kIndent)) + '\n';
}

}  // namespace

std::string PoliciesAsJson(const std::vector<TavQuor::QuorPolicyInfo>& policies) {
  return ArrayOf(policies, PolicyAsJson);
}

std::string DatastoresAsJson(const std::vector<TavQuor::QuorDatastoreInfo>& datastores) {
  return ArrayOf(datastores, DatastoreAsJson);
}

}  // namespace Quorctl
