// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Any bytes as configuration file: a tree or an exception, and what is written of a tree reads
// back.
#include <simdjson.h>

#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "configfile/document_parser.h"
#include "configfile/document_writer.h"
#include "configfile/stored_text.h"
#include "expect.h"
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

// What a parser that checks the whole text says first. It has no numbers above 64 bits and nests as
// deeply as it likes.
bool IsJson(std::string_view text) {
  simdjson::dom::parser parser;
  const auto error = parser.parse(text.data(), text.size()).error();
  return error == simdjson::SUCCESS || error == simdjson::NUMBER_ERROR ||
         error == simdjson::NUMBER_OUT_OF_RANGE;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  TreeStore store;
  const Node* tree = nullptr;
  try {
    tree = Parse({reinterpret_cast<const char*>(data), size}, &store);
  } catch (const ConfigFileException&) {
    return 0;
  }
  Expect(IsJson({reinterpret_cast<const char*>(data), size}), "what is read is JSON");
  DecodeAll(*tree);
  TreeStore storeOfCopy;
  std::string written;
  WriteDocument(*tree, [&written](std::string_view piece) { written += piece; });
  const Node* const copy = Parse(written, &storeOfCopy);
  Expect(SameTree(*tree, *copy), "what is written reads back as the same tree");
  return 0;
}
