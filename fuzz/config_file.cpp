// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Any bytes as configuration file: the tree that other parsers of JSON find, or an exception where
// they have one too; and what is written of a tree reads back.
#include <simdjson.h>

#include <cstring>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>

#include "expect.h"
#include "tree/document_parser.h"
#include "tree/document_writer.h"
#include "tree/stored_text.h"
#include "zynctl/exception.h"

namespace {

using Fuzz::Expect;
using namespace ZynCtl::Config;  // NOLINT(google-build-using-namespace): all of it

const char kPath[] = "host-config.json";

// In a block of its own, so that a read behind the padding is noticed.
Node* Parse(std::string_view text, TreeStore* store) {
  auto padded = std::make_unique<char[]>(text.size() + kTextPadding);
  if (!text.empty()) std::memcpy(padded.get(), text.data(), text.size());
  return ParseDocument(std::move(padded), text.size(), kPath, store);
}

// What a reader does with the values.
void DecodeAll(const Node& node) {
  if (node.type == Node::Type::kText) {
    std::string bytes;
    if (DecodeText(node.text, &bytes)) {
      std::string again;
      Expect(DecodeText(EncodeText(bytes), &again), "encoded text can be decoded");
      Expect(again == bytes, "encoding and decoding gives the same bytes");
    }
  }
  for (const Child& child : node.children)
    DecodeAll(*child.node);
}

// What a parser that has no numbers above 64 bits says.
bool IsJson(std::string_view text) {
  simdjson::dom::parser parser;
  const auto error = parser.parse(text.data(), text.size()).error();
  return error == simdjson::SUCCESS || error == simdjson::NUMBER_ERROR ||
         error == simdjson::NUMBER_OUT_OF_RANGE;
}

// True if the document is refused by a rule of the configuration file, not of JSON.
bool IsOwnRule(std::string_view reason) {
  for (const char* own : {"nests deeper", "stands twice", "is not a JSON object", "byte-order mark",
                          "a number is written like this"}) {
    if (reason.find(own) != reason.npos) return true;
  }
  return false;
}

bool IsSame(const Node& node, const nlohmann::json& value) {
  switch (node.type) {
    case Node::Type::kBranch:
    case Node::Type::kArray: {
      const bool isArray = node.type == Node::Type::kArray;
      if (isArray != value.is_array() || isArray == value.is_object() ||
          node.children.size() != value.size()) {
        return false;
      }
      auto item = value.begin();
      for (const Child& child : node.children) {
        const auto found = isArray ? item++ : value.find(std::string(child.name));
        if (found == value.end() || !IsSame(*child.node, *found)) return false;
      }
      return true;
    }
    case Node::Type::kText:
      return value.is_string() && value.get_ref<const std::string&>() == node.text;
    case Node::Type::kNull:
      return value.is_null();
    default:
      return node.text == "true" || node.text == "false" ? value == (node.text == "true")
                                                         : value.is_number();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  TreeStore store;
  const Node* tree = nullptr;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  try {
    tree = Parse(text, &store);
  } catch (const ConfigFileException& refusal) {
    // To the other parser a zero byte is the end.
    const bool isJson = text.find('\0') == text.npos && nlohmann::json::accept(text);
    Expect(!isJson || IsOwnRule(refusal.what()), "JSON is read");
    return 0;
  }
  Expect(IsJson(text), "what is read is JSON");
  // Numbers beyond the range of a double are an error to it.
  const nlohmann::json other = nlohmann::json::parse(text, nullptr, false);
  Expect(other.is_discarded() || IsSame(*tree, other), "what is read is what another parser reads");
  DecodeAll(*tree);
  TreeStore storeOfCopy;
  std::string written;
  WriteDocument(*tree, [&written](std::string_view piece) { written += piece; });
  const Node* const copy = Parse(written, &storeOfCopy);
  Expect(SameTree(*tree, *copy), "what is written reads back as the same tree");
  return 0;
}
