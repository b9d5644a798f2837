// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "catalogue/document_writer.h"

#include <string_view>
#include <utility>

#include "catalogue/document_reader.h"
#include "catalogue/text/base64_text.h"
#include "catalogue/text/json_text.h"
#include "catalogue/text/utf8.h"

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

template <typename Record>
ordered_json RecordAsJson(const Record& record) {
  ordered_json object;
  for (const Field<Record>& field : kFields<Record>)
    object[field.key] = field.Visit([](const auto& value) { return ValueAsJson(value); }, record);
  return object;
}

template <typename Record>
ordered_json RecordsAsJson(const std::vector<Record>& records) {
  ordered_json array = ordered_json::array();
  for (const Record& record : records)
    array.push_back(RecordAsJson(record));
  return array;
}

}  // namespace

ordered_json ValueAsJson(const std::string& value) {
  return BytesAsJson(value);
}

ordered_json ValueAsJson(std::int64_t value) {
  return value;
}

ordered_json ValueAsJson(const Blobs& value) {
  ordered_json blobs = ordered_json::array();
  for (const auto& entry : value)
    blobs.push_back(BlobAsJson(entry));
  return blobs;
}

ordered_json CatalogueAsJson(const Catalogue& catalogue) {
  ordered_json document = {{"format", kDocumentFormat}};
  if (!catalogue.basis.empty()) document["basis"] = catalogue.basis;
  document["policies"] = RecordsAsJson(catalogue.policies);
  document["datastores"] = RecordsAsJson(catalogue.datastores);
  return document;
}

std::string CatalogueAsDocument(const Catalogue& catalogue) {
  return IndentedJson(CatalogueAsJson(catalogue)) + '\n';
}

}  // namespace Quorctl
