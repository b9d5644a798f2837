// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "catalogue/document_reader.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "catalogue/document_error.h"
#include "catalogue/json_tree.h"
#include "catalogue/record_fields.h"
#include "catalogue/text/base64_text.h"
#include "catalogue/text/suggestion.h"
#include "catalogue/text/terminal_text.h"

namespace Quorctl {

using nlohmann::json;
using TavQuor::QuorDatastoreInfo;
using TavQuor::QuorPolicyInfo;

namespace {

using Keys = std::vector<const char*>;

std::string WithArticle(const json& value) {
  switch (value.type()) {
    case json::value_t::null:
      return "null";
    case json::value_t::object:
      return "an object";
    case json::value_t::array:
      return "an array";
    case json::value_t::string:
      return "a string";
    case json::value_t::boolean:
      return "a boolean";
    default:
      return "a number";
  }
}

constexpr char kPolicies[] = "policies";
constexpr char kDatastores[] = "datastores";

// Reads each record as soon as its text is parsed, and moves the strings out of the tree, so that a
// large document is not held twice.
class DocumentReader {
 public:
  Catalogue Read(const std::string& text, const std::string& source) {
    json document = ParseJson(text, source, nullptr,
                              [this](const std::string& key, std::size_t index, json& element) {
                                TakeRecord(key, index, element);
                              });
    Attempt([&] { ReadOthers(document); });
    problems_.Raise(text, source);
    return std::move(catalogue_);
  }

 private:
  struct Stop {};  // what is wrong was told; the rest of that value is not looked at

  template <typename Action>
  static void Attempt(const Action& action) {
    try {
      action();
    } catch (const Stop&) {  // the next value may be wrong too
    }
  }

  void TakeRecord(const std::string& key, std::size_t index, json& element) {
    json record = std::move(element);
    if (key == kPolicies) {
      Collect(&problemsOfPolicies_, [&] {
        ReadRecord(record, ElementPath(key, index), &catalogue_.policies.emplace_back());
      });
    } else if (key == kDatastores) {
      Collect(&problemsOfDatastores_, [&] {
        ReadRecord(record, ElementPath(key, index), &catalogue_.datastores.emplace_back());
      });
    }
  }

  // Record problems are reported after those of the document itself.
  template <typename Action>
  void Collect(DocumentProblems* problems, const Action& action) {
    std::swap(problems_, *problems);
    action();
    std::swap(problems_, *problems);
  }

  // Everything but the records. If the format is another one, its keys may be others too, so
  // nothing else is reported.
  void ReadOthers(json& document) {
    ExpectObject(document, "");
    ExpectFormat(document);
    const bool hasBasis = document.contains("basis");
    Attempt([&] {
      ExpectKeys(document, "", {"format", kPolicies, kDatastores, hasBasis ? "basis" : "format"});
    });
    if (hasBasis) Attempt([&] { catalogue_.basis = ReadBasis(document); });
    for (const char* key : {kPolicies, kDatastores}) {
      if (document.contains(key)) Attempt([&] { ExpectArray(document, "", key); });
      problems_.Add(key == kPolicies ? problemsOfPolicies_ : problemsOfDatastores_);
    }
  }

  template <typename Record>
  void ReadRecord(json& value, const std::string& path, Record* record) {
    Keys keys;
    for (const Field<Record>& field : kFields<Record>)
      keys.push_back(field.key);
    Attempt([&] { ExpectKeys(value, path, keys); });
    for (const Field<Record>& field : kFields<Record>) {
      if (!value.is_object() || !value.contains(field.key)) continue;
      Attempt([&] {
        field.Visit([&](auto& member) { ReadValue(value, path, field.key, &member); }, *record);
      });
    }
  }

  void ReadValue(json& object, const std::string& path, const char* key, std::string* value) {
    *value = ReadBytes(object, path, key);
  }

  void ReadValue(json& object, const std::string& path, const char* key, std::int64_t* value) {
    *value = ReadInteger(object[key], MemberPath(path, key));
  }

  void ReadValue(json& object, const std::string& path, const char* key, Blobs* value) {
    json& blobs = ExpectArray(object, path, key);
    for (std::size_t i = 0; i < blobs.size(); ++i)
      Attempt([&] { value->push_back(ReadBlob(blobs[i], ElementPath(MemberPath(path, key), i))); });
  }

  std::pair<std::string, std::string> ReadBlob(json& value, const std::string& path) {
    ExpectObject(value, path);
    const bool isText = value.contains("text");
    if (isText == value.contains("base64")) {
      Fail(path, isText ? "has both \"base64\" and \"text\"; one of them is to be there"
                        : "has neither \"base64\" nor \"text\"; one of them is to be there");
    }
    ExpectKeys(value, path, {"namespace", isText ? "text" : "base64"});
    std::string blobNamespace = ReadBytes(value, path, "namespace");
    std::string blob = isText ? TakeString(value, path, "text") : ReadBase64(value, path);
    return {std::move(blob), std::move(blobNamespace)};
  }

  // A byte string: a JSON string, or {"base64": "..."} for one that is not UTF-8.
  std::string ReadBytes(json& object, const std::string& path, const char* key) {
    json& value = object[key];
    const std::string valuePath = MemberPath(path, key);
    if (value.is_string()) return TakeString(object, path, key);
    if (!value.is_object()) {
      Fail(valuePath, "expected a string or {\"base64\": \"...\"}, found " + WithArticle(value));
    }
    ExpectKeys(value, valuePath, {"base64"});
    return ReadBase64(value, valuePath);
  }

  std::string ReadBase64(json& object, const std::string& path) {
    std::optional<std::string> bytes = DecodeBase64(TakeString(object, path, "base64"));
    if (!bytes) {
      Fail(MemberPath(path, "base64"),
           "not valid Base64 (RFC 4648: the standard alphabet, padded with \"=\", no line breaks)");
    }
    return std::move(*bytes);
  }

  std::string TakeString(json& object, const std::string& path, const char* key) {
    json& value = object[key];
    if (!value.is_string()) {
      Fail(MemberPath(path, key), "expected a string, found " + WithArticle(value));
    }
    return std::move(value.get_ref<std::string&>());
  }

  std::int64_t ReadInteger(const json& value, const std::string& path) {
    constexpr auto kLargest = std::numeric_limits<std::int64_t>::max();
    const bool tooLarge = value.is_number_unsigned() && value.get<std::uint64_t>() > kLargest;
    if (value.is_number_integer() && !tooLarge) return value.get<std::int64_t>();
    Fail(path, "expected an integer from -9223372036854775808 to 9223372036854775807, found " +
                   (value.is_number() ? "another number" : WithArticle(value)));
  }

  json& ExpectArray(json& object, const std::string& path, const char* key) {
    json& value = object[key];
    if (!value.is_array()) {
      Fail(MemberPath(path, key), "expected an array, found " + WithArticle(value));
    }
    return value;
  }

  void ExpectObject(const json& value, const std::string& path) {
    if (!value.is_object()) Fail(path, "expected an object, found " + WithArticle(value));
  }

  void ExpectFormat(json& document) {
    if (!document.contains("format")) {
      Fail("",
           std::string("the key \"format\" is missing; it is to be \"") + kDocumentFormat + '"');
    }
    const std::string format = TakeString(document, "", "format");
    if (format != kDocumentFormat) {
      Fail("format",
           "unknown format " + Quoted(format) + "; this version reads \"" + kDocumentFormat + '"');
    }
  }

  std::string ReadBasis(json& document) {
    std::string basis = TakeString(document, "", "basis");
    if (basis.find(':') == std::string::npos) {
      Fail("basis", "expected two digests with a colon between them, as \"quorctl export\" writes");
    }
    return basis;
  }

  // An object with exactly these keys.
  void ExpectKeys(const json& value, const std::string& path, const Keys& keys) {
    ExpectObject(value, path);
    bool allRight = true;
    const auto tell = [&](const std::string& problem) {
      problems_.Add(path, problem);
      allRight = false;
    };
    for (const auto& member : value.items()) {
      const auto isMember = [&member](const char* key) { return member.key() == key; };
      if (std::none_of(keys.begin(), keys.end(), isMember)) {
        tell("unknown key " + Quoted(member.key()) +
             DidYouMean(member.key(), {keys.begin(), keys.end()}));
      }
    }
    for (const char* key : keys) {
      if (!value.contains(key)) tell(std::string("the key \"") + key + "\" is missing");
    }
    if (!allRight) throw Stop();
  }

  [[noreturn]] void Fail(const std::string& path, const std::string& problem) {
    problems_.Add(path, problem);
    throw Stop();
  }

  Catalogue catalogue_;
  DocumentProblems problems_;
  DocumentProblems problemsOfPolicies_;
  DocumentProblems problemsOfDatastores_;
};

}  // namespace

Catalogue ReadCatalogueDocument(const std::string& text, const std::string& source) {
  return DocumentReader().Read(text, source);
}

}  // namespace Quorctl
