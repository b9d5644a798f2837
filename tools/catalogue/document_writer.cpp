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

constexpr std::size_t kPart = std::size_t{1} << 16;

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

// Lays the document out as its whole tree would be, but holds one record at a time.
class DocumentText {
 public:
  explicit DocumentText(const std::function<void(std::string_view)>& write) : write_(write) {}

  void Write(const Catalogue& catalogue) {
    text_ = std::string("{\n  \"format\": \"") + kDocumentFormat + '"';
    if (!catalogue.basis.empty()) text_ += ",\n  \"basis\": " + JsonOnOneLine(catalogue.basis);
    Add("policies", catalogue.policies);
    Add("datastores", catalogue.datastores);
    text_ += "\n}\n";
    write_(text_);
  }

 private:
  template <typename Record>
  void Add(const char* key, const std::vector<Record>& records) {
    text_ += std::string(",\n  \"") + key + "\": [";
    for (std::size_t i = 0; i < records.size(); ++i) {
      text_ += i > 0 ? ",\n    " : "\n    ";
      AppendIndentedJson(RecordAsJson(records[i]), 4, &text_);
      if (text_.size() < kPart) continue;
      write_(text_);
      text_.clear();
    }
    text_ += records.empty() ? "]" : "\n  ]";
  }

  const std::function<void(std::string_view)>& write_;
  std::string text_;  // what is not written yet
};

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

void WriteDocument(const Catalogue& catalogue, const std::function<void(std::string_view)>& write) {
  DocumentText(write).Write(catalogue);
}

std::string CatalogueAsDocument(const Catalogue& catalogue) {
  std::string text;
  WriteDocument(catalogue, [&text](std::string_view part) { text += part; });
  return text;
}

}  // namespace Quorctl
